// `loadcal report`: the calculation book of a document, read back by
// poppler's pdftotext, pdffonts and pdfinfo as a reviewer's tools see it.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include "document/Archive.h"
#include "model/Calculation.h"
#include "model/Columns.h"
#include "model/Numeric.h"
#include "model/Text.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

using namespace loadcal;
namespace fs = std::filesystem;

namespace {

const std::string kExample = std::string(LOADCAL_SOURCE_DIR) + "/examples/office-building.LDC";

std::vector<std::string> Tokens(const std::string& line)
{
    std::istringstream in(line);
    std::vector<std::string> out;
    for (std::string t; in >> t;) {
        out.push_back(t);
    }
    return out;
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        out.push_back(line);
    }
    return out;
}

/// The lines whose words are exactly these texts, in this order (an empty
/// cell shows nothing).
int CountRows(const std::vector<std::string>& lines, std::vector<std::string> cells)
{
    std::erase(cells, std::string());
    int n = 0;
    for (const std::string& line : lines) {
        n += Tokens(line) == cells ? 1 : 0;
    }
    return n;
}

/// pdftotext drops the narrow blanks between Chinese characters and figures.
std::string WithoutBlanks(std::string text)
{
    std::erase(text, ' ');
    return text;
}

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/// A figure as the book rounds it, worked out here independently:
/// P powers 0.01, F factors 0.01 or 0.001, I currents 0.1, % a ratio in
/// per cent to 0.1, C a capacity whole when whole; T text as it stands. A
/// text that does not read wholly as a number stays as it is.
std::string Rounded(char kind, const std::wstring& text)
{
    const std::string utf8 = ToUtf8(text);
    char* end = nullptr;
    const double v = std::strtod(utf8.c_str(), &end);
    if (kind == 'T' || utf8.empty() || *end != '\0' || !std::isfinite(v) ||
        utf8.find_first_of("nNiI") != std::string::npos) {
        return utf8;
    }
    char buffer[64];
    switch (kind) {
        case 'P':
            std::snprintf(buffer, sizeof buffer, "%.2f", v);
            break;
        case 'I':
            std::snprintf(buffer, sizeof buffer, "%.1f", v);
            break;
        case '%':
            std::snprintf(buffer, sizeof buffer, "%.1f", v * 100);
            break;
        case 'C':
            std::snprintf(buffer, sizeof buffer, v == std::floor(v) ? "%.0f" : "%.2f", v);
            break;
        default: {
            std::snprintf(buffer, sizeof buffer, "%.3f", v);
            std::string f = buffer;
            if (f.back() == '0') {
                f.pop_back();
            }
            return f;
        }
    }
    return buffer;
}

const char kLoadKinds[] = {'T', 'T', 'T', 'T', 'P', 'F', 'F', 'F', 'P', 'P', 'P', 'I', 'T'};
const char kTransformerKinds[] = {'T', 'C', '%', '%', 'F', 'F', 'P', 'P',
                                  'P', 'I', 'F', 'F', 'F', 'F', 'P', 'P'};

int PageCount(const std::string& pdf)
{
    const auto info = testsupport::RunProcess("/usr/bin/pdfinfo", {pdf});
    const auto at = info.out.find("Pages:");
    return at == std::string::npos ? 0 : std::stoi(info.out.substr(at + 6));
}

/// The text of one page (from 1), or of the whole book (0), as pdftotext -layout gives it.
std::string PageText(const std::string& pdf, int page)
{
    std::vector<std::string> args = {"-layout"};
    if (page > 0) {
        args.insert(args.end(), {"-f", std::to_string(page), "-l", std::to_string(page)});
    }
    args.insert(args.end(), {pdf, "-"});
    return testsupport::RunProcess("/usr/bin/pdftotext", args).out;
}

class Report : public ::testing::Test {
protected:
    testsupport::ProcessResult Run(const std::vector<std::string>& args)
    {
        return testsupport::RunProcess(LOADCAL_EXE, args, {}, folder.Path().string());
    }
    std::string Path(const std::string& name) const { return (folder / name).string(); }
    testsupport::TempFolder folder;
};

}  // namespace

TEST_F(Report, TheExamplesBookReadsBackEveryCircuitTransformerFigureAndTotal)
{
    const auto r = Run({"report", kExample, "--pdf", "book.pdf"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(folder.Entries(), std::vector<std::string>{"book.pdf"});
    const auto text =
        testsupport::RunProcess("/usr/bin/pdftotext", {"-layout", Path("book.pdf"), "-"});
    ASSERT_EQ(text.status, 0) << text.err;
    const std::vector<std::string> lines = Lines(text.out);

    CLoadCalDocument loadsDoc;
    LoadArchiveFile(FromUtf8(kExample), loadsDoc);
    CLoadArray& loads = loadsDoc.loads;
    CTransformerArray& transformers = loadsDoc.transformers;
    ASSERT_GT(loads.GetSize(), 30);
    ASSERT_EQ(transformers.GetSize(), 2);

    // The load table: each circuit one row holding its 13 texts in order,
    // figures rounded for reading; the transformer sections show it again (10
    // of its texts) under each owner.
    for (const CLoadCalData& c : loads) {
        std::vector<std::string> row;
        for (size_t k = 0; k < kLoadColumns.size(); ++k) {
            row.push_back(Rounded(kLoadKinds[k], c.FieldAt(kLoadColumns[k].field)));
        }
        EXPECT_EQ(CountRows(lines, row), 1) << row[0];
        std::vector<std::string> section;
        for (size_t k : {0, 1, 2, 3, 4, 6, 7, 8, 9, 11}) {
            section.push_back(row[k]);
        }
        int owners = 0;
        for (const CTransformerCalData& t : transformers) {
            owners += BelongsTo(c, t.m_strName) ? 1 : 0;
        }
        EXPECT_EQ(CountRows(lines, section), owners) << row[0];
    }

    // The transformer table and each transformer's steps with the figures
    // put in: group sums as the model gives them, results as the document
    // holds them, each rounded as the book rounds it.
    for (const CTransformerCalData& t : transformers) {
        std::vector<std::string> row;
        for (size_t k = 0; k < kTransformerColumns.size(); ++k) {
            row.push_back(Rounded(kTransformerKinds[k], t.FieldAt(kTransformerColumns[k].field)));
        }
        EXPECT_EQ(CountRows(lines, row), 1) << row[0];
        const std::string p = Rounded('P', GroupActiveSum(loads, t.m_strName));
        const std::string q = Rounded('P', GroupReactiveSum(loads, t.m_strName));
        const std::string qc = Rounded(
            'P',
            FormatG(ParseNumber(GroupReactiveSum(loads, t.m_strName)) * ParseNumber(t.m_strKq)));
        const std::string pc = Rounded('P', t.m_strCalcP);
        for (const std::string& step : {
                 "Pc = K∑p × ΣPjs = " + Rounded('F', t.m_strKp) + " × " + p + " = " + pc + " kW",
                 "Qc = K∑q × ΣQjs = " + Rounded('F', t.m_strKq) + " × " + q + " = " + qc + " kvar",
                 "= " + Rounded('F', t.m_strCosBefore),
                 "= " + Rounded('P', t.m_strCompCapacity) + " kvar",
                 "Q2 = Qc − Qb = " + qc + " − ",
                 "= " + Rounded('P', t.m_strCalcQ) + " kvar",
                 "= " + Rounded('P', t.m_strCalcS) + " kV·A",
                 "= " + Rounded('I', t.m_strCalcI) + " A",
                 "= " + Rounded('C', t.m_strRatedCapacity) + " kV·A",
                 "S2 / Se = " + Rounded('P', t.m_strCalcS) + " / " +
                     Rounded('C', t.m_strRatedCapacity) + " = " +
                     Rounded('%', t.m_strActualLoadRate) + " %",
             }) {
            EXPECT_TRUE(Contains(text.out, step)) << ToUtf8(t.m_strName) << ": " << step;
        }
        EXPECT_TRUE(Contains(text.out, "变压器 " + ToUtf8(t.m_strName) + " 各相电流"));
    }

    // The total row of the load table and the totals' section.
    const SummaryTotals totals = ComputeTotals(loads);
    EXPECT_EQ(
        CountRows(lines, {"总计", Rounded('P', totals.installed), Rounded('F', totals.powerFactor),
                          Rounded('P', totals.active), Rounded('P', totals.reactive),
                          Rounded('P', totals.apparent), Rounded('I', totals.current)}),
        1);
    EXPECT_TRUE(Contains(text.out, "Itot = Stot / (√3 × 0.38) = " + Rounded('P', totals.apparent) +
                                       " / (√3 × 0.38) = " + Rounded('I', totals.current) + " A"));

    // The title page with the example's project information; the basis,
    // checks and page numbers.
    for (const char* part :
         {"负荷计算书", "滨江科技园 8 号办公楼", "编制", "校对", "审核", "审定", "张明", "赵军",
          "计算依据", "需要系数法", "审核检查", "满足", "目", "录"}) {
        EXPECT_TRUE(Contains(text.out, part)) << part;
    }
    EXPECT_FALSE(Contains(text.out, "office-building"));
    const int pages = PageCount(Path("book.pdf"));
    EXPECT_GE(pages, 7);
    for (int n = 1; n <= pages; ++n) {
        EXPECT_TRUE(Contains(WithoutBlanks(text.out),
                             "第" + std::to_string(n) + "页共" + std::to_string(pages) + "页"))
            << n;
    }
}

TEST_F(Report, WithoutProjectInformationTheFileNameIsTheProject)
{
    const std::string archive =
        std::string(LOADCAL_SOURCE_DIR) + "/tests/document/data/without-project.LDC";
    ASSERT_EQ(Run({"report", archive, "--pdf", "book.pdf"}).status, 0);
    const std::string title = PageText(Path("book.pdf"), 1);
    EXPECT_TRUE(Contains(title, "without-project")) << title;
    EXPECT_TRUE(Contains(title, "负荷计算书"));
    // Every footer names it too.
    const int pages = PageCount(Path("book.pdf"));
    for (int n = 1; n <= pages; ++n) {
        EXPECT_TRUE(Contains(PageText(Path("book.pdf"), n), "without-project 负荷计算书")) << n;
    }
}

TEST_F(Report, TheStandardsInForceAreCitedByNumberAndTitleWithSymbolsAndUnitsOfPractice)
{
    ASSERT_EQ(Run({"report", kExample, "--pdf", "book.pdf"}).status, 0);
    const std::string text = PageText(Path("book.pdf"), 0);
    for (const char* standard :
         {"GB 51348-2019《民用建筑电气设计标准》", "GB 55024-2022《建筑电气与智能化通用规范》",
          "GB 50052-2009《供配电系统设计规范》", "GB 50054-2011《低压配电设计规范》",
          "GB 50227-2017《并联电容器装置设计规范》", "《工业与民用供配电设计手册》（第四版）"}) {
        EXPECT_TRUE(Contains(WithoutBlanks(text), WithoutBlanks(standard))) << standard;
    }
    // The withdrawn code is gone, and so is any request to check versions.
    for (const char* gone : {"JGJ 16", "现行版本", "复核", "kVar"}) {
        EXPECT_FALSE(Contains(text, gone)) << gone;
    }
    for (const char* symbol :
         {"设备功率 Pe", "需要系数 Kx", "有功功率 Pjs", "无功功率 Qjs", "视在功率 Sjs",
          "计算电流 Ijs", "K∑p", "K∑q", "(kvar)", "(kV·A)", "(%)"}) {
        EXPECT_TRUE(Contains(text, symbol)) << symbol;
    }
}

TEST_F(Report, TheTitlePageNamesTheProjectAndTheContentsGiveThePagesTheSectionsStartOn)
{
    CLoadCalDocument doc;
    LoadArchiveFile(FromUtf8(kExample), doc);
    const std::pair<int, std::string> fields[] = {
        {CProjectInfo::kName, "滨江科技园 8 号楼"},
        {CProjectInfo::kNumber, "2024-031"},
        {CProjectInfo::kStage, "施工图设计"},
        {CProjectInfo::kClient, "滨江置业有限公司"},
        {CProjectInfo::kInstitute, "某建筑设计研究院"},
        {CProjectInfo::kSubproject, "8 号楼变配电"},
        {CProjectInfo::kRevision, "B"},
        {CProjectInfo::kDate, "2024-06-18"},
        {CProjectInfo::kDesigner, "张工"},
        {CProjectInfo::kChecker, "李工"},
        {CProjectInfo::kReviewer, "王工"},
        {CProjectInfo::kApprover, "赵工"},
    };
    for (const auto& [field, value] : fields) {
        doc.project.FieldAt(field) = FromUtf8(value);
    }
    SaveArchiveFile(FromUtf8(Path("project.LDC")), doc);
    ASSERT_EQ(Run({"report", "project.LDC", "--pdf", "book.pdf"}).status, 0);

    const std::string title = PageText(Path("book.pdf"), 1);
    for (const auto& [field, value] : fields) {
        EXPECT_TRUE(Contains(title, value)) << value;
    }
    EXPECT_FALSE(Contains(title, "project")) << "the file name is not the project's name";

    // The contents: every section with the page it starts on.
    const int pages = PageCount(Path("book.pdf"));
    const std::vector<std::string> contents = Lines(PageText(Path("book.pdf"), 2));
    int entries = 0;
    for (const std::string& line : contents) {
        const std::vector<std::string> t = Tokens(line);
        if (t.size() < 2 || t.back().find_first_not_of("0123456789") != std::string::npos ||
            (t.front().find("、") == std::string::npos &&
             t.front().find(". ") == std::string::npos && t.front().back() != '.')) {
            continue;
        }
        const int page = std::stoi(t.back());
        ASSERT_GE(page, 3) << line;
        ASSERT_LE(page, pages) << line;
        // The heading's first word stands on that page.
        EXPECT_TRUE(Contains(PageText(Path("book.pdf"), page), t.front())) << line;
        ++entries;
    }
    EXPECT_EQ(entries, 7 + 2) << PageText(Path("book.pdf"), 2);  // seven sections, two transformers
}

TEST_F(Report, ARareCharacterIsNeverSplitNorBoxedAndItsFontIsEmbedded)
{
    // 𠮷 (U+20BB7, CJK Extension B) fills a name that wraps over several lines
    // of its cell: every break falls next to it.
    const std::string rare = "\xF0\xA0\xAE\xB7";
    CLoadCalDocument doc;
    LoadArchiveFile(FromUtf8(kExample), doc);
    std::string name;
    for (int k = 0; k < 23; ++k) {
        name += rare;
    }
    doc.loads[0].m_strEquipName = FromUtf8(name);
    doc.project.FieldAt(CProjectInfo::kName) = FromUtf8("吉" + rare + "工程");
    SaveArchiveFile(FromUtf8(Path("rare.LDC")), doc);
    ASSERT_EQ(Run({"report", "rare.LDC", "--pdf", "book.pdf"}).status, 0);

    const auto text = testsupport::RunProcess("/usr/bin/pdftotext", {Path("book.pdf"), "-"});
    ASSERT_EQ(text.status, 0);
    EXPECT_FALSE(Contains(text.out, "\xEF\xBF\xBD")) << "U+FFFD in the text";
    // Every one comes out whole in the text a reader extracts: the name in the
    // load table and under its one transformer, the project's name at the top
    // of the title page, in its table and in every page's footer.
    const int pages = PageCount(Path("book.pdf"));
    size_t count = 0;
    for (size_t at = text.out.find(rare); at != std::string::npos;
         at = text.out.find(rare, at + 1)) {
        ++count;
    }
    EXPECT_EQ(count, 2u * 23u + 2u + static_cast<size_t>(pages));
    EXPECT_TRUE(Contains(text.out, "吉" + rare + "工程 负荷计算书")) << text.out.substr(0, 400);
    // The file stays sound for a reader: every page renders without complaint.
    const auto render = testsupport::RunProcess(
        "/usr/bin/pdftoppm", {"-r", "20", "-png", Path("book.pdf"), Path("page")});
    EXPECT_EQ(render.status, 0);
    EXPECT_EQ(render.err, "");
    // Every glyph of the page is in some embedded font.
    const auto fonts = testsupport::RunProcess("/usr/bin/pdffonts", {Path("book.pdf")});
    EXPECT_TRUE(Contains(fonts.out, "HanaMin")) << fonts.out;
}

TEST_F(Report, EveryFontIsEmbeddedAndChineseIsInTheCjkFont)
{
    ASSERT_EQ(Run({"report", kExample, "--pdf", "book.pdf"}).status, 0);
    const auto fonts = testsupport::RunProcess("/usr/bin/pdffonts", {Path("book.pdf")});
    ASSERT_EQ(fonts.status, 0) << fonts.err;
    const std::vector<std::string> lines = Lines(fonts.out);
    ASSERT_GT(lines.size(), 2u);
    bool cjk = false;
    for (size_t k = 2; k < lines.size(); ++k) {
        const std::vector<std::string> t = Tokens(lines[k]);
        ASSERT_GE(t.size(), 7u) << lines[k];
        // name type... emb sub uni object generation: emb is the fifth from the end.
        EXPECT_EQ(t[t.size() - 5], "yes") << lines[k];
        cjk = cjk || Contains(t[0], "WenQuanYi");
    }
    EXPECT_TRUE(cjk) << fonts.out;
}

TEST_F(Report, BadInputAndUnwritableOutputLoseNothing)
{
    testsupport::WriteBytes(folder / "old.pdf", "precious");
    testsupport::WriteBytes(folder / "bad.json", "{");
    testsupport::WriteBytes(folder / "damaged.LDC", "LDC but not really");
    for (const char* input : {"bad.json", "damaged.LDC", "missing.json"}) {
        const auto r = Run({"report", input, "--pdf", "old.pdf"});
        EXPECT_EQ(r.status, 2) << input;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_TRUE(Contains(r.err, input)) << r.err;
    }
    EXPECT_EQ(testsupport::ReadBytes(folder / "old.pdf"), "precious");

    // The target is a folder: the finished book cannot be moved into place.
    fs::create_directories(Path("taken.pdf"));
    auto r = Run({"report", kExample, "--pdf", "taken.pdf"});
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(Contains(r.err, "taken.pdf")) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    r = Run({"report", kExample, "--pdf", "nowhere/book.pdf"});
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(Contains(r.err, "nowhere/book.pdf")) << r.err;
    EXPECT_EQ(Run({"report", kExample}).status, 1);
    EXPECT_EQ(folder.Entries(),
              (std::vector<std::string>{"bad.json", "damaged.LDC", "old.pdf", "taken.pdf"}));
}
