#include "dialog/ChoiceWindow.h"

namespace loadcal {

void CChoiceWindow::Create(const std::wstring& title)
{
    m_bCreated = true;
    m_strTitle = title;
}

void CChoiceWindow::SetItems(std::vector<std::wstring> names, std::vector<bool> marks)
{
    marks.resize(names.size(), false);
    m_names = std::move(names);
    m_marks = std::move(marks);
}

void CChoiceWindow::Place(int row, int col, const CGridCtrl::Rect& rect)
{
    m_cell = {row, col};
    m_rect = rect;
}

}  // namespace loadcal
