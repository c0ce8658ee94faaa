// Crash recovery: the copy of unsaved changes is written once the document
// rests, offered at the next start after a crash (a dialog destroyed without
// ending: its lock goes as a killed process's does), restored as a modified
// document of its file, removed by a save, New, Open, a normal end, or by
// declining it; windows open at the same time leave each other's copies alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "dialog/LoadCalResources.h"
#include "document/Archive.h"
#include "document/AtomicFile.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::DialogFixture;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

/// Recovery files (copies and locks) in the settings folder.
size_t RecoveryFiles(const DialogFixture& f)
{
    const auto names = f.folder.Entries();
    return std::count_if(names.begin(), names.end(),
                         [](const std::string& n) { return n.starts_with("recovery-"); });
}

/// Lets the timer see the document and then tick again after it rested.
void Rest(CLoadCalDiaog& dlg)
{
    const Clock::time_point now{};
    dlg.OnRecoveryTimer(now);
    dlg.OnRecoveryTimer(now + CLoadCalDiaog::kRecoveryQuiet);
}

const std::wstring kQuestionStart = L"上次没有正常退出，留下了未保存的修改：\n文件：";

}  // namespace

TEST(Recovery, TheCopyWaitsUntilTheDocumentRestsOrChangesHaveWaitedTooLong)
{
    DialogFixture f;
    const Clock::time_point now{};
    f.dlg->OnRecoveryTimer(now);
    EXPECT_FALSE(f.dlg->GetRecoveryCopyPath());  // nothing to keep

    f.AddCircuit(L"M1");
    f.dlg->OnRecoveryTimer(now);
    f.AddCircuit(L"M2");
    f.dlg->OnRecoveryTimer(now + 1500ms);
    f.dlg->OnRecoveryTimer(now + 3s);
    EXPECT_FALSE(f.dlg->GetRecoveryCopyPath()) << "written 1.5 s after the last change";
    f.dlg->OnRecoveryTimer(now + 3500ms);
    ASSERT_TRUE(f.dlg->GetRecoveryCopyPath());
    EXPECT_EQ(RecoveryFiles(f), 2u);  // the copy and its lock

    // Typing without pause still gets a copy every kRecoveryMaxDelay.
    const auto copy = ToFsPath(*f.dlg->GetRecoveryCopyPath());
    const auto written = std::filesystem::last_write_time(copy);
    Clock::time_point t = now + 10s;
    for (int i = 0; i < 10; ++i, t += 1s) {
        f.AddCircuit(L"C" + std::to_wstring(i));
        f.dlg->OnRecoveryTimer(t);
    }
    EXPECT_EQ(std::filesystem::last_write_time(copy), written);
    f.AddCircuit(L"LAST");
    f.dlg->OnRecoveryTimer(t);
    CLoadCalDocument doc;
    LoadArchiveFile(FromFsPath(copy), doc);
    EXPECT_EQ(doc.loads.GetSize(), 2 + 10 + 1);
}

TEST(Recovery, AfterACrashTheCopyIsOfferedAndRestoredAsAModifiedDocumentOfItsFile)
{
    DialogFixture f;
    f.AddCircuit(L"M1", L"", L"10");
    f.SaveAsIn("a.LDC");
    const std::wstring path = f.folder.File("a.LDC");
    const std::string saved = testsupport::ReadBytes(ToFsPath(path));
    f.AddCircuit(L"PUMP-7", L"L3,N", L"5.5");
    Rest(*f.dlg);
    const std::wstring crashedCopy = *f.dlg->GetRecoveryCopyPath();

    f.ui.boxAnswers = {IDYES};
    f.Open();  // the first dialog is gone without ending
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    const test::AskedBox& question = f.ui.boxes[0];
    EXPECT_EQ(question.text.rfind(kQuestionStart + path + L"\n时间：", 0), 0u);
    EXPECT_NE(question.text.find(L"是否恢复？"), std::wstring::npos);
    EXPECT_EQ(question.caption, L"恢复文档");
    EXPECT_EQ(question.style, MB_YESNO | MB_ICONQUESTION);

    EXPECT_EQ(f.dlg->GetFilePath(), path);
    EXPECT_EQ(f.dlg->GetTitle(), L"需要系数法负荷计算『" + path + L"』");
    EXPECT_TRUE(f.dlg->IsModified());
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 2);
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strPhase, L"L3,N");
    EXPECT_EQ(f.dlg->GetGrid(GridId::Load).GetItemText(2, 3), L"PUMP-7");
    EXPECT_EQ(testsupport::ReadBytes(ToFsPath(path)), saved);

    // The restored changes are this window's copy now; the crashed one is gone.
    ASSERT_TRUE(f.dlg->GetRecoveryCopyPath());
    EXPECT_NE(*f.dlg->GetRecoveryCopyPath(), crashedCopy);
    EXPECT_EQ(RecoveryFiles(f), 2u);

    f.dlg->OnFileSave();
    EXPECT_EQ(RecoveryFiles(f), 0u);
    f.Open();
    EXPECT_EQ(f.ui.boxes.size(), 1u);  // nothing offered any more
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 2);
}

TEST(Recovery, AnUntitledCopyIsKeptUntilAnsweredAndDecliningRemovesIt)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    Rest(*f.dlg);
    f.Open();  // the box closed without an answer: kept for the next start
    EXPECT_EQ(RecoveryFiles(f), 2u);

    f.ui.boxAnswers = {IDNO};
    f.Open();
    ASSERT_EQ(f.ui.boxes.size(), 2u);
    EXPECT_EQ(f.ui.boxes[1].text.rfind(kQuestionStart + L"未命名\n时间：", 0), 0u);
    EXPECT_EQ(RecoveryFiles(f), 0u);
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 0);
    EXPECT_FALSE(f.dlg->IsModified());

    // A damaged copy is dropped without a question.
    f.AddCircuit(L"M1");
    Rest(*f.dlg);
    const auto copy = ToFsPath(*f.dlg->GetRecoveryCopyPath());
    f.dlg.reset();
    testsupport::WriteBytes(copy, testsupport::ReadBytes(copy).substr(0, 40));
    f.Open();
    EXPECT_EQ(f.ui.boxes.size(), 2u);
    EXPECT_EQ(RecoveryFiles(f), 0u);
}

TEST(Recovery, SaveNewOpenAndEveryNormalEndRemoveTheCopyARefusedOpenKeepsIt)
{
    const unsigned commands[] = {res::ID_FILE_SAVE_AS, res::ID_FILE_NEW, res::ID_FILE_OPEN,
                                 res::ID_FILE_EXIT, IDCANCEL};
    for (const unsigned command : commands) {
        SCOPED_TRACE(command);
        DialogFixture f;
        testsupport::WriteBytes(f.folder / "bad.LDC", "not an archive");
        SaveArchiveFile(f.folder.File("other.LDC"),
                        CLoadCalDocument(CLoadArray(), CTransformerArray()));
        f.AddCircuit(L"M1");
        Rest(*f.dlg);
        f.ui.boxAnswers = {IDNO};
        f.ui.openAnswers.push_back(f.folder.File("bad.LDC"));
        f.dlg->OnFileOpen();
        ASSERT_EQ(RecoveryFiles(f), 2u);

        f.ui.boxAnswers = {IDNO};
        f.ui.openAnswers.push_back(f.folder.File("other.LDC"));
        f.ui.saveAnswers.push_back(f.folder.File("saved.LDC"));
        f.dlg->OnCommand(command);
        EXPECT_EQ(RecoveryFiles(f), 0u);
        f.dlg->OnRecoveryTimer(Clock::time_point{} + 1h);  // unmodified: no copy
        EXPECT_EQ(RecoveryFiles(f), 0u);
    }
}

TEST(Recovery, WindowsOpenAtTheSameTimeLeaveEachOthersCopiesAlone)
{
    DialogFixture f;
    f.AddCircuit(L"FIRST");
    Rest(*f.dlg);

    // A second window over the same settings while the first is open.
    test::ScriptedUi secondUi;
    auto second = std::make_unique<CLoadCalDiaog>(f.SettingsPath());
    second->SetUi(&secondUi);
    second->OnInitDialog();
    EXPECT_TRUE(secondUi.boxes.empty());
    second->OnEndEdit(GridId::Load, 1, 3, L"SECOND");
    Rest(*second);
    EXPECT_EQ(RecoveryFiles(f), 4u);

    // The first ends normally: only its own copy goes; the second crashes.
    f.ui.boxAnswers = {IDNO};
    f.dlg->OnFileExit();
    EXPECT_EQ(RecoveryFiles(f), 2u);
    second.reset();

    f.ui.boxAnswers = {IDYES};
    f.Open();
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strEquipName, L"SECOND");
}
