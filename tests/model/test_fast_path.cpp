#include <gtest/gtest.h>

#include <random>

#include "model/Calculation.h"
#include "model/Numeric.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/ReferenceCalculation.h"

using namespace loadcal;

// The indexed recalculation must give the straightforward transcription's
// texts exactly, on documents full of the owner and phase quirks.
TEST(FastPath, WholeDocumentMatchesTheStraightforwardTranscription)
{
    std::mt19937 rng(2024);
    for (int round = 0; round < 60; ++round) {
        testsupport::RandomDocumentOptions opt;
        opt.circuits = 1 + static_cast<int>(rng() % 300);
        opt.transformers = static_cast<int>(rng() % 8);
        opt.quirkShare = (round % 3) * 0.2;
        CLoadArray loads;
        CTransformerArray transformers;
        testsupport::MakeRandomDocument(rng, opt, loads, transformers);

        CLoadArray refLoads = loads;
        CTransformerArray refTransformers = transformers;
        const SummaryTotals expected = reference::RecalculateDocument(refLoads, refTransformers);
        const SummaryTotals actual = RecalculateDocument(loads, transformers);

        ASSERT_EQ(loads, refLoads) << "round " << round;
        ASSERT_EQ(transformers, refTransformers) << "round " << round;
        ASSERT_EQ(actual, expected) << "round " << round;
        for (const auto& owner : {L"T1", L"t2", L"T1,T2", L"", L"T3"}) {
            for (auto f : {SumField::Active, SumField::Reactive, SumField::Installed}) {
                ASSERT_EQ(GroupSum(loads, owner, f), reference::GroupSum(loads, owner, f));
            }
        }
        ASSERT_EQ(TotalReactive(loads), reference::Total(loads, SumField::Reactive));
    }
}

TEST(FastPath, PhasePartsOfAGroupGiveItsSumAndItsCurrents)
{
    std::mt19937 rng(23);
    for (int round = 0; round < 30; ++round) {
        testsupport::RandomDocumentOptions opt;
        opt.circuits = 1 + static_cast<int>(rng() % 200);
        opt.transformers = 1 + static_cast<int>(rng() % 5);
        opt.quirkShare = (round % 3) * 0.2;
        CLoadArray loads;
        CTransformerArray transformers;
        testsupport::MakeRandomDocument(rng, opt, loads, transformers);
        RecalculateDocument(loads, transformers);
        for (const auto& owner : {L"T1", L"t2", L"T1,T2", L"", L"T3"}) {
            const GroupPhases parts = GroupPhasesOf(loads, owner);
            for (auto f : {SumField::Active, SumField::Reactive, SumField::Installed}) {
                ASSERT_EQ(FormatG(parts.Sum(f)), reference::GroupSum(loads, owner, f));
            }
            // The currents straight from the circuits that belong to the owner.
            double current[3] = {0, 0, 0};
            double threePhase = 0;
            int single = 0;
            for (const CLoadCalData& c : loads) {
                if (!BelongsTo(c, owner)) {
                    continue;
                }
                for (int k = 0; k < 3; ++k) {
                    if (c.m_strPhase == kPhaseTexts[static_cast<size_t>(k)]) {
                        current[k] += ParseNumber(c.m_strCalcI);
                        ++single;
                    }
                }
                if (c.m_strPhase == kPhaseThree) {
                    threePhase += ParseNumber(c.m_strCalcI);
                }
            }
            for (int k = 0; k < 3; ++k) {
                ASSERT_DOUBLE_EQ(parts.current[k], current[k]);
            }
            ASSERT_DOUBLE_EQ(parts.threePhaseCurrent, threePhase);
            ASSERT_EQ(parts.singlePhaseCount, single);
        }
    }
}

// An index brought up to date circuit by circuit gives the texts of one
// built afresh over the changed list; a changed owner text is refused.
TEST(FastPath, AnUpdatedOwnerIndexEqualsOneBuiltAfresh)
{
    std::mt19937 rng(77);
    const wchar_t* figures[] = {L"", L"7", L"12.5", L"abc", L"0.38", L"-3", L"1e3"};
    const wchar_t* phases[] = {L"L1,N", L"L2,N", L"L3,N", L"L1,L2,L3,N", L"l1,n", L""};
    for (int round = 0; round < 40; ++round) {
        testsupport::RandomDocumentOptions opt;
        opt.circuits = 1 + static_cast<int>(rng() % 200);
        opt.transformers = 1 + static_cast<int>(rng() % 6);
        opt.quirkShare = 0.3;
        CLoadArray loads;
        CTransformerArray transformers;
        testsupport::MakeRandomDocument(rng, opt, loads, transformers);
        RecalculateDocument(loads, transformers);
        COwnerIndex index(loads);
        for (int change = 0; change < 30; ++change) {
            const int i = static_cast<int>(rng() % static_cast<unsigned>(loads.GetSize()));
            CLoadCalData& c = loads[i];
            switch (rng() % 3) {
                case 0:
                    c.m_strRatedPower = figures[rng() % 7];
                    RecalculateCircuit(c);
                    break;
                case 1:
                    c.m_strPhase = phases[rng() % 6];
                    RecalculateCircuit(c);
                    break;
                default:
                    c.m_strCalcI = figures[rng() % 7];
                    break;
            }
            ASSERT_TRUE(index.Update(i, c));
        }
        const COwnerIndex fresh(loads);
        ASSERT_EQ(index.Totals(), fresh.Totals()) << "round " << round;
        for (const CTransformerCalData& t : transformers) {
            for (auto f : {SumField::Active, SumField::Reactive, SumField::Installed}) {
                ASSERT_EQ(index.GroupSum(t.m_strName, f), fresh.GroupSum(t.m_strName, f));
            }
        }
        loads[0].m_strTransformer += L",X9";
        EXPECT_FALSE(index.Update(0, loads[0]));
        EXPECT_FALSE(index.Update(loads.GetSize(), loads[0]));
    }
}
