// The workbook export: the mapping of failures to messages, the .xlsx file
// read back with openpyxl, and the hand-over to the desktop.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <map>
#include <sstream>

#include "document/AtomicFile.h"
#include "document/JsonDocument.h"
#include "model/Calculation.h"
#include "model/Numeric.h"
#include "model/Text.h"
#include "output/Desktop.h"
#include "output/ExcelExport.h"
#include "output/Figures.h"
#include "output/OutputError.h"
#include "output/XlsxWorkbook.h"
#include "tests/output/OutputTestSupport.h"

using namespace loadcal;
using namespace loadcal::testoutput;
using nlohmann::json;

namespace {

/// Records every automation call as a line; optionally throws at one call.
class RecordingAutomation final : public CSpreadsheetAutomation {
public:
    std::vector<std::string> calls;
    bool dispatch = true;
    std::optional<size_t> failAt;
    std::exception_ptr failure;

    bool CreateDispatch(std::wstring_view progId) override
    {
        Log("CreateDispatch " + ToUtf8(progId));
        return dispatch;
    }
    void SetVisible(bool visible) override { Log("SetVisible " + std::to_string(visible)); }
    void GetWorkbooks() override { Log("GetWorkbooks"); }
    void WorkbooksAdd() override { Log("WorkbooksAdd"); }
    void GetWorksheets() override { Log("GetWorksheets"); }
    void WorksheetsGetItem(short index) override
    {
        Log("WorksheetsGetItem " + std::to_string(index));
    }
    void GetRange(std::string_view a, std::string_view b) override
    {
        Log("GetRange " + std::string(a) + " " + std::string(b));
    }
    void SetValue(std::wstring_view value) override { Log("SetValue " + ToUtf8(value)); }
    void SetHorizontalAlignment(short a) override
    {
        Log("SetHorizontalAlignment " + std::to_string(a));
    }
    void SetVerticalAlignment(short a) override
    {
        Log("SetVerticalAlignment " + std::to_string(a));
    }
    void SetWorksheetName(std::wstring_view name) override
    {
        Log("SetWorksheetName " + ToUtf8(name));
    }
    void SetNumberFormat(std::string_view format) override
    {
        Log("SetNumberFormat " + std::string(format));
    }
    void SetWrapText(bool wrap) override { Log("SetWrapText " + std::to_string(wrap)); }
    void SetBorders(short style, short weight) override
    {
        Log("SetBorders " + std::to_string(style) + " " + std::to_string(weight));
    }
    void SetColumnWidth(double width) override { Log("SetColumnWidth " + std::to_string(width)); }
    void SetRowHeight(double points) override { Log("SetRowHeight " + std::to_string(points)); }
    void FreezePanes(int rows) override { Log("FreezePanes " + std::to_string(rows)); }
    void SetPageSetup(const SheetPageSetup& setup) override
    {
        Log("SetPageSetup " + setup.printTitleRows + " " + setup.printArea);
    }
    void Release() override { Log("Release"); }

private:
    void Log(std::string call)
    {
        calls.push_back(std::move(call));
        if (failAt && calls.size() - 1 == *failAt) {
            std::rethrow_exception(failure);
        }
    }
};

/// Keeps every message shown, in order.
class Messages final : public IMessageSink {
public:
    std::vector<std::wstring> shown;
    void ShowMessage(const std::wstring& text) override { shown.push_back(text); }
};

/// Records the files it is asked to open and answers with a fixed result.
class FakeOpener final : public IFileOpener {
public:
    explicit FakeOpener(bool result) : m_result(result) {}
    std::vector<std::filesystem::path> opened;
    bool Open(const std::filesystem::path& file) override
    {
        opened.push_back(file);
        return m_result;
    }

private:
    bool m_result;
};

int Export(RecordingAutomation& automation, Messages& messages, int n, int m)
{
    const Document d = MakeDocument(n, m);
    return ExportToExcel(automation, messages, d.loads, d.transformers, DistinctTotals());
}

using CellMap = std::map<std::pair<int, int>, json>;

CellMap Cells(const json& workbook)
{
    CellMap cells;
    for (const json& c : workbook["cells"]) {
        cells[{c["row"].get<int>(), c["column"].get<int>()}] = c;
    }
    return cells;
}

/// The identifier columns (numbers, names, phase, owners; the transformer
/// name), which stay text whatever they hold.
bool IsIdentifier(int row, size_t column, int headerRow, int transformerHeaderRow)
{
    if (row == headerRow || row == transformerHeaderRow) {
        return true;
    }
    if (row > transformerHeaderRow && transformerHeaderRow > 0) {
        return column == 0;
    }
    return column <= 3 || column == 12;
}

void ExpectRow(const CellMap& cells, int row,
               const std::vector<std::optional<std::wstring>>& values, int transformerHeaderRow = 0)
{
    for (size_t i = 0; i < values.size(); ++i) {
        const auto found = cells.find({row, static_cast<int>(i) + 1});
        ASSERT_NE(found, cells.end()) << "row " << row << " column " << i + 1;
        const json& c = found->second;
        const bool identifier = IsIdentifier(row, i, 1, transformerHeaderRow);
        if (values[i] && !identifier && ReadTypedNumber(*values[i])) {
            EXPECT_EQ(c["type"], "n") << "row " << row << " column " << i + 1;
            EXPECT_TRUE(c["value"].is_number()) << "row " << row << " column " << i + 1;
            EXPECT_EQ(c["value"].get<double>(), *ReadTypedNumber(*values[i]));
        } else if (values[i] && !values[i]->empty()) {
            EXPECT_EQ(c["value"], ToUtf8(*values[i])) << "row " << row << " column " << i + 1;
            EXPECT_EQ(c["type"], "s");
        } else {
            EXPECT_TRUE(c["value"].is_null()) << "row " << row << " column " << i + 1;
        }
    }
    EXPECT_EQ(cells.count({row, static_cast<int>(values.size()) + 1}), 0u);
}

template <class Text, size_t N>
std::vector<std::optional<std::wstring>> Row(const std::array<Text, N>& texts)
{
    std::vector<std::optional<std::wstring>> row;
    for (const auto& t : texts) {
        row.emplace_back(std::wstring(t));
    }
    return row;
}

/// Display columns of a text in the sheet's standard font: East Asian wide
/// characters count two, others one.
double TextColumns(const std::string& utf8)
{
    double n = 0;
    const std::wstring text = FromUtf8(utf8);
    for (const wchar_t c : text) {
        n += (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF) ||
                     (c >= 0xAC00 && c <= 0xD7A3) || (c >= 0xF900 && c <= 0xFAFF) ||
                     (c >= 0xFF00 && c <= 0xFF60) || c >= 0x20000
                 ? 2
                 : 1;
    }
    return n;
}

}  // namespace

TEST(WorkbookExport, NoApplicationShowsTheMessageAndReturnsZero)
{
    RecordingAutomation automation;
    automation.dispatch = false;
    Messages messages;
    EXPECT_EQ(Export(automation, messages, 2, 1), 0);
    EXPECT_EQ(automation.calls, std::vector<std::string>{"CreateDispatch excel.application"});
    EXPECT_EQ(messages.shown,
              std::vector<std::wstring>{L"不能打开Excel，可能是因为没有安装Excel!"});
}

TEST(WorkbookExport, TheFirstFailureEndsTheExportWithItsMessage)
{
    struct Case {
        std::exception_ptr failure;
        std::wstring message;
    };
    const std::vector<Case> cases = {
        {std::make_exception_ptr(OutputError(OutputError::Kind::CallFailed, "x", 11,
                                             "Worksheet row or column index out of range.")),
         L"COleDispatchException. SCODE: 0000000b,Description: \"Worksheet row or column index "
         L"out of range.\"."},
        {std::make_exception_ptr(OutputError(OutputError::Kind::NoObject, "x", 12)),
         L"COleException. SCODE: 0000000c."},
        {std::make_exception_ptr(
             OutputError(OutputError::Kind::Write, "cannot write \"/x/计算.xlsx\": disk full")),
         L"cannot write \"/x/计算.xlsx\": disk full"},
        {std::make_exception_ptr(std::runtime_error("other")), L"Catch All Other ERROR"},
    };
    for (const Case& c : cases) {
        RecordingAutomation automation;
        automation.failAt = 20;
        automation.failure = c.failure;
        Messages messages;
        EXPECT_EQ(Export(automation, messages, 3, 1), 1);
        EXPECT_EQ(automation.calls.size(), 21u);
        EXPECT_EQ(messages.shown, std::vector<std::wstring>{c.message});
    }
}

TEST(WorkbookFile, IdentifiersStayTextAndOnlyFigureColumnsBecomeNumbers)
{
    TempFolder folder;
    Document d = MakeDocument(2, 1);
    CLoadCalData& c = d.loads[0];
    c.m_strCircuitNo = L"001";
    c.m_strEquipNo = L"1E2";
    c.m_strEquipName = L"-NAN";
    c.m_strPhase = L"L1,N";
    c.m_strRatedPower = L"200";
    c.m_strVoltage = L"0.22";
    c.m_strDemandFactor = L"1.0";
    c.m_strPowerFactor = L".85";
    c.m_strCalcP = L"1E+06";
    c.m_strCalcQ = L"-3";
    c.m_strCalcS = L"INF";
    c.m_strCalcI = L"12kW";
    c.m_strTransformer = L"1e-3";
    d.loads[1].m_strCircuitNo = L" 12 ";
    d.loads[1].m_strEquipName = L"";
    d.loads[1].m_strRatedPower = L"+2";
    d.transformers[0].m_strName = L"2";
    d.transformers[0].m_strRatedCapacity = L"800";
    d.transformers[0].m_strActualLoadRate = L"0.659149";
    d.transformers[0].m_strCalcI = L"1001.46";
    WriteWorkbook(folder / "n.xlsx", d.loads, d.transformers, DistinctTotals());
    const json workbook = ReadBack("xlsx", folder / "n.xlsx");
    ASSERT_TRUE(workbook.is_object());
    const CellMap cells = Cells(workbook);
    const auto number = [&](int row, int column, double value, const std::string& format) {
        const json& cell = cells.at({row, column});
        EXPECT_EQ(cell["type"], "n") << row << "," << column;
        EXPECT_EQ(cell["value"], value) << row << "," << column;
        EXPECT_EQ(cell["number_format"], format) << row << "," << column;
    };
    const auto text = [&](int row, int column, const std::string& value) {
        const json& cell = cells.at({row, column});
        EXPECT_EQ(cell["type"], "s") << row << "," << column;
        EXPECT_EQ(cell["value"], value) << row << "," << column;
    };
    // Identifiers as typed, marked as text so that editing keeps them text.
    text(2, 1, "001");
    text(2, 2, "1E2");
    text(2, 3, "-NAN");
    text(2, 4, "L1,N");
    text(2, 13, "1e-3");
    text(3, 1, " 12 ");
    text(8, 1, "2");
    for (int column : {1, 2, 3, 4, 13}) {
        EXPECT_EQ(cells.at({2, column})["number_format"], "@") << column;
    }
    // Figures exact, shown rounded: powers 0.01, factors 0.01-0.001, currents 0.1.
    number(2, 5, 200, "0.00");
    number(2, 6, 0.22, "0.00#");
    number(2, 7, 1, "0.00#");
    number(2, 8, 0.85, "0.00#");
    number(2, 9, 1e6, "0.00");
    number(2, 10, -3, "0.00");
    text(2, 11, "INF");
    text(2, 12, "12kW");
    EXPECT_TRUE(cells.at({3, 3})["value"].is_null());
    number(3, 5, 2, "0.00");
    text(5, 2, "总计");
    // The transformer row: load rates as percentages, capacities whole.
    number(8, 2, 800, "0");
    number(8, 3, 0.659149, "0.0%");
    number(8, 10, 1001.46, "0.0");
    // Alignment is the same for numbers and texts.
    EXPECT_EQ(cells.at({2, 5})["horizontal"], "center");
    EXPECT_EQ(cells.at({2, 4})["horizontal"], "center");
}

TEST(WorkbookFile, ReadsBackWithEveryCellInPlaceAndCentred)
{
    TempFolder folder;
    Document d = MakeDocument(10, 2);
    d.loads[3].m_strEquipName = L"  带空格 ";
    const auto path = folder / "负荷计算.xlsx";
    WriteWorkbook(path, d.loads, d.transformers, DistinctTotals());
    const json workbook = ReadBack("xlsx", path);
    ASSERT_TRUE(workbook.is_object());
    EXPECT_EQ(workbook["sheets"], json::array({"负荷计算"}));
    EXPECT_EQ(workbook["number_as_text_ignored"], json::array({"A1:P17"}));

    const CellMap cells = Cells(workbook);
    ExpectRow(cells, 1, Row(kIssuedLoadHeaders), 15);
    for (int k = 0; k < 10; ++k) {
        ExpectRow(cells, k + 2, Row(CircuitRow(d.loads[k])), 15);
    }
    ExpectRow(cells, 13,
              {std::nullopt, L"总计", std::nullopt, std::nullopt, L"101.5", std::nullopt,
               std::nullopt, L"0.801", L"82.25", L"61.75", L"102.7", L"156.03", std::nullopt},
              15);
    ExpectRow(cells, 15, Row(kIssuedTransformerHeaders), 15);
    ExpectRow(cells, 16, Row(TransformerRow(Transformer(0))), 15);
    ExpectRow(cells, 17, Row(TransformerRow(Transformer(1))), 15);
    EXPECT_EQ(cells.size(), 13u + 130u + 13u + 16u + 32u);
    for (const auto& [at, c] : cells) {
        EXPECT_EQ(c["horizontal"], "center") << at.first << "," << at.second;
        EXPECT_EQ(c["vertical"], "center") << at.first << "," << at.second;
        EXPECT_EQ(c["font"], "Calibri");
        EXPECT_EQ(c["size"], 11);
        EXPECT_EQ(c["bold"], false);
        EXPECT_EQ(c["borders"], json::array({"thin", "thin", "thin", "thin"}))
            << at.first << "," << at.second;
        EXPECT_EQ(c["wrap"], at.first == 1 || at.first == 15) << at.first << "," << at.second;
    }
    // Figures become numbers as typed figures do.
    EXPECT_EQ(cells.at({2, 5})["value"], 10.5);
    EXPECT_EQ(folder.Entries(), std::vector<std::string>{"负荷计算.xlsx"});
}

TEST(WorkbookFile, BoardsStandInATableOfTheirOwnBetweenTheCircuitsAndTheTransformers)
{
    TempFolder folder;
    const Document d = MakeDocument(4, 2);
    CLoadCalDocument doc(d.loads, d.transformers);
    const std::array<std::array<const wchar_t*, 11>, 3> boards = {{
        {L"001", L"1#变压器", L"L1,L2,L3,N", L"0.9", L"0.95", L"522", L"406.35", L"277.146",
         L"491.864", L"747.31", L"0.826143"},
        {L"1E2", L"001", L"L2,N", L"1", L"1", L"8", L"6.8", L"3.29339", L"7.55556", L"34.3434",
         L"0.9"},
        {L"配电箱名称很长的一个楼层照明配电箱", L"001,1E2", L"L1,L2,L3,N", L"约0.9", L"0.95", L"",
         L"-NAN", L"0", L"0", L"0", L"0"},
    }};
    for (const auto& texts : boards) {
        CBoardCalData b;
        for (int f = 0; f < CBoardCalData::kFieldCount; ++f) {
            b.FieldAt(f) = texts[static_cast<size_t>(f)];
        }
        doc.boards.Add(b);
    }
    WriteWorkbook(folder / "b.xlsx", doc, DistinctTotals());
    const json workbook = ReadBack("xlsx", folder / "b.xlsx");
    ASSERT_TRUE(workbook.is_object());
    const CellMap cells = Cells(workbook);
    // Circuits in rows 2-5, the total row 7, the board headers 9, boards 10-12,
    // the transformer headers 14 and transformers 15-16.
    auto loadHeaders = Row(kIssuedLoadHeaders);
    loadHeaders.back() = L"归属";
    ExpectRow(cells, 1, loadHeaders, 14);
    EXPECT_EQ(cells.at({7, 2})["value"], "总计");
    ExpectRow(cells, 9, Row(kIssuedBoardHeaders), 14);
    for (int k = 0; k < 3; ++k) {
        const int row = 10 + k;
        for (size_t col = 0; col < kBoardColumns.size(); ++col) {
            const json& c = cells.at({row, static_cast<int>(col) + 1});
            const std::wstring text = doc.boards[k].FieldAt(kBoardColumns[col].field);
            const FigureKind kind = kBoardColumnKinds[col];
            const std::optional<double> value = ReadTypedNumber(text);
            if (kind != FigureKind::Text && value) {
                EXPECT_EQ(c["type"], "n") << row << "," << col;
                EXPECT_EQ(c["value"].get<double>(), *value) << row << "," << col;
                EXPECT_EQ(c["number_format"], FigureNumberFormat(kind, *value));
            } else if (text.empty()) {
                EXPECT_TRUE(c["value"].is_null()) << row << "," << col;
            } else {
                EXPECT_EQ(c["type"], "s") << row << "," << col;
                EXPECT_EQ(c["value"], ToUtf8(text)) << row << "," << col;
                if (kind == FigureKind::Text) {
                    EXPECT_EQ(c["number_format"], "@") << row << "," << col;
                }
            }
            EXPECT_EQ(c["borders"], json::array({"thin", "thin", "thin", "thin"}));
            EXPECT_EQ(c["horizontal"], "center");
        }
        EXPECT_EQ(cells.count({row, static_cast<int>(kBoardColumns.size()) + 1}), 0u);
    }
    // Names stay text: "001" and "1E2" as typed; the figures as numbers.
    EXPECT_EQ(cells.at({10, 1})["value"], "001");
    EXPECT_EQ(cells.at({11, 1})["value"], "1E2");
    EXPECT_EQ(cells.at({10, 6})["value"], 406.35);
    EXPECT_EQ(cells.at({10, 9})["number_format"], "0.00#");
    EXPECT_EQ(cells.at({10, 10})["number_format"], "0.0");
    ExpectRow(cells, 14, Row(kIssuedTransformerHeaders), 14);
    ExpectRow(cells, 15, Row(TransformerRow(Transformer(0))), 14);
    ExpectRow(cells, 16, Row(TransformerRow(Transformer(1))), 14);
    EXPECT_EQ(cells.count({13, 1}), 0u);  // the blank row between the tables
    // The print area and the "number stored as text" marks cover all three tables;
    // column A is wide enough for the long board name.
    EXPECT_EQ(workbook["page"]["print_area"], json::array({"$A$1:$P$16"}));
    EXPECT_EQ(workbook["number_as_text_ignored"], json::array({"A1:P16"}));
    EXPECT_GE(workbook["widths"]["A"].get<double>(),
              TextColumns("配电箱名称很长的一个楼层照明配电箱"));
    EXPECT_EQ(cells.at({9, 1})["wrap"], true);
}

TEST(WorkbookFile, ADocumentWithoutBoardsIsWrittenCallForCallAsBefore)
{
    // The whole-document form of a document without boards makes exactly the
    // calls of the two-list form.
    const Document d = MakeDocument(3, 2);
    RecordingAutomation lists;
    FillWorkbook(lists, d.loads, d.transformers, DistinctTotals());
    RecordingAutomation whole;
    const CLoadCalDocument doc(d.loads, d.transformers);
    FillWorkbook(whole, doc.loads, doc.transformers, DistinctTotals(), doc.boards);
    EXPECT_EQ(whole.calls, lists.calls);
    // The board table and the owner header of boards appear only with boards.
    for (const std::string& call : lists.calls) {
        EXPECT_EQ(call.find("配电箱名称"), std::string::npos) << call;
        EXPECT_NE(call, "SetValue 归属");
    }
    EXPECT_EQ(std::count(lists.calls.begin(), lists.calls.end(), "SetValue 归属变压器"), 1);
}

TEST(WorkbookFile, PrintsOnLandscapeA4OnePageWideWithTheHeaderOnEveryPage)
{
    TempFolder folder;
    Document d = MakeDocument(300, 3);
    d.loads[7].m_strEquipName = L"地下二层排烟风机及补风机组（消防兼平时）";
    WriteWorkbook(folder / "p.xlsx", d.loads, d.transformers, DistinctTotals());
    const json workbook = ReadBack("xlsx", folder / "p.xlsx");
    ASSERT_TRUE(workbook.is_object());
    const json& page = workbook["page"];
    EXPECT_EQ(page["orientation"], "landscape");
    EXPECT_EQ(page["paper"], 9);  // A4
    EXPECT_EQ(page["fit_to_page"], true);
    EXPECT_EQ(page["fit_width"], 1);
    EXPECT_EQ(page["fit_height"], 0);  // as many pages down as the rows need
    EXPECT_EQ(page["title_rows"], "$1:$1");
    EXPECT_EQ(page["print_area"], json::array({"$A$1:$P$308"}));
    EXPECT_EQ(page["freeze"], "A2");
    EXPECT_EQ(workbook["heights"]["1"], 32);  // both header rows hold two lines
    EXPECT_EQ(workbook["heights"]["305"], 32);

    // Every column is as wide as the widest text it shows (headers may wrap
    // at their blanks), and no wider than it needs by much.
    std::map<int, double> needed;
    for (const json& c : workbook["cells"]) {
        if (c["value"].is_null()) {
            continue;
        }
        const int column = c["column"].get<int>();
        double width = 0;
        if (c["wrap"].get<bool>()) {
            std::istringstream words(c["value"].get<std::string>());
            for (std::string w; words >> w;) {
                width = std::max(width, TextColumns(w));
            }
        } else if (c["type"] == "n") {
            const std::string format = c["number_format"];
            const double v = c["value"].get<double>();
            char shown[64];
            if (format == "0.0%") {
                std::snprintf(shown, sizeof shown, "%.1f%%", v * 100);
            } else if (format == "0.00#") {
                std::snprintf(shown, sizeof shown, "%.3f", v);
            } else {
                std::snprintf(shown, sizeof shown, format == "0.0" ? "%.1f" : "%.2f", v);
            }
            width = TextColumns(shown);
        } else {
            width = TextColumns(c["value"].get<std::string>());
        }
        needed[column] = std::max(needed[column], width);
    }
    ASSERT_EQ(needed.size(), 16u);
    for (const auto& [column, width] : needed) {
        const std::string letter(1, static_cast<char>('A' + column - 1));
        ASSERT_TRUE(workbook["widths"].contains(letter)) << letter;
        const double set = workbook["widths"][letter].get<double>();
        EXPECT_GE(set, width) << letter;
        EXPECT_LE(set, width + 4) << letter;
    }
}

TEST(WorkbookFile, EmptyListsGiveHeadersTotalRowAndTransformerHeaders)
{
    TempFolder folder;
    WriteWorkbook(folder / "e.xlsx", {}, {}, {L"0", L"0", L"0", L"0", L"0", L"0"});
    const json workbook = ReadBack("xlsx", folder / "e.xlsx");
    ASSERT_TRUE(workbook.is_object());
    const CellMap cells = Cells(workbook);
    ExpectRow(cells, 1, Row(kIssuedLoadHeaders), 5);
    ExpectRow(cells, 3,
              {std::nullopt, L"总计", std::nullopt, std::nullopt, L"0", std::nullopt, std::nullopt,
               L"0", L"0", L"0", L"0", L"0", std::nullopt},
              5);
    ExpectRow(cells, 5, Row(kIssuedTransformerHeaders), 5);
    EXPECT_EQ(cells.size(), 13u + 13u + 16u);
    EXPECT_EQ(workbook["number_as_text_ignored"], json::array({"A1:P5"}));
}

TEST(WorkbookFile, TheWrittenWorkbookGoesToTheOpenerAndAFailingOpenerGivesTheMessage)
{
    TempFolder folder;
    const Document d = MakeDocument(1, 1);
    const auto path = folder / "x.xlsx";
    Messages messages;
    const auto run = [&](IFileOpener& opener, bool open) {
        return ExportWorkbook(d.loads, d.transformers, DistinctTotals(), {path, true, open},
                              messages, opener);
    };
    FakeOpener opens(true);
    EXPECT_EQ(run(opens, true), 1);
    EXPECT_EQ(opens.opened, std::vector<std::filesystem::path>{path});
    EXPECT_TRUE(messages.shown.empty());

    FakeOpener fails(false);
    EXPECT_EQ(run(fails, true), 0);
    EXPECT_EQ(messages.shown,
              std::vector<std::wstring>{L"不能打开Excel，可能是因为没有安装Excel!"});
    EXPECT_TRUE(std::filesystem::is_regular_file(path));

    FakeOpener unused(true);
    messages.shown.clear();
    EXPECT_EQ(run(unused, false), 1);
    EXPECT_TRUE(unused.opened.empty());
    EXPECT_TRUE(messages.shown.empty());
}

TEST(WorkbookFile, AnUncreatableFileIsReportedByNameAndLeavesNothingBehind)
{
    TempFolder folder;
    const Document d = MakeDocument(1, 1);
    const auto path = folder / "missing" / "x.xlsx";
    Messages messages;
    FakeOpener opener(true);
    EXPECT_EQ(ExportWorkbook(d.loads, d.transformers, DistinctTotals(), {path, true, true},
                             messages, opener),
              1);
    ASSERT_EQ(messages.shown.size(), 1u);
    const std::string message = ToUtf8(messages.shown[0]);
    EXPECT_NE(message.find(path.string()), std::string::npos) << message;
    EXPECT_NE(message.find("no such file or folder"), std::string::npos) << message;
    EXPECT_TRUE(opener.opened.empty());
    EXPECT_TRUE(folder.Entries().empty());

    const auto error =
        ErrorOf([&] { WriteWorkbook(path, d.loads, d.transformers, DistinctTotals()); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->GetKind(), OutputError::Kind::Write);
}

TEST(WorkbookFile, AFailedWriteGivesTheSystemsReasonAndALinkedFileKeepsItsIdentity)
{
    TempFolder folder;
    const Document d = MakeDocument(3, 1);
    const auto real = folder / "real.xlsx";
    std::ofstream(real) << "previous";
    std::filesystem::permissions(
        real, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    std::filesystem::create_symlink("real.xlsx", folder / "link.xlsx");
    SetAtomicFileFaults({1, ENOSPC, false});
    const auto error = ErrorOf(
        [&] { WriteWorkbook(folder / "link.xlsx", d.loads, d.transformers, DistinctTotals()); });
    SetAtomicFileFaults({});
    ASSERT_TRUE(error);
    EXPECT_EQ(std::string(error->what()),
              "cannot write \"" + (folder / "link.xlsx").string() + "\": No space left on device");
    EXPECT_EQ(ReadBytes(real), "previous");

    WriteWorkbook(folder / "link.xlsx", d.loads, d.transformers, DistinctTotals());
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.xlsx"));
    EXPECT_EQ(ReadBytes(real).substr(0, 2), "PK");
    EXPECT_EQ(std::filesystem::status(real).permissions() & std::filesystem::perms::all,
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_EQ(folder.Entries(), (std::vector<std::string>{"link.xlsx", "real.xlsx"}));
}

TEST(WorkbookFile, ARefusedCellKeepsThePreviousFileAndLeavesNoTemporaryFile)
{
    TempFolder folder;
    const auto path = folder / "x.xlsx";
    std::ofstream(path) << "previous";
    Document d = MakeDocument(2, 1);
    d.loads[1].m_strEquipName.assign(40000, L'长');
    Messages messages;
    FakeOpener opener(true);
    EXPECT_EQ(ExportWorkbook(d.loads, d.transformers, DistinctTotals(), {path, true, true},
                             messages, opener),
              1);
    ASSERT_EQ(messages.shown.size(), 1u);
    const std::string message = ToUtf8(messages.shown[0]);
    EXPECT_EQ(message.rfind("COleDispatchException. SCODE: ", 0), 0u) << message;
    EXPECT_NE(message.find("32,767"), std::string::npos) << message;
    EXPECT_EQ(ReadBytes(path), "previous");
    EXPECT_EQ(folder.Entries(), std::vector<std::string>{"x.xlsx"});
    EXPECT_TRUE(opener.opened.empty());
}

TEST(WorkbookFile, ReplacingCanBeRefusedAndAFolderIsNeverReplaced)
{
    TempFolder folder;
    const auto path = folder / "x.xlsx";
    std::ofstream(path) << "previous";
    const auto error = ErrorOf([&] { WriteWorkbook(path, {}, {}, DistinctTotals(), false); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->GetKind(), OutputError::Kind::FileExists);
    EXPECT_EQ(ReadBytes(path), "previous");

    const auto dir = folder / "d.xlsx";
    std::filesystem::create_directory(dir);
    EXPECT_THROW(WriteWorkbook(dir, {}, {}, DistinctTotals()), OutputError);
    EXPECT_TRUE(std::filesystem::is_directory(dir));
    EXPECT_EQ(folder.Entries(), (std::vector<std::string>{"d.xlsx", "x.xlsx"}));
}

TEST(XlsxWorkbook, RefusesWhatASpreadsheetWouldRefuse)
{
    TempFolder folder;
    CXlsxWorkbook workbook(folder / "x.xlsx");
    EXPECT_TRUE(workbook.CreateDispatch(kSpreadsheetProgId));
    EXPECT_THROW(workbook.GetRange("A1", "A1"), OutputError);
    workbook.WorkbooksAdd();
    const auto kindOf = [](auto&& call) {
        const auto error = ErrorOf(call);
        return error ? error->GetKind() : OutputError::Kind::BadArgument;
    };
    EXPECT_EQ(kindOf([&] { workbook.WorksheetsGetItem(2); }), OutputError::Kind::CallFailed);
    workbook.WorksheetsGetItem(1);
    EXPECT_EQ(kindOf([&] { workbook.GetRange("A1", "B2"); }), OutputError::Kind::CallFailed);
    EXPECT_EQ(kindOf([&] { workbook.GetRange("a1", "a1"); }), OutputError::Kind::CallFailed);
    EXPECT_EQ(kindOf([&] { workbook.GetRange("A1048577", "A1048577"); }),
              OutputError::Kind::CallFailed);
    workbook.GetRange("C2", "C2");
    workbook.SetValue(L"行2");
    workbook.GetRange("A2", "A2");
    EXPECT_EQ(kindOf([&] { workbook.GetRange("A1", "A1"); }), OutputError::Kind::CallFailed);
    workbook.GetRange("A1048576", "A1048576");
    EXPECT_EQ(kindOf([&] { workbook.SetHorizontalAlignment(12345); }),
              OutputError::Kind::CallFailed);
    workbook.SetHorizontalAlignment(kAlignCenter);
    workbook.Release();
    EXPECT_TRUE(workbook.Written());
    EXPECT_EQ(folder.Entries(), std::vector<std::string>{"x.xlsx"});
}

TEST(DesktopOpener, SucceedsOnlyWhenTheLauncherStartsAndSucceeds)
{
    EXPECT_TRUE(CDesktopOpener("/bin/true").Open("/nonexistent.xlsx"));
    EXPECT_FALSE(CDesktopOpener("/bin/false").Open("/nonexistent.xlsx"));
    EXPECT_FALSE(CDesktopOpener("/nonexistent/launcher").Open("/nonexistent.xlsx"));

    // A launcher still running after the wait has started its application.
    TempFolder folder;
    const auto script = folder / "slow-launcher";
    std::ofstream(script) << "#!/bin/sh\nsleep 0.3\nexit 3\n";
    ::chmod(script.c_str(), 0755);
    EXPECT_TRUE(CDesktopOpener(script.string(), std::chrono::milliseconds(50)).Open("/x.xlsx"));
}

namespace {

/// The boards example, recalculated: types, classes and fire roles.
CLoadCalDocument FireExample()
{
    CLoadCalDocument doc;
    DocumentFromJson(testsupport::ReadBytes(std::string(LOADCAL_SOURCE_DIR) +
                                            "/examples/office-building-boards.json"),
                     "example", doc);
    RecalculateDocument(doc);
    return doc;
}

/// A figure or text cell as read back: a number with the kind's format
/// when the text reads as one and the kind is a figure, else the text.
void ExpectCell(const CellMap& cells, int row, int column, FigureKind kind,
                const std::wstring& text)
{
    const json& c = cells.at({row, column});
    const std::optional<double> value = ReadTypedNumber(text);
    if (kind != FigureKind::Text && value) {
        EXPECT_EQ(c["type"], "n") << row << "," << column;
        EXPECT_EQ(c["value"].get<double>(), *value) << row << "," << column;
        EXPECT_EQ(c["number_format"], FigureNumberFormat(kind, *value)) << row << "," << column;
    } else if (text.empty()) {
        EXPECT_TRUE(c["value"].is_null()) << row << "," << column;
    } else {
        EXPECT_EQ(c["value"], ToUtf8(text)) << row << "," << column;
        EXPECT_EQ(c["number_format"], "@") << row << "," << column;
    }
    EXPECT_EQ(c["borders"], json::array({"thin", "thin", "thin", "thin"}));
}

}  // namespace

TEST(WorkbookFile, WithFireRolesTheTablesCarryTheFireCaseAndTheCircuitsTheirFields)
{
    TempFolder folder;
    const CLoadCalDocument doc = FireExample();
    WriteWorkbook(folder / "fire.xlsx", doc, ComputeTotals(doc));
    const json workbook = ReadBack("xlsx", folder / "fire.xlsx");
    ASSERT_TRUE(workbook.is_object());
    const CellMap cells = Cells(workbook);
    const int n = doc.loads.GetSize();
    const int b = doc.boards.GetSize();
    const int m = doc.transformers.GetSize();

    // The circuit fields the example uses (type, class, fire role; no
    // quantity) after the thirteen columns, as text.
    const std::vector<std::pair<std::string, int>> circuitExtra = {
        {"负荷类型", CLoadCalData::kLoadType},
        {"负荷等级", CLoadCalData::kLoadClass},
        {"消防", CLoadCalData::kFire}};
    for (size_t k = 0; k < circuitExtra.size(); ++k) {
        const int column = 14 + static_cast<int>(k);
        EXPECT_EQ(cells.at({1, column})["value"], circuitExtra[k].first);
        for (int i = 0; i < n; ++i) {
            ExpectCell(cells, i + 2, column, FigureKind::Text,
                       doc.loads[i].AnyFieldAt(circuitExtra[k].second));
        }
        EXPECT_TRUE(cells.at({n + 3, column})["value"].is_null());  // the total row
    }
    EXPECT_EQ(cells.count({1, 17}), 0U);

    // A fire table under the board table and under the transformer table:
    // the name header, then each fire column under the normal column of the
    // same quantity (the governing case beside the name), so that the sheet
    // keeps the width of the circuit table.
    const auto columnOf = [&cells](int row, const std::string& header) {
        for (int column = 1; column <= 26; ++column) {
            const auto it = cells.find({row, column});
            if (it != cells.end() && it->second["value"] == header) {
                return column;
            }
        }
        ADD_FAILURE() << "no header " << header << " in row " << row;
        return 0;
    };
    const auto expectFireTable =
        [&](int normalHeader, int fireHeader, const auto& records, const auto& fireColumns,
            const char* nameHeader, const std::vector<std::pair<std::string, std::string>>& under) {
            EXPECT_EQ(cells.at({fireHeader, 1})["value"], nameHeader);
            ASSERT_EQ(under.size(), fireColumns.size());
            for (size_t k = 0; k < fireColumns.size(); ++k) {
                const std::string header = ToUtf8(fireColumns[k].header);
                const int column = columnOf(fireHeader, header);
                ASSERT_GT(column, 0);
                EXPECT_EQ(under[k].first, header);
                EXPECT_EQ(cells.at({normalHeader, column})["value"], under[k].second) << header;
                for (int i = 0; i < records.GetSize(); ++i) {
                    ExpectCell(cells, fireHeader + 1 + i, 1, FigureKind::Text,
                               records[i].m_strName);
                    ExpectCell(cells, fireHeader + 1 + i, column, fireColumns[k].kind,
                               records[i].AnyFieldAt(fireColumns[k].field));
                }
            }
        };
    const int boardHeader = n + 5;
    const int boardFireHeader = boardHeader + b + 2;
    expectFireTable(boardHeader, boardFireHeader, doc.boards, kIssuedBoardFireColumns,
                    "配电箱名称 (火灾工况)",
                    {{"取值工况", "相位"},
                     {"火灾设备功率 ΣPe (kW)", "设备功率 ΣPe (kW)"},
                     {"火灾有功功率 Pjs (kW)", "有功功率 Pjs (kW)"},
                     {"火灾无功功率 Qjs (kvar)", "无功功率 Qjs (kvar)"},
                     {"火灾视在功率 Sjs (kV·A)", "视在功率 Sjs (kV·A)"},
                     {"火灾功率因数 cosφ", "功率因数 cosφ"},
                     {"火灾计算电流 Ijs (A)", "计算电流 Ijs (A)"}});
    EXPECT_EQ(cells.at({boardFireHeader + 1 + 23, 2})["value"], "火灾");  // AP-XF

    const int transformerHeader = boardFireHeader + b + 2;
    const int transformerFireHeader = transformerHeader + m + 2;
    expectFireTable(transformerHeader, transformerFireHeader, doc.transformers,
                    kIssuedTransformerFireColumns, "变压器名称 (火灾工况)",
                    {{"取值工况", "额定容量 Se (kV·A)"},
                     {"火灾计算有功 Pc (kW)", "计算有功功率 Pc (kW)"},
                     {"火灾补偿后无功 Q2 (kvar)", "补偿后无功 Q2 (kvar)"},
                     {"火灾补偿后视在功率 S2 (kV·A)", "补偿后视在功率 S2 (kV·A)"},
                     {"火灾补偿后电流 I2 (A)", "补偿后电流 I2 (A)"},
                     {"火灾补偿前功率因数 cosφ1", "补偿前功率因数 cosφ1"},
                     {"火灾补偿容量 Qcc (kvar)", "补偿容量 Qcc (kvar)"},
                     {"火灾负载率 (%)", "实际负载率 (%)"}});
    EXPECT_EQ(cells.at({transformerFireHeader + 1, 2})["value"], "火灾");
    EXPECT_EQ(cells.at({transformerFireHeader + 1, 3})["number_format"], "0.0%");
    // Every cell of the fire tables is bordered, the empty ones too.
    EXPECT_EQ(cells.at({transformerFireHeader + 1, 4})["borders"],
              json::array({"thin", "thin", "thin", "thin"}));
    // Print area and widths over the widest table, the circuit table with
    // its three extra columns (16 columns, A to P): the fire tables add no
    // column.
    EXPECT_EQ(cells.count({transformerFireHeader, 17}), 0U);
    EXPECT_EQ(workbook["page"]["print_area"],
              json::array({"$A$1:$P$" + std::to_string(transformerFireHeader + m)}));
    EXPECT_GE(workbook["widths"]["C"].get<double>(), TextColumns("火灾负载率"));
}

TEST(WorkbookFile, TypesWithoutFireRolesAddOnlyTheCircuitColumns)
{
    TempFolder folder;
    CLoadCalDocument doc = FireExample();
    for (CLoadCalData& c : doc.loads) {
        c.m_strFire.clear();
    }
    RecalculateDocument(doc);
    RecordingAutomation calls;
    FillWorkbook(calls, doc.loads, doc.transformers, ComputeTotals(doc), doc.boards);
    for (const std::string& call : calls.calls) {
        EXPECT_EQ(call.find("火灾"), std::string::npos) << call;
        EXPECT_EQ(call.find("取值工况"), std::string::npos) << call;
    }
    EXPECT_EQ(std::count(calls.calls.begin(), calls.calls.end(), "SetValue 负荷类型"), 1);
    EXPECT_EQ(std::count(calls.calls.begin(), calls.calls.end(), "SetValue 消防"), 0);
}
