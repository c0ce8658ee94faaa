// Grid set-up and refill, cell editing, the choice list and context menus of
// the calculation dialog, and the recalculations that show their results.
#include <algorithm>
#include <cmath>
#include <optional>

#include "dialog/LoadCalDiaog.h"
#include "dialog/LoadCalResources.h"
#include "dialog/LoadCalTexts.h"
#include "document/Archive.h"
#include "model/Calculation.h"
#include "model/Columns.h"
#include "model/Text.h"

namespace loadcal {
namespace {

/// Record field shown in load grid column k + 1 (the field setters' index k).
int LoadFieldOfIndex(int k)
{
    return kLoadGridColumns[static_cast<size_t>(k)].field;
}

/// Record field shown in transformer grid column k + 1: the spare calculated
/// capacity has no column.
int TransformerFieldOfIndex(int k)
{
    return kTransformerColumns[static_cast<size_t>(k)].field;
}

constexpr int kLoadColumnCount = static_cast<int>(kLoadGridColumns.size());
constexpr int kTransformerColumnCount = static_cast<int>(kTransformerColumns.size());

int LoadColumn(int field)
{
    return GridColumnOfField(GridId::Load, field);
}

bool IsComputed(GridId grid, int col)
{
    const TableColumn* column = ColumnAt(grid, col);
    return column != nullptr && column->kind == ColumnKind::Computed;
}

/// The texts a choice column offers, the empty text first.
std::vector<std::wstring> ChoiceTexts(int field)
{
    std::vector<std::wstring> texts;
    if (field == CLoadCalData::kLoadClass) {
        texts.emplace_back();
        texts.insert(texts.end(), kLoadClassTexts.begin(), kLoadClassTexts.end());
    } else if (field == CLoadCalData::kFire) {
        texts.assign(kFireTexts.begin(), kFireTexts.end());
    }
    return texts;
}

std::wstring Join(const std::vector<std::wstring>& pieces)
{
    std::wstring text;
    for (const std::wstring& p : pieces) {
        if (!text.empty()) {
            text += L',';
        }
        text += p;
    }
    return text;
}

}  // namespace

void CLoadCalDiaog::CreateGrid(CGridCtrl& grid, std::span<const TableColumn> columns)
{
    grid.DeleteAllItems();
    grid.EnableSelection(true);
    grid.SetEditable(true);
    grid.SetColumnResize(true);
    grid.SetRowResize(true);
    grid.SetListMode(false);
    grid.SetFixedBkColor(kFixedColour);
    grid.SetRowCount(1);
    grid.SetFixedRowCount(1);
    grid.SetFixedColumnCount(1);
    grid.SetColumnCount(static_cast<int>(columns.size()) + 1);
    grid.SetItem(0, 0, L"", 0, kTitleFormat);
    for (size_t c = 0; c < columns.size(); ++c) {
        grid.SetItem(0, static_cast<int>(c) + 1, std::wstring(columns[c].title), 0, kTitleFormat);
        if (columns[c].widthHint > 0) {
            grid.SetColumnWidth(static_cast<int>(c) + 1, columns[c].widthHint);
        }
    }
    grid.SetColumnWidth(0, kHeaderColumnWidth);
}

void CLoadCalDiaog::FillLoadRow(int row, const CLoadCalData& record)
{
    for (int c = 1; c <= kLoadColumnCount; ++c) {
        const TableColumn& column = kLoadGridColumns[static_cast<size_t>(c - 1)];
        const unsigned state = column.IsEditable() ? 0 : GVIS_READONLY;
        m_gridLoad.SetItem(row, c, record.AnyFieldAt(column.field), state, kDataFormat);
        if (column.kind == ColumnKind::Computed) {
            m_gridLoad.SetItemBkColour(row, c, kComputedColour);
        }
    }
}

void CLoadCalDiaog::FillLoadEntryRow(int row, const std::wstring& voltage,
                                     const std::wstring& demandFactor,
                                     const std::wstring& powerFactor)
{
    // The entry row proposes a three-phase circuit with these figures; in
    // the view of a single-phase board, a circuit on the board's phase.
    CLoadCalData proposal;
    for (int f = 0; f < CLoadCalData::kAnyFieldCount; ++f) {
        proposal.AnyFieldAt(f).clear();
    }
    proposal.m_strPhase = EntryPhase();
    proposal.m_strVoltage =
        proposal.m_strPhase == kPhaseThree ? voltage : std::wstring(kVoltageSingle);
    proposal.m_strDemandFactor = demandFactor;
    proposal.m_strPowerFactor = powerFactor;
    for (int c = 1; c <= kLoadColumnCount; ++c) {
        const TableColumn& column = kLoadGridColumns[static_cast<size_t>(c - 1)];
        if (!column.Has(column::kEntryCell)) {
            continue;
        }
        m_gridLoad.SetItem(row, c, proposal.AnyFieldAt(column.field),
                           column.IsEditable() ? 0 : GVIS_READONLY, kDataFormat);
        if (column.kind == ColumnKind::Computed) {
            m_gridLoad.SetItemBkColour(row, c, kComputedColour);
        }
    }
}

void CLoadCalDiaog::FillTransformerRow(int row, const CTransformerCalData& record)
{
    for (int c = 1; c < m_gridTransformer.GetColumnCount(); ++c) {
        const TableColumn& column = *ColumnAt(GridId::Transformer, c);
        const bool computed = column.kind == ColumnKind::Computed;
        m_gridTransformer.SetItem(row, c, record.AnyFieldAt(column.field),
                                  column.IsEditable() ? 0 : GVIS_READONLY, kDataFormat);
        if (computed) {
            m_gridTransformer.SetItemBkColour(row, c, kComputedColour);
        }
    }
}

void CLoadCalDiaog::FillTransformerEntryRow(int row)
{
    // Only the entry cells: the last column of the entry row stays as the
    // grid created it. Typed figures propose a new transformer's defaults.
    const CTransformerCalData defaults;
    for (int c = 1; c < m_gridTransformer.GetColumnCount(); ++c) {
        const TableColumn& column = *ColumnAt(GridId::Transformer, c);
        if (!column.Has(column::kEntryCell)) {
            continue;
        }
        const bool computed = column.kind == ColumnKind::Computed;
        const std::wstring text =
            column.kind == ColumnKind::Number ? defaults.FieldAt(column.field) : std::wstring();
        m_gridTransformer.SetItem(row, c, text, column.IsEditable() ? 0 : GVIS_READONLY,
                                  kDataFormat);
        if (computed) {
            m_gridTransformer.SetItemBkColour(row, c, kComputedColour);
        }
    }
}

void CLoadCalDiaog::FillBoardRow(int row, const CBoardCalData& record)
{
    for (int c = 1; c < m_gridBoard.GetColumnCount(); ++c) {
        const TableColumn& column = *ColumnAt(GridId::Board, c);
        m_gridBoard.SetItem(row, c, record.AnyFieldAt(column.field),
                            column.IsEditable() ? 0 : GVIS_READONLY, kDataFormat);
        if (column.kind == ColumnKind::Computed) {
            m_gridBoard.SetItemBkColour(row, c, kComputedColour);
        }
    }
}

void CLoadCalDiaog::FillBoardEntryRow(int row)
{
    // The entry row proposes a new board's phase and factors.
    CBoardCalData proposal;
    for (int f = 0; f < CBoardCalData::kFieldCount; ++f) {
        const bool kept =
            f == CBoardCalData::kPhase || f == CBoardCalData::kKp || f == CBoardCalData::kKq;
        if (!kept) {
            proposal.FieldAt(f).clear();
        }
    }
    FillBoardRow(row, proposal);
}

void CLoadCalDiaog::FillBoardGrid()
{
    CGridCtrl::Batch batch(m_gridBoard);
    const int m = m_arrBoard.GetSize();
    m_gridBoard.SetRowCount(1);
    m_gridBoard.SetRowCount(m + 2);
    for (int i = 0; i < m; ++i) {
        FillBoardRow(i + 1, m_arrBoard[i]);
    }
    FillBoardEntryRow(m + 1);
    m_gridBoard.Invalidate();
}

void CLoadCalDiaog::ShowBoardResults(int index)
{
    if (index < 0 || index >= m_arrBoard.GetSize() || index + 1 >= m_gridBoard.GetRowCount()) {
        return;
    }
    const CBoardCalData& board = m_arrBoard[index];
    for (int c = 1; c < m_gridBoard.GetColumnCount(); ++c) {
        if (IsComputed(GridId::Board, c)) {
            m_gridBoard.SetItemText(index + 1, c,
                                    board.AnyFieldAt(ColumnAt(GridId::Board, c)->field));
            m_gridBoard.RedrawCell(index + 1, c);
        }
    }
}

int CLoadCalDiaog::LoadDocument()
{
    CLoadCalDocument read;
    RestoreDocument(m_pIdpData.get(), read);
    ShowDocument(std::move(read));
    return 1;
}

void CLoadCalDiaog::ShowDocument(CLoadCalDocument doc)
{
    m_document = std::move(doc);
    m_pSupplyIndex.reset();
    m_arrTouchedLoads.clear();
    m_arrTouchedBoards.clear();
    m_arrTouchedTransformers.clear();
    m_history.Clear(m_bModified == 0);
    ShowFireColumns(HasFireRoles(m_document));
    // Another document: its tree, every circuit shown.
    m_supplyFilter = CSupplyFilter{};
    m_arrShownLoads.clear();
    FillLoadGrid();
    FillTransformerGrid();
    FillBoardGrid();
    RefreshWarnings(nullptr);
    m_nShownNode = -1;
    RebuildSupplyTree(CSupplyTree(m_document));
    UpdateStatusNote();
}

void CLoadCalDiaog::FillLoadGrid()
{
    CGridCtrl::Batch batch(m_gridLoad);
    if (IsLoadFiltered()) {
        m_arrShownLoads = FilteredLoads();
    } else {
        m_arrShownLoads.clear();
    }
    const int n = ShownLoadCount();
    m_gridLoad.SetRowCount(1);
    m_gridLoad.SetRowCount(n + 4);
    for (int r = 1; r <= n; ++r) {
        FillLoadRow(r, m_arrLoad[LoadRecordOfRow(r)]);
    }
    // The entry row proposes the figures of the circuit above it.
    const CLoadCalData defaults;
    const CLoadCalData& above = n > 0 ? m_arrLoad[LoadRecordOfRow(n)] : defaults;
    FillLoadEntryRow(n + 1, std::wstring(kVoltageThree), above.m_strDemandFactor,
                     above.m_strPowerFactor);
    for (int c = 1; c <= kLoadColumnCount; ++c) {
        m_gridLoad.SetItem(n + 2, c, L"", GVIS_READONLY, kDataFormat);
        m_gridLoad.SetItemBkColour(n + 2, c, kSeparatorColour);
    }
    // The total row holds the whole document's totals, also while the grid
    // shows one node's circuits (its label then says so).
    const SummaryTotals totals = UpdateGroups().Totals();
    const std::wstring_view label =
        IsLoadFiltered() ? texts::kTotalLabelFiltered : texts::kTotalLabel;
    for (int c = 1; c <= kLoadColumnCount; ++c) {
        const TotalCell cell = kLoadGridColumns[static_cast<size_t>(c - 1)].total;
        const std::wstring text =
            cell == TotalCell::Label ? std::wstring(label) : TotalText(totals, cell).value_or(L"");
        m_gridLoad.SetItem(n + 3, c, text, GVIS_READONLY, kDataFormat);
        m_gridLoad.SetItemBkColour(n + 3, c, kComputedColour);
    }
}

void CLoadCalDiaog::FillTransformerGrid()
{
    {
        CGridCtrl::Batch batch(m_gridTransformer);
        const int m = m_arrTransformer.GetSize();
        m_gridTransformer.SetRowCount(1);
        m_gridTransformer.SetRowCount(m + 2);
        for (int i = 0; i < m; ++i) {
            FillTransformerRow(i + 1, m_arrTransformer[i]);
        }
        FillTransformerEntryRow(m + 1);
        m_gridTransformer.Invalidate();
    }
}

void CLoadCalDiaog::ShowFireColumns(bool shown)
{
    m_bFireColumns = shown;
    bool changed = false;
    for (auto [grid, base] : {std::pair{GridId::Board, kBoardColumns.size()},
                              std::pair{GridId::Transformer, kTransformerColumns.size()}}) {
        CGridCtrl& g = GetGrid(grid);
        const int count = static_cast<int>(shown ? ColumnsOf(grid).size() : base) + 1;
        if (g.GetColumnCount() == count) {
            continue;
        }
        changed = true;
        const int before = g.GetColumnCount();
        g.SetColumnCount(count);
        for (int c = before; c < count; ++c) {
            const TableColumn& column = *ColumnAt(grid, c);
            g.SetItem(0, c, std::wstring(column.title), 0, kTitleFormat);
            g.SetColumnWidth(c, column.widthHint);
        }
    }
    if (changed) {
        FillBoardGrid();
        FillTransformerGrid();
    }
}

void CLoadCalDiaog::CreateGrids()
{
    CreateGrid(m_gridLoad, kLoadGridColumns);
    CreateGrid(m_gridTransformer, kTransformerColumns);
    CreateGrid(m_gridBoard, kBoardColumns);
    SetUpNumberChecks();
}

// ---- Recalculations shown in the grids ----

void CLoadCalDiaog::RecalculateRow(int i)
{
    if (i < 0 || i >= m_arrLoad.GetSize()) {
        return;
    }
    Loads().Modify(i, [this](CLoadCalData& c) { RecalculateCircuit(c, m_document.rules); });
    const CLoadCalData& circuit = m_arrLoad[i];
    const int row = LoadRowOfRecord(i);
    for (int c = 1; c <= kLoadColumnCount && row > 0; ++c) {
        if (IsComputed(GridId::Load, c)) {
            m_gridLoad.SetItemText(row, c, circuit.AnyFieldAt(LoadFieldOfIndex(c - 1)));
            m_gridLoad.RedrawCell(row, c);
        }
    }
    if (m_bDeferRecalculation) {
        m_bRecalculationPending = true;
        return;
    }
    RefreshTotals();
}

void CLoadCalDiaog::RefreshTotalCell(int column)
{
    ShowTotalCell(UpdateGroups().Totals(), column);
    m_bModified = 1;
}

void CLoadCalDiaog::ShowTotalCell(const SummaryTotals& totals, int column)
{
    const TableColumn* shown = ColumnAt(GridId::Load, column);
    const std::optional<std::wstring> total =
        shown ? TotalText(totals, shown->total) : std::nullopt;
    if (!total) {
        return;
    }
    const int row = m_gridLoad.GetRowCount() - 1;
    m_gridLoad.SetItem(row, column, *total, GVIS_READONLY, kDataFormat);
    m_gridLoad.RedrawCell(row, column);
}

void CLoadCalDiaog::RefreshTotals()
{
    // Each cell shows the totals of the circuits as they stand; they are
    // computed once for all six cells, after the boards and transformers
    // the changed circuits feed.
    const SummaryTotals totals = UpdateGroups().Totals();
    for (int column = 1; column <= kLoadColumnCount; ++column) {
        ShowTotalCell(totals, column);
    }
    m_bModified = 1;
}

void CLoadCalDiaog::ShowTransformerResults(int index)
{
    if (index < 0 || index >= m_arrTransformer.GetSize()) {
        return;
    }
    const CTransformerCalData& t = m_arrTransformer[index];
    const int row = index + 1;
    for (int c = 1; c < m_gridTransformer.GetColumnCount(); ++c) {
        if (IsComputed(GridId::Transformer, c)) {
            m_gridTransformer.SetItemText(row, c,
                                          t.AnyFieldAt(ColumnAt(GridId::Transformer, c)->field));
            m_gridTransformer.RedrawCell(row, c);
        }
    }
}

void CLoadCalDiaog::RecalculateAllTransformers()
{
    if (m_bDeferRecalculation) {
        m_bRecalculationPending = true;
        return;
    }
    // Of two transformer names equal but for case only the first is ever
    // recalculated and shown.
    UpdateGroups();
}

void CLoadCalDiaog::ReplaceOwnerName(const std::wstring& oldName, const std::wstring& newName)
{
    if (oldName.empty()) {
        return;
    }
    const auto replaced = [&](const std::wstring& owners) {
        std::vector<std::wstring> kept;
        for (const std::wstring& piece : OwnerPieces(owners)) {
            const std::wstring& now = EqualsNoCase(piece, oldName) ? newName : piece;
            if (!now.empty()) {
                kept.push_back(now);
            }
        }
        return Join(kept);
    };
    CRecordedArray<CLoadCalData> loads = Loads();
    const int ownerColumn = LoadColumn(CLoadCalData::kTransformer);
    for (int i = 0; i < m_arrLoad.GetSize(); ++i) {
        std::wstring joined = replaced(m_arrLoad[i].m_strTransformer);
        if (joined != m_arrLoad[i].m_strTransformer) {
            loads.Modify(i, [&joined](CLoadCalData& c) { c.m_strTransformer = std::move(joined); });
        }
        // The owner cell shows the list as it now stands.
        const int row = LoadRowOfRecord(i);
        if (row > 0 && m_gridLoad.GetItemText(row, ownerColumn) != m_arrLoad[i].m_strTransformer) {
            m_gridLoad.SetItemText(row, ownerColumn, m_arrLoad[i].m_strTransformer);
            m_gridLoad.RedrawCell(row, ownerColumn);
        }
    }
    CRecordedArray<CBoardCalData> boards = Boards();
    const int boardOwnerColumn = GridColumnOfField(GridId::Board, CBoardCalData::kOwner);
    for (int i = 0; i < m_arrBoard.GetSize(); ++i) {
        std::wstring joined = replaced(m_arrBoard[i].m_strOwner);
        if (joined != m_arrBoard[i].m_strOwner) {
            boards.Modify(i, [&joined](CBoardCalData& b) { b.m_strOwner = std::move(joined); });
            m_gridBoard.SetItemText(i + 1, boardOwnerColumn, m_arrBoard[i].m_strOwner);
            m_gridBoard.RedrawCell(i + 1, boardOwnerColumn);
        }
    }
}

// ---- Field setters ----

void CLoadCalDiaog::SetLoadField(int i, int k, const std::wstring& text)
{
    if (i < 0 || i > m_arrLoad.GetSize() || k < 0 || k >= kLoadColumnCount) {
        return;
    }
    if (i == m_arrLoad.GetSize()) {
        Loads().Add(CLoadCalData());
    }
    Loads().Modify(i, [&](CLoadCalData& c) { c.AnyFieldAt(LoadFieldOfIndex(k)) = text; });
}

void CLoadCalDiaog::SetTransformerField(int i, int k, const std::wstring& text)
{
    if (i < 0 || i > m_arrTransformer.GetSize() || k < 0 || k >= kTransformerColumnCount) {
        return;
    }
    if (i == m_arrTransformer.GetSize()) {
        Transformers().Add(CTransformerCalData());
    }
    Transformers().Modify(
        i, [&](CTransformerCalData& t) { t.FieldAt(TransformerFieldOfIndex(k)) = text; });
}

bool CLoadCalDiaog::IsLoadEmpty(int i) const
{
    return i >= 0 && i < m_arrLoad.GetSize() && IsBlankInView(m_arrLoad[i]);
}

bool CLoadCalDiaog::IsBlankInView(const CLoadCalData& circuit) const
{
    if (circuit.IsBlank()) {
        return true;
    }
    // In a board's or transformer's view its name in the owner cell is what
    // the view gave the circuit, not something typed.
    if ((m_supplyFilter.kind != SupplyNodeKind::Board &&
         m_supplyFilter.kind != SupplyNodeKind::Transformer) ||
        !EqualsNoCase(circuit.m_strTransformer, m_supplyFilter.name)) {
        return false;
    }
    CLoadCalData unowned = circuit;
    unowned.m_strTransformer.clear();
    return unowned.IsBlank();
}

bool CLoadCalDiaog::IsTransformerEmpty(int i) const
{
    return i >= 0 && i < m_arrTransformer.GetSize() && m_arrTransformer[i].IsBlank();
}

// ---- End of an in-place edit ----

bool CLoadCalDiaog::AcceptsLoadText(int col, const std::wstring& text) const
{
    const TableColumn* column = ColumnAt(GridId::Load, col);
    if (column == nullptr) {
        return false;
    }
    switch (column->kind) {
        case ColumnKind::Phase:
            return IsPhaseText(text);
        case ColumnKind::Choice: {
            const std::vector<std::wstring> texts = ChoiceTexts(column->field);
            return std::ranges::find(texts, text) != texts.end();
        }
        default:
            return true;
    }
}

std::optional<CCellChoices> CLoadCalDiaog::CellChoices(GridId grid, int row, int col) const
{
    const TableColumn* column = ColumnAt(grid, col);
    // Circuit rows and the entry row.
    if (grid != GridId::Load || column == nullptr || row < 1 || row > LoadEntryRow()) {
        return std::nullopt;
    }
    CCellChoices choices;
    switch (column->kind) {
        case ColumnKind::Phase:
            choices.options.assign(kPhaseTexts.begin(), kPhaseTexts.end());
            return choices;
        case ColumnKind::Choice:
            choices.options = ChoiceTexts(column->field);
            return choices;
        case ColumnKind::LoadType:
            choices.options.emplace_back();
            for (const CLoadType& type : m_loadTypes.Types()) {
                choices.options.push_back(type.name);
            }
            choices.freeText = true;
            return choices;
        default:
            return std::nullopt;
    }
}

bool CLoadCalDiaog::TakeLoadTypeFigures(int i)
{
    if (i < 0 || i >= m_arrLoad.GetSize()) {
        return false;
    }
    CLoadCalData after = m_arrLoad[i];
    if (!TakeFiguresFromLoadType(after, m_loadTypes)) {
        return false;
    }
    Loads().Modify(i, [&after](CLoadCalData& c) { c = after; });
    const int row = LoadRowOfRecord(i);
    for (int field : {CLoadCalData::kDemandFactor, CLoadCalData::kPowerFactor}) {
        const int col = LoadColumn(field);
        if (row > 0) {
            m_gridLoad.SetItemText(row, col, after.AnyFieldAt(field));
            m_gridLoad.RedrawCell(row, col);
        }
    }
    return true;
}

void CLoadCalDiaog::OnEndEditLoad(int r, int c)
{
    // Row r shows circuit i; the entry row makes circuit n, at the end.
    const int n = m_arrLoad.GetSize();
    const bool entry = r == LoadEntryRow();
    const int i = LoadRecordOfRow(r);
    if (i < 0) {
        return;
    }
    const int phaseColumn = LoadColumn(CLoadCalData::kPhase);
    const int voltageColumn = LoadColumn(CLoadCalData::kVoltage);
    const TableColumn& column = *ColumnAt(GridId::Load, c);
    std::wstring text = m_gridLoad.GetItemText(r, c);
    if (!AcceptsLoadText(c, Trim(text))) {
        // The phase is one of the four texts of its list, a load class or a
        // fire role one of its list (or empty): anything else is refused
        // for this cell, which shows what it had.
        const std::wstring had = !entry ? m_arrLoad[i].AnyFieldAt(column.field)
                                 : column.kind == ColumnKind::Phase ? std::wstring(kPhaseThree)
                                                                    : std::wstring();
        m_gridLoad.SetItemText(r, c, had);
        m_gridLoad.RedrawCell(r, c);
        return;
    }
    // The row's phase goes into its record first; on the entry row this
    // already appends the new circuit, which the row now shows.
    SetLoadField(i, phaseColumn - 1, m_gridLoad.GetItemText(r, phaseColumn));
    if (entry) {
        NoteLoadRowInserted(r, n);
    }
    text = Trim(text);
    if (column.kind == ColumnKind::LoadType) {
        // A library type is stored under the library's own name.
        if (const CLoadType* type = m_loadTypes.Find(text)) {
            text = type->name;
        }
        m_gridLoad.SetItemText(r, c, text);
    }

    if (c == phaseColumn) {
        const std::wstring voltage(text == kPhaseThree ? kVoltageThree : kVoltageSingle);
        SetLoadField(i, voltageColumn - 1, voltage);
        m_gridLoad.SetItemText(r, voltageColumn, voltage);
        m_gridLoad.RedrawCell(r, voltageColumn);
    }

    // Choosing a type, or a quantity of a tiered type, gives the circuit the
    // type's Kx and cos φ, as if typed.
    const auto takeTypeFigures = [&] {
        const CLoadType* type = m_loadTypes.Find(m_arrLoad[i].m_strLoadType);
        if (column.kind == ColumnKind::LoadType ||
            (column.field == CLoadCalData::kQuantity && type != nullptr && type->IsTiered())) {
            TakeLoadTypeFigures(i);
        }
    };

    if (entry && !text.empty()) {
        SetLoadField(i, c - 1, text);
        // The entry row's proposals become the circuit's own values.
        Loads().Modify(i, [&](CLoadCalData& added) {
            added.m_strVoltage = m_gridLoad.GetItemText(r, voltageColumn);
            added.m_strDemandFactor =
                m_gridLoad.GetItemText(r, LoadColumn(CLoadCalData::kDemandFactor));
            added.m_strPowerFactor =
                m_gridLoad.GetItemText(r, LoadColumn(CLoadCalData::kPowerFactor));
        });
        takeTypeFigures();
        // Typed while a board or transformer is selected: fed from it.
        FeedNewCircuitFromNode(i);
        const CLoadCalData& circuit = m_arrLoad[i];
        const int height = m_gridLoad.GetRowHeight(r);
        m_gridLoad.InsertRow(L"", r + 1);
        m_gridLoad.SetRowHeight(r + 1, height);
        FillLoadEntryRow(r + 1, circuit.m_strVoltage, circuit.m_strDemandFactor,
                         circuit.m_strPowerFactor);
        m_gridLoad.Invalidate();
    } else {
        SetLoadField(i, c - 1, text);
        if (text.empty() && IsLoadEmpty(i)) {
            Loads().RemoveAt(i);
            NoteLoadRowRemoved(r);
            if (!entry) {
                m_gridLoad.DeleteRow(r);
                m_gridLoad.Invalidate();
            }
        } else if (i < m_arrLoad.GetSize()) {
            takeTypeFigures();
        }
    }

    // A figure, the phase or the type changed: the circuit's results follow.
    if (column.kind == ColumnKind::Phase || column.kind == ColumnKind::Number ||
        column.kind == ColumnKind::LoadType) {
        RecalculateRow(i);
    }
    RecalculateAllTransformers();
    m_bModified = 1;
}

void CLoadCalDiaog::OnEndEditTransformer(int r, int c)
{
    const int m = m_arrTransformer.GetSize();
    const std::wstring text = Trim(m_gridTransformer.GetItemText(r, c));
    const bool existing = r - 1 >= 0 && r - 1 < m;

    if (c == GridColumnOfField(GridId::Transformer, CTransformerCalData::kName)) {
        const std::wstring previous = existing ? m_arrTransformer[r - 1].m_strName : std::wstring();
        // A name taken (by a transformer or a board), a "," that would split
        // it in the owner lists and blanks that are no name are refused
        // (clearing the cell still deletes the transformer).
        if (const auto refused =
                RefusedName(GridId::Transformer, r - 1, m_gridTransformer.GetItemText(r, c))) {
            MessageBox(*refused, texts::kNoticeCaption, MB_ICONINFORMATION);
            m_gridTransformer.SetItemText(r, c, previous);
            m_gridTransformer.RedrawCell(r, c);
            return;
        }
    }

    if (r == m + 1 && !text.empty()) {
        SetTransformerField(r - 1, c - 1, text);
        const int height = m_gridTransformer.GetRowHeight(r);
        m_gridTransformer.SetRowCount(r + 2);
        m_gridTransformer.SetRowHeight(r + 1, height);
        FillTransformerEntryRow(r + 1);
        m_gridTransformer.Invalidate();
    }

    if (c == GridColumnOfField(GridId::Transformer, CTransformerCalData::kName) && existing &&
        !m_arrTransformer[r - 1].m_strName.empty()) {
        ReplaceOwnerName(m_arrTransformer[r - 1].m_strName, text);
    }

    if (text.empty()) {
        SetTransformerField(r - 1, c - 1, L"");
        if (IsTransformerEmpty(r - 1)) {
            Transformers().RemoveAt(r - 1);
            if (r != m + 1) {
                m_gridTransformer.DeleteRow(r);
                m_gridTransformer.Invalidate();
            }
        }
    } else {
        SetTransformerField(r - 1, c - 1, text);
    }
    // A rename or a delete rewrites owner lists, which the totals group by.
    if (m_bDeferRecalculation) {
        m_bRecalculationPending = true;
    } else {
        RefreshTotals();
    }
    m_bModified = 1;
}

// ---- Clicks ----

void CLoadCalDiaog::OnGridClick(GridId grid, int row, int col)
{
    CGridCtrl& g = GetGrid(grid);
    if (!g.IsValid(row, col)) {
        return;
    }
    g.SetFocusCell(row, col);
    if (grid == GridId::Transformer) {
        return;
    }
    // Records: rows 1 .. count; the entry row follows them.
    const int records = grid == GridId::Load ? ShownLoadCount() : m_arrBoard.GetSize();
    const TableColumn* column = ColumnAt(grid, col);
    if (!column) {
        return;
    }
    if (row > 0 && row <= records + 1 && column->kind == ColumnKind::Phase) {
        ShowPhaseCombo(grid, row, col);
    }
    if (row > 0 && row <= records && column->kind == ColumnKind::Owner) {
        ShowChoiceList(grid, row, col);
    }
}

void CLoadCalDiaog::ShowPhaseCombo(GridId grid, int row, int col)
{
    std::vector<std::wstring> options(m_arrPhase.begin(), m_arrPhase.end());
    // The cell shows what the record holds, also a text that is not one of
    // the choices (it is marked); the list offers only the four.
    // Drop-down style, so that the grid keeps any text the record holds;
    // the window's editor offers the list only.
    CGridCtrl& g = GetGrid(grid);
    g.SetCellCombo(row, col, std::move(options), CBS_DROPDOWN, &m_btnDataBase);
    g.SetItemFormat(row, col, kDataFormat);
}

void CLoadCalDiaog::ShowChoiceList(GridId grid, int row, int col)
{
    // Boards first, then transformers, each name once (without regard to
    // case); a board is not offered as its own owner.
    std::vector<std::wstring> names;
    const auto offer = [&names](const std::wstring& name) {
        if (name.empty()) {
            return;
        }
        bool seen = false;
        for (const std::wstring& n : names) {
            seen = seen || EqualsNoCase(n, name);
        }
        if (!seen) {
            names.push_back(name);
        }
    };
    for (int b = 0; b < m_arrBoard.GetSize(); ++b) {
        if (grid != GridId::Board || b != row - 1) {
            offer(m_arrBoard[b].m_strName);
        }
    }
    const size_t boardCount = names.size();
    for (const CTransformerCalData& t : m_arrTransformer) {
        offer(t.m_strName);
    }
    // The record's own list, which its cell shows.
    const CStringArray pieces =
        OwnerPieces(grid == GridId::Board ? m_arrBoard[row - 1].m_strOwner
                                          : m_arrLoad[LoadRecordOfRow(row)].m_strTransformer);
    std::vector<bool> marks(names.size(), false);
    for (size_t j = 0; j < names.size(); ++j) {
        for (const std::wstring& piece : pieces) {
            if (EqualsNoCase(piece, names[j])) {
                marks[j] = true;
            }
        }
    }
    if (!m_pChoiceWindow->IsCreated()) {
        m_pChoiceWindow->Create(L"");
    }
    m_pChoiceWindow->SetItems(names, marks);
    m_pChoiceWindow->Place(row, col, GetGrid(grid).GetCellRect(row, col));
    m_choiceGrid = grid;
    if (auto picked = Ui().ShowChoiceList(names, marks, row, col, grid, boardCount)) {
        OnChoiceReport(*picked);
    }
}

int CLoadCalDiaog::OnChoiceReport(const std::vector<std::wstring>& names)
{
    CCommandScope command(*this);
    const std::wstring text = Join(names);
    CGridCtrl& g = GetGrid(m_choiceGrid);
    const CCellID cell = g.GetFocusCell();
    if (m_choiceGrid == GridId::Board) {
        // The focus row must be a board row; anything else is an invalid index.
        CBoardCalData proposed = m_arrBoard[cell.row - 1];
        proposed.m_strOwner = text;
        if (RefuseBoardCycle(cell.row - 1, proposed)) {
            return 1;
        }
        g.SetItemText(cell.row, cell.col, text);
        g.RedrawCell(cell.row, cell.col);
        Boards().Modify(cell.row - 1, [&text](CBoardCalData& b) { b.m_strOwner = text; });
        RecalculateAllTransformers();
        m_bModified = 1;
        return 1;
    }
    // The focus row must be a circuit row; anything else is an invalid index.
    const int i = LoadRecordOfRow(cell.row);
    g.SetItemText(cell.row, cell.col, text);
    g.RedrawCell(cell.row, cell.col);
    Loads().Modify(i, [&text](CLoadCalData& c) { c.m_strTransformer = text; });
    // The totals group the circuits by their owner text.
    RefreshTotals();
    RecalculateAllTransformers();
    m_bModified = 1;
    return 1;
}

// ---- Context menus ----

void CLoadCalDiaog::OnGridRightClick(GridId grid, int row, int col)
{
    if (grid == GridId::Load) {
        if (row >= 1 && row <= LoadEntryRow() && ColumnHas(GridId::Load, col, column::kRowMenu)) {
            TrackContextMenu(res::IDR_MENU_LOAD);
        }
    } else if (grid == GridId::Board) {
        if (row >= 1 && row <= m_arrBoard.GetSize() + 1 &&
            ColumnHas(GridId::Board, col, column::kRowMenu)) {
            TrackContextMenu(res::IDR_MENU_BOARD);
        }
    } else if (row >= 1 && row <= m_arrTransformer.GetSize() + 1 &&
               ColumnHas(GridId::Transformer, col, column::kRowMenu)) {
        TrackContextMenu(res::IDR_MENU_TRANSFORMER);
    }
}

void CLoadCalDiaog::TrackContextMenu(int menuId)
{
    std::optional<CMenuModel> menu = res::LoadMenu(menuId);
    if (!menu) {
        MessageBox(texts::kLoadMenuFailed, texts::kApplicationName, MB_OK);
        return;
    }
    CMenuModel* popup = menu->GetSubMenu(0);
    if (!popup) {
        MessageBox(texts::kNoPopupMenu, texts::kApplicationName, MB_OK);
        return;
    }
    const CPopupResult result = Ui().TrackPopupMenu(*popup);
    switch (result.status) {
        case CPopupResult::Status::NoCursor:
            return;
        case CPopupResult::Status::Failed:
            MessageBox(texts::kTrackPopupFailed, texts::kApplicationName, MB_OK);
            return;
        case CPopupResult::Status::Tracked:
            if (result.command != 0) {
                OnCommand(result.command);
            }
            return;
    }
}

}  // namespace loadcal
