#include "balancing/Extremum.h"

#include <bit>
#include <cmath>
#include <cstdint>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

#include "balancing/BalancingTexts.h"

namespace loadcal {
namespace {

// Bit masks that keep a current for the phase of a gene and make it +0.0 for
// the others (gene 3 counts as phase 2). Adding +0.0 leaves a sum exactly as
// it is, so each sum is the plain sum of its own items in item order, and
// the loop has no branch to mispredict on random genes.
constexpr std::uint64_t kAll = ~std::uint64_t{0};
alignas(16) constexpr std::uint64_t kFirstTwoPhases[4][2] = {{kAll, 0}, {0, kAll}, {0, 0}, {0, 0}};
constexpr std::uint64_t kThirdPhase[4] = {0, 0, kAll, kAll};

#if defined(__SSE2__) || defined(_M_X64)
/// The three phase sums (A), the first two in one SSE2 register: one packed
/// addition adds to both, each lane exactly as a scalar addition would.
class CPhaseSums {
public:
    void Add(unsigned gene, double current)
    {
        const __m128d mask = _mm_castsi128_pd(
            _mm_load_si128(reinterpret_cast<const __m128i*>(kFirstTwoPhases[gene])));
        m_ab = _mm_add_pd(m_ab, _mm_and_pd(_mm_set1_pd(current), mask));
        m_c += std::bit_cast<double>(std::bit_cast<std::uint64_t>(current) & kThirdPhase[gene]);
    }
    double A() const { return _mm_cvtsd_f64(m_ab); }
    double B() const { return _mm_cvtsd_f64(_mm_unpackhi_pd(m_ab, m_ab)); }
    double C() const { return m_c; }

private:
    __m128d m_ab = _mm_setzero_pd();
    double m_c = 0.0;
};
#else
/// The three phase sums (A).
class CPhaseSums {
public:
    void Add(unsigned gene, double current)
    {
        const std::uint64_t bits = std::bit_cast<std::uint64_t>(current);
        m_a += std::bit_cast<double>(bits & kFirstTwoPhases[gene][0]);
        m_b += std::bit_cast<double>(bits & kFirstTwoPhases[gene][1]);
        m_c += std::bit_cast<double>(bits & kThirdPhase[gene]);
    }
    double A() const { return m_a; }
    double B() const { return m_b; }
    double C() const { return m_c; }

private:
    double m_a = 0.0;
    double m_b = 0.0;
    double m_c = 0.0;
};
#endif

}  // namespace

CExtremum::CExtremum() = default;

CExtremum::~CExtremum() = default;

double CExtremum::Fitness(const void* unit) const
{
    const auto* bytes = static_cast<const unsigned char*>(unit);
    CPhaseSums sums;
    const int whole = m_nItems / 4;
    const CBalanceItem* item = m_pItems;
    for (int k = 0; k < whole; ++k, item += 4) {
        const unsigned byte = bytes[k];
        sums.Add(byte >> 6, item[0].current);
        sums.Add((byte >> 4) & 3u, item[1].current);
        sums.Add((byte >> 2) & 3u, item[2].current);
        sums.Add(byte & 3u, item[3].current);
    }
    for (int i = whole * 4; i < m_nItems; ++i) {
        sums.Add((bytes[i >> 2] >> (6 - 2 * (i & 3))) & 3u, m_pItems[i].current);
    }
    const double a = sums.A();
    const double b = sums.B();
    const double c = sums.C();
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
                  int generations, IPhaseBalanceHost& host)
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
            progress = FormatText(kProgressFormat, {transformerName, percent});
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
