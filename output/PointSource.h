#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "output/CadHost.h"

namespace loadcal {

/// "x,y" or "x,y,z" in the "C" notation whatever the locale, with optional
/// spaces around each number; z is 0 when left out. Nothing for anything else
/// (including non-finite numbers).
std::optional<CadPoint> ParsePoint(std::string_view text);

/// The answer a command line gives to a text that is not a point.
inline constexpr std::wstring_view kInvalidPointMessage = L"\n需要点或选项关键字。";

/// The base point asked on a terminal, as a CAD command line asks it: the
/// prompt is written to out (UTF-8), one line is read from in. A point is
/// accepted; an empty line or the end of input declines; anything else gets
/// kInvalidPointMessage and the prompt again (every line is consumed, so the
/// end of input always ends the question). Borrows both streams.
class CTerminalPointSource final : public IPointSource {
public:
    CTerminalPointSource(std::istream& in, std::ostream& out) : m_in(in), m_out(out) {}
    std::optional<CadPoint> GetPoint(const std::wstring& prompt) override;

private:
    std::istream& m_in;
    std::ostream& m_out;
};

/// A base point given beforehand (a command-line option): every request gets
/// it, without a prompt. Constructed with nothing it declines every request.
class CFixedPointSource final : public IPointSource {
public:
    explicit CFixedPointSource(std::optional<CadPoint> point) : m_point(point) {}
    std::optional<CadPoint> GetPoint(const std::wstring&) override { return m_point; }

private:
    std::optional<CadPoint> m_point;
};

}  // namespace loadcal
