#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace loadcal {

/// Rows of cells as a spreadsheet puts them on the clipboard: one line per
/// row (ended by "\r\n", "\n" or "\r"), cells separated by tabs, and a cell
/// that holds a tab, a line break or a quote enclosed in double quotes with
/// its quotes doubled.
using CTabRows = std::vector<std::vector<std::wstring>>;

/// Reads such text. A trailing line break ends the last line and adds none.
/// A quoted cell keeps its tabs and line breaks; a quote that is never
/// closed runs to the end of the text; text after a closing quote belongs to
/// the same cell. Any text reads as something: a line without tabs is one
/// cell.
CTabRows ParseTabText(std::wstring_view text);

/// Writes rows so that ParseTabText and a spreadsheet read them back; every
/// line ends with "\r\n", as spreadsheets write it.
std::wstring FormatTabText(const CTabRows& rows);

}  // namespace loadcal
