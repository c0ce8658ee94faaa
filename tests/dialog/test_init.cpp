// Construction, start-up set-up of the grids and the dialog-unit layout. The
// window's minimum size, toolbar tool tips and the about box are checked on
// the window itself (tests/dialog_qt).
#include <gtest/gtest.h>

#include "dialog/LoadCalResources.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::DialogFixture;
using Texts = std::vector<std::wstring>;

TEST(StartUp, AnEmptyDocumentShowsEntryRowsSeparatorAndTotals)
{
    DialogFixture f;
    EXPECT_EQ(f.dlg->GetTitle(), L"需要系数法负荷计算『未命名』");
    EXPECT_EQ(f.ui.resizes, 1);
    EXPECT_EQ(f.ui.centres, 1);
    EXPECT_EQ(f.dlg->GetGenerations(), 1000);
    EXPECT_FALSE(f.dlg->IsModified());
    EXPECT_FALSE(f.dlg->OnCommand(12345));

    CGridCtrl& g = f.Load();
    ASSERT_EQ(g.GetRowCount(), 4);
    // The thirteen columns, then 负荷类型, 数量, 负荷等级, 消防.
    ASSERT_EQ(g.GetColumnCount(), 18);
    EXPECT_EQ(f.Texts(GridId::Load, 0, {13, 14, 15, 16, 17}),
              (Texts{L"归属变压器", L"负荷类型", L"数量", L"负荷等级", L"消防"}));
    EXPECT_EQ(f.Texts(GridId::Load, 1, {14, 15, 16, 17}), (Texts{L"", L"", L"", L""}));
    EXPECT_EQ(g.GetFixedRowCount(), 1);
    EXPECT_EQ(g.GetFixedColumnCount(), 1);
    EXPECT_EQ(g.GetColumnWidth(0), 10);
    EXPECT_EQ(g.GetItemText(0, 8), L"功率因数(cos(φ))");
    EXPECT_EQ(g.GetItemFormat(0, 8), DT_CENTER | DT_WORDBREAK);
    EXPECT_EQ(f.Texts(GridId::Load, 1, {4, 6, 7, 8}),
              (Texts{L"L1,L2,L3,N", L"0.38", L"1.0", L"0.8"}));
    EXPECT_EQ(g.GetItemFormat(1, 3), DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    EXPECT_FALSE(g.IsCellEditable(1, 13));  // owners are ticked in the choice list
    for (int c = 1; c <= 17; ++c) {
        EXPECT_EQ(g.GetItemBkColour(2, c), 0x00B4B4B4u) << c;
        EXPECT_FALSE(g.IsCellEditable(2, c)) << c;
        EXPECT_EQ(g.GetItemBkColour(3, c), 0x0080FFFFu) << c;
        EXPECT_FALSE(g.IsCellEditable(3, c)) << c;
    }
    EXPECT_EQ(g.GetItemText(3, 2), L"总计:");
    EXPECT_EQ(g.GetItemText(3, 11), L"0");

    CGridCtrl& t = f.Transformers();
    ASSERT_EQ(t.GetRowCount(), 2);
    ASSERT_EQ(t.GetColumnCount(), 17);
    EXPECT_EQ(t.GetItemText(0, 16), L"实际补偿容量");
    EXPECT_EQ(t.GetItemText(1, 12), L"0.76");
    EXPECT_FALSE(t.IsCellEditable(1, 13));
    EXPECT_TRUE(t.IsCellEditable(1, 14));
    EXPECT_EQ(t.GetFixedBkColor(), RGB(255, 255, 224));
}

TEST(StartUp, ConstructionKeepsThePhaseListAndTheTemplateMinimum)
{
    test::TempFolder folder;
    CLoadCalDiaog dlg(folder.File("s.idp"));
    EXPECT_EQ(dlg.GetPhaseList(), (CStringArray{L"L1,N", L"L2,N", L"L3,N", L"L1,L2,L3,N"}));
    EXPECT_EQ(dlg.GetMinTrackWidth(), 500);
    EXPECT_EQ(dlg.GetMinTrackHeight(), 320);
    EXPECT_EQ(dlg.GetOutputMode(), 0);
    EXPECT_FALSE(dlg.GetChoiceWindow().IsCreated());
    EXPECT_THROW(dlg.OnInitDialog(), std::logic_error);  // no window attached
}

TEST(Layout, TheTransformerGridKeepsItsHeightFivePixelsAboveTheBottom)
{
    const CRect load = MapDialogRect(res::kLoadFrameTemplate);
    const CRect transformer = MapDialogRect(res::kTransformerFrameTemplate);
    EXPECT_EQ(load, (CRect{0, 29, 749, 335}));
    EXPECT_EQ(transformer, (CRect{0, 341, 750, 479}));

    // Window edge in client coordinates: 8-pixel border, 50 pixels above the
    // client area for caption and menu.
    const CGridLayout small = CLoadCalDiaog::OnSize({-8, -50, 768, 488}, load, transformer);
    EXPECT_EQ(small.load, (CRect{0, 29, 765, 488 - 138 - 8}));
    EXPECT_EQ(small.transformer, (CRect{0, 345, 765, 483}));
    const CGridLayout tall = CLoadCalDiaog::OnSize({-8, -50, 1208, 888}, load, transformer);
    EXPECT_EQ(tall.transformer.Height(), transformer.Height());
    EXPECT_EQ(tall.transformer.bottom, 888 - 5);
    EXPECT_EQ(tall.load.bottom + 3, tall.transformer.top);
}
