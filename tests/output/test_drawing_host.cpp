// The in-memory drawing as the CAD application: its state after a drawing
// run, and the rules by which it executes commands and system variables.

#include <gtest/gtest.h>

#include "output/Drawing.h"
#include "output/DrawingRun.h"
#include "output/PointSource.h"
#include "tests/output/OutputTestSupport.h"

using namespace loadcal;
using namespace loadcal::testoutput;

namespace {

CadCommand Line(std::initializer_list<CadAnswer> answers)
{
    CadCommand c{std::wstring(L"_.LINE")};
    c.insert(c.end(), answers);
    return c;
}

}  // namespace

TEST(InMemoryDrawing, AfterARunTablesAreOnTheirLayerInTheirStyleAndTheDrawingIsRestored)
{
    CLoadArray loads;
    CTransformerArray transformers;
    MakeDocument(2, 1, loads, transformers);
    CFixedPointSource points(CadPoint{5, 6, 0});
    CDrawing drawing(1.0, &points);
    ASSERT_TRUE(DrawCalculationTable(drawing, loads, transformers, DistinctTotals()));

    EXPECT_EQ(drawing.Osmode(), 4133);
    EXPECT_EQ(drawing.CurrentLayer().name, L"0");
    EXPECT_EQ(drawing.CurrentStyle().name, L"Standard");

    const int layer = drawing.FindLayer(L"CALCULATIONS");
    ASSERT_GE(layer, 0);
    EXPECT_EQ(drawing.Layers()[static_cast<size_t>(layer)].description, L"ETABLE");
    const int style = drawing.FindStyle(L"LOADCALSTYLE");
    ASSERT_GE(style, 0);
    const CadTextStyle& s = drawing.Styles()[static_cast<size_t>(style)];
    EXPECT_EQ(s.font, L"romans6.shx");
    EXPECT_EQ(s.bigFont, L"hztxt.shx");
    EXPECT_DOUBLE_EQ(s.widthFactor, 0.7);
    EXPECT_DOUBLE_EQ(s.height, 0.0);

    for (const CadLine& line : drawing.Lines()) {
        EXPECT_EQ(line.layer, layer);
    }
    ASSERT_FALSE(drawing.Texts().empty());
    for (const CadText& text : drawing.Texts()) {
        EXPECT_EQ(text.layer, layer);
        EXPECT_EQ(text.style, style);
        EXPECT_EQ(text.horizontal, 1);
        EXPECT_EQ(text.vertical, 2);
        EXPECT_DOUBLE_EQ(text.height, 3.5);
        EXPECT_DOUBLE_EQ(text.widthFactor, 0.7);
        EXPECT_DOUBLE_EQ(text.rotation, 0.0);
    }
    EXPECT_EQ(drawing.Texts()[0].text, L"回路编号");
    EXPECT_EQ(drawing.Texts()[0].position, (CadPoint{20, 1, 0}));
}

TEST(InMemoryDrawing, DecliningLeavesStyleAndLayerDefinedButNothingDrawnAndObjectSnapOff)
{
    CLoadArray loads;
    CTransformerArray transformers;
    MakeDocument(2, 1, loads, transformers);
    CFixedPointSource declines(std::nullopt);
    CDrawing drawing(1.0, &declines);
    EXPECT_FALSE(DrawCalculationTable(drawing, loads, transformers, DistinctTotals()));
    EXPECT_EQ(drawing.Osmode(), 0);
    EXPECT_EQ(drawing.CurrentLayer().name, L"0");
    EXPECT_EQ(drawing.CurrentStyle().name, L"Standard");
    EXPECT_GE(drawing.FindStyle(L"loadcalstyle"), 0);
    EXPECT_GE(drawing.FindLayer(L"CALCULATIONS"), 0);
    EXPECT_TRUE(drawing.Lines().empty());
    EXPECT_TRUE(drawing.Texts().empty());
}

TEST(InMemoryDrawing, LineDrawsOneSegmentPerPairAndNeedsItsClosingEnter)
{
    CDrawing drawing;
    EXPECT_TRUE(drawing.acedCommand(
        Line({CadPoint{0, 0, 0}, CadPoint{1, 0, 0}, CadPoint{1, 1, 0}, std::wstring()})));
    ASSERT_EQ(drawing.Lines().size(), 2u);
    EXPECT_EQ(drawing.Lines()[1].start, (CadPoint{1, 0, 0}));
    EXPECT_EQ(drawing.Lines()[1].end, (CadPoint{1, 1, 0}));

    EXPECT_FALSE(drawing.acedCommand(Line({CadPoint{0, 0, 0}, CadPoint{1, 0, 0}})));
    EXPECT_FALSE(drawing.acedCommand(Line({CadPoint{0, 0, 0}, std::wstring()})));
    EXPECT_FALSE(drawing.acedCommand(Line({CadPoint{0, 0, 0}, 2.0, std::wstring()})));
    EXPECT_FALSE(drawing.acedCommand({std::wstring(L"_.CIRCLE"), CadPoint{}, 5.0}));
    EXPECT_FALSE(drawing.acedCommand({}));
    EXPECT_EQ(drawing.Lines().size(), 2u);
}

TEST(InMemoryDrawing, TextAsksTheHeightOnlyWhenTheStyleHasNone)
{
    CDrawing drawing;
    EXPECT_TRUE(drawing.acedCommand({std::wstring(L"TEXT"), CadPoint{1, 2, 0}, std::wstring(L"2"),
                                     std::wstring(L"90"), std::wstring(L"左对齐")}));
    ASSERT_EQ(drawing.Texts().size(), 1u);
    EXPECT_EQ(drawing.Texts()[0].horizontal, 0);
    EXPECT_EQ(drawing.Texts()[0].vertical, 0);
    EXPECT_DOUBLE_EQ(drawing.Texts()[0].height, 2.0);
    EXPECT_DOUBLE_EQ(drawing.Texts()[0].rotation, 90.0);
    EXPECT_DOUBLE_EQ(drawing.TextSize(), 2.0);

    // A style with a fixed height of 5: the TEXT command skips the height prompt.
    EXPECT_TRUE(
        drawing.acedCommand({std::wstring(L"_.STYLE"), std::wstring(L"FIXED"),
                             std::wstring(L"simplex"), std::wstring(L"5"), std::wstring(),
                             std::wstring(), std::wstring(), std::wstring(L"y"), std::wstring()}));
    EXPECT_TRUE(
        drawing.acedCommand({std::wstring(L"_.TEXT"), std::wstring(L"J"), std::wstring(L"TR"),
                             CadPoint{0, 0, 0}, std::wstring(), std::wstring(L"T")}));
    ASSERT_EQ(drawing.Texts().size(), 2u);
    EXPECT_DOUBLE_EQ(drawing.Texts()[1].height, 5.0);
    EXPECT_EQ(drawing.Texts()[1].horizontal, 2);
    EXPECT_EQ(drawing.Texts()[1].vertical, 3);
    EXPECT_TRUE(drawing.Styles()[1].upsideDown);
    EXPECT_EQ(drawing.Styles()[1].font, L"simplex.shx");
    EXPECT_EQ(drawing.Styles()[1].bigFont, L"");

    // Unknown justification, a height of 0, a text where the rotation goes.
    EXPECT_FALSE(
        drawing.acedCommand({std::wstring(L"_.TEXT"), std::wstring(L"J"), std::wstring(L"XX"),
                             CadPoint{}, std::wstring(), std::wstring(L"T")}));
    EXPECT_TRUE(drawing.SetTextStyle(L"standard"));
    EXPECT_FALSE(drawing.acedCommand(
        {std::wstring(L"_.TEXT"), CadPoint{}, 0.0, std::wstring(L"0"), std::wstring(L"T")}));
    EXPECT_FALSE(drawing.acedCommand(
        {std::wstring(L"_.TEXT"), CadPoint{}, 1.0, std::wstring(L"abc"), std::wstring(L"T")}));
    EXPECT_EQ(drawing.Texts().size(), 2u);
}

TEST(InMemoryDrawing, StyleKeepsWhatEnterLeavesAndRejectsImpossibleValues)
{
    CDrawing drawing;
    const CadCommand define = {std::wstring(L"_.STYLE"),
                               std::wstring(L"LOADCALSTYLE"),
                               std::wstring(L"ROMANS6,HZTXT"),
                               std::wstring(),
                               std::wstring(L"0.7"),
                               std::wstring(),
                               std::wstring(),
                               std::wstring(),
                               std::wstring()};
    EXPECT_TRUE(drawing.acedCommand(define));
    const CadCommand again = {std::wstring(L"_.STYLE"),
                              std::wstring(L"loadcalstyle"),
                              std::wstring(),
                              std::wstring(),
                              std::wstring(),
                              std::wstring(L"15"),
                              std::wstring(),
                              std::wstring(),
                              std::wstring()};
    EXPECT_TRUE(drawing.acedCommand(again));
    ASSERT_EQ(drawing.Styles().size(), 2u);
    const CadTextStyle& s = drawing.Styles()[1];
    EXPECT_EQ(s.name, L"LOADCALSTYLE");
    EXPECT_EQ(s.font, L"romans6.shx");
    EXPECT_EQ(s.bigFont, L"hztxt.shx");
    EXPECT_DOUBLE_EQ(s.widthFactor, 0.7);
    EXPECT_DOUBLE_EQ(s.obliqueAngle, 15.0);
    EXPECT_EQ(drawing.CurrentStyle().name, L"LOADCALSTYLE");

    CadCommand zeroWidth = define;
    zeroWidth[4] = std::wstring(L"0");
    EXPECT_FALSE(drawing.acedCommand(zeroWidth));
    CadCommand badFlag = define;
    badFlag[6] = std::wstring(L"maybe");
    EXPECT_FALSE(drawing.acedCommand(badFlag));
    CadCommand shortAnswers(define.begin(), define.begin() + 5);
    EXPECT_FALSE(drawing.acedCommand(shortAnswers));
    EXPECT_DOUBLE_EQ(drawing.Styles()[1].widthFactor, 0.7);
}

TEST(InMemoryDrawing, LayersAreCreatedOnceAndSetOnlyWhenTheyExist)
{
    CDrawing drawing;
    EXPECT_TRUE(drawing.SetToCurrentLayer(L"CALCULATIONS", L"ETABLE", nullptr, nullptr));
    EXPECT_TRUE(drawing.SetToCurrentLayer(L"calculations", L"other", nullptr, nullptr));
    EXPECT_EQ(drawing.Layers().size(), 2u);
    EXPECT_EQ(drawing.Layers()[1].description, L"ETABLE");
    EXPECT_FALSE(drawing.SetToCurrentLayer(nullptr, nullptr, nullptr, nullptr));
    EXPECT_FALSE(drawing.SetToCurrentLayer(L"a*b", nullptr, nullptr, nullptr));

    EXPECT_FALSE(drawing.acedCommand(
        {std::wstring(L"_.LAYER"), std::wstring(L"S"), std::wstring(L"missing"), std::wstring()}));
    EXPECT_FALSE(drawing.acedCommand(
        {std::wstring(L"_.LAYER"), std::wstring(L"N"), std::wstring(L"new"), std::wstring()}));
    EXPECT_EQ(drawing.CurrentLayer().name, L"CALCULATIONS");
    EXPECT_TRUE(drawing.acedCommand(
        {std::wstring(L"_.LAYER"), std::wstring(L"S"), std::wstring(L"0"), std::wstring()}));
    EXPECT_EQ(drawing.CurrentLayer().name, L"0");
}

TEST(InMemoryDrawing, SystemVariablesTakeOnlyValuesOfTheirKind)
{
    CDrawing drawing;
    EXPECT_EQ(drawing.acedGetVar(L"osmode"), std::optional<CadValue>(short{4133}));
    EXPECT_EQ(drawing.acedGetVar(L"CLAYER"), std::optional<CadValue>(std::wstring(L"0")));
    EXPECT_FALSE(drawing.acedGetVar(L"NOSUCHVAR"));
    EXPECT_FALSE(drawing.acedSetVar(L"OSMODE", CadValue(1.0)));
    EXPECT_FALSE(drawing.acedSetVar(L"OSMODE", CadValue(short{-1})));
    EXPECT_TRUE(drawing.acedSetVar(L"OSMODE", CadValue(short{0})));
    EXPECT_EQ(drawing.Osmode(), 0);
    EXPECT_FALSE(drawing.acedSetVar(L"CLAYER", CadValue(std::wstring(L"missing"))));
    drawing.SetToCurrentLayer(L"图层", nullptr, nullptr, nullptr);
    EXPECT_TRUE(drawing.acedSetVar(L"CLAYER", CadValue(std::wstring(L"0"))));
    EXPECT_TRUE(drawing.acedSetVar(L"CLAYER", CadValue(std::wstring(L"图层"))));
    EXPECT_EQ(drawing.CurrentLayer().name, L"图层");
}
