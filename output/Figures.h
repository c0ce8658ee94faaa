#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "model/Columns.h"
#include "model/Records.h"

namespace loadcal {

/// How a figure is rounded for reading in the documents a designer hands in
/// (the calculation book, the workbook's number formats, the drawn table).
/// The stored texts stay exact: only what is shown is rounded.
enum class FigureKind {
    Text,     ///< an identifier or a name: shown exactly as stored
    Power,    ///< kW, kvar, kV·A: to 0.01
    Factor,   ///< demand, power, simultaneity and compensation factors, kV: 0.01, or 0.001 when the
              ///< third decimal is not 0
    Current,  ///< A: to 0.1
    Percent,  ///< a ratio shown as a percentage, to 0.1 %
    Capacity,  ///< a rated capacity, kV·A: whole when it is whole, else to 0.01
};

/// The figure as shown: a text that reads wholly as a plain number
/// (ReadTypedNumber) rounded by kind ("3.29339" -> "3.29"; a Percent
/// "0.659149" -> "65.9", without the sign); any other text ("", "-NAN",
/// "12kW", a name) exactly as it stands, so a figure that is not a number is
/// never made to look like one. A rounded zero never shows a minus sign.
std::wstring ShowFigure(FigureKind kind, std::wstring_view text);

/// The same for a computed value; a value that is not finite shows as "—".
std::wstring ShowValue(FigureKind kind, double value);

/// value with a fixed number of decimals ("C" notation; a rounded zero
/// without sign).
std::wstring FormatFixed(double value, int decimals);

/// The spreadsheet number format that shows a number as ShowFigure shows it
/// ("0.00", "0.00#", "0.0", "0.0%", "0"); empty for Text. A Capacity that is
/// not whole takes the Power format.
std::string FigureNumberFormat(FigureKind kind, double value = 0);

/// The kind of each column of the load table (kLoadColumns order) and of the
/// transformer table (kTransformerColumns order).
inline constexpr std::array<FigureKind, kLoadColumns.size()> kLoadColumnKinds = {
    FigureKind::Text,  FigureKind::Text,   FigureKind::Text,   FigureKind::Text,
    FigureKind::Power, FigureKind::Factor, FigureKind::Factor, FigureKind::Factor,
    FigureKind::Power, FigureKind::Power,  FigureKind::Power,  FigureKind::Current,
    FigureKind::Text,
};
inline constexpr std::array<FigureKind, kTransformerColumns.size()> kTransformerColumnKinds = {
    FigureKind::Text,   FigureKind::Capacity, FigureKind::Percent, FigureKind::Percent,
    FigureKind::Factor, FigureKind::Factor,   FigureKind::Power,   FigureKind::Power,
    FigureKind::Power,  FigureKind::Current,  FigureKind::Factor,  FigureKind::Factor,
    FigureKind::Factor, FigureKind::Factor,   FigureKind::Power,   FigureKind::Power,
};

/// The kind of each column of the board table (kBoardColumns order).
inline constexpr std::array<FigureKind, kBoardColumns.size()> kBoardColumnKinds = {
    FigureKind::Text,   FigureKind::Text,    FigureKind::Power, FigureKind::Factor,
    FigureKind::Factor, FigureKind::Power,   FigureKind::Power, FigureKind::Power,
    FigureKind::Factor, FigureKind::Current, FigureKind::Text,
};

/// Column headers of the tables handed in (book and workbook), in the order
/// of kLoadColumns and kTransformerColumns: symbols and units as Chinese
/// practice writes them. The window's grid keeps the original titles.
inline constexpr std::array<std::wstring_view, kLoadColumns.size()> kIssuedLoadHeaders = {
    L"回路编号",
    L"设备编号",
    L"设备名称",
    L"相位",
    L"设备功率 Pe (kW)",
    L"工作电压 U (kV)",
    L"需要系数 Kx",
    L"功率因数 cosφ",
    L"有功功率 Pjs (kW)",
    L"无功功率 Qjs (kvar)",
    L"视在功率 Sjs (kV·A)",
    L"计算电流 Ijs (A)",
    L"归属变压器",
};
inline constexpr std::array<std::wstring_view, kTransformerColumns.size()>
    kIssuedTransformerHeaders = {
        L"变压器名称",
        L"额定容量 Se (kV·A)",
        L"实际负载率 (%)",
        L"预计负荷率 (%)",
        L"有功同时系数 K∑p",
        L"无功同时系数 K∑q",
        L"计算有功功率 Pc (kW)",
        L"补偿后无功 Q2 (kvar)",
        L"补偿后视在功率 S2 (kV·A)",
        L"补偿后电流 I2 (A)",
        L"有功补偿系数 α",
        L"无功补偿系数 β",
        L"补偿前功率因数 cosφ1",
        L"目标功率因数 cosφ2",
        L"补偿容量 Qcc (kvar)",
        L"实际补偿容量 Qb (kvar)",
};

/// The load table's owner header as handed in for a document with boards,
/// where an owner may be a board as well as a transformer.
inline constexpr std::wstring_view kIssuedOwnerHeader = L"归属";

/// The board table's headers as handed in, in the order of kBoardColumns.
inline constexpr std::array<std::wstring_view, kBoardColumns.size()> kIssuedBoardHeaders = {
    L"配电箱名称",
    L"相位",
    L"设备功率 ΣPe (kW)",
    L"有功同时系数 K∑p",
    L"无功同时系数 K∑q",
    L"有功功率 Pjs (kW)",
    L"无功功率 Qjs (kvar)",
    L"视在功率 Sjs (kV·A)",
    L"功率因数 cosφ",
    L"计算电流 Ijs (A)",
    L"归属",
};

/// A column of the tables handed in beyond the original ones: its header,
/// the record field it shows (AnyFieldAt numbering) and how it is rounded.
struct IssuedColumn {
    std::wstring_view header;
    int field;
    FigureKind kind;
};

/// The four circuit fields beyond the original thirteen, in field order,
/// shown after the original columns when some circuit uses the field.
inline constexpr std::array<IssuedColumn, CLoadCalData::kExtraFieldCount>
    kIssuedCircuitExtraColumns = {{
        {L"负荷类型", CLoadCalData::kLoadType, FigureKind::Text},
        {L"数量", CLoadCalData::kQuantity, FigureKind::Text},
        {L"负荷等级", CLoadCalData::kLoadClass, FigureKind::Text},
        {L"消防", CLoadCalData::kFire, FigureKind::Text},
    }};

/// A transformer's governing case and fire case, shown after the original
/// columns for a document with fire roles.
inline constexpr std::array<IssuedColumn, 8> kIssuedTransformerFireColumns = {{
    {L"取值工况", CTransformerCalData::kGoverningCase, FigureKind::Text},
    {L"火灾计算有功 Pc (kW)", CTransformerCalData::kFireCalcP, FigureKind::Power},
    {L"火灾补偿后无功 Q2 (kvar)", CTransformerCalData::kFireCalcQ, FigureKind::Power},
    {L"火灾补偿后视在功率 S2 (kV·A)", CTransformerCalData::kFireCalcS, FigureKind::Power},
    {L"火灾补偿后电流 I2 (A)", CTransformerCalData::kFireCalcI, FigureKind::Current},
    {L"火灾补偿前功率因数 cosφ1", CTransformerCalData::kFireCosBefore, FigureKind::Factor},
    {L"火灾补偿容量 Qcc (kvar)", CTransformerCalData::kFireCompCapacity, FigureKind::Power},
    {L"火灾负载率 (%)", CTransformerCalData::kFireLoadRate, FigureKind::Percent},
}};

/// The name headers of the fire tables the workbook puts under the
/// transformer and board tables.
inline constexpr std::wstring_view kIssuedFireTransformerNameHeader = L"变压器名称 (火灾工况)";
inline constexpr std::wstring_view kIssuedFireBoardNameHeader = L"配电箱名称 (火灾工况)";

/// A board's governing case and fire case, likewise.
inline constexpr std::array<IssuedColumn, 7> kIssuedBoardFireColumns = {{
    {L"取值工况", CBoardCalData::kGoverningCase, FigureKind::Text},
    {L"火灾设备功率 ΣPe (kW)", CBoardCalData::kFireRatedPower, FigureKind::Power},
    {L"火灾有功功率 Pjs (kW)", CBoardCalData::kFireCalcP, FigureKind::Power},
    {L"火灾无功功率 Qjs (kvar)", CBoardCalData::kFireCalcQ, FigureKind::Power},
    {L"火灾视在功率 Sjs (kV·A)", CBoardCalData::kFireCalcS, FigureKind::Power},
    {L"火灾功率因数 cosφ", CBoardCalData::kFirePowerFactor, FigureKind::Factor},
    {L"火灾计算电流 Ijs (A)", CBoardCalData::kFireCalcI, FigureKind::Current},
}};

/// Which of the four circuit fields beyond the original thirteen some
/// circuit of the list uses (not empty), in kIssuedCircuitExtraColumns order.
std::array<bool, CLoadCalData::kExtraFieldCount> UsedCircuitExtraFields(const CLoadArray& loads);

}  // namespace loadcal
