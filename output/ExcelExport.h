#pragma once

#include <filesystem>
#include <string_view>

#include "model/Calculation.h"
#include "model/Document.h"
#include "model/Records.h"
#include "output/Desktop.h"
#include "output/SpreadsheetAutomation.h"

namespace loadcal {

/// Shown when no application could show the workbook.
inline constexpr std::wstring_view kNoSpreadsheetMessage =
    L"不能打开Excel，可能是因为没有安装Excel!";

/// Fills the first worksheet of a new workbook through automation, print
/// ready: the sheet named 负荷计算; the load table headers in row 1 (columns A
/// to M), circuit k in row k + 2, the total row in row N + 3 ("总计" in B; the
/// totals in E, H, I, J, K, L; all 13 cells centred), the transformer headers
/// in row N + 5 (A to P), transformer m in row N + 6 + m; every written cell
/// centred both ways with thin borders, values the stored texts. Headers
/// carry symbols and units (kIssuedLoadHeaders, kIssuedTransformerHeaders),
/// wrap on two lines; identifier columns (numbers, names, phase, owners) are
/// formatted as text so that they stay as typed ("001", "1E2"), figure
/// columns with the number format of their rounding (the stored value stays
/// exact); column widths fit the texts of both tables; row 1 is frozen and
/// printed on every page; landscape A4, one page wide, over the two tables.
/// Calls: SetVisible(true), GetWorkbooks, WorkbooksAdd, GetWorksheets,
/// WorksheetsGetItem(1), SetWorksheetName, the widths (GetRange of each
/// column's row-1 cell, SetColumnWidth), then per cell GetRange(address,
/// address), the header row's height, the alignments (vertical first for
/// headers, horizontal first otherwise), wrapping and borders, the number
/// format, the value; then FreezePanes(1), SetPageSetup and finally Release.
/// A document with boards gets the board table between the two: its headers
/// (kIssuedBoardHeaders, A to K) in row N + 5, board b in row N + 6 + b, the
/// transformer table two rows further down (headers in row N + B + 7), the
/// load table's owner header "归属" (an owner may be a board), widths and
/// print area over all three tables; without boards nothing changes.
/// Columns beyond the original ones, after them, each header and cell as the
/// original ones are written: in the load table the circuit fields some
/// circuit uses (负荷类型, 数量, 负荷等级, 消防; text cells; the total row
/// bordered and empty there). For a document with fire roles a fire table
/// follows the board table and the transformer table, one row further down
/// (the next table two rows after it): the name header
/// (kIssuedFireBoardNameHeader, kIssuedFireTransformerNameHeader), then each
/// of kIssuedBoardFireColumns / kIssuedTransformerFireColumns in the column
/// of the normal figure it matches (the governing case in B), a row per
/// record with its name; every cell of the table's width bordered; the
/// sheet gets no column more. A document using none of them is written call
/// for call as without them.
/// Precondition: CreateDispatch succeeded.
/// Errors propagate unchanged; the first one ends the filling.
void FillWorkbook(CSpreadsheetAutomation& automation, const CLoadArray& loads,
                  const CTransformerArray& transformers, const SummaryTotals& totals,
                  const CBoardArray& boards = CBoardArray());

/// The export run. Returns 0, after showing kNoSpreadsheetMessage, when
/// CreateDispatch(kSpreadsheetProgId) fails; otherwise runs FillWorkbook and
/// returns 1, also after a failure, which it reports through messages:
/// - OutputError CallFailed (the callee refused a call, giving an error
///   number and a text; here libxlsxwriter's, as Excel gives an SCODE and a
///   description): "COleDispatchException. SCODE: %08lx,Description: \"%s\".";
/// - OutputError NoObject (an object could not be created and only a status
///   code is known; here errno): "COleException. SCODE: %08lx.";
/// - OutputError Write and FileExists (the finished workbook could not be
///   written or placed; a live spreadsheet application never saves, so this
///   has no automation counterpart): the error's own message naming the file;
/// - anything else: "Catch All Other ERROR".
int ExportToExcel(CSpreadsheetAutomation& automation, IMessageSink& messages,
                  const CLoadArray& loads, const CTransformerArray& transformers,
                  const SummaryTotals& totals, const CBoardArray& boards = CBoardArray());

/// How the window exports a workbook.
struct WorkbookExportOptions {
    std::filesystem::path path;  ///< the .xlsx file to write
    bool replace = true;         ///< whether an existing file may be replaced
    bool open = true;            ///< hand the written workbook to opener
};

/// The window's export: ExportToExcel over a CXlsxWorkbook writing
/// options.path, then, when the file was written and options.open is set, the
/// file is handed to opener; when that fails, kNoSpreadsheetMessage is shown
/// and the result is 0. Otherwise the result is ExportToExcel's (1). A
/// failure leaves any previous file as it was and no temporary file.
int ExportWorkbook(const CLoadArray& loads, const CTransformerArray& transformers,
                   const SummaryTotals& totals, const WorkbookExportOptions& options,
                   IMessageSink& messages, IFileOpener& opener,
                   const CBoardArray& boards = CBoardArray());

/// The command line's export: writes the workbook to path and opens nothing.
/// Throws OutputError (one line naming the file and the cause) on any failure;
/// the previous file then stays as it was and no temporary file is left.
void WriteWorkbook(const std::filesystem::path& path, const CLoadArray& loads,
                   const CTransformerArray& transformers, const SummaryTotals& totals,
                   bool replace = true, const CBoardArray& boards = CBoardArray());
/// The same for a whole document: its three tables (the boards' when it has any).
void WriteWorkbook(const std::filesystem::path& path, const CLoadCalDocument& doc,
                   const SummaryTotals& totals, bool replace = true);

}  // namespace loadcal
