#include "dialog/MenuModel.h"

#include <algorithm>

namespace loadcal {

CMenuModel& CMenuModel::AddCommand(std::wstring text, unsigned id)
{
    m_items.push_back({CMenuItem::Kind::Command, std::move(text), id, true, nullptr});
    return *this;
}

CMenuModel& CMenuModel::AddSeparator()
{
    m_items.push_back({CMenuItem::Kind::Separator, L"", 0, true, nullptr});
    return *this;
}

CMenuModel& CMenuModel::AddPopup(std::wstring text)
{
    auto popup = std::make_unique<CMenuModel>();
    CMenuModel& result = *popup;
    m_items.push_back({CMenuItem::Kind::Popup, std::move(text), 0, true, std::move(popup)});
    return result;
}

CMenuModel* CMenuModel::GetSubMenu(int position) const
{
    if (position < 0 || position >= GetItemCount()) {
        return nullptr;
    }
    return m_items[static_cast<size_t>(position)].popup.get();
}

int CMenuModel::FindId(unsigned id) const
{
    for (size_t i = 0; i < m_items.size(); ++i) {
        if (m_items[i].kind == CMenuItem::Kind::Command && m_items[i].id == id) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

void CMenuModel::EnableAllItems()
{
    for (CMenuItem& item : m_items) {
        item.enabled = true;
    }
}

bool CMenuModel::IsItemEnabled(unsigned id) const
{
    const int pos = FindId(id);
    return pos >= 0 && m_items[static_cast<size_t>(pos)].enabled;
}

bool CMenuModel::DeleteItemAtPosition(int position)
{
    if (position < 0 || position >= GetItemCount()) {
        return false;
    }
    m_items.erase(m_items.begin() + position);
    return true;
}

bool CMenuModel::DeleteItemWithId(unsigned id)
{
    const int pos = FindId(id);
    return pos >= 0 && DeleteItemAtPosition(pos);
}

void CMenuModel::InsertItemAtPosition(int position, const std::wstring& text, unsigned id)
{
    const auto at = std::clamp(position, 0, GetItemCount());
    m_items.insert(m_items.begin() + at, {CMenuItem::Kind::Command, text, id, true, nullptr});
}

void CMenuModel::EnableItemWithId(unsigned id, bool enabled)
{
    const int pos = FindId(id);
    if (pos >= 0) {
        m_items[static_cast<size_t>(pos)].enabled = enabled;
    }
}

}  // namespace loadcal
