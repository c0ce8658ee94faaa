// Cut, copy, paste and delete of whole rows, with the two row clipboards and
// the deferred removal of cut rows.
#include <algorithm>
#include <functional>

#include "dialog/LoadCalDiaog.h"
#include "dialog/LoadCalTexts.h"
#include "model/BoardGraph.h"

namespace loadcal {
namespace {

/// One grid with its records, clipboard and cut state, so that the row
/// commands are written once for every grid. Rows here are record rows
/// (record i is row i + 1), which the grid shows as they are unless
/// gridFollows is false (the load grid showing one node's circuits, which
/// is filled anew afterwards).
template <class Record>
struct RowSide {
    CGridCtrl& grid;
    CRecordedArray<Record> records;
    CArray<Record>& clipboard;
    int& cutFlag;
    CArray<int>& cutRows;
    bool gridFollows = true;
};

int IndexOf(const CArray<int>& rows, int row)
{
    for (int j = 0; j < rows.GetSize(); ++j) {
        if (rows[j] == row) {
            return j;
        }
    }
    return -1;
}

template <class Record>
void Cut(RowSide<Record> side, const std::vector<int>& rows)
{
    side.clipboard.RemoveAll();
    side.cutRows.RemoveAll();
    for (int r : rows) {
        side.clipboard.Add(side.records[r - 1]);
        side.cutRows.Add(r);
    }
    side.cutFlag = 1;
}

template <class Record>
void Copy(RowSide<Record> side, const std::vector<int>& rows)
{
    // The cut-row list is kept: Copy only unmarks those rows.
    side.clipboard.RemoveAll();
    for (int r : rows) {
        side.clipboard.Add(side.records[r - 1]);
    }
    side.cutFlag = 0;
}

/// Carries out a pending Cut before a paste at row r and returns the target
/// row as it stands afterwards, or nothing when the target moved out of
/// bounds (then nothing changed).
template <class Record, class Bound, class Mark>
std::optional<int> RemoveCutRows(RowSide<Record> side, int r, Bound inBounds, Mark mark)
{
    // A row that is itself being moved cannot be the target.
    while (IndexOf(side.cutRows, r) >= 0) {
        --r;
    }
    if (!inBounds(r)) {
        return std::nullopt;
    }
    mark();
    for (int j = 0; j < side.cutRows.GetSize(); ++j) {
        const int row = side.cutRows[j];
        if (row < r) {
            --r;
        }
        if (side.gridFollows) {
            side.grid.DeleteRow(row);
        }
        side.records.RemoveAt(row - 1);
        for (int k = j; k < side.cutRows.GetSize(); ++k) {
            --side.cutRows[k];
        }
    }
    side.cutRows.RemoveAll();
    return r;
}

/// Inserts the clipboard's rows at row r and its records into the array;
/// returns the index of the first record inserted.
template <class Record, class Fill>
int InsertClipboard(RowSide<Record> side, int r, Fill fill)
{
    const int k = side.clipboard.GetSize();
    if (side.gridFollows) {
        const int height = side.grid.GetRowHeight(r);
        for (int i = 0; i < k; ++i) {
            side.grid.InsertRow(L"", r);
            side.grid.SetRowHeight(r, height);
        }
        for (int i = 0; i < k; ++i) {
            fill(r + i, side.clipboard[i]);
        }
    }
    // The paste asymmetry: a paste on the second-to-last data row shows the
    // rows there but appends the records at the end of the array.
    const int at = r == side.records.GetSize() - 1 ? side.records.GetSize() : r - 1;
    for (int i = 0; i < k; ++i) {
        side.records.InsertAt(at + i, side.clipboard[i]);
    }
    return at;
}

/// Paste at row r: a pending Cut is carried out first, then the clipboard is
/// inserted with fill; a Cut pastes once. The grid's selection survives.
/// The first record inserted and how many, or nothing when the target moved
/// out of bounds (then nothing changed).
template <class Record, class Bound, class Mark, class Fill>
std::optional<std::pair<int, int>> PasteRecords(RowSide<Record> side, int r, Bound inBounds,
                                                Mark mark, Fill fill)
{
    const bool wasCut = side.cutFlag != 0;
    if (wasCut) {
        const std::optional<int> target = RemoveCutRows(side, r, inBounds, mark);
        if (!target) {
            return std::nullopt;
        }
        r = *target;
    }
    const CCellRange selection = side.grid.GetSelectedRange();
    const int count = side.clipboard.GetSize();
    const int at = InsertClipboard(side, r, fill);
    if (wasCut) {
        side.clipboard.RemoveAll();
        side.cutFlag = 0;
    }
    if (side.gridFollows) {
        side.grid.Refresh();
        side.grid.SetSelectedRange(selection);
    }
    return std::pair{at, count};
}

}  // namespace

std::optional<std::vector<int>> CLoadCalDiaog::SelectedRows(GridId grid) const
{
    const CGridCtrl& g = GetGrid(grid);
    const int rows = g.GetRowCount();
    // Load grid: circuit rows, columns 1 to 13. Transformer grid: transformer
    // rows, columns 1 to 12 only (a selection in 13 to 16 selects no row).
    // Board grid: board rows, every column.
    const bool load = grid == GridId::Load;
    const int minRows = load ? 5 : 3;
    const int lastRow = load ? rows - 4 : rows - 2;
    if (rows < minRows) {
        return std::nullopt;
    }
    std::vector<int> selected;
    for (int r = 1; r <= lastRow; ++r) {
        for (int c = 1; c < g.GetColumnCount(); ++c) {
            if (ColumnHas(grid, c, column::kSelectsRow) && g.IsCellSelected(r, c)) {
                selected.push_back(r);
                break;
            }
        }
    }
    return selected;
}

bool CLoadCalDiaog::IsCut(GridId grid) const
{
    switch (grid) {
        case GridId::Load:
            return m_bLoadCut != 0;
        case GridId::Board:
            return m_bBoardCut != 0;
        case GridId::LoadTypes:  // not a grid of this window
            return false;
        case GridId::Transformer:
            break;
    }
    return m_bTransformerCut != 0;
}

const CArray<int>& CLoadCalDiaog::GetCutRows(GridId grid) const
{
    switch (grid) {
        case GridId::Load:
            return m_arrCutLoadRows;
        case GridId::Board:
            return m_arrCutBoardRows;
        case GridId::LoadTypes:  // not a grid of this window; never asked
        case GridId::Transformer:
            break;
    }
    return m_arrCutTransformerRows;
}

void CLoadCalDiaog::MarkCutRows(GridId grid)
{
    CGridCtrl& g = GetGrid(grid);
    const int clipSize =
        grid == GridId::Load
            ? m_arrClipLoad.GetSize()
            : (grid == GridId::Board ? m_arrClipBoard.GetSize() : m_arrClipTransformer.GetSize());
    const bool cut = IsCut(grid);
    const COLORREF colour = clipSize > 0 && cut ? kCutTextColour : CLR_DEFAULT;
    // The heading and the columns the table marks; the load grid's cut rows
    // are record rows, shown where its view shows them.
    for (int marked : GetCutRows(grid)) {
        const int row = grid == GridId::Load ? LoadRowOfRecord(marked - 1) : marked;
        if (row < 1) {
            continue;
        }
        for (int c = 0; c < g.GetColumnCount(); ++c) {
            if (c == 0 || ColumnHas(grid, c, column::kCutMark)) {
                g.SetItemFgColour(row, c, colour);
            }
        }
    }
}

void CLoadCalDiaog::OnCutRows(GridId grid)
{
    FillClipboard(grid, true);
}

void CLoadCalDiaog::OnCopyRows(GridId grid)
{
    FillClipboard(grid, false);
}

void CLoadCalDiaog::FillClipboard(GridId grid, bool cut)
{
    const std::optional<std::vector<int>> rows = SelectedRows(grid);
    if (!rows) {
        return;
    }
    if (grid == GridId::Load) {
        // The circuits of the rows, as record rows: a cut is pasted after
        // the view may have changed.
        std::vector<int> records;
        for (int r : *rows) {
            records.push_back(LoadRecordOfRow(r) + 1);
        }
        const RowSide<CLoadCalData> side{m_gridLoad, Loads(), m_arrClipLoad, m_bLoadCut,
                                         m_arrCutLoadRows};
        cut ? Cut(side, records) : Copy(side, records);
    } else if (grid == GridId::Board) {
        const RowSide<CBoardCalData> side{m_gridBoard, Boards(), m_arrClipBoard, m_bBoardCut,
                                          m_arrCutBoardRows};
        cut ? Cut(side, *rows) : Copy(side, *rows);
    } else {
        const RowSide<CTransformerCalData> side{m_gridTransformer, Transformers(),
                                                m_arrClipTransformer, m_bTransformerCut,
                                                m_arrCutTransformerRows};
        cut ? Cut(side, *rows) : Copy(side, *rows);
    }
    MarkCutRows(grid);
    // The rows also go out as a spreadsheet's text; with no row selected the
    // system clipboard keeps what another program put there.
    if (!rows->empty()) {
        std::wstring& text = m_strClipText[ClipIndex(grid)];
        text = RowsAsText(grid, *rows);
        Ui().SetClipboardText(text);
    }
}

bool CLoadCalDiaog::PasteKeepsBoardsAcyclic()
{
    // Whether boards feed each other in a ring does not depend on their
    // order: the boards as they stand, less those cut, with the clipboard's.
    CBoardArray after = m_arrBoard;
    if (m_bBoardCut != 0) {
        std::vector<int> cut(m_arrCutBoardRows.begin(), m_arrCutBoardRows.end());
        std::ranges::sort(cut, std::greater<>());
        for (int row : cut) {
            if (row >= 1 && row <= after.GetSize()) {
                after.RemoveAt(row - 1);
            }
        }
    }
    for (const CBoardCalData& b : m_arrClipBoard) {
        after.Add(b);
    }
    const std::vector<int> cycle = FindBoardCycle(after);
    if (cycle.empty() || !FindBoardCycle(m_arrBoard).empty()) {
        return true;
    }
    MessageBox(texts::FormatText(texts::kBoardCycleFormat, CycleText(BoardNames(after, cycle))),
               texts::kNoticeCaption, MB_ICONINFORMATION);
    return false;
}

void CLoadCalDiaog::OnPasteRows(GridId grid)
{
    const bool load = grid == GridId::Load;
    CGridCtrl& g = GetGrid(grid);
    // While the load grid shows one node's circuits, the paste works on
    // record rows and the grid is filled anew afterwards.
    const bool filtered = load && IsLoadFiltered();
    // Load grid: a circuit row or the entry row; transformer grid: a
    // transformer row or the entry row.
    auto inBounds = [this, &g, load, filtered](int row) {
        if (filtered) {
            return row >= 1 && row <= m_arrLoad.GetSize() + 1;
        }
        return row >= 1 && row < (load ? g.GetRowCount() - 2 : g.GetRowCount());
    };
    int r = g.GetFocusCell().row;
    if (filtered) {
        r = LoadRecordOfRow(r) + 1;
    }
    CCommandScope command(*this);
    const int clipSize =
        load ? m_arrClipLoad.GetSize()
             : (grid == GridId::Board ? m_arrClipBoard.GetSize() : m_arrClipTransformer.GetSize());
    if (!inBounds(r) || clipSize < 1) {
        return;
    }
    auto mark = [this, grid] {
        MarkCutRows(grid);
    };
    if (load) {
        const RowSide<CLoadCalData> side{m_gridLoad, Loads(),          m_arrClipLoad,
                                         m_bLoadCut, m_arrCutLoadRows, !filtered};
        const auto pasted =
            PasteRecords(side, r, inBounds, mark,
                         [this](int row, const CLoadCalData& rec) { FillLoadRow(row, rec); });
        if (!pasted) {
            return;
        }
        if (filtered) {
            // Pasted while a board or transformer is selected: fed from it
            // (a circuit whose owner list names it keeps its list).
            for (int k = 0; k < pasted->second; ++k) {
                FeedNewCircuitFromNode(pasted->first + k);
            }
            FillLoadGrid();
            MarkCutRows(GridId::Load);
        }
        RefreshTotals();
        RecalculateAllTransformers();
    } else if (grid == GridId::Board) {
        // Pasted boards must not make boards feed each other in a ring.
        if (!PasteKeepsBoardsAcyclic()) {
            return;
        }
        const RowSide<CBoardCalData> side{m_gridBoard, Boards(), m_arrClipBoard, m_bBoardCut,
                                          m_arrCutBoardRows};
        if (!PasteRecords(side, r, inBounds, mark, [this](int row, const CBoardCalData& rec) {
                 FillBoardRow(row, rec);
             }).has_value()) {
            return;
        }
        RecalculateAllTransformers();
    } else {
        const RowSide<CTransformerCalData> side{m_gridTransformer, Transformers(),
                                                m_arrClipTransformer, m_bTransformerCut,
                                                m_arrCutTransformerRows};
        if (!PasteRecords(side, r, inBounds, mark, [this](int row, const CTransformerCalData& rec) {
                 FillTransformerRow(row, rec);
             }).has_value()) {
            return;
        }
    }
    m_bModified = 1;
}

void CLoadCalDiaog::OnDeleteRows(GridId grid)
{
    const bool load = grid == GridId::Load;
    CGridCtrl& g = GetGrid(grid);
    const std::optional<std::vector<int>> selected = SelectedRows(grid);
    if (!selected) {
        return;
    }
    std::vector<int> rows = *selected;
    // While the load grid shows one node's circuits, its rows are turned
    // into record rows (the cut rows are), and the grid is filled anew.
    const bool filtered = load && IsLoadFiltered();
    if (filtered) {
        for (int& row : rows) {
            row = LoadRecordOfRow(row) + 1;
        }
    }
    // One action that would remove several records asks first.
    if (!ConfirmRemoval(grid, static_cast<int>(rows.size()))) {
        return;
    }
    CCommandScope command(*this);
    CArray<int>& cutRows =
        load ? m_arrCutLoadRows
             : (grid == GridId::Board ? m_arrCutBoardRows : m_arrCutTransformerRows);
    for (int row : rows) {
        const int j = IndexOf(cutRows, row);
        if (j >= 0) {
            cutRows.RemoveAt(j);
            if (load) {
                m_arrClipLoad.RemoveAt(j);
            } else if (grid == GridId::Board) {
                m_arrClipBoard.RemoveAt(j);
            } else {
                m_arrClipTransformer.RemoveAt(j);
            }
        }
    }
    if (rows.empty()) {
        return;
    }
    // The cut-row numbers that remain are not shifted.
    for (size_t i = 0; i < rows.size(); ++i) {
        const int row = rows[i];
        if (grid == GridId::Transformer) {
            ReplaceOwnerName(m_arrTransformer[row - 1].m_strName, L"");
        } else if (grid == GridId::Board) {
            ReplaceOwnerName(m_arrBoard[row - 1].m_strName, L"");
        }
        if (!filtered) {
            g.DeleteRow(row);
        }
        if (load) {
            Loads().RemoveAt(row - 1);
        } else if (grid == GridId::Board) {
            Boards().RemoveAt(row - 1);
        } else {
            Transformers().RemoveAt(row - 1);
        }
        for (size_t k = i; k < rows.size(); ++k) {
            --rows[k];
        }
    }
    if (filtered) {
        FillLoadGrid();
        MarkCutRows(GridId::Load);
    }
    // A transformer that goes leaves the owner lists, which the totals group by.
    RefreshTotals();
    RecalculateAllTransformers();
    g.Refresh();
    m_bModified = 1;
}

}  // namespace loadcal
