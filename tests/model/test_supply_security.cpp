// The N−1 check and the fire board check. Hand-made dual-fed documents; the
// contingency figures are worked in the comments with the transformer's
// formulas as the README states them (Pc = Kp x ΣP, Qc = Kq x ΣQ, cos phi1
// from alpha and beta, compensation Pc x (tan phi1 - tan phi2) under the
// original rules, up to the installed compensation).

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "model/Calculation.h"
#include "model/Numeric.h"
#include "model/SupplySecurity.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

namespace {

CLoadCalData Circuit(const wchar_t* no, const wchar_t* pe, const wchar_t* cos, const wchar_t* owner,
                     const wchar_t* loadClass, const wchar_t* fire = L"")
{
    CLoadCalData c;
    c.m_strCircuitNo = no;
    c.m_strPhase = L"L1,L2,L3,N";
    c.m_strRatedPower = pe;
    c.m_strDemandFactor = L"1";
    c.m_strPowerFactor = cos;
    c.m_strVoltage = L"0.38";
    c.m_strTransformer = owner;
    c.m_strLoadClass = loadClass;
    c.m_strFire = fire;
    return c;
}

CTransformerCalData Transformer(const wchar_t* name)
{
    CTransformerCalData t;
    t.m_strName = name;
    t.m_strKp = L"0.9";
    t.m_strKq = L"0.95";
    t.m_strAlpha = L"0.75";
    t.m_strBeta = L"0.8";
    t.m_strCosAfter = L"0.92";
    t.m_strLoadRate = L"0.75";
    return t;
}

/// T1 and T2 with one dual-fed first-class circuit, a dual-fed board of a
/// lift (first class, cos 0.6) and a third-class circuit, and their own
/// loads:
///   W1 400 kW 三级 on T1, W2 100 kW 一级 on T1,T2, W3 50 kW 二级 on T1,
///   W4 200 kW 三级 on T2, W5 60 kW 一级 (cos 0.6) and W6 30 kW 三级 on
///   AP-E, AP-E (K∑p 0.9, K∑q 0.95) on T1,T2. Everything else cos 0.8, K 1.
/// The normal figures: T1 ΣP 631 -> S2 605.356 -> 1000 kVA; T2 ΣP 381 ->
/// S2 365.199 -> 500 kVA.
CLoadCalDocument DualFed()
{
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"W1", L"400", L"0.8", L"T1", L"三级"));
    doc.loads.Add(Circuit(L"W2", L"100", L"0.8", L"T1,T2", L"一级"));
    doc.loads.Add(Circuit(L"W3", L"50", L"0.8", L"T1", L"二级"));
    doc.loads.Add(Circuit(L"W4", L"200", L"0.8", L"T2", L"三级"));
    doc.loads.Add(Circuit(L"W5", L"60", L"0.6", L"AP-E", L"一级"));
    doc.loads.Add(Circuit(L"W6", L"30", L"0.8", L"AP-E", L"三级"));
    CBoardCalData board;
    board.m_strName = L"AP-E";
    board.m_strOwner = L"T1,T2";
    doc.boards.Add(board);
    doc.transformers.Add(Transformer(L"T1"));
    doc.transformers.Add(Transformer(L"T2"));
    RecalculateDocument(doc);
    return doc;
}

std::wstring Figures(const ContingencyCase& c)
{
    return FormatG(c.active) + L" " + FormatG(c.compensation) + L" " + FormatG(c.reactive) + L" " +
           FormatG(c.apparent);
}

}  // namespace

TEST(SupplySecurity, TheContingencyLoadsOfTwoTransformersWorkedByHand)
{
    const CLoadCalDocument doc = DualFed();
    ASSERT_EQ(doc.transformers[0].m_strRatedCapacity, L"1000");
    ASSERT_EQ(doc.transformers[1].m_strRatedCapacity, L"500");
    const auto loads = ComputeContingencyLoads(doc);
    ASSERT_EQ(loads.size(), 2U);

    // T1 carries W2, W3 and AP-E's first-class part (W5 alone: Pjs = 0.9 x
    // 60 = 54, Qjs = 0.95 x 80 = 76); W1 and W6 are third class.
    // ΣP = 100 + 50 + 54 = 204, ΣQ = 75 + 37.5 + 76 = 188.5; Pc 183.6,
    // Qc 179.075; r = (0.8 x 179.075 / (0.75 x 183.6))² = 1.08239,
    // cos phi1 = 0.692978; compensation 183.6 x (1.04038 - 0.425998) =
    // 112.8; Q 66.2749, S = sqrt(183.6² + 66.2749²) = 195.196 kVA.
    EXPECT_EQ(loads[0].transformer, 0);
    EXPECT_EQ(loads[0].partners, std::vector<int>{1});
    EXPECT_EQ(loads[0].circuits, 3);
    EXPECT_EQ(Figures(loads[0].normal), L"183.6 112.8 66.2749 195.196");
    EXPECT_FALSE(loads[0].fire.has_value());
    EXPECT_EQ(FormatG(loads[0].apparent), L"195.196");
    EXPECT_EQ(loads[0].capacity, 1000);
    EXPECT_TRUE(loads[0].Fits());

    // T2 carries W2 and AP-E's part: ΣP 154, ΣQ 151; Pc 138.6, Qc 143.45,
    // cos phi1 0.671338, compensation 93.97, Q 49.48, S 147.167 kVA.
    EXPECT_EQ(loads[1].partners, std::vector<int>{0});
    EXPECT_EQ(loads[1].circuits, 2);
    EXPECT_EQ(Figures(loads[1].normal), L"138.6 93.97 49.48 147.167");
    // Both fit; only W6, third class on the dual-fed board, is named.
    const CCheckWarnings warnings = CheckSupplySecurity(doc);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].subject, CCheckWarning::Subject::Board);
}

TEST(SupplySecurity, AnInstalledBankGivesNoMoreThanIsInstalled)
{
    // T2 with 40 kvar installed: the contingency needs 93.97, the bank gives
    // 40; Q = 143.45 - 40 = 103.45, S = sqrt(138.6² + 103.45²) = 172.95.
    CLoadCalDocument doc = DualFed();
    doc.transformers[1].m_strActualCompCapacity = L"40";
    RecalculateDocument(doc);
    const auto loads = ComputeContingencyLoads(doc);
    ASSERT_EQ(loads.size(), 2U);
    EXPECT_EQ(Figures(loads[1].normal), L"138.6 40 103.45 172.95");
    // A bank larger than the load needs gives only what it needs.
    doc.transformers[1].m_strActualCompCapacity = L"400";
    EXPECT_EQ(Figures(ComputeContingencyLoads(doc)[1].normal), L"138.6 93.97 49.48 147.167");
}

TEST(SupplySecurity, ATransformerThatCannotTakeOverIsNamedWithTheLoadAndItsCapacity)
{
    // W4 made second class, and T2 sized at an expected load rate of 1.2:
    // its normal S2 365.199 / 1.2 = 304.3 -> 315 kVA. Without T1 it carries
    // W2, W4 and AP-E's part: ΣP = 100 + 200 + 54 = 354, ΣQ = 75 + 150 + 76
    // = 301; Pc 318.6, Qc 285.95, cos phi1 0.722341, compensation 169.29,
    // Q 116.66, S 339.287 kVA > 315.
    CLoadCalDocument doc = DualFed();
    doc.loads[3].m_strLoadClass = L"二级";
    doc.transformers[1].m_strLoadRate = L"1.2";
    RecalculateDocument(doc);
    ASSERT_EQ(doc.transformers[1].m_strRatedCapacity, L"315");
    const auto loads = ComputeContingencyLoads(doc);
    EXPECT_EQ(Figures(loads[1].normal), L"318.6 169.29 116.66 339.287");
    EXPECT_FALSE(loads[1].Fits());

    // After the board warning of W6 (third class on the dual-fed AP-E):
    const CCheckWarnings warnings = CheckSupplySecurity(doc);
    ASSERT_EQ(warnings.size(), 2U);
    EXPECT_EQ(warnings[1].subject, CCheckWarning::Subject::Transformer);
    EXPECT_EQ(warnings[1].index, 1);
    EXPECT_EQ(warnings[1].field, CTransformerCalData::kRatedCapacity);
    EXPECT_EQ(warnings[1].text,
              L"变压器“T2”在“T1”停运时须承担全部一、二级负荷（3 个回路），正常运行时视在功率 "
              L"339.287 kVA，超过其额定容量 315 kVA");
}

TEST(SupplySecurity, ThePhaseRuleCanMakeThePartLargerThanTheWhole)
{
    // Under the original rules T1's single-phase circuits L1 40, L2 35, L3
    // 35 kW (cos 1, 0.22 kV: 181.8, 159.1, 159.1 A, within 15 % of their
    // mean 166.7 A) add plainly: ΣP 110. The first-class L1 circuit alone
    // is unbalanced: 3 x 40 = 120 kW, more than the whole. Kp = Kq = 1.
    // Normal: cos phi1 = 1, and the original form's compensation 110 x (0 -
    // 0.425998) = -46.8598 adds reactive load: S2 = sqrt(110² + 46.8598²) =
    // 119.565 -> at a load rate of 1, 125 kVA. The contingency gives no
    // negative compensation: S = Pc = 120 kVA, which 125 kVA still carries.
    CLoadCalDocument doc;
    const wchar_t* phases[] = {L"L1,N", L"L2,N", L"L3,N"};
    const wchar_t* powers[] = {L"40", L"35", L"35"};
    for (int i = 0; i < 3; ++i) {
        CLoadCalData c =
            Circuit(L"WL", powers[i], L"1", i == 0 ? L"T1,T2" : L"T1", i == 0 ? L"一级" : L"三级");
        c.m_strPhase = phases[i];
        c.m_strVoltage = L"0.22";
        doc.loads.Add(c);
    }
    for (const wchar_t* name : {L"T1", L"T2"}) {
        CTransformerCalData t = Transformer(name);
        t.m_strKp = L"1";
        t.m_strKq = L"1";
        t.m_strLoadRate = L"1";
        doc.transformers.Add(t);
    }
    RecalculateDocument(doc);
    ASSERT_EQ(doc.transformers[0].m_strCalcP, L"110");
    ASSERT_EQ(doc.transformers[0].m_strCalcS, L"119.565");
    ASSERT_EQ(doc.transformers[0].m_strRatedCapacity, L"125");
    const auto loads = ComputeContingencyLoads(doc);
    ASSERT_EQ(loads.size(), 2U);
    EXPECT_EQ(FormatG(loads[0].apparent), L"120");
    EXPECT_TRUE(loads[0].Fits());
    // Sized at exactly 110 kVA by hand (an archive written elsewhere), it
    // does not fit.
    doc.transformers[0].m_strRatedCapacity = L"110";
    const CCheckWarnings warnings = CheckSupplySecurity(doc);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_NE(warnings[0].text.find(L"120 kVA"), std::wstring::npos);
    EXPECT_NE(warnings[0].text.find(L"110 kVA"), std::wstring::npos);
}

TEST(SupplySecurity, ADualFeedThroughTwoRisersIsShared)
{
    // AL-E is fed from riser AP-1 (under T1) and riser AP-2 (under T2); its
    // first-class circuit is shared although no owner list names both
    // transformers. A third transformer T3 shares nothing and is not checked.
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"WE", L"20", L"0.9", L"AL-E", L"一级"));
    doc.loads.Add(Circuit(L"W9", L"50", L"0.8", L"T3", L"一级"));
    for (const auto& [name, owner] :
         {std::pair{L"AP-1", L"T1"}, std::pair{L"AP-2", L"t2"}, std::pair{L"AL-E", L"AP-1,AP-2"}}) {
        CBoardCalData b;
        b.m_strName = name;
        b.m_strOwner = owner;
        doc.boards.Add(b);
    }
    for (const wchar_t* name : {L"T1", L"T2", L"T3"}) {
        doc.transformers.Add(Transformer(name));
    }
    RecalculateDocument(doc);
    const auto loads = ComputeContingencyLoads(doc);
    ASSERT_EQ(loads.size(), 2U);
    EXPECT_EQ(loads[0].transformer, 0);
    EXPECT_EQ(loads[1].transformer, 1);
    EXPECT_EQ(loads[1].partners, std::vector<int>{0});
    // Through AL-E and AP-2 (K∑p 0.9 each) and T2's Kp: 0.9³ x 20 = 14.58 kW.
    EXPECT_EQ(FormatG(loads[1].normal.active), L"14.58");
}

TEST(SupplySecurity, WithoutSharedFirstOrSecondClassLoadsThereIsNothingToCheck)
{
    CLoadCalDocument doc = DualFed();
    for (auto& c : doc.loads) {
        if (c.m_strTransformer != L"T1" && c.m_strTransformer != L"T2") {
            c.m_strLoadClass = L"三级";
        }
    }
    doc.loads[1].m_strLoadClass = L"三级";  // W2, the dual-fed circuit
    EXPECT_TRUE(ComputeContingencyLoads(doc).empty());
    doc.loads[1].m_strLoadClass = L"一级 ";  // not a class: CheckLoadTypes names it
    EXPECT_TRUE(ComputeContingencyLoads(doc).empty());
}

TEST(SupplySecurity, TheFireCaseCountsWhenItIsTheLarger)
{
    // A fire pump set of 90 kW, first class, fire-only, on T1,T2; W1's
    // 400 kW shed in a fire. T2 without T1 carries in a fire W2, the pump
    // and AP-E's part: ΣP = 100 + 90 + 54 = 244 (more than the 154 of the
    // normal case), so the fire case governs the check.
    CLoadCalDocument doc = DualFed();
    doc.loads.Add(Circuit(L"XF1", L"90", L"0.8", L"T1,T2", L"一级", L"消防"));
    doc.loads[0].m_strFire = L"火灾时切除";
    RecalculateDocument(doc);
    const auto loads = ComputeContingencyLoads(doc);
    ASSERT_EQ(loads.size(), 2U);
    ASSERT_TRUE(loads[1].fire.has_value());
    EXPECT_EQ(FormatG(loads[1].normal.active), L"138.6");
    EXPECT_EQ(FormatG(loads[1].fire->active), L"219.6");  // 0.9 x 244
    EXPECT_TRUE(loads[1].fireGoverns);
    EXPECT_EQ(FormatG(loads[1].apparent), FormatG(loads[1].fire->apparent));
    EXPECT_EQ(loads[1].circuits, 3);
}

TEST(SupplySecurity, ABoardFeedingFireAndOtherCircuitsIsNamed)
{
    CLoadCalDocument doc = DualFed();
    doc.loads.Add(Circuit(L"XF1", L"90", L"0.8", L"AP-E", L"一级", L"消防"));
    CBoardCalData fireBoard;
    fireBoard.m_strName = L"AP-XF";
    fireBoard.m_strOwner = L"T1,T2";
    doc.boards.Add(fireBoard);
    doc.loads.Add(Circuit(L"XF2", L"30", L"0.8", L"AP-XF", L"一级", L"消防"));
    doc.loads.Add(Circuit(L"XF3", L"15", L"0.8", L"ap-xf", L"一级", L"消防"));
    RecalculateDocument(doc);
    CCheckWarnings warnings = CheckSupplySecurity(doc);
    ASSERT_EQ(warnings.size(), 2U);
    EXPECT_EQ(warnings[0].subject, CCheckWarning::Subject::Board);
    EXPECT_EQ(warnings[0].index, 0);
    EXPECT_EQ(warnings[0].field, CBoardCalData::kName);
    EXPECT_EQ(warnings[0].text,
              L"配电箱“AP-E”同时供电 1 个消防回路和 2 个非消防回路，消防用电设备应由专用回路供电");
    // W6, third class on the dual-fed AP-E, is taken as shed when one
    // transformer is out: the reviewer is told.
    EXPECT_EQ(warnings[1].subject, CCheckWarning::Subject::Board);
    EXPECT_EQ(warnings[1].index, 0);
    EXPECT_EQ(warnings[1].field, CBoardCalData::kOwner);
    EXPECT_EQ(warnings[1].text,
              L"配电箱“AP-E”由两台及以上变压器供电，其直接供电的 1 "
              L"个回路不是一、二级负荷，N−1 校核按切除计，未计入");
    // Without any first- or second-class circuit there is no N−1 check to warn about.
    for (auto& c : doc.loads) {
        c.m_strLoadClass = L"三级";
    }
    warnings = CheckSupplySecurity(doc);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].field, CBoardCalData::kName);
}

// The straightforward statement of the N−1 load: the same document with
// every circuit that is not first or second class removed, recalculated,
// gives the transformers' Pc as the contingency does (the compensation
// aside, which the contingency limits).
TEST(SupplySecurity, TheContingencyIsTheTransformersArithmeticOverTheClassedCircuits)
{
    std::mt19937 rng(4711);
    for (int round = 0; round < 40; ++round) {
        testsupport::RandomBoardOptions opt;
        opt.circuits = 20 + static_cast<int>(rng() % 150);
        opt.transformers = 2 + static_cast<int>(rng() % 3);
        opt.boards = static_cast<int>(rng() % 20);
        opt.quirkShare = 0.3;
        opt.classShare = 0.6;
        opt.fireShare = round % 2 == 0 ? 0.0 : 0.2;
        opt.rules = round % 3 == 0 ? CalcRules::GB51348_2019 : CalcRules::Original;
        CLoadCalDocument doc;
        testsupport::MakeRandomBoardDocument(rng, opt, doc);
        RecalculateDocument(doc);
        const auto loads = ComputeContingencyLoads(doc);

        CLoadCalDocument classed = doc;
        classed.loads.RemoveAll();
        for (const auto& c : doc.loads) {
            if (IsFirstOrSecondClass(c)) {
                classed.loads.Add(c);
            }
        }
        RecalculateDocument(classed);
        const bool fire = HasFireRoles(classed);
        for (const CContingencyLoad& load : loads) {
            const CTransformerCalData& t = classed.transformers[load.transformer];
            EXPECT_EQ(FormatG(load.normal.active), t.m_strCalcP) << round;
            if (fire) {
                ASSERT_TRUE(load.fire.has_value());
                EXPECT_EQ(FormatG(load.fire->active), t.m_strFireCalcP) << round;
            }
            EXPECT_GE(load.normal.compensation, 0);
            EXPECT_EQ(load.Fits(),
                      load.apparent <=
                          ParseNumber(doc.transformers[load.transformer].m_strRatedCapacity));
        }
    }
}
