#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "balancing/GeneticBase.h"
#include "balancing/PhaseBalanceHost.h"

namespace loadcal {

/// One single-phase circuit of the transformer being balanced.
struct CBalanceItem {
    double current = 0.0;    ///< the circuit's calculated current, A
    std::int32_t index = 0;  ///< place in the transformer's list of single-phase circuits
    std::int32_t phase = 0;  ///< result: 0, 1 or 2, the place in the phase list ("L1,N" ..)
};

/// The phase of item i in a unit: item i owns the bit pair of byte i / 4 at
/// position i mod 4, most significant pair first; the value 3 reads as 2.
inline int DecodeGene(const unsigned char* unit, int i)
{
    const int gene = (unit[i >> 2] >> (6 - 2 * (i & 3))) & 3;
    return gene > 2 ? 2 : gene;
}

/// The phase-assignment problem: a unit holds one 2-bit gene per item, and
/// its fitness is 10000 / (|A - B| + |A - C| + |B - C| + 1), where A, B, C
/// are the currents (A) of the items on phases 0, 1, 2. An even split scores
/// 10000. The items are borrowed for one search (SetItems) and never owned.
class CExtremum : public CGeneticBase {
public:
    CExtremum();
    ~CExtremum() override;

    /// Lends the items of the next search; they must outlive it.
    void SetItems(CBalanceItem* items, int count)
    {
        m_pItems = items;
        m_nItems = count;
    }

    /// A single pass over the items, summing each phase in item order.
    double Fitness(const void* unit) const override;

private:
    CBalanceItem* m_pItems = nullptr;
    int m_nItems = 0;
};

/// The search as the dialog sets it up when it starts: a fresh problem
/// object with the engine parameters 0.005, 0.05, 0.05 (single-precision
/// constants widened to double).
std::unique_ptr<CExtremum> CreatePhaseSearch();

/// Generations per transformer.
inline constexpr int kPhaseSearchGenerations = 1000;

/// Spreads n items over the three phases: runs the search for up to
/// generations generations (population 100, unit length ceil(n / 4) bytes,
/// depth 10), showing the progress after the saved window title and
/// restoring it afterwards, stops early when the fittest unit scores within
/// 0.001 of 10000, and writes each item's phase. Returns true.
bool AssignPhases(CExtremum& search, CBalanceItem* items, int n, std::wstring transformerName,
                  int generations, IPhaseBalanceHost& host);

}  // namespace loadcal
