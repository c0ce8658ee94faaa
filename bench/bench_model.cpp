// Whole-document recalculation: 10,000 circuits over 100 transformers, with a
// few joined "T1,T2" owners, by the indexed engine and by the straightforward
// transcription.

#include <benchmark/benchmark.h>

#include <random>

#include "model/Calculation.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/ReferenceCalculation.h"

using namespace loadcal;

namespace {

void MakeDocument(CLoadArray& loads, CTransformerArray& transformers)
{
    std::mt19937 rng(1);
    testsupport::RandomDocumentOptions opt;
    opt.circuits = 10000;
    opt.transformers = 100;
    opt.quirkShare = 0.02;
    testsupport::MakeRandomDocument(rng, opt, loads, transformers);
}

void BM_RecalculateDocument(benchmark::State& state)
{
    CLoadArray loads;
    CTransformerArray transformers;
    MakeDocument(loads, transformers);
    for (auto _ : state) {
        benchmark::DoNotOptimize(RecalculateDocument(loads, transformers));
    }
}
BENCHMARK(BM_RecalculateDocument)->Unit(benchmark::kMillisecond);

void BM_RecalculateDocumentStraightforward(benchmark::State& state)
{
    CLoadArray loads;
    CTransformerArray transformers;
    MakeDocument(loads, transformers);
    for (auto _ : state) {
        benchmark::DoNotOptimize(reference::RecalculateDocument(loads, transformers));
    }
}
BENCHMARK(BM_RecalculateDocumentStraightforward)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_TotalsOnly(benchmark::State& state)
{
    CLoadArray loads;
    CTransformerArray transformers;
    MakeDocument(loads, transformers);
    RecalculateDocument(loads, transformers);
    for (auto _ : state) {
        benchmark::DoNotOptimize(ComputeTotals(loads));
    }
}
BENCHMARK(BM_TotalsOnly)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
