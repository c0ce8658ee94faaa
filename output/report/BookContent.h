#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/Calculation.h"
#include "model/Document.h"
#include "model/LoadTypes.h"
#include "model/Records.h"

namespace loadcal {

/// One step of a transformer's sizing as the calculation book prints it: what
/// it computes and the formula with the document's figures put in, rounded
/// for reading ("Pc = K∑p × ΣPjs = 0.9 × 673.28 = 605.95 kW").
struct BookStep {
    std::wstring label;
    std::wstring text;
};

/// A transformer's fire case as the book shows it (a document with fire
/// roles): the members as the fire case takes them (the circuits shed in a
/// fire left out, the fire-only ones in, each board with its fire figures),
/// the parts of its group sums, Qc, Pc / S2 and the steps, from the fire
/// fields of the record.
struct BookTransformerFire {
    GroupPhases phases;
    std::wstring installedSum;  ///< ΣPe, kW, "%G"
    std::wstring activeSum;     ///< ΣPjs with the 15 % rule, kW, "%G"
    std::wstring reactiveSum;   ///< ΣQjs with the 15 % rule, kvar, "%G"
    double reactiveLoad = 0;    ///< Qc = K∑q × ΣQjs, kvar, as the calculation takes it
    double cosAfterActual = 0;  ///< Pc / S2 from the fire fields; 0 when S2 is 0
    std::vector<BookStep> steps;
};

/// What the book shows of one transformer: the circuits and the boards that
/// belong to it (indexes into their lists, list order), the parts of its
/// group sums, the phase currents L1, L2, L3 as the conductors carry them (A,
/// the sum of the members' Ijs: single-phase members in their phase, a
/// three-phase member its whole current in every phase; before simultaneity
/// and compensation) and the steps, their figures rounded for reading.
struct BookTransformer {
    int index = 0;
    std::vector<int> circuits;
    std::vector<int> boards;
    GroupPhases phases;
    std::wstring installedSum;  ///< ΣPe, kW, "%G"
    std::wstring activeSum;     ///< ΣPjs with the 15 % rule, kW, "%G"
    std::wstring reactiveSum;   ///< ΣQjs with the 15 % rule, kvar, "%G"
    double reactiveLoad = 0;    ///< Qc = K∑q × ΣQjs, kvar, as the calculation takes it
    double phaseCurrents[3] = {0, 0, 0};
    double cosAfterActual = 0;  ///< Pc / S2 from the document's texts; 0 when S2 is 0
    /// The normal case's steps; without fire roles they end with the rated
    /// capacity and the load rate, with fire roles at Pc / S2 (sizing follows).
    std::vector<BookStep> steps;
    std::optional<BookTransformerFire> fire;  ///< a document with fire roles only
    /// With fire roles: the rated capacity from the larger S2 of both cases,
    /// the load rate of each case and the governing case.
    std::vector<BookStep> sizing;
};

/// A board's fire case as the book shows it: its members as the fire case
/// takes them, the parts of its sums and the steps to its fire figures.
struct BookBoardFire {
    GroupPhases phases;
    std::wstring installedSum;  ///< kW, "%G"
    std::wstring activeSum;     ///< kW, "%G"
    std::wstring reactiveSum;   ///< kvar, "%G"
    std::vector<BookStep> steps;
};

/// What the book shows of one distribution board, in the tree order of the
/// book (each transformer in list order, then the boards it feeds depth
/// first, members in list order; a board fed from several owners stands once,
/// where the walk first reaches it; boards no transformer reaches, then
/// boards on a cycle of owners, last).
struct BookBoard {
    int index = 0;         ///< into the board list
    int parent = -1;       ///< the board it stands under in the walk (index), or -1
    int transformer = -1;  ///< the transformer the walk came from, or -1 when none reaches it
    int depth = 0;         ///< 1 under a transformer, 2 under such a board, ...
    bool onCycle = false;  ///< on a cycle of owners: no figures, no steps
    std::vector<std::wstring> owners;  ///< the boards and transformers its owner list names
    std::vector<int> circuits;         ///< member circuits, list order
    std::vector<int> boards;           ///< member boards, list order
    GroupPhases phases;
    std::wstring installedSum;  ///< ΣPe as the board takes it, kW, "%G"
    std::wstring activeSum;     ///< ΣPjs, kW, "%G"
    std::wstring reactiveSum;   ///< ΣQjs, kvar, "%G"
    std::vector<BookStep> steps;
    std::optional<BookBoardFire> fire;  ///< a document with fire roles, not on a cycle
    BookStep governing;                 ///< with fire roles: which case sizes the feeder
};

/// One check a reviewer makes, met (满足) or needing attention (需注意).
struct BookCheck {
    std::wstring item;     ///< what is checked
    std::wstring subject;  ///< the transformer, or the document
    std::wstring finding;  ///< the figure or the cells found
    bool met = true;
};

/// Under the original rules, the same document recalculated under GB
/// 51348-2019 in a copy (RecalculateDocument), so that a reviewer sees
/// what the rule set changes for this document: the copy, its transformers
/// as the book shows them (no steps), its totals.
struct BookComparison {
    CLoadCalDocument document;
    std::vector<BookTransformer> transformers;
    SummaryTotals totals;
};

/// One row of the load-type library a document used, as the book's
/// section of sources lists it: a type, or one tier of a tiered type.
struct BookTypeRow {
    std::wstring name;     ///< as the library names it; as the circuit wrote it when unknown
    std::wstring scale;    ///< what the figures apply to, and the tier's label for a tier
    std::wstring kxRange;  ///< "0.18–0.22", or one figure
    std::wstring kx;       ///< the typical Kx ("按档" for a tiered type without its tier)
    std::wstring cos;      ///< "0.8（tanφ 0.75）", or "—" when the type gives none
    std::wstring source;   ///< the citation (CLoadType::Citation), "用户自定义" without source
    std::wstring origin;   ///< 内置, 用户 or 用户覆盖
    int circuits = 0;      ///< circuits naming it (in this tier)
    bool known = true;     ///< false: the name is not in the library
};

/// Everything the calculation book says about a document, computed from the
/// record texts as they stand (nothing is recalculated: the results shown are
/// the document's own texts; only the intermediate figures the records do
/// not hold — group sums, Qc, the required capacity — are derived, with the
/// model's own functions under the document's rule set).
struct BookContent {
    CalcRules rules = CalcRules::Original;
    bool fire = false;  ///< the document has fire roles: both cases are shown
    std::vector<BookTransformer> transformers;
    std::vector<BookBoard> boards;  ///< tree order; empty without boards
    std::vector<BookCheck> checks;
    SummaryTotals totals;
    std::optional<BookComparison> comparison;  ///< under the original rules only
    /// The library rows the circuits name, in the order first named; empty
    /// when no circuit names a type.
    std::vector<BookTypeRow> types;
    /// By circuit: where its Kx and cos φ come from when it names a type (the
    /// type's source with its edition, and the note of a secondary summary;
    /// "用户自定义"; or that the name is not in the library); empty without a type.
    std::vector<std::wstring> typeSources;
};

/// Builds the book's content of a document. library: the load-type
/// library the circuits' types are looked up in (their sources, and the
/// document checks of their figures); none: the types are listed as not
/// looked up.
BookContent BuildBookContent(const CLoadCalDocument& doc,
                             const CLoadTypeLibrary* library = nullptr);
/// The same for a document of the two lists alone (no boards, the original rules).
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
