// The command line with fire roles: calc computes both cases and shows
// the fire case; --json carries the "fire" objects; documents without
// fire roles come out as before.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "document/Archive.h"
#include "document/JsonDocument.h"
#include "document/LoadTypeFile.h"
#include "model/BoardChecks.h"
#include "model/Calculation.h"
#include "model/Checks.h"
#include "model/LoadTypes.h"
#include "model/Numeric.h"
#include "model/SupplySecurity.h"
#include "model/Text.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

using namespace loadcal;

namespace {

class CliFire : public ::testing::Test {
protected:
    testsupport::ProcessResult Run(const std::vector<std::string>& args)
    {
        return testsupport::RunProcess(LOADCAL_EXE, args, {}, folder.Path().string());
    }
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

/// W1 300 kW, W2 200 kW fire-only, W3 150 kW shed, on AP1 under T1 (the
/// figures of tests/model/test_fire.cpp); W4 40 kW dual-fed, first class,
/// straight on T1,T2.
const char* const kFireJson = R"({"loads": [
  {"circuitNo": "W1", "phase": "L1,L2,L3,N", "ratedPower": "300", "demandFactor": "1",
   "transformer": "AP1"},
  {"circuitNo": "W2", "phase": "L1,L2,L3,N", "ratedPower": "200", "demandFactor": "1",
   "transformer": "AP1", "loadClass": "一级", "fire": "消防"},
  {"circuitNo": "W3", "phase": "L1,L2,L3,N", "ratedPower": "150", "demandFactor": "1",
   "transformer": "AP1", "fire": "火灾时切除"},
  {"circuitNo": "W4", "phase": "L1,L2,L3,N", "ratedPower": "40", "demandFactor": "1",
   "transformer": "T1,T2", "loadClass": "一级"}],
 "transformers": [{"name": "T1", "kp": "0.9", "kq": "0.95", "alpha": "0.75", "beta": "0.8",
                   "cosAfter": "0.92", "loadRate": "0.75"}, {"name": "T2"}],
 "boards": [{"name": "AP1", "owner": "T1"}]})";

std::string Example(const std::string& name)
{
    return std::string(LOADCAL_SOURCE_DIR) + "/" + name;
}

}  // namespace

TEST_F(CliFire, CalcComputesBothCasesAndJsonCarriesTheFireObjects)
{
    Write("fire.json", kFireJson);
    auto r = Run({"calc", "fire.json", "--json", "-o", "fire.LDC"});
    ASSERT_EQ(r.status, 0) << r.err;

    // What the program prints is the library's recalculation, fire case included.
    CLoadCalDocument expected;
    DocumentFromJson(kFireJson, "fire.json", expected);
    const SummaryTotals totals = RecalculateDocument(expected);
    std::vector<std::wstring> warnings;
    for (const CCheckWarning& w : CheckDocument(expected)) {
        warnings.push_back(w.text);
    }
    EXPECT_EQ(r.out, DocumentToJson(expected, totals, &warnings));
    EXPECT_EQ(Read("fire.LDC"), EncodeArchive(expected));

    const auto json = nlohmann::json::parse(r.out);
    // The board AP1: normal ΣPe 450 and Sjs 516.551, in a fire 500 and 573.946.
    EXPECT_EQ(json["boards"][0]["calcS"], "516.551");
    EXPECT_EQ(json["boards"][0]["fire"]["ratedPower"], "500");
    EXPECT_EQ(json["boards"][0]["fire"]["calcS"], "573.946");
    EXPECT_EQ(json["boards"][0]["fire"]["governs"], "火灾");
    // T1: the board plus W4 in each case; the fire case governs the capacity.
    const auto& t1 = json["transformers"][0];
    EXPECT_EQ(t1["fire"]["governs"], "火灾");
    EXPECT_EQ(t1["calcP"], "400.5");        // 0.9 x (405 + 40)
    EXPECT_EQ(t1["fire"]["calcP"], "441");  // 0.9 x (450 + 40)
    EXPECT_EQ(t1["fire"].size(), 8U);
    EXPECT_EQ(json["transformers"][1]["fire"]["governs"], "正常");  // W4 alone in both

    // The text tables show the fire case after the transformers and the boards.
    r = Run({"calc", "fire.LDC"});
    ASSERT_EQ(r.status, 0) << r.err;
    const auto transformers = r.out.find("变压器 火灾工况 (2)");
    const auto boards = r.out.find("配电箱 火灾工况 (1)");
    ASSERT_NE(transformers, std::string::npos) << r.out;
    ASSERT_NE(boards, std::string::npos) << r.out;
    EXPECT_LT(r.out.find("变压器 (2)"), transformers);
    EXPECT_LT(transformers, r.out.find("配电箱 (1)"));
    EXPECT_NE(r.out.find("火灾负载率%"), std::string::npos);
    EXPECT_NE(r.out.find(ToUtf8(expected.transformers[0].m_strFireCalcS)), std::string::npos);
    EXPECT_NE(r.out.find("573.946"), std::string::npos);

    // The JSON written back reads in again as the same document.
    ASSERT_EQ(Run({"convert", "fire.LDC", "again.json"}).status, 0);
    CLoadCalDocument again;
    DocumentFromJson(Read("again.json"), "again.json", again);
    EXPECT_EQ(again, expected);
}

TEST_F(CliFire, DocumentsWithoutFireRolesComeOutAsBefore)
{
    // The boards example as it was before it had fire roles: the same bytes
    // again, and neither tables nor keys of a fire case.
    const std::string before =
        Example("tests/document/data/office-building-boards-before-fire.LDC");
    auto r = Run({"calc", before, "-o", "again.LDC"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(Read("again.LDC"), testsupport::ReadBytes(before));
    EXPECT_EQ(r.out.find("火灾"), std::string::npos);
    r = Run({"calc", before, "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.find("\"fire\": {"), std::string::npos);
    EXPECT_EQ(r.out.find("governs"), std::string::npos);
}

TEST_F(CliFire, BalanceKeepsTheFireCaseOfADocumentWithoutBoards)
{
    // No boards, the original rules, but fire roles: after balancing, the
    // normal figures still leave the fire-only circuit out.
    const std::string json = R"({"loads": [
      {"circuitNo": "W1", "phase": "L1,N", "ratedPower": "10", "voltage": "0.22", "transformer": "T1"},
      {"circuitNo": "W2", "phase": "L1,N", "ratedPower": "10", "voltage": "0.22", "transformer": "T1"},
      {"circuitNo": "W3", "phase": "L1,N", "ratedPower": "10", "voltage": "0.22", "transformer": "T1"},
      {"circuitNo": "W4", "phase": "L1,N", "ratedPower": "10", "voltage": "0.22", "transformer": "T1"},
      {"circuitNo": "X1", "phase": "L1,L2,L3,N", "ratedPower": "30", "transformer": "T1",
       "fire": "消防"}],
     "transformers": [{"name": "T1"}]})";
    CLoadCalDocument doc;
    DocumentFromJson(json, "in.json", doc);
    Write("in.json", DocumentToJson(doc, RecalculateDocument(doc)));
    const auto r = Run({"balance", "in.json", "-o", "out.json"});
    ASSERT_EQ(r.status, 0) << r.err;
    CLoadCalDocument balanced;
    DocumentFromJson(Read("out.json"), "out.json", balanced);
    CLoadCalDocument expected = balanced;
    RecalculateDocument(expected);
    EXPECT_EQ(balanced.transformers, expected.transformers);
    EXPECT_EQ(balanced.transformers[0].m_strGoverningCase, L"火灾");
}

TEST(FireExample, TheBoardsExampleHasItsFireCaseAndTakesOverOnEitherTransformer)
{
    CLoadCalDocument doc;
    DocumentFromJson(testsupport::ReadBytes(Example("examples/office-building-boards.json")),
                     "example", doc);
    ASSERT_TRUE(HasFireRoles(doc));
    CLoadCalDocument again = doc;
    RecalculateDocument(again);
    EXPECT_EQ(again, doc);
    EXPECT_TRUE(CheckLoadTypes(doc, ShippedLoadTypes()).empty());
    EXPECT_TRUE(CheckBoards(doc).empty());
    EXPECT_TRUE(CheckSupplySecurity(doc).empty());

    // Either transformer takes over the 13 first-class circuits of the lift,
    // IT room, emergency lighting, fire pump and fan boards, all dual-fed.
    // 2#变压器 in a fire: ΣP = 26.55 + 16 + 16.5 + 82 + 40.5 = 181.55 kW,
    // ΣQ = 37.3667 + 7.74915 + 7.99134 + 61.5 + 30.375 = 144.982 kvar (all
    // three-phase boards: the single-phase share is 0); Pc = 0.85 x 181.55 =
    // 154.317, Qc = 0.9 x 144.982 = 130.484; cos phi1 0.742583, the
    // compensation on the average load 0.75 x Pc x (tan phi1 - tan phi2) =
    // 55.0828 kvar (below the 120 installed); S = sqrt(154.317² + 75.401²) =
    // 171.753 kVA, well within its 400 kVA. The fire case, with the pumps
    // and fans, is the larger of the two.
    const auto loads = ComputeContingencyLoads(doc);
    ASSERT_EQ(loads.size(), 2U);
    EXPECT_EQ(loads[0].partners, std::vector<int>{1});
    EXPECT_EQ(loads[1].circuits, 13);
    ASSERT_TRUE(loads[1].fire.has_value());
    EXPECT_EQ(FormatG(loads[1].fire->active), L"154.317");
    EXPECT_EQ(FormatG(loads[1].fire->compensation), L"55.0828");
    EXPECT_EQ(FormatG(loads[1].apparent), L"171.753");
    EXPECT_TRUE(loads[1].fireGoverns);
    EXPECT_EQ(loads[1].capacity, 400);
    // The fire case chose 2#变压器's 400 kVA (275.203 / 0.7 = 393.1); its
    // normal case alone would have taken 315 (213.758 / 0.7 = 305.4).
    EXPECT_EQ(doc.transformers[1].m_strFireCalcS, L"275.203");
    EXPECT_EQ(doc.transformers[1].m_strGoverningCase, L"火灾");
    EXPECT_EQ(doc.transformers[1].m_strRatedCapacity, L"400");
}
