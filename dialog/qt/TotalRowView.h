#pragma once

#include <QAbstractTableModel>
#include <QTableView>

namespace loadcal {

class CGridView;

/// A one-row table model over the last row of another model (the load
/// grid's total row): it reads that row's data and follows every change of
/// it, keeping nothing of its own. Borrows the source model.
class CLastRowModel final : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit CLastRowModel(QAbstractItemModel& source, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    /// The source's headers (for the row: the last row's).
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    void OnSourceDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight);
    void Reset();

    QAbstractItemModel& m_source;
};

/// The total row of the load grid kept in sight while the circuits scroll: a
/// frozen one-row view under the grid's view that shows the grid's last row
/// (its own copy in the grid is hidden), with the grid's column widths, row
/// height and horizontal scroll. Borrows the grid view, which must outlive
/// it; owns its model.
class CTotalRowView final : public QTableView {
    Q_OBJECT
public:
    CTotalRowView(CGridView& grid, QWidget* parent);

    /// The height the row needs, frame included (pixels).
    int RowHeight() const;
    /// Lays itself under the grid view's rows: as wide as the grid's
    /// header and viewport, so that the columns line up.
    void Follow();

private:
    int LastRowHeight() const;
    /// Column widths, row height, scroll position and the hidden last row
    /// of the grid view.
    void Sync();

    CGridView& m_grid;
    CLastRowModel* m_pModel;
    int m_nHiddenRow = -1;
};

}  // namespace loadcal
