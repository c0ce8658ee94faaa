#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "dialog/LoadCalDiaog.h"
#include "tests/support/TempFolder.h"

namespace loadcal::test {

/// One message box as the dialog asked it.
struct AskedBox {
    std::wstring text;
    std::wstring caption;
    unsigned style = 0;
};

/// A window stand-in for the dialog: it records everything the dialog shows
/// and answers from queues the test fills. An empty queue answers "cancel"
/// (IDCANCEL, no file, dismissed list, no command), so an unexpected question
/// shows up as a recorded call and a cancelled action.
class ScriptedUi : public ILoadCalUi {
public:
    std::deque<int> boxAnswers;
    std::deque<std::optional<std::wstring>> openAnswers;
    std::deque<std::optional<std::wstring>> saveAnswers;
    std::deque<std::optional<std::vector<std::wstring>>> choiceAnswers;
    std::deque<CPopupResult> menuAnswers;

    std::vector<AskedBox> boxes;
    std::vector<CFileDialogOptions> saveDialogs;
    std::vector<std::wstring> titles;
    struct ChoiceShown {
        std::vector<std::wstring> names;
        std::vector<bool> marks;
        int row = -1;
        int col = -1;
        GridId grid = GridId::Load;
        size_t boardCount = 0;  ///< the first names are boards'
    };
    std::vector<ChoiceShown> choices;
    std::vector<std::vector<unsigned>> menus;  ///< command ids of each menu shown
    std::vector<int> endResults;
    int resizes = 0;
    int centres = 0;

    int MessageBox(const std::wstring& text, const std::wstring& caption, unsigned style) override;
    std::optional<std::wstring> OpenFileDialog(const CFileDialogOptions&) override;
    std::optional<std::wstring> SaveFileDialog(const CFileDialogOptions& options) override;
    void SetWindowText(const std::wstring& title) override { titles.push_back(title); }
    std::optional<std::vector<std::wstring>> ShowChoiceList(const std::vector<std::wstring>& names,
                                                            const std::vector<bool>& marks, int row,
                                                            int col, GridId grid,
                                                            size_t boardCount) override;
    CPopupResult TrackPopupMenu(const CMenuModel& popup) override;
    void ResizeWindow(int, int) override { ++resizes; }
    void CenterWindow() override { ++centres; }
    void EndDialog(int result) override { endResults.push_back(result); }
    void ShowAboutBox() override {}
    void SetClipboardText(const std::wstring& text) override { clipboard = text; }
    std::wstring clipboard;  ///< the system clipboard's text
    void SetStatusText(const std::wstring& text) override { status = text; }
    std::wstring status;  ///< the status bar's note
    /// The 负荷类型库 editor: what the test does in it (none: cancelled).
    std::function<bool(CLoadTypeLibraryEditor&, const std::wstring&)> editLoadTypes;
    bool EditLoadTypes(CLoadTypeLibraryEditor& editor, const std::wstring& userPath) override
    {
        return editLoadTypes ? editLoadTypes(editor, userPath) : false;
    }
    /// The 工程信息 dialog: what the test does in it (none: cancelled).
    std::function<bool(CDocumentProperties&)> editProjectInfo;
    bool EditProjectInfo(CDocumentProperties& properties) override
    {
        return editProjectInfo ? editProjectInfo(properties) : false;
    }
    void SetStatusNote(const std::wstring& text) override { statusNote = text; }
    std::wstring statusNote;  ///< the status bar's lasting note
    /// The supply tree as last shown, the node selected, and how often.
    void ShowSupplyTree(const CSupplyTree& shown, int selected) override
    {
        tree = shown;
        treeSelected = selected;
        ++treeShows;
    }
    CSupplyTree tree;
    int treeSelected = -1;
    int treeShows = 0;
};

using testsupport::TempFolder;

/// A dialog with its scripted window, its settings file in a temporary
/// folder, created and initialised as the window does it.
struct DialogFixture {
    TempFolder folder;
    ScriptedUi ui;
    std::unique_ptr<CLoadCalDiaog> dlg;

    DialogFixture();
    /// Builds (again) the dialog over the same settings file and runs OnInitDialog.
    void Open();
    std::wstring SettingsPath() const { return folder.File("settings.idp"); }

    CGridCtrl& Load() { return dlg->GetGrid(GridId::Load); }
    CGridCtrl& Transformers() { return dlg->GetGrid(GridId::Transformer); }
    /// Types text into a cell as a user ends an in-place edit.
    void Type(GridId grid, int row, int col, const std::wstring& text);
    /// Adds a circuit through the load entry row: its equipment name, then
    /// the given phase, rated power and owners (empty texts are skipped).
    void AddCircuit(const std::wstring& name, const std::wstring& phase = L"",
                    const std::wstring& power = L"");
    /// Adds a transformer through the transformer entry row.
    void AddTransformer(const std::wstring& name);
    /// Selects whole rows first..last of a grid (columns 1 to 3).
    void SelectRows(GridId grid, int first, int last);
    /// Saves the document as a file of the folder (Save As), which clears
    /// the modified flag.
    void SaveAsIn(const std::string& name);
    /// Runs a context-menu command as the user picks it on row, col.
    void PickFromMenu(GridId grid, int row, int col, unsigned command);
    /// Ticks the given transformers in the choice list of circuit row `row`.
    void Own(int row, const std::vector<std::wstring>& owners);
    /// Ticks the given owners in the choice list of board row `row`.
    void OwnBoard(int row, const std::vector<std::wstring>& owners);
    /// Adds a board through the board grid's entry row.
    void AddBoard(const std::wstring& name);
    CGridCtrl& Boards() { return dlg->GetGrid(GridId::Board); }
    /// The texts of the given columns of one grid row.
    std::vector<std::wstring> Texts(GridId grid, int row, std::initializer_list<int> cols);
};

}  // namespace loadcal::test
