#include "output/Figures.h"

#include <cmath>
#include <cstdio>

#include "model/Numeric.h"

namespace loadcal {
namespace {}  // namespace

std::wstring FormatFixed(double value, int decimals)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    std::string text = buffer;
    // A value that rounds to zero shows no sign.
    if (text.front() == '-' && text.find_first_of("123456789") == std::string::npos) {
        text.erase(0, 1);
    }
    return std::wstring(text.begin(), text.end());
}

namespace {

std::wstring Fixed(double value, int decimals)
{
    return FormatFixed(value, decimals);
}

}  // namespace

std::wstring ShowValue(FigureKind kind, double value)
{
    if (!std::isfinite(value)) {
        return L"—";
    }
    switch (kind) {
        case FigureKind::Power:
            return Fixed(value, 2);
        case FigureKind::Factor: {
            std::wstring text = Fixed(value, 3);
            if (text.back() == L'0') {
                text.pop_back();
            }
            return text;
        }
        case FigureKind::Current:
            return Fixed(value, 1);
        case FigureKind::Percent:
            return Fixed(value * 100, 1);
        case FigureKind::Capacity:
            return value == std::round(value) && std::fabs(value) < 1e15 ? Fixed(value, 0)
                                                                         : Fixed(value, 2);
        case FigureKind::Text:
            break;
    }
    return FormatG(value);
}

std::wstring ShowFigure(FigureKind kind, std::wstring_view text)
{
    if (kind == FigureKind::Text) {
        return std::wstring(text);
    }
    const std::optional<double> value = ReadTypedNumber(text);
    return value ? ShowValue(kind, *value) : std::wstring(text);
}

std::string FigureNumberFormat(FigureKind kind, double value)
{
    switch (kind) {
        case FigureKind::Power:
            return "0.00";
        case FigureKind::Factor:
            return "0.00#";
        case FigureKind::Current:
            return "0.0";
        case FigureKind::Percent:
            return "0.0%";
        case FigureKind::Capacity:
            return value == std::round(value) ? "0" : "0.00";
        case FigureKind::Text:
            break;
    }
    return {};
}

std::array<bool, CLoadCalData::kExtraFieldCount> UsedCircuitExtraFields(const CLoadArray& loads)
{
    std::array<bool, CLoadCalData::kExtraFieldCount> used{};
    for (const CLoadCalData& c : loads) {
        for (size_t k = 0; k < used.size(); ++k) {
            used[k] = used[k] || !c.AnyFieldAt(kIssuedCircuitExtraColumns[k].field).empty();
        }
    }
    return used;
}

}  // namespace loadcal
