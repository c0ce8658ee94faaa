#pragma once

#include <string>

namespace loadcal {

/// What the phase-balancing search and command need of the window they run
/// in. The dialog implements it; the command line and tests implement it
/// without a window.
class IPhaseBalanceHost {
public:
    virtual ~IPhaseBalanceHost() = default;

    /// The window title, read before a search and restored after it.
    virtual std::wstring GetTitle() const = 0;
    /// Progress: the saved title followed by " 变压器 T1 - 已完成37%".
    virtual void SetTitle(const std::wstring& title) = 0;
    /// Shows a phase written back into record `record` (load grid row record + 1, column 4).
    virtual void SetPhaseCell(int record, const std::wstring& phase) = 0;
    /// Shows the phase-current report (a message box, OK only).
    virtual void ShowReport(const std::wstring& report) = 0;
    /// Refreshes one cell of the load grid's total row (load grid column 5, 8 .. 12).
    virtual void RefreshTotalCell(int column) = 0;
    /// Recalculates every transformer and shows the results.
    virtual void RecalculateAllTransformers() = 0;
    /// Repaints the load grid.
    virtual void RefreshLoadGrid() = 0;
};

}  // namespace loadcal
