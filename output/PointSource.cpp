#include "output/PointSource.h"

#include <charconv>
#include <cmath>
#include <istream>
#include <ostream>

#include "model/Text.h"

namespace loadcal {
namespace {

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

std::optional<double> ParseCoordinate(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    if (text.empty()) {
        return std::nullopt;
    }
    double value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

std::optional<CadPoint> ParsePoint(std::string_view text)
{
    double values[3] = {0, 0, 0};
    int count = 0;
    for (;;) {
        const size_t comma = text.find(',');
        if (count == 3) {
            return std::nullopt;
        }
        const auto value = ParseCoordinate(text.substr(0, comma));
        if (!value) {
            return std::nullopt;
        }
        values[count++] = *value;
        if (comma == std::string_view::npos) {
            break;
        }
        text.remove_prefix(comma + 1);
    }
    if (count < 2) {
        return std::nullopt;
    }
    return CadPoint{values[0], values[1], values[2]};
}

std::optional<CadPoint> CTerminalPointSource::GetPoint(const std::wstring& prompt)
{
    for (;;) {
        m_out << ToUtf8(prompt) << std::flush;
        std::string line;
        if (!std::getline(m_in, line)) {
            return std::nullopt;
        }
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (Trim(FromUtf8(line)).empty()) {
            return std::nullopt;
        }
        if (const auto point = ParsePoint(line)) {
            return point;
        }
        m_out << ToUtf8(kInvalidPointMessage) << std::flush;
    }
}

}  // namespace loadcal
