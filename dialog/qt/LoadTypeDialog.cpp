#include "dialog/qt/LoadTypeDialog.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>
#include <exception>

#include "dialog/LoadCalTexts.h"
#include "dialog/qt/GridModel.h"
#include "dialog/qt/GridView.h"
#include "dialog/qt/QtSession.h"
#include "dialog/qt/QtText.h"
#include "model/Text.h"

namespace loadcal {

CLoadTypeLibraryDialog::CLoadTypeLibraryDialog(CLoadTypeLibraryEditor& editor,
                                               std::wstring userPath, IModalRunner& runner,
                                               QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                          Qt::WindowMaximizeButtonHint | Qt::WindowCloseButtonHint),
      m_editor(editor),
      m_strUserPath(std::move(userPath)),
      m_runner(runner)
{
    setWindowTitle(ToQString(texts::kLoadTypeLibraryTitle));
    setFont(DialogFont());

    m_pNote = new QLabel(
        ToQString(texts::FormatText(texts::kLoadTypeLibraryNoteFormat, m_strUserPath)), this);
    m_pNote->setWordWrap(true);
    m_pNote->setTextFormat(Qt::PlainText);
    m_pModel = new CGridModel(m_editor, CLoadTypeLibraryEditor::kGrid, this);
    m_pModel->SetErrorHandler([this](const std::exception& e) { Report(FromUtf8(e.what())); });
    m_pView = new CGridView(*m_pModel, this);
    m_pOk = new QPushButton(ToQString(texts::kButtonOk), this);
    m_pCancel = new QPushButton(ToQString(texts::kButtonCancel), this);
    // Enter belongs to the grid, never to a default button.
    for (QPushButton* button : {m_pOk, m_pCancel}) {
        button->setAutoDefault(false);
        button->setDefault(false);
    }
    connect(m_pOk, &QPushButton::clicked, this, &CLoadTypeLibraryDialog::accept);
    connect(m_pCancel, &QPushButton::clicked, this, &CLoadTypeLibraryDialog::reject);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_pOk);
    buttons->addWidget(m_pCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pNote);
    layout->addWidget(m_pView, 1);
    layout->addLayout(buttons);

    // The grids' keys, for the grid while no cell editor is open (an open
    // line editor keeps them for its text).
    const auto bind = [this](const QKeySequence& keys, auto action) {
        auto* shortcut =
            new QShortcut(keys, m_pView, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, this, [this, action] {
            if (!m_pView->IsEditing()) {
                Guarded(action);
            }
        });
    };
    bind(QKeySequence(Qt::Key_Delete), [this] { m_editor.ClearSelectedCells(); });
    bind(QKeySequence(Qt::CTRL | Qt::Key_V),
         [this] { m_editor.PasteText(ToWString(QGuiApplication::clipboard()->text())); });
    bind(QKeySequence(Qt::CTRL | Qt::Key_Z), [this] { m_editor.Undo(); });
    bind(QKeySequence(Qt::CTRL | Qt::Key_Y), [this] { m_editor.Redo(); });
    bind(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), [this] { m_editor.Redo(); });

    m_pView->FitColumnWidths();
    resize(1180, 620);
    // The entry row is where a new type is typed.
    m_pView->setCurrentIndex(m_pModel->IndexOfCell(m_editor.EntryRow(), 1));
    qApp->installEventFilter(this);
}

CLoadTypeLibraryDialog::~CLoadTypeLibraryDialog()
{
    qApp->removeEventFilter(this);
}

template <class Action>
void CLoadTypeLibraryDialog::Guarded(Action action)
{
    try {
        action();
    } catch (const std::exception& e) {
        Report(FromUtf8(e.what()));
    }
}

void CLoadTypeLibraryDialog::Report(const std::wstring& text)
{
    RunMessageBox(m_runner, this, QMessageBox::Warning, ToQString(texts::kLoadTypeLibraryTitle),
                  ToQString(text), QMessageBox::Ok);
}

bool CLoadTypeLibraryDialog::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || !isVisible() || !m_pView->IsEditing()) {
        return QDialog::eventFilter(watched, event);
    }
    // Only the first delivery of the key, to the focus widget of this window.
    auto* widget = qobject_cast<QWidget*>(watched);
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (!widget || widget->window() != this || widget != QApplication::focusWidget() ||
        (key != Qt::Key_Return && key != Qt::Key_Enter)) {
        return QDialog::eventFilter(watched, event);
    }
    // A combo cell's list takes its own Enter.
    if (qobject_cast<QComboBox*>(widget->parentWidget()) != nullptr ||
        qobject_cast<QComboBox*>(widget) != nullptr) {
        return QDialog::eventFilter(watched, event);
    }
    Guarded([this] { m_pView->CommitEditAndMoveDown(); });
    return true;
}

void CLoadTypeLibraryDialog::accept()
{
    bool done = false;
    Guarded([&] {
        m_pView->CommitEdit();
        const std::optional<std::wstring> refused = m_editor.Accept(m_strUserPath);
        if (refused) {
            Report(*refused);
        }
        done = !refused;
    });
    if (done) {
        QDialog::accept();
    }
}

void CLoadTypeLibraryDialog::reject()
{
    if (m_pView->IsEditing()) {
        m_pView->CommitEdit();
    }
    if (m_editor.IsModified() &&
        RunMessageBox(m_runner, this, QMessageBox::Question,
                      ToQString(texts::kLoadTypeLibraryTitle),
                      ToQString(texts::kLoadTypeDiscardQuestion),
                      QMessageBox::Yes | QMessageBox::No) != QMessageBox::Yes) {
        return;
    }
    QDialog::reject();
}

}  // namespace loadcal
