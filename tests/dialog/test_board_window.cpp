// The window's arithmetic follows the document: circuits, boards and
// transformers under the document's rule set, kept right edit by edit
// through the controller, through undo and redo, and shown in the grids.

#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "dialog/LoadCalResources.h"
#include "dialog/LoadCalTexts.h"
#include "document/Archive.h"
#include "document/InterDpData.h"
#include "model/BoardChecks.h"
#include "model/Calculation.h"
#include "model/Checks.h"
#include "model/Numeric.h"
#include "model/Text.h"
#include "tests/dialog/ScriptedUi.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;
using namespace loadcal::test;

namespace {

/// The first record where two documents differ, as a readable line; empty
/// when they are equal.
template <class Record>
std::string FirstDifference(const char* what, const CArray<Record>& got, const CArray<Record>& want)
{
    if (got.GetSize() != want.GetSize()) {
        return std::string(what) + ": " + std::to_string(got.GetSize()) + " records, expected " +
               std::to_string(want.GetSize());
    }
    for (int i = 0; i < got.GetSize(); ++i) {
        for (int f = 0; f < Record::kFieldCount; ++f) {
            if (got[i].FieldAt(f) != want[i].FieldAt(f)) {
                std::ostringstream out;
                out << what << " " << i << " field " << f << ": \"" << ToUtf8(got[i].FieldAt(f))
                    << "\", expected \"" << ToUtf8(want[i].FieldAt(f)) << "\"";
                return out.str();
            }
        }
    }
    return {};
}

std::string Difference(const CLoadCalDocument& got, const CLoadCalDocument& want)
{
    std::string d = FirstDifference("circuit", got.loads, want.loads);
    if (d.empty()) {
        d = FirstDifference("board", got.boards, want.boards);
    }
    if (d.empty()) {
        d = FirstDifference("transformer", got.transformers, want.transformers);
    }
    if (d.empty() && !(got == want)) {
        d = "documents differ beyond their records";
    }
    return d;
}

/// Warnings as lines of subject, record, field and text.
std::string WarningsText(const CCheckWarnings& warnings)
{
    std::string text;
    for (const CCheckWarning& w : warnings) {
        text += std::to_string(static_cast<int>(w.subject)) + " " + std::to_string(w.index) + " " +
                std::to_string(w.field) + " " + ToUtf8(w.text) + "\n";
    }
    return text;
}

/// The dialog's document is what a whole recalculation of its own records
/// gives, and the grids show it: every board and transformer cell, the
/// circuits' computed cells and the total row.
void ExpectFollowsTheDocument(DialogFixture& f, const std::string& step)
{
    const CLoadCalDocument& doc = f.dlg->GetDocument();
    CLoadCalDocument whole = doc;
    const SummaryTotals totals = RecalculateDocument(whole);
    ASSERT_EQ(Difference(doc, whole), "") << "after " << step;

    // The warnings the grids mark are the document's checks as they stand.
    CCheckWarnings checks = CheckCircuits(doc);
    for (const CCheckWarnings& more : {CheckTransformers(doc), CheckBoards(doc)}) {
        checks.insert(checks.end(), more.begin(), more.end());
    }
    ASSERT_EQ(WarningsText(f.dlg->GetWarnings()), WarningsText(checks)) << "after " << step;

    const CGridCtrl& boards = f.dlg->GetGrid(GridId::Board);
    ASSERT_EQ(boards.GetRowCount(), doc.boards.GetSize() + 2) << step;
    for (int i = 0; i < doc.boards.GetSize(); ++i) {
        for (size_t c = 0; c < kBoardColumns.size(); ++c) {
            ASSERT_EQ(Trim(boards.GetItemText(i + 1, static_cast<int>(c) + 1)),
                      doc.boards[i].FieldAt(kBoardColumns[c].field))
                << "board " << i << " column " << c + 1 << " after " << step;
        }
    }
    const CGridCtrl& ts = f.dlg->GetGrid(GridId::Transformer);
    for (int i = 0; i < doc.transformers.GetSize(); ++i) {
        for (size_t c = 0; c < kTransformerColumns.size(); ++c) {
            ASSERT_EQ(Trim(ts.GetItemText(i + 1, static_cast<int>(c) + 1)),
                      doc.transformers[i].FieldAt(kTransformerColumns[c].field))
                << "transformer " << i << " column " << c + 1 << " after " << step;
        }
    }
    const CGridCtrl& loads = f.Load();
    for (int i = 0; i < doc.loads.GetSize(); ++i) {
        for (size_t c = 0; c < kLoadColumns.size(); ++c) {
            if (kLoadColumns[c].kind == ColumnKind::Computed) {
                ASSERT_EQ(loads.GetItemText(i + 1, static_cast<int>(c) + 1),
                          doc.loads[i].FieldAt(kLoadColumns[c].field))
                    << "circuit " << i << " column " << c + 1 << " after " << step;
            }
        }
    }
    const int total = loads.GetRowCount() - 1;
    EXPECT_EQ(loads.GetItemText(total, 9), totals.active) << step;
    EXPECT_EQ(loads.GetItemText(total, 10), totals.reactive) << step;
    EXPECT_EQ(loads.GetItemText(total, 5), totals.installed) << step;
    EXPECT_EQ(loads.GetItemText(total, 12), totals.current) << step;
}

/// Random edits a designer makes, each through the controller as the window
/// makes it. Every step is followed by the check; undo and redo must give
/// back exactly the documents before and after the step they take.
class RandomEditor {
public:
    RandomEditor(DialogFixture& f, std::mt19937& rng) : m_f(f), m_rng(rng) {}

    /// One random edit; returns its description.
    std::string Step()
    {
        const CLoadCalDocument& doc = m_f.dlg->GetDocument();
        const int n = doc.loads.GetSize();
        const int m = doc.transformers.GetSize();
        const int kind = Pick(14);
        const int row = n > 0 ? 1 + Pick(n) : 1;
        switch (kind) {
            case 0:
            case 1: {
                const std::wstring power = FormatG(0.5 + Pick(400) / 4.0);
                m_f.Type(GridId::Load, row, 5, power);
                return "rated power of circuit " + std::to_string(row);
            }
            case 2: {
                const wchar_t* factors[] = {L"0.5", L"0.75", L"1", L"0.9", L""};
                m_f.Type(GridId::Load, row, Pick(2) == 0 ? 7 : 8, factors[Pick(5)]);
                return "a factor of circuit " + std::to_string(row);
            }
            case 3: {
                m_f.Type(GridId::Load, row, 4,
                         std::wstring(kPhaseTexts[static_cast<size_t>(Pick(4))]));
                return "phase of circuit " + std::to_string(row);
            }
            case 4: {
                if (n == 0) {
                    return "nothing";
                }
                const std::vector<std::wstring> owners = RandomOwners();
                m_f.Own(row, owners);
                return "owners of circuit " + std::to_string(row);
            }
            case 5: {
                if (m == 0) {
                    return "nothing";
                }
                const int t = 1 + Pick(m);
                const wchar_t* factors[] = {L"0.8", L"0.95", L"0.7", L"1"};
                const int cols[] = {4, 5, 6, 11, 12, 14};
                m_f.Type(GridId::Transformer, t, cols[Pick(6)], factors[Pick(4)]);
                return "a factor of transformer " + std::to_string(t);
            }
            case 6: {
                if (m == 0) {
                    return "nothing";
                }
                const int t = 1 + Pick(m);
                if (Pick(4) == 0) {
                    m_f.Transformers().SetFocusCell(t, 1);
                    m_f.dlg->OnInsertRow(GridId::Transformer);
                    return "插入 of a transformer at row " + std::to_string(t);
                }
                m_f.Type(GridId::Transformer, t, 1, L"T" + std::to_wstring(++m_nNames) + L"x");
                return "rename of transformer " + std::to_string(t);
            }
            case 7: {
                m_f.AddCircuit(L"新回路", std::wstring(kPhaseTexts[static_cast<size_t>(Pick(4))]),
                               L"7.5");
                const int added = m_f.dlg->GetLoads().GetSize();
                m_f.Own(added, RandomOwners());
                return "new circuit";
            }
            case 8: {
                if (n < 2) {
                    return "nothing";
                }
                const int last = std::min(n, row + Pick(3));
                m_f.ui.boxAnswers.push_back(IDYES);
                m_f.SelectRows(GridId::Load, row, last);
                m_f.dlg->OnDeleteRows(GridId::Load);
                m_f.ui.boxAnswers.clear();
                return "delete of circuits " + std::to_string(row) + ".." + std::to_string(last);
            }
            case 9: {
                if (n < 2) {
                    return "nothing";
                }
                m_f.SelectRows(GridId::Load, row, row);
                m_f.dlg->OnCopyRows(GridId::Load);
                // Not on the second-to-last circuit, where the rows shown and
                // the records' order part on purpose.
                int target = 1 + Pick(n);
                target = target == n - 1 ? n + 1 : target;
                m_f.Load().SetFocusCell(target, 1);
                m_f.dlg->OnPasteRows(GridId::Load);
                return "copy and paste of circuit " + std::to_string(row);
            }
            default:
                return boardSteps ? ExtraStep() : std::string("nothing");
        }
    }

    /// Edits of the board grid.
    std::string ExtraStep()
    {
        const CBoardArray& boards = m_f.dlg->GetBoards();
        const int b = boards.GetSize();
        const int row = b > 0 ? 1 + Pick(b) : 1;
        switch (Pick(8)) {
            case 0: {
                const wchar_t* factors[] = {L"0.8", L"0.95", L"1", L"0.85"};
                m_f.Type(GridId::Board, row, Pick(2) == 0 ? 4 : 5, factors[Pick(4)]);
                return "a factor of board " + std::to_string(row);
            }
            case 1: {
                m_f.Type(GridId::Board, row, 2,
                         std::wstring(kPhaseTexts[static_cast<size_t>(Pick(4))]));
                return "phase of board " + std::to_string(row);
            }
            case 2: {
                // Owners may close a ring: then the edit is refused.
                if (b < 1) {
                    return "nothing";
                }
                m_f.OwnBoard(row, RandomOwners());
                return "owners of board " + std::to_string(row);
            }
            case 3: {
                m_f.Type(GridId::Board, row, 1, L"AP-" + std::to_wstring(++m_nNames));
                return "rename of board " + std::to_string(row);
            }
            case 4: {
                if (Pick(2) == 0) {
                    m_f.AddBoard(L"NEW-" + std::to_wstring(++m_nNames));
                    m_f.OwnBoard(m_f.dlg->GetBoards().GetSize(), RandomOwners());
                    return "new board";
                }
                const int at = 1 + Pick(b + 1);
                m_f.Boards().SetFocusCell(at, 1);
                m_f.dlg->OnInsertRow(GridId::Board);
                m_f.OwnBoard(at, RandomOwners());
                return "插入 of a board at row " + std::to_string(at);
            }
            case 5: {
                if (b < 1) {
                    return "nothing";
                }
                const int last = std::min(b, row + Pick(2));
                m_f.ui.boxAnswers.push_back(IDYES);
                m_f.SelectRows(GridId::Board, row, last);
                m_f.dlg->OnDeleteRows(GridId::Board);
                m_f.ui.boxAnswers.clear();
                return "delete of boards " + std::to_string(row) + ".." + std::to_string(last);
            }
            case 6: {
                // Delete on a K∑p cell clears it.
                m_f.Boards().SetSelectedRange(row, 4, row, 4);
                m_f.dlg->OnDeleteKey(GridId::Board);
                return "K∑p of board " + std::to_string(row) + " cleared";
            }
            default: {
                if (b < 1) {
                    return "nothing";
                }
                m_f.SelectRows(GridId::Board, row, row);
                if (Pick(2) == 0) {
                    m_f.dlg->OnCutRows(GridId::Board);
                } else {
                    m_f.dlg->OnCopyRows(GridId::Board);
                }
                int target = 1 + Pick(b + 1);
                target = target == b - 1 ? b + 1 : target;
                m_f.Boards().SetFocusCell(target, 1);
                m_f.dlg->OnPasteRows(GridId::Board);
                return "row paste of board " + std::to_string(row);
            }
        }
    }

    int Pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_rng); }

    /// A random set of owner names the choice list offers.
    std::vector<std::wstring> RandomOwners()
    {
        const std::vector<std::wstring> names = OfferedNames();
        std::vector<std::wstring> owners;
        if (names.empty()) {
            return owners;
        }
        owners.push_back(names[static_cast<size_t>(Pick(static_cast<int>(names.size())))]);
        if (Pick(5) == 0) {
            const std::wstring& second =
                names[static_cast<size_t>(Pick(static_cast<int>(names.size())))];
            if (second != owners[0]) {
                owners.push_back(second);
            }
        }
        return owners;
    }

    /// The names the choice list offers, as it offers them.
    std::vector<std::wstring> OfferedNames()
    {
        if (m_f.dlg->GetLoads().GetSize() == 0) {
            return {};
        }
        m_f.ui.choiceAnswers.push_back(std::nullopt);
        m_f.dlg->OnGridClick(GridId::Load, 1, 13);
        return m_f.ui.choices.empty() ? std::vector<std::wstring>{} : m_f.ui.choices.back().names;
    }

    bool boardSteps = true;  ///< edits of the board grid among the steps
    DialogFixture& m_f;
    std::mt19937& m_rng;
    int m_nNames = 0;
};

/// Runs random edits on a document shown in the dialog, checking every step
/// against a whole recalculation, and undo and redo against the documents
/// the step began and ended with.
void EditAtRandom(DialogFixture& f, RandomEditor& editor, int steps)
{
    ExpectFollowsTheDocument(f, "opening");
    for (int s = 0; s < steps && !::testing::Test::HasFatalFailure(); ++s) {
        const CLoadCalDocument before = f.dlg->GetDocument();
        const size_t undoable = f.dlg->GetHistory().GetUndoCount();
        const std::string step = editor.Step();
        ExpectFollowsTheDocument(f, step);
        // A step may be several commands (a new circuit and its owners).
        const size_t commands = f.dlg->GetHistory().GetUndoCount() - undoable;
        if (editor.Pick(4) == 0 && commands > 0 && !(before == f.dlg->GetDocument())) {
            const CLoadCalDocument after = f.dlg->GetDocument();
            for (size_t k = 0; k < commands; ++k) {
                f.dlg->OnEditUndo();
            }
            ASSERT_EQ(Difference(f.dlg->GetDocument(), before), "") << "undo of " << step;
            ExpectFollowsTheDocument(f, "undo of " + step);
            for (size_t k = 0; k < commands; ++k) {
                f.dlg->OnEditRedo();
            }
            ASSERT_EQ(Difference(f.dlg->GetDocument(), after), "") << "redo of " << step;
            ExpectFollowsTheDocument(f, "redo of " + step);
        }
    }
}

CLoadCalDocument RandomBoardDocument(std::mt19937& rng, CalcRules rules)
{
    testsupport::RandomBoardOptions opt;
    opt.circuits = 120;
    opt.boards = 24;
    opt.transformers = 3;
    opt.levels = 4;
    opt.rules = rules;
    CLoadCalDocument doc;
    testsupport::MakeRandomBoardDocument(rng, opt, doc);
    RecalculateDocument(doc);
    return doc;
}

}  // namespace

TEST(BoardWindow, RandomEditsOfBoardDocumentsFollowAWholeRecalculationUnderEitherRules)
{
    for (const CalcRules rules : {CalcRules::GB51348_2019, CalcRules::Original}) {
        for (unsigned seed = 1; seed <= 3 && !HasFatalFailure(); ++seed) {
            SCOPED_TRACE("rules " + ToUtf8(RulesName(rules)) + ", seed " + std::to_string(seed));
            std::mt19937 rng(seed);
            DialogFixture f;
            f.dlg->ShowDocument(RandomBoardDocument(rng, rules));
            RandomEditor editor(f, rng);
            EditAtRandom(f, editor, 60);
        }
    }
}

TEST(BoardWindow, ADocumentWithoutBoardsUnderTheOriginalRulesComputesAsTheOriginalArithmetic)
{
    // The original arithmetic on the two lists alone (every circuit, then
    // every transformer by its name) is what the window keeps, edit by edit.
    for (unsigned seed = 11; seed <= 13 && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 rng(seed);
        CLoadCalDocument doc;
        testsupport::MakeRandomDocument(rng, {120, 4, 0.1}, doc.loads, doc.transformers);
        RecalculateDocument(doc.loads, doc.transformers);
        DialogFixture f;
        f.dlg->ShowDocument(doc);
        RandomEditor editor(f, rng);
        editor.boardSteps = false;
        for (int s = 0; s < 40 && !HasFatalFailure(); ++s) {
            const std::string step = editor.Step();
            CLoadArray loads = f.dlg->GetLoads();
            CTransformerArray transformers = f.dlg->GetTransformers();
            const SummaryTotals totals = RecalculateDocument(loads, transformers);
            ASSERT_EQ(FirstDifference("circuit", f.dlg->GetLoads(), loads), "") << step;
            ASSERT_EQ(FirstDifference("transformer", f.dlg->GetTransformers(), transformers), "")
                << step;
            const int total = f.Load().GetRowCount() - 1;
            ASSERT_EQ(f.Load().GetItemText(total, 9), totals.active) << step;
            ASSERT_EQ(f.Load().GetItemText(total, 5), totals.installed) << step;
        }
    }
}

TEST(BoardWindow, TheBoardsExampleOpensWithoutAStaleQuestionAndAFloorCircuitMovesItsChain)
{
    DialogFixture f;
    const std::wstring path =
        FromUtf8(std::string(LOADCAL_SOURCE_DIR) + "/examples/office-building-boards.LDC");
    f.ui.openAnswers.push_back(path);
    f.dlg->OnFileOpen();
    ASSERT_EQ(f.dlg->GetFilePath(), path);
    // Its figures are those of its own rules and boards: no recalculation
    // is offered, and 全部重算 changes nothing.
    EXPECT_TRUE(f.ui.boxes.empty()) << ToUtf8(f.ui.boxes.front().text);
    EXPECT_FALSE(f.dlg->HasStaleFigures());
    f.dlg->OnRecalculateAll();
    EXPECT_FALSE(f.dlg->CanUndo());
    ExpectFollowsTheDocument(f, "opening");

    const CLoadCalDocument& doc = f.dlg->GetDocument();
    const auto boardNamed = [&doc](const wchar_t* name) {
        for (int b = 0; b < doc.boards.GetSize(); ++b) {
            if (doc.boards[b].m_strName == name) {
                return b;
            }
        }
        return -1;
    };
    int wl1 = -1;
    for (int i = 0; i < doc.loads.GetSize(); ++i) {
        wl1 = doc.loads[i].m_strCircuitNo == L"WL1" ? i : wl1;
    }
    ASSERT_GE(wl1, 0);
    const int floor = boardNamed(L"1AL");
    const int riser = boardNamed(L"ALZ1");
    ASSERT_GE(floor, 0);
    ASSERT_GE(riser, 0);
    const std::wstring floorP = doc.boards[floor].m_strCalcP;
    const std::wstring riserP = doc.boards[riser].m_strCalcP;
    const std::wstring transformerP = doc.transformers[0].m_strCalcP;
    const std::wstring totalP = f.Load().GetItemText(f.Load().GetRowCount() - 1, 9);

    // 一层照明 from 8 kW to 20 kW: the floor board, its riser, 1# and the
    // totals follow, each as the whole document's recalculation has it.
    f.Type(GridId::Load, wl1 + 1, 5, L"20");
    EXPECT_NE(doc.boards[floor].m_strCalcP, floorP);
    EXPECT_NE(doc.boards[riser].m_strCalcP, riserP);
    EXPECT_NE(doc.transformers[0].m_strCalcP, transformerP);
    EXPECT_NE(f.Load().GetItemText(f.Load().GetRowCount() - 1, 9), totalP);
    ExpectFollowsTheDocument(f, "WL1 at 20 kW");

    f.dlg->OnEditUndo();
    EXPECT_EQ(doc.boards[floor].m_strCalcP, floorP);
    EXPECT_EQ(doc.boards[riser].m_strCalcP, riserP);
    EXPECT_EQ(doc.transformers[0].m_strCalcP, transformerP);
    EXPECT_FALSE(f.dlg->IsModified());
    ExpectFollowsTheDocument(f, "undo");
}

TEST(BoardWindow, RecalculateAllPutsStaleBoardFiguresRightAsOneStep)
{
    std::mt19937 rng(5);
    CLoadCalDocument doc = RandomBoardDocument(rng, CalcRules::GB51348_2019);
    const CLoadCalDocument right = doc;
    // Figures as an older program or a hand edit left them.
    doc.boards[0].m_strCalcP = L"1";
    doc.transformers[0].m_strCalcP = L"2";
    doc.loads[0].m_strCalcI = L"";
    DialogFixture f;
    f.dlg->ShowDocument(doc);
    ASSERT_TRUE(f.dlg->HasStaleFigures());
    f.dlg->OnRecalculateAll();
    EXPECT_EQ(Difference(f.dlg->GetDocument(), right), "");
    EXPECT_FALSE(f.dlg->HasStaleFigures());
    ExpectFollowsTheDocument(f, "全部重算");
    f.dlg->OnEditUndo();
    EXPECT_EQ(Difference(f.dlg->GetDocument(), doc), "");
}

namespace {

/// A riser AP1 under T1 with a floor board AP2 under it, a circuit on each
/// and one straight on T1, all through the grids.
void SmallTree(DialogFixture& f)
{
    f.AddTransformer(L"T1");
    f.AddTransformer(L"T2");
    f.AddBoard(L"AP1");
    f.AddBoard(L"AP2");
    f.OwnBoard(1, {L"T1"});
    f.OwnBoard(2, {L"AP1"});
    f.AddCircuit(L"水泵", L"", L"30");
    f.AddCircuit(L"照明", L"L2,N", L"8");
    f.AddCircuit(L"风机", L"", L"11");
    f.Own(1, {L"AP1"});
    f.Own(2, {L"AP2"});
    f.Own(3, {L"T1"});
}

}  // namespace

TEST(BoardGrid, TheEntryRowMakesABoardWithTheDefaultsAndItsFiguresFollowItsMembers)
{
    DialogFixture f;
    SmallTree(f);
    const CBoardArray& boards = f.dlg->GetBoards();
    ASSERT_EQ(boards.GetSize(), 2);
    EXPECT_EQ(boards[0].m_strPhase, kPhaseThree);
    EXPECT_EQ(boards[0].m_strKp, CBoardCalData().m_strKp);
    EXPECT_EQ(boards[0].m_strKq, CBoardCalData().m_strKq);
    EXPECT_EQ(f.Boards().GetRowCount(), 4);  // titles, two boards, the entry row
    EXPECT_EQ(f.Boards().GetItemText(3, 1), L"");
    // AP2 (three-phase) holds the 8 kW lighting circuit on L2 alone (Kx
    // 1.0): the 15 % rule takes three times that phase, ΣPe 24, Pjs = 0.9 x 24.
    EXPECT_EQ(boards[1].m_strRatedPower, L"24");
    EXPECT_EQ(boards[1].m_strCalcP, L"21.6");
    // AP1 holds the 30 kW pump and AP2: ΣPe 54.
    EXPECT_EQ(boards[0].m_strRatedPower, L"54");
    ExpectFollowsTheDocument(f, "the small tree");

    // K∑p of the riser: its figures and T1's follow, and undo puts them back.
    const std::wstring t1 = f.dlg->GetTransformers()[0].m_strCalcP;
    f.Type(GridId::Board, 1, 4, L"0.8");
    EXPECT_EQ(boards[0].m_strCalcP, FormatG(0.8 * (30 * 1.0 + 21.6)));
    EXPECT_NE(f.dlg->GetTransformers()[0].m_strCalcP, t1);
    ExpectFollowsTheDocument(f, "K∑p 0.8");
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetTransformers()[0].m_strCalcP, t1);
    ExpectFollowsTheDocument(f, "undo");
}

TEST(BoardGrid, ARenameIsCarriedIntoTheOwnerListsOfCircuitsAndBoards)
{
    DialogFixture f;
    SmallTree(f);
    f.Type(GridId::Board, 1, 1, L"ALZ1");
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"ALZ1");
    EXPECT_EQ(f.dlg->GetBoards()[1].m_strOwner, L"ALZ1");
    EXPECT_EQ(f.Load().GetItemText(1, 13), L"ALZ1");
    EXPECT_EQ(f.Boards().GetItemText(2, 11), L"ALZ1");
    ExpectFollowsTheDocument(f, "rename");
    // A transformer's rename reaches the boards' lists too.
    f.Type(GridId::Transformer, 1, 1, L"1#");
    EXPECT_EQ(f.dlg->GetBoards()[0].m_strOwner, L"1#");
    EXPECT_EQ(f.Boards().GetItemText(1, 11), L"1#");
    ExpectFollowsTheDocument(f, "transformer rename");
    f.dlg->OnEditUndo();
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetBoards()[1].m_strOwner, L"AP1");
    EXPECT_EQ(f.dlg->GetBoards()[0].m_strOwner, L"T1");
    EXPECT_EQ(f.Boards().GetItemText(2, 11), L"AP1");
    ExpectFollowsTheDocument(f, "undo of both");
}

TEST(BoardGrid, NamesTakenAcrossBoardsAndTransformersOrWithACommaAreRefused)
{
    DialogFixture f;
    SmallTree(f);
    const CLoadCalDocument before = f.dlg->GetDocument();
    const size_t steps = f.dlg->GetHistory().GetUndoCount();
    const struct {
        GridId grid;
        int row;
        const wchar_t* name;
        std::wstring_view message;
    } refused[] = {
        {GridId::Board, 2, L"ap1", texts::kDuplicateBoard},
        {GridId::Board, 2, L"t2", texts::kNameOfTransformer},
        {GridId::Board, 3, L"AP2", texts::kDuplicateBoard},  // the entry row
        {GridId::Board, 1, L"AP1,AP3", texts::kCommaInBoardName},
        {GridId::Board, 1, L"  ", texts::kBlankBoardName},
        {GridId::Transformer, 2, L"Ap2", texts::kNameOfBoard},
        {GridId::Transformer, 3, L"AP1", texts::kNameOfBoard},
    };
    for (const auto& r : refused) {
        f.ui.boxes.clear();
        f.Type(r.grid, r.row, 1, r.name);
        ASSERT_EQ(f.ui.boxes.size(), 1U) << ToUtf8(r.name);
        EXPECT_EQ(f.ui.boxes[0].text, r.message) << ToUtf8(r.name);
        EXPECT_EQ(f.ui.boxes[0].caption, texts::kNoticeCaption);
        const CGridCtrl& g = f.dlg->GetGrid(r.grid);
        const std::wstring kept = r.row > 2 ? std::wstring()
                                  : r.grid == GridId::Board
                                      ? before.boards[r.row - 1].m_strName
                                      : before.transformers[r.row - 1].m_strName;
        EXPECT_EQ(g.GetItemText(r.row, 1), kept) << ToUtf8(r.name);
    }
    // Except for a board's own name in another letter case.
    f.Type(GridId::Board, 1, 1, L"ap1");
    EXPECT_EQ(f.dlg->GetBoards()[0].m_strName, L"ap1");
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetDocument(), before);
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), steps);
}

TEST(BoardGrid, AnEditThatClosesARingOfBoardsIsRefusedNamingTheBoards)
{
    DialogFixture f;
    SmallTree(f);
    f.AddBoard(L"AP3");
    f.OwnBoard(3, {L"AP2"});
    const CLoadCalDocument before = f.dlg->GetDocument();

    // AP1 under AP3 would make AP1 → AP3 → AP2 → AP1.
    f.ui.boxes.clear();
    f.OwnBoard(1, {L"AP3"});
    ASSERT_EQ(f.ui.boxes.size(), 1U);
    EXPECT_EQ(f.ui.boxes[0].text,
              texts::FormatText(texts::kBoardCycleFormat, L"AP1 → AP3 → AP2 → AP1"));
    EXPECT_EQ(f.dlg->GetDocument(), before);
    EXPECT_EQ(f.Boards().GetItemText(1, 11), L"T1");

    // A board's list never offers the board itself, and offers the boards
    // first, then the transformers.
    const auto& shown = f.ui.choices.back();
    EXPECT_EQ(shown.grid, GridId::Board);
    EXPECT_EQ(shown.names, (std::vector<std::wstring>{L"AP2", L"AP3", L"T1", L"T2"}));
    EXPECT_EQ(shown.boardCount, 2U);
    EXPECT_EQ(shown.marks, (std::vector<bool>{false, false, true, false}));

    // A board named as another board's dangling owner closes the ring too:
    // AP1 owned by "X", then AP3 renamed X.
    f.OwnBoard(1, {L"AP2"});  // AP1 → AP2 → AP1 at once
    EXPECT_EQ(f.ui.boxes.back().text,
              texts::FormatText(texts::kBoardCycleFormat, L"AP1 → AP2 → AP1"));
    EXPECT_EQ(f.dlg->GetDocument(), before);

    // A circuit's list offers the boards and the transformers in two groups.
    f.Own(1, {L"AP3"});
    EXPECT_EQ(f.ui.choices.back().grid, GridId::Load);
    EXPECT_EQ(f.ui.choices.back().names,
              (std::vector<std::wstring>{L"AP1", L"AP2", L"AP3", L"T1", L"T2"}));
    EXPECT_EQ(f.ui.choices.back().boardCount, 3U);
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"AP3");
    ExpectFollowsTheDocument(f, "a circuit on AP3");
}

TEST(BoardGrid, ARenameThatClosesARingIsRefused)
{
    // AP1's owner list names "X", which nothing is yet (a file may say so);
    // AP2 hangs from AP1. Renaming AP2 to X would make AP1 and AP2 own each
    // other.
    CLoadCalDocument doc;
    CBoardCalData ap1;
    ap1.m_strName = L"AP1";
    ap1.m_strOwner = L"X";
    CBoardCalData ap2;
    ap2.m_strName = L"AP2";
    ap2.m_strOwner = L"AP1";
    doc.boards.Add(ap1);
    doc.boards.Add(ap2);
    RecalculateDocument(doc);
    DialogFixture f;
    f.dlg->ShowDocument(doc);
    f.Type(GridId::Board, 2, 1, L"x");
    ASSERT_EQ(f.ui.boxes.size(), 1U);
    EXPECT_EQ(f.ui.boxes[0].text, texts::FormatText(texts::kBoardCycleFormat, L"x → AP1 → x"));
    EXPECT_EQ(f.dlg->GetDocument(), doc);
    EXPECT_EQ(f.Boards().GetItemText(2, 1), L"AP2");
    EXPECT_FALSE(f.dlg->CanUndo());
    // Another name is fine.
    f.Type(GridId::Board, 2, 1, L"AL2");
    EXPECT_EQ(f.dlg->GetBoards()[1].m_strName, L"AL2");
    ExpectFollowsTheDocument(f, "rename to AL2");
}

TEST(BoardGrid, DeletingBoardsAsksForSeveralAndTakesThemOutOfTheOwnerLists)
{
    DialogFixture f;
    SmallTree(f);
    f.SelectRows(GridId::Board, 1, 2);
    f.ui.boxAnswers.push_back(IDNO);
    f.dlg->OnDeleteRows(GridId::Board);
    ASSERT_FALSE(f.ui.boxes.empty());
    EXPECT_EQ(f.ui.boxes.back().text, L"删除 2 个配电箱？");
    EXPECT_EQ(f.dlg->GetBoards().GetSize(), 2);

    f.ui.boxAnswers.push_back(IDYES);
    f.dlg->OnDeleteRows(GridId::Board);
    EXPECT_EQ(f.dlg->GetBoards().GetSize(), 0);
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"");
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strTransformer, L"");
    EXPECT_EQ(f.Load().GetItemText(1, 13), L"");
    ExpectFollowsTheDocument(f, "delete of both boards");
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetBoards().GetSize(), 2);
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"AP1");
    ExpectFollowsTheDocument(f, "undo");

    // Delete on a name cell clears it, which removes that board.
    f.Boards().SetSelectedRange(2, 1, 2, 1);
    f.dlg->OnDeleteKey(GridId::Board);
    EXPECT_EQ(f.dlg->GetBoards().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strTransformer, L"");
    ExpectFollowsTheDocument(f, "Delete on AP2's name");
}

TEST(BoardGrid, RowsAndSpreadsheetLinesPasteIntoTheBoardGrid)
{
    DialogFixture f;
    SmallTree(f);
    // A spreadsheet's lines on the entry row: name, phase, K∑p, K∑q; a taken
    // name is left out with one message.
    f.Boards().SetFocusCell(3, 1);
    f.dlg->OnPasteKey(GridId::Board, L"AL1\tL1,N\t\t0.9\t0.9\nAP1\tL1,L2,L3,N\nAL2\tL2,N\n");
    ASSERT_EQ(f.dlg->GetBoards().GetSize(), 4);
    EXPECT_EQ(f.dlg->GetBoards()[2].m_strName, L"AL1");
    EXPECT_EQ(f.dlg->GetBoards()[2].m_strPhase, L"L1,N");
    EXPECT_EQ(f.dlg->GetBoards()[2].m_strKp, L"0.9");
    EXPECT_EQ(f.dlg->GetBoards()[3].m_strName, L"AL2");
    EXPECT_EQ(f.ui.boxes.back().text, texts::kDuplicateBoard);
    ExpectFollowsTheDocument(f, "spreadsheet paste");
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetBoards().GetSize(), 2);

    // Copy of AP2 and 粘贴 on the entry row: a second AP2, marked as a
    // repeated name; the figures follow.
    f.SelectRows(GridId::Board, 2, 2);
    f.dlg->OnCopyRows(GridId::Board);
    EXPECT_NE(f.ui.clipboard.find(L"AP2\t"), std::wstring::npos);
    f.Boards().SetFocusCell(3, 1);
    f.dlg->OnPasteRows(GridId::Board);
    ASSERT_EQ(f.dlg->GetBoards().GetSize(), 3);
    EXPECT_NE(f.Boards().GetCell(3, 1)->warning, L"");
    ExpectFollowsTheDocument(f, "row paste");
}

TEST(BoardGrid, BoardWarningsAreMarkedInTheBoardGrid)
{
    DialogFixture f;
    SmallTree(f);
    // A board without an owner counts under no transformer.
    f.OwnBoard(1, {});
    const CGridCell* owner = f.Boards().GetCell(1, 11);
    ASSERT_NE(owner, nullptr);
    EXPECT_NE(owner->warning, L"");
    EXPECT_EQ(owner->warningColour, CLoadCalDiaog::kWarningColour);
    f.OwnBoard(1, {L"T2"});
    EXPECT_EQ(f.Boards().GetCell(1, 11)->warning, L"");
    ExpectFollowsTheDocument(f, "AP1 under T2");
}

TEST(BoardWindow, PhaseBalancingNamesTheBoardsAndLeavesTheTreeAsAWholeRecalculationHasIt)
{
    DialogFixture f;
    const std::wstring path =
        FromUtf8(std::string(LOADCAL_SOURCE_DIR) + "/examples/office-building-boards.LDC");
    f.ui.openAnswers.push_back(path);
    f.dlg->OnFileOpen();
    ASSERT_EQ(f.dlg->GetBoards().GetSize(), 25);
    f.ui.boxAnswers.push_back(IDOK);
    f.dlg->OnAdjustPhases();
    ASSERT_FALSE(f.ui.boxes.empty());
    const std::wstring& report = f.ui.boxes.back().text;
    // The emergency lighting board (three-phase) has its four single-phase
    // circuits searched; the single-phase floor boards keep their circuits
    // on their one phase; all are named as boards, none as a transformer
    // (every circuit hangs from a board).
    EXPECT_NE(report.find(L"配电箱ALE\nL1,N项电流为"), std::wstring::npos) << ToUtf8(report);
    EXPECT_NE(report.find(L"配电箱2AL\n单相配电箱(L2,N)"), std::wstring::npos);
    EXPECT_EQ(report.find(L"变压器"), std::wstring::npos);
    const CLoadCalDocument& doc = f.dlg->GetDocument();
    for (const CLoadCalData& c : doc.loads) {
        for (const CBoardCalData& b : doc.boards) {
            if (b.m_strName == c.m_strTransformer && b.m_strPhase != kPhaseThree) {
                EXPECT_EQ(c.m_strPhase, b.m_strPhase) << ToUtf8(c.m_strCircuitNo);
            }
        }
    }
    ExpectFollowsTheDocument(f, "调整相位");
    f.dlg->OnEditUndo();
    EXPECT_FALSE(f.dlg->IsModified());
    ExpectFollowsTheDocument(f, "undo of 调整相位");
}

TEST(BoardGrid, TheEntryRowsOtherCellsAreProposalsForTheNextBoard)
{
    DialogFixture f;
    f.AddTransformer(L"T1");
    // A phase and K∑p typed into the empty entry row make no board...
    f.Type(GridId::Board, 1, 2, L"L3,N");
    f.Type(GridId::Board, 1, 4, L"0.8");
    f.Type(GridId::Board, 1, 2, L"三相");  // not one of the four: refused
    EXPECT_EQ(f.dlg->GetBoards().GetSize(), 0);
    EXPECT_FALSE(f.dlg->IsModified() && f.dlg->GetHistory().GetUndoCount() > 1);
    EXPECT_EQ(f.Boards().GetItemText(1, 2), L"L3,N");
    // ...until a name does, with them.
    f.Type(GridId::Board, 1, 1, L"3AL");
    ASSERT_EQ(f.dlg->GetBoards().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetBoards()[0].m_strPhase, L"L3,N");
    EXPECT_EQ(f.dlg->GetBoards()[0].m_strKp, L"0.8");
    EXPECT_EQ(f.dlg->GetBoards()[0].m_strKq, CBoardCalData().m_strKq);
    // The next entry row proposes the defaults again.
    EXPECT_EQ(f.Boards().GetItemText(2, 2), kPhaseThree);
    EXPECT_EQ(f.Boards().GetItemText(2, 4), CBoardCalData().m_strKp);
    ExpectFollowsTheDocument(f, "3AL");
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetBoards().GetSize(), 0);
}

// 插入 in the board and transformer grids: a record above the current row,
// with the entry row's proposals and the first free name of its series,
// whose cell takes the keyboard; typing over the name renames it, one undo
// step takes each back. On the entry row it adds one at the end.
TEST(BoardGrid, InsertPutsANamedBoardOrTransformerAboveTheCurrentRow)
{
    DialogFixture f;
    SmallTree(f);
    // A transformer already holds the first board name of the series; the
    // last board and transformer have factors of their own (the entry row's
    // proposals are not theirs).
    f.AddTransformer(L"新配电箱1");
    f.Type(GridId::Board, 2, 4, L"0.8");
    f.Type(GridId::Transformer, 3, 5, L"0.85");
    const CLoadCalDocument before = f.dlg->GetDocument();
    const size_t undoSteps = f.dlg->GetHistory().GetUndoCount();

    f.Boards().SetFocusCell(2, 3);  // AP2's row
    f.dlg->OnInsertRow(GridId::Board);
    const CBoardArray& boards = f.dlg->GetBoards();
    ASSERT_EQ(boards.GetSize(), 3);
    EXPECT_EQ(boards[1].m_strName, L"新配电箱2");
    EXPECT_EQ(boards[1].m_strPhase, kPhaseThree);
    EXPECT_EQ(boards[1].m_strKp, CBoardCalData().m_strKp);
    EXPECT_EQ(boards[1].m_strOwner, L"");
    EXPECT_EQ(boards[2].m_strName, L"AP2");
    EXPECT_EQ(f.Boards().GetFocusCell().row, 2);
    EXPECT_EQ(f.Boards().GetFocusCell().col, 1);
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), undoSteps + 1);
    ExpectFollowsTheDocument(f, "插入 in the board grid");

    // Typed over, fed from T2, it takes a circuit: figures follow.
    f.Type(GridId::Board, 2, 1, L"AP3");
    f.OwnBoard(2, {L"T2"});
    f.Own(3, {L"AP3"});
    EXPECT_EQ(boards[1].m_strName, L"AP3");
    EXPECT_EQ(boards[1].m_strRatedPower, L"11");
    ExpectFollowsTheDocument(f, "the inserted board named and fed");

    // Transformer grid, on its first row: the entry row's figures.
    f.Transformers().SetFocusCell(1, 4);
    f.dlg->OnInsertRow(GridId::Transformer);
    const CTransformerArray& ts = f.dlg->GetTransformers();
    ASSERT_EQ(ts.GetSize(), 4);
    EXPECT_EQ(ts[0].m_strName, L"新变压器1");
    EXPECT_EQ(ts[0].m_strLoadRate, CTransformerCalData().m_strLoadRate);
    EXPECT_EQ(ts[0].m_strKp, CTransformerCalData().m_strKp);
    EXPECT_EQ(ts[0].m_strKq, CTransformerCalData().m_strKq);
    EXPECT_EQ(ts[0].m_strCosAfter, CTransformerCalData().m_strCosAfter);
    EXPECT_EQ(ts[1].m_strName, L"T1");
    ExpectFollowsTheDocument(f, "插入 in the transformer grid");

    // On the entry rows: one more at the end, the entry row after it.
    f.Transformers().SetFocusCell(ts.GetSize() + 1, 1);
    f.dlg->OnInsertRow(GridId::Transformer);
    f.Boards().SetFocusCell(boards.GetSize() + 1, 1);
    f.dlg->OnInsertRow(GridId::Board);
    ASSERT_EQ(ts.GetSize(), 5);
    ASSERT_EQ(boards.GetSize(), 4);
    EXPECT_EQ(ts[4].m_strName, L"新变压器2");
    EXPECT_EQ(boards[3].m_strName, L"新配电箱2");  // free again since the rename
    EXPECT_EQ(f.Boards().GetItemText(5, 1), L"");  // the entry row
    EXPECT_EQ(f.Boards().GetItemText(5, 2), kPhaseThree);
    ExpectFollowsTheDocument(f, "插入 on the entry rows");

    // Undo, step by step, gives back the document as it was.
    while (f.dlg->GetHistory().GetUndoCount() > undoSteps) {
        f.dlg->OnEditUndo();
    }
    EXPECT_TRUE(f.dlg->GetDocument() == before);
    ExpectFollowsTheDocument(f, "every step undone");
}
