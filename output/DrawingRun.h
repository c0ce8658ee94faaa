#pragma once

#include <string>
#include <string_view>

#include "model/Calculation.h"
#include "model/Records.h"
#include "output/CadHost.h"

namespace loadcal {

/// The names and fixed answers of the drawn calculation table.
inline constexpr std::wstring_view kTableLayer = L"CALCULATIONS";
inline constexpr std::wstring_view kTableLayerDescription = L"ETABLE";
inline constexpr std::wstring_view kTableStyle = L"LOADCALSTYLE";
inline constexpr std::wstring_view kTableStyleFonts = L"ROMANS6,HZTXT";
inline constexpr std::wstring_view kTableStyleWidth = L"0.7";
inline constexpr std::wstring_view kBasePointPrompt = L"\n请选择绘制基点<回车结束>:";

/// Cell geometry in drawing units at scale 1; every length is multiplied by
/// the drawing scale.
inline constexpr double kRowHeight = 10.0;
inline constexpr double kColumnWidth = 30.0;
inline constexpr double kTextHeight = 3.5;
/// The title line above the tables: its band's height, the title's text
/// height, the heavy frame's margin around everything and its line width.
inline constexpr double kTitleBand = 15.0;
inline constexpr double kTitleHeight = 7.0;
inline constexpr double kFrameMargin = 5.0;
inline constexpr double kFrameWidth = 0.7;
/// The room a text keeps free on each side of its cell.
inline constexpr double kCellMargin = 1.0;
inline constexpr std::wstring_view kTableTitle = L"负荷计算表";
inline constexpr std::wstring_view kProjectLabel = L"工程名称：";

/// An upper estimate of a text's width in the table's style (ROMANS6 with
/// the big font HZTXT), in drawing units, at height and widthFactor: a
/// Chinese (wide) character one text height, a narrow character one text
/// height too, or more for the few glyphs of the roman simplex font that are
/// wider (m, w, M, W, the signs + − = < > ~ % & @), all times the width
/// factor. The fonts themselves are the CAD application's; a text kept within
/// this estimate stays within its cell whatever their exact advances.
double EstimatedTextWidth(std::wstring_view text, double height, double widthFactor);

/// Draws the load table (header, one row per circuit, a blank row, the total
/// row) and, two row heights below, the transformer table (header, one row
/// per transformer) into the drawing of host, at a base point the user picks,
/// in the cell grid above; then, as a drawing handed in needs them, a title
/// line above the tables (负荷计算表 centred over the wider table, twice the
/// text height, and "工程名称：" with project at the left when it is not
/// empty) and a heavy frame (a closed polyline kFrameWidth wide) kFrameMargin
/// around title and tables. Every text stays in its cell: a text whose
/// estimated width (EstimatedTextWidth) exceeds the cell less kCellMargin on
/// each side gets a narrower width factor of its own, keeping its height and
/// middle-centre placement. Figures are rounded as in the calculation book
/// (output/Figures.h; the load-rate columns show per cent under their "%"
/// headers); identifiers and texts that are not numbers are drawn as stored.
///
/// Around the drawing it switches object snaps off (OSMODE 0), makes the
/// layer CALCULATIONS current and defines and uses the text style
/// LOADCALSTYLE; afterwards it restores the previous layer, text style and
/// OSMODE. When the user declines the base point nothing is drawn, the layer
/// and text style are restored and OSMODE is deliberately left at 0; the
/// result is then false. When OSMODE does not read back as a short integer
/// there is nothing to restore and it stays 0.
///
/// Every line is its own "_.LINE" command, the frame a "_.PLINE" and every
/// text its own "_.TEXT" command; the command results are not checked. The
/// records and totals are read only.
///
/// A document with boards gets the board table (header with the titles of
/// kBoardColumns, one row per board, drawn as the load table is) two row
/// heights below the total row, and the transformer table two row heights
/// below it; without boards nothing changes. Columns beyond the original
/// ones follow them in the same grid: in the load table the circuit fields
/// some circuit uses (负荷类型, 数量, 负荷等级, 消防), and for a document
/// with fire roles the governing case and fire case of each board and
/// transformer (the titles of the command line's fire tables); the title
/// and the frame span the widest table. A document using none of them is
/// drawn command for command as without them.
bool DrawCalculationTable(CadHost& host, const CLoadArray& loads,
                          const CTransformerArray& transformers, const SummaryTotals& totals,
                          const std::wstring& project = {},
                          const CBoardArray& boards = CBoardArray());

}  // namespace loadcal
