#pragma once

// Reference partitions for measuring the phase search: random instances and
// three classical ways to split currents into three phases. All figures are
// whole multiples of 0.1 mA (1e-4 A), so spreads compare exactly.

#include <cstdint>
#include <vector>

#include "balancing/Random.h"

namespace loadcal::benchsupport {

/// One 0.1 mA.
inline constexpr double kUnitAmpere = 1e-4;

/// n currents drawn uniformly from 0.1 .. 100 A and rounded to four
/// significant digits, in units of 0.1 mA.
std::vector<std::int64_t> RandomCurrents(CRandom& random, int n);

/// max - min of the three phase sums of an assignment (phase 0..2 per item).
std::int64_t Spread(const std::vector<std::int64_t>& currents, const std::vector<int>& phases);

/// Greedy LPT: largest current first, each to the phase with the smallest sum.
std::int64_t LptSpread(std::vector<std::int64_t> currents);

/// Karmarkar-Karp differencing for three ways: the two partial partitions
/// with the largest spreads are merged, largest sum onto smallest, until one
/// is left.
std::int64_t KarmarkarKarpSpread(const std::vector<std::int64_t>& currents);

/// The smallest spread of any assignment, by complete search with pruning
/// (for small n only).
std::int64_t OptimalSpread(std::vector<std::int64_t> currents);

}  // namespace loadcal::benchsupport
