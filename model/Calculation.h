#pragma once

#include <array>
#include <string>
#include <unordered_map>
#include <vector>

#include "model/Document.h"
#include "model/Records.h"
#include "model/Rules.h"

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
/// The same under a rule set: GB 51348-2019 takes sqrt 3 for a three-phase
/// circuit's current; the original rules are the function above.
void RecalculateCircuit(CLoadCalData& circuit, CalcRules rules);

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

/// The 15 % rule of GB 51348-2019: true when the single-phase members' total
/// active power (kW) is below 15 % of the three-phase members'; their
/// figures then add as they are.
bool SinglePhaseShareSmall(const double (&singlePhaseActive)[3], double threePhaseActive);

/// One member of a group (a circuit, or a board inside a board or under a
/// transformer) as the group sums read it: the group of its phase text
/// (0..2 for "L1,N" .. "L3,N", 3 for "L1,L2,L3,N", -1 for any other text,
/// which adds nothing), its current (A) and its figures by SumField: Q
/// (kVar), P (kW), Pe (kW), each as its stored text reads.
struct MemberFigures {
    int phase = -1;
    double current = 0;
    double value[3] = {0, 0, 0};
};

/// The phase group of a phase text, as MemberFigures holds it.
int PhaseGroupOf(const std::wstring& phase);

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
    /// Adds one member to its phase's parts (nothing for phase -1).
    void Add(const MemberFigures& member);
    /// The group sum of field, as GroupSum gives it before formatting.
    double Sum(SumField field) const;
    /// The group sum of field under a rule set: the original rules are Sum;
    /// under GB 51348-2019 the single-phase figures add as they are when
    /// their active total is below 15 % of the three-phase active total,
    /// otherwise three times the largest single-phase figure stands for them.
    double Sum(SumField field, CalcRules rules) const;
    /// Every member's figure as it is, whatever the phases.
    double PlainSum(SumField field) const;
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
/// then describes the list as it was. Once the totals have been asked for it
/// keeps every owner text's group sums, so that an Update recomputes only
/// the groups of the changed circuit and the next totals add up what is kept
/// (in the same order, so to the same texts).
class COwnerIndex {
public:
    explicit COwnerIndex(const CLoadArray& loads);
    /// The same with the circuits' figures already read (FiguresOf of every
    /// circuit, in list order); figures of another length are read afresh.
    COwnerIndex(const CLoadArray& loads, std::vector<MemberFigures> figures);

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
    /// The six totals under a rule set: the original rules are Totals();
    /// under GB 51348-2019 every circuit counts once, whatever its owners
    /// (Pe,tot, Ptot, Qtot the plain sums of the circuits' Pe, Pjs, Qjs).
    SummaryTotals Totals(CalcRules rules) const;

    /// The figures of circuit idx as the index read them.
    const MemberFigures& FiguresAt(int idx) const { return m_figures.at(static_cast<size_t>(idx)); }
    /// How many circuits the index holds.
    int Size() const { return static_cast<int>(m_figures.size()); }
    /// The circuits, in list order, one of whose owner pieces equals name
    /// without regard to case (each once).
    const std::vector<int>& MembersNamed(const std::wstring& name) const;
    /// The parsed figures of one circuit.
    static MemberFigures FiguresOf(const CLoadCalData& circuit);

private:
    std::vector<MemberFigures> m_figures;
    std::vector<int> m_ownerOf;  ///< circuit -> its exact owner text in m_distinctOwners
    std::unordered_map<std::wstring, int> m_groupOfPiece;  ///< folded owner piece -> group
    std::vector<std::vector<int>> m_members;               ///< group -> circuits, list order
    std::vector<std::wstring> m_distinctOwners;            ///< exact texts, first occurrence first
    std::vector<std::vector<int>> m_groupsOfDistinct;      ///< distinct text -> groups it names

    // The totals' parts, kept once asked for so that an Update changes only
    // the groups of its circuit: for every distinct owner text its three
    // group sums as their "%G" texts read (by SumField), and for every group
    // the distinct texts whose whole text names it.
    void EnsureOwnerSums() const;
    void ComputeOwnerSums(size_t distinct) const;
    mutable bool m_bOwnerSums = false;
    mutable std::vector<std::array<double, 3>> m_ownerSums;
    mutable std::vector<std::vector<int>> m_ownersOfGroup;
};

/// A transformer's loading from its group sums, unrounded: Pc = Kp x ΣP
/// (kW), Qc = Kq x ΣQ (kVar), cos phi1 from alpha and beta, the compensation
/// the load requires (kVar), the compensation taken as installed (the
/// actual compensation, or the required one when that is empty or 0), Q2 =
/// Qc - installed (kVar) and S2 (kVA).
struct TransformerLoad {
    double pc = 0;
    double qc = 0;
    double cosBefore = 0;
    double compensation = 0;
    double installed = 0;
    double q2 = 0;
    double s2 = 0;
};

/// Steps 2 to 8 of a transformer's recalculation, from the texts of its
/// group active (kW) and reactive (kVar) sums and its own factors. Under GB
/// 51348-2019 the compensation is alpha x Pc x (tan phi1 - tan phi2), and 0
/// when cos phi1 already reaches the target.
TransformerLoad ComputeTransformerLoad(const CTransformerCalData& transformer,
                                       const std::wstring& activeSum,
                                       const std::wstring& reactiveSum, CalcRules rules);

/// The standard rated capacity (kVA) for an apparent power S (kVA) at the
/// expected load rate: the first of kStandardCapacities strictly above
/// S / rate (S / rate read as 0 when the rate is about 0); 0 when none is,
/// or when S is not a number.
double StandardCapacityFor(double apparent, double expectedLoadRate);

/// Steps 2 to 11 of a transformer's recalculation from the texts of its
/// group active (kW) and reactive (kVar) sums: Pc, cos phi1, compensation,
/// Q2, S2, I2, standard rated capacity and actual load rate.
void CalculateTransformer(CTransformerCalData& transformer, const std::wstring& activeSum,
                          const std::wstring& reactiveSum, CalcRules rules = CalcRules::Original);

/// The same for a document with fire roles, from the group sums of both
/// cases. The normal case fills the original figures as above; the fire
/// case, the same arithmetic over its own sums, fills the fire fields. The
/// rated capacity is chosen for the larger S2 of the two cases:
/// the first standard capacity strictly above max(S2 normal, S2 fire) /
/// expected load rate (0 when either S2 is not a number). The actual load
/// rate stays the normal case's S2 on that capacity and the fire load rate
/// is the fire case's S2 on it; the governing case is the fire when its S2
/// is strictly the larger, else the normal operation.
void CalculateTransformer(CTransformerCalData& transformer, const std::wstring& activeSum,
                          const std::wstring& reactiveSum, const std::wstring& fireActiveSum,
                          const std::wstring& fireReactiveSum, CalcRules rules);

/// True when some circuit of the document has a fire role (HasFireRole):
/// only then is the fire case computed, stored and shown. A text of the
/// field 消防 that is none of the three counts in both cases (CheckLoadTypes
/// names it).
bool HasFireRoles(const CLoadCalDocument& doc);
bool HasFireRoles(const CLoadArray& loads);
/// The normal figures count every circuit but those that run only in a fire.
bool CountsInNormalCase(const CLoadCalData& circuit);
/// The fire figures count every circuit but those shed in a fire.
bool CountsInFireCase(const CLoadCalData& circuit);

/// Empties the fire case's fields of a record (a document without fire roles).
void ClearFireFigures(CTransformerCalData& transformer);
void ClearFireFigures(CBoardCalData& board);

/// The board fields a board's figures are written into (all texts, "%G").
struct BoardOutputFields {
    std::wstring CBoardCalData::*installed;    ///< ΣPe, kW
    std::wstring CBoardCalData::*active;       ///< Pjs, kW
    std::wstring CBoardCalData::*reactive;     ///< Qjs, kVar
    std::wstring CBoardCalData::*apparent;     ///< Sjs, kVA
    std::wstring CBoardCalData::*current;      ///< Ijs, A
    std::wstring CBoardCalData::*powerFactor;  ///< cos phi
};

/// The fields of a board's normal figures.
inline constexpr BoardOutputFields kBoardFigureFields = {
    &CBoardCalData::m_strRatedPower, &CBoardCalData::m_strCalcP, &CBoardCalData::m_strCalcQ,
    &CBoardCalData::m_strCalcS,      &CBoardCalData::m_strCalcI, &CBoardCalData::m_strPowerFactor,
};

/// The fields of a board's fire-case figures.
inline constexpr BoardOutputFields kBoardFireFields = {
    &CBoardCalData::m_strFireRatedPower, &CBoardCalData::m_strFireCalcP,
    &CBoardCalData::m_strFireCalcQ,      &CBoardCalData::m_strFireCalcS,
    &CBoardCalData::m_strFireCalcI,      &CBoardCalData::m_strFirePowerFactor,
};

/// Writes which case governs a board's incoming feeder from both cases'
/// figures as their texts read: the fire when its Sjs is strictly the
/// larger, else the normal operation.
void SetGoverningCase(CBoardCalData& board);

/// True for a three-phase board: one whose phase text contains "L1,L2,L3,N".
bool IsThreePhaseBoard(const CBoardCalData& board);

/// A board's sum of one field over its members, as CalculateBoard takes it
/// (before formatting): a three-phase board's under the rule set's 15 %
/// rule, a single-phase board's as they are.
double BoardGroupSum(const CBoardCalData& board, const GroupPhases& members, SumField field,
                     CalcRules rules);

/// A board's figures from its members' group sums: ΣPe, Pjs = K∑p x ΣP,
/// Qjs = K∑q x ΣQ (each sum as its "%G" text reads), Sjs, cos phi = Pjs / Sjs
/// (0 when Sjs is 0), Ijs = Sjs / (k x U) with U 0.38 kV and k 1.732
/// (original rules) or sqrt 3 (GB 51348-2019) for a three-phase board, that
/// is one whose phase text contains "L1,L2,L3,N", else U 0.22 kV and k 1.
/// The sums of a three-phase board follow the rule set's 15 % rule; a
/// single-phase board feeds one phase, which the rule's equivalent
/// three-phase load does not describe, so its members add as they are.
/// They are written into fields (the normal figures unless told).
void CalculateBoard(CBoardCalData& board, const GroupPhases& members, CalcRules rules,
                    const BoardOutputFields& fields = kBoardFigureFields);

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

/// The same for a whole document under its rule set: every circuit, then
/// every board from the bottom of the tree up (a board on a cycle of owners
/// gets no figures and counts nowhere), then every transformer, then the
/// totals. A document without boards under the original rules gives exactly
/// the function above.
SummaryTotals RecalculateDocument(CLoadCalDocument& doc);
/// The six grand totals of a document's circuits as they stand, under its
/// rule set.
SummaryTotals ComputeTotals(const CLoadCalDocument& doc);

/// The 25 standard rated capacities, kVA, ascending.
inline constexpr std::array<double, 25> kStandardCapacities = {
    30,  50,   63,   80,   100,  125,  160,  200,  250,  315,  400,  500,  630,
    800, 1000, 1250, 1600, 2000, 2500, 3150, 4000, 5000, 6300, 8000, 10000};

}  // namespace loadcal
