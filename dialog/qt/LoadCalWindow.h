#pragma once

#include <QDialog>
#include <QSize>
#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "dialog/LoadCalDiaog.h"
#include "dialog/qt/ModalRunner.h"

class QLabel;
class QMenu;
class QMenuBar;
class QStatusBar;
class QToolBar;
class QTreeWidget;
class QTreeWidgetItem;

namespace loadcal {

class CGridModel;
class CGridView;
class CTotalRowView;

/// The window of the demand-factor calculation dialog: a modal QDialog with
/// the controller's menu bar, its toolbar and its three grids, top to bottom
/// as the supply runs up: the load grid, the distribution boards' grid and
/// the transformer grid (the load and transformer grids laid out by
/// CLoadCalDiaog::OnSize, the board grid taking its height from the bottom
/// of the load grid's place). Split bars between them move the splits. It implements
/// ILoadCalUi for the controller and forwards every user action to it:
/// commands, grid clicks and right-clicks, in-place edits (through the grid
/// models), Enter and Escape (PreTranslateKeyDown), the close box (OnCancel),
/// the undo keys and the row keys (Delete, Ctrl+X/C/V), whose text it takes
/// from and gives to the system clipboard.
/// The document lives in the controller only. Every call into the controller
/// runs at the event boundary under Guarded: an exception is shown in a box
/// and the window stays open with the document. A timer asks the controller
/// about once a second, between commands, to keep the recovery copy of
/// unsaved changes (CLoadCalDiaog::OnRecoveryTimer).
///
/// Borrows the controller (which must outlive the window) and the runner of
/// modal boxes (null: the interactive one); owns its widgets and the two
/// grid models.
class CLoadCalWindow final : public QDialog, public ILoadCalUi {
    Q_OBJECT
public:
    /// Attaches itself to the controller, builds menus, toolbar and grids,
    /// takes the dialog template's size (its client area plus the menu bar)
    /// as the opening size (OnCreate) and runs the controller's start-up
    /// (OnInitDialog), which opens the start-up document.
    explicit CLoadCalWindow(CLoadCalDiaog& dialog, IModalRunner* runner = nullptr,
                            QWidget* parent = nullptr);
    ~CLoadCalWindow() override;
    CLoadCalWindow(const CLoadCalWindow&) = delete;
    CLoadCalWindow& operator=(const CLoadCalWindow&) = delete;

    // ILoadCalUi
    int MessageBox(const std::wstring& text, const std::wstring& caption, unsigned style) override;
    std::optional<std::wstring> OpenFileDialog(const CFileDialogOptions& options) override;
    std::optional<std::wstring> SaveFileDialog(const CFileDialogOptions& options) override;
    /// Sets the title and lets it reach the screen at once: the phase search
    /// blocks the event loop while it writes its progress into the title, so
    /// pending paint and window-system events are processed here (user input
    /// stays queued until the controller returns).
    void SetWindowText(const std::wstring& title) override;
    std::optional<std::vector<std::wstring>> ShowChoiceList(const std::vector<std::wstring>& names,
                                                            const std::vector<bool>& marks, int row,
                                                            int col, GridId grid,
                                                            size_t boardCount) override;
    CPopupResult TrackPopupMenu(const CMenuModel& popup) override;
    void ResizeWindow(int width, int height) override;
    void CenterWindow() override;
    void EndDialog(int result) override;
    void ShowAboutBox() override;
    void SetClipboardText(const std::wstring& text) override;
    /// The status bar under the grids.
    void SetStatusText(const std::wstring& text) override;
    /// The 负荷类型库 window (CLoadTypeLibraryDialog), run through the runner.
    bool EditLoadTypes(CLoadTypeLibraryEditor& editor, const std::wstring& userPath) override;
    /// The 工程信息 window (CProjectInfoDialog), run through the runner.
    bool EditProjectInfo(CDocumentProperties& properties) override;
    /// The label at the right of the status bar.
    void SetStatusNote(const std::wstring& text) override;
    QStatusBar& StatusBar() const { return *m_pStatusBar; }
    /// The status bar's lasting note (the filter, the rule set).
    QLabel& StatusNote() const { return *m_pStatusNote; }
    /// The supply tree beside the grids: rebuilt from the controller's
    /// tree, the node selected made current; nodes that were open stay open.
    void ShowSupplyTree(const CSupplyTree& tree, int selected) override;
    QTreeWidget& SupplyTree() const { return *m_pSupplyTree; }
    /// The tree item of node n of the controller's tree, or null.
    QTreeWidgetItem* SupplyItem(int node) const;
    /// The width of the supply tree (the split at its right).
    int TreeWidth() const { return m_nTreeWidth; }
    /// Moves the split between the tree and the grids (pixels), keeping
    /// both a useful width.
    void SetTreeWidth(int pixels);

    CGridView& View(GridId grid) const;
    QMenuBar& MenuBar() const { return *m_pMenuBar; }
    QToolBar& ToolBar() const { return *m_pToolBar; }
    /// The size the window was created with (the dialog template's), which
    /// is also its minimum size. The first start then opens wide enough for
    /// every load column; later starts open as the window was left.
    QSize OpenedSize() const { return m_openedSize; }
    /// The frozen total row under the load grid.
    CTotalRowView& TotalRow() const { return *m_pTotalRow; }
    /// The height of the transformer grid (the split between the grids).
    int TransformerHeight() const { return m_transformerFrame.Height(); }
    /// Moves the split: the transformer grid gets this height (pixels), kept
    /// between the smallest useful heights of the grids.
    void SetTransformerHeight(int pixels);
    /// The height of the board grid (the split above it).
    int BoardHeight() const { return m_nBoardHeight; }
    /// Moves the split between the load grid and the board grid: the board
    /// grid gets this height (pixels), the load grid keeps its smallest
    /// useful height.
    void SetBoardHeight(int pixels);

    /// Runs a controller operation at the event boundary: an exception it
    /// lets out is reported in a box instead of crossing the event loop.
    void Guarded(const std::function<void()>& action);

public slots:
    /// The close box and every other way Qt cancels a dialog: the
    /// controller's Cancel, which asks the save question first.
    void reject() override;
    /// The window closes: its layout is written to the settings file first.
    void done(int result) override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    /// Enter and Escape never reach QDialog's default-button and cancel
    /// handling: the controller has decided about them already.
    void keyPressEvent(QKeyEvent* event) override;
    /// Key presses for any widget of the window, before they are delivered
    /// (the dialog's PreTranslateMessage).
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// Interval of the recovery timer.
    static constexpr int kRecoveryTick = 1000;  // ms

    void OnRecoveryTick();
    IModalRunner& Runner() const { return m_pRunner ? *m_pRunner : m_defaultRunner; }
    void ReportInternalError(const QString& what);
    void RunCommand(unsigned id);
    /// The grid view with an open in-place editor, or null.
    CGridView* EditingView() const;
    /// Ends open in-place edits, so that a command sees what was typed.
    void CommitOpenEdits();
    void RefreshCommandStates();
    void BuildMenuBar();
    void FillMenu(QMenu& menu, const CMenuModel& model, bool sendCommands);
    void OnMenuAboutToShow(int position, QMenu& menu);
    void BuildToolBar();
    void OnCellClicked(GridId grid, int row, int col);
    void OnCellRightClicked(GridId grid, int row, int col);
    /// Delete, Ctrl+X, Ctrl+C and Ctrl+V on each grid.
    void BindRowKeys();
    void OnDeleteKey(GridId grid);
    void OnCutKey(GridId grid);
    void OnCopyKey(GridId grid);
    void OnPasteKey(GridId grid);
    /// Ctrl+D and Ctrl++ (also Ctrl+=, the same key without Shift).
    void OnFillDownKey(GridId grid);
    void OnInsertKey(GridId grid);
    void ApplyTrackingLimits();
    int MenuHeight() const;
    int StatusHeight() const;
    /// The client-area bottom of the place the load and board grids share.
    int UpperPaneBottom() const;
    /// The three grid views, top to bottom.
    std::array<CGridView*, 3> Views() const
    {
        return {m_pLoadView, m_pBoardView, m_pTransformerView};
    }
    void LayOut();
    /// Column widths, size, position and split from the settings file, each
    /// value that is missing or damaged from its default.
    void RestoreLayout();
    /// The layout into the settings file.
    void SaveLayout();
    std::optional<std::wstring> RunArchiveDialog(const CFileDialogOptions& options, bool save);

    CLoadCalDiaog& m_dialog;
    IModalRunner* m_pRunner;
    mutable CModalRunner m_defaultRunner;
    QMenuBar* m_pMenuBar = nullptr;
    QStatusBar* m_pStatusBar = nullptr;
    QLabel* m_pStatusNote = nullptr;
    QWidget* m_pClient = nullptr;
    QToolBar* m_pToolBar = nullptr;
    CGridModel* m_pLoadModel = nullptr;
    CGridModel* m_pTransformerModel = nullptr;
    CGridModel* m_pBoardModel = nullptr;
    CGridView* m_pLoadView = nullptr;
    CGridView* m_pTransformerView = nullptr;
    CGridView* m_pBoardView = nullptr;
    CTotalRowView* m_pTotalRow = nullptr;
    QWidget* m_pSplitHandle = nullptr;       ///< between the boards and the transformers
    QWidget* m_pBoardSplitHandle = nullptr;  ///< between the circuits and the boards
    QWidget* m_pTreeSplitHandle = nullptr;   ///< between the supply tree and the grids
    QTreeWidget* m_pSupplyTree = nullptr;
    /// The tree's items by node of the controller's tree.
    std::vector<QTreeWidgetItem*> m_supplyItems;
    int m_nTreeWidth = 0;    ///< pixels
    int m_nBoardHeight = 0;  ///< pixels
    CRect m_loadFrame;
    CRect m_transformerFrame;
    QSize m_openedSize;
    int m_nControllerCalls = 0;  ///< Guarded calls under way (nested event loops)
};

/// Runs the calculation dialog in its window, modally, and returns how the
/// controller ended it: IDOK after an output command or Exit (the output mode
/// tells which), IDCANCEL after Cancel, Escape or the close box (also when
/// the window went away without the controller ending it). Creates a Qt
/// application for the run when the process has none (CQtSession); the
/// command that also shows the output's boxes should hold a CQtSession of
/// its own around both. runner: the modal boxes' answerer (null:
/// interactive).
int RunLoadCalDialog(CLoadCalDiaog& dialog, IModalRunner* runner = nullptr);

}  // namespace loadcal
