// The 工程信息 dialog through the controller: the project information and the
// rule set of the document, applied as one undo step; a change of the rule
// set recalculates every figure in that step, and later edits follow the
// rules in force.

#include <gtest/gtest.h>

#include <cmath>

#include "dialog/LoadCalResources.h"
#include "dialog/LoadCalTexts.h"
#include "document/Archive.h"
#include "document/InterDpData.h"
#include "model/Calculation.h"
#include "model/Numeric.h"
#include "model/Text.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using namespace loadcal::test;

namespace {

std::wstring Example(const char* name)
{
    return FromUtf8(std::string(LOADCAL_SOURCE_DIR) + "/examples/" + name);
}

void OpenExample(DialogFixture& f, const char* name)
{
    f.ui.openAnswers.push_back(Example(name));
    f.ui.boxAnswers.push_back(IDNO);  // a recalculation question, should one come
    f.dlg->OnFileOpen();
    ASSERT_EQ(f.dlg->GetFilePath(), Example(name));
}

/// The dialog answers 确定 with these properties, after noting what it showed.
void AnswerWith(DialogFixture& f, const CDocumentProperties& wanted, CDocumentProperties* shown)
{
    f.ui.editProjectInfo = [wanted, shown](CDocumentProperties& p) {
        if (shown) {
            *shown = p;
        }
        p = wanted;
        return true;
    };
}

int TransformerNamed(const CLoadCalDocument& doc, const std::wstring& name)
{
    for (int t = 0; t < doc.transformers.GetSize(); ++t) {
        if (doc.transformers[t].m_strName == name) {
            return t;
        }
    }
    return -1;
}

double Read(const std::wstring& text)
{
    return ParseNumber(text);
}

/// The window shows the document: every transformer cell, the circuits'
/// computed cells and the six totals of the document under its rules.
void ExpectGridsShowDocument(DialogFixture& f, const std::string& when)
{
    const CLoadCalDocument& doc = f.dlg->GetDocument();
    const CGridCtrl& ts = f.Transformers();
    for (int t = 0; t < doc.transformers.GetSize(); ++t) {
        for (size_t c = 0; c < kTransformerColumns.size(); ++c) {
            ASSERT_EQ(Trim(ts.GetItemText(t + 1, static_cast<int>(c) + 1)),
                      doc.transformers[t].FieldAt(kTransformerColumns[c].field))
                << "transformer " << t << " column " << c + 1 << " " << when;
        }
    }
    for (int i = 0; i < doc.loads.GetSize(); ++i) {
        for (size_t c = 0; c < kLoadColumns.size(); ++c) {
            if (kLoadColumns[c].kind == ColumnKind::Computed) {
                ASSERT_EQ(f.Load().GetItemText(i + 1, static_cast<int>(c) + 1),
                          doc.loads[i].FieldAt(kLoadColumns[c].field))
                    << "circuit " << i << " " << when;
            }
        }
    }
    const SummaryTotals totals = ComputeTotals(doc);
    const int total = f.Load().GetRowCount() - 1;
    EXPECT_EQ(f.Load().GetItemText(total, 5), totals.installed) << when;
    EXPECT_EQ(f.Load().GetItemText(total, 9), totals.active) << when;
    EXPECT_EQ(f.Load().GetItemText(total, 10), totals.reactive) << when;
}

}  // namespace

// The bundled office building under both rule sets, with the figures a
// reviewer worked out by hand for transformer 1# (ΣPjs 685.025 kW under the
// original 15 % rule, 673.275 kW when the 44.3 kW single-phase part, 7 % of
// the 629 kW three-phase part, adds directly; Kp 0.9) and for the whole
// building (951.4 kW counting a dual-fed circuit once per transformer, 865.75
// kW counting every circuit once), and the compensation of 1# (208.5 kvar
// from Pc, 156.0 kvar from αav × Pc).
TEST(ProjectInfo, SwitchingTheRuleSetRecalculatesEverythingAsOneUndoStep)
{
    DialogFixture f;
    OpenExample(f, "office-building.LDC");
    const CLoadCalDocument original = f.dlg->GetDocument();
    ASSERT_EQ(original.rules, CalcRules::Original);
    const int t1 = TransformerNamed(original, L"1#变压器");
    ASSERT_GE(t1, 0);
    EXPECT_NEAR(Read(original.transformers[t1].m_strCalcP), 0.9 * 685.025, 1e-3);
    EXPECT_NEAR(Read(original.transformers[t1].m_strCompCapacity), 208.5, 0.05);
    EXPECT_NEAR(Read(ComputeTotals(original).active), 951.4, 1e-6);
    const size_t steps = f.dlg->GetHistory().GetUndoCount();

    CDocumentProperties gb = f.dlg->GetDocumentProperties();
    gb.rules = CalcRules::GB51348_2019;
    gb.project.FieldAt(CProjectInfo::kName) = L"某办公楼";
    CDocumentProperties shown;
    AnswerWith(f, gb, &shown);
    f.dlg->OnCommand(res::ID_PROJECT_INFO);

    // The dialog was shown what the document holds.
    EXPECT_EQ(shown.rules, CalcRules::Original);
    EXPECT_EQ(shown.project, original.project);
    EXPECT_FALSE(shown.project.IsEmpty());

    const CLoadCalDocument& doc = f.dlg->GetDocument();
    EXPECT_EQ(doc.rules, CalcRules::GB51348_2019);
    EXPECT_EQ(doc.project.Name(), L"某办公楼");
    EXPECT_NEAR(Read(doc.transformers[t1].m_strCalcP), 0.9 * 673.275, 1e-3);
    EXPECT_NEAR(Read(doc.transformers[t1].m_strCompCapacity), 156.0, 0.1);
    EXPECT_NEAR(Read(ComputeTotals(doc).active), 865.75, 1e-6);
    // Every figure is what a whole recalculation under the new rules gives.
    CLoadCalDocument whole = doc;
    RecalculateDocument(whole);
    EXPECT_TRUE(whole == doc);
    ExpectGridsShowDocument(f, "under GB 51348-2019");
    EXPECT_EQ(f.ui.statusNote, texts::kRulesNoteGB51348);
    EXPECT_TRUE(f.dlg->IsModified());
    ASSERT_EQ(f.dlg->GetHistory().GetUndoCount(), steps + 1);

    // One undo gives back the rules, the project information and every
    // figure as they were, and the document as opened is unmodified.
    f.dlg->OnEditUndo();
    EXPECT_TRUE(f.dlg->GetDocument() == original);
    ExpectGridsShowDocument(f, "after undo");
    EXPECT_EQ(f.ui.statusNote, L"");
    EXPECT_FALSE(f.dlg->IsModified());

    f.dlg->OnEditRedo();
    EXPECT_TRUE(f.dlg->GetDocument() == whole);
    ExpectGridsShowDocument(f, "after redo");
    EXPECT_EQ(f.ui.statusNote, texts::kRulesNoteGB51348);
}

// After the switch, an edit is calculated under the rules in force: a
// three-phase circuit's current with √3 instead of 1.732, and the totals
// counting every circuit once.
TEST(ProjectInfo, EditsAfterTheSwitchFollowTheNewRules)
{
    DialogFixture f;
    OpenExample(f, "office-building.LDC");
    CDocumentProperties gb = f.dlg->GetDocumentProperties();
    gb.rules = CalcRules::GB51348_2019;
    AnswerWith(f, gb, nullptr);
    f.dlg->OnCommand(res::ID_PROJECT_INFO);

    // A circuit of the list, three-phase at 0.38 kV: its rated power typed.
    const CLoadCalDocument& doc = f.dlg->GetDocument();
    int i = 0;
    while (i < doc.loads.GetSize() && doc.loads[i].m_strPhase != kPhaseThree) {
        ++i;
    }
    ASSERT_LT(i, doc.loads.GetSize());
    const int powerColumn = GridColumnOfField(GridId::Load, CLoadCalData::kRatedPower);
    f.Type(GridId::Load, i + 1, powerColumn, L"50");
    const CLoadCalData& c = f.dlg->GetDocument().loads[i];
    const double kx = Read(c.m_strDemandFactor);
    const double cos = Read(c.m_strPowerFactor);
    const double expected = 50 * kx / (std::sqrt(3.0) * 0.38 * cos);
    EXPECT_NEAR(Read(c.m_strCalcI), expected, expected * 2e-6);
    EXPECT_GT(std::abs(expected - 50 * kx / (1.732 * 0.38 * cos)), expected * 2e-5);

    CLoadCalDocument whole = f.dlg->GetDocument();
    RecalculateDocument(whole);
    EXPECT_TRUE(whole == f.dlg->GetDocument());
    ExpectGridsShowDocument(f, "after an edit under GB 51348-2019");
}

// Project information alone changes no figure; it is saved with the
// archive, read back, and taken back by undo.
TEST(ProjectInfo, ProjectInformationIsSavedAndUndone)
{
    DialogFixture f;
    OpenExample(f, "office-building-boards.LDC");
    const CLoadCalDocument before = f.dlg->GetDocument();
    CDocumentProperties wanted = f.dlg->GetDocumentProperties();
    for (int k = 0; k < CProjectInfo::kFieldCount; ++k) {
        wanted.project.FieldAt(k) = L"字段" + std::to_wstring(k) + L" 原样";
    }
    AnswerWith(f, wanted, nullptr);
    f.dlg->OnCommand(res::ID_PROJECT_INFO);
    EXPECT_TRUE(f.dlg->GetDocument().loads == before.loads);
    EXPECT_TRUE(f.dlg->GetDocument().boards == before.boards);
    EXPECT_TRUE(f.dlg->GetDocument().transformers == before.transformers);
    EXPECT_EQ(f.dlg->GetDocument().rules, before.rules);
    EXPECT_TRUE(f.dlg->IsModified());

    f.SaveAsIn("project.LDC");
    ASSERT_FALSE(f.dlg->IsModified());
    CInterDpData tree;
    ASSERT_EQ(tree.ReadDataFromIdpFile(f.folder.File("project.LDC")),
              static_cast<int16_t>(IdpStatus::Ok));
    CLoadCalDocument read;
    RestoreDocument(&tree, read);
    EXPECT_EQ(read.project, wanted.project);
    EXPECT_EQ(read.rules, before.rules);

    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetDocument().project, before.project);
    EXPECT_TRUE(f.dlg->IsModified());  // the file on disk holds the information
    f.dlg->OnEditRedo();
    EXPECT_FALSE(f.dlg->IsModified());
}

// 取消, and 确定 without a change, leave no step and no mark.
TEST(ProjectInfo, CancelOrNoChangeLeavesNoStep)
{
    DialogFixture f;
    OpenExample(f, "office-building.LDC");
    const size_t steps = f.dlg->GetHistory().GetUndoCount();
    f.ui.editProjectInfo = [](CDocumentProperties& p) {
        p.rules = CalcRules::GB51348_2019;  // changed in the dialog, then cancelled
        return false;
    };
    f.dlg->OnCommand(res::ID_PROJECT_INFO);
    EXPECT_EQ(f.dlg->GetDocument().rules, CalcRules::Original);
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), steps);

    f.ui.editProjectInfo = [](CDocumentProperties&) {
        return true;
    };
    f.dlg->OnCommand(res::ID_PROJECT_INFO);
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), steps);
    EXPECT_FALSE(f.dlg->IsModified());
}

// The boards example, from GB 51348-2019 back to the original rules and
// again: every board, transformer and circuit follows, both ways.
TEST(ProjectInfo, BoardsFollowTheRuleSetBothWays)
{
    DialogFixture f;
    OpenExample(f, "office-building-boards.LDC");
    const CLoadCalDocument gb = f.dlg->GetDocument();
    ASSERT_EQ(gb.rules, CalcRules::GB51348_2019);
    ASSERT_GT(gb.boards.GetSize(), 0);

    CDocumentProperties back = f.dlg->GetDocumentProperties();
    back.rules = CalcRules::Original;
    AnswerWith(f, back, nullptr);
    f.dlg->OnCommand(res::ID_PROJECT_INFO);
    CLoadCalDocument whole = f.dlg->GetDocument();
    RecalculateDocument(whole);
    EXPECT_TRUE(whole == f.dlg->GetDocument());
    EXPECT_FALSE(whole.boards == gb.boards);  // the board currents, at least, move
    const CGridCtrl& boards = f.Boards();
    for (int b = 0; b < whole.boards.GetSize(); ++b) {
        for (size_t c = 0; c < kBoardColumns.size(); ++c) {
            ASSERT_EQ(boards.GetItemText(b + 1, static_cast<int>(c) + 1),
                      whole.boards[b].FieldAt(kBoardColumns[c].field));
        }
    }
    ExpectGridsShowDocument(f, "under the original rules");

    f.dlg->OnEditUndo();
    EXPECT_TRUE(f.dlg->GetDocument() == gb);
    ExpectGridsShowDocument(f, "after undo");
}
