// The loadcal command line as scripts see it: run as a separate process,
// judged by exit status, standard output, standard error and the files left.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "document/Archive.h"
#include "document/JsonDocument.h"
#include "model/Calculation.h"
#include "model/Text.h"
#include "tests/support/Process.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/TempFolder.h"

using namespace loadcal;
namespace fs = std::filesystem;

namespace {

class Cli : public ::testing::Test {
protected:
    testsupport::ProcessResult Run(const std::vector<std::string>& args,
                                   const std::string& input = {},
                                   const std::vector<std::string>& env = {})
    {
        return testsupport::RunProcess(LOADCAL_EXE, args, input, folder.Path().string(), env);
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

std::string OneCircuitJson(const std::string& extra = {})
{
    return R"({"loads": [{"circuitNo": "WL1", "phase": "L1,L2,L3,N", "ratedPower": "10",
                "demandFactor": "0.8", "powerFactor": "0.8", "transformer": "T1")" +
           extra + R"(}], "transformers": [{"name": "T1"}]})";
}

}  // namespace

TEST_F(Cli, ConvertRoundTripKeepsEveryTextExactly)
{
    // JSON -> archive -> JSON, text for text, on documents with odd texts.
    std::mt19937 rng(3);
    testsupport::RandomDocumentOptions opt;
    opt.circuits = 120;
    opt.transformers = 4;
    CLoadArray loads;
    CTransformerArray transformers;
    testsupport::MakeRandomDocument(rng, opt, loads, transformers);
    loads[0].m_strEquipName = L" 空 格 \U0001F50C ";
    loads[1].m_strRatedPower = L"10.500";
    loads[2].m_strDemandFactor = L"约0.8";
    transformers[0].m_strCalcCapacity = L"备用";
    const std::string original =
        DocumentToJson(CLoadCalDocument(loads, transformers), ComputeTotals(loads));
    Write("in.json", original);

    auto r = Run({"convert", "in.json", "doc.LDC"});
    ASSERT_EQ(r.status, 0) << r.err;
    r = Run({"convert", "doc.LDC", "back.JSON"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(Read("back.JSON"), original);
    EXPECT_TRUE(r.out.empty());

    // The archive itself holds the records (read by the library, not the tool).
    CLoadCalDocument l2Doc;
    LoadArchiveFile(folder.File("doc.LDC"), l2Doc);
    CLoadArray& l2 = l2Doc.loads;
    CTransformerArray& t2 = l2Doc.transformers;
    EXPECT_EQ(l2, loads);
    EXPECT_EQ(t2, transformers);
}

TEST_F(Cli, CalcPrintsTheRecalculatedDocumentAndWritesIt)
{
    Write("in.json", OneCircuitJson());
    auto r = Run({"calc", "in.json", "--json", "-o", "out.ldc"});
    ASSERT_EQ(r.status, 0) << r.err;
    CLoadCalDocument loadsDoc;
    DocumentFromJson(r.out, "stdout", loadsDoc);
    CLoadArray& loads = loadsDoc.loads;
    CTransformerArray& transformers = loadsDoc.transformers;
    ASSERT_EQ(loads.GetSize(), 1);
    EXPECT_EQ(loads[0].m_strCalcI, L"15.1939");
    EXPECT_EQ(transformers[0].m_strCalcP, L"7.2");  // 0.9 x 8 kW
    EXPECT_NE(r.out.find(R"("P": "8")"), std::string::npos);
    EXPECT_NE(r.out.find(R"("cos": "0.8")"), std::string::npos);

    CLoadCalDocument writtenDoc;
    LoadArchiveFile(folder.File("out.ldc"), writtenDoc);
    CLoadArray& written = writtenDoc.loads;
    CTransformerArray& writtenT = writtenDoc.transformers;
    EXPECT_EQ(written, loads);
    EXPECT_EQ(writtenT, transformers);

    // The readable form: titles, records and the totals line.
    r = Run({"calc", "out.ldc"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("回路编号"), std::string::npos);
    EXPECT_NE(r.out.find("15.1939"), std::string::npos);
    EXPECT_NE(r.out.find("总计: 额定容量 10 kW, 计算有功 8 kW"), std::string::npos);
}

TEST_F(Cli, InputErrorsNameTheFileAndTheProblem)
{
    struct Case {
        const char* content;
        const char* expected;
    };
    const Case cases[] = {
        {"{\"loads\": [ {\"circuitNo\": \"1\"}, ]", "line 1"},
        {R"({"loads": [{"circuitNo": 5}]})", "loads[0].circuitNo: expected a string"},
        {R"({"loads": [{"power": "5"}]})", "loads[0]: unknown key \"power\""},
        {R"({"loads": [], "extra": 1})", "unknown key \"extra\""},
        {R"([1, 2])", "expected an object"},
        {"{\"loads\": [{\"equipName\": \"\xC3(\"}]}", "UTF-8"},
    };
    for (const auto& c : cases) {
        Write("bad.json", c.content);
        const auto r = Run({"calc", "bad.json"});
        EXPECT_EQ(r.status, 2) << c.content;
        EXPECT_NE(r.err.find("bad.json"), std::string::npos) << r.err;
        EXPECT_NE(r.err.find(c.expected), std::string::npos) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_TRUE(r.out.empty());
    }
    auto r = Run({"calc", "missing.LDC"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("missing.LDC"), std::string::npos) << r.err;

    Write("damaged.LDC", "not an archive at all");
    r = Run({"convert", "damaged.LDC", "out.json"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("damaged.LDC"), std::string::npos) << r.err;
    EXPECT_FALSE(fs::exists(Path("out.json")));
}

TEST_F(Cli, UsageErrorsExitWithOne)
{
    Write("in.json", OneCircuitJson());
    for (const std::vector<std::string>& args : {std::vector<std::string>{"frobnicate"},
                                                 {"convert", "in.json"},
                                                 {"calc"},
                                                 {"convert", "in.json", "out.txt"},
                                                 {"calc", "in.csv"},
                                                 {"calc", "in.json", "--bogus"}}) {
        const auto r = Run(args);
        EXPECT_EQ(r.status, 1) << (args.empty() ? "" : args[0]);
        EXPECT_FALSE(r.err.empty());
    }
    const auto r = Run({"convert", "in.json", "out.txt"});
    EXPECT_NE(r.err.find("out.txt"), std::string::npos) << r.err;
    EXPECT_FALSE(fs::exists(Path("out.txt")));
    EXPECT_EQ(Run({"--help"}).status, 0);
}

TEST_F(Cli, AFailedWriteLeavesNoPartialFileAndTheOldOneIntact)
{
    Write("in.json", OneCircuitJson());
    // The target is a directory: the rename must fail after the temporary file was written.
    fs::create_directories(Path("taken.json"));
    auto r = Run({"calc", "in.json", "-o", "taken.json"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("taken.json"), std::string::npos) << r.err;
    EXPECT_TRUE(fs::is_directory(Path("taken.json")));

    // A bad input never touches an existing output.
    Write("old.json", "precious");
    Write("bad.json", "{");
    r = Run({"convert", "bad.json", "old.json"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(Read("old.json"), "precious");

    // A folder that does not exist.
    r = Run({"convert", "in.json", "nowhere/out.LDC"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("nowhere/out.LDC"), std::string::npos) << r.err;

    EXPECT_EQ(folder.Entries(),
              (std::vector<std::string>{"bad.json", "in.json", "old.json", "taken.json"}));
}

TEST(Examples, ArchiveAndJsonHoldTheSameRecalculatedDocument)
{
    const std::string base = std::string(LOADCAL_SOURCE_DIR) + "/examples/office-building";
    CLoadCalDocument fromJson, archived;
    DocumentFromJson(testsupport::ReadBytes(base + ".json"), "example", fromJson);
    LoadArchiveFile(FromUtf8(base + ".LDC"), archived);
    EXPECT_EQ(archived, fromJson);
    CLoadCalDocument again = fromJson;
    RecalculateDocument(again);
    EXPECT_EQ(again, fromJson);
}

TEST_F(Cli, ExportWritesOneOutputAndAsksForTheBasePoint)
{
    Write("in.json", OneCircuitJson());
    auto r = Run({"export", "in.json", "--xlsx", "t.xlsx"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_GT(fs::file_size(Path("t.xlsx")), 1000u);

    // No --base: the point is asked on the terminal; Enter declines and draws nothing.
    r = Run({"export", "in.json", "--dxf", "t.dxf"}, "\n");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("请选择绘制基点<回车结束>:"), std::string::npos);
    EXPECT_NE(r.out.find("no base point"), std::string::npos);
    EXPECT_FALSE(fs::exists(Path("t.dxf")));
    // End of input declines as well.
    EXPECT_EQ(Run({"export", "in.json", "--dxf", "t.dxf"}).status, 0);
    EXPECT_FALSE(fs::exists(Path("t.dxf")));

    // A typed point draws.
    r = Run({"export", "in.json", "--dxf", "t.dxf"}, "100,200\n");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string first = Read("t.dxf");
    EXPECT_NE(first.find("LOADCALSTYLE"), std::string::npos);

    // An existing drawing needs --force; without it nothing changes.
    r = Run({"export", "in.json", "--dxf", "t.dxf", "--base", "0,0"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("t.dxf"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("--force"), std::string::npos) << r.err;
    EXPECT_EQ(Read("t.dxf"), first);
    r = Run({"export", "in.json", "--dxf", "t.dxf", "--base", "0,0,5", "--scale", "2", "--force"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(Read("t.dxf"), first);
    EXPECT_EQ(folder.Entries(), (std::vector<std::string>{"in.json", "t.dxf", "t.xlsx"}));
}

TEST_F(Cli, ExportUsageAndOutputErrors)
{
    Write("in.json", OneCircuitJson());
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"export", "in.json"},
          {"export", "in.json", "--xlsx", "a.xlsx", "--dxf", "a.dxf"},
          {"export", "in.json", "--dxf", "a.dxf", "--base", "1;2"},
          {"export", "in.json", "--dxf", "a.dxf", "--scale", "0"}}) {
        EXPECT_EQ(Run(args).status, 1) << args.back();
    }
    auto r = Run({"export", "in.json", "--xlsx", "nowhere/a.xlsx"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("nowhere/a.xlsx"), std::string::npos) << r.err;
    r = Run({"export", "missing.json", "--xlsx", "a.xlsx"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(folder.Entries(), (std::vector<std::string>{"in.json"}));
}

namespace {

/// A circuit of a given current as the phase balancing reads it.
std::string CircuitJson(const std::string& no, const std::string& phase, const std::string& current,
                        const std::string& owner)
{
    return R"({"circuitNo": ")" + no + R"(", "phase": ")" + phase + R"(", "calcI": ")" + current +
           R"(", "transformer": ")" + owner + R"("})";
}

}  // namespace

TEST_F(Cli, BalanceReportsThePhaseCurrentsAndWritesThePhasesBack)
{
    // Four 10 A single-phase circuits and one 30 A three-phase circuit:
    // the best split is 20 / 10 / 10 A, plus 10 A of the three-phase circuit on each phase.
    std::string loads;
    for (int i = 1; i <= 4; ++i) {
        loads += CircuitJson("W" + std::to_string(i), "L1,N", "10", "T1") + ",";
    }
    loads += CircuitJson("W5", "L1,L2,L3,N", "30", "T1");
    Write("in.json", R"({"loads": [)" + loads + R"(], "transformers": [{"name": "T1"}]})");

    auto r = Run({"balance", "in.json", "-o", "out.json", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string report = r.out.substr(0, r.out.find('{'));
    EXPECT_EQ(report.rfind("变压器T1\n", 0), 0u) << report;
    std::vector<std::string> currents;
    for (const char* phase : {"L1,N", "L2,N", "L3,N"}) {
        const std::string label = std::string(phase) + "项电流为: ";
        const auto at = report.find(label);
        ASSERT_NE(at, std::string::npos) << report;
        currents.push_back(report.substr(at + label.size(), 5));
    }
    std::sort(currents.begin(), currents.end());
    EXPECT_EQ(currents, (std::vector<std::string>{"20.00", "20.00", "30.00"})) << report;
    EXPECT_EQ(report.substr(report.size() - 2), "\n\n");

    CLoadCalDocument writtenDoc;
    DocumentFromJson(Read("out.json"), "out.json", writtenDoc);
    CLoadArray& written = writtenDoc.loads;
    CTransformerArray& writtenT = writtenDoc.transformers;
    int perPhase[3] = {0, 0, 0};
    for (int i = 0; i < 4; ++i) {
        const std::wstring& p = written[i].m_strPhase;
        ASSERT_TRUE(p == L"L1,N" || p == L"L2,N" || p == L"L3,N") << ToUtf8(p);
        ++perPhase[p[1] - L'1'];
    }
    std::sort(std::begin(perPhase), std::end(perPhase));
    EXPECT_EQ(perPhase[0] + perPhase[1], 2);
    EXPECT_EQ(written[4].m_strPhase, L"L1,L2,L3,N");
    // Circuits are not recalculated; the transformer is.
    EXPECT_EQ(written[0].m_strCalcP, L"");
    EXPECT_NE(writtenT[0].m_strRatedCapacity, L"");

    // The same seed gives the same document; the default seed is fixed.
    EXPECT_EQ(Run({"balance", "in.json", "--json"}).out, r.out);
    EXPECT_EQ(Run({"balance", "in.json", "--json", "--seed", "7"}).out,
              Run({"balance", "in.json", "--json", "--seed", "7"}).out);
}

TEST_F(Cli, BalanceSpreadsEveryGroupAndGivesASmallGroupL1L2L3InTurn)
{
    // T1 has three single-phase circuits: they get L1, L2, L3 in turn, its
    // report block says so, and the run goes on to T2, whose five 5 A
    // circuits are spread 10 / 10 / 5 A.
    std::string loads;
    for (int i = 1; i <= 3; ++i) {
        loads += CircuitJson("A" + std::to_string(i), "L3,N", "5", "T1") + ",";
    }
    for (int i = 1; i <= 5; ++i) {
        loads += CircuitJson("B" + std::to_string(i), "l1,n", "5", "T2") + ",";
    }
    loads.pop_back();
    Write("in.json", R"({"loads": [)" + loads + R"(]})");
    auto r = Run({"balance", "in.json", "-o", "out.LDC"});
    ASSERT_EQ(r.status, 0) << r.err;
    const auto t1 = r.out.find("变压器T1\n");
    const auto t2 = r.out.find("变压器T2\n");
    ASSERT_NE(t1, std::string::npos) << r.out;
    ASSERT_NE(t2, std::string::npos) << r.out;
    EXPECT_LT(t1, t2);
    const std::string t1Block = r.out.substr(t1, t2 - t1);
    const std::string t2Block = r.out.substr(t2);
    EXPECT_NE(t1Block.find("少于4个"), std::string::npos) << t1Block;
    EXPECT_EQ(t2Block.find("少于4个"), std::string::npos) << t2Block;

    CLoadCalDocument writtenDoc;
    LoadArchiveFile(folder.File("out.LDC"), writtenDoc);
    const CLoadArray& written = writtenDoc.loads;
    ASSERT_EQ(written.GetSize(), 8);
    EXPECT_EQ(written[0].m_strPhase, L"L1,N");
    EXPECT_EQ(written[1].m_strPhase, L"L2,N");
    EXPECT_EQ(written[2].m_strPhase, L"L3,N");
    int perPhase[3] = {0, 0, 0};
    for (int i = 3; i < 8; ++i) {
        const std::wstring& p = written[i].m_strPhase;
        ASSERT_TRUE(p == L"L1,N" || p == L"L2,N" || p == L"L3,N") << ToUtf8(p);
        ++perPhase[p[1] - L'1'];
    }
    std::sort(std::begin(perPhase), std::end(perPhase));
    EXPECT_EQ(perPhase[0], 1);
    EXPECT_EQ(perPhase[1], 2);
    EXPECT_EQ(perPhase[2], 2);

    EXPECT_EQ(Run({"balance", "in.json", "--seed", "x"}).status, 1);
    EXPECT_EQ(Run({"balance", "none.json"}).status, 2);
}

TEST_F(Cli, DemoBalancesTheExampleAndWritesTheWorkbookTheDrawingAndTheBookIntoItsFolder)
{
    const auto r = Run({"demo"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("总计:"), std::string::npos);
    EXPECT_NE(r.out.find("变压器1#变压器\nL1,N项电流为: "), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("变压器2#变压器\n"), std::string::npos);
    EXPECT_GT(fs::file_size(Path("loadcal-demo/office-building.xlsx")), 1000u);
    EXPECT_GT(fs::file_size(Path("loadcal-demo/office-building.dxf")), 1000u);
    std::ifstream book(Path("loadcal-demo/office-building.pdf"), std::ios::binary);
    std::string head(5, '\0');
    book.read(head.data(), 5);
    EXPECT_EQ(head, "%PDF-");

    // With --json the balanced example comes first, as a document that
    // recalculating changes no more: the transformers follow the new phases.
    const auto j = Run({"demo", "--json", "--out-dir", "elsewhere"});
    ASSERT_EQ(j.status, 0) << j.err;
    EXPECT_TRUE(fs::exists(Path("elsewhere/office-building.dxf")));
    CLoadCalDocument loadsDoc;
    DocumentFromJson(j.out.substr(0, j.out.find("\n}\n") + 3), "demo", loadsDoc);
    CLoadArray& loads = loadsDoc.loads;
    CTransformerArray& transformers = loadsDoc.transformers;
    EXPECT_GE(loads.GetSize(), 25);
    EXPECT_GE(transformers.GetSize(), 2);
    CLoadArray again = loads;
    CTransformerArray againT = transformers;
    RecalculateDocument(again, againT);
    EXPECT_EQ(again, loads);
    EXPECT_EQ(againT, transformers);
}

TEST_F(Cli, ModuleCommandsRunThroughTheHost)
{
    auto r = Run({"sample"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "\n");
    r = Run({"nosuch"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("unknown command \"nosuch\""), std::string::npos) << r.err;
    // Without a display FHJS says so instead of aborting inside Qt.
    for (const std::vector<std::string>& args : {std::vector<std::string>{}, {"FHJS"}, {"fhjs"}}) {
        r = Run(args, {}, {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"});
        EXPECT_EQ(r.status, 2);
        EXPECT_EQ(r.out.rfind("\n*负荷计算*=Fhjs", 0), 0u) << r.out;
        EXPECT_NE(r.err.find("no display"), std::string::npos) << r.err;
    }
    EXPECT_EQ(Run({"FHJS", "--base", "1"}).status, 1);
    EXPECT_EQ(Run({"FHJS", "--bogus"}).status, 1);
}
