#include "bench/bench_balancing_baselines.h"

#include <algorithm>
#include <array>
#include <functional>
#include <limits>
#include <queue>

namespace loadcal::benchsupport {

std::vector<std::int64_t> RandomCurrents(CRandom& random, int n)
{
    std::vector<std::int64_t> currents;
    currents.reserve(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        // 0.1 A .. 100 A in steps of 0.1 mA, then four significant digits:
        // steps of 0.1 mA below 1 A, 1 mA below 10 A, 10 mA above.
        const std::int64_t raw = 1000 + static_cast<std::int64_t>(random.Next() % 999001);
        const std::int64_t step = raw < 10000 ? 1 : raw < 100000 ? 10 : 100;
        std::int64_t value = (raw + step / 2) / step * step;
        value = std::min<std::int64_t>(value, 1000000);
        currents.push_back(value);
    }
    return currents;
}

std::int64_t Spread(const std::vector<std::int64_t>& currents, const std::vector<int>& phases)
{
    std::array<std::int64_t, 3> sums{};
    for (size_t i = 0; i < currents.size(); ++i) {
        sums[static_cast<size_t>(phases[i])] += currents[i];
    }
    return *std::max_element(sums.begin(), sums.end()) -
           *std::min_element(sums.begin(), sums.end());
}

std::int64_t LptSpread(std::vector<std::int64_t> currents)
{
    std::sort(currents.begin(), currents.end(), std::greater<>());
    std::array<std::int64_t, 3> sums{};
    for (const std::int64_t c : currents) {
        *std::min_element(sums.begin(), sums.end()) += c;
    }
    return *std::max_element(sums.begin(), sums.end()) -
           *std::min_element(sums.begin(), sums.end());
}

std::int64_t KarmarkarKarpSpread(const std::vector<std::int64_t>& currents)
{
    // A partial partition: three sums, largest first, the smallest shifted to 0.
    using Partial = std::array<std::int64_t, 3>;
    const auto bySpread = [](const Partial& a, const Partial& b) {
        return a[0] < b[0];
    };
    std::priority_queue<Partial, std::vector<Partial>, decltype(bySpread)> queue(bySpread);
    for (const std::int64_t c : currents) {
        queue.push({c, 0, 0});
    }
    if (queue.empty()) {
        return 0;
    }
    while (queue.size() > 1) {
        const Partial a = queue.top();
        queue.pop();
        const Partial b = queue.top();
        queue.pop();
        Partial merged = {a[0] + b[2], a[1] + b[1], a[2] + b[0]};
        std::sort(merged.begin(), merged.end(), std::greater<>());
        queue.push({merged[0] - merged[2], merged[1] - merged[2], 0});
    }
    return queue.top()[0];
}

std::int64_t OptimalSpread(std::vector<std::int64_t> currents)
{
    std::sort(currents.begin(), currents.end(), std::greater<>());
    const size_t n = currents.size();
    std::vector<std::int64_t> rest(n + 1, 0);
    for (size_t i = n; i-- > 0;) {
        rest[i] = rest[i + 1] + currents[i];
    }
    std::int64_t best = std::numeric_limits<std::int64_t>::max();
    std::array<std::int64_t, 3> sums{};
    const std::function<void(size_t)> place = [&](size_t i) {
        const std::int64_t high = std::max({sums[0], sums[1], sums[2]});
        const std::int64_t low = std::min({sums[0], sums[1], sums[2]});
        if (i == n) {
            best = std::min(best, high - low);
            return;
        }
        // The largest sum only grows; the smallest can rise by at most rest[i].
        if (best == 0 || high - (low + rest[i]) >= best) {
            return;
        }
        for (size_t k = 0; k < 3; ++k) {
            if ((k > 0 && sums[k] == sums[0]) || (k > 1 && sums[k] == sums[1])) {
                continue;  // same sum as a phase tried already: a mirror image
            }
            sums[k] += currents[i];
            place(i + 1);
            sums[k] -= currents[i];
        }
    };
    place(0);
    return best;
}

}  // namespace loadcal::benchsupport
