// Commands on cells as a spreadsheet user expects them: Delete clears cells
// and asks before it would remove several circuits, insert, fill down, a
// block pasted over existing cells, a paste too big for an archive, and the
// quick paste of many lines against typing them one cell at a time.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "dialog/LoadCalResources.h"
#include "dialog/TabText.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using namespace loadcal::test;

namespace {

void Twelve(DialogFixture& f, bool owned = true)
{
    f.AddTransformer(L"T1");
    for (int i = 1; i <= 12; ++i) {
        f.AddCircuit(L"M" + std::to_wstring(i), i % 4 == 0 ? L"L2,N" : L"", L"10");
        f.Type(GridId::Load, i, 1, L"W" + std::to_wstring(i));
        if (owned) {
            f.Own(i, {L"T1"});
        }
    }
}

}  // namespace

TEST(CellCommands, DeleteOnOneSelectedCellClearsThatCellAndKeepsTheCircuit)
{
    DialogFixture f;
    Twelve(f);
    f.Load().SetSelectedRange(3, 3, 3, 3);
    f.dlg->OnDeleteKey(GridId::Load);
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 12);
    EXPECT_EQ(f.dlg->GetLoads()[2].m_strEquipName, L"");
    EXPECT_EQ(f.dlg->GetLoads()[2].m_strCircuitNo, L"W3");
    EXPECT_TRUE(f.ui.boxes.empty());
    // Number cells clear too (and read as 0); the phase keeps its value.
    f.Load().SetSelectedRange(4, 4, 4, 5);
    f.dlg->OnDeleteKey(GridId::Load);
    EXPECT_EQ(f.dlg->GetLoads()[3].m_strPhase, L"L2,N");
    EXPECT_EQ(f.dlg->GetLoads()[3].m_strRatedPower, L"");
    EXPECT_EQ(f.dlg->GetLoads()[3].m_strCalcP, L"0");
    // Both clearings are one undo step each.
    f.dlg->OnEditUndo();
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetLoads()[2].m_strEquipName, L"M3");
    EXPECT_EQ(f.dlg->GetLoads()[3].m_strRatedPower, L"10");
}

TEST(CellCommands, ClearingEveryCellOfOwnedCircuitsKeepsThemWithTheirOwner)
{
    DialogFixture f;
    Twelve(f);
    f.Load().SetSelectedRange(1, 1, 12, 13);
    f.dlg->OnDeleteKey(GridId::Load);
    EXPECT_TRUE(f.ui.boxes.empty());
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 12);
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strEquipName, L"");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"T1");
    EXPECT_EQ(f.dlg->GetLoads()[3].m_strPhase, L"L2,N");
}

TEST(CellCommands, ClearingEveryCellOfManyCircuitsAsksFirst)
{
    DialogFixture f;
    Twelve(f, false);
    const CLoadCalDocument before = f.dlg->GetDocument();
    f.Load().SetSelectedRange(1, 1, 12, 13);  // Ctrl+A, or a column header
    f.ui.boxAnswers = {IDNO};
    f.dlg->OnDeleteKey(GridId::Load);
    ASSERT_EQ(f.ui.boxes.size(), 1U);
    EXPECT_EQ(f.ui.boxes[0].text, L"删除 12 个回路？");
    EXPECT_EQ(f.dlg->GetDocument(), before);
    f.ui.boxAnswers = {IDYES};
    f.dlg->OnDeleteKey(GridId::Load);
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 0);
    EXPECT_EQ(f.Load().GetRowCount(), 4);
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetDocument(), before);
    // One circuit's whole row goes without a question, as by hand.
    f.ui.boxes.clear();
    f.Load().SetSelectedRange(5, 1, 5, 13);
    f.dlg->OnDeleteKey(GridId::Load);
    EXPECT_TRUE(f.ui.boxes.empty());
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 11);
}

TEST(CellCommands, InsertAddsACircuitAboveTheCurrentRow)
{
    DialogFixture f;
    Twelve(f);
    f.Load().SetFocusCell(2, 3);
    f.dlg->OnCommand(res::ID_LOAD_INSERT);
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 13);
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strPhase, L"L1,L2,L3,N");
    EXPECT_EQ(f.dlg->GetLoads()[2].m_strEquipName, L"M2");
    EXPECT_EQ(f.Load().GetItemText(3, 3), L"M2");
    EXPECT_EQ(f.Load().GetItemText(2, 3), L"");
    f.Type(GridId::Load, 2, 3, L"新");
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strEquipName, L"新");
    f.dlg->OnEditUndo();
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 12);
}

TEST(CellCommands, FillDownTypesTheTopCellIntoTheSelectedCellsBelow)
{
    DialogFixture f;
    Twelve(f);
    f.Type(GridId::Load, 2, 7, L"0.7");
    f.Type(GridId::Load, 2, 4, L"L3,N");
    f.Load().SetSelectedRange(2, 4, 6, 7);
    f.dlg->OnFillDown(GridId::Load);
    for (int i = 1; i <= 5; ++i) {
        EXPECT_EQ(f.dlg->GetLoads()[i].m_strPhase, L"L3,N") << i;
        EXPECT_EQ(f.dlg->GetLoads()[i].m_strVoltage, L"0.22") << i;
        EXPECT_EQ(f.dlg->GetLoads()[i].m_strDemandFactor, L"0.7") << i;
        EXPECT_EQ(f.Load().GetItemText(i + 1, 12), f.dlg->GetLoads()[1].m_strCalcI) << i;
    }
    EXPECT_EQ(f.dlg->GetLoads()[6].m_strDemandFactor, L"1.0");
    const size_t steps = f.dlg->GetHistory().GetUndoCount();
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetLoads()[5].m_strPhase, L"L1,L2,L3,N");
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), steps - 1);
}

TEST(CellCommands, ABlockPastedOverCircuitsTypesIntoTheirCellsAndAddsTheRest)
{
    DialogFixture f;
    Twelve(f);
    f.Load().SetFocusCell(11, 3);
    f.dlg->OnPasteKey(GridId::Load, L"甲\tL3,N\t5\r\n乙\tA相\t6\r\n丙\tL1,N\t7\r\n");
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 13);
    EXPECT_EQ(f.dlg->GetLoads()[10].m_strEquipName, L"甲");
    EXPECT_EQ(f.dlg->GetLoads()[10].m_strPhase, L"L3,N");
    EXPECT_EQ(f.dlg->GetLoads()[10].m_strCircuitNo, L"W11");
    // An unknown phase is refused for its cell only.
    EXPECT_EQ(f.dlg->GetLoads()[11].m_strEquipName, L"乙");
    EXPECT_EQ(f.dlg->GetLoads()[11].m_strPhase, L"L2,N");
    EXPECT_EQ(f.dlg->GetLoads()[11].m_strVoltage, L"0.22");
    EXPECT_EQ(f.dlg->GetLoads()[11].m_strRatedPower, L"6");
    EXPECT_EQ(f.dlg->GetLoads()[12].m_strEquipName, L"丙");
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 12);
    EXPECT_EQ(f.dlg->GetLoads()[10].m_strEquipName, L"M11");
}

TEST(CellCommands, APasteBeyondWhatAnArchiveHoldsIsRefusedAtOnce)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    std::wstring text;
    for (int i = 0; i < 32767; ++i) {
        text += L"x\n";
    }
    f.Load().SetFocusCell(2, 3);
    f.dlg->OnPasteKey(GridId::Load, text);
    ASSERT_EQ(f.ui.boxes.size(), 1U);
    EXPECT_NE(f.ui.boxes[0].text.find(L"32768"), std::wstring::npos);
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 1);
}

TEST(CellCommands, PastingManyLinesGivesWhatTypingEachCellGives)
{
    // Random lines (blank cells, unknown phases, full-width figures, short
    // and long lines, load classes and fire roles good and bad, type names
    // the library lacks) pasted at once against the same cells typed one by
    // one into the entry row.
    std::mt19937 random(15);
    const std::vector<std::wstring> pool = {
        L"",     L"L1,N", L"L3,N",  L"L1,L2,L3,N", L"三相", L"0.8",  L"１２",      L"-3",
        L"0.22", L"abc",  L"1E+03", L"二级",       L"一类", L"消防", L"火灾时切除"};
    // What typing into the entry row's cell takes: not the computed and
    // owner columns, a phase, class or fire role only from its list.
    const auto takes = [](int c, const std::wstring& text) {
        const std::vector<std::wstring> classes = {L"一级中特别重要", L"一级", L"二级", L"三级"};
        const std::vector<std::wstring> fire = {L"消防", L"火灾时切除"};
        const auto in = [&text](const std::vector<std::wstring>& list) {
            return std::ranges::find(list, text) != list.end();
        };
        return !text.empty() && ((c <= 8 && (c != 4 || IsPhaseText(text))) || c == 14 || c == 15 ||
                                 (c == 16 && in(classes)) || (c == 17 && in(fire)));
    };
    for (int round = 0; round < 20; ++round) {
        CTabRows lines;
        const int col = 1 + static_cast<int>(random() % 8);
        for (int k = 0; k < 30; ++k) {
            std::vector<std::wstring>& line = lines.emplace_back();
            const size_t width = random() % 18;
            for (size_t j = 0; j < width; ++j) {
                line.push_back(pool[random() % pool.size()]);
            }
        }
        DialogFixture typed;
        DialogFixture pasted;
        for (DialogFixture* f : {&typed, &pasted}) {
            f->AddTransformer(L"T1");
            f->AddCircuit(L"M0", L"L2,N", L"3");
            f->Type(GridId::Load, 1, 7, L"0.6");
        }
        for (const auto& line : lines) {
            const int row = typed.dlg->GetLoads().GetSize() + 1;
            for (size_t j = 0; j < line.size(); ++j) {
                const int c = col + static_cast<int>(j);
                if (takes(c, line[j])) {
                    typed.Type(GridId::Load, row, c, line[j]);
                }
            }
        }
        pasted.Load().SetFocusCell(2, col);
        pasted.dlg->OnPasteKey(GridId::Load, FormatTabText(lines));
        ASSERT_EQ(pasted.dlg->GetDocument(), typed.dlg->GetDocument()) << round;
        const int entry = typed.dlg->GetLoads().GetSize() + 1;
        EXPECT_EQ(pasted.Texts(GridId::Load, entry, {4, 6, 7, 8}),
                  typed.Texts(GridId::Load, entry, {4, 6, 7, 8}))
            << round;
        const int total = typed.Load().GetRowCount() - 1;
        EXPECT_EQ(pasted.Texts(GridId::Load, total, {5, 8, 9, 10, 11, 12}),
                  typed.Texts(GridId::Load, total, {5, 8, 9, 10, 11, 12}))
            << round;
    }
}
