#pragma once

#include <filesystem>
#include <string>

#include "model/Document.h"
#include "model/LoadTypes.h"
#include "model/ProjectInfo.h"

namespace loadcal {

/// What the title page of a calculation book names: the document's project
/// information where it has it, else the document's name and the date given.
struct BookInfo {
    std::wstring project;       ///< the document's name, shown when details has no project name
    std::wstring date;          ///< shown when details has no date; empty: today, as yyyy-mm-dd
    CProjectInfo details = {};  ///< the document's project information (may be empty)
    /// The load-type library the circuits' types were filled from, which
    /// the book cites (borrowed); none: the shipped library with the user
    /// library of the settings folder, read when some circuit names a type.
    const CLoadTypeLibrary* library = nullptr;
};

/// The project name of a document: its file name without the extension, or
/// "未命名" for an untitled document (empty path).
std::wstring BookProjectName(const std::wstring& documentPath);

/// Renders the calculation book (计算书) of a document as PDF bytes, on A4
/// (portrait; landscape for the wide tables), in Chinese, with the texts
/// as text in embedded CJK fonts: the title page with the project
/// information, the rule set and the four signatures, the contents with page
/// numbers, the standards, method and rule set, the formulas of that rule
/// set, the load table, the board table (when the document has boards) and
/// the transformer table (headers repeated on every page), a page per board
/// in tree order (its members, the sums under the 15 % rule, K∑p, K∑q and
/// the result), each transformer's sizing step by step with its members and
/// its phase-current chart, the grand totals, under the original rules the
/// comparison with the document recalculated under GB 51348-2019, the
/// reviewer's checks, and page numbers "第 n 页 共 m 页". The figures are the
/// document's texts as they stand, rounded for reading (output/Figures.h);
/// with fire roles each board and transformer in both cases and the case
/// that governs; the load types' sources (a note under each table that
/// lists circuits, and a section of the library rows used); the N−1 check
/// among the reviewer's checks;
/// the intermediates are the model's own under the document's rule set;
/// nothing of the document is recalculated. Needs a Qt GUI application,
/// which it starts on the offscreen platform when the process has none.
std::string RenderCalculationBook(const CLoadCalDocument& doc, const BookInfo& info);

/// Renders the book and writes it to path atomically. Throws OutputError
/// naming the file on any failure; the previous file then stays as it was
/// and no temporary file is left. An existing file is replaced only when
/// replace is set.
void WriteCalculationBook(const std::filesystem::path& path, const CLoadCalDocument& doc,
                          const BookInfo& info, bool replace = true);

}  // namespace loadcal
