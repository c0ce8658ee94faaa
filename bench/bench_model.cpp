// Whole-document recalculation: 10,000 circuits over 100 transformers, with a
// few joined "T1,T2" owners, by the indexed engine and by the straightforward
// transcription. With boards: 32,767 circuits under 2,000 boards in six
// levels and 100 transformers, recalculated whole, after a change of
// structure (the index built again), and one circuit at a time with its
// chain of boards, its transformers and the totals, as the window does on
// a cell edit.

#include <benchmark/benchmark.h>

#include <random>

#include "model/Calculation.h"
#include "model/SupplyIndex.h"
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

CLoadCalDocument& BoardDocument()
{
    static CLoadCalDocument doc = [] {
        CLoadCalDocument d;
        testsupport::MakeLargestBoardDocument(d);
        RecalculateDocument(d);
        return d;
    }();
    return doc;
}

void BM_RecalculateBoardDocument(benchmark::State& state)
{
    CLoadCalDocument& doc = BoardDocument();
    for (auto _ : state) {
        benchmark::DoNotOptimize(RecalculateDocument(doc));
    }
}
BENCHMARK(BM_RecalculateBoardDocument)->Unit(benchmark::kMillisecond);

void BM_RebuildIndexAndGroups(benchmark::State& state)
{
    CLoadCalDocument& doc = BoardDocument();
    for (auto _ : state) {
        CSupplyIndex index(doc);
        index.RecalculateGroups(doc);
        benchmark::DoNotOptimize(index.Totals());
    }
}
BENCHMARK(BM_RebuildIndexAndGroups)->Unit(benchmark::kMillisecond);

void BM_CircuitChainUpdate(benchmark::State& state)
{
    CLoadCalDocument& doc = BoardDocument();
    CSupplyIndex index(doc);
    index.RecalculateGroups(doc);
    std::mt19937 rng(3);
    size_t boards = 0;
    for (auto _ : state) {
        const int i = static_cast<int>(rng() % static_cast<unsigned>(doc.loads.GetSize()));
        CLoadCalData& c = doc.loads[i];
        c.m_strRatedPower = c.m_strRatedPower == L"10" ? L"20" : L"10";
        RecalculateCircuit(c, doc.rules);
        const auto change = index.UpdateCircuit(doc, i);
        if (!change) {
            state.SkipWithError("the index refused a figure change");
            break;
        }
        boards += change->boards.size();
        benchmark::DoNotOptimize(index.Totals());
    }
    state.counters["boards_per_edit"] =
        static_cast<double>(boards) / static_cast<double>(std::max<int64_t>(1, state.iterations()));
}
BENCHMARK(BM_CircuitChainUpdate)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
