// The command path every change of the document takes, undo and redo, the
// keys on selected rows, the spreadsheet clipboard and the number checks.
#include <algorithm>
#include <utility>

#include "dialog/LoadCalDiaog.h"
#include "dialog/LoadCalTexts.h"
#include "dialog/NumberText.h"
#include "dialog/TabText.h"
#include "model/Text.h"

namespace loadcal {
namespace {

bool IsNumberColumn(GridId grid, int col)
{
    const TableColumn* column = ColumnAt(grid, col);
    return column != nullptr && column->kind == ColumnKind::Number;
}

/// Undo (backwards) or redo of one array's changes; the indices changed go
/// to touched (-1 for rows that came or went).
template <class Record>
void ApplyChanges(CArray<Record>& records, const std::vector<CRecordChange<Record>>& changes,
                  bool backwards, std::vector<int>& touched)
{
    using Kind = typename CRecordChange<Record>::Kind;
    auto apply = [&records, &touched, backwards](const CRecordChange<Record>& c) {
        touched.push_back(c.kind == Kind::Set ? c.index : -1);
        const bool insert =
            (c.kind == Kind::Insert && !backwards) || (c.kind == Kind::Remove && backwards);
        const bool remove =
            (c.kind == Kind::Remove && !backwards) || (c.kind == Kind::Insert && backwards);
        if (insert) {
            records.InsertAt(c.index, backwards ? c.before : c.after);
        } else if (remove) {
            records.RemoveAt(c.index);
        } else {
            records.SetAt(c.index, backwards ? c.before : c.after);
        }
    };
    if (backwards) {
        std::for_each(changes.rbegin(), changes.rend(), apply);
    } else {
        std::for_each(changes.begin(), changes.end(), apply);
    }
}

bool HasRowChange(const std::vector<int>& touched)
{
    return std::ranges::find(touched, -1) != touched.end();
}

std::vector<int> Distinct(std::vector<int> indices)
{
    std::ranges::sort(indices);
    indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
    return indices;
}

/// Adds what one update rewrote; false for an update the index could not
/// follow.
bool Merge(SupplyChange& into, const std::optional<SupplyChange>& change)
{
    if (!change) {
        return false;
    }
    into.boards.insert(into.boards.end(), change->boards.begin(), change->boards.end());
    into.transformers.insert(into.transformers.end(), change->transformers.begin(),
                             change->transformers.end());
    return true;
}

/// The boards of start and every board above them in the graph, each once.
std::vector<int> BoardsAbove(const CBoardGraph& graph, std::vector<int> start)
{
    std::vector<char> seen(static_cast<size_t>(graph.BoardCount()), 0);
    std::vector<int> boards;
    while (!start.empty()) {
        const int b = start.back();
        start.pop_back();
        if (b < 0 || b >= graph.BoardCount() || seen[static_cast<size_t>(b)] != 0) {
            continue;
        }
        seen[static_cast<size_t>(b)] = 1;
        boards.push_back(b);
        const std::vector<int>& owners = graph.OwnersOf(b);
        start.insert(start.end(), owners.begin(), owners.end());
    }
    return boards;
}

template <class Record>
bool ChangesRows(const std::vector<CRecordChange<Record>>& changes)
{
    return std::ranges::any_of(changes, [](const CRecordChange<Record>& c) {
        return c.kind != CRecordChange<Record>::Kind::Set;
    });
}

template <class Record>
std::vector<int> ChangedIndices(const std::vector<CRecordChange<Record>>& changes)
{
    std::vector<int> indices;
    for (const CRecordChange<Record>& c : changes) {
        indices.push_back(c.index);
    }
    std::ranges::sort(indices);
    indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
    return indices;
}

}  // namespace

// ---- The command path ----

CLoadCalDiaog::CCommandScope::CCommandScope(CLoadCalDiaog& dialog) : m_dialog(dialog)
{
    ++m_dialog.m_nCommandDepth;
}

CLoadCalDiaog::CCommandScope::~CCommandScope()
{
    if (m_dialog.m_nCommandDepth > 1) {
        --m_dialog.m_nCommandDepth;
        return;
    }
    // The tree and the load grid's view follow what the command changed,
    // still inside it (whatever they recalculate is part of the step).
    m_dialog.FollowSupplyTree(&m_dialog.m_step, false);
    m_dialog.m_nCommandDepth = 0;
    // Whatever the command got done, also when it was cut short, can be
    // taken back; the marks follow what it changed.
    m_dialog.RefreshWarnings(&m_dialog.m_step);
    m_dialog.m_history.Push(std::move(m_dialog.m_step));
    m_dialog.m_step = CDocumentStep();
}

CRecordedArray<CLoadCalData> CLoadCalDiaog::Loads()
{
    return {m_arrLoad, m_nCommandDepth > 0 ? &m_step.loads : nullptr, &m_arrTouchedLoads};
}

CRecordedArray<CTransformerCalData> CLoadCalDiaog::Transformers()
{
    return {m_arrTransformer, m_nCommandDepth > 0 ? &m_step.transformers : nullptr,
            &m_arrTouchedTransformers};
}

CRecordedArray<CBoardCalData> CLoadCalDiaog::Boards()
{
    return {m_arrBoard, m_nCommandDepth > 0 ? &m_step.boards : nullptr, &m_arrTouchedBoards};
}

const CSupplyIndex& CLoadCalDiaog::UpdateGroups()
{
    const bool rows = HasRowChange(m_arrTouchedLoads) || HasRowChange(m_arrTouchedBoards) ||
                      HasRowChange(m_arrTouchedTransformers);
    const bool touched = !m_arrTouchedLoads.empty() || !m_arrTouchedBoards.empty() ||
                         !m_arrTouchedTransformers.empty();
    if (!touched) {
        if (!m_pSupplyIndex) {
            // Built from the records as they stand; it computes nothing.
            m_pSupplyIndex = std::make_unique<CSupplyIndex>(m_document);
        }
        return *m_pSupplyIndex;
    }
    const std::vector<int> loadsTouched = std::exchange(m_arrTouchedLoads, {});
    const std::vector<int> loads = Distinct(loadsTouched);
    const std::vector<int> boards = Distinct(std::exchange(m_arrTouchedBoards, {}));
    const std::vector<int> transformers = Distinct(std::exchange(m_arrTouchedTransformers, {}));

    // What the recalculation rewrites is recorded as it was: the
    // transformers (few) whole, the boards those edits feed.
    const CTransformerArray transformersBefore = m_arrTransformer;
    std::vector<std::pair<int, CBoardCalData>> boardsBefore;
    SupplyChange change;
    // An index built after the change would not know what the changed
    // records fed before it: every group is recalculated then.
    bool rebuild = rows || !m_pSupplyIndex;
    if (!rebuild) {
        const CBoardGraph& graph = m_pSupplyIndex->Boards();
        std::vector<int> start = boards;
        for (int i : loads) {
            for (const std::wstring& piece : OwnerPieces(m_arrLoad[i].m_strTransformer)) {
                const std::vector<int>& named = graph.BoardsNamed(piece);
                start.insert(start.end(), named.begin(), named.end());
            }
        }
        for (int b : BoardsAbove(graph, std::move(start))) {
            boardsBefore.emplace_back(b, m_arrBoard[b]);
        }
        for (int i : loads) {
            rebuild = rebuild || !Merge(change, m_pSupplyIndex->UpdateCircuit(m_document, i));
        }
        for (int b : boards) {
            rebuild = rebuild || !Merge(change, m_pSupplyIndex->UpdateBoard(m_document, b));
        }
        for (int t : transformers) {
            rebuild = rebuild || !Merge(change, m_pSupplyIndex->UpdateTransformer(m_document, t));
        }
        if (!rebuild && m_arrBoard.IsEmpty() && !loads.empty()) {
            // Without boards a circuit's change recalculates every
            // transformer, as it always has.
            Merge(change, m_pSupplyIndex->RecalculateGroups(m_document));
        }
    }
    if (rebuild) {
        // Every board is recalculated; those an update above rewrote
        // already are recorded as they were before it.
        std::vector<std::pair<int, CBoardCalData>> all;
        all.reserve(static_cast<size_t>(m_arrBoard.GetSize()));
        for (int b = 0; b < m_arrBoard.GetSize(); ++b) {
            all.emplace_back(b, m_arrBoard[b]);
        }
        for (auto& [b, before] : boardsBefore) {
            all[static_cast<size_t>(b)].second = std::move(before);
        }
        boardsBefore = std::move(all);
        // The circuits' figures as the old index read them, where rows
        // stayed; the changed circuits' read afresh.
        std::vector<MemberFigures> figures;
        if (m_pSupplyIndex && !HasRowChange(loadsTouched) &&
            m_pSupplyIndex->Circuits().Size() == m_arrLoad.GetSize()) {
            figures.reserve(static_cast<size_t>(m_arrLoad.GetSize()));
            for (int i = 0; i < m_arrLoad.GetSize(); ++i) {
                figures.push_back(m_pSupplyIndex->Circuits().FiguresAt(i));
            }
            for (int i : loads) {
                figures[static_cast<size_t>(i)] = COwnerIndex::FiguresOf(m_arrLoad[i]);
            }
        }
        m_pSupplyIndex =
            std::make_unique<CSupplyIndex>(m_document, CircuitFilter(), std::move(figures));
        change = m_pSupplyIndex->RecalculateGroups(m_document);
    }

    CRecordedArray<CBoardCalData> boardLog(m_arrBoard,
                                           m_nCommandDepth > 0 ? &m_step.boards : nullptr);
    for (const auto& [b, before] : boardsBefore) {
        boardLog.Note(b, before);
    }
    CRecordedArray<CTransformerCalData> transformerLog(
        m_arrTransformer, m_nCommandDepth > 0 ? &m_step.transformers : nullptr);
    for (int t = 0; t < m_arrTransformer.GetSize(); ++t) {
        transformerLog.Note(t, transformersBefore[t]);
    }
    for (int b : Distinct(change.boards)) {
        ShowBoardResults(b);
    }
    for (int t : change.transformers) {
        ShowTransformerResults(t);
    }
    return *m_pSupplyIndex;
}

void CLoadCalDiaog::TakeChanges()
{
    bool kept = m_pSupplyIndex && !HasRowChange(m_arrTouchedLoads) &&
                !HasRowChange(m_arrTouchedBoards) && !HasRowChange(m_arrTouchedTransformers);
    for (size_t k = 0; kept && k < m_arrTouchedLoads.size(); ++k) {
        kept = m_pSupplyIndex->TakeCircuit(m_document, m_arrTouchedLoads[k]);
    }
    for (size_t k = 0; kept && k < m_arrTouchedBoards.size(); ++k) {
        kept = m_pSupplyIndex->TakeBoard(m_document, m_arrTouchedBoards[k]);
    }
    for (size_t k = 0; kept && k < m_arrTouchedTransformers.size(); ++k) {
        kept = m_pSupplyIndex->TakeTransformer(m_document, m_arrTouchedTransformers[k]);
    }
    if (!kept) {
        m_pSupplyIndex.reset();
    }
    m_arrTouchedLoads.clear();
    m_arrTouchedBoards.clear();
    m_arrTouchedTransformers.clear();
}

void CLoadCalDiaog::OnEndEdit(GridId grid, int row, int col, const std::wstring& text)
{
    CGridCtrl& g = GetGrid(grid);
    if (!g.IsCellEditable(row, col)) {
        return;
    }
    CCommandScope command(*this);
    m_strCellBefore = g.GetItemText(row, col);
    // An input method's full-width figures are stored as plain ones.
    g.SetItemText(row, col, IsNumberColumn(grid, col) ? NormaliseNumberText(text) : text);
    if (grid == GridId::Load) {
        OnEndEditLoad(row, col);
    } else if (grid == GridId::Board) {
        OnEndEditBoard(row, col);
    } else {
        OnEndEditTransformer(row, col);
    }
}

void CLoadCalDiaog::SetUpNumberChecks()
{
    for (GridId grid : {GridId::Load, GridId::Transformer, GridId::Board}) {
        for (int col = 1; col < GetGrid(grid).GetColumnCount(); ++col) {
            if (IsNumberColumn(grid, col)) {
                GetGrid(grid).SetColumnCheck(col, NumberCellTip, kNotANumberColour);
            }
        }
    }
}

// ---- Undo and redo ----

void CLoadCalDiaog::OnEditUndo()
{
    if (const CDocumentStep* step = m_history.Undo()) {
        ApplyStep(*step, true);
    }
}

void CLoadCalDiaog::OnEditRedo()
{
    if (const CDocumentStep* step = m_history.Redo()) {
        ApplyStep(*step, false);
    }
}

void CLoadCalDiaog::EndPendingCut(GridId grid)
{
    if (!IsCut(grid)) {
        return;
    }
    switch (grid) {
        case GridId::Load:
            m_bLoadCut = 0;
            MarkCutRows(grid);
            m_arrClipLoad.RemoveAll();
            m_arrCutLoadRows.RemoveAll();
            break;
        case GridId::Board:
            m_bBoardCut = 0;
            MarkCutRows(grid);
            m_arrClipBoard.RemoveAll();
            m_arrCutBoardRows.RemoveAll();
            break;
        case GridId::Transformer:
            m_bTransformerCut = 0;
            MarkCutRows(grid);
            m_arrClipTransformer.RemoveAll();
            m_arrCutTransformerRows.RemoveAll();
            break;
        case GridId::LoadTypes:  // the library editor's grid cuts nothing here
            break;
    }
}

void CLoadCalDiaog::ApplyStep(const CDocumentStep& step, bool backwards)
{
    EndPendingCut(GridId::Load);
    EndPendingCut(GridId::Transformer);
    EndPendingCut(GridId::Board);
    bool rulesChanged = false;
    if (step.properties) {
        const CDocumentProperties& now =
            backwards ? step.properties->before : step.properties->after;
        rulesChanged = now.rules != m_document.rules;
        m_document.project = now.project;
        m_document.rules = now.rules;
        if (rulesChanged) {
            // The index computes under the rules it was built with.
            m_pSupplyIndex.reset();
        }
    }
    ApplyChanges(m_arrLoad, step.loads, backwards, m_arrTouchedLoads);
    ApplyChanges(m_arrTransformer, step.transformers, backwards, m_arrTouchedTransformers);
    ApplyChanges(m_arrBoard, step.boards, backwards, m_arrTouchedBoards);
    // The step holds every figure it changed: nothing is recalculated.
    TakeChanges();

    // Rows that came or went: the grid is laid out again from the records
    // (a row paste may have shown records elsewhere than their index).
    // Otherwise only the rows of the records touched are written again.
    if (ChangesRows(step.loads)) {
        FillLoadGrid();
    } else if (!step.loads.empty() || rulesChanged) {
        CGridCtrl::Batch batch(m_gridLoad);
        for (int i : ChangedIndices(step.loads)) {
            if (const int row = LoadRowOfRecord(i); row > 0) {
                FillLoadRow(row, m_arrLoad[i]);
            }
        }
        const SummaryTotals totals = UpdateGroups().Totals();
        for (int column = 1; column <= static_cast<int>(kLoadColumns.size()); ++column) {
            ShowTotalCell(totals, column);
        }
    }
    if (ChangesRows(step.transformers)) {
        FillTransformerGrid();
    } else {
        CGridCtrl::Batch batch(m_gridTransformer);
        for (int i : ChangedIndices(step.transformers)) {
            FillTransformerRow(i + 1, m_arrTransformer[i]);
        }
    }
    if (ChangesRows(step.boards)) {
        FillBoardGrid();
    } else {
        CGridCtrl::Batch batch(m_gridBoard);
        for (int i : ChangedIndices(step.boards)) {
            FillBoardRow(i + 1, m_arrBoard[i]);
        }
    }
    UpdateGroups();
    // The tree and the load grid's view follow what the step put back.
    FollowSupplyTree(&step, backwards);
    RefreshWarnings(&step);
    m_bModified = m_history.IsAtSaved() ? 0 : 1;
}

// ---- Keys and the system clipboard ----

std::wstring CLoadCalDiaog::RowsAsText(GridId grid, const std::vector<int>& rows) const
{
    const CGridCtrl& g = GetGrid(grid);
    CTabRows table;
    for (int r : rows) {
        std::vector<std::wstring>& line = table.emplace_back();
        for (int c = g.GetFixedColumnCount(); c < g.GetColumnCount(); ++c) {
            line.push_back(g.GetItemText(r, c));
        }
    }
    return FormatTabText(table);
}

void CLoadCalDiaog::OnPasteKey(GridId grid, const std::wstring& clipboardText)
{
    const CGridCtrl& g = GetGrid(grid);
    const int entryRow = (grid == GridId::Load    ? ShownLoadCount()
                          : grid == GridId::Board ? m_arrBoard.GetSize()
                                                  : m_arrTransformer.GetSize()) +
                         1;
    const bool ownRows = clipboardText == GetClipboardText(grid);
    const int row = g.GetFocusCell().row;
    if (row >= 1 && row <= entryRow && !ownRows && !clipboardText.empty()) {
        PasteText(grid, clipboardText);
    } else {
        OnPasteRows(grid);
    }
}

void CLoadCalDiaog::PasteNamedLines(GridId grid, const CTabRows& lines, int col)
{
    const bool board = grid == GridId::Board;
    CGridCtrl& g = GetGrid(grid);
    std::vector<std::wstring_view> told;
    const int nameColumn = board ? GridColumnOfField(grid, CBoardCalData::kName)
                                 : GridColumnOfField(grid, CTransformerCalData::kName);
    for (const std::vector<std::wstring>& line : lines) {
        const int records = board ? m_arrBoard.GetSize() : m_arrTransformer.GetSize();
        const int row = records + 1;
        // A name refused (taken, holding "," or only blanks): the line is
        // left out, and each message is shown once for the whole paste.
        if (col == nameColumn && !line.empty() && !Trim(line[0]).empty()) {
            if (const auto refused = RefusedName(grid, records, Trim(line[0]))) {
                if (std::ranges::find(told, *refused) == told.end()) {
                    MessageBox(*refused, texts::kNoticeCaption, MB_ICONINFORMATION);
                    told.push_back(*refused);
                }
                continue;
            }
        }
        for (size_t j = 0; j < line.size(); ++j) {
            const int c = col + static_cast<int>(j);
            const std::wstring cell = Trim(line[j]);
            if (c >= g.GetColumnCount() || cell.empty() || !g.IsCellEditable(row, c)) {
                continue;
            }
            OnEndEdit(grid, row, c, cell);
        }
    }
}

}  // namespace loadcal
