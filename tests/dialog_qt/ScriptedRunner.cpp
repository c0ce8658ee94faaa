#include "tests/dialog_qt/ScriptedRunner.h"

#include <QAbstractButton>
#include <QDialog>
#include <QFileDialog>
#include <QMenu>

namespace loadcal::test {

int ScriptedRunner::Exec(QDialog& dialog)
{
    ++dialogs;
    if (auto* box = qobject_cast<QMessageBox*>(&dialog)) {
        boxes.push_back({box->windowTitle(), box->text(), box->standardButtons(), box->icon()});
    }
    if (answers.empty()) {
        dialog.reject();
    } else {
        const Answer answer = answers.front();
        answers.pop_front();
        answer(dialog);
    }
    return dialog.result();
}

QAction* ScriptedRunner::ExecMenu(QMenu& menu, const QPoint& /*globalPos*/)
{
    QStringList texts;
    for (const QAction* action : menu.actions()) {
        texts.append(action->text());
    }
    menus.push_back(texts);
    if (menuChoices.empty()) {
        return nullptr;
    }
    const QString choice = menuChoices.front();
    menuChoices.pop_front();
    for (QAction* action : menu.actions()) {
        if (action->text() == choice) {
            return action;
        }
    }
    return nullptr;
}

ScriptedRunner::Answer Click(QMessageBox::StandardButton button)
{
    return [button](QDialog& dialog) {
        auto* box = qobject_cast<QMessageBox*>(&dialog);
        if (box && box->button(button)) {
            box->button(button)->click();
        } else {
            dialog.reject();
        }
    };
}

ScriptedRunner::Answer ChooseFile(const QString& path, std::function<void(QDialog&)> check)
{
    return [path, check](QDialog& dialog) {
        if (check) {
            check(dialog);
        }
        auto* files = qobject_cast<QFileDialog*>(&dialog);
        if (!files) {
            dialog.reject();
            return;
        }
        files->selectFile(path);
        dialog.accept();  // QFileDialog's own accept, as its Open/Save button runs it
    };
}

}  // namespace loadcal::test
