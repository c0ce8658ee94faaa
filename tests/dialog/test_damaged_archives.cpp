// Archives that do not read back whole are refused wherever they are opened
// (menu, recent list, start-up): a box names the file and what is wrong, the
// open document stays as it was and the recent list keeps its entries.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <vector>

#include "dialog/LoadCalResources.h"
#include "document/AtomicFile.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::AskedBox;
using loadcal::test::DialogFixture;
using loadcal::testsupport::ReadBytes;
using loadcal::testsupport::WriteBytes;

namespace {

struct Damage {
    const char* name;
    std::string (*apply)(std::string bytes);
    const char* cause;       ///< a word the reader's own text must hold ("" when any will do)
    const wchar_t* problem;  ///< the reason in the user's words (null: any of them)
};

/// Every reason the window gives for a refused archive.
const std::vector<std::wstring> kProblems = {L"文件不存在",
                                             L"无法读取该文件",
                                             L"这不是负荷计算存档文件",
                                             L"存档的格式版本无法识别",
                                             L"文件不完整，内容没有到结尾就中断了",
                                             L"文件内容已损坏"};

const Damage kDamages[] = {
    {"truncated", [](std::string b) { return b.substr(0, b.size() * 2 / 3); }, "truncated",
     L"文件不完整，内容没有到结尾就中断了"},
    {"cut inside the header", [](std::string b) { return b.substr(0, 10); }, "truncated",
     L"文件不完整，内容没有到结尾就中断了"},
    {"empty", [](std::string) { return std::string(); }, "", nullptr},
    {"wrong magic",
     [](std::string b) {
         b[1] = 'X';
         return b;
     },
     "magic", L"这不是负荷计算存档文件"},
    {"a bit flipped",
     [](std::string b) {
         b[b.size() / 2] ^= 0x10;
         return b;
     },
     "", L"文件内容已损坏"},
    {"garbage",
     [](std::string b) {
         std::mt19937 rng(7);
         for (char& c : b) {
             c = static_cast<char>(rng());
         }
         return b;
     },
     "", nullptr},
    {"a text file", [](std::string) { return std::string("回路编号,设备名称\n1,M1\n"); }, "",
     nullptr},
};

/// Saves a document with two circuits and a transformer as `name` and
/// damages the file; the document stays open (titled, clean).
std::wstring DamagedArchive(DialogFixture& f, const std::string& name, const Damage& damage)
{
    f.AddTransformer(L"T1");
    f.AddCircuit(L"M1", L"", L"10");
    f.AddCircuit(L"M2", L"L2,N", L"4");
    f.SaveAsIn(name);
    const auto file = f.folder / name;
    WriteBytes(file, damage.apply(ReadBytes(file)));
    return f.folder.File(name);
}

void ExpectRefusal(const AskedBox& box, const std::wstring& path, const Damage& damage)
{
    const std::wstring head = L"无法打开负荷计算存档文件 \"" + path + L"\"：";
    const std::wstring tail = L"\n当前文档保持不变。";
    ASSERT_EQ(box.text.rfind(head, 0), 0u) << ToUtf8(box.text);
    ASSERT_GT(box.text.size(), head.size() + tail.size()) << "no reason given";
    EXPECT_EQ(box.text.substr(box.text.size() - tail.size()), tail);
    // The reason in Chinese, then the reader's own text in brackets.
    const std::wstring reason =
        box.text.substr(head.size(), box.text.size() - head.size() - tail.size());
    const size_t open = reason.find(L"（");
    ASSERT_NE(open, std::wstring::npos) << ToUtf8(box.text);
    ASSERT_EQ(reason.back(), L'）') << ToUtf8(box.text);
    const std::wstring problem = reason.substr(0, open);
    if (damage.problem) {
        EXPECT_EQ(problem, damage.problem) << ToUtf8(box.text);
    } else {
        EXPECT_NE(std::ranges::find(kProblems, problem), kProblems.end()) << ToUtf8(box.text);
    }
    const std::wstring own = reason.substr(open + 1, reason.size() - open - 2);
    EXPECT_FALSE(own.empty());
    EXPECT_NE(own.find(FromUtf8(damage.cause)), std::wstring::npos) << ToUtf8(box.text);
    EXPECT_EQ(box.caption, L"loadcal");
    EXPECT_EQ(box.style, MB_OK | MB_ICONEXCLAMATION);
}

}  // namespace

TEST(DamagedArchive, AtStartAndFromTheMenuItIsRefusedAndTheDocumentStaysAsItWas)
{
    for (const Damage& damage : kDamages) {
        SCOPED_TRACE(damage.name);
        DialogFixture f;
        const std::wstring bad = DamagedArchive(f, "bad.LDC", damage);
        const std::string damaged = ReadBytes(ToFsPath(bad));

        // At start: the message, then an untitled document.
        f.Open();
        ASSERT_EQ(f.ui.boxes.size(), 1u);
        ExpectRefusal(f.ui.boxes[0], bad, damage);
        EXPECT_TRUE(f.dlg->GetFilePath().empty());
        EXPECT_EQ(f.dlg->GetTitle(), L"需要系数法负荷计算『未命名』");
        EXPECT_EQ(f.dlg->GetLoads().GetSize(), 0);
        EXPECT_EQ(f.dlg->GetTransformers().GetSize(), 0);
        EXPECT_FALSE(f.dlg->IsModified());
        EXPECT_EQ(f.dlg->GetRecentFiles().GetAt(0), bad);

        // From the menu over a modified document, which stays.
        f.AddCircuit(L"UNSAVED");
        f.ui.boxAnswers = {IDNO};
        f.ui.openAnswers.push_back(bad);
        f.dlg->OnCommand(res::ID_FILE_OPEN);
        ASSERT_EQ(f.ui.boxes.size(), 3u);
        ExpectRefusal(f.ui.boxes[2], bad, damage);
        EXPECT_EQ(f.dlg->GetTitle(), L"需要系数法负荷计算『未命名』");
        EXPECT_TRUE(f.dlg->IsModified());
        ASSERT_EQ(f.dlg->GetLoads().GetSize(), 1);
        EXPECT_EQ(f.dlg->GetGrid(GridId::Load).GetItemText(1, 3), L"UNSAVED");
        EXPECT_EQ(f.dlg->GetRecentFiles().GetSize(), 1);
        EXPECT_EQ(ReadBytes(ToFsPath(bad)), damaged);  // refused, not "repaired"
    }
}

TEST(DamagedArchive, TheRecentListAndAFolderNamedLikeAnArchiveAreRefusedAlike)
{
    DialogFixture f;
    const std::wstring bad = DamagedArchive(f, "bad.LDC", kDamages[0]);
    f.dlg->OnFileNew();
    f.AddCircuit(L"X");
    f.SaveAsIn("x.LDC");
    f.dlg->OnCommand(4001);
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    ExpectRefusal(f.ui.boxes[0], bad, kDamages[0]);
    EXPECT_EQ(f.dlg->GetFilePath(), f.folder.File("x.LDC"));
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetRecentFiles().GetSize(), 2);
    EXPECT_EQ(f.dlg->GetRecentFiles().GetAt(1), bad);

    const std::wstring folder = f.folder.File("dir.LDC");
    std::filesystem::create_directory(ToFsPath(folder));
    f.ui.openAnswers.push_back(folder);
    f.dlg->OnFileOpen();
    ASSERT_EQ(f.ui.boxes.size(), 2u);
    EXPECT_EQ(f.ui.boxes[1].text.rfind(
                  L"无法打开负荷计算存档文件 \"" + folder + L"\"：无法读取该文件（", 0),
              0u)
        << ToUtf8(f.ui.boxes[1].text);
    EXPECT_EQ(f.dlg->GetFilePath(), f.folder.File("x.LDC"));
    EXPECT_EQ(f.dlg->GetRecentFiles().GetSize(), 2);
}
