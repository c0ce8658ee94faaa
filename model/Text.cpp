#include "model/Text.h"

#include <locale.h>
#include <wctype.h>

namespace loadcal {
namespace {

locale_t CtypeLocale()
{
    // C.UTF-8 knows the case of every Unicode letter; plain "C" is a fallback
    // that still folds ASCII.
    static const locale_t loc = [] {
        locale_t l = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
        return l ? l : newlocale(LC_CTYPE_MASK, "C", static_cast<locale_t>(nullptr));
    }();
    return loc;
}

bool IsSpace(wchar_t c)
{
    return iswspace_l(static_cast<wint_t>(c), CtypeLocale()) != 0;
}

constexpr char32_t kReplacement = 0xFFFD;

bool IsSurrogate(char32_t c)
{
    return c >= 0xD800 && c <= 0xDFFF;
}

void AppendUtf8(std::string& out, char32_t c)
{
    if (c > 0x10FFFF || IsSurrogate(c)) {
        c = kReplacement;
    }
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

/// Decodes one UTF-8 sequence at text[i]; advances i. Returns false for a
/// malformed sequence (i then advances by one byte).
bool DecodeUtf8(std::string_view text, size_t& i, char32_t& out)
{
    const auto b0 = static_cast<unsigned char>(text[i]);
    int len = 0;
    char32_t c = 0;
    char32_t min = 0;
    if (b0 < 0x80) {
        out = b0;
        ++i;
        return true;
    } else if ((b0 & 0xE0) == 0xC0) {
        len = 2;
        c = b0 & 0x1F;
        min = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
        len = 3;
        c = b0 & 0x0F;
        min = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
        len = 4;
        c = b0 & 0x07;
        min = 0x10000;
    } else {
        ++i;
        return false;
    }
    if (i + static_cast<size_t>(len) > text.size()) {
        ++i;
        return false;
    }
    for (int k = 1; k < len; ++k) {
        const auto b = static_cast<unsigned char>(text[i + static_cast<size_t>(k)]);
        if ((b & 0xC0) != 0x80) {
            ++i;
            return false;
        }
        c = (c << 6) | (b & 0x3F);
    }
    if (c < min || c > 0x10FFFF || IsSurrogate(c)) {
        ++i;
        return false;
    }
    i += static_cast<size_t>(len);
    out = c;
    return true;
}

}  // namespace

wchar_t FoldChar(wchar_t c)
{
    if (c < 0x80) {
        return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c - L'A' + L'a') : c;
    }
    return static_cast<wchar_t>(towlower_l(static_cast<wint_t>(c), CtypeLocale()));
}

std::wstring FoldCase(std::wstring_view text)
{
    std::wstring out(text);
    for (auto& c : out) {
        c = FoldChar(c);
    }
    return out;
}

bool EqualsNoCase(std::wstring_view a, std::wstring_view b)
{
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i] && FoldChar(a[i]) != FoldChar(b[i])) {
            return false;
        }
    }
    return true;
}

int ExplodeStr(const std::wstring& text, const std::wstring& sep, CStringArray& out, bool /*bLast*/)
{
    out.RemoveAll();
    if (sep.empty() || text.find(sep) == std::wstring::npos) {
        return 0;
    }
    size_t start = 0;
    for (;;) {
        const size_t pos = text.find(sep, start);
        if (pos == std::wstring::npos) {
            out.Add(text.substr(start));
            break;
        }
        out.Add(text.substr(start, pos - start));
        start = pos + sep.size();
    }
    return out.GetSize();
}

CStringArray OwnerPieces(const std::wstring& owner)
{
    CStringArray pieces;
    if (ExplodeStr(owner, L",", pieces, false) == 0) {
        pieces.Add(owner);
    }
    return pieces;
}

std::wstring Trim(std::wstring_view text)
{
    size_t b = 0;
    size_t e = text.size();
    while (b < e && IsSpace(text[b])) {
        ++b;
    }
    while (e > b && IsSpace(text[e - 1])) {
        --e;
    }
    return std::wstring(text.substr(b, e - b));
}

std::string ToUtf8(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    for (wchar_t wc : text) {
        AppendUtf8(out, static_cast<char32_t>(wc));
    }
    return out;
}

std::wstring FromUtf8(std::string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size()) {
        char32_t c = 0;
        out.push_back(static_cast<wchar_t>(DecodeUtf8(text, i, c) ? c : kReplacement));
    }
    return out;
}

bool IsValidUtf8(std::string_view text)
{
    size_t i = 0;
    while (i < text.size()) {
        char32_t c = 0;
        if (!DecodeUtf8(text, i, c)) {
            return false;
        }
    }
    return true;
}

std::u16string ToUtf16(std::wstring_view text)
{
    std::u16string out;
    out.reserve(text.size());
    for (wchar_t wc : text) {
        auto c = static_cast<char32_t>(wc);
        if (c >= 0x10000 && c <= 0x10FFFF) {
            c -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
        } else if (c > 0x10FFFF) {
            out.push_back(static_cast<char16_t>(kReplacement));
        } else {
            out.push_back(static_cast<char16_t>(c));
        }
    }
    return out;
}

std::wstring FromUtf16(std::u16string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t u = text[i];
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF) {
            const char32_t c = 0x10000 + ((static_cast<char32_t>(u) - 0xD800) << 10) +
                               (static_cast<char32_t>(text[i + 1]) - 0xDC00);
            out.push_back(static_cast<wchar_t>(c));
            ++i;
        } else {
            out.push_back(static_cast<wchar_t>(u));
        }
    }
    return out;
}

size_t Utf16Length(std::wstring_view text)
{
    size_t n = 0;
    for (wchar_t wc : text) {
        const auto c = static_cast<char32_t>(wc);
        n += (c >= 0x10000 && c <= 0x10FFFF) ? 2 : 1;
    }
    return n;
}

}  // namespace loadcal
