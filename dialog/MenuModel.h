#pragma once

#include <memory>
#include <string>
#include <vector>

#include "document/RecentFiles.h"

namespace loadcal {

class CMenuModel;

/// One menu item: a command (text and id), a separator, or a drop-down with
/// its own items. Texts keep their "&" access keys and "\t" shortcut parts.
struct CMenuItem {
    enum class Kind { Command, Separator, Popup };
    Kind kind = Kind::Command;
    std::wstring text;
    unsigned id = 0;
    bool enabled = true;
    std::unique_ptr<CMenuModel> popup;  ///< the drop-down of a Popup item
};

/// A headless menu (a menu bar, a drop-down or a context menu): an ordered
/// list of items that a window turns into its own menus. Owns its items and
/// drop-downs (movable, not copyable). It is the popup the recent-files list lays its entries into.
class CMenuModel : public IRecentFilesMenu {
public:
    CMenuModel& AddCommand(std::wstring text, unsigned id);
    CMenuModel& AddSeparator();
    /// Adds a drop-down and returns it for filling.
    CMenuModel& AddPopup(std::wstring text);

    int GetItemCount() const { return static_cast<int>(m_items.size()); }
    const CMenuItem& GetItem(int position) const
    {
        return m_items.at(static_cast<size_t>(position));
    }
    const std::vector<CMenuItem>& Items() const { return m_items; }
    /// The drop-down at a position (null for a command or separator).
    CMenuModel* GetSubMenu(int position) const;
    /// Position of the first item with this id at this level, or -1.
    int FindId(unsigned id) const;
    /// Enables every item, by position (WM_INITMENUPOPUP).
    void EnableAllItems();
    bool IsItemEnabled(unsigned id) const;

    bool DeleteItemAtPosition(int position) override;
    bool DeleteItemWithId(unsigned id) override;
    void InsertItemAtPosition(int position, const std::wstring& text, unsigned id) override;
    void EnableItemWithId(unsigned id, bool enabled) override;

private:
    std::vector<CMenuItem> m_items;
};

}  // namespace loadcal
