// Rendering the calculation book of a large calculation: 2,000 circuits over
// 20 transformers, and the same number of circuits under 100 boards (a page
// each) under both rule sets, without and with fire roles and load classes,
// laid out and written as PDF bytes in memory (the
// file write itself is the output layer's and is measured with the workbook).

#include <benchmark/benchmark.h>

#include <random>

#include "model/Calculation.h"
#include "output/report/CalculationBook.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

namespace {

void RenderRepeatedly(benchmark::State& state, const CLoadCalDocument& doc)
{
    // The first book starts the offscreen Qt application and loads the fonts.
    benchmark::DoNotOptimize(RenderCalculationBook(doc, {L"benchmark", L"2026-01-01"}));
    size_t bytes = 0;
    for (auto _ : state) {
        const std::string pdf = RenderCalculationBook(doc, {L"benchmark", L"2026-01-01"});
        bytes = pdf.size();
        benchmark::DoNotOptimize(pdf.data());
    }
    state.counters["pdf_kB"] = static_cast<double>(bytes) / 1024;
}

void BM_CalculationBook(benchmark::State& state)
{
    CLoadCalDocument doc;
    std::mt19937 rng(11);
    testsupport::RandomDocumentOptions opt;
    opt.circuits = static_cast<int>(state.range(0));
    opt.transformers = static_cast<int>(state.range(1));
    testsupport::MakeRandomDocument(rng, opt, doc.loads, doc.transformers);
    RecalculateDocument(doc.loads, doc.transformers);
    RenderRepeatedly(state, doc);
}
BENCHMARK(BM_CalculationBook)->Args({2000, 20})->Unit(benchmark::kMillisecond)->Iterations(3);

/// Arguments: circuits, boards, transformers, rule set (0 original, 1 GB
/// 51348-2019), and the share of circuits with a fire role and with a load
/// class in per cent (both cases of every board and transformer, and the
/// N−1 check, in the book).
void BM_CalculationBookWithBoards(benchmark::State& state)
{
    CLoadCalDocument doc;
    std::mt19937 rng(12);
    testsupport::RandomBoardOptions opt;
    opt.circuits = static_cast<int>(state.range(0));
    opt.boards = static_cast<int>(state.range(1));
    opt.transformers = static_cast<int>(state.range(2));
    opt.levels = 4;
    opt.rules = state.range(3) != 0 ? CalcRules::GB51348_2019 : CalcRules::Original;
    opt.fireShare = static_cast<double>(state.range(4)) / 100;
    opt.classShare = static_cast<double>(state.range(4)) / 100;
    testsupport::MakeRandomBoardDocument(rng, opt, doc);
    RecalculateDocument(doc);
    RenderRepeatedly(state, doc);
}
BENCHMARK(BM_CalculationBookWithBoards)
    ->Args({2000, 100, 20, 1, 0})
    ->Args({2000, 100, 20, 0, 0})
    ->Args({2000, 100, 20, 1, 10})
    ->Args({2000, 100, 20, 0, 10})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
