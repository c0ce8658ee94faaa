// Distribution boards: a board's figures from its members, boards inside
// boards, dual feeds, cycles, deep chains and the GB 51348-2019 rule set.
// Reference figures are worked by hand in the comments beside them; the
// bundled example's figures under GB 51348-2019 are the ones a reviewer
// gets by the standard's method (single-phase total against three-phase
// total, alpha x Pc x (tan phi1 - tan phi2)).

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <tuple>

#include "model/BoardGraph.h"
#include "model/Calculation.h"
#include "model/Numeric.h"
#include "model/SupplyIndex.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/ReferenceCalculation.h"

using namespace loadcal;

namespace {

CLoadCalData Circuit(const wchar_t* phase, const wchar_t* pe, const wchar_t* k, const wchar_t* cos,
                     const wchar_t* owner)
{
    CLoadCalData c;
    c.m_strCircuitNo = std::wstring(L"W") + owner;
    c.m_strPhase = phase;
    c.m_strRatedPower = pe;
    c.m_strDemandFactor = k;
    c.m_strPowerFactor = cos;
    c.m_strVoltage = std::wstring(phase) == L"L1,L2,L3,N" ? L"0.38" : L"0.22";
    c.m_strTransformer = owner;
    return c;
}

CBoardCalData Board(const wchar_t* name, const wchar_t* owner, const wchar_t* phase = L"L1,L2,L3,N",
                    const wchar_t* kp = L"0.9", const wchar_t* kq = L"0.95")
{
    CBoardCalData b;
    b.m_strName = name;
    b.m_strOwner = owner;
    b.m_strPhase = phase;
    b.m_strKp = kp;
    b.m_strKq = kq;
    return b;
}

CTransformerCalData Transformer(const wchar_t* name)
{
    CTransformerCalData t;
    t.m_strName = name;
    return t;
}

/// AP1 under T1 with two three-phase circuits (Pe 10 kW, K 0.8, cos 0.8 and
/// Pe 20 kW, K 1, cos 0.8) and the single-phase board AP2 (K∑ 1) under it
/// with one lighting circuit (L1: Pe 2 kW, K 1, cos 0.9).
CLoadCalDocument TwoLevels()
{
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"10", L"0.8", L"0.8", L"AP1"));
    doc.loads.Add(Circuit(L"L1,N", L"2", L"1", L"0.9", L"ap2"));
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"20", L"1", L"0.8", L"AP1"));
    doc.boards.Add(Board(L"AP1", L"T1"));
    doc.boards.Add(Board(L"AP2", L"AP1", L"L1,N", L"1", L"1"));
    doc.transformers.Add(Transformer(L"T1"));
    return doc;
}

std::wstring Figures(const CBoardCalData& b)
{
    return b.m_strRatedPower + L" " + b.m_strCalcP + L" " + b.m_strCalcQ + L" " + b.m_strCalcS +
           L" " + b.m_strPowerFactor + L" " + b.m_strCalcI;
}

}  // namespace

TEST(Boards, ABoardOfThreePhaseCircuitsWorkedByHand)
{
    // Circuits: 8 kW / 6 kVar and 20 kW / 15 kVar. ΣPe 30, ΣP 28, ΣQ 21.
    // Pjs = 0.9 x 28 = 25.2, Qjs = 0.95 x 21 = 19.95, Sjs = sqrt(25.2² + 19.95²)
    // = 32.141, cos = 25.2 / 32.141 = 0.784046, Ijs = 32.141 / (1.732 x 0.38)
    // = 48.8346 A.
    CLoadCalDocument doc = TwoLevels();
    doc.loads.RemoveAt(1);
    doc.boards.RemoveAt(1);
    RecalculateDocument(doc);
    EXPECT_EQ(Figures(doc.boards[0]), L"30 25.2 19.95 32.141 0.784046 48.8346");
    // The transformer takes the board as a three-phase member: ΣP 25.2 -> Pc 22.68.
    EXPECT_EQ(doc.transformers[0].m_strCalcP, L"22.68");
}

TEST(Boards, ASinglePhaseBoardCountsWithItsPhaseAndCurrentInItsOwner)
{
    // AP2: 2 kW, Q = 2 x sqrt(1 - 0.81) / 0.9 = 0.968644 kVar, S 2.22222,
    // I = 2.22222 / 0.22 = 10.101 A on L1. A single-phase board feeds one
    // phase: its members add as they are (no 3 x the largest phase).
    // AP1 under the original rules: L1 carries 10.101 A, L2 and L3 nothing,
    // so the phases are unbalanced: ΣPe = 3 x 2 + 30 = 36, ΣP = 3 x 2 + 28 = 34,
    // ΣQ = 3 x 0.968644 + 21 = 23.9059; Pjs = 0.9 x 34 = 30.6,
    // Qjs = 0.95 x 23.9059 = 22.7106, Sjs 38.1068, cos 0.803005,
    // Ijs = 38.1068 / (1.732 x 0.38) = 57.8991 A.
    CLoadCalDocument doc = TwoLevels();
    RecalculateDocument(doc);
    EXPECT_EQ(Figures(doc.boards[1]), L"2 2 0.968644 2.22222 0.9 10.101");
    EXPECT_EQ(Figures(doc.boards[0]), L"36 30.6 22.7106 38.1068 0.803005 57.8991");

    // Under GB 51348-2019 the single-phase 2 kW is below 15 % of the
    // three-phase 28 kW, so everything adds as it is: ΣPe 32, ΣP 30,
    // ΣQ 21.9686; Pjs 27, Qjs 20.8702, Sjs 34.1257, cos 0.791192,
    // Ijs = 34.1257 / (sqrt 3 x 0.38) = 51.8487 A. The circuit currents take
    // sqrt 3 as well: 8 / (sqrt 3 x 0.38 x 0.8) = 15.1934 A, not 15.1939.
    doc = TwoLevels();
    doc.rules = CalcRules::GB51348_2019;
    RecalculateDocument(doc);
    EXPECT_EQ(doc.loads[0].m_strCalcI, L"15.1934");
    EXPECT_EQ(Figures(doc.boards[0]), L"32 27 20.8702 34.1257 0.791192 51.8487");
}

TEST(Boards, ABoardWithoutMembersIsZeroAndAnUnnamedBoardHasNone)
{
    CLoadCalDocument doc;
    doc.boards.Add(Board(L"AP9", L"T1"));
    doc.boards.Add(Board(L"", L"T1"));
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"10", L"1", L"0.8", L""));  // owner empty
    doc.transformers.Add(Transformer(L"T1"));
    RecalculateDocument(doc);
    EXPECT_EQ(Figures(doc.boards[0]), L"0 0 0 0 0 0");
    EXPECT_EQ(Figures(doc.boards[1]), L"0 0 0 0 0 0");  // the unowned circuit is not its member
    EXPECT_EQ(doc.transformers[0].m_strCalcP, L"0");
}

TEST(Boards, ADualFedBoardCountsUnderEachOwnerAndOnceInEach)
{
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"10", L"1", L"0.8", L"AP1"));
    doc.boards.Add(Board(L"AP1", L"T1,t2,T1", L"L1,L2,L3,N", L"1", L"1"));
    doc.transformers.Add(Transformer(L"T1"));
    doc.transformers.Add(Transformer(L"T2"));
    RecalculateDocument(doc);
    EXPECT_EQ(doc.transformers[0].m_strCalcP, L"9");  // 0.9 x 10, the board once
    EXPECT_EQ(doc.transformers[1].m_strCalcP, L"9");
}

TEST(Boards, CircuitsAndBoardsAddAlikeUnderATransformer)
{
    // T1 holds circuit 10 kW (K 1) directly and AP1 (K∑p 1) with 20 kW: ΣP 30, Pc 27.
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"10", L"1", L"0.8", L"T1"));
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"20", L"1", L"0.8", L"AP1"));
    doc.boards.Add(Board(L"AP1", L"T1", L"L1,L2,L3,N", L"1", L"1"));
    doc.transformers.Add(Transformer(L"T1"));
    RecalculateDocument(doc);
    EXPECT_EQ(doc.transformers[0].m_strCalcP, L"27");
    // The totals stay those of the circuits: 30 kW, whatever the boards.
    EXPECT_EQ(ComputeTotals(doc).active, L"30");
}

TEST(Boards, ABoardOnACycleHasNoFiguresAndABoardAboveOneCountsTheRest)
{
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"10", L"1", L"0.8", L"AP2"));
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"20", L"1", L"0.8", L"AP1"));
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"5", L"1", L"0.8", L"AP4"));
    doc.boards.Add(Board(L"AP1", L"T1", L"L1,L2,L3,N", L"1", L"1"));
    doc.boards.Add(Board(L"AP2", L"AP1,AP3"));  // AP2 <-> AP3, and AP2 under AP1
    doc.boards.Add(Board(L"AP3", L"AP2"));
    doc.boards.Add(Board(L"AP4", L"ap4"));  // owns itself
    doc.transformers.Add(Transformer(L"T1"));
    doc.boards[1].m_strCalcP = L"stale";
    RecalculateDocument(doc);
    EXPECT_EQ(doc.boards[1].m_strCalcP, L"");
    EXPECT_EQ(doc.boards[2].m_strCalcS, L"");
    EXPECT_EQ(doc.boards[3].m_strRatedPower, L"");
    EXPECT_EQ(doc.boards[0].m_strCalcP, L"20");  // its own circuit only
    EXPECT_EQ(doc.transformers[0].m_strCalcP, L"18");

    const CBoardGraph graph(doc.boards);
    EXPECT_FALSE(graph.OnCycle(0));
    EXPECT_TRUE(graph.OnCycle(1));
    EXPECT_TRUE(graph.OnCycle(3));
    EXPECT_EQ(graph.CycleThrough(3), std::vector<int>{3});
    EXPECT_EQ(graph.CycleThrough(2), (std::vector<int>{2, 1}));
    EXPECT_EQ(FindBoardCycle(doc.boards), (std::vector<int>{1, 2}));
    EXPECT_EQ(CycleText(BoardNames(doc.boards, {1, 2})), L"AP2 → AP3 → AP2");
}

TEST(Boards, AmbiguousAndCommaNamesCountWhereverTheyMatch)
{
    // Names should be unique across boards and transformers and hold no ","
    // (the warnings say so); until they are, a piece counts in everything it
    // names, and a name with "," is named by nothing.
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"10", L"1", L"0.8", L"X"));
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"20", L"1", L"0.8", L"A,B"));
    doc.boards.Add(Board(L"x", L"T2", L"L1,L2,L3,N", L"1", L"1"));
    doc.boards.Add(Board(L"X", L"T2", L"L1,L2,L3,N", L"1", L"1"));
    doc.boards.Add(Board(L"A,B", L"T2", L"L1,L2,L3,N", L"1", L"1"));
    doc.transformers.Add(Transformer(L"X"));
    doc.transformers.Add(Transformer(L"T2"));
    RecalculateDocument(doc);
    EXPECT_EQ(doc.boards[0].m_strCalcP, L"10");
    EXPECT_EQ(doc.boards[1].m_strCalcP, L"10");
    EXPECT_EQ(doc.boards[2].m_strCalcP, L"0");
    EXPECT_EQ(doc.transformers[0].m_strCalcP, L"9");   // the circuit, directly
    EXPECT_EQ(doc.transformers[1].m_strCalcP, L"18");  // both boards named X
}

TEST(Boards, DiamondsAndDualFeedsAreNoCycle)
{
    CBoardArray boards;
    boards.Add(Board(L"A", L"T1"));
    boards.Add(Board(L"B", L"A"));
    boards.Add(Board(L"C", L"A,T2"));
    boards.Add(Board(L"D", L"B,C,b"));
    const CBoardGraph graph(boards);
    EXPECT_FALSE(graph.HasCycle());
    EXPECT_TRUE(FindBoardCycle(boards).empty());
    // Bottom-up: every board after its members.
    for (int b = 0; b < 4; ++b) {
        for (int owner : graph.OwnersOf(b)) {
            EXPECT_LT(graph.Position(b), graph.Position(owner));
        }
    }
    EXPECT_EQ(graph.OwnersOf(3), (std::vector<int>{1, 2}));  // B once, though named twice
}

TEST(Boards, AnOwnerOrNameChangeThatClosesACycleIsFoundBeforeItIsMade)
{
    CBoardArray boards;
    boards.Add(Board(L"AP1", L"T1"));
    boards.Add(Board(L"AP2", L"AP1"));
    boards.Add(Board(L"AP3", L"AP2"));
    boards.Add(Board(L"AP4", L"XX"));  // names nothing yet

    CBoardCalData proposed = boards[0];
    proposed.m_strOwner = L"T1,ap3";
    EXPECT_EQ(CycleIfBoardChanged(boards, 0, proposed),
              (std::vector<std::wstring>{L"AP1", L"AP3", L"AP2"}));
    proposed.m_strOwner = L"AP1";
    EXPECT_EQ(CycleIfBoardChanged(boards, 0, proposed), std::vector<std::wstring>{L"AP1"});
    proposed.m_strOwner = L"T2";
    EXPECT_TRUE(CycleIfBoardChanged(boards, 0, proposed).empty());

    // Renaming AP1 to XX makes AP4 a member of it; AP1 under AP4 would close one.
    boards[0].m_strOwner = L"AP4";
    proposed = boards[0];
    proposed.m_strName = L"xx";
    EXPECT_EQ(CycleIfBoardChanged(boards, 0, proposed), (std::vector<std::wstring>{L"xx", L"AP4"}));
    // A new board named XX owned by AP3 closes AP4 -> XX -> AP3 -> AP2 -> AP1 -> AP4.
    CBoardCalData added = Board(L"XX", L"AP3");
    EXPECT_EQ(CycleIfBoardChanged(boards, 4, added),
              (std::vector<std::wstring>{L"XX", L"AP3", L"AP2", L"AP1", L"AP4"}));
    EXPECT_THROW(CycleIfBoardChanged(boards, 6, added), CInvalidArgException);
    EXPECT_EQ(CycleText({L"a", L"b", L"c"}, 2), L"a → b → …");
}

TEST(Boards, TenThousandBoardsInOneChainNeitherOverflowNorLoseAFigure)
{
    // AP1 under T1, AP(k+1) under APk, one 10 kW circuit at the bottom; with
    // K∑ = 1 every board carries exactly the circuit's figures. Listed from
    // the bottom up, then from the top down.
    constexpr int kDepth = 10000;
    for (bool bottomFirst : {true, false}) {
        CLoadCalDocument doc;
        for (int k = 1; k <= kDepth; ++k) {
            const int i = bottomFirst ? kDepth + 1 - k : k;
            const std::wstring owner = i == 1 ? L"T1" : L"AP" + std::to_wstring(i - 1);
            doc.boards.Add(Board((L"AP" + std::to_wstring(i)).c_str(), owner.c_str(), L"L1,L2,L3,N",
                                 L"1", L"1"));
        }
        doc.loads.Add(
            Circuit(L"L1,L2,L3,N", L"10", L"1", L"0.8", (L"AP" + std::to_wstring(kDepth)).c_str()));
        doc.transformers.Add(Transformer(L"T1"));
        RecalculateDocument(doc);
        for (const CBoardCalData& b : doc.boards) {
            ASSERT_EQ(Figures(b), L"10 10 7.5 12.5 0.8 18.9923") << b.m_strName;
        }
        EXPECT_EQ(doc.transformers[0].m_strCalcP, L"9");
        EXPECT_TRUE(FindBoardCycle(doc.boards).empty());

        // Closing the chain into a ring of 10,000 is found and named.
        CBoardCalData top = doc.boards[bottomFirst ? kDepth - 1 : 0];
        top.m_strOwner = L"AP" + std::to_wstring(kDepth);
        const auto cycle = CycleIfBoardChanged(doc.boards, bottomFirst ? kDepth - 1 : 0, top);
        ASSERT_EQ(cycle.size(), static_cast<size_t>(kDepth));
        EXPECT_EQ(cycle.front(), L"AP1");
        EXPECT_EQ(cycle.back(), L"AP2");
    }
}

TEST(Boards, WholeDocumentsMatchTheStraightforwardTranscription)
{
    std::mt19937 rng(16);
    for (int round = 0; round < 80; ++round) {
        testsupport::RandomBoardOptions opt;
        opt.circuits = 1 + static_cast<int>(rng() % 250);
        opt.transformers = 1 + static_cast<int>(rng() % 5);
        opt.boards = static_cast<int>(rng() % 40);
        opt.levels = 1 + static_cast<int>(rng() % 5);
        opt.quirkShare = (round % 4) * 0.1;
        opt.rules = round % 2 == 0 ? CalcRules::Original : CalcRules::GB51348_2019;
        CLoadCalDocument doc;
        testsupport::MakeRandomBoardDocument(rng, opt, doc);

        CLoadCalDocument expected = doc;
        const SummaryTotals expectedTotals = reference::RecalculateDocument(expected);
        const SummaryTotals totals = RecalculateDocument(doc);
        ASSERT_EQ(doc.loads, expected.loads) << "round " << round;
        for (int b = 0; b < doc.boards.GetSize(); ++b) {
            ASSERT_EQ(doc.boards[b], expected.boards[b]) << "round " << round << " board " << b;
        }
        ASSERT_EQ(doc.transformers, expected.transformers) << "round " << round;
        ASSERT_EQ(totals, expectedTotals) << "round " << round;
        ASSERT_EQ(ComputeTotals(doc), totals);
    }
}

TEST(Boards, WithoutBoardsAndUnderTheOriginalRulesTheDocumentComputesAsBefore)
{
    std::mt19937 rng(5);
    for (int round = 0; round < 30; ++round) {
        testsupport::RandomDocumentOptions opt;
        opt.circuits = 1 + static_cast<int>(rng() % 300);
        opt.transformers = static_cast<int>(rng() % 8);
        opt.quirkShare = (round % 3) * 0.2;
        CLoadCalDocument doc;
        testsupport::MakeRandomDocument(rng, opt, doc.loads, doc.transformers);
        CLoadArray loads = doc.loads;
        CTransformerArray transformers = doc.transformers;
        const SummaryTotals before = reference::RecalculateDocument(loads, transformers);
        const SummaryTotals now = RecalculateDocument(doc);
        ASSERT_EQ(doc.loads, loads);
        ASSERT_EQ(doc.transformers, transformers);
        ASSERT_EQ(now, before);
    }
}

// One edit at a time, through the index kept between edits, must leave the
// document exactly as a whole recalculation after the same edits.
TEST(Boards, ChainUpdatesEqualAWholeRecalculation)
{
    std::mt19937 rng(99);
    const wchar_t* figures[] = {L"", L"7", L"12.5", L"abc", L"0.85", L"-3", L"1e3"};
    const wchar_t* phases[] = {L"L1,N", L"L2,N", L"L3,N", L"L1,L2,L3,N", L"l1,n", L""};
    for (int round = 0; round < 40; ++round) {
        testsupport::RandomBoardOptions opt;
        opt.circuits = 1 + static_cast<int>(rng() % 200);
        opt.transformers = 1 + static_cast<int>(rng() % 4);
        opt.boards = 1 + static_cast<int>(rng() % 30);
        opt.levels = 1 + static_cast<int>(rng() % 5);
        opt.quirkShare = 0.3;
        opt.rules = round % 2 == 0 ? CalcRules::Original : CalcRules::GB51348_2019;
        CLoadCalDocument doc;
        testsupport::MakeRandomBoardDocument(rng, opt, doc);
        if (round % 5 == 4) {
            doc.boards[0].m_strOwner = doc.boards[0].m_strName;  // a cycle in the tree
        }
        RecalculateDocument(doc);
        CSupplyIndex index(doc);
        index.Totals();  // from here on the totals' parts are kept and brought up to date
        for (int change = 0; change < 40; ++change) {
            std::optional<SupplyChange> done;
            switch (rng() % 4) {
                case 0:
                case 1: {
                    const int i =
                        static_cast<int>(rng() % static_cast<unsigned>(doc.loads.GetSize()));
                    CLoadCalData& c = doc.loads[i];
                    (rng() % 2 == 0 ? c.m_strRatedPower : c.m_strPhase) =
                        rng() % 2 == 0 ? figures[rng() % 7] : phases[rng() % 6];
                    RecalculateCircuit(c, doc.rules);
                    done = index.UpdateCircuit(doc, i);
                    break;
                }
                case 2: {
                    const int b =
                        static_cast<int>(rng() % static_cast<unsigned>(doc.boards.GetSize()));
                    CBoardCalData& board = doc.boards[b];
                    (rng() % 2 == 0 ? board.m_strKp : board.m_strPhase) =
                        rng() % 2 == 0 ? figures[rng() % 7] : phases[rng() % 6];
                    done = index.UpdateBoard(doc, b);
                    break;
                }
                default: {
                    const int t =
                        static_cast<int>(rng() % static_cast<unsigned>(doc.transformers.GetSize()));
                    doc.transformers[t].m_strKq = figures[rng() % 7];
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
        ASSERT_EQ(index.Totals(), fresh.Totals());
        ASSERT_EQ(index.Totals(), ComputeTotals(doc));

        // Structure changes are refused: the index must be built again.
        doc.loads[0].m_strTransformer += L",X";
        EXPECT_FALSE(index.UpdateCircuit(doc, 0).has_value());
        doc.boards[0].m_strName += L"X";
        EXPECT_FALSE(index.UpdateBoard(doc, 0).has_value());
        doc.transformers[0].m_strName += L"X";
        EXPECT_FALSE(index.UpdateTransformer(doc, 0).has_value());
        EXPECT_FALSE(index.UpdateCircuit(doc, doc.loads.GetSize()).has_value());
    }
}

// A pass under a circuit filter gives the boards and transformers of the
// document without the circuits it leaves out, also through chain updates
// that move a circuit in or out.
TEST(Boards, AFilteredPassCountsOnlyTheCircuitsItLetsThrough)
{
    const auto counted = [](const CLoadCalData& c) {
        return c.m_strEquipNo != L"out";
    };
    std::mt19937 rng(31);
    for (int round = 0; round < 20; ++round) {
        testsupport::RandomBoardOptions opt;
        opt.circuits = 1 + static_cast<int>(rng() % 150);
        opt.boards = static_cast<int>(rng() % 25);
        opt.quirkShare = 0.2;
        opt.rules = round % 2 == 0 ? CalcRules::Original : CalcRules::GB51348_2019;
        CLoadCalDocument doc;
        testsupport::MakeRandomBoardDocument(rng, opt, doc);
        for (auto& c : doc.loads) {
            c.m_strEquipNo = rng() % 3 == 0 ? L"out" : L"";
            RecalculateCircuit(c, doc.rules);
        }
        CSupplyIndex filtered(doc, counted);
        filtered.RecalculateGroups(doc);
        for (int change = 0; change < 10; ++change) {
            const int i = static_cast<int>(rng() % static_cast<unsigned>(doc.loads.GetSize()));
            doc.loads[i].m_strEquipNo = doc.loads[i].m_strEquipNo.empty() ? L"out" : L"";
            ASSERT_TRUE(filtered.UpdateCircuit(doc, i));
        }

        CLoadCalDocument without = doc;
        without.loads.RemoveAll();
        for (const auto& c : doc.loads) {
            if (counted(c)) {
                without.loads.Add(c);
            }
        }
        CSupplyIndex plain(without);
        plain.RecalculateGroups(without);
        ASSERT_EQ(doc.boards, without.boards) << "round " << round;
        ASSERT_EQ(doc.transformers, without.transformers) << "round " << round;
    }
}

TEST(Boards, AChainUpdateRewritesOnlyTheCircuitsChain)
{
    // T1 <- AP1 <- AP2 <- circuit 0; T2 <- AP3 <- circuit 1.
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"10", L"1", L"0.8", L"AP2"));
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"10", L"1", L"0.8", L"AP3"));
    doc.boards.Add(Board(L"AP1", L"T1"));
    doc.boards.Add(Board(L"AP3", L"T2"));
    doc.boards.Add(Board(L"AP2", L"AP1"));
    doc.transformers.Add(Transformer(L"T1"));
    doc.transformers.Add(Transformer(L"T2"));
    RecalculateDocument(doc);
    CSupplyIndex index(doc);
    doc.loads[0].m_strRatedPower = L"20";
    RecalculateCircuit(doc.loads[0], doc.rules);
    const auto change = index.UpdateCircuit(doc, 0);
    ASSERT_TRUE(change);
    EXPECT_EQ(change->boards, (std::vector<int>{2, 0}));  // AP2, then AP1
    EXPECT_EQ(change->transformers, std::vector<int>{0});
    EXPECT_EQ(doc.boards[0].m_strCalcP, L"16.2");  // 0.9 x 0.9 x 20
    EXPECT_EQ(doc.transformers[0].m_strCalcP, L"14.58");
}

TEST(Rules, TheBundledBuildingUnderGB51348)
{
    // The office building's circuits as the bundled example holds them,
    // reduced to what 1#变压器 sums: single-phase 44.275 kW (lighting
    // 6.8 + 6.8 + 6.8 + 6.375, sockets 3 + 3, emergency lighting 3 + 3 + 3
    // + 2.5) against three-phase 629 kW. 44.275 / 629 = 7 %, below 15 %, so
    // ΣPjs = 673.275 kW (not the 685.025 of the original rule); Pc = 0.9 x
    // 673.275 = 605.9475, written 605.947 (the double lies just below the
    // half); the compensation on the average load alpha x Pc x
    // (tan phi1 - tan phi2) with alpha 0.75 is 156.055 kvar.
    CLoadCalDocument doc;
    const struct {
        const wchar_t* phase;
        const wchar_t* pe;
        const wchar_t* k;
        const wchar_t* cos;
    } circuits[] = {
        {L"L1,L2,L3,N", L"200", L"0.9", L"0.85"}, {L"L1,L2,L3,N", L"200", L"0.9", L"0.85"},
        {L"L1,L2,L3,N", L"45", L"0.75", L"0.8"},  {L"L1,L2,L3,N", L"55", L"0.75", L"0.8"},
        {L"L1,L2,L3,N", L"22", L"0.75", L"0.8"},  {L"L1,L2,L3,N", L"60", L"0.75", L"0.8"},
        {L"L1,L2,L3,N", L"60", L"0.75", L"0.8"},  {L"L1,L2,L3,N", L"30", L"0.75", L"0.8"},
        {L"L1,L2,L3,N", L"15", L"0.75", L"0.8"},  {L"L1,L2,L3,N", L"11", L"0.75", L"0.8"},
        {L"L1,N", L"8", L"0.85", L"0.9"},         {L"L2,N", L"8", L"0.85", L"0.9"},
        {L"L3,N", L"8", L"0.85", L"0.9"},         {L"L1,N", L"7.5", L"0.85", L"0.9"},
        {L"L2,N", L"6", L"0.5", L"0.85"},         {L"L3,N", L"6", L"0.5", L"0.85"},
        {L"L1,L2,L3,N", L"22", L"0.5", L"0.6"},   {L"L1,L2,L3,N", L"22", L"0.5", L"0.6"},
        {L"L1,L2,L3,N", L"15", L"0.5", L"0.6"},   {L"L1,L2,L3,N", L"20", L"0.8", L"0.9"},
        {L"L1,N", L"3", L"1.0", L"0.9"},          {L"L2,N", L"3", L"1.0", L"0.9"},
        {L"L3,N", L"3", L"1.0", L"0.9"},          {L"L1,N", L"2.5", L"1.0", L"0.9"},
    };
    for (const auto& c : circuits) {
        doc.loads.Add(Circuit(c.phase, c.pe, c.k, c.cos, L"1#变压器"));
    }
    CTransformerCalData t = Transformer(L"1#变压器");
    t.m_strKq = L"0.95";
    t.m_strAlpha = L"0.75";
    t.m_strBeta = L"0.8";
    t.m_strCosAfter = L"0.92";
    t.m_strLoadRate = L"0.75";
    doc.transformers.Add(t);

    CLoadCalDocument original = doc;
    RecalculateDocument(original);
    EXPECT_EQ(original.transformers[0].m_strCalcP, L"616.523");  // 0.9 x 685.025
    EXPECT_EQ(original.transformers[0].m_strCompCapacity, L"208.512");

    doc.rules = CalcRules::GB51348_2019;
    for (auto& c : doc.loads) {
        RecalculateCircuit(c, doc.rules);
    }
    CSupplyIndex recalculated(doc);
    recalculated.RecalculateGroups(doc);
    EXPECT_EQ(recalculated.TransformerGroupSum(0, SumField::Active), L"673.275");
    EXPECT_EQ(doc.transformers[0].m_strCalcP, L"605.947");
    EXPECT_EQ(doc.transformers[0].m_strCompCapacity, L"156.055");
}

TEST(Rules, CompensationIsNoneWhenThePowerFactorAlreadyReachesTheTarget)
{
    // Pc 100, Qc 30 (Kp = Kq = 1), alpha 0.7, beta 0.76: r = (0.76 x 30 /
    // (0.7 x 100))² = 0.106090, cos phi1 = sqrt(1 / 1.106090) = 0.950834 >
    // 0.9: nothing under GB 51348-2019, while the original form gives
    // 100 x (tan phi1 - tan phi2) = 100 x (0.325714 - 0.484322) = -15.8608
    // kvar, which would add inductive load.
    CLoadCalDocument doc;
    CLoadCalData c;
    c.m_strPhase = L"L1,L2,L3,N";
    c.m_strCalcP = L"100";
    c.m_strCalcQ = L"30";
    c.m_strTransformer = L"T1";
    doc.loads.Add(c);
    CTransformerCalData t = Transformer(L"T1");
    t.m_strKp = L"1";
    t.m_strKq = L"1";
    doc.transformers.Add(t);
    CSupplyIndex original(doc);
    original.RecalculateGroups(doc);
    EXPECT_EQ(doc.transformers[0].m_strCosBefore, L"0.950834");
    EXPECT_EQ(doc.transformers[0].m_strCompCapacity, L"-15.8608");
    doc.rules = CalcRules::GB51348_2019;
    CSupplyIndex gb(doc);
    gb.RecalculateGroups(doc);
    EXPECT_EQ(doc.transformers[0].m_strCompCapacity, L"0");
    EXPECT_EQ(doc.transformers[0].m_strCalcQ, L"30");
}

TEST(Rules, TheSinglePhaseShareDecidesForAllThreeSums)
{
    // Three-phase 100 kW; single-phase 14.9 kW on L1 only: below 15 %, added
    // as it is (114.9), however unbalanced the currents. At 15 kW (not below)
    // 3 x 15 + 100 = 145; Pe follows the same decision.
    for (const auto& [single, expectedP, expectedPe] :
         {std::tuple{L"14.9", L"114.9", L"229.8"}, std::tuple{L"15", L"145", L"290"}}) {
        GroupPhases g;
        g.Add({3, 1, {50, 100, 200}});
        const double s = ParseNumber(single);
        g.Add({0, 68, {s / 2, s, 2 * s}});
        EXPECT_EQ(FormatG(g.Sum(SumField::Active, CalcRules::GB51348_2019)), expectedP);
        EXPECT_EQ(FormatG(g.Sum(SumField::Installed, CalcRules::GB51348_2019)), expectedPe);
    }
    // With no three-phase members, any single-phase load is not below 15 % of 0.
    GroupPhases g;
    g.Add({1, 10, {1, 2, 3}});
    EXPECT_EQ(g.Sum(SumField::Active, CalcRules::GB51348_2019), 6);
}

TEST(Rules, TotalsCountADualFedCircuitOnce)
{
    // 10 kW on T1,T2, 5 kW on T1, 1 kW on T2 (all cos 0.8). The original
    // totals add the group of each distinct owner text: "T1,T2" (empty, 0),
    // "T1" (10 + 5) and "T2" (10 + 1), 26 kW, the dual-fed circuit twice.
    // GB 51348-2019 counts every circuit once: 16 kW, 12 kvar, 20 kVA,
    // cos 0.8, 20 / (sqrt 3 x 0.38) = 30.3869 A.
    CLoadCalDocument doc;
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"10", L"1", L"0.8", L"T1,T2"));
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"5", L"1", L"0.8", L"T1"));
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"1", L"1", L"0.8", L"T2"));
    doc.transformers.Add(Transformer(L"T1"));
    doc.transformers.Add(Transformer(L"T2"));
    EXPECT_EQ(RecalculateDocument(doc).active, L"26");
    doc.rules = CalcRules::GB51348_2019;
    const SummaryTotals t = RecalculateDocument(doc);
    EXPECT_EQ(t.installed, L"16");
    EXPECT_EQ(t.active, L"16");
    EXPECT_EQ(t.reactive, L"12");
    EXPECT_EQ(t.apparent, L"20");
    EXPECT_EQ(t.powerFactor, L"0.8");
    EXPECT_EQ(t.current, L"30.3869");
}
