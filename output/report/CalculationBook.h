#pragma once

#include <filesystem>
#include <string>

#include "model/ProjectInfo.h"
#include "model/Records.h"

namespace loadcal {

/// What the title page of a calculation book names: the document's project
/// information where it has it, else the document's name and the date given.
struct BookInfo {
    std::wstring project;       ///< the document's name, shown when details has no project name
    std::wstring date;          ///< shown when details has no date; empty: today, as yyyy-mm-dd
    CProjectInfo details = {};  ///< the document's project information (may be empty)
};

/// The project name of a document: its file name without the extension, or
/// "未命名" for an untitled document (empty path).
std::wstring BookProjectName(const std::wstring& documentPath);

/// Renders the calculation book (计算书) of a document as PDF bytes, on A4
/// (portrait; landscape for the two wide tables), in Chinese, with the texts
/// as text in embedded CJK fonts: the title page with the project
/// information and the four signatures, the contents with page numbers, the
/// standards and method, the formulas, the load and transformer tables
/// (headers repeated on every page), each transformer's sizing step by step
/// with its phase-current chart, the grand totals, the reviewer's checks, and
/// page numbers "第 n 页 共 m 页". The figures are the document's texts as they
/// stand, rounded for reading (output/Figures.h); nothing is recalculated. Needs a Qt GUI
/// application, which it starts on the offscreen platform when the process has none.
std::string RenderCalculationBook(const CLoadArray& loads, const CTransformerArray& transformers,
                                  const BookInfo& info);

/// Renders the book and writes it to path atomically. Throws OutputError
/// naming the file on any failure; the previous file then stays as it was
/// and no temporary file is left. An existing file is replaced only when
/// replace is set.
void WriteCalculationBook(const std::filesystem::path& path, const CLoadArray& loads,
                          const CTransformerArray& transformers, const BookInfo& info,
                          bool replace = true);

}  // namespace loadcal
