#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "output/Drawing.h"

namespace loadcal {

/// The drawing as a DXF R2000 file (AC1015), written with dxflib: the header
/// carries $DWGCODEPAGE "ANSI_936" and the drawing's current layer ($CLAYER),
/// text style ($TEXTSTYLE), OSMODE and TEXTSIZE; the tables hold every layer
/// (a description as the usual "AcAecLayerStandard" extended data) and every
/// text style with its font and big-font files; the entities are the lines,
/// the polylines (LWPOLYLINE with their constant width)
/// and texts in the order they were drawn. Texts are 7-bit: every character
/// outside printable ASCII, and the backslash, is written as \U+XXXX (UTF-16
/// code units, four upper-case hex digits).
std::string DrawingToDxf(const CDrawing& drawing);

/// Writes DrawingToDxf(drawing) to path as a whole or not at all. An existing
/// file is replaced only when replace is true; otherwise OutputError
/// (FileExists). Every failure throws OutputError naming the file.
void SaveDrawing(const CDrawing& drawing, const std::filesystem::path& path, bool replace);

/// A text as a DXF R2000 group value (see DrawingToDxf).
std::string DxfText(std::wstring_view text);

}  // namespace loadcal
