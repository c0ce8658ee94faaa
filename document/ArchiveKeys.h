#pragma once

// Every key name of the ".LDC" archive and of the settings file, in one place.
// Reader and writer take their keys from here and nowhere else.

#include <array>
#include <string_view>

#include "model/ProjectInfo.h"
#include "model/Records.h"

namespace loadcal::archive {

/// Top-level node of the load circuits: one child per circuit, named by its
/// zero-based index in decimal ("0", "1", ...).
inline constexpr std::wstring_view kLoadGroup = L"负荷信息";
/// Top-level node of the transformers, laid out the same way.
inline constexpr std::wstring_view kTransformerGroup = L"变压器信息";

/// Keys of a load row, indexed by CLoadCalData::Field (record order is write order).
inline constexpr std::array<std::wstring_view, CLoadCalData::kFieldCount> kLoadKeys = {
    L"回路编号",    // circuit number
    L"设备编号",    // equipment number
    L"设备名称",    // equipment name
    L"相位",        // phase
    L"额定容量",    // rated power, kW
    L"需要系数",    // demand factor
    L"功率因数",    // power factor
    L"计算有功",    // calculated active power, kW
    L"计算无功",    // calculated reactive power, kVar
    L"视在功率",    // apparent power, kVA
    L"计算电流",    // calculated current, A
    L"工作电压",    // working voltage, kV
    L"归属变压器",  // owning transformer(s)
};

/// Keys of the load-row fields beyond the original thirteen, indexed by
/// CLoadCalData::ExtraField less kFieldCount. Each is written after the
/// thirteen and only when its text is not empty, so that a document without
/// them is stored exactly as before; the original program's reader asks for
/// its thirteen keys by name and passes these by. Missing on reading: empty.
inline constexpr std::array<std::wstring_view, CLoadCalData::kExtraFieldCount> kLoadExtraKeys = {
    L"负荷类型",  // load type, a name of the load-type library
    L"数量",      // the quantity a tiered load type reads
    L"负荷等级",  // load class
    L"消防",      // fire role: "", "消防", "火灾时切除"
};

/// Keys of a transformer row, indexed by CTransformerCalData::Field. The
/// crosswise keys: the spare figure m_strCalcCapacity is stored under
/// "计算有功" and the calculated active power m_strCalcP under "计算容量".
/// Archives in use depend on this pairing; it must not be "corrected".
inline constexpr std::array<std::wstring_view, CTransformerCalData::kFieldCount> kTransformerKeys =
    {
        L"变压器名称",      // name; a row without it is skipped on reading
        L"额定容量",        // rated capacity, kVA
        L"实际负载率",      // actual load rate, ratio
        L"负荷率",          // expected load rate, ratio
        L"同时系数Kp",      // active simultaneity factor
        L"同时系数Kq",      // reactive simultaneity factor
        L"计算有功",        // m_strCalcCapacity (crosswise)
        L"计算容量",        // m_strCalcP (crosswise)
        L"计算无功",        // calculated reactive power, kVar
        L"视在功率",        // apparent power, kVA
        L"计算电流",        // calculated current, A
        L"有功补偿系数",    // alpha
        L"无功补偿系数",    // beta
        L"补偿前功率因数",  // power factor before compensation
        L"补偿后功率因数",  // target power factor
        L"补偿容量",        // required compensation, kVar
        L"实际补偿容量",    // installed compensation, kVar
};

/// Keys of a transformer's fire-case figures, indexed by
/// CTransformerCalData::ExtraField less kFieldCount. Written after the
/// seventeen, only in a document with fire roles and each only when not
/// empty, so that every other archive stays as it was; the original
/// program's reader asks for its seventeen keys by name and passes these
/// by. Missing on reading: empty.
inline constexpr std::array<std::wstring_view, CTransformerCalData::kExtraFieldCount>
    kTransformerExtraKeys = {
        L"火灾计算有功",        // Pc in a fire, kW
        L"火灾计算无功",        // Q2 in a fire, kVar
        L"火灾视在功率",        // S2 in a fire, kVA
        L"火灾计算电流",        // I2 in a fire, A
        L"火灾补偿前功率因数",  // cos phi1 in a fire
        L"火灾补偿容量",        // compensation the fire case requires, kVar
        L"火灾负载率",          // S2 in a fire / rated capacity, ratio
        L"取值工况",            // the case that governs the rated capacity: "正常" or "火灾"
};

/// Texts a load row takes for keys missing on reading, by field. The circuit
/// number has no fixed default: it takes the row's own name (its index text).
inline constexpr std::array<std::wstring_view, CLoadCalData::kFieldCount> kLoadReadDefaults = {
    L"", L"", L"", L"L1,N", L"", L"1.0", L"0.8", L"", L"", L"", L"", L"0.38", L"",
};

/// Texts a transformer row takes for keys missing on reading, by field. The
/// name has none: a row without a name is skipped.
inline constexpr std::array<std::wstring_view, CTransformerCalData::kFieldCount>
    kTransformerReadDefaults = {
        L"", L"", L"",    L"0.7",  L"0.9", L"0.97", L"", L"", L"",
        L"", L"", L"0.7", L"0.76", L"",    L"0.9",  L"", L"",
};

/// The project information (工程信息): one value per field of CProjectInfo,
/// by field, below this group. Written only when some field holds text, so a
/// document without project information gives the original archive; the
/// original program's reader looks up only its two tables and skips it.
inline constexpr std::wstring_view kProjectGroup = L"工程信息";
inline constexpr std::array<std::wstring_view, CProjectInfo::kFieldCount> kProjectKeys = {
    L"工程名称",  // project name
    L"工程编号",  // project number
    L"设计阶段",  // design stage
    L"建设单位",  // client
    L"设计单位",  // design institute
    L"子项",      // sub-project
    L"版次",      // revision
    L"日期",      // date of issue
    L"编制",      // prepared by
    L"校对",      // checked by
    L"审核",      // reviewed by
    L"审定",      // approved by
};

/// Top-level node of the distribution boards, laid out as the two tables
/// above (one child per board by index, one value per field). It is written
/// only for a document that has boards, so that every other archive stays
/// as it was; the original program's reader looks for its two tables by
/// name and skips it.
inline constexpr std::wstring_view kBoardGroup = L"配电箱信息";

/// Keys of a board row, indexed by CBoardCalData::Field. A row without the
/// name key is skipped on reading; other missing keys take the texts of a
/// new board (CBoardCalData()).
inline constexpr std::array<std::wstring_view, CBoardCalData::kFieldCount> kBoardKeys = {
    L"配电箱名称",  // name
    L"归属",        // owner(s): boards and/or transformers
    L"相位",        // phase
    L"同时系数Kp",  // active simultaneity factor K∑p
    L"同时系数Kq",  // reactive simultaneity factor K∑q
    L"额定容量",    // ΣPe, kW
    L"计算有功",    // Pjs, kW
    L"计算无功",    // Qjs, kVar
    L"视在功率",    // Sjs, kVA
    L"计算电流",    // Ijs, A
    L"功率因数",    // cos phi
};

/// Keys of a board's fire-case figures, indexed by CBoardCalData::ExtraField
/// less kFieldCount; written and read as the transformers' above.
inline constexpr std::array<std::wstring_view, CBoardCalData::kExtraFieldCount> kBoardExtraKeys = {
    L"火灾额定容量",  // ΣPe in a fire, kW
    L"火灾计算有功",  // Pjs in a fire, kW
    L"火灾计算无功",  // Qjs in a fire, kVar
    L"火灾视在功率",  // Sjs in a fire, kVA
    L"火灾计算电流",  // Ijs in a fire, A
    L"火灾功率因数",  // cos phi in a fire
    L"取值工况",      // the case of the larger Sjs: "正常" or "火灾"
};

/// Top-level value naming the document's rule set ("GB51348-2019"); written
/// only when the rules are not the original ones, whose documents never
/// carry it. A name the program does not know is refused on reading.
inline constexpr std::wstring_view kRulesKey = L"计算规则";

/// Settings file: the recent-files group. Entries are values "1" to "4" below
/// it. The list is written under the spelling with a leading backslash and
/// read under the one without; the store resolves both to the same node.
inline constexpr std::wstring_view kRecentFilesWriteGroup = L"\\负荷计算\\最近文件";
inline constexpr std::wstring_view kRecentFilesReadGroup = L"负荷计算\\最近文件";

/// Recovery copy: an archive with one more group (恢复信息) saying which file the
/// document belonged to (empty for an untitled one) and when the copy was
/// written (local time, "YYYY-MM-DD hh:mm:ss").
inline constexpr std::wstring_view kRecoveryDocumentKey = L"恢复信息\\所属文件";
inline constexpr std::wstring_view kRecoveryTimeKey = L"恢复信息\\保存时间";

}  // namespace loadcal::archive
