#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

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
///
/// The sums are kept exactly: SetItems writes every current as an integer
/// multiple of one power of two (a 128-bit fixed-point figure), and Fitness
/// rounds only the final spread to double. So a unit's fitness does not depend
/// on the order of additions, and Fitness can bring the sums of the unit it
/// saw last up to date by the genes that changed instead of adding all items
/// again: the search's local steps change a few genes at a time, which makes
/// an evaluation cost a comparison of the unit bytes, not a pass over the
/// items. Currents that do not fit one fixed-point scale (not finite, or
/// spanning more binary places than a 128-bit sum holds) fall back to plain
/// double sums in item order. Owns the fixed-point copy and the last unit with its sums.
class CExtremum : public CGeneticBase {
public:
    CExtremum();
    ~CExtremum() override;

    /// Lends the items of the next search; they and their currents must stay
    /// unchanged while lent.
    void SetItems(CBalanceItem* items, int count);

    /// The fitness of a unit of at least ceil(n / 4) bytes.
    double Fitness(const void* unit) const override;

private:
    __extension__ typedef __int128 Fixed;

    double PlainFitness(const unsigned char* unit) const;
    /// Moves the items of one 8-byte word whose genes differ between now and
    /// the remembered unit from one of sums to another, and remembers now.
    void Update(Fixed (&sums)[3], int word, std::uint64_t now) const;

    CBalanceItem* m_pItems = nullptr;
    int m_nItems = 0;
    bool m_bExact = false;
    double m_dScale = 1.0;          ///< the current (A) of a fixed-point 1, a power of two
    std::vector<Fixed> m_arrFixed;  ///< the currents in fixed point
    mutable std::vector<std::uint64_t> m_arrLast;  ///< the unit seen last, 8 bytes a word
    mutable Fixed m_arrSums[3] = {0, 0, 0};        ///< its phase sums
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
/// 0.001 of 10000, and writes each item's phase. Returns true. The progress
/// names the group as a transformer's, or as a distribution board's when
/// board is true.
bool AssignPhases(CExtremum& search, CBalanceItem* items, int n, std::wstring transformerName,
                  int generations, IPhaseBalanceHost& host, bool board = false);

}  // namespace loadcal
