#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace loadcal {

/// Reads a figure from a record text the way the C library's wcstod does in
/// the "C" numeric locale, whatever the process locale: leading blanks are
/// skipped, the longest numeric prefix is taken ("12kW" reads 12), and an
/// empty or non-numeric text reads 0.
double ParseNumber(const std::wstring& text);

/// How many leading characters of text ParseNumber reads (leading blanks
/// included); 0 when it reads none and the text counts as 0.
size_t NumericPrefixLength(const std::wstring& text);

/// The same as ParseNumber, always by the C library's wcstod_l; ParseNumber
/// is checked against it.
double ParseNumberByLibrary(const std::wstring& text);

/// Writes a figure as printf's "%G" does in the "C" locale: six significant
/// digits, fixed or exponent notation, trailing zeros dropped ("15.1939",
/// "1.6E+16", "INF", "NAN").
std::wstring FormatG(double value);
/// FormatG into an existing text, reusing its storage.
void FormatGInto(double value, std::wstring& out);

/// The same as FormatG, but by the C library's own swprintf(L"%G") under a
/// "C" locale; FormatG is checked against it.
std::wstring FormatGByPrintf(double value);

/// The number a text stands for when it reads wholly as a plain number, the
/// way a spreadsheet reads a typed entry: blanks around it are ignored; then
/// an optional sign, digits with at most one decimal point (at least one
/// digit, on either side: "1.", ".5"), and an optional exponent ("1E+06",
/// "1e-3"); the value must be finite. Everything a spreadsheet would read
/// with a format of its own (thousands separators, "%", currency,
/// parentheses, dates) and every other text ("INF", "-NAN", "12kW", "L1,N",
/// "") reads as no number.
std::optional<double> ReadTypedNumber(std::wstring_view text);

/// A guard used throughout the arithmetic: |x| <= 1e-8 counts as zero.
inline bool IsNearZero(double x)
{
    return x <= 1e-8 && x >= -1e-8;
}

}  // namespace loadcal
