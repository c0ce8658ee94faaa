#include <gtest/gtest.h>

#include <cmath>

#include "model/Calculation.h"
#include "model/Numeric.h"

using namespace loadcal;

namespace {

CTransformerCalData Named(const wchar_t* name)
{
    CTransformerCalData t;
    t.m_strName = name;
    return t;
}

/// A three-phase circuit that contributes exactly p kW and q kVar to its group.
CLoadCalData Contribution(double p, double q, const wchar_t* owner)
{
    CLoadCalData c;
    c.m_strPhase = L"L1,L2,L3,N";
    c.m_strCalcP = FormatG(p);
    c.m_strCalcQ = FormatG(q);
    c.m_strTransformer = owner;
    return c;
}

}  // namespace

TEST(Transformer, WithoutCircuitsTakesTheSmallestStandardCapacity)
{
    CLoadArray loads;
    CTransformerArray t;
    t.Add(Named(L"T1"));
    EXPECT_EQ(RecalculateTransformer(loads, t, L"t1"), 0);
    EXPECT_EQ(t[0].m_strCalcP, L"0");
    EXPECT_EQ(t[0].m_strCosBefore, L"0");
    EXPECT_EQ(t[0].m_strCompCapacity, L"0");
    EXPECT_EQ(t[0].m_strCalcQ, L"0");
    EXPECT_EQ(t[0].m_strCalcS, L"0");
    EXPECT_EQ(t[0].m_strRatedCapacity, L"30");
    EXPECT_EQ(t[0].m_strActualLoadRate, L"0");
    EXPECT_EQ(t[0].m_strCalcCapacity, L"");  // the spare field is never written

    t[0].m_strActualCompCapacity = L"10";
    RecalculateTransformer(loads, t, L"T1");
    EXPECT_EQ(t[0].m_strCalcQ, L"-10");
    EXPECT_EQ(t[0].m_strCalcS, L"10");
    EXPECT_EQ(t[0].m_strRatedCapacity, L"30");  // x = 14.2857
    EXPECT_EQ(t[0].m_strActualLoadRate, L"0.333333");
    EXPECT_EQ(RecalculateTransformer(loads, t, L"T9"), -1);
}

TEST(Transformer, CompensationWorkedFigure)
{
    // Pc = 100, Qc = 75 (Kp = Kq = 1), alpha 0.7, beta 0.76, target 0.9.
    CLoadArray loads;
    loads.Add(Contribution(100, 75, L"T1"));
    CTransformerArray t;
    t.Add(Named(L"T1"));
    t[0].m_strKp = L"1";
    t[0].m_strKq = L"1";
    RecalculateTransformer(loads, t, L"T1");
    EXPECT_EQ(t[0].m_strCalcP, L"100");
    EXPECT_EQ(t[0].m_strCosBefore, L"0.775436");
    EXPECT_EQ(t[0].m_strCompCapacity, L"32.9964");
    // With the required compensation installed: Q2 = 75 - 32.9964.
    EXPECT_EQ(t[0].m_strCalcQ, FormatG(75 - 32.99636));
    EXPECT_NEAR(ParseNumber(t[0].m_strCalcS), std::sqrt(100 * 100 + 42.00364 * 42.00364), 1e-3);
    // Current at 0.38 kV with sqrt 3, not 1.732.
    EXPECT_NEAR(ParseNumber(t[0].m_strCalcI),
                ParseNumber(t[0].m_strCalcS) / (std::sqrt(3.0) * 0.38), 1e-3);
}

TEST(Transformer, StandardSeriesIsStrictlyAbove)
{
    // S2 = 280 kVA (no reactive load, no compensation) at load rate 0.7: x = 400 -> 500.
    CLoadArray loads;
    loads.Add(Contribution(280, 0, L"T1"));
    CTransformerArray t;
    t.Add(Named(L"T1"));
    t[0].m_strKp = L"1";
    t[0].m_strCosAfter = L"1";
    RecalculateTransformer(loads, t, L"T1");
    EXPECT_EQ(t[0].m_strCalcS, L"280");
    EXPECT_EQ(t[0].m_strRatedCapacity, L"500");
    EXPECT_EQ(t[0].m_strActualLoadRate, L"0.56");
    // S2 = 7000: x = 10000, nothing strictly greater: "0" and load rate 0.
    loads[0] = Contribution(7000, 0, L"T1");
    RecalculateTransformer(loads, t, L"T1");
    EXPECT_EQ(t[0].m_strRatedCapacity, L"0");
    EXPECT_EQ(t[0].m_strActualLoadRate, L"0");
    // A load rate of 0 skips the division: x = 0 gives 30.
    t[0].m_strLoadRate = L"";
    RecalculateTransformer(loads, t, L"T1");
    EXPECT_EQ(t[0].m_strRatedCapacity, L"30");
}

TEST(Transformer, MissingAlphaGivesTheHugeCompensationUncaught)
{
    CLoadArray loads;
    loads.Add(Contribution(100, 75, L"T1"));
    CTransformerArray t;
    t.Add(Named(L"T1"));
    t[0].m_strAlpha = L"";
    RecalculateTransformer(loads, t, L"T1");
    EXPECT_EQ(t[0].m_strCosBefore, L"0");
    EXPECT_GT(ParseNumber(t[0].m_strCompCapacity), 1e17);  // 90 x tan(pi/2)
}

TEST(Transformer, JoinedOwnerCountsForEachTransformerNamed)
{
    CLoadArray loads;
    loads.Add(Contribution(10, 0, L"T1,T2"));
    CTransformerArray t;
    t.Add(Named(L"T1"));
    t.Add(Named(L"t2"));
    RecalculateAllTransformers(loads, t);
    EXPECT_EQ(t[0].m_strCalcP, L"9");
    EXPECT_EQ(t[1].m_strCalcP, L"9");
}

TEST(Transformer, DuplicateNamesRecalculateTheFirstOnly)
{
    CLoadArray loads;
    loads.Add(Contribution(10, 0, L"T1"));
    CTransformerArray t;
    t.Add(Named(L"T1"));
    t.Add(Named(L"t1"));
    RecalculateAllTransformers(loads, t);
    EXPECT_EQ(t[0].m_strCalcP, L"9");
    EXPECT_EQ(t[1].m_strCalcP, L"");
}

TEST(Totals, GrandTotalsUseRawSumsWithoutSimultaneity)
{
    CLoadArray loads;
    EXPECT_EQ(ComputeTotals(loads), (SummaryTotals{L"0", L"0", L"0", L"0", L"0", L"0"}));
    loads.Add(Contribution(30, 40, L"T1"));
    loads[0].m_strRatedPower = L"60";
    const SummaryTotals t = ComputeTotals(loads);
    EXPECT_EQ(t.installed, L"60");
    EXPECT_EQ(t.active, L"30");
    EXPECT_EQ(t.reactive, L"40");
    EXPECT_EQ(t.apparent, L"50");
    EXPECT_EQ(t.powerFactor, L"0.6");
    EXPECT_EQ(t.current, FormatG(50 / (std::sqrt(3.0) * 0.38)));
    EXPECT_EQ(TotalApparent(loads), L"50");
    EXPECT_EQ(TotalPowerFactor(loads), L"0.6");
    EXPECT_EQ(TotalCurrent(loads), t.current);
    // A negative apparent power cannot occur; a negative active power gives a
    // negative power factor (signed comparison with 1e-8 on S only).
    loads[0] = Contribution(-30, 40, L"T1");
    EXPECT_EQ(ComputeTotals(loads).powerFactor, L"-0.6");
}

// Textbook example: 刘介才《工厂供电》(第5版), 例2-2, a 380 V line of a machine
// shop: machine-tool motors 50 kW (Kd 0.2, cos 0.5), fans 3 kW (Kd 0.8,
// cos 0.8), resistance furnace 2 kW (Kd 0.7, cos 1.0); K_Sigma_p 0.95,
// K_Sigma_q 0.97. The book gives P30 = 13.1 kW, Q30 = 18.5 kvar,
// S30 = 22.7 kVA, I30 = 34.5 A (tan phi rounded to 1.73 in the book).
TEST(Textbook, MachineShopLineByDemandFactors)
{
    CLoadArray loads;
    auto add = [&](const wchar_t* name, const wchar_t* pe, const wchar_t* k, const wchar_t* cos) {
        CLoadCalData c;
        c.m_strEquipName = name;
        c.m_strPhase = L"L1,L2,L3,N";
        c.m_strRatedPower = pe;
        c.m_strDemandFactor = k;
        c.m_strPowerFactor = cos;
        c.m_strTransformer = L"T1";
        loads.Add(c);
    };
    add(L"金属切削机床", L"50", L"0.2", L"0.5");
    add(L"通风机", L"3", L"0.8", L"0.8");
    add(L"电阻炉", L"2", L"0.7", L"1.0");
    CTransformerArray t;
    t.Add(Named(L"T1"));
    t[0].m_strKp = L"0.95";
    t[0].m_strKq = L"0.97";
    t[0].m_strAlpha = L"1";
    t[0].m_strBeta = L"1";
    const SummaryTotals totals = RecalculateDocument(loads, t);

    EXPECT_EQ(loads[0].m_strCalcP, L"10");
    EXPECT_NEAR(ParseNumber(loads[0].m_strCalcQ), 17.3, 0.05);
    EXPECT_EQ(loads[1].m_strCalcQ, L"1.8");
    EXPECT_EQ(loads[2].m_strCalcQ, L"0");
    EXPECT_EQ(totals.active, L"13.8");
    EXPECT_NEAR(ParseNumber(totals.reactive), 19.1, 0.05);

    // Before compensation (alpha = beta = 1): Pc = 13.1 kW, S30 = Pc / cos phi1.
    const double pc = ParseNumber(t[0].m_strCalcP);
    const double cos1 = ParseNumber(t[0].m_strCosBefore);
    EXPECT_NEAR(pc, 13.1, 0.05);
    EXPECT_NEAR(pc * std::tan(std::acos(cos1)), 18.5, 0.1);
    EXPECT_NEAR(pc / cos1, 22.7, 0.1);
    EXPECT_NEAR(pc / cos1 / (std::sqrt(3.0) * 0.38), 34.5, 0.2);
}
