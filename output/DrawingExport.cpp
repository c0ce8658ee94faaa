#include "output/DrawingExport.h"

#include <cmath>

#include "output/Drawing.h"
#include "output/DrawingRun.h"
#include "output/DxfFile.h"
#include "output/OutputError.h"
#include "output/OutputFile.h"

namespace loadcal {

DrawingExportResult ExportDrawing(const CLoadArray& loads, const CTransformerArray& transformers,
                                  const SummaryTotals& totals, const DrawingExportOptions& options,
                                  IPointSource& points, std::ostream* commandLine,
                                  const CBoardArray& boards)
{
    if (!std::isfinite(options.scale) || !(options.scale > 0)) {
        throw OutputError(OutputError::Kind::BadArgument,
                          "cannot write \"" + options.path.string() + "\": the drawing scale " +
                              std::to_string(options.scale) + " is not a positive number");
    }
    RequireTarget(options.path, options.replace);
    CDrawing drawing(options.scale, &points, commandLine);
    if (!DrawCalculationTable(drawing, loads, transformers, totals, options.project, boards)) {
        return DrawingExportResult::Declined;
    }
    SaveDrawing(drawing, options.path, options.replace);
    return DrawingExportResult::Written;
}

DrawingExportResult ExportDrawing(const CLoadCalDocument& doc, const SummaryTotals& totals,
                                  const DrawingExportOptions& options, IPointSource& points,
                                  std::ostream* commandLine)
{
    return ExportDrawing(doc.loads, doc.transformers, totals, options, points, commandLine,
                         doc.boards);
}

}  // namespace loadcal
