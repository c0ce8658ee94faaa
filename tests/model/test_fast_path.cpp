#include <gtest/gtest.h>

#include <random>

#include "model/Calculation.h"
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
