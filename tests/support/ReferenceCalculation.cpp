#include "tests/support/ReferenceCalculation.h"

#include <cmath>
#include <cwchar>
#include <stdexcept>
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

bool NamesBoard(const std::wstring& owner, const std::wstring& board)
{
    if (board.empty()) {
        return false;
    }
    CStringArray pieces;
    if (ExplodeStr(owner, L",", pieces, false) == 0) {
        pieces.Add(owner);
    }
    for (const auto& p : pieces) {
        if (FoldCase(p) == FoldCase(board)) {
            return true;
        }
    }
    return false;
}

bool NamesTransformer(const std::wstring& owner, const std::wstring& name)
{
    CStringArray pieces;
    if (ExplodeStr(owner, L",", pieces, false) == 0) {
        pieces.Add(owner);
    }
    for (const auto& p : pieces) {
        if (FoldCase(p) == FoldCase(name)) {
            return true;
        }
    }
    return false;
}

/// One member of a group as plain numbers: phase text, current, Q, P, Pe.
struct Member {
    std::wstring phase;
    double i, q, p, pe;
};

/// The three group sums (Q, P, Pe) of members under a rule set.
void Sums(const std::vector<Member>& members, CalcRules rules, bool threePhaseGroup, double out[3])
{
    double i[3] = {0, 0, 0};
    double x[3][3] = {};
    double x3p[3] = {0, 0, 0};
    for (const auto& m : members) {
        const double v[3] = {m.q, m.p, m.pe};
        int k = -1;
        if (m.phase == L"L1,N") {
            k = 0;
        } else if (m.phase == L"L2,N") {
            k = 1;
        } else if (m.phase == L"L3,N") {
            k = 2;
        } else if (m.phase == L"L1,L2,L3,N") {
            for (int f = 0; f < 3; ++f) {
                x3p[f] += v[f];
            }
            continue;
        } else {
            continue;
        }
        i[k] += m.i;
        for (int f = 0; f < 3; ++f) {
            x[f][k] += v[f];
        }
    }
    bool plain = false;
    if (!threePhaseGroup) {
        plain = true;  // a single-phase board
    } else if (rules == CalcRules::Original) {
        const double avg = (i[0] + i[1] + i[2]) / 3;
        plain = std::fabs(avg - i[0]) < 0.15 * avg && std::fabs(avg - i[1]) < 0.15 * avg &&
                std::fabs(avg - i[2]) < 0.15 * avg;
    } else {
        plain = x[1][0] + x[1][1] + x[1][2] < 0.15 * x3p[1];
    }
    for (int f = 0; f < 3; ++f) {
        if (plain) {
            out[f] = x[f][0] + x[f][1] + x[f][2] + x3p[f];
        } else {
            double m = x[f][0];
            if (x[f][1] > m) {
                m = x[f][1];
            }
            if (x[f][2] > m) {
                m = x[f][2];
            }
            out[f] = 3 * m + x3p[f];
        }
    }
}

/// Whether a circuit runs in a case: in the normal case every circuit but
/// the fire-only ones, in a fire every circuit but the shed ones.
bool Runs(const CLoadCalData& c, bool fire)
{
    return fire ? c.m_strFire != L"火灾时切除" : c.m_strFire != L"消防";
}

/// A board's figures of one case: Pe, P, Q, S, I, cos.
struct BoardCase {
    std::wstring CBoardCalData::*pe;
    std::wstring CBoardCalData::*p;
    std::wstring CBoardCalData::*q;
    std::wstring CBoardCalData::*s;
    std::wstring CBoardCalData::*i;
    std::wstring CBoardCalData::*cos;
};
const BoardCase kNormalBoard = {&CBoardCalData::m_strRatedPower, &CBoardCalData::m_strCalcP,
                                &CBoardCalData::m_strCalcQ,      &CBoardCalData::m_strCalcS,
                                &CBoardCalData::m_strCalcI,      &CBoardCalData::m_strPowerFactor};
const BoardCase kFireBoard = {
    &CBoardCalData::m_strFireRatedPower, &CBoardCalData::m_strFireCalcP,
    &CBoardCalData::m_strFireCalcQ,      &CBoardCalData::m_strFireCalcS,
    &CBoardCalData::m_strFireCalcI,      &CBoardCalData::m_strFirePowerFactor};

/// The members of a group named name, circuits first (those that run in
/// the case), then boards with that case's figures, each in list order.
std::vector<Member> MembersOf(const CLoadCalDocument& doc, const std::wstring& name, bool board,
                              const std::vector<bool>& boardDone, bool fire = false)
{
    const BoardCase& k = fire ? kFireBoard : kNormalBoard;
    std::vector<Member> members;
    for (const auto& c : doc.loads) {
        if (!Runs(c, fire)) {
            continue;
        }
        if (board ? NamesBoard(c.m_strTransformer, name)
                  : NamesTransformer(c.m_strTransformer, name)) {
            members.push_back({c.m_strPhase, P(c.m_strCalcI), P(c.m_strCalcQ), P(c.m_strCalcP),
                               P(c.m_strRatedPower)});
        }
    }
    for (int b = 0; b < doc.boards.GetSize(); ++b) {
        const CBoardCalData& m = doc.boards[b];
        if (board ? NamesBoard(m.m_strOwner, name) : NamesTransformer(m.m_strOwner, name)) {
            if (!boardDone[static_cast<size_t>(b)]) {
                throw std::runtime_error("a member board is not done");
            }
            members.push_back({m.m_strPhase, P(m.*k.i), P(m.*k.q), P(m.*k.p), P(m.*k.pe)});
        }
    }
    return members;
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

SummaryTotals RecalculateDocument(CLoadCalDocument& doc)
{
    const CalcRules rules = doc.rules;
    const double k3 = rules == CalcRules::Original ? 1.732 : std::sqrt(3.0);
    for (auto& c : doc.loads) {
        const double pe = P(c.m_strRatedPower), k = P(c.m_strDemandFactor);
        const double cosPhi = P(c.m_strPowerFactor), u = P(c.m_strVoltage);
        const double p = pe * k;
        const double q =
            std::fabs(cosPhi) <= 1e-8 ? 0 : p * std::sqrt(1 - cosPhi * cosPhi) / cosPhi;
        double i = 0;
        if (std::fabs(u * cosPhi) > 1e-8) {
            i = c.m_strPhase.find(L"L1,L2,L3,N") != std::wstring::npos ? p / (k3 * u * cosPhi)
                                                                       : p / (u * cosPhi);
        }
        c.m_strCalcP = G(p);
        c.m_strCalcQ = G(q);
        c.m_strCalcS = G(std::sqrt(p * p + q * q));
        c.m_strCalcI = G(i);
    }

    bool fireRoles = false;
    for (const auto& c : doc.loads) {
        fireRoles = fireRoles || c.m_strFire == L"消防" || c.m_strFire == L"火灾时切除";
    }

    // Boards: sweep until every board is done; a board is ready when every
    // board naming it is done. Once per case.
    std::vector<bool> done;
    for (const bool fire : {false, true}) {
        if (fire && !fireRoles) {
            break;
        }
        const BoardCase& k = fire ? kFireBoard : kNormalBoard;
        done.assign(static_cast<size_t>(doc.boards.GetSize()), false);
        for (bool progress = true; progress;) {
            progress = false;
            for (int b = 0; b < doc.boards.GetSize(); ++b) {
                if (done[static_cast<size_t>(b)]) {
                    continue;
                }
                CBoardCalData& board = doc.boards[b];
                bool ready = true;
                for (int m = 0; m < doc.boards.GetSize(); ++m) {
                    if (!done[static_cast<size_t>(m)] &&
                        NamesBoard(doc.boards[m].m_strOwner, board.m_strName)) {
                        ready = false;
                    }
                }
                if (!ready) {
                    continue;
                }
                double sum[3];
                const bool threePhase = board.m_strPhase.find(L"L1,L2,L3,N") != std::wstring::npos;
                Sums(MembersOf(doc, board.m_strName, true, done, fire), rules, threePhase, sum);
                board.*k.pe = G(sum[2]);
                const double p = P(board.m_strKp) * P(G(sum[1]));
                const double q = P(board.m_strKq) * P(G(sum[0]));
                const double s = std::sqrt(p * p + q * q);
                board.*k.p = G(p);
                board.*k.q = G(q);
                board.*k.s = G(s);
                board.*k.cos = G(std::fabs(s) <= 1e-8 ? 0 : p / s);
                board.*k.i = G(threePhase ? s / (k3 * 0.38) : s / 0.22);
                done[static_cast<size_t>(b)] = true;
                progress = true;
            }
        }
        for (bool d : done) {
            if (!d) {
                throw std::runtime_error("boards left on a cycle");
            }
        }
    }
    for (auto& board : doc.boards) {
        if (fireRoles) {
            board.m_strGoverningCase =
                P(board.m_strFireCalcS) > P(board.m_strCalcS) ? L"火灾" : L"正常";
        } else {
            board.m_strFireRatedPower = board.m_strFireCalcP = board.m_strFireCalcQ = L"";
            board.m_strFireCalcS = board.m_strFireCalcI = board.m_strFirePowerFactor = L"";
            board.m_strGoverningCase = L"";
        }
    }
    if (!fireRoles) {
        for (auto& tr : doc.transformers) {
            tr.m_strFireCalcP = tr.m_strFireCalcQ = tr.m_strFireCalcS = tr.m_strFireCalcI = L"";
            tr.m_strFireCosBefore = tr.m_strFireCompCapacity = tr.m_strFireLoadRate = L"";
            tr.m_strGoverningCase = L"";
        }
    }

    for (int t = 0; t < doc.transformers.GetSize(); ++t) {
        const std::wstring name = doc.transformers[t].m_strName;
        int idx = -1;
        for (int j = 0; j < doc.transformers.GetSize() && idx < 0; ++j) {
            if (FoldCase(doc.transformers[j].m_strName) == FoldCase(name)) {
                idx = j;
            }
        }
        CTransformerCalData& tr = doc.transformers[idx];
        double s2[2] = {0, 0};
        for (const bool fire : {false, true}) {
            if (fire && !fireRoles) {
                break;
            }
            double sum[3];
            Sums(MembersOf(doc, name, false, done, fire), rules, true, sum);
            const double pc = P(G(sum[1])) * P(tr.m_strKp);
            const double qc = P(G(sum[0])) * P(tr.m_strKq);
            const double a = P(tr.m_strAlpha), b = P(tr.m_strBeta);
            double cos1 = 0;
            if (std::fabs(a * pc) > 1e-8) {
                cos1 = std::sqrt(1 / (std::pow(b * qc / (a * pc), 2) + 1));
            }
            const double cos2 = P(tr.m_strCosAfter);
            const double tan1 = std::tan(std::acos(cos1)), tan2 = std::tan(std::acos(cos2));
            double qcomp = 0;
            if (rules == CalcRules::Original) {
                qcomp = pc * (tan1 - tan2);
            } else if (cos1 < cos2) {
                qcomp = a * pc * (tan1 - tan2);
            }
            double qinst = P(tr.m_strActualCompCapacity);
            if (std::fabs(qinst) < 1e-9) {
                qinst = qcomp;
            }
            const double q2 = qc - qinst;
            s2[fire ? 1 : 0] = std::sqrt(pc * pc + q2 * q2);
            (fire ? tr.m_strFireCalcP : tr.m_strCalcP) = G(pc);
            (fire ? tr.m_strFireCosBefore : tr.m_strCosBefore) = G(cos1);
            (fire ? tr.m_strFireCompCapacity : tr.m_strCompCapacity) = G(qcomp);
            (fire ? tr.m_strFireCalcQ : tr.m_strCalcQ) = G(q2);
            (fire ? tr.m_strFireCalcS : tr.m_strCalcS) = G(s2[fire ? 1 : 0]);
            (fire ? tr.m_strFireCalcI : tr.m_strCalcI) =
                G(s2[fire ? 1 : 0] / (std::sqrt(3.0) * 0.38));
        }
        // The larger S2 of the two cases chooses the capacity.
        double governing = s2[0];
        if (fireRoles) {
            governing = std::isnan(s2[0]) || std::isnan(s2[1]) ? NAN
                        : s2[1] > s2[0]                        ? s2[1]
                                                               : s2[0];
        }
        const double rate = P(tr.m_strLoadRate);
        const double x = std::fabs(rate) > 1e-8 ? governing / rate : 0;
        double cap = 0;
        for (double v : {30.0,   50.0,   63.0,   80.0,   100.0,  125.0,  160.0,  200.0,  250.0,
                         315.0,  400.0,  500.0,  630.0,  800.0,  1000.0, 1250.0, 1600.0, 2000.0,
                         2500.0, 3150.0, 4000.0, 5000.0, 6300.0, 8000.0, 10000.0}) {
            if (v > x) {
                cap = v;
                break;
            }
        }
        tr.m_strRatedCapacity = G(cap);
        tr.m_strActualLoadRate = G(cap > 1e-8 ? s2[0] / cap : 0);
        if (fireRoles) {
            tr.m_strFireLoadRate = G(cap > 1e-8 ? s2[1] / cap : 0);
            tr.m_strGoverningCase = s2[1] > s2[0] ? L"火灾" : L"正常";
        }
    }

    if (rules == CalcRules::Original) {
        return Totals(doc.loads);
    }
    double pe = 0, p = 0, q = 0;
    for (const auto& c : doc.loads) {
        pe += P(c.m_strRatedPower);
        p += P(c.m_strCalcP);
        q += P(c.m_strCalcQ);
    }
    SummaryTotals t;
    t.installed = G(pe);
    t.active = G(p);
    t.reactive = G(q);
    const double pt = P(t.active), qt = P(t.reactive);
    t.apparent = G(std::sqrt(pt * pt + qt * qt));
    const double st = P(t.apparent);
    t.powerFactor = G(st > 1e-8 ? pt / st : 0);
    t.current = G(st / (std::sqrt(3.0) * 0.38));
    return t;
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
