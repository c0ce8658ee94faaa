// What the calculation book says about a document: the reviewer's checks at
// and around their limits, and the figures each transformer's steps show.

#include <gtest/gtest.h>

#include <random>

#include "document/LoadTypeFile.h"
#include "model/Calculation.h"
#include "model/Numeric.h"
#include "model/SupplySecurity.h"
#include "model/Text.h"
#include "output/Figures.h"
#include "output/report/BookContent.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/ReferenceCalculation.h"

using namespace loadcal;

namespace {

CLoadCalData Circuit(const std::wstring& no, const std::wstring& phase, const std::wstring& power,
                     const std::wstring& owner)
{
    CLoadCalData c;
    c.m_strCircuitNo = no;
    c.m_strPhase = phase;
    c.m_strRatedPower = power;
    c.m_strVoltage = phase == kPhaseThree ? L"0.38" : L"0.22";
    c.m_strTransformer = owner;
    return c;
}

CTransformerCalData Transformer(const std::wstring& name)
{
    CTransformerCalData t;
    t.m_strName = name;
    return t;
}

const BookCheck& CheckOf(const BookContent& book, const std::wstring& item,
                         const std::wstring& subject)
{
    for (const BookCheck& c : book.checks) {
        if (c.item == item && c.subject == subject) {
            return c;
        }
    }
    ADD_FAILURE() << ToUtf8(item) << " " << ToUtf8(subject);
    static const BookCheck none;
    return none;
}

bool HasStep(const BookTransformer& t, const std::wstring& text)
{
    for (const BookStep& s : t.steps) {
        if (s.text == text) {
            return true;
        }
    }
    return false;
}

}  // namespace

TEST(BookChecks, EachCheckIsMetUpToItsLimitAndNeedsAttentionBeyondIt)
{
    // T1: single-phase currents 10, 10, 12 A (balanced); T2: 10, 10, 14 A (not).
    CLoadArray loads;
    const std::pair<const wchar_t*, const wchar_t*> groups[] = {{L"T1", L"12"}, {L"T2", L"14"}};
    for (const auto& [owner, third] : groups) {
        for (const auto& [phase, current] :
             {std::pair{kPhaseL1, L"10"}, std::pair{kPhaseL2, L"10"}, std::pair{kPhaseL3, third}}) {
            CLoadCalData c = Circuit(L"1", std::wstring(phase), L"2", owner);
            c.m_strCalcI = current;
            c.m_strCalcP = c.m_strCalcQ = c.m_strCalcS = L"1";
            loads.Add(c);
        }
    }
    CTransformerArray transformers;
    transformers.Add(Transformer(L"T1"));
    transformers.Add(Transformer(L"T2"));
    // The book shows the texts as they stand: set them at the limits.
    for (int m = 0; m < 2; ++m) {
        CTransformerCalData& t = transformers[m];
        for (int f = CTransformerCalData::kRatedCapacity; f < CTransformerCalData::kFieldCount;
             ++f) {
            t.FieldAt(f) = L"1";
        }
        t.m_strActualCompCapacity = L"";
    }
    transformers[0].m_strActualLoadRate = L"0.85";
    transformers[1].m_strActualLoadRate = L"0.850001";
    transformers[0].m_strCalcP = L"90";
    transformers[0].m_strCalcS = L"100";
    transformers[1].m_strCalcP = L"89.99";
    transformers[1].m_strCalcS = L"100";
    transformers[0].m_strRatedCapacity = L"10000";
    transformers[1].m_strRatedCapacity = L"0";

    const BookContent book = BuildBookContent(loads, transformers);
    EXPECT_TRUE(CheckOf(book, L"负载率不高于 85 %", L"T1").met);
    EXPECT_FALSE(CheckOf(book, L"负载率不高于 85 %", L"T2").met);
    EXPECT_TRUE(CheckOf(book, L"补偿后功率因数不低于 0.9", L"T1").met);
    EXPECT_FALSE(CheckOf(book, L"补偿后功率因数不低于 0.9", L"T2").met);
    EXPECT_TRUE(CheckOf(book, L"单相负荷三相平衡（15 % 规则）", L"T1").met);
    EXPECT_FALSE(CheckOf(book, L"单相负荷三相平衡（15 % 规则）", L"T2").met);
    EXPECT_TRUE(CheckOf(book, L"额定容量在标准容量系列内", L"T1").met);
    EXPECT_FALSE(CheckOf(book, L"额定容量在标准容量系列内", L"T2").met);
    EXPECT_TRUE(CheckOf(book, L"数字单元格可读为数字", L"全部").met);

    // The group sums: plain when balanced, three times the largest phase when not.
    EXPECT_EQ(book.transformers[0].installedSum, L"6");
    EXPECT_EQ(book.transformers[1].installedSum, L"6");  // 3 x max(2, 2, 2)
    EXPECT_TRUE(HasStep(book.transformers[1], L"ΣPe = 6.00 kW"));
    // Phase currents of the chart: the circuits' own, no three-phase circuit here.
    EXPECT_EQ(book.transformers[1].phaseCurrents[2], 14);
}

TEST(BookChecks, FiguresThatAreNotNumbersAreListedAndFailTheirChecks)
{
    CLoadArray loads;
    loads.Add(Circuit(L"WL1", L"L1,N", L"12kW", L"T1"));
    loads[0].m_strPowerFactor = L"1.2";  // gives -NAN
    CTransformerArray transformers;
    transformers.Add(Transformer(L"T1"));
    RecalculateDocument(loads, transformers);
    ASSERT_EQ(loads[0].m_strCalcQ, L"-NAN");

    const std::vector<std::wstring> cells = NonNumericCells(loads, transformers);
    EXPECT_NE(std::find(cells.begin(), cells.end(), L"回路第 1 行 额定容量(kW) \"12kW\""),
              cells.end());
    EXPECT_NE(std::find(cells.begin(), cells.end(), L"回路第 1 行 计算无功(kVar) \"-NAN\""),
              cells.end());
    for (const std::wstring& c : cells) {
        EXPECT_EQ(c.find(L"实际补偿容量"), std::wstring::npos) << ToUtf8(c);  // empty is allowed
    }
    const BookContent book = BuildBookContent(loads, transformers);
    EXPECT_FALSE(CheckOf(book, L"数字单元格可读为数字", L"全部").met);
    EXPECT_FALSE(CheckOf(book, L"补偿后功率因数不低于 0.9", L"T1").met);
}

TEST(BookSteps, TheStepsShowTheDocumentsFiguresWithTheInputsPutIn)
{
    // Pc = 100, Qc = 75 through one three-phase circuit and Kp = Kq = 1.
    CLoadArray loads;
    CLoadCalData c = Circuit(L"WP1", L"L1,L2,L3,N", L"100", L"T1");
    c.m_strDemandFactor = L"1";
    c.m_strPowerFactor = L"0.8";
    loads.Add(c);
    CTransformerArray transformers;
    CTransformerCalData t = Transformer(L"T1");
    t.m_strKp = L"1";
    t.m_strKq = L"1";
    transformers.Add(t);
    RecalculateDocument(loads, transformers);
    const CTransformerCalData& r = transformers[0];
    ASSERT_EQ(r.m_strCosBefore, L"0.775436");
    ASSERT_EQ(r.m_strCompCapacity, L"32.9964");

    const BookContent book = BuildBookContent(loads, transformers);
    const BookTransformer& b = book.transformers[0];
    // Rounded for reading: powers to 0.01, factors to 0.01 or 0.001.
    EXPECT_TRUE(HasStep(b, L"Pc = K∑p × ΣPjs = 1.00 × 100.00 = 100.00 kW"));
    EXPECT_TRUE(HasStep(b, L"Qc = K∑q × ΣQjs = 1.00 × 75.00 = 75.00 kvar"));
    EXPECT_TRUE(HasStep(b,
                        L"cosφ1 = √(1 / (1 + (β × Qc / (α × Pc))²)) = √(1 / (1 + (0.76 × 75.00 / "
                        L"(0.70 × 100.00))²)) = 0.775"));
    // tan(arccos 0.775436) = 0.81429, tan(arccos 0.9) = 0.48432.
    EXPECT_TRUE(HasStep(b,
                        L"Qcc = Pc × (tanφ1 − tanφ2) = 100.00 × (0.8143 − 0.4843) = 33.00 kvar"
                        L"（cosφ1 = 0.775，目标 cosφ2 = 0.90）"));
    EXPECT_TRUE(HasStep(b, L"Q2 = Qc − Qb = 75.00 − 33.00 = 42.00 kvar"));
    EXPECT_TRUE(HasStep(b, L"ΣPjs = P3φ = 100.00 kW"));
    EXPECT_TRUE(HasStep(b, L"S2 / Se = " + ShowFigure(FigureKind::Power, r.m_strCalcS) +
                               L" / 160 = " +
                               ShowFigure(FigureKind::Percent, r.m_strActualLoadRate) + L" %"));
    // A three-phase circuit carries its whole current in every phase.
    const double current = ParseNumber(loads[0].m_strCalcI);
    for (double phase : b.phaseCurrents) {
        EXPECT_DOUBLE_EQ(phase, current);
    }
}

TEST(BookSteps, PhaseCurrentsAddSinglePhaseCircuitsToTheirPhaseAndThreePhaseToEvery)
{
    CLoadArray loads;
    loads.Add(Circuit(L"1", L"L1,N", L"2.2", L"T1"));
    loads.Add(Circuit(L"2", L"L2,N", L"4.4", L"T1"));
    loads.Add(Circuit(L"3", L"L1,L2,L3,N", L"10", L"t1"));  // owners match without regard to case
    loads.Add(Circuit(L"4", L"L3,N", L"50", L"T2"));        // another transformer's
    CTransformerArray transformers;
    transformers.Add(Transformer(L"T1"));
    RecalculateDocument(loads, transformers);
    const double i1 = ParseNumber(loads[0].m_strCalcI);
    const double i2 = ParseNumber(loads[1].m_strCalcI);
    const double i3 = ParseNumber(loads[2].m_strCalcI);
    const BookContent book = BuildBookContent(loads, transformers);
    const BookTransformer& b = book.transformers[0];
    EXPECT_NEAR(b.phaseCurrents[0], i1 + i3, 1e-9);
    EXPECT_NEAR(b.phaseCurrents[1], i2 + i3, 1e-9);
    EXPECT_NEAR(b.phaseCurrents[2], i3, 1e-9);
}

namespace {

CBoardCalData Board(const std::wstring& name, const std::wstring& owner,
                    const std::wstring& phase = std::wstring(kPhaseThree))
{
    CBoardCalData b;
    b.m_strName = name;
    b.m_strOwner = owner;
    b.m_strPhase = phase;
    return b;
}

bool HasStep(const BookBoard& b, const std::wstring& text)
{
    for (const BookStep& s : b.steps) {
        if (s.text == text) {
            return true;
        }
    }
    return false;
}

/// Board AP1 (K∑p 0.9) on T1 with single-phase circuits of 10, 10 and 14 kW
/// and a three-phase one of 300 kW, all at cos φ 1 (no reactive power): the
/// single-phase currents are unbalanced (the original rule takes three times
/// the largest phase) while the single-phase total is 11 % of the
/// three-phase one (GB 51348-2019 adds them as they are).
CLoadCalDocument UnbalancedButSmall(CalcRules rules, const std::wstring& owner = L"AP1")
{
    CLoadCalDocument doc;
    doc.rules = rules;
    const std::pair<const wchar_t*, const wchar_t*> circuits[] = {{kPhaseL1.data(), L"10"},
                                                                  {kPhaseL2.data(), L"10"},
                                                                  {kPhaseL3.data(), L"14"},
                                                                  {kPhaseThree.data(), L"300"}};
    for (const auto& [phase, power] : circuits) {
        CLoadCalData c = Circuit(L"W", phase, power, owner);
        c.m_strDemandFactor = L"1";
        c.m_strPowerFactor = L"1";
        doc.loads.Add(c);
    }
    doc.transformers.Add(Transformer(L"T1"));
    CBoardCalData ap1 = Board(L"AP1", L"T1");
    ap1.m_strKp = L"0.9";
    ap1.m_strKq = L"0.95";
    doc.boards.Add(ap1);
    RecalculateDocument(doc);
    return doc;
}

}  // namespace

TEST(BookBoards, TheStepsOfABoardTakeTheSumsOfItsRuleSet)
{
    const CLoadCalDocument original = UnbalancedButSmall(CalcRules::Original);
    const CLoadCalDocument gb = UnbalancedButSmall(CalcRules::GB51348_2019);
    const BookContent a = BuildBookContent(original);
    const BookContent b = BuildBookContent(gb);
    ASSERT_EQ(a.boards.size(), 1u);
    ASSERT_EQ(b.boards.size(), 1u);
    // 3 x 14 + 300 = 342 under the original rule; 10 + 10 + 14 + 300 = 334 under GB 51348-2019.
    EXPECT_EQ(a.boards[0].activeSum, L"342");
    EXPECT_EQ(b.boards[0].activeSum, L"334");
    EXPECT_EQ(original.boards[0].m_strCalcP, L"307.8");  // 0.9 x 342
    EXPECT_EQ(gb.boards[0].m_strCalcP, L"300.6");        // 0.9 x 334
    EXPECT_TRUE(HasStep(a.boards[0],
                        L"ΣPjs = 3 × max(PL1, PL2, PL3) + P3φ = 3 × max(10.00, "
                        L"10.00, 14.00) + 300.00 = 3 × 14.00 + 300.00 = 342.00 kW"));
    EXPECT_TRUE(HasStep(b.boards[0],
                        L"ΣPjs = PL1 + PL2 + PL3 + P3φ = 10.00 + 10.00 + 14.00 + "
                        L"300.00 = 334.00 kW"));
    EXPECT_TRUE(HasStep(a.boards[0], L"Pjs = K∑p × ΣPjs = 0.90 × 342.00 = 307.80 kW"));
    EXPECT_TRUE(HasStep(b.boards[0], L"Pjs = K∑p × ΣPjs = 0.90 × 334.00 = 300.60 kW"));
    // The current with the rule set's factor: 307.8 / (1.732 x 0.38) = 467.7 A,
    // 300.6 / (sqrt 3 x 0.38) = 456.7 A.
    EXPECT_TRUE(
        HasStep(a.boards[0], L"Ijs = Sjs / (1.732 × 0.38) = 307.80 / (1.732 × 0.38) = 467.7 A"));
    EXPECT_TRUE(HasStep(b.boards[0], L"Ijs = Sjs / (√3 × 0.38) = 300.60 / (√3 × 0.38) = 456.7 A"));
    // The transformer takes the board as one three-phase member.
    EXPECT_EQ(b.transformers[0].boards, std::vector<int>{0});
    EXPECT_TRUE(b.transformers[0].circuits.empty());
    EXPECT_EQ(b.transformers[0].activeSum, L"300.6");
    // With the circuits straight on T1, the balance check of GB 51348-2019 is
    // met by the small share, the original one needs attention for the
    // unbalanced currents.
    const BookContent directA = BuildBookContent(UnbalancedButSmall(CalcRules::Original, L"T1"));
    const BookContent directB =
        BuildBookContent(UnbalancedButSmall(CalcRules::GB51348_2019, L"T1"));
    EXPECT_FALSE(CheckOf(directA, L"单相负荷三相平衡（15 % 规则）", L"T1").met);
    EXPECT_TRUE(CheckOf(directB, L"单相负荷三相平衡（15 % 规则）", L"T1").met);
    EXPECT_EQ(directA.transformers[0].activeSum, L"342");
    EXPECT_EQ(directB.transformers[0].activeSum, L"334");
}

TEST(BookBoards, ASinglePhaseBoardAddsItsMembersAsTheyAreAndDividesBy022)
{
    CLoadCalDocument doc;
    doc.rules = CalcRules::GB51348_2019;
    CLoadCalData c = Circuit(L"WL1", L"L2,N", L"4.4", L"AL1");
    c.m_strDemandFactor = L"1";
    c.m_strPowerFactor = L"1";
    doc.loads.Add(c);
    doc.transformers.Add(Transformer(L"T1"));
    CBoardCalData al1 = Board(L"AL1", L"T1", L"L2,N");
    al1.m_strKp = L"1";
    al1.m_strKq = L"1";
    doc.boards.Add(al1);
    RecalculateDocument(doc);
    const BookContent book = BuildBookContent(doc);
    ASSERT_EQ(book.boards.size(), 1u);
    EXPECT_TRUE(HasStep(book.boards[0], L"单相配电箱只接一相，所接负荷直接相加"));
    EXPECT_TRUE(HasStep(book.boards[0], L"Ijs = Sjs / 0.22 = 4.40 / 0.22 = 20.0 A"));
    // In the transformer it is a single-phase member on L2: its current in L2 only.
    const BookTransformer& t = book.transformers[0];
    EXPECT_DOUBLE_EQ(t.phaseCurrents[0], 0);
    EXPECT_DOUBLE_EQ(t.phaseCurrents[1], 20);
    EXPECT_DOUBLE_EQ(t.phaseCurrents[2], 0);
}

TEST(BookBoards, TheTreeOrderWalksEachTransformerDepthFirstAndShowsADualFedBoardOnce)
{
    CLoadCalDocument doc;
    doc.transformers.Add(Transformer(L"T1"));
    doc.transformers.Add(Transformer(L"T2"));
    const std::pair<const wchar_t*, const wchar_t*> boards[] = {
        {L"B", L"T2"},   // 0
        {L"D", L"c"},    // 1: under C (names match without regard to case)
        {L"A", L"T1"},   // 2
        {L"C", L"A,B"},  // 3: dual-fed, from T1 through A and from T2 through B
        {L"F", L"X"},    // 4: names nothing
        {L"G", L"H"},    // 5: G and H own each other
        {L"H", L"G"},    // 6
        {L"E", L"T1"},   // 7
        {L"K", L"G"},    // 8: fed from the cycle only
    };
    for (const auto& [name, owner] : boards) {
        doc.boards.Add(Board(name, owner));
    }
    doc.loads.Add(Circuit(L"W1", std::wstring(kPhaseThree), L"10", L"D"));
    RecalculateDocument(doc);
    const BookContent book = BuildBookContent(doc);
    std::vector<std::wstring> order;
    for (const BookBoard& b : book.boards) {
        order.push_back(doc.boards[b.index].m_strName);
    }
    EXPECT_EQ(order,
              (std::vector<std::wstring>{L"A", L"C", L"D", L"E", L"B", L"F", L"K", L"G", L"H"}));
    const BookBoard& c = book.boards[1];
    EXPECT_EQ(c.owners, (std::vector<std::wstring>{L"A", L"B"}));
    EXPECT_EQ(c.parent, 2);
    EXPECT_EQ(c.transformer, 0);
    EXPECT_EQ(book.boards[2].depth, 3);
    EXPECT_EQ(book.boards[2].circuits, std::vector<int>{0});
    EXPECT_EQ(book.boards[4].transformer, 1);   // B
    EXPECT_EQ(book.boards[5].transformer, -1);  // F
    EXPECT_EQ(book.boards[6].transformer, -1);  // K
    EXPECT_FALSE(book.boards[6].onCycle);
    EXPECT_TRUE(book.boards[7].onCycle);
    EXPECT_TRUE(book.boards[7].steps.empty());
    // The dual-fed C counts in both transformers, through A and through B.
    EXPECT_EQ(book.transformers[0].activeSum, book.transformers[1].activeSum);
    EXPECT_NE(ParseNumber(book.transformers[0].activeSum), 0);
}

TEST(BookBoards, AChainOfTenThousandBoardsIsWalkedWithoutRecursion)
{
    CLoadCalDocument doc;
    doc.transformers.Add(Transformer(L"T1"));
    constexpr int kDepth = 10000;
    for (int k = 0; k < kDepth; ++k) {
        doc.boards.Add(Board(L"AP" + std::to_wstring(k),
                             k == 0 ? std::wstring(L"T1") : L"AP" + std::to_wstring(k - 1)));
    }
    doc.loads.Add(
        Circuit(L"W1", std::wstring(kPhaseThree), L"10", L"AP" + std::to_wstring(kDepth - 1)));
    RecalculateDocument(doc);
    const BookContent book = BuildBookContent(doc);
    ASSERT_EQ(book.boards.size(), static_cast<size_t>(kDepth));
    EXPECT_EQ(book.boards.back().depth, kDepth);
    EXPECT_EQ(book.boards.back().index, kDepth - 1);
    EXPECT_EQ(book.boards.back().parent, kDepth - 2);
}

TEST(BookBoards, UnderTheOriginalRulesTheComparisonIsTheDocumentRecalculatedUnderGB51348)
{
    std::mt19937 rng(5);
    testsupport::RandomBoardOptions opt;
    opt.circuits = 80;
    opt.boards = 12;
    opt.transformers = 3;
    CLoadCalDocument doc;
    testsupport::MakeRandomBoardDocument(rng, opt, doc);
    RecalculateDocument(doc);
    const BookContent book = BuildBookContent(doc);
    ASSERT_TRUE(book.comparison.has_value());
    // The independent transcription of the method gives the same copy.
    CLoadCalDocument expected = doc;
    expected.rules = CalcRules::GB51348_2019;
    const SummaryTotals totals = reference::RecalculateDocument(expected);
    EXPECT_EQ(book.comparison->document, expected);
    EXPECT_EQ(book.comparison->totals, totals);
    ASSERT_EQ(book.comparison->transformers.size(), 3u);
    // The document itself is shown as it stands.
    EXPECT_EQ(book.totals, ComputeTotals(doc));

    doc.rules = CalcRules::GB51348_2019;
    EXPECT_FALSE(BuildBookContent(doc).comparison.has_value());
}

TEST(BookFire, WithoutFireRolesThereIsOneCaseEndingWithTheLoadRate)
{
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"1", std::wstring(kPhaseThree), L"50", L"T1"));
    doc.transformers.Add(Transformer(L"T1"));
    RecalculateDocument(doc);
    const BookContent book = BuildBookContent(doc);
    EXPECT_FALSE(book.fire);
    ASSERT_EQ(book.transformers.size(), 1U);
    const BookTransformer& t = book.transformers[0];
    EXPECT_FALSE(t.fire.has_value());
    EXPECT_TRUE(t.sizing.empty());
    ASSERT_FALSE(t.steps.empty());
    EXPECT_EQ(t.steps.back().label, L"实际负载率");
}

TEST(BookFire, TheFireCaseCountsTheFireOnlyCircuitsLeavesTheShedOnesAndTheLargerS2Governs)
{
    // 50 kW always, 30 kW shed in a fire, 80 kW of fire pumps: the fire
    // case (130 kW) is larger than the normal one (80 kW).
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"1", std::wstring(kPhaseThree), L"50", L"T1"));
    CLoadCalData shed = Circuit(L"2", std::wstring(kPhaseThree), L"30", L"T1");
    shed.m_strFire = std::wstring(kFireShed);
    doc.loads.Add(shed);
    CLoadCalData pump = Circuit(L"3", std::wstring(kPhaseThree), L"80", L"T1");
    pump.m_strFire = std::wstring(kFireOnly);
    doc.loads.Add(pump);
    doc.transformers.Add(Transformer(L"T1"));
    RecalculateDocument(doc);
    const CTransformerCalData& record = doc.transformers[0];
    ASSERT_EQ(record.m_strGoverningCase, kGoverningFire);

    const BookContent book = BuildBookContent(doc);
    ASSERT_TRUE(book.fire);
    const BookTransformer& t = book.transformers[0];
    ASSERT_TRUE(t.fire.has_value());
    EXPECT_EQ(ParseNumber(t.installedSum), 80);
    EXPECT_EQ(ParseNumber(t.fire->installedSum), 130);
    // The fire steps end with the fire fields' own figures.
    bool pc = false;
    for (const BookStep& s : t.fire->steps) {
        pc = pc || s.text.ends_with(L" = " + ShowFigure(FigureKind::Power, record.m_strFireCalcP) +
                                    L" kW");
    }
    EXPECT_TRUE(pc);
    // The sizing names both S2, the capacity and each case's load rate.
    ASSERT_EQ(t.sizing.size(), 5U);
    EXPECT_NE(
        t.sizing[0].text.find(L"max(" + ShowFigure(FigureKind::Power, record.m_strCalcS) + L", " +
                              ShowFigure(FigureKind::Power, record.m_strFireCalcS) + L")"),
        std::wstring::npos);
    EXPECT_NE(t.sizing[1].text.find(L"= " + record.m_strRatedCapacity + L" kV·A"),
              std::wstring::npos);
    EXPECT_EQ(t.sizing[4].label, L"取值工况");
    EXPECT_TRUE(t.sizing[4].text.starts_with(L"火灾：")) << ToUtf8(t.sizing[4].text);
    EXPECT_NE(t.sizing[4].text.find(L"大于"), std::wstring::npos);
    // The load-rate check holds the fire load rate to the same limit.
    const BookCheck& rate = CheckOf(book, L"负载率不高于 85 %", L"T1");
    EXPECT_NE(rate.finding.find(L"火灾负载率"), std::wstring::npos);
}

TEST(BookFire, AFireLoadRateAboveTheLimitNeedsAttention)
{
    // A transformer sized at an expected load rate of 95 %: fire pumps whose
    // fire case lands between 85 % and 95 % of the capacity chosen, while
    // the normal case stays below 85 %.
    for (int pumps = 10; pumps <= 400; ++pumps) {
        CLoadCalDocument doc;
        doc.loads.Add(Circuit(L"1", std::wstring(kPhaseThree), L"50", L"T1"));
        CLoadCalData pump = Circuit(L"2", std::wstring(kPhaseThree), std::to_wstring(pumps), L"T1");
        pump.m_strFire = std::wstring(kFireOnly);
        doc.loads.Add(pump);
        CTransformerCalData t = Transformer(L"T1");
        t.m_strLoadRate = L"0.95";
        doc.transformers.Add(t);
        RecalculateDocument(doc);
        const double fireRate = ParseNumber(doc.transformers[0].m_strFireLoadRate);
        const double normalRate = ParseNumber(doc.transformers[0].m_strActualLoadRate);
        if (fireRate > kLoadRateLimit && normalRate <= kLoadRateLimit) {
            const BookContent book = BuildBookContent(doc);
            const BookCheck& check = CheckOf(book, L"负载率不高于 85 %", L"T1");
            EXPECT_FALSE(check.met) << ToUtf8(check.finding);
            return;
        }
    }
    FAIL() << "no pump power gives a fire load rate above 85 %";
}

namespace {

/// Two transformers sharing a first-class circuit, each with one of its own.
CLoadCalDocument SharedFirstClass()
{
    CLoadCalDocument doc;
    CLoadCalData shared = Circuit(L"1", std::wstring(kPhaseThree), L"60", L"T1,T2");
    shared.m_strLoadClass = L"一级";
    doc.loads.Add(shared);
    doc.loads.Add(Circuit(L"2", std::wstring(kPhaseThree), L"200", L"T1"));
    doc.loads.Add(Circuit(L"3", std::wstring(kPhaseThree), L"100", L"T2"));
    doc.transformers.Add(Transformer(L"T1"));
    doc.transformers.Add(Transformer(L"T2"));
    RecalculateDocument(doc);
    return doc;
}

const std::wstring kContingencyItem = L"N−1：一台变压器停运时其余变压器承担一、二级负荷";

}  // namespace

TEST(BookContingency, EachTransformerSharingFirstClassLoadsShowsItsLoadAgainstItsCapacity)
{
    const CLoadCalDocument doc = SharedFirstClass();
    const BookContent book = BuildBookContent(doc);
    const std::vector<CContingencyLoad> loads = ComputeContingencyLoads(doc);
    ASSERT_EQ(loads.size(), 2U);
    for (const CContingencyLoad& load : loads) {
        const CTransformerCalData& t = doc.transformers[load.transformer];
        const BookCheck& check = CheckOf(book, kContingencyItem, t.m_strName);
        EXPECT_TRUE(check.met) << ToUtf8(check.finding);
        for (const std::wstring& part : {
                 doc.transformers[load.partners.at(0)].m_strName + L" 停运时",
                 std::wstring(L"（1 个回路）"),
                 L"S = " + ShowValue(FigureKind::Power, load.apparent) +
                     L" kV·A，不大于额定容量 Se = " +
                     ShowFigure(FigureKind::Capacity, t.m_strRatedCapacity) + L" kV·A",
                 L"Pc = " + ShowValue(FigureKind::Power, load.normal.active) + L" kW",
             }) {
            EXPECT_NE(check.finding.find(part), std::wstring::npos)
                << ToUtf8(part) << " in " << ToUtf8(check.finding);
        }
    }
}

TEST(BookContingency, ALoadAboveTheCapacityOrNotANumberIsNeverMet)
{
    // A capacity typed below the load (the document as it stands).
    CLoadCalDocument small = SharedFirstClass();
    small.transformers[0].m_strRatedCapacity = L"30";
    const BookContent smallBook = BuildBookContent(small);
    const BookCheck& over = CheckOf(smallBook, kContingencyItem, L"T1");
    EXPECT_FALSE(over.met);
    EXPECT_NE(over.finding.find(L"大于额定容量 Se = 30 kV·A"), std::wstring::npos)
        << ToUtf8(over.finding);

    // A power factor above 1 makes the shared circuit's figures not numbers.
    CLoadCalDocument nan = SharedFirstClass();
    nan.loads[0].m_strPowerFactor = L"1.5";
    RecalculateDocument(nan);
    const std::vector<CContingencyLoad> loads = ComputeContingencyLoads(nan);
    ASSERT_FALSE(loads.empty());
    ASSERT_FALSE(std::isfinite(loads[0].apparent));
    const BookContent book = BuildBookContent(nan);
    for (const wchar_t* name : {L"T1", L"T2"}) {
        const BookCheck& check = CheckOf(book, kContingencyItem, name);
        EXPECT_FALSE(check.met) << ToUtf8(check.finding);
        EXPECT_NE(check.finding.find(L"无法判定"), std::wstring::npos) << ToUtf8(check.finding);
    }
}

TEST(BookContingency, NoTransformerSharingFirstClassLoadsNoCheck)
{
    CLoadCalDocument doc = SharedFirstClass();
    doc.loads[0].m_strLoadClass = L"三级";
    const BookContent book = BuildBookContent(doc);
    for (const BookCheck& c : book.checks) {
        EXPECT_NE(c.item, kContingencyItem);
    }
}

namespace {

CLoadCalData Typed(const std::wstring& no, const std::wstring& type, const std::wstring& quantity)
{
    CLoadCalData c = Circuit(no, std::wstring(kPhaseThree), L"10", L"T1");
    c.m_strLoadType = type;
    c.m_strQuantity = quantity;
    return c;
}

}  // namespace

TEST(BookTypes, TheRowsAreTheLibraryRowsTheCircuitsNameEachOnceWithItsTierAndSource)
{
    const CLoadTypeLibrary user = LoadTypesFromJson(
        R"({ "version": 1, "types": [ { "name": "充电桩", "kx": 0.6, "cos": 0.95 } ] })",
        "user.json", LoadTypeOrigin::UserAdded);
    const CLoadTypeLibrary library = CLoadTypeLibrary::Merge(ShippedLoadTypes(), user);
    CLoadCalDocument doc;
    doc.loads.Add(Typed(L"1", L"电梯", L""));
    doc.loads.Add(Typed(L"2", L"照明插座", L"2000"));
    doc.loads.Add(Circuit(L"3", std::wstring(kPhaseThree), L"10", L"T1"));  // no type
    doc.loads.Add(Typed(L"4", L"照明插座", L"20000"));
    doc.loads.Add(Typed(L"5", L" 电梯", L""));        // the same type, written with a blank
    doc.loads.Add(Typed(L"6", L"照明插座", L"800"));  // the first tier again
    doc.loads.Add(Typed(L"7", L"不存在的类型", L""));
    doc.loads.Add(Typed(L"8", L"充电桩", L""));
    doc.transformers.Add(Transformer(L"T1"));
    FillFromLoadTypes(doc, library);
    RecalculateDocument(doc);

    const BookContent book = BuildBookContent(doc, &library);
    ASSERT_EQ(book.types.size(), 5U);
    const CLoadType& lift = *library.Find(L"电梯");
    EXPECT_EQ(book.types[0].name, L"电梯");
    EXPECT_EQ(book.types[0].circuits, 2);
    EXPECT_EQ(book.types[0].kxRange, L"0.18–0.22");
    EXPECT_EQ(book.types[0].kx, L"0.2");
    EXPECT_EQ(book.types[0].cos, L"0.5（tanφ 1.73）");
    EXPECT_EQ(book.types[0].source, lift.Citation());
    EXPECT_NE(book.types[0].source.find(L"04DX101-1"), std::wstring::npos);
    EXPECT_NE(book.types[0].source.find(L"转引自公开摘录，待核对原文"), std::wstring::npos);
    EXPECT_EQ(book.types[0].origin, L"内置");
    // A tiered type: one row per tier used, the tier's range and Kx.
    EXPECT_EQ(book.types[1].name, L"照明插座");
    EXPECT_NE(book.types[1].scale.find(L"500–3000 m²"), std::wstring::npos);
    EXPECT_EQ(book.types[1].kxRange, L"0.7–0.9");
    EXPECT_EQ(book.types[1].kx, L"0.8");
    EXPECT_EQ(book.types[1].circuits, 2);
    EXPECT_NE(book.types[2].scale.find(L"> 15000 m²"), std::wstring::npos);
    EXPECT_EQ(book.types[2].kx, L"0.5");
    // A name not in the library, and a user type without source.
    EXPECT_EQ(book.types[3].name, L"不存在的类型");
    EXPECT_FALSE(book.types[3].known);
    EXPECT_NE(book.types[3].source.find(L"不在负荷类型库中"), std::wstring::npos);
    EXPECT_EQ(book.types[4].name, L"充电桩");
    EXPECT_EQ(book.types[4].source, L"用户自定义");
    EXPECT_EQ(book.types[4].origin, L"用户");

    // By circuit: the source without the table, none for a circuit without a type.
    ASSERT_EQ(book.typeSources.size(), 8U);
    EXPECT_EQ(book.typeSources[0], lift.source + L"（转引自公开摘录，待核对原文）");
    EXPECT_TRUE(book.typeSources[2].empty());
    EXPECT_EQ(book.typeSources[7], L"用户自定义");
}

TEST(BookTypes, ADocumentWithoutTypesListsNoneAndATypedKxOutsideItsRangeIsAmongTheChecks)
{
    const CLoadTypeLibrary& library = ShippedLoadTypes();
    CLoadCalDocument plain;
    plain.loads.Add(Circuit(L"1", std::wstring(kPhaseThree), L"10", L"T1"));
    plain.transformers.Add(Transformer(L"T1"));
    RecalculateDocument(plain);
    EXPECT_TRUE(BuildBookContent(plain, &library).types.empty());

    CLoadCalDocument doc = plain;
    doc.loads[0].m_strLoadType = L"电梯";
    doc.loads[0].m_strDemandFactor = L"0.9";  // the lift's range is 0.18–0.22
    RecalculateDocument(doc);
    const BookContent book = BuildBookContent(doc, &library);
    ASSERT_EQ(book.types.size(), 1U);
    bool named = false;
    for (const BookCheck& c : book.checks) {
        if (c.item == L"数据检查" && c.finding.find(L"电梯") != std::wstring::npos) {
            named = true;
            EXPECT_FALSE(c.met);
        }
    }
    EXPECT_TRUE(named);
}
