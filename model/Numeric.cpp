#include "model/Numeric.h"

#include <locale.h>
#include <wchar.h>

#include <array>
#include <charconv>
#include <cmath>

namespace loadcal {
namespace {

locale_t CNumericLocale()
{
    static const locale_t loc = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return loc;
}

}  // namespace

double ParseNumber(const std::wstring& text)
{
    // Plain decimal figures ("0.38", "-12.5E+3", "12kW") are read by
    // std::from_chars, which rounds exactly as wcstod does and is much
    // faster; anything else (blanks, "+", hexadecimal, "inf", overflow) goes
    // to the C library itself.
    std::array<char, 64> buf{};
    size_t n = 0;
    for (; n < text.size() && n < buf.size(); ++n) {
        const wchar_t c = text[n];
        if ((c >= L'0' && c <= L'9') || c == L'.' || c == L'-' || c == L'+' || c == L'e' ||
            c == L'E') {
            buf[n] = static_cast<char>(c);
        } else {
            break;
        }
    }
    if (n > 0 && n < buf.size()) {
        double value = 0;
        const auto res = std::from_chars(buf.data(), buf.data() + n, value);
        if (res.ec == std::errc() && (static_cast<size_t>(res.ptr - buf.data()) < n ||
                                      n == text.size() || (text[n] != L'x' && text[n] != L'X'))) {
            return value;
        }
    }
    return wcstod_l(text.c_str(), nullptr, CNumericLocale());
}

std::optional<double> ReadTypedNumber(std::wstring_view text)
{
    size_t begin = 0;
    size_t end = text.size();
    while (begin < end && text[begin] == L' ') {
        ++begin;
    }
    while (end > begin && text[end - 1] == L' ') {
        --end;
    }
    std::string plain;
    size_t i = begin;
    const auto digits = [&] {
        const size_t from = i;
        while (i < end && text[i] >= L'0' && text[i] <= L'9') {
            plain.push_back(static_cast<char>(text[i++]));
        }
        return i - from;
    };
    if (i < end && (text[i] == L'+' || text[i] == L'-')) {
        if (text[i] == L'-') {
            plain.push_back('-');
        }
        ++i;
    }
    size_t mantissa = digits();
    if (i < end && text[i] == L'.') {
        plain.push_back('.');
        ++i;
        mantissa += digits();
    }
    if (mantissa == 0) {
        return std::nullopt;
    }
    if (i < end && (text[i] == L'e' || text[i] == L'E')) {
        plain.push_back('e');
        ++i;
        if (i < end && (text[i] == L'+' || text[i] == L'-')) {
            plain.push_back(static_cast<char>(text[i++]));
        }
        if (digits() == 0) {
            return std::nullopt;
        }
    }
    if (i != end) {
        return std::nullopt;
    }
    double value = 0;
    const auto res = std::from_chars(plain.data(), plain.data() + plain.size(), value);
    if (res.ec != std::errc() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

size_t NumericPrefixLength(const std::wstring& text)
{
    wchar_t* end = nullptr;
    wcstod_l(text.c_str(), &end, CNumericLocale());
    return end ? static_cast<size_t>(end - text.c_str()) : 0;
}

double ParseNumberByLibrary(const std::wstring& text)
{
    return wcstod_l(text.c_str(), nullptr, CNumericLocale());
}

std::wstring FormatG(double value)
{
    std::wstring out;
    FormatGInto(value, out);
    return out;
}

void FormatGInto(double value, std::wstring& out)
{
    // std::to_chars with a precision behaves like printf's %g in the "C"
    // locale; only the letters need upper-casing. It is several times faster
    // than swprintf, which matters when a document of 10,000 circuits is
    // recalculated on every keystroke.
    std::array<char, 64> buf{};
    const auto res =
        std::to_chars(buf.data(), buf.data() + buf.size(), value, std::chars_format::general, 6);
    out.clear();
    for (const char* p = buf.data(); p != res.ptr; ++p) {
        char c = *p;
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
        out.push_back(static_cast<wchar_t>(c));
    }
}

std::wstring FormatGByPrintf(double value)
{
    const locale_t old = uselocale(CNumericLocale());
    std::array<wchar_t, 64> buf{};
    const int n = swprintf(buf.data(), buf.size(), L"%G", value);
    uselocale(old);
    return std::wstring(buf.data(), n > 0 ? static_cast<size_t>(n) : 0);
}

}  // namespace loadcal
