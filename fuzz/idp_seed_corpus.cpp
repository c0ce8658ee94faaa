// Writes the seed corpus of the data-file fuzzer from real trees, built through
// the store's own API: idp_seed_corpus <folder>. The files are committed under
// fuzz/corpus/idp; rerun this after a change of the encoding.

#include <cstdio>
#include <string>

#include "document/Archive.h"
#include "document/ArchiveKeys.h"
#include "document/AtomicFile.h"
#include "document/InterDpData.h"
#include "model/Calculation.h"
#include "model/Text.h"

using namespace loadcal;

namespace {

void SetText(CInterDpData& store, const std::wstring& path, const std::wstring& text,
             int32_t flags = 0)
{
    store.SetSubValueW(path, static_cast<int16_t>(Utf16Length(text) + 1), text.c_str(), flags);
}

/// A small calculation: three circuits over two transformers, computed.
void SmallDocument(CInterDpData& store)
{
    CLoadArray loads;
    CTransformerArray transformers;
    const wchar_t* phases[] = {L"L1,N", L"L1,L2,L3,N", L"L3,N"};
    for (int i = 0; i < 3; ++i) {
        CLoadCalData c;
        c.m_strCircuitNo = L"WL" + std::to_wstring(i + 1);
        c.m_strEquipName = i == 0 ? L"照明" : i == 1 ? L"水泵 2" : L"插座";
        c.m_strPhase = phases[i];
        c.m_strVoltage = i == 1 ? L"0.38" : L"0.22";
        c.m_strRatedPower = i == 1 ? L"15" : L"2.50";
        c.m_strTransformer = i == 2 ? L"T1,T2" : L"T1";
        c.Calculate();
        loads.Add(c);
    }
    for (const wchar_t* name : {L"T1", L"T2"}) {
        CTransformerCalData t;
        t.m_strName = name;
        transformers.Add(t);
    }
    RecalculateAllTransformers(loads, transformers);
    StoreRecords(store, loads, transformers);
}

/// The same calculation with load types, quantities, classes and fire roles
/// on some circuits (the fields beyond the original thirteen).
void TypedDocument(CInterDpData& store)
{
    SmallDocument(store);
    CLoadArray loads;
    CTransformerArray transformers;
    LoadRecords(&store, loads, transformers);
    loads[0].m_strLoadType = L"照明插座";
    loads[0].m_strQuantity = L"2000";
    loads[1].m_strLoadType = L"消防水泵";
    loads[1].m_strLoadClass = L"一级";
    loads[1].m_strFire = L"消防";
    loads[2].m_strFire = L"火灾时切除";
    StoreRecords(store, loads, transformers);
}

/// The recent-files list as the settings file holds it.
void Settings(CInterDpData& store)
{
    const wchar_t* files[] = {L"C:\\工程\\一号楼.LDC", L"D:\\x\\a.LDC", L"/home/u/b c.LDC",
                              L"c:\\X\\A.ldc"};
    for (int i = 0; i < 4; ++i) {
        const std::wstring key =
            std::wstring(archive::kRecentFilesWriteGroup) + L"\\" + std::to_wstring(i + 1);
        SetText(store, key, files[i]);
    }
}

/// Names and values across Unicode, odd counts and flags, a node with many
/// children, a node without value and a nested chain.
void Unicode(CInterDpData& store)
{
    SetText(store, L"名称\\\U0001F600\\𠀀", L"  1.500 \U0001F4A1", 7);
    SetText(store, L"名称\\Ω\\x", L"", -1);
    store.SetSubValueW(L"名称\\count", -5, L"wrapped count", 0);
    store.SetSubValueW(L"名称\\none", 3, nullptr, 0);
    SetText(store, L"名称\\lone", std::wstring{L'a', 0xD800, L'b'});
    for (int i = 0; i < 20; ++i) {
        SetText(store, L"many\\" + std::to_wstring(19 - i), std::to_wstring(i));
    }
    std::wstring chain = L"deep";
    for (int i = 0; i < 40; ++i) {
        chain += L"\\d";
    }
    SetText(store, chain, L"bottom");
}

bool Write(const std::string& folder, const char* name, const CInterDpData& store)
{
    try {
        WriteFileAtomically(std::filesystem::path(folder) / name, store.Serialize());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: idp_seed_corpus <folder>\n");
        return 2;
    }
    CInterDpData archive;
    SmallDocument(archive);
    CInterDpData typed;
    TypedDocument(typed);
    CInterDpData settings;
    Settings(settings);
    CInterDpData unicode;
    Unicode(unicode);
    const CInterDpData empty;
    const bool ok =
        Write(argv[1], "archive-small.LDC", archive) &&
        Write(argv[1], "archive-typed.LDC", typed) && Write(argv[1], "settings.idp", settings) &&
        Write(argv[1], "unicode-names.idp", unicode) && Write(argv[1], "empty.idp", empty);
    return ok ? 0 : 1;
}
