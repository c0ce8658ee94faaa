#include "output/ExcelExport.h"

#include <cstdio>
#include <cwchar>

#include "model/Columns.h"
#include "model/Text.h"
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

void WriteCell(CSpreadsheetAutomation& a, CCellAddress& address, size_t column, int row,
               Order order, std::optional<std::wstring_view> value)
{
    const std::string_view cell = address(column, row);
    a.GetRange(cell, cell);
    Centre(a, order);
    if (value) {
        a.SetValue(*value);
    }
}

template <size_t N>
void WriteHeaders(CSpreadsheetAutomation& a, CCellAddress& address,
                  const std::array<TableColumn, N>& columns, int row)
{
    for (size_t i = 0; i < N; ++i) {
        WriteCell(a, address, i, row, Order::VerticalFirst, columns[i].title);
    }
}

template <size_t N, class Record>
void WriteRecord(CSpreadsheetAutomation& a, CCellAddress& address,
                 const std::array<TableColumn, N>& columns, const Record& record, int row)
{
    for (size_t i = 0; i < N; ++i) {
        WriteCell(a, address, i, row, Order::HorizontalFirst,
                  std::wstring_view(record.FieldAt(columns[i].field)));
    }
}

std::wstring Format(const char* format, unsigned long code, const std::string& text = {})
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, code);
    return FromUtf8(buffer) + FromUtf8(text);
}

}  // namespace

void FillWorkbook(CSpreadsheetAutomation& a, const CLoadArray& loads,
                  const CTransformerArray& transformers, const SummaryTotals& totals)
{
    a.SetVisible(true);
    a.GetWorkbooks();
    a.WorkbooksAdd();
    a.GetWorksheets();
    a.WorksheetsGetItem(1);

    CCellAddress address;
    WriteHeaders(a, address, kLoadColumns, 1);
    const int n = loads.GetSize();
    for (int k = 0; k < n; ++k) {
        WriteRecord(a, address, kLoadColumns, loads[k], k + 2);
    }
    const auto totalCells = TotalRowCells(totals);
    for (size_t i = 0; i < totalCells.size(); ++i) {
        WriteCell(a, address, i, n + 3, Order::HorizontalFirst, totalCells[i]);
    }
    WriteHeaders(a, address, kTransformerColumns, n + 5);
    for (int m = 0; m < transformers.GetSize(); ++m) {
        WriteRecord(a, address, kTransformerColumns, transformers[m], n + 6 + m);
    }
    a.Release();
}

int ExportToExcel(CSpreadsheetAutomation& automation, IMessageSink& messages,
                  const CLoadArray& loads, const CTransformerArray& transformers,
                  const SummaryTotals& totals)
{
    if (!automation.CreateDispatch(kSpreadsheetProgId)) {
        messages.ShowMessage(std::wstring(kNoSpreadsheetMessage));
        return 0;
    }
    try {
        FillWorkbook(automation, loads, transformers, totals);
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
                   IMessageSink& messages, IFileOpener& opener)
{
    CXlsxWorkbook workbook(options.path, options.replace);
    const int result = ExportToExcel(workbook, messages, loads, transformers, totals);
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
                   const CTransformerArray& transformers, const SummaryTotals& totals, bool replace)
{
    CXlsxWorkbook workbook(path, replace);
    workbook.CreateDispatch(kSpreadsheetProgId);
    FillWorkbook(workbook, loads, transformers, totals);
}

}  // namespace loadcal
