#pragma once

#include <optional>
#include <span>
#include <string>

#include "model/Calculation.h"
#include "model/Columns.h"

namespace loadcal {

/// The grids of the dialog, and the grid of the 负荷类型库 editor.
enum class GridId {
    Load = 101,         ///< control 101: one row per load circuit
    Transformer = 102,  ///< control 102: one row per transformer
    Board = 103,        ///< one row per distribution board
    LoadTypes = 104,    ///< the 负荷类型库 editor: one row per load type
};

/// The column table of a grid (model/Columns.h; the load grid shows
/// kLoadGridColumns, the board and transformer grids kBoardGridColumns and
/// kTransformerGridColumns, whose fire columns only a document with fire
/// roles shows): grid column c (1 based; column 0 is the row heading) shows
/// entry c - 1. Everything the dialog knows about a column comes from here.
std::span<const TableColumn> ColumnsOf(GridId grid);

/// The table entry of grid column col, or null for the heading column and
/// columns beyond the table.
const TableColumn* ColumnAt(GridId grid, int col);

/// The grid column that shows a record field, or -1.
int GridColumnOfField(GridId grid, int field);

/// The first grid column of a kind, or -1.
int GridColumnOfKind(GridId grid, ColumnKind kind);

/// True when grid column col is in the table and has the flag.
bool ColumnHas(GridId grid, int col, unsigned flag);

/// The text a total-row cell shows; nothing for TotalCell::None (and the
/// label cell, whose text is the dialog's).
std::optional<std::wstring> TotalText(const SummaryTotals& totals, TotalCell cell);

}  // namespace loadcal
