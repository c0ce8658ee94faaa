// The supply tree beside the grids and the load grid's view of one node,
// through the controller: the grid shows exactly the circuits the node feeds
// directly, and editing, undo, paste, Delete, the entry row and the totals
// stay right while it does.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "dialog/LoadCalResources.h"
#include "dialog/LoadCalTexts.h"
#include "model/Calculation.h"
#include "model/Checks.h"
#include "model/Text.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using namespace loadcal::test;

namespace {

constexpr int kOwnerColumn = 13;
constexpr int kPowerColumn = 5;

void OpenBoardsExample(DialogFixture& f)
{
    f.ui.openAnswers.push_back(
        FromUtf8(std::string(LOADCAL_SOURCE_DIR) + "/examples/office-building-boards.LDC"));
    f.ui.boxAnswers.push_back(IDNO);  // a recalculation question, should one come
    f.dlg->OnFileOpen();
    f.ui.boxAnswers.clear();
    ASSERT_EQ(f.dlg->GetBoards().GetSize(), 25);
}

/// A click on node n of the tree, which the window makes current.
void ClickNode(DialogFixture& f, int node)
{
    f.ui.treeSelected = node;
    f.dlg->OnSupplyNodeClick(node);
}

/// Clicks the first node of the tree the window was given that stands for
/// the filter.
void Click(DialogFixture& f, SupplyNodeKind kind, const std::wstring& name = L"")
{
    const int node = f.ui.tree.Find({kind, name});
    ASSERT_GE(node, 0) << ToUtf8(name);
    ClickNode(f, node);
}

/// Everything the view promises, checked against the document by
/// independent means: the grid's circuit rows are exactly the circuits the
/// node feeds (CircuitsFedFrom), in list order, each showing its record's
/// texts; the entry row follows them, then the separator and the total row
/// with the whole document's totals; every figure is what a whole
/// recalculation gives; the tree the window shows is the document's; each
/// marked load cell is the warning of the circuit its row shows.
void ExpectView(DialogFixture& f, const std::string& when)
{
    const CLoadCalDocument& doc = f.dlg->GetDocument();
    const CSupplyFilter filter = f.dlg->GetSupplyFilter();
    const std::vector<int> fed = CircuitsFedFrom(doc, filter);
    ASSERT_EQ(f.dlg->ShownLoadCount(), static_cast<int>(fed.size())) << when;
    const CGridCtrl& g = f.Load();
    ASSERT_EQ(g.GetRowCount(), static_cast<int>(fed.size()) + 4) << when;
    for (size_t k = 0; k < fed.size(); ++k) {
        const int row = static_cast<int>(k) + 1;
        ASSERT_EQ(f.dlg->LoadRecordOfRow(row), fed[k]) << when;
        ASSERT_EQ(f.dlg->LoadRowOfRecord(fed[k]), row) << when;
        for (size_t c = 0; c < kLoadGridColumns.size(); ++c) {
            ASSERT_EQ(g.GetItemText(row, static_cast<int>(c) + 1),
                      doc.loads[fed[k]].AnyFieldAt(kLoadGridColumns[c].field))
                << "row " << row << " column " << c + 1 << " " << when;
        }
    }
    ASSERT_EQ(f.dlg->LoadEntryRow(), static_cast<int>(fed.size()) + 1);
    CLoadCalDocument whole = doc;
    const SummaryTotals totals = RecalculateDocument(whole);
    // A circuit given only a text has never been calculated: its empty
    // figures count as 0, which the recalculation writes out.
    for (int i = 0; i < doc.loads.GetSize(); ++i) {
        if (doc.loads[i].m_strCalcP.empty()) {
            CLoadCalData& c = whole.loads.ElementAt(i);
            c.m_strCalcP = c.m_strCalcQ = c.m_strCalcS = c.m_strCalcI = L"";
        }
    }
    ASSERT_TRUE(whole == doc) << "figures stale " << when;
    const int total = g.GetRowCount() - 1;
    EXPECT_EQ(g.GetItemText(total, 2),
              filter.kind == SupplyNodeKind::All ? texts::kTotalLabel : texts::kTotalLabelFiltered)
        << when;
    EXPECT_EQ(g.GetItemText(total, 5), totals.installed) << when;
    EXPECT_EQ(g.GetItemText(total, 9), totals.active) << when;
    EXPECT_EQ(g.GetItemText(total, 12), totals.current) << when;
    EXPECT_TRUE(f.ui.tree == CSupplyTree(doc)) << "tree " << when;
    EXPECT_TRUE(f.dlg->GetSupplyTree() == f.ui.tree) << when;
    EXPECT_EQ(f.dlg->GetSupplyNode(), f.ui.treeSelected) << when;
    const auto& node = f.ui.tree.Nodes().at(static_cast<size_t>(f.ui.treeSelected));
    EXPECT_EQ(node.kind, filter.kind) << when;
    EXPECT_TRUE(EqualsNoCase(node.name, filter.name)) << when;
    // Marks: a cell is marked exactly when the circuit its row shows has a
    // warning on that field.
    for (size_t k = 0; k < fed.size(); ++k) {
        for (size_t c = 0; c < kLoadGridColumns.size(); ++c) {
            bool warned = false;
            for (const CCheckWarning& w : f.dlg->GetWarnings()) {
                warned = warned || (w.subject == CCheckWarning::Subject::Circuit &&
                                    w.index == fed[k] && w.field == kLoadGridColumns[c].field);
            }
            const CGridCell* cell = g.GetCell(static_cast<int>(k) + 1, static_cast<int>(c) + 1);
            ASSERT_EQ(!cell->warning.empty(), warned)
                << "mark of row " << k + 1 << " column " << c + 1 << " " << when;
        }
    }
}

int BoardIndex(const CLoadCalDocument& doc, const std::wstring& name)
{
    for (int b = 0; b < doc.boards.GetSize(); ++b) {
        if (doc.boards[b].m_strName == name) {
            return b;
        }
    }
    return -1;
}

}  // namespace

// Opening gives the window the tree with 全部 selected; a click on a floor
// board shows its circuits only, with the status bar saying so; 全部 shows
// every circuit again. No click changes the document or makes a step.
TEST(SupplyView, ClickingANodeShowsTheCircuitsItFeeds)
{
    DialogFixture f;
    OpenBoardsExample(f);
    EXPECT_GE(f.ui.treeShows, 1);
    EXPECT_EQ(f.ui.treeSelected, 0);
    ExpectView(f, "on opening");
    const CLoadCalDocument opened = f.dlg->GetDocument();
    const size_t steps = f.dlg->GetHistory().GetUndoCount();

    Click(f, SupplyNodeKind::Board, L"1AP-LD");
    ExpectView(f, "1AP-LD");
    EXPECT_EQ(f.dlg->ShownLoadCount(), 5);
    EXPECT_NE(f.ui.statusNote.find(L"配电箱 1AP-LD"), std::wstring::npos);
    EXPECT_NE(f.ui.statusNote.find(L" 5 个回路"), std::wstring::npos);
    EXPECT_NE(f.ui.statusNote.find(texts::kRulesNoteGB51348), std::wstring::npos);

    Click(f, SupplyNodeKind::Board, L"ALZ1");  // a riser: boards only
    ExpectView(f, "ALZ1");
    EXPECT_EQ(f.dlg->ShownLoadCount(), 0);
    Click(f, SupplyNodeKind::Transformer, L"1#变压器");
    ExpectView(f, "1#变压器");
    Click(f, SupplyNodeKind::All);
    ExpectView(f, "全部");
    EXPECT_EQ(f.dlg->ShownLoadCount(), opened.loads.GetSize());
    EXPECT_EQ(f.ui.statusNote, texts::kRulesNoteGB51348);
    EXPECT_TRUE(f.dlg->GetDocument() == opened);
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), steps);
    EXPECT_FALSE(f.dlg->IsModified());
}

// While a board is shown: a figure typed moves the board, the boards above
// it and the transformers; the entry row adds a circuit fed from the board;
// 插入 too; Delete on a cell keeps the circuit, clearing its key cells
// removes it; undo and redo of each keep the view right.
TEST(SupplyView, EditingWhileFilteredChangesTheRightCircuit)
{
    DialogFixture f;
    OpenBoardsExample(f);
    Click(f, SupplyNodeKind::Board, L"1AL");
    ASSERT_EQ(f.dlg->ShownLoadCount(), 1);
    const int record = f.dlg->LoadRecordOfRow(1);
    const CLoadCalDocument before = f.dlg->GetDocument();

    f.Type(GridId::Load, 1, kPowerColumn, L"24");
    EXPECT_EQ(f.dlg->GetDocument().loads[record].m_strRatedPower, L"24");
    ExpectView(f, "after a typed power");
    const int board = BoardIndex(before, L"1AL");
    const int riser = BoardIndex(before, L"ALZ1");
    EXPECT_NE(f.dlg->GetDocument().boards[board].m_strCalcP, before.boards[board].m_strCalcP);
    EXPECT_NE(f.dlg->GetDocument().boards[riser].m_strCalcP, before.boards[riser].m_strCalcP);

    // The entry row: a new circuit, fed from 1AL, at the end of the list.
    f.AddCircuit(L"新回路", L"", L"3");
    const CLoadCalDocument& doc = f.dlg->GetDocument();
    ASSERT_EQ(doc.loads.GetSize(), before.loads.GetSize() + 1);
    EXPECT_EQ(doc.loads[doc.loads.GetSize() - 1].m_strTransformer, L"1AL");
    EXPECT_EQ(doc.loads[doc.loads.GetSize() - 1].m_strEquipName, L"新回路");
    // 1AL is a single-phase board on L1: the circuit is proposed on its phase.
    EXPECT_EQ(doc.loads[doc.loads.GetSize() - 1].m_strPhase, L"L1,N");
    EXPECT_EQ(doc.loads[doc.loads.GetSize() - 1].m_strVoltage, L"0.22");
    EXPECT_EQ(f.dlg->ShownLoadCount(), 2);
    ExpectView(f, "after the entry row");

    // 插入 above the first row: a circuit before 1AL's first, fed from it.
    f.Load().SetFocusCell(1, 3);
    f.dlg->OnInsertRow(GridId::Load);
    EXPECT_EQ(f.dlg->GetDocument().loads[record].m_strTransformer, L"1AL");
    EXPECT_EQ(f.dlg->GetDocument().loads[record].m_strEquipName, L"");
    EXPECT_EQ(f.dlg->GetDocument().loads[record].m_strPhase, L"L1,N");
    EXPECT_EQ(f.dlg->ShownLoadCount(), 3);
    ExpectView(f, "after 插入");

    // Delete on one selected cell clears it and keeps the circuit.
    f.Load().SetSelectedRange(2, 3, 2, 3);
    f.dlg->OnDeleteKey(GridId::Load);
    EXPECT_EQ(f.dlg->GetDocument().loads[record + 1].m_strEquipName, L"");
    EXPECT_EQ(f.dlg->ShownLoadCount(), 3);
    ExpectView(f, "after Delete on a cell");

    // Clearing the inserted circuit's last key cell... it has none: a typed
    // name cleared again removes it, as by hand.
    f.Type(GridId::Load, 1, 3, L"临时");
    f.Type(GridId::Load, 1, 3, L"");
    EXPECT_EQ(f.dlg->ShownLoadCount(), 2);
    ExpectView(f, "after clearing a circuit away");

    while (f.dlg->CanUndo()) {
        f.dlg->OnEditUndo();
        ExpectView(f, "undoing");
    }
    EXPECT_TRUE(f.dlg->GetDocument() == before);
    EXPECT_EQ(f.dlg->ShownLoadCount(), 1);
    while (f.dlg->CanRedo()) {
        f.dlg->OnEditRedo();
        ExpectView(f, "redoing");
    }
    EXPECT_EQ(f.dlg->ShownLoadCount(), 2);
}

// Moving circuits between boards as a designer does it: cut two rows of one
// board, click another, paste; the circuits now belong there. Copies pasted
// into a transformer's view keep an owner list that names it. A circuit
// whose owner choice takes it off the node leaves the view.
TEST(SupplyView, CutAndPasteMovesCircuitsBetweenBoards)
{
    DialogFixture f;
    OpenBoardsExample(f);
    Click(f, SupplyNodeKind::Board, L"1AP-LD");
    const std::vector<int> moved = {f.dlg->LoadRecordOfRow(2), f.dlg->LoadRecordOfRow(3)};
    const std::wstring name2 = f.dlg->GetDocument().loads[moved[0]].m_strEquipName;
    f.SelectRows(GridId::Load, 2, 3);
    f.PickFromMenu(GridId::Load, 2, 1, res::ID_LOAD_CUT);
    ASSERT_TRUE(f.dlg->IsCut(GridId::Load));

    Click(f, SupplyNodeKind::Board, L"1AP-KT");
    const int kt = f.dlg->ShownLoadCount();
    f.Load().SetFocusCell(f.dlg->LoadEntryRow(), 1);
    f.PickFromMenu(GridId::Load, f.dlg->LoadEntryRow(), 1, res::ID_LOAD_PASTE);
    EXPECT_EQ(f.dlg->ShownLoadCount(), kt + 2);
    ExpectView(f, "after the paste");
    int found = 0;
    for (const CLoadCalData& c : f.dlg->GetDocument().loads) {
        if (c.m_strEquipName == name2) {
            EXPECT_EQ(c.m_strTransformer, L"1AP-KT");
            ++found;
        }
    }
    EXPECT_EQ(found, 1);
    Click(f, SupplyNodeKind::Board, L"1AP-LD");
    EXPECT_EQ(f.dlg->ShownLoadCount(), 3);
    ExpectView(f, "the board they left");

    // Copies of dual-fed circuits pasted into a transformer's view keep
    // their list, which names it; a copy of a board's circuit is fed from it.
    Click(f, SupplyNodeKind::Board, L"AP-DT");
    f.SelectRows(GridId::Load, 1, 1);
    f.PickFromMenu(GridId::Load, 1, 1, res::ID_LOAD_COPY);
    Click(f, SupplyNodeKind::Transformer, L"2#变压器");
    const int before2 = f.dlg->ShownLoadCount();
    f.PickFromMenu(GridId::Load, f.dlg->LoadEntryRow(), 1, res::ID_LOAD_PASTE);
    EXPECT_EQ(f.dlg->ShownLoadCount(), before2 + 1);
    ExpectView(f, "a copy in a transformer's view");

    // An owner choice away from the node: the circuit leaves the view.
    Click(f, SupplyNodeKind::Board, L"1AP-KT");
    const int shown = f.dlg->ShownLoadCount();
    const int leaving = f.dlg->LoadRecordOfRow(1);
    f.Own(1, {L"2AP-KT"});
    EXPECT_EQ(f.dlg->GetDocument().loads[leaving].m_strTransformer, L"2AP-KT");
    EXPECT_EQ(f.dlg->ShownLoadCount(), shown - 1);
    ExpectView(f, "after an owner choice away");
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->ShownLoadCount(), shown);
    ExpectView(f, "after its undo");

    // 删除 of two rows asks first and removes exactly those circuits.
    const int first = f.dlg->LoadRecordOfRow(1);
    const int second = f.dlg->LoadRecordOfRow(2);
    const std::wstring firstName = f.dlg->GetDocument().loads[first].m_strEquipName;
    const int count = f.dlg->GetDocument().loads.GetSize();
    f.SelectRows(GridId::Load, 1, 2);
    f.ui.boxAnswers.push_back(IDYES);
    f.PickFromMenu(GridId::Load, 1, 1, res::ID_LOAD_DELETE);
    EXPECT_EQ(f.ui.boxes.back().text, L"删除 2 个回路？");
    EXPECT_EQ(f.dlg->GetDocument().loads.GetSize(), count - 2);
    for (const CLoadCalData& c : f.dlg->GetDocument().loads) {
        EXPECT_NE(c.m_strEquipName, firstName);
    }
    ExpectView(f, "after 删除");
    (void)second;
}

// A spreadsheet's lines pasted on the entry row of a board's view become
// circuits of that board; the total row and the board follow at once.
TEST(SupplyView, ASpreadsheetPasteFeedsTheNewCircuitsFromTheNode)
{
    DialogFixture f;
    OpenBoardsExample(f);
    Click(f, SupplyNodeKind::Board, L"5AL");
    const int shown = f.dlg->ShownLoadCount();
    f.Load().SetFocusCell(f.dlg->LoadEntryRow(), 3);
    f.dlg->PasteText(GridId::Load, L"插座A\tL1,N\t2\n插座B\tL2,N\t2.5\n插座C\tL3,N\t1.5\n");
    EXPECT_EQ(f.dlg->ShownLoadCount(), shown + 3);
    const CLoadCalDocument& doc = f.dlg->GetDocument();
    for (int k = 1; k <= 3; ++k) {
        EXPECT_EQ(doc.loads[doc.loads.GetSize() - k].m_strTransformer, L"5AL");
    }
    ExpectView(f, "after a spreadsheet paste");
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->ShownLoadCount(), shown);
    ExpectView(f, "after its undo");
}

// The tree follows the boards: a new board (fed from nothing, so under
// 未接电源), its owner chosen (under its transformer), a rename of the board
// shown (the view follows it), its deletion (the view gives way to 全部),
// and undo of all of it.
TEST(SupplyView, TheTreeFollowsBoardsAndRenames)
{
    DialogFixture f;
    OpenBoardsExample(f);
    Click(f, SupplyNodeKind::Board, L"2AL");
    const int shown = f.dlg->ShownLoadCount();
    ASSERT_GT(shown, 0);

    f.AddBoard(L"9AL");
    ExpectView(f, "a new board");
    const int unfed = f.ui.tree.Find({SupplyNodeKind::Unfed, L""});
    const int added = f.ui.tree.Find({SupplyNodeKind::Board, L"9AL"});
    ASSERT_GE(unfed, 0);
    ASSERT_GE(added, 0);
    EXPECT_EQ(f.ui.tree.Nodes()[static_cast<size_t>(added)].parent, unfed);
    f.OwnBoard(f.dlg->GetBoards().GetSize(), {L"ALZ2"});
    ExpectView(f, "its owner chosen");
    EXPECT_EQ(f.ui.tree.Find({SupplyNodeKind::Unfed, L""}), -1);
    const int now = f.ui.tree.Find({SupplyNodeKind::Board, L"9AL"});
    EXPECT_EQ(f.ui.tree.Nodes()[static_cast<size_t>(now)].parent,
              f.ui.tree.Find({SupplyNodeKind::Board, L"ALZ2"}));

    // Renaming the board shown: the view follows its new name.
    const int row = BoardIndex(f.dlg->GetDocument(), L"2AL") + 1;
    f.Type(GridId::Board, row, 1, L"2AL-新");
    EXPECT_EQ(f.dlg->GetSupplyFilter().name, L"2AL-新");
    EXPECT_EQ(f.dlg->ShownLoadCount(), shown);
    ExpectView(f, "after the rename");
    EXPECT_NE(f.ui.statusNote.find(L"2AL-新"), std::wstring::npos);
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetSupplyFilter().name, L"2AL");
    ExpectView(f, "after the rename's undo");
    f.dlg->OnEditRedo();
    EXPECT_EQ(f.dlg->GetSupplyFilter().name, L"2AL-新");

    // Its name cleared, the board goes: every circuit is shown.
    f.Type(GridId::Board, row, 1, L"");
    EXPECT_EQ(f.dlg->GetSupplyFilter().kind, SupplyNodeKind::All);
    ExpectView(f, "after the board went");
    f.dlg->OnEditUndo();
    ExpectView(f, "after the board came back");
}

// Random work in random views: typed figures and names, the entry row,
// 插入, Delete, owner choices, row cuts and pastes, undo and redo, clicks on
// the tree. After every action the view is what the document says.
TEST(SupplyView, RandomWorkKeepsTheViewRight)
{
    for (unsigned seed : {16U, 17U, 18U}) {
        DialogFixture f;
        OpenBoardsExample(f);
        std::mt19937 rng(seed);
        const auto pick = [&rng](int n) {
            return std::uniform_int_distribution<int>(0, n - 1)(rng);
        };
        const auto clickAny = [&] {
            ClickNode(f, pick(static_cast<int>(f.ui.tree.Nodes().size())));
        };
        clickAny();
        for (int step = 0; step < 400; ++step) {
            const int shown = f.dlg->ShownLoadCount();
            const int row = shown > 0 ? 1 + pick(shown) : f.dlg->LoadEntryRow();
            std::string what;
            switch (pick(10)) {
                case 0:
                    what = "click";
                    clickAny();
                    break;
                case 1:
                    what = "power";
                    f.Type(GridId::Load, row, kPowerColumn, std::to_wstring(1 + pick(40)));
                    break;
                case 2:
                    what = "entry row";
                    f.AddCircuit(L"R" + std::to_wstring(step), L"", L"2");
                    break;
                case 3:
                    what = "insert";
                    f.Load().SetFocusCell(row, 3);
                    f.dlg->OnInsertRow(GridId::Load);
                    break;
                case 4:
                    what = "delete key";
                    f.Load().SetSelectedRange(row, 1, row, 5);
                    f.ui.boxAnswers.push_back(IDYES);
                    f.dlg->OnDeleteKey(GridId::Load);
                    break;
                case 5: {
                    what = "owner";
                    if (shown > 0) {
                        const CBoardArray& boards = f.dlg->GetBoards();
                        f.Own(row, {boards[pick(boards.GetSize())].m_strName});
                    }
                    break;
                }
                case 6:
                    what = "cut";
                    if (shown > 0) {
                        f.SelectRows(GridId::Load, row, row);
                        f.PickFromMenu(GridId::Load, row, 1,
                                       pick(2) == 0 ? res::ID_LOAD_CUT : res::ID_LOAD_COPY);
                    }
                    break;
                case 7:
                    what = "paste";
                    f.Load().SetFocusCell(row, 1);
                    f.PickFromMenu(GridId::Load, row, 1, res::ID_LOAD_PASTE);
                    break;
                case 8:
                    what = "undo";
                    f.dlg->OnEditUndo();
                    break;
                default:
                    what = "redo";
                    f.dlg->OnEditRedo();
                    break;
            }
            ExpectView(f, "seed " + std::to_string(seed) + " step " + std::to_string(step) + " (" +
                              what + ")");
            if (HasFailure()) {
                return;
            }
        }
    }
}

namespace {

/// The board and transformer grids show every column of their tables that
/// they hold, each cell the record's field.
void ExpectGroupGrids(DialogFixture& f, const std::string& when)
{
    const CLoadCalDocument& doc = f.dlg->GetDocument();
    const CGridCtrl& boards = f.Boards();
    for (int b = 0; b < doc.boards.GetSize(); ++b) {
        for (int c = 1; c < boards.GetColumnCount(); ++c) {
            ASSERT_EQ(boards.GetItemText(b + 1, c),
                      doc.boards[b].AnyFieldAt(kBoardGridColumns[static_cast<size_t>(c - 1)].field))
                << "board " << b << " column " << c << " " << when;
        }
    }
    const CGridCtrl& ts = f.Transformers();
    for (int t = 0; t < doc.transformers.GetSize(); ++t) {
        for (int c = 1; c < ts.GetColumnCount(); ++c) {
            ASSERT_EQ(Trim(ts.GetItemText(t + 1, c)),
                      doc.transformers[t].AnyFieldAt(
                          kTransformerGridColumns[static_cast<size_t>(c - 1)].field))
                << "transformer " << t << " column " << c << " " << when;
        }
    }
}

int ColumnTitled(const CGridCtrl& g, std::wstring_view title)
{
    for (int c = 1; c < g.GetColumnCount(); ++c) {
        if (g.GetItemText(0, c) == title) {
            return c;
        }
    }
    return -1;
}

}  // namespace

// A document without fire roles shows the board and transformer grids as
// they always were; one with fire roles shows the fire case beside the
// normal one, with the case that governs. In the boards example the fire
// case governs 2#变压器: S2 in a fire 275.203 kVA / 0.7 takes it to 400 kVA
// where its normal case alone took 315.
TEST(FireColumns, OnlyADocumentWithFireRolesShowsTheFireCase)
{
    DialogFixture f;
    f.ui.openAnswers.push_back(
        FromUtf8(std::string(LOADCAL_SOURCE_DIR) + "/examples/office-building.LDC"));
    f.dlg->OnFileOpen();
    f.ui.boxAnswers.clear();
    EXPECT_FALSE(f.dlg->ShowsFireColumns());
    EXPECT_EQ(f.Boards().GetColumnCount(), static_cast<int>(kBoardColumns.size()) + 1);
    EXPECT_EQ(f.Transformers().GetColumnCount(), static_cast<int>(kTransformerColumns.size()) + 1);

    DialogFixture g;
    OpenBoardsExample(g);
    EXPECT_TRUE(g.dlg->ShowsFireColumns());
    EXPECT_EQ(g.Boards().GetColumnCount(), static_cast<int>(kBoardGridColumns.size()) + 1);
    EXPECT_EQ(g.Transformers().GetColumnCount(),
              static_cast<int>(kTransformerGridColumns.size()) + 1);
    ExpectGroupGrids(g, "the boards example");
    const int governs = ColumnTitled(g.Transformers(), L"取值工况");
    const int fireS = ColumnTitled(g.Transformers(), L"火灾视在功率(kVA)");
    ASSERT_GT(governs, 0);
    ASSERT_GT(fireS, 0);
    EXPECT_EQ(g.Transformers().GetItemText(2, 1), L"2#变压器");
    EXPECT_EQ(g.Transformers().GetItemText(2, governs), L"火灾");
    EXPECT_EQ(g.Transformers().GetItemText(2, fireS), L"275.203");
    EXPECT_EQ(g.Transformers().GetItemText(2, 2), L"400");
    // The fire pump board runs only in a fire: nothing in normal operation.
    const int xf = BoardIndex(g.dlg->GetDocument(), L"AP-XF") + 1;
    EXPECT_EQ(g.Boards().GetItemText(xf, ColumnTitled(g.Boards(), L"计算有功(kW)")), L"0");
    EXPECT_EQ(g.Boards().GetItemText(xf, ColumnTitled(g.Boards(), L"取值工况")), L"火灾");
    EXPECT_NE(g.Boards().GetItemText(xf, ColumnTitled(g.Boards(), L"火灾计算有功(kW)")), L"0");
}

// The first fire role typed brings the fire columns with their figures; its
// undo takes them away again, redo brings them back, and an edit while they
// show keeps them right.
TEST(FireColumns, TheFirstFireRoleBringsThemAndUndoTakesThemAway)
{
    DialogFixture f;
    f.ui.openAnswers.push_back(
        FromUtf8(std::string(LOADCAL_SOURCE_DIR) + "/examples/office-building.LDC"));
    f.dlg->OnFileOpen();
    f.ui.boxAnswers.clear();
    ASSERT_FALSE(f.dlg->ShowsFireColumns());
    const int fireColumn = GridColumnOfField(GridId::Load, CLoadCalData::kFire);
    f.Type(GridId::Load, 1, fireColumn, L"消防");
    EXPECT_TRUE(f.dlg->ShowsFireColumns());
    ExpectGroupGrids(f, "after the first role");
    const int governs = ColumnTitled(f.Transformers(), L"取值工况");
    ASSERT_GT(governs, 0);
    EXPECT_FALSE(f.Transformers().GetItemText(1, governs).empty());

    f.Type(GridId::Load, 2, kPowerColumn, L"99");
    ExpectGroupGrids(f, "after an edit");
    f.dlg->OnEditUndo();
    f.dlg->OnEditUndo();
    EXPECT_FALSE(f.dlg->ShowsFireColumns());
    EXPECT_EQ(f.Transformers().GetColumnCount(), static_cast<int>(kTransformerColumns.size()) + 1);
    ExpectGroupGrids(f, "after undo");
    f.dlg->OnEditRedo();
    EXPECT_TRUE(f.dlg->ShowsFireColumns());
    ExpectGroupGrids(f, "after redo");
}

// A board fed from both transformers shows under each; a click on its
// second place keeps that place current (the window is not sent back to the
// first), and the view is the board's either way.
TEST(SupplyView, ADualFedBoardClickedUnderEitherTransformer)
{
    DialogFixture f;
    OpenBoardsExample(f);
    const std::vector<CSupplyNode>& nodes = f.dlg->GetSupplyTree().Nodes();
    std::vector<int> places;
    for (size_t n = 0; n < nodes.size(); ++n) {
        if (nodes[n].kind == SupplyNodeKind::Board && nodes[n].name == L"AP-DT") {
            places.push_back(static_cast<int>(n));
        }
    }
    ASSERT_EQ(places.size(), 2u);
    const int shows = f.ui.treeShows;
    ClickNode(f, places[1]);
    EXPECT_EQ(f.ui.treeShows, shows);
    EXPECT_EQ(f.dlg->GetSupplyNode(), places[1]);
    EXPECT_EQ(f.dlg->ShownLoadCount(), 3);
    // An edit keeps the place clicked current.
    f.Type(GridId::Load, 1, kPowerColumn, L"25");
    EXPECT_EQ(f.ui.treeShows, shows);
    EXPECT_EQ(f.dlg->GetSupplyNode(), places[1]);
    ClickNode(f, places[0]);
    EXPECT_EQ(f.dlg->ShownLoadCount(), 3);
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->ShownLoadCount(), 3);
    EXPECT_EQ(f.dlg->GetSupplyFilter().name, L"AP-DT");
}
