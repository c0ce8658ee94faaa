#include "balancing/Extremum.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "balancing/BalancingTexts.h"

namespace loadcal {
namespace {

// The current when take holds, else +0.0, picked by masking its bits so that
// the loop below has no branch to mispredict on random genes.
inline double Pick(bool take, std::uint64_t bits)
{
    return std::bit_cast<double>(bits & (std::uint64_t{0} - static_cast<std::uint64_t>(take)));
}

// Adds a current to the sum of its phase. The other two sums get +0.0, which
// leaves them exactly as they are, so each sum is the plain sum of its own
// items in item order.
inline void AddToPhase(unsigned gene, double current, double& a, double& b, double& c)
{
    const std::uint64_t bits = std::bit_cast<std::uint64_t>(current);
    a += Pick(gene == 0, bits);
    b += Pick(gene == 1, bits);
    c += Pick(gene >= 2, bits);
}

}  // namespace

CExtremum::CExtremum() = default;

CExtremum::~CExtremum() = default;

double CExtremum::Fitness(const void* unit) const
{
    const auto* bytes = static_cast<const unsigned char*>(unit);
    double a = 0.0;
    double b = 0.0;
    double c = 0.0;
    const int whole = m_nItems / 4;
    const CBalanceItem* item = m_pItems;
    for (int k = 0; k < whole; ++k, item += 4) {
        const unsigned byte = bytes[k];
        AddToPhase(byte >> 6, item[0].current, a, b, c);
        AddToPhase((byte >> 4) & 3u, item[1].current, a, b, c);
        AddToPhase((byte >> 2) & 3u, item[2].current, a, b, c);
        AddToPhase(byte & 3u, item[3].current, a, b, c);
    }
    for (int i = whole * 4; i < m_nItems; ++i) {
        AddToPhase(static_cast<unsigned>(DecodeGene(bytes, i)), m_pItems[i].current, a, b, c);
    }
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
