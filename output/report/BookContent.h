#pragma once

#include <string>
#include <vector>

#include "model/Calculation.h"
#include "model/Records.h"

namespace loadcal {

/// One step of a transformer's sizing as the calculation book prints it: what
/// it computes and the formula with the document's figures put in, rounded
/// for reading ("Pc = K∑p × ΣPjs = 0.9 × 673.28 = 605.95 kW").
struct BookStep {
    std::wstring label;
    std::wstring text;
};

/// What the book shows of one transformer: the circuits that belong to it
/// (indexes into the circuit list, list order), the parts of its group sums,
/// the phase currents L1, L2, L3 as the conductors carry them (A, the sum of
/// the circuits' Ijs: single-phase circuits in their phase, a three-phase
/// circuit its whole current in every phase; before simultaneity and
/// compensation) and the steps, their figures rounded for reading.
struct BookTransformer {
    int index = 0;
    std::vector<int> circuits;
    GroupPhases phases;
    std::wstring installedSum;  ///< ΣPe, kW, "%G"
    std::wstring activeSum;     ///< ΣPjs with the 15 % rule, kW, "%G"
    std::wstring reactiveSum;   ///< ΣQjs with the 15 % rule, kvar, "%G"
    double phaseCurrents[3] = {0, 0, 0};
    double cosAfterActual = 0;  ///< Pc / S2 from the document's texts; 0 when S2 is 0
    std::vector<BookStep> steps;
};

/// One check a reviewer makes, met (满足) or needing attention (需注意).
struct BookCheck {
    std::wstring item;     ///< what is checked
    std::wstring subject;  ///< the transformer, or the document
    std::wstring finding;  ///< the figure or the cells found
    bool met = true;
};

/// Everything the calculation book says about a document, computed from the
/// record texts as they stand (nothing is recalculated: the results shown are
/// the document's own texts; only the intermediate figures the records do
/// not hold — group sums, Qc, the required capacity — are derived, with the
/// model's arithmetic).
struct BookContent {
    std::vector<BookTransformer> transformers;
    std::vector<BookCheck> checks;
    SummaryTotals totals;
};

/// Builds the book's content of a document.
BookContent BuildBookContent(const CLoadArray& loads, const CTransformerArray& transformers);

/// The texts of a document's figure cells that do not read as numbers
/// (ReadTypedNumber), each as "<where> <column> "<text>"": every figure column
/// of the load and transformer tables; an empty installed compensation is
/// allowed (it means "as required").
std::vector<std::wstring> NonNumericCells(const CLoadArray& loads,
                                          const CTransformerArray& transformers);

/// Load rates above this ratio need attention.
inline constexpr double kLoadRateLimit = 0.85;
/// Power factors after compensation below this need attention.
inline constexpr double kPowerFactorLimit = 0.9;

}  // namespace loadcal
