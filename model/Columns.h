#pragma once

#include <array>
#include <string_view>

#include "model/Records.h"

namespace loadcal {

/// A column of the two calculation tables as designers see them (load grid,
/// drawn tables, workbook, terminal): its title and the record field it shows.
struct TableColumn {
    std::wstring_view title;
    int field;
};

/// The load table in display order: the voltage stands between the rated
/// power and the demand factor, unlike the record order.
inline constexpr std::array<TableColumn, 13> kLoadColumns = {{
    {L"回路编号", CLoadCalData::kCircuitNo},
    {L"设备编号", CLoadCalData::kEquipNo},
    {L"设备名称", CLoadCalData::kEquipName},
    {L"相位", CLoadCalData::kPhase},
    {L"额定容量(kW)", CLoadCalData::kRatedPower},
    {L"工作电压(kV)", CLoadCalData::kVoltage},
    {L"需要系数(K)", CLoadCalData::kDemandFactor},
    {L"功率因数(cos(φ))", CLoadCalData::kPowerFactor},
    {L"计算有功(kW)", CLoadCalData::kCalcP},
    {L"计算无功(kVar)", CLoadCalData::kCalcQ},
    {L"视在功率(kVA)", CLoadCalData::kCalcS},
    {L"计算电流(A)", CLoadCalData::kCalcI},
    {L"归属变压器", CLoadCalData::kTransformer},
}};

/// The transformer table: the record order without the spare calculated
/// capacity, which no table shows.
inline constexpr std::array<TableColumn, 16> kTransformerColumns = {{
    {L"变压器名称", CTransformerCalData::kName},
    {L"额定容量(kVA)", CTransformerCalData::kRatedCapacity},
    {L"实际负载率%", CTransformerCalData::kActualLoadRate},
    {L"预计负荷率%", CTransformerCalData::kLoadRate},
    {L"同时系数(Kp)", CTransformerCalData::kKp},
    {L"同时系数(Kq)", CTransformerCalData::kKq},
    {L"计算有功(kW)", CTransformerCalData::kCalcP},
    {L"计算无功(kVar)", CTransformerCalData::kCalcQ},
    {L"视在功率(kVA)", CTransformerCalData::kCalcS},
    {L"计算电流(A)", CTransformerCalData::kCalcI},
    {L"有功补偿系数α", CTransformerCalData::kAlpha},
    {L"无功补偿系数β", CTransformerCalData::kBeta},
    {L"补偿前功率因数", CTransformerCalData::kCosBefore},
    {L"补偿后功率因数", CTransformerCalData::kCosAfter},
    {L"补偿容量", CTransformerCalData::kCompCapacity},
    {L"实际补偿容量", CTransformerCalData::kActualCompCapacity},
}};

/// The board table: name and phase first, the figures in the order of the
/// calculation (ΣPe, K∑p, K∑q, Pjs, Qjs, Sjs, cos phi, Ijs), the owner list
/// last, as in the load table.
inline constexpr std::array<TableColumn, 11> kBoardColumns = {{
    {L"配电箱名称", CBoardCalData::kName},
    {L"相位", CBoardCalData::kPhase},
    {L"额定容量(kW)", CBoardCalData::kRatedPower},
    {L"同时系数(K∑p)", CBoardCalData::kKp},
    {L"同时系数(K∑q)", CBoardCalData::kKq},
    {L"计算有功(kW)", CBoardCalData::kCalcP},
    {L"计算无功(kVar)", CBoardCalData::kCalcQ},
    {L"视在功率(kVA)", CBoardCalData::kCalcS},
    {L"功率因数(cos(φ))", CBoardCalData::kPowerFactor},
    {L"计算电流(A)", CBoardCalData::kCalcI},
    {L"归属", CBoardCalData::kOwner},
}};

/// The fire case of the transformers, as the terminal shows it for a
/// document with fire roles: the capacity both cases chose and the case
/// that governs it, then the fire case's figures.
inline constexpr std::array<TableColumn, 10> kTransformerFireColumns = {{
    {L"变压器名称", CTransformerCalData::kName},
    {L"额定容量(kVA)", CTransformerCalData::kRatedCapacity},
    {L"取值工况", CTransformerCalData::kGoverningCase},
    {L"火灾计算有功(kW)", CTransformerCalData::kFireCalcP},
    {L"火灾计算无功(kVar)", CTransformerCalData::kFireCalcQ},
    {L"火灾视在功率(kVA)", CTransformerCalData::kFireCalcS},
    {L"火灾计算电流(A)", CTransformerCalData::kFireCalcI},
    {L"火灾补偿前功率因数", CTransformerCalData::kFireCosBefore},
    {L"火灾补偿容量", CTransformerCalData::kFireCompCapacity},
    {L"火灾负载率%", CTransformerCalData::kFireLoadRate},
}};

/// The fire case of the boards, likewise.
inline constexpr std::array<TableColumn, 8> kBoardFireColumns = {{
    {L"配电箱名称", CBoardCalData::kName},
    {L"取值工况", CBoardCalData::kGoverningCase},
    {L"火灾额定容量(kW)", CBoardCalData::kFireRatedPower},
    {L"火灾计算有功(kW)", CBoardCalData::kFireCalcP},
    {L"火灾计算无功(kVar)", CBoardCalData::kFireCalcQ},
    {L"火灾视在功率(kVA)", CBoardCalData::kFireCalcS},
    {L"火灾功率因数", CBoardCalData::kFirePowerFactor},
    {L"火灾计算电流(A)", CBoardCalData::kFireCalcI},
}};

}  // namespace loadcal
