#pragma once

#include <QMessageBox>
#include <QString>
#include <optional>
#include <string_view>

class QAction;
class QDialog;
class QMenu;
class QPoint;
class QWidget;

namespace loadcal {

/// Runs the modal boxes of the window: message boxes, file dialogs, the
/// choice list, the about box and context menus. The window builds each box
/// completely (texts, buttons, icon) and reads the answer from the box
/// afterwards (clicked button, result, selected files, marked names), so a
/// test can put a scripted answerer here that inspects the real box and
/// answers it through its own buttons instead of running an event loop.
class IModalRunner {
public:
    virtual ~IModalRunner() = default;
    /// Runs a modal dialog until it is answered; returns its result code.
    virtual int Exec(QDialog& dialog) = 0;
    /// Shows a popup menu at a global position until it closes; returns the
    /// chosen action, or null when the menu was dismissed.
    virtual QAction* ExecMenu(QMenu& menu, const QPoint& globalPos) = 0;
};

/// The interactive answerer: each box runs its own modal event loop.
class CModalRunner final : public IModalRunner {
public:
    int Exec(QDialog& dialog) override;
    QAction* ExecMenu(QMenu& menu, const QPoint& globalPos) override;
};

/// A message box with a plain text (never read as markup), in the dialog
/// font, run through runner. Returns the standard button the user clicked,
/// or NoButton when the box was closed without one.
QMessageBox::StandardButton RunMessageBox(IModalRunner& runner, QWidget* parent,
                                          QMessageBox::Icon icon, const QString& caption,
                                          const QString& text,
                                          QMessageBox::StandardButtons buttons);

/// What a file dialog is opened with.
struct FileDialogRequest {
    bool save = false;                   ///< save (else open) dialog
    std::wstring_view filter;            ///< Windows form "description|patterns||"
    std::wstring_view defaultExtension;  ///< added when the user types none
    QString directory;                   ///< folder shown first; empty: the working folder
    QString proposedName;                ///< file name proposed; may be empty
    bool confirmOverwrite = true;        ///< a save dialog asks before replacing a file
};

/// A file dialog of Qt's own (the same on every desktop, so that the filter
/// and the default extension behave alike) run through runner. Any name may
/// be typed, also in an open dialog (the caller decides what a missing file
/// means). The chosen absolute path, or nothing when cancelled.
std::optional<QString> RunFileDialog(IModalRunner& runner, QWidget* parent,
                                     const FileDialogRequest& request);

}  // namespace loadcal
