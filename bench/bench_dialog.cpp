// One cell edit in the calculation window with the largest document, 32,767
// circuits over 100 transformers: the controller's edit path (the circuit,
// every transformer and the six totals recalculated, the grid cells written,
// the step recorded), the grid models' change signals, and a synchronous
// repaint of the whole window (both views paint their visible rows), on
// Qt's offscreen platform. The undo of such an edit is measured the same way.
// A spreadsheet's 10,000 lines pasted on the entry row of the window (target:
// at most 1 s), from the clipboard through Ctrl+V to the repainted window.
// A load type chosen in a cell of the largest document.
// The same cell edit with 32,767 circuits under 2,000 distribution boards in
// six levels and 100 transformers under the GB 51348-2019 rules (target: at
// most 16 ms): the circuit, the chain of boards above it, the transformers
// they feed and the totals recalculated, the three grids repainted.
// A click on a node of the supply tree beside the grids in that document
// (target: about 100 ms): the load grid filled with the node's circuits.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QShortcut>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <memory>
#include <random>

#include "dialog/LoadCalDiaog.h"
#include "dialog/qt/GridModel.h"
#include "dialog/qt/GridView.h"
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

/// The large windows live until main ends them, before the application.
std::unique_ptr<LargeWindow> g_window;

LargeWindow& Window()
{
    if (!g_window) {
        g_window = std::make_unique<LargeWindow>();
    }
    return *g_window;
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

/// A load type chosen for circuit 10, the lift and mall lighting in turn: Kx and
/// cos φ filled from the library, the circuit, every transformer and the
/// totals recalculated, the circuit's marks checked again, the window
/// repainted.
void BM_ChooseLoadType(benchmark::State& state)
{
    LargeWindow& w = Window();
    const int column = GridColumnOfField(GridId::Load, CLoadCalData::kLoadType);
    int k = 0;
    for (auto _ : state) {
        w.dialog->OnEndEdit(GridId::Load, 10, column, ++k % 2 ? L"电梯" : L"商场照明");
        w.Repaint();
    }
    if (w.dialog->GetLoads()[9].m_strDemandFactor != (k % 2 ? L"0.2" : L"0.8")) {
        state.SkipWithError("the type's Kx was not taken");
    }
}
BENCHMARK(BM_ChooseLoadType)->Unit(benchmark::kMillisecond);

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

/// The window over a controller that opened the largest board document.
struct LargeBoardWindow {
    QTemporaryDir folder;
    std::unique_ptr<CLoadCalDiaog> dialog;
    std::unique_ptr<CLoadCalWindow> window;
    int row = 0;  ///< a visible circuit row under a board of the sixth level

    LargeBoardWindow()
    {
        CLoadCalDocument doc;
        testsupport::MakeLargestBoardDocument(doc);
        doc.rules = CalcRules::GB51348_2019;
        // The first circuits of the list are the first rows of the grid: one
        // of them is moved under a board at the bottom of the tree.
        doc.loads[9].m_strTransformer = doc.boards[doc.boards.GetSize() - 1].m_strName;
        RecalculateDocument(doc);
        row = 10;
        const std::wstring path = ToWString(folder.filePath("boards.LDC"));
        CInterDpData store;
        StoreDocument(store, doc);
        store.WriteDataToIdpFile(path);
        const std::wstring settings = ToWString(folder.filePath("settings.idp"));
        CLoadCalDiaog(settings).AddRecentFile(path);
        dialog = std::make_unique<CLoadCalDiaog>(settings);
        window = std::make_unique<CLoadCalWindow>(*dialog);
        window->resize(1600, 900);
        window->show();
        QApplication::processEvents();
    }

    void Repaint()
    {
        window->repaint();
        QApplication::processEvents();
    }
};

std::unique_ptr<LargeBoardWindow> g_boardWindow;

LargeBoardWindow& BoardWindow()
{
    if (!g_boardWindow) {
        g_boardWindow = std::make_unique<LargeBoardWindow>();
    }
    return *g_boardWindow;
}

void BM_CellEditUnderBoards(benchmark::State& state)
{
    LargeBoardWindow& w = BoardWindow();
    int k = 0;
    for (auto _ : state) {
        w.dialog->OnEndEdit(GridId::Load, w.row, 5, ++k % 2 ? L"12.5" : L"7");
        w.Repaint();
    }
    if (w.dialog->GetBoards().GetSize() != 2000 || w.dialog->HasStaleFigures()) {
        state.SkipWithError("the document did not open, or its figures went wrong");
    }
}
BENCHMARK(BM_CellEditUnderBoards)->Unit(benchmark::kMillisecond);

void BM_UndoOfACellEditUnderBoards(benchmark::State& state)
{
    LargeBoardWindow& w = BoardWindow();
    int k = 0;
    for (auto _ : state) {
        state.PauseTiming();
        w.dialog->OnEndEdit(GridId::Load, w.row, 5, ++k % 2 ? L"12.5" : L"7");
        w.Repaint();
        state.ResumeTiming();
        w.dialog->OnEditUndo();
        w.Repaint();
    }
}
BENCHMARK(BM_UndoOfACellEditUnderBoards)->Unit(benchmark::kMillisecond);

/// K∑p of the last board (the bottom of the tree): the board, those above it
/// and their transformers.
void BM_BoardFactorEdit(benchmark::State& state)
{
    LargeBoardWindow& w = BoardWindow();
    const int row = w.dialog->GetBoards().GetSize();
    int k = 0;
    for (auto _ : state) {
        w.dialog->OnEndEdit(GridId::Board, row, 4, ++k % 2 ? L"0.85" : L"0.9");
        w.Repaint();
    }
}
BENCHMARK(BM_BoardFactorEdit)->Unit(benchmark::kMillisecond);

/// A circuit's owner chosen in the list, between two boards of the bottom
/// level: the index is built again and every board and transformer
/// recalculated.
void BM_OwnerChoiceUnderBoards(benchmark::State& state)
{
    LargeBoardWindow& w = BoardWindow();
    const CBoardArray& boards = w.dialog->GetBoards();
    const std::wstring names[2] = {boards[boards.GetSize() - 1].m_strName,
                                   boards[boards.GetSize() - 2].m_strName};
    w.dialog->GetGrid(GridId::Load).SetFocusCell(w.row, 13);
    int k = 0;
    for (auto _ : state) {
        w.dialog->OnChoiceReport({names[++k % 2]});
        w.Repaint();
    }
}
BENCHMARK(BM_OwnerChoiceUnderBoards)->Unit(benchmark::kMillisecond);

/// A click on a node of the supply tree beside the grids, as the window
/// takes it (the tree's current item changes): the load grid filled with the
/// circuits the node feeds and the window repainted. Two nodes in turn:
/// two boards of the bottom level (a few circuits each), two transformers;
/// or 全部 (all 32,767 circuits) after a board, the click on 全部 alone timed.
/// Target: about 100 ms a click.
void ClickInTurn(benchmark::State& state, SupplyNodeKind kind)
{
    LargeBoardWindow& w = BoardWindow();
    const CLoadCalDocument& doc = w.dialog->GetDocument();
    const CSupplyTree& tree = w.dialog->GetSupplyTree();
    const CBoardArray& boards = doc.boards;
    int nodes[2] = {-1, -1};
    switch (kind) {
        case SupplyNodeKind::Transformer:
            nodes[0] = tree.Find({kind, doc.transformers[0].m_strName});
            nodes[1] = tree.Find({kind, doc.transformers[1].m_strName});
            break;
        case SupplyNodeKind::All:
            nodes[0] = 0;
            nodes[1] = tree.Find({SupplyNodeKind::Board, boards[boards.GetSize() - 1].m_strName});
            break;
        default:
            nodes[0] = tree.Find({kind, boards[boards.GetSize() - 1].m_strName});
            nodes[1] = tree.Find({kind, boards[boards.GetSize() - 2].m_strName});
            break;
    }
    if (nodes[0] < 0 || nodes[1] < 0) {
        state.SkipWithError("no such node in the tree");
        return;
    }
    QTreeWidget& view = w.window->SupplyTree();
    size_t shown = 0;
    int k = 0;
    for (auto _ : state) {
        if (kind == SupplyNodeKind::All) {
            // Only the click on 全部 is timed; the board's before it is not.
            state.PauseTiming();
            view.setCurrentItem(w.window->SupplyItem(nodes[1]));
            w.Repaint();
            state.ResumeTiming();
            view.setCurrentItem(w.window->SupplyItem(nodes[0]));
        } else {
            view.setCurrentItem(w.window->SupplyItem(nodes[++k % 2]));
        }
        w.Repaint();
        shown += static_cast<size_t>(w.dialog->ShownLoadCount());
    }
    state.counters["circuits shown"] =
        benchmark::Counter(static_cast<double>(shown), benchmark::Counter::kAvgIterations);
    view.setCurrentItem(w.window->SupplyItem(0));
    w.Repaint();
}

void BM_TreeClickBoard(benchmark::State& state)
{
    ClickInTurn(state, SupplyNodeKind::Board);
}
BENCHMARK(BM_TreeClickBoard)->Unit(benchmark::kMillisecond);

void BM_TreeClickTransformer(benchmark::State& state)
{
    ClickInTurn(state, SupplyNodeKind::Transformer);
}
BENCHMARK(BM_TreeClickTransformer)->Unit(benchmark::kMillisecond);

void BM_TreeClickAll(benchmark::State& state)
{
    ClickInTurn(state, SupplyNodeKind::All);
}
BENCHMARK(BM_TreeClickAll)->Unit(benchmark::kMillisecond);

/// The cell edit of BM_CellEditUnderBoards while the load grid shows only
/// the circuits of that circuit's board.
void BM_CellEditWhileFiltered(benchmark::State& state)
{
    LargeBoardWindow& w = BoardWindow();
    const CLoadCalDocument& doc = w.dialog->GetDocument();
    w.dialog->ShowSupplyFilter({SupplyNodeKind::Board, doc.loads[w.row - 1].m_strTransformer});
    const int row = w.dialog->LoadRowOfRecord(w.row - 1);
    int k = 0;
    for (auto _ : state) {
        w.dialog->OnEndEdit(GridId::Load, row, 5, ++k % 2 ? L"12.5" : L"7");
        w.Repaint();
    }
    if (row < 1 || w.dialog->HasStaleFigures()) {
        state.SkipWithError("the circuit was not shown, or its figures went wrong");
    }
    w.dialog->ShowSupplyFilter({});
    w.Repaint();
}
BENCHMARK(BM_CellEditWhileFiltered)->Unit(benchmark::kMillisecond);

/// The window over an untitled document with one transformer, as a user
/// starts a new load list.
struct EmptyWindow {
    QTemporaryDir folder;
    std::unique_ptr<CLoadCalDiaog> dialog;
    std::unique_ptr<CLoadCalWindow> window;

    EmptyWindow()
    {
        dialog = std::make_unique<CLoadCalDiaog>(ToWString(folder.filePath("settings.idp")));
        window = std::make_unique<CLoadCalWindow>(*dialog);
        window->resize(1600, 900);
        window->show();
        QApplication::processEvents();
        dialog->OnEndEdit(GridId::Transformer, 1, 1, L"T1");
    }

    /// The Ctrl+V shortcut of the load grid, as the key fires it.
    QShortcut* PasteKey() const
    {
        for (QShortcut* shortcut : window->View(GridId::Load).findChildren<QShortcut*>()) {
            if (shortcut->key() == QKeySequence(Qt::CTRL | Qt::Key_V)) {
                return shortcut;
            }
        }
        return nullptr;
    }
};

/// A load list as a spreadsheet copies it: circuit number, equipment number,
/// name, phase, rated power, demand factor and power factor.
QString LoadListText(int lines)
{
    std::mt19937 rng(3);
    const char* phases[] = {"L1,N", "L2,N", "L3,N", "L1,L2,L3,N"};
    QString text;
    for (int i = 0; i < lines; ++i) {
        text += QStringLiteral("W%1\tAL-%2\t照明插座%1\t%3\t%4\t0.%5\t0.%6\r\n")
                    .arg(i + 1)
                    .arg(i % 40 + 1)
                    .arg(QString::fromLatin1(phases[rng() % 4]))
                    .arg(1 + static_cast<int>(rng() % 300) / 10.0)
                    .arg(5 + static_cast<int>(rng() % 5))
                    .arg(75 + static_cast<int>(rng() % 20));
    }
    return text;
}

void BM_PasteLinesInTheWindow(benchmark::State& state)
{
    EmptyWindow w;
    QShortcut* paste = w.PasteKey();
    if (!paste) {
        state.SkipWithError("no Ctrl+V on the load grid");
        return;
    }
    const int lines = static_cast<int>(state.range(0));
    QGuiApplication::clipboard()->setText(LoadListText(lines));
    CGridView& view = w.window->View(GridId::Load);
    for (auto _ : state) {
        state.PauseTiming();
        // The entry row's first cell of the empty list.
        view.setFocus();
        view.setCurrentIndex(view.GridModel().IndexOfCell(1, 1));
        QApplication::processEvents();
        state.ResumeTiming();
        emit paste->activated();
        w.window->repaint();
        QApplication::processEvents();
        state.PauseTiming();
        if (w.dialog->GetLoads().GetSize() != lines) {
            state.SkipWithError("the paste did not make a circuit per line");
            return;
        }
        w.dialog->OnEditUndo();
        QApplication::processEvents();
        state.ResumeTiming();
    }
    state.counters["lines"] = lines;
}
BENCHMARK(BM_PasteLinesInTheWindow)
    ->Arg(2000)
    ->Arg(10000)
    ->Arg(30000)
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    // The windows go while the application they belong to is still there.
    g_window.reset();
    g_boardWindow.reset();
    return 0;
}
