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
#include "model/SupplySecurity.h"
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

/// The largest board document, without fire roles and load classes
/// (fire 0) or with them (fire 1: a tenth of the circuits fire-only or shed
/// in a fire, a third with a load class), recalculated.
CLoadCalDocument& BoardDocument(int64_t fire)
{
    static CLoadCalDocument docs[2] = {[] {
                                           CLoadCalDocument d;
                                           testsupport::MakeLargestBoardDocument(d);
                                           RecalculateDocument(d);
                                           return d;
                                       }(),
                                       [] {
                                           CLoadCalDocument d;
                                           testsupport::MakeLargestBoardDocument(d, 0.1, 0.3);
                                           RecalculateDocument(d);
                                           return d;
                                       }()};
    return docs[fire != 0 ? 1 : 0];
}

void BM_RecalculateBoardDocument(benchmark::State& state)
{
    CLoadCalDocument& doc = BoardDocument(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(RecalculateDocument(doc));
    }
}
BENCHMARK(BM_RecalculateBoardDocument)
    ->ArgName("fire")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

void BM_RebuildIndexAndGroups(benchmark::State& state)
{
    CLoadCalDocument& doc = BoardDocument(state.range(0));
    for (auto _ : state) {
        CSupplyIndex index(doc);
        index.RecalculateGroups(doc);
        benchmark::DoNotOptimize(index.Totals());
    }
}
BENCHMARK(BM_RebuildIndexAndGroups)->ArgName("fire")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_CircuitChainUpdate(benchmark::State& state)
{
    CLoadCalDocument& doc = BoardDocument(state.range(0));
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
BENCHMARK(BM_CircuitChainUpdate)->ArgName("fire")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

/// The fire and N−1 checks of the largest document with fire roles and load
/// classes (its dual-fed boards and circuits share first- and second-class
/// loads between transformers).
void BM_CheckSupplySecurity(benchmark::State& state)
{
    const CLoadCalDocument& doc = BoardDocument(1);
    size_t checked = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(CheckSupplySecurity(doc));
    }
    checked = ComputeContingencyLoads(doc).size();
    state.counters["transformers_checked"] = static_cast<double>(checked);
}
BENCHMARK(BM_CheckSupplySecurity)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
