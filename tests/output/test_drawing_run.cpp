// The drawing run: the order and geometry of every command it sends. Geometry
// expectations follow the table layout: rows 10 x s high, columns 30 x s
// wide, texts 3.5 x s high at cell centres, the transformer table two row
// heights below the total row. What the run leaves set in the drawing (object
// snap, layer, text style, with the base point given or declined) is read
// back from the file by ezdxf (test_dxf_file.cpp).

#include <gtest/gtest.h>

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

    std::vector<std::string> expected = {kStyleCommand};
    const auto append = [&](const std::vector<std::string>& row) {
        expected.insert(expected.end(), row.begin(), row.end());
    };
    append(HeaderRow(100, 200, 7, kLoadTitles, false));
    append(BodyRow<13>(100, 190, 7, AllTexts(CircuitRow(Circuit(0)))));
    append(BodyRow<13>(100, 180, 7, AllTexts(CircuitRow(Circuit(1)))));
    append(BodyRow<13>(100, 170, 7, std::array<std::optional<std::wstring>, 13>{}));
    std::array<std::optional<std::wstring>, 13> total;
    total[1] = L"总计";
    total[4] = L"101.5";    // rated power
    total[7] = L"0.801";    // power factor
    total[8] = L"82.25";    // active
    total[9] = L"61.75";    // reactive
    total[10] = L"102.7";   // apparent
    total[11] = L"156.03";  // current
    append(BodyRow<13>(100, 160, 7, total));
    append(HeaderRow(100, 140, 7, kTransformerTitles, true));
    append(BodyRow<16>(100, 130, 7, AllTexts(TransformerRow(Transformer(0)))));
    append(BodyRow<16>(100, 120, 7, AllTexts(TransformerRow(Transformer(1)))));
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
    EXPECT_EQ(Describe(drawing.Commands()[30 + 3]), TextText({45, -15, 0}, 3.5, L""));
    EXPECT_EQ(drawing.Texts().size(), 13u + 12u + 7u + 16u);
}
