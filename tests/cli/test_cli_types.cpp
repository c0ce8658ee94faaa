// `loadcal types` and the load types in `loadcal calc`, run as a user runs
// them: the program is copied into a folder of its own, so that its
// settings folder (DQCal/ beside that folder) holds the user library the
// test writes, and nothing of the developer's own.

#include <gtest/gtest.h>

#include <filesystem>

#include <nlohmann/json.hpp>

#include "document/JsonDocument.h"
#include "model/Text.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

using namespace loadcal;
namespace fs = std::filesystem;

namespace {

class CliTypes : public ::testing::Test {
protected:
    void SetUp() override
    {
        fs::create_directories(folder / "bin");
        fs::copy_file(LOADCAL_EXE, folder / "bin/loadcal");
    }
    testsupport::ProcessResult Run(const std::vector<std::string>& args)
    {
        return testsupport::RunProcess((folder / "bin/loadcal").string(), args, {},
                                       folder.Path().string());
    }
    void WriteUserLibrary(const std::string& json) const
    {
        fs::create_directories(folder / "DQCal");
        testsupport::WriteBytes(folder / "DQCal/负荷类型库.json", json);
    }
    void Write(const std::string& name, const std::string& text) const
    {
        testsupport::WriteBytes(folder / name, text);
    }

    testsupport::TempFolder folder;
};

const nlohmann::json* Named(const nlohmann::json& list, const std::string& name)
{
    for (const auto& item : list) {
        if (item["name"] == name) {
            return &item;
        }
    }
    return nullptr;
}

}  // namespace

TEST_F(CliTypes, ListsTheShippedLibraryAndTheUsersTypes)
{
    auto r = Run({"types", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(r.err.empty()) << r.err;
    const auto shipped = nlohmann::json::parse(r.out);
    ASSERT_GE(shipped.size(), 30u);
    const auto* lift = Named(shipped, "电梯");
    ASSERT_NE(lift, nullptr);
    EXPECT_EQ((*lift)["kxMin"], 0.18);
    EXPECT_EQ((*lift)["kx"], 0.2);
    EXPECT_EQ((*lift)["kxMax"], 0.22);
    EXPECT_EQ((*lift)["cos"], 0.5);
    EXPECT_NEAR((*lift)["tan"].get<double>(), 1.732, 0.001);
    EXPECT_EQ((*lift)["origin"], "shipped");
    EXPECT_NE((*lift)["source"].get<std::string>().find("04DX101-1"), std::string::npos);

    WriteUserLibrary(R"({"types": [{"name": "电梯", "kx": 0.3, "kxMax": 0.35},
                                   {"name": "充电桩", "kx": 0.6, "cos": 0.95}]})");
    r = Run({"types", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    const auto merged = nlohmann::json::parse(r.out);
    EXPECT_EQ(merged.size(), shipped.size() + 1);
    EXPECT_EQ((*Named(merged, "电梯"))["kx"], 0.3);
    EXPECT_EQ((*Named(merged, "电梯"))["origin"], "user-override");
    EXPECT_EQ(merged.back()["name"], "充电桩");
    EXPECT_EQ(merged.back()["source"], "用户自定义");

    // The readable form: one line per type, the tiers below theirs.
    r = Run({"types"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("负荷类型库 (31)"), std::string::npos);
    EXPECT_NE(r.out.find("500–3000 m²"), std::string::npos);
    EXPECT_NE(r.out.find("充电桩"), std::string::npos);
    EXPECT_NE(r.out.find("用户覆盖"), std::string::npos);
}

TEST_F(CliTypes, ADamagedUserLibraryIsNamedWithItsLineAndTheShippedOneIsListed)
{
    WriteUserLibrary("{\"types\": [\n  {\"name\": \"电梯\",\n   \"kx\": 2}]}");
    auto r = Run({"types", "--json"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("负荷类型库.json: line 3: type \"电梯\": a demand factor lies above 0 "
                         "and at most 1, \"kx\" is 2"),
              std::string::npos)
        << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    const auto list = nlohmann::json::parse(r.out);
    EXPECT_EQ((*Named(list, "电梯"))["kx"], 0.2);
}

TEST_F(CliTypes, CalcFillsOnlyTheEmptyFactorsOfTypedCircuits)
{
    Write("in.json", R"({"loads": [
        {"circuitNo": "1", "phase": "L1,L2,L3,N", "ratedPower": "30", "loadType": "电梯",
         "transformer": "T1"},
        {"circuitNo": "2", "phase": "L1,L2,L3,N", "ratedPower": "30", "loadType": "电梯",
         "demandFactor": "0.5", "transformer": "T1"},
        {"circuitNo": "3", "phase": "L1,L2,L3,N", "ratedPower": "100", "loadType": "照明插座",
         "quantity": "2000", "demandFactor": "", "powerFactor": "", "transformer": "T1"},
        {"circuitNo": "4", "phase": "L1,L2,L3,N", "ratedPower": "10", "loadType": "照明插座",
         "quantity": "很多", "transformer": "T1"},
        {"circuitNo": "5", "phase": "L1,L2,L3,N", "ratedPower": "10", "transformer": "T1"}],
      "transformers": [{"name": "T1"}]})");
    auto r = Run({"calc", "in.json", "--json", "-o", "out.LDC"});
    ASSERT_EQ(r.status, 0) << r.err;
    // Nothing but the document's warnings: the typed Kx outside its type's
    // range, and circuit 4's quantity, which leaves its Kx empty.
    EXPECT_EQ(r.err,
              "warning: 回路 4: 需要系数 \"\" 不在 (0, 1] 内\n"
              "warning: 回路“2”：需要系数 0.5 超出负荷类型“电梯”的范围 0.18–0.22\n"
              "warning: 回路“4”：负荷类型“照明插座”按建筑面积(m²)取需要系数，数量“很多”不是正数\n");
    CLoadCalDocument doc;
    DocumentFromJson(r.out, "stdout", doc);
    ASSERT_EQ(doc.loads.GetSize(), 5);
    // The lift: Kx 0.2 and cos 0.5 of the type: Pjs = 30 x 0.2 = 6 kW.
    EXPECT_EQ(doc.loads[0].m_strDemandFactor, L"0.2");
    EXPECT_EQ(doc.loads[0].m_strPowerFactor, L"0.5");
    EXPECT_EQ(doc.loads[0].m_strCalcP, L"6");
    // A typed Kx stays (and the type's cos fills the omitted power factor).
    EXPECT_EQ(doc.loads[1].m_strDemandFactor, L"0.5");
    EXPECT_EQ(doc.loads[1].m_strPowerFactor, L"0.5");
    EXPECT_EQ(doc.loads[1].m_strCalcP, L"15");
    // Lighting of 2000 m²: the tier 500–3000 m², Kx 0.8.
    EXPECT_EQ(doc.loads[2].m_strDemandFactor, L"0.8");
    EXPECT_EQ(doc.loads[2].m_strPowerFactor, L"0.9");
    EXPECT_EQ(doc.loads[2].m_strCalcP, L"80");
    // No quantity that reads: no Kx from the type; the type's cos still.
    EXPECT_EQ(doc.loads[3].m_strDemandFactor, L"");
    EXPECT_EQ(doc.loads[3].m_strPowerFactor, L"0.9");
    EXPECT_EQ(doc.loads[3].m_strCalcP, L"0");
    // An untyped circuit keeps the new-row defaults.
    EXPECT_EQ(doc.loads[4].m_strDemandFactor, L"1.0");
    EXPECT_EQ(doc.loads[4].m_strCalcP, L"10");
    // The written archive holds the filled figures and the new fields.
    r = Run({"convert", "out.LDC", "back.json"});
    ASSERT_EQ(r.status, 0) << r.err;
    CLoadCalDocument back;
    DocumentFromJson(testsupport::ReadBytes(folder / "back.json"), "back.json", back);
    EXPECT_EQ(back, doc);

    // A user library that overrides the lift fills with its figures.
    WriteUserLibrary(R"({"types": [{"name": "电梯", "kx": 0.25, "cos": 0.6}]})");
    r = Run({"calc", "in.json", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    DocumentFromJson(r.out, "stdout", doc);
    EXPECT_EQ(doc.loads[0].m_strDemandFactor, L"0.25");
    EXPECT_EQ(doc.loads[0].m_strPowerFactor, L"0.6");
}

TEST_F(CliTypes, ADamagedUserLibraryDoesNotStopCalcAndAnUntypedDocumentNeverReadsIt)
{
    WriteUserLibrary("{\"types\": [");
    Write("typed.json",
          R"({"loads": [{"circuitNo": "1", "ratedPower": "30", "loadType": "电梯"}]})");
    auto r = Run({"calc", "typed.json", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("负荷类型库.json: parse error at line 1"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("only the shipped one"), std::string::npos) << r.err;
    CLoadCalDocument doc;
    DocumentFromJson(r.out, "stdout", doc);
    EXPECT_EQ(doc.loads[0].m_strDemandFactor, L"0.2");

    // An untyped document never reads the damaged library: stderr holds
    // only the document's own warnings.
    Write("plain.json", R"({"loads": [{"circuitNo": "1", "phase": "L1,L2,L3,N",
        "ratedPower": "30", "transformer": "T1"}], "transformers": [{"name": "T1"}]})");
    r = Run({"calc", "plain.json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(r.err.empty()) << r.err;
}
