#pragma once

#include <array>
#include <string>
#include <string_view>

namespace loadcal {

/// What a design institute writes on the title page of the documents it
/// issues for a project: the project and its client, the institute, the
/// design stage, the sub-project, the revision and date of issue, and the
/// four people who sign (编制 prepared, 校对 checked, 审核 reviewed, 审定
/// approved). Every field is free text kept exactly as typed; an empty field
/// is simply not filled in. A plain value.
///
/// A document whose project information is all empty uses none: it saves,
/// computes and shows exactly as a document without it.
struct CProjectInfo {
    /// Field numbers, in archive and JSON order.
    enum Field {
        kName,        ///< 工程名称
        kNumber,      ///< 工程编号
        kStage,       ///< 设计阶段 (方案, 初步设计, 施工图 ...)
        kClient,      ///< 建设单位
        kInstitute,   ///< 设计单位
        kSubproject,  ///< 子项
        kRevision,    ///< 版次
        kDate,        ///< 日期 of issue, as typed
        kDesigner,    ///< 编制: who prepared the calculation
        kChecker,     ///< 校对: who checked it
        kReviewer,    ///< 审核: who reviewed it
        kApprover,    ///< 审定: who approved it
        kFieldCount
    };

    std::array<std::wstring, kFieldCount> fields;

    std::wstring& FieldAt(int f) { return fields.at(static_cast<size_t>(f)); }
    const std::wstring& FieldAt(int f) const { return fields.at(static_cast<size_t>(f)); }
    const std::wstring& Name() const { return fields[kName]; }

    /// True when no field holds any text: the document uses no project information.
    bool IsEmpty() const
    {
        for (const std::wstring& f : fields) {
            if (!f.empty()) {
                return false;
            }
        }
        return true;
    }

    friend bool operator==(const CProjectInfo&, const CProjectInfo&) = default;
};

/// The Chinese label of each field, as the title page and the archive name it.
inline constexpr std::array<std::wstring_view, CProjectInfo::kFieldCount> kProjectFieldLabels = {
    L"工程名称", L"工程编号", L"设计阶段", L"建设单位", L"设计单位", L"子项",
    L"版次",     L"日期",     L"编制",     L"校对",     L"审核",     L"审定",
};

}  // namespace loadcal
