// The window's arithmetic follows the document: circuits, boards and
// transformers under the document's rule set, kept right edit by edit
// through the controller, through undo and redo, and shown in the grids.

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>

#include "dialog/LoadCalResources.h"
#include "document/Archive.h"
#include "document/InterDpData.h"
#include "model/Calculation.h"
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
                    << "\", a whole recalculation gives \"" << ToUtf8(want[i].FieldAt(f)) << "\"";
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

/// The dialog's document is what a whole recalculation of its own records
/// gives, and the grids show it: every board and transformer cell, the
/// circuits' computed cells and the total row.
void ExpectFollowsTheDocument(DialogFixture& f, const std::string& step)
{
    const CLoadCalDocument& doc = f.dlg->GetDocument();
    CLoadCalDocument whole = doc;
    const SummaryTotals totals = RecalculateDocument(whole);
    ASSERT_EQ(Difference(doc, whole), "") << "after " << step;

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
        const int kind = Pick(11);
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
                return ExtraStep();
        }
    }

    /// Steps beyond the circuits' and transformers' (the boards').
    std::function<std::string()> ExtraStep = [] {
        return std::string("nothing");
    };

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
