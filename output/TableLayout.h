#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "model/Calculation.h"
#include "model/Columns.h"

namespace loadcal {

/// What the drawn table and the workbook share beyond the column lists of
/// model/Columns.h: the texts of the load table's total row.

/// The label of the load table's total row, shown in its second column.
inline constexpr std::wstring_view kTotalLabel = L"总计";

/// The 13 cells of the load table's total row: the label in column 1, the
/// rated-power total in 4, the overall power factor in 7, the active,
/// reactive and apparent totals in 8, 9, 10 and the current total in 11.
/// Every other column holds no text at all (not even an empty one). The views
/// point into totals, which must outlive the result.
inline std::array<std::optional<std::wstring_view>, kLoadColumns.size()> TotalRowCells(
    const SummaryTotals& totals)
{
    std::array<std::optional<std::wstring_view>, kLoadColumns.size()> cells{};
    cells[1] = kTotalLabel;
    cells[4] = totals.installed;
    cells[7] = totals.powerFactor;
    cells[8] = totals.active;
    cells[9] = totals.reactive;
    cells[10] = totals.apparent;
    cells[11] = totals.current;
    return cells;
}

}  // namespace loadcal
