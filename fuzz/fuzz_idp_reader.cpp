// libFuzzer target for the data-file reader.
//
// Besides "never crash", it checks the reader's promises on every input:
// a file read as Ok encodes back to exactly the same bytes; any other status
// comes with a message; and whatever tree was read (whole or partial) encodes
// to a file that reads back as Ok and encodes identically; the records the
// archive reader takes from that tree come back unchanged after a save and a
// reload, and the archive writer that skips the tree writes the same bytes.
//
// Random bytes almost never carry a matching checksum, so each input is also
// tried with its payload length and checksum made to fit: that lets the
// fuzzer reach the Ok path with structures no writer produced.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "document/Archive.h"
#include "document/InterDpData.h"

namespace {

[[noreturn]] void Broken(const char* promise, const loadcal::CInterDpData& store)
{
    std::fprintf(stderr, "reader promise broken: %s (last error: %s)\n", promise,
                 store.LastError().c_str());
    std::abort();
}

uint32_t Crc32(const std::string& bytes, size_t size)
{
    uint32_t crc = 0xFFFFFFFFU;
    for (size_t i = 0; i < size; ++i) {
        crc ^= static_cast<unsigned char>(bytes[i]);
        for (int k = 0; k < 8; ++k) {
            crc = (crc >> 1) ^ (0xEDB88320U & (0U - (crc & 1U)));
        }
    }
    return ~crc;
}

void PutU32(std::string& bytes, size_t at, uint32_t v)
{
    for (size_t i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<char>((v >> (8 * i)) & 0xFFU);
    }
}

void Check(const std::string& bytes)
{
    loadcal::CInterDpData store;
    const loadcal::IdpStatus status = store.Deserialize(bytes);
    const std::string encoded = store.Serialize();
    if (status == loadcal::IdpStatus::Ok && encoded != bytes) {
        Broken("a file read as Ok encodes to other bytes", store);
    }
    if (status != loadcal::IdpStatus::Ok && store.LastError().empty()) {
        Broken("a failed read without a message", store);
    }
    loadcal::CInterDpData again;
    if (again.Deserialize(encoded) != loadcal::IdpStatus::Ok || again.Serialize() != encoded) {
        Broken("the tree that was read does not encode to a valid file", again);
    }
    // Records read from any tree survive a save and a reload unchanged.
    loadcal::CLoadArray loads;
    loadcal::CTransformerArray transformers;
    loadcal::LoadRecords(&store, loads, transformers);
    loadcal::StoreRecords(again, loads, transformers);
    if (loadcal::EncodeArchive(loadcal::CLoadCalDocument(loads, transformers)) !=
        again.Serialize()) {
        Broken("the archive writer and the tree disagree on the bytes of the records", again);
    }
    loadcal::CLoadArray loadsBack;
    loadcal::CTransformerArray transformersBack;
    loadcal::LoadRecords(&again, loadsBack, transformersBack);
    if (!(loadsBack == loads) || !(transformersBack == transformers)) {
        Broken("records read from a tree change on a save and reload", store);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Check(bytes);
    constexpr size_t kHeaderAndChecksum = 20;
    if (size >= kHeaderAndChecksum) {
        std::string fitted = bytes;
        PutU32(fitted, 12, static_cast<uint32_t>(size - kHeaderAndChecksum));
        PutU32(fitted, size - 4, Crc32(fitted, size - 4));
        Check(fitted);
    }
    return 0;
}
