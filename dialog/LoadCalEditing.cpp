// Grid set-up and refill, cell editing, the choice list and context menus of
// the calculation dialog, and the recalculations that show their results.
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

/// The grand total a cell of the load grid's total row shows, by column;
/// nothing for the columns without a total.
std::optional<std::wstring> TotalOfColumn(const SummaryTotals& totals, int column)
{
    switch (column) {
        case 5:
            return totals.installed;
        case 8:
            return totals.powerFactor;
        case 9:
            return totals.active;
        case 10:
            return totals.reactive;
        case 11:
            return totals.apparent;
        case 12:
            return totals.current;
        default:
            return std::nullopt;
    }
}

/// Record field shown in load grid column k + 1 (the field setters' index k).
int LoadFieldOfIndex(int k)
{
    return kLoadColumns[static_cast<size_t>(k)].field;
}

/// Record field shown in transformer grid column k + 1: the spare calculated
/// capacity has no column.
int TransformerFieldOfIndex(int k)
{
    return kTransformerColumns[static_cast<size_t>(k)].field;
}

/// Read-only, coloured columns of the transformer grid.
bool IsComputedTransformerColumn(int col)
{
    switch (col) {
        case 2:
        case 3:
        case 7:
        case 8:
        case 9:
        case 10:
        case 13:
        case 15:
            return true;
        default:
            return false;
    }
}

constexpr int kLoadPhaseColumn = 4;
constexpr int kLoadVoltageColumn = 6;
constexpr int kLoadDemandFactorColumn = 7;
constexpr int kLoadPowerFactorColumn = 8;
constexpr int kLoadOwnerColumn = 13;
/// The total-row columns a refresh writes, in this order.
constexpr int kTotalColumns[6] = {5, 8, 9, 10, 11, 12};

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

template <size_t N>
void CLoadCalDiaog::CreateGrid(CGridCtrl& grid, const std::array<TableColumn, N>& columns)
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
    grid.SetColumnCount(static_cast<int>(N) + 1);
    grid.SetItem(0, 0, L"", 0, kTitleFormat);
    for (size_t c = 0; c < N; ++c) {
        grid.SetItem(0, static_cast<int>(c) + 1, std::wstring(columns[c].title), 0, kTitleFormat);
    }
    grid.SetColumnWidth(0, kHeaderColumnWidth);
}

void CLoadCalDiaog::FillLoadRow(int row, const CLoadCalData& record)
{
    for (int c = 1; c <= 13; ++c) {
        const bool computed = c >= 9 && c <= 12;
        const unsigned state = c >= 9 ? GVIS_READONLY : 0;
        m_gridLoad.SetItem(row, c, record.FieldAt(LoadFieldOfIndex(c - 1)), state, kDataFormat);
        if (computed) {
            m_gridLoad.SetItemBkColour(row, c, kComputedColour);
        }
    }
}

void CLoadCalDiaog::FillLoadEntryRow(int row, const std::wstring& voltage,
                                     const std::wstring& demandFactor,
                                     const std::wstring& powerFactor)
{
    for (int c = 1; c <= 12; ++c) {
        std::wstring text;
        if (c == kLoadPhaseColumn) {
            text = kPhaseThree;
        } else if (c == kLoadVoltageColumn) {
            text = voltage;
        } else if (c == kLoadDemandFactorColumn) {
            text = demandFactor;
        } else if (c == kLoadPowerFactorColumn) {
            text = powerFactor;
        }
        const bool computed = c >= 9;
        m_gridLoad.SetItem(row, c, text, computed ? GVIS_READONLY : 0, kDataFormat);
        if (computed) {
            m_gridLoad.SetItemBkColour(row, c, kComputedColour);
        }
    }
    m_gridLoad.SetItem(row, kLoadOwnerColumn, L"", GVIS_READONLY, kDataFormat);
}

void CLoadCalDiaog::FillTransformerRow(int row, const CTransformerCalData& record)
{
    for (int c = 1; c <= 16; ++c) {
        const bool computed = IsComputedTransformerColumn(c);
        m_gridTransformer.SetItem(row, c, record.FieldAt(TransformerFieldOfIndex(c - 1)),
                                  computed ? GVIS_READONLY : 0, kDataFormat);
        if (computed) {
            m_gridTransformer.SetItemBkColour(row, c, kComputedColour);
        }
    }
}

void CLoadCalDiaog::FillTransformerEntryRow(int row)
{
    // Columns 1 to 15 only: column 16 of the entry row stays as the grid
    // created it.
    const CTransformerCalData defaults;
    for (int c = 1; c <= 15; ++c) {
        const bool computed = IsComputedTransformerColumn(c);
        std::wstring text;
        switch (c) {
            case 4:
            case 5:
            case 6:
            case 11:
            case 12:
            case 14:
                text = defaults.FieldAt(TransformerFieldOfIndex(c - 1));
                break;
            default:
                break;
        }
        m_gridTransformer.SetItem(row, c, text, computed ? GVIS_READONLY : 0, kDataFormat);
        if (computed) {
            m_gridTransformer.SetItemBkColour(row, c, kComputedColour);
        }
    }
}

int CLoadCalDiaog::LoadDocument()
{
    RestoreDocument(m_pIdpData.get(), m_document);
    m_pOwnerIndex.reset();
    m_history.Clear(m_bModified == 0);
    FillLoadGrid();
    FillTransformerGrid();
    return 1;
}

void CLoadCalDiaog::FillLoadGrid()
{
    {
        CGridCtrl::Batch batch(m_gridLoad);
        const int n = m_arrLoad.GetSize();
        m_gridLoad.SetRowCount(1);
        m_gridLoad.SetRowCount(n + 4);
        for (int i = 0; i < n; ++i) {
            FillLoadRow(i + 1, m_arrLoad[i]);
        }
        const CLoadCalData defaults;
        FillLoadEntryRow(n + 1, std::wstring(kVoltageThree),
                         n > 0 ? m_arrLoad[n - 1].m_strDemandFactor : defaults.m_strDemandFactor,
                         n > 0 ? m_arrLoad[n - 1].m_strPowerFactor : defaults.m_strPowerFactor);
        for (int c = 1; c <= 13; ++c) {
            m_gridLoad.SetItem(n + 2, c, L"", GVIS_READONLY, kDataFormat);
            m_gridLoad.SetItemBkColour(n + 2, c, kSeparatorColour);
        }
        const SummaryTotals totals = OwnerIndex().Totals();
        for (int c = 1; c <= 13; ++c) {
            const std::wstring text =
                c == 2 ? std::wstring(texts::kTotalLabel) : TotalOfColumn(totals, c).value_or(L"");
            m_gridLoad.SetItem(n + 3, c, text, GVIS_READONLY, kDataFormat);
            m_gridLoad.SetItemBkColour(n + 3, c, kComputedColour);
        }
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

void CLoadCalDiaog::CreateGrids()
{
    CreateGrid(m_gridLoad, kLoadColumns);
    CreateGrid(m_gridTransformer, kTransformerColumns);
    SetUpNumberChecks();
}

// ---- Recalculations shown in the grids ----

void CLoadCalDiaog::RecalculateRow(int i)
{
    if (i < 0 || i >= m_arrLoad.GetSize()) {
        return;
    }
    Loads().Modify(i, [](CLoadCalData& c) { RecalculateCircuit(c); });
    const CLoadCalData& circuit = m_arrLoad[i];
    const int row = i + 1;
    m_gridLoad.SetItemText(row, 9, circuit.m_strCalcP);
    m_gridLoad.SetItemText(row, 10, circuit.m_strCalcQ);
    m_gridLoad.SetItemText(row, 11, circuit.m_strCalcS);
    m_gridLoad.SetItemText(row, 12, circuit.m_strCalcI);
    for (int c = 9; c <= 12; ++c) {
        m_gridLoad.RedrawCell(row, c);
    }
    if (m_bDeferRecalculation) {
        m_bRecalculationPending = true;
        return;
    }
    RefreshTotals();
}

void CLoadCalDiaog::RefreshTotalCell(int column)
{
    ShowTotalCell(OwnerIndex().Totals(), column);
    m_bModified = 1;
}

void CLoadCalDiaog::ShowTotalCell(const SummaryTotals& totals, int column)
{
    const std::optional<std::wstring> total = TotalOfColumn(totals, column);
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
    // computed once for all six cells.
    const SummaryTotals totals = OwnerIndex().Totals();
    for (int column : kTotalColumns) {
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
    for (int c : {2, 3, 7, 8, 9, 10, 13, 15}) {
        m_gridTransformer.SetItemText(row, c, t.FieldAt(TransformerFieldOfIndex(c - 1)));
        m_gridTransformer.RedrawCell(row, c);
    }
}

void CLoadCalDiaog::RecalculateTransformer(const std::wstring& name)
{
    const int i = FindTransformer(m_arrTransformer, name);
    if (i < 0) {
        return;
    }
    Transformers().Modify(i, [&](CTransformerCalData&) {
        loadcal::RecalculateTransformer(OwnerIndex(), m_arrTransformer, name);
    });
    ShowTransformerResults(i);
}

void CLoadCalDiaog::RecalculateAllTransformers()
{
    if (m_bDeferRecalculation) {
        m_bRecalculationPending = true;
        return;
    }
    // Each transformer is recalculated by its own name, so of two names
    // equal but for case only the first is ever recalculated and shown.
    // The transformers are few: the step keeps those whose texts changed.
    const CTransformerArray before = m_arrTransformer;
    loadcal::RecalculateAllTransformers(OwnerIndex(), m_arrTransformer);
    CRecordedArray<CTransformerCalData> recorded = Transformers();
    for (int i = 0; i < m_arrTransformer.GetSize(); ++i) {
        recorded.Note(i, before[i]);
    }
    for (int i = 0; i < m_arrTransformer.GetSize(); ++i) {
        ShowTransformerResults(FindTransformer(m_arrTransformer, m_arrTransformer[i].m_strName));
    }
}

void CLoadCalDiaog::ReplaceTransformerInCircuits(const std::wstring& oldName,
                                                 const std::wstring& newName)
{
    if (oldName.empty()) {
        return;
    }
    CRecordedArray<CLoadCalData> loads = Loads();
    for (int i = 0; i < m_arrLoad.GetSize(); ++i) {
        CStringArray pieces = OwnerPieces(m_arrLoad[i].m_strTransformer);
        std::vector<std::wstring> kept;
        for (const std::wstring& piece : pieces) {
            const std::wstring& now = EqualsNoCase(piece, oldName) ? newName : piece;
            if (!now.empty()) {
                kept.push_back(now);
            }
        }
        std::wstring joined = Join(kept);
        if (joined != m_arrLoad[i].m_strTransformer) {
            loads.Modify(i, [&joined](CLoadCalData& c) { c.m_strTransformer = std::move(joined); });
        }
        // Written to column 14, which the load grid does not have: the owner
        // cell (column 13) keeps showing the old text until the grid is
        // rebuilt.
        m_gridLoad.SetItemText(i + 1, 14, m_arrLoad[i].m_strTransformer);
        m_gridLoad.RedrawCell(i + 1, 14);
    }
}

// ---- Field setters ----

void CLoadCalDiaog::SetLoadField(int i, int k, const std::wstring& text)
{
    if (i < 0 || i > m_arrLoad.GetSize() || k < 0 || k > 12) {
        return;
    }
    if (i == m_arrLoad.GetSize()) {
        Loads().Add(CLoadCalData());
    }
    Loads().Modify(i, [&](CLoadCalData& c) { c.FieldAt(LoadFieldOfIndex(k)) = text; });
}

void CLoadCalDiaog::SetTransformerField(int i, int k, const std::wstring& text)
{
    if (i < 0 || i > m_arrTransformer.GetSize() || k < 0 || k > 15) {
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
    return i >= 0 && i < m_arrLoad.GetSize() && m_arrLoad[i].IsBlank();
}

bool CLoadCalDiaog::IsTransformerEmpty(int i) const
{
    return i >= 0 && i < m_arrTransformer.GetSize() && m_arrTransformer[i].IsBlank();
}

// ---- End of an in-place edit ----

void CLoadCalDiaog::OnEndEditLoad(int r, int c)
{
    const int n = m_arrLoad.GetSize();
    std::wstring text = m_gridLoad.GetItemText(r, c);
    // The row's phase goes into its record first; on the entry row this
    // already appends the new circuit.
    SetLoadField(r - 1, 3, m_gridLoad.GetItemText(r, kLoadPhaseColumn));
    text = Trim(text);

    if (c == kLoadPhaseColumn) {
        const std::wstring voltage(text == kPhaseThree ? kVoltageThree : kVoltageSingle);
        SetLoadField(r - 1, 5, voltage);
        m_gridLoad.SetItemText(r, kLoadVoltageColumn, voltage);
        m_gridLoad.RedrawCell(r, kLoadVoltageColumn);
    }

    if (r == n + 1 && !text.empty()) {
        SetLoadField(r - 1, c - 1, text);
        // The entry row's proposals become the circuit's own values.
        Loads().Modify(r - 1, [&](CLoadCalData& added) {
            added.m_strVoltage = m_gridLoad.GetItemText(r, kLoadVoltageColumn);
            added.m_strDemandFactor = m_gridLoad.GetItemText(r, kLoadDemandFactorColumn);
            added.m_strPowerFactor = m_gridLoad.GetItemText(r, kLoadPowerFactorColumn);
        });
        const CLoadCalData& circuit = m_arrLoad[r - 1];
        const int height = m_gridLoad.GetRowHeight(r);
        m_gridLoad.InsertRow(L"", r + 1);
        m_gridLoad.SetRowHeight(r + 1, height);
        FillLoadEntryRow(r + 1, circuit.m_strVoltage, circuit.m_strDemandFactor,
                         circuit.m_strPowerFactor);
        m_gridLoad.Invalidate();
    } else {
        SetLoadField(r - 1, c - 1, text);
        if (text.empty() && IsLoadEmpty(r - 1)) {
            Loads().RemoveAt(r - 1);
            if (r != n + 1) {
                m_gridLoad.DeleteRow(r);
                m_gridLoad.Invalidate();
            }
        }
    }

    if (c >= 4 && c <= 8) {
        RecalculateRow(r - 1);
    }
    RecalculateAllTransformers();
    m_bModified = 1;
}

void CLoadCalDiaog::OnEndEditTransformer(int r, int c)
{
    const int m = m_arrTransformer.GetSize();
    const std::wstring text = Trim(m_gridTransformer.GetItemText(r, c));
    const bool existing = r - 1 >= 0 && r - 1 < m;

    if (c == 1) {
        const std::wstring previous = existing ? m_arrTransformer[r - 1].m_strName : std::wstring();
        if (!text.empty()) {
            for (int i = 0; i < m; ++i) {
                if (i != r - 1 && EqualsNoCase(text, m_arrTransformer[i].m_strName)) {
                    MessageBox(texts::kDuplicateTransformer, texts::kNoticeCaption,
                               MB_ICONINFORMATION);
                    m_gridTransformer.SetItemText(r, c, previous);
                    m_gridTransformer.RedrawCell(r, c);
                    return;
                }
            }
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

    if (c == 1 && existing && !m_arrTransformer[r - 1].m_strName.empty()) {
        ReplaceTransformerInCircuits(m_arrTransformer[r - 1].m_strName, text);
    }

    if (text.empty()) {
        SetTransformerField(r - 1, c - 1, L"");
        if (IsTransformerEmpty(r - 1)) {
            Transformers().RemoveAt(r - 1);
            if (r != m + 1) {
                m_gridTransformer.DeleteRow(r);
                m_gridTransformer.Invalidate();
            }
        } else if (r - 1 < m_arrTransformer.GetSize()) {
            RecalculateTransformer(m_arrTransformer[r - 1].m_strName);
        }
    } else {
        SetTransformerField(r - 1, c - 1, text);
        if (r - 1 < m_arrTransformer.GetSize()) {
            RecalculateTransformer(m_arrTransformer[r - 1].m_strName);
        }
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
    if (grid != GridId::Load) {
        return;
    }
    const int rows = m_gridLoad.GetRowCount();
    if (row > 0 && row < rows - 2 && col == kLoadPhaseColumn) {
        ShowPhaseCombo(row, col);
    }
    if (row > 0 && row < rows - 3 && col == kLoadOwnerColumn) {
        ShowChoiceList(row, col);
    }
}

void CLoadCalDiaog::ShowPhaseCombo(int row, int col)
{
    std::vector<std::wstring> options(m_arrPhase.begin(), m_arrPhase.end());
    m_gridLoad.SetCellCombo(row, col, std::move(options), CBS_DROPDOWNLIST, &m_btnDataBase);
    // A drop-down list keeps only one of its choices: any other text becomes
    // the first choice.
    m_gridLoad.SetItemText(row, col, m_gridLoad.GetItemText(row, col));
    m_gridLoad.SetItemFormat(row, col, kDataFormat);
}

void CLoadCalDiaog::ShowChoiceList(int row, int col)
{
    std::vector<std::wstring> names;
    for (const CTransformerCalData& t : m_arrTransformer) {
        if (t.m_strName.empty()) {
            continue;
        }
        bool seen = false;
        for (const std::wstring& n : names) {
            seen = seen || EqualsNoCase(n, t.m_strName);
        }
        if (!seen) {
            names.push_back(t.m_strName);
        }
    }
    const CStringArray pieces = OwnerPieces(m_gridLoad.GetItemText(row, col));
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
    m_pChoiceWindow->Place(row, col, m_gridLoad.GetCellRect(row, col));
    if (auto picked = Ui().ShowChoiceList(names, marks, row, col)) {
        OnChoiceReport(*picked);
    }
}

int CLoadCalDiaog::OnChoiceReport(const std::vector<std::wstring>& names)
{
    CCommandScope command(*this);
    const std::wstring text = Join(names);
    const CCellID cell = m_gridLoad.GetFocusCell();
    m_gridLoad.SetItemText(cell.row, cell.col, text);
    m_gridLoad.RedrawCell(cell.row, cell.col);
    // The focus row must be a circuit row; anything else is an invalid index.
    Loads().Modify(cell.row - 1, [&text](CLoadCalData& c) { c.m_strTransformer = text; });
    RecalculateAllTransformers();
    m_bModified = 1;
    return 1;
}

// ---- Context menus ----

void CLoadCalDiaog::OnGridRightClick(GridId grid, int row, int col)
{
    if (grid == GridId::Load) {
        if (row >= 1 && row <= m_arrLoad.GetSize() + 1 && col >= 1 && col <= 12) {
            TrackContextMenu(res::IDR_MENU_LOAD);
        }
    } else if (row >= 1 && row <= m_arrTransformer.GetSize() + 1 && col >= 1 && col <= 15) {
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
