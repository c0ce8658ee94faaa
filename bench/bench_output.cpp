// Writing the workbook and the drawing of a large calculation: 10,000
// circuits over 100 transformers.
//
//   bench_output                      Google Benchmark runs
//   bench_output --export DIR [R]     writes DIR/document.json (the table
//                                     texts), DIR/loadcal.xlsx and
//                                     DIR/loadcal.dxf, each the best of R runs
//                                     (default 3), and prints the times as JSON;
//                                     bench/bench_output.py compares them with
//                                     openpyxl and ezdxf writing the same content.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <random>

#include "model/Calculation.h"
#include "model/Columns.h"
#include "model/Text.h"
#include "output/Drawing.h"
#include "output/DrawingExport.h"
#include "output/DrawingRun.h"
#include "output/DxfFile.h"
#include "output/ExcelExport.h"
#include "output/PointSource.h"
#include "output/TableLayout.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

namespace {

/// The benchmark's calculation: records and their totals.
struct Document {
    CLoadArray loads;
    CTransformerArray transformers;
    SummaryTotals totals;
};

const Document& LargeDocument()
{
    static const Document doc = [] {
        Document d;
        std::mt19937 rng(7);
        testsupport::RandomDocumentOptions opt;
        opt.circuits = 10000;
        opt.transformers = 100;
        opt.quirkShare = 0.0;
        testsupport::MakeRandomDocument(rng, opt, d.loads, d.transformers);
        for (int i = 0; i < d.loads.GetSize(); ++i) {
            d.loads[i].m_strEquipNo =
                L"AL-" + std::to_wstring(i / 100) + L"-" + std::to_wstring(i % 100);
        }
        d.totals = RecalculateDocument(d.loads, d.transformers);
        return d;
    }();
    return doc;
}

std::filesystem::path Scratch(const char* name)
{
    return std::filesystem::temp_directory_path() / name;
}

void BM_WriteWorkbook(benchmark::State& state)
{
    const Document& d = LargeDocument();
    const auto path = Scratch("loadcal-bench.xlsx");
    for (auto _ : state) {
        WriteWorkbook(path, d.loads, d.transformers, d.totals);
    }
    std::filesystem::remove(path);
}
BENCHMARK(BM_WriteWorkbook)->Unit(benchmark::kMillisecond);

void BM_WriteDrawing(benchmark::State& state)
{
    const Document& d = LargeDocument();
    const auto path = Scratch("loadcal-bench.dxf");
    CFixedPointSource points(CadPoint{0, 0, 0});
    for (auto _ : state) {
        ExportDrawing(d.loads, d.transformers, d.totals, {path, 1.0, true}, points);
    }
    std::filesystem::remove(path);
}
BENCHMARK(BM_WriteDrawing)->Unit(benchmark::kMillisecond);

void BM_DrawingRunInMemory(benchmark::State& state)
{
    const Document& d = LargeDocument();
    CFixedPointSource points(CadPoint{0, 0, 0});
    for (auto _ : state) {
        CDrawing drawing(1.0, &points);
        DrawCalculationTable(drawing, d.loads, d.transformers, d.totals);
        benchmark::DoNotOptimize(drawing.Texts().size());
    }
}
BENCHMARK(BM_DrawingRunInMemory)->Unit(benchmark::kMillisecond);

void BM_EncodeDxf(benchmark::State& state)
{
    const Document& d = LargeDocument();
    CFixedPointSource points(CadPoint{0, 0, 0});
    CDrawing drawing(1.0, &points);
    DrawCalculationTable(drawing, d.loads, d.transformers, d.totals);
    for (auto _ : state) {
        benchmark::DoNotOptimize(DrawingToDxf(drawing).size());
    }
}
BENCHMARK(BM_EncodeDxf)->Unit(benchmark::kMillisecond);

template <class F>
double BestOf(int repeat, F&& f)
{
    double best = 1e100;
    for (int i = 0; i < repeat; ++i) {
        const auto start = std::chrono::steady_clock::now();
        f();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count());
    }
    return best;
}

/// The texts of both tables in display order, as bench_output.py needs them.
nlohmann::json DocumentJson(const Document& d)
{
    nlohmann::json loads = nlohmann::json::array();
    for (const CLoadCalData& c : d.loads) {
        nlohmann::json row = nlohmann::json::array();
        for (const TableColumn& col : kLoadColumns) {
            row.push_back(ToUtf8(c.FieldAt(col.field)));
        }
        loads.push_back(std::move(row));
    }
    nlohmann::json transformers = nlohmann::json::array();
    for (const CTransformerCalData& t : d.transformers) {
        nlohmann::json row = nlohmann::json::array();
        for (const TableColumn& col : kTransformerColumns) {
            row.push_back(ToUtf8(t.FieldAt(col.field)));
        }
        transformers.push_back(std::move(row));
    }
    nlohmann::json total = nlohmann::json::array();
    for (const auto& cell : TotalRowCells(d.totals)) {
        total.push_back(cell ? nlohmann::json(ToUtf8(*cell)) : nlohmann::json(nullptr));
    }
    nlohmann::json loadTitles = nlohmann::json::array();
    for (const TableColumn& col : kLoadColumns) {
        loadTitles.push_back(ToUtf8(col.title));
    }
    nlohmann::json transformerTitles = nlohmann::json::array();
    for (const TableColumn& col : kTransformerColumns) {
        transformerTitles.push_back(ToUtf8(col.title));
    }
    return {{"load_titles", loadTitles},
            {"transformer_titles", transformerTitles},
            {"loads", loads},
            {"total_row", total},
            {"transformers", transformers}};
}

int Export(const std::filesystem::path& folder, int repeat)
{
    const Document& d = LargeDocument();
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "document.json") << DocumentJson(d).dump();
    const double xlsx = BestOf(
        repeat, [&] { WriteWorkbook(folder / "loadcal.xlsx", d.loads, d.transformers, d.totals); });
    CFixedPointSource points(CadPoint{0, 0, 0});
    const double dxf = BestOf(repeat, [&] {
        ExportDrawing(d.loads, d.transformers, d.totals, {folder / "loadcal.dxf", 1.0, true},
                      points);
    });
    std::cout << nlohmann::json{{"circuits", d.loads.GetSize()},
                                {"transformers", d.transformers.GetSize()},
                                {"xlsx_seconds", xlsx},
                                {"dxf_seconds", dxf}}
                     .dump()
              << '\n';
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc >= 3 && std::string(argv[1]) == "--export") {
        return Export(argv[2], argc >= 4 ? std::max(1, std::atoi(argv[3])) : 3);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
