// What the grids show is what the records hold: owner cells after a rename
// or delete, the total row after an owner choice, the warnings the checks
// give, recalculating everything and the figures of an opened file, and the
// outputs that keep the window open.

#include <gtest/gtest.h>

#include "dialog/LoadCalResources.h"
#include "document/Archive.h"
#include "model/Calculation.h"
#include "model/Checks.h"
#include "model/Text.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using namespace loadcal::test;

namespace {

/// Every circuit cell shows its record's field (trimmed, as typed texts
/// keep their blanks on screen), every transformer cell too, and the total
/// row shows the totals of the records.
void ExpectScreenIsRecords(DialogFixture& f)
{
    const CLoadArray& loads = f.dlg->GetLoads();
    for (int i = 0; i < loads.GetSize(); ++i) {
        for (size_t c = 0; c < kLoadColumns.size(); ++c) {
            EXPECT_EQ(Trim(f.Load().GetItemText(i + 1, static_cast<int>(c) + 1)),
                      loads[i].FieldAt(kLoadColumns[c].field))
                << "circuit " << i << " column " << c + 1;
        }
    }
    const CTransformerArray& ts = f.dlg->GetTransformers();
    for (int i = 0; i < ts.GetSize(); ++i) {
        for (size_t c = 0; c < kTransformerColumns.size(); ++c) {
            EXPECT_EQ(Trim(f.Transformers().GetItemText(i + 1, static_cast<int>(c) + 1)),
                      ts[i].FieldAt(kTransformerColumns[c].field))
                << "transformer " << i << " column " << c + 1;
        }
    }
    const SummaryTotals totals = ComputeTotals(f.dlg->GetDocument());
    const int row = f.Load().GetRowCount() - 1;
    EXPECT_EQ(f.Load().GetItemText(row, 5), totals.installed);
    EXPECT_EQ(f.Load().GetItemText(row, 8), totals.powerFactor);
    EXPECT_EQ(f.Load().GetItemText(row, 9), totals.active);
    EXPECT_EQ(f.Load().GetItemText(row, 10), totals.reactive);
    EXPECT_EQ(f.Load().GetItemText(row, 11), totals.apparent);
    EXPECT_EQ(f.Load().GetItemText(row, 12), totals.current);
}

/// The chiller building of the report: WP1 (180 kW) and two more on 1#.
void ChillerBuilding(DialogFixture& f)
{
    f.AddTransformer(L"1#");
    f.AddTransformer(L"2#");
    f.AddCircuit(L"冷水机组", L"", L"180");
    f.Type(GridId::Load, 1, 1, L"WP1");
    f.AddCircuit(L"水泵", L"", L"44");
    f.AddCircuit(L"照明", L"L1,N", L"12");
    f.Own(1, {L"1#"});
    f.Own(2, {L"1#", L"2#"});
    f.Own(3, {L"2#"});
}

}  // namespace

TEST(OneTruth, ARenamedTransformerIsTickedAndAnUnchangedOwnerListKeepsTheCircuit)
{
    DialogFixture f;
    ChillerBuilding(f);
    const std::wstring pc = f.dlg->GetTransformers()[0].m_strCalcP;
    f.Type(GridId::Transformer, 1, 1, L"3#");
    EXPECT_EQ(f.Load().GetItemText(1, 13), L"3#");
    EXPECT_EQ(f.Load().GetItemText(2, 13), L"3#,2#");
    // Clicking the owner cell shows the renamed transformer ticked; 确定
    // without a change gives back the same list.
    f.ui.choiceAnswers.push_back(std::vector<std::wstring>{L"3#"});
    f.dlg->OnGridClick(GridId::Load, 1, 13);
    ASSERT_FALSE(f.ui.choices.empty());
    EXPECT_EQ(f.ui.choices.back().names, (std::vector<std::wstring>{L"3#", L"2#"}));
    EXPECT_EQ(f.ui.choices.back().marks, (std::vector<bool>{true, false}));
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strTransformer, L"3#");
    EXPECT_EQ(f.dlg->GetTransformers()[0].m_strCalcP, pc);
    ExpectScreenIsRecords(f);
}

TEST(OneTruth, TheTotalRowFollowsOwnerChoicesAndTransformerDeletes)
{
    DialogFixture f;
    ChillerBuilding(f);
    ExpectScreenIsRecords(f);
    f.Own(2, {L"2#"});  // the owner text groups the totals
    ExpectScreenIsRecords(f);
    f.Transformers().SetSelectedRange(1, 1, 1, 1);
    f.dlg->OnDeleteRows(GridId::Transformer);
    ASSERT_EQ(f.dlg->GetTransformers().GetSize(), 1);
    ExpectScreenIsRecords(f);
    f.dlg->OnEditUndo();
    ExpectScreenIsRecords(f);
}

TEST(OneTruth, TransformerNamesWithACommaOrOnlyBlanksAreRefusedAndNothingIsLost)
{
    DialogFixture f;
    ChillerBuilding(f);
    const CLoadCalDocument before = f.dlg->GetDocument();
    f.Type(GridId::Transformer, 1, 1, L"3#,4#");
    f.Type(GridId::Transformer, 2, 1, L"   ");
    f.Type(GridId::Transformer, 3, 1, L"5#,6#");  // the entry row
    EXPECT_EQ(f.dlg->GetDocument(), before);
    ASSERT_EQ(f.ui.boxes.size(), 3U);
    EXPECT_EQ(f.ui.boxes[0].text, L"变压器名称不能含有逗号\",\",请重新输入!");
    EXPECT_EQ(f.ui.boxes[0].caption, L"提示");
    EXPECT_EQ(f.ui.boxes[0].style, MB_ICONINFORMATION);
    EXPECT_EQ(f.ui.boxes[1].text, L"变压器名称不能只有空格,请重新输入!");
    EXPECT_EQ(f.Transformers().GetItemText(1, 1), L"1#");
    EXPECT_EQ(f.Transformers().GetItemText(2, 1), L"2#");
    EXPECT_EQ(f.Transformers().GetItemText(3, 1), L"");
}

TEST(OneTruth, TheMarkedCellsAreTheDocumentChecksAndFollowEveryEdit)
{
    DialogFixture f;
    ChillerBuilding(f);
    EXPECT_EQ(f.dlg->GetWarnings(), CheckDocument(f.dlg->GetDocument()));
    f.Type(GridId::Load, 2, 8, L"1.2");  // cos phi of 水泵
    f.Type(GridId::Load, 3, 7, L"1.5");  // K of 照明
    f.Type(GridId::Load, 1, 5, L"-10");
    EXPECT_EQ(f.dlg->GetWarnings(), CheckDocument(f.dlg->GetDocument()));
    const CGridCell* cos = f.Load().GetCell(2, 8);
    ASSERT_NE(cos, nullptr);
    EXPECT_EQ(cos->warningColour, CLoadCalDiaog::kWarningColour);
    EXPECT_NE(cos->warning.find(L"功率因数"), std::wstring::npos);
    EXPECT_NE(f.Load().GetCell(3, 7)->warning.find(L"需要系数"), std::wstring::npos);
    EXPECT_NE(f.Load().GetCell(1, 5)->warning.find(L"回路 WP1"), std::wstring::npos);
    // The not-finite figures reach the transformers, which are marked too.
    EXPECT_FALSE(f.Transformers().GetCell(1, 8)->warning.empty());
    // Put right, the marks go; undo brings them back.
    f.Type(GridId::Load, 2, 8, L"0.8");
    EXPECT_TRUE(f.Load().GetCell(2, 8)->warning.empty());
    EXPECT_TRUE(f.Transformers().GetCell(1, 8)->warning.empty());
    f.dlg->OnEditUndo();
    EXPECT_FALSE(f.Load().GetCell(2, 8)->warning.empty());
    EXPECT_EQ(f.dlg->GetWarnings(), CheckDocument(f.dlg->GetDocument()));
    // Circuits in no transformer: an owner naming nothing after a delete.
    f.Transformers().SetSelectedRange(2, 1, 2, 1);
    f.dlg->OnDeleteRows(GridId::Transformer);
    EXPECT_NE(f.Load().GetCell(3, 13)->warning.find(L"没有归属变压器"), std::wstring::npos);
    EXPECT_EQ(f.dlg->GetWarnings(), CheckDocument(f.dlg->GetDocument()));
}

TEST(OneTruth, AnOpenedFileWithStaleFiguresOffersRecalculateAllAsOneStep)
{
    DialogFixture f;
    ChillerBuilding(f);
    const CLoadCalDocument good = f.dlg->GetDocument();
    // The same building with a figure emptied and one edited by hand.
    CLoadCalDocument stale = good;
    stale.loads[0].m_strCalcP.clear();
    stale.transformers[1].m_strCalcS = L"1";
    const std::wstring path = f.folder.File("stale.LDC");
    SaveArchiveFile(path, stale);

    f.SaveAsIn("good.LDC");
    f.ui.boxes.clear();
    f.ui.openAnswers.push_back(path);
    f.ui.boxAnswers = {IDNO};
    f.dlg->OnFileOpen();
    ASSERT_EQ(f.ui.boxes.size(), 1U);
    EXPECT_NE(f.ui.boxes[0].text.find(L"全部重算"), std::wstring::npos);
    EXPECT_EQ(f.dlg->GetDocument(), stale) << "No shows the file as it is";
    EXPECT_TRUE(f.dlg->HasStaleFigures());
    EXPECT_FALSE(f.dlg->IsModified());

    // 全部重算 (the menu's F9) puts it right in one undo step.
    f.dlg->OnCommand(res::ID_RECALCULATE_ALL);
    EXPECT_EQ(f.dlg->GetDocument(), good);
    EXPECT_TRUE(f.dlg->IsModified());
    ExpectScreenIsRecords(f);
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetDocument(), stale);
    EXPECT_FALSE(f.dlg->IsModified());

    // Yes on opening recalculates at once; a sound file asks nothing.
    f.ui.boxes.clear();
    f.ui.openAnswers.push_back(path);
    f.ui.boxAnswers = {IDYES};
    f.dlg->OnFileOpen();
    EXPECT_EQ(f.dlg->GetDocument(), good);
    f.ui.boxes.clear();
    f.ui.openAnswers.push_back(f.folder.File("good.LDC"));
    f.ui.boxAnswers = {IDNO};  // the save question of the recalculated one
    f.dlg->OnFileOpen();
    EXPECT_EQ(f.ui.boxes.size(), 1U);
    EXPECT_FALSE(f.dlg->HasStaleFigures());
}

TEST(OneTruth, OutputsKeepTheWindowOpenAndSayWhereTheFileWent)
{
    struct Writer : IOutputWriter {
        COutputResult next;
        std::vector<SummaryTotals> totals;
        COutputResult WriteDrawing(const CLoadCalDocument&, const SummaryTotals& t,
                                   const std::wstring&) override
        {
            totals.push_back(t);
            return next;
        }
        COutputResult WriteWorkbook(const CLoadCalDocument&, const SummaryTotals& t,
                                    const std::wstring&) override
        {
            totals.push_back(t);
            return next;
        }
    } writer;
    DialogFixture f;
    ChillerBuilding(f);
    f.dlg->SetOutputWriter(&writer);

    writer.next = {COutputResult::Status::Written, L"/tmp/a.dxf", true, L""};
    f.dlg->OnCommand(res::ID_OUTPUT_DRAWING);
    EXPECT_EQ(f.ui.status, L"已写入 /tmp/a.dxf");
    EXPECT_TRUE(f.ui.boxes.empty());
    writer.next = {COutputResult::Status::Written, L"/tmp/a.xlsx", false, L""};
    f.dlg->OnCommand(res::ID_OUTPUT_EXCEL);
    ASSERT_EQ(f.ui.boxes.size(), 1U);
    EXPECT_NE(f.ui.boxes[0].text.find(L"/tmp/a.xlsx"), std::wstring::npos);
    writer.next = {COutputResult::Status::Cancelled, L"", false, L""};
    f.dlg->OnCommand(res::ID_OUTPUT_EXCEL);
    // A failure is told in Chinese, the writer's own text in brackets.
    writer.next = {COutputResult::Status::Failed, L"/x/a.dxf", false,
                   L"cannot write \"/x/a.dxf\": No space left on device"};
    f.dlg->OnCommand(res::ID_OUTPUT_DRAWING);
    ASSERT_EQ(f.ui.boxes.size(), 2U);
    EXPECT_EQ(f.ui.boxes[1].text,
              L"文件 \"/x/a.dxf\" 没有写入（No space left on device）\n原有的文件保持不变。");
    EXPECT_TRUE(f.ui.endResults.empty());
    EXPECT_EQ(f.dlg->GetOutputMode(), 0);
    ASSERT_EQ(writer.totals.size(), 4U);
    EXPECT_EQ(writer.totals[0], ComputeTotals(f.dlg->GetDocument()));
}
