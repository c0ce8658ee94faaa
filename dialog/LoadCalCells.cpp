// Commands on cells rather than rows: clearing, filling down, inserting,
// pasting a block, recalculating everything, the outputs that keep the
// window open, and the warnings the grids show.
#include <algorithm>
#include <map>

#include "dialog/LoadCalDiaog.h"
#include "dialog/LoadCalTexts.h"
#include "dialog/NumberText.h"
#include "dialog/TabText.h"
#include "document/InterDpData.h"
#include "model/BoardChecks.h"
#include "model/SupplySecurity.h"
#include "model/Text.h"

namespace loadcal {
namespace {

/// The most circuits (and transformers) an archive's reader counts.
constexpr int kArchiveMostRecords = static_cast<int>(kIdpMaxChildren);

bool IsBlankLine(const std::vector<std::wstring>& line)
{
    return std::ranges::all_of(line, [](const std::wstring& c) { return Trim(c).empty(); });
}

std::wstring OneLine(std::wstring cell)
{
    std::ranges::replace_if(
        cell, [](wchar_t c) { return c == L'\t' || c == L'\r' || c == L'\n'; }, L' ');
    return cell;
}

/// The text a cell of column takes when typed: number columns store an
/// input method's full-width figures as plain ones.
std::wstring Typed(const TableColumn& column, const std::wstring& text)
{
    return Trim(column.kind == ColumnKind::Number ? NormaliseNumberText(text) : text);
}

/// True for the columns whose edit gives a circuit its type's figures.
bool TakesTypeFigures(const TableColumn* column)
{
    return column != nullptr &&
           (column->kind == ColumnKind::LoadType || column->field == CLoadCalData::kQuantity);
}

/// The order in which the cells of one line (offsets 0 .. count - 1 from
/// grid column col) are typed: the load type and the quantity first, so
/// that a demand or power factor the line gives itself is what the circuit
/// keeps, then the others from left to right.
std::vector<size_t> LineOrder(GridId grid, int col, size_t count)
{
    std::vector<size_t> order(count);
    for (size_t j = 0; j < count; ++j) {
        order[j] = j;
    }
    if (grid == GridId::Load) {
        std::ranges::stable_partition(order, [grid, col](size_t j) {
            return TakesTypeFigures(ColumnAt(grid, col + static_cast<int>(j)));
        });
    }
    return order;
}

std::wstring VoltageOfPhase(const std::wstring& phase)
{
    return std::wstring(phase == kPhaseThree ? kVoltageThree : kVoltageSingle);
}

}  // namespace

// ---- Confirmation ----

bool CLoadCalDiaog::ConfirmRemoval(GridId grid, int count)
{
    if (count <= 1) {
        return true;
    }
    const std::wstring text =
        texts::FormatText(grid == GridId::Load    ? texts::kRemoveCircuitsFormat
                          : grid == GridId::Board ? texts::kRemoveBoardsFormat
                                                  : texts::kRemoveTransformersFormat,
                          std::to_wstring(count));
    return MessageBox(text, texts::kApplicationName, MB_YESNO | MB_ICONQUESTION) == IDYES;
}

// ---- Delete: clear the selected cells ----

void CLoadCalDiaog::ClearSelectedCells(GridId grid)
{
    const bool load = grid == GridId::Load;
    CGridCtrl& g = GetGrid(grid);
    const auto count = [this, grid] {
        return grid == GridId::Load    ? ShownLoadCount()
               : grid == GridId::Board ? m_arrBoard.GetSize()
                                       : m_arrTransformer.GetSize();
    };
    const int records = count();
    // The cells to clear, by row: editable cells of record rows; the phase
    // is chosen from its list and keeps its value.
    std::map<int, std::vector<int>> cells;
    const CCellRange bounds = g.GetSelectedRange();
    if (!bounds.IsValid()) {
        return;
    }
    for (int r = std::max(1, bounds.minRow); r <= std::min(records, bounds.maxRow); ++r) {
        for (int c = std::max(1, bounds.minCol); c <= bounds.maxCol; ++c) {
            const TableColumn* column = ColumnAt(grid, c);
            if (column && column->IsEditable() && column->kind != ColumnKind::Phase &&
                g.IsCellSelected(r, c)) {
                cells[r].push_back(c);
            }
        }
    }
    if (cells.empty()) {
        return;
    }
    // How many records the clearing removes, as the edit rules would.
    int removed = 0;
    for (const auto& [r, cols] : cells) {
        if (load) {
            CLoadCalData after = m_arrLoad[LoadRecordOfRow(r)];
            for (int c : cols) {
                after.AnyFieldAt(ColumnAt(grid, c)->field).clear();
            }
            removed += IsBlankInView(after) ? 1 : 0;
        } else {
            // A transformer or board goes with its name (the first column).
            removed += std::ranges::find(cols, 1) != cols.end() ? 1 : 0;
        }
    }
    if (!ConfirmRemoval(grid, removed)) {
        return;
    }
    CCommandScope command(*this);
    EndPendingCut(grid);
    WithRecalculationDeferred([&] {
        // From the bottom up, so that a row that goes does not move the
        // rows still to be cleared.
        for (auto it = cells.rbegin(); it != cells.rend(); ++it) {
            for (int c : it->second) {
                const int before = count();
                if (g.GetItemText(it->first, c).empty()) {
                    continue;
                }
                OnEndEdit(grid, it->first, c, L"");
                if (count() < before) {
                    break;  // the row went with its last key cell
                }
            }
        }
    });
}

// ---- Edits of many cells ----

void CLoadCalDiaog::WithRecalculationDeferred(const std::function<void()>& edits)
{
    m_bRecalculationPending = false;
    {
        // Cleared however the edits end; a throw leaves the recalculation
        // to the command's undo.
        struct Deferral {
            bool& flag;
            explicit Deferral(bool& f) : flag(f) { flag = true; }
            Deferral(const Deferral&) = delete;
            Deferral& operator=(const Deferral&) = delete;
            ~Deferral() { flag = false; }
        } deferral(m_bDeferRecalculation);
        edits();
    }
    if (m_bRecalculationPending) {
        RefreshTotals();
        RecalculateAllTransformers();
    }
}

// ---- Fill down ----

void CLoadCalDiaog::OnFillDown(GridId grid)
{
    const bool load = grid == GridId::Load;
    CGridCtrl& g = GetGrid(grid);
    const CCellRange bounds = g.GetSelectedRange();
    const int records =
        load ? ShownLoadCount()
             : (grid == GridId::Board ? m_arrBoard.GetSize() : m_arrTransformer.GetSize());
    if (!bounds.IsValid() || bounds.minRow < 1 || bounds.minRow >= records ||
        bounds.maxRow <= bounds.minRow) {
        return;
    }
    CCommandScope command(*this);
    EndPendingCut(grid);
    WithRecalculationDeferred([&] {
        const int first = std::max(1, bounds.minCol);
        for (size_t j : LineOrder(grid, first, static_cast<size_t>(bounds.maxCol - first + 1))) {
            const int c = first + static_cast<int>(j);
            const TableColumn* column = ColumnAt(grid, c);
            if (!column || !column->IsEditable() || !g.IsCellSelected(bounds.minRow, c) ||
                (!load && column->field == 0)) {  // not a transformer's or board's name
                continue;
            }
            const std::wstring text = g.GetItemText(bounds.minRow, c);
            for (int r = bounds.minRow + 1; r <= std::min(bounds.maxRow, records); ++r) {
                if (g.IsCellSelected(r, c) && g.GetItemText(r, c) != text) {
                    OnEndEdit(grid, r, c, text);
                }
            }
        }
    });
}

// ---- Insert ----

void CLoadCalDiaog::OnInsertRow(GridId grid)
{
    if (grid == GridId::Board || grid == GridId::Transformer) {
        InsertNamedRow(grid);
        return;
    }
    if (grid != GridId::Load) {
        return;
    }
    const int r = m_gridLoad.GetFocusCell().row;
    const int i = LoadRecordOfRow(r);
    if (i < 0) {
        return;
    }
    CCommandScope command(*this);
    EndPendingCut(grid);
    CLoadCalData circuit;
    circuit.m_strPhase = EntryPhase();
    if (circuit.m_strPhase != kPhaseThree) {
        circuit.m_strVoltage = kVoltageSingle;
    }
    RecalculateCircuit(circuit, m_document.rules);
    const int height = m_gridLoad.GetRowHeight(r);
    m_gridLoad.InsertRow(L"", r);
    m_gridLoad.SetRowHeight(r, height);
    Loads().InsertAt(i, circuit);
    NoteLoadRowInserted(r, i);
    FillLoadRow(r, circuit);
    // Inserted while a board or transformer is selected: fed from it.
    FeedNewCircuitFromNode(i);
    m_gridLoad.SetFocusCell(r, m_gridLoad.GetFocusCell().col);
    RefreshTotals();
    RecalculateAllTransformers();
    m_gridLoad.Invalidate();
    m_bModified = 1;
}

// ---- Paste ----

void CLoadCalDiaog::PasteText(GridId grid, const std::wstring& text)
{
    const CGridCtrl& g = GetGrid(grid);
    const CCellID focus = g.GetFocusCell();
    const bool load = grid == GridId::Load;
    const int records =
        load ? ShownLoadCount()
             : (grid == GridId::Board ? m_arrBoard.GetSize() : m_arrTransformer.GetSize());
    const int entryRow = records + 1;
    if (focus.row < 1 || focus.row > entryRow || focus.col < 1 || focus.col >= g.GetColumnCount()) {
        return;
    }
    CTabRows lines = ParseTabText(text);
    // Over existing rows every line keeps its place; new records come only
    // from lines with something in them.
    const size_t over = static_cast<size_t>(entryRow - focus.row);
    size_t newLines = 0;
    for (size_t k = over; k < lines.size(); ++k) {
        newLines += IsBlankLine(lines[k]) ? 0 : 1;
    }
    const int circuits = m_arrLoad.GetSize();
    if (load && circuits + static_cast<long long>(newLines) > kArchiveMostRecords) {
        MessageBox(texts::FormatText(texts::kPasteTooLargeFormat,
                                     std::to_wstring(circuits + static_cast<long long>(newLines))),
                   texts::kApplicationName, MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    for (std::vector<std::wstring>& line : lines) {
        for (std::wstring& cell : line) {
            cell = OneLine(std::move(cell));
        }
    }
    CCommandScope command(*this);
    EndPendingCut(grid);
    WithRecalculationDeferred([&] {
        // Lines over existing rows: typed over their cells.
        for (size_t k = 0; k < std::min(over, lines.size()); ++k) {
            const int row = focus.row + static_cast<int>(k);
            for (size_t j : LineOrder(grid, focus.col, lines[k].size())) {
                const int c = focus.col + static_cast<int>(j);
                const TableColumn* column = ColumnAt(grid, c);
                const std::wstring cell = Trim(lines[k][j]);
                if (!column || !column->IsEditable() || cell.empty() ||
                    (load && !AcceptsLoadText(c, cell))) {
                    continue;
                }
                OnEndEdit(grid, row, c, cell);
            }
        }
        CTabRows fresh(lines.begin() + static_cast<std::ptrdiff_t>(std::min(over, lines.size())),
                       lines.end());
        std::erase_if(fresh, IsBlankLine);
        if (!fresh.empty()) {
            if (load) {
                AppendLoadLines(fresh, 0, focus.col);
            } else {
                PasteNamedLines(grid, fresh, focus.col);
            }
        }
    });
}

void CLoadCalDiaog::AppendLoadLines(const CTabRows& lines, size_t first, int col)
{
    // Each line is what typing it into the entry row gives: its first
    // placeable cell creates the circuit with the entry row's proposals,
    // a phase brings its voltage, and a circuit whose phase or figures were
    // typed is calculated. The records are added at once and the grid is
    // laid out once.
    const int entry = LoadEntryRow();
    std::wstring voltage =
        m_gridLoad.GetItemText(entry, GridColumnOfField(GridId::Load, CLoadCalData::kVoltage));
    std::wstring demand =
        m_gridLoad.GetItemText(entry, GridColumnOfField(GridId::Load, CLoadCalData::kDemandFactor));
    std::wstring power =
        m_gridLoad.GetItemText(entry, GridColumnOfField(GridId::Load, CLoadCalData::kPowerFactor));
    std::wstring phase =
        m_gridLoad.GetItemText(entry, GridColumnOfField(GridId::Load, CLoadCalData::kPhase));
    bool added = false;
    for (size_t k = first; k < lines.size(); ++k) {
        CLoadCalData circuit;
        circuit.m_strPhase = phase;
        bool created = false;
        bool calculate = false;
        bool proposed = false;
        bool gaveDemand = false;
        bool gavePower = false;
        for (size_t j = 0; j < lines[k].size(); ++j) {
            const int c = col + static_cast<int>(j);
            const TableColumn* column = ColumnAt(GridId::Load, c);
            const std::wstring cell = Trim(lines[k][j]);
            if (!column || !column->IsEditable() || cell.empty() || !AcceptsLoadText(c, cell)) {
                continue;
            }
            if (!created) {
                created = true;
                circuit.m_strVoltage = voltage;
                circuit.m_strDemandFactor = demand;
                circuit.m_strPowerFactor = power;
            }
            std::wstring text = Typed(*column, cell);
            if (column->kind == ColumnKind::LoadType) {
                if (const CLoadType* type = m_loadTypes.Find(text)) {
                    text = type->name;
                }
            }
            circuit.AnyFieldAt(column->field) = text;
            gaveDemand = gaveDemand || column->field == CLoadCalData::kDemandFactor;
            gavePower = gavePower || column->field == CLoadCalData::kPowerFactor;
            if (column->kind == ColumnKind::Phase) {
                circuit.m_strVoltage = VoltageOfPhase(text);
            }
            if (!proposed) {
                // The next entry row proposes the figures the circuit had
                // when its first cell created it.
                proposed = true;
                voltage = circuit.m_strVoltage;
                demand = circuit.m_strDemandFactor;
                power = circuit.m_strPowerFactor;
            }
            calculate = calculate || column->kind == ColumnKind::Phase ||
                        column->kind == ColumnKind::Number;
        }
        if (!created) {
            continue;
        }
        // A type the line names gives its figures where the line gives none.
        CLoadCalData typed = circuit;
        if (TakeFiguresFromLoadType(typed, m_loadTypes)) {
            circuit.m_strDemandFactor =
                gaveDemand ? circuit.m_strDemandFactor : typed.m_strDemandFactor;
            circuit.m_strPowerFactor =
                gavePower ? circuit.m_strPowerFactor : typed.m_strPowerFactor;
            calculate = true;
        }
        if (calculate) {
            RecalculateCircuit(circuit, m_document.rules);
        }
        phase = EntryPhase();
        // Pasted while a board or transformer is selected: fed from it.
        if (m_supplyFilter.kind == SupplyNodeKind::Board ||
            m_supplyFilter.kind == SupplyNodeKind::Transformer) {
            circuit.m_strTransformer = m_supplyFilter.name;
        }
        Loads().Add(circuit);
        added = true;
    }
    if (!added) {
        return;
    }
    FillLoadGrid();
    // The entry row proposes the last new circuit's figures at its creation.
    FillLoadEntryRow(LoadEntryRow(), voltage, demand, power);
    m_gridLoad.SetFocusCell(LoadEntryRow(), col);
    m_bRecalculationPending = true;
    m_bModified = 1;
}

// ---- Recalculate everything ----

bool CLoadCalDiaog::HasStaleFigures() const
{
    CLoadCalDocument copy = m_document;
    RecalculateDocument(copy);
    return !(copy == m_document);
}

void CLoadCalDiaog::OnRecalculateAll()
{
    CCommandScope command(*this);
    RecalculateEverything();
}

bool CLoadCalDiaog::RecalculateEverything()
{
    // The whole document under its rule set: circuits, boards bottom-up,
    // transformers, totals.
    CLoadCalDocument copy = m_document;
    RecalculateDocument(copy);
    if (copy == m_document) {
        return false;
    }
    // Recorded record by record; the document then follows from its
    // inputs throughout, so the index is built afresh without recalculating.
    const auto take = [](auto records, const auto& from) {
        for (int i = 0; i < records.GetSize(); ++i) {
            if (!(from[i] == records[i])) {
                records.Set(i, from[i]);
            }
        }
    };
    take(CRecordedArray<CLoadCalData>(m_arrLoad, &m_step.loads), copy.loads);
    take(CRecordedArray<CBoardCalData>(m_arrBoard, &m_step.boards), copy.boards);
    take(CRecordedArray<CTransformerCalData>(m_arrTransformer, &m_step.transformers),
         copy.transformers);
    m_pSupplyIndex.reset();
    m_arrTouchedLoads.clear();
    m_arrTouchedBoards.clear();
    m_arrTouchedTransformers.clear();
    {
        CGridCtrl::Batch batch(m_gridLoad);
        for (int r = 1; r <= ShownLoadCount(); ++r) {
            FillLoadRow(r, m_arrLoad[LoadRecordOfRow(r)]);
        }
        RefreshTotals();
    }
    {
        CGridCtrl::Batch transformers(m_gridTransformer);
        for (int i = 0; i < m_arrTransformer.GetSize(); ++i) {
            FillTransformerRow(i + 1, m_arrTransformer[i]);
        }
    }
    {
        CGridCtrl::Batch boards(m_gridBoard);
        for (int i = 0; i < m_arrBoard.GetSize(); ++i) {
            FillBoardRow(i + 1, m_arrBoard[i]);
        }
    }
    m_bModified = 1;
    return true;
}

// ---- The document's properties ----

void CLoadCalDiaog::OnProjectInfo()
{
    CDocumentProperties properties = GetDocumentProperties();
    if (!Ui().EditProjectInfo(properties)) {
        return;
    }
    ApplyDocumentProperties(properties);
}

void CLoadCalDiaog::ApplyDocumentProperties(const CDocumentProperties& properties)
{
    const CDocumentProperties before = GetDocumentProperties();
    if (properties == before) {
        return;
    }
    CCommandScope command(*this);
    m_step.properties = CPropertiesChange{before, properties};
    m_document.project = properties.project;
    m_bModified = 1;
    if (properties.rules != before.rules) {
        // Every figure follows the new rules in this same step; the totals
        // count the circuits as the rules say, also where no record moved.
        m_document.rules = properties.rules;
        m_pSupplyIndex.reset();
        RecalculateEverything();
        RefreshTotals();
        UpdateStatusNote();
    }
}

// ---- Outputs that keep the window open ----

void CLoadCalDiaog::RunOutput(bool drawing)
{
    if (!m_pOutputWriter) {
        return;
    }
    const SummaryTotals totals = ComputeTotals(m_document);
    COutputResult result;
    try {
        result = drawing ? m_pOutputWriter->WriteDrawing(m_document, totals, m_strFilePath)
                         : m_pOutputWriter->WriteWorkbook(m_document, totals, m_strFilePath);
    } catch (const std::exception& e) {
        result.status = COutputResult::Status::Failed;
        result.error = FromUtf8(e.what());
    }
    switch (result.status) {
        case COutputResult::Status::Cancelled:
            return;
        case COutputResult::Status::Failed:
            MessageBox(result.path.empty()
                           ? texts::FormatText(texts::kOutputStoppedFormat, result.error)
                           : texts::FormatText(texts::kOutputFailedFormat, result.path,
                                               texts::CauseOf(ToUtf8(result.error), result.path)),
                       texts::kApplicationName, MB_OK | MB_ICONEXCLAMATION);
            return;
        case COutputResult::Status::Written:
            Ui().SetStatusText(texts::FormatText(texts::kOutputWrittenFormat, result.path));
            if (!result.shown) {
                MessageBox(texts::FormatText(texts::kOutputNotShownFormat, result.path),
                           texts::kApplicationName, MB_OK | MB_ICONINFORMATION);
            }
            return;
    }
}

void CLoadCalDiaog::OnOutputDrawing()
{
    RunOutput(true);
}

void CLoadCalDiaog::OnOutputExcel()
{
    RunOutput(false);
}

// ---- Warnings ----

void CLoadCalDiaog::RefreshWarnings(const CDocumentStep* step)
{
    std::vector<std::wstring> names;
    for (const CTransformerCalData& t : m_arrTransformer) {
        names.push_back(t.m_strName);
    }
    names.emplace_back(L"\n");  // board names follow
    for (const CBoardCalData& b : m_arrBoard) {
        names.push_back(b.m_strName);
    }
    // A circuit's warnings depend on the circuit and the names it may name:
    // only the circuits a step changed are checked again, unless rows came
    // or went or the names changed.
    bool all = step == nullptr || names != m_warnedNames ||
               m_circuitWarnings.size() != static_cast<size_t>(m_arrLoad.GetSize());
    if (!all) {
        for (const auto& change : step->loads) {
            all = all || change.kind != CRecordChange<CLoadCalData>::Kind::Set;
        }
    }
    if (all) {
        m_circuitWarnings.assign(static_cast<size_t>(m_arrLoad.GetSize()), {});
        m_circuitTypeWarnings.assign(static_cast<size_t>(m_arrLoad.GetSize()), {});
        for (int i = 0; i < m_arrLoad.GetSize(); ++i) {
            CheckCircuit(m_arrLoad[i], i, m_document, m_circuitWarnings[static_cast<size_t>(i)]);
            CheckLoadType(m_arrLoad[i], i, m_loadTypes,
                          m_circuitTypeWarnings[static_cast<size_t>(i)]);
        }
    } else {
        for (const auto& change : step->loads) {
            CCheckWarnings& mine = m_circuitWarnings[static_cast<size_t>(change.index)];
            mine.clear();
            CheckCircuit(m_arrLoad[change.index], change.index, m_document, mine);
            CCheckWarnings& typeWarnings = m_circuitTypeWarnings[static_cast<size_t>(change.index)];
            typeWarnings.clear();
            CheckLoadType(m_arrLoad[change.index], change.index, m_loadTypes, typeWarnings);
        }
    }
    m_warnedNames = std::move(names);
    m_warnings.clear();
    for (const CCheckWarnings& w : m_circuitWarnings) {
        m_warnings.insert(m_warnings.end(), w.begin(), w.end());
    }
    const CCheckWarnings transformers = CheckTransformers(m_document);
    m_warnings.insert(m_warnings.end(), transformers.begin(), transformers.end());
    // The boards' warnings read the names and owner lists of boards and
    // transformers and the phases of boards and circuits, never a figure:
    // a step that changed none of these keeps them.
    bool boardInputs = step == nullptr || all;
    if (!boardInputs) {
        for (const auto& change : step->loads) {
            boardInputs = boardInputs || change.before.m_strPhase != change.after.m_strPhase ||
                          change.before.m_strTransformer != change.after.m_strTransformer;
        }
        for (const auto& change : step->boards) {
            boardInputs = boardInputs || change.kind != CRecordChange<CBoardCalData>::Kind::Set ||
                          change.before.m_strName != change.after.m_strName ||
                          change.before.m_strOwner != change.after.m_strOwner ||
                          change.before.m_strPhase != change.after.m_strPhase;
        }
    }
    if (boardInputs) {
        m_boardWarnings = CheckBoards(m_document);
    }
    m_warnings.insert(m_warnings.end(), m_boardWarnings.begin(), m_boardWarnings.end());
    // The security of supply (the fire condition's boards, N−1): nothing to
    // check in a document without load classes or fire roles.
    const CCheckWarnings supply = CheckSupplySecurity(m_document);
    m_warnings.insert(m_warnings.end(), supply.begin(), supply.end());
    // The circuits' load types last, as the document's checks list them.
    for (const CCheckWarnings& w : m_circuitTypeWarnings) {
        m_warnings.insert(m_warnings.end(), w.begin(), w.end());
    }

    MarkWarningCells();
}

void CLoadCalDiaog::MarkWarningCells()
{
    // The cells: every warning on the cell of its field; several join. A
    // circuit the load grid's filter hides has no cell.
    std::map<std::pair<GridId, CCellID>, std::wstring> marks;
    for (const CCheckWarning& w : m_warnings) {
        GridId grid = GridId::Load;
        if (w.subject == CCheckWarning::Subject::Transformer) {
            grid = GridId::Transformer;
        } else if (w.subject == CCheckWarning::Subject::Board) {
            grid = GridId::Board;
        } else if (w.subject != CCheckWarning::Subject::Circuit) {
            continue;
        }
        const int col = GridColumnOfField(grid, w.field);
        const int row = grid == GridId::Load ? LoadRowOfRecord(w.index) : w.index + 1;
        if (col < 0 || row < 1) {
            continue;
        }
        std::wstring& text = marks[{grid, CCellID{row, col}}];
        text += (text.empty() ? L"" : L"\n") + w.text;
    }
    for (const auto& [grid, cell] : m_markedCells) {
        if (!marks.contains({grid, cell})) {
            GetGrid(grid).SetItemWarning(cell.row, cell.col, L"", CLR_DEFAULT);
        }
    }
    m_markedCells.clear();
    for (const auto& [where, text] : marks) {
        GetGrid(where.first)
            .SetItemWarning(where.second.row, where.second.col, text, kWarningColour);
        m_markedCells.push_back(where);
    }
}

}  // namespace loadcal
