// `loadcal report`: the calculation book of a document, read back by
// poppler's pdftotext, pdffonts and pdfinfo as a reviewer's tools see it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <sstream>

#include "document/Archive.h"
#include "document/JsonDocument.h"
#include "document/LoadTypeFile.h"
#include "model/Calculation.h"
#include "model/Columns.h"
#include "model/Numeric.h"
#include "model/SupplySecurity.h"
#include "model/Text.h"
#include "tests/support/Process.h"
#include "tests/support/ReferenceCalculation.h"
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
    // Without fire roles the book has one case: no word of a fire case.
    for (const char* part : {"火灾", "工况", "消防"}) {
        EXPECT_FALSE(Contains(text.out, part)) << part;
    }
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
    // Eight sections (the comparison with GB 51348-2019 among them), two transformers.
    EXPECT_EQ(entries, 8 + 2) << PageText(Path("book.pdf"), 2);
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

namespace {

std::string BoardsExample(const char* ext)
{
    return std::string(LOADCAL_SOURCE_DIR) + "/examples/office-building-boards" + ext;
}

/// The boards example, with its fire roles, recalculated.
CLoadCalDocument BoardsExampleRecalculated()
{
    CLoadCalDocument doc;
    DocumentFromJson(testsupport::ReadBytes(BoardsExample(".json")), "example", doc);
    RecalculateDocument(doc);
    return doc;
}

/// Which circuits and board figures a group sum takes: the normal case
/// leaves the fire-only circuits out, the fire case the shed ones and
/// takes the boards' fire figures.
enum class Case { Normal, Fire };

/// A member of a group as its owner sums it: phase group (0..2 single, 3
/// three-phase, -1 none), current and figures, read from the printed texts.
struct Member {
    int phase = -1;
    double current = 0;
    double value[3] = {0, 0, 0};  ///< P, Q, Pe
};

int PhaseOf(const std::wstring& phase)
{
    if (phase == L"L1,N") {
        return 0;
    }
    if (phase == L"L2,N") {
        return 1;
    }
    if (phase == L"L3,N") {
        return 2;
    }
    return phase == L"L1,L2,L3,N" ? 3 : -1;
}

double Read(const std::wstring& text)
{
    return text.empty() ? 0 : std::stod(ToUtf8(text));
}

bool Names(const std::wstring& owner, const std::wstring& name)
{
    std::wistringstream pieces(owner);
    for (std::wstring piece; std::getline(pieces, piece, L',');) {
        if (piece == name) {
            return true;
        }
    }
    return false;
}

/// The members of the group named name in a case: circuits first, then
/// boards, list order.
std::vector<Member> MembersOf(const CLoadCalDocument& doc, const std::wstring& name,
                              Case which = Case::Normal)
{
    const bool fire = which == Case::Fire;
    std::vector<Member> out;
    for (const CLoadCalData& c : doc.loads) {
        if (c.m_strFire == (fire ? L"火灾时切除" : L"消防")) {
            continue;
        }
        if (Names(c.m_strTransformer, name)) {
            out.push_back({PhaseOf(c.m_strPhase),
                           Read(c.m_strCalcI),
                           {Read(c.m_strCalcP), Read(c.m_strCalcQ), Read(c.m_strRatedPower)}});
        }
    }
    for (const CBoardCalData& b : doc.boards) {
        if (Names(b.m_strOwner, name)) {
            out.push_back({PhaseOf(b.m_strPhase),
                           Read(fire ? b.m_strFireCalcI : b.m_strCalcI),
                           {Read(fire ? b.m_strFireCalcP : b.m_strCalcP),
                            Read(fire ? b.m_strFireCalcQ : b.m_strCalcQ),
                            Read(fire ? b.m_strFireRatedPower : b.m_strRatedPower)}});
        }
    }
    return out;
}

/// A group's sum of one figure (0 P, 1 Q, 2 Pe) under a rule set's 15 % rule,
/// worked out here as the formulas of the book state it; plainly for a
/// single-phase board.
double GroupSumOf(const std::vector<Member>& members, int figure, CalcRules rules, bool plain)
{
    double single[3] = {0, 0, 0}, current[3] = {0, 0, 0}, singleP = 0, three = 0, threeP = 0;
    for (const Member& m : members) {
        if (m.phase >= 0 && m.phase < 3) {
            single[m.phase] += m.value[figure];
            current[m.phase] += m.current;
            singleP += m.value[0];
        } else if (m.phase == 3) {
            three += m.value[figure];
            threeP += m.value[0];
        }
    }
    if (!plain) {
        if (rules == CalcRules::GB51348_2019) {
            plain = singleP < 0.15 * threeP;
        } else {
            const double mean = (current[0] + current[1] + current[2]) / 3;
            plain = true;
            for (double i : current) {
                plain = plain && std::fabs(mean - i) < 0.15 * mean;
            }
        }
    }
    if (plain) {
        return single[0] + single[1] + single[2] + three;
    }
    return 3 * std::max({single[0], single[1], single[2]}) + three;
}

std::string SumText(double value)
{
    return Rounded('P', FormatG(value));
}

/// The boards in the book's tree order, worked out here: from each
/// transformer its boards depth first in list order, each board once.
std::vector<int> TreeOrder(const CLoadCalDocument& doc)
{
    std::vector<int> order;
    std::vector<bool> placed(static_cast<size_t>(doc.boards.GetSize()), false);
    std::function<void(const std::wstring&)> walk = [&](const std::wstring& owner) {
        for (int b = 0; b < doc.boards.GetSize(); ++b) {
            if (!placed[static_cast<size_t>(b)] && Names(doc.boards[b].m_strOwner, owner)) {
                placed[static_cast<size_t>(b)] = true;
                order.push_back(b);
                walk(doc.boards[b].m_strName);
            }
        }
    };
    for (const CTransformerCalData& t : doc.transformers) {
        walk(t.m_strName);
    }
    return order;
}

/// The entries of the contents on page 2: heading words -> page.
std::map<std::string, int> ContentsPages(const std::string& pdf)
{
    std::map<std::string, int> pages;
    for (const std::string& line : Lines(PageText(pdf, 2))) {
        std::vector<std::string> t = Tokens(line);
        if (t.size() < 3 || t.back().find_first_not_of("0123456789") != std::string::npos) {
            continue;
        }
        const int page = std::stoi(t.back());
        t.pop_back();
        t.pop_back();  // the dot leaders
        std::string heading;
        for (const std::string& word : t) {
            heading += (heading.empty() ? "" : " ") + word;
        }
        pages[heading] = page;
    }
    return pages;
}

}  // namespace

TEST_F(Report, EveryBoardHasItsPageInTreeOrderWithTheFiguresCalcPrintsUnderBothRuleSets)
{
    const CLoadCalDocument example = BoardsExampleRecalculated();
    ASSERT_TRUE(HasFireRoles(example));
    SaveArchiveFile(FromUtf8(Path("gb.LDC")), example);
    CLoadCalDocument original = example;
    original.rules = CalcRules::Original;
    testsupport::WriteBytes(folder / "original.json",
                            DocumentToJson(original, ComputeTotals(original)));
    ASSERT_EQ(Run({"calc", "original.json", "-o", "original.json"}).status, 0);

    for (const std::string& input : {Path("gb.LDC"), Path("original.json")}) {
        const auto calc = Run({"calc", input, "--json"});
        ASSERT_EQ(calc.status, 0) << calc.err;
        CLoadCalDocument doc;
        DocumentFromJson(calc.out, "calc", doc);
        const auto r = Run({"report", input, "--pdf", "book.pdf"});
        ASSERT_EQ(r.status, 0) << r.err;
        const std::string pdf = Path("book.pdf");
        const bool gb = doc.rules == CalcRules::GB51348_2019;
        const std::string k = gb ? "√3" : "1.732";
        const int pages = PageCount(pdf);
        const std::map<std::string, int> contents = ContentsPages(pdf);

        int previous = 0;
        int number = 0;
        int boardsWithTwoCases = 0;
        for (int index : TreeOrder(doc)) {
            const CBoardCalData& b = doc.boards[index];
            const std::string name = ToUtf8(b.m_strName);
            const std::string heading =
                std::to_string(++number) + ". 配电箱 " + name + " 负荷计算表";
            const auto entry = contents.find(heading);
            ASSERT_NE(entry, contents.end()) << heading;
            const int page = entry->second;
            EXPECT_GT(page, previous) << heading;  // tree order
            ASSERT_LE(page, pages);
            previous = page;
            const std::string text = PageText(pdf, page);
            const std::vector<std::string> lines = Lines(text);
            EXPECT_TRUE(Contains(text, heading)) << heading;

            // The result rows of both cases and each case's steps with the
            // sums worked out here from the figures calc printed.
            EXPECT_EQ(
                CountRows(lines,
                          {"正常", Rounded('P', b.m_strRatedPower), Rounded('P', b.m_strCalcP),
                           Rounded('P', b.m_strCalcQ), Rounded('P', b.m_strCalcS),
                           Rounded('F', b.m_strPowerFactor), Rounded('I', b.m_strCalcI)}),
                1)
                << name;
            EXPECT_EQ(
                CountRows(
                    lines,
                    {"火灾", Rounded('P', b.m_strFireRatedPower), Rounded('P', b.m_strFireCalcP),
                     Rounded('P', b.m_strFireCalcQ), Rounded('P', b.m_strFireCalcS),
                     Rounded('F', b.m_strFirePowerFactor), Rounded('I', b.m_strFireCalcI)}),
                1)
                << name;
            const bool fireLarger = Read(b.m_strFireCalcS) > Read(b.m_strCalcS);
            EXPECT_EQ(ToUtf8(b.m_strGoverningCase), fireLarger ? "火灾" : "正常") << name;
            EXPECT_TRUE(Contains(text, "取值工况") &&
                        Contains(text, ToUtf8(b.m_strGoverningCase) +
                                           "：火灾工况 Sjs = " + Rounded('P', b.m_strFireCalcS) +
                                           (fireLarger ? " kV·A 大于" : " kV·A 不大于") +
                                           "正常工况 Sjs = " + Rounded('P', b.m_strCalcS)))
                << name << "\n"
                << text;
            const bool threePhase = b.m_strPhase == L"L1,L2,L3,N";
            const std::string divisor = threePhase ? "(" + k + " × 0.38)" : "0.22";
            const auto steps = [&](Case which) {
                const bool fire = which == Case::Fire;
                const std::vector<Member> members = MembersOf(doc, b.m_strName, which);
                const std::string sumP = SumText(GroupSumOf(members, 0, doc.rules, !threePhase));
                const std::string sumQ = SumText(GroupSumOf(members, 1, doc.rules, !threePhase));
                const std::string s = Rounded('P', fire ? b.m_strFireCalcS : b.m_strCalcS);
                return std::vector<std::string>{
                    "Pjs = K∑p × ΣPjs = " + Rounded('F', b.m_strKp) + " × " + sumP + " = " +
                        Rounded('P', fire ? b.m_strFireCalcP : b.m_strCalcP) + " kW",
                    "Qjs = K∑q × ΣQjs = " + Rounded('F', b.m_strKq) + " × " + sumQ + " = " +
                        Rounded('P', fire ? b.m_strFireCalcQ : b.m_strCalcQ) + " kvar",
                    "Ijs = Sjs / " + divisor + " = " + s + " / " + divisor + " = " +
                        Rounded('I', fire ? b.m_strFireCalcI : b.m_strCalcI) + " A",
                };
            };
            // The fire case's steps stand on the page unless they read as
            // the normal ones, which the page then says.
            const std::vector<std::string> normalSteps = steps(Case::Normal);
            const std::vector<std::string> fireSteps = steps(Case::Fire);
            std::vector<std::string> expected = normalSteps;
            if (fireSteps != normalSteps) {
                expected.insert(expected.end(), fireSteps.begin(), fireSteps.end());
                ++boardsWithTwoCases;
            } else {
                EXPECT_TRUE(Contains(WithoutBlanks(text), "所计负荷与正常工况相同，各步同上"))
                    << name;
            }
            for (const std::string& step : expected) {
                EXPECT_TRUE(Contains(text, step)) << name << ": " << step << "\n" << text;
            }
            // Its members: each circuit with ten of its texts and its type,
            // class and fire role, each board in one row.
            for (const CLoadCalData& c : doc.loads) {
                if (Names(c.m_strTransformer, b.m_strName)) {
                    std::vector<std::string> row;
                    for (size_t col : {0, 1, 2, 3, 4, 6, 7, 8, 9, 11}) {
                        row.push_back(Rounded(kLoadKinds[col], c.FieldAt(kLoadColumns[col].field)));
                    }
                    for (const std::wstring* extra :
                         {&c.m_strLoadType, &c.m_strQuantity, &c.m_strLoadClass, &c.m_strFire}) {
                        row.push_back(ToUtf8(*extra));
                    }
                    // A long name wraps within its cell, which the extracted
                    // text shows on lines of its own: the row is then the
                    // others.
                    std::vector<std::string> withoutName = row;
                    withoutName.erase(withoutName.begin() + 2);
                    EXPECT_EQ(CountRows(lines, row) + CountRows(lines, withoutName), 1)
                        << name << " " << row[0];
                }
            }
            for (const CBoardCalData& m : doc.boards) {
                if (Names(m.m_strOwner, b.m_strName)) {
                    EXPECT_EQ(
                        CountRows(lines,
                                  {ToUtf8(m.m_strName), "配电箱", ToUtf8(m.m_strPhase),
                                   Rounded('P', m.m_strRatedPower),
                                   Rounded('F', m.m_strPowerFactor), Rounded('P', m.m_strCalcP),
                                   Rounded('P', m.m_strCalcQ), Rounded('I', m.m_strCalcI)}),
                        1)
                        << name << " " << ToUtf8(m.m_strName);
                }
            }
            if (OwnerPieces(b.m_strOwner).GetSize() > 1) {
                EXPECT_TRUE(Contains(WithoutBlanks(text), "多路供电")) << name;
            }
        }
        EXPECT_EQ(number, doc.boards.GetSize());
        // The fire boards, the shed kitchen and landscape boards and the
        // boards above them differ between the cases.
        EXPECT_GE(boardsWithTwoCases, 4);

        // Each transformer's steps take its boards beside its circuits.
        const std::string whole = PageText(pdf, 0);
        for (const CTransformerCalData& t : doc.transformers) {
            const std::string sum =
                SumText(GroupSumOf(MembersOf(doc, t.m_strName), 0, doc.rules, false));
            const std::string step = "Pc = K∑p × ΣPjs = " + Rounded('F', t.m_strKp) + " × " + sum +
                                     " = " + Rounded('P', t.m_strCalcP) + " kW";
            EXPECT_TRUE(Contains(whole, step)) << step;
        }
        // The board table holds every board once with its eleven texts.
        const char kBoardKinds[] = {'T', 'T', 'P', 'F', 'F', 'P', 'P', 'P', 'F', 'I', 'T'};
        const std::vector<std::string> all = Lines(whole);
        for (const CBoardCalData& b : doc.boards) {
            std::vector<std::string> row;
            for (size_t col = 0; col < kBoardColumns.size(); ++col) {
                row.push_back(Rounded(kBoardKinds[col], b.FieldAt(kBoardColumns[col].field)));
            }
            EXPECT_EQ(CountRows(all, row), 1) << row[0];
        }
    }
}

TEST_F(Report, TheRuleSetInForceIsNamedAndTheFormulasFollowIt)
{
    SaveArchiveFile(FromUtf8(Path("gb.LDC")), BoardsExampleRecalculated());
    ASSERT_EQ(Run({"report", Path("gb.LDC"), "--pdf", "gb.pdf"}).status, 0);
    ASSERT_EQ(Run({"report", kExample, "--pdf", "original.pdf"}).status, 0);
    const std::string gb = WithoutBlanks(PageText(Path("gb.pdf"), 0));
    const std::string original = WithoutBlanks(PageText(Path("original.pdf"), 0));
    EXPECT_TRUE(Contains(WithoutBlanks(PageText(Path("gb.pdf"), 1)),
                         "计算规则GB51348-2019《民用建筑电气设计标准》"));
    EXPECT_TRUE(
        Contains(WithoutBlanks(PageText(Path("original.pdf"), 1)), "计算规则本程序原有计算规则"));
    for (const char* formula :
         {"Qcc=α×Pc×(tanφ1−tanφ2)（kvar；cosφ2为目标功率因数；cosφ1不低于", "Ijs=Pjs/(√3×U×cosφ)",
          "不论其归属几台变压器", "ΣP1φ小于0.15×P3φ时", "三相配电箱Ijs=Sjs/(√3×0.38)"}) {
        EXPECT_TRUE(Contains(gb, formula)) << formula;
        EXPECT_FALSE(Contains(original, formula)) << formula;
    }
    for (const char* formula :
         {"Qcc=Pc×(tanφ1−tanφ2)（kvar；cosφ2为目标功率因数）", "Ijs=Pjs/(1.732×U×cosφ)",
          "均小于0.15×Ī时三相平衡", "(1)15%规则：", "(2)无功补偿：", "(3)全部负荷总计：",
          "(4)三相电流：", "与GB51348-2019规则的对照"}) {
        EXPECT_TRUE(Contains(original, formula)) << formula;
        EXPECT_FALSE(Contains(gb, formula)) << formula;
    }
    EXPECT_FALSE(Contains(gb, "1.732"));
}

TEST_F(Report, UnderTheOriginalRulesEachTransformerShowsBothSetsOfFigures)
{
    CLoadCalDocument boards = BoardsExampleRecalculated();
    boards.rules = CalcRules::Original;
    RecalculateDocument(boards);
    SaveArchiveFile(FromUtf8(Path("boards.LDC")), boards);
    for (const std::string& input : {kExample, Path("boards.LDC")}) {
        CLoadCalDocument doc;
        LoadArchiveFile(FromUtf8(input), doc);
        ASSERT_EQ(doc.rules, CalcRules::Original);
        // The same document under GB 51348-2019, by the tests' own transcription.
        CLoadCalDocument other = doc;
        other.rules = CalcRules::GB51348_2019;
        const SummaryTotals otherTotals = reference::RecalculateDocument(other);
        const SummaryTotals totals = reference::Totals(doc.loads);

        ASSERT_EQ(Run({"report", input, "--pdf", "book.pdf"}).status, 0);
        const std::vector<std::string> lines = Lines(PageText(Path("book.pdf"), 0));
        const auto section = std::find_if(lines.begin(), lines.end(), [](const std::string& l) {
            return Contains(l, "、与 GB 51348-2019 规则的对照") && !Contains(l, "....");
        });
        ASSERT_NE(section, lines.end());
        const auto rowStarting = [&](std::vector<std::string>::const_iterator from,
                                     const std::vector<std::string>& start) {
            for (auto it = from; it != lines.end(); ++it) {
                const std::vector<std::string> t = Tokens(*it);
                if (t.size() >= start.size() && std::equal(start.begin(), start.end(), t.begin())) {
                    return true;
                }
            }
            return false;
        };
        for (int m = 0; m < doc.transformers.GetSize(); ++m) {
            const CTransformerCalData& a = doc.transformers[m];
            const CTransformerCalData& b = other.transformers[m];
            const std::vector<std::string> captionWords = {"变压器", ToUtf8(a.m_strName)};
            const auto caption = std::find_if(section, lines.end(), [&](const std::string& l) {
                return Tokens(l) == captionWords;
            });
            ASSERT_NE(caption, lines.end()) << ToUtf8(a.m_strName);
            for (const auto& row : std::vector<std::vector<std::string>>{
                     {"计算有功功率", "Pc", "(kW)", Rounded('P', a.m_strCalcP),
                      Rounded('P', b.m_strCalcP)},
                     {"补偿容量", "Qcc", "(kvar)", Rounded('P', a.m_strCompCapacity),
                      Rounded('P', b.m_strCompCapacity)},
                     {"补偿后视在功率", "S2", "(kV·A)", Rounded('P', a.m_strCalcS),
                      Rounded('P', b.m_strCalcS)},
                     {"额定容量", "Se", "(kV·A)", Rounded('C', a.m_strRatedCapacity),
                      Rounded('C', b.m_strRatedCapacity)},
                     {"实际负载率", "(%)", Rounded('%', a.m_strActualLoadRate),
                      Rounded('%', b.m_strActualLoadRate)},
                 }) {
                EXPECT_TRUE(rowStarting(caption, row)) << ToUtf8(a.m_strName) << " " << row[0];
            }
        }
        EXPECT_TRUE(rowStarting(section, {"总有功功率", "Ptot", "(kW)", Rounded('P', totals.active),
                                          Rounded('P', otherTotals.active)}));
        EXPECT_TRUE(
            rowStarting(section, {"总设备功率", "Pe,tot", "(kW)", Rounded('P', totals.installed),
                                  Rounded('P', otherTotals.installed)}));
        for (int k = 0; k < doc.boards.GetSize(); ++k) {
            EXPECT_TRUE(rowStarting(
                section,
                {ToUtf8(doc.boards[k].m_strName), Rounded('P', doc.boards[k].m_strCalcP),
                 Rounded('P', other.boards[k].m_strCalcP), Rounded('I', doc.boards[k].m_strCalcI),
                 Rounded('I', other.boards[k].m_strCalcI)}))
                << ToUtf8(doc.boards[k].m_strName);
        }
    }
}

TEST_F(Report, EachTransformerShowsBothCasesAndTheLargerS2ChoosesItsCapacity)
{
    const auto calc = Run({"calc", BoardsExample(".json"), "--json"});
    ASSERT_EQ(calc.status, 0) << calc.err;
    CLoadCalDocument doc;
    DocumentFromJson(calc.out, "calc", doc);
    ASSERT_TRUE(HasFireRoles(doc));
    const auto r = Run({"report", BoardsExample(".json"), "--pdf", "book.pdf"});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string text = PageText(Path("book.pdf"), 0);
    const std::vector<std::string> lines = Lines(text);
    const double kStandard[] = {30,   50,   63,   80,   100,  125,  160,  200,  250,
                                315,  400,  500,  630,  800,  1000, 1250, 1600, 2000,
                                2500, 3150, 4000, 5000, 6300, 8000, 10000};
    int fireGoverns = 0;
    for (const CTransformerCalData& t : doc.transformers) {
        const std::string name = ToUtf8(t.m_strName);
        // Both cases' steps, with the sums worked out here from the members
        // each case counts.
        for (const Case which : {Case::Normal, Case::Fire}) {
            const bool fire = which == Case::Fire;
            const std::vector<Member> members = MembersOf(doc, t.m_strName, which);
            const std::string sumP = SumText(GroupSumOf(members, 0, doc.rules, false));
            const std::string sumQ = SumText(GroupSumOf(members, 1, doc.rules, false));
            // Qc as the transformer takes it: the sum as its text reads, times
            // K∑q, rounded from the product itself.
            char qcText[32];
            std::snprintf(
                qcText, sizeof qcText, "%.2f",
                Read(FormatG(GroupSumOf(members, 1, doc.rules, false))) * Read(t.m_strKq));
            const std::string qc = qcText;
            const std::string pc = Rounded('P', fire ? t.m_strFireCalcP : t.m_strCalcP);
            const std::string q2 = Rounded('P', fire ? t.m_strFireCalcQ : t.m_strCalcQ);
            const std::string s2 = Rounded('P', fire ? t.m_strFireCalcS : t.m_strCalcS);
            const std::string i2 = Rounded('I', fire ? t.m_strFireCalcI : t.m_strCalcI);
            const std::string qcc =
                Rounded('P', fire ? t.m_strFireCompCapacity : t.m_strCompCapacity);
            for (const std::string& step : {
                     "Pc = K∑p × ΣPjs = " + Rounded('F', t.m_strKp) + " × " + sumP + " = " + pc +
                         " kW",
                     "Qc = K∑q × ΣQjs = " + Rounded('F', t.m_strKq) + " × " + sumQ + " = " + qc +
                         " kvar",
                     "S2 = √(Pc² + Q2²) = √(" + pc + "² + " + q2 + "²) = " + s2 + " kV·A",
                     "I2 = S2 / (√3 × 0.38) = " + s2 + " / (√3 × 0.38) = " + i2 + " A",
                 }) {
                EXPECT_TRUE(Contains(text, step)) << name << ": " << step;
            }
            const std::string rate =
                Rounded('%', fire ? t.m_strFireLoadRate : t.m_strActualLoadRate);
            EXPECT_EQ(CountRows(lines, {fire ? "火灾" : "正常", sumP, sumQ, pc, qc, qcc, q2, s2, i2,
                                        rate}),
                      1)
                << name << (fire ? " fire" : " normal");
        }
        // The capacity from the larger S2, checked against the standard
        // series here, and the load rate of each case on it.
        const double normal = Read(t.m_strCalcS);
        const double fire = Read(t.m_strFireCalcS);
        const double needed = std::max(normal, fire) / Read(t.m_strLoadRate);
        const double* chosen = std::find_if(std::begin(kStandard), std::end(kStandard),
                                            [&](double c) { return c > needed; });
        ASSERT_NE(chosen, std::end(kStandard));
        EXPECT_EQ(Read(t.m_strRatedCapacity), *chosen) << name;
        EXPECT_EQ(ToUtf8(t.m_strGoverningCase), fire > normal ? "火灾" : "正常") << name;
        fireGoverns += fire > normal ? 1 : 0;
        const std::string se = Rounded('C', t.m_strRatedCapacity);
        const std::string a = Rounded('P', t.m_strCalcS);
        const std::string b = Rounded('P', t.m_strFireCalcS);
        for (const std::string& step : {
                 "S = max(S2正常, S2火灾) / 预计负荷率 = max(" + a + ", " + b + ") / " +
                     Rounded('%', t.m_strLoadRate) + " % = " + SumText(needed),
                 "Se = 标准容量系列中第一个大于 " + SumText(needed) + " 的值 = " + se + " kV·A",
                 "正常工况 S2正常 / Se = " + a + " / " + se + " = " +
                     Rounded('%', t.m_strActualLoadRate) + " %",
                 "火灾工况 S2火灾 / Se = " + b + " / " + se + " = " +
                     Rounded('%', t.m_strFireLoadRate) + " %",
                 ToUtf8(t.m_strGoverningCase) + "：S2火灾 = " + b +
                     (fire > normal ? " kV·A 大于 S2正常 = " : " kV·A 不大于 S2正常 = ") + a +
                     " kV·A",
             }) {
            EXPECT_TRUE(Contains(text, step)) << name << ": " << step;
        }
        // The fire table beside the transformer table.
        EXPECT_EQ(
            CountRows(lines,
                      {name, se, ToUtf8(t.m_strGoverningCase), Rounded('P', t.m_strFireCalcP),
                       Rounded('P', t.m_strFireCalcQ), b, Rounded('I', t.m_strFireCalcI),
                       Rounded('F', t.m_strFireCosBefore), Rounded('P', t.m_strFireCompCapacity),
                       Rounded('%', t.m_strFireLoadRate)}),
            1)
            << name;
    }
    // In the example the fire case governs both transformers.
    EXPECT_EQ(fireGoverns, 2);
    const std::string plain = WithoutBlanks(text);
    EXPECT_TRUE(Contains(plain, "正常工况与火灾工况"));
    EXPECT_TRUE(Contains(plain, "S=max(S2正常,S2火灾)/预计负荷率"));
    // Each board's fire figures stand in the board table's fire part.
    for (const CBoardCalData& b : doc.boards) {
        EXPECT_EQ(CountRows(lines,
                            {ToUtf8(b.m_strName), ToUtf8(b.m_strGoverningCase),
                             Rounded('P', b.m_strFireRatedPower), Rounded('P', b.m_strFireCalcP),
                             Rounded('P', b.m_strFireCalcQ), Rounded('P', b.m_strFireCalcS),
                             Rounded('F', b.m_strFirePowerFactor), Rounded('I', b.m_strFireCalcI)}),
                  1)
            << ToUtf8(b.m_strName);
    }
}

TEST_F(Report, TheChecksShowEachTransformersNMinusOneLoadAgainstItsCapacity)
{
    ASSERT_EQ(Run({"report", BoardsExample(".json"), "--pdf", "book.pdf"}).status, 0);
    const CLoadCalDocument doc = BoardsExampleRecalculated();
    const std::vector<CContingencyLoad> loads = ComputeContingencyLoads(doc);
    ASSERT_EQ(loads.size(), 2U);  // the lifts, IT room, emergency lighting and fire boards
    // The checks' page; a table cell's lines read in order without the layout.
    std::string checks;
    for (int page = PageCount(Path("book.pdf")); page > 0 && checks.empty(); --page) {
        std::string raw = testsupport::RunProcess("/usr/bin/pdftotext",
                                                  {"-f", std::to_string(page), "-l",
                                                   std::to_string(page), Path("book.pdf"), "-"})
                              .out;
        std::erase(raw, '\n');
        if (Contains(raw, "、审核检查")) {
            checks = WithoutBlanks(raw);
        }
    }
    ASSERT_FALSE(checks.empty());
    for (const CContingencyLoad& load : loads) {
        const CTransformerCalData& t = doc.transformers[load.transformer];
        ASSERT_TRUE(load.fire.has_value());
        char expected[512];
        std::snprintf(expected, sizeof expected,
                      "%s停运时承担全部一、二级负荷（%d个回路）：正常工况Pc=%.2fkW，补偿%.2fkvar后"
                      "Q=%.2fkvar，S=%.2fkV·A；火灾工况Pc=%.2fkW，补偿%.2fkvar后Q=%.2fkvar，"
                      "S=%.2fkV·A；取%s工况S=%.2fkV·A，不大于额定容量Se=%skV·A",
                      ToUtf8(doc.transformers[load.partners.at(0)].m_strName).c_str(),
                      load.circuits, load.normal.active, load.normal.compensation,
                      load.normal.reactive, load.normal.apparent, load.fire->active,
                      load.fire->compensation, load.fire->reactive, load.fire->apparent,
                      load.fireGoverns ? "火灾" : "正常", load.apparent,
                      Rounded('C', t.m_strRatedCapacity).c_str());
        EXPECT_TRUE(Contains(checks, expected)) << expected << "\n" << checks;
        EXPECT_EQ(load.circuits, 13);
        EXPECT_TRUE(load.Fits());
    }
    EXPECT_TRUE(Contains(checks, "N−1"));
}

TEST_F(Report, TheSourcesSectionListsExactlyTheTypesTheCircuitsNameAndEachTableCitesThem)
{
    ASSERT_EQ(Run({"report", BoardsExample(".json"), "--pdf", "book.pdf"}).status, 0);
    const CLoadCalDocument doc = BoardsExampleRecalculated();
    std::map<std::string, int> used;  // type -> circuits naming it
    for (const CLoadCalData& c : doc.loads) {
        if (!c.m_strLoadType.empty()) {
            ++used[ToUtf8(c.m_strLoadType)];
        }
    }
    ASSERT_EQ(used.size(), 4U);  // fire pumps, sprinkler pumps, smoke and pressurisation fans
    const int last = PageCount(Path("book.pdf"));
    const std::vector<std::string> lines = Lines(PageText(Path("book.pdf"), last));
    const auto heading = std::find_if(lines.begin(), lines.end(), [](const std::string& l) {
        return Contains(l, "、负荷类型及其出处");
    });
    ASSERT_NE(heading, lines.end());
    // Each row starts with the type's name and its figures, ends with its
    // origin and the number of circuits naming it; no other type is listed.
    std::map<std::string, int> listed;
    for (auto it = heading; it != lines.end(); ++it) {
        const std::vector<std::string> t = Tokens(*it);
        if (t.size() >= 4 && used.count(t[0]) && t[t.size() - 2] == "内置") {
            listed[t[0]] = std::stoi(t.back());
        }
    }
    EXPECT_EQ(listed, used);
    const std::string section = WithoutBlanks(PageText(Path("book.pdf"), last));
    EXPECT_TRUE(Contains(section, "04DX101-1《建筑电气常用数据》（2004年版"));
    EXPECT_TRUE(Contains(section, "转引自公开摘录，待核对原文"));
    // No row of a type no circuit names.
    for (auto it = heading; it != lines.end(); ++it) {
        const std::vector<std::string> t = Tokens(*it);
        if (!t.empty() && ShippedLoadTypes().Find(FromUtf8(t[0]))) {
            EXPECT_TRUE(used.count(t[0])) << *it;
        }
    }
    // The load table and the fire boards' pages cite the source under them.
    const std::string whole = WithoutBlanks(PageText(Path("book.pdf"), 0));
    size_t notes = 0;
    for (size_t at = 0; (at = whole.find("注：填有负荷类型的回路", at)) != std::string::npos;
         ++at) {
        ++notes;
    }
    // The load table, AP-XF and AP-PY, and both transformers' members (none
    // of which is a typed circuit: boards only) — three tables.
    EXPECT_EQ(notes, 3U);
    EXPECT_TRUE(Contains(whole, "消防水泵、喷淋泵：国家建筑标准设计图集04DX101-1"));
}
