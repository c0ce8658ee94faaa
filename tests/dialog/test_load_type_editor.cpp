// The 负荷类型库 editor without its window: the shipped types read-only with
// their sources, user types typed, pasted, cleared and taken back, a user
// type overriding a shipped one, bad input refused before anything is
// written, and the calculation dialog working with the library 确定 wrote.
#include <gtest/gtest.h>

#include <filesystem>

#include "dialog/LoadCalResources.h"
#include "dialog/LoadTypeEditor.h"
#include "document/AtomicFile.h"
#include "document/LoadTypeFile.h"
#include "tests/dialog/ScriptedUi.h"

namespace loadcal {
namespace {

using test::DialogFixture;
using Texts = std::vector<std::wstring>;

// Editor grid columns.
constexpr int kName = 1;
constexpr int kKxMin = 2;
constexpr int kKx = 3;
constexpr int kKxMax = 4;
constexpr int kCos = 5;
constexpr int kFireFighting = 6;
constexpr int kSource = 8;
constexpr int kNote = 10;
constexpr int kOrigin = 11;
constexpr int kTan = 12;
constexpr int kTiers = 13;

std::vector<std::wstring> Row(const CLoadTypeLibraryEditor& e, int row,
                              std::initializer_list<int> cols)
{
    std::vector<std::wstring> texts;
    for (int c : cols) {
        texts.push_back(e.Grid().GetItemText(row, c));
    }
    return texts;
}

int ShippedRowOf(const CLoadTypeLibraryEditor& e, const std::wstring& name)
{
    for (int r = e.FirstShippedRow(); r < e.Grid().GetRowCount(); ++r) {
        if (e.Grid().GetItemText(r, kName) == name) {
            return r;
        }
    }
    return -1;
}

/// Types a whole user row into the entry row, cell by cell.
void TypeRow(CLoadTypeLibraryEditor& e, const Texts& cells)
{
    const int row = e.EntryRow();
    for (size_t j = 0; j < cells.size(); ++j) {
        if (!cells[j].empty()) {
            e.OnEndEdit(CLoadTypeLibraryEditor::kGrid, row, static_cast<int>(j) + 1, cells[j]);
        }
    }
}

bool Marked(const CLoadTypeLibraryEditor& e, int row, int col)
{
    return e.Grid().GetCell(row, col)->warningColour == CLoadTypeLibraryEditor::kWarningColour;
}

TEST(LoadTypeEditor, ShippedTypesAreShownReadOnlyWithTheirSources)
{
    CLoadTypeLibraryEditor e(ShippedLoadTypes(), CLoadTypeLibrary());
    EXPECT_EQ(e.EntryRow(), 1);
    EXPECT_EQ(e.Grid().GetRowCount(), 3 + static_cast<int>(ShippedLoadTypes().Types().size()));
    EXPECT_EQ(e.Grid().GetItemText(0, kName), L"名称");
    EXPECT_TRUE(e.Grid().IsCellEditable(1, kName)) << "the entry row";
    EXPECT_FALSE(e.Grid().IsCellEditable(2, kName)) << "the separator";

    const int lift = ShippedRowOf(e, L"电梯");
    ASSERT_GT(lift, 0);
    // The library's lift: Kx 0.18–0.22, typical 0.2, cos φ 0.5, tan φ √3.
    EXPECT_EQ(Row(e, lift, {kKxMin, kKx, kKxMax, kCos, kTan, kOrigin}),
              (Texts{L"0.18", L"0.2", L"0.22", L"0.5", L"1.73205", L"内置"}));
    EXPECT_EQ(e.Grid().GetItemText(lift, kSource), ShippedLoadTypes().Find(L"电梯")->Citation());
    EXPECT_NE(e.Grid().GetItemText(lift, kSource).find(L"04DX101-1"), std::wstring::npos);
    for (int c = 1; c <= 13; ++c) {
        EXPECT_FALSE(e.Grid().IsCellEditable(lift, c)) << c;
    }
    const int chillers = ShippedRowOf(e, L"冷水机组");
    EXPECT_EQ(Row(e, chillers, {kKx, kTiers}), (Texts{L"按档", L"台数：1–3 台 0.8；> 3 台 0.65"}));
    EXPECT_EQ(Row(e, ShippedRowOf(e, L"喷淋泵"), {kFireFighting}), (Texts{L"是"}));

    // Typing on a shipped row changes nothing.
    e.OnEndEdit(CLoadTypeLibraryEditor::kGrid, lift, kKx, L"0.9");
    EXPECT_EQ(e.Grid().GetItemText(lift, kKx), L"0.2");
    EXPECT_FALSE(e.IsModified());
    EXPECT_FALSE(e.CanUndo());
}

TEST(LoadTypeEditor, ATypedTypeIsWrittenAndOverridesTheShippedOneOfItsName)
{
    testsupport::TempFolder folder;
    const std::wstring path = folder.File("DQCal/负荷类型库.json");
    CLoadTypeLibraryEditor e(ShippedLoadTypes(), CLoadTypeLibrary());
    TypeRow(e, {L"实验室设备", L"0.5", L"0.6", L"0.7", L"0.85", L"", L"实验室", L"某设计院统计"});
    TypeRow(e, {L"电梯", L"", L"0.25", L"", L"", L"", L"", L"", L"", L"本院电梯实测"});
    ASSERT_EQ(e.Rows().size(), 2u);
    EXPECT_EQ(e.EntryRow(), 3);
    EXPECT_EQ(Row(e, 1, {kOrigin, kTan}), (Texts{L"用户", L"0.619744"}));
    EXPECT_EQ(Row(e, 2, {kOrigin}), (Texts{L"用户覆盖"}));
    EXPECT_EQ(Row(e, ShippedRowOf(e, L"电梯"), {kOrigin}), (Texts{L"内置（已被覆盖）"}));
    EXPECT_TRUE(e.Problems().empty());
    EXPECT_TRUE(e.IsModified());

    ASSERT_EQ(e.Accept(path), std::nullopt);
    EXPECT_FALSE(e.IsModified());
    const CLoadTypeLibrary read = ReadUserLoadTypes(path);
    ASSERT_EQ(read.Types().size(), 2u);
    const CLoadType& lab = read.Types()[0];
    EXPECT_EQ(lab.name, L"实验室设备");
    EXPECT_EQ(lab.kxMin, 0.5);
    EXPECT_EQ(lab.kx, 0.6);
    EXPECT_EQ(lab.kxMax, 0.7);
    EXPECT_EQ(lab.cos, 0.85);
    EXPECT_EQ(lab.source, L"某设计院统计");
    EXPECT_EQ(lab.scale, L"实验室");
    // Kx alone: the range is that one figure; no cos φ, no source.
    const CLoadType& lift = read.Types()[1];
    EXPECT_EQ(lift.kxMin, 0.25);
    EXPECT_EQ(lift.kxMax, 0.25);
    EXPECT_FALSE(lift.cos);
    EXPECT_EQ(lift.Citation(), L"用户自定义");
    EXPECT_EQ(lift.note, L"本院电梯实测");

    // The merged library: the override in the shipped place, the new type last.
    const CLoadTypeLibrary merged = e.MergedLibrary();
    EXPECT_EQ(merged.Types().size(), ShippedLoadTypes().Types().size() + 1);
    EXPECT_EQ(merged.Find(L"电梯")->kx, 0.25);
    EXPECT_EQ(merged.Find(L"电梯")->origin, LoadTypeOrigin::UserOverride);
    EXPECT_EQ(merged.Types().back().name, L"实验室设备");
    EXPECT_EQ(merged, LoadLoadTypeLibrary(path).library);
}

TEST(LoadTypeEditor, BadInputIsRefusedBeforeAnythingIsWritten)
{
    testsupport::TempFolder folder;
    const std::wstring path = folder.File("user.json");
    const std::string previous = R"({ "version": 1, "types": [ { "name": "旧", "kx": 0.5 } ] })";
    testsupport::WriteBytes(ToFsPath(path), previous);

    struct Case {
        Texts cells;
        int col;              // the cell marked
        std::wstring reason;  // what the message says
    };
    const std::vector<Case> cases = {
        {{L"甲", L"", L"1.5"}, kKx, L"Kx 1.5 不在 (0, 1] 之内"},
        {{L"甲", L"", L"0"}, kKx, L"Kx 0 不在 (0, 1] 之内"},
        {{L"甲", L"-0.1", L"0.5"}, kKxMin, L"Kx下限 -0.1 不在 (0, 1] 之内"},
        {{L"甲", L"0.8", L"0.5"}, kKxMin, L"Kx下限 0.8 大于 Kx 0.5"},
        {{L"甲", L"", L"0.5", L"0.4"}, kKx, L"Kx 0.5 大于 Kx上限 0.4"},
        {{L"甲", L"", L"abc"}, kKx, L"Kx“abc”不是数字"},
        {{L"甲", L"0.5"}, kKx, L"没有填 Kx"},
        {{L"", L"", L"0.5"}, kName, L"没有名称"},
        {{L"甲", L"", L"0.5", L"", L"1.2"}, kCos, L"cos φ 1.2 不在 (0, 1] 之内"},
    };
    for (const Case& c : cases) {
        CLoadTypeLibraryEditor e(ShippedLoadTypes(), CLoadTypeLibrary());
        TypeRow(e, c.cells);
        ASSERT_EQ(e.Rows().size(), 1u) << ToUtf8(c.reason);
        EXPECT_TRUE(Marked(e, 1, c.col)) << ToUtf8(c.reason);
        const std::optional<std::wstring> refused = e.Accept(path);
        ASSERT_TRUE(refused) << ToUtf8(c.reason);
        EXPECT_NE(refused->find(L"第 1 行：" + c.reason), std::wstring::npos) << ToUtf8(*refused);
        EXPECT_EQ(testsupport::ReadBytes(ToFsPath(path)), previous);
        EXPECT_TRUE(e.IsModified());
    }

    // Names repeated without regard to blanks, case and full-width forms.
    CLoadTypeLibraryEditor e(ShippedLoadTypes(), CLoadTypeLibrary());
    TypeRow(e, {L"Pump A", L"", L"0.5"});
    TypeRow(e, {L"ＰＵＭＰ　a ", L"", L"0.6"});
    TypeRow(e, {L"泵", L"", L"0.7"});
    EXPECT_TRUE(Marked(e, 2, kName));
    EXPECT_FALSE(Marked(e, 1, kName));
    const std::optional<std::wstring> refused = e.Accept(path);
    ASSERT_TRUE(refused);
    EXPECT_NE(refused->find(L"第 2 行：名称“ＰＵＭＰ　a”与第 1 行重复"), std::wstring::npos)
        << ToUtf8(*refused);
    EXPECT_EQ(testsupport::ReadBytes(ToFsPath(path)), previous);
    // Put right, it is written.
    e.OnEndEdit(CLoadTypeLibraryEditor::kGrid, 2, kName, L"Pump B");
    EXPECT_FALSE(Marked(e, 2, kName));
    EXPECT_EQ(e.Accept(path), std::nullopt);
    EXPECT_EQ(ReadUserLoadTypes(path).Types().size(), 3u);
}

TEST(LoadTypeEditor, PasteDeleteAndUndoFollowTheGridsHabits)
{
    CLoadTypeLibraryEditor e(ShippedLoadTypes(), CLoadTypeLibrary());
    CGridCtrl& g = e.GetGrid(CLoadTypeLibraryEditor::kGrid);
    // A spreadsheet's block at the entry row's name: three types, a blank
    // line skipped, cells beyond the editable columns left out.
    g.SetFocusCell(1, kName);
    e.PasteText(
        L"热水器\t0.6\t0.7\t0.8\t1\r\n"
        L"\t\t\r\n"
        L"烘干机\t\t0.5\t\t０．９\r\n"
        L"展柜照明\t0.8\t0.9\t1\t0.9\t是\t柜\t图集\t表1\t注\t用户\t9\t档\r\n");
    ASSERT_EQ(e.Rows().size(), 3u);
    EXPECT_EQ(Row(e, 2, {kName, kKx, kCos}), (Texts{L"烘干机", L"0.5", L"0.9"}));
    EXPECT_EQ(Row(e, 3, {kFireFighting, kNote, kOrigin}), (Texts{L"是", L"注", L"用户"}));
    EXPECT_TRUE(e.Problems().empty());
    EXPECT_TRUE(e.CanUndo());
    e.Undo();
    EXPECT_TRUE(e.Rows().empty());
    EXPECT_EQ(e.EntryRow(), 1);
    e.Redo();
    ASSERT_EQ(e.Rows().size(), 3u);

    // A block over existing rows types their cells from the focus cell.
    g.SetFocusCell(2, kKx);
    e.PasteText(L"0.55\r\n0.95\r\n");
    EXPECT_EQ(Row(e, 2, {kKx}), (Texts{L"0.55"}));
    EXPECT_EQ(Row(e, 3, {kKx}), (Texts{L"0.95"}));

    // Delete clears the selected cells; a row left without text goes.
    g.SetSelectedRange(2, kName, 2, kNote);
    e.ClearSelectedCells();
    ASSERT_EQ(e.Rows().size(), 2u);
    EXPECT_EQ(Row(e, 2, {kName}), (Texts{L"展柜照明"}));
    g.SetSelectedRange(1, kCos, 1, kCos);
    e.ClearSelectedCells();
    EXPECT_EQ(e.Rows()[0].texts[CLoadTypeRow::kCos], L"");
    e.Undo();
    e.Undo();
    ASSERT_EQ(e.Rows().size(), 3u);
    EXPECT_EQ(Row(e, 1, {kCos}), (Texts{L"1"}));
    EXPECT_EQ(Row(e, 2, {kName, kKx}), (Texts{L"烘干机", L"0.55"}));
    // A new edit drops what could have been redone.
    e.OnEndEdit(CLoadTypeLibraryEditor::kGrid, 1, kNote, L"新");
    EXPECT_FALSE(e.CanRedo());
    // The fire-fighting cell is a list of "" and 是 only.
    const std::optional<CCellChoices> choices =
        e.CellChoices(CLoadTypeLibraryEditor::kGrid, 1, kFireFighting);
    ASSERT_TRUE(choices);
    EXPECT_EQ(choices->options, (Texts{L"", L"是"}));
    e.OnEndEdit(CLoadTypeLibraryEditor::kGrid, 1, kFireFighting, L"否");
    EXPECT_EQ(Row(e, 1, {kFireFighting}), (Texts{L""}));
    EXPECT_FALSE(e.CellChoices(CLoadTypeLibraryEditor::kGrid, e.FirstShippedRow(), kFireFighting));
}

TEST(LoadTypeEditor, AUserTypeWithTiersKeepsThemAndAnUnchangedEditorWritesNothing)
{
    testsupport::TempFolder folder;
    const std::wstring path = folder.File("user.json");
    testsupport::WriteBytes(ToFsPath(path), R"({ "version": 1, "types": [
  { "name": "宿舍", "quantity": "households", "cos": 0.9, "cosMin": 0.85, "cosMax": 0.95,
    "tiers": [ { "label": "1–10 户", "over": 0, "upTo": 10, "kxMin": 0.7, "kx": 0.8, "kxMax": 0.9 },
               { "label": "> 10 户", "over": 10, "kxMin": 0.4, "kx": 0.5, "kxMax": 0.6 } ] } ] })");
    const CLoadTypeLibrary user = ReadUserLoadTypes(path);
    const std::string before = testsupport::ReadBytes(ToFsPath(path));
    CLoadTypeLibraryEditor e(ShippedLoadTypes(), user);
    EXPECT_EQ(e.Accept(path), std::nullopt);
    EXPECT_EQ(testsupport::ReadBytes(ToFsPath(path)), before) << "nothing changed, nothing written";

    EXPECT_EQ(Row(e, 1, {kKx, kTiers}), (Texts{L"按档", L"户数：1–10 户 0.8；> 10 户 0.5"}));
    EXPECT_FALSE(e.Grid().IsCellEditable(1, kKx));
    EXPECT_TRUE(e.Grid().IsCellEditable(1, kNote));
    e.OnEndEdit(CLoadTypeLibraryEditor::kGrid, 1, kNote, L"本院宿舍");
    ASSERT_EQ(e.Accept(path), std::nullopt);
    CLoadType expected = user.Types()[0];
    expected.note = L"本院宿舍";
    const CLoadTypeLibrary read = ReadUserLoadTypes(path);
    ASSERT_EQ(read.Types().size(), 1u);
    EXPECT_EQ(read.Types()[0], expected) << "tiers and the cos φ range kept";
}

// ---- The calculation dialog and its library ----

TEST(LoadTypeEditor, AfterOkTheDialogWorksWithTheNewLibrary)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.AddCircuit(L"M1", L"", L"10");
    f.Own(1, {L"T1"});
    f.Type(GridId::Load, 1, 14, L"实验室设备");
    ASSERT_EQ(f.dlg->GetWarnings().size(), 1u);
    EXPECT_EQ(f.dlg->GetWarnings()[0].field, CLoadCalData::kLoadType);
    const CLoadCalDocument before = f.dlg->GetDocument();
    const size_t steps = f.dlg->GetHistory().GetUndoCount();

    // Cancelled: nothing changes.
    std::wstring shownPath;
    f.ui.editLoadTypes = [&](CLoadTypeLibraryEditor& e, const std::wstring& path) {
        shownPath = path;
        TypeRow(e, {L"实验室设备", L"", L"0.6", L"", L"0.85"});
        return false;
    };
    f.dlg->OnCommand(res::ID_LOAD_TYPE_LIBRARY);
    EXPECT_EQ(shownPath, f.dlg->GetUserLoadTypesPath());
    EXPECT_EQ(f.dlg->GetLoadTypes(), ShippedLoadTypes());
    EXPECT_FALSE(std::filesystem::exists(ToFsPath(shownPath)));

    // 确定: the user library is written, the circuit's type is known now.
    f.ui.editLoadTypes = [&](CLoadTypeLibraryEditor& e, const std::wstring& path) {
        TypeRow(e, {L"实验室设备", L"0.5", L"0.6", L"1", L"0.85"});
        return !e.Accept(path);
    };
    f.dlg->OnCommand(res::ID_LOAD_TYPE_LIBRARY);
    ASSERT_NE(f.dlg->GetLoadTypes().Find(L"实验室设备"), nullptr);
    EXPECT_TRUE(f.dlg->GetWarnings().empty());
    EXPECT_EQ(f.dlg->GetDocument(), before) << "the document itself is unchanged";
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), steps);
    f.Type(GridId::Load, 1, 14, L"电梯");
    f.Type(GridId::Load, 1, 14, L"实验室设备");
    EXPECT_EQ(f.Texts(GridId::Load, 1, {7, 8}), (Texts{L"0.6", L"0.85"}));

    // The editor opens with what the file holds; a new dialog reads it too.
    bool seen = false;
    f.ui.editLoadTypes = [&](CLoadTypeLibraryEditor& e, const std::wstring&) {
        seen = e.Rows().size() == 1 && e.Rows()[0].texts[CLoadTypeRow::kName] == L"实验室设备";
        return false;
    };
    f.dlg->OnLoadTypeLibrary();
    EXPECT_TRUE(seen);
    f.Open();
    EXPECT_NE(f.dlg->GetLoadTypes().Find(L"实验室设备"), nullptr);
}

TEST(LoadTypeEditor, ARefusedUserLibraryIsNamedWhenTheEditorOpens)
{
    DialogFixture f;
    const std::wstring path = f.dlg->GetUserLoadTypesPath();
    testsupport::WriteBytes(ToFsPath(path), "{ \"version\": 1, \"types\": [ 1 ] }");
    size_t rows = 99;
    f.ui.editLoadTypes = [&](CLoadTypeLibraryEditor& e, const std::wstring&) {
        rows = e.Rows().size();
        return false;
    };
    f.dlg->OnLoadTypeLibrary();
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_NE(f.ui.boxes[0].text.find(L"替换"), std::wstring::npos);
    EXPECT_NE(f.ui.boxes[0].text.find(L"line 1"), std::wstring::npos) << ToUtf8(f.ui.boxes[0].text);
    EXPECT_EQ(rows, 0u);
}

}  // namespace
}  // namespace loadcal
