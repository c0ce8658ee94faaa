#pragma once

#include <array>
#include <string_view>

#include "model/Records.h"

namespace loadcal {

/// What a column's cells are: typed text, the phase (one of the four phase
/// texts, chosen from a list), a typed figure, a computed figure, the owner
/// list (chosen from the boards and transformers), one of a fixed list of
/// texts or empty (chosen from the list), or a load type (chosen from the
/// load-type library's names or typed: a name the library lacks is kept and
/// marked).
enum class ColumnKind { Text, Phase, Number, Computed, Owner, Choice, LoadType };

/// Which grand total a column's cell of the load table's total row shows.
enum class TotalCell { None, Label, Installed, PowerFactor, Active, Reactive, Apparent, Current };

/// How a grid treats a column beyond its kind (combinable bits): whether a
/// selected cell in it selects its row for the row commands, whether a right
/// click on it offers the row menu, whether a cut row's marking colours it,
/// and whether a fresh entry row gets the entry cell written.
namespace column {
inline constexpr unsigned kSelectsRow = 1U << 0;
inline constexpr unsigned kRowMenu = 1U << 1;
inline constexpr unsigned kCutMark = 1U << 2;
inline constexpr unsigned kEntryCell = 1U << 3;
inline constexpr unsigned kAll = kSelectsRow | kRowMenu | kCutMark | kEntryCell;
}  // namespace column

/// A column of the two calculation tables as designers see them (the grids,
/// the drawn tables, the workbook, the terminal): its title and the record
/// field it shows, and how the grid treats it. One entry per column: the
/// grids, their total row, number checks, pastes and row commands all read
/// this table.
struct TableColumn {
    std::wstring_view title;
    int field;
    ColumnKind kind = ColumnKind::Text;
    unsigned flags = column::kAll;
    TotalCell total = TotalCell::None;
    int widthHint = 0;  ///< pixels at creation; 0: the grid's default width

    /// Typed by the user (the phase is chosen, but it is the user's).
    constexpr bool IsEditable() const
    {
        return kind == ColumnKind::Text || kind == ColumnKind::Phase ||
               kind == ColumnKind::Number || kind == ColumnKind::Choice ||
               kind == ColumnKind::LoadType;
    }
    constexpr bool Has(unsigned flag) const { return (flags & flag) != 0; }
};

/// The load table in display order: the voltage stands between the rated
/// power and the demand factor, unlike the record order. A right click on
/// the owner column offers no row menu.
inline constexpr auto kLoadColumns = std::to_array<TableColumn>({
    {L"回路编号", CLoadCalData::kCircuitNo},
    {L"设备编号", CLoadCalData::kEquipNo, ColumnKind::Text, column::kAll, TotalCell::Label},
    {L"设备名称", CLoadCalData::kEquipName},
    {L"相位", CLoadCalData::kPhase, ColumnKind::Phase},
    {L"额定容量(kW)", CLoadCalData::kRatedPower, ColumnKind::Number, column::kAll,
     TotalCell::Installed},
    {L"工作电压(kV)", CLoadCalData::kVoltage, ColumnKind::Number},
    {L"需要系数(K)", CLoadCalData::kDemandFactor, ColumnKind::Number},
    {L"功率因数(cos(φ))", CLoadCalData::kPowerFactor, ColumnKind::Number, column::kAll,
     TotalCell::PowerFactor},
    {L"计算有功(kW)", CLoadCalData::kCalcP, ColumnKind::Computed, column::kAll, TotalCell::Active},
    {L"计算无功(kVar)", CLoadCalData::kCalcQ, ColumnKind::Computed, column::kAll,
     TotalCell::Reactive},
    {L"视在功率(kVA)", CLoadCalData::kCalcS, ColumnKind::Computed, column::kAll,
     TotalCell::Apparent},
    {L"计算电流(A)", CLoadCalData::kCalcI, ColumnKind::Computed, column::kAll, TotalCell::Current},
    {L"归属变压器", CLoadCalData::kTransformer, ColumnKind::Owner,
     column::kAll & ~column::kRowMenu},
});

/// The four circuit columns beyond the original thirteen: the load type of
/// the library, the quantity a tiered type reads, the load class and the
/// fire role. The window's load grid shows them after the thirteen; the
/// drawn table, the workbook and the terminal's table keep the thirteen.
inline constexpr auto kLoadTypeFieldColumns = std::to_array<TableColumn>({
    {L"负荷类型", CLoadCalData::kLoadType, ColumnKind::LoadType},
    {L"数量", CLoadCalData::kQuantity, ColumnKind::Number},
    {L"负荷等级", CLoadCalData::kLoadClass, ColumnKind::Choice},
    {L"消防", CLoadCalData::kFire, ColumnKind::Choice},
});

/// The load grid of the window: the load table, then the four columns above.
inline constexpr auto kLoadGridColumns = [] {
    std::array<TableColumn, kLoadColumns.size() + kLoadTypeFieldColumns.size()> all{};
    size_t i = 0;
    for (const TableColumn& column : kLoadColumns) {
        all[i++] = column;
    }
    for (const TableColumn& column : kLoadTypeFieldColumns) {
        all[i++] = column;
    }
    return all;
}();

/// The transformer table: the record order without the spare calculated
/// capacity, which no table shows. Only the first twelve columns select a
/// row, the first thirteen take a cut's marking, the first fifteen offer the
/// row menu and are written on a fresh entry row.
namespace column {
inline constexpr unsigned kTransformerHead = kAll;
inline constexpr unsigned kTransformerMarked = kAll & ~kSelectsRow;
inline constexpr unsigned kTransformerMenu = kRowMenu | kEntryCell;
inline constexpr unsigned kTransformerLast = 0;
}  // namespace column
inline constexpr auto kTransformerColumns = std::to_array<TableColumn>({
    {L"变压器名称", CTransformerCalData::kName, ColumnKind::Text, column::kTransformerHead},
    {L"额定容量(kVA)", CTransformerCalData::kRatedCapacity, ColumnKind::Computed,
     column::kTransformerHead},
    {L"实际负载率%", CTransformerCalData::kActualLoadRate, ColumnKind::Computed,
     column::kTransformerHead},
    {L"预计负荷率%", CTransformerCalData::kLoadRate, ColumnKind::Number, column::kTransformerHead},
    {L"同时系数(Kp)", CTransformerCalData::kKp, ColumnKind::Number, column::kTransformerHead},
    {L"同时系数(Kq)", CTransformerCalData::kKq, ColumnKind::Number, column::kTransformerHead},
    {L"计算有功(kW)", CTransformerCalData::kCalcP, ColumnKind::Computed, column::kTransformerHead},
    {L"计算无功(kVar)", CTransformerCalData::kCalcQ, ColumnKind::Computed,
     column::kTransformerHead},
    {L"视在功率(kVA)", CTransformerCalData::kCalcS, ColumnKind::Computed, column::kTransformerHead},
    {L"计算电流(A)", CTransformerCalData::kCalcI, ColumnKind::Computed, column::kTransformerHead},
    {L"有功补偿系数α", CTransformerCalData::kAlpha, ColumnKind::Number, column::kTransformerHead},
    {L"无功补偿系数β", CTransformerCalData::kBeta, ColumnKind::Number, column::kTransformerHead},
    {L"补偿前功率因数", CTransformerCalData::kCosBefore, ColumnKind::Computed,
     column::kTransformerMarked},
    {L"补偿后功率因数", CTransformerCalData::kCosAfter, ColumnKind::Number,
     column::kTransformerMenu},
    {L"补偿容量", CTransformerCalData::kCompCapacity, ColumnKind::Computed,
     column::kTransformerMenu},
    {L"实际补偿容量", CTransformerCalData::kActualCompCapacity, ColumnKind::Number,
     column::kTransformerLast},
});

/// The board table: name and phase first, the figures in the order of the
/// calculation (ΣPe, K∑p, K∑q, Pjs, Qjs, Sjs, cos phi, Ijs), the owner list
/// last, as in the load table.
inline constexpr std::array<TableColumn, 11> kBoardColumns = {{
    {L"配电箱名称", CBoardCalData::kName},
    {L"相位", CBoardCalData::kPhase, ColumnKind::Phase},
    {L"额定容量(kW)", CBoardCalData::kRatedPower, ColumnKind::Computed},
    {L"同时系数(K∑p)", CBoardCalData::kKp, ColumnKind::Number},
    {L"同时系数(K∑q)", CBoardCalData::kKq, ColumnKind::Number},
    {L"计算有功(kW)", CBoardCalData::kCalcP, ColumnKind::Computed},
    {L"计算无功(kVar)", CBoardCalData::kCalcQ, ColumnKind::Computed},
    {L"视在功率(kVA)", CBoardCalData::kCalcS, ColumnKind::Computed},
    {L"功率因数(cos(φ))", CBoardCalData::kPowerFactor, ColumnKind::Computed},
    {L"计算电流(A)", CBoardCalData::kCalcI, ColumnKind::Computed},
    {L"归属", CBoardCalData::kOwner, ColumnKind::Owner},
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

/// The window's board and transformer grids: their tables, then, for a
/// document with fire roles, the fire case's computed columns beside the
/// normal ones (the governing case first), so that a designer sees both
/// cases of every board and transformer at once. A document without fire
/// roles shows the tables alone, as it always did.
namespace column {
inline constexpr int kFireColumnWidth = 92;  ///< pixels
}  // namespace column
inline constexpr auto kBoardGridColumns = [] {
    std::array<TableColumn, kBoardColumns.size() + kBoardFireColumns.size() - 1> all{};
    size_t i = 0;
    for (const TableColumn& column : kBoardColumns) {
        all[i++] = column;
    }
    for (size_t k = 1; k < kBoardFireColumns.size(); ++k) {
        all[i++] = {kBoardFireColumns[k].title,
                    kBoardFireColumns[k].field,
                    ColumnKind::Computed,
                    column::kAll,
                    TotalCell::None,
                    column::kFireColumnWidth};
    }
    return all;
}();
inline constexpr auto kTransformerGridColumns = [] {
    std::array<TableColumn, kTransformerColumns.size() + kTransformerFireColumns.size() - 2> all{};
    size_t i = 0;
    for (const TableColumn& column : kTransformerColumns) {
        all[i++] = column;
    }
    for (size_t k = 2; k < kTransformerFireColumns.size(); ++k) {
        all[i++] = {kTransformerFireColumns[k].title,
                    kTransformerFireColumns[k].field,
                    ColumnKind::Computed,
                    column::kTransformerLast,
                    TotalCell::None,
                    column::kFireColumnWidth};
    }
    return all;
}();

}  // namespace loadcal
