#include "model/LoadTypes.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include "model/LoadTypeTexts.h"
#include "model/Numeric.h"
#include "model/Text.h"

namespace loadcal {
namespace {

/// Fills each "%s" of format with the next argument.
std::wstring Fill(std::wstring_view format, std::initializer_list<std::wstring_view> args)
{
    std::wstring out;
    auto next = args.begin();
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] == L'%' && i + 1 < format.size() && format[i + 1] == L's' &&
            next != args.end()) {
            out += *next++;
            ++i;
        } else {
            out += format[i];
        }
    }
    return out;
}

/// Figures compare as equal within this margin: "0.9" typed and 0.9 of the
/// library are the same double, but a sum of steps may not be.
constexpr double kFigureMargin = 1e-9;

std::wstring CircuitName(const CLoadCalData& circuit, int index)
{
    const std::wstring number = Trim(circuit.m_strCircuitNo);
    if (!number.empty()) {
        return Fill(texts::kCircuitNamedFormat, {number});
    }
    return Fill(texts::kCircuitPlaceFormat, {std::to_wstring(index + 1)});
}

bool IsEmptyText(const std::wstring& text)
{
    return Trim(text).empty();
}

template <size_t N>
bool IsOneOf(const std::wstring& text, const std::array<std::wstring_view, N>& texts)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

}  // namespace

std::wstring_view QuantityName(QuantityKind kind)
{
    switch (kind) {
        case QuantityKind::FloorArea:
            return texts::kQuantityFloorArea;
        case QuantityKind::Units:
            return texts::kQuantityUnits;
        case QuantityKind::Households:
            return texts::kQuantityHouseholds;
        case QuantityKind::Power:
            return texts::kQuantityPower;
        case QuantityKind::None:
            break;
    }
    return {};
}

std::wstring_view OriginName(LoadTypeOrigin origin)
{
    switch (origin) {
        case LoadTypeOrigin::UserAdded:
            return texts::kOriginUserAdded;
        case LoadTypeOrigin::UserOverride:
            return texts::kOriginUserOverride;
        case LoadTypeOrigin::Shipped:
            break;
    }
    return texts::kOriginShipped;
}

bool CLoadTypeTier::Contains(double quantity) const
{
    const bool aboveLower = quantity > lower.value || (lower.included && quantity == lower.value);
    const bool belowUpper =
        !upper || quantity < upper->value || (upper->included && quantity == upper->value);
    return aboveLower && belowUpper;
}

std::optional<double> CLoadType::Tan() const
{
    if (!cos || IsNearZero(*cos)) {
        return std::nullopt;
    }
    return std::sqrt(1 - *cos * *cos) / *cos;
}

const CLoadTypeTier* CLoadType::TierFor(double amount) const
{
    for (const CLoadTypeTier& tier : tiers) {
        if (tier.Contains(amount)) {
            return &tier;
        }
    }
    return nullptr;
}

void CLoadType::SetRangeFromTiers()
{
    if (tiers.empty()) {
        return;
    }
    kxMin = tiers.front().kxMin;
    kxMax = tiers.front().kxMax;
    for (const CLoadTypeTier& tier : tiers) {
        kxMin = std::min(kxMin, tier.kxMin);
        kxMax = std::max(kxMax, tier.kxMax);
    }
    kx = 0;
}

std::wstring CLoadType::Citation() const
{
    if (IsEmptyText(source) && IsEmptyText(table)) {
        return std::wstring(texts::kUserDefinedSource);
    }
    std::wstring text = source;
    if (!IsEmptyText(table)) {
        text += text.empty() ? L"" : L"，";
        text += table;
    }
    if (secondary) {
        text += texts::kSecondarySourceNote;
    }
    return text;
}

std::wstring LoadTypeKey(std::wstring_view name)
{
    std::wstring plain;
    plain.reserve(name.size());
    for (wchar_t c : name) {
        if (c >= 0xFF01 && c <= 0xFF5E) {
            c = static_cast<wchar_t>(c - 0xFF01 + 0x21);
        } else if (c == 0x3000) {
            c = L' ';
        }
        plain += c;
    }
    return FoldCase(Trim(plain));
}

CLoadTypeLibrary::CLoadTypeLibrary(std::vector<CLoadType> types)
{
    for (CLoadType& type : types) {
        Put(std::move(type));
    }
}

const CLoadType* CLoadTypeLibrary::Find(std::wstring_view name) const
{
    const std::wstring key = LoadTypeKey(name);
    if (key.empty()) {
        return nullptr;
    }
    const auto found = std::find(m_keys.begin(), m_keys.end(), key);
    return found == m_keys.end() ? nullptr : &m_types[static_cast<size_t>(found - m_keys.begin())];
}

void CLoadTypeLibrary::Put(CLoadType type)
{
    std::wstring key = LoadTypeKey(type.name);
    const auto found = std::find(m_keys.begin(), m_keys.end(), key);
    if (found != m_keys.end()) {
        m_types[static_cast<size_t>(found - m_keys.begin())] = std::move(type);
        return;
    }
    m_types.push_back(std::move(type));
    m_keys.push_back(std::move(key));
}

CLoadTypeLibrary CLoadTypeLibrary::Merge(const CLoadTypeLibrary& shipped,
                                         const CLoadTypeLibrary& user)
{
    CLoadTypeLibrary merged = shipped;
    for (CLoadType type : user.m_types) {
        type.origin = shipped.Find(type.name) != nullptr ? LoadTypeOrigin::UserOverride
                                                         : LoadTypeOrigin::UserAdded;
        merged.Put(std::move(type));
    }
    return merged;
}

CTypeFigures FiguresForCircuit(const CLoadCalData& circuit, const CLoadTypeLibrary& library)
{
    CTypeFigures figures;
    if (IsEmptyText(circuit.m_strLoadType)) {
        return figures;
    }
    figures.type = library.Find(circuit.m_strLoadType);
    if (figures.type == nullptr) {
        figures.status = TypeLookup::UnknownType;
        return figures;
    }
    const CLoadType& type = *figures.type;
    figures.cos = type.cos;
    if (!type.IsTiered()) {
        figures.status = TypeLookup::Found;
        figures.kx = type.kx;
        return figures;
    }
    const std::optional<double> quantity = ReadTypedNumber(circuit.m_strQuantity);
    if (!quantity || !(*quantity > 0)) {
        figures.status = TypeLookup::BadQuantity;
        return figures;
    }
    figures.quantity = quantity;
    figures.tier = type.TierFor(*quantity);
    if (figures.tier == nullptr) {
        figures.status = TypeLookup::OutsideTiers;
        return figures;
    }
    figures.status = TypeLookup::Found;
    figures.kx = figures.tier->kx;
    return figures;
}

bool FillFromLoadType(CLoadCalData& circuit, const CLoadTypeLibrary& library)
{
    const CTypeFigures figures = FiguresForCircuit(circuit, library);
    bool changed = false;
    if (figures.kx && IsEmptyText(circuit.m_strDemandFactor)) {
        circuit.m_strDemandFactor = FormatG(*figures.kx);
        changed = true;
    }
    if (figures.cos && IsEmptyText(circuit.m_strPowerFactor)) {
        circuit.m_strPowerFactor = FormatG(*figures.cos);
        changed = true;
    }
    return changed;
}

int FillFromLoadTypes(CLoadCalDocument& doc, const CLoadTypeLibrary& library)
{
    int changed = 0;
    for (CLoadCalData& circuit : doc.loads) {
        if (FillFromLoadType(circuit, library)) {
            ++changed;
        }
    }
    return changed;
}

bool TakeFiguresFromLoadType(CLoadCalData& circuit, const CLoadTypeLibrary& library)
{
    const CTypeFigures figures = FiguresForCircuit(circuit, library);
    bool changed = false;
    const auto take = [&changed](std::wstring& field, std::optional<double> value) {
        if (value) {
            std::wstring text = FormatG(*value);
            changed = changed || text != field;
            field = std::move(text);
        }
    };
    take(circuit.m_strDemandFactor, figures.kx);
    take(circuit.m_strPowerFactor, figures.cos);
    return changed;
}

CCheckWarnings CheckLoadTypes(const CLoadCalDocument& doc, const CLoadTypeLibrary& library)
{
    CCheckWarnings warnings;
    for (int i = 0; i < doc.loads.GetSize(); ++i) {
        CheckLoadType(doc.loads[i], i, library, warnings);
    }
    return warnings;
}

void CheckLoadType(const CLoadCalData& circuit, int i, const CLoadTypeLibrary& library,
                   CCheckWarnings& warnings)
{
    const auto warn = [&](int field, std::wstring text) {
        warnings.push_back({CCheckWarning::Subject::Circuit, i, field, std::move(text)});
    };
    const std::wstring who = CircuitName(circuit, i);
    const CTypeFigures figures = FiguresForCircuit(circuit, library);
    const CLoadType* type = figures.type;

    switch (figures.status) {
        case TypeLookup::UnknownType:
            warn(CLoadCalData::kLoadType,
                 Fill(texts::kUnknownTypeFormat, {who, Trim(circuit.m_strLoadType)}));
            break;
        case TypeLookup::BadQuantity:
            warn(CLoadCalData::kQuantity,
                 Fill(texts::kBadQuantityFormat,
                      {who, type->name, QuantityName(type->quantity), circuit.m_strQuantity}));
            break;
        case TypeLookup::OutsideTiers:
            warn(CLoadCalData::kQuantity,
                 Fill(texts::kOutsideTiersFormat,
                      {who, type->name, FormatG(*figures.quantity), type->tiers.front().label,
                       type->tiers.back().label}));
            break;
        case TypeLookup::NoType:
        case TypeLookup::Found:
            break;
    }

    // Beyond its tiers a type has no range to hold a Kx to; with a bad
    // quantity the range of all its tiers still catches a wild figure.
    if (type != nullptr && figures.status != TypeLookup::OutsideTiers) {
        const std::optional<double> typed = ReadTypedNumber(circuit.m_strDemandFactor);
        const double low = figures.tier ? figures.tier->kxMin : type->kxMin;
        const double high = figures.tier ? figures.tier->kxMax : type->kxMax;
        if (typed && (*typed < low - kFigureMargin || *typed > high + kFigureMargin)) {
            const std::wstring tierPart =
                figures.tier ? Fill(texts::kTierPartFormat, {figures.tier->label}) : std::wstring();
            warn(CLoadCalData::kDemandFactor,
                 Fill(texts::kKxOutsideFormat, {who, Trim(circuit.m_strDemandFactor), type->name,
                                                tierPart, FormatG(low), FormatG(high)}));
        }
    }

    const bool classGiven = !circuit.m_strLoadClass.empty();
    if (classGiven && !IsOneOf(circuit.m_strLoadClass, kLoadClassTexts)) {
        warn(CLoadCalData::kLoadClass,
             Fill(texts::kBadLoadClassFormat, {who, circuit.m_strLoadClass}));
    }
    if (!IsOneOf(circuit.m_strFire, kFireTexts)) {
        warn(CLoadCalData::kFire, Fill(texts::kBadFireFormat, {who, circuit.m_strFire}));
    }
    if (!classGiven) {
        if (type != nullptr && type->fireFighting) {
            warn(CLoadCalData::kLoadClass,
                 Fill(texts::kFireTypeWithoutClassFormat, {who, type->name}));
        } else if (circuit.m_strFire == kFireOnly) {
            warn(CLoadCalData::kLoadClass, Fill(texts::kFireLoadWithoutClassFormat, {who}));
        }
    }
}

}  // namespace loadcal
