// The load-type library as the model holds it: tiers and their edges, lookup
// by name, the user library laid over the shipped one, the figures a type
// gives a circuit, filling only empty factors, and the warnings.

#include <gtest/gtest.h>

#include <random>

#include "model/Calculation.h"
#include "model/Errors.h"
#include "model/LoadTypes.h"
#include "model/Text.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

namespace {

CLoadTypeTier Tier(CTierBound lower, std::optional<CTierBound> upper, double low, double typical,
                   double high, const wchar_t* label)
{
    CLoadTypeTier t;
    t.label = label;
    t.lower = lower;
    t.upper = upper;
    t.kxMin = low;
    t.kx = typical;
    t.kxMax = high;
    return t;
}

/// A small library of hand-made types: one untiered with a cos φ range,
/// one tiered by area with every kind of bound, one fire-fighting type, one
/// tiered type with a bounded last tier and no power factor.
CLoadTypeLibrary TestLibrary()
{
    CLoadType lift;
    lift.name = L"电梯";
    lift.kxMin = 0.18;
    lift.kx = 0.2;
    lift.kxMax = 0.22;
    lift.cos = 0.5;
    lift.cosMin = 0.5;
    lift.cosMax = 0.6;
    lift.source = L"某图集";

    CLoadType lighting;
    lighting.name = L"照明插座";
    lighting.quantity = QuantityKind::FloorArea;
    lighting.tiers = {
        Tier({0, false}, CTierBound{500, false}, 0.9, 0.95, 1, L"< 500 m²"),
        Tier({500, true}, CTierBound{3000, true}, 0.7, 0.8, 0.9, L"500–3000 m²"),
        Tier({3000, false}, std::nullopt, 0.4, 0.5, 0.6, L"> 3000 m²"),
    };
    lighting.SetRangeFromTiers();
    lighting.cos = lighting.cosMin = lighting.cosMax = 0.9;

    CLoadType pump;
    pump.name = L"Fire Pump（A）";
    pump.kxMin = pump.kx = pump.kxMax = 1;
    pump.cos = pump.cosMin = pump.cosMax = 0.8;
    pump.fireFighting = true;

    CLoadType homes;
    homes.name = L"住宅";
    homes.quantity = QuantityKind::Households;
    homes.tiers = {
        Tier({0, false}, CTierBound{3, true}, 0.9, 0.95, 1, L"1–3 户"),
        Tier({3, false}, CTierBound{8, true}, 0.65, 0.78, 0.9, L"4–8 户"),
    };
    homes.SetRangeFromTiers();
    return CLoadTypeLibrary({lift, lighting, pump, homes});
}

CLoadCalData Circuit(const wchar_t* number, const wchar_t* type, const wchar_t* quantity = L"",
                     const wchar_t* kx = L"", const wchar_t* cos = L"")
{
    CLoadCalData c;
    c.m_strCircuitNo = number;
    c.m_strLoadType = type;
    c.m_strQuantity = quantity;
    c.m_strDemandFactor = kx;
    c.m_strPowerFactor = cos;
    c.m_strRatedPower = L"10";
    return c;
}

}  // namespace

TEST(LoadTypes, TheFourFieldsFollowTheThirteenWhichStayAsTheyWere)
{
    CLoadCalData c;
    c.m_strLoadType = L"电梯";
    c.m_strFire = L"消防";
    EXPECT_EQ(&c.AnyFieldAt(CLoadCalData::kLoadType), &c.m_strLoadType);
    EXPECT_EQ(&c.AnyFieldAt(CLoadCalData::kQuantity), &c.m_strQuantity);
    EXPECT_EQ(&c.AnyFieldAt(CLoadCalData::kLoadClass), &c.m_strLoadClass);
    EXPECT_EQ(&c.AnyFieldAt(CLoadCalData::kFire), &c.m_strFire);
    EXPECT_EQ(&c.AnyFieldAt(CLoadCalData::kTransformer), &c.m_strTransformer);
    EXPECT_THROW(c.FieldAt(CLoadCalData::kLoadType), CInvalidArgException);
    EXPECT_THROW(c.AnyFieldAt(CLoadCalData::kAnyFieldCount), CInvalidArgException);
    EXPECT_TRUE(c.HasExtraFields());
    EXPECT_FALSE(CLoadCalData().HasExtraFields());
    // They take no part in the blank-row test.
    EXPECT_TRUE(c.IsBlank());
}

TEST(LoadTypes, TierEdgesFollowTheirBounds)
{
    const CLoadTypeLibrary library = TestLibrary();
    const CLoadType& lighting = *library.Find(L"照明插座");
    const auto tierOf = [&](double q) {
        const CLoadTypeTier* t = lighting.TierFor(q);
        return t ? t->label : std::wstring(L"none");
    };
    EXPECT_EQ(tierOf(0), L"none");  // "over 0": zero itself is in no tier
    EXPECT_EQ(tierOf(1e-9), L"< 500 m²");
    EXPECT_EQ(tierOf(499.999), L"< 500 m²");
    EXPECT_EQ(tierOf(500), L"500–3000 m²");   // "below 500" then "from 500"
    EXPECT_EQ(tierOf(3000), L"500–3000 m²");  // "upTo 3000" then "over 3000"
    EXPECT_EQ(tierOf(3000.001), L"> 3000 m²");
    EXPECT_EQ(tierOf(1e12), L"> 3000 m²");
    EXPECT_EQ(lighting.kxMin, 0.4);  // the range of a tiered type spans its tiers
    EXPECT_EQ(lighting.kxMax, 1);

    const CLoadType& homes = *library.Find(L"住宅");
    EXPECT_EQ(homes.TierFor(8)->label, L"4–8 户");
    EXPECT_EQ(homes.TierFor(8.5), nullptr);  // a bounded last tier ends the table
}

TEST(LoadTypes, NamesAreFoundWhateverTheBlanksCaseAndFullWidthForms)
{
    const CLoadTypeLibrary library = TestLibrary();
    EXPECT_EQ(library.Find(L" 电梯\u3000")->name, L"电梯");
    EXPECT_EQ(library.Find(L"fire pump(a)")->name, L"Fire Pump（A）");
    EXPECT_EQ(library.Find(L"ＦＩＲＥ ＰＵＭＰ（ａ）")->name, L"Fire Pump（A）");
    EXPECT_EQ(library.Find(L"电 梯"), nullptr);
    EXPECT_EQ(library.Find(L""), nullptr);
    EXPECT_EQ(library.Find(L"  "), nullptr);
}

TEST(LoadTypes, AUserLibraryOverridesInPlaceAndAddsAtTheEnd)
{
    const CLoadTypeLibrary shipped = TestLibrary();
    CLoadType faster;
    faster.name = L" 电梯 ";  // the same name, as a user may type it
    faster.kxMin = faster.kx = faster.kxMax = 0.3;
    CLoadType own;
    own.name = L"数据机房";
    own.kxMin = 0.8;
    own.kx = 0.9;
    own.kxMax = 1;
    const CLoadTypeLibrary merged =
        CLoadTypeLibrary::Merge(shipped, CLoadTypeLibrary({faster, own}));

    ASSERT_EQ(merged.Types().size(), shipped.Types().size() + 1);
    EXPECT_EQ(merged.Types()[0].kx, 0.3);
    EXPECT_EQ(merged.Types()[0].origin, LoadTypeOrigin::UserOverride);
    EXPECT_FALSE(merged.Types()[0].cos.has_value());  // the user's type replaces it whole
    EXPECT_EQ(merged.Types().back().name, L"数据机房");
    EXPECT_EQ(merged.Types().back().origin, LoadTypeOrigin::UserAdded);
    EXPECT_EQ(merged.Types()[1].origin, LoadTypeOrigin::Shipped);
    EXPECT_EQ(merged.Find(L"电梯")->kx, 0.3);
    // The shipped library itself is never changed.
    EXPECT_EQ(shipped.Find(L"电梯")->kx, 0.2);
    // A type without source is cited as the user's own.
    EXPECT_EQ(merged.Find(L"数据机房")->Citation(), L"用户自定义");
}

TEST(LoadTypes, FillingTakesTheTiersKxAndTheTypesCosAndOnlyIntoEmptyFields)
{
    const CLoadTypeLibrary library = TestLibrary();
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"1", L"电梯"));                          // both filled
    doc.loads.Add(Circuit(L"2", L"电梯", L"", L"0.25", L"0.55"));   // typed: kept
    doc.loads.Add(Circuit(L"3", L"照明插座", L"2000", L" ", L""));  // blanks count as empty
    doc.loads.Add(Circuit(L"4", L"照明插座", L"abc"));              // no tier: cos only
    doc.loads.Add(Circuit(L"5", L"住宅", L"12"));                   // beyond the tiers
    doc.loads.Add(Circuit(L"6", L"住宅", L"3"));                    // no power factor
    doc.loads.Add(Circuit(L"7", L"未知类型"));                      // not in the library
    doc.loads.Add(Circuit(L"8", L""));                              // no type
    EXPECT_EQ(FillFromLoadTypes(doc, library), 4);

    const auto kx = [&](int i) {
        return doc.loads[i].m_strDemandFactor;
    };
    const auto cos = [&](int i) {
        return doc.loads[i].m_strPowerFactor;
    };
    EXPECT_EQ(kx(0), L"0.2");
    EXPECT_EQ(cos(0), L"0.5");
    EXPECT_EQ(kx(1), L"0.25");
    EXPECT_EQ(cos(1), L"0.55");
    EXPECT_EQ(kx(2), L"0.8");
    EXPECT_EQ(cos(2), L"0.9");
    EXPECT_EQ(kx(3), L"");
    EXPECT_EQ(cos(3), L"0.9");
    EXPECT_EQ(kx(4), L"");
    EXPECT_EQ(kx(5), L"0.95");
    EXPECT_EQ(cos(5), L"");
    EXPECT_EQ(kx(6), L"");
    EXPECT_EQ(kx(7), L"");

    // Filled figures then compute as typed ones: Pjs = 10 kW x 0.2.
    RecalculateCircuit(doc.loads[0]);
    EXPECT_EQ(doc.loads[0].m_strCalcP, L"2");
    // A second fill changes nothing.
    EXPECT_EQ(FillFromLoadTypes(doc, library), 0);
}

TEST(LoadTypes, EachProblemIsNamedOnItsCircuitAndField)
{
    const CLoadTypeLibrary library = TestLibrary();
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"WL1", L"电梯", L"", L"0.3", L"0.5"));  // Kx above the range
    doc.loads.Add(Circuit(L"WL2", L"电扶梯", L"", L"0.5"));        // not in the library
    doc.loads.Add(Circuit(L"", L"照明插座", L"-5", L"0.8"));       // quantity not positive
    doc.loads.Add(Circuit(L"WL3b", L"照明插座", L"0", L"1.2"));    // and Kx beyond every tier
    doc.loads.Add(
        Circuit(L"WL4", L"住宅", L"20", L"0.5"));  // beyond the tiers: no range to hold Kx to
    doc.loads.Add(Circuit(L"WL5", L"fire pump(a)", L"", L"1"));  // fire-fighting, no class
    doc.loads.Add(Circuit(L"WL6", L"", L"", L"0.8"));
    doc.loads[6].m_strFire = L"消防";  // a fire load by its field, no class
    doc.loads.Add(Circuit(L"WL7", L"", L"", L"0.8"));
    doc.loads[7].m_strLoadClass = L"四级";
    doc.loads[7].m_strFire = L"是";
    doc.loads.Add(Circuit(L"WL8", L"照明插座", L"2000", L"0.95"));  // outside its tier 0.7–0.9
    const CCheckWarnings warnings = CheckLoadTypes(doc, library);

    struct Expected {
        int index;
        int field;
        const wchar_t* fragment;
    };
    const Expected expected[] = {
        {0, CLoadCalData::kDemandFactor,
         L"回路“WL1”：需要系数 0.3 超出负荷类型“电梯”的范围 0.18–0.22"},
        {1, CLoadCalData::kLoadType, L"回路“WL2”：负荷类型“电扶梯”不在负荷类型库中"},
        {2, CLoadCalData::kQuantity,
         L"第 3 个回路：负荷类型“照明插座”按建筑面积(m²)取需要系数，数量“-5”不是正数"},
        {3, CLoadCalData::kQuantity, L"数量“0”不是正数"},
        {3, CLoadCalData::kDemandFactor, L"需要系数 1.2 超出负荷类型“照明插座”的范围 0.4–1"},
        {4, CLoadCalData::kQuantity, L"数量 20 不在表列各档（1–3 户 至 4–8 户）之内"},
        {5, CLoadCalData::kLoadClass, L"负荷类型“Fire Pump（A）”为消防用电设备，未填负荷等级"},
        {6, CLoadCalData::kLoadClass, L"回路“WL6”：消防负荷未填负荷等级"},
        {7, CLoadCalData::kLoadClass, L"负荷等级“四级”不是"},
        {7, CLoadCalData::kFire, L"消防一栏“是”应为空"},
        {8, CLoadCalData::kDemandFactor,
         L"需要系数 0.95 超出负荷类型“照明插座”（500–3000 m²）的范围 0.7–0.9"},
    };
    ASSERT_EQ(warnings.size(), std::size(expected));
    for (size_t k = 0; k < warnings.size(); ++k) {
        EXPECT_EQ(warnings[k].subject, CCheckWarning::Subject::Circuit) << k;
        EXPECT_EQ(warnings[k].index, expected[k].index) << k;
        EXPECT_EQ(warnings[k].field, expected[k].field) << k;
        EXPECT_NE(warnings[k].text.find(expected[k].fragment), std::wstring::npos)
            << k << ": " << ToUtf8(warnings[k].text);
    }
}

TEST(LoadTypes, KxAtTheEdgesOfItsRangeAndProperFieldsGiveNoWarning)
{
    const CLoadTypeLibrary library = TestLibrary();
    CLoadCalDocument doc;
    for (const wchar_t* kx : {L"0.18", L"0.22", L"0.2", L"", L"约0.2"}) {
        doc.loads.Add(Circuit(L"1", L"电梯", L"", kx));
    }
    doc.loads.Add(Circuit(L"2", L"照明插座", L"500", L"0.7"));
    doc.loads.Add(Circuit(L"3", L"照明插座", L"3000", L"0.9"));
    doc.loads.Add(Circuit(L"4", L"fire pump(a)", L"", L"1"));
    doc.loads[doc.loads.GetSize() - 1].m_strLoadClass = L"一级中特别重要";
    doc.loads[doc.loads.GetSize() - 1].m_strFire = L"消防";
    doc.loads.Add(Circuit(L"5", L"", L"", L"0.9"));
    doc.loads[doc.loads.GetSize() - 1].m_strFire = L"火灾时切除";
    doc.loads[doc.loads.GetSize() - 1].m_strLoadClass = L"三级";
    EXPECT_TRUE(CheckLoadTypes(doc, library).empty());

    // Just beyond either end.
    doc.loads.RemoveAll();
    doc.loads.Add(Circuit(L"1", L"电梯", L"", L"0.179"));
    doc.loads.Add(Circuit(L"2", L"电梯", L"", L"0.2201"));
    EXPECT_EQ(CheckLoadTypes(doc, library).size(), 2u);
}

TEST(LoadTypes, DocumentsWithoutTheNewFieldsHaveNoWarningsAndNothingToFill)
{
    std::mt19937 rng(5);
    CLoadCalDocument doc;
    testsupport::MakeRandomDocument(rng, {500, 5, 0.3}, doc.loads, doc.transformers);
    const CLoadCalDocument before = doc;
    EXPECT_TRUE(CheckLoadTypes(doc, TestLibrary()).empty());
    EXPECT_EQ(FillFromLoadTypes(doc, TestLibrary()), 0);
    EXPECT_EQ(doc, before);
}

TEST(LoadTypes, ChoosingATypeReplacesTheFactorsItGivesAndLeavesTheOthers)
{
    const CLoadTypeLibrary library = TestLibrary();
    CLoadCalData typed = Circuit(L"1", L"电梯", L"", L"0.9", L"0.95");
    EXPECT_TRUE(TakeFiguresFromLoadType(typed, library));
    EXPECT_EQ(typed.m_strDemandFactor, L"0.2");
    EXPECT_EQ(typed.m_strPowerFactor, L"0.5");
    EXPECT_FALSE(TakeFiguresFromLoadType(typed, library)) << "nothing left to change";

    // A tier by the quantity; without a power factor cos φ stays as typed.
    CLoadCalData homes = Circuit(L"2", L"住宅", L"5", L"1", L"0.9");
    EXPECT_TRUE(TakeFiguresFromLoadType(homes, library));
    EXPECT_EQ(homes.m_strDemandFactor, L"0.78");
    EXPECT_EQ(homes.m_strPowerFactor, L"0.9");

    // Nothing the type cannot give: no quantity, beyond the tiers, an
    // unknown name, no name.
    for (CLoadCalData c : {Circuit(L"3", L"住宅", L"", L"0.5", L"0.9"),
                           Circuit(L"4", L"住宅", L"40", L"0.5", L"0.9"),
                           Circuit(L"5", L"未知类型", L"", L"0.5", L"0.9"),
                           Circuit(L"6", L"", L"", L"0.5", L"0.9")}) {
        const CLoadCalData before = c;
        EXPECT_FALSE(TakeFiguresFromLoadType(c, library)) << ToUtf8(c.m_strCircuitNo);
        EXPECT_EQ(c, before);
    }
    // A tiered type with a bad quantity still gives its cos φ.
    CLoadCalData lighting = Circuit(L"7", L"照明插座", L"-1", L"0.5", L"0.8");
    EXPECT_TRUE(TakeFiguresFromLoadType(lighting, library));
    EXPECT_EQ(lighting.m_strDemandFactor, L"0.5");
    EXPECT_EQ(lighting.m_strPowerFactor, L"0.9");
}
