// The circuit fields beyond the original thirteen (load type, quantity, load
// class, fire role) in archives and JSON: written under keys of their own
// only when used, so that a document without them is stored byte for byte
// as before.

#include <gtest/gtest.h>

#include <random>

#include "document/Archive.h"
#include "document/DocumentError.h"
#include "document/JsonDocument.h"
#include "model/Calculation.h"
#include "model/Text.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/TempFolder.h"

using namespace loadcal;

namespace {

// The new keys as the archive spells them, written out here on purpose.
const wchar_t* const kExtraKeys[] = {L"负荷类型", L"数量", L"负荷等级", L"消防"};

std::string ReadExample(const char* name)
{
    return testsupport::ReadBytes(std::filesystem::path(LOADCAL_SOURCE_DIR) / "examples" / name);
}

/// Fills a random subset of the four fields of some circuits with random
/// texts (NUL characters and characters beyond U+FFFF included).
void AddRandomExtras(std::mt19937& rng, CLoadArray& loads)
{
    const std::wstring samples[] = {L"电梯",       L"3",          L"一级",
                                    L"消防",       L"火灾时切除", std::wstring(L"a\0b", 3),
                                    L"\U0001F525", L" 120 "};
    std::uniform_int_distribution<size_t> pick(0, std::size(samples) - 1);
    for (int i = 0; i < loads.GetSize(); i += 3) {
        for (int f = CLoadCalData::kFieldCount; f < CLoadCalData::kAnyFieldCount; ++f) {
            if (rng() % 2 == 0) {
                loads[i].AnyFieldAt(f) = samples[pick(rng)];
            }
        }
    }
}

}  // namespace

TEST(CircuitFields, AnArchiveWrittenBeforeTheFieldsIsWrittenAgainByteForByte)
{
    // The bundled example was saved before these fields existed.
    const std::string before = ReadExample("office-building.LDC");
    testsupport::TempFolder folder;
    testsupport::WriteBytes(folder / "a.LDC", before);
    CLoadCalDocument doc;
    LoadArchiveFile(folder.File("a.LDC"), doc);
    for (const CLoadCalData& c : doc.loads) {
        EXPECT_FALSE(c.HasExtraFields());
    }
    EXPECT_EQ(EncodeArchive(doc), before);

    // So is its JSON form: no new key appears.
    const std::string json = ReadExample("office-building.json");
    CLoadCalDocument fromJson;
    DocumentFromJson(json, "example", fromJson);
    EXPECT_EQ(DocumentToJson(fromJson, ComputeTotals(fromJson)), json);
    EXPECT_EQ(fromJson, doc);
}

TEST(CircuitFields, UsedFieldsFollowTheThirteenUnderTheirOwnKeysAndRoundTrip)
{
    std::mt19937 rng(17);
    CLoadArray loads;
    CTransformerArray transformers;
    testsupport::MakeRandomDocument(rng, {200, 4, 0.2}, loads, transformers);
    AddRandomExtras(rng, loads);
    loads[1].m_strLoadType = L"消防水泵";  // one field alone, not the first of the four
    loads[1].m_strQuantity.clear();
    loads[1].m_strLoadClass = L"一级";
    loads[1].m_strFire.clear();
    const CLoadCalDocument doc(loads, transformers);

    CInterDpData store;
    StoreDocument(store, doc);
    // The direct encoder agrees with the tree, byte for byte.
    EXPECT_EQ(EncodeArchive(doc), store.Serialize());

    for (int i = 0; i < loads.GetSize(); ++i) {
        const CInterDpNode* row = store.GetSubValueFromPathW(0, L"负荷信息\\" + std::to_wstring(i));
        ASSERT_NE(row, nullptr);
        std::vector<std::wstring> expected;
        for (int k = 0; k < 4; ++k) {
            if (!loads[i].AnyFieldAt(CLoadCalData::kFieldCount + k).empty()) {
                expected.push_back(kExtraKeys[k]);
            }
        }
        ASSERT_EQ(row->ChildrenSize(), 13 + expected.size()) << i;
        for (size_t k = 0; k < expected.size(); ++k) {
            EXPECT_EQ(row->ChildAt(13 + k).Name(), expected[k]) << i;
        }
    }
    const CInterDpNode* one = store.GetSubValueFromPathW(0, L"负荷信息\\1");
    EXPECT_EQ(one->ChildAt(13).ValueText(), L"消防水泵");
    EXPECT_EQ(one->ChildAt(14).Name(), L"负荷等级");

    // Back through the file encoding: every text as it was.
    CInterDpData reread;
    ASSERT_EQ(reread.Deserialize(EncodeArchive(doc)), IdpStatus::Ok);
    CLoadCalDocument back;
    RestoreDocument(&reread, back);
    EXPECT_EQ(back, doc);

    // JSON: the same document, text for text.
    CLoadCalDocument fromJson;
    DocumentFromJson(DocumentToJson(doc, ComputeTotals(doc)), "round trip", fromJson);
    EXPECT_EQ(fromJson, doc);
}

TEST(CircuitFields, KeysOnlyAReaderOfTheThirteenKnowsAreSkippedByIt)
{
    // A row holding a further key before its thirteen, and one whose keys
    // are not in the written order: each text is found by its name.
    CInterDpData store;
    const auto set = [&store](const std::wstring& path, const std::wstring& text) {
        store.SetSubValueW(path, static_cast<int16_t>(Utf16Length(text) + 1),
                           std::wstring_view(text), 0);
    };
    set(L"负荷信息\\0\\消防", L"火灾时切除");
    set(L"负荷信息\\0\\回路编号", L"WL1");
    set(L"负荷信息\\0\\额定容量", L"7.5");
    set(L"负荷信息\\0\\数量", L"4");
    set(L"负荷信息\\1\\回路编号", L"WL2");
    CLoadCalDocument doc;
    RestoreDocument(&store, doc);
    ASSERT_EQ(doc.loads.GetSize(), 2);
    EXPECT_EQ(doc.loads[0].m_strCircuitNo, L"WL1");
    EXPECT_EQ(doc.loads[0].m_strRatedPower, L"7.5");
    EXPECT_EQ(doc.loads[0].m_strFire, L"火灾时切除");
    EXPECT_EQ(doc.loads[0].m_strQuantity, L"4");
    EXPECT_EQ(doc.loads[0].m_strLoadType, L"");
    EXPECT_EQ(doc.loads[0].m_strDemandFactor, L"1.0");  // the thirteen keep their defaults
    EXPECT_FALSE(doc.loads[1].HasExtraFields());
}

TEST(CircuitFields, JsonWritesTheFourKeysOnlyWhenUsedAfterTheThirteen)
{
    CLoadCalData c;
    c.m_strCircuitNo = L"WL1";
    c.m_strLoadType = L"电梯";
    c.m_strFire = L"消防";
    CLoadCalDocument doc;
    doc.loads.Add(c);
    doc.loads.Add(CLoadCalData());
    const std::string json = DocumentToJson(doc, ComputeTotals(doc));
    const size_t first = json.find("\"transformer\"");
    const size_t type = json.find("\"loadType\": \"电梯\"");
    const size_t fire = json.find("\"fire\": \"消防\"");
    ASSERT_NE(type, std::string::npos);
    ASSERT_NE(fire, std::string::npos);
    EXPECT_LT(first, type);
    EXPECT_LT(type, fire);
    EXPECT_EQ(json.find("quantity"), std::string::npos);
    EXPECT_EQ(json.find("loadClass"), std::string::npos);
    EXPECT_EQ(json.find("\"loadType\"", type + 1),
              std::string::npos);  // not for the second circuit
}

TEST(CircuitFields, ACircuitNamingATypeLeavesAnOmittedFactorForTheTypeToFill)
{
    const std::string json = R"({"loads": [
        {"circuitNo": "1", "loadType": "电梯", "ratedPower": "15"},
        {"circuitNo": "2", "loadType": "电梯", "demandFactor": "0.25"},
        {"circuitNo": "3", "ratedPower": "15"},
        {"circuitNo": "4", "loadType": " ", "ratedPower": "15"}]})";
    CLoadCalDocument doc;
    DocumentFromJson(json, "test", doc);
    ASSERT_EQ(doc.loads.GetSize(), 4);
    EXPECT_EQ(doc.loads[0].m_strDemandFactor, L"");
    EXPECT_EQ(doc.loads[0].m_strPowerFactor, L"");
    EXPECT_EQ(doc.loads[1].m_strDemandFactor, L"0.25");  // a given value stays
    EXPECT_EQ(doc.loads[1].m_strPowerFactor, L"");
    // Without a type, the new-row defaults as always.
    EXPECT_EQ(doc.loads[2].m_strDemandFactor, L"1.0");
    EXPECT_EQ(doc.loads[2].m_strPowerFactor, L"0.8");
    EXPECT_EQ(doc.loads[3].m_strDemandFactor, L"1.0");

    // A value of the wrong kind is refused with its key, as for the thirteen.
    try {
        DocumentFromJson(R"({"loads": [{"quantity": 3}]})", "in.json", doc);
        FAIL() << "a number was accepted";
    } catch (const DocumentError& e) {
        EXPECT_NE(std::string(e.what()).find("loads[0].quantity"), std::string::npos) << e.what();
    }
    EXPECT_EQ(doc.loads.GetSize(), 4);  // the document as it was
}
