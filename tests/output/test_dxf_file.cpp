// Drawing files read back with ezdxf (tests/output/read_outputs.py), and the
// rules for placing them: never half-written, never over an existing file
// unless allowed.

#include <gtest/gtest.h>

#include <array>
#include <fstream>

#include "document/JsonDocument.h"
#include "model/Calculation.h"
#include "model/Text.h"
#include "output/Drawing.h"
#include "output/DrawingExport.h"
#include "output/DrawingRun.h"
#include "output/DxfFile.h"
#include "output/Figures.h"
#include "output/OutputError.h"
#include "output/PointSource.h"
#include "tests/output/OutputTestSupport.h"

using namespace loadcal;
using namespace loadcal::testoutput;
using nlohmann::json;

namespace {

/// A point source that counts how often it is asked.
class CountingPoints final : public IPointSource {
public:
    explicit CountingPoints(std::optional<CadPoint> point) : m_point(point) {}
    std::optional<CadPoint> GetPoint(const std::wstring&) override
    {
        ++asked;
        return m_point;
    }
    int asked = 0;

private:
    std::optional<CadPoint> m_point;
};

json ExportDocument(const TempFolder& folder, const Document& d, CadPoint base, double scale,
                    const std::wstring& project = {})
{
    CFixedPointSource points(base);
    const auto path = folder / "table.dxf";
    EXPECT_EQ(ExportDrawing(d.loads, d.transformers, DistinctTotals(),
                            {path, scale, false, project}, points),
              DrawingExportResult::Written);
    return ReadBack("dxf", path);
}

json Export(const TempFolder& folder, int n, int m, CadPoint base, double scale)
{
    return ExportDocument(folder, MakeDocument(n, m), base, scale);
}

bool IsTitle(const json& text)
{
    return text["text"] == "负荷计算表" ||
           text["text"].get<std::string>().rfind("工程名称：", 0) == 0;
}

const json* FindText(const json& dxf, const std::string& text)
{
    for (const json& t : dxf["texts"]) {
        if (t["text"] == text) {
            return &t;
        }
    }
    return nullptr;
}

const json* FindNamed(const json& list, const std::string& name)
{
    for (const json& item : list) {
        if (item["name"] == name) {
            return &item;
        }
    }
    return nullptr;
}

void ExpectTextAt(const json& dxf, const std::string& text, double x, double y)
{
    const json* t = FindText(dxf, text);
    ASSERT_NE(t, nullptr) << text;
    EXPECT_DOUBLE_EQ((*t)["x"].get<double>(), x) << text;
    EXPECT_DOUBLE_EQ((*t)["y"].get<double>(), y) << text;
}

}  // namespace

TEST(DxfText, EscapesEverythingOutsidePrintableAsciiAsUtf16Units)
{
    EXPECT_EQ(DxfText(L"WL1 回路"), "WL1 \\U+56DE\\U+8DEF");
    EXPECT_EQ(DxfText(L"cos(φ)"), "cos(\\U+03C6)");
    EXPECT_EQ(DxfText(L"a\\b"), "a\\U+005Cb");
    EXPECT_EQ(DxfText(L"a\nb"), "a\\U+000Ab");
    EXPECT_EQ(DxfText(L"\U0001F600"), "\\U+D83D\\U+DE00");
}

TEST(DxfFile, ReadsBackWithEveryLineTextStyleAndLayerInPlace)
{
    TempFolder folder;
    const json dxf = Export(folder, 3, 2, {10, 20, 0}, 1.0);
    ASSERT_TRUE(dxf.is_object());
    EXPECT_EQ(dxf["recover_errors"], 0);
    EXPECT_EQ(dxf["audit_errors"], 0) << dxf["audit_messages"];
    EXPECT_EQ(dxf["header"]["$ACADVER"], "AC1015");
    EXPECT_EQ(dxf["header"]["$DWGCODEPAGE"], "ANSI_936");
    EXPECT_EQ(dxf["header"]["$CLAYER"], "0");
    EXPECT_EQ(dxf["header"]["$TEXTSTYLE"], "Standard");
    EXPECT_EQ(dxf["header"]["$OSMODE"], 4133);
    EXPECT_TRUE(dxf["others"].empty());
    // The heavy frame: 5 around the title band (15 above the base point) and
    // the tables, 0.7 wide.
    ASSERT_EQ(dxf["polylines"].size(), 1u);
    const json& frame = dxf["polylines"][0];
    EXPECT_EQ(frame["closed"], true);
    EXPECT_DOUBLE_EQ(frame["width"].get<double>(), 0.7);
    EXPECT_EQ(frame["layer"], "CALCULATIONS");
    EXPECT_EQ(frame["points"], json::parse("[[5, 40], [495, 40], [495, -85], [5, -85]]"));

    const json* layer = FindNamed(dxf["layers"], "CALCULATIONS");
    ASSERT_NE(layer, nullptr);
    EXPECT_EQ((*layer)["description"], "ETABLE");
    const json* style = FindNamed(dxf["styles"], "LOADCALSTYLE");
    ASSERT_NE(style, nullptr);
    EXPECT_EQ((*style)["font"], "romans6.shx");
    EXPECT_EQ((*style)["bigfont"], "hztxt.shx");
    EXPECT_DOUBLE_EQ((*style)["width"].get<double>(), 0.7);
    EXPECT_DOUBLE_EQ((*style)["height"].get<double>(), 0.0);  // TEXT asks the height

    // Lines: header 16, circuits 3 x 15, blank 15, total 15, transformer
    // header 19, transformers 2 x 18. Texts: the title, 13 + 3 x 13 + 7 + 16 + 2 x 16.
    EXPECT_EQ(dxf["lines"].size(), 146u);
    EXPECT_EQ(dxf["texts"].size(), 108u);
    double minX = 1e9, maxX = -1e9, minY = 1e9, maxY = -1e9;
    for (const json& line : dxf["lines"]) {
        EXPECT_EQ(line[6], "CALCULATIONS");
        minX = std::min({minX, line[0].get<double>(), line[3].get<double>()});
        maxX = std::max({maxX, line[0].get<double>(), line[3].get<double>()});
        minY = std::min({minY, line[1].get<double>(), line[4].get<double>()});
        maxY = std::max({maxY, line[1].get<double>(), line[4].get<double>()});
    }
    // Transformer table 480 wide; bottom of transformer row 2 at -10 x (3 + 7).
    EXPECT_DOUBLE_EQ(minX, 10);
    EXPECT_DOUBLE_EQ(maxX, 490);
    EXPECT_DOUBLE_EQ(maxY, 20);
    EXPECT_DOUBLE_EQ(minY, 20 - 100);
    for (const json& t : dxf["texts"]) {
        EXPECT_EQ(t["layer"], "CALCULATIONS");
        EXPECT_EQ(t["style"], "LOADCALSTYLE");
        EXPECT_EQ(t["halign"], 1);
        EXPECT_EQ(t["valign"], 2);
        EXPECT_DOUBLE_EQ(t["height"].get<double>(), IsTitle(t) ? 7 : 3.5);
        // Only the one header too wide for its cell is narrowed.
        if (t["text"] == "功率因数(cos(φ))") {
            EXPECT_LT(t["width"].get<double>(), 0.7);
        } else {
            EXPECT_DOUBLE_EQ(t["width"].get<double>(), 0.7) << t["text"];
        }
        EXPECT_DOUBLE_EQ(t["rotation"].get<double>(), 0.0);
    }
    ExpectTextAt(dxf, "负荷计算表", 10 + 240, 20 + 7.5);
    ExpectTextAt(dxf, "回路编号", 25, 15);
    ExpectTextAt(dxf, "功率因数(cos(φ))", 10 + 7 * 30 + 15, 15);
    ExpectTextAt(dxf, "照明配电箱2", 10 + 2 * 30 + 15, 20 - 5 - 30);
    ExpectTextAt(dxf, "总计", 10 + 45, 20 - 5 - 10 * 5);
    ExpectTextAt(dxf, "156.0", 10 + 11 * 30 + 15, 20 - 5 - 10 * 5);  // 156.03 A to 0.1
    ExpectTextAt(dxf, "实际补偿容量", 10 + 15 * 30 + 15, 20 - 5 - 10 * 7);
    ExpectTextAt(dxf, "变压器1", 25, 20 - 5 - 10 * 9);
    ExpectTextAt(dxf, "β1", 10 + 11 * 30 + 15, 20 - 5 - 10 * 9);
    EXPECT_EQ(FindText(dxf, "SPARE-0"), nullptr);
}

TEST(DxfFile, ScaleTwoDoublesTextHeightAndTableSize)
{
    TempFolder folder;
    const json dxf = Export(folder, 1, 1, {0, 0, 0}, 2.0);
    ASSERT_TRUE(dxf.is_object());
    for (const json& t : dxf["texts"]) {
        EXPECT_DOUBLE_EQ(t["height"].get<double>(), IsTitle(t) ? 14.0 : 7.0);
    }
    ExpectTextAt(dxf, "回路编号", 30, -10);
    // One circuit and one transformer: seven rows of 20 (header, circuit,
    // blank, total, empty, transformer header, transformer), 16 columns of 60.
    double minY = 0, maxX = 0;
    for (const json& line : dxf["lines"]) {
        minY = std::min({minY, line[1].get<double>(), line[4].get<double>()});
        maxX = std::max({maxX, line[0].get<double>(), line[3].get<double>()});
    }
    EXPECT_DOUBLE_EQ(minY, -140);
    EXPECT_DOUBLE_EQ(maxX, 960);
}

TEST(DxfFile, EmptyListsStillDrawBothHeadersBlankAndTotalRows)
{
    TempFolder folder;
    const json dxf = Export(folder, 0, 0, {0, 0, 0}, 1.0);
    ASSERT_TRUE(dxf.is_object());
    EXPECT_EQ(dxf["audit_errors"], 0);
    EXPECT_EQ(dxf["lines"].size(), 16u + 15u + 15u + 19u);
    EXPECT_EQ(dxf["texts"].size(), 1u + 13u + 7u + 16u);
    ExpectTextAt(dxf, "总计", 45, -25);
    ExpectTextAt(dxf, "变压器名称", 15, -45);
}

TEST(DxfFile, EveryTextStaysWithinItsCellAsEzdxfMeasuresIt)
{
    // Long names, numbers and owners, a wide project name, at two scales.
    Document d = MakeDocument(6, 3);
    d.loads[0].m_strEquipName = L"地下二层排烟风机及补风机组（消防兼平时）";
    d.loads[1].m_strEquipNo = L"AP-B2-XF-01/02";
    d.loads[2].m_strTransformer = L"1#变压器,2#变压器,3#变压器";
    d.loads[3].m_strRatedPower = L"123456.789";
    d.loads[4].m_strCircuitNo = L"WLmmmmmmmmmm";
    d.transformers[0].m_strName = L"10/0.4kV 2000kVA 干式变压器";
    for (const double scale : {1.0, 2.5}) {
        TempFolder folder;
        const json dxf = ExportDocument(folder, d, {3, 4, 0}, scale,
                                        L"滨江科技园区八号办公楼及地下车库变配电工程");
        ASSERT_TRUE(dxf.is_object());
        ASSERT_EQ(dxf["texts"].size(), dxf["cells"].size());
        const json& frame = dxf["polylines"][0]["points"];
        const double frameLeft = frame[0][0].get<double>();
        const double frameRight = frame[1][0].get<double>();
        const double frameTop = frame[0][1].get<double>();
        double titleLeft = 0;
        double projectRight = 0;
        for (size_t k = 0; k < dxf["texts"].size(); ++k) {
            const json& t = dxf["texts"][k];
            const json& cell = dxf["cells"][k];
            const double x = t["x"].get<double>();
            const double width = t["measured"].get<double>();
            const double height = t["height"].get<double>();
            if (IsTitle(t)) {
                // The title line: inside the frame, the two texts apart.
                const double left = t["halign"] == 0 ? x : x - width / 2;
                EXPECT_GE(left, frameLeft) << t["text"];
                EXPECT_LE(left + width, frameRight) << t["text"];
                EXPECT_LE(t["y"].get<double>() + height / 2, frameTop) << t["text"];
                (t["halign"] == 0 ? projectRight : titleLeft) =
                    t["halign"] == 0 ? left + width : left;
                continue;
            }
            ASSERT_FALSE(cell["left"].is_null()) << t["text"];
            ASSERT_FALSE(cell["right"].is_null()) << t["text"];
            ASSERT_FALSE(cell["top"].is_null()) << t["text"];
            ASSERT_FALSE(cell["bottom"].is_null()) << t["text"];
            EXPECT_GE(x - width / 2, cell["left"].get<double>()) << t["text"];
            EXPECT_LE(x + width / 2, cell["right"].get<double>()) << t["text"];
            EXPECT_LE(t["y"].get<double>() + height / 2, cell["top"].get<double>());
            EXPECT_GE(t["y"].get<double>() - height / 2, cell["bottom"].get<double>());
            // The cells are the grid's: 30 x 10 times the scale.
            EXPECT_NEAR(cell["right"].get<double>() - cell["left"].get<double>(), 30 * scale, 1e-9);
            EXPECT_NEAR(cell["top"].get<double>() - cell["bottom"].get<double>(), 10 * scale, 1e-9);
        }
        EXPECT_LT(projectRight, titleLeft) << "the project name runs into the title";
        EXPECT_GT(projectRight, 0);
    }
}

TEST(DxfFile, BoardsStandInATableOfTheirOwnBetweenTheTwoTablesEveryTextInItsCell)
{
    const Document d = MakeDocument(3, 2);
    CLoadCalDocument doc(d.loads, d.transformers);
    const std::array<std::array<const wchar_t*, 11>, 2> boards = {{
        {L"1AP-LD", L"1#变压器", L"L1,L2,L3,N", L"0.9", L"0.95", L"522", L"406.35", L"277.146",
         L"491.864", L"747.31", L"0.826143"},
        {L"地下二层消防风机及补风机组配电箱", L"1#变压器,2#变压器,3#变压器", L"L2,N", L"1", L"1",
         L"8", L"6.8", L"-NAN", L"7.55556", L"34.3434", L"0.9"},
    }};
    for (const auto& texts : boards) {
        CBoardCalData b;
        for (int f = 0; f < CBoardCalData::kFieldCount; ++f) {
            b.FieldAt(f) = texts[static_cast<size_t>(f)];
        }
        doc.boards.Add(b);
    }
    TempFolder folder;
    CFixedPointSource points(CadPoint{0, 0, 0});
    const auto path = folder / "boards.dxf";
    ASSERT_EQ(ExportDrawing(doc, DistinctTotals(), {path, 1.0, false, {}}, points),
              DrawingExportResult::Written);
    const json dxf = ReadBack("dxf", path);
    ASSERT_TRUE(dxf.is_object());
    EXPECT_EQ(dxf["audit_errors"], 0);
    // Load header at y 0, three circuits, a blank row, the total row (y -50 to
    // -60), a blank row, the board header at -70, two boards, a blank row, the
    // transformer header at -110.
    // (Titles the load table shares stand there too: look at the place.)
    const auto textAt = [&dxf](double x, double y) {
        for (const json& t : dxf["texts"]) {
            if (t["x"].get<double>() == x && t["y"].get<double>() == y) {
                return t["text"].get<std::string>();
            }
        }
        return std::string("(none)");
    };
    for (size_t k = 0; k < kBoardColumns.size(); ++k) {
        EXPECT_EQ(textAt(30.0 * static_cast<double>(k) + 15, -75), ToUtf8(kBoardColumns[k].title));
    }
    ExpectTextAt(dxf, "1AP-LD", 15, -85);
    ExpectTextAt(dxf, "406.35", 165, -85);
    ExpectTextAt(dxf, "0.826", 255, -85);  // figures rounded as in the book
    ExpectTextAt(dxf, "747.3", 285, -85);
    ExpectTextAt(dxf, "-NAN", 195, -95);  // not a number: as stored
    ExpectTextAt(dxf, "变压器名称", 15, -115);
    // The owner list of the second board is narrowed into its cell; so is every text.
    ASSERT_EQ(dxf["texts"].size(), dxf["cells"].size());
    int boardTexts = 0;
    for (size_t k = 0; k < dxf["texts"].size(); ++k) {
        const json& t = dxf["texts"][k];
        const json& cell = dxf["cells"][k];
        if (IsTitle(t)) {
            continue;
        }
        const double x = t["x"].get<double>();
        const double y = t["y"].get<double>();
        const double width = t["measured"].get<double>();
        ASSERT_FALSE(cell["left"].is_null()) << t["text"];
        ASSERT_FALSE(cell["right"].is_null()) << t["text"];
        EXPECT_GE(x - width / 2, cell["left"].get<double>()) << t["text"];
        EXPECT_LE(x + width / 2, cell["right"].get<double>()) << t["text"];
        EXPECT_NEAR(cell["right"].get<double>() - cell["left"].get<double>(), 30, 1e-9);
        EXPECT_NEAR(cell["top"].get<double>() - cell["bottom"].get<double>(), 10, 1e-9);
        boardTexts += y < -70 && y > -100 ? 1 : 0;
    }
    EXPECT_EQ(boardTexts, 3 * 11);  // the header and two boards
    // The frame closes around all three tables.
    const json& frame = dxf["polylines"][0]["points"];
    EXPECT_DOUBLE_EQ(frame[2][1].get<double>(), -140 - 5);  // two transformers below -120
}

TEST(DxfFile, ADeclinedRunSavedAnywayHasStyleAndLayerButNothingDrawnAndObjectSnapOff)
{
    TempFolder folder;
    CFixedPointSource declines(std::nullopt);
    CDrawing drawing(1.0, &declines);
    const Document d = MakeDocument(2, 1);
    ASSERT_FALSE(DrawCalculationTable(drawing, d.loads, d.transformers, DistinctTotals()));
    SaveDrawing(drawing, folder / "declined.dxf", false);
    const json dxf = ReadBack("dxf", folder / "declined.dxf");
    ASSERT_TRUE(dxf.is_object());
    EXPECT_EQ(dxf["header"]["$OSMODE"], 0);
    EXPECT_EQ(dxf["header"]["$CLAYER"], "0");
    EXPECT_EQ(dxf["header"]["$TEXTSTYLE"], "Standard");
    EXPECT_TRUE(dxf["lines"].empty());
    EXPECT_TRUE(dxf["texts"].empty());
    EXPECT_NE(FindNamed(dxf["styles"], "LOADCALSTYLE"), nullptr);
    EXPECT_NE(FindNamed(dxf["layers"], "CALCULATIONS"), nullptr);
}

TEST(DxfFile, NoFileIsWrittenWhenTheBasePointIsDeclinedOrTheScaleIsNotPositive)
{
    TempFolder folder;
    CountingPoints declines(std::nullopt);
    EXPECT_EQ(ExportDrawing({}, {}, DistinctTotals(), {folder / "t.dxf", 1.0, false}, declines),
              DrawingExportResult::Declined);
    EXPECT_EQ(declines.asked, 1);

    // A bad scale is refused before the question.
    CountingPoints points(CadPoint{0, 0, 0});
    EXPECT_THROW(ExportDrawing({}, {}, DistinctTotals(), {folder / "t.dxf", 0.0, false}, points),
                 OutputError);
    EXPECT_EQ(points.asked, 0);
    EXPECT_TRUE(folder.Entries().empty());
}

TEST(DxfFile, AnExistingFileIsRefusedBeforeTheQuestionUnlessReplacingIsAllowed)
{
    TempFolder folder;
    const auto path = folder / "t.dxf";
    std::ofstream(path) << "previous";
    CountingPoints points(CadPoint{0, 0, 0});
    const auto error = ErrorOf([&] {
        ExportDrawing({}, {}, DistinctTotals(), {path, 1.0, false}, points);
    });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->GetKind(), OutputError::Kind::FileExists);
    EXPECT_NE(std::string(error->what()).find(path.string()), std::string::npos);
    EXPECT_EQ(points.asked, 0);
    EXPECT_EQ(ReadBytes(path), "previous");

    EXPECT_EQ(ExportDrawing({}, {}, DistinctTotals(), {path, 1.0, true}, points),
              DrawingExportResult::Written);
    EXPECT_EQ(ReadBytes(path).substr(0, 9), "  0\nSECTI");
    EXPECT_EQ(folder.Entries(), std::vector<std::string>{"t.dxf"});
}

TEST(DxfFile, AFileAppearingDuringTheRunIsStillNotReplaced)
{
    TempFolder folder;
    const auto path = folder / "t.dxf";
    CDrawing drawing;
    SaveDrawing(drawing, path, false);
    const std::string first = ReadBytes(path);
    drawing.SetToCurrentLayer(L"OTHER", nullptr, nullptr, nullptr);
    EXPECT_THROW(SaveDrawing(drawing, path, false), OutputError);
    EXPECT_EQ(ReadBytes(path), first);
    EXPECT_EQ(folder.Entries(), std::vector<std::string>{"t.dxf"});
}

TEST(DxfFile, AFailedWriteLeavesThePreviousContentAndNoTemporaryFile)
{
    TempFolder folder;
    // The target is a folder holding a file: the finished drawing cannot be
    // moved over it.
    const auto target = folder / "t.dxf";
    std::filesystem::create_directory(target);
    std::ofstream(target / "inside") << "kept";
    CDrawing drawing;
    const auto error = ErrorOf([&] { SaveDrawing(drawing, target, true); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->GetKind(), OutputError::Kind::Write);
    EXPECT_NE(std::string(error->what()).find(target.string()), std::string::npos);
    EXPECT_EQ(ReadBytes(target / "inside"), "kept");
    EXPECT_EQ(folder.Entries(), std::vector<std::string>{"t.dxf"});

    // A folder that does not exist.
    EXPECT_THROW(SaveDrawing(drawing, folder / "missing" / "t.dxf", true), OutputError);
    EXPECT_EQ(folder.Entries(), std::vector<std::string>{"t.dxf"});
}

TEST(DxfFile, WithFireRolesTheFireColumnsFollowInTheGridEveryTextInItsCell)
{
    CLoadCalDocument doc;
    DocumentFromJson(testsupport::ReadBytes(std::string(LOADCAL_SOURCE_DIR) +
                                            "/examples/office-building-boards.json"),
                     "example", doc);
    RecalculateDocument(doc);
    TempFolder folder;
    CFixedPointSource points(CadPoint{0, 0, 0});
    const auto path = folder / "fire.dxf";
    ASSERT_EQ(ExportDrawing(doc, ComputeTotals(doc), {path, 1.0, false, {}}, points),
              DrawingExportResult::Written);
    const json dxf = ReadBack("dxf", path);
    ASSERT_TRUE(dxf.is_object());
    EXPECT_EQ(dxf["audit_errors"], 0);
    const int n = doc.loads.GetSize();
    const int b = doc.boards.GetSize();
    // The load table: header at 0, circuits, a blank row, the total row, a
    // blank row; the board header below, then the transformer header.
    const double boardHeader = -10.0 * (n + 4);
    const double transformerHeader = boardHeader - 10.0 * (b + 2);
    const auto cellX = [](size_t column) {
        return 30.0 * static_cast<double>(column) + 15;
    };
    const auto textAt = [&dxf](double x, double y) {
        for (const json& t : dxf["texts"]) {
            if (t["x"].get<double>() == x && t["y"].get<double>() == y) {
                return t["text"].get<std::string>();
            }
        }
        return std::string("(none)");
    };
    // Circuit fields after the thirteen columns.
    EXPECT_EQ(textAt(cellX(13), -5), "负荷类型");
    EXPECT_EQ(textAt(cellX(14), -5), "负荷等级");
    EXPECT_EQ(textAt(cellX(15), -5), "消防");
    for (int i = 0; i < n; ++i) {
        const CLoadCalData& c = doc.loads[i];
        const double y = -10.0 * (i + 1) - 5;
        if (!c.m_strLoadType.empty()) {
            EXPECT_EQ(textAt(cellX(13), y), ToUtf8(c.m_strLoadType));
        }
        if (!c.m_strFire.empty()) {
            EXPECT_EQ(textAt(cellX(15), y), ToUtf8(c.m_strFire));
        }
    }
    // The boards' fire case after their eleven columns, with the command
    // line's titles; figures rounded as in the book.
    for (size_t k = 0; k < kIssuedBoardFireColumns.size(); ++k) {
        EXPECT_EQ(textAt(cellX(11 + k), boardHeader - 5), ToUtf8(kBoardFireColumns[k + 1].title));
        for (int i = 0; i < b; ++i) {
            EXPECT_EQ(
                textAt(cellX(11 + k), boardHeader - 10.0 * (i + 1) - 5),
                ToUtf8(ShowFigure(kIssuedBoardFireColumns[k].kind,
                                  doc.boards[i].AnyFieldAt(kIssuedBoardFireColumns[k].field))));
        }
    }
    // The transformers' after their sixteen.
    for (size_t k = 0; k < kIssuedTransformerFireColumns.size(); ++k) {
        EXPECT_EQ(textAt(cellX(16 + k), transformerHeader - 5),
                  ToUtf8(kTransformerFireColumns[k + 2].title));
        for (int i = 0; i < doc.transformers.GetSize(); ++i) {
            EXPECT_EQ(textAt(cellX(16 + k), transformerHeader - 10.0 * (i + 1) - 5),
                      ToUtf8(ShowFigure(
                          kIssuedTransformerFireColumns[k].kind,
                          doc.transformers[i].AnyFieldAt(kIssuedTransformerFireColumns[k].field))));
        }
    }
    // Every text within its cell; the frame around the widest table, 24 columns.
    ASSERT_EQ(dxf["texts"].size(), dxf["cells"].size());
    for (size_t k = 0; k < dxf["texts"].size(); ++k) {
        const json& t = dxf["texts"][k];
        if (IsTitle(t)) {
            continue;
        }
        const json& cell = dxf["cells"][k];
        const double width = t["measured"].get<double>();
        ASSERT_FALSE(cell["left"].is_null()) << t["text"];
        EXPECT_GE(t["x"].get<double>() - width / 2, cell["left"].get<double>()) << t["text"];
        EXPECT_LE(t["x"].get<double>() + width / 2, cell["right"].get<double>()) << t["text"];
    }
    const json& frame = dxf["polylines"][0]["points"];
    EXPECT_DOUBLE_EQ(frame[1][0].get<double>(), 24 * 30 + 5);
}
