#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace loadcal {

/// The texts of the phase balancing, in the printf style the dialog fills
/// them: the progress appended to the window title during a search, and one
/// block of the phase-current report per transformer.
inline constexpr std::wstring_view kProgressFormat = L" 变压器 %s - 已完成%d%%";
/// The same for the group of a distribution board.
inline constexpr std::wstring_view kBoardProgressFormat = L" 配电箱 %s - 已完成%d%%";
inline constexpr std::wstring_view kProgressDoneFormat = L" - 已完成100%%";
inline constexpr std::wstring_view kReportBlockFormat =
    L"变压器%s\n%s项电流为: %.2f\n%s项电流为: %.2f\n%s项电流为: %.2f";
inline constexpr std::wstring_view kBoardReportBlockFormat =
    L"配电箱%s\n%s项电流为: %.2f\n%s项电流为: %.2f\n%s项电流为: %.2f";
/// Follows the block of a group with fewer than four single-phase circuits,
/// which got L1, L2, L3 in turn instead of a search.
inline constexpr std::wstring_view kSmallGroupNote = L"\n(单相回路少于4个,已依次分配L1、L2、L3)";
/// The block of a single-phase distribution board's group, whose circuits
/// all stay on the board's one phase (%s: the board, its phase).
inline constexpr std::wstring_view kSinglePhaseBoardFormat =
    L"配电箱%s\n单相配电箱(%s),其回路不调整相位";
/// What follows each report block.
inline constexpr std::wstring_view kReportBlockEnd = L"\n\n";

/// One value for FormatText.
using TextArg = std::variant<std::wstring_view, int, double>;

/// Fills a template of the texts above: %s takes a text, %d an integer, %.2f
/// a number with two decimals, %% writes a percent sign. Numbers are written
/// as the C library does in the "C" locale (a '.' whatever the process
/// locale). A template that does not match its values is a programming error
/// and throws std::logic_error.
std::wstring FormatText(std::wstring_view format, const std::vector<TextArg>& args);

}  // namespace loadcal
