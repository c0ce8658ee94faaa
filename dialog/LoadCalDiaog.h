#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "balancing/Extremum.h"
#include "balancing/PhaseBalanceHost.h"
#include "dialog/CalculationBookWriter.h"
#include "dialog/ChoiceWindow.h"
#include "dialog/EditHistory.h"
#include "dialog/Geometry.h"
#include "dialog/GridColumns.h"
#include "dialog/GridCtrl.h"
#include "dialog/GridHost.h"
#include "dialog/LoadCalUi.h"
#include "dialog/MenuModel.h"
#include "dialog/OutputWriter.h"
#include "document/RecentFiles.h"
#include "model/Calculation.h"
#include "model/Checks.h"
#include "model/Columns.h"
#include "model/Document.h"
#include "model/LoadTypes.h"
#include "model/Records.h"
#include "model/SupplyIndex.h"
#include "model/SupplyTree.h"

namespace loadcal {

class CInterDpData;
class CRecoveryFiles;

/// Keys the dialog looks at before they are dispatched.
enum class DialogKey { Enter, Escape, Other };

/// What the window does with a key after PreTranslateKeyDown.
enum class KeyDisposition {
    DispatchToFocus,  ///< give it to the focused control (the grid or its editor)
    Default,          ///< the window's normal handling
    Handled,          ///< done; drop it
};

/// The document's modified flag, 0 or 1 as the dialog's rules read and set
/// it, which also counts how often it was set: every change of the records
/// sets it, so the count tells the recovery copy that the document changed
/// since the copy was last written.
class CModifiedFlag {
public:
    CModifiedFlag& operator=(int value)
    {
        m_nValue = value;
        if (value != 0) {
            ++m_nChanges;
        }
        return *this;
    }
    operator int() const { return m_nValue; }
    uint64_t Changes() const { return m_nChanges; }

private:
    int m_nValue = 0;
    uint64_t m_nChanges = 0;
};

/// The demand-factor calculation dialog without its window: it owns the open
/// document (the two record arrays, the data tree of its archive, path and
/// modified flag), both grids, the menu bar, the row clipboards, the
/// recent-files list, the recovery copy of unsaved changes and the
/// phase-balancing search object, and holds every rule of editing, row
/// operations and the document lifecycle. It talks to the
/// user only through ILoadCalUi, which the window implements (borrowed; set
/// before OnInitDialog). The window forwards every user action to the
/// operations below and shows the grids through their listeners.
///
/// Row r of a grid shows array element r - 1. The load grid has n + 4 rows
/// (titles, n circuits, entry row, grey separator, total row); the
/// transformer grid m + 2 (titles, m transformers, entry row).
///
/// Every change of the records is made inside one command (the edit rules,
/// the choice list, row paste and delete, phase balancing, a spreadsheet
/// paste), which writes the records it touched into the undo history as one
/// step. Undo and redo end a pending Cut (its rows stay where they are and
/// its clipboard is emptied), since the rows it marked may have moved.
///
/// The load-type library (the shipped one with the user's laid over it) is
/// the dialog's own: its types are the list of the 负荷类型 cells, choosing
/// one fills the circuit's Kx and cos φ, and the checks hold the circuits'
/// figures to it. The 负荷类型库 editor changes it.
class CLoadCalDiaog : public IPhaseBalanceHost, public IGridHost {
public:
    /// Cell formats of the grids.
    static constexpr unsigned kTitleFormat = DT_CENTER | DT_WORDBREAK;
    static constexpr unsigned kDataFormat = DT_CENTER | DT_VCENTER | DT_SINGLELINE;
    /// Background and tool tip of a number cell whose text is not wholly a
    /// number (see NumberCellTip).
    static constexpr COLORREF kNotANumberColour = RGB(255, 190, 190);
    /// Background of a cell the document checks name (tool tip: the problem).
    static constexpr COLORREF kWarningColour = RGB(255, 205, 120);
    /// Background of computed and total cells, and of the separator row.
    static constexpr COLORREF kComputedColour = RGB(255, 255, 128);
    static constexpr COLORREF kSeparatorColour = RGB(180, 180, 180);
    /// Text colour of rows marked by Cut.
    static constexpr COLORREF kCutTextColour = RGB(0, 0, 0);
    /// The grid colour the set-up changes: the title cells' background.
    static constexpr COLORREF kFixedColour = RGB(255, 255, 224);
    static constexpr int kHeaderColumnWidth = 10;  ///< pixels, column 0 of both grids

    /// The recovery copy of a modified document is written once the document
    /// has not changed for kRecoveryQuiet, or has had unwritten changes for
    /// kRecoveryMaxDelay, whichever comes first.
    static constexpr std::chrono::seconds kRecoveryQuiet{2};
    static constexpr std::chrono::seconds kRecoveryMaxDelay{10};

    /// Loads the recent-files list from the settings file at settingsPath;
    /// recovery copies are kept in the same folder.
    explicit CLoadCalDiaog(std::wstring settingsPath = CLoadCalRecentFiles::DefaultSettingsPath());
    ~CLoadCalDiaog() override;
    CLoadCalDiaog(const CLoadCalDiaog&) = delete;
    CLoadCalDiaog& operator=(const CLoadCalDiaog&) = delete;

    /// The window that shows the dialog (borrowed).
    void SetUi(ILoadCalUi* ui) { m_pUi = ui; }
    /// Who writes the calculation book (borrowed; none: the command does nothing).
    void SetBookWriter(ICalculationBookWriter* writer) { m_pBookWriter = writer; }
    /// Who writes the drawing and the workbook (borrowed; none: those
    /// commands do nothing).
    void SetOutputWriter(IOutputWriter* writer) { m_pOutputWriter = writer; }

    // Window life and layout.
    /// WM_CREATE: the created size becomes the minimum tracking size.
    void OnCreate(int width, int height);
    /// Sets up search object, grids and the start-up document; returns 1.
    int OnInitDialog();
    /// WM_GETMINMAXINFO: minimum = the created size, maximum = the screen's
    /// maximised window size.
    CMinMaxInfo OnGetMinMaxInfo(int maximizedWidth, int maximizedHeight) const;
    /// WM_SIZE: where the two grids go (see LayoutGrids).
    static CGridLayout OnSize(const CRect& windowInClient, const CRect& loadFrame,
                              const CRect& transformerFrame);
    /// WM_INITMENUPOPUP: enables every item of the opening popup; the File
    /// menu (first drop-down of the menu bar) gets its recent-file entries.
    void OnInitMenuPopup(CMenuModel& popup, bool bSystemMenu);
    /// Tool-tip text of a command id (TTN_GETDISPINFOW), from the string table.
    std::optional<std::wstring> OnToolTipText(unsigned id) const;
    /// Update-UI state of a menu-bar or toolbar command: all of them are
    /// enabled, whatever the document's state; false for other ids (the
    /// recent-file entries keep their state in the menu model).
    bool IsCommandEnabled(unsigned id) const;

    // Commands.
    /// WM_COMMAND, and the recent-file entries 4000 to 4004 (WindowProc).
    /// Returns false for an id that is not a command of the dialog.
    bool OnCommand(unsigned id);
    void OnFileNew();
    void OnFileOpen();
    void OnFileSave();
    void OnFileSaveAs();
    void OnFileExit();
    /// 绘制到Acad and 输出到Excell: the file is written by the output writer
    /// and the window stays open; the status bar names the file, and a box
    /// says so (with the path) when no program could show it. Cancelling a
    /// question of the output cancels that output only.
    void OnOutputDrawing();
    void OnOutputExcel();
    /// 全部重算 (F9): every circuit, every transformer and the totals
    /// recalculated, as one undo step (none when nothing changes).
    void OnRecalculateAll();
    /// True when a recalculation would change a computed figure of the
    /// document or fill an empty one.
    bool HasStaleFigures() const;
    /// 工程信息 (功能 menu): the document's project information and rule
    /// set in their dialog; 确定 applies what it shows
    /// (ApplyDocumentProperties), 取消 changes nothing.
    void OnProjectInfo();
    /// The document takes this project information and rule set as one
    /// undo step. A change of the rule set recalculates every circuit,
    /// board and transformer and the totals under the new rules in that
    /// same step, so that undo returns the old rules with the old figures.
    /// Nothing differs: nothing happens (no step).
    void ApplyDocumentProperties(const CDocumentProperties& properties);
    /// The project information and rule set of the open document.
    CDocumentProperties GetDocumentProperties() const
    {
        return {m_document.project, m_document.rules};
    }
    /// True while the board and transformer grids show the fire case's
    /// columns (取值工况 and the fire figures): in a document where some
    /// circuit has a fire role ("消防" or "火灾时切除").
    bool ShowsFireColumns() const { return m_bFireColumns; }
    /// The status bar's lasting note as last given to the window.
    const std::wstring& GetStatusNote() const { return m_strStatusNote; }
    /// 插入 (Ctrl++): a new three-phase circuit above the load grid's focus
    /// row (a circuit row or the entry row); in the board and transformer
    /// grids a new board or transformer above the focus row (a record's
    /// row or the entry row), with the entry row's proposals and a free name ("新配电箱1",
    /// "新变压器1", ...) whose cell takes the keyboard, to be typed over.
    void OnInsertRow(GridId grid);
    /// Ctrl+D: the top cell of each selected column is typed into the
    /// selected cells below it (circuit or transformer rows; the phase list,
    /// figures and texts alike; not a transformer's name). One undo step.
    void OnFillDown(GridId grid);
    /// Delete: the selected editable cells are cleared as if each were
    /// emptied by hand (one undo step); the phase keeps its value. A circuit
    /// whose key cells all become empty goes, as by hand; when that would
    /// remove more than one circuit or transformer the user is asked first.
    void ClearSelectedCells(GridId grid);
    /// The document's problems as the grids mark them (CheckDocument).
    const CCheckWarnings& GetWarnings() const { return m_warnings; }
    /// 生成计算书: asks for the PDF file in a save dialog proposing the
    /// archive's name with ".pdf", recalculates the document when that
    /// changes a figure (one undo step, as OnRecalculateAll), then has the
    /// book of the records written and shown; a failure is reported in a
    /// box. The dialog stays open.
    void OnCalculationBook();
    /// Cancel button, close box, and Escape once it got past its own question.
    void OnCancel();
    void OnAbout();
    /// Toolbar 32784: phase balancing of every transformer's single-phase
    /// circuits and the phase-current report.
    void OnAdjustPhases();
    /// Opens recent entry id - 4000 (ids 4000 to 4004).
    void OnRecentFile(unsigned id);
    void OnCutRows(GridId grid);
    void OnCopyRows(GridId grid);
    void OnPasteRows(GridId grid);
    void OnDeleteRows(GridId grid);
    /// Edit menu and Ctrl+Z / Ctrl+Y: takes back or does again the last step.
    /// Nothing happens when there is none.
    void OnEditUndo();
    void OnEditRedo();
    bool CanUndo() const { return m_history.CanUndo(); }
    bool CanRedo() const { return m_history.CanRedo(); }
    const CEditHistory& GetHistory() const { return m_history; }

    // Keys on selected rows and the system clipboard.
    /// Ctrl+X and Ctrl+C: the rows go to the grid's row clipboard (as 剪切 and
    /// 复制 do) and, as tab-separated text, to the system clipboard.
    void OnCutKey(GridId grid) { OnCutRows(grid); }
    void OnCopyKey(GridId grid) { OnCopyRows(grid); }
    /// Ctrl+V with the system clipboard's text: on the entry row, a text that
    /// is not the one the last Cut or Copy of this grid put there is pasted
    /// as a spreadsheet's rows (PasteText); otherwise it is 粘贴.
    void OnPasteKey(GridId grid, const std::wstring& clipboardText);
    /// Delete: clears the selected cells (ClearSelectedCells); 删除 of the
    /// context menu removes whole rows.
    void OnDeleteKey(GridId grid) { ClearSelectedCells(grid); }
    /// A spreadsheet's tab-separated rows at the grid's focus cell: line k
    /// goes to row focus + k, cell j to column focus + j. Lines over existing
    /// rows are typed over their cells; lines at and beyond the entry row
    /// each become a new record, as if typed there. Computed columns, the
    /// owner column, empty cells, a phase that is not one of the four and
    /// cells beyond the last column are left out. On the transformer grid a
    /// new line whose name is already taken or holds "," is skipped (the
    /// message is shown once). A paste that would make more circuits than
    /// an archive holds is refused with a message. One undo step.
    void PasteText(GridId grid, const std::wstring& text);
    /// The tab-separated text the last Cut or Copy of this grid produced.
    const std::wstring& GetClipboardText(GridId grid) const
    {
        return m_strClipText[ClipIndex(grid)];
    }

    /// Key-down messages before dispatch: Enter goes to the focused control
    /// (it ends an in-place edit and never closes the dialog); Escape asks the
    /// save question and, unless cancelled, runs OnCancel, which asks again
    /// while the document is still modified. Esc while a cell is being
    /// edited does not come here: the window gives it to the in-place editor,
    /// which cancels that edit only (a deliberate departure from the
    /// original, whose dialog saw Esc before its editor did).
    KeyDisposition PreTranslateKeyDown(DialogKey key);

    // Grid notifications.
    /// End of an in-place edit: the cell takes the text, then the edit rules
    /// of that grid run. Ignored for a cell that is not editable (fixed,
    /// read-only or outside the grid), which no editor can open on.
    void OnEndEdit(GridId grid, int row, int col, const std::wstring& text) override;
    /// The list a load-grid cell is edited through (circuit and entry rows):
    /// the four phases; the load classes or the fire roles, each list with
    /// the empty text; the empty text and the library's types, where a
    /// typed name is taken too.
    std::optional<CCellChoices> CellChoices(GridId grid, int row, int col) const override;
    /// NM_CLICK: the grid makes the cell its focus cell (the selection is the
    /// window's); on the load and board grids the phase column of a record or
    /// the entry row becomes a drop-down list of the four phases, and the
    /// owner column of a record opens the owner choice list (boards and
    /// transformers in two groups; a board is not offered to itself).
    void OnGridClick(GridId grid, int row, int col);
    /// NM_RCLICK: the context menu of the grid where rows and columns allow
    /// it; the chosen command is carried out.
    void OnGridRightClick(GridId grid, int row, int col);
    /// WM_USER + 10: the choice list reports the marked names (list order);
    /// they are stored, joined by ",", in the focus row of the grid the list
    /// was opened on (the load grid unless a board's). A board's owners that
    /// would close a cycle of boards are refused with a message naming them.
    /// Returns 1.
    int OnChoiceReport(const std::vector<std::wstring>& names);

    // Document.
    /// Asks whether to save a modified document: IDYES, IDNO or IDCANCEL;
    /// callers go on unless IDCANCEL. A save that fails (reported by
    /// SaveDocument) gives IDCANCEL, so the caller does not go on; an
    /// untitled document then stays untitled.
    int PromptSaveDocument();
    /// Records to tree to file: 1 when the file was written (the document is
    /// then unmodified and its recovery copy removed), 0 when there is no
    /// path or the write failed. A failure is shown in a box naming the file
    /// and the cause; the document keeps its modified flag and the file its
    /// previous content.
    int SaveDocument();
    /// Tree to records and grids (an absent tree gives the empty document); 1.
    int LoadDocument();
    /// Makes a document read from a file the dialog's own and shows it in
    /// the grids, as LoadDocument does with what it reads.
    void ShowDocument(CLoadCalDocument doc);
    /// Puts a non-empty path at the head of the recent list and saves the list.
    void AddRecentFile(const std::wstring& path);

    // Crash recovery.
    /// The window's recovery timer, about once a second and never while a
    /// command of the dialog runs. A modified document's recovery copy is
    /// written when due (kRecoveryQuiet, kRecoveryMaxDelay; now is the
    /// tick's time); an unmodified document's copy is removed. A copy that
    /// cannot be written is not reported (the next change tries again): the
    /// save itself reports its failures.
    void OnRecoveryTimer(std::chrono::steady_clock::time_point now);
    /// Where this dialog's recovery copy is, when it has one.
    std::optional<std::wstring> GetRecoveryCopyPath() const;

    // Operations on records and grids.
    /// Recalculates circuit i under the document's rule set, shows its four
    /// results and refreshes the totals (with the boards and transformers
    /// the circuit feeds).
    void RecalculateRow(int i);
    /// Replaces a transformer's or board's name in every owner list, the
    /// circuits' and the boards' (an empty new name removes it), and shows
    /// the lists as they now stand.
    void ReplaceOwnerName(const std::wstring& oldName, const std::wstring& newName);
    /// Black text on the rows marked by Cut while the clipboard holds them,
    /// the default colour otherwise.
    void MarkCutRows(GridId grid);
    /// Shows the first drop-down of context-menu resource menuId at the
    /// cursor and carries out the chosen command; a missing resource or
    /// drop-down, or a menu that cannot be shown, is reported in a box.
    void TrackContextMenu(int menuId);

    // IPhaseBalanceHost.
    std::wstring GetTitle() const override { return m_strTitle; }
    void SetTitle(const std::wstring& title) override;
    void SetPhaseCell(int record, const std::wstring& phase) override;
    /// The report in a message box with OK only, under the application's name.
    void ShowReport(const std::wstring& report) override;
    /// Recomputes one cell of the total row and marks the document modified.
    void RefreshTotalCell(int column) override;
    /// The boards and transformers the changed records feed are recalculated
    /// under the document's rule set and shown (UpdateGroups).
    void RecalculateAllTransformers() override;
    void RefreshLoadGrid() override { m_gridLoad.Refresh(); }

    // The load-type library.
    /// The library the dialog works with.
    const CLoadTypeLibrary& GetLoadTypes() const { return m_loadTypes; }
    /// The user library's file (负荷类型库.json beside the settings file).
    const std::wstring& GetUserLoadTypesPath() const { return m_strUserLoadTypesPath; }
    /// Reads the user library again and lays it over the shipped one; a
    /// file that is refused is reported in a box (its line and reason) and
    /// the shipped library is used alone. False when it was refused.
    bool ReloadLoadTypes();
    /// 负荷类型库 (功能 menu): the user library as its file now holds it (a
    /// refused file is reported, and 确定 will replace it) in its editor;
    /// after 确定 the dialog works with the new library and its checks mark
    /// the circuits by it. Cancelled, nothing changes.
    void OnLoadTypeLibrary();

    // The supply tree beside the grids, and the load grid's view of it.
    /// The document's supply tree as the window shows it (CSupplyTree). It
    /// follows every change of names and owner lists, undo and redo included;
    /// the window is given it (ILoadCalUi::ShowSupplyTree) whenever it or the
    /// node selected changes.
    const CSupplyTree& GetSupplyTree() const { return m_supplyTree; }
    /// The node whose circuits the load grid shows (All: every circuit).
    const CSupplyFilter& GetSupplyFilter() const { return m_supplyFilter; }
    /// The node of the tree that is current (an index into its nodes).
    int GetSupplyNode() const { return m_nShownNode; }
    /// A click on a node of the supply tree (an index into its nodes): the
    /// load grid shows only the circuits fed directly from it (a board: its
    /// own circuits; a transformer: the circuits whose owner list names it;
    /// 全部: all), in list order, then the entry row; the total row keeps
    /// the document's totals and says so ("全部总计:"), as does the status
    /// bar. The filter is a view: nothing of the document changes and no undo
    /// step is made. While a board or transformer is selected, a circuit
    /// added in the load grid (the entry row, 插入, a spreadsheet paste, a
    /// row paste whose circuit does not name it) is fed from it: its owner
    /// list becomes the node's name. A circuit whose owner list no longer
    /// names the node leaves the view at the end of the command that changed
    /// it. A node that goes (its board or transformer deleted, or a rename
    /// undone elsewhere) gives way to 全部; a renamed one is followed.
    void OnSupplyNodeClick(int node);
    /// The same for the first node the filter stands for; a filter no node
    /// stands for shows every circuit.
    void ShowSupplyFilter(const CSupplyFilter& filter);
    /// The load grid's rows as they stand: row r (1 .. ShownLoadCount())
    /// shows circuit LoadRecordOfRow(r); the entry row LoadEntryRow() adds a
    /// circuit at the end of the list (its record index is the list's size).
    /// Without a filter row r shows circuit r - 1, as it always has.
    int ShownLoadCount() const
    {
        return IsLoadFiltered() ? static_cast<int>(m_arrShownLoads.size()) : m_arrLoad.GetSize();
    }
    int LoadEntryRow() const { return ShownLoadCount() + 1; }
    /// The circuit a load-grid row shows, the list's size for the entry row,
    /// -1 for any other row.
    int LoadRecordOfRow(int row) const;
    /// The load-grid row that shows circuit i, or -1 when the filter hides it.
    int LoadRowOfRecord(int i) const;

    // State, for the window, the command that runs the dialog, and tests.
    CGridCtrl& GetGrid(GridId grid) override
    {
        return grid == GridId::Load ? m_gridLoad
                                    : (grid == GridId::Board ? m_gridBoard : m_gridTransformer);
    }
    const CGridCtrl& GetGrid(GridId grid) const
    {
        return grid == GridId::Load ? m_gridLoad
                                    : (grid == GridId::Board ? m_gridBoard : m_gridTransformer);
    }
    const CLoadCalDocument& GetDocument() const { return m_document; }
    const CLoadArray& GetLoads() const { return m_arrLoad; }
    const CTransformerArray& GetTransformers() const { return m_arrTransformer; }
    const CBoardArray& GetBoards() const { return m_arrBoard; }
    const std::wstring& GetFilePath() const { return m_strFilePath; }
    bool IsModified() const { return m_bModified != 0; }
    /// 0 none, 1 draw into the drawing, 2 export to Excel.
    int GetOutputMode() const { return m_nOutputMode; }
    /// The code the dialog ended with, or nothing while it runs.
    std::optional<int> GetEndResult() const { return m_nEndResult; }
    CMenuModel& GetMenuBar() { return m_menuBar; }
    const CLoadCalRecentFiles& GetRecentFiles() const { return m_recentFiles; }
    /// The recent-files list with its settings tree, where the window also
    /// keeps its layout.
    CLoadCalRecentFiles& GetRecentFiles() { return m_recentFiles; }
    const CInterDpData* GetDataStore() const { return m_pIdpData.get(); }
    const CLoadArray& GetLoadClipboard() const { return m_arrClipLoad; }
    const CTransformerArray& GetTransformerClipboard() const { return m_arrClipTransformer; }
    const CBoardArray& GetBoardClipboard() const { return m_arrClipBoard; }
    bool IsCut(GridId grid) const;
    const CArray<int>& GetCutRows(GridId grid) const;
    const CStringArray& GetPhaseList() const { return m_arrPhase; }
    const CChoiceWindow& GetChoiceWindow() const { return *m_pChoiceWindow; }
    int GetGenerations() const { return m_nGenerations; }
    /// The phase-balancing search object (null before OnInitDialog).
    const CExtremum* GetPhaseSearch() const { return m_pExtremum.get(); }
    int GetMinTrackWidth() const { return m_nMinTrackWidth; }
    int GetMinTrackHeight() const { return m_nMinTrackHeight; }

private:
    ILoadCalUi& Ui() const;
    int MessageBox(std::wstring_view text, std::wstring_view caption, unsigned style);
    void EndDialog(int result);
    CFileDialogOptions FileDialogSpec() const;
    void SetDocumentTitle();
    /// Recomputes the warnings after a step (null: everything) and marks
    /// the cells they name.
    void RefreshWarnings(const CDocumentStep* step);
    /// Asks before one action removes count (more than one) records.
    bool ConfirmRemoval(GridId grid, int count);
    /// New circuits from pasted lines, each as if typed into the entry row,
    /// added at once.
    void AppendLoadLines(const std::vector<std::vector<std::wstring>>& lines, size_t first,
                         int col);
    /// Runs an output through the writer and tells the user where it went.
    void RunOutput(bool drawing);
    /// Every circuit, board and transformer and the totals under the
    /// document's rule set, recorded into the running command and shown;
    /// false when no record changed.
    bool RecalculateEverything();
    /// Gives the window the status bar's lasting note: the load grid's
    /// filter and the rule set in force.
    void UpdateStatusNote();
    bool IsLoadFiltered() const { return m_supplyFilter.kind != SupplyNodeKind::All; }
    /// The load grid shows what the filter stands for (every circuit when no
    /// node of the tree does); the status bar says so.
    void ApplySupplyFilter(const CSupplyFilter& filter);
    /// The circuits the filter shows, list order.
    std::vector<int> FilteredLoads();
    /// The view's row map after a row of the load grid showing circuit
    /// record came (the circuits from record on moved down one) or went.
    void NoteLoadRowInserted(int row, int record);
    void NoteLoadRowRemoved(int row);
    /// The phase the entry row proposes: the board's own in the view of a
    /// single-phase board, else three-phase.
    std::wstring EntryPhase() const;
    /// Circuit i, just added in the load grid while a board or transformer
    /// is selected, is fed from it (its owner cell shows it).
    void FeedNewCircuitFromNode(int i);
    /// After a step done, undone (backwards) or redone: the fire columns
    /// follow the fire roles, the tree the names and owner lists, the filter
    /// a rename of its node (or gives way to 全部 when its node went), and
    /// the load grid the circuits the filter now shows; the window is told
    /// what changed.
    void FollowSupplyTree(const CDocumentStep* step, bool backwards);
    /// Takes the tree built anew and, when it or the node selected changed,
    /// shows it.
    void RebuildSupplyTree(CSupplyTree tree);
    /// The cells of the warnings as they stand (after the load grid was
    /// filled anew).
    void MarkWarningCells();
    /// Reads an archive and makes it the document; a file that cannot be read
    /// whole is refused with a box naming it and what is wrong, and the open
    /// document stays as it was (false).
    bool OpenExistingFile(const std::wstring& path);
    static bool FileExists(const std::wstring& path);
    /// Offers, one after another, the recovery copies of windows that did
    /// not end normally; Yes restores one as a modified document (and stops),
    /// No removes that copy.
    void OfferRecovery();
    void WriteRecoveryCopy();
    void RemoveRecoveryCopy();

    /// The grids with their titles (load, transformer and board grid), one
    /// fixed row and column each.
    void CreateGrids();
    void CreateGrid(CGridCtrl& grid, std::span<const TableColumn> columns);
    void FillLoadGrid();
    void FillTransformerGrid();
    void FillLoadRow(int row, const CLoadCalData& record);
    void FillLoadEntryRow(int row, const std::wstring& voltage, const std::wstring& demandFactor,
                          const std::wstring& powerFactor);
    void FillTransformerRow(int row, const CTransformerCalData& record);
    void FillTransformerEntryRow(int row);
    void ShowTransformerResults(int index);
    void FillBoardGrid();
    /// The fire case's columns of the board and transformer grids shown
    /// (a document with fire roles) or not; the grids are filled anew when
    /// that changes.
    void ShowFireColumns(bool shown);
    void FillBoardRow(int row, const CBoardCalData& record);
    void FillBoardEntryRow(int row);
    void ShowBoardResults(int index);

    void SetLoadField(int i, int k, const std::wstring& text);
    /// False for a text load-grid column col does not take: a phase that is
    /// not one of the four, a load class or fire role not of its list.
    bool AcceptsLoadText(int col, const std::wstring& text) const;
    /// Circuit i takes its type's Kx and cos φ (TakeFiguresFromLoadType) and
    /// shows them; true when a figure changed. Nothing is recalculated.
    bool TakeLoadTypeFigures(int i);
    void SetTransformerField(int i, int k, const std::wstring& text);
    /// Circuit i has no key cell left (IsBlankInView): it goes.
    bool IsLoadEmpty(int i) const;
    /// The circuit's key cells are empty (CLoadCalData::IsBlank), its owner
    /// list aside when that is the name of the board or transformer whose
    /// view the load grid shows (which the view gave it).
    bool IsBlankInView(const CLoadCalData& circuit) const;
    bool IsTransformerEmpty(int i) const;
    void OnEndEditLoad(int row, int col);
    void OnEndEditTransformer(int row, int col);
    void OnEndEditBoard(int row, int col);
    /// The message that refuses a name already taken, or "," or blanks in
    /// one, for record index of grid (transformer or board grid; index =
    /// the list's size for the entry row); nothing when the name may stand.
    std::optional<std::wstring_view> RefusedName(GridId grid, int index,
                                                 const std::wstring& typed) const;
    /// True when giving board index the record proposed would close a cycle
    /// of owners: the message naming the boards has then been shown.
    bool RefuseBoardCycle(int index, const CBoardCalData& proposed);
    /// True when pasting the board clipboard (after a pending Cut's
    /// removal) leaves the boards without a cycle they did not have; else
    /// the message naming the boards is shown and false returned.
    bool PasteKeepsBoardsAcyclic();
    void ShowPhaseCombo(GridId grid, int row, int col);
    void ShowChoiceList(GridId grid, int row, int col);
    static size_t ClipIndex(GridId grid)
    {
        return grid == GridId::Load ? 0 : (grid == GridId::Transformer ? 1 : 2);
    }

    /// Selected data rows in ascending order; nothing when the grid is too
    /// small to hold a data row (the row commands then do nothing).
    std::optional<std::vector<int>> SelectedRows(GridId grid) const;
    /// Cut (cut = true) or Copy of the selected rows into the grid's clipboard.
    void FillClipboard(GridId grid, bool cut);
    void RefreshTotals();
    void ShowTotalCell(const SummaryTotals& totals, int column);
    /// The number columns get their check (kNotANumberColour, NumberCellTip).
    void SetUpNumberChecks();

    /// One command: the changes made while the outermost scope is alive
    /// become one undo step when it ends.
    class CCommandScope {
    public:
        explicit CCommandScope(CLoadCalDiaog& dialog);
        ~CCommandScope();
        CCommandScope(const CCommandScope&) = delete;
        CCommandScope& operator=(const CCommandScope&) = delete;

    private:
        CLoadCalDiaog& m_dialog;
    };
    /// The record arrays as the current command changes them (recorded while
    /// a command runs); the indices changed are noted for UpdateGroups.
    CRecordedArray<CLoadCalData> Loads();
    CRecordedArray<CTransformerCalData> Transformers();
    CRecordedArray<CBoardCalData> Boards();
    /// The supply tree's index (circuits -> boards -> transformers) after an
    /// edit: kept between edits and told of the records changed since, so
    /// that the boards and transformers they feed are recalculated under the
    /// document's rule set, recorded in the running step and shown. Rows
    /// that came or went, an owner list or a name that changed build it
    /// again and recalculate every board and transformer. Without boards a
    /// changed circuit recalculates every transformer, as it always has.
    const CSupplyIndex& UpdateGroups();
    /// After undo or redo, whose step put back every figure it had changed:
    /// the index takes the records as they stand (or is dropped, to be built
    /// again), and nothing is recalculated.
    void TakeChanges();
    /// Undo (backwards) or redo of a step: records, grids, modified mark.
    void ApplyStep(const CDocumentStep& step, bool backwards);
    void EndPendingCut(GridId grid);
    /// Runs edits of many cells (Delete, fill down, a block paste) with the
    /// totals and transformers recalculated once at their end, if any edit
    /// asked for it, instead of after every cell.
    void WithRecalculationDeferred(const std::function<void()>& edits);
    /// 插入 in the board or transformer grid.
    void InsertNamedRow(GridId grid);
    /// New transformers or boards from pasted lines, each typed into the
    /// entry row; a line whose name is refused is left out (its message
    /// shown once).
    void PasteNamedLines(GridId grid, const std::vector<std::vector<std::wstring>>& lines, int col);
    std::wstring RowsAsText(GridId grid, const std::vector<int>& rows) const;

    CGridCtrl m_gridLoad;
    CGridCtrl m_gridTransformer;
    /// One row per distribution board, then its entry row.
    CGridCtrl m_gridBoard;
    std::unique_ptr<CInterDpData> m_pIdpData;
    std::wstring m_strFilePath;
    CModifiedFlag m_bModified;
    /// The open document; the two record arrays are its lists, under the
    /// names every rule of the dialog uses.
    CLoadCalDocument m_document;
    CLoadArray& m_arrLoad = m_document.loads;
    CTransformerArray& m_arrTransformer = m_document.transformers;
    CBoardArray& m_arrBoard = m_document.boards;
    int m_nOutputMode = 0;
    ICalculationBookWriter* m_pBookWriter = nullptr;
    IOutputWriter* m_pOutputWriter = nullptr;
    /// The warnings as the grids mark them: per circuit, the transformers',
    /// the whole list, the transformer names the circuit checks saw, and the
    /// cells marked.
    std::vector<CCheckWarnings> m_circuitWarnings;
    std::vector<CCheckWarnings> m_circuitTypeWarnings;  ///< per circuit, by the library
    CCheckWarnings m_boardWarnings;
    CCheckWarnings m_warnings;
    std::vector<std::wstring> m_warnedNames;
    std::vector<std::pair<GridId, CCellID>> m_markedCells;
    CBtnDataBase m_btnDataBase;
    int m_nGenerations = 1000;
    std::unique_ptr<CExtremum> m_pExtremum;
    int m_nMinTrackWidth = 500;
    int m_nMinTrackHeight = 320;
    std::unique_ptr<CChoiceWindow> m_pChoiceWindow;
    CLoadCalRecentFiles m_recentFiles;
    CLoadArray m_arrClipLoad;
    CTransformerArray m_arrClipTransformer;
    int m_bLoadCut = 0;
    CArray<int> m_arrCutLoadRows;
    int m_bTransformerCut = 0;
    CArray<int> m_arrCutTransformerRows;
    CBoardArray m_arrClipBoard;  ///< board-row clipboard
    int m_bBoardCut = 0;
    CArray<int> m_arrCutBoardRows;
    /// The grid whose owner cell the choice list stands over.
    GridId m_choiceGrid = GridId::Load;
    /// The text the cell of the edit being ended showed before it.
    std::wstring m_strCellBefore;
    CStringArray m_arrPhase;
    CLoadTypeLibrary m_loadTypes;
    CLoadTypeLibrary m_userLoadTypes;  ///< the user library as last read or written
    std::wstring m_strUserLoadTypesPath;
    CEditHistory m_history;
    CDocumentStep m_step;  ///< what the running command changed so far
    int m_nCommandDepth = 0;
    /// While a spreadsheet paste types its cells, the transformers and totals
    /// are recalculated once at its end instead of after every cell.
    bool m_bDeferRecalculation = false;
    bool m_bRecalculationPending = false;
    std::wstring m_strClipText[3];                 ///< load grid, transformer grid, board grid
    std::unique_ptr<CSupplyIndex> m_pSupplyIndex;  ///< null: to be built
    /// Records changed since the index was brought up to date (-1: rows came
    /// or went).
    std::vector<int> m_arrTouchedLoads;
    std::vector<int> m_arrTouchedBoards;
    std::vector<int> m_arrTouchedTransformers;
    /// The supply tree, the node the load grid shows and, while it is not
    /// 全部, the circuits it shows (list order; row r shows entry r - 1).
    CSupplyTree m_supplyTree;
    CSupplyFilter m_supplyFilter;
    std::vector<int> m_arrShownLoads;
    int m_nShownNode = 0;         ///< the node the window was last told is selected
    bool m_bFireColumns = false;  ///< the fire case's columns are shown

    ILoadCalUi* m_pUi = nullptr;
    std::wstring m_strTitle;
    std::wstring m_strStatusNote;
    CMenuModel m_menuBar;
    std::optional<int> m_nEndResult;

    std::unique_ptr<CRecoveryFiles> m_pRecovery;
    uint64_t m_nRecoverySeen = 0;       ///< change count the timer last saw
    uint64_t m_nRecoveryAttempted = 0;  ///< change count of the last copy tried
    std::chrono::steady_clock::time_point m_lastChangeSeen;
    std::chrono::steady_clock::time_point m_firstUnwrittenSeen;
};

}  // namespace loadcal
