#pragma once

#include <string_view>

namespace loadcal::texts {

/// The texts of the load-type library as the program shows them, in one
/// place: the names of the scales tiered types read, the citation of a type
/// without source, and the warnings about circuits' types (each "%s" is
/// filled in order).

inline constexpr std::wstring_view kQuantityFloorArea = L"建筑面积(m²)";
inline constexpr std::wstring_view kQuantityUnits = L"台数";
inline constexpr std::wstring_view kQuantityHouseholds = L"户数";
inline constexpr std::wstring_view kQuantityPower = L"设备容量(kW)";

/// Where a type comes from, as listings name it.
inline constexpr std::wstring_view kOriginShipped = L"内置";
inline constexpr std::wstring_view kOriginUserAdded = L"用户";
inline constexpr std::wstring_view kOriginUserOverride = L"用户覆盖";
/// The typical Kx of a tiered type, which its tiers give.
inline constexpr std::wstring_view kByTier = L"按档";

/// The citation of a type without source.
inline constexpr std::wstring_view kUserDefinedSource = L"用户自定义";
/// Appended to the citation of figures taken from a secondary summary.
inline constexpr std::wstring_view kSecondarySourceNote = L"（转引自公开摘录，待核对原文）";

/// How a warning names its circuit: by its number, or by its place when it has none.
inline constexpr std::wstring_view kCircuitNamedFormat = L"回路“%s”";
inline constexpr std::wstring_view kCircuitPlaceFormat = L"第 %s 个回路";

inline constexpr std::wstring_view kUnknownTypeFormat =
    L"%s：负荷类型“%s”不在负荷类型库中，需要系数按填写值计算";
inline constexpr std::wstring_view kBadQuantityFormat =
    L"%s：负荷类型“%s”按%s取需要系数，数量“%s”不是正数";
inline constexpr std::wstring_view kOutsideTiersFormat =
    L"%s：负荷类型“%s”的数量 %s 不在表列各档（%s 至 %s）之内，需要系数按填写值计算";
inline constexpr std::wstring_view kKxOutsideFormat =
    L"%s：需要系数 %s 超出负荷类型“%s”%s的范围 %s–%s";
/// The tier part of kKxOutsideFormat, filled with the tier's label.
inline constexpr std::wstring_view kTierPartFormat = L"（%s）";
inline constexpr std::wstring_view kFireTypeWithoutClassFormat =
    L"%s：负荷类型“%s”为消防用电设备，未填负荷等级";
inline constexpr std::wstring_view kFireLoadWithoutClassFormat = L"%s：消防负荷未填负荷等级";
inline constexpr std::wstring_view kBadLoadClassFormat =
    L"%s：负荷等级“%s”不是“一级中特别重要”“一级”“二级”“三级”之一";
inline constexpr std::wstring_view kBadFireFormat = L"%s：消防一栏“%s”应为空、“消防”或“火灾时切除”";

}  // namespace loadcal::texts
