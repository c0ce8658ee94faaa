// The project information (工程信息) of a document in the archive and in JSON:
// written only when used, so documents without it keep their exact bytes, and
// carried text for text when used.

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>

#include "document/Archive.h"
#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "document/JsonDocument.h"
#include "model/Calculation.h"
#include "model/Text.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/TempFolder.h"

using namespace loadcal;

namespace {

// The keys as archives spell them, written out here on purpose.
const wchar_t* const kArchiveKeys[] = {L"工程名称", L"工程编号", L"设计阶段", L"建设单位",
                                       L"设计单位", L"子项",     L"版次",     L"日期",
                                       L"编制",     L"校对",     L"审核",     L"审定"};
const char* const kJsonKeys[] = {"name",      "number",     "stage",    "client",
                                 "institute", "subproject", "revision", "date",
                                 "designer",  "checker",    "reviewer", "approver"};

CProjectInfo FullProject()
{
    CProjectInfo p;
    p.FieldAt(CProjectInfo::kName) = L"某办公楼 \U00020BB7 工程";
    p.FieldAt(CProjectInfo::kNumber) = L"2024-017";
    p.FieldAt(CProjectInfo::kStage) = L"施工图设计";
    p.FieldAt(CProjectInfo::kClient) = L"某置业有限公司";
    p.FieldAt(CProjectInfo::kInstitute) = L"某建筑设计研究院";
    p.FieldAt(CProjectInfo::kSubproject) = L"1# 办公楼";
    p.FieldAt(CProjectInfo::kRevision) = L"A";
    p.FieldAt(CProjectInfo::kDate) = L"2024-05-20";
    p.FieldAt(CProjectInfo::kDesigner) = L"张三";
    p.FieldAt(CProjectInfo::kChecker) = std::wstring(L"李\0四", 3);
    p.FieldAt(CProjectInfo::kReviewer) = L"  王五 ";
    p.FieldAt(CProjectInfo::kApprover) = L"";  // not yet signed
    return p;
}

CLoadCalDocument RandomDocument(unsigned seed, int circuits, int transformers)
{
    std::mt19937 rng(seed);
    CLoadCalDocument doc;
    testsupport::MakeRandomDocument(rng, {circuits, transformers, 0.3}, doc.loads,
                                    doc.transformers);
    return doc;
}

}  // namespace

TEST(ProjectArchive, ADocumentWithoutProjectInformationKeepsTheOriginalBytes)
{
    // An archive written before the project information existed (the bundled
    // example as it was): read and written again it gives its bytes exactly.
    const std::string path =
        std::string(LOADCAL_SOURCE_DIR) + "/tests/document/data/without-project.LDC";
    std::string bytes;
    ASSERT_EQ(ReadFileBytes(path, uint64_t{1} << 30, bytes), 0);
    CLoadCalDocument doc;
    LoadArchiveFile(FromUtf8(path), doc);
    EXPECT_TRUE(doc.project.IsEmpty());
    EXPECT_EQ(EncodeArchive(doc), bytes);

    // And any document: the archive is the tree of the two tables alone.
    const CLoadCalDocument random = RandomDocument(3, 50, 4);
    CInterDpData store;
    StoreRecords(store, random.loads, random.transformers);
    EXPECT_EQ(EncodeArchive(random), store.Serialize());
}

TEST(ProjectArchive, UsedProjectInformationIsAGroupOfTwelveKeysTheTableReaderSkips)
{
    CLoadCalDocument doc = RandomDocument(4, 20, 2);
    doc.project.FieldAt(CProjectInfo::kRevision) = L"B";  // one field is enough
    CInterDpData store;
    StoreDocument(store, doc);
    for (int f = 0; f < CProjectInfo::kFieldCount; ++f) {
        std::wstring path = L"工程信息\\";
        path.append(kArchiveKeys[f]);
        const CInterDpNode* node = store.GetSubValueFromPathW(0, path);
        ASSERT_NE(node, nullptr) << f;
        EXPECT_EQ(node->ValueText(), f == CProjectInfo::kRevision ? L"B" : L"") << f;
        EXPECT_EQ(node->ValueCount(), f == CProjectInfo::kRevision ? 2 : 1) << f;
    }
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"工程信息")->ChildCount(), 12);

    // The reader of the two tables finds exactly the tables.
    CLoadArray loads;
    CTransformerArray transformers;
    LoadRecords(&store, loads, transformers);
    EXPECT_EQ(loads, doc.loads);
    EXPECT_EQ(transformers, doc.transformers);
}

TEST(ProjectArchive, TheDirectEncoderAgreesWithTheTreeAndFilesReadBackWhole)
{
    testsupport::TempFolder folder;
    int n = 0;
    for (const auto& [circuits, transformers] :
         std::vector<std::pair<int, int>>{{30, 3}, {0, 2}, {5, 0}, {0, 0}}) {
        CLoadCalDocument doc =
            RandomDocument(10 + static_cast<unsigned>(n), circuits, transformers);
        doc.project = FullProject();
        CInterDpData store;
        StoreDocument(store, doc);
        EXPECT_EQ(EncodeArchive(doc), store.Serialize()) << circuits << "/" << transformers;

        std::string name = std::to_string(n++);
        name.append(".LDC");
        const std::wstring path = FromFsPath(folder / name);
        SaveArchiveFile(path, doc);
        CLoadCalDocument back;
        back.project.FieldAt(CProjectInfo::kName) = L"left over";
        LoadArchiveFile(path, back);
        EXPECT_EQ(back, doc);
    }
}

TEST(ProjectArchive, MissingKeysReadEmptyAndAnArchiveWithoutTheGroupClearsAnOldOne)
{
    CInterDpData store;
    const std::wstring name = L"只有名称";
    store.SetSubValueW(L"工程信息\\工程名称", static_cast<int16_t>(name.size() + 1), name.c_str(),
                       0);
    CLoadCalDocument doc;
    doc.project = FullProject();
    RestoreDocument(&store, doc);
    CProjectInfo expected;
    expected.FieldAt(CProjectInfo::kName) = name;
    EXPECT_EQ(doc.project, expected);

    CInterDpData plain;
    StoreRecords(plain, RandomDocument(5, 3, 1).loads, {});
    RestoreDocument(&plain, doc);
    EXPECT_TRUE(doc.project.IsEmpty());
}

TEST(ProjectJson, WrittenOnlyWhenUsedAndReadBackTextForText)
{
    CLoadCalDocument doc = RandomDocument(6, 8, 2);
    const SummaryTotals totals = ComputeTotals(doc.loads);
    const std::string plain = DocumentToJson(doc, totals);
    EXPECT_EQ(plain.find("\"project\""), std::string::npos);

    doc.project = FullProject();
    const std::string text = DocumentToJson(doc, totals);
    const nlohmann::ordered_json parsed = nlohmann::ordered_json::parse(text);
    EXPECT_EQ(text, parsed.dump(2) + "\n");
    ASSERT_TRUE(parsed.contains("project"));
    std::vector<std::string> keys;
    for (const auto& [key, value] : parsed["project"].items()) {
        keys.push_back(key);
    }
    EXPECT_EQ(keys, std::vector<std::string>(std::begin(kJsonKeys), std::end(kJsonKeys)));
    EXPECT_EQ(parsed["project"]["name"], "某办公楼 \U00020BB7 工程");
    EXPECT_EQ(parsed["project"]["approver"], "");

    CLoadCalDocument back;
    DocumentFromJson(text, "t.json", back);
    EXPECT_EQ(back, doc);

    // Absent: empty; some keys only: the rest empty.
    DocumentFromJson(plain, "t.json", back);
    EXPECT_TRUE(back.project.IsEmpty());
    DocumentFromJson(R"({"project": {"date": "2024-06-01"}, "loads": []})", "t.json", back);
    EXPECT_EQ(back.project.FieldAt(CProjectInfo::kDate), L"2024-06-01");
    EXPECT_EQ(back.project.FieldAt(CProjectInfo::kName), L"");
}

TEST(ProjectJson, BadProjectInformationIsRefusedByNameAndLosesNothing)
{
    CLoadCalDocument doc = RandomDocument(7, 4, 1);
    doc.project = FullProject();
    const CLoadCalDocument before = doc;
    const std::pair<const char*, const char*> cases[] = {
        {R"({"project": {"architect": "x"}})", "unknown key \"architect\""},
        {R"({"project": {"name": 12}})", "project.name: expected a string"},
        {R"({"project": ["a"]})", "project: expected an object"},
    };
    for (const auto& [json, message] : cases) {
        try {
            DocumentFromJson(json, "p.json", doc);
            ADD_FAILURE() << json;
        } catch (const DocumentError& e) {
            EXPECT_NE(std::string(e.what()).find(message), std::string::npos) << e.what();
            EXPECT_NE(std::string(e.what()).find("p.json"), std::string::npos) << e.what();
        }
        EXPECT_EQ(doc, before);
    }
}
