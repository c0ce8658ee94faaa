#include "balancing/Extremum.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "balancing/BalancingTexts.h"

namespace loadcal {
namespace {

// The phase of each gene value: 3 counts as the third phase.
constexpr int kPhaseOfGene[4] = {0, 1, 2, 2};

// Bits of a 128-bit signed sum the fixed-point scale may use, so that
// |A - B| + |A - C| + |B - C| stays below 2^127.
constexpr int kFixedBits = 120;
// The lowest scale kept as a normal double, so the spread is rescaled by one
// multiplication.
constexpr int kLowestScale = -1000;

/// A finite, non-zero double as odd x 2^low, with its binary exponent
/// (the value lies below 2^exponent in magnitude).
struct CBinaryFigure {
    std::int64_t odd = 0;
    int low = 0;
    int exponent = 0;
};

CBinaryFigure Decompose(double value)
{
    CBinaryFigure figure;
    figure.odd = static_cast<std::int64_t>(std::ldexp(std::frexp(value, &figure.exponent), 53));
    const int zeros =
        std::countr_zero(static_cast<std::uint64_t>(figure.odd < 0 ? -figure.odd : figure.odd));
    figure.odd /= std::int64_t{1} << zeros;
    figure.low = figure.exponent - 53 + zeros;
    return figure;
}

}  // namespace

CExtremum::CExtremum() = default;

CExtremum::~CExtremum() = default;

void CExtremum::SetItems(CBalanceItem* items, int count)
{
    m_pItems = items;
    m_nItems = count;
    m_bExact = false;
    m_arrFixed.assign(static_cast<size_t>(count), 0);
    m_arrLast.assign(static_cast<size_t>((count + 31) / 32), 0);
    m_arrSums[0] = m_arrSums[1] = m_arrSums[2] = 0;

    // Each current is m x 2^low with an odd integer m below 2^53: the lowest
    // low over the items is the scale, and the highest binary exponent and
    // the item count bound the sums.
    int lowest = INT_MAX;
    int highest = INT_MIN;
    for (int i = 0; i < count; ++i) {
        const double current = items[i].current;
        if (!std::isfinite(current)) {
            return;
        }
        if (current == 0.0) {
            continue;
        }
        const CBinaryFigure figure = Decompose(current);
        lowest = std::min(lowest, figure.low);
        highest = std::max(highest, figure.exponent);
    }
    if (lowest == INT_MAX) {
        lowest = highest = 0;
    }
    const int countBits = std::bit_width(static_cast<unsigned>(count));
    if (highest - lowest + countBits + 2 > kFixedBits || lowest < kLowestScale) {
        return;
    }
    m_dScale = std::ldexp(1.0, lowest);
    for (int i = 0; i < count; ++i) {
        const double current = items[i].current;
        if (current == 0.0) {
            continue;
        }
        const CBinaryFigure figure = Decompose(current);
        m_arrFixed[static_cast<size_t>(i)] =
            static_cast<Fixed>(figure.odd) * (static_cast<Fixed>(1) << (figure.low - lowest));
        // Every gene starts as 0 in the remembered unit: all items on the first phase.
        m_arrSums[0] += m_arrFixed[static_cast<size_t>(i)];
    }
    m_bExact = true;
}

double CExtremum::Fitness(const void* unit) const
{
    const auto* bytes = static_cast<const unsigned char*>(unit);
    if (!m_bExact) {
        return PlainFitness(bytes);
    }
    // Bring the remembered unit's sums up to date, eight bytes at a time.
    Fixed sums[3] = {m_arrSums[0], m_arrSums[1], m_arrSums[2]};
    const int bytesUsed = (m_nItems + 3) / 4;
    const int whole = bytesUsed / 8;
    std::uint64_t* last = m_arrLast.data();
    for (int w = 0; w < whole; ++w) {
        std::uint64_t now = 0;
        std::memcpy(&now, bytes + 8 * w, 8);
        if (now != last[w]) {
            Update(sums, w, now);
        }
    }
    if (bytesUsed > 8 * whole) {
        // The last word: its bytes beyond the unit stay 0 on both sides.
        std::uint64_t now = 0;
        for (int b = 8 * whole; b < bytesUsed; ++b) {
            const int place = b - 8 * whole;
            const int shift =
                std::endian::native == std::endian::little ? 8 * place : 56 - 8 * place;
            now |= static_cast<std::uint64_t>(bytes[b]) << shift;
        }
        if (now != last[whole]) {
            Update(sums, whole, now);
        }
    }
    for (int p = 0; p < 3; ++p) {
        m_arrSums[p] = sums[p];
    }

    // |A - B| + |A - C| + |B - C|, exactly and without branches on the signs.
    const auto magnitude = [](Fixed x) {
        const Fixed sign = x >> 127;
        return (x ^ sign) - sign;
    };
    const Fixed total =
        magnitude(sums[0] - sums[1]) + magnitude(sums[0] - sums[2]) + magnitude(sums[1] - sums[2]);
    // An integer below 2^63 converts in one instruction; both round to nearest.
    const double spread = total <= INT64_MAX ? static_cast<double>(static_cast<std::int64_t>(total))
                                             : static_cast<double>(total);
    return 10000.0 / (spread * m_dScale + 1.0);
}

void CExtremum::Update(Fixed (&sums)[3], int word, std::uint64_t now) const
{
    const std::uint64_t was = m_arrLast[static_cast<size_t>(word)];
    // One bit, the lower of its pair, for each symbol that differs.
    const std::uint64_t changed = now ^ was;
    std::uint64_t symbols = (changed | (changed >> 1)) & 0x5555555555555555ull;
    while (symbols != 0) {
        const int bit = std::countr_zero(symbols);
        symbols &= symbols - 1;
        // Byte k of the word holds items 4k .. 4k+3, the first in its top pair.
        const int byte = std::endian::native == std::endian::little ? bit / 8 : 7 - bit / 8;
        const int item = 32 * word + 4 * byte + (6 - bit % 8) / 2;
        if (item >= m_nItems) {
            continue;
        }
        const Fixed current = m_arrFixed[static_cast<size_t>(item)];
        sums[kPhaseOfGene[(was >> bit) & 3]] -= current;
        sums[kPhaseOfGene[(now >> bit) & 3]] += current;
    }
    m_arrLast[static_cast<size_t>(word)] = now;
}

double CExtremum::PlainFitness(const unsigned char* unit) const
{
    double sums[3] = {0.0, 0.0, 0.0};
    for (int i = 0; i < m_nItems; ++i) {
        sums[DecodeGene(unit, i)] += m_pItems[i].current;
    }
    const double a = sums[0];
    const double b = sums[1];
    const double c = sums[2];
    return 10000.0 / (std::fabs(a - b) + std::fabs(a - c) + std::fabs(b - c) + 1.0);
}

std::unique_ptr<CExtremum> CreatePhaseSearch()
{
    auto search = std::make_unique<CExtremum>();
    const double parameters[3] = {0.005f, 0.05f, 0.05f};
    search->SetParameterEx(parameters, 3);
    return search;
}

bool AssignPhases(CExtremum& search, CBalanceItem* items, int n, std::wstring transformerName,
                  int generations, IPhaseBalanceHost& host, bool board)
{
    const int unitBytes = n / 4 + (n % 4 != 0 ? 1 : 0);
    search.SetItems(items, n);
    search.SetUnitScale(100, unitBytes, 10);

    const std::wstring savedTitle = host.GetTitle();
    std::wstring progress;
    int shownPercent = 0;
    for (int g = 0; g < generations; ++g) {
        const int percent = (g + 1) * 100 / generations;
        if (percent > shownPercent) {
            progress = FormatText(board ? kBoardProgressFormat : kProgressFormat,
                                  {transformerName, percent});
            shownPercent = percent;
        }
        search.Evolve();
        const double score = search.Fitness(search.FittestSolution(nullptr));
        if (10000.0 - score < 0.001) {
            // The window never shows this text: the title is restored below.
            progress = FormatText(kProgressDoneFormat, {});
            break;
        }
        host.SetTitle(savedTitle + progress);
    }
    host.SetTitle(savedTitle);

    const unsigned char* best = search.FittestSolution(nullptr);
    for (int i = 0; i < n; ++i) {
        items[i].phase = DecodeGene(best, i);
    }
    return true;
}

}  // namespace loadcal
