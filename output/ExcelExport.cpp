#include "output/ExcelExport.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <vector>

#include "model/Columns.h"
#include "model/Numeric.h"
#include "model/Text.h"
#include "output/Figures.h"
#include "output/OutputError.h"
#include "output/TableLayout.h"
#include "output/XlsxWorkbook.h"

namespace loadcal {
namespace {

/// Selects one cell by its "A1"-style address: the column letter made with
/// "%c" from 65 + column, then the row number.
class CCellAddress {
public:
    std::string_view operator()(size_t column, int row)
    {
        const int n =
            std::snprintf(m_text, sizeof m_text, "%c%d", static_cast<int>(65 + column), row);
        return {m_text, static_cast<size_t>(n)};
    }

private:
    char m_text[24];
};

enum class Order { VerticalFirst, HorizontalFirst };

void Centre(CSpreadsheetAutomation& a, Order order)
{
    if (order == Order::VerticalFirst) {
        a.SetVerticalAlignment(kAlignCenter);
        a.SetHorizontalAlignment(kAlignCenter);
    } else {
        a.SetHorizontalAlignment(kAlignCenter);
        a.SetVerticalAlignment(kAlignCenter);
    }
}

/// The sheet's name.
constexpr std::wstring_view kSheetName = L"负荷计算";
/// Header rows hold two lines of text.
constexpr double kHeaderHeight = 32;

/// The text as the spreadsheet shows it in a column of this kind: a figure
/// as its number format shows it.
std::wstring Displayed(FigureKind kind, std::wstring_view text)
{
    std::wstring shown = ShowFigure(kind, text);
    if (kind == FigureKind::Percent && ReadTypedNumber(text)) {
        shown += L"%";
    }
    return shown;
}

/// The width of a text in the standard font's characters: wide (Chinese)
/// characters count two.
double DisplayWidth(std::wstring_view text)
{
    double width = 0;
    for (const wchar_t c : text) {
        width += c >= 0x1100 ? 2 : 1;
    }
    return width;
}

/// The widest piece of a header between blanks: the header wraps there.
double HeaderWidth(std::wstring_view header)
{
    double widest = 0;
    size_t start = 0;
    while (start <= header.size()) {
        const size_t end = std::min(header.find(L' ', start), header.size());
        widest = std::max(widest, DisplayWidth(header.substr(start, end - start)));
        start = end + 1;
    }
    return widest;
}

/// Where each fire-case column stands in the fire table under a transformer
/// or board table: in the column of the normal figure it matches, so that a
/// reviewer reads both cases one above the other (the governing case beside
/// the name). The sheet keeps the width of its normal tables and prints as
/// large as without fire roles.
constexpr std::array<size_t, kIssuedTransformerFireColumns.size()> kTransformerFireUnder = {
    1,   // 取值工况: beside the name (额定容量, which it decides)
    6,   // Pc
    7,   // Q2
    8,   // S2
    9,   // I2
    12,  // cosφ1
    14,  // Qcc
    2,   // load rate
};
constexpr std::array<size_t, kIssuedBoardFireColumns.size()> kBoardFireUnder = {
    1,  // 取值工况: beside the name
    2,  // ΣPe
    5,  // Pjs
    6,  // Qjs
    7,  // Sjs
    8,  // cosφ
    9,  // Ijs
};

/// The columns beyond the original ones that a document's tables carry:
/// the circuit fields some circuit uses, and whether the transformers and
/// boards get fire tables (a document with fire roles).
struct ExtraColumns {
    std::vector<IssuedColumn> circuit;
    bool fire = false;

    explicit ExtraColumns(const CLoadArray& loads) : fire(HasFireRoles(loads))
    {
        const auto used = UsedCircuitExtraFields(loads);
        for (size_t k = 0; k < used.size(); ++k) {
            if (used[k]) {
                circuit.push_back(kIssuedCircuitExtraColumns[k]);
            }
        }
    }
    /// The number of columns of the widest table.
    size_t Width(bool boards) const
    {
        size_t width = std::max(kTransformerColumns.size(), kLoadColumns.size() + circuit.size());
        if (boards) {
            width = std::max(width, kBoardColumns.size());
        }
        return width;
    }
};

/// Column widths fitted to every text each column shows, in every table.
std::vector<double> ColumnWidths(const CLoadArray& loads, const CTransformerArray& transformers,
                                 const SummaryTotals& totals, const CBoardArray& boards,
                                 const ExtraColumns& extra)
{
    std::vector<double> widest(extra.Width(!boards.IsEmpty()), 0);
    const auto fit = [&widest](size_t column, double width) {
        widest[column] = std::max(widest[column], width);
    };
    const auto fitExtra = [&fit](size_t first, const std::vector<IssuedColumn>& columns,
                                 const auto& records) {
        for (size_t k = 0; k < columns.size(); ++k) {
            fit(first + k, HeaderWidth(columns[k].header));
            for (const auto& r : records) {
                fit(first + k,
                    DisplayWidth(Displayed(columns[k].kind, r.AnyFieldAt(columns[k].field))));
            }
        }
    };
    fitExtra(kLoadColumns.size(), extra.circuit, loads);
    const auto fitFire = [&fit](const auto& columns, const auto& under, const auto& records) {
        for (size_t k = 0; k < columns.size(); ++k) {
            fit(under[k], HeaderWidth(columns[k].header));
            for (const auto& r : records) {
                fit(under[k],
                    DisplayWidth(Displayed(columns[k].kind, r.AnyFieldAt(columns[k].field))));
            }
        }
    };
    if (extra.fire) {
        fit(0, HeaderWidth(kIssuedFireTransformerNameHeader));
        if (!boards.IsEmpty()) {
            fit(0, HeaderWidth(kIssuedFireBoardNameHeader));
        }
        fitFire(kIssuedTransformerFireColumns, kTransformerFireUnder, transformers);
        fitFire(kIssuedBoardFireColumns, kBoardFireUnder, boards);
    }
    for (size_t k = 0; k < kLoadColumns.size(); ++k) {
        fit(k, HeaderWidth(kIssuedLoadHeaders[k]));
        for (const CLoadCalData& c : loads) {
            fit(k, DisplayWidth(Displayed(kLoadColumnKinds[k], c.FieldAt(kLoadColumns[k].field))));
        }
    }
    const auto totalCells = TotalRowCells(totals);
    for (size_t k = 0; k < totalCells.size(); ++k) {
        if (totalCells[k]) {
            fit(k, DisplayWidth(Displayed(kLoadColumnKinds[k], *totalCells[k])));
        }
    }
    for (size_t k = 0; k < kTransformerColumns.size(); ++k) {
        fit(k, HeaderWidth(kIssuedTransformerHeaders[k]));
        for (const CTransformerCalData& t : transformers) {
            fit(k, DisplayWidth(Displayed(kTransformerColumnKinds[k],
                                          t.FieldAt(kTransformerColumns[k].field))));
        }
    }
    if (!boards.IsEmpty()) {
        fit(kLoadColumns.size() - 1, HeaderWidth(kIssuedOwnerHeader));
        for (size_t k = 0; k < kBoardColumns.size(); ++k) {
            fit(k, HeaderWidth(kIssuedBoardHeaders[k]));
            for (const CBoardCalData& b : boards) {
                fit(k, DisplayWidth(
                           Displayed(kBoardColumnKinds[k], b.FieldAt(kBoardColumns[k].field))));
            }
        }
    }
    for (double& w : widest) {
        w = std::clamp(w + 2, 6.0, 80.0);
    }
    return widest;
}

/// The number format of a cell: text for identifiers, the kind's rounding for figures.
std::string NumberFormatOf(FigureKind kind, std::wstring_view text)
{
    if (kind == FigureKind::Text) {
        return "@";
    }
    const std::optional<double> value = ReadTypedNumber(text);
    return FigureNumberFormat(kind, value.value_or(0));
}

void Bordered(CSpreadsheetAutomation& a)
{
    a.SetBorders(kLineContinuous, kBorderThin);
}

template <size_t N>
void WriteHeaders(CSpreadsheetAutomation& a, CCellAddress& address,
                  std::array<std::wstring_view, N> headers, int row)
{
    for (size_t i = 0; i < N; ++i) {
        const std::string_view cell = address(i, row);
        a.GetRange(cell, cell);
        if (i == 0) {
            a.SetRowHeight(kHeaderHeight);
        }
        Centre(a, Order::VerticalFirst);
        a.SetWrapText(true);
        Bordered(a);
        a.SetValue(headers[i]);
    }
}

/// The headers of the columns beyond a table's own, from column first on.
void WriteExtraHeaders(CSpreadsheetAutomation& a, CCellAddress& address, size_t first,
                       const std::vector<IssuedColumn>& columns, int row)
{
    for (size_t i = 0; i < columns.size(); ++i) {
        const std::string_view cell = address(first + i, row);
        a.GetRange(cell, cell);
        Centre(a, Order::VerticalFirst);
        a.SetWrapText(true);
        Bordered(a);
        a.SetValue(columns[i].header);
    }
}

/// A record's cells of those columns; record null: bordered empty cells
/// (the load table's total row).
template <class Record>
void WriteExtraCells(CSpreadsheetAutomation& a, CCellAddress& address, size_t first,
                     const std::vector<IssuedColumn>& columns, const Record* record, int row)
{
    for (size_t i = 0; i < columns.size(); ++i) {
        const std::string_view cell = address(first + i, row);
        a.GetRange(cell, cell);
        Centre(a, Order::HorizontalFirst);
        Bordered(a);
        if (record) {
            const std::wstring_view text = record->AnyFieldAt(columns[i].field);
            a.SetNumberFormat(NumberFormatOf(columns[i].kind, text));
            a.SetValue(text);
        }
    }
}

template <size_t N, class Record>
void WriteRecord(CSpreadsheetAutomation& a, CCellAddress& address,
                 const std::array<TableColumn, N>& columns, const std::array<FigureKind, N>& kinds,
                 const Record& record, int row)
{
    for (size_t i = 0; i < N; ++i) {
        const std::wstring_view text = record.FieldAt(columns[i].field);
        const std::string_view cell = address(i, row);
        a.GetRange(cell, cell);
        Centre(a, Order::HorizontalFirst);
        Bordered(a);
        a.SetNumberFormat(NumberFormatOf(kinds[i], text));
        a.SetValue(text);
    }
}

/// The fire table under a table of N columns: the name header in A, each
/// fire column's header under the normal column it matches, then a row per
/// record (its name, its fire figures); every cell of the N columns bordered.
template <size_t N, size_t F, class Record>
void WriteFireTable(CSpreadsheetAutomation& a, CCellAddress& address, std::wstring_view nameHeader,
                    const std::array<IssuedColumn, F>& columns, const std::array<size_t, F>& under,
                    const CArray<Record>& records, int row)
{
    std::array<const IssuedColumn*, N> at{};
    for (size_t k = 0; k < F; ++k) {
        at[under[k]] = &columns[k];
    }
    for (size_t i = 0; i < N; ++i) {
        const std::string_view cell = address(i, row);
        a.GetRange(cell, cell);
        if (i == 0) {
            a.SetRowHeight(kHeaderHeight);
        }
        Centre(a, Order::VerticalFirst);
        a.SetWrapText(true);
        Bordered(a);
        if (i == 0 || at[i]) {
            a.SetValue(i == 0 ? nameHeader : at[i]->header);
        }
    }
    for (int k = 0; k < records.GetSize(); ++k) {
        for (size_t i = 0; i < N; ++i) {
            const std::string_view cell = address(i, row + 1 + k);
            a.GetRange(cell, cell);
            Centre(a, Order::HorizontalFirst);
            Bordered(a);
            if (i == 0 || at[i]) {
                const FigureKind kind = i == 0 ? FigureKind::Text : at[i]->kind;
                const std::wstring_view text =
                    i == 0 ? records[k].m_strName : records[k].AnyFieldAt(at[i]->field);
                a.SetNumberFormat(NumberFormatOf(kind, text));
                a.SetValue(text);
            }
        }
    }
}

std::string ColumnLetter(size_t column)
{
    return std::string(1, static_cast<char>('A' + column));
}

std::wstring Format(const char* format, unsigned long code, const std::string& text = {})
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, code);
    return FromUtf8(buffer) + FromUtf8(text);
}

}  // namespace

void FillWorkbook(CSpreadsheetAutomation& a, const CLoadArray& loads,
                  const CTransformerArray& transformers, const SummaryTotals& totals,
                  const CBoardArray& boards)
{
    a.SetVisible(true);
    a.GetWorkbooks();
    a.WorkbooksAdd();
    a.GetWorksheets();
    a.WorksheetsGetItem(1);
    a.SetWorksheetName(kSheetName);

    CCellAddress address;
    const ExtraColumns extra(loads);
    const std::vector<double> widths = ColumnWidths(loads, transformers, totals, boards, extra);
    for (size_t i = 0; i < widths.size(); ++i) {
        const std::string_view cell = address(i, 1);
        a.GetRange(cell, cell);
        a.SetColumnWidth(widths[i]);
    }
    auto loadHeaders = kIssuedLoadHeaders;
    if (!boards.IsEmpty()) {
        loadHeaders.back() = kIssuedOwnerHeader;  // an owner may be a board
    }
    WriteHeaders(a, address, loadHeaders, 1);
    WriteExtraHeaders(a, address, kLoadColumns.size(), extra.circuit, 1);
    const int n = loads.GetSize();
    for (int k = 0; k < n; ++k) {
        WriteRecord(a, address, kLoadColumns, kLoadColumnKinds, loads[k], k + 2);
        WriteExtraCells(a, address, kLoadColumns.size(), extra.circuit, &loads[k], k + 2);
    }
    const auto totalCells = TotalRowCells(totals);
    for (size_t i = 0; i < totalCells.size(); ++i) {
        const std::string_view cell = address(i, n + 3);
        a.GetRange(cell, cell);
        Centre(a, Order::HorizontalFirst);
        Bordered(a);
        if (totalCells[i]) {
            a.SetNumberFormat(NumberFormatOf(kLoadColumnKinds[i], *totalCells[i]));
            a.SetValue(*totalCells[i]);
        }
    }
    WriteExtraCells<CLoadCalData>(a, address, kLoadColumns.size(), extra.circuit, nullptr, n + 3);
    // The board table, when there are boards, between the two tables.
    int top = n + 5;
    // With fire roles a fire table follows each board and transformer table.
    if (const int b = boards.GetSize(); b > 0) {
        WriteHeaders(a, address, kIssuedBoardHeaders, top);
        for (int k = 0; k < b; ++k) {
            WriteRecord(a, address, kBoardColumns, kBoardColumnKinds, boards[k], top + 1 + k);
        }
        top += b + 2;
        if (extra.fire) {
            WriteFireTable<kBoardColumns.size()>(a, address, kIssuedFireBoardNameHeader,
                                                 kIssuedBoardFireColumns, kBoardFireUnder, boards,
                                                 top);
            top += b + 2;
        }
    }
    WriteHeaders(a, address, kIssuedTransformerHeaders, top);
    const int m = transformers.GetSize();
    for (int k = 0; k < m; ++k) {
        WriteRecord(a, address, kTransformerColumns, kTransformerColumnKinds, transformers[k],
                    top + 1 + k);
    }
    int last = top + m;
    if (extra.fire) {
        WriteFireTable<kTransformerColumns.size()>(a, address, kIssuedFireTransformerNameHeader,
                                                   kIssuedTransformerFireColumns,
                                                   kTransformerFireUnder, transformers, last + 2);
        last += m + 2;
    }
    a.FreezePanes(1);
    SheetPageSetup page;
    page.printTitleRows = "$1:$1";
    page.printArea = "$A$1:$" + ColumnLetter(widths.size() - 1) + "$" + std::to_string(last);
    a.SetPageSetup(page);
    a.Release();
}

int ExportToExcel(CSpreadsheetAutomation& automation, IMessageSink& messages,
                  const CLoadArray& loads, const CTransformerArray& transformers,
                  const SummaryTotals& totals, const CBoardArray& boards)
{
    if (!automation.CreateDispatch(kSpreadsheetProgId)) {
        messages.ShowMessage(std::wstring(kNoSpreadsheetMessage));
        return 0;
    }
    try {
        FillWorkbook(automation, loads, transformers, totals, boards);
    } catch (const OutputError& e) {
        const auto code = static_cast<unsigned long>(e.Code());
        switch (e.GetKind()) {
            case OutputError::Kind::CallFailed:
                messages.ShowMessage(Format("COleDispatchException. SCODE: %08lx,Description: \"",
                                            code, e.Description()) +
                                     L"\".");
                break;
            case OutputError::Kind::NoObject:
                messages.ShowMessage(Format("COleException. SCODE: %08lx.", code));
                break;
            case OutputError::Kind::Write:
            case OutputError::Kind::FileExists:
                messages.ShowMessage(FromUtf8(e.what()));
                break;
            default:
                messages.ShowMessage(L"Catch All Other ERROR");
                break;
        }
    } catch (...) {
        messages.ShowMessage(L"Catch All Other ERROR");
    }
    return 1;
}

int ExportWorkbook(const CLoadArray& loads, const CTransformerArray& transformers,
                   const SummaryTotals& totals, const WorkbookExportOptions& options,
                   IMessageSink& messages, IFileOpener& opener, const CBoardArray& boards)
{
    CXlsxWorkbook workbook(options.path, options.replace);
    const int result = ExportToExcel(workbook, messages, loads, transformers, totals, boards);
    if (result != 1 || !workbook.Written() || !options.open || !workbook.Visible()) {
        return result;
    }
    if (!opener.Open(options.path)) {
        messages.ShowMessage(std::wstring(kNoSpreadsheetMessage));
        return 0;
    }
    return 1;
}

void WriteWorkbook(const std::filesystem::path& path, const CLoadArray& loads,
                   const CTransformerArray& transformers, const SummaryTotals& totals, bool replace,
                   const CBoardArray& boards)
{
    CXlsxWorkbook workbook(path, replace);
    workbook.CreateDispatch(kSpreadsheetProgId);
    FillWorkbook(workbook, loads, transformers, totals, boards);
}

void WriteWorkbook(const std::filesystem::path& path, const CLoadCalDocument& doc,
                   const SummaryTotals& totals, bool replace)
{
    WriteWorkbook(path, doc.loads, doc.transformers, totals, replace, doc.boards);
}

}  // namespace loadcal
