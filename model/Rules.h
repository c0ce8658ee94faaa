#pragma once

#include <optional>
#include <string_view>

namespace loadcal {

/// The rule set a document is calculated under, a property of the whole
/// document.
///
/// - Original: the arithmetic as the program has always done it (the 15 %
///   rule on the phase currents against their mean, compensation
///   Pc x (tan phi1 - tan phi2), circuit currents with 1.732, grand totals
///   over the distinct owner texts).
/// - GB51348_2019: GB 51348-2019 《民用建筑电气设计标准》 with the handbook's
///   forms (《工业与民用供配电设计手册》, 4th ed.): the single-phase total
///   against the three-phase total, compensation alpha x Pc x (tan phi1 -
///   tan phi2) and none when cos phi1 already reaches the target, currents
///   with sqrt 3, grand totals counting every circuit once.
enum class CalcRules { Original, GB51348_2019 };

/// The names a document gives its rule set (JSON "rules" and the archive).
inline constexpr std::wstring_view kRulesOriginalName = L"original";
inline constexpr std::wstring_view kRulesGB51348Name = L"GB51348-2019";

inline std::wstring_view RulesName(CalcRules rules)
{
    return rules == CalcRules::GB51348_2019 ? kRulesGB51348Name : kRulesOriginalName;
}

/// The rule set a name stands for (exact, case-sensitive), or none.
inline std::optional<CalcRules> RulesFromName(std::wstring_view name)
{
    if (name == kRulesOriginalName) {
        return CalcRules::Original;
    }
    if (name == kRulesGB51348Name) {
        return CalcRules::GB51348_2019;
    }
    return std::nullopt;
}

}  // namespace loadcal
