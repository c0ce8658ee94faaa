// The drawing run: the calls it makes on its host, and the order and geometry
// of every command it sends. Geometry expectations follow the table layout:
// rows 10 x s high, columns 30 x s wide, texts 3.5 x s high at cell centres,
// the transformer table two row heights below the total row.

#include <gtest/gtest.h>

#include <set>

#include "output/Drawing.h"
#include "output/DrawingRun.h"
#include "output/PointSource.h"
#include "tests/output/CommandText.h"
#include "tests/output/OutputTestSupport.h"

using namespace loadcal;
using namespace loadcal::testoutput;

namespace {

const std::array<std::wstring, 13> kLoadTitles = {
    L"回路编号",      L"设备编号",    L"设备名称",         L"相位",         L"额定容量(kW)",
    L"工作电压(kV)",  L"需要系数(K)", L"功率因数(cos(φ))", L"计算有功(kW)", L"计算无功(kVar)",
    L"视在功率(kVA)", L"计算电流(A)", L"归属变压器"};

const std::array<std::wstring, 16> kTransformerTitles = {
    L"变压器名称",     L"额定容量(kVA)",  L"实际负载率%",   L"预计负荷率%",
    L"同时系数(Kp)",   L"同时系数(Kq)",   L"计算有功(kW)",  L"计算无功(kVar)",
    L"视在功率(kVA)",  L"计算电流(A)",    L"有功补偿系数α", L"无功补偿系数β",
    L"补偿前功率因数", L"补偿后功率因数", L"补偿容量",      L"实际补偿容量"};

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

/// Runs the table into an in-memory drawing that records its commands.
std::vector<std::string> Commands(int n, int m, CadPoint base, double scale = 1.0)
{
    CLoadArray loads;
    CTransformerArray transformers;
    MakeDocument(n, m, loads, transformers);
    CFixedPointSource points(base);
    CDrawing drawing(scale, &points);
    drawing.RecordCommands(true);
    EXPECT_TRUE(DrawCalculationTable(drawing, loads, transformers, DistinctTotals()));
    std::vector<std::string> out;
    for (const CadCommand& c : drawing.Commands()) {
        out.push_back(Describe(c));
    }
    return out;
}

std::vector<std::string> Slice(const std::vector<std::string>& v, size_t from, size_t count)
{
    EXPECT_LE(from + count, v.size());
    return {v.begin() + static_cast<long>(std::min(from, v.size())),
            v.begin() + static_cast<long>(std::min(from + count, v.size()))};
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
    CLoadArray loads;
    CTransformerArray transformers;
    MakeDocument(2, 1, loads, transformers);
    EXPECT_FALSE(DrawCalculationTable(host, loads, transformers, DistinctTotals()));

    std::vector<std::string> expected = kOpeningCalls;
    expected.push_back(R"("_.LAYER" "S" "墙体" "")");
    expected.push_back("settextstyle 仿宋");
    EXPECT_EQ(host.calls, expected);
}

TEST(DrawingRun, ACompletedRunRestoresLayerStyleAndObjectSnapLast)
{
    RecordingHost host;
    host.point = CadPoint{0, 0, 0};
    CLoadArray loads;
    CTransformerArray transformers;
    EXPECT_TRUE(DrawCalculationTable(host, loads, transformers, DistinctTotals()));

    ASSERT_GT(host.calls.size(), kOpeningCalls.size() + 3);
    EXPECT_EQ(Slice(host.calls, 0, kOpeningCalls.size()), kOpeningCalls);
    const std::vector<std::string> closing = {R"("_.LAYER" "S" "墙体" "")", "settextstyle 仿宋",
                                              "setvar OSMODE short 37"};
    EXPECT_EQ(Slice(host.calls, host.calls.size() - 3, 3), closing);
    // Empty lists: load header 29 commands, blank row 15, total row 22,
    // transformer header 35.
    EXPECT_EQ(host.calls.size(), kOpeningCalls.size() + 29 + 15 + 22 + 35 + 3);
}

TEST(DrawingRun, ObjectSnapThatIsNotAShortIntegerIsNotRestored)
{
    RecordingHost host;
    host.point = CadPoint{0, 0, 0};
    host.osmode = CadValue(37.0);
    CLoadArray loads;
    CTransformerArray transformers;
    DrawCalculationTable(host, loads, transformers, DistinctTotals());
    EXPECT_EQ(host.calls[1], "setvar OSMODE short 0");
    EXPECT_EQ(host.calls.back(), "settextstyle 仿宋");
}

TEST(DrawingRun, LoadHeaderDrawsTopLeftAndBottomLinesThenEachTitleAndItsRightBorder)
{
    const auto commands = Commands(1, 1, {100, 200, 7});
    ASSERT_FALSE(commands.empty());
    EXPECT_EQ(commands[0], kStyleCommand);

    std::vector<std::string> expected = {
        LineText({100, 200, 7}, {490, 200, 7}),
        LineText({100, 200, 7}, {100, 190, 7}),
        LineText({100, 190, 7}, {490, 190, 7}),
    };
    for (size_t i = 0; i < 13; ++i) {
        const double x = 100 + 30.0 * static_cast<double>(i);
        expected.push_back(TextText({x + 15, 195, 7}, 3.5, kLoadTitles[i]));
        expected.push_back(LineText({x + 30, 200, 7}, {x + 30, 190, 7}));
    }
    EXPECT_EQ(Slice(commands, 1, expected.size()), expected);
}

TEST(DrawingRun, CircuitRowsShowTheirFieldsInTableOrderOneRowBelowTheOther)
{
    const auto commands = Commands(2, 0, {0, 0, 0});
    for (int k = 0; k < 2; ++k) {
        const auto expected = BodyRow<13>(0, -10.0 * (k + 1), 0, AllTexts(CircuitRow(Circuit(k))));
        EXPECT_EQ(Slice(commands, 30 + 28 * static_cast<size_t>(k), 28), expected)
            << "circuit " << k;
    }
    // The voltage stands between rated power and demand factor.
    EXPECT_EQ(commands[30 + 1 + 2 * 5], TextText({165, -15, 0}, 3.5, L"0.38"));
    EXPECT_EQ(commands[30 + 1 + 2 * 6], TextText({195, -15, 0}, 3.5, L"0.70"));
}

TEST(DrawingRun, BlankRowHasNoTextsAndTotalRowOnlyItsFilledColumns)
{
    const int n = 2;
    const auto commands = Commands(n, 0, {0, 0, 0});
    const size_t blank = 1 + 29 + 28 * n;
    EXPECT_EQ(Slice(commands, blank, 15),
              BodyRow<13>(0, -30, 0, std::array<std::optional<std::wstring>, 13>{}));

    std::array<std::optional<std::wstring>, 13> total;
    total[1] = L"总计";
    total[4] = L"101.5";    // rated power
    total[7] = L"0.801";    // power factor
    total[8] = L"82.25";    // active
    total[9] = L"61.75";    // reactive
    total[10] = L"102.7";   // apparent
    total[11] = L"156.03";  // current
    EXPECT_EQ(Slice(commands, blank + 15, 22), BodyRow<13>(0, -40, 0, total));
}

TEST(DrawingRun, TransformerTableStartsTwoRowsBelowTheTotalRowWithItsBottomLineLast)
{
    const int n = 1;
    const auto commands = Commands(n, 2, {0, 0, 0});
    const size_t header = 1 + 29 + 28 * n + 15 + 22;
    const double top = -10.0 * (n + 4);
    std::vector<std::string> expected = {
        LineText({0, top, 0}, {480, top, 0}),
        LineText({0, top, 0}, {0, top - 10, 0}),
    };
    for (size_t i = 0; i < 16; ++i) {
        const double x = 30.0 * static_cast<double>(i);
        expected.push_back(TextText({x + 15, top - 5, 0}, 3.5, kTransformerTitles[i]));
        expected.push_back(LineText({x + 30, top, 0}, {x + 30, top - 10, 0}));
    }
    expected.push_back(LineText({0, top - 10, 0}, {480, top - 10, 0}));
    EXPECT_EQ(Slice(commands, header, 35), expected);

    for (int m = 0; m < 2; ++m) {
        const auto row =
            BodyRow<16>(0, top - 10.0 * (m + 1), 0, AllTexts(TransformerRow(Transformer(m))));
        EXPECT_EQ(Slice(commands, header + 35 + 34 * static_cast<size_t>(m), 34), row);
    }
    EXPECT_EQ(commands.back(), R"("_.LAYER" "S" "0" "")");
    EXPECT_EQ(commands.size(), header + 35 + 2 * 34 + 1);
    for (const std::string& c : commands) {
        EXPECT_EQ(c.find("SPARE"), std::string::npos) << c;
    }
}

TEST(DrawingRun, HorizontalLinesLieOnRowBoundariesWithOneEmptyRowBetweenTables)
{
    CLoadArray loads;
    CTransformerArray transformers;
    MakeDocument(3, 2, loads, transformers);
    CFixedPointSource points(CadPoint{0, 0, 0});
    CDrawing drawing(1.0, &points);
    ASSERT_TRUE(DrawCalculationTable(drawing, loads, transformers, DistinctTotals()));

    // Load table from 0 down to -60 (header, 3 circuits, blank, total), the
    // empty row from -60 to -70, the transformer table from -70 to -100.
    std::set<double> rows;
    for (const CadLine& line : drawing.Lines()) {
        if (line.start.y == line.end.y) {
            rows.insert(line.start.y);
        }
        EXPECT_FALSE(std::max(line.start.y, line.end.y) > -70 &&
                     std::min(line.start.y, line.end.y) < -60)
            << "a line crosses the empty row at y " << line.start.y << " .. " << line.end.y;
    }
    EXPECT_EQ(rows, (std::set<double>{0, -10, -20, -30, -40, -50, -60, -70, -80, -90, -100}));
    // header 16, circuits 3 x 15, blank 15, total 15, transformer header 19,
    // transformers 2 x 18 lines; texts: 13 + 3 x 13 + 7 + 16 + 2 x 16.
    EXPECT_EQ(drawing.Lines().size(), 146u);
    EXPECT_EQ(drawing.Texts().size(), 107u);
}

TEST(DrawingRun, ScaleTwoDoublesCellsAndTextHeight)
{
    const auto commands = Commands(0, 0, {0, 0, 0}, 2.0);
    EXPECT_EQ(commands[1], LineText({0, 0, 0}, {780, 0, 0}));
    EXPECT_EQ(commands[2], LineText({0, 0, 0}, {0, -20, 0}));
    EXPECT_EQ(commands[4], TextText({30, -10, 0}, 7, kLoadTitles[0]));
    EXPECT_EQ(commands[5], LineText({60, 0, 0}, {60, -20, 0}));
    // Transformer header of an empty document: top at -2 x 10 x (0 + 4).
    EXPECT_EQ(commands[1 + 29 + 15 + 22], LineText({0, -80, 0}, {960, -80, 0}));
}

TEST(DrawingRun, AnEmptyCellSendsAnEmptyTextWhichDrawsNothing)
{
    CLoadArray loads;
    CTransformerArray transformers;
    MakeDocument(1, 0, loads, transformers);
    loads[0].m_strEquipNo.clear();
    CFixedPointSource points(CadPoint{0, 0, 0});
    CDrawing drawing(1.0, &points);
    drawing.RecordCommands(true);
    DrawCalculationTable(drawing, loads, transformers, DistinctTotals());
    EXPECT_EQ(Describe(drawing.Commands()[30 + 3]), TextText({45, -15, 0}, 3.5, L""));
    EXPECT_EQ(drawing.Texts().size(), 13u + 12u + 7u + 16u);
}
