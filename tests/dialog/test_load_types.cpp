// The load-type columns of the load grid: choosing a type fills the
// circuit's Kx and cos φ as typing them would, the lists of the choice
// columns, the marks by the library, and every way of editing carrying the
// four fields.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "dialog/LoadCalResources.h"
#include "document/Archive.h"
#include "document/AtomicFile.h"
#include "document/LoadTypeFile.h"
#include "model/Checks.h"
#include "model/Numeric.h"
#include "tests/dialog/ScriptedUi.h"

namespace loadcal {
namespace {

using test::DialogFixture;
using Texts = std::vector<std::wstring>;

// Load grid columns.
constexpr int kKx = 7;
constexpr int kCos = 8;
constexpr int kP = 9;
constexpr int kQ = 10;
constexpr int kType = 14;
constexpr int kQuantity = 15;
constexpr int kClass = 16;
constexpr int kFire = 17;

double Number(const std::wstring& text)
{
    return std::wcstod(text.c_str(), nullptr);
}

/// A transformer T1 and one three-phase circuit of 10 kW it owns.
void Building(DialogFixture& f)
{
    f.AddTransformer(L"T1");
    f.AddCircuit(L"M1", L"", L"10");
    f.Own(1, {L"T1"});
}

bool Marked(DialogFixture& f, int row, int col)
{
    return f.Load().GetCell(row, col)->warningColour == CLoadCalDiaog::kWarningColour;
}

TEST(LoadTypeColumns, ChoosingTheLiftFillsKxAndCosAsTypingThemWould)
{
    DialogFixture chosen;
    DialogFixture typed;
    Building(chosen);
    Building(typed);
    chosen.Type(GridId::Load, 1, kType, L"电梯");
    typed.Type(GridId::Load, 1, kKx, L"0.2");
    typed.Type(GridId::Load, 1, kCos, L"0.5");

    // The figures of the library's lift (Kx 0.2, cos φ 0.5) and what follows
    // from them by hand: P = 10 × 0.2, Q = P × tan(arccos 0.5).
    EXPECT_EQ(chosen.Texts(GridId::Load, 1, {kKx, kCos, kType}), (Texts{L"0.2", L"0.5", L"电梯"}));
    EXPECT_NEAR(Number(chosen.Load().GetItemText(1, kP)), 2.0, 1e-9);
    EXPECT_NEAR(Number(chosen.Load().GetItemText(1, kQ)), 2.0 * std::sqrt(3.0), 1e-4);
    const int total = chosen.Load().GetRowCount() - 1;
    EXPECT_EQ(chosen.Load().GetItemText(total, kP), L"2");

    // The same document as typing the two figures, but for the type itself.
    CLoadCalDocument withoutType = chosen.dlg->GetDocument();
    withoutType.loads[0].m_strLoadType.clear();
    EXPECT_EQ(withoutType, typed.dlg->GetDocument());
    for (int c = 1; c <= 13; ++c) {
        EXPECT_EQ(chosen.Load().GetItemText(1, c), typed.Load().GetItemText(1, c)) << c;
        EXPECT_EQ(chosen.Load().GetItemText(total, c), typed.Load().GetItemText(total, c)) << c;
    }
    for (int c = 1; c <= 16; ++c) {
        EXPECT_EQ(chosen.Transformers().GetItemText(1, c), typed.Transformers().GetItemText(1, c))
            << c;
    }

    // One undo step takes the type, both figures and the results back.
    chosen.dlg->OnEditUndo();
    EXPECT_EQ(chosen.Texts(GridId::Load, 1, {kKx, kCos, kP, kType}),
              (Texts{L"1.0", L"0.8", L"10", L""}));
    EXPECT_EQ(chosen.Load().GetItemText(total, kP), L"10");
    chosen.dlg->OnEditRedo();
    EXPECT_EQ(chosen.Texts(GridId::Load, 1, {kKx, kCos, kP, kType}),
              (Texts{L"0.2", L"0.5", L"2", L"电梯"}));
    EXPECT_TRUE(chosen.dlg->GetWarnings().empty());
}

TEST(LoadTypeColumns, ATieredTypeTakesTheKxOfItsQuantitysTier)
{
    DialogFixture f;
    Building(f);
    f.Type(GridId::Load, 1, kQuantity, L"2");
    f.Type(GridId::Load, 1, kType, L"冷水机组");
    EXPECT_EQ(f.Texts(GridId::Load, 1, {kKx, kCos}), (Texts{L"0.8", L"0.8"}));
    const size_t steps = f.dlg->GetHistory().GetUndoCount();

    // Five units: the tier above three.
    f.Type(GridId::Load, 1, kQuantity, L"5");
    EXPECT_EQ(f.Texts(GridId::Load, 1, {kKx, kCos, kP}), (Texts{L"0.65", L"0.8", L"6.5"}));
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), steps + 1);
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.Texts(GridId::Load, 1, {kKx, kQuantity, kP}), (Texts{L"0.8", L"2", L"8"}));
    f.dlg->OnEditRedo();

    // A quantity that is no positive number leaves Kx as it is and is marked.
    f.Type(GridId::Load, 1, kQuantity, L"abc");
    EXPECT_EQ(f.Load().GetItemText(1, kKx), L"0.65");
    EXPECT_TRUE(Marked(f, 1, kQuantity));
    f.Type(GridId::Load, 1, kQuantity, L"3");
    EXPECT_EQ(f.Load().GetItemText(1, kKx), L"0.8");
    EXPECT_FALSE(Marked(f, 1, kQuantity));

    // A Kx typed by hand stays, marked when outside the tier's range.
    f.Type(GridId::Load, 1, kKx, L"0.75");
    EXPECT_FALSE(Marked(f, 1, kKx));
    f.Type(GridId::Load, 1, kKx, L"0.95");
    EXPECT_TRUE(Marked(f, 1, kKx));
    EXPECT_NE(f.Load().GetCell(1, kKx)->warning.find(L"0.7–0.9"), std::wstring::npos)
        << "the tier's range is named";

    // The quantity of a type without tiers changes no figure.
    f.Type(GridId::Load, 1, kType, L"电梯");
    f.Type(GridId::Load, 1, kKx, L"0.21");
    f.Type(GridId::Load, 1, kQuantity, L"12");
    EXPECT_EQ(f.Load().GetItemText(1, kKx), L"0.21");
}

TEST(LoadTypeColumns, ATypeWithoutPowerFactorFillsKxOnly)
{
    DialogFixture f;
    Building(f);
    f.Type(GridId::Load, 1, kCos, L"0.92");
    f.Type(GridId::Load, 1, kQuantity, L"10");
    f.Type(GridId::Load, 1, kType, L"住宅（单相配电）");
    // 9–12 households: 0.58 (JGJ 242-2011's table); cos φ as typed.
    EXPECT_EQ(f.Texts(GridId::Load, 1, {kKx, kCos}), (Texts{L"0.58", L"0.92"}));
}

TEST(LoadTypeColumns, ANameTheLibraryLacksStaysAsTypedAndIsMarked)
{
    DialogFixture f;
    Building(f);
    f.Type(GridId::Load, 1, kKx, L"0.7");
    f.Type(GridId::Load, 1, kType, L"  实验设备  ");
    EXPECT_EQ(f.Texts(GridId::Load, 1, {kType, kKx}), (Texts{L"实验设备", L"0.7"}));
    EXPECT_TRUE(Marked(f, 1, kType));
    EXPECT_NE(f.Load().GetCell(1, kType)->warning.find(L"不在负荷类型库中"), std::wstring::npos);

    // A library name with blanks and full-width letters around it is the
    // library's type, under the library's spelling.
    f.Type(GridId::Load, 1, kType, L"\u3000电梯 ");
    EXPECT_EQ(f.Texts(GridId::Load, 1, {kType, kKx}), (Texts{L"电梯", L"0.2"}));
    EXPECT_FALSE(Marked(f, 1, kType));

    // The window's warnings are the document's checks with the library.
    f.Type(GridId::Load, 1, kKx, L"0.5");
    f.AddCircuit(L"M2", L"", L"5");
    f.Type(GridId::Load, 2, kType, L"喷淋泵");  // fire-fighting, no load class
    EXPECT_EQ(f.dlg->GetWarnings(), CheckDocument(f.dlg->GetDocument(), &f.dlg->GetLoadTypes()));
    EXPECT_TRUE(Marked(f, 1, kKx));
    EXPECT_TRUE(Marked(f, 2, kClass));
    f.Type(GridId::Load, 2, kClass, L"一级");
    EXPECT_FALSE(Marked(f, 2, kClass));
    EXPECT_EQ(f.dlg->GetWarnings(), CheckDocument(f.dlg->GetDocument(), &f.dlg->GetLoadTypes()));
}

TEST(LoadTypeColumns, ClassAndFireCellsTakeTheirListsOnly)
{
    DialogFixture f;
    Building(f);
    const std::optional<CCellChoices> classes = f.dlg->CellChoices(GridId::Load, 1, kClass);
    ASSERT_TRUE(classes);
    EXPECT_EQ(classes->options, (Texts{L"", L"一级中特别重要", L"一级", L"二级", L"三级"}));
    EXPECT_FALSE(classes->freeText);
    const std::optional<CCellChoices> fire = f.dlg->CellChoices(GridId::Load, 2, kFire);
    ASSERT_TRUE(fire) << "the entry row too";
    EXPECT_EQ(fire->options, (Texts{L"", L"消防", L"火灾时切除"}));
    const std::optional<CCellChoices> types = f.dlg->CellChoices(GridId::Load, 1, kType);
    ASSERT_TRUE(types);
    EXPECT_TRUE(types->freeText);
    EXPECT_EQ(types->options.size(), f.dlg->GetLoadTypes().Types().size() + 1);
    EXPECT_EQ(types->options[0], L"");
    EXPECT_EQ(types->options[1], f.dlg->GetLoadTypes().Types().front().name);
    EXPECT_FALSE(f.dlg->CellChoices(GridId::Load, 1, 3)) << "a text cell";
    EXPECT_FALSE(f.dlg->CellChoices(GridId::Load, 3, kClass)) << "the separator row";
    EXPECT_TRUE(f.dlg->CellChoices(GridId::Load, 1, 4)) << "the phase";

    f.Type(GridId::Load, 1, kClass, L"二级");
    f.Type(GridId::Load, 1, kFire, L"火灾时切除");
    const size_t steps = f.dlg->GetHistory().GetUndoCount();
    f.Type(GridId::Load, 1, kClass, L"一类");
    f.Type(GridId::Load, 1, kFire, L"是");
    EXPECT_EQ(f.Texts(GridId::Load, 1, {kClass, kFire}), (Texts{L"二级", L"火灾时切除"}));
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strLoadClass, L"二级");
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), steps) << "a refused text is no step";
    // On the entry row a refused text creates no circuit.
    f.Type(GridId::Load, 2, kClass, L"甲级");
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 1);
    EXPECT_EQ(f.Load().GetItemText(2, kClass), L"");
    // Empty is one of the lists.
    f.Type(GridId::Load, 1, kFire, L"");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strFire, L"");
}

TEST(LoadTypeColumns, ATypeChosenOnTheEntryRowMakesACircuitAndTheNextRowProposesItsFigures)
{
    DialogFixture f;
    f.Type(GridId::Load, 1, kType, L"电梯");
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 1);
    const CLoadCalData& c = f.dlg->GetLoads()[0];
    EXPECT_EQ(c.m_strLoadType, L"电梯");
    EXPECT_EQ(c.m_strDemandFactor, L"0.2");
    EXPECT_EQ(c.m_strPowerFactor, L"0.5");
    EXPECT_EQ(c.m_strPhase, L"L1,L2,L3,N");
    EXPECT_EQ(f.Texts(GridId::Load, 2, {kKx, kCos, kType}), (Texts{L"0.2", L"0.5", L""}));
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 0);
    EXPECT_EQ(f.Texts(GridId::Load, 1, {kKx, kCos, kType}), (Texts{L"1.0", L"0.8", L""}));
}

TEST(LoadTypeColumns, PastesFillDownDeleteAndRowCommandsCarryTheFourFields)
{
    DialogFixture f;
    Building(f);
    f.AddCircuit(L"M2", L"", L"20");
    f.AddCircuit(L"M3", L"", L"30");

    // A spreadsheet's block over rows 2 and 3 from column 7: Kx and cos
    // empty on the first line, so its type gives them; the second line
    // gives its own Kx, which it keeps (and which is marked: outside
    // 0.18–0.22); its class goes in, its fire text is none of the list.
    f.Load().SetFocusCell(2, kKx);
    f.dlg->PasteText(GridId::Load,
                     L"\t\t\t\t\t\t\t电梯\t\t二级\t消防\r\n"
                     L"0.3\t\t\t\t\t\t\t电梯\t2\t一级\t有\r\n");
    const CLoadArray& loads = f.dlg->GetLoads();
    EXPECT_EQ(loads[1].m_strDemandFactor, L"0.2");
    EXPECT_EQ(loads[1].m_strPowerFactor, L"0.5");
    EXPECT_EQ(loads[1].m_strLoadClass, L"二级");
    EXPECT_EQ(loads[1].m_strFire, L"消防");
    EXPECT_EQ(loads[2].m_strDemandFactor, L"0.3");
    EXPECT_EQ(loads[2].m_strPowerFactor, L"0.5");
    EXPECT_EQ(loads[2].m_strQuantity, L"2");
    EXPECT_EQ(loads[2].m_strFire, L"");
    EXPECT_TRUE(Marked(f, 3, kKx));
    EXPECT_EQ(f.Load().GetItemText(2, kP), L"4");

    // New lines beyond the entry row, one undo step for the whole paste.
    const size_t steps = f.dlg->GetHistory().GetUndoCount();
    f.Load().SetFocusCell(4, 3);
    f.dlg->PasteText(GridId::Load,
                     L"冷机\t\t100\t\t\t\t\t\t\t\t\t冷水机组\t4\t二级\r\n"
                     L"风机\t\t5\t\t0.9\t\t\t\t\t\t\t排烟风机\t\t一级\t消防\r\n");
    ASSERT_EQ(loads.GetSize(), 5);
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), steps + 1);
    EXPECT_EQ(loads[3].m_strDemandFactor, L"0.65");
    EXPECT_EQ(loads[3].m_strCalcP, L"65");
    EXPECT_EQ(loads[4].m_strDemandFactor, L"0.9") << "the line's own Kx";
    EXPECT_EQ(loads[4].m_strPowerFactor, L"0.8");
    EXPECT_EQ(f.Texts(GridId::Load, 5, {kType, kQuantity, kClass, kFire}),
              (Texts{L"排烟风机", L"", L"一级", L"消防"}));

    // Fill down of the type from row 1: each row below takes the type's
    // figures as if chosen there.
    f.Type(GridId::Load, 1, kType, L"通风机");
    f.Type(GridId::Load, 1, kQuantity, L"2");
    f.Load().SetSelectedRange(1, kType, 3, kQuantity);
    f.dlg->OnFillDown(GridId::Load);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(loads[i].m_strLoadType, L"通风机") << i;
        EXPECT_EQ(loads[i].m_strQuantity, L"2") << i;
        EXPECT_EQ(loads[i].m_strDemandFactor, L"0.9") << i;
        EXPECT_EQ(loads[i].m_strPowerFactor, L"0.8") << i;
    }

    // Delete clears the selected cells of the four columns; Kx stays.
    f.Load().SetSelectedRange(2, kType, 2, kFire);
    f.dlg->OnDeleteKey(GridId::Load);
    EXPECT_FALSE(loads[1].HasExtraFields());
    EXPECT_EQ(loads[1].m_strDemandFactor, L"0.9");
    EXPECT_EQ(f.Texts(GridId::Load, 2, {kType, kQuantity, kClass, kFire}),
              (Texts{L"", L"", L"", L""}));
    f.dlg->OnEditUndo();
    EXPECT_EQ(loads[1].m_strLoadClass, L"二级");
    EXPECT_EQ(f.Texts(GridId::Load, 2, {kType, kClass, kFire}),
              (Texts{L"通风机", L"二级", L"消防"}));

    // Copy of rows: the grid's every column, the four included; the row
    // paste carries them.
    f.SelectRows(GridId::Load, 2, 2);
    f.dlg->OnCopyRows(GridId::Load);
    EXPECT_NE(f.ui.clipboard.find(L"通风机\t2\t二级\t消防"), std::wstring::npos);
    f.Load().SetFocusCell(6, 3);
    f.dlg->OnPasteRows(GridId::Load);
    ASSERT_EQ(loads.GetSize(), 6);
    EXPECT_EQ(loads[5], loads[1]);
    EXPECT_EQ(f.Texts(GridId::Load, 6, {kType, kQuantity, kClass, kFire}),
              (Texts{L"通风机", L"2", L"二级", L"消防"}));
}

TEST(LoadTypeColumns, TheFourFieldsAreSavedAndADocumentWithoutThemSavesAsBefore)
{
    // The bundled example, saved before the fields existed: opened, edited
    // and the edit taken back, then saved, it is the same file byte for byte.
    DialogFixture f;
    const std::filesystem::path example =
        std::filesystem::path(LOADCAL_SOURCE_DIR) / "examples" / "office-building.LDC";
    const std::string before = testsupport::ReadBytes(example);
    testsupport::WriteBytes(f.folder / "a.LDC", before);
    f.ui.openAnswers.push_back(f.folder.File("a.LDC"));
    f.dlg->OnFileOpen();
    EXPECT_TRUE(f.ui.boxes.empty()) << "figures as stored, nothing asked";
    ASSERT_GT(f.dlg->GetLoads().GetSize(), 0);
    EXPECT_EQ(f.Load().GetItemText(1, kType), L"");
    f.Type(GridId::Load, 1, kType, L"电梯");
    f.dlg->OnEditUndo();
    f.SaveAsIn("b.LDC");
    EXPECT_EQ(testsupport::ReadBytes(f.folder / "b.LDC"), before);

    // With the fields used, they come back as they were saved.
    f.Type(GridId::Load, 1, kType, L"冷水机组");
    f.Type(GridId::Load, 1, kQuantity, L"4");
    f.Type(GridId::Load, 1, kClass, L"一级中特别重要");
    f.Type(GridId::Load, 1, kFire, L"火灾时切除");
    const CLoadCalDocument saved = f.dlg->GetDocument();
    f.SaveAsIn("c.LDC");
    f.Open();
    f.ui.openAnswers.push_back(f.folder.File("c.LDC"));
    f.dlg->OnFileOpen();
    EXPECT_EQ(f.dlg->GetDocument(), saved);
    EXPECT_EQ(f.Texts(GridId::Load, 1, {kType, kQuantity, kClass, kFire}),
              (Texts{L"冷水机组", L"4", L"一级中特别重要", L"火灾时切除"}));
}

TEST(LoadTypeColumns, TheUserLibraryBesideTheSettingsIsLaidOverTheShippedOne)
{
    DialogFixture f;
    const std::wstring path = UserLoadTypesPath(f.SettingsPath());
    testsupport::WriteBytes(ToFsPath(path),
                            R"({ "version": 1, "types": [
  { "name": "实验设备", "kx": 0.6, "kxMin": 0.5, "kxMax": 0.7, "cos": 0.85 },
  { "name": "电梯", "kx": 0.25, "kxMin": 0.2, "kxMax": 0.3, "cos": 0.6 } ] })");
    f.Open();
    EXPECT_TRUE(f.ui.boxes.empty());
    Building(f);
    f.Type(GridId::Load, 1, kType, L"实验设备");
    EXPECT_EQ(f.Texts(GridId::Load, 1, {kKx, kCos}), (Texts{L"0.6", L"0.85"}));
    f.Type(GridId::Load, 1, kType, L"电梯");
    EXPECT_EQ(f.Texts(GridId::Load, 1, {kKx, kCos}), (Texts{L"0.25", L"0.6"}));

    // A damaged user library: one box naming its line and reason, and the
    // shipped library alone.
    testsupport::WriteBytes(ToFsPath(path),
                            "{ \"version\": 1, \"types\": [\n"
                            "  { \"name\": \"坏\", \"kx\": 1.5 } ] }");
    f.Open();
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_NE(f.ui.boxes[0].text.find(L"line 2"), std::wstring::npos) << f.ui.boxes[0].text;
    EXPECT_NE(f.ui.boxes[0].text.find(L"内置"), std::wstring::npos);
    EXPECT_EQ(f.dlg->GetLoadTypes(), ShippedLoadTypes());
    const int entry = f.dlg->GetLoads().GetSize() + 1;
    f.Type(GridId::Load, entry, kType, L"电梯");
    EXPECT_EQ(f.dlg->GetLoads()[entry - 1].m_strDemandFactor, L"0.2");
}

}  // namespace
}  // namespace loadcal
