#include "dialog/qt/ModalRunner.h"

#include <QDialog>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>

#include "dialog/qt/QtSession.h"
#include "dialog/qt/QtText.h"

namespace loadcal {

int CModalRunner::Exec(QDialog& dialog)
{
    return dialog.exec();
}

QAction* CModalRunner::ExecMenu(QMenu& menu, const QPoint& globalPos)
{
    return menu.exec(globalPos);
}

QMessageBox::StandardButton RunMessageBox(IModalRunner& runner, QWidget* parent,
                                          QMessageBox::Icon icon, const QString& caption,
                                          const QString& text, QMessageBox::StandardButtons buttons)
{
    QMessageBox box(icon, caption, text, buttons, parent);
    box.setTextFormat(Qt::PlainText);
    box.setFont(DialogFont());
    runner.Exec(box);
    QAbstractButton* clicked = box.clickedButton();
    return clicked ? box.standardButton(clicked) : QMessageBox::NoButton;
}

std::optional<QString> RunFileDialog(IModalRunner& runner, QWidget* parent,
                                     const FileDialogRequest& request)
{
    QFileDialog dialog(parent);
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setFont(DialogFont());
    dialog.setAcceptMode(request.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setNameFilter(ToQtFileFilter(request.filter));
    dialog.setDefaultSuffix(ToQString(request.defaultExtension));
    dialog.setOption(QFileDialog::DontConfirmOverwrite, !request.confirmOverwrite);
    if (!request.directory.isEmpty()) {
        dialog.setDirectory(request.directory);
    }
    if (!request.proposedName.isEmpty()) {
        dialog.selectFile(request.proposedName);
    }
    if (runner.Exec(dialog) != QDialog::Accepted) {
        return std::nullopt;
    }
    const QStringList files = dialog.selectedFiles();
    if (files.isEmpty() || files.front().isEmpty()) {
        return std::nullopt;
    }
    return QFileInfo(files.front()).absoluteFilePath();
}

}  // namespace loadcal
