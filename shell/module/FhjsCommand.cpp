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
        // The book, the drawing and the workbook are written while the
        // dialog stays open.
        CQtCalculationBookWriter bookWriter(opt.openWorkbook);
        dialog.SetBookWriter(&bookWriter);
        CQtOutputWriter outputWriter(
            {opt.drawing, opt.workbook, opt.base, opt.scale, opt.openWorkbook, opt.runner});
        dialog.SetOutputWriter(&outputWriter);
        RunLoadCalDialog(dialog, opt.runner);
    } catch (const std::exception& e) {
        host->Fail(2, e.what());
    }
}

}  // namespace loadcal
