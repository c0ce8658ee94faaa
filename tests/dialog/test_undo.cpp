// Undo and redo of every kind of change, random round trips, the modified
// mark at the saved state, the bounded history and the menu state.
#include <gtest/gtest.h>

#include <random>

#include "dialog/LoadCalResources.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::DialogFixture;

namespace {

struct Snapshot {
    CLoadArray loads;
    CTransformerArray transformers;
    friend bool operator==(const Snapshot&, const Snapshot&) = default;
};

Snapshot Take(const DialogFixture& f)
{
    return {f.dlg->GetLoads(), f.dlg->GetTransformers()};
}

/// The grids show the records: row counts, every record's cells (the owner
/// column aside, which a rename leaves stale on purpose) and the totals.
void ExpectGridsShowRecords(DialogFixture& f, bool totalsToo = true)
{
    const CLoadArray& loads = f.dlg->GetLoads();
    const CTransformerArray& transformers = f.dlg->GetTransformers();
    ASSERT_EQ(f.Load().GetRowCount(), loads.GetSize() + 4);
    ASSERT_EQ(f.Transformers().GetRowCount(), transformers.GetSize() + 2);
    for (int i = 0; i < loads.GetSize(); ++i) {
        for (int c = 1; c <= 12; ++c) {
            EXPECT_EQ(f.Load().GetItemText(i + 1, c),
                      loads[i].FieldAt(kLoadColumns[static_cast<size_t>(c - 1)].field))
                << "load row " << i + 1 << " column " << c;
        }
    }
    for (int i = 0; i < transformers.GetSize(); ++i) {
        for (int c = 1; c <= 16; ++c) {
            EXPECT_EQ(
                f.Transformers().GetItemText(i + 1, c),
                transformers[i].FieldAt(kTransformerColumns[static_cast<size_t>(c - 1)].field))
                << "transformer row " << i + 1 << " column " << c;
        }
    }
    if (!totalsToo) {
        return;
    }
    const SummaryTotals totals = ComputeTotals(loads);
    const int total = f.Load().GetRowCount() - 1;
    EXPECT_EQ(f.Load().GetItemText(total, 5), totals.installed);
    EXPECT_EQ(f.Load().GetItemText(total, 11), totals.apparent);
}

/// Two transformers and four circuits owned by them.
void Building(DialogFixture& f)
{
    f.AddTransformer(L"T1");
    f.AddTransformer(L"T2");
    f.AddCircuit(L"M1", L"L1,N", L"10");
    f.AddCircuit(L"M2", L"L2,N", L"20");
    f.AddCircuit(L"M3", L"", L"30");
    f.AddCircuit(L"M4", L"L3,N", L"5");
    f.Own(1, {L"T1"});
    f.Own(2, {L"T1", L"T2"});
    f.Own(3, {L"T2"});
    f.Own(4, {L"T1"});
}

/// Does action, then checks that undo gives back the document before it and
/// redo the document after it, with the grids showing each.
template <class Action>
void ExpectUndoable(DialogFixture& f, Action action, int line)
{
    SCOPED_TRACE(line);
    const Snapshot before = Take(f);
    const size_t undoCount = f.dlg->GetHistory().GetUndoCount();
    action();
    const Snapshot after = Take(f);
    ASSERT_NE(before, after);
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), undoCount + 1) << "one step";
    f.dlg->OnCommand(res::ID_EDIT_UNDO);
    EXPECT_EQ(Take(f), before);
    ExpectGridsShowRecords(f);
    f.dlg->OnCommand(res::ID_EDIT_REDO);
    EXPECT_EQ(Take(f), after);
    ExpectGridsShowRecords(f);
}

}  // namespace

TEST(Undo, EveryKindOfChangeIsOneStepThatUndoAndRedoTakeBackAndDoAgain)
{
    DialogFixture f;
    Building(f);
    ExpectGridsShowRecords(f, false);

    // A cell edit with its recalculation of the circuit, the transformers
    // and the totals.
    ExpectUndoable(
        f, [&] { f.Type(GridId::Load, 2, 5, L"40"); }, __LINE__);
    // A new circuit from the entry row, and a circuit emptied away.
    ExpectUndoable(
        f, [&] { f.AddCircuit(L"M5"); }, __LINE__);
    ExpectUndoable(
        f, [&] { f.Type(GridId::Load, 5, 3, L""); }, __LINE__);
    // Phase and owner choices.
    ExpectUndoable(
        f,
        [&] {
            f.dlg->OnGridClick(GridId::Load, 3, 4);
            f.Type(GridId::Load, 3, 4, L"L2,N");
        },
        __LINE__);
    ExpectUndoable(
        f, [&] { f.Own(3, {L"T1"}); }, __LINE__);
    // Rename of a transformer, carried into the owner lists.
    ExpectUndoable(
        f, [&] { f.Type(GridId::Transformer, 1, 1, L"TA"); }, __LINE__);
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strTransformer, L"TA,T2");
    // A transformer input and a transformer deleted by emptying its name.
    ExpectUndoable(
        f, [&] { f.Type(GridId::Transformer, 2, 5, L"0.8"); }, __LINE__);
    ExpectUndoable(
        f, [&] { f.Type(GridId::Transformer, 2, 1, L""); }, __LINE__);
    // Row delete on both grids.
    ExpectUndoable(
        f,
        [&] {
            f.SelectRows(GridId::Load, 2, 3);
            f.ui.boxAnswers = {IDYES};
            f.dlg->OnDeleteRows(GridId::Load);
        },
        __LINE__);
    ExpectUndoable(
        f,
        [&] {
            f.SelectRows(GridId::Transformer, 1, 1);
            f.dlg->OnDeleteRows(GridId::Transformer);
        },
        __LINE__);
    for (const wchar_t* name : {L"M6", L"M7", L"M8"}) {
        f.AddCircuit(name);
    }
    f.AddTransformer(L"T3");
    f.AddTransformer(L"T4");
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 5);
    // A cut pasted elsewhere: the deferred removal and the insert are one step.
    ExpectUndoable(
        f,
        [&] {
            f.SelectRows(GridId::Load, 1, 2);
            f.dlg->OnCutRows(GridId::Load);
            f.Load().SetFocusCell(5, 1);
            f.dlg->OnPasteRows(GridId::Load);
        },
        __LINE__);
    // A copy pasted on the transformer entry row.
    ExpectUndoable(
        f,
        [&] {
            f.SelectRows(GridId::Transformer, 1, 2);
            f.dlg->OnCopyRows(GridId::Transformer);
            f.Transformers().SetFocusCell(3, 1);
            f.dlg->OnPasteRows(GridId::Transformer);
        },
        __LINE__);
}

TEST(Undo, APhaseBalancingRunIsOneStep)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    for (int i = 1; i <= 5; ++i) {
        f.AddCircuit(L"M" + std::to_wstring(i), L"L1,N", std::to_wstring(i));
        f.Own(i, {L"T1"});
    }
    ExpectUndoable(
        f,
        [&] {
            f.ui.boxAnswers.push_back(IDOK);
            f.dlg->OnCommand(res::ID_ADJUST_PHASES);
        },
        __LINE__);
}

TEST(Undo, RandomEditsUndoneAllGiveTheStartAndRedoneAllTheEnd)
{
    std::mt19937 random(20261122);
    for (int round = 0; round < 6; ++round) {
        DialogFixture f;
        Building(f);
        const Snapshot start = Take(f);
        const size_t base = f.dlg->GetHistory().GetUndoCount();
        std::vector<Snapshot> states{start};
        auto pick = [&random](int n) {
            return std::uniform_int_distribution<int>(0, n - 1)(random);
        };
        const wchar_t* texts[] = {L"", L"7", L"12.5", L"abc", L"１.５", L"L2,N", L"0.9"};
        for (int step = 0; step < 40; ++step) {
            const int n = f.dlg->GetLoads().GetSize();
            const int m = f.dlg->GetTransformers().GetSize();
            const Snapshot now = Take(f);
            switch (pick(7)) {
                case 0:
                case 1:
                    f.Type(GridId::Load, 1 + pick(n + 1), 1 + pick(8), texts[pick(7)]);
                    break;
                case 2:
                    f.Type(
                        GridId::Transformer, 1 + pick(m + 1), 1 + pick(6),
                        pick(2) ? std::wstring(L"T") + std::to_wstring(pick(5)) : texts[pick(7)]);
                    break;
                case 3:
                    if (n > 0 && m > 0) {
                        f.Own(1 + pick(n), {f.dlg->GetTransformers()[pick(m)].m_strName});
                    }
                    break;
                case 4:
                    if (n > 1) {
                        f.SelectRows(GridId::Load, 1 + pick(n), 1 + pick(n));
                        f.dlg->OnDeleteRows(GridId::Load);
                    }
                    break;
                case 5:
                    if (n > 1) {
                        const int first = 1 + pick(n);
                        f.SelectRows(GridId::Load, first, first);
                        f.dlg->OnCutRows(GridId::Load);
                        f.Load().SetFocusCell(n + 1, 2);
                        f.dlg->OnPasteRows(GridId::Load);
                    }
                    break;
                default:
                    f.Load().SetFocusCell(n + 1, 3);
                    f.dlg->PasteText(GridId::Load, L"P\tL3,N\t4\r\nQ\t\t8\r\n");
                    break;
            }
            // A step for every change, and none without one (a row cut and
            // pasted back at its own place is a step that changes nothing).
            if (!(Take(f) == now)) {
                ASSERT_EQ(f.dlg->GetHistory().GetUndoCount(), base + states.size());
            }
            if (f.dlg->GetHistory().GetUndoCount() == base + states.size()) {
                states.push_back(Take(f));
            }
        }
        ASSERT_EQ(f.dlg->GetHistory().GetUndoCount(), base + states.size() - 1);
        for (size_t k = states.size() - 1; k > 0; --k) {
            f.dlg->OnEditUndo();
            ASSERT_EQ(Take(f), states[k - 1]) << "round " << round << " undo to " << k - 1;
        }
        ExpectGridsShowRecords(f);
        for (size_t k = 1; k < states.size(); ++k) {
            f.dlg->OnEditRedo();
            ASSERT_EQ(Take(f), states[k]) << "round " << round << " redo to " << k;
        }
        ExpectGridsShowRecords(f);
    }
}

TEST(Undo, BackAtTheSavedStateTheDocumentIsUnmodified)
{
    DialogFixture f;
    Building(f);
    f.SaveAsIn("saved.LDC");
    ASSERT_FALSE(f.dlg->IsModified());
    f.Type(GridId::Load, 1, 5, L"11");
    f.Type(GridId::Load, 1, 5, L"12");
    EXPECT_TRUE(f.dlg->IsModified());
    f.dlg->OnEditUndo();
    EXPECT_TRUE(f.dlg->IsModified());
    f.dlg->OnEditUndo();
    EXPECT_FALSE(f.dlg->IsModified());
    // Closing now asks nothing.
    f.dlg->OnCancel();
    EXPECT_TRUE(f.ui.boxes.empty());
    // Before the saved state, and redone back to it.
    f.dlg->OnEditUndo();
    EXPECT_TRUE(f.dlg->IsModified());
    f.dlg->OnEditRedo();
    EXPECT_FALSE(f.dlg->IsModified());
    f.dlg->OnEditRedo();
    EXPECT_TRUE(f.dlg->IsModified());

    // A new edit after undoing drops the redo steps with the saved state.
    f.dlg->OnEditUndo();
    f.dlg->OnEditUndo();
    f.Type(GridId::Load, 2, 5, L"99");
    EXPECT_FALSE(f.dlg->CanRedo());
    f.dlg->OnEditUndo();
    EXPECT_TRUE(f.dlg->IsModified()) << "the saved state is no longer reachable";
}

TEST(Undo, NewAndOpenClearTheHistoryAndUndoBeforeItsStartDoesNothing)
{
    DialogFixture f;
    Building(f);
    f.SaveAsIn("a.LDC");
    f.Type(GridId::Load, 1, 5, L"3");
    f.ui.boxAnswers.push_back(IDNO);
    f.dlg->OnFileNew();
    EXPECT_FALSE(f.dlg->CanUndo());
    EXPECT_FALSE(f.dlg->CanRedo());

    f.ui.openAnswers.push_back(f.folder.File("a.LDC"));
    f.dlg->OnFileOpen();
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 4);
    EXPECT_FALSE(f.dlg->CanUndo());
    const Snapshot opened = Take(f);
    f.dlg->OnEditUndo();
    f.dlg->OnCommand(res::ID_EDIT_UNDO);
    EXPECT_EQ(Take(f), opened);
    EXPECT_FALSE(f.dlg->IsModified());
    f.dlg->OnEditRedo();
    EXPECT_EQ(Take(f), opened);
}

TEST(Undo, TheHistoryKeepsTheLast200Steps)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    for (int i = 1; i <= 230; ++i) {
        f.Type(GridId::Load, 1, 5, std::to_wstring(i));
    }
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), CEditHistory::kMaxSteps);
    while (f.dlg->CanUndo()) {
        f.dlg->OnEditUndo();
    }
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strRatedPower, L"30");
    EXPECT_TRUE(f.dlg->IsModified());
}

TEST(Undo, UndoEndsAPendingCutAndTheClipboardOfACutIsEmptied)
{
    DialogFixture f;
    Building(f);
    f.SelectRows(GridId::Load, 1, 1);
    f.dlg->OnCopyRows(GridId::Load);
    f.SelectRows(GridId::Load, 2, 3);
    f.dlg->OnCutRows(GridId::Load);
    ASSERT_EQ(f.Load().GetItemFgColour(2, 1), CLoadCalDiaog::kCutTextColour);
    f.Type(GridId::Load, 4, 5, L"6");
    f.dlg->OnEditUndo();
    EXPECT_FALSE(f.dlg->IsCut(GridId::Load));
    EXPECT_EQ(f.dlg->GetLoadClipboard().GetSize(), 0);
    EXPECT_EQ(f.Load().GetItemFgColour(2, 1), CLR_DEFAULT);
    // A paste now inserts nothing and removes nothing.
    const Snapshot now = Take(f);
    f.Load().SetFocusCell(1, 1);
    f.dlg->OnPasteRows(GridId::Load);
    EXPECT_EQ(Take(f), now);

    // A copy's clipboard holds records, not positions: it survives undo.
    f.SelectRows(GridId::Transformer, 1, 1);
    f.dlg->OnCopyRows(GridId::Transformer);
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetTransformerClipboard().GetSize(), 1);
}

TEST(Undo, TheEditMenuIsGreyedWhenThereIsNothingToUndoOrRedo)
{
    DialogFixture f;
    CMenuModel& bar = f.dlg->GetMenuBar();
    ASSERT_EQ(bar.GetItem(1).text, L"编辑(&E)");
    EXPECT_EQ(bar.GetItem(2).text, L"功能(&C)");
    CMenuModel& edit = *bar.GetSubMenu(1);
    ASSERT_EQ(edit.GetItemCount(), 2);
    EXPECT_EQ(edit.GetItem(0).text, L"撤销(&U)\tCtrl+Z");
    EXPECT_EQ(edit.GetItem(1).text, L"重做(&R)\tCtrl+Y");

    f.dlg->OnInitMenuPopup(edit, false);
    EXPECT_FALSE(edit.IsItemEnabled(res::ID_EDIT_UNDO));
    EXPECT_FALSE(edit.IsItemEnabled(res::ID_EDIT_REDO));
    f.AddCircuit(L"M1");
    f.dlg->OnInitMenuPopup(edit, false);
    EXPECT_TRUE(edit.IsItemEnabled(res::ID_EDIT_UNDO));
    EXPECT_FALSE(edit.IsItemEnabled(res::ID_EDIT_REDO));
    f.dlg->OnEditUndo();
    f.dlg->OnInitMenuPopup(edit, false);
    EXPECT_FALSE(edit.IsItemEnabled(res::ID_EDIT_UNDO));
    EXPECT_TRUE(edit.IsItemEnabled(res::ID_EDIT_REDO));
    EXPECT_TRUE(f.dlg->IsCommandEnabled(res::ID_EDIT_REDO));
}
