#pragma once

#include <string_view>

namespace loadcal {

/// Excel's centre constant (xlCenter), used for both alignments.
inline constexpr short kAlignCenter = -4108;
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
    /// Releases every object obtained; the application keeps the workbook.
    virtual void Release() = 0;
};

}  // namespace loadcal
