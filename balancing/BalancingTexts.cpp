#include "balancing/BalancingTexts.h"

#include <array>
#include <charconv>
#include <stdexcept>

namespace loadcal {
namespace {

template <class T>
const T& Take(const std::vector<TextArg>& args, size_t& next)
{
    if (next >= args.size() || !std::holds_alternative<T>(args[next])) {
        throw std::logic_error("FormatText: the values do not match the template");
    }
    return std::get<T>(args[next++]);
}

void AppendAscii(std::wstring& out, const char* first, const char* last)
{
    for (const char* p = first; p != last; ++p) {
        out.push_back(static_cast<wchar_t>(*p));
    }
}

}  // namespace

std::wstring FormatText(std::wstring_view format, const std::vector<TextArg>& args)
{
    std::wstring out;
    size_t next = 0;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != L'%') {
            out.push_back(format[i]);
            continue;
        }
        const std::wstring_view rest = format.substr(i + 1);
        if (rest.starts_with(L"%")) {
            out.push_back(L'%');
            i += 1;
        } else if (rest.starts_with(L"s")) {
            out.append(Take<std::wstring_view>(args, next));
            i += 1;
        } else if (rest.starts_with(L"d")) {
            std::array<char, 16> buf{};
            const auto res =
                std::to_chars(buf.data(), buf.data() + buf.size(), Take<int>(args, next));
            AppendAscii(out, buf.data(), res.ptr);
            i += 1;
        } else if (rest.starts_with(L".2f")) {
            // to_chars with a precision is printf's "%.2f" in the "C" locale.
            std::array<char, 400> buf{};
            const auto res = std::to_chars(buf.data(), buf.data() + buf.size(),
                                           Take<double>(args, next), std::chars_format::fixed, 2);
            AppendAscii(out, buf.data(), res.ptr);
            i += 3;
        } else {
            throw std::logic_error("FormatText: unknown conversion in the template");
        }
    }
    if (next != args.size()) {
        throw std::logic_error("FormatText: more values than the template takes");
    }
    return out;
}

}  // namespace loadcal
