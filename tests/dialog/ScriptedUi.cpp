#include "tests/dialog/ScriptedUi.h"

#include "dialog/LoadCalResources.h"

namespace loadcal::test {

template <class T>
static std::optional<T> Next(std::deque<std::optional<T>>& queue)
{
    if (queue.empty()) {
        return std::nullopt;
    }
    std::optional<T> answer = queue.front();
    queue.pop_front();
    return answer;
}

int ScriptedUi::MessageBox(const std::wstring& text, const std::wstring& caption, unsigned style)
{
    boxes.push_back({text, caption, style});
    if (boxAnswers.empty()) {
        return (style & 0x0F) == MB_OK ? IDOK : IDCANCEL;
    }
    const int answer = boxAnswers.front();
    boxAnswers.pop_front();
    return answer;
}

std::optional<std::wstring> ScriptedUi::OpenFileDialog(const CFileDialogOptions&)
{
    return Next(openAnswers);
}

std::optional<std::wstring> ScriptedUi::SaveFileDialog(const CFileDialogOptions& options)
{
    saveDialogs.push_back(options);
    return Next(saveAnswers);
}

std::optional<std::vector<std::wstring>> ScriptedUi::ShowChoiceList(
    const std::vector<std::wstring>& names, const std::vector<bool>& marks, int row, int col,
    GridId grid, size_t boardCount)
{
    choices.push_back({names, marks, row, col, grid, boardCount});
    return Next(choiceAnswers);
}

CPopupResult ScriptedUi::TrackPopupMenu(const CMenuModel& popup)
{
    std::vector<unsigned> ids;
    for (const CMenuItem& item : popup.Items()) {
        ids.push_back(item.id);
    }
    menus.push_back(ids);
    if (menuAnswers.empty()) {
        return {};
    }
    const CPopupResult answer = menuAnswers.front();
    menuAnswers.pop_front();
    return answer;
}

DialogFixture::DialogFixture()
{
    Open();
}

void DialogFixture::Open()
{
    dlg.reset();
    dlg = std::make_unique<CLoadCalDiaog>(SettingsPath());
    dlg->SetUi(&ui);
    dlg->OnCreate(760, 520);
    dlg->OnInitDialog();
}

void DialogFixture::Type(GridId grid, int row, int col, const std::wstring& text)
{
    dlg->OnEndEdit(grid, row, col, text);
}

void DialogFixture::AddCircuit(const std::wstring& name, const std::wstring& phase,
                               const std::wstring& power)
{
    const int row = dlg->LoadEntryRow();
    Type(GridId::Load, row, 3, name);
    if (!phase.empty()) {
        Type(GridId::Load, row, 4, phase);
    }
    if (!power.empty()) {
        Type(GridId::Load, row, 5, power);
    }
}

void DialogFixture::AddTransformer(const std::wstring& name)
{
    Type(GridId::Transformer, dlg->GetTransformers().GetSize() + 1, 1, name);
}

void DialogFixture::SelectRows(GridId grid, int first, int last)
{
    dlg->GetGrid(grid).SetSelectedRange(first, 1, last, 3);
}

void DialogFixture::SaveAsIn(const std::string& name)
{
    ui.saveAnswers.push_back(folder.File(name));
    dlg->OnFileSaveAs();
}

void DialogFixture::PickFromMenu(GridId grid, int row, int col, unsigned command)
{
    ui.menuAnswers.push_back({CPopupResult::Status::Tracked, command});
    dlg->OnGridRightClick(grid, row, col);
}

void DialogFixture::Own(int row, const std::vector<std::wstring>& owners)
{
    ui.choiceAnswers.push_back(owners);
    dlg->OnGridClick(GridId::Load, row, 13);
}

void DialogFixture::OwnBoard(int row, const std::vector<std::wstring>& owners)
{
    ui.choiceAnswers.push_back(owners);
    dlg->OnGridClick(GridId::Board, row, GridColumnOfField(GridId::Board, CBoardCalData::kOwner));
}

void DialogFixture::AddBoard(const std::wstring& name)
{
    Type(GridId::Board, dlg->GetBoards().GetSize() + 1, 1, name);
}

std::vector<std::wstring> DialogFixture::Texts(GridId grid, int row,
                                               std::initializer_list<int> cols)
{
    std::vector<std::wstring> texts;
    for (int col : cols) {
        texts.push_back(dlg->GetGrid(grid).GetItemText(row, col));
    }
    return texts;
}

}  // namespace loadcal::test
