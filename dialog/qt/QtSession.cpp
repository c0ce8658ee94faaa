#include "dialog/qt/QtSession.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>
#include <cstdlib>
#include <stdexcept>

#include "dialog/LoadCalTexts.h"
#include "dialog/qt/QtText.h"

namespace loadcal {
namespace {

/// Installed fonts that can stand in for the dialog font, best first: its
/// own Latin name, then the CJK font the set-up installs.
const char* const kDialogFontSubstitutes[] = {"SimSun", "WenQuanYi Zen Hei"};

bool HasDisplay()
{
    for (const char* variable : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}) {
        const char* value = std::getenv(variable);
        if (value && *value) {
            return true;
        }
    }
    return false;
}

}  // namespace

void InstallDialogFontSubstitution()
{
    static const bool installed = [] {
        QStringList substitutes;
        for (const char* name : kDialogFontSubstitutes) {
            substitutes.append(QString::fromLatin1(name));
        }
        QFont::insertSubstitutions(ToQString(texts::kDialogFont), substitutes);
        return true;
    }();
    (void)installed;
}

QFont DialogFont()
{
    InstallDialogFontSubstitution();
    QFont font(ToQString(texts::kDialogFont));
    font.setPointSize(texts::kDialogFontPoints);
    return font;
}

std::unique_ptr<QTranslator> LoadChineseQtTranslations()
{
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load(QLocale(QLocale::Chinese, QLocale::China), QStringLiteral("qtbase"),
                          QStringLiteral("_"),
                          QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        return nullptr;
    }
    return translator;
}

CQtSession::CQtSession()
{
    if (QApplication::instance()) {
        return;
    }
    if (!HasDisplay()) {
        throw std::runtime_error(
            "no display to open the window on (set DISPLAY, or QT_QPA_PLATFORM=offscreen)");
    }
    m_pApplication = std::make_unique<QApplication>(m_argc, m_argv);
    // Dates and sizes in the file dialogs read as the Chinese window does.
    // The figures of the calculation never pass through QLocale (the model
    // formats and parses them in the "C" numeric locale).
    QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::China));
    m_pTranslator = LoadChineseQtTranslations();
    if (m_pTranslator) {
        QCoreApplication::installTranslator(m_pTranslator.get());
    }
    InstallDialogFontSubstitution();
}

CQtSession::~CQtSession()
{
    if (m_pTranslator) {
        QCoreApplication::removeTranslator(m_pTranslator.get());
    }
    m_pTranslator.reset();
    m_pApplication.reset();
}

}  // namespace loadcal
