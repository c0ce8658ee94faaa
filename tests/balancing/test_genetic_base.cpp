// The genetic engine: elitism, determinism, its use of the unit operators and
// their meaning, and the limits of its scale.

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

#include "balancing/Extremum.h"
#include "balancing/GeneticBase.h"
#include "balancing/Random.h"

using namespace loadcal;

namespace {

/// A phase problem over fixed random currents (A).
struct CRandomTransformer {
    explicit CRandomTransformer(int n, std::uint64_t seed = 3) : items(static_cast<size_t>(n))
    {
        CRandom random(seed);
        for (int i = 0; i < n; ++i) {
            items[static_cast<size_t>(i)].current =
                0.1 + static_cast<double>(random.Below(99900)) / 1000.0;
            items[static_cast<size_t>(i)].index = i;
        }
        problem.SetItems(items.data(), n);
    }
    int Bytes() const { return (static_cast<int>(items.size()) + 3) / 4; }
    std::vector<unsigned char> Fittest()
    {
        const unsigned char* unit = problem.FittestSolution(nullptr);
        return std::vector<unsigned char>(unit, unit + Bytes());
    }

    std::vector<CBalanceItem> items;
    CExtremum problem;
};

/// Counts the unit operators the engine calls and lets them do their work.
class CCountingProblem : public CGeneticBase {
public:
    void CreateUnit(void* unit) override
    {
        ++created;
        CGeneticBase::CreateUnit(unit);
    }
    void IntercrossUnits(void* a, void* b) override
    {
        ++uniform;
        CGeneticBase::IntercrossUnits(a, b);
    }
    void ArithmeticIntercrossUnits(void* a, void* b) override
    {
        ++arithmetic;
        CGeneticBase::ArithmeticIntercrossUnits(a, b);
    }
    void MutateUnit(void* unit) override
    {
        ++mutated;
        CGeneticBase::MutateUnit(unit);
    }
    void NonconformingMutateUnit(void* unit) override
    {
        ++bursts;
        CGeneticBase::NonconformingMutateUnit(unit);
    }
    /// Number of symbols equal to 1, out of 4 x bytes: easy to climb.
    double Fitness(const void* unit) const override
    {
        const auto* bytes = static_cast<const unsigned char*>(unit);
        double ones = 0;
        for (int i = 0; i < 4 * bytes_; ++i) {
            ones += ((bytes[i / 4] >> (6 - 2 * (i % 4))) & 3) == 1 ? 1 : 0;
        }
        return ones;
    }

    int bytes_ = 0;
    int created = 0;
    int uniform = 0;
    int arithmetic = 0;
    int mutated = 0;
    int bursts = 0;
};

int SymbolOf(const std::vector<unsigned char>& unit, int i)
{
    return (unit[static_cast<size_t>(i / 4)] >> (6 - 2 * (i % 4))) & 3;
}

}  // namespace

TEST(GeneticBase, TheFittestUnitNeverGetsWorseDuringASearch)
{
    for (const int n : {5, 23, 120}) {
        CRandomTransformer t(n);
        t.problem.SetUnitScale(100, t.Bytes(), 10);
        double previous = t.problem.Fitness(t.problem.FittestSolution(nullptr));
        for (int g = 0; g < 400; ++g) {
            t.problem.Evolve();
            const double now = t.problem.Fitness(t.problem.FittestSolution(nullptr));
            ASSERT_GE(now, previous) << "n " << n << ", generation " << g;
            previous = now;
        }
        EXPECT_GT(previous, t.problem.Fitness(std::vector<unsigned char>(t.Bytes(), 0).data()));
    }
}

TEST(GeneticBase, TheSameSeedGivesTheSameUnitsOnEverySearchAndAnotherSeedOthers)
{
    CRandomTransformer a(60);
    CRandomTransformer b(60);
    CRandomTransformer c(60);
    c.problem.SetSeed(CGeneticBase::kDefaultSeed + 1);
    std::vector<std::vector<unsigned char>> runs;
    for (int run = 0; run < 2; ++run) {  // setting the scale again starts from the seed again
        for (CRandomTransformer* t : {&a, &b, &c}) {
            t->problem.SetUnitScale(100, t->Bytes(), 10);
        }
        bool differs = false;
        for (int g = 0; g < 200; ++g) {
            a.problem.Evolve();
            b.problem.Evolve();
            c.problem.Evolve();
            ASSERT_EQ(a.Fittest(), b.Fittest()) << "generation " << g;
            differs = differs || a.Fittest() != c.Fittest();
        }
        EXPECT_TRUE(differs);
        runs.push_back(a.Fittest());
    }
    EXPECT_EQ(runs[0], runs[1]);
}

TEST(GeneticBase, BreedsThroughTheVirtualUnitOperatorsAsTheParametersSay)
{
    CCountingProblem p;
    p.bytes_ = 8;
    const double never[3] = {0.005, 0.0, 0.0};
    p.SetParameterEx(never, 3);
    p.SetUnitScale(30, p.bytes_, 2);
    for (int g = 0; g < 100; ++g) {
        p.Evolve();
    }
    EXPECT_EQ(p.created, 30);
    EXPECT_GT(p.uniform, 0);
    EXPECT_EQ(p.arithmetic, 0);
    EXPECT_EQ(p.bursts, 0);
    EXPECT_EQ(p.mutated, p.uniform);

    CCountingProblem q;
    q.bytes_ = 8;
    const double always[3] = {0.005, 1.0, 1.0};
    q.SetParameterEx(always, 3);
    q.SetUnitScale(30, q.bytes_, 2);
    for (int g = 0; g < 100; ++g) {
        q.Evolve();
    }
    EXPECT_EQ(q.uniform, 0);
    EXPECT_GT(q.arithmetic, 0);
    EXPECT_EQ(q.bursts, q.arithmetic);
    EXPECT_EQ(q.mutated, q.arithmetic);
    // Climbing the count of ones is easy: the fittest unit is all ones.
    EXPECT_EQ(q.Fitness(q.FittestSolution(nullptr)), 32.0);
}

TEST(GeneticBase, MutationChangesSymbolsAtItsRate)
{
    CCountingProblem p;
    p.bytes_ = 16;
    p.SetUnitScale(2, p.bytes_, 0);
    std::vector<unsigned char> unit(16, 0x1B);

    const double none[1] = {0.0};
    p.SetParameterEx(none, 1);
    std::vector<unsigned char> copy = unit;
    p.MutateUnit(copy.data());
    EXPECT_EQ(copy, unit);

    const double all[1] = {1.0};
    p.SetParameterEx(all, 1);
    p.MutateUnit(copy.data());
    for (int i = 0; i < 64; ++i) {
        EXPECT_NE(SymbolOf(copy, i), SymbolOf(unit, i)) << "symbol " << i;
    }
}

TEST(GeneticBase, CrossoversKeepOrBlendEachPairOfSymbols)
{
    CCountingProblem p;
    p.bytes_ = 32;
    p.SetUnitScale(2, p.bytes_, 0);
    CRandom random(9);
    std::vector<unsigned char> a(32);
    std::vector<unsigned char> b(32);
    for (size_t j = 0; j < 32; ++j) {
        a[j] = static_cast<unsigned char>(random.Next());
        b[j] = static_cast<unsigned char>(random.Next());
    }

    std::vector<unsigned char> x = a;
    std::vector<unsigned char> y = b;
    p.IntercrossUnits(x.data(), y.data());
    int exchanged = 0;
    for (int i = 0; i < 128; ++i) {
        const bool kept = SymbolOf(x, i) == SymbolOf(a, i) && SymbolOf(y, i) == SymbolOf(b, i);
        const bool swapped = SymbolOf(x, i) == SymbolOf(b, i) && SymbolOf(y, i) == SymbolOf(a, i);
        ASSERT_TRUE(kept || swapped) << "symbol " << i;
        exchanged += !kept ? 1 : 0;
    }
    EXPECT_GT(exchanged, 20);  // about half of the ~96 differing pairs
    EXPECT_LT(exchanged, 80);

    x = {0b00'01'10'11};
    y = {0b11'10'10'01};
    p.SetUnitScale(2, 1, 0);
    p.ArithmeticIntercrossUnits(x.data(), y.data());
    EXPECT_EQ(x[0], 0b01'01'10'10);  // (0+3)/2, (1+2)/2, (2+2)/2, (3+1)/2 rounded down
    EXPECT_EQ(y[0], 0b10'10'10'10);  // the same rounded up
}

TEST(GeneticBase, RejectsAnImpossibleScaleAndCopesWithEmptyUnits)
{
    CRandomTransformer t(8);
    EXPECT_THROW(t.problem.SetUnitScale(0, 2, 10), std::invalid_argument);
    EXPECT_THROW(t.problem.SetUnitScale(100, -1, 10), std::invalid_argument);
    EXPECT_THROW(t.problem.SetUnitScale(100, 2, -1), std::invalid_argument);

    CExtremum empty;
    empty.SetItems(nullptr, 0);
    empty.SetUnitScale(100, 0, 10);
    empty.Evolve();
    int index = -1;
    EXPECT_EQ(empty.Fitness(empty.FittestSolution(&index)), 10000.0);
    EXPECT_GE(index, 0);
    EXPECT_LT(index, 100);
}
