#pragma once

#include <QAbstractTableModel>
#include <functional>
#include <stdexcept>

#include "dialog/GridHost.h"

namespace loadcal {

/// The Qt table model of one grid of a headless controller (the calculation
/// dialog, the load-type library editor): an adapter that shows the
/// controller's grid (CGridCtrl) and keeps nothing of its own. The grid's fixed rows and columns
/// become the header sections; model row r, column c is grid cell (r + fixed rows, c + fixed
/// columns). The grid's change notices arrive through IGridListener and go out as the model's
/// begin/end signals. An edit (setData) ends in the controller's end-of-edit rule, which writes the
/// cell itself; a cell the controller gives a list (IGridHost::CellChoices) is a combo cell.
/// Borrows the controller, which must outlive the model; registers with the grid for its lifetime.
class CGridModel final : public QAbstractTableModel, public IGridListener {
    Q_OBJECT
public:
    /// Extra data roles.
    enum Role {
        CellKindRole = Qt::UserRole + 1,  ///< int(CellKind) of the cell
        ComboOptionsRole,                 ///< QStringList: the choices of a combo cell
        ComboFreeTextRole,  ///< bool: a combo cell also takes a typed text beyond its choices
    };
    /// Called with an exception the controller let out of an edit.
    using ErrorHandler = std::function<void(const std::exception&)>;

    CGridModel(IGridHost& host, GridId grid, QObject* parent = nullptr);
    ~CGridModel() override;
    CGridModel(const CGridModel&) = delete;
    CGridModel& operator=(const CGridModel&) = delete;

    void SetErrorHandler(ErrorHandler handler) { m_onError = std::move(handler); }

    GridId Id() const { return m_id; }
    CGridCtrl& Grid() const { return m_host.GetGrid(m_id); }
    int GridRow(int modelRow) const { return modelRow + Grid().GetFixedRowCount(); }
    int GridColumn(int modelColumn) const { return modelColumn + Grid().GetFixedColumnCount(); }
    /// The model index of a grid cell; invalid for a fixed or missing cell.
    QModelIndex IndexOfCell(int gridRow, int gridCol) const;
    /// True between a grid's "about to" notice and the matching one after.
    bool IsChanging() const { return m_nChanging > 0; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    /// Ends an in-place edit: CLoadCalDiaog::OnEndEdit with the text.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

    // IGridListener
    void OnGridAboutToReset() override;
    void OnGridReset() override;
    void OnRowsAboutToBeInserted(int first, int last) override;
    void OnRowsInserted(int first, int last) override;
    void OnRowsAboutToBeRemoved(int first, int last) override;
    void OnRowsRemoved(int first, int last) override;
    void OnCellsChanged(const CCellRange& cells) override;
    void OnSizesChanged() override;
    void OnSelectionChanged() override;

signals:
    /// Column widths or row heights of the grid changed.
    void sizesChanged();
    /// The grid's selected cells or focus cell changed.
    void gridSelectionChanged();
    /// Rows were inserted or removed, or the grid was rebuilt.
    void structureChanged();

private:
    QVariant CellData(const CGridCell& cell, int role) const;

    IGridHost& m_host;
    GridId m_id;
    ErrorHandler m_onError;
    int m_nChanging = 0;
    /// A row change that touches the fixed rows is shown as a reset.
    bool m_bRowsAsReset = false;
};

}  // namespace loadcal
