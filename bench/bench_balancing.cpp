// The phase search: its speed on one transformer, and the quality of its
// phases against three references on random transformers (currents 0.1 ..
// 100 A with four significant digits): the exact optimum for small n, greedy
// LPT and Karmarkar-Karp differencing. Quality figures are reported as
// counters of single-iteration runs.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "balancing/Extremum.h"
#include "bench/bench_balancing_baselines.h"

using namespace loadcal;
using namespace loadcal::benchsupport;

namespace {

/// A window that is not there: no title, nothing shown.
class CNoWindow : public IPhaseBalanceHost {
public:
    std::wstring GetTitle() const override { return std::wstring(); }
    void SetTitle(const std::wstring&) override {}
    void SetPhaseCell(int, const std::wstring&) override {}
    void ShowReport(const std::wstring&) override {}
    void RefreshTotalCell(int) override {}
    void RecalculateAllTransformers() override {}
    void RefreshLoadGrid() override {}
};

std::vector<CBalanceItem> Items(const std::vector<std::int64_t>& currents)
{
    std::vector<CBalanceItem> items(currents.size());
    for (size_t i = 0; i < currents.size(); ++i) {
        items[i].current = static_cast<double>(currents[i]) * kUnitAmpere;
        items[i].index = static_cast<std::int32_t>(i);
    }
    return items;
}

/// The spread (0.1 mA) of the phases the search assigns, as the command runs it.
std::int64_t SearchSpread(const std::vector<std::int64_t>& currents)
{
    std::vector<CBalanceItem> items = Items(currents);
    CNoWindow window;
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    AssignPhases(*search, items.data(), static_cast<int>(items.size()), L"T",
                 kPhaseSearchGenerations, window);
    std::vector<int> phases(items.size());
    for (size_t i = 0; i < items.size(); ++i) {
        phases[i] = items[i].phase;
    }
    return Spread(currents, phases);
}

void BM_AssignPhases(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    CRandom random(static_cast<std::uint64_t>(n));
    std::vector<CBalanceItem> items = Items(RandomCurrents(random, n));
    CNoWindow window;
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    for (auto _ : state) {
        AssignPhases(*search, items.data(), n, L"T", kPhaseSearchGenerations, window);
        benchmark::DoNotOptimize(items.data());
    }
}
BENCHMARK(BM_AssignPhases)->Arg(12)->Arg(50)->Arg(200)->Arg(500)->Unit(benchmark::kMillisecond);

/// Share of 1000 transformers with 4 .. 12 single-phase circuits on which the
/// search finds the optimal spread.
void BM_QualityOptimumSmall(benchmark::State& state)
{
    for (auto _ : state) {
        CRandom random(12);
        const int count = 1000;
        int optimal = 0;
        for (int t = 0; t < count; ++t) {
            const int n = 4 + static_cast<int>(random.Below(9));
            const std::vector<std::int64_t> currents = RandomCurrents(random, n);
            optimal += SearchSpread(currents) == OptimalSpread(currents) ? 1 : 0;
        }
        state.counters["optimal_pct"] = 100.0 * optimal / count;
    }
}
BENCHMARK(BM_QualityOptimumSmall)->Iterations(1)->Unit(benchmark::kSecond);

/// Shares of transformers on which the search's spread is no worse than
/// LPT's and than Karmarkar-Karp's, and the median ratio of the spreads
/// (search / Karmarkar-Karp, each plus 0.1 mA). Argument 0: 1000 transformers
/// with n drawn from 12 .. 500; otherwise 100 transformers of that n.
void BM_QualityAgainstBaselines(benchmark::State& state)
{
    const int fixedN = static_cast<int>(state.range(0));
    for (auto _ : state) {
        CRandom random(static_cast<std::uint64_t>(1000 + fixedN));
        const int count = fixedN == 0 ? 1000 : 100;
        int notWorseLpt = 0;
        int notWorseKk = 0;
        std::vector<double> ratios;
        for (int t = 0; t < count; ++t) {
            const int n = fixedN != 0 ? fixedN : 12 + static_cast<int>(random.Below(489));
            const std::vector<std::int64_t> currents = RandomCurrents(random, n);
            const std::int64_t spread = SearchSpread(currents);
            const std::int64_t kk = KarmarkarKarpSpread(currents);
            notWorseLpt += spread <= LptSpread(currents) ? 1 : 0;
            notWorseKk += spread <= kk ? 1 : 0;
            ratios.push_back(static_cast<double>(spread + 1) / static_cast<double>(kk + 1));
        }
        std::sort(ratios.begin(), ratios.end());
        state.counters["not_worse_lpt_pct"] = 100.0 * notWorseLpt / count;
        state.counters["not_worse_kk_pct"] = 100.0 * notWorseKk / count;
        state.counters["median_ratio_kk"] = ratios[ratios.size() / 2];
    }
}
BENCHMARK(BM_QualityAgainstBaselines)
    ->Arg(0)
    ->Arg(12)
    ->Arg(16)
    ->Arg(24)
    ->Arg(32)
    ->Arg(48)
    ->Arg(64)
    ->Arg(100)
    ->Arg(150)
    ->Arg(200)
    ->Arg(300)
    ->Arg(500)
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

}  // namespace

BENCHMARK_MAIN();
