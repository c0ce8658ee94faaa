// The command line with boards and rule sets, as scripts see it: the
// figures it prints and writes, the errors it refuses with, and the
// documents without boards that must come out exactly as before.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "document/Archive.h"
#include "document/JsonDocument.h"
#include "model/BoardChecks.h"
#include "model/BoardGraph.h"
#include "model/Calculation.h"
#include "model/SupplyIndex.h"
#include "model/Text.h"
#include "tests/support/Process.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/ReferenceCalculation.h"
#include "tests/support/TempFolder.h"

using namespace loadcal;
namespace fs = std::filesystem;

namespace {

class CliBoards : public ::testing::Test {
protected:
    testsupport::ProcessResult Run(const std::vector<std::string>& args)
    {
        return testsupport::RunProcess(LOADCAL_EXE, args, {}, folder.Path().string());
    }
    std::string Path(const std::string& name) const { return (folder / name).string(); }
    std::string Read(const std::string& name) const
    {
        return testsupport::ReadBytes(folder / name);
    }
    void Write(const std::string& name, const std::string& text) const
    {
        testsupport::WriteBytes(folder / name, text);
    }

    testsupport::TempFolder folder;
};

std::string Example(const char* ext)
{
    return std::string(LOADCAL_SOURCE_DIR) + "/examples/office-building" + ext;
}

CLoadCalDocument RandomBoards(std::mt19937& rng, CalcRules rules)
{
    testsupport::RandomBoardOptions opt;
    opt.circuits = 150;
    opt.boards = 20;
    opt.quirkShare = 0.2;
    opt.rules = rules;
    CLoadCalDocument doc;
    testsupport::MakeRandomBoardDocument(rng, opt, doc);
    return doc;
}

const char* const kCycleJson = R"({"loads": [], "transformers": [{"name": "T1"}],
    "boards": [{"name": "AP1", "owner": "T1"}, {"name": "AP2", "owner": "AP1,AP3"},
               {"name": "AP3", "owner": "ap2"}]})";

}  // namespace

TEST_F(CliBoards, TheFirstExampleComesOutByteForByteAsBefore)
{
    auto r = Run({"calc", Example(".json"), "--json", "-o", "again.LDC"});
    ASSERT_EQ(r.status, 0) << r.err;
    // The document as it was, then the (empty) list of its warnings.
    const std::string json = testsupport::ReadBytes(Example(".json"));
    ASSERT_EQ(json.substr(json.size() - 6), "  }\n}\n");
    EXPECT_EQ(r.out, json.substr(0, json.size() - 3) + ",\n  \"warnings\": []\n}\n");
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(Read("again.LDC"), testsupport::ReadBytes(Example(".LDC")));
    r = Run({"calc", Example(".LDC")});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.find("配电箱"), std::string::npos);
    EXPECT_EQ(r.out.find("计算规则"), std::string::npos);
}

TEST_F(CliBoards, CalcRecalculatesBoardsUnderTheDocumentsRulesAndWritesThem)
{
    std::mt19937 rng(4);
    for (const CalcRules rules : {CalcRules::Original, CalcRules::GB51348_2019}) {
        const CLoadCalDocument doc = RandomBoards(rng, rules);
        Write("in.json", DocumentToJson(doc, ComputeTotals(doc)));
        const auto r = Run({"calc", "in.json", "--json", "-o", "out.LDC"});
        ASSERT_EQ(r.status, 0) << r.err;

        CLoadCalDocument expected = doc;
        const SummaryTotals totals = reference::RecalculateDocument(expected);
        CLoadCalDocument printed;
        DocumentFromJson(r.out, "stdout", printed);
        EXPECT_EQ(printed, expected);
        EXPECT_NE(r.out.find("\"P\": \"" + ToUtf8(totals.active) + "\""), std::string::npos);

        CLoadCalDocument written;
        LoadArchiveFile(FromUtf8(Path("out.LDC")), written);
        EXPECT_EQ(written, expected);
    }
}

TEST_F(CliBoards, TheTextTablesShowTheRulesAndTheBoards)
{
    Write("in.json", R"({"rules": "GB51348-2019",
        "loads": [{"circuitNo": "WL1", "phase": "L1,L2,L3,N", "ratedPower": "10",
                   "demandFactor": "1", "powerFactor": "0.8", "transformer": "AP1"}],
        "transformers": [{"name": "T1"}],
        "boards": [{"name": "AP1", "owner": "T1", "kp": "1", "kq": "1"}]})");
    const auto r = Run({"calc", "in.json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.rfind("计算规则: GB51348-2019\n\n负荷回路 (1)\n", 0), 0u) << r.out;
    const auto boards = r.out.find("配电箱 (1)\n配电箱名称");
    ASSERT_NE(boards, std::string::npos) << r.out;
    EXPECT_LT(r.out.find("变压器 (1)"), boards);
    // 10 kW, 7.5 kvar, 12.5 kVA, cos 0.8, 12.5 / (sqrt 3 x 0.38) = 18.9918 A.
    const std::string line = r.out.substr(r.out.find("AP1 ", boards));
    for (const char* figure : {"10", "7.5", "12.5", "0.8", "18.9918", "T1"}) {
        EXPECT_NE(line.find(figure), std::string::npos) << figure << "\n" << line;
    }
    EXPECT_LT(boards, r.out.find("总计: 额定容量 10 kW"));
}

TEST_F(CliBoards, ACycleOrAnUnknownRuleSetExitsWithTwoInOneLine)
{
    Write("cycle.json", kCycleJson);
    for (const char* command : {"calc", "balance"}) {
        const auto r = Run({command, "cycle.json", "-o", "out.json"});
        EXPECT_EQ(r.status, 2) << command;
        EXPECT_EQ(r.err,
                  "loadcal: cycle.json: the boards' owner lists form a cycle, which cannot be "
                  "calculated: AP2 → AP3 → AP2\n");
        EXPECT_TRUE(r.out.empty());
        EXPECT_FALSE(fs::exists(Path("out.json")));
    }
    // Nor is a book written: boards on a cycle have no figures to show.
    const auto book = Run({"report", "cycle.json", "--pdf", "book.pdf"});
    EXPECT_EQ(book.status, 2);
    EXPECT_EQ(book.err,
              "loadcal: cycle.json: the boards' owner lists form a cycle, which cannot be "
              "calculated: AP2 → AP3 → AP2\n");
    EXPECT_FALSE(fs::exists(Path("book.pdf")));
    // convert carries the texts as they are, cycle and all.
    auto r = Run({"convert", "cycle.json", "cycle.LDC"});
    ASSERT_EQ(r.status, 0) << r.err;
    r = Run({"calc", "cycle.LDC"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("cycle.LDC: the boards' owner lists form a cycle"), std::string::npos);

    Write("rules.json", R"({"rules": "GB50052-2009", "loads": []})");
    r = Run({"calc", "rules.json"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err,
              "loadcal: rules.json: rules: unknown rule set \"GB50052-2009\" (known: original, "
              "GB51348-2019)\n");

    CInterDpData store;
    store.SetSubValueW(L"计算规则", 8, L"GB51348", 0);
    ASSERT_EQ(store.WriteDataToIdpFile(FromUtf8(Path("rules.LDC"))), 0);
    r = Run({"convert", "rules.LDC", "rules2.json"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("rules.LDC\": \"计算规则\" names the rule set \"GB51348\""),
              std::string::npos)
        << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1);
    EXPECT_FALSE(fs::exists(Path("rules2.json")));
}

TEST_F(CliBoards, TheBookOfTheExampleWithFireRolesIsWrittenWithBothCases)
{
    for (const char* example : {"-boards.json", "-boards.LDC"}) {
        const auto r = Run({"report", Example(example), "--pdf", "book.pdf"});
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, "");
        const auto text = testsupport::RunProcess("/usr/bin/pdftotext", {Path("book.pdf"), "-"});
        ASSERT_EQ(text.status, 0);
        for (const char* part : {"正常工况", "火灾工况", "取值工况", "火灾负载率"}) {
            EXPECT_NE(text.out.find(part), std::string::npos) << example << " " << part;
        }
        fs::remove(Path("book.pdf"));
    }
}

TEST_F(CliBoards, ConvertCarriesBoardsAndRulesTextForText)
{
    std::mt19937 rng(8);
    CLoadCalDocument doc = RandomBoards(rng, CalcRules::GB51348_2019);
    doc.boards[0].m_strKp = L"约0.9";
    doc.boards[1].m_strCalcP = L"stale";
    const std::string original = DocumentToJson(doc, ComputeTotals(doc));
    Write("in.json", original);
    ASSERT_EQ(Run({"convert", "in.json", "doc.LDC"}).status, 0);
    const auto r = Run({"convert", "doc.LDC", "back.json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(Read("back.json"), original);
}

TEST_F(CliBoards, BalanceRecalculatesTheBoardsOverTheBalancedCircuits)
{
    std::mt19937 rng(12);
    CLoadCalDocument doc = RandomBoards(rng, CalcRules::Original);
    RecalculateDocument(doc);
    Write("in.json", DocumentToJson(doc, ComputeTotals(doc)));
    const auto r = Run({"balance", "in.json", "-o", "out.json"});
    ASSERT_EQ(r.status, 0) << r.err;
    CLoadCalDocument balanced;
    DocumentFromJson(Read("out.json"), "out.json", balanced);
    EXPECT_NE(balanced.loads, doc.loads);  // phases moved

    CLoadCalDocument expected = balanced;
    CSupplyIndex(expected).RecalculateGroups(expected);
    EXPECT_EQ(balanced, expected);
}

TEST(Examples, TheBoardsExampleIsARecalculatedSoundTree)
{
    CLoadCalDocument fromJson, archived;
    DocumentFromJson(testsupport::ReadBytes(Example("-boards.json")), "example", fromJson);
    LoadArchiveFile(FromUtf8(Example("-boards.LDC")), archived);
    EXPECT_EQ(archived, fromJson);
    EXPECT_EQ(fromJson.rules, CalcRules::GB51348_2019);
    CLoadCalDocument again = fromJson;
    RecalculateDocument(again);
    EXPECT_EQ(again, fromJson);
    EXPECT_TRUE(CheckBoards(fromJson).empty());

    // Floor boards under risers under the transformers, and a dual-fed board.
    const CBoardGraph graph(fromJson.boards);
    int deepest = 0;
    bool dualFed = false;
    for (int b = 0; b < graph.BoardCount(); ++b) {
        int depth = 1;
        for (int x = b; !graph.OwnersOf(x).empty(); x = graph.OwnersOf(x).front()) {
            ++depth;
        }
        deepest = std::max(deepest, depth);
        dualFed = dualFed || OwnerPieces(fromJson.boards[b].m_strOwner).GetSize() > 1;
    }
    EXPECT_GE(deepest, 2);
    EXPECT_TRUE(dualFed);
    // Every circuit hangs from a board; the circuits are the first example's,
    // then the fire-fighting ones (fire pumps and fans, fire-only).
    CLoadCalDocument first;
    DocumentFromJson(testsupport::ReadBytes(Example(".json")), "example", first);
    ASSERT_GT(fromJson.loads.GetSize(), first.loads.GetSize());
    for (int i = 0; i < fromJson.loads.GetSize(); ++i) {
        EXPECT_FALSE(graph.BoardsNamed(fromJson.loads[i].m_strTransformer).empty());
        if (i < first.loads.GetSize()) {
            EXPECT_EQ(fromJson.loads[i].m_strRatedPower, first.loads[i].m_strRatedPower);
        } else {
            EXPECT_EQ(fromJson.loads[i].m_strFire, L"消防");
        }
    }
}

// The figures the README gives for the first example under both rule sets.
TEST(Examples, TheFirstExampleUnderBothRuleSets)
{
    CLoadCalDocument doc;
    DocumentFromJson(testsupport::ReadBytes(Example(".json")), "example", doc);
    for (const CalcRules rules : {CalcRules::Original, CalcRules::GB51348_2019}) {
        doc.rules = rules;
        for (auto& c : doc.loads) {
            RecalculateCircuit(c, rules);
        }
        CSupplyIndex index(doc);
        index.RecalculateGroups(doc);
        const bool gb = rules == CalcRules::GB51348_2019;
        EXPECT_EQ(index.TransformerGroupSum(0, SumField::Active), gb ? L"673.275" : L"685.025");
        EXPECT_EQ(doc.transformers[0].m_strCompCapacity, gb ? L"156.055" : L"208.512");
        EXPECT_EQ(doc.transformers[0].m_strCalcP, gb ? L"605.947" : L"616.523");
        EXPECT_EQ(index.Totals().active, gb ? L"865.75" : L"951.4");
        EXPECT_EQ(doc.loads[0].m_strCalcI, gb ? L"321.743" : L"321.753");  // WP1, sqrt 3 or 1.732
    }
}
