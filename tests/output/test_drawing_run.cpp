// The drawing run: the calls it makes on its host, and the order and geometry
// of every command it sends. Geometry expectations follow the table layout:
// rows 10 x s high, columns 30 x s wide, texts 3.5 x s high at cell centres,
// the transformer table two row heights below the total row.

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

/// A host that records every call as a line of text and answers with fixed values.
class RecordingHost final : public CadHost {
public:
    std::vector<std::string> calls;
    std::optional<CadValue> osmode = CadValue(short{37});
    std::optional<CadPoint> point;
    double scale = 1;

    void acutPrintf(const std::wstring& text) override { calls.push_back("print " + Utf8(text)); }
    std::optional<CadValue> acedGetVar(const std::wstring& name) override
    {
        calls.push_back("getvar " + Utf8(name));
        if (name == L"OSMODE") {
            return osmode;
        }
        return name == L"CLAYER" ? std::optional<CadValue>(std::wstring(L"墙体")) : std::nullopt;
    }
    bool acedSetVar(const std::wstring& name, const CadValue& value) override
    {
        calls.push_back("setvar " + Utf8(name) + " " + Describe(value));
        return true;
    }
    bool acedCommand(const CadCommand& command) override
    {
        calls.push_back(Describe(command));
        return true;
    }
    std::wstring GetTextStyle() override
    {
        calls.push_back("gettextstyle");
        return L"仿宋";
    }
    bool SetTextStyle(const std::wstring& name) override
    {
        calls.push_back("settextstyle " + Utf8(name));
        return true;
    }
    bool SetToCurrentLayer(const wchar_t* layer, const wchar_t* description, const wchar_t* r1,
                           const wchar_t* r2) override
    {
        calls.push_back("settocurrentlayer " + Utf8(layer) + " " + Utf8(description) + " " +
                        (r1 ? "set" : "null") + " " + (r2 ? "set" : "null"));
        return true;
    }
    double GetDQTzbl() override
    {
        calls.push_back("getdqtzbl");
        return scale;
    }
    std::optional<CadPoint> acedGetPoint(const std::wstring& prompt) override
    {
        calls.push_back("getpoint " + Utf8(prompt));
        return point;
    }
};

const std::vector<std::string> kOpeningCalls = {
    "getvar OSMODE",
    "setvar OSMODE short 0",
    "getdqtzbl",
    "getvar CLAYER",
    "settocurrentlayer CALCULATIONS ETABLE null null",
    "gettextstyle",
    kStyleCommand,
    "getpoint \n请选择绘制基点<回车结束>:",
};

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

TEST(DrawingRun, DecliningTheBasePointRestoresLayerAndStyleButLeavesObjectSnapOff)
{
    RecordingHost host;
    const Document d = MakeDocument(2, 1);
    EXPECT_FALSE(DrawCalculationTable(host, d.loads, d.transformers, DistinctTotals()));

    std::vector<std::string> expected = kOpeningCalls;
    expected.push_back(R"("_.LAYER" "S" "墙体" "")");
    expected.push_back("settextstyle 仿宋");
    EXPECT_EQ(host.calls, expected);
}

TEST(DrawingRun, ACompletedRunRestoresLayerStyleAndObjectSnapLastWhenItWasAShortInteger)
{
    for (const bool isShort : {true, false}) {
        RecordingHost host;
        host.point = CadPoint{0, 0, 0};
        host.osmode = isShort ? CadValue(short{37}) : CadValue(37.0);
        EXPECT_TRUE(
            DrawCalculationTable(host, CLoadArray(), CTransformerArray(), DistinctTotals()));

        ASSERT_GT(host.calls.size(), kOpeningCalls.size() + 3);
        EXPECT_EQ(
            std::vector<std::string>(host.calls.begin(), host.calls.begin() + kOpeningCalls.size()),
            kOpeningCalls);
        std::vector<std::string> closing = {R"("_.LAYER" "S" "墙体" "")", "settextstyle 仿宋"};
        if (isShort) {
            closing.push_back("setvar OSMODE short 37");
        }
        EXPECT_EQ(std::vector<std::string>(host.calls.end() - static_cast<long>(closing.size()),
                                           host.calls.end()),
                  closing);
        // Empty lists: load header 29 commands, blank row 15, total row 22,
        // transformer header 35.
        EXPECT_EQ(host.calls.size(), kOpeningCalls.size() + 29 + 15 + 22 + 35 + closing.size());
    }
}

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
