#pragma once

#include <QFont>
#include <QTranslator>
#include <memory>

class QApplication;

namespace loadcal {

/// The dialog font: "宋体" 9 pt. Where no font of that name is installed
/// (any Debian system), Qt substitutes WenQuanYi Zen Hei (package
/// fonts-wqy-zenhei), which shows every Chinese text of the window.
QFont DialogFont();

/// Registers the substitutes of the dialog font with Qt; done once, and by
/// DialogFont itself.
void InstallDialogFontSubstitution();

/// Qt's own Chinese texts (qtbase_zh_CN, package qt6-translations-l10n):
/// the standard buttons of message boxes and the file dialogs read in
/// Chinese like the rest of the window, whatever the user's locale. Null
/// when the translation file is not installed.
std::unique_ptr<QTranslator> LoadChineseQtTranslations();

/// Keeps a Qt application alive for the window and the output's boxes.
/// When the process has no QApplication yet, the session creates one (with
/// Qt's own Chinese translations, LoadChineseQtTranslations) and destroys it
/// at its end;
/// otherwise it leaves the running application alone. Throws
/// std::runtime_error when there is no display to show a window on (no
/// DISPLAY, WAYLAND_DISPLAY or QT_QPA_PLATFORM), where Qt would abort.
class CQtSession {
public:
    CQtSession();
    ~CQtSession();
    CQtSession(const CQtSession&) = delete;
    CQtSession& operator=(const CQtSession&) = delete;

    /// True when this session created the application.
    bool OwnsApplication() const { return m_pApplication != nullptr; }

private:
    char m_szProgram[8] = "loadcal";
    char* m_argv[2] = {m_szProgram, nullptr};
    int m_argc = 1;
    std::unique_ptr<QApplication> m_pApplication;
    std::unique_ptr<QTranslator> m_pTranslator;
};

}  // namespace loadcal
