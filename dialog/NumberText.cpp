#include "dialog/NumberText.h"

#include "dialog/LoadCalTexts.h"
#include "model/Numeric.h"
#include "model/Text.h"

namespace loadcal {

std::wstring NormaliseNumberText(std::wstring_view text)
{
    std::wstring out(text);
    for (wchar_t& c : out) {
        if (c >= L'\xFF10' && c <= L'\xFF19') {
            c = static_cast<wchar_t>(L'0' + (c - L'\xFF10'));
        } else if (c == L'\xFF0E' || c == L'\x3002') {
            c = L'.';
        } else if (c == L'\xFF0D') {
            c = L'-';
        } else if (c == L'\xFF0C') {
            c = L',';
        }
    }
    return out;
}

std::wstring NumberCellTip(const std::wstring& text)
{
    const std::wstring trimmed = Trim(text);
    if (trimmed.empty()) {
        return {};
    }
    const size_t read = NumericPrefixLength(trimmed);
    if (read == trimmed.size()) {
        return {};
    }
    if (read == 0) {
        return std::wstring(texts::kNotANumberTip);
    }
    const std::wstring prefix = trimmed.substr(0, read);
    return texts::FormatText(texts::kNumberPrefixTipFormat, prefix, prefix);
}

}  // namespace loadcal
