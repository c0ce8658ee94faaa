#include "dialog/GridColumns.h"

#include "dialog/LoadTypeEditor.h"

namespace loadcal {

std::span<const TableColumn> ColumnsOf(GridId grid)
{
    switch (grid) {
        case GridId::Load:
            return kLoadGridColumns;
        case GridId::LoadTypes:
            return kLoadTypeLibraryColumns;
        case GridId::Board:
            return kBoardGridColumns;
        case GridId::Transformer:
            break;
    }
    return kTransformerGridColumns;
}

const TableColumn* ColumnAt(GridId grid, int col)
{
    const std::span<const TableColumn> columns = ColumnsOf(grid);
    if (col < 1 || static_cast<size_t>(col) > columns.size()) {
        return nullptr;
    }
    return &columns[static_cast<size_t>(col) - 1];
}

int GridColumnOfField(GridId grid, int field)
{
    const std::span<const TableColumn> columns = ColumnsOf(grid);
    for (size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].field == field) {
            return static_cast<int>(i) + 1;
        }
    }
    return -1;
}

int GridColumnOfKind(GridId grid, ColumnKind kind)
{
    const std::span<const TableColumn> columns = ColumnsOf(grid);
    for (size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].kind == kind) {
            return static_cast<int>(i) + 1;
        }
    }
    return -1;
}

bool ColumnHas(GridId grid, int col, unsigned flag)
{
    const TableColumn* column = ColumnAt(grid, col);
    return column != nullptr && column->Has(flag);
}

std::optional<std::wstring> TotalText(const SummaryTotals& totals, TotalCell cell)
{
    switch (cell) {
        case TotalCell::Installed:
            return totals.installed;
        case TotalCell::PowerFactor:
            return totals.powerFactor;
        case TotalCell::Active:
            return totals.active;
        case TotalCell::Reactive:
            return totals.reactive;
        case TotalCell::Apparent:
            return totals.apparent;
        case TotalCell::Current:
            return totals.current;
        case TotalCell::None:
        case TotalCell::Label:
            return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace loadcal
