#include "dialog/qt/TotalRowView.h"

#include <QHeaderView>
#include <QScrollBar>

#include "dialog/qt/GridView.h"

namespace loadcal {

// ---- CLastRowModel ----

CLastRowModel::CLastRowModel(QAbstractItemModel& source, QObject* parent)
    : QAbstractTableModel(parent), m_source(source)
{
    connect(&m_source, &QAbstractItemModel::dataChanged, this, &CLastRowModel::OnSourceDataChanged);
    // Any change of rows or columns may move the last row: read it anew.
    connect(&m_source, &QAbstractItemModel::modelReset, this, &CLastRowModel::Reset);
    connect(&m_source, &QAbstractItemModel::layoutChanged, this, &CLastRowModel::Reset);
    connect(&m_source, &QAbstractItemModel::rowsInserted, this, &CLastRowModel::Reset);
    connect(&m_source, &QAbstractItemModel::rowsRemoved, this, &CLastRowModel::Reset);
    connect(&m_source, &QAbstractItemModel::columnsInserted, this, &CLastRowModel::Reset);
    connect(&m_source, &QAbstractItemModel::columnsRemoved, this, &CLastRowModel::Reset);
}

int CLastRowModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() || m_source.rowCount() == 0 ? 0 : 1;
}

int CLastRowModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_source.columnCount();
}

QVariant CLastRowModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || m_source.rowCount() == 0) {
        return {};
    }
    return m_source.index(m_source.rowCount() - 1, index.column()).data(role);
}

QVariant CLastRowModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    return m_source.headerData(orientation == Qt::Vertical ? m_source.rowCount() - 1 : section,
                               orientation, role);
}

void CLastRowModel::OnSourceDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight)
{
    const int last = m_source.rowCount() - 1;
    if (last >= 0 && topLeft.row() <= last && bottomRight.row() >= last) {
        emit dataChanged(index(0, topLeft.column()), index(0, bottomRight.column()));
    }
}

void CLastRowModel::Reset()
{
    beginResetModel();
    endResetModel();
}

// ---- CTotalRowView ----

CTotalRowView::CTotalRowView(CGridView& grid, QWidget* parent)
    : QTableView(parent), m_grid(grid), m_pModel(new CLastRowModel(*grid.model(), this))
{
    setModel(m_pModel);
    setFont(grid.font());
    setFocusPolicy(Qt::NoFocus);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setWordWrap(false);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    horizontalHeader()->hide();
    horizontalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setMinimumSectionSize(1);

    QHeaderView* columns = grid.horizontalHeader();
    connect(columns, &QHeaderView::sectionResized, this, [this](int section, int, int size) {
        horizontalHeader()->resizeSection(section, size);
    });
    connect(grid.horizontalScrollBar(), &QScrollBar::valueChanged, horizontalScrollBar(),
            &QScrollBar::setValue);
    // The grid's viewport changes width when its vertical scroll bar comes
    // or goes, which changes its horizontal range.
    connect(grid.horizontalScrollBar(), &QScrollBar::rangeChanged, this, &CTotalRowView::Follow);
    connect(grid.verticalHeader(), &QHeaderView::sectionResized, this, &CTotalRowView::Sync);
    connect(m_pModel, &QAbstractItemModel::modelReset, this, &CTotalRowView::Sync);
    connect(&grid.GridModel(), &CGridModel::sizesChanged, this, &CTotalRowView::Sync);
    Sync();
}

int CTotalRowView::LastRowHeight() const
{
    // The grid view's own section of the row is hidden (size 0): the grid
    // knows the height.
    const CGridCtrl& grid = m_grid.GridModel().Grid();
    return grid.GetRowCount() > grid.GetFixedRowCount() ? grid.GetRowHeight(grid.GetRowCount() - 1)
                                                        : 0;
}

int CTotalRowView::RowHeight() const
{
    return LastRowHeight() + 2 * frameWidth();
}

void CTotalRowView::Sync()
{
    const int rows = m_grid.model()->rowCount();
    // The grid's own copy of the row is hidden: it is shown here.
    if (m_nHiddenRow >= 0 && m_nHiddenRow < rows && m_nHiddenRow != rows - 1) {
        m_grid.setRowHidden(m_nHiddenRow, false);
    }
    m_nHiddenRow = rows - 1;
    if (m_nHiddenRow >= 0) {
        m_grid.setRowHidden(m_nHiddenRow, true);
        verticalHeader()->resizeSection(0, LastRowHeight());
    }
    verticalHeader()->setFixedWidth(m_grid.verticalHeader()->width());
    for (int c = 0; c < m_grid.model()->columnCount(); ++c) {
        horizontalHeader()->resizeSection(c, m_grid.horizontalHeader()->sectionSize(c));
    }
    horizontalScrollBar()->setValue(m_grid.horizontalScrollBar()->value());
}

void CTotalRowView::Follow()
{
    const QRect grid = m_grid.geometry();
    const int width =
        2 * m_grid.frameWidth() + m_grid.verticalHeader()->width() + m_grid.viewport()->width();
    setGeometry(grid.left(), grid.bottom() + 1, std::min(width, grid.width()), RowHeight());
    Sync();
}

}  // namespace loadcal
