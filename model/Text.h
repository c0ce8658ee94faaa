#pragma once

#include <string>
#include <string_view>

#include "model/RecordArray.h"

namespace loadcal {

/// Simple per-character lower-casing, the fold behind every comparison
/// "without regard to case" (transformer names, owner pieces, recent paths).
/// Chinese text has no case and passes unchanged.
std::wstring FoldCase(std::wstring_view text);
wchar_t FoldChar(wchar_t c);
bool EqualsNoCase(std::wstring_view a, std::wstring_view b);

/// Splits text at every occurrence of sep into out (cleared first). Empty
/// pieces are kept ("T1,,T2" gives three pieces). Returns the number of
/// pieces, or 0 when sep does not occur: then out holds nothing and the
/// caller takes the whole text as its only piece. The flag bLast is accepted
/// for the function library's signature; the piece behind the last separator
/// is always included.
int ExplodeStr(const std::wstring& text, const std::wstring& sep, CStringArray& out, bool bLast);

/// Pieces of an owner field: split at ","; a text without "," is one piece.
CStringArray OwnerPieces(const std::wstring& owner);

/// Removes white space at both ends (CString::Trim).
std::wstring Trim(std::wstring_view text);

/// UTF-8 at the edges (terminal, JSON, xlsx). Decoding replaces malformed
/// sequences by U+FFFD; encoding replaces lone surrogates by U+FFFD, so the
/// result is always valid UTF-8.
std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);
/// Strict check used where malformed input must be reported, not repaired.
bool IsValidUtf8(std::string_view text);

/// UTF-16 inside archives. Characters above U+FFFF become surrogate pairs;
/// decoding joins pairs and keeps unpaired surrogates as they are, so any
/// wide text round-trips.
std::u16string ToUtf16(std::wstring_view text);
std::wstring FromUtf16(std::u16string_view text);
/// Number of UTF-16 code units the text takes.
size_t Utf16Length(std::wstring_view text);

}  // namespace loadcal
