#include "dialog/LoadCalTexts.h"

#include "model/Text.h"

namespace loadcal::texts {

namespace {

/// Replaces the first "%s" at or after `from` by arg; where the next search starts.
size_t ReplaceNext(std::wstring& text, size_t from, std::wstring_view arg)
{
    const size_t pos = text.find(L"%s", from);
    if (pos == std::wstring::npos) {
        return text.size();
    }
    text.replace(pos, 2, arg);
    return pos + arg.size();
}

}  // namespace

std::wstring FormatText(std::wstring_view format, std::wstring_view arg)
{
    std::wstring text(format);
    ReplaceNext(text, 0, arg);
    return text;
}

std::wstring FormatText(std::wstring_view format, std::wstring_view first, std::wstring_view second)
{
    std::wstring text(format);
    ReplaceNext(text, ReplaceNext(text, 0, first), second);
    return text;
}

std::wstring FormatText(std::wstring_view format, std::wstring_view first, std::wstring_view second,
                        std::wstring_view third)
{
    std::wstring text(format);
    ReplaceNext(text, ReplaceNext(text, ReplaceNext(text, 0, first), second), third);
    return text;
}

std::wstring CauseOf(std::string_view message, std::wstring_view path)
{
    std::string quoted = "\"";
    quoted += ToUtf8(path);
    quoted += "\": ";
    const size_t pos = message.find(quoted);
    return FromUtf8(pos == std::string_view::npos ? message : message.substr(pos + quoted.size()));
}

}  // namespace loadcal::texts
