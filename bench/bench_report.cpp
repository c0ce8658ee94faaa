// Rendering the calculation book of a large calculation: 2,000 circuits over
// 20 transformers, laid out and written as PDF bytes in memory (the file
// write itself is the output layer's and is measured with the workbook).

#include <benchmark/benchmark.h>

#include <random>

#include "model/Calculation.h"
#include "output/report/CalculationBook.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

namespace {

void BM_CalculationBook(benchmark::State& state)
{
    CLoadArray loads;
    CTransformerArray transformers;
    std::mt19937 rng(11);
    testsupport::RandomDocumentOptions opt;
    opt.circuits = static_cast<int>(state.range(0));
    opt.transformers = static_cast<int>(state.range(1));
    testsupport::MakeRandomDocument(rng, opt, loads, transformers);
    RecalculateDocument(loads, transformers);
    // The first book starts the offscreen Qt application and loads the fonts.
    benchmark::DoNotOptimize(
        RenderCalculationBook(loads, transformers, {L"benchmark", L"2026-01-01"}));
    size_t bytes = 0;
    for (auto _ : state) {
        const std::string pdf =
            RenderCalculationBook(loads, transformers, {L"benchmark", L"2026-01-01"});
        bytes = pdf.size();
        benchmark::DoNotOptimize(pdf.data());
    }
    state.counters["pdf_kB"] = static_cast<double>(bytes) / 1024;
}
BENCHMARK(BM_CalculationBook)->Args({2000, 20})->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
