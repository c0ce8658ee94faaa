// The phase-assignment problem: gene decoding, the fitness, the search's
// set-up and the per-transformer driver with its progress in the title.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "balancing/Extremum.h"
#include "balancing/Random.h"

using namespace loadcal;

namespace {

/// Records every title the driver writes.
class CTitleRecorder : public IPhaseBalanceHost {
public:
    explicit CTitleRecorder(std::wstring title) : m_title(std::move(title)) {}

    std::wstring GetTitle() const override { return m_title; }
    void SetTitle(const std::wstring& title) override
    {
        m_title = title;
        titles.push_back(title);
    }
    void SetPhaseCell(int, const std::wstring&) override {}
    void ShowReport(const std::wstring&) override {}
    void RefreshTotalCell(int) override {}
    void RecalculateAllTransformers() override {}
    void RefreshLoadGrid() override {}

    std::vector<std::wstring> titles;

private:
    std::wstring m_title;
};

std::vector<CBalanceItem> ItemsOf(const std::vector<double>& currents)
{
    std::vector<CBalanceItem> items(currents.size());
    for (size_t i = 0; i < currents.size(); ++i) {
        items[i].current = currents[i];
        items[i].index = static_cast<std::int32_t>(i);
        items[i].phase = -1;
    }
    return items;
}

double FitnessOf(const std::vector<double>& currents, const std::vector<unsigned char>& unit)
{
    std::vector<CBalanceItem> items = ItemsOf(currents);
    CExtremum problem;
    problem.SetItems(items.data(), static_cast<int>(items.size()));
    return problem.Fitness(unit.data());
}

const std::wstring kSavedTitle = L"需要系数法负荷计算 - 一号楼.LDC";

}  // namespace

TEST(GeneDecoding, FiveItemsTakeTwoBytesAndTheFifthReadsTheTopPairOfTheSecond)
{
    // Item genes 0, 1, 2, 3 in the first byte (gene 3 is the third phase
    // too); item 4 is bits 7-6 of the second.
    const unsigned char unit[2] = {0b00'01'10'11, 0b01'10'11'00};
    EXPECT_EQ(DecodeGene(unit, 0), 0);
    EXPECT_EQ(DecodeGene(unit, 1), 1);
    EXPECT_EQ(DecodeGene(unit, 2), 2);
    EXPECT_EQ(DecodeGene(unit, 3), 2);
    EXPECT_EQ(DecodeGene(unit, 4), 1);

    // A = 1, B = 2 + 16, C = 4 + 8: the six unused bits play no part.
    const std::vector<double> currents = {1, 2, 4, 8, 16};
    const double expected = 10000.0 / (17.0 + 11.0 + 6.0 + 1.0);
    EXPECT_EQ(FitnessOf(currents, {0b00'01'10'11, 0b01'00'00'00}), expected);
    EXPECT_EQ(FitnessOf(currents, {0b00'01'10'11, 0b01'11'01'10}), expected);
}

namespace {

/// The fitness from phase sums added in item order, written out plainly.
double ItemOrderFitness(const std::vector<double>& currents, const std::vector<unsigned char>& unit)
{
    double sum[3] = {0.0, 0.0, 0.0};
    for (size_t i = 0; i < currents.size(); ++i) {
        const int gene = (unit[i / 4] >> (6 - 2 * (i % 4))) & 3;
        sum[gene == 3 ? 2 : gene] += currents[i];
    }
    return 10000.0 / (std::abs(sum[0] - sum[1]) + std::abs(sum[0] - sum[2]) +
                      std::abs(sum[1] - sum[2]) + 1.0);
}

std::vector<unsigned char> RandomUnit(CRandom& random, size_t items)
{
    std::vector<unsigned char> unit((items + 3) / 4);
    for (unsigned char& byte : unit) {
        byte = static_cast<unsigned char>(random.Next());
    }
    return unit;
}

}  // namespace

TEST(Fitness, IsTheSpreadOfTheExactPhaseSums)
{
    CRandom random(5);
    for (int round = 0; round < 300; ++round) {
        const size_t n = 1 + random.Below(300);
        // Multiples of 1/1024 below 2^11: every sum and difference in double
        // is exact, so plain item-order sums are the exact ones.
        std::vector<double> dyadic(n);
        // Figures of no short binary form, some negative: the exact sums
        // rounded once differ from item-order sums by rounding only.
        std::vector<double> decimal(n);
        for (size_t i = 0; i < n; ++i) {
            dyadic[i] = static_cast<double>(random.Below(1u << 21)) / 1024.0;
            decimal[i] = (static_cast<double>(random.Below(2000000)) - 100000.0) / 9973.0;
        }
        const std::vector<unsigned char> unit = RandomUnit(random, n);
        ASSERT_EQ(FitnessOf(dyadic, unit), ItemOrderFitness(dyadic, unit)) << "round " << round;
        const double expected = ItemOrderFitness(decimal, unit);
        ASSERT_NEAR(FitnessOf(decimal, unit), expected, expected * 1e-12) << "round " << round;
    }
}

TEST(Fitness, OfAUnitDoesNotDependOnTheUnitsSeenBefore)
{
    // One problem object follows a unit through changes of a few symbols, as
    // the search's local steps make them, and now and then jumps to an
    // unrelated unit; each score must equal a fresh object's to the last bit.
    CRandom random(8);
    for (const int n : {1, 5, 31, 32, 33, 200, 501}) {
        std::vector<double> currents(static_cast<size_t>(n));
        for (double& c : currents) {
            c = static_cast<double>(1000 + random.Below(999001)) * 1e-4;
        }
        std::vector<CBalanceItem> items = ItemsOf(currents);
        CExtremum problem;
        problem.SetItems(items.data(), n);
        std::vector<unsigned char> unit = RandomUnit(random, static_cast<size_t>(n));
        for (int step = 0; step < 400; ++step) {
            if (random.Below(20) == 0) {
                unit = RandomUnit(random, static_cast<size_t>(n));
            } else {
                for (int k = 1 + static_cast<int>(random.Below(8)); k > 0; --k) {
                    // Any symbol of the unit, the unused ones of the last byte too.
                    const size_t symbol = random.Below(static_cast<std::uint32_t>(unit.size() * 4));
                    unit[symbol / 4] ^=
                        static_cast<unsigned char>((1 + random.Below(3)) << (6 - 2 * (symbol % 4)));
                }
            }
            ASSERT_EQ(problem.Fitness(unit.data()), FitnessOf(currents, unit))
                << "n " << n << " step " << step;
        }
    }
}

TEST(Fitness, CurrentsOfNoCommonScaleUseItemOrderSums)
{
    CRandom random(9);
    const std::vector<std::vector<double>> cases = {
        {1e300, 3.5, 1e-300, 7.25, 2.0},
        {10.0, std::numeric_limits<double>::infinity(), 4.0, 6.0},
        {10.0, std::numeric_limits<double>::quiet_NaN(), 4.0, 6.0},
    };
    for (const std::vector<double>& currents : cases) {
        for (int round = 0; round < 20; ++round) {
            const std::vector<unsigned char> unit = RandomUnit(random, currents.size());
            const double expected = ItemOrderFitness(currents, unit);
            const double got = FitnessOf(currents, unit);
            if (std::isnan(expected)) {
                ASSERT_TRUE(std::isnan(got));
            } else {
                ASSERT_EQ(got, expected);
            }
        }
    }
}

TEST(SearchSetUp, PassesTheSinglePrecisionParametersWidenedToDouble)
{
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    EXPECT_EQ(std::bit_cast<std::uint64_t>(search->Parameter(0)), 0x3F747AE140000000u);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(search->Parameter(1)), 0x3FA99999A0000000u);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(search->Parameter(2)), 0x3FA99999A0000000u);
    EXPECT_EQ(kPhaseSearchGenerations, 1000);
}

TEST(AssignPhases, StopsAtAPerfectSplitWithoutEverShowingProgress)
{
    // Three 10 A items on three phases score 10000: the first generation
    // already holds such a unit, and its percentage (0) shows nothing yet.
    std::vector<CBalanceItem> items = ItemsOf({10, 10, 10, 0});
    CTitleRecorder window(kSavedTitle);
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    EXPECT_TRUE(AssignPhases(*search, items.data(), 4, L"T1", 1000, window));

    EXPECT_EQ(window.titles, std::vector<std::wstring>{kSavedTitle});
    EXPECT_NE(items[0].phase, items[1].phase);
    EXPECT_NE(items[0].phase, items[2].phase);
    EXPECT_NE(items[1].phase, items[2].phase);
    EXPECT_GE(items[3].phase, 0);
    EXPECT_LE(items[3].phase, 2);
}

TEST(AssignPhases, AFullRunShowsEveryPercentFromGenerationNineAndRestoresTheTitle)
{
    // Four 10 A items cannot be split evenly, so all 1000 generations run.
    std::vector<CBalanceItem> items = ItemsOf({10, 10, 10, 10});
    CTitleRecorder window(kSavedTitle);
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    AssignPhases(*search, items.data(), 4, L"T1", 1000, window);

    ASSERT_EQ(window.titles.size(), 1001u);
    for (int g = 0; g < 1000; ++g) {
        const int percent = (g + 1) / 10;
        const std::wstring expected =
            percent == 0 ? kSavedTitle
                         : kSavedTitle + L" 变压器 T1 - 已完成" + std::to_wstring(percent) + L"%";
        ASSERT_EQ(window.titles[static_cast<size_t>(g)], expected) << "generation " << g;
    }
    EXPECT_EQ(window.titles[999], kSavedTitle + L" 变压器 T1 - 已完成100%");
    EXPECT_EQ(window.titles[1000], kSavedTitle);

    // The best split: two items on one phase, one on each of the others.
    int count[3] = {0, 0, 0};
    for (const CBalanceItem& item : items) {
        ++count[item.phase];
    }
    std::sort(std::begin(count), std::end(count));
    EXPECT_EQ(count[0], 1);
    EXPECT_EQ(count[1], 1);
    EXPECT_EQ(count[2], 2);
}

TEST(AssignPhases, TheGenerationCountSetsThePercentSteps)
{
    std::vector<CBalanceItem> items = ItemsOf({10, 10, 10, 10, 3});
    CTitleRecorder window(L"");
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    AssignPhases(*search, items.data(), 5, L"变压器甲", 7, window);

    // (g + 1) x 100 / 7: 14, 28, 42, 57, 71, 85, 100.
    const std::vector<std::wstring> expected = {
        L" 变压器 变压器甲 - 已完成14%",  L" 变压器 变压器甲 - 已完成28%",
        L" 变压器 变压器甲 - 已完成42%",  L" 变压器 变压器甲 - 已完成57%",
        L" 变压器 变压器甲 - 已完成71%",  L" 变压器 变压器甲 - 已完成85%",
        L" 变压器 变压器甲 - 已完成100%", L""};
    EXPECT_EQ(window.titles, expected);
}
