// Boards and the rule set in the archive and in JSON: written only when a
// document uses them, read back text for text, bad names refused.

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <random>
#include <string>

#include "document/Archive.h"
#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "document/JsonDocument.h"
#include "model/Calculation.h"
#include "model/Text.h"
#include "tests/document/IdpTestSupport.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

namespace {

// The keys of a board row as the archive spells them, written out here on purpose.
const wchar_t* const kBoardKeys[] = {L"配电箱名称", L"归属",     L"相位",     L"同时系数Kp",
                                     L"同时系数Kq", L"额定容量", L"计算有功", L"计算无功",
                                     L"视在功率",   L"计算电流", L"功率因数"};

CLoadCalDocument RandomBoardDocument(std::mt19937& rng, int boards, CalcRules rules)
{
    testsupport::RandomBoardOptions opt;
    opt.circuits = 60;
    opt.boards = boards;
    opt.quirkShare = 0.3;
    opt.rules = rules;
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

TEST(BoardArchive, BoardsAndRulesRoundTripAndBothWritersAgree)
{
    std::mt19937 rng(16);
    for (const int boards : {0, 1, 25}) {
        for (const CalcRules rules : {CalcRules::Original, CalcRules::GB51348_2019}) {
            CLoadCalDocument doc = RandomBoardDocument(rng, boards, rules);
            if (boards > 0) {
                doc.boards[0].m_strOwner = std::wstring(L"T1,\0配电", 6);
                doc.boards[0].m_strKp = L"0.90";
            }
            CInterDpData store;
            StoreDocument(store, doc);
            const std::string bytes = store.Serialize();
            EXPECT_EQ(EncodeArchive(doc), bytes) << boards << " boards";

            CInterDpData reread;
            ASSERT_EQ(reread.Deserialize(bytes), IdpStatus::Ok);
            CLoadCalDocument back;
            RestoreDocument(&reread, back);
            EXPECT_EQ(back, doc);

            // The original program's reader finds its two tables as they were.
            CLoadArray loads;
            CTransformerArray transformers;
            LoadRecords(&reread, loads, transformers);
            EXPECT_EQ(loads, doc.loads);
            EXPECT_EQ(transformers, doc.transformers);

            // Without boards and under the original rules: the two tables' bytes alone.
            const bool original = boards == 0 && rules == CalcRules::Original;
            CInterDpData tables;
            StoreRecords(tables, doc.loads, doc.transformers);
            EXPECT_EQ(bytes == tables.Serialize(), original);
        }
    }
    // Boards and rules with either original table empty.
    CLoadCalDocument doc = RandomBoardDocument(rng, 5, CalcRules::GB51348_2019);
    for (int round = 0; round < 3; ++round) {
        if (round == 1) {
            doc.loads.RemoveAll();
        } else if (round == 2) {
            doc.transformers.RemoveAll();
        }
        CInterDpData store;
        StoreDocument(store, doc);
        EXPECT_EQ(EncodeArchive(doc), store.Serialize()) << "round " << round;
    }
}

TEST(BoardArchive, TheBundledExampleArchiveIsWrittenAgainByteForByte)
{
    const std::string path = std::string(LOADCAL_SOURCE_DIR) + "/examples/office-building.LDC";
    CLoadCalDocument doc;
    LoadArchiveFile(FromUtf8(path), doc);
    EXPECT_TRUE(doc.IsOriginalOnly());
    EXPECT_EQ(EncodeArchive(doc), testsupport::ReadBytes(path));
}

TEST(BoardArchive, KeyTreeOfBoardsAndTheRuleSet)
{
    CLoadCalDocument doc;
    CBoardCalData b;
    for (int f = 0; f < CBoardCalData::kFieldCount; ++f) {
        b.FieldAt(f) = L"B" + std::to_wstring(f);
    }
    doc.boards.Add(b);
    doc.boards.Add(CBoardCalData());
    doc.rules = CalcRules::GB51348_2019;
    CInterDpData store;
    StoreDocument(store, doc);
    EXPECT_EQ(store.Root().ChildCount(), 2);  // no circuits, no transformers
    const CInterDpNode* row = store.GetSubValueFromPathW(0, L"配电箱信息\\0");
    ASSERT_NE(row, nullptr);
    ASSERT_EQ(row->ChildrenSize(), 11u);
    for (size_t f = 0; f < 11; ++f) {
        EXPECT_EQ(row->ChildAt(f).Name(), kBoardKeys[f]);
        EXPECT_EQ(row->ChildAt(f).ValueText(), L"B" + std::to_wstring(f));
    }
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"配电箱信息\\1\\相位")->ValueText(), L"L1,L2,L3,N");
    const CInterDpNode* rules = store.GetSubValueFromPathW(0, L"计算规则");
    ASSERT_NE(rules, nullptr);
    EXPECT_EQ(rules->ValueText(), L"GB51348-2019");
    EXPECT_EQ(rules->ValueCount(), 13);

    doc.rules = CalcRules::Original;
    doc.boards.RemoveAll();
    StoreDocument(store, doc);
    EXPECT_EQ(store.Root().ChildCount(), 0);
}

TEST(BoardArchive, BoardRowsReadByPositionWithDefaultsAndWithoutNamelessRows)
{
    CInterDpData store;
    const auto set = [&store](const std::wstring& path, const std::wstring& text) {
        store.SetSubValueW(path, static_cast<int16_t>(Utf16Length(text) + 1), text.c_str(), 0);
    };
    set(L"配电箱信息\\0\\归属", L"T1");  // no name: skipped
    set(L"配电箱信息\\1\\配电箱名称", L"AP1");
    set(L"配电箱信息\\1\\同时系数Kq", L"0.8");
    set(L"配电箱信息\\7\\配电箱名称", L"beyond the count");  // named "7" but read as row 2
    CLoadCalDocument doc;
    RestoreDocument(&store, doc);
    ASSERT_EQ(doc.boards.GetSize(), 1);  // row 2 has no node named "2"
    CBoardCalData expected;
    expected.m_strName = L"AP1";
    expected.m_strKq = L"0.8";
    EXPECT_EQ(doc.boards[0], expected);
    EXPECT_EQ(doc.rules, CalcRules::Original);
}

TEST(BoardArchive, AnUnknownRuleSetIsRefusedWithTheFilesName)
{
    testsupport::TempFolder folder;
    const std::wstring file = folder.File("规则.LDC");
    for (const std::wstring name : {L"GB51348-2020", L"gb51348-2019", L""}) {
        CInterDpData store;
        store.SetSubValueW(L"变压器信息\\0\\变压器名称", 3, L"T1", 0);
        store.SetSubValueW(L"计算规则", static_cast<int16_t>(name.size() + 1), name.c_str(), 0);
        ASSERT_EQ(store.WriteDataToIdpFile(file), 0);
        CLoadCalDocument doc;
        doc.loads.Add(CLoadCalData());
        const std::string error = Message([&] { LoadArchiveFile(file, doc); });
        EXPECT_NE(error.find("cannot read \"" + folder.Path().string() + "/规则.LDC\": "),
                  std::string::npos)
            << error;
        EXPECT_NE(error.find("\"计算规则\" names the rule set \"" + ToUtf8(name) + "\""),
                  std::string::npos)
            << error;
        EXPECT_EQ(doc.loads.GetSize(), 1);  // left as it was
    }
}

TEST(BoardArchive, MoreBoardsThanAReaderCountsAreRefused)
{
    testsupport::TempFolder folder;
    const std::wstring file = folder.File("boards.LDC");
    testsupport::WriteBytes(ToFsPath(file), "old");
    CLoadCalDocument doc;
    for (int i = 0; i <= 32767; ++i) {
        doc.boards.Add(CBoardCalData());
    }
    const std::string error = Message([&] { SaveArchiveFile(file, doc); });
    EXPECT_NE(error.find("\"配电箱信息\" holds 32768 entries"), std::string::npos) << error;
    EXPECT_EQ(testsupport::ReadBytes(ToFsPath(file)), "old");
}

TEST(BoardJson, BoardsAndRulesRoundTripAsTheLibraryWritesThem)
{
    std::mt19937 rng(61);
    for (const int boards : {0, 12}) {
        for (const CalcRules rules : {CalcRules::Original, CalcRules::GB51348_2019}) {
            CLoadCalDocument doc = RandomBoardDocument(rng, boards, rules);
            if (boards > 0) {
                doc.boards[1].m_strName = std::wstring(L"\"箱\"\\\n\0", 6);
            }
            const std::string text = DocumentToJson(doc, ComputeTotals(doc));
            EXPECT_EQ(text, nlohmann::ordered_json::parse(text).dump(2) + "\n");
            EXPECT_EQ(text.find("\"boards\"") != std::string::npos, boards > 0);
            EXPECT_EQ(text.find("\"rules\": \"GB51348-2019\"") != std::string::npos,
                      rules == CalcRules::GB51348_2019);
            EXPECT_EQ(text.find("\"rules\"") == std::string::npos, rules == CalcRules::Original);
            CLoadCalDocument back;
            DocumentFromJson(text, "test", back);
            EXPECT_EQ(back, doc);
        }
    }
    // The keys of a board, in record order.
    CLoadCalDocument one;
    one.boards.Add(CBoardCalData());
    const auto json = nlohmann::ordered_json::parse(DocumentToJson(one, ComputeTotals(one)));
    std::vector<std::string> keys;
    for (const auto& [key, value] : json["boards"][0].items()) {
        keys.push_back(key);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"name", "owner", "phase", "kp", "kq", "ratedPower",
                                              "calcP", "calcQ", "calcS", "calcI", "cos"}));
    EXPECT_EQ(json["boards"][0]["kp"], "0.9");
    EXPECT_EQ(json["boards"][0]["kq"], "0.95");
}

TEST(BoardJson, BadBoardsAndRuleNamesAreRefusedNamingTheKey)
{
    const struct {
        const char* json;
        const char* error;
    } cases[] = {
        {R"({"rules": "GB51348-2020"})",
         "in.json: rules: unknown rule set \"GB51348-2020\" (known: original, GB51348-2019)"},
        {R"({"rules": 2019})", "in.json: rules: expected a string, found number"},
        {R"({"boards": {}})", "in.json: boards: expected an array of records"},
        {R"({"boards": [{"name": "AP1", "voltage": "0.38"}]})",
         "in.json: boards[0]: unknown key \"voltage\""},
        {R"({"boards": [{"name": ["AP1"]}]})",
         "in.json: boards[0].name: expected a string, found array"},
    };
    for (const auto& c : cases) {
        CLoadCalDocument doc;
        doc.loads.Add(CLoadCalData());
        EXPECT_EQ(Message([&] { DocumentFromJson(c.json, "in.json", doc); }), c.error);
        EXPECT_EQ(doc.loads.GetSize(), 1);
    }
    CLoadCalDocument doc;
    DocumentFromJson(R"({"rules": "original", "boards": [{"name": "AP1"}]})", "in.json", doc);
    EXPECT_EQ(doc.rules, CalcRules::Original);
    EXPECT_EQ(doc.boards[0].m_strPhase, L"L1,L2,L3,N");
}

TEST(DocumentArchive, EveryAdditionAtOnceRoundTripsAndBothWritersAgree)
{
    // Boards, the rule set, project information and the circuits' fields
    // beyond the thirteen together: each group in its place, both writers
    // giving the same bytes, and the original reader still finding its tables.
    std::mt19937 rng(1618);
    for (int round = 0; round < 4; ++round) {
        CLoadCalDocument doc = RandomBoardDocument(
            rng, round * 7, round % 2 == 0 ? CalcRules::GB51348_2019 : CalcRules::Original);
        for (int i = 0; i < doc.loads.GetSize(); i += 3) {
            CLoadCalData& c = doc.loads[i];
            c.m_strLoadType = i % 2 == 0 ? L"电梯" : L"照明插座";
            c.m_strQuantity = std::to_wstring(i + 1);
            c.m_strLoadClass = L"一级";
            c.m_strFire = i % 4 == 0 ? L"消防" : L"";
        }
        if (round != 1) {
            doc.project.FieldAt(0) = L"滨江 " + std::to_wstring(round) + L" 号楼";
            doc.project.FieldAt(CProjectInfo::kFieldCount - 1) = L"赵军";
        }
        CInterDpData store;
        StoreDocument(store, doc);
        const std::string bytes = store.Serialize();
        EXPECT_EQ(EncodeArchive(doc), bytes) << "round " << round;

        CInterDpData reread;
        ASSERT_EQ(reread.Deserialize(bytes), IdpStatus::Ok);
        CLoadCalDocument back;
        RestoreDocument(&reread, back);
        EXPECT_EQ(back, doc) << "round " << round;

        CLoadArray loads;
        CTransformerArray transformers;
        LoadRecords(&reread, loads, transformers);
        EXPECT_EQ(transformers, doc.transformers);
        ASSERT_EQ(loads.GetSize(), doc.loads.GetSize());
        for (int i = 0; i < loads.GetSize(); ++i) {
            for (int f = 0; f < CLoadCalData::kFieldCount; ++f) {
                EXPECT_EQ(loads[i].FieldAt(f), doc.loads[i].FieldAt(f));
            }
        }

        CLoadCalDocument fromJson;
        DocumentFromJson(DocumentToJson(doc, ComputeTotals(doc)), "round", fromJson);
        EXPECT_EQ(fromJson, doc) << "round " << round;
    }
}
