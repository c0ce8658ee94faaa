// Saving and opening an archive of the largest readable size: 32,767 circuits
// (the signed 16-bit row limit) over 100 transformers, in memory, split into
// records -> tree -> bytes, records -> bytes (the file writer) and
// bytes -> tree -> records; and the whole of `loadcal convert` between two
// archive files (read, check, write, flush, rename), with the process's peak
// resident memory so far as a counter. The same document with a load type,
// quantity, class and fire role on every circuit: its archive both ways, and
// filling its factors from the shipped load-type library and checking it.
// Opening an archive of 32,767 circuits under 2,000 boards in six levels and
// 100 transformers.

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <filesystem>
#include <random>

#include "document/Archive.h"
#include "document/AtomicFile.h"
#include "document/LoadTypeFile.h"
#include "model/LoadTypes.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/TempFolder.h"

using namespace loadcal;

namespace {

struct Document : CLoadCalDocument {
    std::string bytes;
};

const Document& LargestDocument()
{
    static const Document doc = [] {
        Document d;
        std::mt19937 rng(1);
        testsupport::RandomDocumentOptions opt;
        opt.circuits = 32767;
        opt.transformers = 100;
        testsupport::MakeRandomDocument(rng, opt, d.loads, d.transformers);
        CInterDpData store;
        StoreRecords(store, d.loads, d.transformers);
        d.bytes = store.Serialize();
        return d;
    }();
    return doc;
}

void BM_StoreRecords(benchmark::State& state)
{
    const Document& doc = LargestDocument();
    CInterDpData store;
    for (auto _ : state) {
        StoreRecords(store, doc.loads, doc.transformers);
    }
}
BENCHMARK(BM_StoreRecords)->Unit(benchmark::kMillisecond);

void BM_Serialize(benchmark::State& state)
{
    const Document& doc = LargestDocument();
    CInterDpData store;
    StoreRecords(store, doc.loads, doc.transformers);
    for (auto _ : state) {
        benchmark::DoNotOptimize(store.Serialize());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(doc.bytes.size()));
}
BENCHMARK(BM_Serialize)->Unit(benchmark::kMillisecond);

void BM_EncodeArchive(benchmark::State& state)
{
    const Document& doc = LargestDocument();
    for (auto _ : state) {
        benchmark::DoNotOptimize(EncodeArchive(doc));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(doc.bytes.size()));
}
BENCHMARK(BM_EncodeArchive)->Unit(benchmark::kMillisecond);

void BM_ConvertArchiveFile(benchmark::State& state)
{
    const Document& doc = LargestDocument();
    const testsupport::TempFolder folder;
    WriteFileAtomically(folder / "in.LDC", doc.bytes);
    CLoadCalDocument read;
    for (auto _ : state) {
        LoadArchiveFile(folder.File("in.LDC"), read);
        SaveArchiveFile(folder.File("out.LDC"), read);
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_rss_MB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
    state.counters["file_MB"] = static_cast<double>(doc.bytes.size()) / (1024.0 * 1024.0);
}
BENCHMARK(BM_ConvertArchiveFile)->Unit(benchmark::kMillisecond);

void BM_Deserialize(benchmark::State& state)
{
    const Document& doc = LargestDocument();
    CInterDpData store;
    for (auto _ : state) {
        if (store.Deserialize(doc.bytes) != IdpStatus::Ok) {
            state.SkipWithError("the archive did not read back");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(doc.bytes.size()));
}
BENCHMARK(BM_Deserialize)->Unit(benchmark::kMillisecond);

void BM_LoadRecords(benchmark::State& state)
{
    const Document& doc = LargestDocument();
    CInterDpData store;
    store.Deserialize(doc.bytes);
    CLoadArray loads;
    CTransformerArray transformers;
    for (auto _ : state) {
        LoadRecords(&store, loads, transformers);
    }
    if (loads.GetSize() != 32767) {
        state.SkipWithError("not every row was read");
    }
}
BENCHMARK(BM_LoadRecords)->Unit(benchmark::kMillisecond);

// resident memory so far as a counter. The same document with a load type,
// quantity, class and fire role on every circuit: its archive both ways, and
// filling its factors from the shipped load-type library and checking it.
// Opening an archive of 32,767 circuits under 2,000 boards in six levels and
// 100 transformers.

}  // namespace

BENCHMARK_MAIN();
