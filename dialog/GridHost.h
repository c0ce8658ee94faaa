#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dialog/GridColumns.h"
#include "dialog/GridCtrl.h"

namespace loadcal {

/// The list a cell's in-place editor offers.
struct CCellChoices {
    std::vector<std::wstring> options;  ///< in list order
    /// True when a typed text that is none of the options is taken as well
    /// (the editor then lets the user type and filters the list by it).
    bool freeText = false;
};

/// What a grid view needs from the headless controller whose grid it shows:
/// the grid, the end of an in-place edit, and the list a cell offers. The
/// calculation dialog and the load-type library editor implement it; the
/// Qt grid model borrows it.
class IGridHost {
public:
    virtual ~IGridHost() = default;
    virtual CGridCtrl& GetGrid(GridId grid) = 0;
    /// The cell takes the text and the controller's edit rules run.
    virtual void OnEndEdit(GridId grid, int row, int col, const std::wstring& text) = 0;
    /// The list cell (row, col) is edited through, or nothing for a cell
    /// edited as text.
    virtual std::optional<CCellChoices> CellChoices(GridId grid, int row, int col) const = 0;
};

}  // namespace loadcal
