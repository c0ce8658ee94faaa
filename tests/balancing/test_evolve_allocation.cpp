// Evolve allocates nothing once a search is set up: this binary counts every
// call of the global operator new while a check is armed.

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <vector>

#include "balancing/Extremum.h"
#include "balancing/Random.h"

namespace {

bool g_counting = false;
long g_allocations = 0;

void* Allocate(std::size_t size)
{
    if (g_counting) {
        ++g_allocations;
    }
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}

/// Counts allocations from construction to Count().
class CAllocationCounter {
public:
    CAllocationCounter()
    {
        g_allocations = 0;
        g_counting = true;
    }
    ~CAllocationCounter() { g_counting = false; }
    long Count() const { return g_allocations; }
};

}  // namespace

void* operator new(std::size_t size)
{
    return Allocate(size);
}
void* operator new[](std::size_t size)
{
    return Allocate(size);
}
void operator delete(void* p) noexcept
{
    std::free(p);
}
void operator delete[](void* p) noexcept
{
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept
{
    std::free(p);
}

using namespace loadcal;

TEST(EvolveAllocation, TheCounterSeesAnAllocation)
{
    CAllocationCounter counter;
    std::vector<int> v(10);
    EXPECT_EQ(counter.Count(), 1);
}

TEST(EvolveAllocation, NoGenerationAllocatesAfterSetUp)
{
    for (const int n : {4, 37, 200}) {
        std::vector<CBalanceItem> items(static_cast<size_t>(n));
        CRandom random(static_cast<std::uint64_t>(n));
        for (CBalanceItem& item : items) {
            item.current = static_cast<double>(random.Below(1000000)) / 1e4;
        }
        const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
        search->SetItems(items.data(), n);
        search->SetUnitScale(100, (n + 3) / 4, 10);

        CAllocationCounter counter;
        double score = 0.0;
        for (int g = 0; g < 300; ++g) {
            search->Evolve();
            score = search->Fitness(search->FittestSolution(nullptr));
        }
        EXPECT_EQ(counter.Count(), 0) << "n " << n;
        EXPECT_GT(score, 0.0);
    }
}
