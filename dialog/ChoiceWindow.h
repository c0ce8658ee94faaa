#pragma once

#include <string>
#include <vector>

#include "dialog/GridCtrl.h"

namespace loadcal {

/// The drop-down list over a load-grid cell in which the user marks the
/// transformers a circuit belongs to. Headless: it keeps the names, their
/// marks and the cell it stands over; the window shows it. Owned by the
/// dialog, created with it; its window is created on first use.
class CChoiceWindow {
public:
    bool IsCreated() const { return m_bCreated; }
    /// Creates the window part (once), with a title (the dialog gives none).
    void Create(const std::wstring& title);
    const std::wstring& GetTitle() const { return m_strTitle; }

    /// The names, in list order, and which of them are marked.
    void SetItems(std::vector<std::wstring> names, std::vector<bool> marks);
    const std::vector<std::wstring>& GetNames() const { return m_names; }
    const std::vector<bool>& GetMarks() const { return m_marks; }

    /// The cell it stands over and that cell's rectangle in grid pixels.
    void Place(int row, int col, const CGridCtrl::Rect& rect);
    CCellID GetCell() const { return m_cell; }
    const CGridCtrl::Rect& GetRect() const { return m_rect; }

private:
    bool m_bCreated = false;
    std::wstring m_strTitle;
    std::vector<std::wstring> m_names;
    std::vector<bool> m_marks;
    CCellID m_cell;
    CGridCtrl::Rect m_rect;
};

}  // namespace loadcal
