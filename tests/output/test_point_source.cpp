// Base points typed on a terminal and given as options.

#include <gtest/gtest.h>

#include <sstream>

#include "output/Drawing.h"
#include "output/DrawingRun.h"
#include "output/PointSource.h"

using namespace loadcal;

TEST(PointSource, ParsesTwoAndThreeCoordinatesInTheCNotation)
{
    EXPECT_EQ(ParsePoint("10,20"), (CadPoint{10, 20, 0}));
    EXPECT_EQ(ParsePoint(" -1.5 , 2e3 ,+7 "), (CadPoint{-1.5, 2000, 7}));
    EXPECT_FALSE(ParsePoint("10"));
    EXPECT_FALSE(ParsePoint("10,"));
    EXPECT_FALSE(ParsePoint("1,2,3,4"));
    EXPECT_FALSE(ParsePoint("1;2"));
    EXPECT_FALSE(ParsePoint("1,5,0x"));
    EXPECT_FALSE(ParsePoint("1,,2"));
    EXPECT_FALSE(ParsePoint("1,inf"));
    EXPECT_FALSE(ParsePoint("@1,2"));
}

TEST(PointSource, TerminalReasksAfterInvalidInputAndPromptsEachTime)
{
    std::istringstream in("abc\n3,4,5\n");
    std::ostringstream out;
    CTerminalPointSource source(in, out);
    EXPECT_EQ(source.GetPoint(L"\n基点:"), (CadPoint{3, 4, 5}));
    EXPECT_EQ(out.str(), "\n基点:\n需要点或选项关键字。\n基点:");
}

TEST(PointSource, TerminalDeclinesOnAnEmptyLineOrTheEndOfInput)
{
    std::istringstream in("  \r\n1,2\n");
    std::ostringstream out;
    CTerminalPointSource source(in, out);
    EXPECT_FALSE(source.GetPoint(L"p"));
    EXPECT_EQ(source.GetPoint(L"p"), (CadPoint{1, 2, 0}));
    EXPECT_FALSE(source.GetPoint(L"p"));

    std::istringstream garbage("x\ny\n");
    CTerminalPointSource onlyGarbage(garbage, out);
    EXPECT_FALSE(onlyGarbage.GetPoint(L"p"));
}

TEST(PointSource, FixedPointAnswersEveryRequestWithoutPrompting)
{
    CFixedPointSource fixed(CadPoint{1, 2, 3});
    EXPECT_EQ(fixed.GetPoint(L"a"), (CadPoint{1, 2, 3}));
    EXPECT_EQ(fixed.GetPoint(L"b"), (CadPoint{1, 2, 3}));
    CFixedPointSource none(std::nullopt);
    EXPECT_FALSE(none.GetPoint(L"a"));
}

TEST(PointSource, TheDrawingAsksTheTerminalWithItsPrompt)
{
    std::istringstream in("一,二\n7,8\n");
    std::ostringstream out;
    CTerminalPointSource terminal(in, out);
    CDrawing drawing(1.0, &terminal);
    CLoadArray loads;
    CTransformerArray transformers;
    ASSERT_TRUE(DrawCalculationTable(drawing, loads, transformers, ComputeTotals(loads)));
    EXPECT_EQ(out.str(),
              "\n请选择绘制基点<回车结束>:\n需要点或选项关键字。\n请选择绘制基点<回车结束>:");
    ASSERT_FALSE(drawing.Lines().empty());
    EXPECT_EQ(drawing.Lines()[0].start, (CadPoint{7, 8, 0}));
}
