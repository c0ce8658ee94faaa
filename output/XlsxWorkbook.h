#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "document/AtomicFile.h"
#include "output/SpreadsheetAutomation.h"

struct lxw_workbook;
struct lxw_worksheet;
struct lxw_format;

namespace loadcal {

/// The spreadsheet automation calls carried out by writing an .xlsx workbook
/// with libxlsxwriter. Nothing runs while the calls are made: WorkbooksAdd
/// creates the workbook, WorksheetsGetItem(1) its first worksheet ("Sheet1"
/// unless SetWorksheetName names it before anything is written to it),
/// every cell gets the value, alignment, wrapping, borders and number format
/// it was given. A value is turned into a number as the spreadsheet turns
/// typed text into one: a text that reads wholly as a plain number
/// (ReadTypedNumber: "200", "0.85", "-3", "1E+06") becomes that number,
/// unless the cell's number format is "@" (text); any other text ("L1,N",
/// "-NAN", "12kW") stays a string, exactly as given; an empty text leaves the
/// cell empty. A row's height must be set before its cells are written;
/// column widths, frozen rows and the page set-up any time before Release.
/// Release writes the file and puts it in place of the target. The library
/// never touches the target's folder: it writes its zip into an in-memory
/// file, which Release copies through the program's atomic file
/// (CAtomicFile), so the cause of a failed write is the system's ("No space
/// left on device"), and the library's own error lines are kept off the
/// terminal. Rows are streamed as they are finished (the library's
/// constant-memory mode, which keeps memory flat and skips the shared-string
/// table), so cells must be obtained row by row from the top; within a row,
/// in any order. Fonts stay the library's default; "number stored as text"
/// marks are switched off for the cells written.
///
/// Failures throw OutputError:
/// - CallFailed with libxlsxwriter's error number and text: a cell beyond the
///   sheet's 1,048,576 rows or 16,384 columns or above a row already begun, a text beyond 32,767
///   characters, an alignment other than Excel's centre, left, right, general
///   (horizontal) and centre, top, bottom (vertical), a worksheet other than 1;
/// - NoObject with errno: the library could not create the workbook, the
///   worksheet or a cell format;
/// - Write or FileExists: the file could not be written or placed (from
///   WorkbooksAdd when the folder cannot take it, else from Release).
/// The target is changed only by a successful Release. CreateDispatch always
/// succeeds: there is no application to start before the file exists.
/// SetVisible is remembered for the caller (Visible()); showing the file is
/// the caller's business.
class CXlsxWorkbook final : public CSpreadsheetAutomation {
public:
    /// replace: whether Release may replace an existing target.
    explicit CXlsxWorkbook(std::filesystem::path target, bool replace = true);
    ~CXlsxWorkbook() override;
    CXlsxWorkbook(const CXlsxWorkbook&) = delete;
    CXlsxWorkbook& operator=(const CXlsxWorkbook&) = delete;

    bool CreateDispatch(std::wstring_view progId) override;
    void SetVisible(bool visible) override { m_visible = visible; }
    void GetWorkbooks() override {}
    void WorkbooksAdd() override;
    void GetWorksheets() override {}
    void WorksheetsGetItem(short index) override;
    void GetRange(std::string_view cell1, std::string_view cell2) override;
    void SetValue(std::wstring_view value) override;
    void SetHorizontalAlignment(short alignment) override;
    void SetVerticalAlignment(short alignment) override;
    void SetWorksheetName(std::wstring_view name) override;
    void SetNumberFormat(std::string_view format) override;
    void SetWrapText(bool wrap) override;
    void SetBorders(short lineStyle, short weight) override;
    void SetColumnWidth(double width) override;
    void SetRowHeight(double points) override;
    void FreezePanes(int rows) override;
    void SetPageSetup(const SheetPageSetup& setup) override;
    void Release() override;

    bool Visible() const { return m_visible; }
    /// True once Release has placed the file.
    bool Written() const { return m_written; }
    const std::filesystem::path& Target() const { return m_target; }

private:
    /// The cell last obtained by GetRange: its alignments and value are
    /// written when they are all known, at the next GetRange or at Release.
    struct Cell {
        bool active = false;
        bool dirty = false;
        bool hasValue = false;
        unsigned row = 0;
        unsigned short column = 0;
        unsigned char horizontal = 0;
        unsigned char vertical = 0;
        bool wrap = false;
        bool border = false;
        std::string numberFormat;  ///< "" general; "@" text: the value is never a number
        std::string value;
        std::optional<double> number;  ///< the value when it reads as a typed number
    };

    [[noreturn]] void Fail(int error, const std::string& what) const;
    void RequireSheet() const;
    void RequireCell() const;
    lxw_format* Format();
    /// The worksheet, created with name (empty: the library's "Sheet1") on first use.
    lxw_worksheet* Sheet(std::wstring_view name = {});
    void WriteCell();
    void FlushCell();

    std::filesystem::path m_target;
    bool m_replace;
    std::unique_ptr<CAtomicFile> m_file;
    int m_memoryFd = -1;  ///< the in-memory file the library writes the zip into
    lxw_workbook* m_workbook = nullptr;
    lxw_worksheet* m_worksheet = nullptr;
    std::map<std::string, lxw_format*> m_formats;
    bool m_sheetSelected = false;
    Cell m_cell;
    unsigned m_rowBegun = 0;
    unsigned m_lastRow = 0;
    unsigned m_lastColumn = 0;
    bool m_anyCell = false;
    bool m_visible = false;
    bool m_written = false;
};

}  // namespace loadcal
