// One cell edit in the calculation window with the largest document, 32,767
// circuits over 100 transformers: the controller's edit path (the circuit,
// every transformer and the six totals recalculated, the grid cells written,
// the step recorded), the grid models' change signals, and a synchronous
// repaint of the whole window (both views paint their visible rows), on
// Qt's offscreen platform. The undo of such an edit is measured the same way.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>
#include <memory>
#include <random>

#include "dialog/LoadCalDiaog.h"
#include "dialog/qt/LoadCalWindow.h"
#include "dialog/qt/QtText.h"
#include "document/Archive.h"
#include "document/InterDpData.h"
#include "model/Calculation.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

namespace {

/// The window over a controller that opened the largest document.
struct LargeWindow {
    QTemporaryDir folder;
    std::unique_ptr<CLoadCalDiaog> dialog;
    std::unique_ptr<CLoadCalWindow> window;

    LargeWindow()
    {
        CLoadArray loads;
        CTransformerArray transformers;
        std::mt19937 rng(1);
        testsupport::RandomDocumentOptions opt;
        opt.circuits = 32767;
        opt.transformers = 100;
        testsupport::MakeRandomDocument(rng, opt, loads, transformers);
        RecalculateDocument(loads, transformers);
        const std::wstring path = ToWString(folder.filePath("large.LDC"));
        CInterDpData store;
        StoreRecords(store, loads, transformers);
        store.WriteDataToIdpFile(path);
        const std::wstring settings = ToWString(folder.filePath("settings.idp"));
        CLoadCalDiaog(settings).AddRecentFile(path);
        // The start-up document is the most recent file.
        dialog = std::make_unique<CLoadCalDiaog>(settings);
        window = std::make_unique<CLoadCalWindow>(*dialog);
        window->resize(1600, 900);
        window->show();
        QApplication::processEvents();
    }

    /// Rated power of circuit 10 (a visible row), alternating texts.
    void Edit(int k) { dialog->OnEndEdit(GridId::Load, 10, 5, k % 2 ? L"12.5" : L"7"); }
    void Repaint()
    {
        window->repaint();
        QApplication::processEvents();
    }
};

LargeWindow& Window()
{
    static LargeWindow w;
    return w;
}

void BM_CellEdit(benchmark::State& state)
{
    LargeWindow& w = Window();
    int k = 0;
    for (auto _ : state) {
        w.Edit(++k);
        w.Repaint();
    }
    if (w.dialog->GetLoads().GetSize() != 32767) {
        state.SkipWithError("the document did not open");
    }
}
BENCHMARK(BM_CellEdit)->Unit(benchmark::kMillisecond);

void BM_UndoOfACellEdit(benchmark::State& state)
{
    LargeWindow& w = Window();
    int k = 0;
    for (auto _ : state) {
        state.PauseTiming();
        w.Edit(++k);
        w.Repaint();
        state.ResumeTiming();
        w.dialog->OnEditUndo();
        w.Repaint();
    }
}
BENCHMARK(BM_UndoOfACellEdit)->Unit(benchmark::kMillisecond);

/// The controller's path alone, without models or views: the edit of a
/// dialog that no window shows.
void BM_CellEditControllerOnly(benchmark::State& state)
{
    LargeWindow& w = Window();
    CLoadCalDiaog& dialog = *w.dialog;
    w.window.reset();
    int k = 0;
    for (auto _ : state) {
        dialog.OnEndEdit(GridId::Load, 10, 5, ++k % 2 ? L"12.5" : L"7");
    }
}
BENCHMARK(BM_CellEditControllerOnly)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
