// Records <-> archive tree: the key tree, the crosswise keys, reading defaults
// and rows read by position.

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <vector>

#include "document/Archive.h"
#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "model/Text.h"
#include "tests/document/IdpTestSupport.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

namespace {

// The keys as the archives in use spell them, written out here on purpose.
const wchar_t* const kLoadKeys[] = {
    L"回路编号", L"设备编号", L"设备名称", L"相位",     L"额定容量", L"需要系数",  L"功率因数",
    L"计算有功", L"计算无功", L"视在功率", L"计算电流", L"工作电压", L"归属变压器"};
const wchar_t* const kTransformerKeys[] = {
    L"变压器名称", L"额定容量",     L"实际负载率",   L"负荷率",         L"同时系数Kp",
    L"同时系数Kq", L"计算有功",     L"计算容量",     L"计算无功",       L"视在功率",
    L"计算电流",   L"有功补偿系数", L"无功补偿系数", L"补偿前功率因数", L"补偿后功率因数",
    L"补偿容量",   L"实际补偿容量"};

void Set(CInterDpData& store, const std::wstring& path, const std::wstring& text)
{
    store.SetSubValueW(path, static_cast<int16_t>(Utf16Length(text) + 1), text.c_str(), 0);
}

}  // namespace

TEST(Archive, RandomDocumentRoundTripsTextForText)
{
    std::mt19937 rng(7);
    CLoadArray loads;
    CTransformerArray transformers;
    testsupport::MakeRandomDocument(rng, {300, 6, 0.3}, loads, transformers);
    loads[0].m_strEquipName = L"  风机 \U0001F32C 1.500 ";
    loads[1].m_strRatedPower = L"12kW";
    loads[2].m_strCircuitNo = L"";
    transformers[0].m_strCalcCapacity = L"spare 0.10";
    transformers[1].m_strName = L"";  // an empty name is still a name key
    for (auto& c : loads) {
        c.Calculate();
    }
    CInterDpData store;
    StoreRecords(store, loads, transformers);
    CInterDpData reread;
    ASSERT_EQ(reread.Deserialize(store.Serialize()), IdpStatus::Ok);
    CLoadArray loadsBack;
    CTransformerArray transformersBack;
    loadsBack.Add(CLoadCalData());  // loading starts from empty arrays
    LoadRecords(&reread, loadsBack, transformersBack);
    EXPECT_EQ(loadsBack, loads);
    EXPECT_EQ(transformersBack, transformers);

    // The file writer that skips the tree writes the same bytes, for either table empty too,
    // and for texts the tree stores in their UTF-16 form.
    loads[3].m_strEquipName = std::wstring(L"\0\xD800\x110000", 3);
    EXPECT_EQ(EncodeArchive(CLoadCalDocument(loads, transformers)),
              (StoreRecords(store, loads, transformers), store.Serialize()));
    EXPECT_EQ(EncodeArchive(CLoadCalDocument({}, transformers)),
              (StoreRecords(store, {}, transformers), store.Serialize()));
    EXPECT_EQ(EncodeArchive(CLoadCalDocument(loads, {})),
              (StoreRecords(store, loads, {}), store.Serialize()));
    EXPECT_EQ(EncodeArchive(CLoadCalDocument({}, {})),
              (StoreRecords(store, {}, {}), store.Serialize()));
}

TEST(Archive, KeyTreeFollowsRecordOrderWithCrosswiseTransformerKeys)
{
    CLoadArray loads;
    CTransformerArray transformers;
    CLoadCalData c;
    for (int f = 0; f < CLoadCalData::kFieldCount; ++f) {
        c.FieldAt(f) = L"L" + std::to_wstring(f);
    }
    c.m_strEquipName = L"\U00020000";
    loads.Add(c);
    CTransformerCalData t;
    t.m_strCalcCapacity = L"spare";
    t.m_strCalcP = L"123.4";
    transformers.Add(t);
    CInterDpData store;
    store.SetSubValueW(L"负荷信息\\7\\stale", 1, L"", 0);
    StoreRecords(store, loads, transformers);

    const CInterDpNode* row = store.GetSubValueFromPathW(0, L"负荷信息\\0");
    ASSERT_NE(row, nullptr);
    ASSERT_EQ(row->ChildrenSize(), 13u);
    for (size_t f = 0; f < 13; ++f) {
        const CInterDpNode& value = row->ChildAt(f);
        EXPECT_EQ(value.Name(), kLoadKeys[f]);
        EXPECT_EQ(value.ValueText(), c.FieldAt(static_cast<int>(f)));
        EXPECT_EQ(value.ValueCount(), static_cast<int16_t>(Utf16Length(value.ValueText()) + 1));
        EXPECT_EQ(value.Flags(), 0);
    }
    EXPECT_EQ(row->GetSubValueFromPathW(0, L"设备名称")->ValueCount(), 3);
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"负荷信息")->ChildCount(), 1);  // cleared first

    const CInterDpNode* trow = store.GetSubValueFromPathW(0, L"变压器信息\\0");
    ASSERT_EQ(trow->ChildrenSize(), 17u);
    for (size_t f = 0; f < 17; ++f) {
        EXPECT_EQ(trow->ChildAt(f).Name(), kTransformerKeys[f]);
    }
    EXPECT_EQ(trow->GetSubValueFromPathW(0, L"计算有功")->ValueText(), L"spare");
    EXPECT_EQ(trow->GetSubValueFromPathW(0, L"计算容量")->ValueText(), L"123.4");
    EXPECT_EQ(trow->GetSubValueFromPathW(0, L"负荷率")->ValueText(), L"0.7");
}

TEST(Archive, EmptyTablesHaveNoNode)
{
    CLoadArray loads;
    CTransformerArray transformers;
    transformers.Add(CTransformerCalData());
    CInterDpData store;
    StoreRecords(store, loads, transformers);
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"负荷信息"), nullptr);
    EXPECT_EQ(store.Root().ChildCount(), 1);
    StoreRecords(store, loads, CTransformerArray());
    EXPECT_EQ(store.Root().ChildCount(), 0);
    LoadRecords(&store, loads, transformers);
    EXPECT_EQ(loads.GetSize() + transformers.GetSize(), 0);
}

TEST(Archive, MissingValuesTakeTheReadingDefaults)
{
    CInterDpData store;
    store.SetSubValueW(L"负荷信息\\0", 0, nullptr, 0);  // a row node with no values at all
    Set(store, L"负荷信息\\1\\设备名称", L"灯");
    Set(store, L"变压器信息\\0\\变压器名称", L"T1");
    CLoadArray loads;
    CTransformerArray transformers;
    LoadRecords(&store, loads, transformers);
    ASSERT_EQ(loads.GetSize(), 2);
    const std::wstring expected[] = {L"0", L"", L"", L"L1,N", L"",     L"1.0", L"0.8",
                                     L"",  L"", L"", L"",     L"0.38", L""};
    for (int f = 0; f < CLoadCalData::kFieldCount; ++f) {
        EXPECT_EQ(loads[0].FieldAt(f), expected[f]) << f;
    }
    EXPECT_EQ(loads[1].m_strCircuitNo, L"1");
    EXPECT_EQ(loads[1].m_strEquipName, L"灯");
    CTransformerCalData defaults;
    defaults.m_strName = L"T1";
    ASSERT_EQ(transformers.GetSize(), 1);
    EXPECT_EQ(transformers[0], defaults);
}

TEST(Archive, TransformerWithoutNameIsSkippedAndLaterRowsMoveUp)
{
    CInterDpData store;
    Set(store, L"变压器信息\\0\\变压器名称", L"T1");
    Set(store, L"变压器信息\\1\\负荷率", L"0.5");  // no name key
    Set(store, L"变压器信息\\2\\变压器名称", L"T3");
    Set(store, L"变压器信息\\2\\计算容量", L"88");
    CLoadArray loads;
    CTransformerArray transformers;
    LoadRecords(&store, loads, transformers);
    ASSERT_EQ(transformers.GetSize(), 2);
    EXPECT_EQ(transformers[0].m_strName, L"T1");
    EXPECT_EQ(transformers[1].m_strName, L"T3");
    EXPECT_EQ(transformers[1].m_strCalcP, L"88");
    EXPECT_EQ(transformers[1].m_strLoadRate, L"0.7");
}

TEST(Archive, RowsAreReadByPositionNotByName)
{
    CInterDpData store;
    for (const wchar_t* row : {L"1", L"2", L"5"}) {
        Set(store, L"负荷信息\\" + std::wstring(row) + L"\\设备编号", std::wstring(L"E") + row);
    }
    Set(store, L"变压器信息\\1\\变压器名称", L"T1");
    Set(store, L"变压器信息\\3\\变压器名称", L"T3");
    CLoadArray loads;
    CTransformerArray transformers;
    LoadRecords(&store, loads, transformers);
    // Three children: "0" (absent: defaults), "1", "2"; "5" is beyond the count.
    ASSERT_EQ(loads.GetSize(), 3);
    EXPECT_EQ(loads[0].m_strCircuitNo, L"0");
    EXPECT_EQ(loads[0].m_strEquipNo, L"");
    EXPECT_EQ(loads[1].m_strEquipNo, L"E1");
    EXPECT_EQ(loads[2].m_strEquipNo, L"E2");
    // Two children: "0" (absent: skipped), "1"; "3" is beyond the count.
    ASSERT_EQ(transformers.GetSize(), 1);
    EXPECT_EQ(transformers[0].m_strName, L"T1");
}

TEST(Archive, AChildCountAbove32767WrapsAsASigned16BitCountAndReadsNoRows)
{
    CInterDpData store;
    for (int i = 0; i < 32767; ++i) {
        store.SetSubValueW(L"负荷信息\\" + std::to_wstring(i), 0, nullptr, 0);
    }
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"负荷信息")->ChildCount(), 32767);
    store.SetSubValueW(L"负荷信息\\32767", 0, nullptr, 0);
    Set(store, L"变压器信息\\0\\变压器名称", L"T1");
    CInterDpData reread;
    ASSERT_EQ(reread.Deserialize(store.Serialize()), IdpStatus::Ok);
    const CInterDpNode* table = reread.GetSubValueFromPathW(0, L"负荷信息");
    EXPECT_EQ(table->ChildCount(), -32768);
    EXPECT_EQ(table->ChildrenSize(), 32768u);
    EXPECT_NE(table->GetSubValueFromPathW(0, L"32767"), nullptr);
    CLoadArray loads;
    CTransformerArray transformers;
    LoadRecords(&reread, loads, transformers);
    EXPECT_EQ(loads.GetSize(), 0);
    EXPECT_EQ(transformers.GetSize(), 1);
    LoadRecords(nullptr, loads, transformers);
    EXPECT_EQ(transformers.GetSize(), 0);
}

TEST(Archive, FileConveniencesReportProblemsAndKeepTheArrays)
{
    testsupport::TempFolder folder;
    std::mt19937 rng(3);
    CLoadArray loads;
    CTransformerArray transformers;
    testsupport::MakeRandomDocument(rng, {40, 3, 0.2}, loads, transformers);
    const std::wstring file = folder.File("工程.LDC");
    SaveArchiveFile(file, CLoadCalDocument(loads, transformers));
    CLoadCalDocument loadsBackDoc;
    LoadArchiveFile(file, loadsBackDoc);
    CLoadArray& loadsBack = loadsBackDoc.loads;
    CTransformerArray& transformersBack = loadsBackDoc.transformers;
    EXPECT_EQ(loadsBack, loads);
    EXPECT_EQ(transformersBack, transformers);

    const auto message = [](auto&& call) {
        try {
            call();
        } catch (const DocumentError& e) {
            return std::string(e.what());
        }
        return std::string("no error");
    };
    const std::string missing =
        message([&] { LoadArchiveFile(folder.File("x.LDC"), loadsBackDoc); });
    EXPECT_NE(missing.find("x.LDC\": no such file"), std::string::npos) << missing;
    std::string bytes = testsupport::ReadBytes(ToFsPath(file));
    bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 0x20);
    testsupport::WriteBytes(ToFsPath(file), bytes);
    const std::string damaged = message([&] { LoadArchiveFile(file, loadsBackDoc); });
    EXPECT_NE(damaged.find("工程.LDC\": damaged"), std::string::npos) << damaged;
    EXPECT_EQ(loadsBack, loads);
    const std::string unwritable = message(
        [&] { SaveArchiveFile(folder.File("no/a.LDC"), CLoadCalDocument(loads, transformers)); });
    EXPECT_NE(unwritable.find("no/a.LDC"), std::string::npos) << unwritable;
}

TEST(Archive, TextsWithNulCharactersComeBackWhole)
{
    testsupport::TempFolder folder;
    CLoadArray loads;
    CTransformerArray transformers;
    loads.Add(CLoadCalData());
    loads[0].m_strEquipName = std::wstring(L"a\0b", 3);
    loads[0].m_strRatedPower = std::wstring(L"\0", 1);
    transformers.Add(CTransformerCalData());
    transformers[0].m_strName = std::wstring(L"T\0\0", 3);
    const std::wstring file = folder.File("nul.LDC");
    SaveArchiveFile(file, CLoadCalDocument(loads, transformers));

    CInterDpData store;
    ASSERT_EQ(store.ReadDataFromIdpFile(file), 0) << store.LastError();
    const CInterDpNode* name = store.GetSubValueFromPathW(0, L"负荷信息\\0\\设备名称");
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(name->ValueText(), std::wstring(L"a\0b", 3));
    EXPECT_EQ(name->ValueCount(), 4);  // the text's length + 1, as the archive passes it
    CLoadCalDocument loadsBackDoc;
    LoadArchiveFile(file, loadsBackDoc);
    CLoadArray& loadsBack = loadsBackDoc.loads;
    CTransformerArray& transformersBack = loadsBackDoc.transformers;
    EXPECT_EQ(loadsBack, loads);
    EXPECT_EQ(transformersBack, transformers);
}

TEST(Archive, MoreRowsThanAReaderCountsAreRefusedAndNothingIsWritten)
{
    testsupport::TempFolder folder;
    const std::wstring file = folder.File("big.LDC");
    testsupport::WriteBytes(ToFsPath(file), "old");
    for (const bool tooManyLoads : {true, false}) {
        CLoadArray loads;
        CTransformerArray transformers;
        for (int i = 0; i < 32767; ++i) {
            loads.Add(CLoadCalData());
            transformers.Add(CTransformerCalData());
        }
        if (tooManyLoads) {
            loads.Add(CLoadCalData());
        } else {
            transformers.Add(CTransformerCalData());
        }
        std::string error;
        try {
            SaveArchiveFile(file, CLoadCalDocument(loads, transformers));
        } catch (const DocumentError& e) {
            error = e.what();
        }
        const std::string group = tooManyLoads ? "负荷信息" : "变压器信息";
        EXPECT_EQ(error, "cannot write \"" + ToUtf8(file) + "\": \"" + group +
                             "\" holds 32768 entries, more than the 32767 a file can hold; "
                             "nothing was written");
        EXPECT_EQ(testsupport::ReadBytes(ToFsPath(file)), "old");

        // The largest readable size is written and read back whole.
        if (!tooManyLoads) {
            transformers.RemoveAt(0);
            SaveArchiveFile(file, CLoadCalDocument(loads, transformers));
            CLoadCalDocument loadsBackDoc;
            LoadArchiveFile(file, loadsBackDoc);
            CLoadArray& loadsBack = loadsBackDoc.loads;
            CTransformerArray& transformersBack = loadsBackDoc.transformers;
            EXPECT_EQ(loadsBack.GetSize(), 32767);
            EXPECT_EQ(transformersBack.GetSize(), 32767);
        }
    }
    EXPECT_EQ(folder.Entries(), std::vector<std::string>{"big.LDC"});
}

namespace {

/// The reading rules done the straightforward way: every row and key found by
/// its path, as a person would look them up.
void ReadByPath(const CInterDpData& store, CLoadArray& loads, CTransformerArray& transformers)
{
    const std::wstring loadGroup = L"负荷信息";
    const std::wstring transformerGroup = L"变压器信息";
    const wchar_t* const loadDefaults[] = {L"", L"", L"", L"L1,N", L"",     L"1.0", L"0.8",
                                           L"", L"", L"", L"",     L"0.38", L""};
    const wchar_t* const transformerDefaults[] = {L"",     L"", L"",    L"0.7", L"0.9", L"0.97",
                                                  L"",     L"", L"",    L"",    L"",    L"0.7",
                                                  L"0.76", L"", L"0.9", L"",    L""};
    const auto text = [&](const std::wstring& path) -> std::optional<std::wstring> {
        const CInterDpNode* node = store.GetSubValueFromPathW(0, path);
        return node == nullptr ? std::nullopt : std::optional(std::wstring(node->ValueText()));
    };
    if (const CInterDpNode* table = store.GetSubValueFromPathW(0, loadGroup)) {
        for (int i = 0; i < table->ChildCount(); ++i) {
            const std::wstring row = loadGroup + L"\\" + std::to_wstring(i) + L"\\";
            CLoadCalData record;
            for (int f = 0; f < CLoadCalData::kFieldCount; ++f) {
                record.FieldAt(f) = text(row + kLoadKeys[f])
                                        .value_or(f == 0 ? std::to_wstring(i) : loadDefaults[f]);
            }
            loads.Add(record);
        }
    }
    if (const CInterDpNode* table = store.GetSubValueFromPathW(0, transformerGroup)) {
        for (int i = 0; i < table->ChildCount(); ++i) {
            const std::wstring row = transformerGroup + L"\\" + std::to_wstring(i) + L"\\";
            if (!text(row + kTransformerKeys[0])) {
                continue;
            }
            CTransformerCalData record;
            for (int f = 0; f < CTransformerCalData::kFieldCount; ++f) {
                record.FieldAt(f) =
                    text(row + kTransformerKeys[f]).value_or(transformerDefaults[f]);
            }
            transformers.Add(record);
        }
    }
}

/// A damaged or hand-made table: rows in shuffled order with gaps and strays,
/// keys shuffled, some missing, some unknown, texts with NUL characters.
void PutQuirkyTable(std::mt19937& rng, CInterDpData& store, const std::wstring& group,
                    const wchar_t* const* keys, int keyCount)
{
    std::uniform_int_distribution<int> percent(0, 99);
    const int rows = std::uniform_int_distribution<int>(0, 40)(rng);
    std::vector<std::wstring> names;
    for (int i = 0; i < rows; ++i) {
        names.push_back(percent(rng) < 10 ? L"x" + std::to_wstring(i) : std::to_wstring(i));
    }
    if (percent(rng) < 50) {
        std::shuffle(names.begin(), names.end(), rng);
    }
    for (const std::wstring& name : names) {
        if (percent(rng) < 10) {
            continue;  // a gap
        }
        std::vector<std::wstring> rowKeys(keys, keys + keyCount);
        rowKeys.push_back(L"extra");
        if (percent(rng) < 30) {
            std::shuffle(rowKeys.begin(), rowKeys.end(), rng);
        }
        for (const std::wstring& key : rowKeys) {
            if (percent(rng) < 15) {
                continue;  // a missing key
            }
            std::wstring value = key.substr(0, 1) + name;
            if (percent(rng) < 5) {
                value += std::wstring(1, L'\0') + L"after";
            }
            store.SetSubValueW(group + L"\\" + name + L"\\" + key,
                               static_cast<int16_t>(value.size() + 1), std::wstring_view(value), 0);
        }
        if (percent(rng) < 5) {
            store.SetSubValueW(group + L"\\" + name, 0, nullptr, 0);  // a row of no keys
        }
    }
}

}  // namespace

TEST(Archive, QuirkyTreesReadAsLookingUpEveryPathByNameReadsThem)
{
    std::mt19937 rng(11);
    for (int round = 0; round < 300; ++round) {
        CInterDpData store;
        PutQuirkyTable(rng, store, L"负荷信息", kLoadKeys, CLoadCalData::kFieldCount);
        PutQuirkyTable(rng, store, L"变压器信息", kTransformerKeys,
                       CTransformerCalData::kFieldCount);
        // Both the tree as built and the tree as read back from its file.
        CInterDpData reread;
        ASSERT_EQ(reread.Deserialize(store.Serialize()), IdpStatus::Ok);
        for (const CInterDpData* tree : {&store, &reread}) {
            CLoadArray loads;
            CTransformerArray transformers;
            LoadRecords(tree, loads, transformers);
            CLoadArray expectedLoads;
            CTransformerArray expectedTransformers;
            ReadByPath(*tree, expectedLoads, expectedTransformers);
            ASSERT_EQ(loads, expectedLoads) << "round " << round;
            ASSERT_EQ(transformers, expectedTransformers) << "round " << round;
        }
    }
}
