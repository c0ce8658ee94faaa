#pragma once

#include <string_view>

namespace loadcal::texts {

/// Texts the Qt window and its output helpers show that the calculation
/// dialog itself has none for. Everything else comes from LoadCalTexts.h.

/// A controller operation failed with a programming error (the message
/// names it); the window stays open with the document as it stands.
/// Internal failures are reported in short English texts, like "LoadMenu
/// false". Filled with the exception's message by FormatText.
inline constexpr std::wstring_view kInternalErrorFormat =
    L"Internal error: %s\nThe document stays open; save it under a new name before going on.";

/// Save dialogs of the two outputs (Windows filter form, default extension).
inline constexpr std::wstring_view kDrawingFilter = L"DXF 图形文件(*.dxf)|*.dxf||";
inline constexpr std::wstring_view kDrawingExtension = L"dxf";
inline constexpr std::wstring_view kWorkbookFilter = L"Excel 工作簿(*.xlsx)|*.xlsx||";
inline constexpr std::wstring_view kWorkbookExtension = L"xlsx";

/// Asked before an existing drawing is replaced; filled with the path.
inline constexpr std::wstring_view kReplaceFileFormat = L"文件 \"%s\" 已经存在,是否替换?";

/// The small dialog that asks for the drawing's base point.
inline constexpr std::wstring_view kBasePointCaption = L"插入基点";
inline constexpr std::wstring_view kBasePointPrompt = L"表格左上角的插入基点（图形单位）：";

}  // namespace loadcal::texts
