// Cut, copy, paste and delete of rows on both grids.
#include <gtest/gtest.h>

#include "dialog/LoadCalResources.h"
#include "model/Errors.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::DialogFixture;

namespace {

/// A dialog with five circuits named A to E.
struct FiveCircuits : DialogFixture {
    FiveCircuits()
    {
        for (const wchar_t* name : {L"A", L"B", L"C", L"D", L"E"}) {
            AddCircuit(name);
        }
    }

    std::wstring RecordNames() const
    {
        std::wstring names;
        for (const CLoadCalData& c : dlg->GetLoads()) {
            names += c.m_strEquipName;
        }
        return names;
    }

    std::wstring GridNames()
    {
        std::wstring names;
        for (int r = 1; r <= Load().GetRowCount() - 4; ++r) {
            names += Load().GetItemText(r, 3);
        }
        return names;
    }

    void Command(GridId grid, unsigned id, int focusRow)
    {
        dlg->GetGrid(grid).SetFocusCell(focusRow, 1);
        dlg->OnCommand(id);
    }
};

}  // namespace

TEST(LoadRows, CutTwoRowsAndPasteFurtherDown)
{
    FiveCircuits f;
    f.SaveAsIn("rows.LDC");
    f.SelectRows(GridId::Load, 2, 3);
    f.PickFromMenu(GridId::Load, 2, 1, res::ID_LOAD_CUT);

    // Nothing removed yet; the cut rows are marked with black text.
    EXPECT_EQ(f.RecordNames(), L"ABCDE");
    EXPECT_EQ(f.dlg->GetCutRows(GridId::Load), (CArray<int>{2, 3}));
    EXPECT_EQ(f.Load().GetItemFgColour(2, 0), RGB(0, 0, 0));
    EXPECT_EQ(f.Load().GetItemFgColour(3, 13), RGB(0, 0, 0));
    EXPECT_EQ(f.Load().GetItemFgColour(4, 1), CLR_DEFAULT);
    EXPECT_FALSE(f.dlg->IsModified());

    f.Command(GridId::Load, res::ID_LOAD_PASTE, 5);
    EXPECT_EQ(f.RecordNames(), L"ADBCE");
    EXPECT_EQ(f.GridNames(), L"ADBCE");
    EXPECT_EQ(f.Load().GetRowCount(), 9);
    EXPECT_TRUE(f.dlg->GetLoadClipboard().IsEmpty());
    EXPECT_FALSE(f.dlg->IsCut(GridId::Load));
    EXPECT_TRUE(f.dlg->GetCutRows(GridId::Load).IsEmpty());
    EXPECT_TRUE(f.dlg->IsModified());
    EXPECT_EQ(f.Load().GetItemBkColour(3, 9), RGB(255, 255, 128));
    EXPECT_FALSE(f.Load().IsCellEditable(3, 13));

    // A cut is pasted once.
    f.Command(GridId::Load, res::ID_LOAD_PASTE, 1);
    EXPECT_EQ(f.RecordNames(), L"ADBCE");
}

TEST(LoadRows, CopyUnmarksCutRowsButKeepsTheirNumbers)
{
    FiveCircuits f;
    f.SelectRows(GridId::Load, 1, 1);
    f.dlg->OnCutRows(GridId::Load);
    EXPECT_EQ(f.Load().GetItemFgColour(1, 5), RGB(0, 0, 0));
    f.SelectRows(GridId::Load, 4, 4);
    f.dlg->OnCopyRows(GridId::Load);
    EXPECT_EQ(f.Load().GetItemFgColour(1, 5), CLR_DEFAULT);
    EXPECT_EQ(f.dlg->GetCutRows(GridId::Load), (CArray<int>{1}));
    ASSERT_EQ(f.dlg->GetLoadClipboard().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetLoadClipboard()[0].m_strEquipName, L"D");
}

TEST(LoadRows, PasteOnTheSecondToLastRowAppendsTheRecords)
{
    FiveCircuits f;
    f.SelectRows(GridId::Load, 1, 1);
    f.dlg->OnCopyRows(GridId::Load);
    f.Command(GridId::Load, res::ID_LOAD_PASTE, 4);
    EXPECT_EQ(f.GridNames(), L"ABCADE");
    EXPECT_EQ(f.RecordNames(), L"ABCDEA");
}

TEST(LoadRows, CopyPastedOnTheEntryRowAppendsEveryTime)
{
    FiveCircuits f;
    f.Type(GridId::Load, 2, 5, L"10");
    f.SelectRows(GridId::Load, 2, 2);
    f.dlg->OnCopyRows(GridId::Load);
    f.Command(GridId::Load, res::ID_LOAD_PASTE, 6);
    f.Command(GridId::Load, res::ID_LOAD_PASTE, 7);
    EXPECT_EQ(f.RecordNames(), L"ABCDEBB");
    EXPECT_EQ(f.GridNames(), L"ABCDEBB");
    EXPECT_EQ(f.Load().GetItemText(8, 4), L"L1,L2,L3,N");  // the entry row moved down
    EXPECT_EQ(f.Load().GetItemText(6, 9), L"10");          // copied results, not recalculated
    const int total = f.Load().GetRowCount() - 1;
    EXPECT_EQ(f.Load().GetItemText(total, 5), L"30");
}

TEST(LoadRows, PasteOnACutRowMovesUpToTheNearestRowNotCut)
{
    FiveCircuits f;
    f.SelectRows(GridId::Load, 3, 4);
    f.dlg->OnCutRows(GridId::Load);
    f.Command(GridId::Load, res::ID_LOAD_PASTE, 4);
    // Target row 2 (B); C and D are removed and shown above B. B is then the
    // second-to-last record, so the records go to the end of the array.
    EXPECT_EQ(f.GridNames(), L"ACDBE");
    EXPECT_EQ(f.RecordNames(), L"ABECD");
}

TEST(LoadRows, PasteRefusesTheSeparatorAndAnEmptyClipboard)
{
    FiveCircuits f;
    f.Command(GridId::Load, res::ID_LOAD_PASTE, 1);  // empty clipboard
    f.SelectRows(GridId::Load, 1, 1);
    f.dlg->OnCopyRows(GridId::Load);
    f.Command(GridId::Load, res::ID_LOAD_PASTE, 7);  // separator
    EXPECT_EQ(f.RecordNames(), L"ABCDE");
    EXPECT_EQ(f.Load().GetRowCount(), 9);
}

TEST(LoadRows, DeleteRemovesSelectedRowsAndDropsCutOnesFromTheClipboard)
{
    FiveCircuits f;
    f.Type(GridId::Load, 5, 5, L"4");
    f.SelectRows(GridId::Load, 2, 3);
    f.dlg->OnCutRows(GridId::Load);
    f.SelectRows(GridId::Load, 3, 5);
    f.ui.boxAnswers = {IDYES};
    f.dlg->OnDeleteRows(GridId::Load);

    EXPECT_EQ(f.RecordNames(), L"AB");
    EXPECT_EQ(f.GridNames(), L"AB");
    ASSERT_EQ(f.dlg->GetLoadClipboard().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetLoadClipboard()[0].m_strEquipName, L"B");
    EXPECT_EQ(f.dlg->GetCutRows(GridId::Load), (CArray<int>{2}));
    const int total = f.Load().GetRowCount() - 1;
    EXPECT_EQ(f.Load().GetItemText(total, 5), L"0");  // E's 4 kW went with it
}

TEST(LoadRows, DeleteWithoutSelectionChangesNothing)
{
    FiveCircuits f;
    f.SaveAsIn("rows.LDC");
    f.Load().SetSelectedRange(6, 1, 8, 13);  // entry, separator, total rows
    f.dlg->OnDeleteRows(GridId::Load);
    EXPECT_EQ(f.RecordNames(), L"ABCDE");
    EXPECT_FALSE(f.dlg->IsModified());
}

TEST(LoadRows, CutRowNumbersAreNotShiftedByDeletesAbove)
{
    FiveCircuits f;
    f.SelectRows(GridId::Load, 4, 4);
    f.dlg->OnCutRows(GridId::Load);  // D
    f.SelectRows(GridId::Load, 1, 1);
    f.dlg->OnDeleteRows(GridId::Load);  // A
    EXPECT_EQ(f.dlg->GetCutRows(GridId::Load), (CArray<int>{4}));
    // The stale number now names E, which the paste removes instead of D.
    f.Command(GridId::Load, res::ID_LOAD_PASTE, 1);
    EXPECT_EQ(f.RecordNames(), L"DBCD");
}

TEST(LoadRows, DeletingARowListedInAStaleCutListAfterCopyIsAnInvalidIndex)
{
    FiveCircuits f;
    f.SelectRows(GridId::Load, 2, 3);
    f.dlg->OnCutRows(GridId::Load);
    f.SelectRows(GridId::Load, 5, 5);
    f.dlg->OnCopyRows(GridId::Load);  // clipboard of one, cut list still 2, 3
    f.SelectRows(GridId::Load, 3, 3);
    EXPECT_THROW(f.dlg->OnDeleteRows(GridId::Load), CInvalidArgException);
}

TEST(TransformerRows, SelectionOnlyInColumns13To16SelectsNoRow)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.AddTransformer(L"T2");
    f.SaveAsIn("t.LDC");
    f.Transformers().SetSelectedRange(1, 13, 2, 16);
    f.dlg->OnCopyRows(GridId::Transformer);
    EXPECT_TRUE(f.dlg->GetTransformerClipboard().IsEmpty());
    f.dlg->OnDeleteRows(GridId::Transformer);
    EXPECT_EQ(f.dlg->GetTransformers().GetSize(), 2);
    EXPECT_FALSE(f.dlg->IsModified());
    f.Transformers().SetSelectedRange(2, 12, 2, 16);
    f.dlg->OnCopyRows(GridId::Transformer);
    EXPECT_EQ(f.dlg->GetTransformerClipboard().GetSize(), 1);
}

TEST(TransformerRows, CutMarkingStopsAtColumn13)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.Transformers().SetSelectedRange(1, 1, 1, 1);
    f.dlg->OnCutRows(GridId::Transformer);
    EXPECT_EQ(f.Transformers().GetItemFgColour(1, 13), RGB(0, 0, 0));
    EXPECT_EQ(f.Transformers().GetItemFgColour(1, 14), CLR_DEFAULT);
}

TEST(TransformerRows, PastedCopiesAreNeitherCheckedNorRecalculated)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.Transformers().SetSelectedRange(1, 1, 1, 1);
    f.dlg->OnCopyRows(GridId::Transformer);
    f.AddCircuit(L"M1", L"", L"10");
    f.Transformers().SetFocusCell(2, 1);  // the entry row
    f.dlg->OnPasteRows(GridId::Transformer);
    ASSERT_EQ(f.dlg->GetTransformers().GetSize(), 2);
    EXPECT_EQ(f.dlg->GetTransformers()[1].m_strName, L"T1");
    EXPECT_TRUE(f.ui.boxes.empty());
    EXPECT_EQ(f.Transformers().GetItemText(2, 1), L"T1");
    EXPECT_EQ(f.Transformers().GetItemBkColour(2, 15), RGB(255, 255, 128));
    EXPECT_TRUE(f.Transformers().IsCellEditable(2, 16));
    EXPECT_EQ(f.Transformers().GetRowCount(), 4);
}

TEST(TransformerRows, DeleteRemovesTheNameFromEveryOwnerListAndItsCells)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    f.AddTransformer(L"T2");
    f.AddCircuit(L"M1");
    f.AddCircuit(L"M2");
    f.Own(1, {L"T1", L"T2"});
    f.Own(2, {L"T1"});

    f.Transformers().SetSelectedRange(1, 1, 1, 1);
    f.dlg->OnDeleteRows(GridId::Transformer);
    ASSERT_EQ(f.dlg->GetTransformers().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"T2");
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strTransformer, L"");
    EXPECT_EQ(f.Load().GetItemText(1, 13), L"T2");
    EXPECT_EQ(f.Load().GetItemText(2, 13), L"");
    EXPECT_EQ(f.Transformers().GetRowCount(), 3);
}
