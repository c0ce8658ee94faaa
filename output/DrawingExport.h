#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>

#include "model/Calculation.h"
#include "model/Document.h"
#include "model/Records.h"
#include "output/CadHost.h"

namespace loadcal {

/// How a drawing file is produced.
struct DrawingExportOptions {
    std::filesystem::path path;  ///< the .dxf file to write
    double scale = 1.0;          ///< drawing scale factor; finite and > 0
    bool replace = false;        ///< whether an existing file may be replaced
    std::wstring project = {};   ///< the project's name for the title line; empty: none
};

enum class DrawingExportResult {
    Written,   ///< the tables were drawn and the file written
    Declined,  ///< the base point was declined: nothing drawn, no file written
};

/// Draws the calculation tables into a new in-memory drawing at options.scale
/// (DrawCalculationTable), asking points for the base point, and writes the
/// drawing to options.path as DXF R2000 (SaveDrawing). The target is checked
/// before the question: an existing file without options.replace throws
/// OutputError (FileExists) and nothing is asked. Command-line output goes to
/// commandLine when given. Every failure throws OutputError naming the file;
/// any previous file then stays as it was and no temporary file is left.
DrawingExportResult ExportDrawing(const CLoadArray& loads, const CTransformerArray& transformers,
                                  const SummaryTotals& totals, const DrawingExportOptions& options,
                                  IPointSource& points, std::ostream* commandLine = nullptr,
                                  const CBoardArray& boards = CBoardArray());
/// The same for a whole document: its three tables (the boards' when it has any).
DrawingExportResult ExportDrawing(const CLoadCalDocument& doc, const SummaryTotals& totals,
                                  const DrawingExportOptions& options, IPointSource& points,
                                  std::ostream* commandLine = nullptr);

}  // namespace loadcal
