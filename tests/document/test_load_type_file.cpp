// The load-type library as files hold it: the shipped data file checked
// against the reference rows it comes from, its tiers and their edges, the
// file form's round trip, and user libraries added, overriding, and refused
// with their line and reason.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>

#include "document/DocumentError.h"
#include "document/LoadTypeFile.h"

#include <nlohmann/json.hpp>
#include "model/Text.h"
#include "tests/support/FaultInjection.h"
#include "tests/support/TempFolder.h"

using namespace loadcal;

namespace {

struct Range {
    double low;
    double high;
};

/// One row of the sources as the reference figures give them: the Kx range
/// of each tier (one for an untiered type), in the order of the table, and
/// the cos φ range (none where the source gives no power factor).
struct ReferenceRow {
    std::vector<Range> kx;
    std::optional<Range> cos;
};

// Atlas 04DX101-1 《建筑电气常用数据》, as quoted in a public summary; the
// reference gives ranges high to low ("1 – 0.9"), written here low to high.
const std::vector<Range> kLighting = {{0.9, 1}, {0.7, 0.9}, {0.55, 0.75}, {0.4, 0.6}};
const std::vector<Range> kChillerPlant = {{0.7, 0.9}, {0.6, 0.7}};
const std::vector<Range> kPumpsAndFans = {{0.8, 1}, {0.6, 0.8}};
const std::vector<Range> kLaundryKitchen = {{0.4, 0.5}, {0.3, 0.4}};
// Split / window air conditioners: 4 – 10, 10 – 50, > 50 units, after the
// note of the same table that power equipment of three units or fewer takes 1.
const std::vector<Range> kAirConditioners = {{1, 1}, {0.6, 0.8}, {0.4, 0.6}, {0.3, 0.4}};
const std::vector<Range> kStage = {{0.6, 1}, {0.4, 0.6}};
// JGJ 242-2011 《住宅建筑电气设计规范》, residential Kx by households.
const std::vector<Range> kHouseholds = {{0.9, 1},    {0.65, 0.9}, {0.5, 0.65}, {0.45, 0.5},
                                        {0.4, 0.45}, {0.3, 0.4},  {0.26, 0.3}};
constexpr Range kMotorCos = {0.8, 0.85};
constexpr Range kLightingCos = {0.9, 0.9};

const std::map<std::wstring, ReferenceRow>& ReferenceRows()
{
    static const std::map<std::wstring, ReferenceRow> rows = {
        {L"照明插座", {kLighting, kLightingCos}},
        {L"商场照明", {{{0.7, 0.9}}, kLightingCos}},
        {L"冷水机组", {kChillerPlant, kMotorCos}},
        {L"锅炉房", {kChillerPlant, kMotorCos}},
        {L"换热站", {kPumpsAndFans, kMotorCos}},
        {L"水泵", {kPumpsAndFans, kMotorCos}},
        {L"生活水泵", {kPumpsAndFans, kMotorCos}},
        {L"排污泵", {kPumpsAndFans, kMotorCos}},
        {L"空调水泵", {kPumpsAndFans, kMotorCos}},
        {L"通风机", {kPumpsAndFans, kMotorCos}},
        {L"电梯", {{{0.18, 0.22}}, Range{0.5, 0.6}}},
        {L"直流电梯", {{{0.18, 0.22}}, Range{0.8, 0.8}}},
        {L"洗衣房", {kLaundryKitchen, Range{0.8, 0.9}}},
        {L"厨房", {kLaundryKitchen, Range{0.8, 0.9}}},
        {L"分体空调", {kAirConditioners, Range{0.8, 0.8}}},
        {L"窗式空调", {kAirConditioners, Range{0.8, 0.8}}},
        {L"舞台照明", {kStage, Range{0.9, 1}}},
        // Fire-fighting loads take Kx = 1; a pump or fan's cos φ.
        {L"消防水泵", {{{1, 1}}, kMotorCos}},
        {L"喷淋泵", {{{1, 1}}, kMotorCos}},
        {L"排烟风机", {{{1, 1}}, kMotorCos}},
        {L"正压送风机", {{{1, 1}}, kMotorCos}},
        {L"排风兼排烟风机", {{{1, 1}}, kMotorCos}},
        {L"一般动力设备", {{{1, 1}}, std::nullopt}},
        {L"住宅（单相配电）", {kHouseholds, std::nullopt}},
        {L"住宅（三相配电）", {kHouseholds, std::nullopt}},
        // Scheme-stage load densities (public summary; cos φ 0.9).
        {L"办公建筑（方案估算）", {{{0.7, 0.8}}, kLightingCos}},
        {L"旅馆建筑（方案估算）", {{{0.7, 0.9}}, kLightingCos}},
        {L"商业建筑（方案估算）", {{{0.85, 0.95}}, kLightingCos}},
        {L"医院建筑（方案估算）", {{{0.5, 0.7}}, kLightingCos}},
        {L"汽车库（方案估算）", {{{0.6, 0.7}}, kLightingCos}},
    };
    return rows;
}

/// The midpoint of a range rounded half up to two decimals, the rule the
/// library states for its typical values.
double Midpoint(Range r)
{
    return std::floor((r.low + r.high) / 2 * 100 + 0.5 + 1e-9) / 100;
}

std::string Refusal(const std::string& json)
{
    try {
        LoadTypesFromJson(json, "user.json", LoadTypeOrigin::UserAdded);
    } catch (const DocumentError& e) {
        return e.what();
    }
    return "accepted";
}

}  // namespace

TEST(LoadTypeFile, EveryShippedTypeHoldsTheFiguresOfItsSourceRow)
{
    const CLoadTypeLibrary& shipped = ShippedLoadTypes();
    ASSERT_GE(shipped.Types().size(), 30u);
    std::set<std::wstring> seen;
    for (const CLoadType& type : shipped.Types()) {
        SCOPED_TRACE(ToUtf8(type.name));
        EXPECT_TRUE(seen.insert(LoadTypeKey(type.name)).second) << "named twice";
        const auto row = ReferenceRows().find(type.name);
        ASSERT_NE(row, ReferenceRows().end()) << "a type without a reference row";
        const ReferenceRow& ref = row->second;
        EXPECT_EQ(type.origin, LoadTypeOrigin::Shipped);
        EXPECT_FALSE(type.source.empty());
        EXPECT_NE(type.Citation(), L"用户自定义");
        // Figures quoted from a summary say so; the JGJ table is cited directly.
        EXPECT_EQ(type.secondary, type.source.find(L"JGJ 242-2011") == std::wstring::npos);

        // Kx: each tier's range is its source row's, the typical value its midpoint.
        std::vector<std::tuple<double, double, double>> ranges;
        if (type.IsTiered()) {
            for (const CLoadTypeTier& tier : type.tiers) {
                ranges.emplace_back(tier.kxMin, tier.kx, tier.kxMax);
            }
        } else {
            ranges.emplace_back(type.kxMin, type.kx, type.kxMax);
        }
        ASSERT_EQ(ranges.size(), ref.kx.size());
        for (size_t t = 0; t < ranges.size(); ++t) {
            const auto [low, typical, high] = ranges[t];
            EXPECT_DOUBLE_EQ(low, ref.kx[t].low) << "tier " << t + 1;
            EXPECT_DOUBLE_EQ(high, ref.kx[t].high) << "tier " << t + 1;
            EXPECT_DOUBLE_EQ(typical, Midpoint(ref.kx[t])) << "tier " << t + 1;
        }

        // cos φ: the lower end of the source's range; tan φ derived from it.
        ASSERT_EQ(type.cos.has_value(), ref.cos.has_value());
        if (ref.cos) {
            EXPECT_DOUBLE_EQ(*type.cos, ref.cos->low);
            EXPECT_DOUBLE_EQ(type.cosMin, ref.cos->low);
            EXPECT_DOUBLE_EQ(type.cosMax, ref.cos->high);
        }

        // Fire-fighting pumps and fans: Kx 1, and marked as fire-fighting.
        const bool fire = ref.kx.size() == 1 && ref.kx[0].low == 1 && ref.cos.has_value();
        EXPECT_EQ(type.fireFighting, fire);
    }
    EXPECT_EQ(seen.size(), ReferenceRows().size());
}

TEST(LoadTypeFile, TanPhiMatchesTheTanColumnOfTheSource)
{
    // tan φ as atlas 04DX101-1 prints it, to two decimals, for the cos φ values used.
    const std::map<double, double> printed = {{0.9, 0.48}, {0.8, 0.75}, {0.5, 1.73}};
    for (const CLoadType& type : ShippedLoadTypes().Types()) {
        if (!type.cos) {
            EXPECT_FALSE(type.Tan().has_value());
            continue;
        }
        ASSERT_TRUE(printed.count(*type.cos)) << ToUtf8(type.name);
        EXPECT_NEAR(*type.Tan(), printed.at(*type.cos), 0.005) << ToUtf8(type.name);
    }
}

TEST(LoadTypeFile, ShippedTiersAreOrderedContiguousAndCutWhereTheTablesCut)
{
    for (const CLoadType& type : ShippedLoadTypes().Types()) {
        SCOPED_TRACE(ToUtf8(type.name));
        EXPECT_EQ(type.IsTiered(), type.quantity != QuantityKind::None);
        for (size_t t = 0; t < type.tiers.size(); ++t) {
            const CLoadTypeTier& tier = type.tiers[t];
            EXPECT_FALSE(tier.label.empty());
            if (t == 0) {
                EXPECT_EQ(tier.lower, (CTierBound{0, false}));  // every positive quantity
            } else {
                ASSERT_TRUE(type.tiers[t - 1].upper.has_value());
                const CTierBound& end = *type.tiers[t - 1].upper;
                EXPECT_EQ(tier.lower.value, end.value);
                EXPECT_NE(tier.lower.included, end.included);
            }
            if (tier.upper) {
                EXPECT_GT(tier.upper->value, tier.lower.value);
            }
        }
    }

    const CLoadTypeLibrary& shipped = ShippedLoadTypes();
    const auto kxAt = [&](const wchar_t* name, double quantity) {
        const CLoadTypeTier* tier = shipped.Find(name)->TierFor(quantity);
        return tier ? tier->kx : -1.0;
    };
    // Lighting by floor area: "< 500", "500 – 3000", "3000 – 15000", "> 15000" m².
    EXPECT_EQ(kxAt(L"照明插座", 499.9), 0.95);
    EXPECT_EQ(kxAt(L"照明插座", 500), 0.8);
    EXPECT_EQ(kxAt(L"照明插座", 3000), 0.8);
    EXPECT_EQ(kxAt(L"照明插座", 3000.5), 0.65);
    EXPECT_EQ(kxAt(L"照明插座", 15000), 0.65);
    EXPECT_EQ(kxAt(L"照明插座", 15001), 0.5);
    // Pumps by units: "1 – 5", "> 5".
    EXPECT_EQ(kxAt(L"水泵", 5), 0.9);
    EXPECT_EQ(kxAt(L"水泵", 6), 0.7);
    // Air conditioners: three or fewer, "4 – 10", "10 – 50", "> 50".
    EXPECT_EQ(kxAt(L"分体空调", 3), 1);
    EXPECT_EQ(kxAt(L"分体空调", 4), 0.7);
    EXPECT_EQ(kxAt(L"分体空调", 10), 0.7);
    EXPECT_EQ(kxAt(L"分体空调", 11), 0.5);
    EXPECT_EQ(kxAt(L"分体空调", 51), 0.35);
    // Households, JGJ 242-2011: 300 (single-phase basis) and 900 (three-phase)
    // end the table; 10 households on a three-phase basis are more than 3 a
    // phase, so the row "12 – 24".
    EXPECT_EQ(kxAt(L"住宅（单相配电）", 3), 0.95);
    EXPECT_EQ(kxAt(L"住宅（单相配电）", 4), 0.78);
    EXPECT_EQ(kxAt(L"住宅（单相配电）", 300), 0.28);
    EXPECT_EQ(kxAt(L"住宅（单相配电）", 301), -1);
    EXPECT_EQ(kxAt(L"住宅（三相配电）", 10), 0.78);
    EXPECT_EQ(kxAt(L"住宅（三相配电）", 900), 0.28);
    EXPECT_EQ(kxAt(L"住宅（三相配电）", 901), -1);
}

TEST(LoadTypeFile, TheCompiledInLibraryIsTheDataFileAndItsFileFormRoundTrips)
{
    const std::string onDisk =
        testsupport::ReadBytes(std::filesystem::path(LOADCAL_SOURCE_DIR) / "data/load-types.json");
    EXPECT_EQ(LoadTypesFromJson(onDisk, "data/load-types.json"), ShippedLoadTypes());

    const std::string written = LoadTypesToJson(ShippedLoadTypes());
    EXPECT_EQ(LoadTypesFromJson(written, "written"), ShippedLoadTypes());
    // Written again, the same text.
    EXPECT_EQ(LoadTypesToJson(LoadTypesFromJson(written, "written")), written);
}

TEST(LoadTypeFile, AUserLibraryAddsAndOverridesTypesAndIsWrittenWhole)
{
    testsupport::TempFolder folder;
    const std::wstring settings = folder.File("DQCal/需要系数法负荷计算.idp");
    const std::wstring path = UserLoadTypesPath(settings);
    EXPECT_EQ(path, folder.File("DQCal/负荷类型库.json"));

    // No file: the shipped library alone, and no complaint.
    CLoadTypeLibraryLoad load = LoadLoadTypeLibrary(path);
    EXPECT_FALSE(load.userError.has_value());
    EXPECT_EQ(load.library, ShippedLoadTypes());

    std::filesystem::create_directories(folder / "DQCal");
    testsupport::WriteBytes(folder / "DQCal/负荷类型库.json", R"({"types": [
        {"name": " 电梯", "kxMin": 0.2, "kx": 0.25, "kxMax": 0.3, "cos": 0.6,
         "source": "本院技术措施", "table": "表 3"},
        {"name": "数据机房", "kx": 0.9}
    ]})");
    load = LoadLoadTypeLibrary(path);
    ASSERT_FALSE(load.userError.has_value()) << *load.userError;
    EXPECT_EQ(load.library.Types().size(), ShippedLoadTypes().Types().size() + 1);
    const CLoadType* lift = load.library.Find(L"电梯");
    EXPECT_EQ(lift->kx, 0.25);
    EXPECT_EQ(lift->origin, LoadTypeOrigin::UserOverride);
    EXPECT_EQ(lift->Citation(), L"本院技术措施，表 3");
    const CLoadType& own = load.library.Types().back();
    EXPECT_EQ(own.name, L"数据机房");
    EXPECT_EQ(own.kxMin, 0.9);  // a single figure is its own range
    EXPECT_EQ(own.kxMax, 0.9);
    EXPECT_EQ(own.Citation(), L"用户自定义");
    EXPECT_EQ(own.origin, LoadTypeOrigin::UserAdded);

    // Written back and read again: the same user library.
    const CLoadTypeLibrary user = ReadUserLoadTypes(path);
    WriteUserLoadTypes(path, user);
    EXPECT_EQ(ReadUserLoadTypes(path), user);

    // A write that fails leaves the file as it was.
    const std::string before = testsupport::ReadBytes(folder / "DQCal/负荷类型库.json");
    {
        testsupport::FileSizeLimit limit(16);
        EXPECT_THROW(WriteUserLoadTypes(path, ShippedLoadTypes()), DocumentError);
    }
    EXPECT_EQ(testsupport::ReadBytes(folder / "DQCal/负荷类型库.json"), before);
}

TEST(LoadTypeFile, ADamagedUserLibraryIsRefusedWithItsLineAndReasonAndTheShippedOneWorks)
{
    struct Case {
        const char* json;
        const char* expected;  // the start of the message after "user.json: "
    };
    const Case cases[] = {
        {"{\"types\": [\n{\"name\": \"A\", \"kx\": 0.5,", "parse error at line 2"},
        {"[\n]", "line 1: expected an object with \"types\""},
        {"{\"types\": [],\n \"colour\": 1}", "line 2: unknown key \"colour\" in the library"},
        {"{\"types\": [\n  {\"name\": \"A\", \"kx\": 0.5,\n   \"kxmax\": 0.9}]}",
         "line 3: unknown key \"kxmax\" in type \"A\""},
        {"{\"types\": [\n  {\"kx\": 0.5}]}", "line 2: a load type needs a \"name\""},
        {"{\"types\": [\n  {\"name\": \"A\",\n   \"kxMin\": 0.6,\n   \"kx\": 0.5}]}",
         "line 3: type \"A\": \"kxMin\" 0.6 is above \"kx\" 0.5"},
        {"{\"types\": [\n  {\"name\": \"A\", \"kx\": 1.2}]}",
         "line 2: type \"A\": a demand factor lies above 0 and at most 1, \"kx\" is 1.2"},
        {"{\"types\": [{\"name\": \"A\",\n \"kx\": \"0.5\"}]}",
         "line 2: type \"A\": \"kx\" must be a number"},
        {"{\"types\": [{\"name\": \"A\"}]}", "line 1: type \"A\": \"kx\" is missing"},
        {"{\"types\": [\n {\"name\": \"A\", \"kx\": 0.5},\n {\"name\": \" a \", \"kx\": 0.6}]}",
         "line 3: type \"a\" is named twice (first on line 2)"},
        {"{\"types\": [{\"name\": \"A\", \"quantity\": \"rooms\",\n \"tiers\": []}]}",
         "line 1: type \"A\": \"quantity\" must be"},
        {"{\"types\": [{\"name\": \"A\", \"quantity\": \"units\", \"kx\": 0.5,\n"
         " \"tiers\": [{\"over\": 0, \"kx\": 0.5}]}]}",
         "line 1: type \"A\": a tiered type takes its demand factors from its tiers"},
        {"{\"types\": [{\"name\": \"A\", \"quantity\": \"units\", \"tiers\": [\n"
         " {\"over\": 0, \"upTo\": 3, \"kx\": 0.9},\n"
         " {\"over\": 4, \"kx\": 0.7}]}]}",
         "line 3: type \"A\", tier 2 does not start where tier 1 ends: \"upTo\" 3 must be "
         "followed by \"over\" 3"},
        {"{\"types\": [{\"name\": \"A\", \"quantity\": \"units\", \"tiers\": [\n"
         " {\"over\": 0, \"kx\": 0.9},\n"
         " {\"over\": 4, \"kx\": 0.7}]}]}",
         "line 2: type \"A\", tier 1: only the last tier may go without an upper bound"},
        {"{\"types\": [{\"name\": \"A\", \"quantity\": \"units\", \"tiers\": [\n"
         " {\"upTo\": 3, \"kx\": 0.9}]}]}",
         "line 2: type \"A\", tier 1: the lower bound is missing"},
        {"{\"types\": [{\"name\": \"A\", \"kx\": 0.5,\n\n \"cos\": 1.2}]}",
         "line 3: type \"A\": a power factor lies above 0 and at most 1, \"cos\" is 1.2"},
        {"{\"types\": [{\"name\": \"A\", \"kx\": 0.5,\n \"secondary\": \"yes\"}]}",
         "line 2: type \"A\": \"secondary\" must be true or false"},
    };
    for (const Case& c : cases) {
        const std::string message = Refusal(c.json);
        EXPECT_EQ(message.rfind(std::string("user.json: ") + c.expected, 0), 0u)
            << c.json << "\n  gave: " << message;
    }

    // On disk: the file is named, and the shipped library is used alone.
    testsupport::TempFolder folder;
    testsupport::WriteBytes(folder / "负荷类型库.json", cases[3].json);
    const CLoadTypeLibraryLoad load = LoadLoadTypeLibrary(folder.File("负荷类型库.json"));
    ASSERT_TRUE(load.userError.has_value());
    EXPECT_NE(
        load.userError->find(ToUtf8(folder.File("负荷类型库.json")) + ": line 3: unknown key"),
        std::string::npos)
        << *load.userError;
    EXPECT_EQ(load.library, ShippedLoadTypes());

    // A folder where the file should be: its reason, nothing else.
    testsupport::TempFolder other;
    std::filesystem::create_directories(other / "负荷类型库.json");
    EXPECT_THROW(ReadUserLoadTypes(other.File("负荷类型库.json")), DocumentError);
}

TEST(LoadTypeFile, TheListingCarriesTheFiguresTheTiersAndTheCitation)
{
    const CLoadTypeLibrary merged = CLoadTypeLibrary::Merge(
        ShippedLoadTypes(), LoadTypesFromJson(R"({"types": [{"name": "数据机房", "kx": 0.9}]})",
                                              "user", LoadTypeOrigin::UserAdded));
    const auto list = nlohmann::json::parse(LoadTypesListJson(merged));
    ASSERT_TRUE(list.is_array());
    ASSERT_EQ(list.size(), merged.Types().size());
    for (const auto& item : list) {
        for (const char* key : {"name", "kxMin", "kx", "kxMax", "cos", "tan", "source", "tiers",
                                "quantity", "origin", "fireFighting", "secondary"}) {
            EXPECT_TRUE(item.contains(key)) << key;
        }
    }
    const auto& lighting = list[0];
    EXPECT_EQ(lighting["name"], "照明插座");
    EXPECT_TRUE(lighting["kx"].is_null());  // its tiers give it
    EXPECT_EQ(lighting["kxMin"], 0.4);
    EXPECT_EQ(lighting["quantity"], "area");
    ASSERT_EQ(lighting["tiers"].size(), 4u);
    EXPECT_EQ(lighting["tiers"][1]["from"], 500);
    EXPECT_EQ(lighting["tiers"][1]["upTo"], 3000);
    EXPECT_EQ(lighting["tiers"][1]["kx"], 0.8);
    EXPECT_NE(lighting["source"].get<std::string>().find("04DX101-1"), std::string::npos);
    EXPECT_NE(lighting["source"].get<std::string>().find("待核对"), std::string::npos);
    const auto& own = list.back();
    EXPECT_EQ(own["source"], "用户自定义");
    EXPECT_EQ(own["origin"], "user");
    EXPECT_TRUE(own["cos"].is_null());
    EXPECT_TRUE(own["tan"].is_null());
}
