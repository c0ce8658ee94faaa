#include "shell/module/FhjsCommand.h"

#include <exception>

#include "dialog/LoadCalDiaog.h"
#include "dialog/qt/LoadCalWindow.h"
#include "dialog/qt/QtOutput.h"
#include "dialog/qt/QtSession.h"
#include "model/Calculation.h"
#include "model/Text.h"
#include "output/DrawingExport.h"
#include "output/ExcelExport.h"
#include "output/OutputError.h"
#include "output/PointSource.h"
#include "shell/host/Host.h"
#include "shell/module/LoadCalModule.h"

namespace loadcal {
namespace {

FhjsOptions& Options()
{
    static FhjsOptions options;
    return options;
}

/// Output mode 1: the tables drawn into a drawing file at a base point asked
/// on the command line (or given).
void DrawIntoDrawing(const CLoadCalDiaog& dialog, const SummaryTotals& totals, CHost& host,
                     IMessageSink& messages)
{
    const FhjsOptions& opt = Options();
    std::optional<std::filesystem::path> file = opt.drawing;
    if (file) {
        if (!ConfirmReplaceFile(*file, nullptr, opt.runner)) {
            return;
        }
    } else {
        file = ChooseOutputFile(OutputFileKind::Drawing, dialog.GetFilePath(), nullptr, opt.runner);
        if (!file) {
            return;
        }
    }
    CTerminalPointSource terminal(host.In(), host.Out());
    CFixedPointSource given(opt.base);
    IPointSource& points = opt.base ? static_cast<IPointSource&>(given) : terminal;
    try {
        ExportDrawing(dialog.GetDocument(), totals,
                      {*file, opt.scale, true, dialog.GetDocument().project.Name()}, points,
                      &host.Out());
    } catch (const OutputError& e) {
        messages.ShowMessage(FromUtf8(e.what()));
        host.Fail(2, e.what());
    }
}

/// Output mode 2: the tables written into a workbook, which is then handed
/// to the desktop's spreadsheet application.
void ExportIntoWorkbook(const CLoadCalDiaog& dialog, const SummaryTotals& totals,
                        IMessageSink& messages)
{
    const FhjsOptions& opt = Options();
    std::optional<std::filesystem::path> file = opt.workbook;
    if (!file) {
        file =
            ChooseOutputFile(OutputFileKind::Workbook, dialog.GetFilePath(), nullptr, opt.runner);
        if (!file) {
            return;
        }
    }
    // A workbook that no application could open was still written: the
    // message about it is shown and the command succeeds.
    CQtFileOpener opener;
    ExportWorkbook(dialog.GetLoads(), dialog.GetTransformers(), totals,
                   {*file, true, opt.openWorkbook}, messages, opener, dialog.GetDocument().boards);
}

}  // namespace

void SetFhjsOptions(FhjsOptions options)
{
    Options() = std::move(options);
}

const FhjsOptions& GetFhjsOptions()
{
    return Options();
}

void FhjsCommand()
{
    CHost* host = CHost::Current();
    acutPrintf(L"\n*负荷计算*=Fhjs");
    try {
        // One Qt session across the dialog and the output's boxes.
        CQtSession session;
        const FhjsOptions& opt = Options();
        CLoadCalDiaog dialog(opt.settingsPath.value_or(CLoadCalRecentFiles::DefaultSettingsPath()));
        // The calculation book is written while the dialog stays open.
        CQtCalculationBookWriter bookWriter(opt.openWorkbook);
        dialog.SetBookWriter(&bookWriter);
        if (RunLoadCalDialog(dialog, opt.runner) != IDOK) {
            return;  // Cancel, Escape or the close box: nothing is produced
        }
        // The totals are computed from the lists as the dialog left them,
        // under the document's rule set.
        const SummaryTotals totals = ComputeTotals(dialog.GetDocument());
        CQtMessageSink messages(nullptr, opt.runner);
        if (dialog.GetOutputMode() == 1) {
            DrawIntoDrawing(dialog, totals, *host, messages);
        } else if (dialog.GetOutputMode() == 2) {
            ExportIntoWorkbook(dialog, totals, messages);
        }
    } catch (const std::exception& e) {
        host->Fail(2, e.what());
    }
}

}  // namespace loadcal
