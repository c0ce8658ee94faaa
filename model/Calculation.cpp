#include "model/Calculation.h"

#include <algorithm>
#include <cmath>

#include "model/Numeric.h"
#include "model/SupplyIndex.h"
#include "model/Text.h"

namespace loadcal {
namespace {

/// Fixed constants of the method.
constexpr double kBalanceTolerance = 0.15;  // the 15 % rule
constexpr double kCircuitSqrt3 = 1.732;     // circuit current: 1.732, not sqrt 3
constexpr double kLineVoltage = 0.38;       // kV, transformer and total currents
constexpr double kPhaseVoltage = 0.22;      // kV, a single-phase board's current

double Sqrt3()
{
    return std::sqrt(3.0);
}

/// The factor of a three-phase circuit's or board's current: 1.732 under
/// the original rules, sqrt 3 under GB 51348-2019.
double ThreePhaseFactor(CalcRules rules)
{
    return rules == CalcRules::GB51348_2019 ? Sqrt3() : kCircuitSqrt3;
}

int PhaseGroup(const std::wstring& phase)
{
    return PhaseGroupOf(phase);
}

const std::wstring& SummedText(const CLoadCalData& c, SumField field)
{
    switch (field) {
        case SumField::Reactive:
            return c.m_strCalcQ;
        case SumField::Active:
            return c.m_strCalcP;
        case SumField::Installed:
            break;
    }
    return c.m_strRatedPower;
}

/// The per-phase sums of one group and the balance rule over them.
struct GroupAccumulator {
    double current[3] = {0, 0, 0};
    double value[3] = {0, 0, 0};
    double threePhase = 0;

    void Add(int phase, double i, double x)
    {
        if (phase >= 0 && phase < 3) {
            current[phase] += i;
            value[phase] += x;
        } else if (phase == 3) {
            threePhase += x;
        }
    }

    double Result() const { return CombinePhases(current, value, threePhase); }
};

std::wstring ApparentFrom(const std::wstring& active, const std::wstring& reactive)
{
    const double p = ParseNumber(active);
    const double q = ParseNumber(reactive);
    return FormatG(std::sqrt(p * p + q * q));
}

std::wstring PowerFactorFrom(const std::wstring& active, const std::wstring& apparent)
{
    const double p = ParseNumber(active);
    const double s = ParseNumber(apparent);
    return FormatG(s > 1e-8 ? p / s : 0.0);
}

std::wstring CurrentFrom(const std::wstring& apparent)
{
    return FormatG(ParseNumber(apparent) / (Sqrt3() * kLineVoltage));
}

}  // namespace

bool PhasesBalanced(const double (&current)[3])
{
    const double mean = (current[0] + current[1] + current[2]) / 3;
    const double limit = kBalanceTolerance * mean;
    return std::fabs(mean - current[0]) < limit && std::fabs(mean - current[1]) < limit &&
           std::fabs(mean - current[2]) < limit;
}

double CombinePhases(const double (&current)[3], const double (&value)[3], double threePhase)
{
    if (PhasesBalanced(current)) {
        return value[0] + value[1] + value[2] + threePhase;
    }
    double largest = value[0];
    if (value[1] > largest) {
        largest = value[1];
    }
    if (value[2] > largest) {
        largest = value[2];
    }
    return 3 * largest + threePhase;
}

TransformerLoad ComputeTransformerLoad(const CTransformerCalData& t, const std::wstring& activeSum,
                                       const std::wstring& reactiveSum, CalcRules rules)
{
    TransformerLoad load;
    const double pc = ParseNumber(activeSum) * ParseNumber(t.m_strKp);
    const double qc = ParseNumber(reactiveSum) * ParseNumber(t.m_strKq);

    const double alpha = ParseNumber(t.m_strAlpha);
    const double beta = ParseNumber(t.m_strBeta);
    double cos1 = 0;
    if (!IsNearZero(alpha * pc)) {
        const double ratio = beta * qc / (alpha * pc);
        const double r = ratio * ratio;
        cos1 = std::sqrt(1 / (r + 1));
    }

    const double cos2 = ParseNumber(t.m_strCosAfter);
    double qcomp = 0;
    if (rules == CalcRules::GB51348_2019) {
        // On the average load, and none where the load already reaches the target.
        if (cos1 < cos2) {
            qcomp = alpha * pc * (std::tan(std::acos(cos1)) - std::tan(std::acos(cos2)));
        }
    } else {
        qcomp = pc * (std::tan(std::acos(cos1)) - std::tan(std::acos(cos2)));
    }

    double qinst = ParseNumber(t.m_strActualCompCapacity);
    if (std::fabs(qinst) < 1e-9) {  // the tighter threshold of this one test
        qinst = qcomp;
    }
    load.pc = pc;
    load.qc = qc;
    load.cosBefore = cos1;
    load.compensation = qcomp;
    load.installed = qinst;
    load.q2 = qc - qinst;
    load.s2 = std::sqrt(pc * pc + load.q2 * load.q2);
    return load;
}

double StandardCapacityFor(double apparent, double expectedLoadRate)
{
    const double x = IsNearZero(expectedLoadRate) ? 0.0 : apparent / expectedLoadRate;
    for (double standard : kStandardCapacities) {
        if (standard > x) {
            return standard;
        }
    }
    return 0;
}

namespace {

/// Writes Pc, cos phi1, the compensation, Q2, S2 and I2 of one case into
/// the fields given.
struct TransformerCaseFields {
    std::wstring CTransformerCalData::*active;
    std::wstring CTransformerCalData::*cosBefore;
    std::wstring CTransformerCalData::*compensation;
    std::wstring CTransformerCalData::*reactive;
    std::wstring CTransformerCalData::*apparent;
    std::wstring CTransformerCalData::*current;
};
constexpr TransformerCaseFields kNormalCase = {
    &CTransformerCalData::m_strCalcP,        &CTransformerCalData::m_strCosBefore,
    &CTransformerCalData::m_strCompCapacity, &CTransformerCalData::m_strCalcQ,
    &CTransformerCalData::m_strCalcS,        &CTransformerCalData::m_strCalcI};
constexpr TransformerCaseFields kFireCase = {
    &CTransformerCalData::m_strFireCalcP,        &CTransformerCalData::m_strFireCosBefore,
    &CTransformerCalData::m_strFireCompCapacity, &CTransformerCalData::m_strFireCalcQ,
    &CTransformerCalData::m_strFireCalcS,        &CTransformerCalData::m_strFireCalcI};

void WriteCase(CTransformerCalData& t, const TransformerLoad& load,
               const TransformerCaseFields& fields)
{
    t.*fields.active = FormatG(load.pc);
    t.*fields.cosBefore = FormatG(load.cosBefore);
    t.*fields.compensation = FormatG(load.compensation);
    t.*fields.reactive = FormatG(load.q2);
    t.*fields.apparent = FormatG(load.s2);
    t.*fields.current = FormatG(load.s2 / (Sqrt3() * kLineVoltage));
}

double LoadRateOn(double apparent, double capacity)
{
    return capacity > 1e-8 ? apparent / capacity : 0.0;
}

}  // namespace

void CalculateTransformer(CTransformerCalData& t, const std::wstring& activeSum,
                          const std::wstring& reactiveSum, CalcRules rules)
{
    const TransformerLoad load = ComputeTransformerLoad(t, activeSum, reactiveSum, rules);
    WriteCase(t, load, kNormalCase);
    const double capacity = StandardCapacityFor(load.s2, ParseNumber(t.m_strLoadRate));
    t.m_strRatedCapacity = FormatG(capacity);
    t.m_strActualLoadRate = FormatG(LoadRateOn(load.s2, capacity));
}

void CalculateTransformer(CTransformerCalData& t, const std::wstring& activeSum,
                          const std::wstring& reactiveSum, const std::wstring& fireActiveSum,
                          const std::wstring& fireReactiveSum, CalcRules rules)
{
    const TransformerLoad normal = ComputeTransformerLoad(t, activeSum, reactiveSum, rules);
    const TransformerLoad fire = ComputeTransformerLoad(t, fireActiveSum, fireReactiveSum, rules);
    WriteCase(t, normal, kNormalCase);
    WriteCase(t, fire, kFireCase);
    // A case that is not a number must not let the other one choose alone.
    const double governing =
        std::isnan(normal.s2) || std::isnan(fire.s2) ? std::nan("") : std::max(normal.s2, fire.s2);
    const double capacity = StandardCapacityFor(governing, ParseNumber(t.m_strLoadRate));
    t.m_strRatedCapacity = FormatG(capacity);
    t.m_strActualLoadRate = FormatG(LoadRateOn(normal.s2, capacity));
    t.m_strFireLoadRate = FormatG(LoadRateOn(fire.s2, capacity));
    t.m_strGoverningCase = fire.s2 > normal.s2 ? kGoverningFire : kGoverningNormal;
}

bool HasFireRoles(const CLoadCalDocument& doc)
{
    return HasFireRoles(doc.loads);
}

bool HasFireRoles(const CLoadArray& loads)
{
    return std::any_of(loads.begin(), loads.end(),
                       [](const CLoadCalData& c) { return HasFireRole(c); });
}

bool CountsInNormalCase(const CLoadCalData& c)
{
    return c.m_strFire != kFireOnly;
}

bool CountsInFireCase(const CLoadCalData& c)
{
    return c.m_strFire != kFireShed;
}

void ClearFireFigures(CTransformerCalData& t)
{
    for (int f = CTransformerCalData::kFieldCount; f < CTransformerCalData::kAnyFieldCount; ++f) {
        t.AnyFieldAt(f).clear();
    }
}

void ClearFireFigures(CBoardCalData& b)
{
    for (int f = CBoardCalData::kFieldCount; f < CBoardCalData::kAnyFieldCount; ++f) {
        b.AnyFieldAt(f).clear();
    }
}

void SetGoverningCase(CBoardCalData& b)
{
    b.m_strGoverningCase = ParseNumber(b.m_strFireCalcS) > ParseNumber(b.m_strCalcS)
                               ? kGoverningFire
                               : kGoverningNormal;
}

bool IsThreePhaseBoard(const CBoardCalData& board)
{
    return board.m_strPhase.find(kPhaseThree) != std::wstring::npos;
}

double BoardGroupSum(const CBoardCalData& board, const GroupPhases& members, SumField field,
                     CalcRules rules)
{
    return IsThreePhaseBoard(board) ? members.Sum(field, rules) : members.PlainSum(field);
}

void CalculateBoard(CBoardCalData& board, const GroupPhases& members, CalcRules rules,
                    const BoardOutputFields& fields)
{
    const bool threePhase = IsThreePhaseBoard(board);
    const auto sum = [&](SumField f) {
        return BoardGroupSum(board, members, f, rules);
    };
    FormatGInto(sum(SumField::Installed), board.*fields.installed);
    // Each sum as its text reads, as a transformer takes its group sums.
    const double sumP = ParseNumber(FormatG(sum(SumField::Active)));
    const double sumQ = ParseNumber(FormatG(sum(SumField::Reactive)));
    const double p = ParseNumber(board.m_strKp) * sumP;
    const double q = ParseNumber(board.m_strKq) * sumQ;
    const double s = std::sqrt(p * p + q * q);
    const double cosPhi = IsNearZero(s) ? 0.0 : p / s;
    const double i = threePhase ? s / (ThreePhaseFactor(rules) * kLineVoltage) : s / kPhaseVoltage;
    FormatGInto(p, board.*fields.active);
    FormatGInto(q, board.*fields.reactive);
    FormatGInto(s, board.*fields.apparent);
    FormatGInto(i, board.*fields.current);
    FormatGInto(cosPhi, board.*fields.powerFactor);
}

int PhaseGroupOf(const std::wstring& phase)
{
    // The four texts told apart by length and their characters, compared in
    // place: this runs for every circuit of every recalculation.
    const auto same = [&phase](std::wstring_view text) {
        for (size_t i = 0; i < text.size(); ++i) {
            if (phase[i] != text[i]) {
                return false;
            }
        }
        return true;
    };
    if (phase.size() == kPhaseThree.size()) {
        return same(kPhaseThree) ? 3 : -1;
    }
    if (phase.size() == kPhaseL1.size()) {
        for (size_t k = 0; k < 3; ++k) {
            if (same(kPhaseTexts[k])) {
                return static_cast<int>(k);
            }
        }
    }
    return -1;
}

bool SinglePhaseShareSmall(const double (&singlePhaseActive)[3], double threePhaseActive)
{
    const double single = singlePhaseActive[0] + singlePhaseActive[1] + singlePhaseActive[2];
    return single < kBalanceTolerance * threePhaseActive;
}

void GroupPhases::Add(const MemberFigures& m)
{
    if (m.phase < 0) {
        return;
    }
    for (size_t f = 0; f < 3; ++f) {
        if (m.phase < 3) {
            value[f][m.phase] += m.value[f];
        } else {
            threePhase[f] += m.value[f];
        }
    }
    if (m.phase < 3) {
        current[m.phase] += m.current;
        ++singlePhaseCount;
    } else {
        threePhaseCurrent += m.current;
    }
}

double GroupPhases::PlainSum(SumField field) const
{
    const auto f = static_cast<size_t>(field);
    return value[f][0] + value[f][1] + value[f][2] + threePhase[f];
}

double GroupPhases::Sum(SumField field, CalcRules rules) const
{
    if (rules == CalcRules::Original) {
        return Sum(field);
    }
    const auto f = static_cast<size_t>(field);
    const auto active = static_cast<size_t>(SumField::Active);
    const double(&x)[3] = value[f];
    if (SinglePhaseShareSmall(value[active], threePhase[active])) {
        return x[0] + x[1] + x[2] + threePhase[f];
    }
    return 3 * std::max({x[0], x[1], x[2]}) + threePhase[f];
}

GroupPhases GroupPhasesOf(const CLoadArray& loads, const std::wstring& owner)
{
    GroupPhases g;
    for (const auto& c : loads) {
        if (!BelongsTo(c, owner)) {
            continue;
        }
        const int phase = PhaseGroup(c.m_strPhase);
        if (phase < 0) {
            continue;
        }
        const double i = ParseNumber(c.m_strCalcI);
        for (int f = 0; f < 3; ++f) {
            const double x = ParseNumber(SummedText(c, static_cast<SumField>(f)));
            if (phase < 3) {
                g.value[f][phase] += x;
            } else {
                g.threePhase[f] += x;
            }
        }
        if (phase < 3) {
            g.current[phase] += i;
            ++g.singlePhaseCount;
        } else {
            g.threePhaseCurrent += i;
        }
    }
    return g;
}

double GroupPhases::Sum(SumField field) const
{
    const auto f = static_cast<size_t>(field);
    return CombinePhases(current, value[f], threePhase[f]);
}

void RecalculateCircuit(CLoadCalData& c)
{
    RecalculateCircuit(c, CalcRules::Original);
}

void RecalculateCircuit(CLoadCalData& c, CalcRules rules)
{
    const double pe = ParseNumber(c.m_strRatedPower);
    const double k = ParseNumber(c.m_strDemandFactor);
    const double cosPhi = ParseNumber(c.m_strPowerFactor);
    const double u = ParseNumber(c.m_strVoltage);

    const double p = pe * k;
    const double q = IsNearZero(cosPhi) ? 0.0 : p * std::sqrt(1 - cosPhi * cosPhi) / cosPhi;
    const double s = std::sqrt(p * p + q * q);
    double i = 0;
    if (!IsNearZero(u * cosPhi)) {
        const bool threePhase = c.m_strPhase.find(kPhaseThree) != std::wstring::npos;
        i = threePhase ? p / (ThreePhaseFactor(rules) * u * cosPhi) : p / (u * cosPhi);
    }
    FormatGInto(p, c.m_strCalcP);
    FormatGInto(q, c.m_strCalcQ);
    FormatGInto(s, c.m_strCalcS);
    FormatGInto(i, c.m_strCalcI);
}

bool BelongsTo(const CLoadCalData& circuit, const std::wstring& name)
{
    for (const auto& piece : OwnerPieces(circuit.m_strTransformer)) {
        if (EqualsNoCase(piece, name)) {
            return true;
        }
    }
    return false;
}

int FindTransformer(const CTransformerArray& transformers, const std::wstring& name)
{
    for (int i = 0; i < transformers.GetSize(); ++i) {
        if (EqualsNoCase(transformers[i].m_strName, name)) {
            return i;
        }
    }
    return -1;
}

std::wstring GroupSum(const CLoadArray& loads, const std::wstring& owner, SumField field)
{
    GroupAccumulator acc;
    for (const auto& c : loads) {
        if (BelongsTo(c, owner)) {
            acc.Add(PhaseGroup(c.m_strPhase), ParseNumber(c.m_strCalcI),
                    ParseNumber(SummedText(c, field)));
        }
    }
    return FormatG(acc.Result());
}

std::wstring Total(const CLoadArray& loads, SumField field)
{
    return COwnerIndex(loads).Total(field);
}
std::wstring TotalApparent(const CLoadArray& loads)
{
    return COwnerIndex(loads).TotalApparent();
}
std::wstring TotalPowerFactor(const CLoadArray& loads)
{
    return COwnerIndex(loads).TotalPowerFactor();
}
std::wstring TotalCurrent(const CLoadArray& loads)
{
    return COwnerIndex(loads).TotalCurrent();
}
SummaryTotals ComputeTotals(const CLoadArray& loads)
{
    return COwnerIndex(loads).Totals();
}

COwnerIndex::COwnerIndex(const CLoadArray& loads) : COwnerIndex(loads, {}) {}

COwnerIndex::COwnerIndex(const CLoadArray& loads, std::vector<MemberFigures> figures)
{
    const bool given = figures.size() == static_cast<size_t>(loads.GetSize());
    if (given) {
        m_figures = std::move(figures);
    }
    // Circuits share few distinct owner texts: each is split and folded once,
    // into the list of groups (folded pieces) it names.
    struct Owner {
        int distinct;
        std::vector<int> groups;
    };
    std::unordered_map<std::wstring, Owner> groupsOfOwner;
    std::vector<std::vector<int>> members;
    m_figures.reserve(static_cast<size_t>(loads.GetSize()));
    m_ownerOf.reserve(static_cast<size_t>(loads.GetSize()));
    for (int idx = 0; idx < loads.GetSize(); ++idx) {
        const CLoadCalData& c = loads[idx];
        if (!given) {
            m_figures.push_back(FiguresOf(c));
        }
        auto found = groupsOfOwner.find(c.m_strTransformer);
        if (found == groupsOfOwner.end()) {
            std::vector<int> groups;
            for (const auto& piece : OwnerPieces(c.m_strTransformer)) {
                const auto [it, added] =
                    m_groupOfPiece.emplace(FoldCase(piece), static_cast<int>(members.size()));
                if (added) {
                    members.emplace_back();
                }
                if (std::find(groups.begin(), groups.end(), it->second) == groups.end()) {
                    groups.push_back(it->second);  // a circuit counts once per group
                }
            }
            const int distinct = static_cast<int>(m_distinctOwners.size());
            m_groupsOfDistinct.push_back(groups);
            found =
                groupsOfOwner.emplace(c.m_strTransformer, Owner{distinct, std::move(groups)}).first;
            m_distinctOwners.push_back(c.m_strTransformer);
        }
        m_ownerOf.push_back(found->second.distinct);
        for (int group : found->second.groups) {
            members[static_cast<size_t>(group)].push_back(idx);
        }
    }
    m_members = std::move(members);
}

MemberFigures COwnerIndex::FiguresOf(const CLoadCalData& c)
{
    return {PhaseGroup(c.m_strPhase),
            ParseNumber(c.m_strCalcI),
            {ParseNumber(c.m_strCalcQ), ParseNumber(c.m_strCalcP), ParseNumber(c.m_strRatedPower)}};
}

const std::vector<int>& COwnerIndex::MembersNamed(const std::wstring& name) const
{
    static const std::vector<int> kNone;
    const auto it = m_groupOfPiece.find(FoldCase(name));
    return it == m_groupOfPiece.end() ? kNone : m_members[static_cast<size_t>(it->second)];
}

bool COwnerIndex::Update(int idx, const CLoadCalData& circuit)
{
    if (idx < 0 || static_cast<size_t>(idx) >= m_figures.size() ||
        m_distinctOwners[static_cast<size_t>(m_ownerOf[static_cast<size_t>(idx)])] !=
            circuit.m_strTransformer) {
        return false;
    }
    m_figures[static_cast<size_t>(idx)] = FiguresOf(circuit);
    if (m_bOwnerSums) {
        const auto distinct = static_cast<size_t>(m_ownerOf[static_cast<size_t>(idx)]);
        for (int group : m_groupsOfDistinct[distinct]) {
            for (int owner : m_ownersOfGroup[static_cast<size_t>(group)]) {
                ComputeOwnerSums(static_cast<size_t>(owner));
            }
        }
    }
    return true;
}

void COwnerIndex::EnsureOwnerSums() const
{
    if (m_bOwnerSums) {
        return;
    }
    m_ownersOfGroup.assign(m_members.size(), {});
    m_ownerSums.assign(m_distinctOwners.size(), {0, 0, 0});
    for (size_t d = 0; d < m_distinctOwners.size(); ++d) {
        const auto it = m_groupOfPiece.find(FoldCase(m_distinctOwners[d]));
        if (it != m_groupOfPiece.end()) {
            m_ownersOfGroup[static_cast<size_t>(it->second)].push_back(static_cast<int>(d));
        }
        ComputeOwnerSums(d);
    }
    m_bOwnerSums = true;
}

void COwnerIndex::ComputeOwnerSums(size_t distinct) const
{
    // GroupSum's three texts in one walk over the group.
    GroupPhases parts;
    const auto it = m_groupOfPiece.find(FoldCase(m_distinctOwners[distinct]));
    if (it != m_groupOfPiece.end()) {
        for (int idx : m_members[static_cast<size_t>(it->second)]) {
            parts.Add(m_figures[static_cast<size_t>(idx)]);
        }
    }
    for (size_t f = 0; f < 3; ++f) {
        m_ownerSums[distinct][f] = ParseNumber(FormatG(parts.Sum(static_cast<SumField>(f))));
    }
}

std::wstring COwnerIndex::GroupSum(const std::wstring& owner, SumField field) const
{
    GroupAccumulator acc;
    const auto it = m_groupOfPiece.find(FoldCase(owner));
    if (it != m_groupOfPiece.end()) {
        const auto f = static_cast<size_t>(field);
        for (int idx : m_members[static_cast<size_t>(it->second)]) {
            const MemberFigures& fig = m_figures[static_cast<size_t>(idx)];
            acc.Add(fig.phase, fig.current, fig.value[f]);
        }
    }
    return FormatG(acc.Result());
}

std::wstring COwnerIndex::Total(SumField field) const
{
    EnsureOwnerSums();
    double total = 0;
    for (const auto& sums : m_ownerSums) {
        total += sums[static_cast<size_t>(field)];
    }
    return FormatG(total);
}

std::wstring COwnerIndex::TotalApparent() const
{
    return ApparentFrom(Total(SumField::Active), Total(SumField::Reactive));
}

std::wstring COwnerIndex::TotalPowerFactor() const
{
    return PowerFactorFrom(Total(SumField::Active), TotalApparent());
}

std::wstring COwnerIndex::TotalCurrent() const
{
    return CurrentFrom(TotalApparent());
}

SummaryTotals COwnerIndex::Totals() const
{
    SummaryTotals t;
    t.installed = Total(SumField::Installed);
    t.active = Total(SumField::Active);
    t.reactive = Total(SumField::Reactive);
    t.apparent = ApparentFrom(t.active, t.reactive);
    t.powerFactor = PowerFactorFrom(t.active, t.apparent);
    t.current = CurrentFrom(t.apparent);
    return t;
}

SummaryTotals COwnerIndex::Totals(CalcRules rules) const
{
    if (rules == CalcRules::Original) {
        return Totals();
    }
    double sum[3] = {0, 0, 0};
    for (const MemberFigures& fig : m_figures) {
        for (size_t f = 0; f < 3; ++f) {
            sum[f] += fig.value[f];
        }
    }
    SummaryTotals t;
    t.installed = FormatG(sum[static_cast<size_t>(SumField::Installed)]);
    t.active = FormatG(sum[static_cast<size_t>(SumField::Active)]);
    t.reactive = FormatG(sum[static_cast<size_t>(SumField::Reactive)]);
    t.apparent = ApparentFrom(t.active, t.reactive);
    t.powerFactor = PowerFactorFrom(t.active, t.apparent);
    t.current = CurrentFrom(t.apparent);
    return t;
}

int RecalculateTransformer(const CLoadArray& loads, CTransformerArray& transformers,
                           const std::wstring& name)
{
    const int index = FindTransformer(transformers, name);
    if (index < 0) {
        return -1;
    }
    CalculateTransformer(transformers[index], GroupActiveSum(loads, name),
                         GroupReactiveSum(loads, name));
    return index;
}

int RecalculateTransformer(const COwnerIndex& ownerIndex, CTransformerArray& transformers,
                           const std::wstring& name)
{
    const int index = FindTransformer(transformers, name);
    if (index < 0) {
        return -1;
    }
    CalculateTransformer(transformers[index], ownerIndex.GroupSum(name, SumField::Active),
                         ownerIndex.GroupSum(name, SumField::Reactive));
    return index;
}

void RecalculateAllTransformers(const CLoadArray& loads, CTransformerArray& transformers)
{
    RecalculateAllTransformers(COwnerIndex(loads), transformers);
}

void RecalculateAllTransformers(const COwnerIndex& ownerIndex, CTransformerArray& transformers)
{
    // Each transformer is recalculated by its own name: with two names equal
    // but for case the first one is found both times. The map keeps that
    // first-match rule without a walk over the list per transformer.
    std::unordered_map<std::wstring, int> first;
    for (int i = 0; i < transformers.GetSize(); ++i) {
        first.emplace(FoldCase(transformers[i].m_strName), i);
    }
    for (int i = 0; i < transformers.GetSize(); ++i) {
        const std::wstring name = transformers[i].m_strName;
        const int target = first.at(FoldCase(name));
        CalculateTransformer(transformers[target], ownerIndex.GroupSum(name, SumField::Active),
                             ownerIndex.GroupSum(name, SumField::Reactive));
    }
}

SummaryTotals RecalculateDocument(CLoadArray& loads, CTransformerArray& transformers)
{
    for (auto& c : loads) {
        RecalculateCircuit(c);
    }
    const COwnerIndex index(loads);
    RecalculateAllTransformers(index, transformers);
    return index.Totals();
}

SummaryTotals RecalculateDocument(CLoadCalDocument& doc)
{
    // Each circuit's figures are read back while its texts are at hand.
    std::vector<MemberFigures> figures;
    figures.reserve(static_cast<size_t>(doc.loads.GetSize()));
    for (auto& c : doc.loads) {
        RecalculateCircuit(c, doc.rules);
        figures.push_back(COwnerIndex::FiguresOf(c));
    }
    CSupplyIndex index(doc, {}, std::move(figures));
    index.RecalculateGroups(doc);
    return index.Totals();
}

SummaryTotals ComputeTotals(const CLoadCalDocument& doc)
{
    return COwnerIndex(doc.loads).Totals(doc.rules);
}

}  // namespace loadcal
