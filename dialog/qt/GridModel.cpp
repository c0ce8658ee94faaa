#include "dialog/qt/GridModel.h"

#include <QBrush>
#include <QStringList>
#include <algorithm>

#include "dialog/qt/QtText.h"

namespace loadcal {

CGridModel::CGridModel(IGridHost& host, GridId grid, QObject* parent)
    : QAbstractTableModel(parent), m_host(host), m_id(grid)
{
    Grid().AddListener(this);
}

CGridModel::~CGridModel()
{
    Grid().RemoveListener(this);
}

QModelIndex CGridModel::IndexOfCell(int gridRow, int gridCol) const
{
    const CGridCtrl& g = Grid();
    if (!g.IsValid(gridRow, gridCol) || g.IsCellFixed(gridRow, gridCol)) {
        return {};
    }
    return index(gridRow - g.GetFixedRowCount(), gridCol - g.GetFixedColumnCount());
}

int CGridModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid()) {
        return 0;
    }
    return std::max(0, Grid().GetRowCount() - Grid().GetFixedRowCount());
}

int CGridModel::columnCount(const QModelIndex& parent) const
{
    if (parent.isValid()) {
        return 0;
    }
    return std::max(0, Grid().GetColumnCount() - Grid().GetFixedColumnCount());
}

QVariant CGridModel::CellData(const CGridCell& cell, int role) const
{
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return ToQString(cell.text);
        case Qt::BackgroundRole:
            if (cell.markColour != CLR_DEFAULT) {
                return QBrush(ToQColor(cell.markColour));
            }
            if (cell.warningColour != CLR_DEFAULT) {
                return QBrush(ToQColor(cell.warningColour));
            }
            if (cell.bkColour != CLR_DEFAULT) {
                return QBrush(ToQColor(cell.bkColour));
            }
            return {};
        case Qt::ForegroundRole:
            if (cell.fgColour != CLR_DEFAULT) {
                return QBrush(ToQColor(cell.fgColour));
            }
            return {};
        case Qt::TextAlignmentRole:
            return QVariant::fromValue(AlignmentOf(cell.format));
        case Qt::ToolTipRole: {
            std::wstring tip = cell.tip;
            if (!cell.warning.empty()) {
                tip += (tip.empty() ? L"" : L"\n") + cell.warning;
            }
            if (!tip.empty()) {
                return ToQString(tip);
            }
            return {};
        }
        case CellKindRole:
            return static_cast<int>(cell.kind);
        case ComboOptionsRole: {
            QStringList options;
            for (const std::wstring& option : cell.options) {
                options.append(ToQString(option));
            }
            return options;
        }
        default:
            return {};
    }
}

QVariant CGridModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid()) {
        return {};
    }
    const int col = GridColumn(index.column());
    const CGridCell* cell = Grid().GetCell(GridRow(index.row()), col);
    if (cell == nullptr) {
        return {};
    }
    // A cell the controller gives a list is edited through it, however the
    // editor is opened (a key, F2, a click).
    if (role == CellKindRole || role == ComboOptionsRole || role == ComboFreeTextRole) {
        const int row = GridRow(index.row());
        if (const std::optional<CCellChoices> choices = m_host.CellChoices(m_id, row, col)) {
            if (role == CellKindRole) {
                return static_cast<int>(CellKind::Combo);
            }
            if (role == ComboFreeTextRole) {
                return choices->freeText;
            }
            QStringList options;
            for (const std::wstring& option : choices->options) {
                options.append(ToQString(option));
            }
            return options;
        }
        if (role == ComboFreeTextRole) {
            return false;
        }
    }
    return CellData(*cell, role);
}

QVariant CGridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    const CGridCtrl& g = Grid();
    // The title row for the columns, the heading column for the rows.
    const int row = orientation == Qt::Horizontal ? 0 : GridRow(section);
    const int col = orientation == Qt::Horizontal ? GridColumn(section) : 0;
    const CGridCell* cell = g.GetCell(row, col);
    if (!cell || !g.IsCellFixed(row, col)) {
        return {};
    }
    if (role == Qt::BackgroundRole && cell->bkColour == CLR_DEFAULT &&
        g.GetFixedBkColor() != CLR_DEFAULT) {
        return QBrush(ToQColor(g.GetFixedBkColor()));
    }
    if (role == Qt::TextAlignmentRole) {
        return QVariant::fromValue(AlignmentOf(cell->format) | Qt::AlignVCenter);
    }
    return CellData(*cell, role);
}

Qt::ItemFlags CGridModel::flags(const QModelIndex& index) const
{
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (Grid().IsCellEditable(GridRow(index.row()), GridColumn(index.column()))) {
        f |= Qt::ItemIsEditable;
    }
    return f;
}

bool CGridModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || role != Qt::EditRole) {
        return false;
    }
    const int row = GridRow(index.row());
    const int col = GridColumn(index.column());
    try {
        m_host.OnEndEdit(m_id, row, col, ToWString(value.toString()));
    } catch (const std::exception& e) {
        if (!m_onError) {
            throw;
        }
        m_onError(e);
    }
    return true;
}

void CGridModel::OnGridAboutToReset()
{
    ++m_nChanging;
    beginResetModel();
}

void CGridModel::OnGridReset()
{
    endResetModel();
    --m_nChanging;
    emit sizesChanged();
    emit structureChanged();
}

void CGridModel::OnRowsAboutToBeInserted(int first, int last)
{
    ++m_nChanging;
    const int fixed = Grid().GetFixedRowCount();
    m_bRowsAsReset = first < fixed;
    if (m_bRowsAsReset) {
        beginResetModel();
    } else {
        beginInsertRows({}, first - fixed, last - fixed);
    }
}

void CGridModel::OnRowsInserted(int /*first*/, int /*last*/)
{
    if (m_bRowsAsReset) {
        endResetModel();
    } else {
        endInsertRows();
    }
    m_bRowsAsReset = false;
    --m_nChanging;
    emit sizesChanged();
    emit structureChanged();
}

void CGridModel::OnRowsAboutToBeRemoved(int first, int last)
{
    ++m_nChanging;
    const int fixed = Grid().GetFixedRowCount();
    m_bRowsAsReset = first < fixed;
    if (m_bRowsAsReset) {
        beginResetModel();
    } else {
        beginRemoveRows({}, first - fixed, last - fixed);
    }
}

void CGridModel::OnRowsRemoved(int /*first*/, int /*last*/)
{
    if (m_bRowsAsReset) {
        endResetModel();
    } else {
        endRemoveRows();
    }
    m_bRowsAsReset = false;
    --m_nChanging;
    emit sizesChanged();
    emit structureChanged();
}

void CGridModel::OnCellsChanged(const CCellRange& cells)
{
    const CGridCtrl& g = Grid();
    const int fixedRows = g.GetFixedRowCount();
    const int fixedCols = g.GetFixedColumnCount();
    const int maxRow = std::min(cells.maxRow, g.GetRowCount() - 1);
    const int maxCol = std::min(cells.maxCol, g.GetColumnCount() - 1);
    if (cells.minRow < fixedRows && maxCol >= fixedCols) {
        emit headerDataChanged(Qt::Horizontal, std::max(cells.minCol, fixedCols) - fixedCols,
                               maxCol - fixedCols);
    }
    if (cells.minCol < fixedCols && maxRow >= fixedRows) {
        emit headerDataChanged(Qt::Vertical, std::max(cells.minRow, fixedRows) - fixedRows,
                               maxRow - fixedRows);
    }
    const int top = std::max(cells.minRow, fixedRows);
    const int left = std::max(cells.minCol, fixedCols);
    if (top <= maxRow && left <= maxCol) {
        emit dataChanged(index(top - fixedRows, left - fixedCols),
                         index(maxRow - fixedRows, maxCol - fixedCols));
    }
}

void CGridModel::OnSizesChanged()
{
    emit sizesChanged();
}

void CGridModel::OnSelectionChanged()
{
    emit gridSelectionChanged();
}

}  // namespace loadcal
