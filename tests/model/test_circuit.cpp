#include <gtest/gtest.h>

#include <cmath>

#include "model/Calculation.h"
#include "model/Numeric.h"

using namespace loadcal;

namespace {

CLoadCalData Circuit(const wchar_t* phase, const wchar_t* pe, const wchar_t* k, const wchar_t* cos,
                     const wchar_t* u, const wchar_t* owner = L"")
{
    CLoadCalData c;
    c.m_strPhase = phase;
    c.m_strRatedPower = pe;
    c.m_strDemandFactor = k;
    c.m_strPowerFactor = cos;
    c.m_strVoltage = u;
    c.m_strTransformer = owner;
    c.Calculate();
    return c;
}

/// A circuit with a given current (A) and summed figures, as the group sums see it.
CLoadCalData Loaded(const wchar_t* phase, double current, double p, const wchar_t* owner = L"T1")
{
    CLoadCalData c;
    c.m_strPhase = phase;
    c.m_strCalcI = FormatG(current);
    c.m_strCalcP = FormatG(p);
    c.m_strCalcQ = FormatG(p / 2);
    c.m_strRatedPower = FormatG(p * 2);
    c.m_strTransformer = owner;
    return c;
}

}  // namespace

TEST(Circuit, ThreePhaseWorkedFigures)
{
    const auto c = Circuit(L"L1,L2,L3,N", L"10", L"0.8", L"0.8", L"0.38");
    EXPECT_EQ(c.m_strCalcP, L"8");
    EXPECT_EQ(c.m_strCalcQ, L"6");
    EXPECT_EQ(c.m_strCalcS, L"10");
    EXPECT_EQ(c.m_strCalcI, L"15.1939");  // 8 / (1.732 x 0.38 x 0.8), not sqrt 3
    // With sqrt 3 the text would read 15.1934: the constant is visible.
    EXPECT_NE(FormatG(8 / (std::sqrt(3.0) * 0.38 * 0.8)), L"15.1939");
}

TEST(Circuit, SinglePhaseAndDegenerateInputs)
{
    EXPECT_EQ(Circuit(L"L1,N", L"10", L"0.8", L"0.8", L"0.22").m_strCalcI, L"45.4545");
    const auto zeroCos = Circuit(L"L1,N", L"10", L"0.8", L"0", L"0.22");
    EXPECT_EQ(zeroCos.m_strCalcQ, L"0");
    EXPECT_EQ(zeroCos.m_strCalcI, L"0");
    EXPECT_EQ(zeroCos.m_strCalcS, L"8");
    EXPECT_EQ(Circuit(L"L1,N", L"10", L"0.8", L"0.8", L"").m_strCalcI, L"0");
    EXPECT_EQ(Circuit(L"", L"", L"", L"", L"").m_strCalcP, L"0");
    // A power factor above 1 is not caught: the C library's not-a-number text.
    const auto bad = Circuit(L"L1,N", L"10", L"1", L"1.2", L"0.22");
    EXPECT_NE(bad.m_strCalcQ.find(L"NAN"), std::wstring::npos);
}

TEST(Circuit, ThreePhaseIsAContainsTestAndTypedUnitsAreIgnored)
{
    // "x L1,L2,L3,N" is three-phase for the current but in no phase group of the sums.
    const auto odd = Circuit(L"x L1,L2,L3,N", L"10", L"0.8", L"0.8", L"0.38", L"T1");
    EXPECT_EQ(odd.m_strCalcI, L"15.1939");
    CLoadArray loads;
    loads.Add(odd);
    EXPECT_EQ(GroupActiveSum(loads, L"T1"), L"0");
    EXPECT_EQ(Circuit(L"L1,N", L"12kW", L"1", L"1", L"0.22").m_strCalcP, L"12");
}

TEST(GroupSums, BalanceRuleAtAndAroundFifteenPercent)
{
    // Currents 10, 10, 12: mean 10.667, largest deviation 1.333 < 1.6: plain sum.
    CLoadArray loads;
    loads.Add(Loaded(L"L1,N", 10, 1));
    loads.Add(Loaded(L"L2,N", 10, 2));
    loads.Add(Loaded(L"L3,N", 12, 3));
    loads.Add(Loaded(L"L1,L2,L3,N", 50, 10));
    EXPECT_EQ(GroupActiveSum(loads, L"T1"), L"16");
    // Currents 10, 10, 14: mean 11.333, deviation 2.667 >= 1.7: 3 x largest + three-phase.
    loads[2] = Loaded(L"L3,N", 14, 3);
    EXPECT_EQ(GroupActiveSum(loads, L"T1"), L"19");
    EXPECT_EQ(GroupReactiveSum(loads, L"T1"), L"9.5");
    EXPECT_EQ(GroupInstalledSum(loads, L"T1"), L"38");

    // Just inside and just outside the 15 % band (currents a, a, b).
    for (const auto& [b, balanced] : {std::pair{12.43, true}, std::pair{12.44, false}}) {
        CLoadArray g;
        g.Add(Loaded(L"L1,N", 10, 1));
        g.Add(Loaded(L"L2,N", 10, 1));
        g.Add(Loaded(L"L3,N", b, 2));
        EXPECT_EQ(GroupActiveSum(g, L"T1"), balanced ? L"4" : L"6") << b;
    }
    // Exactly equal currents are balanced (deviation 0 < 15 % of the mean).
    CLoadArray even;
    even.Add(Loaded(L"L1,N", 5, 1));
    even.Add(Loaded(L"L2,N", 5, 1));
    even.Add(Loaded(L"L3,N", 5, 4));
    EXPECT_EQ(GroupActiveSum(even, L"T1"), L"6");
}

TEST(GroupSums, NoSinglePhaseCircuitsGiveTheThreePhasePart)
{
    CLoadArray loads;
    loads.Add(Loaded(L"L1,L2,L3,N", 20, 7));
    loads.Add(Loaded(L"l1,n", 20, 100));  // lower case: in no group at all
    EXPECT_EQ(GroupActiveSum(loads, L"T1"), L"7");
    // A single-phase load on one phase only: the mean test fails, 3 x that phase.
    loads.Add(Loaded(L"L2,N", 4, 2));
    EXPECT_EQ(GroupActiveSum(loads, L"T1"), L"13");
}

TEST(OwnerList, MembershipAndTheJoinedOwnerQuirk)
{
    CLoadCalData c;
    c.m_strTransformer = L"T1,T2";
    EXPECT_TRUE(BelongsTo(c, L"t1"));
    EXPECT_TRUE(BelongsTo(c, L"T2"));
    EXPECT_FALSE(BelongsTo(c, L"T1,T2"));
    c.m_strTransformer = L"T1";
    EXPECT_FALSE(BelongsTo(c, L"T1,T2"));

    // "T1,T2" is a distinct owner text of its own whose group is empty: its
    // circuit counts in the totals only through the group named T1.
    CLoadArray loads;
    loads.Add(Loaded(L"L1,L2,L3,N", 10, 5, L"T1,T2"));
    EXPECT_EQ(TotalActive(loads), L"0");
    loads.Add(Loaded(L"L1,L2,L3,N", 10, 1, L"T1"));
    EXPECT_EQ(TotalActive(loads), L"6");
    // "t1" and "T1" are two distinct texts naming the same group: counted twice.
    loads.Add(Loaded(L"L1,L2,L3,N", 10, 1, L"t1"));
    EXPECT_EQ(TotalActive(loads), L"14");
    // Circuits without an owner form the group of the empty text.
    loads.Add(Loaded(L"L1,L2,L3,N", 10, 3, L""));
    EXPECT_EQ(TotalActive(loads), L"17");
}

TEST(FindTransformer, FirstMatchWithoutRegardToCase)
{
    CTransformerArray t;
    t.Add(CTransformerCalData());
    t[0].m_strName = L"1#变压器";
    t.Add(CTransformerCalData());
    t[1].m_strName = L"TA";
    t.Add(CTransformerCalData());
    t[2].m_strName = L"ta";
    EXPECT_EQ(FindTransformer(t, L"ta"), 1);
    EXPECT_EQ(FindTransformer(t, L"1#变压器"), 0);
    EXPECT_EQ(FindTransformer(t, L"T"), -1);
}
