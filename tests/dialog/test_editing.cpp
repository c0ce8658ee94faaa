// Cell editing on both grids: entry rows, emptied rows, the phase combo, the
// transformer choice list, names and their renames, and context menus.
#include <gtest/gtest.h>

#include "dialog/LoadCalResources.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::DialogFixture;

namespace {

constexpr COLORREF kYellow = RGB(255, 255, 128);

}  // namespace

TEST(LoadEditing, TheEntryRowsProposalsBecomeTheCircuitsAndAreCarriedOn)
{
    DialogFixture f;
    f.Type(GridId::Load, 1, 7, L"0.7");
    f.Type(GridId::Load, 2, 8, L"0.9");
    f.Type(GridId::Load, 2, 3, L"风机");
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 2);
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strDemandFactor, L"0.7");
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strDemandFactor, L"0.7");
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strPowerFactor, L"0.9");
    EXPECT_EQ(f.Load().GetItemText(3, 7), L"0.7");
    EXPECT_EQ(f.Load().GetItemText(3, 8), L"0.9");
}

TEST(LoadEditing, RatedPowerRecalculatesTheRowAndTheTotals)
{
    DialogFixture f;
    f.AddCircuit(L"M1", L"", L"10");
    CGridCtrl& g = f.Load();
    // Pe 10 kW, K 1.0, cos 0.8, 0.38 kV, three-phase.
    EXPECT_EQ(g.GetItemText(1, 9), L"10");
    EXPECT_EQ(g.GetItemText(1, 10), L"7.5");
    EXPECT_EQ(g.GetItemText(1, 11), L"12.5");
    EXPECT_EQ(g.GetItemText(1, 12), L"18.9923");  // 10 / (1.732 x 0.38 x 0.8)
    const int total = g.GetRowCount() - 1;
    EXPECT_EQ(g.GetItemText(total, 5), L"10");
    EXPECT_EQ(g.GetItemText(total, 8), L"0.8");
    EXPECT_EQ(g.GetItemText(total, 11), L"12.5");
    EXPECT_EQ(g.GetItemText(total, 12), L"18.9918");  // 12.5 / (sqrt 3 x 0.38)
    EXPECT_EQ(g.GetItemState(total, 12), GVIS_READONLY);
}

TEST(LoadEditing, ThePhaseSetsTheVoltageAndRecalculatesTheCurrent)
{
    // The drop-down list itself is checked on the window (tests/dialog_qt).
    DialogFixture f;
    f.AddCircuit(L"M1", L"", L"10");
    f.dlg->OnGridClick(GridId::Load, 1, 4);
    ASSERT_EQ(f.Load().GetCell(1, 4)->kind, CellKind::Combo);
    f.Type(GridId::Load, 1, 4, L"L2,N");
    EXPECT_EQ(f.Load().GetItemText(1, 6), L"0.22");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strVoltage, L"0.22");
    EXPECT_EQ(f.Load().GetItemText(1, 12), L"56.8182");  // 10 / (0.22 x 0.8)

    f.Type(GridId::Load, 1, 4, L"L1,L2,L3,N");
    EXPECT_EQ(f.Load().GetItemText(1, 6), L"0.38");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strVoltage, L"0.38");
}

TEST(LoadEditing, APhaseThatIsNotOneOfTheFourIsRefusedAndTheVoltageStays)
{
    DialogFixture f;
    f.AddCircuit(L"M1", L"L2,N", L"10");
    const CLoadCalData before = f.dlg->GetLoads()[0];
    for (const wchar_t* typed : {L"l1,n", L"三相", L"L4", L"A相", L""}) {
        f.Type(GridId::Load, 1, 4, typed);
        EXPECT_EQ(f.dlg->GetLoads()[0], before);
        EXPECT_EQ(f.Load().GetItemText(1, 4), L"L2,N");
        EXPECT_EQ(f.Load().GetItemText(1, 6), L"0.22");
    }
    // A click keeps the cell's text: the screen shows what the record holds.
    f.dlg->OnGridClick(GridId::Load, 1, 4);
    EXPECT_EQ(f.Load().GetItemText(1, 4), L"L2,N");
}

TEST(LoadEditing, TextsAreTrimmedIntoTheRecord)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    f.Type(GridId::Load, 1, 1, L"  WL1 ");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strCircuitNo, L"WL1");
    EXPECT_EQ(f.Load().GetItemText(1, 1), L"  WL1 ");
}

TEST(LoadEditing, ClearingTheLastKeyCellDeletesTheRowAndTheRecord)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    f.AddCircuit(L"M2");
    f.Type(GridId::Load, 1, 1, L"WL1");
    f.Type(GridId::Load, 1, 3, L"");
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 2);  // the circuit number still counts
    f.Type(GridId::Load, 1, 1, L"  ");
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strEquipName, L"M2");
    EXPECT_EQ(f.Load().GetRowCount(), 5);
    EXPECT_EQ(f.Load().GetItemText(1, 3), L"M2");
}

TEST(LoadEditing, AnEmptyPhaseOnTheEntryRowIsRefusedAndChangesNothing)
{
    DialogFixture f;
    f.Type(GridId::Load, 1, 4, L"");
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 0);
    EXPECT_EQ(f.Load().GetRowCount(), 4);
    EXPECT_EQ(f.Load().GetItemText(1, 4), L"L1,L2,L3,N");
    EXPECT_EQ(f.Load().GetItemText(1, 6), L"0.38");
    EXPECT_FALSE(f.dlg->IsModified());
}

TEST(LoadEditing, ReadOnlyCellsTakeNoEdit)
{
    DialogFixture f;
    f.AddCircuit(L"M1", L"", L"10");
    f.dlg->OnEndEdit(GridId::Load, 1, 9, L"99");
    EXPECT_EQ(f.Load().GetItemText(1, 9), L"10");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strCalcP, L"10");
}

TEST(TransformerEditing, EntryRowCreatesATransformerAndAFreshEntryRow)
{
    DialogFixture f;
    f.Transformers().SetRowHeight(1, 31);
    f.AddTransformer(L"T1");
    ASSERT_EQ(f.dlg->GetTransformers().GetSize(), 1);
    CGridCtrl& g = f.Transformers();
    ASSERT_EQ(g.GetRowCount(), 3);
    EXPECT_EQ(g.GetRowHeight(2), 31);
    EXPECT_EQ(f.Texts(GridId::Transformer, 2, {4, 5, 6, 11, 12, 14}),
              (std::vector<std::wstring>{L"0.7", L"0.9", L"0.97", L"0.7", L"0.76", L"0.9"}));
    EXPECT_EQ(g.GetItemBkColour(2, 15), kYellow);
    EXPECT_EQ(g.GetItemFormat(2, 15), CLoadCalDiaog::kDataFormat);
    // Column 16 of the new entry row stays as the grid created it.
    EXPECT_EQ(g.GetItemFormat(2, 16), CGridCell().format);
    // The new transformer is calculated at once: no circuits, smallest capacity.
    EXPECT_EQ(g.GetItemText(1, 2), L"30");
    EXPECT_EQ(f.dlg->GetTransformers()[0].m_strRatedCapacity, L"30");
}

TEST(TransformerEditing, DuplicateNameIsRejectedAndThePreviousNameRestored)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.AddTransformer(L"T2");
    f.SaveAsIn("a.LDC");
    ASSERT_FALSE(f.dlg->IsModified());

    f.Type(GridId::Transformer, 2, 1, L"t1");
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_EQ(f.ui.boxes[0].text, L"变压器名称重复,请重新输入!");
    EXPECT_EQ(f.ui.boxes[0].caption, L"提示");
    EXPECT_EQ(f.ui.boxes[0].style, MB_ICONINFORMATION);
    EXPECT_EQ(f.Transformers().GetItemText(2, 1), L"T2");
    EXPECT_EQ(f.dlg->GetTransformers()[1].m_strName, L"T2");
    EXPECT_FALSE(f.dlg->IsModified());

    // On the entry row the name is rejected too, and nothing is created.
    f.Type(GridId::Transformer, 3, 1, L"T2");
    EXPECT_EQ(f.ui.boxes.size(), 2u);
    EXPECT_EQ(f.Transformers().GetItemText(3, 1), L"");
    EXPECT_EQ(f.dlg->GetTransformers().GetSize(), 2);
}

TEST(TransformerEditing, RetypingItsOwnNameInOtherCaseIsAccepted)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.Type(GridId::Transformer, 1, 1, L"t1");
    EXPECT_TRUE(f.ui.boxes.empty());
    EXPECT_EQ(f.dlg->GetTransformers()[0].m_strName, L"t1");
}

TEST(TransformerEditing, RenameInsideAJoinedOwnerListRewritesTheVisibleCell)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.AddTransformer(L"T2");
    f.AddCircuit(L"M1", L"", L"10");
    f.Own(1, {L"T1", L"T2"});
    ASSERT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"T1,T2");

    f.Type(GridId::Transformer, 1, 1, L"TA");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"TA,T2");
    EXPECT_EQ(f.Load().GetItemText(1, 13), L"TA,T2");
    EXPECT_EQ(f.dlg->GetTransformers()[0].m_strName, L"TA");
}

TEST(TransformerEditing, ClearingTheNameDeletesTheTransformerAndItsOwnership)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.AddTransformer(L"T2");
    f.Type(GridId::Transformer, 1, 5, L"0.8");
    f.AddCircuit(L"M1");
    f.Own(1, {L"T1", L"T2"});

    f.Type(GridId::Transformer, 1, 1, L"");
    ASSERT_EQ(f.dlg->GetTransformers().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetTransformers()[0].m_strName, L"T2");
    EXPECT_EQ(f.Transformers().GetRowCount(), 3);
    EXPECT_EQ(f.Transformers().GetItemText(1, 1), L"T2");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"T2");
}

TEST(TransformerEditing, ClearingAnotherCellKeepsTheTransformerAndRecalculatesIt)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.AddCircuit(L"M1", L"", L"10");
    f.Own(1, {L"T1"});
    EXPECT_EQ(f.Transformers().GetItemText(1, 7), L"9");  // Kp 0.9 x 10 kW
    f.Type(GridId::Transformer, 1, 5, L"");
    ASSERT_EQ(f.dlg->GetTransformers().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetTransformers()[0].m_strKp, L"");
    EXPECT_EQ(f.Transformers().GetItemText(1, 7), L"0");
}

TEST(ChoiceList, OffersDistinctNamesMarksTheOwnersAndStoresThePick)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.AddTransformer(L"T2");
    f.AddTransformer(L"T3");
    f.AddCircuit(L"M1", L"", L"10");
    f.Own(1, {L"T2"});
    f.Own(1, {L"T1", L"T3"});

    ASSERT_EQ(f.ui.choices.size(), 2u);
    EXPECT_EQ(f.ui.choices[1].names, (std::vector<std::wstring>{L"T1", L"T2", L"T3"}));
    EXPECT_EQ(f.ui.choices[1].marks, (std::vector<bool>{false, true, false}));
    EXPECT_EQ(f.ui.choices[1].row, 1);
    EXPECT_EQ(f.ui.choices[1].col, 13);
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"T1,T3");
    EXPECT_EQ(f.Load().GetItemText(1, 13), L"T1,T3");
    EXPECT_TRUE(f.dlg->GetChoiceWindow().IsCreated());
    EXPECT_EQ(f.dlg->GetChoiceWindow().GetTitle(), L"");
    // T1 and T3 carry the circuit now, T2 no longer.
    EXPECT_EQ(f.Transformers().GetItemText(1, 7), L"9");
    EXPECT_EQ(f.Transformers().GetItemText(2, 7), L"0");
    EXPECT_EQ(f.Transformers().GetItemText(3, 7), L"9");
}

TEST(ChoiceList, MarksIgnoreCaseAndTheEntryRowOpensNoList)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.AddCircuit(L"M1");
    f.dlg->OnGridClick(GridId::Load, 2, 13);  // entry row
    EXPECT_TRUE(f.ui.choices.empty());

    f.Own(1, {L"T1"});
    f.Type(GridId::Transformer, 1, 1, L"t1");  // the owner cell still reads T1
    f.dlg->OnGridClick(GridId::Load, 1, 13);   // dismissed: nothing stored
    ASSERT_EQ(f.ui.choices.size(), 2u);
    EXPECT_EQ(f.ui.choices[1].names, (std::vector<std::wstring>{L"t1"}));
    EXPECT_EQ(f.ui.choices[1].marks, (std::vector<bool>{true}));
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"t1");
}

TEST(ContextMenu, OpensOnlyWithinItsRowsAndColumns)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    f.AddTransformer(L"T1");
    f.dlg->OnGridRightClick(GridId::Load, 1, 13);
    f.dlg->OnGridRightClick(GridId::Load, 3, 1);  // separator
    f.dlg->OnGridRightClick(GridId::Load, 0, 1);
    f.dlg->OnGridRightClick(GridId::Transformer, 1, 16);
    EXPECT_TRUE(f.ui.menus.empty());
    f.dlg->OnGridRightClick(GridId::Load, 2, 12);
    f.dlg->OnGridRightClick(GridId::Transformer, 2, 15);
    ASSERT_EQ(f.ui.menus.size(), 2u);
    EXPECT_EQ(f.ui.menus[0], (std::vector<unsigned>{32781, 32775, 32776, 32777, 32797}));
    EXPECT_EQ(f.ui.menus[1], (std::vector<unsigned>{32782, 32778, 32779, 32780, 32804}));
    EXPECT_TRUE(f.ui.boxes.empty());
}

TEST(ContextMenu, FailuresAreReportedInPlainBoxes)
{
    DialogFixture f;
    f.ui.menuAnswers.push_back({CPopupResult::Status::Failed, 0});
    f.dlg->OnGridRightClick(GridId::Load, 1, 1);
    f.ui.menuAnswers.push_back({CPopupResult::Status::NoCursor, 0});
    f.dlg->OnGridRightClick(GridId::Load, 1, 1);
    f.dlg->TrackContextMenu(999);
    ASSERT_EQ(f.ui.boxes.size(), 2u);
    EXPECT_EQ(f.ui.boxes[0].text, L"TrackPopupMenu false");
    EXPECT_EQ(f.ui.boxes[0].style, MB_OK);
    EXPECT_EQ(f.ui.boxes[1].text, L"LoadMenu false");
    EXPECT_EQ(f.ui.menus.size(), 2u);
}
