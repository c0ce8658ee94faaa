#include "dialog/WindowLayout.h"

#include <algorithm>

#include "document/RecentFiles.h"

namespace loadcal {
namespace {

constexpr std::wstring_view kLeft = L"左";
constexpr std::wstring_view kTop = L"上";
constexpr std::wstring_view kWidth = L"宽";
constexpr std::wstring_view kHeight = L"高";
constexpr std::wstring_view kTransformerHeight = L"变压器表高";
constexpr std::wstring_view kLoadColumns = L"负荷表列宽";
constexpr std::wstring_view kTransformerColumns = L"变压器表列宽";
constexpr std::wstring_view kBoardHeight = L"配电箱表高";
constexpr std::wstring_view kBoardColumns = L"配电箱表列宽";
constexpr std::wstring_view kTreeWidth = L"供电树宽";

std::wstring KeyOf(std::wstring_view name)
{
    return std::wstring(CWindowLayout::kGroup) + L"\\" + std::wstring(name);
}

/// A whole number in [minimum, kMaxPixels] written in decimal digits with an
/// optional minus sign, and nothing else.
std::optional<int> ParseInt(std::wstring_view text, int minimum)
{
    const bool negative = !text.empty() && text.front() == L'-';
    const std::wstring_view digits = negative ? text.substr(1) : text;
    if (digits.empty() || digits.size() > 6) {
        return std::nullopt;
    }
    int value = 0;
    for (wchar_t c : digits) {
        if (c < L'0' || c > L'9') {
            return std::nullopt;
        }
        value = value * 10 + (c - L'0');
    }
    value = negative ? -value : value;
    if (value < minimum || value > CWindowLayout::kMaxPixels) {
        return std::nullopt;
    }
    return value;
}

std::optional<int> ReadInt(const CLoadCalRecentFiles& settings, std::wstring_view name, int minimum)
{
    const std::optional<std::wstring> text = settings.GetSetting(KeyOf(name));
    return text ? ParseInt(*text, minimum) : std::nullopt;
}

/// Comma-separated widths, each at least 1; the whole list or nothing.
std::vector<int> ReadWidths(const CLoadCalRecentFiles& settings, std::wstring_view name, int count)
{
    const std::optional<std::wstring> text = settings.GetSetting(KeyOf(name));
    if (!text) {
        return {};
    }
    std::vector<int> widths;
    size_t start = 0;
    while (start <= text->size()) {
        const size_t comma = std::min(text->find(L',', start), text->size());
        const std::optional<int> width =
            ParseInt(std::wstring_view(*text).substr(start, comma - start), 1);
        if (!width) {
            return {};
        }
        widths.push_back(*width);
        start = comma + 1;
    }
    return static_cast<int>(widths.size()) == count ? widths : std::vector<int>{};
}

void WriteInt(CLoadCalRecentFiles& settings, std::wstring_view name, std::optional<int> value)
{
    if (value) {
        settings.SetSetting(KeyOf(name), std::to_wstring(*value));
    }
}

void WriteWidths(CLoadCalRecentFiles& settings, std::wstring_view name,
                 const std::vector<int>& widths)
{
    if (widths.empty()) {
        return;
    }
    std::wstring text;
    for (int width : widths) {
        if (!text.empty()) {
            text += L',';
        }
        text += std::to_wstring(width);
    }
    settings.SetSetting(KeyOf(name), text);
}

}  // namespace

CWindowLayout CWindowLayout::Read(const CLoadCalRecentFiles& settings, int loadCount,
                                  int transformerCount, int boardCount)
{
    CWindowLayout layout;
    layout.left = ReadInt(settings, kLeft, -kMaxPixels);
    layout.top = ReadInt(settings, kTop, -kMaxPixels);
    layout.width = ReadInt(settings, kWidth, 1);
    layout.height = ReadInt(settings, kHeight, 1);
    layout.transformerHeight = ReadInt(settings, kTransformerHeight, 1);
    layout.loadColumns = ReadWidths(settings, kLoadColumns, loadCount);
    layout.transformerColumns = ReadWidths(settings, kTransformerColumns, transformerCount);
    layout.boardHeight = ReadInt(settings, kBoardHeight, 1);
    layout.boardColumns = ReadWidths(settings, kBoardColumns, boardCount);
    layout.treeWidth = ReadInt(settings, kTreeWidth, 1);
    return layout;
}

void CWindowLayout::Store(CLoadCalRecentFiles& settings) const
{
    WriteInt(settings, kLeft, left);
    WriteInt(settings, kTop, top);
    WriteInt(settings, kWidth, width);
    WriteInt(settings, kHeight, height);
    WriteInt(settings, kTransformerHeight, transformerHeight);
    WriteWidths(settings, kLoadColumns, loadColumns);
    WriteWidths(settings, kTransformerColumns, transformerColumns);
    WriteInt(settings, kBoardHeight, boardHeight);
    WriteWidths(settings, kBoardColumns, boardColumns);
    WriteInt(settings, kTreeWidth, treeWidth);
}

}  // namespace loadcal
