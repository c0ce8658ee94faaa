// The fire condition: the normal figures without the fire-only circuits,
// the fire figures without the shed ones, both through boards and
// transformers, the larger S2 choosing the rated capacity. Hand-worked
// figures follow the method's formulas (the circuit, board and transformer
// arithmetic as the README states it) and are worked in the comments;
// random documents are checked against the straightforward transcription
// in tests/support/ReferenceCalculation.

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "model/Calculation.h"
#include "model/SupplyIndex.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/ReferenceCalculation.h"

using namespace loadcal;

namespace {

CLoadCalData Circuit(const wchar_t* no, const wchar_t* pe, const wchar_t* owner,
                     const wchar_t* fire = L"")
{
    CLoadCalData c;
    c.m_strCircuitNo = no;
    c.m_strPhase = L"L1,L2,L3,N";
    c.m_strRatedPower = pe;
    c.m_strDemandFactor = L"1";
    c.m_strPowerFactor = L"0.8";
    c.m_strVoltage = L"0.38";
    c.m_strTransformer = owner;
    c.m_strFire = fire;
    return c;
}

/// Kp 0.9, Kq 0.95, alpha 0.75, beta 0.8, target 0.92, load rate 0.75: the
/// factors of the bundled example's 1#变压器.
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

/// W1 300 kW normal, W2 200 kW fire-only, W3 150 kW shed in a fire, all
/// three-phase with K 1 and cos 0.8 (Q = 0.75 P), on owner.
CLoadCalDocument ThreeRoles(const wchar_t* owner)
{
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"W1", L"300", owner));
    doc.loads.Add(Circuit(L"W2", L"200", owner, L"消防"));
    doc.loads.Add(Circuit(L"W3", L"150", owner, L"火灾时切除"));
    doc.transformers.Add(Transformer(L"T1"));
    return doc;
}

std::wstring FireFigures(const CTransformerCalData& t)
{
    return t.m_strFireCalcP + L" " + t.m_strFireCosBefore + L" " + t.m_strFireCompCapacity + L" " +
           t.m_strFireCalcQ + L" " + t.m_strFireCalcS + L" " + t.m_strFireCalcI + L" " +
           t.m_strFireLoadRate + L" " + t.m_strGoverningCase;
}

std::wstring NormalFigures(const CTransformerCalData& t)
{
    return t.m_strCalcP + L" " + t.m_strCosBefore + L" " + t.m_strCompCapacity + L" " +
           t.m_strCalcQ + L" " + t.m_strCalcS + L" " + t.m_strCalcI + L" " + t.m_strRatedCapacity +
           L" " + t.m_strActualLoadRate;
}

/// Makes every circuit's fire role empty, and the fire fields empty.
CLoadCalDocument WithoutRoles(CLoadCalDocument doc)
{
    for (auto& c : doc.loads) {
        c.m_strFire.clear();
    }
    return doc;
}

}  // namespace

TEST(Fire, TheFireCaseGovernsATransformerWorkedByHand)
{
    // Normal: W1 + W3, ΣP 450, ΣQ 337.5. Pc = 0.9 x 450 = 405, Qc = 0.95 x
    // 337.5 = 320.625; r = (0.8 x 320.625 / (0.75 x 405))² = 0.713086,
    // cos phi1 = sqrt(1 / 1.713086) = 0.76403; compensation (original form)
    // 405 x (tan phi1 - tan phi2) = 405 x (0.844444 - 0.425998) = 169.471;
    // Q2 = 151.154, S2 = 432.288, I2 = 432.288 / (sqrt 3 x 0.38) = 656.793.
    // Fire: W1 + W2, ΣP 500, ΣQ 375: Pc 450, Qc 356.25, the same cos phi1,
    // compensation 188.301, Q2 167.949, S2 480.32, I2 729.77.
    // The normal case alone would take 432.288 / 0.75 = 576.4 -> 630 kVA;
    // the fire case governs: 480.32 / 0.75 = 640.4 -> 800 kVA. Load rates on
    // 800: 432.288 / 800 = 0.54036 (shown as the actual one), 480.32 / 800 =
    // 0.6004 in a fire.
    CLoadCalDocument doc = ThreeRoles(L"T1");
    RecalculateDocument(doc);
    const CTransformerCalData& t = doc.transformers[0];
    EXPECT_EQ(NormalFigures(t), L"405 0.76403 169.471 151.154 432.288 656.793 800 0.54036");
    EXPECT_EQ(FireFigures(t), L"450 0.76403 188.301 167.949 480.32 729.77 0.6004 火灾");

    // Without the roles every circuit counts: ΣP 650, and no fire figures.
    CLoadCalDocument plain = WithoutRoles(ThreeRoles(L"T1"));
    RecalculateDocument(plain);
    EXPECT_EQ(plain.transformers[0].m_strCalcP, L"585");
    EXPECT_FALSE(plain.transformers[0].HasExtraFields());
}

TEST(Fire, ABoardCarriesBothCasesAndItsTransformerSumsThem)
{
    // AP1 (K∑p 0.9, K∑q 0.95) holds the three circuits. Normal: ΣPe 450,
    // Pjs = 0.9 x 450 = 405, Qjs = 0.95 x 337.5 = 320.625, Sjs 516.551,
    // cos 0.784046, Ijs = 516.551 / (1.732 x 0.38) = 784.842 A. Fire: ΣPe
    // 500, Pjs 450, Qjs 356.25, Sjs 573.946, Ijs 872.046 A; the fire governs.
    CLoadCalDocument doc = ThreeRoles(L"AP1");
    CBoardCalData board;
    board.m_strName = L"AP1";
    board.m_strOwner = L"T1";
    doc.boards.Add(board);
    RecalculateDocument(doc);
    const CBoardCalData& b = doc.boards[0];
    EXPECT_EQ(b.m_strRatedPower + L" " + b.m_strCalcP + L" " + b.m_strCalcQ + L" " + b.m_strCalcS +
                  L" " + b.m_strPowerFactor + L" " + b.m_strCalcI,
              L"450 405 320.625 516.551 0.784046 784.842");
    EXPECT_EQ(b.m_strFireRatedPower + L" " + b.m_strFireCalcP + L" " + b.m_strFireCalcQ + L" " +
                  b.m_strFireCalcS + L" " + b.m_strFirePowerFactor + L" " + b.m_strFireCalcI,
              L"500 450 356.25 573.946 0.784046 872.046");
    EXPECT_EQ(b.m_strGoverningCase, L"火灾");
    // The transformer takes the board's figures of each case: Pc = 0.9 x 405
    // = 364.5 normally, 0.9 x 450 = 405 in a fire.
    EXPECT_EQ(doc.transformers[0].m_strCalcP, L"364.5");
    EXPECT_EQ(doc.transformers[0].m_strFireCalcP, L"405");
}

TEST(Fire, WhenTheShedLoadsOutweighTheFireLoadsTheNormalCaseGoverns)
{
    // Shedding 150 kW while 20 kW of fire load starts: the fire case is the
    // smaller, and the capacity is the one of the normal case alone.
    CLoadCalDocument doc = ThreeRoles(L"T1");
    doc.loads[1].m_strRatedPower = L"20";
    RecalculateDocument(doc);
    CLoadCalDocument normalOnly = doc;
    normalOnly.loads.RemoveAt(1);  // the fire-only circuit does not run normally
    normalOnly.loads[1].m_strFire.clear();
    RecalculateDocument(normalOnly);
    EXPECT_EQ(doc.transformers[0].m_strGoverningCase, L"正常");
    EXPECT_EQ(NormalFigures(doc.transformers[0]), NormalFigures(normalOnly.transformers[0]));
    // 300 + 20 kW in a fire: Pc = 288.
    EXPECT_EQ(doc.transformers[0].m_strFireCalcP, L"288");
}

TEST(Fire, OnlyTheTwoRoleTextsAreRoles)
{
    // A text that is none of the three (a blank too many, another word)
    // counts in both cases, as an empty one, and gives no fire case;
    // CheckLoadTypes names it.
    CLoadCalDocument doc = ThreeRoles(L"T1");
    doc.loads[1].m_strFire = L" 消防";
    doc.loads[2].m_strFire = L"切除";
    EXPECT_FALSE(HasFireRoles(doc));
    RecalculateDocument(doc);
    EXPECT_EQ(doc.transformers[0].m_strCalcP, L"585");
    EXPECT_FALSE(doc.transformers[0].HasExtraFields());
}

TEST(Fire, FiguresOfAFireCaseThatIsGoneAreEmptied)
{
    CLoadCalDocument doc = ThreeRoles(L"AP1");
    CBoardCalData board;
    board.m_strName = L"AP1";
    board.m_strOwner = L"T1";
    doc.boards.Add(board);
    RecalculateDocument(doc);
    ASSERT_TRUE(doc.transformers[0].HasExtraFields());
    ASSERT_TRUE(doc.boards[0].HasExtraFields());
    doc = WithoutRoles(doc);
    RecalculateDocument(doc);
    EXPECT_FALSE(doc.transformers[0].HasExtraFields());
    EXPECT_FALSE(doc.boards[0].HasExtraFields());
}

TEST(Fire, ACaseThatIsNotANumberLeavesNoCapacity)
{
    // A fire-only circuit with cos phi above 1 has no reactive power that is
    // a number; the fire case cannot say what it needs, so no capacity is
    // chosen (0, as the original does for a figure that is not a number),
    // rather than the normal case's alone.
    CLoadCalDocument doc = ThreeRoles(L"T1");
    doc.loads[1].m_strPowerFactor = L"1.2";
    RecalculateDocument(doc);
    EXPECT_EQ(doc.transformers[0].m_strRatedCapacity, L"0");
    EXPECT_EQ(doc.transformers[0].m_strActualLoadRate, L"0");
}

TEST(Fire, WholeDocumentsMatchTheStraightforwardTranscription)
{
    std::mt19937 rng(17);
    for (int round = 0; round < 80; ++round) {
        testsupport::RandomBoardOptions opt;
        opt.circuits = 1 + static_cast<int>(rng() % 250);
        opt.transformers = 1 + static_cast<int>(rng() % 5);
        opt.boards = static_cast<int>(rng() % 40);
        opt.levels = 1 + static_cast<int>(rng() % 5);
        opt.quirkShare = (round % 4) * 0.1;
        opt.rules = round % 2 == 0 ? CalcRules::Original : CalcRules::GB51348_2019;
        opt.fireShare = 0.05 + 0.1 * (round % 5);
        CLoadCalDocument doc;
        testsupport::MakeRandomBoardDocument(rng, opt, doc);

        CLoadCalDocument expected = doc;
        const SummaryTotals expectedTotals = reference::RecalculateDocument(expected);
        const SummaryTotals totals = RecalculateDocument(doc);
        ASSERT_EQ(doc.loads, expected.loads) << "round " << round;
        for (int b = 0; b < doc.boards.GetSize(); ++b) {
            ASSERT_EQ(doc.boards[b], expected.boards[b]) << "round " << round << " board " << b;
        }
        for (int t = 0; t < doc.transformers.GetSize(); ++t) {
            ASSERT_EQ(doc.transformers[t], expected.transformers[t])
                << "round " << round << " transformer " << t;
        }
        // The totals count every circuit, whatever its role.
        ASSERT_EQ(totals, expectedTotals) << "round " << round;
        CLoadCalDocument plain = WithoutRoles(doc);
        ASSERT_EQ(totals, RecalculateDocument(plain)) << "round " << round;
    }
}

// Invariants that hold whatever the figures: the governing case is the one
// with the larger S2, the capacity carries it at the expected load rate, and
// the case whose circuits are a subset has no more installed power.
TEST(Fire, TheCapacityCarriesTheLargerCase)
{
    std::mt19937 rng(1717);
    for (int round = 0; round < 40; ++round) {
        testsupport::RandomBoardOptions opt;
        opt.circuits = 50 + static_cast<int>(rng() % 150);
        opt.boards = static_cast<int>(rng() % 20);
        opt.quirkShare = 0;
        opt.fireShare = 0.3;
        opt.rules = round % 2 == 0 ? CalcRules::Original : CalcRules::GB51348_2019;
        CLoadCalDocument doc;
        testsupport::MakeRandomBoardDocument(rng, opt, doc);
        RecalculateDocument(doc);
        for (const CTransformerCalData& t : doc.transformers) {
            const double normal = std::stod(t.m_strCalcS);
            const double fire = std::stod(t.m_strFireCalcS);
            const double capacity = std::stod(t.m_strRatedCapacity);
            const double rate = std::stod(t.m_strLoadRate);
            EXPECT_EQ(t.m_strGoverningCase, fire > normal ? L"火灾" : L"正常");
            if (capacity > 0) {
                EXPECT_LT(std::max(normal, fire) / rate, capacity * (1 + 1e-6)) << round;
            }
        }
    }
}

// One edit at a time through the index kept between edits, fire roles
// included, must leave the document as a whole recalculation does; a
// change that gives the document its first role or takes its last one is
// refused, so that the index is built again.
TEST(Fire, ChainUpdatesEqualAWholeRecalculation)
{
    std::mt19937 rng(1799);
    const wchar_t* figures[] = {L"", L"7", L"12.5", L"abc", L"0.85", L"-3", L"1e3"};
    const wchar_t* roles[] = {L"", L"消防", L"火灾时切除", L"消防 "};
    for (int round = 0; round < 40; ++round) {
        testsupport::RandomBoardOptions opt;
        opt.circuits = 2 + static_cast<int>(rng() % 200);
        opt.transformers = 1 + static_cast<int>(rng() % 4);
        opt.boards = 1 + static_cast<int>(rng() % 30);
        opt.levels = 1 + static_cast<int>(rng() % 5);
        opt.quirkShare = 0.3;
        opt.fireShare = 0.3;
        opt.rules = round % 2 == 0 ? CalcRules::Original : CalcRules::GB51348_2019;
        CLoadCalDocument doc;
        testsupport::MakeRandomBoardDocument(rng, opt, doc);
        // Two roles that stay, so that no edit below takes the last one.
        doc.loads[0].m_strFire = L"消防";
        doc.loads[1].m_strFire = L"火灾时切除";
        RecalculateDocument(doc);
        CSupplyIndex index(doc);
        ASSERT_TRUE(index.HasFireCase());
        for (int change = 0; change < 40; ++change) {
            std::optional<SupplyChange> done;
            switch (rng() % 4) {
                case 0:
                case 1: {
                    const int i = 2 + static_cast<int>(
                                          rng() % static_cast<unsigned>(doc.loads.GetSize() - 2));
                    CLoadCalData& c = doc.loads[i];
                    if (rng() % 2 == 0) {
                        c.m_strFire = roles[rng() % 4];
                    } else {
                        c.m_strRatedPower = figures[rng() % 7];
                    }
                    RecalculateCircuit(c, doc.rules);
                    done = index.UpdateCircuit(doc, i);
                    break;
                }
                case 2: {
                    const int b =
                        static_cast<int>(rng() % static_cast<unsigned>(doc.boards.GetSize()));
                    doc.boards[b].m_strKq = figures[rng() % 7];
                    done = index.UpdateBoard(doc, b);
                    break;
                }
                default: {
                    const int t =
                        static_cast<int>(rng() % static_cast<unsigned>(doc.transformers.GetSize()));
                    doc.transformers[t].m_strLoadRate = figures[rng() % 7];
                    done = index.UpdateTransformer(doc, t);
                    break;
                }
            }
            ASSERT_TRUE(done.has_value());
        }
        CLoadCalDocument whole = doc;
        CSupplyIndex fresh(whole);
        fresh.RecalculateGroups(whole);
        ASSERT_EQ(doc, whole) << "round " << round;

        // Taking the last roles away, or giving a document without roles its
        // first, changes the passes: refused, and the rebuilt index agrees.
        doc.loads[0].m_strFire.clear();
        ASSERT_TRUE(index.UpdateCircuit(doc, 0).has_value() == HasFireRoles(doc));
    }

    CLoadCalDocument doc = WithoutRoles(ThreeRoles(L"T1"));
    RecalculateDocument(doc);
    CSupplyIndex index(doc);
    EXPECT_FALSE(index.HasFireCase());
    doc.loads[1].m_strFire = L"消防";
    EXPECT_FALSE(index.UpdateCircuit(doc, 1).has_value());
    CSupplyIndex rebuilt(doc);
    rebuilt.RecalculateGroups(doc);
    EXPECT_EQ(doc.transformers[0].m_strGoverningCase, L"火灾");
    doc.loads[1].m_strFire.clear();
    EXPECT_FALSE(rebuilt.UpdateCircuit(doc, 1).has_value());
}

TEST(Fire, TheFireGroupSumsAreThoseOfTheFireCircuits)
{
    CLoadCalDocument doc = ThreeRoles(L"T1");
    for (auto& c : doc.loads) {
        RecalculateCircuit(c, doc.rules);
    }
    CSupplyIndex computed(doc);
    computed.RecalculateGroups(doc);
    EXPECT_EQ(computed.TransformerGroupSum(0, SumField::Active), L"450");
    EXPECT_EQ(computed.TransformerFireGroupSum(0, SumField::Active), L"500");
    EXPECT_EQ(computed.TransformerFireGroupSum(0, SumField::Installed), L"500");
    CLoadCalDocument plain = WithoutRoles(doc);
    CSupplyIndex none(plain);
    none.RecalculateGroups(plain);
    EXPECT_EQ(none.TransformerFireGroupSum(0, SumField::Active), L"");
}
