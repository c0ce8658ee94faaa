#pragma once

#include <QMessageBox>
#include <QStringList>
#include <deque>
#include <functional>
#include <vector>

#include "dialog/qt/ModalRunner.h"

namespace loadcal::test {

/// A message box as the window showed it.
struct ShownBox {
    QString title;
    QString text;
    QMessageBox::StandardButtons buttons;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
};

/// The modal-box answerer of the window tests: it records every message box
/// and context menu it is given and answers each box with the next scripted
/// answer, a function that works the real box (clicks a button, marks names,
/// picks a file). Without an answer a box is dismissed (rejected) and a menu
/// closed without a choice, so an unexpected question shows up as a
/// recorded, cancelled box.
class ScriptedRunner final : public IModalRunner {
public:
    using Answer = std::function<void(QDialog&)>;

    std::deque<Answer> answers;
    /// Texts of the menu actions to choose, in order.
    std::deque<QString> menuChoices;

    std::vector<ShownBox> boxes;
    std::vector<QStringList> menus;  ///< the action texts of each menu shown
    int dialogs = 0;                 ///< every dialog run, boxes included

    int Exec(QDialog& dialog) override;
    QAction* ExecMenu(QMenu& menu, const QPoint& globalPos) override;
};

/// Clicks a standard button of a message box.
ScriptedRunner::Answer Click(QMessageBox::StandardButton button);
/// Types a path into a file dialog and accepts it; check, when given, looks
/// at the dialog first.
ScriptedRunner::Answer ChooseFile(const QString& path,
                                  std::function<void(QDialog&)> check = nullptr);

}  // namespace loadcal::test
