#include "tests/support/ReferenceCalculation.h"

#include <cmath>
#include <cwchar>
#include <vector>

#include "model/Numeric.h"
#include "model/Text.h"

namespace loadcal::reference {
namespace {

double P(const std::wstring& s)
{
    return ParseNumber(s);
}
std::wstring G(double v)
{
    return FormatGByPrintf(v);
}

bool Belongs(const CLoadCalData& c, const std::wstring& n)
{
    CStringArray pieces;
    if (ExplodeStr(c.m_strTransformer, L",", pieces, false) == 0) {
        pieces.Add(c.m_strTransformer);
    }
    for (const auto& p : pieces) {
        if (FoldCase(p) == FoldCase(n)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::wstring GroupSum(const CLoadArray& loads, const std::wstring& owner, SumField field)
{
    double i1 = 0, i2 = 0, i3 = 0, x1 = 0, x2 = 0, x3 = 0, x3p = 0;
    for (const auto& c : loads) {
        if (!Belongs(c, owner)) {
            continue;
        }
        const std::wstring& summed = field == SumField::Reactive ? c.m_strCalcQ
                                     : field == SumField::Active ? c.m_strCalcP
                                                                 : c.m_strRatedPower;
        if (c.m_strPhase == L"L1,N") {
            i1 += P(c.m_strCalcI);
            x1 += P(summed);
        } else if (c.m_strPhase == L"L2,N") {
            i2 += P(c.m_strCalcI);
            x2 += P(summed);
        } else if (c.m_strPhase == L"L3,N") {
            i3 += P(c.m_strCalcI);
            x3 += P(summed);
        } else if (c.m_strPhase == L"L1,L2,L3,N") {
            x3p += P(summed);
        }
    }
    const double avg = (i1 + i2 + i3) / 3;
    if (std::fabs(avg - i1) < 0.15 * avg && std::fabs(avg - i2) < 0.15 * avg &&
        std::fabs(avg - i3) < 0.15 * avg) {
        return G(x1 + x2 + x3 + x3p);
    }
    double m = x1;
    if (x2 > m) {
        m = x2;
    }
    if (x3 > m) {
        m = x3;
    }
    return G(3 * m + x3p);
}

std::wstring Total(const CLoadArray& loads, SumField field)
{
    std::vector<std::wstring> owners;
    for (const auto& c : loads) {
        bool seen = false;
        for (const auto& o : owners) {
            seen = seen || o == c.m_strTransformer;
        }
        if (!seen) {
            owners.push_back(c.m_strTransformer);
        }
    }
    double total = 0;
    for (const auto& o : owners) {
        total += P(reference::GroupSum(loads, o, field));
    }
    return G(total);
}

SummaryTotals Totals(const CLoadArray& loads)
{
    SummaryTotals t;
    t.installed = reference::Total(loads, SumField::Installed);
    t.active = reference::Total(loads, SumField::Active);
    t.reactive = reference::Total(loads, SumField::Reactive);
    const double p = P(t.active), q = P(t.reactive);
    t.apparent = G(std::sqrt(p * p + q * q));
    const double s = P(t.apparent);
    t.powerFactor = G(s > 1e-8 ? p / s : 0);
    t.current = G(s / (std::sqrt(3.0) * 0.38));
    return t;
}

void RecalculateTransformer(const CLoadArray& loads, CTransformerArray& transformers,
                            const std::wstring& name)
{
    int idx = -1;
    for (int i = 0; i < transformers.GetSize() && idx < 0; ++i) {
        if (FoldCase(transformers[i].m_strName) == FoldCase(name)) {
            idx = i;
        }
    }
    if (idx < 0) {
        return;
    }
    CTransformerCalData& t = transformers[idx];
    const double pc = P(reference::GroupSum(loads, name, SumField::Active)) * P(t.m_strKp);
    t.m_strCalcP = G(pc);
    const double qc = P(reference::GroupSum(loads, name, SumField::Reactive)) * P(t.m_strKq);
    const double a = P(t.m_strAlpha), b = P(t.m_strBeta);
    double cos1 = 0;
    if (std::fabs(a * pc) > 1e-8) {
        const double r = std::pow(b * qc / (a * pc), 2);
        cos1 = std::sqrt(1 / (r + 1));
    }
    t.m_strCosBefore = G(cos1);
    const double qcomp = pc * (std::tan(std::acos(cos1)) - std::tan(std::acos(P(t.m_strCosAfter))));
    t.m_strCompCapacity = G(qcomp);
    double qinst = P(t.m_strActualCompCapacity);
    if (std::fabs(qinst) < 1e-9) {
        qinst = qcomp;
    }
    const double q2 = qc - qinst;
    t.m_strCalcQ = G(q2);
    const double s2 = std::sqrt(pc * pc + q2 * q2);
    t.m_strCalcS = G(s2);
    t.m_strCalcI = G(s2 / (std::sqrt(3.0) * 0.38));
    const double rate = P(t.m_strLoadRate);
    const double x = std::fabs(rate) > 1e-8 ? s2 / rate : 0;
    static const double series[] = {30,   50,   63,   80,   100,  125,  160,  200,  250,
                                    315,  400,  500,  630,  800,  1000, 1250, 1600, 2000,
                                    2500, 3150, 4000, 5000, 6300, 8000, 10000};
    double cap = 0;
    for (double v : series) {
        if (v > x) {
            cap = v;
            break;
        }
    }
    t.m_strRatedCapacity = G(cap);
    t.m_strActualLoadRate = G(cap > 1e-8 ? s2 / cap : 0);
}

SummaryTotals RecalculateDocument(CLoadArray& loads, CTransformerArray& transformers)
{
    for (auto& c : loads) {
        RecalculateCircuit(c);
    }
    for (int i = 0; i < transformers.GetSize(); ++i) {
        const std::wstring name = transformers[i].m_strName;
        reference::RecalculateTransformer(loads, transformers, name);
    }
    return Totals(loads);
}

}  // namespace loadcal::reference
