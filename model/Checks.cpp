// The checks of a document's figures: every problem the window marks, the
// command line lists and the calculation book reports, from one place.
#include "model/Checks.h"

#include <cmath>
#include <cwchar>

#include "model/BoardChecks.h"
#include "model/Calculation.h"
#include "model/LoadTypes.h"
#include "model/Numeric.h"
#include "model/Records.h"
#include "model/SupplySecurity.h"
#include "model/Text.h"

namespace loadcal {
namespace {

/// The circuit as the user knows it: its number, else its row.
std::wstring CircuitLabel(const CLoadCalData& c, int index)
{
    const std::wstring number = Trim(c.m_strCircuitNo);
    if (!number.empty()) {
        return L"回路 " + number;
    }
    return L"第 " + std::to_wstring(index + 1) + L" 行回路";
}

std::wstring TransformerLabel(const CTransformerCalData& t, int index)
{
    const std::wstring name = Trim(t.m_strName);
    if (!name.empty()) {
        return L"变压器 " + name;
    }
    return L"第 " + std::to_wstring(index + 1) + L" 行变压器";
}

/// A ratio that must lie in (0, 1]; an empty text reads as 0.
bool InUnitInterval(const std::wstring& text)
{
    const double v = ParseNumber(text);
    return std::isfinite(v) && v > 0.0 && v <= 1.0;
}

/// The text as the user typed it, quoted for a message.
std::wstring Quoted(const std::wstring& text)
{
    return L"\"" + text + L"\"";
}

/// True when some board's name equals piece without regard to case (an
/// empty name is named by nothing).
bool NamesBoard(const CBoardArray& boards, const std::wstring& piece)
{
    for (const CBoardCalData& b : boards) {
        if (!b.m_strName.empty() && EqualsNoCase(b.m_strName, piece)) {
            return true;
        }
    }
    return false;
}

/// A computed figure that is not a finite number ("-NAN", "INF").
bool IsNotFinite(const std::wstring& text)
{
    return !std::isfinite(ParseNumber(text));
}

class CWarningList {
public:
    CWarningList(CCheckWarnings& out, CCheckWarning::Subject subject, int index, std::wstring label)
        : m_out(out), m_subject(subject), m_index(index), m_label(std::move(label))
    {}
    void Add(int field, const std::wstring& problem)
    {
        m_out.push_back({m_subject, m_index, field, m_label + L": " + problem});
    }

private:
    CCheckWarnings& m_out;
    CCheckWarning::Subject m_subject;
    int m_index;
    std::wstring m_label;
};

}  // namespace

bool VoltageFitsPhase(const std::wstring& phase, const std::wstring& voltage)
{
    const double u = ParseNumber(voltage);
    if (!std::isfinite(u) || u <= 0.0) {
        return false;
    }
    if (phase == kPhaseThree) {
        return u >= kThreePhaseVoltageMin;
    }
    return u <= kSinglePhaseVoltageMax;
}

void CheckCircuit(const CLoadCalData& c, int i, const CLoadCalDocument& doc, CCheckWarnings& out)
{
    {
        CWarningList w(out, CCheckWarning::Subject::Circuit, i, CircuitLabel(c, i));
        const bool knownPhase = IsPhaseText(c.m_strPhase);
        if (!knownPhase) {
            w.Add(CLoadCalData::kPhase, L"相位 " + Quoted(c.m_strPhase) +
                                            L" 不是 L1,N、L2,N、L3,N、L1,L2,L3,N 之一，"
                                            L"该回路不计入任何变压器");
        }
        const double pe = ParseNumber(c.m_strRatedPower);
        if (std::isfinite(pe) && pe < 0.0) {
            w.Add(CLoadCalData::kRatedPower, L"额定容量 " + c.m_strRatedPower + L" kW 为负值");
        } else if (!std::isfinite(pe)) {
            w.Add(CLoadCalData::kRatedPower,
                  L"额定容量 " + Quoted(c.m_strRatedPower) + L" 不是有限数");
        }
        if (knownPhase && !VoltageFitsPhase(c.m_strPhase, c.m_strVoltage)) {
            w.Add(CLoadCalData::kVoltage,
                  L"工作电压 " + Quoted(c.m_strVoltage) + L" kV 与相位 " + c.m_strPhase + L" 不符");
        }
        if (!InUnitInterval(c.m_strDemandFactor)) {
            w.Add(CLoadCalData::kDemandFactor,
                  L"需要系数 " + Quoted(c.m_strDemandFactor) + L" 不在 (0, 1] 内");
        }
        if (!InUnitInterval(c.m_strPowerFactor)) {
            w.Add(CLoadCalData::kPowerFactor,
                  L"功率因数 " + Quoted(c.m_strPowerFactor) + L" 不在 (0, 1] 内");
        }
        for (int field : {CLoadCalData::kCalcP, CLoadCalData::kCalcQ, CLoadCalData::kCalcS,
                          CLoadCalData::kCalcI}) {
            if (IsNotFinite(c.FieldAt(field))) {
                w.Add(field, L"计算结果 " + Quoted(c.FieldAt(field)) + L" 不是有限数");
            }
        }
        // Whom the circuit counts in.
        const CStringArray pieces = OwnerPieces(c.m_strTransformer);
        bool anyPiece = false;
        for (const std::wstring& piece : pieces) {
            if (piece.empty()) {
                continue;
            }
            anyPiece = true;
            if (FindTransformer(doc.transformers, piece) >= 0) {
                continue;
            }
            if (doc.boards.IsEmpty()) {
                w.Add(CLoadCalData::kTransformer,
                      L"归属变压器 " + Quoted(piece) + L" 不存在，该回路不计入它");
            } else if (!NamesBoard(doc.boards, piece)) {
                w.Add(CLoadCalData::kTransformer,
                      L"归属 " + Quoted(piece) + L" 不是任何变压器或配电箱，该回路不计入它");
            }
        }
        if (!anyPiece) {
            w.Add(CLoadCalData::kTransformer, L"没有归属变压器，该回路不计入任何变压器");
        }
    }
}

CCheckWarnings CheckCircuits(const CLoadCalDocument& doc)
{
    CCheckWarnings out;
    for (int i = 0; i < doc.loads.GetSize(); ++i) {
        CheckCircuit(doc.loads[i], i, doc, out);
    }
    return out;
}

CCheckWarnings CheckTransformers(const CLoadCalDocument& doc)
{
    CCheckWarnings out;
    for (int i = 0; i < doc.transformers.GetSize(); ++i) {
        const CTransformerCalData& t = doc.transformers[i];
        CWarningList w(out, CCheckWarning::Subject::Transformer, i, TransformerLabel(t, i));
        if (t.m_strName.find(L',') != std::wstring::npos) {
            w.Add(CTransformerCalData::kName, L"名称含有逗号，回路无法归属于它");
        }
        if (!InUnitInterval(t.m_strLoadRate)) {
            w.Add(CTransformerCalData::kLoadRate,
                  L"预计负荷率 " + Quoted(t.m_strLoadRate) + L" 不在 (0, 1] 内");
        }
        if (!InUnitInterval(t.m_strAlpha)) {
            w.Add(CTransformerCalData::kAlpha,
                  L"有功补偿系数α " + Quoted(t.m_strAlpha) + L" 不在 (0, 1] 内");
        }
        if (!InUnitInterval(t.m_strBeta)) {
            w.Add(CTransformerCalData::kBeta,
                  L"无功补偿系数β " + Quoted(t.m_strBeta) + L" 不在 (0, 1] 内");
        }
        if (!InUnitInterval(t.m_strCosAfter)) {
            w.Add(CTransformerCalData::kCosAfter,
                  L"补偿后功率因数 " + Quoted(t.m_strCosAfter) + L" 不在 (0, 1] 内");
        }
        bool finite = true;
        for (int field : kTransformerResultFields) {
            if (IsNotFinite(t.FieldAt(field))) {
                finite = false;
                w.Add(field, L"计算结果 " + Quoted(t.FieldAt(field)) + L" 不是有限数");
            }
        }
        // A rated capacity of "0" is no capacity: the load lies beyond the
        // standard series, or its figures are not finite. A load rate
        // computed from either means nothing.
        const double rated = ParseNumber(t.m_strRatedCapacity);
        const bool noCapacity = std::isfinite(rated) && rated <= 0.0;
        if (noCapacity) {
            w.Add(CTransformerCalData::kRatedCapacity,
                  finite ? L"视在功率 " + t.m_strCalcS + L" kVA 超出标准容量系列，额定容量为 0"
                         : std::wstring(L"计算结果不是有限数，额定容量为 0"));
        }
        const double rate = ParseNumber(t.m_strActualLoadRate);
        if (noCapacity || !finite) {
            if (std::isfinite(rate)) {
                w.Add(CTransformerCalData::kActualLoadRate,
                      L"实际负载率 " + t.m_strActualLoadRate +
                          L" 由无效的容量或计算结果得出，不可采信");
            }
        } else if (rate > 1.0) {
            w.Add(CTransformerCalData::kActualLoadRate,
                  L"实际负载率 " + t.m_strActualLoadRate + L" 超过 1");
        }
        for (int field :
             {CTransformerCalData::kCompCapacity, CTransformerCalData::kActualCompCapacity}) {
            const double q = ParseNumber(t.FieldAt(field));
            if (std::isfinite(q) && q < 0.0) {
                w.Add(field, (field == CTransformerCalData::kCompCapacity ? L"补偿容量 "
                                                                          : L"实际补偿容量 ") +
                                 t.FieldAt(field) + L" kVar 为负值");
            }
        }
    }
    return out;
}

CCheckWarnings CheckDocument(const CLoadCalDocument& doc, const CLoadTypeLibrary* library)
{
    CCheckWarnings all = CheckCircuits(doc);
    const auto append = [&all](CCheckWarnings part) {
        all.insert(all.end(), std::make_move_iterator(part.begin()),
                   std::make_move_iterator(part.end()));
    };
    append(CheckTransformers(doc));
    append(CheckBoards(doc));
    append(CheckSupplySecurity(doc));
    if (library != nullptr) {
        append(CheckLoadTypes(doc, *library));
    }
    return all;
}

bool IsFigureTrustworthy(const CCheckWarnings& warnings, CCheckWarning::Subject subject, int index,
                         int field)
{
    for (const CCheckWarning& w : warnings) {
        if (w.subject == subject && w.index == index && w.field == field) {
            return false;
        }
    }
    return true;
}

}  // namespace loadcal
