#include "balancing/GeneticBase.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace loadcal {
namespace {

// Effort of one generation, in Fitness evaluations: symbols^2 / kEffortDivisor
// within kMinEffort .. kMaxEffort. The pairs of symbols an exchange can pick,
// and so the moves worth trying, grow with the square of the unit length; a
// Fitness that follows the few symbols a move changes costs about the same
// for every length.
constexpr long long kEffortDivisor = 333;
constexpr long long kMinEffort = 120;
constexpr long long kMaxEffort = 1500;
// Local-step evaluations a child gets besides depth x symbols.
constexpr long long kChildBaseEffort = 50;
// Generations between two probes of the fittest unit.
constexpr long long kProbeInterval = 100;
// Exchanges pair a ranked symbol with one at most this many ranks away.
constexpr int kNeighbourWindow = 4;
// Rejected moves remembered, and remembered moves looked at for a partner.
constexpr int kMovesRemembered = 1024;
constexpr int kPartnerCandidates = 4;

// Shares of the move kinds and of neighbour picks, out of 2^32.
constexpr std::uint32_t kChangeShare = 644245094u;      // 0.15
constexpr std::uint32_t kExchangeShare = 2147483648u;   // 0.35 more (0.50)
constexpr std::uint32_t kRotationShare = 3221225472u;   // 0.25 more (0.75); rest double
constexpr std::uint32_t kNeighbourShare = 3006477107u;  // 0.70

// Mask of the symbols selected by four bits, most significant pair first.
constexpr unsigned char kSymbolMask[16] = {0x00, 0xC0, 0x30, 0xF0, 0x0C, 0xCC, 0x3C, 0xFC,
                                           0x03, 0xC3, 0x33, 0xF3, 0x0F, 0xCF, 0x3F, 0xFF};

inline int Symbol(const unsigned char* unit, int i)
{
    return (unit[i >> 2] >> (6 - 2 * (i & 3))) & 3;
}

inline void SetSymbol(unsigned char* unit, int i, int value)
{
    const int shift = 6 - 2 * (i & 3);
    unit[i >> 2] = static_cast<unsigned char>((unit[i >> 2] & ~(3 << shift)) | (value << shift));
}

}  // namespace

CGeneticBase::CGeneticBase() : m_random(kDefaultSeed) {}

CGeneticBase::~CGeneticBase() = default;

void CGeneticBase::SetUnitScale(int population, int unitBytes, int depth)
{
    if (population < 1 || unitBytes < 0 || depth < 0) {
        throw std::invalid_argument(
            "CGeneticBase::SetUnitScale: population below 1 or a negative size");
    }
    m_nPopulation = population;
    m_nUnitBytes = unitBytes;
    m_nSymbols = 4 * unitBytes;
    m_nDepth = depth;
    // One spare byte keeps the storage, and so a unit of zero bytes, at a real address.
    m_arrPopulation.assign(static_cast<size_t>(population) * static_cast<size_t>(unitBytes) + 1, 0);
    m_arrFitness.assign(static_cast<size_t>(population), 0.0);
    m_arrChild.assign(static_cast<size_t>(unitBytes), 0);
    m_arrMate.assign(static_cast<size_t>(unitBytes), 0);
    m_arrRanked.assign(static_cast<size_t>(m_nSymbols), 0);
    m_arrWeight.assign(static_cast<size_t>(m_nSymbols), 0.0);
    m_arrMoves.assign(kMovesRemembered, Move{});
    m_arrMovesByFitness.assign(kMovesRemembered, 0);
    m_random.Seed(m_nSeed);
    m_nBest = 0;
    m_bStarted = false;
    m_nEvaluations = 0;
    m_nGeneration = 0;
    m_dChildFitness = 0.0;
    m_nChildBudget = 0;
    m_nSinceImprovement = 0;
    m_nNextProbe = 0;
    m_nRanked = 0;
    m_nMoves = 0;
}

void CGeneticBase::SetParameterEx(const double* values, int count)
{
    if (values == nullptr) {
        return;
    }
    for (int i = 0; i < count && i < kParameterCount; ++i) {
        m_arrParameter[i] = values[i];
    }
}

double CGeneticBase::Parameter(int i) const
{
    if (i < 0 || i >= kParameterCount) {
        throw std::invalid_argument("CGeneticBase::Parameter: no such parameter");
    }
    return m_arrParameter[i];
}

const unsigned char* CGeneticBase::FittestSolution(int* index)
{
    EnsurePopulation();
    if (index != nullptr) {
        *index = m_nBest;
    }
    return Unit(m_nBest);
}

double CGeneticBase::Evaluate(const unsigned char* unit)
{
    ++m_nEvaluations;
    return Fitness(unit);
}

void CGeneticBase::EnsurePopulation()
{
    if (m_bStarted) {
        return;
    }
    if (m_arrFitness.empty()) {
        SetUnitScale(1, 0, 0);
    }
    for (int k = 0; k < m_nPopulation; ++k) {
        CreateUnit(Unit(k));
        m_arrFitness[k] = Evaluate(Unit(k));
        if (m_arrFitness[k] > m_arrFitness[m_nBest]) {
            m_nBest = k;
        }
    }
    m_bStarted = true;
}

void CGeneticBase::Evolve()
{
    EnsurePopulation();
    ++m_nGeneration;
    if (m_nSymbols == 0) {
        return;
    }
    const long long symbols = m_nSymbols;
    const long long effort = std::clamp(symbols * symbols / kEffortDivisor, kMinEffort, kMaxEffort);
    const long long start = m_nEvaluations;
    const bool stalled = m_nSinceImprovement > static_cast<long long>(m_nDepth) * m_nSymbols;
    if (m_nPopulation >= 2) {
        Breed(effort * (stalled ? 6 : 1) / 8);
    }
    Refine(effort - (m_nEvaluations - start));
}

int CGeneticBase::Tournament()
{
    const int a = static_cast<int>(m_random.Below(static_cast<std::uint32_t>(m_nPopulation)));
    const int b = static_cast<int>(m_random.Below(static_cast<std::uint32_t>(m_nPopulation)));
    return m_arrFitness[b] > m_arrFitness[a] ? b : a;
}

void CGeneticBase::Breed(long long budget)
{
    const long long start = m_nEvaluations;
    for (;;) {
        const long long left = budget - (m_nEvaluations - start);
        if (left <= 0) {
            return;
        }
        if (m_nChildBudget <= 0) {
            StartChild();
            continue;
        }
        const long long before = m_nEvaluations;
        Improve(m_arrChild.data(), m_dChildFitness, std::min(m_nChildBudget, left), false);
        const long long used = m_nEvaluations - before;
        m_nChildBudget = used > 0 ? m_nChildBudget - used : 0;
        if (m_nChildBudget <= 0) {
            InsertChild();
        }
    }
}

void CGeneticBase::StartChild()
{
    const size_t bytes = static_cast<size_t>(m_nUnitBytes);
    std::memcpy(m_arrChild.data(), Unit(Tournament()), bytes);
    std::memcpy(m_arrMate.data(), Unit(Tournament()), bytes);
    if (m_random.Chance(CRandom::Threshold(m_arrParameter[1]))) {
        ArithmeticIntercrossUnits(m_arrChild.data(), m_arrMate.data());
    } else {
        IntercrossUnits(m_arrChild.data(), m_arrMate.data());
    }
    MutateUnit(m_arrChild.data());
    if (m_random.Chance(CRandom::Threshold(m_arrParameter[2]))) {
        NonconformingMutateUnit(m_arrChild.data());
    }
    m_dChildFitness = Evaluate(m_arrChild.data());
    m_nChildBudget = kChildBaseEffort + static_cast<long long>(m_nDepth) * m_nSymbols;
}

void CGeneticBase::InsertChild()
{
    int worst = -1;
    for (int k = 0; k < m_nPopulation; ++k) {
        if (k != m_nBest && (worst < 0 || m_arrFitness[k] < m_arrFitness[worst])) {
            worst = k;
        }
    }
    if (worst < 0 || !(m_dChildFitness >= m_arrFitness[worst])) {
        return;
    }
    const size_t bytes = static_cast<size_t>(m_nUnitBytes);
    for (int k = 0; k < m_nPopulation; ++k) {
        if (m_arrFitness[k] == m_dChildFitness &&
            std::memcmp(Unit(k), m_arrChild.data(), bytes) == 0) {
            return;
        }
    }
    std::memcpy(Unit(worst), m_arrChild.data(), bytes);
    m_arrFitness[worst] = m_dChildFitness;
    if (m_dChildFitness > m_arrFitness[m_nBest]) {
        m_nBest = worst;
        m_nSinceImprovement = 0;
        m_nNextProbe = m_nGeneration;
        Forget();
    }
}

void CGeneticBase::Refine(long long budget)
{
    const long long start = m_nEvaluations;
    if (m_nGeneration >= m_nNextProbe) {
        Probe();
        m_nNextProbe = m_nGeneration + kProbeInterval;
    }
    const long long left = budget - (m_nEvaluations - start);
    if (left > 0) {
        Improve(Unit(m_nBest), m_arrFitness[m_nBest], left, true);
    }
}

void CGeneticBase::Probe()
{
    unsigned char* unit = Unit(m_nBest);
    const double fitness = m_arrFitness[m_nBest];
    m_nRanked = 0;
    for (int i = 0; i < m_nSymbols; ++i) {
        const int current = Symbol(unit, i);
        double weakest = std::numeric_limits<double>::infinity();
        bool matters = false;
        for (int value = 0; value < 4; ++value) {
            if (value == current) {
                continue;
            }
            SetSymbol(unit, i, value);
            const double f = Evaluate(unit);
            matters = matters || f != fitness;
            weakest = f < weakest ? f : weakest;
        }
        SetSymbol(unit, i, current);
        m_arrWeight[i] = weakest;
        if (matters) {
            m_arrRanked[m_nRanked++] = i;
        }
    }
    // Weakest first: a change of a light symbol leaves the fitness higher.
    std::sort(m_arrRanked.begin(), m_arrRanked.begin() + m_nRanked, [this](int a, int b) {
        return m_arrWeight[a] > m_arrWeight[b] || (m_arrWeight[a] == m_arrWeight[b] && a < b);
    });
    Forget();
}

int CGeneticBase::AnySymbol()
{
    if (m_nRanked > 0) {
        return m_arrRanked[m_random.Below(static_cast<std::uint32_t>(m_nRanked))];
    }
    return static_cast<int>(m_random.Below(static_cast<std::uint32_t>(m_nSymbols)));
}

int CGeneticBase::Neighbour(int rank)
{
    const int step = 1 + static_cast<int>(m_random.Below(kNeighbourWindow));
    int other = (m_random.Next() & 1) != 0 ? rank + step : rank - step;
    if (other < 0) {
        other = -other;
    }
    if (other >= m_nRanked) {
        other = 2 * (m_nRanked - 1) - other;
    }
    return m_arrRanked[std::max(other, 0)];
}

void CGeneticBase::PickPair(int& i, int& j)
{
    if (m_nRanked >= 4 && m_random.Chance(kNeighbourShare)) {
        const int rank = static_cast<int>(m_random.Below(static_cast<std::uint32_t>(m_nRanked)));
        i = m_arrRanked[rank];
        j = Neighbour(rank);
    } else {
        i = AnySymbol();
        j = AnySymbol();
    }
}

bool CGeneticBase::DrawMove(const unsigned char* unit, Move& move)
{
    move.count = 0;
    const auto add = [&](int position, int value) {
        move.position[move.count] = position;
        move.from[move.count] = static_cast<unsigned char>(Symbol(unit, position));
        move.to[move.count] = static_cast<unsigned char>(value);
        ++move.count;
    };
    const std::uint32_t kind = static_cast<std::uint32_t>(m_random.Next() >> 32);
    if (kind < kChangeShare) {
        const int i = AnySymbol();
        add(i, (Symbol(unit, i) + 1 + static_cast<int>(m_random.Below(3))) & 3);
        return true;
    }
    if (kind < kExchangeShare) {
        int i = 0;
        int j = 0;
        PickPair(i, j);
        const int si = Symbol(unit, i);
        const int sj = Symbol(unit, j);
        if (si == sj) {
            return false;
        }
        add(i, sj);
        add(j, si);
        return true;
    }
    if (kind < kRotationShare) {
        int i = 0;
        int j = 0;
        int k = 0;
        if (m_nRanked >= 4 && m_random.Chance(kNeighbourShare)) {
            const int rank =
                static_cast<int>(m_random.Below(static_cast<std::uint32_t>(m_nRanked)));
            i = m_arrRanked[rank];
            j = Neighbour(rank);
            k = Neighbour(rank);
        } else {
            i = AnySymbol();
            j = AnySymbol();
            k = AnySymbol();
        }
        const int si = Symbol(unit, i);
        const int sj = Symbol(unit, j);
        const int sk = Symbol(unit, k);
        if (si == sj || sj == sk || si == sk) {
            return false;  // also rejects repeated positions
        }
        add(i, sj);
        add(j, sk);
        add(k, si);
        return true;
    }
    int i = 0;
    int j = 0;
    int k = 0;
    int l = 0;
    PickPair(i, j);
    PickPair(k, l);
    if (i == k || i == l || j == k || j == l) {
        return false;
    }
    const int si = Symbol(unit, i);
    const int sj = Symbol(unit, j);
    const int sk = Symbol(unit, k);
    const int sl = Symbol(unit, l);
    if (si == sj || sk == sl) {
        return false;
    }
    add(i, sj);
    add(j, si);
    add(k, sl);
    add(l, sk);
    return true;
}

void CGeneticBase::Improve(unsigned char* unit, double& fitness, long long budget, bool remember)
{
    const long long start = m_nEvaluations;
    long long attempts = 4 * budget + 16;
    Move move;
    Move joined;
    while (m_nEvaluations - start < budget && attempts-- > 0) {
        if (!DrawMove(unit, move)) {
            continue;
        }
        for (int q = 0; q < move.count; ++q) {
            SetSymbol(unit, move.position[q], move.to[q]);
        }
        move.fitness = Evaluate(unit);
        if (move.fitness >= fitness) {
            if (remember) {
                m_nSinceImprovement = move.fitness > fitness ? 0 : m_nSinceImprovement + 1;
            }
            fitness = move.fitness;
            continue;
        }
        for (int q = move.count - 1; q >= 0; --q) {
            SetSymbol(unit, move.position[q], move.from[q]);
        }
        if (!remember) {
            continue;
        }
        ++m_nSinceImprovement;
        const int partner =
            m_nEvaluations - start < budget ? FindPartner(unit, move, move.fitness) : -1;
        if (partner < 0) {
            Remember(move);
            continue;
        }
        joined = move;
        const Move& other = m_arrMoves[static_cast<size_t>(partner)];
        for (int q = 0; q < other.count; ++q) {
            joined.position[joined.count] = other.position[q];
            joined.from[joined.count] = other.from[q];
            joined.to[joined.count] = other.to[q];
            ++joined.count;
        }
        for (int q = 0; q < joined.count; ++q) {
            SetSymbol(unit, joined.position[q], joined.to[q]);
        }
        joined.fitness = Evaluate(unit);
        if (joined.fitness >= fitness) {
            // The remembered moves stay: their changes are still what they
            // were, and their fitness still ranks them near enough.
            m_nSinceImprovement = joined.fitness > fitness ? 0 : m_nSinceImprovement + 1;
            fitness = joined.fitness;
            continue;
        }
        for (int q = joined.count - 1; q >= 0; --q) {
            SetSymbol(unit, joined.position[q], joined.from[q]);
        }
        ++m_nSinceImprovement;
        Remember(move);
        Remember(joined);
    }
}

bool CGeneticBase::Joinable(const unsigned char* unit, const Move& a, const Move& b) const
{
    if (a.count + b.count > kMaxMoveSymbols) {
        return false;
    }
    for (int q = 0; q < b.count; ++q) {
        if (Symbol(unit, b.position[q]) != b.from[q]) {
            return false;
        }
        for (int r = 0; r < a.count; ++r) {
            if (a.position[r] == b.position[q]) {
                return false;
            }
        }
    }
    return true;
}

int CGeneticBase::LowerBound(double fitness) const
{
    int lo = 0;
    int hi = m_nMoves;
    while (lo < hi) {
        const int mid = (lo + hi) / 2;
        if (m_arrMoves[m_arrMovesByFitness[mid]].fitness < fitness) {
            lo = mid + 1;
        } else {
            hi = mid;
        }
    }
    return lo;
}

int CGeneticBase::FindPartner(const unsigned char* unit, const Move& move, double fitness) const
{
    const int at = LowerBound(fitness);
    int below = at - 1;
    int above = at;
    for (int looked = 0; looked < kPartnerCandidates && (below >= 0 || above < m_nMoves);
         ++looked) {
        int slot = 0;
        if (above >= m_nMoves ||
            (below >= 0 && fitness - m_arrMoves[m_arrMovesByFitness[below]].fitness <=
                               m_arrMoves[m_arrMovesByFitness[above]].fitness - fitness)) {
            slot = m_arrMovesByFitness[below--];
        } else {
            slot = m_arrMovesByFitness[above++];
        }
        if (Joinable(unit, move, m_arrMoves[slot])) {
            return slot;
        }
    }
    return -1;
}

void CGeneticBase::Remember(const Move& move)
{
    // While the pool fills, the new move gets the next free slot and its
    // place in the fitness order; once full, it takes the slot of the
    // remembered move nearest in fitness, which keeps the order and spreads
    // the pool over the whole range of fitness instead of over time.
    int* sorted = m_arrMovesByFitness.data();
    const int at = LowerBound(move.fitness);
    if (m_nMoves < kMovesRemembered) {
        std::memmove(sorted + at + 1, sorted + at,
                     static_cast<size_t>(m_nMoves - at) * sizeof(int));
        sorted[at] = m_nMoves;
        m_arrMoves[static_cast<size_t>(m_nMoves++)] = move;
        return;
    }
    int nearest = at;
    if (at == m_nMoves || (at > 0 && move.fitness - m_arrMoves[sorted[at - 1]].fitness <
                                         m_arrMoves[sorted[at]].fitness - move.fitness)) {
        nearest = at - 1;
    }
    m_arrMoves[static_cast<size_t>(sorted[nearest])] = move;
}

void CGeneticBase::CreateUnit(void* unit)
{
    auto* bytes = static_cast<unsigned char*>(unit);
    std::uint64_t bits = 0;
    for (int j = 0; j < m_nUnitBytes; ++j) {
        if (j % 8 == 0) {
            bits = m_random.Next();
        }
        bytes[j] = static_cast<unsigned char>(bits);
        bits >>= 8;
    }
}

void CGeneticBase::IntercrossUnits(void* first, void* second)
{
    auto* a = static_cast<unsigned char*>(first);
    auto* b = static_cast<unsigned char*>(second);
    std::uint64_t bits = 0;
    for (int j = 0; j < m_nUnitBytes; ++j) {
        if (j % 16 == 0) {
            bits = m_random.Next();
        }
        const unsigned char swap =
            static_cast<unsigned char>((a[j] ^ b[j]) & kSymbolMask[bits & 15]);
        bits >>= 4;
        a[j] = static_cast<unsigned char>(a[j] ^ swap);
        b[j] = static_cast<unsigned char>(b[j] ^ swap);
    }
}

void CGeneticBase::ArithmeticIntercrossUnits(void* first, void* second)
{
    auto* a = static_cast<unsigned char*>(first);
    auto* b = static_cast<unsigned char*>(second);
    for (int i = 0; i < m_nSymbols; ++i) {
        const int sum = Symbol(a, i) + Symbol(b, i);
        SetSymbol(a, i, sum / 2);
        SetSymbol(b, i, (sum + 1) / 2);
    }
}

void CGeneticBase::MutateUnit(void* unit)
{
    auto* bytes = static_cast<unsigned char*>(unit);
    const std::uint32_t threshold = CRandom::Threshold(m_arrParameter[0]);
    for (int i = 0; i < m_nSymbols; ++i) {
        if (m_random.Chance(threshold)) {
            SetSymbol(bytes, i, (Symbol(bytes, i) + 1 + static_cast<int>(m_random.Below(3))) & 3);
        }
    }
}

void CGeneticBase::NonconformingMutateUnit(void* unit)
{
    if (m_nUnitBytes > 0) {
        auto* bytes = static_cast<unsigned char*>(unit);
        bytes[m_random.Below(static_cast<std::uint32_t>(m_nUnitBytes))] =
            static_cast<unsigned char>(m_random.Next());
    }
}

}  // namespace loadcal
