#pragma once

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

/// Draws the load table (header, one row per circuit, a blank row, the total
/// row) and, two row heights below, the transformer table (header, one row
/// per transformer) into the drawing of host, at a base point the user picks.
///
/// Around the drawing it switches object snaps off (OSMODE 0), makes the
/// layer CALCULATIONS current and defines and uses the text style
/// LOADCALSTYLE; afterwards it restores the previous layer, text style and
/// OSMODE. When the user declines the base point nothing is drawn, the layer
/// and text style are restored and OSMODE is deliberately left at 0; the
/// result is then false. When OSMODE does not read back as a short integer
/// there is nothing to restore and it stays 0.
///
/// Every line is its own "_.LINE" command and every text its own "_.TEXT"
/// command; the command results are not checked. The records and totals are
/// read only; texts are drawn exactly as stored.
bool DrawCalculationTable(CadHost& host, const CLoadArray& loads,
                          const CTransformerArray& transformers, const SummaryTotals& totals);

}  // namespace loadcal
