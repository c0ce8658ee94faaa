#include "output/XlsxWorkbook.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <xlsxwriter.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "model/Numeric.h"
#include "model/Text.h"
#include "output/OutputError.h"
#include "output/OutputFile.h"

namespace loadcal {
namespace {

/// The longest cell text the library accepts, in characters.
constexpr size_t kMaxCellText = 32767;

size_t CountCharacters(const std::string& utf8)
{
    size_t count = 0;
    for (const char c : utf8) {
        count += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1 : 0;
    }
    return count;
}

/// Excel's alignment constants as the library's; -1 for a constant it does not take.
int HorizontalAlignment(short alignment)
{
    switch (alignment) {
        case kAlignCenter:
            return LXW_ALIGN_CENTER;
        case -4131:
            return LXW_ALIGN_LEFT;  // xlLeft
        case -4152:
            return LXW_ALIGN_RIGHT;  // xlRight
        case 1:
            return LXW_ALIGN_NONE;  // xlGeneral
        default:
            return -1;
    }
}

int VerticalAlignment(short alignment)
{
    switch (alignment) {
        case kAlignCenter:
            return LXW_ALIGN_VERTICAL_CENTER;
        case -4160:
            return LXW_ALIGN_VERTICAL_TOP;  // xlTop
        case -4107:
            return LXW_ALIGN_VERTICAL_BOTTOM;  // xlBottom
        default:
            return -1;
    }
}

/// "B12" -> row 11, column 1 (both from 0); false when malformed or beyond the sheet.
bool ParseCell(std::string_view address, unsigned& row, unsigned short& column, bool& inSheet)
{
    size_t i = 0;
    unsigned long col = 0;
    while (i < address.size() && address[i] >= 'A' && address[i] <= 'Z' && i < 4) {
        col = col * 26 + static_cast<unsigned long>(address[i] - 'A' + 1);
        ++i;
    }
    unsigned long number = 0;
    const size_t digits = i;
    while (i < address.size() && address[i] >= '0' && address[i] <= '9' && i - digits < 8) {
        number = number * 10 + static_cast<unsigned long>(address[i] - '0');
        ++i;
    }
    if (digits == 0 || i == digits || i != address.size()) {
        return false;
    }
    inSheet = col <= LXW_COL_MAX && number >= 1 && number <= LXW_ROW_MAX;
    row = inSheet ? static_cast<unsigned>(number - 1) : 0;
    column = inSheet ? static_cast<unsigned short>(col - 1) : 0;
    return true;
}

std::string Quoted(const std::filesystem::path& p)
{
    return "\"" + p.string() + "\"";
}

/// Keeps standard error (the descriptor, for the whole process) away from the
/// terminal for its lifetime: libxlsxwriter prints "[ERROR]" lines there
/// itself, and the program reports every failure in its own one line. errno
/// is kept across the end, for the caller to read the cause.
class CQuietStderr {
public:
    CQuietStderr()
    {
        std::fflush(stderr);
        m_saved = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
        const int sink = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (m_saved >= 0 && sink >= 0) {
            ::dup2(sink, STDERR_FILENO);
        }
        if (sink >= 0) {
            ::close(sink);
        }
    }
    ~CQuietStderr()
    {
        const int err = errno;
        std::fflush(stderr);
        if (m_saved >= 0) {
            ::dup2(m_saved, STDERR_FILENO);
            ::close(m_saved);
        }
        errno = err;
    }
    CQuietStderr(const CQuietStderr&) = delete;
    CQuietStderr& operator=(const CQuietStderr&) = delete;

private:
    int m_saved = -1;
};

}  // namespace

CXlsxWorkbook::CXlsxWorkbook(std::filesystem::path target, bool replace)
    : m_target(std::move(target)), m_replace(replace)
{}

CXlsxWorkbook::~CXlsxWorkbook()
{
    if (m_workbook) {
        const CQuietStderr quiet;
        lxw_workbook_free(m_workbook);
    }
    if (m_memoryFd >= 0) {
        ::close(m_memoryFd);
    }
}

void CXlsxWorkbook::Fail(int error, const std::string& what) const
{
    const std::string text = lxw_strerror(static_cast<lxw_error>(error));
    throw OutputError(OutputError::Kind::CallFailed,
                      "cannot write " + Quoted(m_target) + ": " + what + ": " + text, error, text);
}

bool CXlsxWorkbook::CreateDispatch(std::wstring_view /*progId*/)
{
    return true;
}

void CXlsxWorkbook::WorkbooksAdd()
{
    if (m_workbook || m_written) {
        throw OutputError(OutputError::Kind::BadArgument,
                          "cannot write " + Quoted(m_target) + ": only one workbook per file");
    }
    RequireTarget(m_target, m_replace);
    m_file = OpenOutputFile(m_target);
    m_memoryFd = ::memfd_create("loadcal-workbook", MFD_CLOEXEC);
    if (m_memoryFd < 0) {
        const int err = errno;
        throw OutputError(OutputError::Kind::NoObject,
                          "cannot write " + Quoted(m_target) + ": " + std::strerror(err), err);
    }
    const std::string memoryPath = "/proc/self/fd/" + std::to_string(m_memoryFd);
    errno = 0;
    lxw_workbook_options options = {};
    options.constant_memory = LXW_TRUE;
    {
        const CQuietStderr quiet;
        m_workbook = workbook_new_opt(memoryPath.c_str(), &options);
    }
    if (!m_workbook) {
        const int err = errno;
        throw OutputError(OutputError::Kind::NoObject,
                          "cannot write " + Quoted(m_target) + ": no workbook could be created",
                          err);
    }
}

void CXlsxWorkbook::WorksheetsGetItem(short index)
{
    if (!m_workbook) {
        throw OutputError(OutputError::Kind::BadArgument,
                          "cannot write " + Quoted(m_target) + ": no workbook was added");
    }
    if (index != 1) {
        Fail(LXW_ERROR_WORKSHEET_INDEX_OUT_OF_RANGE, "worksheet " + std::to_string(index));
    }
    m_sheetSelected = true;
}

lxw_worksheet* CXlsxWorkbook::Sheet(std::wstring_view name)
{
    if (!m_worksheet) {
        errno = 0;
        const std::string utf8 = ToUtf8(name);
        {
            const CQuietStderr quiet;
            m_worksheet = workbook_add_worksheet(m_workbook, name.empty() ? nullptr : utf8.c_str());
        }
        if (!m_worksheet) {
            const int err = errno;
            throw OutputError(
                OutputError::Kind::NoObject,
                "cannot write " + Quoted(m_target) + ": no worksheet could be created", err);
        }
    }
    return m_worksheet;
}

void CXlsxWorkbook::SetWorksheetName(std::wstring_view name)
{
    RequireSheet();
    if (m_worksheet) {
        Fail(LXW_ERROR_PARAMETER_VALIDATION, "the worksheet is named before it is written to");
    }
    if (name.empty() || name.size() > 31 ||
        name.find_first_of(L"[]:*?/\\") != std::wstring_view::npos) {
        Fail(LXW_ERROR_SHEETNAME_LENGTH_EXCEEDED, "worksheet name \"" + ToUtf8(name) + "\"");
    }
    Sheet(name);
}

void CXlsxWorkbook::RequireSheet() const
{
    if (!m_sheetSelected || !m_workbook) {
        throw OutputError(OutputError::Kind::BadArgument,
                          "cannot write " + Quoted(m_target) + ": no worksheet was selected");
    }
}

void CXlsxWorkbook::RequireCell() const
{
    if (!m_cell.active) {
        throw OutputError(OutputError::Kind::BadArgument,
                          "cannot write " + Quoted(m_target) + ": no cell was selected");
    }
}

void CXlsxWorkbook::GetRange(std::string_view cell1, std::string_view cell2)
{
    RequireSheet();
    FlushCell();
    unsigned row = 0;
    unsigned short column = 0;
    bool inSheet = false;
    if (!ParseCell(cell1, row, column, inSheet) || cell1 != cell2) {
        Fail(LXW_ERROR_PARAMETER_VALIDATION,
             "range " + std::string(cell1) + ":" + std::string(cell2) + " is not one cell");
    }
    if (!inSheet) {
        Fail(LXW_ERROR_WORKSHEET_INDEX_OUT_OF_RANGE, "cell " + std::string(cell1));
    }
    if (row < m_rowBegun) {
        Fail(LXW_ERROR_WORKSHEET_INDEX_OUT_OF_RANGE,
             "cell " + std::string(cell1) + " above row " + std::to_string(m_rowBegun + 1));
    }
    Sheet();
    m_rowBegun = row;
    m_cell.active = true;
    m_cell.dirty = false;
    m_cell.hasValue = false;
    m_cell.row = row;
    m_cell.column = column;
    m_cell.horizontal = 0;
    m_cell.vertical = 0;
    m_cell.wrap = false;
    m_cell.border = false;
    m_cell.numberFormat.clear();
    m_cell.value.clear();
    m_cell.number.reset();
}

void CXlsxWorkbook::SetValue(std::wstring_view value)
{
    RequireCell();
    m_cell.value = ToUtf8(value);
    if (CountCharacters(m_cell.value) > kMaxCellText) {
        m_cell.value.clear();
        Fail(LXW_ERROR_MAX_STRING_LENGTH_EXCEEDED,
             "text of " + std::to_string(value.size()) + " characters");
    }
    m_cell.hasValue = true;
    m_cell.number = ReadTypedNumber(value);
    WriteCell();
}

void CXlsxWorkbook::SetHorizontalAlignment(short alignment)
{
    RequireCell();
    const int align = HorizontalAlignment(alignment);
    if (align < 0) {
        Fail(LXW_ERROR_PARAMETER_VALIDATION, "horizontal alignment " + std::to_string(alignment));
    }
    m_cell.horizontal = static_cast<unsigned char>(align);
    m_cell.dirty = true;
}

void CXlsxWorkbook::SetVerticalAlignment(short alignment)
{
    RequireCell();
    const int align = VerticalAlignment(alignment);
    if (align < 0) {
        Fail(LXW_ERROR_PARAMETER_VALIDATION, "vertical alignment " + std::to_string(alignment));
    }
    m_cell.vertical = static_cast<unsigned char>(align);
    m_cell.dirty = true;
}

void CXlsxWorkbook::SetNumberFormat(std::string_view format)
{
    RequireCell();
    m_cell.numberFormat = format;
    m_cell.dirty = true;
}

void CXlsxWorkbook::SetWrapText(bool wrap)
{
    RequireCell();
    m_cell.wrap = wrap;
    m_cell.dirty = true;
}

void CXlsxWorkbook::SetBorders(short lineStyle, short weight)
{
    RequireCell();
    if (lineStyle != kLineContinuous || weight != kBorderThin) {
        Fail(LXW_ERROR_PARAMETER_VALIDATION,
             "border " + std::to_string(lineStyle) + "/" + std::to_string(weight));
    }
    m_cell.border = true;
    m_cell.dirty = true;
}

void CXlsxWorkbook::SetColumnWidth(double width)
{
    RequireCell();
    const lxw_error error =
        worksheet_set_column(m_worksheet, m_cell.column, m_cell.column, width, nullptr);
    if (error != LXW_NO_ERROR) {
        Fail(error, "width of column " + std::to_string(m_cell.column + 1));
    }
}

void CXlsxWorkbook::SetRowHeight(double points)
{
    RequireCell();
    const lxw_error error = worksheet_set_row(m_worksheet, m_cell.row, points, nullptr);
    if (error != LXW_NO_ERROR) {
        Fail(error, "height of row " + std::to_string(m_cell.row + 1));
    }
}

void CXlsxWorkbook::FreezePanes(int rows)
{
    RequireSheet();
    worksheet_freeze_panes(Sheet(), static_cast<lxw_row_t>(rows), 0);
}

void CXlsxWorkbook::SetPageSetup(const SheetPageSetup& setup)
{
    RequireSheet();
    lxw_worksheet* sheet = Sheet();
    if (setup.orientation == kOrientationLandscape) {
        worksheet_set_landscape(sheet);
    } else {
        worksheet_set_portrait(sheet);
    }
    worksheet_set_paper(sheet, static_cast<uint8_t>(setup.paperSize));
    worksheet_fit_to_pages(sheet, static_cast<uint16_t>(setup.fitToPagesWide), 0);
    const auto cells = [&](const std::string& range, bool rowsOnly, unsigned(&out)[4]) {
        // "$1:$1" (rows) or "$A$1:$P$20".
        std::string plain;
        for (const char c : range) {
            if (c != '$') {
                plain.push_back(c);
            }
        }
        const size_t colon = plain.find(':');
        if (colon == std::string::npos) {
            Fail(LXW_ERROR_PARAMETER_VALIDATION, "range " + range);
        }
        if (rowsOnly) {
            out[0] = static_cast<unsigned>(std::stoul(plain.substr(0, colon))) - 1;
            out[2] = static_cast<unsigned>(std::stoul(plain.substr(colon + 1))) - 1;
            return;
        }
        unsigned short c1 = 0;
        unsigned short c2 = 0;
        bool in1 = false;
        bool in2 = false;
        if (!ParseCell(plain.substr(0, colon), out[0], c1, in1) ||
            !ParseCell(plain.substr(colon + 1), out[2], c2, in2) || !in1 || !in2) {
            Fail(LXW_ERROR_PARAMETER_VALIDATION, "range " + range);
        }
        out[1] = c1;
        out[3] = c2;
    };
    if (!setup.printTitleRows.empty()) {
        unsigned r[4] = {};
        cells(setup.printTitleRows, true, r);
        worksheet_repeat_rows(sheet, r[0], r[2]);
    }
    if (!setup.printArea.empty()) {
        unsigned r[4] = {};
        cells(setup.printArea, false, r);
        worksheet_print_area(sheet, r[0], static_cast<lxw_col_t>(r[1]), r[2],
                             static_cast<lxw_col_t>(r[3]));
    }
}

lxw_format* CXlsxWorkbook::Format()
{
    const Cell& c = m_cell;
    if (c.horizontal == 0 && c.vertical == 0 && !c.wrap && !c.border && c.numberFormat.empty()) {
        return nullptr;
    }
    std::string key = {static_cast<char>(c.horizontal), static_cast<char>(c.vertical),
                       c.wrap ? 'w' : '-', c.border ? 'b' : '-'};
    key += c.numberFormat;
    if (const auto found = m_formats.find(key); found != m_formats.end()) {
        return found->second;
    }
    errno = 0;
    lxw_format* format = workbook_add_format(m_workbook);
    if (!format) {
        const int err = errno;
        throw OutputError(OutputError::Kind::NoObject,
                          "cannot write " + Quoted(m_target) + ": no cell format could be created",
                          err);
    }
    if (c.horizontal != 0) {
        format_set_align(format, c.horizontal);
    }
    if (c.vertical != 0) {
        format_set_align(format, c.vertical);
    }
    if (c.wrap) {
        format_set_text_wrap(format);
    }
    if (c.border) {
        format_set_border(format, LXW_BORDER_THIN);
    }
    if (!c.numberFormat.empty()) {
        format_set_num_format(format, c.numberFormat.c_str());
    }
    m_formats.emplace(std::move(key), format);
    return format;
}

void CXlsxWorkbook::WriteCell()
{
    lxw_format* format = Format();
    lxw_error error = LXW_NO_ERROR;
    if (m_cell.hasValue && m_cell.number && m_cell.numberFormat != "@") {
        error =
            worksheet_write_number(m_worksheet, m_cell.row, m_cell.column, *m_cell.number, format);
    } else if (m_cell.hasValue && !m_cell.value.empty()) {
        error = worksheet_write_string(m_worksheet, m_cell.row, m_cell.column, m_cell.value.c_str(),
                                       format);
    } else if (format) {
        error = worksheet_write_blank(m_worksheet, m_cell.row, m_cell.column, format);
    } else {
        return;
    }
    if (error != LXW_NO_ERROR) {
        Fail(error,
             "cell " + std::to_string(m_cell.row + 1) + "," + std::to_string(m_cell.column + 1));
    }
    m_cell.dirty = false;
    if (!m_anyCell || m_cell.row > m_lastRow) {
        m_lastRow = m_cell.row;
    }
    if (!m_anyCell || m_cell.column > m_lastColumn) {
        m_lastColumn = m_cell.column;
    }
    m_anyCell = true;
}

void CXlsxWorkbook::FlushCell()
{
    if (m_cell.active && m_cell.dirty) {
        WriteCell();
    }
    m_cell.active = false;
}

void CXlsxWorkbook::Release()
{
    if (!m_workbook) {
        return;
    }
    if (m_sheetSelected) {
        Sheet();
    }
    FlushCell();
    if (m_anyCell) {
        char range[32];
        lxw_rowcol_to_range(range, 0, 0, m_lastRow, static_cast<lxw_col_t>(m_lastColumn));
        const lxw_error error =
            worksheet_ignore_errors(m_worksheet, LXW_IGNORE_NUMBER_STORED_AS_TEXT, range);
        if (error != LXW_NO_ERROR) {
            Fail(error, "range " + std::string(range));
        }
    }
    errno = 0;
    lxw_error error = LXW_NO_ERROR;
    {
        const CQuietStderr quiet;
        error = workbook_close(m_workbook);
    }
    const int closeErrno = errno;
    m_workbook = nullptr;
    m_worksheet = nullptr;
    m_formats.clear();
    if (error != LXW_NO_ERROR) {
        // The library's own text ("Zip generic error ZIP_ERRNO") hides the
        // cause; the system's reason says it.
        const std::string cause =
            closeErrno != 0 ? std::string(std::strerror(closeErrno)) : lxw_strerror(error);
        throw OutputError(OutputError::Kind::Write,
                          "cannot write " + Quoted(m_target) + ": " + cause, error,
                          lxw_strerror(error));
    }
    std::string bytes;
    if (const int err = ReadFileBytes("/proc/self/fd/" + std::to_string(m_memoryFd),
                                      std::numeric_limits<uint64_t>::max(), bytes);
        err != 0) {
        throw OutputError(OutputError::Kind::Write,
                          "cannot write " + Quoted(m_target) + ": " + std::strerror(err), err);
    }
    ::close(m_memoryFd);
    m_memoryFd = -1;
    try {
        m_file->Write(bytes);
    } catch (const DocumentError& e) {
        throw OutputError(OutputError::Kind::Write, e.what());
    }
    CommitOutputFile(*m_file, m_replace);
    m_file.reset();
    m_written = true;
}

}  // namespace loadcal
