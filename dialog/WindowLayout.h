#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace loadcal {

class CLoadCalRecentFiles;

/// The calculation window's remembered layout, kept in the settings file
/// beside the recent-files list under a group of its own ("负荷计算\窗口"):
/// the window's position (top-left of its frame, screen pixels) and size
/// (pixels), the splits between the grids (the heights of the transformer
/// grid and of the board grid, pixels), the width of the supply tree at their
/// left (pixels) and the widths of the data columns of
/// the three grids (pixels, grid column 1 onwards). The window reads it once when it opens and
/// writes it when it closes. A value that is missing or damaged (not a whole number, outside its
/// range, a width list of the wrong length) reads as nothing, and the window uses its default for
/// that value alone.
struct CWindowLayout {
    static constexpr std::wstring_view kGroup = L"负荷计算\\窗口";
    static constexpr int kMaxPixels = 100000;  ///< larger values are damage

    std::optional<int> left;
    std::optional<int> top;
    std::optional<int> width;
    std::optional<int> height;
    std::optional<int> transformerHeight;
    std::optional<int> boardHeight;
    std::optional<int> treeWidth;         ///< the supply tree beside the grids
    std::vector<int> loadColumns;         ///< empty: the default widths
    std::vector<int> transformerColumns;  ///< empty: the default widths
    std::vector<int> boardColumns;        ///< empty: the default widths

    /// Reads the layout; loadCount, transformerCount and boardCount are the
    /// numbers of data columns a width list must have.
    static CWindowLayout Read(const CLoadCalRecentFiles& settings, int loadCount,
                              int transformerCount, int boardCount);
    /// Sets every present value in the settings tree (the caller writes the
    /// file).
    void Store(CLoadCalRecentFiles& settings) const;

    friend bool operator==(const CWindowLayout&, const CWindowLayout&) = default;
};

}  // namespace loadcal
