#pragma once

#include <array>
#include <string>
#include <vector>

#include "model/Document.h"

namespace loadcal {

/// One problem found in a document: what it is about, where the window marks
/// it, and the text that names it for the user, the command line's
/// "warnings" and the calculation book's checks. A warning never changes a
/// figure: the arithmetic stays as it is, the warning only says that a
/// figure should not be trusted as it stands.
struct CCheckWarning {
    /// The kind of record the warning is about.
    enum class Subject { Circuit, Transformer, Board, Document };

    Subject subject = Subject::Document;
    int index = -1;  ///< the record's index in its list; -1 for the document as a whole
    int field = -1;  ///< the record field (its Field enum) marked; -1: the record as a whole
    std::wstring
        text;  ///< names the circuit number or the transformer or board name, and the problem

    friend bool operator==(const CCheckWarning&, const CCheckWarning&) = default;
};

using CCheckWarnings = std::vector<CCheckWarning>;

/// The voltages (kV) a phase fits: a single-phase circuit at most
/// kSinglePhaseVoltageMax (220 to 240 V), a three-phase one at least
/// kThreePhaseVoltageMin (380 V and above, high voltage included).
inline constexpr double kSinglePhaseVoltageMax = 0.25;
inline constexpr double kThreePhaseVoltageMin = 0.36;
/// True when the working voltage is positive and fits the phase text.
bool VoltageFitsPhase(const std::wstring& phase, const std::wstring& voltage);

/// The computed fields of a transformer that must be finite numbers.
inline constexpr std::array<int, 8> kTransformerResultFields = {
    CTransformerCalData::kRatedCapacity, CTransformerCalData::kActualLoadRate,
    CTransformerCalData::kCalcP,         CTransformerCalData::kCalcQ,
    CTransformerCalData::kCalcS,         CTransformerCalData::kCalcI,
    CTransformerCalData::kCosBefore,     CTransformerCalData::kCompCapacity};

/// The circuits' problems, in list order: power factor or demand factor
/// outside (0, 1], a negative or non-finite rated power, a voltage that does
/// not fit the phase, results that are not finite, and whatever keeps a
/// circuit out of the transformers: a phase text that is not one of the
/// four, an owner piece naming no transformer, no owner at all.
CCheckWarnings CheckCircuits(const CLoadCalDocument& doc);
/// The same for circuit i alone, appended to out (CheckCircuits is this for
/// every circuit in order). The document gives the names an owner piece may
/// name: its transformers and its distribution boards.
void CheckCircuit(const CLoadCalData& circuit, int i, const CLoadCalDocument& doc,
                  CCheckWarnings& out);
/// The transformers' problems, in list order: a name holding ",", expected
/// load rate, α, β or target power factor outside (0, 1], results that are
/// not finite, a rated capacity of "0" (the load beyond the standard series),
/// an actual load rate above 1, a negative compensation.
CCheckWarnings CheckTransformers(const CLoadCalDocument& doc);
class CLoadTypeLibrary;

/// Every check of a document, one area after another: circuits,
/// transformers, distribution boards, the security of supply (the fire
/// condition's boards and the N−1 check), and, given the load-type library,
/// the circuits' load types. This is the one list the window marks, the command
/// line prints and the calculation book reports.
CCheckWarnings CheckDocument(const CLoadCalDocument& doc,
                             const CLoadTypeLibrary* library = nullptr);
/// False when a warning names this field of this record.
bool IsFigureTrustworthy(const CCheckWarnings& warnings, CCheckWarning::Subject subject, int index,
                         int field);

}  // namespace loadcal
