// The board grid's edit rules: names unique across boards and transformers,
// owner lists that never close a ring of boards, and the entry row.
#include "dialog/LoadCalDiaog.h"
#include "dialog/LoadCalTexts.h"
#include "model/BoardGraph.h"
#include "model/Text.h"

namespace loadcal {
namespace {

/// What the board grid's entry row proposes: a three-phase board with the
/// default factors, nothing else.
CBoardCalData BoardProposal()
{
    CBoardCalData proposal;
    for (int f = 0; f < CBoardCalData::kFieldCount; ++f) {
        if (f != CBoardCalData::kPhase && f != CBoardCalData::kKp && f != CBoardCalData::kKq) {
            proposal.FieldAt(f).clear();
        }
    }
    return proposal;
}

}  // namespace

std::optional<std::wstring_view> CLoadCalDiaog::RefusedName(GridId grid, int index,
                                                            const std::wstring& typed) const
{
    const bool board = grid == GridId::Board;
    const std::wstring name = Trim(typed);
    if (name.find(L',') != std::wstring::npos) {
        return board ? texts::kCommaInBoardName : texts::kCommaInTransformerName;
    }
    if (name.empty()) {
        // Clearing the cell removes the record; blanks alone are no name.
        if (typed.empty()) {
            return std::nullopt;
        }
        return board ? texts::kBlankBoardName : texts::kBlankTransformerName;
    }
    for (int i = 0; i < m_arrTransformer.GetSize(); ++i) {
        if ((board || i != index) && EqualsNoCase(name, m_arrTransformer[i].m_strName)) {
            return board ? texts::kNameOfTransformer : texts::kDuplicateTransformer;
        }
    }
    for (int i = 0; i < m_arrBoard.GetSize(); ++i) {
        if ((!board || i != index) && EqualsNoCase(name, m_arrBoard[i].m_strName)) {
            return board ? texts::kDuplicateBoard : texts::kNameOfBoard;
        }
    }
    return std::nullopt;
}

bool CLoadCalDiaog::RefuseBoardCycle(int index, const CBoardCalData& proposed)
{
    const std::vector<std::wstring> cycle = CycleIfBoardChanged(m_arrBoard, index, proposed);
    if (cycle.empty()) {
        return false;
    }
    MessageBox(texts::FormatText(texts::kBoardCycleFormat, CycleText(cycle)), texts::kNoticeCaption,
               MB_ICONINFORMATION);
    return true;
}

void CLoadCalDiaog::InsertNamedRow(GridId grid)
{
    const bool board = grid == GridId::Board;
    CGridCtrl& g = GetGrid(grid);
    const int r = g.GetFocusCell().row;
    const int records = board ? m_arrBoard.GetSize() : m_arrTransformer.GetSize();
    if (r < 1 || r > records + 1) {
        return;  // on the entry row: one more record at the end
    }
    CCommandScope command(*this);
    EndPendingCut(grid);
    // The first free name of the series: a board or transformer comes with
    // its name, which the designer types over.
    const std::wstring_view stem =
        board ? texts::kInsertedBoardName : texts::kInsertedTransformerName;
    std::wstring name;
    for (int n = 1; name.empty() || RefusedName(grid, records, name); ++n) {
        name = std::wstring(stem) + std::to_wstring(n);
    }
    // The entry row's proposals (as shown, typed ones included), read
    // before the new row moves it down.
    std::vector<std::wstring> entry(static_cast<size_t>(g.GetColumnCount()));
    for (int c = 1; c < g.GetColumnCount(); ++c) {
        entry[static_cast<size_t>(c)] = Trim(g.GetItemText(records + 1, c));
    }
    const auto proposals = [&](auto record) {
        for (int c = 1; c < g.GetColumnCount(); ++c) {
            const TableColumn& column = *ColumnAt(grid, c);
            if (column.IsEditable()) {
                record.FieldAt(column.field) = entry[static_cast<size_t>(c)];
            }
        }
        record.m_strName = name;
        return record;
    };
    const int height = g.GetRowHeight(r);
    g.InsertRow(L"", r);
    g.SetRowHeight(r, height);
    if (board) {
        CBoardCalData added = proposals(BoardProposal());
        if (!IsPhaseText(added.m_strPhase)) {
            added.m_strPhase = std::wstring(kPhaseThree);
        }
        Boards().InsertAt(r - 1, added);
        FillBoardRow(r, added);
    } else {
        CTransformerCalData blank;
        for (int f = 0; f < static_cast<int>(CTransformerCalData::kAnyFieldCount); ++f) {
            blank.AnyFieldAt(f).clear();
        }
        const CTransformerCalData added = proposals(blank);
        Transformers().InsertAt(r - 1, added);
        FillTransformerRow(r, added);
    }
    const int nameColumn = board ? GridColumnOfField(grid, CBoardCalData::kName)
                                 : GridColumnOfField(grid, CTransformerCalData::kName);
    g.ResetSelectedRange();
    g.SetFocusCell(r, nameColumn);
    RefreshTotals();
    RecalculateAllTransformers();
    g.Invalidate();
    m_bModified = 1;
}

void CLoadCalDiaog::OnEndEditBoard(int r, int c)
{
    const int m = m_arrBoard.GetSize();
    const bool existing = r - 1 >= 0 && r - 1 < m;
    if (!existing && r != m + 1) {
        return;
    }
    const TableColumn& column = *ColumnAt(GridId::Board, c);
    const std::wstring typed = m_gridBoard.GetItemText(r, c);
    const std::wstring text = Trim(typed);
    const CBoardCalData before = existing ? m_arrBoard[r - 1] : BoardProposal();
    // A refused text gives way to the record's (on the entry row: to what
    // the cell proposed before).
    const std::wstring shown = existing ? before.FieldAt(column.field) : m_strCellBefore;
    const auto restore = [&] {
        m_gridBoard.SetItemText(r, c, shown);
        m_gridBoard.RedrawCell(r, c);
    };

    if (column.kind == ColumnKind::Phase && !IsPhaseText(text)) {
        // One of the four phase texts, as in the load grid.
        restore();
        return;
    }
    const bool name = column.field == CBoardCalData::kName;
    if (name) {
        if (const auto refused = RefusedName(GridId::Board, r - 1, typed)) {
            MessageBox(*refused, texts::kNoticeCaption, MB_ICONINFORMATION);
            restore();
            return;
        }
        CBoardCalData proposed = before;
        proposed.m_strName = text;
        if (!text.empty() && RefuseBoardCycle(existing ? r - 1 : m, proposed)) {
            restore();
            return;
        }
    }
    if (!existing && !name) {
        // The entry row's other cells are the new board's proposals: they
        // stay as typed (a board comes with its name).
        if (text.empty()) {
            restore();
        } else {
            m_gridBoard.SetItemText(r, c, text);
            m_gridBoard.RedrawCell(r, c);
        }
        return;
    }
    if (!existing && text.empty()) {
        // Nothing typed into the entry row.
        restore();
        return;
    }

    if (!existing) {
        // The entry row's text makes a board with the row's proposals; a
        // fresh entry row follows it.
        CBoardCalData added = BoardProposal();
        for (int col = 1; col <= static_cast<int>(kBoardColumns.size()); ++col) {
            const TableColumn& other = kBoardColumns[static_cast<size_t>(col - 1)];
            if (other.IsEditable()) {
                added.FieldAt(other.field) = Trim(m_gridBoard.GetItemText(r, col));
            }
        }
        added.FieldAt(column.field) = text;
        if (!IsPhaseText(added.m_strPhase)) {
            added.m_strPhase = std::wstring(kPhaseThree);
        }
        Boards().Add(added);
        const int height = m_gridBoard.GetRowHeight(r);
        m_gridBoard.SetRowCount(r + 2);
        m_gridBoard.SetRowHeight(r + 1, height);
        FillBoardRow(r, added);
        FillBoardEntryRow(r + 1);
        m_gridBoard.Invalidate();
    } else {
        if (name && !before.m_strName.empty() && before.m_strName != text) {
            // The owner lists follow the board's new name (or drop it).
            ReplaceOwnerName(before.m_strName, text);
        }
        Boards().Modify(r - 1, [&](CBoardCalData& b) { b.FieldAt(column.field) = text; });
        m_gridBoard.SetItemText(r, c, text);
        m_gridBoard.RedrawCell(r, c);
        if (name && text.empty()) {
            // A board without a name is no board.
            Boards().RemoveAt(r - 1);
            m_gridBoard.DeleteRow(r);
            m_gridBoard.Invalidate();
        }
    }
    // A rename or a removal rewrites owner lists, which the totals group by.
    if (m_bDeferRecalculation) {
        m_bRecalculationPending = true;
    } else {
        RefreshTotals();
    }
    m_bModified = 1;
}

}  // namespace loadcal
