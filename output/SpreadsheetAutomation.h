#pragma once

#include <string>
#include <string_view>

namespace loadcal {

/// Excel's centre constant (xlCenter), used for both alignments.
inline constexpr short kAlignCenter = -4108;
/// Excel's border constants: a continuous line (xlContinuous), thin (xlThin).
inline constexpr short kLineContinuous = 1;
inline constexpr short kBorderThin = 2;
/// Excel's page constants: landscape (xlLandscape), A4 paper (xlPaperA4).
inline constexpr short kOrientationLandscape = 2;
inline constexpr short kPaperA4 = 9;

/// Worksheet.PageSetup as the export sets it: orientation and paper, the
/// page count across (FitToPagesWide; Zoom off, FitToPagesTall off, so the
/// height runs over as many pages as it needs), the rows printed at the top
/// of every page (PrintTitleRows, "$1:$1") and the print area ("$A$1:$P$20").
struct SheetPageSetup {
    short orientation = kOrientationLandscape;
    short paperSize = kPaperA4;
    short fitToPagesWide = 1;
    std::string printTitleRows;
    std::string printArea;
};
/// The programmatic name the export asks for.
inline constexpr std::wstring_view kSpreadsheetProgId = L"excel.application";

/// The spreadsheet automation calls the workbook export makes, one member
/// per automation member, so that the sequence of calls can be checked and a
/// Windows build can forward them to Excel. The object model is flattened:
/// each call addresses the object the previous call returned (the
/// application, its workbooks, the new workbook, its worksheets, the
/// worksheet, the cell range last obtained). CXlsxWorkbook implements it by
/// writing an .xlsx file.
///
/// A call that fails throws OutputError: CallFailed when the callee refused
/// the call with an error code and a description, NoObject when an object
/// could not be created (a status code only), Write when the finished
/// workbook could not be written.
class CSpreadsheetAutomation {
public:
    virtual ~CSpreadsheetAutomation() = default;

    /// Creates the application object for progId; false when no application
    /// can be started (nothing else may be called then).
    virtual bool CreateDispatch(std::wstring_view progId) = 0;
    /// Application.Visible.
    virtual void SetVisible(bool visible) = 0;
    /// Application.Workbooks.
    virtual void GetWorkbooks() = 0;
    /// Workbooks.Add with the template argument left out: a new workbook.
    virtual void WorkbooksAdd() = 0;
    /// Workbook.Worksheets.
    virtual void GetWorksheets() = 0;
    /// Worksheets.Item(index), index from 1 as a 2-byte integer.
    virtual void WorksheetsGetItem(short index) = 0;
    /// Worksheet.Range(cell1, cell2) with "A1"-style addresses.
    virtual void GetRange(std::string_view cell1, std::string_view cell2) = 0;
    /// Range.Value as text.
    virtual void SetValue(std::wstring_view value) = 0;
    /// Range.HorizontalAlignment and Range.VerticalAlignment (kAlignCenter).
    virtual void SetHorizontalAlignment(short alignment) = 0;
    virtual void SetVerticalAlignment(short alignment) = 0;
    /// Worksheet.Name.
    virtual void SetWorksheetName(std::wstring_view name) = 0;
    /// Range.NumberFormat ("@" keeps what is typed as text; "0.00" ...).
    virtual void SetNumberFormat(std::string_view format) = 0;
    /// Range.WrapText.
    virtual void SetWrapText(bool wrap) = 0;
    /// Range.Borders.LineStyle and Range.Borders.Weight: all four edges.
    virtual void SetBorders(short lineStyle, short weight) = 0;
    /// Range.ColumnWidth (in characters of the standard font) of the range's column.
    virtual void SetColumnWidth(double width) = 0;
    /// Range.RowHeight (points) of the range's row.
    virtual void SetRowHeight(double points) = 0;
    /// The window's SplitRow = rows, then FreezePanes: the top rows stay.
    virtual void FreezePanes(int rows) = 0;
    /// Worksheet.PageSetup.
    virtual void SetPageSetup(const SheetPageSetup& setup) = 0;
    /// Releases every object obtained; the application keeps the workbook.
    virtual void Release() = 0;
};

}  // namespace loadcal
