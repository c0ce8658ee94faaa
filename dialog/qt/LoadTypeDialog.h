#pragma once

#include <QDialog>
#include <string>

#include "dialog/LoadTypeEditor.h"
#include "dialog/qt/ModalRunner.h"

class QLabel;
class QPushButton;

namespace loadcal {

class CGridModel;
class CGridView;

/// The 负荷类型库 window: a note naming the user library's file, the
/// editor's grid (the user types and an entry row, then the shipped types
/// read-only) with the grids' keys — typing starts an edit, Enter commits
/// and moves down, Delete clears the selected cells, Ctrl+V pastes a
/// spreadsheet's block, Ctrl+Z / Ctrl+Y take back and do again within the
/// window — and 确定 / 取消. 确定 has the editor write the user library; a
/// refusal (the rows' problems, a file that cannot be written) is shown in
/// a box and the window stays. 取消, Esc or the close box ask first when
/// there are changes. Borrows the editor and the runner of its boxes; owns
/// its widgets.
class CLoadTypeLibraryDialog final : public QDialog {
    Q_OBJECT
public:
    CLoadTypeLibraryDialog(CLoadTypeLibraryEditor& editor, std::wstring userPath,
                           IModalRunner& runner, QWidget* parent = nullptr);
    ~CLoadTypeLibraryDialog() override;
    CLoadTypeLibraryDialog(const CLoadTypeLibraryDialog&) = delete;
    CLoadTypeLibraryDialog& operator=(const CLoadTypeLibraryDialog&) = delete;

    CGridView& View() const { return *m_pView; }
    QPushButton& OkButton() const { return *m_pOk; }
    QPushButton& CancelButton() const { return *m_pCancel; }

public slots:
    /// 确定: an open edit is committed, then the editor accepts or says why not.
    void accept() override;
    /// 取消, Esc, the close box: with changes, asks before they go.
    void reject() override;

protected:
    /// Enter while a cell is edited commits it and moves down, as in the
    /// calculation window.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Report(const std::wstring& text);
    /// Runs an editor operation; an exception is reported in a box.
    template <class Action>
    void Guarded(Action action);

    CLoadTypeLibraryEditor& m_editor;
    std::wstring m_strUserPath;
    IModalRunner& m_runner;
    CGridModel* m_pModel = nullptr;
    CGridView* m_pView = nullptr;
    QLabel* m_pNote = nullptr;
    QPushButton* m_pOk = nullptr;
    QPushButton* m_pCancel = nullptr;
};

}  // namespace loadcal
