#pragma once

#include <string>
#include <string_view>

namespace loadcal {

/// Number cells as typed: an input method's full-width digits and signs are
/// stored as the ASCII ones, and a text that does not read wholly as a number
/// is explained (it stays as typed; the arithmetic reads its numeric start).

/// Full-width digits, point, minus and comma (U+FF10..U+FF19, U+FF0E,
/// U+FF0D, U+FF0C) and the ideographic full stop U+3002, which a Chinese
/// input method gives for the "." key, become "0".."9", ".", "-", ",".
/// Every other character is kept.
std::wstring NormaliseNumberText(std::wstring_view text);

/// The tool tip of a number cell: empty when the text is empty or reads
/// wholly as a number (blanks around it allowed); otherwise what the
/// arithmetic reads instead: "不是数字，按 0 计算" when it reads nothing, or
/// which leading part counts when it reads only the start ("12abc").
std::wstring NumberCellTip(const std::wstring& text);

}  // namespace loadcal
