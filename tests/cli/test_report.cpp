// `loadcal report`: the calculation book of a document, read back by
// poppler's pdftotext, pdffonts and pdfinfo as a reviewer's tools see it.

#include <gtest/gtest.h>

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

    // The load table: each circuit one row holding its 13 texts in order; the
    // transformer sections show it again (10 of its texts) under each owner.
    for (const CLoadCalData& c : loads) {
        std::vector<std::string> row;
        for (const TableColumn& column : kLoadColumns) {
            row.push_back(ToUtf8(c.FieldAt(column.field)));
        }
        EXPECT_EQ(CountRows(lines, row), 1) << row[0];
        const std::vector<std::string> section = {
            ToUtf8(c.m_strCircuitNo),   ToUtf8(c.m_strEquipNo),    ToUtf8(c.m_strEquipName),
            ToUtf8(c.m_strPhase),       ToUtf8(c.m_strRatedPower), ToUtf8(c.m_strDemandFactor),
            ToUtf8(c.m_strPowerFactor), ToUtf8(c.m_strCalcP),      ToUtf8(c.m_strCalcQ),
            ToUtf8(c.m_strCalcI)};
        int owners = 0;
        for (const CTransformerCalData& t : transformers) {
            owners += BelongsTo(c, t.m_strName) ? 1 : 0;
        }
        EXPECT_EQ(CountRows(lines, section), owners) << row[0];
    }

    // The transformer table and each transformer's steps with the figures
    // put in: group sums as the model gives them, results as the document holds them.
    for (const CTransformerCalData& t : transformers) {
        std::vector<std::string> row;
        for (const TableColumn& column : kTransformerColumns) {
            row.push_back(ToUtf8(t.FieldAt(column.field)));
        }
        EXPECT_EQ(CountRows(lines, row), 1) << row[0];
        const std::string p = ToUtf8(GroupActiveSum(loads, t.m_strName));
        const std::string q = ToUtf8(GroupReactiveSum(loads, t.m_strName));
        const std::string qc = ToUtf8(FormatG(ParseNumber(FromUtf8(q)) * ParseNumber(t.m_strKq)));
        for (const std::string& step : {
                 "Pc = Kp × ΣPjs = " + ToUtf8(t.m_strKp) + " × " + p + " = " +
                     ToUtf8(t.m_strCalcP) + " kW",
                 "Qc = Kq × ΣQjs = " + ToUtf8(t.m_strKq) + " × " + q + " = " + qc + " kVar",
                 "= " + ToUtf8(t.m_strCosBefore),
                 "= " + ToUtf8(t.m_strCompCapacity) + " kVar",
                 "Q2 = Qc − Qb = " + qc + " − ",
                 "= " + ToUtf8(t.m_strCalcQ) + " kVar",
                 "= " + ToUtf8(t.m_strCalcS) + " kVA",
                 "= " + ToUtf8(t.m_strCalcI) + " A",
                 "= " + ToUtf8(t.m_strRatedCapacity) + " kVA",
                 "S2 / Se = " + ToUtf8(t.m_strCalcS) + " / " + ToUtf8(t.m_strRatedCapacity) +
                     " = " + ToUtf8(t.m_strActualLoadRate),
             }) {
            EXPECT_TRUE(Contains(text.out, step)) << ToUtf8(t.m_strName) << ": " << step;
        }
        EXPECT_TRUE(Contains(text.out, "变压器 " + ToUtf8(t.m_strName) + " 各相电流"));
    }

    // The total row of the load table and the totals' section.
    const SummaryTotals totals = ComputeTotals(loads);
    EXPECT_EQ(CountRows(lines, {"总计", ToUtf8(totals.installed), ToUtf8(totals.powerFactor),
                                ToUtf8(totals.active), ToUtf8(totals.reactive),
                                ToUtf8(totals.apparent), ToUtf8(totals.current)}),
              1);
    EXPECT_TRUE(Contains(text.out, "Itot = Stot / (√3 × 0.38) = " + ToUtf8(totals.apparent) +
                                       " / (√3 × 0.38) = " + ToUtf8(totals.current) + " A"));

    // Title block, basis, checks and page numbers.
    for (const char* part : {"负荷计算书", "office-building", "编制", "校对", "审核", "审定",
                             "计算依据", "需要系数法", "审核检查", "满足"}) {
        EXPECT_TRUE(Contains(text.out, part)) << part;
    }
    const auto info = testsupport::RunProcess("/usr/bin/pdfinfo", {Path("book.pdf")});
    ASSERT_EQ(info.status, 0);
    const auto pagesAt = info.out.find("Pages:");
    ASSERT_NE(pagesAt, std::string::npos);
    const int pages = std::stoi(info.out.substr(pagesAt + 6));
    EXPECT_GE(pages, 6);
    for (int n = 1; n <= pages; ++n) {
        EXPECT_TRUE(Contains(WithoutBlanks(text.out),
                             "第" + std::to_string(n) + "页共" + std::to_string(pages) + "页"))
            << n;
    }
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
