// The drawing run: the order and geometry of every command it sends. Geometry
// expectations follow the table layout: rows 10 x s high, columns 30 x s
// wide, texts 3.5 x s high at cell centres, the transformer table two row
// heights below the total row. What the run leaves set in the drawing (object
// snap, layer, text style, with the base point given or declined) is read
// back from the file by ezdxf (test_dxf_file.cpp).

#include <gtest/gtest.h>

#include "model/Text.h"
#include "output/Drawing.h"
#include "output/DrawingRun.h"
#include "output/PointSource.h"
#include "tests/output/CommandText.h"
#include "tests/output/OutputTestSupport.h"

using namespace loadcal;
using namespace loadcal::testoutput;

namespace {

const std::string kStyleCommand =
    R"("_.STYLE" "LOADCALSTYLE" "ROMANS6,HZTXT" "" "0.7" "" "" "" "")";

/// The commands of a header row whose top-left corner is (x, y, z): top line,
/// left border, the bottom line (load table), per column the title and the
/// right border, then the bottom line (transformer table).
template <size_t N>
std::vector<std::string> HeaderRow(double x, double y, double z,
                                   const std::array<std::wstring, N>& titles, bool bottomLast)
{
    const double right = x + 30.0 * N;
    std::vector<std::string> row = {LineText({x, y, z}, {right, y, z}),
                                    LineText({x, y, z}, {x, y - 10, z})};
    const std::string bottom = LineText({x, y - 10, z}, {right, y - 10, z});
    if (!bottomLast) {
        row.push_back(bottom);
    }
    for (size_t i = 0; i < N; ++i) {
        const double cell = x + 30.0 * static_cast<double>(i);
        row.push_back(TextText({cell + 15, y - 5, z}, 3.5, titles[i]));
        row.push_back(LineText({cell + 30, y, z}, {cell + 30, y - 10, z}));
    }
    if (bottomLast) {
        row.push_back(bottom);
    }
    return row;
}

/// The commands of a body row whose top-left corner is (x, y, z): left border,
/// then per column the text (when texts[i] is set) and the right border, then
/// the bottom line.
template <size_t N>
std::vector<std::string> BodyRow(double x, double y, double z,
                                 const std::array<std::optional<std::wstring>, N>& texts)
{
    std::vector<std::string> row = {LineText({x, y, z}, {x, y - 10, z})};
    for (size_t i = 0; i < N; ++i) {
        const double right = x + 30.0 * static_cast<double>(i + 1);
        if (texts[i]) {
            row.push_back(TextText({right - 15, y - 5, z}, 3.5, *texts[i]));
        }
        row.push_back(LineText({right, y, z}, {right, y - 10, z}));
    }
    row.push_back(LineText({x, y - 10, z}, {x + 30.0 * N, y - 10, z}));
    return row;
}

template <size_t N>
std::array<std::optional<std::wstring>, N> AllTexts(const std::array<std::wstring, N>& texts)
{
    std::array<std::optional<std::wstring>, N> out;
    std::copy(texts.begin(), texts.end(), out.begin());
    return out;
}

}  // namespace

TEST(DrawingRun, BothTablesAreDrawnRowByRowAndCellByCellFromTheBasePoint)
{
    // From (100, 200, 7): the style, the load header, two circuits (their
    // voltage between rated power and demand factor), a blank row, the total
    // row with its filled columns only, an empty row, the transformer header
    // with its bottom line last, two transformers without their spare field,
    // and the layer set back.
    const Document d = MakeDocument(2, 2);
    CFixedPointSource points(CadPoint{100, 200, 7});
    CDrawing drawing(1.0, &points);
    drawing.RecordCommands(true);
    ASSERT_TRUE(DrawCalculationTable(drawing, d.loads, d.transformers, DistinctTotals()));

    // The title line first, centred over the wider table at twice the text
    // height (no project name given: the title alone).
    std::vector<std::string> expected = {kStyleCommand,
                                         TextText({340, 207.5, 7}, 7, L"负荷计算表")};
    const auto append = [&](const std::vector<std::string>& row) {
        expected.insert(expected.end(), row.begin(), row.end());
    };
    // Figures rounded as in the book (powers 0.01, factors 0.01 to 0.001);
    // identifiers and texts that are no numbers as stored.
    append(HeaderRow(100, 200, 7, kLoadTitles, false));
    std::array<std::wstring, 13> first = CircuitRow(Circuit(0));
    first[4] = L"10.50";  // rated power "10.5"
    first[6] = L"0.70";   // demand factor "0.70"
    first[7] = L"0.80";   // power factor "0.80"
    std::array<std::wstring, 13> second = CircuitRow(Circuit(1));
    second[4] = L"11.50";
    append(BodyRow<13>(100, 190, 7, AllTexts(first)));
    append(BodyRow<13>(100, 180, 7, AllTexts(second)));
    append(BodyRow<13>(100, 170, 7, std::array<std::optional<std::wstring>, 13>{}));
    std::array<std::optional<std::wstring>, 13> total;
    total[1] = L"总计";
    total[4] = L"101.50";   // rated power
    total[7] = L"0.801";    // power factor
    total[8] = L"82.25";    // active
    total[9] = L"61.75";    // reactive
    total[10] = L"102.70";  // apparent
    total[11] = L"156.0";   // current
    append(BodyRow<13>(100, 160, 7, total));
    append(HeaderRow(100, 140, 7, kTransformerTitles, true));
    append(BodyRow<16>(100, 130, 7, AllTexts(TransformerRow(Transformer(0)))));
    append(BodyRow<16>(100, 120, 7, AllTexts(TransformerRow(Transformer(1)))));
    // The heavy frame 5 units around title and tables.
    expected.push_back(
        Describe(CadCommand{std::wstring(L"_.PLINE"), CadPoint{95, 220, 7}, std::wstring(L"W"),
                            std::wstring(L"0.7"), std::wstring(L"0.7"), CadPoint{585, 220, 7},
                            CadPoint{585, 105, 7}, CadPoint{95, 105, 7}, std::wstring(L"C")}));
    expected.push_back(R"("_.LAYER" "S" "0" "")");

    ASSERT_EQ(drawing.Commands().size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(Describe(drawing.Commands()[i]), expected[i]) << "command " << i;
    }
}

TEST(DrawingRun, AnEmptyCellSendsAnEmptyTextWhichDrawsNothing)
{
    Document d = MakeDocument(1, 0);
    d.loads[0].m_strEquipNo.clear();
    CFixedPointSource points(CadPoint{0, 0, 0});
    CDrawing drawing(1.0, &points);
    drawing.RecordCommands(true);
    DrawCalculationTable(drawing, d.loads, d.transformers, DistinctTotals());
    EXPECT_EQ(Describe(drawing.Commands()[1 + 30 + 3]), TextText({45, -15, 0}, 3.5, L""));
    EXPECT_EQ(drawing.Texts().size(), 1u + 13u + 12u + 7u + 16u);
}

TEST(DrawingRun, ATextTooWideForItsCellGetsANarrowerWidthFactorOfItsOwn)
{
    Document d = MakeDocument(1, 1);
    d.loads[0].m_strEquipName = L"地下二层排烟风机及补风机组";  // 13 wide characters
    d.loads[0].m_strEquipNo = L"mmmmmmmmmm";                    // wider than its count says
    CFixedPointSource points(CadPoint{0, 0, 0});
    CDrawing drawing(2.0, &points);
    ASSERT_TRUE(DrawCalculationTable(drawing, d.loads, d.transformers, DistinctTotals(),
                                     L"滨江科技园 8 号楼"));
    const auto find = [&](const std::wstring& text) -> const CadText& {
        for (const CadText& t : drawing.Texts()) {
            if (t.text == text) {
                return t;
            }
        }
        ADD_FAILURE() << ToUtf8(text);
        return drawing.Texts().front();
    };
    // The cell is 60 wide at scale 2, 2 kept free on each side: 56. 13 wide
    // characters of height 7 at 0.7 would take 63.7.
    const CadText& name = find(L"地下二层排烟风机及补风机组");
    EXPECT_NEAR(name.widthFactor, 0.7 * 56 / 63.7, 1e-9);
    EXPECT_EQ(name.height, 7);
    EXPECT_EQ(name.horizontal, 1);  // still middle centre, at the cell's centre
    EXPECT_EQ(name.vertical, 2);
    EXPECT_EQ(name.position.x, 150);
    const CadText& m = find(L"mmmmmmmmmm");
    EXPECT_NEAR(m.widthFactor, 0.7 * 56 / (10 * 30.0 / 21 * 7 * 0.7), 1e-9);
    EXPECT_EQ(find(L"L1,L2,L3,N").widthFactor, 0.7);  // fits as it is
    // The project's name at the left of the title line, at the text height.
    const CadText& project = find(L"工程名称：滨江科技园 8 号楼");
    EXPECT_EQ(project.height, 7);
    EXPECT_EQ(project.horizontal, 0);
    EXPECT_EQ(project.position.y, 15);
    EXPECT_EQ(find(L"负荷计算表").height, 14);
    ASSERT_EQ(drawing.Polylines().size(), 1u);
    EXPECT_EQ(drawing.Polylines()[0].width, 1.4);
    EXPECT_TRUE(drawing.Polylines()[0].closed);
}
