#include "dialog/GridCtrl.h"

#include <algorithm>

namespace loadcal {

void CGridCtrl::AddListener(IGridListener* listener)
{
    if (listener &&
        std::find(m_listeners.begin(), m_listeners.end(), listener) == m_listeners.end()) {
        m_listeners.push_back(listener);
    }
}

void CGridCtrl::RemoveListener(IGridListener* listener)
{
    m_listeners.erase(std::remove(m_listeners.begin(), m_listeners.end(), listener),
                      m_listeners.end());
}

CCellRange CGridCtrl::All() const
{
    if (GetRowCount() == 0 || m_nCols == 0) {
        return {};
    }
    return {0, 0, GetRowCount() - 1, m_nCols - 1};
}

void CGridCtrl::CellsChanged(const CCellRange& range)
{
    if (!range.IsValid()) {
        return;
    }
    if (m_nBatchDepth > 0) {
        if (!m_pending.IsValid()) {
            m_pending = range;
        } else {
            m_pending.minRow = std::min(m_pending.minRow, range.minRow);
            m_pending.minCol = std::min(m_pending.minCol, range.minCol);
            m_pending.maxRow = std::max(m_pending.maxRow, range.maxRow);
            m_pending.maxCol = std::max(m_pending.maxCol, range.maxCol);
        }
        return;
    }
    for (IGridListener* l : m_listeners) {
        l->OnCellsChanged(range);
    }
}

void CGridCtrl::FlushCells()
{
    if (!m_pending.IsValid()) {
        return;
    }
    CCellRange range = m_pending;
    m_pending = {};
    // Rows or columns may have gone since the cells were collected.
    range.maxRow = std::min(range.maxRow, GetRowCount() - 1);
    range.maxCol = std::min(range.maxCol, m_nCols - 1);
    if (!range.IsValid()) {
        return;
    }
    for (IGridListener* l : m_listeners) {
        l->OnCellsChanged(range);
    }
}

void CGridCtrl::AboutToReset()
{
    FlushCells();
    for (IGridListener* l : m_listeners) {
        l->OnGridAboutToReset();
    }
}

void CGridCtrl::Reset()
{
    for (IGridListener* l : m_listeners) {
        l->OnGridReset();
    }
}

CGridCtrl::Batch::Batch(CGridCtrl& grid) : m_grid(grid)
{
    ++m_grid.m_nBatchDepth;
}

CGridCtrl::Batch::~Batch()
{
    if (--m_grid.m_nBatchDepth == 0) {
        m_grid.FlushCells();
    }
}

void CGridCtrl::SetRowCount(int rows)
{
    rows = std::max(rows, 0);
    const int old = GetRowCount();
    if (rows == old) {
        return;
    }
    FlushCells();
    if (rows > old) {
        for (IGridListener* l : m_listeners) {
            l->OnRowsAboutToBeInserted(old, rows - 1);
        }
        m_rows.resize(static_cast<size_t>(rows),
                      std::vector<CGridCell>(static_cast<size_t>(m_nCols)));
        m_rowHeights.resize(static_cast<size_t>(rows), kDefaultRowHeight);
        for (IGridListener* l : m_listeners) {
            l->OnRowsInserted(old, rows - 1);
        }
    } else {
        for (IGridListener* l : m_listeners) {
            l->OnRowsAboutToBeRemoved(rows, old - 1);
        }
        m_rows.resize(static_cast<size_t>(rows));
        m_rowHeights.resize(static_cast<size_t>(rows));
        std::erase_if(m_selected, [rows](const CCellID& c) { return c.row >= rows; });
        if (m_focus.row >= rows) {
            m_focus = {};
        }
        for (IGridListener* l : m_listeners) {
            l->OnRowsRemoved(rows, old - 1);
        }
    }
}

void CGridCtrl::SetColumnCount(int cols)
{
    cols = std::max(cols, 0);
    if (cols == m_nCols) {
        return;
    }
    AboutToReset();
    m_nCols = cols;
    for (auto& row : m_rows) {
        row.resize(static_cast<size_t>(cols));
    }
    m_colWidths.resize(static_cast<size_t>(cols), kDefaultColumnWidth);
    std::erase_if(m_selected, [cols](const CCellID& c) { return c.col >= cols; });
    if (m_focus.col >= cols) {
        m_focus = {};
    }
    Reset();
}

void CGridCtrl::SetFixedRowCount(int rows)
{
    rows = std::max(rows, 0);
    if (rows == m_nFixedRows) {
        return;
    }
    AboutToReset();
    m_nFixedRows = rows;
    if (GetRowCount() < rows) {
        m_rows.resize(static_cast<size_t>(rows),
                      std::vector<CGridCell>(static_cast<size_t>(m_nCols)));
        m_rowHeights.resize(static_cast<size_t>(rows), kDefaultRowHeight);
    }
    Reset();
}

void CGridCtrl::SetFixedColumnCount(int cols)
{
    cols = std::max(cols, 0);
    if (cols == m_nFixedCols) {
        return;
    }
    AboutToReset();
    m_nFixedCols = cols;
    if (m_nCols < cols) {
        m_nCols = cols;
        for (auto& row : m_rows) {
            row.resize(static_cast<size_t>(cols));
        }
        m_colWidths.resize(static_cast<size_t>(cols), kDefaultColumnWidth);
    }
    Reset();
}

void CGridCtrl::DeleteAllItems()
{
    AboutToReset();
    m_rows.clear();
    m_rowHeights.clear();
    m_colWidths.clear();
    m_nCols = 0;
    m_nFixedRows = 0;
    m_nFixedCols = 0;
    m_selected.clear();
    m_focus = {};
    Reset();
}

int CGridCtrl::GetColumnWidth(int col) const
{
    return col >= 0 && col < m_nCols ? m_colWidths[static_cast<size_t>(col)] : 0;
}

bool CGridCtrl::SetColumnWidth(int col, int width)
{
    if (col < 0 || col >= m_nCols) {
        return false;
    }
    m_colWidths[static_cast<size_t>(col)] = std::max(width, 0);
    for (IGridListener* l : m_listeners) {
        l->OnSizesChanged();
    }
    return true;
}

int CGridCtrl::GetRowHeight(int row) const
{
    return row >= 0 && row < GetRowCount() ? m_rowHeights[static_cast<size_t>(row)] : 0;
}

bool CGridCtrl::SetRowHeight(int row, int height)
{
    if (row < 0 || row >= GetRowCount()) {
        return false;
    }
    m_rowHeights[static_cast<size_t>(row)] = std::max(height, 0);
    for (IGridListener* l : m_listeners) {
        l->OnSizesChanged();
    }
    return true;
}

CGridCtrl::Rect CGridCtrl::GetCellRect(int row, int col) const
{
    Rect r;
    if (!IsValid(row, col)) {
        return r;
    }
    for (int c = 0; c < col; ++c) {
        r.left += m_colWidths[static_cast<size_t>(c)];
    }
    for (int i = 0; i < row; ++i) {
        r.top += m_rowHeights[static_cast<size_t>(i)];
    }
    r.right = r.left + m_colWidths[static_cast<size_t>(col)];
    r.bottom = r.top + m_rowHeights[static_cast<size_t>(row)];
    return r;
}

int CGridCtrl::InsertRow(const std::wstring& heading, int row)
{
    if (row < 0) {
        row = GetRowCount();
    }
    if (row > GetRowCount()) {
        return -1;
    }
    FlushCells();
    for (IGridListener* l : m_listeners) {
        l->OnRowsAboutToBeInserted(row, row);
    }
    std::vector<CGridCell> cells(static_cast<size_t>(m_nCols));
    if (!cells.empty()) {
        cells[0].text = heading;
    }
    m_rows.insert(m_rows.begin() + row, std::move(cells));
    m_rowHeights.insert(m_rowHeights.begin() + row, kDefaultRowHeight);
    // Inserting resets the selection; the focus cell moves with its row.
    const bool hadSelection = !m_selected.empty();
    m_selected.clear();
    if (m_focus.row >= row) {
        ++m_focus.row;
    }
    for (IGridListener* l : m_listeners) {
        l->OnRowsInserted(row, row);
    }
    if (hadSelection) {
        for (IGridListener* l : m_listeners) {
            l->OnSelectionChanged();
        }
    }
    return row;
}

bool CGridCtrl::DeleteRow(int row)
{
    if (row < 0 || row >= GetRowCount()) {
        return false;
    }
    FlushCells();
    for (IGridListener* l : m_listeners) {
        l->OnRowsAboutToBeRemoved(row, row);
    }
    m_rows.erase(m_rows.begin() + row);
    m_rowHeights.erase(m_rowHeights.begin() + row);
    const bool hadSelection = !m_selected.empty();
    m_selected.clear();
    if (m_focus.row == row) {
        m_focus = {};
    } else if (m_focus.row > row) {
        --m_focus.row;
    }
    for (IGridListener* l : m_listeners) {
        l->OnRowsRemoved(row, row);
    }
    if (hadSelection) {
        for (IGridListener* l : m_listeners) {
            l->OnSelectionChanged();
        }
    }
    return true;
}

bool CGridCtrl::IsValid(int row, int col) const
{
    return row >= 0 && row < GetRowCount() && col >= 0 && col < m_nCols;
}

const CGridCell* CGridCtrl::GetCell(int row, int col) const
{
    return IsValid(row, col) ? &m_rows[static_cast<size_t>(row)][static_cast<size_t>(col)]
                             : nullptr;
}

CGridCell* CGridCtrl::Cell(int row, int col)
{
    return IsValid(row, col) ? &m_rows[static_cast<size_t>(row)][static_cast<size_t>(col)]
                             : nullptr;
}

namespace {

/// The text a cell takes: a drop-down-list combo accepts only its options.
std::wstring AcceptedText(const CGridCell& cell, const std::wstring& text)
{
    if (cell.kind != CellKind::Combo || cell.comboStyle != CBS_DROPDOWNLIST) {
        return text;
    }
    if (std::find(cell.options.begin(), cell.options.end(), text) != cell.options.end()) {
        return text;
    }
    return cell.options.empty() ? std::wstring() : cell.options.front();
}

}  // namespace

bool CGridCtrl::SetItem(int row, int col, const std::wstring& text, unsigned state, unsigned format)
{
    CGridCell* cell = Cell(row, col);
    if (!cell) {
        return false;
    }
    cell->text = AcceptedText(*cell, text);
    cell->state = state;
    cell->format = format;
    CheckCell(*cell, row, col);
    CellsChanged({row, col, row, col});
    return true;
}

bool CGridCtrl::SetItemText(int row, int col, const std::wstring& text)
{
    CGridCell* cell = Cell(row, col);
    if (!cell) {
        return false;
    }
    cell->text = AcceptedText(*cell, text);
    CheckCell(*cell, row, col);
    CellsChanged({row, col, row, col});
    return true;
}

void CGridCtrl::SetColumnCheck(int col, CCellCheck check, COLORREF markColour)
{
    if (col < 0) {
        return;
    }
    if (static_cast<size_t>(col) >= m_checks.size()) {
        m_checks.resize(static_cast<size_t>(col) + 1);
    }
    m_checks[static_cast<size_t>(col)] = {std::move(check), markColour};
}

void CGridCtrl::CheckCell(CGridCell& cell, int row, int col) const
{
    if (static_cast<size_t>(col) >= m_checks.size() || !m_checks[static_cast<size_t>(col)].check ||
        row < m_nFixedRows) {
        return;
    }
    const ColumnCheck& check = m_checks[static_cast<size_t>(col)];
    cell.tip = check.check(cell.text);
    cell.markColour = cell.tip.empty() ? CLR_DEFAULT : check.markColour;
}

std::wstring CGridCtrl::GetItemText(int row, int col) const
{
    const CGridCell* cell = GetCell(row, col);
    return cell ? cell->text : std::wstring();
}

bool CGridCtrl::SetItemState(int row, int col, unsigned state)
{
    CGridCell* cell = Cell(row, col);
    if (!cell) {
        return false;
    }
    cell->state = state;
    CellsChanged({row, col, row, col});
    return true;
}

unsigned CGridCtrl::GetItemState(int row, int col) const
{
    const CGridCell* cell = GetCell(row, col);
    return cell ? cell->state : 0;
}

bool CGridCtrl::SetItemFormat(int row, int col, unsigned format)
{
    CGridCell* cell = Cell(row, col);
    if (!cell) {
        return false;
    }
    cell->format = format;
    CellsChanged({row, col, row, col});
    return true;
}

unsigned CGridCtrl::GetItemFormat(int row, int col) const
{
    const CGridCell* cell = GetCell(row, col);
    return cell ? cell->format : 0;
}

bool CGridCtrl::SetItemBkColour(int row, int col, COLORREF colour)
{
    CGridCell* cell = Cell(row, col);
    if (!cell) {
        return false;
    }
    cell->bkColour = colour;
    CellsChanged({row, col, row, col});
    return true;
}

bool CGridCtrl::SetItemWarning(int row, int col, const std::wstring& text, COLORREF colour)
{
    CGridCell* cell = Cell(row, col);
    if (!cell) {
        return false;
    }
    const COLORREF shown = text.empty() ? CLR_DEFAULT : colour;
    if (cell->warning != text || cell->warningColour != shown) {
        cell->warning = text;
        cell->warningColour = shown;
        CellsChanged({row, col, row, col});
    }
    return true;
}

COLORREF CGridCtrl::GetItemBkColour(int row, int col) const
{
    const CGridCell* cell = GetCell(row, col);
    return cell ? cell->bkColour : CLR_DEFAULT;
}

bool CGridCtrl::SetItemFgColour(int row, int col, COLORREF colour)
{
    CGridCell* cell = Cell(row, col);
    if (!cell) {
        return false;
    }
    cell->fgColour = colour;
    CellsChanged({row, col, row, col});
    return true;
}

COLORREF CGridCtrl::GetItemFgColour(int row, int col) const
{
    const CGridCell* cell = GetCell(row, col);
    return cell ? cell->fgColour : CLR_DEFAULT;
}

bool CGridCtrl::SetCellCombo(int row, int col, std::vector<std::wstring> options, unsigned style,
                             const CBtnDataBase* btnData)
{
    CGridCell* cell = Cell(row, col);
    if (!cell) {
        return false;
    }
    cell->kind = CellKind::Combo;
    cell->options = std::move(options);
    cell->comboStyle = style;
    cell->btnData = btnData;
    CellsChanged({row, col, row, col});
    return true;
}

bool CGridCtrl::IsCellFixed(int row, int col) const
{
    return IsValid(row, col) && (row < m_nFixedRows || col < m_nFixedCols);
}

bool CGridCtrl::IsCellEditable(int row, int col) const
{
    return m_bEditable && IsValid(row, col) && !IsCellFixed(row, col) &&
           (GetItemState(row, col) & GVIS_READONLY) == 0;
}

void CGridCtrl::EnableSelection(bool enable)
{
    m_bEnableSelection = enable;
    if (!enable) {
        ResetSelectedRange();
    }
}

void CGridCtrl::SetFixedBkColor(COLORREF colour)
{
    m_fixedBkColour = colour;
    CellsChanged(All());
}

void CGridCtrl::SetSelectedRange(const CCellRange& range)
{
    m_selected.clear();
    if (m_bEnableSelection && range.IsValid()) {
        const int maxRow = std::min(range.maxRow, GetRowCount() - 1);
        const int maxCol = std::min(range.maxCol, m_nCols - 1);
        for (int r = range.minRow; r <= maxRow; ++r) {
            for (int c = range.minCol; c <= maxCol; ++c) {
                m_selected.insert({r, c});
            }
        }
    }
    for (IGridListener* l : m_listeners) {
        l->OnSelectionChanged();
    }
}

void CGridCtrl::SetSelectedRange(int minRow, int minCol, int maxRow, int maxCol)
{
    SetSelectedRange(CCellRange{minRow, minCol, maxRow, maxCol});
}

CCellRange CGridCtrl::GetSelectedRange() const
{
    if (m_selected.empty()) {
        return {};
    }
    CCellRange r{m_selected.begin()->row, m_selected.begin()->col, m_selected.begin()->row,
                 m_selected.begin()->col};
    for (const CCellID& c : m_selected) {
        r.minRow = std::min(r.minRow, c.row);
        r.maxRow = std::max(r.maxRow, c.row);
        r.minCol = std::min(r.minCol, c.col);
        r.maxCol = std::max(r.maxCol, c.col);
    }
    return r;
}

void CGridCtrl::SelectCell(int row, int col, bool selected)
{
    if (!IsValid(row, col) || (selected && !m_bEnableSelection)) {
        return;
    }
    if (selected) {
        m_selected.insert({row, col});
    } else {
        m_selected.erase({row, col});
    }
    for (IGridListener* l : m_listeners) {
        l->OnSelectionChanged();
    }
}

bool CGridCtrl::IsCellSelected(int row, int col) const
{
    return m_selected.count({row, col}) != 0;
}

void CGridCtrl::ResetSelectedRange()
{
    if (m_selected.empty()) {
        return;
    }
    m_selected.clear();
    for (IGridListener* l : m_listeners) {
        l->OnSelectionChanged();
    }
}

void CGridCtrl::SetFocusCell(int row, int col)
{
    m_focus = IsValid(row, col) ? CCellID{row, col} : CCellID{};
    for (IGridListener* l : m_listeners) {
        l->OnSelectionChanged();
    }
}

void CGridCtrl::RedrawCell(int row, int col)
{
    if (IsValid(row, col)) {
        CellsChanged({row, col, row, col});
    }
}

void CGridCtrl::RedrawRow(int row)
{
    if (row >= 0 && row < GetRowCount() && m_nCols > 0) {
        CellsChanged({row, 0, row, m_nCols - 1});
    }
}

void CGridCtrl::Invalidate()
{
    CellsChanged(All());
}

}  // namespace loadcal
