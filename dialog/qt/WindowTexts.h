#pragma once

#include <string_view>

namespace loadcal::texts {

/// Texts the Qt window shows that the calculation
/// dialog itself has none for. Everything else comes from LoadCalTexts.h.

/// A controller operation failed with a programming error (the message
/// names it); the window stays open with the document as it stands.
/// Internal failures are reported in short English texts, like "LoadMenu
/// false". Filled with the exception's message by FormatText.
inline constexpr std::wstring_view kInternalErrorFormat =
    L"Internal error: %s\nThe document stays open; save it under a new name before going on.";

}  // namespace loadcal::texts
