// Crash recovery: the copy of unsaved changes is written once the document
// rests, offered at the next start after a crash (a dialog destroyed without
// ending: its lock goes as a killed process's does), restored as a modified
// document of its file, removed by a save, New, Open, a normal end, or by
// declining it; windows open at the same time leave each other's copies alone.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>

#include "dialog/LoadCalResources.h"
#include "document/Archive.h"
#include "document/AtomicFile.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::AskedBox;
using loadcal::test::DialogFixture;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

/// Recovery files (copies and locks) in the settings folder.
std::vector<std::string> RecoveryFiles(const DialogFixture& f)
{
    std::vector<std::string> names;
    for (const std::string& name : f.folder.Entries()) {
        if (name.starts_with("recovery-")) {
            names.push_back(name);
        }
    }
    return names;
}

/// Lets the timer see the document and then tick again after it rested.
void Rest(CLoadCalDiaog& dlg, Clock::time_point& now)
{
    dlg.OnRecoveryTimer(now);
    now += CLoadCalDiaog::kRecoveryQuiet;
    dlg.OnRecoveryTimer(now);
}

const std::wstring kQuestionStart = L"上次没有正常退出，留下了未保存的修改：\n文件：";

}  // namespace

TEST(Recovery, TheCopyWaitsUntilTheDocumentRestsOrChangesHaveWaitedTooLong)
{
    DialogFixture f;
    Clock::time_point now{};
    f.dlg->OnRecoveryTimer(now);
    EXPECT_FALSE(f.dlg->GetRecoveryCopyPath());  // nothing to keep

    f.AddCircuit(L"M1");
    f.dlg->OnRecoveryTimer(now);
    f.dlg->OnRecoveryTimer(now + 1s);
    f.AddCircuit(L"M2");
    f.dlg->OnRecoveryTimer(now + 1500ms);
    f.dlg->OnRecoveryTimer(now + 3s);
    EXPECT_FALSE(f.dlg->GetRecoveryCopyPath()) << "written 1.5 s after the last change";
    f.dlg->OnRecoveryTimer(now + 3500ms);
    ASSERT_TRUE(f.dlg->GetRecoveryCopyPath());
    EXPECT_EQ(RecoveryFiles(f).size(), 2u);  // the copy and its lock

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
    CLoadArray loads;
    CTransformerArray transformers;
    LoadArchiveFile(FromFsPath(copy), loads, transformers);
    EXPECT_EQ(loads.GetSize(), 2 + 10 + 1);
}

TEST(Recovery, AfterACrashTheCopyIsOfferedAndRestoredAsAModifiedDocumentOfItsFile)
{
    DialogFixture f;
    f.AddCircuit(L"M1", L"", L"10");
    f.SaveAsIn("a.LDC");
    const std::wstring path = f.folder.File("a.LDC");
    const std::string saved = testsupport::ReadBytes(ToFsPath(path));
    f.AddCircuit(L"PUMP-7", L"L3,N", L"5.5");
    Clock::time_point now{};
    Rest(*f.dlg, now);
    const std::wstring crashedCopy = *f.dlg->GetRecoveryCopyPath();

    f.ui.boxAnswers = {IDYES};
    f.Open();  // the first dialog is gone without ending
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    const AskedBox& question = f.ui.boxes[0];
    EXPECT_EQ(question.text.rfind(kQuestionStart + path + L"\n时间：", 0), 0u);
    EXPECT_NE(question.text.find(L"是否恢复？"), std::wstring::npos);
    EXPECT_EQ(question.caption, L"恢复文档");
    EXPECT_EQ(question.style, MB_YESNO | MB_ICONQUESTION);

    EXPECT_EQ(f.dlg->GetFilePath(), path);
    EXPECT_EQ(f.dlg->GetTitle(), L"需要系数法负荷计算『" + path + L"』");
    EXPECT_TRUE(f.dlg->IsModified());
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 2);
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strEquipName, L"PUMP-7");
    EXPECT_EQ(f.dlg->GetLoads()[1].m_strPhase, L"L3,N");
    EXPECT_EQ(f.dlg->GetGrid(GridId::Load).GetItemText(2, 3), L"PUMP-7");
    EXPECT_EQ(testsupport::ReadBytes(ToFsPath(path)), saved);

    // The restored changes are this window's copy now; the crashed one is gone.
    ASSERT_TRUE(f.dlg->GetRecoveryCopyPath());
    EXPECT_NE(*f.dlg->GetRecoveryCopyPath(), crashedCopy);
    EXPECT_FALSE(std::filesystem::exists(ToFsPath(crashedCopy)));
    EXPECT_EQ(RecoveryFiles(f).size(), 2u);

    f.dlg->OnFileSave();
    EXPECT_TRUE(RecoveryFiles(f).empty());
    f.Open();
    EXPECT_EQ(f.ui.boxes.size(), 1u);  // nothing offered any more
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 2);
}

TEST(Recovery, AnUntitledCopyIsOfferedAsUntitledAndDecliningRemovesIt)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    Clock::time_point now{};
    Rest(*f.dlg, now);

    f.ui.boxAnswers = {IDNO};
    f.Open();
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_EQ(f.ui.boxes[0].text.rfind(kQuestionStart + L"未命名\n时间：", 0), 0u);
    EXPECT_TRUE(RecoveryFiles(f).empty());
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 0);
    EXPECT_FALSE(f.dlg->IsModified());
}

TEST(Recovery, AnUnansweredQuestionKeepsTheCopyForTheNextStart)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    Clock::time_point now{};
    Rest(*f.dlg, now);
    f.Open();  // no answer: the box was closed
    EXPECT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_EQ(RecoveryFiles(f).size(), 2u);
    f.ui.boxAnswers = {IDYES};
    f.Open();
    EXPECT_EQ(f.ui.boxes.size(), 2u);
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 1);
}

TEST(Recovery, SaveNewOpenAndEveryNormalEndRemoveTheCopy)
{
    const std::pair<const char*, std::function<void(DialogFixture&)>> ways[] = {
        {"save as",
         [](DialogFixture& f) {
             f.SaveAsIn("s.LDC");
         }},
        {"new (no)",
         [](DialogFixture& f) {
             f.ui.boxAnswers = {IDNO};
             f.dlg->OnFileNew();
         }},
        {"open another (no)",
         [](DialogFixture& f) {
             f.ui.boxAnswers = {IDNO};
             f.ui.openAnswers.push_back(f.folder.File("other.LDC"));
             f.dlg->OnFileOpen();
         }},
        {"exit (no)",
         [](DialogFixture& f) {
             f.ui.boxAnswers = {IDNO};
             f.dlg->OnFileExit();
         }},
        {"close box (no)",
         [](DialogFixture& f) {
             f.ui.boxAnswers = {IDNO};
             f.dlg->OnCancel();
         }},
        {"draw (no)",
         [](DialogFixture& f) {
             f.ui.boxAnswers = {IDNO};
             f.dlg->OnOutputDrawing();
         }},
    };
    for (const auto& [name, way] : ways) {
        SCOPED_TRACE(name);
        DialogFixture f;
        SaveArchiveFile(f.folder.File("other.LDC"), CLoadArray(), CTransformerArray());
        f.AddCircuit(L"M1");
        Clock::time_point now{};
        Rest(*f.dlg, now);
        ASSERT_EQ(RecoveryFiles(f).size(), 2u);
        way(f);
        EXPECT_TRUE(RecoveryFiles(f).empty());
        f.dlg->OnRecoveryTimer(now + 1h);  // an unmodified document keeps no copy
        EXPECT_TRUE(RecoveryFiles(f).empty());
    }
}

TEST(Recovery, ARefusedOpenKeepsTheCopyOfTheDocumentThatStays)
{
    DialogFixture f;
    testsupport::WriteBytes(f.folder / "bad.LDC", "not an archive");
    f.AddCircuit(L"M1");
    Clock::time_point now{};
    Rest(*f.dlg, now);
    f.ui.boxAnswers = {IDNO};
    f.ui.openAnswers.push_back(f.folder.File("bad.LDC"));
    f.dlg->OnFileOpen();
    EXPECT_EQ(f.ui.boxes.size(), 2u);
    EXPECT_EQ(RecoveryFiles(f).size(), 2u);
}

TEST(Recovery, WindowsOpenAtTheSameTimeLeaveEachOthersCopiesAlone)
{
    DialogFixture f;
    f.AddCircuit(L"FIRST");
    Clock::time_point now{};
    Rest(*f.dlg, now);

    // A second window over the same settings while the first is open.
    test::ScriptedUi secondUi;
    auto second = std::make_unique<CLoadCalDiaog>(f.SettingsPath());
    second->SetUi(&secondUi);
    second->OnInitDialog();
    EXPECT_TRUE(secondUi.boxes.empty());
    second->OnEndEdit(GridId::Load, 1, 3, L"SECOND");
    Rest(*second, now);
    EXPECT_EQ(RecoveryFiles(f).size(), 4u);

    // The first ends normally: only its own copy goes; the second crashes.
    f.ui.boxAnswers = {IDNO};
    f.dlg->OnFileExit();
    EXPECT_EQ(RecoveryFiles(f).size(), 2u);
    second.reset();

    f.ui.boxAnswers = {IDYES};
    f.Open();
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 1);
    EXPECT_EQ(f.dlg->GetLoads()[0].m_strEquipName, L"SECOND");
}

TEST(Recovery, ADamagedCopyIsDroppedWithoutAQuestion)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    Clock::time_point now{};
    Rest(*f.dlg, now);
    const auto copy = ToFsPath(*f.dlg->GetRecoveryCopyPath());
    f.dlg.reset();
    const std::string bytes = testsupport::ReadBytes(copy);
    testsupport::WriteBytes(copy, bytes.substr(0, bytes.size() / 2));
    f.Open();
    EXPECT_TRUE(f.ui.boxes.empty());
    EXPECT_TRUE(RecoveryFiles(f).empty());
}
