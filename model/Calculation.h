#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "model/Document.h"
#include "model/Records.h"

namespace loadcal {

/// The demand-factor arithmetic over the two record lists. Every operation
/// parses the texts it needs (ParseNumber), computes in double precision and
/// writes or returns "%G" texts; later steps re-parse those texts, so results
/// carry at most six significant digits from one step to the next. Nothing is
/// cached between calls and nothing here reports errors: empty inputs read as
/// zero and the guards yield zero.

/// Fills Pjs, Qjs, Sjs, Ijs of one circuit (kW, kVar, kVA, A). The current
/// uses 1.732 (not sqrt 3) for a three-phase circuit, that is one whose phase
/// text contains "L1,L2,L3,N" anywhere.
void RecalculateCircuit(CLoadCalData& circuit);

/// True when name equals, without regard to case, one of the ","-separated
/// pieces of the circuit's owner field (the whole field when it has no ",").
bool BelongsTo(const CLoadCalData& circuit, const std::wstring& name);

/// Index of the first transformer whose name equals name without regard to
/// case, or -1.
int FindTransformer(const CTransformerArray& transformers, const std::wstring& name);

/// The summed field of a group sum.
enum class SumField { Reactive, Active, Installed };

/// Sum of one field over the circuits that belong to owner, with the 15 %
/// balance rule: when the three single-phase currents all lie within 15 % of
/// their mean the single-phase figures add up plainly, otherwise three times
/// the largest single-phase figure stands for all three phases. Three-phase
/// circuits add their figure in both cases; circuits with any other phase text
/// add nothing. Returns "%G" text.
std::wstring GroupSum(const CLoadArray& loads, const std::wstring& owner, SumField field);
inline std::wstring GroupReactiveSum(const CLoadArray& l, const std::wstring& o)
{
    return GroupSum(l, o, SumField::Reactive);
}
inline std::wstring GroupActiveSum(const CLoadArray& l, const std::wstring& o)
{
    return GroupSum(l, o, SumField::Active);
}
inline std::wstring GroupInstalledSum(const CLoadArray& l, const std::wstring& o)
{
    return GroupSum(l, o, SumField::Installed);
}

/// The 15 % rule: true when each of the three single-phase currents lies
/// strictly within 15 % of their mean (never when all are 0).
bool PhasesBalanced(const double (&current)[3]);

/// A group's sum from its per-phase parts: the plain sum of the three
/// single-phase figures and the three-phase one when the currents are
/// balanced, otherwise three times the largest single-phase figure plus the
/// three-phase one.
double CombinePhases(const double (&current)[3], const double (&value)[3], double threePhase);

/// The parts of the group sums of one owner, as GroupSum collects them:
/// per single phase (L1, L2, L3) the currents (A) and the summed figures,
/// and the three-phase circuits' figures and current.
struct GroupPhases {
    double current[3] = {0, 0, 0};
    double value[3][3] = {};           ///< [SumField][phase]
    double threePhase[3] = {0, 0, 0};  ///< [SumField]
    double threePhaseCurrent = 0;
    int singlePhaseCount = 0;
    bool Balanced() const { return PhasesBalanced(current); }
    /// The group sum of field, as GroupSum gives it before formatting.
    double Sum(SumField field) const;
};
GroupPhases GroupPhasesOf(const CLoadArray& loads, const std::wstring& owner);

/// Sum over the distinct owner texts (whole field, exact comparison, first
/// occurrence first) of each text's group sum. A joined owner "T1,T2" is one
/// distinct text whose own group is empty. Returns "%G" text.
std::wstring Total(const CLoadArray& loads, SumField field);
inline std::wstring TotalReactive(const CLoadArray& l)
{
    return Total(l, SumField::Reactive);
}
inline std::wstring TotalActive(const CLoadArray& l)
{
    return Total(l, SumField::Active);
}
inline std::wstring TotalInstalled(const CLoadArray& l)
{
    return Total(l, SumField::Installed);
}

/// Stot = sqrt(Ptot^2 + Qtot^2), kVA.
std::wstring TotalApparent(const CLoadArray& loads);
/// cos phi tot = Ptot / Stot when Stot > 1e-8, else 0.
std::wstring TotalPowerFactor(const CLoadArray& loads);
/// Itot = Stot / (sqrt 3 x 0.38), A.
std::wstring TotalCurrent(const CLoadArray& loads);

/// The six grand totals, in the order the outputs take them.
struct SummaryTotals {
    std::wstring installed;    ///< Pe,tot, kW
    std::wstring active;       ///< Ptot, kW
    std::wstring reactive;     ///< Qtot, kVar
    std::wstring apparent;     ///< Stot, kVA
    std::wstring powerFactor;  ///< cos phi tot
    std::wstring current;      ///< Itot, A
    friend bool operator==(const SummaryTotals&, const SummaryTotals&) = default;
};

/// An index over a circuit list for many group sums at once: the parsed
/// figures of every circuit and, for every owner piece (folded to lower case),
/// the circuits it names in list order. It gives exactly the texts of
/// GroupSum and Total in time proportional to the group instead of the whole
/// list. It borrows nothing: the list may change afterwards, but the index
/// then describes the list as it was.
class COwnerIndex {
public:
    explicit COwnerIndex(const CLoadArray& loads);

    /// Takes in a changed circuit idx of the same list: true when done;
    /// false when its owner text changed (or idx is outside the list), which
    /// the index cannot follow (build it again).
    bool Update(int idx, const CLoadCalData& circuit);

    std::wstring GroupSum(const std::wstring& owner, SumField field) const;
    std::wstring Total(SumField field) const;
    std::wstring TotalApparent() const;
    std::wstring TotalPowerFactor() const;
    std::wstring TotalCurrent() const;
    SummaryTotals Totals() const;

private:
    struct Figures {
        int phase;        ///< 0..2 single-phase, 3 three-phase, -1 none
        double current;   ///< Ijs, A
        double value[3];  ///< by SumField: Qjs, Pjs, Pe
    };
    static Figures FiguresOf(const CLoadCalData& circuit);

    std::vector<Figures> m_figures;
    std::vector<int> m_ownerOf;  ///< circuit -> its exact owner text in m_distinctOwners
    std::unordered_map<std::wstring, int> m_groupOfPiece;  ///< folded owner piece -> group
    std::vector<std::vector<int>> m_members;               ///< group -> circuits, list order
    std::vector<std::wstring> m_distinctOwners;            ///< exact texts, first occurrence first
};

/// Recalculates the transformer named name (without regard to case; the
/// first match): Pc, cos phi1, compensation, Q2, S2, I2, standard rated
/// capacity and actual load rate. Returns its index, or -1 when no
/// transformer has that name (nothing changes then).
int RecalculateTransformer(const CLoadArray& loads, CTransformerArray& transformers,
                           const std::wstring& name);
int RecalculateTransformer(const COwnerIndex& index, CTransformerArray& transformers,
                           const std::wstring& name);

/// Recalculates every transformer in list order, each by its own name.
void RecalculateAllTransformers(const CLoadArray& loads, CTransformerArray& transformers);
void RecalculateAllTransformers(const COwnerIndex& index, CTransformerArray& transformers);

/// The six grand totals of the circuits as they stand.
SummaryTotals ComputeTotals(const CLoadArray& loads);

/// A whole document: every circuit in order, then every transformer in order,
/// then the six totals, which are returned.
SummaryTotals RecalculateDocument(CLoadArray& loads, CTransformerArray& transformers);

/// The same for a whole document.
SummaryTotals RecalculateDocument(CLoadCalDocument& doc);
/// The six grand totals of a document's circuits as they stand.
SummaryTotals ComputeTotals(const CLoadCalDocument& doc);

/// The 25 standard rated capacities, kVA, ascending.
inline constexpr std::array<double, 25> kStandardCapacities = {
    30,  50,   63,   80,   100,  125,  160,  200,  250,  315,  400,  500,  630,
    800, 1000, 1250, 1600, 2000, 2500, 3150, 4000, 5000, 6300, 8000, 10000};

}  // namespace loadcal
