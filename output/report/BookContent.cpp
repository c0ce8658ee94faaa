#include "output/report/BookContent.h"

#include "model/Checks.h"

#include <cmath>

#include "model/Columns.h"
#include "model/Numeric.h"
#include "output/Figures.h"

namespace loadcal {
namespace {

/// A document text as a formula shows it: an empty text reads as 0.
std::wstring Shown(const std::wstring& text)
{
    return text.empty() ? std::wstring(L"0") : text;
}

std::wstring G(double value)
{
    return FormatG(value);
}

std::wstring Percent(const std::wstring& ratio)
{
    return FormatG(ParseNumber(ratio) * 100) + L" %";
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

/// "ΣPjs = PL1 + PL2 + PL3 + P3φ = … = sum" under the 15 % rule; symbol is
/// "Pjs" or "Qjs".
std::wstring GroupSumStep(const GroupPhases& g, SumField field, const std::wstring& symbol,
                          const std::wstring& sum, const std::wstring& unit)
{
    const auto f = static_cast<size_t>(field);
    const double(&v)[3] = g.value[f];
    const std::wstring x3 = Pw(g.threePhase[f]);
    const std::wstring p = symbol.substr(0, 1);  // "P" or "Q"
    const std::wstring result = Pw(sum) + L" " + unit;
    if (g.singlePhaseCount == 0) {
        return L"Σ" + symbol + L" = " + p + L"3φ = " + result;
    }
    if (g.Balanced()) {
        return L"Σ" + symbol + L" = " + p + L"L1 + " + p + L"L2 + " + p + L"L3 + " + p + L"3φ = " +
               Pw(v[0]) + L" + " + Pw(v[1]) + L" + " + Pw(v[2]) + L" + " + x3 + L" = " + result;
    }
    const double largest = std::max(v[0], std::max(v[1], v[2]));
    return L"Σ" + symbol + L" = 3 × max(" + p + L"L1, " + p + L"L2, " + p + L"L3) + " + p +
           L"3φ = 3 × max(" + Pw(v[0]) + L", " + Pw(v[1]) + L", " + Pw(v[2]) + L") + " + x3 +
           L" = 3 × " + Pw(largest) + L" + " + x3 + L" = " + result;
}

std::wstring BalanceStep(const GroupPhases& g)
{
    if (g.singlePhaseCount == 0) {
        return L"无单相回路，各组合计即三相回路之和";
    }
    const double mean = (g.current[0] + g.current[1] + g.current[2]) / 3;
    std::wstring text = L"单相回路电流 IL1 = " + Cu(g.current[0]) + L" A，IL2 = " +
                        Cu(g.current[1]) + L" A，IL3 = " + Cu(g.current[2]) + L" A，平均 Ī = " +
                        Cu(mean) + L" A，15 % × Ī = " + Cu(0.15 * mean) + L" A：";
    text += g.Balanced() ? L"各相与平均值之差均小于 15 % × Ī，三相平衡，单相负荷直接相加"
                         : L"有一相与平均值之差不小于 15 % × Ī，三相不平衡，"
                           L"单相负荷按最大一相的 3 倍计";
    return text;
}

std::vector<BookStep> TransformerSteps(const CTransformerCalData& t, const BookTransformer& b)
{
    std::vector<BookStep> s;
    const double pc = ParseNumber(t.m_strCalcP);
    const double qc = ParseNumber(b.reactiveSum) * ParseNumber(t.m_strKq);
    const std::wstring qcText = Pw(qc);
    s.push_back({L"设备功率", L"ΣPe = " + Pw(b.installedSum) + L" kW"});
    s.push_back({L"15 % 规则", BalanceStep(b.phases)});
    s.push_back(
        {L"有功功率合计", GroupSumStep(b.phases, SumField::Active, L"Pjs", b.activeSum, L"kW")});
    s.push_back({L"无功功率合计",
                 GroupSumStep(b.phases, SumField::Reactive, L"Qjs", b.reactiveSum, L"kvar")});
    s.push_back({L"计算有功功率", L"Pc = K∑p × ΣPjs = " + Fa(t.m_strKp) + L" × " + Pw(b.activeSum) +
                                      L" = " + Pw(t.m_strCalcP) + L" kW"});
    s.push_back({L"计算无功功率", L"Qc = K∑q × ΣQjs = " + Fa(t.m_strKq) + L" × " +
                                      Pw(b.reactiveSum) + L" = " + qcText + L" kvar"});
    const double alpha = ParseNumber(t.m_strAlpha);
    if (IsNearZero(alpha * pc)) {
        s.push_back({L"补偿前功率因数", L"α × Pc = " + Fa(t.m_strAlpha) + L" × " +
                                            Pw(t.m_strCalcP) + L" = 0，取 cosφ1 = " +
                                            Fa(t.m_strCosBefore)});
    } else {
        s.push_back({L"补偿前功率因数",
                     L"cosφ1 = √(1 / (1 + (β × Qc / (α × Pc))²)) = √(1 / (1 + (" + Fa(t.m_strBeta) +
                         L" × " + qcText + L" / (" + Fa(t.m_strAlpha) + L" × " + Pw(t.m_strCalcP) +
                         L"))²)) = " + Fa(t.m_strCosBefore)});
    }
    // tan φ from the stored power factors, as the calculation takes them.
    const auto tanOf = [](const std::wstring& cosText) {
        const double c = ParseNumber(cosText);
        return std::tan(std::acos(c));
    };
    const double tan1 = tanOf(t.m_strCosBefore);
    const double tan2 = tanOf(t.m_strCosAfter);
    // tan φ to 0.0001: a reviewer's product with Pc then lands within 0.1 kvar.
    const auto tanText = [](double value) {
        return std::isfinite(value) ? FormatFixed(value, 4) : std::wstring(L"—");
    };
    s.push_back({L"补偿容量", L"Qcc = Pc × (tanφ1 − tanφ2) = " + Pw(t.m_strCalcP) + L" × (" +
                                  tanText(tan1) + L" − " + tanText(tan2) + L") = " +
                                  Pw(t.m_strCompCapacity) + L" kvar（cosφ1 = " +
                                  Fa(t.m_strCosBefore) + L"，目标 cosφ2 = " + Fa(t.m_strCosAfter) +
                                  L"）"});
    std::wstring installed = t.m_strActualCompCapacity;
    if (std::fabs(ParseNumber(installed)) < 1e-9) {
        installed = Shown(t.m_strCompCapacity);
        s.push_back(
            {L"实际补偿容量", L"未填或为 0，按补偿容量取 Qb = Qcc = " + Pw(installed) + L" kvar"});
    } else {
        s.push_back({L"实际补偿容量", L"Qb = " + Pw(installed) + L" kvar"});
    }
    s.push_back({L"补偿后无功功率", L"Q2 = Qc − Qb = " + qcText + L" − " + Pw(installed) + L" = " +
                                        Pw(t.m_strCalcQ) + L" kvar"});
    s.push_back({L"补偿后视在功率", L"S2 = √(Pc² + Q2²) = √(" + Pw(t.m_strCalcP) + L"² + " +
                                        Pw(t.m_strCalcQ) + L"²) = " + Pw(t.m_strCalcS) + L" kV·A"});
    s.push_back({L"补偿后计算电流", L"I2 = S2 / (√3 × 0.38) = " + Pw(t.m_strCalcS) +
                                        L" / (√3 × 0.38) = " + Cu(t.m_strCalcI) + L" A"});
    s.push_back({L"补偿后功率因数", L"cosφ2' = Pc / S2 = " + Pw(t.m_strCalcP) + L" / " +
                                        Pw(t.m_strCalcS) + L" = " + Fa(b.cosAfterActual)});
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
    s.push_back({L"实际负载率", L"S2 / Se = " + Pw(t.m_strCalcS) + L" / " +
                                    Se(t.m_strRatedCapacity) + L" = " + Pc(t.m_strActualLoadRate)});
    return s;
}

void AddTransformerChecks(const CTransformerCalData& t, const BookTransformer& b, int index,
                          const CCheckWarnings& warnings, std::vector<BookCheck>& checks)
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
    checks.push_back({L"负载率不高于 85 %", t.m_strName,
                      L"实际负载率 " + Percent(t.m_strActualLoadRate),
                      rateTrusted && loadRate <= kLoadRateLimit});
    const double s2 = ParseNumber(t.m_strCalcS);
    std::wstring pf;
    bool pfMet = true;
    if (!std::isfinite(s2) || !std::isfinite(b.cosAfterActual)) {
        pf = L"S2 = " + Shown(t.m_strCalcS) + L"，Pc = " + Shown(t.m_strCalcP) + L"，无法计算";
        pfMet = false;
    } else if (s2 > 1e-8) {
        pf = L"cos φ2' = Pc / S2 = " + G(b.cosAfterActual);
        pfMet = b.cosAfterActual >= kPowerFactorLimit;
    } else {
        pf = L"无负荷（S2 = 0）";
    }
    checks.push_back({L"补偿后功率因数不低于 0.9", t.m_strName, pf, pfMet});
    std::wstring balance;
    if (b.phases.singlePhaseCount == 0) {
        balance = L"无单相回路";
    } else {
        balance = L"IL1 / IL2 / IL3 = " + G(b.phases.current[0]) + L" / " + G(b.phases.current[1]) +
                  L" / " + G(b.phases.current[2]) + L" A" +
                  (b.phases.Balanced() ? L"" : L"，超出 15 %，按最大相的 3 倍计");
    }
    checks.push_back({L"单相负荷三相平衡（15 % 规则）", t.m_strName, balance,
                      b.phases.singlePhaseCount == 0 || b.phases.Balanced()});
    const double rated = ParseNumber(t.m_strRatedCapacity);
    const bool inSeries = std::isfinite(rated) && rated > 0;
    checks.push_back({L"额定容量在标准容量系列内", t.m_strName,
                      inSeries ? L"Se = " + t.m_strRatedCapacity + L" kVA"
                               : L"额定容量为 \"" + t.m_strRatedCapacity + L"\"，超出标准系列",
                      inSeries});
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

BookContent BuildBookContent(const CLoadArray& loads, const CTransformerArray& transformers)
{
    BookContent book;
    const CCheckWarnings warnings = CheckDocument(CLoadCalDocument(loads, transformers));
    const COwnerIndex index(loads);
    book.totals = index.Totals();
    for (int m = 0; m < transformers.GetSize(); ++m) {
        const CTransformerCalData& t = transformers[m];
        BookTransformer b;
        b.index = m;
        for (int i = 0; i < loads.GetSize(); ++i) {
            if (BelongsTo(loads[i], t.m_strName)) {
                b.circuits.push_back(i);
            }
        }
        b.phases = GroupPhasesOf(loads, t.m_strName);
        b.installedSum = index.GroupSum(t.m_strName, SumField::Installed);
        b.activeSum = index.GroupSum(t.m_strName, SumField::Active);
        b.reactiveSum = index.GroupSum(t.m_strName, SumField::Reactive);
        for (int k = 0; k < 3; ++k) {
            b.phaseCurrents[k] = b.phases.current[k] + b.phases.threePhaseCurrent;
        }
        const double s2 = ParseNumber(t.m_strCalcS);
        b.cosAfterActual = s2 > 1e-8 ? ParseNumber(t.m_strCalcP) / s2 : 0.0;
        b.steps = TransformerSteps(t, b);
        AddTransformerChecks(t, b, m, warnings, book.checks);
        book.transformers.push_back(std::move(b));
    }
    const std::vector<std::wstring> cells = NonNumericCells(loads, transformers);
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

}  // namespace loadcal
