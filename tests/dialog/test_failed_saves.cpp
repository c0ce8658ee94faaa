// Saves that fail: every way of saving reports the file and the system's
// reason, keeps the document and its changes, leaves the previous file as it
// was, and stops the command that asked for the save.
#include <gtest/gtest.h>

#include <filesystem>

#include "dialog/LoadCalResources.h"
#include "document/Archive.h"
#include "document/AtomicFile.h"
#include "tests/dialog/ScriptedUi.h"
#include "tests/support/FaultInjection.h"

using namespace loadcal;
using loadcal::test::DialogFixture;
using loadcal::testsupport::FileSizeLimit;
using loadcal::testsupport::ReadBytes;

namespace {

/// Small enough that no archive fits: the write fails as on a full disk.
constexpr rlim_t kTooSmall = 64;

std::wstring SaveFailure(const std::wstring& path, const std::wstring& cause)
{
    return L"保存文件 \"" + path + L"\" 失败：无法写入文件（" + cause +
           L"）\n文档没有保存，修改仍在窗口中。";
}

/// A titled document saved with circuit M1, then changed (circuit M2).
std::wstring SavedThenChanged(DialogFixture& f)
{
    f.AddCircuit(L"M1", L"", L"10");
    f.SaveAsIn("a.LDC");
    f.AddCircuit(L"M2", L"", L"4");
    return f.folder.File("a.LDC");
}

int CircuitsIn(const std::wstring& path)
{
    CLoadCalDocument doc;
    LoadArchiveFile(path, doc);
    return doc.loads.GetSize();
}

}  // namespace

TEST(FailedSave, SaveReportsFileAndCauseAndKeepsFileAndChangesUntilASaveSucceeds)
{
    DialogFixture f;
    const std::wstring path = SavedThenChanged(f);
    const std::string before = ReadBytes(ToFsPath(path));
    const std::wstring title = f.dlg->GetTitle();
    {
        FileSizeLimit full(kTooSmall);
        f.dlg->OnCommand(res::ID_FILE_SAVE);
    }
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_EQ(f.ui.boxes[0].text, SaveFailure(path, L"File too large"));
    EXPECT_EQ(f.ui.boxes[0].caption, L"文件保存");
    EXPECT_EQ(f.ui.boxes[0].style, MB_OK | MB_ICONEXCLAMATION);
    EXPECT_TRUE(f.dlg->IsModified());
    EXPECT_EQ(f.dlg->GetTitle(), title);
    EXPECT_EQ(ReadBytes(ToFsPath(path)), before);
    EXPECT_EQ(f.folder.Entries(), (std::vector<std::string>{"a.LDC", "settings.idp"}));

    // Leaving still asks; once the disk has room the same Save goes through.
    f.ui.boxAnswers = {IDCANCEL};
    f.dlg->OnCancel();
    EXPECT_EQ(f.ui.boxes.size(), 2u);
    f.dlg->OnCommand(res::ID_FILE_SAVE);
    EXPECT_EQ(f.ui.boxes.size(), 2u);
    EXPECT_FALSE(f.dlg->IsModified());
    EXPECT_EQ(CircuitsIn(path), 2);

    // A failed save of an unchanged document leaves it unchanged.
    {
        FileSizeLimit full(kTooSmall);
        f.dlg->OnFileSave();
    }
    EXPECT_EQ(f.ui.boxes.size(), 3u);
    EXPECT_FALSE(f.dlg->IsModified());
}

TEST(FailedSave, SaveAsThatFailsChangesNeitherPathNorTitleNorRecentList)
{
    DialogFixture f;
    const std::wstring path = SavedThenChanged(f);
    const std::wstring title = f.dlg->GetTitle();
    // A file where the folder should be: no one, root included, can write there.
    testsupport::WriteBytes(f.folder / "plain", "x");
    const std::wstring target = f.folder.File("plain/b.LDC");
    f.ui.saveAnswers.push_back(target);
    f.dlg->OnCommand(res::ID_FILE_SAVE_AS);

    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_EQ(f.ui.boxes[0].text, SaveFailure(target, L"Not a directory"));
    EXPECT_EQ(f.dlg->GetFilePath(), path);
    EXPECT_EQ(f.dlg->GetTitle(), title);
    EXPECT_EQ(f.dlg->GetRecentFiles().Files().GetSize(), 1);
    EXPECT_TRUE(f.dlg->IsModified());
    EXPECT_EQ(CircuitsIn(path), 1);
}

TEST(FailedSave, TheSaveQuestionsYesThatFailsStopsEveryCommandThatAsked)
{
    const unsigned commands[] = {res::ID_FILE_NEW, res::ID_FILE_OPEN, 4000, res::ID_FILE_EXIT,
                                 IDCANCEL};
    for (const unsigned command : commands) {
        SCOPED_TRACE(command);
        DialogFixture f;
        const std::wstring path = SavedThenChanged(f);
        const std::string before = ReadBytes(ToFsPath(path));
        f.ui.boxAnswers = {IDYES};
        f.ui.openAnswers.push_back(f.folder.File("other.LDC"));
        {
            FileSizeLimit full(kTooSmall);
            f.dlg->OnCommand(command);
        }
        ASSERT_EQ(f.ui.boxes.size(), 2u);
        EXPECT_EQ(f.ui.boxes[0].text, L"当前文档已经改变,是否保存？");
        EXPECT_EQ(f.ui.boxes[1].text, SaveFailure(path, L"File too large"));
        EXPECT_EQ(f.ui.openAnswers.size(), 1u);  // no open dialog was shown
        EXPECT_TRUE(f.ui.endResults.empty());
        EXPECT_EQ(f.dlg->GetOutputMode(), 0);
        EXPECT_EQ(f.dlg->GetFilePath(), path);
        EXPECT_EQ(f.dlg->GetLoads().GetSize(), 2);
        EXPECT_TRUE(f.dlg->IsModified());
        EXPECT_EQ(ReadBytes(ToFsPath(path)), before);
    }
}

TEST(FailedSave, AnUntitledDocumentWhoseFirstSaveFailsStaysUntitled)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    const std::wstring target = f.folder.File("taken.LDC");
    std::filesystem::create_directory(ToFsPath(target));  // a folder of that name
    f.ui.boxAnswers = {IDYES};
    f.ui.saveAnswers.push_back(target);
    f.dlg->PreTranslateKeyDown(DialogKey::Escape);

    ASSERT_EQ(f.ui.boxes.size(), 2u);
    EXPECT_EQ(f.ui.boxes[1].text.rfind(L"保存文件 \"" + target + L"\" 失败：", 0), 0u);
    EXPECT_TRUE(f.ui.endResults.empty());
    EXPECT_TRUE(f.dlg->GetFilePath().empty());
    EXPECT_TRUE(f.dlg->IsModified());

    // Saving somewhere else then lets the output go on.
    f.ui.boxAnswers = {IDYES};
    f.ui.saveAnswers.push_back(f.folder.File("good.LDC"));
    f.dlg->OnFileExit();
    EXPECT_EQ(f.ui.endResults, (std::vector<int>{IDOK}));
    EXPECT_EQ(CircuitsIn(f.folder.File("good.LDC")), 1);
}

TEST(FailedSave, ADocumentWithMoreCircuitsThanAnArchiveHoldsIsRefusedInChinese)
{
    // 32,767 circuits fill an archive; one more typed into the entry row
    // makes a document that Save refuses, naming the count, before anything
    // is written.
    DialogFixture f;
    const std::wstring path = SavedThenChanged(f);
    const std::string before = ReadBytes(ToFsPath(path));
    std::wstring lines;
    for (int i = 2; i < 32767; ++i) {
        lines += L"x\n";
    }
    f.Load().SetFocusCell(3, 3);
    f.dlg->OnPasteKey(GridId::Load, lines);
    ASSERT_TRUE(f.ui.boxes.empty());
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 32767);
    f.Type(GridId::Load, 32768, 3, L"y");
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 32768);

    f.dlg->OnCommand(res::ID_FILE_SAVE);
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_EQ(f.ui.boxes[0].text,
              L"保存文件 \"" + path +
                  L"\" 失败：文档有 32768 个回路，超过存档最多能保存的 32767 个，文件没有写入"
                  L"\n文档没有保存，修改仍在窗口中。");
    EXPECT_TRUE(f.dlg->IsModified());
    EXPECT_EQ(ReadBytes(ToFsPath(path)), before);

    // One circuit fewer and it is saved.
    f.dlg->OnEditUndo();
    f.dlg->OnCommand(res::ID_FILE_SAVE);
    EXPECT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_FALSE(f.dlg->IsModified());
    EXPECT_EQ(CircuitsIn(path), 32767);
}
