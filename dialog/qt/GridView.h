#pragma once

#include <QPersistentModelIndex>
#include <QStyledItemDelegate>
#include <QTableView>

#include "dialog/qt/GridModel.h"

namespace loadcal {

/// The in-place editors of a grid: a line edit for a text cell, a drop-down
/// list (a non-editable combo box that opens at once) for a combo cell. A
/// choice in the list ends the edit immediately. Owned by its view.
class CGridDelegate final : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;
};

/// A table view of one grid of the calculation dialog over its CGridModel
/// (borrowed; it must outlive the view). It shows the grid's fixed row and
/// column as its headers with the grid's column widths and row heights,
/// keeps its selection and current cell in step with the grid's selection
/// and focus cell both ways (the grid's state wins after every change of
/// rows), and reports clicks and right-clicks in grid coordinates.
class CGridView final : public QTableView {
    Q_OBJECT
public:
    CGridView(CGridModel& model, QWidget* parent = nullptr);

    CGridModel& GridModel() const { return m_model; }
    /// The view rectangle of a grid cell in viewport coordinates (empty for
    /// a fixed cell).
    QRect CellRect(int gridRow, int gridCol) const;
    /// Opens the in-place editor of a cell unless an edit is under way.
    void EditCell(const QModelIndex& index);
    /// True while an in-place editor is open.
    bool IsEditing() const { return state() == EditingState; }
    /// Ends an open in-place edit now: its text goes to the grid (the
    /// controller's end-of-edit rule runs before this returns). Nothing
    /// happens when no editor is open.
    void CommitEdit();
    /// Enter: ends an open edit as CommitEdit does, then makes the cell
    /// below the current cell (same column) current, where there is one.
    void CommitEditAndMoveDown();
    /// Gives every data column of the grid a width that holds its title in
    /// at most two lines and the texts of its cells (the first rows and the
    /// last one), measured with the view's fonts, and at least
    /// kMinFittedWidth (room for a figure) and at most kMaxFittedWidth.
    void FitColumnWidths();
    static constexpr int kMinFittedWidth = 64;   ///< pixels
    static constexpr int kMaxFittedWidth = 240;  ///< pixels
    static constexpr int kRowsMeasured = 200;

signals:
    /// A left click on a data cell, in grid coordinates.
    void cellClicked(int gridRow, int gridCol);
    /// A context-menu request on a data cell, in grid coordinates.
    void cellRightClicked(int gridRow, int gridCol);

protected:
    /// A printable key on a cell that is not being edited opens the editor
    /// of the current cell and hands the key to it, whatever the user did
    /// just before (no deferred editing, no keyboard search); Enter moves
    /// down; everything else is QTableView's.
    void keyPressEvent(QKeyEvent* event) override;
    /// No keyboard search: a typed key is the start of an edit, never a jump
    /// to a row whose text starts with it.
    void keyboardSearch(const QString&) override {}
    /// F2 (and a double click) put the cursor at the end of the text
    /// instead of selecting it.
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;
    using QTableView::edit;
    /// A press without Shift starts a selection there: typed keys go to
    /// that cell however far the selection reaches.
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    /// Grid column widths and row heights to the headers; the title row is
    /// made tall enough for its wrapped titles.
    void ApplySizes();
    /// The user resized a header section: the grid takes the new size.
    void OnSectionResized(Qt::Orientation orientation, int section, int newSize);
    /// Grid selection and focus cell to the view.
    void PullSelection();
    /// View selection to the grid.
    void PushSelection();
    /// View current cell to the grid's focus cell.
    void PushCurrent(const QModelIndex& current);

    CGridModel& m_model;
    bool m_bSyncing = false;
    bool m_bApplyingSizes = false;
    QPersistentModelIndex m_anchor;  ///< where the selection began
    bool m_bPressed = false;
};

}  // namespace loadcal
