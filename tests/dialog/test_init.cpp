// Construction, start-up set-up of the grids, resources and layout.
#include <gtest/gtest.h>

#include "dialog/LoadCalResources.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::DialogFixture;

TEST(StartUp, AnEmptyDocumentShowsEntryRowsSeparatorAndTotals)
{
    DialogFixture f;
    EXPECT_EQ(f.dlg->GetTitle(), L"需要系数法负荷计算『未命名』");
    EXPECT_EQ(f.ui.resizes, 1);
    EXPECT_EQ(f.ui.centres, 1);
    EXPECT_EQ(f.dlg->GetGenerations(), 1000);
    EXPECT_FALSE(f.dlg->IsModified());

    CGridCtrl& g = f.Load();
    ASSERT_EQ(g.GetRowCount(), 4);
    ASSERT_EQ(g.GetColumnCount(), 14);
    EXPECT_EQ(g.GetFixedRowCount(), 1);
    EXPECT_EQ(g.GetFixedColumnCount(), 1);
    EXPECT_EQ(g.GetColumnWidth(0), 10);
    EXPECT_EQ(g.GetItemText(0, 8), L"功率因数(cos(φ))");
    EXPECT_EQ(g.GetItemFormat(0, 8), DT_CENTER | DT_WORDBREAK);
    EXPECT_EQ(g.GetItemText(1, 4), L"L1,L2,L3,N");
    EXPECT_EQ(g.GetItemText(1, 6), L"0.38");
    EXPECT_EQ(g.GetItemText(1, 7), L"1.0");
    EXPECT_EQ(g.GetItemText(1, 8), L"0.8");
    EXPECT_EQ(g.GetItemFormat(1, 3), DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    for (int c = 1; c <= 13; ++c) {
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
    CLoadCalDiaog dlg(folder.File(L"s.idp"));
    EXPECT_EQ(dlg.GetPhaseList(), (CStringArray{L"L1,N", L"L2,N", L"L3,N", L"L1,L2,L3,N"}));
    EXPECT_EQ(dlg.GetMinTrackWidth(), 500);
    EXPECT_EQ(dlg.GetMinTrackHeight(), 320);
    EXPECT_EQ(dlg.GetOutputMode(), 0);
    EXPECT_FALSE(dlg.GetChoiceWindow().IsCreated());
    EXPECT_THROW(dlg.OnInitDialog(), std::logic_error);  // no window attached
}

TEST(Layout, TheWindowCannotShrinkBelowItsOpeningSize)
{
    DialogFixture f;  // created at 760 x 520
    EXPECT_EQ(f.dlg->OnGetMinMaxInfo(1920, 1050), (CMinMaxInfo{760, 520, 1920, 1050}));
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

TEST(Resources, ToolbarButtonsHaveToolTipsFromTheStringTable)
{
    DialogFixture f;
    std::vector<std::wstring> tips;
    for (unsigned id : res::kToolbarButtons) {
        if (id != 0) {
            tips.push_back(f.dlg->OnToolTipText(id).value_or(L"?"));
        }
    }
    EXPECT_EQ(tips, (std::vector<std::wstring>{L"新建负荷计算数据文件", L"打开文件", L"保存文件",
                                               L"另存文件", L"绘制到Acad", L"输出到Excell",
                                               L"调整相位", L"关于..."}));
    EXPECT_FALSE(f.dlg->OnToolTipText(6344).has_value());
    for (unsigned id : {32768u, 32769u, 32785u, 6344u, 32770u, 6342u, 32772u, 32773u, 32784u}) {
        EXPECT_TRUE(f.dlg->IsCommandEnabled(id)) << id;
    }
}

TEST(Resources, AboutCommandShowsTheAboutBox)
{
    DialogFixture f;
    EXPECT_TRUE(f.dlg->OnCommand(res::ID_ABOUT));
    EXPECT_EQ(f.ui.aboutBoxes, 1);
    EXPECT_FALSE(f.dlg->OnCommand(12345));
}
