// The document checks: each problem found once, on the right record and
// field, with a text naming the circuit or transformer; a sound document
// gives none; figures that are not finite or beyond the series never pass.

#include <gtest/gtest.h>

#include <algorithm>

#include "model/Calculation.h"
#include "model/Checks.h"

using namespace loadcal;

namespace {

CLoadCalData Circuit(const wchar_t* no, const wchar_t* owner, const wchar_t* pe = L"10",
                     const wchar_t* phase = L"L1,L2,L3,N", const wchar_t* voltage = L"0.38")
{
    CLoadCalData c;
    c.m_strCircuitNo = no;
    c.m_strRatedPower = pe;
    c.m_strPhase = phase;
    c.m_strVoltage = voltage;
    c.m_strDemandFactor = L"0.8";
    c.m_strPowerFactor = L"0.85";
    c.m_strTransformer = owner;
    return c;
}

CTransformerCalData Transformer(const wchar_t* name)
{
    CTransformerCalData t;
    t.m_strName = name;
    return t;
}

/// A small sound building: two transformers, single- and three-phase
/// circuits, one circuit fed from both.
CLoadCalDocument SoundBuilding()
{
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"WP1", L"T1", L"180"));
    doc.loads.Add(Circuit(L"WL1", L"T1", L"3", L"L1,N", L"0.22"));
    doc.loads.Add(Circuit(L"WL2", L"T1", L"3", L"L2,N", L"0.22"));
    doc.loads.Add(Circuit(L"WL3", L"T1", L"3", L"L3,N", L"0.22"));
    doc.loads.Add(Circuit(L"WE1", L"T1,T2", L"15"));
    doc.loads.Add(Circuit(L"WP2", L"t2", L"90"));
    doc.transformers.Add(Transformer(L"T1"));
    doc.transformers.Add(Transformer(L"T2"));
    RecalculateDocument(doc);
    return doc;
}

std::vector<const CCheckWarning*> About(const CCheckWarnings& all, CCheckWarning::Subject s,
                                        int index)
{
    std::vector<const CCheckWarning*> found;
    for (const CCheckWarning& w : all) {
        if (w.subject == s && w.index == index) {
            found.push_back(&w);
        }
    }
    return found;
}

bool Mentions(const CCheckWarning& w, const std::wstring& part)
{
    return w.text.find(part) != std::wstring::npos;
}

}  // namespace

TEST(Checks, ASoundBuildingHasNoWarning)
{
    const CCheckWarnings warnings = CheckDocument(SoundBuilding());
    for (const CCheckWarning& w : warnings) {
        ADD_FAILURE() << std::string(w.text.begin(), w.text.end()).size();
    }
    EXPECT_TRUE(warnings.empty());
}

TEST(Checks, EachBadCircuitFigureIsNamedOnItsFieldWithTheCircuitNumber)
{
    struct Case {
        int field;
        std::wstring text;
        std::wstring mention;
    };
    const std::vector<Case> cases = {
        {CLoadCalData::kPowerFactor, L"1.2", L"功率因数"},
        {CLoadCalData::kPowerFactor, L"0", L"功率因数"},
        {CLoadCalData::kPowerFactor, L"", L"功率因数"},
        {CLoadCalData::kDemandFactor, L"1.5", L"需要系数"},
        {CLoadCalData::kDemandFactor, L"-0.2", L"需要系数"},
        {CLoadCalData::kRatedPower, L"-10", L"为负值"},
        {CLoadCalData::kVoltage, L"0.22", L"与相位"},
        {CLoadCalData::kVoltage, L"0", L"与相位"},
    };
    for (const Case& c : cases) {
        CLoadCalDocument doc = SoundBuilding();
        doc.loads[5].FieldAt(c.field) = c.text;
        RecalculateDocument(doc);
        const CCheckWarnings all = CheckDocument(doc);
        const auto mine = About(all, CCheckWarning::Subject::Circuit, 5);
        ASSERT_FALSE(mine.empty()) << c.field;
        EXPECT_EQ(mine.front()->field, c.field);
        EXPECT_TRUE(Mentions(*mine.front(), L"回路 WP2")) << c.field;
        EXPECT_TRUE(Mentions(*mine.front(), c.mention)) << c.field;
        // The other circuits stay clean.
        for (int i = 0; i < 5; ++i) {
            EXPECT_TRUE(About(all, CCheckWarning::Subject::Circuit, i).empty()) << c.field;
        }
    }
}

TEST(Checks, ABoundaryFactorOfOneAndASinglePhaseAt230VoltsPass)
{
    CLoadCalDocument doc = SoundBuilding();
    doc.loads[1].m_strPowerFactor = L"1";
    doc.loads[0].m_strDemandFactor = L"1.0";
    doc.loads[1].m_strVoltage = L"0.23";
    doc.loads[5].m_strVoltage = L"10";  // a high-voltage motor
    RecalculateDocument(doc);
    EXPECT_TRUE(CheckDocument(doc).empty());
}

TEST(Checks, CircuitsThatCountInNoTransformerAreNamed)
{
    CLoadCalDocument doc = SoundBuilding();
    doc.loads[0].m_strPhase = L"三相";
    doc.loads[1].m_strTransformer = L"T9";
    doc.loads[2].m_strTransformer = L"";
    doc.loads[3].m_strCircuitNo = L"";
    doc.loads[3].m_strTransformer = L"T1,T7";
    RecalculateDocument(doc);
    const CCheckWarnings all = CheckDocument(doc);
    auto one = [&](int i) {
        const auto w = About(all, CCheckWarning::Subject::Circuit, i);
        EXPECT_EQ(w.size(), 1U) << i;
        return w.empty() ? CCheckWarning() : *w.front();
    };
    EXPECT_EQ(one(0).field, CLoadCalData::kPhase);
    EXPECT_TRUE(Mentions(one(0), L"三相"));
    EXPECT_EQ(one(1).field, CLoadCalData::kTransformer);
    EXPECT_TRUE(Mentions(one(1), L"T9"));
    EXPECT_TRUE(Mentions(one(2), L"没有归属变压器"));
    // No number: the row names it; only the piece naming nothing is wrong.
    EXPECT_TRUE(Mentions(one(3), L"第 4 行回路"));
    EXPECT_TRUE(Mentions(one(3), L"T7"));
    EXPECT_FALSE(Mentions(one(3), L"\"T1\""));
}

TEST(Checks, ATransformerNamedWithACommaIsNamedAndItsCircuitsCountNowhere)
{
    CLoadCalDocument doc = SoundBuilding();
    doc.transformers[1].m_strName = L"3#,4#";
    doc.loads[5].m_strTransformer = L"3#,4#";
    RecalculateDocument(doc);
    const CCheckWarnings all = CheckDocument(doc);
    const auto t = About(all, CCheckWarning::Subject::Transformer, 1);
    ASSERT_FALSE(t.empty());
    EXPECT_EQ(t.front()->field, CTransformerCalData::kName);
    EXPECT_TRUE(Mentions(*t.front(), L"3#,4#"));
    EXPECT_EQ(About(all, CCheckWarning::Subject::Circuit, 5).size(), 2U);
}

TEST(Checks, APowerFactorAboveOneMakesNotFiniteFiguresDownToTheTransformer)
{
    CLoadCalDocument doc = SoundBuilding();
    doc.loads[0].m_strPowerFactor = L"1.2";
    RecalculateDocument(doc);
    const CCheckWarnings all = CheckDocument(doc);
    const auto t1 = About(all, CCheckWarning::Subject::Transformer, 0);
    ASSERT_FALSE(t1.empty());
    EXPECT_TRUE(std::ranges::any_of(t1, [](const CCheckWarning* w) {
        return w->field == CTransformerCalData::kCalcQ && Mentions(*w, L"不是有限数");
    }));
    EXPECT_FALSE(IsFigureTrustworthy(all, CCheckWarning::Subject::Transformer, 0,
                                     CTransformerCalData::kActualLoadRate));
    // The load rate computed from it is not called too high either: it is
    // named as not finite, once.
    EXPECT_FALSE(
        std::ranges::any_of(t1, [](const CCheckWarning* w) { return Mentions(*w, L"超过 1"); }));
}

TEST(Checks, ALoadBeyondTheStandardSeriesIsNamedAsSuch)
{
    CLoadCalDocument doc = SoundBuilding();
    doc.loads[0].m_strRatedPower = L"40000";
    doc.loads[0].m_strDemandFactor = L"1";
    RecalculateDocument(doc);
    ASSERT_EQ(doc.transformers[0].m_strRatedCapacity, L"0");
    const CCheckWarnings all = CheckDocument(doc);
    const auto t1 = About(all, CCheckWarning::Subject::Transformer, 0);
    ASSERT_EQ(t1.size(), 2U);
    EXPECT_EQ(t1[0]->field, CTransformerCalData::kRatedCapacity);
    EXPECT_TRUE(Mentions(*t1[0], L"变压器 T1"));
    EXPECT_TRUE(Mentions(*t1[0], L"超出标准容量系列"));
    // The load rate of 0 it gives is not a figure to pass.
    EXPECT_EQ(t1[1]->field, CTransformerCalData::kActualLoadRate);
    EXPECT_TRUE(Mentions(*t1[1], L"不可采信"));
}

TEST(Checks, ACompensationBelowZeroIsNamed)
{
    // Unity power factor circuits lift cos phi before compensation above the
    // target: the required compensation comes out negative.
    CLoadCalDocument doc = SoundBuilding();
    doc.loads[0].m_strPowerFactor = L"1";
    RecalculateDocument(doc);
    const CCheckWarnings all = CheckDocument(doc);
    EXPECT_FALSE(IsFigureTrustworthy(all, CCheckWarning::Subject::Transformer, 0,
                                     CTransformerCalData::kCompCapacity));
}

TEST(Checks, TransformerInputsAndCompensationOutsideTheirRangesAreNamed)
{
    const std::vector<std::pair<int, std::wstring>> cases = {
        {CTransformerCalData::kLoadRate, L"1.2"},
        {CTransformerCalData::kLoadRate, L"0"},
        {CTransformerCalData::kAlpha, L"1.1"},
        {CTransformerCalData::kBeta, L"-1"},
        {CTransformerCalData::kCosAfter, L"2"},
        {CTransformerCalData::kActualCompCapacity, L"-50"},
    };
    for (const auto& [field, text] : cases) {
        CLoadCalDocument doc = SoundBuilding();
        doc.transformers[1].FieldAt(field) = text;
        RecalculateDocument(doc);
        const CCheckWarnings all = CheckDocument(doc);
        EXPECT_FALSE(IsFigureTrustworthy(all, CCheckWarning::Subject::Transformer, 1, field))
            << field;
        EXPECT_TRUE(About(all, CCheckWarning::Subject::Transformer, 0).empty()) << field;
    }
}

TEST(Checks, TheDocumentListIsTheCircuitsThenTheTransformers)
{
    CLoadCalDocument doc = SoundBuilding();
    doc.loads[4].m_strPowerFactor = L"1.2";
    doc.transformers[1].m_strAlpha = L"3";
    RecalculateDocument(doc);
    CCheckWarnings expected = CheckCircuits(doc);
    const CCheckWarnings transformers = CheckTransformers(doc);
    expected.insert(expected.end(), transformers.begin(), transformers.end());
    EXPECT_EQ(CheckDocument(doc), expected);
    EXPECT_FALSE(transformers.empty());
}
