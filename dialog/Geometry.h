#pragma once

namespace loadcal {

/// A rectangle in pixels or dialog units: left and top inside, right and
/// bottom just outside (Windows RECT).
struct CRect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
    constexpr int Width() const { return right - left; }
    constexpr int Height() const { return bottom - top; }
    friend constexpr bool operator==(const CRect&, const CRect&) = default;
};

/// Dialog-unit to pixel conversion (MapDialogRect): x * baseX / 4 and
/// y * baseY / 8, rounded. The base units are the dialog font's average
/// character width and height in pixels; kSongTi9Base* are those of "宋体"
/// 9 pt at 96 dpi.
inline constexpr int kSongTi9BaseX = 6;
inline constexpr int kSongTi9BaseY = 12;
CRect MapDialogRect(const CRect& dialogUnits, int baseX = kSongTi9BaseX, int baseY = kSongTi9BaseY);

/// Where the two grids lie after a resize, in client coordinates.
struct CGridLayout {
    CRect load;
    CRect transformer;
    friend bool operator==(const CGridLayout&, const CGridLayout&) = default;
};

/// The grid layout for a window rectangle given in the window's client
/// coordinates (its outer edge, so left and top are negative by the border
/// and caption) and the two template frames: the load grid from the load
/// frame's top-left to 3 pixels inside the right edge and down to the
/// transformer frame's height plus 8 above the bottom edge; the transformer
/// grid 3 pixels below it down to 5 pixels above the bottom edge. The frames
/// never move, so the transformer grid keeps the transformer frame's height
/// and the load grid takes what remains.
CGridLayout LayoutGrids(const CRect& windowInClient, const CRect& loadFrame,
                        const CRect& transformerFrame);

/// Tracking limits of the window, in pixels.
struct CMinMaxInfo {
    int minTrackWidth = 0;
    int minTrackHeight = 0;
    int maxTrackWidth = 0;
    int maxTrackHeight = 0;
    friend bool operator==(const CMinMaxInfo&, const CMinMaxInfo&) = default;
};

}  // namespace loadcal
