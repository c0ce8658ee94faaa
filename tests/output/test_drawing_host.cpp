// The in-memory drawing as the CAD application: the rules by which it
// executes commands and system variables. Its state after a whole drawing
// run is read back from the file by ezdxf (test_dxf_file.cpp).

#include <gtest/gtest.h>

#include "output/Drawing.h"

using namespace loadcal;
using namespace std::string_literals;

namespace {

CadCommand Line(std::initializer_list<CadAnswer> answers)
{
    CadCommand c{L"_.LINE"s};
    c.insert(c.end(), answers);
    return c;
}

}  // namespace

TEST(InMemoryDrawing, LineDrawsOneSegmentPerPairAndNeedsItsClosingEnter)
{
    CDrawing drawing;
    EXPECT_TRUE(
        drawing.acedCommand(Line({CadPoint{0, 0, 0}, CadPoint{1, 0, 0}, CadPoint{1, 1, 0}, L""s})));
    ASSERT_EQ(drawing.Lines().size(), 2u);
    EXPECT_EQ(drawing.Lines()[1].start, (CadPoint{1, 0, 0}));
    EXPECT_EQ(drawing.Lines()[1].end, (CadPoint{1, 1, 0}));

    EXPECT_FALSE(drawing.acedCommand(Line({CadPoint{0, 0, 0}, CadPoint{1, 0, 0}})));
    EXPECT_FALSE(drawing.acedCommand(Line({CadPoint{0, 0, 0}, L""s})));
    EXPECT_FALSE(drawing.acedCommand(Line({CadPoint{0, 0, 0}, 2.0, L""s})));
    EXPECT_FALSE(drawing.acedCommand({L"_.CIRCLE"s, CadPoint{}, 5.0}));
    EXPECT_FALSE(drawing.acedCommand({}));
    EXPECT_EQ(drawing.Lines().size(), 2u);
}

TEST(InMemoryDrawing, TextAsksTheHeightOnlyWhenTheStyleHasNone)
{
    CDrawing drawing;
    EXPECT_TRUE(drawing.acedCommand({L"TEXT"s, CadPoint{1, 2, 0}, L"2"s, L"90"s, L"左对齐"s}));
    ASSERT_EQ(drawing.Texts().size(), 1u);
    EXPECT_EQ(drawing.Texts()[0].horizontal, 0);
    EXPECT_EQ(drawing.Texts()[0].vertical, 0);
    EXPECT_DOUBLE_EQ(drawing.Texts()[0].height, 2.0);
    EXPECT_DOUBLE_EQ(drawing.Texts()[0].rotation, 90.0);
    EXPECT_DOUBLE_EQ(drawing.TextSize(), 2.0);

    // A style with a fixed height of 5: the TEXT command skips the height prompt.
    EXPECT_TRUE(drawing.acedCommand(
        {L"_.STYLE"s, L"FIXED"s, L"simplex"s, L"5"s, L""s, L""s, L""s, L"y"s, L""s}));
    EXPECT_TRUE(drawing.acedCommand({L"_.TEXT"s, L"J"s, L"TR"s, CadPoint{0, 0, 0}, L""s, L"T"s}));
    ASSERT_EQ(drawing.Texts().size(), 2u);
    EXPECT_DOUBLE_EQ(drawing.Texts()[1].height, 5.0);
    EXPECT_EQ(drawing.Texts()[1].horizontal, 2);
    EXPECT_EQ(drawing.Texts()[1].vertical, 3);
    EXPECT_TRUE(drawing.Styles()[1].upsideDown);
    EXPECT_EQ(drawing.Styles()[1].font, L"simplex.shx");
    EXPECT_EQ(drawing.Styles()[1].bigFont, L"");

    // Unknown justification, a height of 0, a text where the rotation goes.
    EXPECT_FALSE(drawing.acedCommand({L"_.TEXT"s, L"J"s, L"XX"s, CadPoint{}, L""s, L"T"s}));
    EXPECT_TRUE(drawing.SetTextStyle(L"standard"));
    EXPECT_FALSE(drawing.acedCommand({L"_.TEXT"s, CadPoint{}, 0.0, L"0"s, L"T"s}));
    EXPECT_FALSE(drawing.acedCommand({L"_.TEXT"s, CadPoint{}, 1.0, L"abc"s, L"T"s}));
    EXPECT_EQ(drawing.Texts().size(), 2u);
}

TEST(InMemoryDrawing, StyleKeepsWhatEnterLeavesAndRejectsImpossibleValues)
{
    CDrawing drawing;
    const CadCommand define = {
        L"_.STYLE"s, L"LOADCALSTYLE"s, L"ROMANS6,HZTXT"s, L""s, L"0.7"s, L""s, L""s, L""s, L""s};
    EXPECT_TRUE(drawing.acedCommand(define));
    EXPECT_TRUE(drawing.acedCommand(
        {L"_.STYLE"s, L"loadcalstyle"s, L""s, L""s, L""s, L"15"s, L""s, L""s, L""s}));
    ASSERT_EQ(drawing.Styles().size(), 2u);
    const CadTextStyle& s = drawing.Styles()[1];
    EXPECT_EQ(s.name, L"LOADCALSTYLE");
    EXPECT_EQ(s.font, L"romans6.shx");
    EXPECT_EQ(s.bigFont, L"hztxt.shx");
    EXPECT_DOUBLE_EQ(s.widthFactor, 0.7);
    EXPECT_DOUBLE_EQ(s.obliqueAngle, 15.0);
    EXPECT_EQ(drawing.CurrentStyle().name, L"LOADCALSTYLE");

    CadCommand zeroWidth = define;
    zeroWidth[4] = L"0"s;
    EXPECT_FALSE(drawing.acedCommand(zeroWidth));
    CadCommand badFlag = define;
    badFlag[6] = L"maybe"s;
    EXPECT_FALSE(drawing.acedCommand(badFlag));
    EXPECT_FALSE(drawing.acedCommand(CadCommand(define.begin(), define.begin() + 5)));
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

    EXPECT_FALSE(drawing.acedCommand({L"_.LAYER"s, L"S"s, L"missing"s, L""s}));
    EXPECT_FALSE(drawing.acedCommand({L"_.LAYER"s, L"N"s, L"new"s, L""s}));
    EXPECT_EQ(drawing.CurrentLayer().name, L"CALCULATIONS");
    EXPECT_TRUE(drawing.acedCommand({L"_.LAYER"s, L"S"s, L"0"s, L""s}));
    EXPECT_EQ(drawing.CurrentLayer().name, L"0");
}

TEST(InMemoryDrawing, SystemVariablesTakeOnlyValuesOfTheirKind)
{
    CDrawing drawing;
    EXPECT_EQ(drawing.acedGetVar(L"osmode"), std::optional<CadValue>(short{4133}));
    EXPECT_EQ(drawing.acedGetVar(L"CLAYER"), std::optional<CadValue>(L"0"s));
    EXPECT_FALSE(drawing.acedGetVar(L"NOSUCHVAR"));
    EXPECT_FALSE(drawing.acedSetVar(L"OSMODE", CadValue(1.0)));
    EXPECT_FALSE(drawing.acedSetVar(L"OSMODE", CadValue(short{-1})));
    EXPECT_TRUE(drawing.acedSetVar(L"OSMODE", CadValue(short{0})));
    EXPECT_EQ(drawing.Osmode(), 0);
    EXPECT_FALSE(drawing.acedSetVar(L"CLAYER", CadValue(L"missing"s)));
    drawing.SetToCurrentLayer(L"图层", nullptr, nullptr, nullptr);
    EXPECT_TRUE(drawing.acedSetVar(L"CLAYER", CadValue(L"0"s)));
    EXPECT_TRUE(drawing.acedSetVar(L"CLAYER", CadValue(L"图层"s)));
    EXPECT_EQ(drawing.CurrentLayer().name, L"图层");
}
