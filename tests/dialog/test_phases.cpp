// The toolbar's phase balancing as the dialog runs it.
#include <gtest/gtest.h>

#include <set>

#include "dialog/LoadCalResources.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::DialogFixture;

TEST(PhaseBalancing, FourEqualCircuitsAndAThreePhaseOneAreReportedAndWrittenBack)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    // 1.76 kW at 0.22 kV, cos 0.8: 10 A each; 15.79584 kW three-phase: 30 A.
    for (int i = 1; i <= 4; ++i) {
        f.AddCircuit(L"M" + std::to_wstring(i), L"L1,N", L"1.76");
        f.Own(i, {L"T1"});
    }
    f.AddCircuit(L"P", L"L1,L2,L3,N", L"15.79584");
    f.Own(5, {L"T1"});
    ASSERT_EQ(f.dlg->GetLoads()[0].m_strCalcI, L"10");
    ASSERT_EQ(f.dlg->GetLoads()[4].m_strCalcI, L"30");
    f.SaveAsIn("p.LDC");
    const std::wstring title = f.dlg->GetTitle();
    f.ui.titles.clear();

    f.dlg->OnCommand(res::ID_ADJUST_PHASES);

    // No even split exists: the search runs every generation, showing its
    // progress after the title, and the title comes back afterwards. The
    // split and the report's figures are checked with the command itself
    // (tests/balancing).
    EXPECT_EQ(f.ui.titles.size(), 1001u);
    EXPECT_EQ(f.ui.titles[999], title + L" 变压器 T1 - 已完成100%");
    EXPECT_EQ(f.dlg->GetTitle(), title);
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_EQ(f.ui.boxes[0].caption, L"loadcal");
    EXPECT_EQ(f.ui.boxes[0].style, MB_OK);
    EXPECT_EQ(f.ui.boxes[0].text.rfind(L"变压器T1\nL1,N项电流为: ", 0), 0u);

    // Each new phase is in the record and its cell.
    std::set<std::wstring> phases;
    for (int i = 0; i < 4; ++i) {
        phases.insert(f.dlg->GetLoads()[i].m_strPhase);
        EXPECT_EQ(f.Load().GetItemText(i + 1, 4), f.dlg->GetLoads()[i].m_strPhase);
    }
    EXPECT_EQ(phases, (std::set<std::wstring>{L"L1,N", L"L2,N", L"L3,N"}));
    EXPECT_EQ(f.dlg->GetLoads()[4].m_strPhase, L"L1,L2,L3,N");
    EXPECT_TRUE(f.dlg->IsModified());  // the total refresh marks the document
}

TEST(PhaseBalancing, ASmallGroupGetsThePhasesInTurnAndTheNextGroupIsStillSpread)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.AddTransformer(L"T2");
    for (int i = 1; i <= 3; ++i) {
        f.AddCircuit(L"A" + std::to_wstring(i), L"L3,N", L"1");
        f.Own(i, {L"T1"});
    }
    for (int i = 4; i <= 9; ++i) {
        f.AddCircuit(L"B" + std::to_wstring(i), L"L3,N", L"1");
        f.Own(i, {L"T2"});
    }
    f.SaveAsIn("p.LDC");

    f.dlg->OnCommand(res::ID_ADJUST_PHASES);
    ASSERT_EQ(f.ui.boxes.size(), 1U);  // one report for both groups
    EXPECT_NE(f.ui.boxes[0].text.find(L"变压器T1"), std::wstring::npos);
    EXPECT_NE(f.ui.boxes[0].text.find(L"变压器T2"), std::wstring::npos);
    EXPECT_EQ(f.Load().GetItemText(1, 4), L"L1,N");
    EXPECT_EQ(f.Load().GetItemText(2, 4), L"L2,N");
    EXPECT_EQ(f.Load().GetItemText(3, 4), L"L3,N");
    // Six equal circuits of T2: two on each phase, as the grid shows them.
    int perPhase[3] = {0, 0, 0};
    for (int i = 3; i < 9; ++i) {
        const std::wstring& phase = f.dlg->GetLoads()[i].m_strPhase;
        ASSERT_EQ(phase.size(), 4U);
        ++perPhase[phase[1] - L'1'];
        EXPECT_EQ(f.Load().GetItemText(i + 1, 4), phase);
    }
    EXPECT_EQ(perPhase[0], 2);
    EXPECT_EQ(perPhase[1], 2);
    EXPECT_EQ(perPhase[2], 2);
    EXPECT_TRUE(f.dlg->IsModified());
}
