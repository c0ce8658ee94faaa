#include "output/report/BookContent.h"

#include <algorithm>
#include <cmath>

#include "model/Checks.h"
#include "model/Columns.h"
#include "model/LoadTypeTexts.h"
#include "model/LoadTypes.h"
#include "model/Numeric.h"
#include "model/SupplyIndex.h"
#include "model/SupplySecurity.h"
#include "model/Text.h"
#include "output/Figures.h"

namespace loadcal {
namespace {

/// A document text as a formula shows it: an empty text reads as 0.
std::wstring Shown(const std::wstring& text)
{
    return text.empty() ? std::wstring(L"0") : text;
}

/// Figures as the book shows them: rounded for reading (output/Figures.h);
/// a text that is not a number stays as it stands, an empty one reads 0.
std::wstring Pw(const std::wstring& text)
{
    return ShowFigure(FigureKind::Power, Shown(text));
}
std::wstring Pw(double value)
{
    return ShowValue(FigureKind::Power, value);
}
std::wstring Fa(const std::wstring& text)
{
    return ShowFigure(FigureKind::Factor, Shown(text));
}
std::wstring Fa(double value)
{
    return ShowValue(FigureKind::Factor, value);
}
std::wstring Cu(const std::wstring& text)
{
    return ShowFigure(FigureKind::Current, Shown(text));
}
std::wstring Cu(double value)
{
    return ShowValue(FigureKind::Current, value);
}
std::wstring Pc(const std::wstring& ratio)
{
    return ShowFigure(FigureKind::Percent, Shown(ratio)) +
           (ReadTypedNumber(Shown(ratio)) ? L" %" : L"");
}
std::wstring Se(const std::wstring& text)
{
    return ShowFigure(FigureKind::Capacity, Shown(text));
}

/// True when a group's single-phase figures add as they are under the rule
/// set's 15 % rule (the branch GroupPhases::Sum takes): under the original
/// rules when the three single-phase currents are balanced, under GB
/// 51348-2019 when the single-phase active total is below 15 % of the
/// three-phase one.
bool AddsAsTheyAre(const GroupPhases& g, CalcRules rules)
{
    if (rules == CalcRules::GB51348_2019) {
        return SinglePhaseShareSmall(g.value[static_cast<size_t>(SumField::Active)],
                                     g.threePhase[static_cast<size_t>(SumField::Active)]);
    }
    return g.Balanced();
}

/// "ΣPjs = PL1 + PL2 + PL3 + P3φ = … = sum" as the group sum was taken
/// (plainly, or three times the largest phase); symbol is "Pjs" or "Qjs".
std::wstring GroupSumStep(const GroupPhases& g, SumField field, bool plain,
                          const std::wstring& symbol, const std::wstring& sum,
                          const std::wstring& unit)
{
    const auto f = static_cast<size_t>(field);
    const double(&v)[3] = g.value[f];
    const std::wstring x3 = Pw(g.threePhase[f]);
    const std::wstring p = symbol.substr(0, 1);  // "P" or "Q"
    const std::wstring result = Pw(sum) + L" " + unit;
    if (g.singlePhaseCount == 0) {
        return L"Σ" + symbol + L" = " + p + L"3φ = " + result;
    }
    if (plain) {
        return L"Σ" + symbol + L" = " + p + L"L1 + " + p + L"L2 + " + p + L"L3 + " + p + L"3φ = " +
               Pw(v[0]) + L" + " + Pw(v[1]) + L" + " + Pw(v[2]) + L" + " + x3 + L" = " + result;
    }
    const double largest = std::max(v[0], std::max(v[1], v[2]));
    return L"Σ" + symbol + L" = 3 × max(" + p + L"L1, " + p + L"L2, " + p + L"L3) + " + p +
           L"3φ = 3 × max(" + Pw(v[0]) + L", " + Pw(v[1]) + L", " + Pw(v[2]) + L") + " + x3 +
           L" = 3 × " + Pw(largest) + L" + " + x3 + L" = " + result;
}

/// The 15 % rule as it decided for one group.
std::wstring BalanceStep(const GroupPhases& g, CalcRules rules)
{
    if (g.singlePhaseCount == 0) {
        return L"无单相负荷，各组合计即三相负荷之和";
    }
    if (rules == CalcRules::GB51348_2019) {
        const auto a = static_cast<size_t>(SumField::Active);
        const double single = g.value[a][0] + g.value[a][1] + g.value[a][2];
        std::wstring text = L"单相负荷 ΣP1φ = PL1 + PL2 + PL3 = " + Pw(g.value[a][0]) + L" + " +
                            Pw(g.value[a][1]) + L" + " + Pw(g.value[a][2]) + L" = " + Pw(single) +
                            L" kW，三相负荷 P3φ = " + Pw(g.threePhase[a]) + L" kW，15 % × P3φ = " +
                            Pw(0.15 * g.threePhase[a]) + L" kW：";
        text += AddsAsTheyAre(g, rules)
                    ? L"ΣP1φ 小于 15 % × P3φ，单相负荷直接相加"
                    : L"ΣP1φ 不小于 15 % × P3φ，单相负荷按最大一相的 3 倍换算为等效三相负荷";
        return text;
    }
    const double mean = (g.current[0] + g.current[1] + g.current[2]) / 3;
    std::wstring text = L"单相负荷电流 IL1 = " + Cu(g.current[0]) + L" A，IL2 = " +
                        Cu(g.current[1]) + L" A，IL3 = " + Cu(g.current[2]) + L" A，平均 Ī = " +
                        Cu(mean) + L" A，15 % × Ī = " + Cu(0.15 * mean) + L" A：";
    text += g.Balanced() ? L"各相与平均值之差均小于 15 % × Ī，三相平衡，单相负荷直接相加"
                         : L"有一相与平均值之差不小于 15 % × Ī，三相不平衡，"
                           L"单相负荷按最大一相的 3 倍计";
    return text;
}

/// The fields of one case of a transformer as the book reads them: the
/// normal figures or the fire case's.
struct TransformerCaseTexts {
    const std::wstring& calcP;
    const std::wstring& calcQ;
    const std::wstring& calcS;
    const std::wstring& calcI;
    const std::wstring& cosBefore;
    const std::wstring& compCapacity;
};

TransformerCaseTexts NormalCaseTexts(const CTransformerCalData& t)
{
    return {t.m_strCalcP, t.m_strCalcQ,     t.m_strCalcS,
            t.m_strCalcI, t.m_strCosBefore, t.m_strCompCapacity};
}

TransformerCaseTexts FireCaseTexts(const CTransformerCalData& t)
{
    return {t.m_strFireCalcP, t.m_strFireCalcQ,     t.m_strFireCalcS,
            t.m_strFireCalcI, t.m_strFireCosBefore, t.m_strFireCompCapacity};
}

/// Pc / S2 of a case as its texts read; 0 when S2 is 0.
double CosAfterActual(const TransformerCaseTexts& c)
{
    const double s2 = ParseNumber(c.calcS);
    return s2 > 1e-8 ? ParseNumber(c.calcP) / s2 : 0.0;
}

/// The group sums of a case: the members as the case takes them, and what
/// the transformer's calculation reads of them.
struct CaseSums {
    const GroupPhases& phases;
    const std::wstring& installedSum;
    const std::wstring& activeSum;
    const std::wstring& reactiveSum;
    double reactiveLoad;
    double cosAfterActual;
};

/// A case's steps from its group sums to Pc / S2.
std::vector<BookStep> CaseSteps(const CTransformerCalData& t, const TransformerCaseTexts& c,
                                const CaseSums& g, CalcRules rules)
{
    const bool plain = AddsAsTheyAre(g.phases, rules);
    std::vector<BookStep> s;
    const double pc = ParseNumber(c.calcP);
    const std::wstring qcText = Pw(g.reactiveLoad);
    s.push_back({L"设备功率", L"ΣPe = " + Pw(g.installedSum) + L" kW"});
    s.push_back({L"15 % 规则", BalanceStep(g.phases, rules)});
    s.push_back({L"有功功率合计",
                 GroupSumStep(g.phases, SumField::Active, plain, L"Pjs", g.activeSum, L"kW")});
    s.push_back({L"无功功率合计", GroupSumStep(g.phases, SumField::Reactive, plain, L"Qjs",
                                               g.reactiveSum, L"kvar")});
    s.push_back({L"计算有功功率", L"Pc = K∑p × ΣPjs = " + Fa(t.m_strKp) + L" × " + Pw(g.activeSum) +
                                      L" = " + Pw(c.calcP) + L" kW"});
    s.push_back({L"计算无功功率", L"Qc = K∑q × ΣQjs = " + Fa(t.m_strKq) + L" × " +
                                      Pw(g.reactiveSum) + L" = " + qcText + L" kvar"});
    const double alpha = ParseNumber(t.m_strAlpha);
    if (IsNearZero(alpha * pc)) {
        s.push_back({L"补偿前功率因数", L"α × Pc = " + Fa(t.m_strAlpha) + L" × " + Pw(c.calcP) +
                                            L" = 0，取 cosφ1 = " + Fa(c.cosBefore)});
    } else {
        s.push_back(
            {L"补偿前功率因数", L"cosφ1 = √(1 / (1 + (β × Qc / (α × Pc))²)) = √(1 / (1 + (" +
                                    Fa(t.m_strBeta) + L" × " + qcText + L" / (" + Fa(t.m_strAlpha) +
                                    L" × " + Pw(c.calcP) + L"))²)) = " + Fa(c.cosBefore)});
    }
    // tan φ from the stored power factors, as the calculation takes them.
    const auto tanOf = [](const std::wstring& cosText) {
        const double v = ParseNumber(cosText);
        return std::tan(std::acos(v));
    };
    const double tan1 = tanOf(c.cosBefore);
    const double tan2 = tanOf(t.m_strCosAfter);
    // tan φ to 0.0001: a reviewer's product with Pc then lands within 0.1 kvar.
    const auto tanText = [](double value) {
        return std::isfinite(value) ? FormatFixed(value, 4) : std::wstring(L"—");
    };
    const std::wstring targets =
        L"（cosφ1 = " + Fa(c.cosBefore) + L"，目标 cosφ2 = " + Fa(t.m_strCosAfter) + L"）";
    if (rules == CalcRules::GB51348_2019) {
        // None where the load already reaches the target, as the document holds it.
        const double cos1 = ParseNumber(c.cosBefore);
        if (cos1 >= ParseNumber(t.m_strCosAfter) && ParseNumber(c.compCapacity) == 0) {
            s.push_back({L"补偿容量", L"cosφ1 = " + Fa(c.cosBefore) + L" 不低于目标 cosφ2 = " +
                                          Fa(t.m_strCosAfter) + L"，不需补偿：Qcc = " +
                                          Pw(c.compCapacity) + L" kvar"});
        } else {
            s.push_back({L"补偿容量", L"Qcc = α × Pc × (tanφ1 − tanφ2) = " + Fa(t.m_strAlpha) +
                                          L" × " + Pw(c.calcP) + L" × (" + tanText(tan1) + L" − " +
                                          tanText(tan2) + L") = " + Pw(c.compCapacity) + L" kvar" +
                                          targets});
        }
    } else {
        s.push_back({L"补偿容量", L"Qcc = Pc × (tanφ1 − tanφ2) = " + Pw(c.calcP) + L" × (" +
                                      tanText(tan1) + L" − " + tanText(tan2) + L") = " +
                                      Pw(c.compCapacity) + L" kvar" + targets});
    }
    std::wstring installed = t.m_strActualCompCapacity;
    if (std::fabs(ParseNumber(installed)) < 1e-9) {
        installed = Shown(c.compCapacity);
        s.push_back(
            {L"实际补偿容量", L"未填或为 0，按补偿容量取 Qb = Qcc = " + Pw(installed) + L" kvar"});
    } else {
        s.push_back({L"实际补偿容量", L"Qb = " + Pw(installed) + L" kvar"});
    }
    s.push_back({L"补偿后无功功率", L"Q2 = Qc − Qb = " + qcText + L" − " + Pw(installed) + L" = " +
                                        Pw(c.calcQ) + L" kvar"});
    s.push_back({L"补偿后视在功率", L"S2 = √(Pc² + Q2²) = √(" + Pw(c.calcP) + L"² + " +
                                        Pw(c.calcQ) + L"²) = " + Pw(c.calcS) + L" kV·A"});
    s.push_back({L"补偿后计算电流", L"I2 = S2 / (√3 × 0.38) = " + Pw(c.calcS) +
                                        L" / (√3 × 0.38) = " + Cu(c.calcI) + L" A"});
    s.push_back({L"补偿后功率因数", L"cosφ2' = Pc / S2 = " + Pw(c.calcP) + L" / " + Pw(c.calcS) +
                                        L" = " + Fa(g.cosAfterActual)});
    return s;
}

/// The rated capacity from one case's S2 (a document without fire roles).
void NormalSizing(const CTransformerCalData& t, std::vector<BookStep>& s)
{
    const double s2 = ParseNumber(t.m_strCalcS);
    const double rate = ParseNumber(t.m_strLoadRate);
    const double needed = IsNearZero(rate) ? 0.0 : s2 / rate;
    s.push_back({L"所需容量", L"S = S2 / 预计负荷率 = " + Pw(t.m_strCalcS) + L" / " +
                                  Pc(t.m_strLoadRate) + L" = " + Pw(needed) + L" kV·A"});
    if (ParseNumber(t.m_strRatedCapacity) == 0) {
        s.push_back({L"额定容量", L"标准容量系列中没有大于 " + Pw(needed) +
                                      L" kV·A 的值，额定容量记为 " + Shown(t.m_strRatedCapacity)});
    } else {
        s.push_back({L"额定容量", L"Se = 标准容量系列中第一个大于 " + Pw(needed) + L" 的值 = " +
                                      Se(t.m_strRatedCapacity) + L" kV·A"});
    }
    if (ParseNumber(t.m_strRatedCapacity) > 1e-8) {
        s.push_back({L"实际负载率", L"S2 / Se = " + Pw(t.m_strCalcS) + L" / " +
                                        Se(t.m_strRatedCapacity) + L" = " +
                                        Pc(t.m_strActualLoadRate)});
    } else {
        s.push_back({L"实际负载率", L"没有额定容量，记为 " + Pc(t.m_strActualLoadRate)});
    }
}

/// The rated capacity from the larger S2 of both cases, each case's load
/// rate on it, and the governing case, from the record's texts.
std::vector<BookStep> FireSizing(const CTransformerCalData& t)
{
    std::vector<BookStep> s;
    const double normal = ParseNumber(t.m_strCalcS);
    const double fire = ParseNumber(t.m_strFireCalcS);
    // As the calculation takes it: a case that is not a number leaves no capacity.
    const double larger =
        std::isnan(normal) || std::isnan(fire) ? std::nan("") : std::max(normal, fire);
    const double rate = ParseNumber(t.m_strLoadRate);
    const double needed = IsNearZero(rate) ? 0.0 : larger / rate;
    s.push_back({L"所需容量", L"S = max(S2正常, S2火灾) / 预计负荷率 = max(" + Pw(t.m_strCalcS) +
                                  L", " + Pw(t.m_strFireCalcS) + L") / " + Pc(t.m_strLoadRate) +
                                  L" = " + Pw(needed) + L" kV·A"});
    if (ParseNumber(t.m_strRatedCapacity) == 0) {
        s.push_back({L"额定容量", L"标准容量系列中没有大于 " + Pw(needed) +
                                      L" kV·A 的值，额定容量记为 " + Shown(t.m_strRatedCapacity)});
    } else {
        s.push_back({L"额定容量", L"Se = 标准容量系列中第一个大于 " + Pw(needed) + L" 的值 = " +
                                      Se(t.m_strRatedCapacity) + L" kV·A"});
    }
    if (ParseNumber(t.m_strRatedCapacity) > 1e-8) {
        s.push_back({L"实际负载率", L"正常工况 S2正常 / Se = " + Pw(t.m_strCalcS) + L" / " +
                                        Se(t.m_strRatedCapacity) + L" = " +
                                        Pc(t.m_strActualLoadRate)});
        s.push_back({L"火灾负载率", L"火灾工况 S2火灾 / Se = " + Pw(t.m_strFireCalcS) + L" / " +
                                        Se(t.m_strRatedCapacity) + L" = " +
                                        Pc(t.m_strFireLoadRate)});
    } else {
        s.push_back({L"实际负载率", L"没有额定容量，记为 " + Pc(t.m_strActualLoadRate)});
        s.push_back({L"火灾负载率", L"没有额定容量，记为 " + Pc(t.m_strFireLoadRate)});
    }
    // The comparison as the figures read; the case as the record names it.
    s.push_back(
        {L"取值工况", t.m_strGoverningCase + L"：S2火灾 = " + Pw(t.m_strFireCalcS) +
                          (fire > normal ? L" kV·A 大于 S2正常 = " : L" kV·A 不大于 S2正常 = ") +
                          Pw(t.m_strCalcS) + L" kV·A"});
    return s;
}

void AddTransformerChecks(const CTransformerCalData& t, const BookTransformer& b, int index,
                          CalcRules rules, const CCheckWarnings& warnings,
                          std::vector<BookCheck>& checks)
{
    // A figure that is not a number (a power factor above 1 gives "-NAN")
    // fails its check: nothing can be said to be met. Neither can a load
    // rate computed from a capacity of "0" or from figures that are not
    // finite, which the document checks name.
    const double loadRate = ParseNumber(t.m_strActualLoadRate);
    const bool rateTrusted = IsFigureTrustworthy(warnings, CCheckWarning::Subject::Transformer,
                                                 index, CTransformerCalData::kActualLoadRate) &&
                             IsFigureTrustworthy(warnings, CCheckWarning::Subject::Transformer,
                                                 index, CTransformerCalData::kRatedCapacity);
    std::wstring rateFinding = L"实际负载率 " + Pc(t.m_strActualLoadRate);
    bool rateMet = rateTrusted && loadRate <= kLoadRateLimit;
    if (b.fire) {
        // The fire case runs on the same transformer: its load rate is held
        // to the same limit.
        rateFinding += L"；火灾负载率 " + Pc(t.m_strFireLoadRate);
        rateMet = rateMet &&
                  IsFigureTrustworthy(warnings, CCheckWarning::Subject::Transformer, index,
                                      CTransformerCalData::kFireLoadRate) &&
                  ParseNumber(t.m_strFireLoadRate) <= kLoadRateLimit;
    }
    checks.push_back({L"负载率不高于 85 %", t.m_strName, rateFinding, rateMet});
    const double s2 = ParseNumber(t.m_strCalcS);
    std::wstring pf;
    bool pfMet = true;
    if (!std::isfinite(s2) || !std::isfinite(b.cosAfterActual)) {
        pf = L"S2 = " + Shown(t.m_strCalcS) + L"，Pc = " + Shown(t.m_strCalcP) + L"，无法计算";
        pfMet = false;
    } else if (s2 > 1e-8) {
        pf = L"cos φ2' = Pc / S2 = " + Fa(b.cosAfterActual);
        pfMet = b.cosAfterActual >= kPowerFactorLimit;
    } else {
        pf = L"无负荷（S2 = 0）";
    }
    checks.push_back({L"补偿后功率因数不低于 0.9", t.m_strName, pf, pfMet});
    std::wstring balance;
    bool balanceMet = true;
    if (b.phases.singlePhaseCount == 0) {
        balance = L"无单相负荷";
    } else {
        balance = L"IL1 / IL2 / IL3 = " + Cu(b.phases.current[0]) + L" / " +
                  Cu(b.phases.current[1]) + L" / " + Cu(b.phases.current[2]) + L" A";
        if (rules == CalcRules::GB51348_2019) {
            // The rule decides by the single-phase share; the phases are checked for balance.
            const auto a = static_cast<size_t>(SumField::Active);
            const double single =
                b.phases.value[a][0] + b.phases.value[a][1] + b.phases.value[a][2];
            const double three = b.phases.threePhase[a];
            const bool small = AddsAsTheyAre(b.phases, rules);
            balance += L"；单相 " + Pw(single) + L" kW，三相 " + Pw(three) + L" kW" +
                       (small ? L"，单相小于三相的 15 %，直接相加"
                              : L"，单相不小于三相的 15 %，按最大相的 3 倍计");
            balanceMet = small || b.phases.Balanced();
        } else {
            balance += b.phases.Balanced() ? L"" : L"，超出 15 %，按最大相的 3 倍计";
            balanceMet = b.phases.Balanced();
        }
    }
    checks.push_back({L"单相负荷三相平衡（15 % 规则）", t.m_strName, balance, balanceMet});
    const double rated = ParseNumber(t.m_strRatedCapacity);
    const bool inSeries = std::isfinite(rated) && rated > 0;
    checks.push_back({L"额定容量在标准容量系列内", t.m_strName,
                      inSeries ? L"Se = " + Se(t.m_strRatedCapacity) + L" kV·A"
                               : L"额定容量为 \"" + t.m_strRatedCapacity + L"\"，超出标准系列",
                      inSeries});
}

/// One case of an N−1 load as a finding states it.
std::wstring ContingencyCaseText(const ContingencyCase& c)
{
    return L"Pc = " + Pw(c.active) + L" kW，补偿 " + Pw(c.compensation) + L" kvar 后 Q = " +
           Pw(c.reactive) + L" kvar，S = " + Pw(c.apparent) + L" kV·A";
}

/// The N−1 check of every transformer that shares first- or second-class
/// loads (ComputeContingencyLoads): its load when a partner is out against
/// its rated capacity. A figure that is not finite, or a capacity that is
/// not a positive number, is never met.
void AddContingencyChecks(const CLoadCalDocument& doc, const CCheckWarnings& warnings,
                          std::vector<BookCheck>& checks)
{
    for (const CContingencyLoad& c : ComputeContingencyLoads(doc)) {
        const CTransformerCalData& t = doc.transformers[c.transformer];
        std::wstring partners;
        for (int p : c.partners) {
            partners += (partners.empty() ? L"" : L"、") + doc.transformers[p].m_strName;
        }
        std::wstring finding = partners + L" 停运时承担全部一、二级负荷（" +
                               std::to_wstring(c.circuits) + L" 个回路）：";
        if (c.fire) {
            finding += L"正常工况 " + ContingencyCaseText(c.normal) + L"；火灾工况 " +
                       ContingencyCaseText(*c.fire) + L"；取" +
                       (c.fireGoverns ? L"火灾工况" : L"正常工况") + L" ";
        } else {
            finding += ContingencyCaseText(c.normal) + L"；";
        }
        const bool finite =
            std::isfinite(c.apparent) && std::isfinite(c.capacity) && c.capacity > 0;
        if (finite) {
            finding += L"S = " + Pw(c.apparent) + (c.Fits() ? L" kV·A，不大于" : L" kV·A，大于") +
                       L"额定容量 Se = " + Se(t.m_strRatedCapacity) + L" kV·A（" +
                       ShowValue(FigureKind::Percent, c.apparent / c.capacity) + L" %）";
        } else {
            finding += L"S = " + Pw(c.apparent) + L" kV·A，额定容量 Se = " +
                       Shown(t.m_strRatedCapacity) + L" kV·A，无法判定";
        }
        const bool met = finite && c.Fits() &&
                         IsFigureTrustworthy(warnings, CCheckWarning::Subject::Transformer,
                                             c.transformer, CTransformerCalData::kRatedCapacity);
        checks.push_back(
            {L"N−1：一台变压器停运时其余变压器承担一、二级负荷", t.m_strName, finding, met});
    }
}

/// A board's steps, from its member sums to its figures as the document
/// holds them in fields (the normal figures, or the fire case's).
std::vector<BookStep> BoardSteps(const CBoardCalData& board, const GroupPhases& phases,
                                 const std::wstring& installedSum, const std::wstring& activeSum,
                                 const std::wstring& reactiveSum, const BoardOutputFields& fields,
                                 CalcRules rules)
{
    std::vector<BookStep> s;
    const bool threePhase = IsThreePhaseBoard(board);
    const bool plain = !threePhase || AddsAsTheyAre(phases, rules);
    const std::wstring& p = board.*fields.active;
    const std::wstring& q = board.*fields.reactive;
    const std::wstring& apparent = board.*fields.apparent;
    s.push_back({L"设备功率", L"ΣPe = " + Pw(installedSum) + L" kW"});
    s.push_back({L"15 % 规则", threePhase ? BalanceStep(phases, rules)
                                          : std::wstring(L"单相配电箱只接一相，所接负荷直接相加")});
    s.push_back(
        {L"有功功率合计", GroupSumStep(phases, SumField::Active, plain, L"Pjs", activeSum, L"kW")});
    s.push_back({L"无功功率合计",
                 GroupSumStep(phases, SumField::Reactive, plain, L"Qjs", reactiveSum, L"kvar")});
    s.push_back({L"计算有功功率", L"Pjs = K∑p × ΣPjs = " + Fa(board.m_strKp) + L" × " +
                                      Pw(activeSum) + L" = " + Pw(p) + L" kW"});
    s.push_back({L"计算无功功率", L"Qjs = K∑q × ΣQjs = " + Fa(board.m_strKq) + L" × " +
                                      Pw(reactiveSum) + L" = " + Pw(q) + L" kvar"});
    s.push_back({L"视在功率", L"Sjs = √(Pjs² + Qjs²) = √(" + Pw(p) + L"² + " + Pw(q) + L"²) = " +
                                  Pw(apparent) + L" kV·A"});
    if (ParseNumber(apparent) == 0) {
        s.push_back({L"功率因数", L"Sjs = 0，取 cosφ = " + Fa(board.*fields.powerFactor)});
    } else {
        s.push_back({L"功率因数", L"cosφ = Pjs / Sjs = " + Pw(p) + L" / " + Pw(apparent) + L" = " +
                                      Fa(board.*fields.powerFactor)});
    }
    const std::wstring divisor = !threePhase                        ? L"0.22"
                                 : rules == CalcRules::GB51348_2019 ? L"(√3 × 0.38)"
                                                                    : L"(1.732 × 0.38)";
    s.push_back({L"计算电流", L"Ijs = Sjs / " + divisor + L" = " + Pw(apparent) + L" / " + divisor +
                                  L" = " + Cu(board.*fields.current) + L" A"});
    return s;
}

/// A transformer as the book shows it: its members and the parts of its
/// group sums from the index, its steps when asked for.
BookTransformer TransformerOf(const CLoadCalDocument& doc, const CSupplyIndex& index, int m,
                              bool steps)
{
    const CTransformerCalData& t = doc.transformers[m];
    BookTransformer b;
    b.index = m;
    b.circuits = index.TransformerCircuits(m);
    b.boards = index.TransformerBoards(m);
    b.phases = index.TransformerMembers(m);
    b.installedSum = FormatG(b.phases.Sum(SumField::Installed, doc.rules));
    b.activeSum = FormatG(b.phases.Sum(SumField::Active, doc.rules));
    b.reactiveSum = FormatG(b.phases.Sum(SumField::Reactive, doc.rules));
    // Qc as the transformer's calculation takes it: the sum as its text reads, times K∑q.
    b.reactiveLoad = ParseNumber(b.reactiveSum) * ParseNumber(t.m_strKq);
    for (int k = 0; k < 3; ++k) {
        b.phaseCurrents[k] = b.phases.current[k] + b.phases.threePhaseCurrent;
    }
    b.cosAfterActual = CosAfterActual(NormalCaseTexts(t));
    if (index.HasFireCase()) {
        BookTransformerFire f;
        f.phases = index.TransformerFireMembers(m);
        f.installedSum = FormatG(f.phases.Sum(SumField::Installed, doc.rules));
        f.activeSum = FormatG(f.phases.Sum(SumField::Active, doc.rules));
        f.reactiveSum = FormatG(f.phases.Sum(SumField::Reactive, doc.rules));
        f.reactiveLoad = ParseNumber(f.reactiveSum) * ParseNumber(t.m_strKq);
        f.cosAfterActual = CosAfterActual(FireCaseTexts(t));
        b.fire = std::move(f);
    }
    if (steps) {
        b.steps = CaseSteps(t, NormalCaseTexts(t),
                            {b.phases, b.installedSum, b.activeSum, b.reactiveSum, b.reactiveLoad,
                             b.cosAfterActual},
                            doc.rules);
        if (b.fire) {
            BookTransformerFire& f = *b.fire;
            f.steps = CaseSteps(t, FireCaseTexts(t),
                                {f.phases, f.installedSum, f.activeSum, f.reactiveSum,
                                 f.reactiveLoad, f.cosAfterActual},
                                doc.rules);
            b.sizing = FireSizing(t);
        } else {
            NormalSizing(t, b.steps);
        }
    }
    return b;
}

/// The names of the boards and transformers a board's owner list names,
/// each once, in the order named.
std::vector<std::wstring> OwnersNamed(const CLoadCalDocument& doc, const CSupplyIndex& index,
                                      int board)
{
    std::vector<std::wstring> names;
    for (int owner : index.Boards().OwnersOf(board)) {
        names.push_back(doc.boards[owner].m_strName);
    }
    for (const auto& piece : OwnerPieces(doc.boards[board].m_strOwner)) {
        const int t = FindTransformer(doc.transformers, piece);
        if (t >= 0 &&
            std::find(names.begin(), names.end(), doc.transformers[t].m_strName) == names.end()) {
            names.push_back(doc.transformers[t].m_strName);
        }
    }
    return names;
}

BookBoard BoardOf(const CLoadCalDocument& doc, const CSupplyIndex& index, int board)
{
    const CBoardCalData& record = doc.boards[board];
    BookBoard b;
    b.index = board;
    b.onCycle = index.Boards().OnCycle(board);
    b.owners = OwnersNamed(doc, index, board);
    b.circuits = index.BoardCircuits(board);
    b.boards = index.Boards().MembersOf(board);
    if (b.onCycle) {
        return b;
    }
    b.phases = index.BoardMembers(board);
    b.installedSum = FormatG(BoardGroupSum(record, b.phases, SumField::Installed, doc.rules));
    b.activeSum = FormatG(BoardGroupSum(record, b.phases, SumField::Active, doc.rules));
    b.reactiveSum = FormatG(BoardGroupSum(record, b.phases, SumField::Reactive, doc.rules));
    b.steps = BoardSteps(record, b.phases, b.installedSum, b.activeSum, b.reactiveSum,
                         kBoardFigureFields, doc.rules);
    if (index.HasFireCase()) {
        BookBoardFire f;
        f.phases = index.BoardFireMembers(board);
        f.installedSum = FormatG(BoardGroupSum(record, f.phases, SumField::Installed, doc.rules));
        f.activeSum = FormatG(BoardGroupSum(record, f.phases, SumField::Active, doc.rules));
        f.reactiveSum = FormatG(BoardGroupSum(record, f.phases, SumField::Reactive, doc.rules));
        f.steps = BoardSteps(record, f.phases, f.installedSum, f.activeSum, f.reactiveSum,
                             kBoardFireFields, doc.rules);
        b.fire = std::move(f);
        // The comparison as the figures read; the case as the record names it.
        const bool larger = ParseNumber(record.m_strFireCalcS) > ParseNumber(record.m_strCalcS);
        b.governing = {
            L"取值工况",
            record.m_strGoverningCase + L"：火灾工况 Sjs = " + Pw(record.m_strFireCalcS) +
                (larger ? L" kV·A 大于正常工况 Sjs = " : L" kV·A 不大于正常工况 Sjs = ") +
                Pw(record.m_strCalcS) + L" kV·A"};
    }
    return b;
}

/// The boards in the book's tree order: from each transformer in list order
/// its member boards depth first (a board once, where first reached; boards
/// on a cycle are not walked), then the boards no transformer reaches, then
/// those on a cycle. Iterative, for chains of any depth.
std::vector<BookBoard> BoardsInTreeOrder(const CLoadCalDocument& doc, const CSupplyIndex& index)
{
    const CBoardGraph& graph = index.Boards();
    std::vector<char> placed(static_cast<size_t>(graph.BoardCount()), 0);
    std::vector<BookBoard> out;
    struct Visit {
        int board;
        int parent;
        int depth;
    };
    std::vector<Visit> stack;
    const auto walk = [&](int transformer) {
        while (!stack.empty()) {
            const Visit v = stack.back();
            stack.pop_back();
            if (placed[static_cast<size_t>(v.board)] || graph.OnCycle(v.board)) {
                continue;
            }
            placed[static_cast<size_t>(v.board)] = 1;
            BookBoard b = BoardOf(doc, index, v.board);
            b.parent = v.parent;
            b.transformer = transformer;
            b.depth = v.depth;
            for (auto m = b.boards.rbegin(); m != b.boards.rend(); ++m) {
                stack.push_back({*m, v.board, v.depth + 1});
            }
            out.push_back(std::move(b));
        }
    };
    for (int m = 0; m < doc.transformers.GetSize(); ++m) {
        const std::vector<int>& fed = index.TransformerBoards(m);
        for (auto b = fed.rbegin(); b != fed.rend(); ++b) {
            stack.push_back({*b, -1, 1});
        }
        walk(m);
    }
    for (int b = 0; b < graph.BoardCount(); ++b) {
        if (!placed[static_cast<size_t>(b)] && !graph.OnCycle(b)) {
            // Not reached from a transformer: the top of its own tree, if it is one.
            bool top = true;
            for (int owner : graph.OwnersOf(b)) {
                top = top && graph.OnCycle(owner);
            }
            if (top) {
                stack.push_back({b, -1, 1});
                walk(-1);
            }
        }
    }
    for (int b = 0; b < graph.BoardCount(); ++b) {
        if (!placed[static_cast<size_t>(b)]) {
            placed[static_cast<size_t>(b)] = 1;
            out.push_back(BoardOf(doc, index, b));
            out.back().transformer = -1;
        }
    }
    return out;
}

std::wstring Range(double low, double high)
{
    return low == high ? FormatG(low) : FormatG(low) + L"–" + FormatG(high);
}

/// Where a found type's figures come from, as a table's note cites it: the
/// source with its edition and the note of a secondary summary.
std::wstring ShortSource(const CLoadType& type)
{
    if (Trim(type.source).empty()) {
        return type.Citation();  // the table alone, or "用户自定义"
    }
    return type.source + (type.secondary ? std::wstring(texts::kSecondarySourceNote) : L"");
}

/// The library rows the circuits name and, by circuit, its source.
void AddTypeSources(const CLoadCalDocument& doc, const CLoadTypeLibrary* library, BookContent& book)
{
    book.typeSources.assign(static_cast<size_t>(doc.loads.GetSize()), std::wstring());
    std::vector<std::pair<std::wstring, const void*>> keys;  // type key, tier
    for (int i = 0; i < doc.loads.GetSize(); ++i) {
        const CLoadCalData& c = doc.loads[i];
        if (Trim(c.m_strLoadType).empty()) {
            continue;
        }
        BookTypeRow row;
        const CTypeFigures figures =
            library ? FiguresForCircuit(c, *library)
                    : CTypeFigures{TypeLookup::UnknownType, nullptr, nullptr, {}, {}, {}};
        const CLoadType* type = figures.type;
        const void* tier = figures.tier;
        if (!type) {
            row.name = Trim(c.m_strLoadType);
            row.known = false;
            row.scale = row.kxRange = row.kx = row.cos = L"—";
            row.source = library ? L"不在负荷类型库中，Kx、cosφ 按填写值"
                                 : L"未查负荷类型库，Kx、cosφ 按填写值";
            book.typeSources[static_cast<size_t>(i)] = row.source;
        } else {
            row.name = type->name;
            row.scale = type->scale;
            if (figures.tier) {
                row.scale += L"：" + figures.tier->label;
                row.kxRange = Range(figures.tier->kxMin, figures.tier->kxMax);
                row.kx = FormatG(figures.tier->kx);
            } else if (type->IsTiered()) {
                row.scale += L"（数量不在表列各档内）";
                row.kxRange = Range(type->kxMin, type->kxMax);
                row.kx = std::wstring(texts::kByTier);
            } else {
                row.kxRange = Range(type->kxMin, type->kxMax);
                row.kx = FormatG(type->kx);
            }
            if (type->cos) {
                const std::optional<double> tan = type->Tan();
                row.cos = FormatG(*type->cos) +
                          (tan ? L"（tanφ " + FormatFixed(*tan, 2) + L"）" : std::wstring());
            } else {
                row.cos = L"—";
            }
            row.source = type->Citation();
            row.origin = std::wstring(OriginName(type->origin));
            book.typeSources[static_cast<size_t>(i)] = ShortSource(*type);
        }
        const std::pair<std::wstring, const void*> key = {LoadTypeKey(row.name), tier};
        const auto at = std::find(keys.begin(), keys.end(), key);
        if (at != keys.end()) {
            ++book.types[static_cast<size_t>(at - keys.begin())].circuits;
            continue;
        }
        row.circuits = 1;
        keys.push_back(key);
        book.types.push_back(std::move(row));
    }
}

}  // namespace

std::vector<std::wstring> NonNumericCells(const CLoadArray& loads,
                                          const CTransformerArray& transformers)
{
    std::vector<std::wstring> found;
    for (int i = 0; i < loads.GetSize(); ++i) {
        for (const TableColumn& column : kLoadColumns) {
            const int f = column.field;
            if (f < CLoadCalData::kRatedPower || f == CLoadCalData::kTransformer) {
                continue;  // circuit number, names, phase, owners
            }
            const std::wstring& text = loads[i].FieldAt(f);
            if (!ReadTypedNumber(text)) {
                found.push_back(L"回路第 " + std::to_wstring(i + 1) + L" 行 " +
                                std::wstring(column.title) + L" \"" + text + L"\"");
            }
        }
    }
    for (int m = 0; m < transformers.GetSize(); ++m) {
        for (const TableColumn& column : kTransformerColumns) {
            const int f = column.field;
            const std::wstring& text = transformers[m].FieldAt(f);
            if (f == CTransformerCalData::kName ||
                (f == CTransformerCalData::kActualCompCapacity && text.empty())) {
                continue;
            }
            if (!ReadTypedNumber(text)) {
                found.push_back(L"变压器 " + transformers[m].m_strName + L" " +
                                std::wstring(column.title) + L" \"" + text + L"\"");
            }
        }
    }
    return found;
}

BookContent BuildBookContent(const CLoadCalDocument& doc, const CLoadTypeLibrary* library)
{
    BookContent book;
    book.rules = doc.rules;
    const CCheckWarnings warnings = CheckDocument(doc, library);
    AddTypeSources(doc, library, book);
    CSupplyIndex index(doc);
    index.ReadBoardFigures(doc.boards);
    book.fire = index.HasFireCase();
    book.totals = index.Totals();
    for (int m = 0; m < doc.transformers.GetSize(); ++m) {
        BookTransformer b = TransformerOf(doc, index, m, true);
        AddTransformerChecks(doc.transformers[m], b, m, doc.rules, warnings, book.checks);
        book.transformers.push_back(std::move(b));
    }
    AddContingencyChecks(doc, warnings, book.checks);
    if (!doc.boards.IsEmpty()) {
        book.boards = BoardsInTreeOrder(doc, index);
    }
    const std::vector<std::wstring> cells = NonNumericCells(doc.loads, doc.transformers);
    std::wstring finding;
    if (cells.empty()) {
        finding = L"所有数字单元格均为数字";
    } else {
        finding = std::to_wstring(cells.size()) + L" 处：";
        constexpr size_t kListed = 12;
        for (size_t k = 0; k < cells.size() && k < kListed; ++k) {
            finding += (k ? L"；" : L"") + cells[k];
        }
        if (cells.size() > kListed) {
            finding += L" 等";
        }
    }
    book.checks.push_back({L"数字单元格可读为数字", L"全部", finding, cells.empty()});

    if (doc.rules == CalcRules::Original) {
        BookComparison other;
        other.document = doc;
        other.document.rules = CalcRules::GB51348_2019;
        other.totals = RecalculateDocument(other.document);
        CSupplyIndex recalculated(other.document);
        recalculated.ReadBoardFigures(other.document.boards);
        for (int m = 0; m < other.document.transformers.GetSize(); ++m) {
            other.transformers.push_back(TransformerOf(other.document, recalculated, m, false));
        }
        book.comparison = std::move(other);
    }
    // The document's problems, as the window marks them and the command
    // line lists them.
    if (warnings.empty()) {
        book.checks.push_back({L"数据检查", L"全部", L"未发现问题", true});
    }
    for (const CCheckWarning& w : warnings) {
        book.checks.push_back({L"数据检查", L"", w.text, false});
    }
    return book;
}

BookContent BuildBookContent(const CLoadArray& loads, const CTransformerArray& transformers)
{
    return BuildBookContent(CLoadCalDocument(loads, transformers));
}

}  // namespace loadcal
