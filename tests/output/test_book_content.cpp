// What the calculation book says about a document: the reviewer's checks at
// and around their limits, and the figures each transformer's steps show.

#include <gtest/gtest.h>

#include "model/Calculation.h"
#include "model/Numeric.h"
#include "model/Text.h"
#include "output/Figures.h"
#include "output/report/BookContent.h"

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
