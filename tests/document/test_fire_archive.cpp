// The fire case's figures in the archive and in JSON: written only for a
// document with fire roles, under their own keys after a record's own,
// read back text for text; every other document stays byte for byte.

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <random>
#include <string>

#include "document/Archive.h"
#include "document/DocumentError.h"
#include "document/JsonDocument.h"
#include "model/Calculation.h"
#include "model/Text.h"
#include "tests/document/IdpTestSupport.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

namespace {

// The keys as the archive spells them, written out here on purpose.
const wchar_t* const kTransformerFireKeys[] = {
    L"火灾计算有功",       L"火灾计算无功", L"火灾视在功率", L"火灾计算电流",
    L"火灾补偿前功率因数", L"火灾补偿容量", L"火灾负载率",   L"取值工况"};
const wchar_t* const kBoardFireKeys[] = {L"火灾额定容量", L"火灾计算有功", L"火灾计算无功",
                                         L"火灾视在功率", L"火灾计算电流", L"火灾功率因数",
                                         L"取值工况"};

CLoadCalDocument RandomDocument(std::mt19937& rng, double fireShare, CalcRules rules)
{
    testsupport::RandomBoardOptions opt;
    opt.circuits = 80;
    opt.boards = 15;
    opt.quirkShare = 0.2;
    opt.rules = rules;
    opt.fireShare = fireShare;
    CLoadCalDocument doc;
    testsupport::MakeRandomBoardDocument(rng, opt, doc);
    RecalculateDocument(doc);
    return doc;
}

std::string Message(const std::function<void()>& call)
{
    try {
        call();
    } catch (const DocumentError& e) {
        return e.what();
    }
    return "no error";
}

}  // namespace

TEST(FireArchive, FireFiguresRoundTripAndBothWritersAgree)
{
    std::mt19937 rng(119);
    for (const CalcRules rules : {CalcRules::Original, CalcRules::GB51348_2019}) {
        CLoadCalDocument doc = RandomDocument(rng, 0.3, rules);
        ASSERT_TRUE(HasFireRoles(doc));
        ASSERT_TRUE(doc.transformers[0].HasExtraFields());
        doc.boards[0].m_strFireCalcP.clear();  // an empty one is left out, the rest written
        CInterDpData store;
        StoreDocument(store, doc);
        const std::string bytes = store.Serialize();
        EXPECT_EQ(EncodeArchive(doc), bytes);

        CInterDpData reread;
        ASSERT_EQ(reread.Deserialize(bytes), IdpStatus::Ok);
        CLoadCalDocument back;
        RestoreDocument(&reread, back);
        EXPECT_EQ(back, doc);

        // A reader of the original seventeen keys finds them as they were.
        const CInterDpNode* row = reread.GetSubValueFromPathW(0, L"变压器信息\\0");
        ASSERT_NE(row, nullptr);
        ASSERT_EQ(row->ChildrenSize(), 17U + 8U);
        EXPECT_EQ(row->ChildAt(7).Name(), L"计算容量");
        EXPECT_EQ(row->ChildAt(7).ValueText(), doc.transformers[0].m_strCalcP);
        for (size_t k = 0; k < 8; ++k) {
            EXPECT_EQ(row->ChildAt(17 + k).Name(), kTransformerFireKeys[k]);
            EXPECT_EQ(row->ChildAt(17 + k).ValueText(),
                      doc.transformers[0].AnyFieldAt(CTransformerCalData::kFieldCount +
                                                     static_cast<int>(k)));
        }

        const std::string json = DocumentToJson(doc, ComputeTotals(doc));
        EXPECT_EQ(json, nlohmann::ordered_json::parse(json).dump(2) + "\n");
        CLoadCalDocument fromJson;
        DocumentFromJson(json, "fire.json", fromJson);
        EXPECT_EQ(fromJson, doc);
    }
}

TEST(FireArchive, KeyTreeOfABoardsFireFigures)
{
    CLoadCalDocument doc;
    CLoadCalData c;
    c.m_strFire = L"火灾时切除";
    doc.loads.Add(c);
    CBoardCalData b;
    for (int f = 0; f < CBoardCalData::kAnyFieldCount; ++f) {
        b.AnyFieldAt(f) = L"B" + std::to_wstring(f);
    }
    doc.boards.Add(b);
    CInterDpData store;
    StoreDocument(store, doc);
    const CInterDpNode* row = store.GetSubValueFromPathW(0, L"配电箱信息\\0");
    ASSERT_NE(row, nullptr);
    ASSERT_EQ(row->ChildrenSize(), 11U + 7U);
    for (size_t k = 0; k < 7; ++k) {
        EXPECT_EQ(row->ChildAt(11 + k).Name(), kBoardFireKeys[k]);
        EXPECT_EQ(row->ChildAt(11 + k).ValueText(), L"B" + std::to_wstring(11 + k));
    }

    // The JSON object of the same board, keys in field order.
    const auto json = nlohmann::ordered_json::parse(DocumentToJson(doc, ComputeTotals(doc)));
    std::vector<std::string> keys;
    for (const auto& [key, value] : json["boards"][0]["fire"].items()) {
        keys.push_back(key);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"ratedPower", "calcP", "calcQ", "calcS", "calcI",
                                              "cos", "governs"}));
    EXPECT_EQ(json["boards"][0]["fire"]["governs"], "B17");
}

TEST(FireArchive, WithoutFireRolesNothingNewIsWrittenWhateverTheRecordsHold)
{
    // Figures of a fire case left in the records (a role removed and not yet
    // recalculated, an archive edited by hand) are not written for a
    // document without roles: the archive and the JSON are those of the
    // document without them, byte for byte.
    std::mt19937 rng(7);
    for (const double share : {0.0, 0.3}) {
        CLoadCalDocument doc = RandomDocument(rng, share, CalcRules::Original);
        CLoadCalDocument stale = doc;
        for (auto& c : stale.loads) {
            c.m_strFire.clear();
        }
        CLoadCalDocument clean = stale;
        for (auto& t : clean.transformers) {
            ClearFireFigures(t);
        }
        for (auto& b : clean.boards) {
            ClearFireFigures(b);
        }
        stale.transformers[0].m_strFireCalcP = L"123";
        EXPECT_EQ(EncodeArchive(stale), EncodeArchive(clean));
        CInterDpData store;
        StoreDocument(store, stale);
        EXPECT_EQ(store.Serialize(), EncodeArchive(clean));
        EXPECT_EQ(DocumentToJson(stale, ComputeTotals(stale)),
                  DocumentToJson(clean, ComputeTotals(clean)));
        EXPECT_EQ(DocumentToJson(clean, ComputeTotals(clean)).find("\"fire\": {"),
                  std::string::npos);
    }
}

TEST(FireArchive, TheBoardsExampleWithoutItsRolesIsTheArchiveOfBefore)
{
    // The boards example as it was before it had fire roles, recalculated
    // by this program, gives the bytes of the file kept from then.
    const std::string before = std::string(LOADCAL_SOURCE_DIR) +
                               "/tests/document/data/office-building-boards-before-fire.LDC";
    CLoadCalDocument doc;
    LoadArchiveFile(FromUtf8(before), doc);
    ASSERT_FALSE(HasFireRoles(doc));
    RecalculateDocument(doc);
    EXPECT_EQ(EncodeArchive(doc), testsupport::ReadBytes(before));
}

TEST(FireJson, BadFireObjectsAreRefusedNamingTheKey)
{
    const struct {
        const char* json;
        const char* error;
    } cases[] = {
        {R"({"transformers": [{"name": "T1", "fire": "消防"}]})",
         "in.json: transformers[0].fire: expected an object"},
        {R"({"transformers": [{"name": "T1", "fire": {"calcP": "1", "ratedPower": "2"}}]})",
         "in.json: transformers[0].fire: unknown key \"ratedPower\""},
        {R"({"boards": [{"name": "AP1", "fire": {"cosBefore": "1"}}]})",
         "in.json: boards[0].fire: unknown key \"cosBefore\""},
        {R"({"boards": [{"name": "AP1", "fire": {"calcS": 12}}]})",
         "in.json: boards[0].fire.calcS: expected a string, found number"},
        {R"({"loads": [{"fire": {"calcP": "1"}}]})",
         "in.json: loads[0].fire: expected a string, found object"},
    };
    for (const auto& c : cases) {
        CLoadCalDocument doc;
        doc.loads.Add(CLoadCalData());
        EXPECT_EQ(Message([&] { DocumentFromJson(c.json, "in.json", doc); }), c.error);
        EXPECT_EQ(doc.loads.GetSize(), 1);
    }
    CLoadCalDocument doc;
    DocumentFromJson(R"({"transformers": [{"name": "T1", "fire": {"governs": "火灾"}}]})",
                     "in.json", doc);
    EXPECT_EQ(doc.transformers[0].m_strGoverningCase, L"火灾");
    EXPECT_EQ(doc.transformers[0].m_strFireCalcP, L"");
}
