// The document lifecycle: save question, new, open, save, save as, the ways
// out of the dialog, the keyboard, recent files and the start-up document.
// The File menu's recent entries are checked on the window (tests/dialog_qt).
#include <gtest/gtest.h>

#include <filesystem>

#include "dialog/LoadCalResources.h"
#include "document/Archive.h"
#include "document/AtomicFile.h"
#include "model/Errors.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::DialogFixture;
using Texts = std::vector<std::wstring>;

namespace {

const std::wstring kQuestion = L"当前文档已经改变,是否保存？";

std::wstring TitleOf(const std::wstring& path)
{
    return L"需要系数法负荷计算『" + path + L"』";
}

bool Exists(const std::wstring& path)
{
    return std::filesystem::exists(ToFsPath(path));
}

/// A saved archive with two circuits under T1 and one transformer.
std::wstring MakeArchive(DialogFixture& f, const std::string& name)
{
    f.AddTransformer(L"T1");
    f.AddCircuit(L"M1", L"", L"10");
    f.AddCircuit(L"M2", L"L1,N", L"4");
    f.Type(GridId::Load, 2, 7, L"0.6");
    f.Type(GridId::Load, 2, 8, L"0.85");
    f.Own(1, {L"T1"});
    f.SaveAsIn(name);
    return f.folder.File(name);
}

}  // namespace

TEST(SaveQuestion, EscapeAnsweredNoAsksOnce)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    f.ui.boxAnswers = {IDNO, IDNO};
    EXPECT_EQ(f.dlg->PreTranslateKeyDown(DialogKey::Escape), KeyDisposition::Handled);
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    for (const auto& box : f.ui.boxes) {
        EXPECT_EQ(box.text, kQuestion);
        EXPECT_EQ(box.caption, L"文件保存");
        EXPECT_EQ(box.style, MB_YESNOCANCEL | MB_ICONQUESTION);
    }
    EXPECT_EQ(f.ui.endResults, (std::vector<int>{IDCANCEL}));
    EXPECT_EQ(f.dlg->GetEndResult(), IDCANCEL);
}

TEST(SaveQuestion, CancelOnTheEscapeQuestionAndEnterKeepTheDialogOpen)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    f.ui.boxAnswers = {IDCANCEL};
    EXPECT_EQ(f.dlg->PreTranslateKeyDown(DialogKey::Escape), KeyDisposition::DispatchToFocus);
    EXPECT_EQ(f.ui.boxes.size(), 1u);

    EXPECT_EQ(f.dlg->PreTranslateKeyDown(DialogKey::Enter), KeyDisposition::DispatchToFocus);
    EXPECT_EQ(f.dlg->PreTranslateKeyDown(DialogKey::Other), KeyDisposition::Default);
    EXPECT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_TRUE(f.ui.endResults.empty());
    EXPECT_FALSE(f.dlg->GetEndResult().has_value());
}

TEST(SaveQuestion, YesOnAnUntitledDocumentWithTheFileDialogCancelledKeepsItOpenAndModified)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    f.ui.boxAnswers = {IDYES};
    f.dlg->OnCancel();
    ASSERT_EQ(f.ui.saveDialogs.size(), 1u);
    EXPECT_EQ(f.ui.saveDialogs[0].filter, L"负荷计算存档文件(*.LDC)|*.LDC||");
    EXPECT_EQ(f.ui.saveDialogs[0].defaultExtension, L"LDC");
    EXPECT_TRUE(f.ui.saveDialogs[0].overwritePrompt);
    EXPECT_TRUE(f.ui.endResults.empty());
    EXPECT_TRUE(f.dlg->IsModified());
    EXPECT_TRUE(f.dlg->GetFilePath().empty());
}

TEST(SaveQuestion, YesOnAnUntitledDocumentSavesWithoutTitleOrRecentEntry)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    const std::wstring path = f.folder.File("q.LDC");
    f.ui.boxAnswers = {IDYES};
    f.ui.saveAnswers.push_back(path);
    f.dlg->OnFileExit();
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(f.dlg->GetFilePath(), path);
    EXPECT_EQ(f.dlg->GetTitle(), TitleOf(L"未命名"));
    EXPECT_EQ(f.dlg->GetRecentFiles().GetSize(), 0);
    EXPECT_EQ(f.ui.endResults, (std::vector<int>{IDOK}));
    EXPECT_EQ(f.dlg->GetOutputMode(), 0);
}

TEST(Leaving, OutputCommandsWithoutAWriterAskNothingAndNeverEndTheDialog)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    f.dlg->OnCommand(res::ID_OUTPUT_DRAWING);
    f.dlg->OnCommand(res::ID_OUTPUT_EXCEL);
    EXPECT_EQ(f.dlg->GetOutputMode(), 0);
    EXPECT_TRUE(f.ui.boxes.empty());
    EXPECT_TRUE(f.ui.endResults.empty());
    EXPECT_TRUE(f.dlg->IsModified());
}

TEST(Documents, SaveKeepsTheTitleAndSaveAsChangesItAndTheRecentList)
{
    DialogFixture f;
    const std::wstring first = MakeArchive(f, "first.LDC");
    EXPECT_EQ(f.dlg->GetTitle(), TitleOf(first));
    EXPECT_EQ(f.dlg->GetRecentFiles().GetAt(0), first);

    f.AddCircuit(L"M3");
    f.dlg->OnCommand(res::ID_FILE_SAVE);
    EXPECT_FALSE(f.dlg->IsModified());
    EXPECT_EQ(f.dlg->GetTitle(), TitleOf(first));
    EXPECT_TRUE(f.ui.saveDialogs.size() == 1u);

    const std::wstring second = f.folder.File("second.LDC");
    f.ui.saveAnswers.push_back(second);
    f.dlg->OnCommand(res::ID_FILE_SAVE_AS);
    EXPECT_EQ(f.dlg->GetTitle(), TitleOf(second));
    EXPECT_EQ(f.ui.titles.back(), TitleOf(second));
    EXPECT_EQ(f.dlg->GetRecentFiles().GetAt(0), second);
    EXPECT_EQ(f.dlg->GetRecentFiles().GetAt(1), first);
}

TEST(Documents, OpeningAnArchiveRebuildsRecordsAndGrids)
{
    DialogFixture f;
    const std::wstring path = MakeArchive(f, "a.LDC");
    f.dlg->OnFileNew();
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 0);
    EXPECT_EQ(f.Load().GetRowCount(), 4);
    EXPECT_EQ(f.dlg->GetTitle(), TitleOf(L"未命名"));

    f.ui.openAnswers.push_back(path);
    f.dlg->OnCommand(res::ID_FILE_OPEN);
    EXPECT_EQ(f.dlg->GetTitle(), TitleOf(path));
    EXPECT_FALSE(f.dlg->IsModified());
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 2);
    CGridCtrl& g = f.Load();
    ASSERT_EQ(g.GetRowCount(), 6);
    EXPECT_EQ(f.Texts(GridId::Load, 2, {3, 6}), (Texts{L"M2", L"0.22"}));
    EXPECT_EQ(g.GetItemText(1, 13), L"T1");
    // The entry row proposes the last circuit's factors, always at 0.38 kV.
    EXPECT_EQ(f.Texts(GridId::Load, 3, {4, 6, 7, 8}),
              (Texts{L"L1,L2,L3,N", L"0.38", L"0.6", L"0.85"}));
    EXPECT_EQ(g.GetItemBkColour(4, 1), RGB(180, 180, 180));
    EXPECT_EQ(g.GetItemText(5, 2), L"总计:");
    // T1 holds the 10 kW circuit; the unowned single-phase 4 kW counts three times.
    EXPECT_EQ(g.GetItemText(5, 5), L"22");
    EXPECT_EQ(g.GetItemBkColour(5, 13), RGB(255, 255, 128));
    EXPECT_EQ(g.GetItemState(5, 13), GVIS_READONLY);
    CGridCtrl& t = f.Transformers();
    ASSERT_EQ(t.GetRowCount(), 3);
    EXPECT_EQ(t.GetItemText(1, 1), L"T1");
    EXPECT_EQ(t.GetItemText(2, 14), L"0.9");
    EXPECT_EQ(t.GetItemFormat(1, 16), CLoadCalDiaog::kDataFormat);
    EXPECT_EQ(t.GetItemFormat(2, 16), CGridCell().format);
}

TEST(Documents, OpeningAMissingFileAsksAndCreatesItOnlyOnSave)
{
    DialogFixture f;
    const std::wstring path = f.folder.File("new.LDC");
    f.ui.openAnswers.push_back(path);
    f.ui.boxAnswers = {IDOK};
    f.dlg->OnFileOpen();
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_EQ(f.ui.boxes[0].text, L"负荷计算存档文件 \"" + path + L"\"不存在,是否新建?");
    EXPECT_EQ(f.ui.boxes[0].caption, L"loadcal");
    EXPECT_EQ(f.ui.boxes[0].style, MB_OKCANCEL | MB_ICONINFORMATION);
    EXPECT_EQ(f.dlg->GetTitle(), TitleOf(path));
    EXPECT_EQ(f.dlg->GetRecentFiles().GetAt(0), path);
    EXPECT_FALSE(Exists(path));

    f.AddCircuit(L"M1");
    f.dlg->OnFileSave();
    EXPECT_TRUE(Exists(path));
    EXPECT_TRUE(f.ui.saveDialogs.empty());
}

TEST(Documents, CancellingTheCreateQuestionKeepsTheEarlierDocument)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    f.ui.boxAnswers = {IDNO, IDCANCEL};
    f.ui.openAnswers.push_back(f.folder.File("none.LDC"));
    f.dlg->OnFileOpen();
    EXPECT_EQ(f.ui.boxes.size(), 2u);
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 1);
    EXPECT_TRUE(f.dlg->IsModified());
    EXPECT_EQ(f.dlg->GetTitle(), TitleOf(L"未命名"));
}

TEST(Documents, SaveWithoutPathSavesNothing)
{
    DialogFixture f;
    f.AddCircuit(L"M1");
    EXPECT_EQ(f.dlg->SaveDocument(), 0);
    EXPECT_TRUE(f.dlg->IsModified());
    EXPECT_EQ(f.dlg->GetDataStore(), nullptr);
}

TEST(StartUp, TheMostRecentExistingArchiveIsOpened)
{
    DialogFixture f;
    const std::wstring path = MakeArchive(f, "a.LDC");
    f.ui.titles.clear();
    f.Open();
    EXPECT_EQ(f.dlg->GetFilePath(), path);
    EXPECT_EQ(f.ui.titles, (std::vector<std::wstring>{TitleOf(path)}));
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 2);
    EXPECT_FALSE(f.dlg->IsModified());
    EXPECT_TRUE(f.ui.boxes.empty());
}

TEST(StartUp, AMissingMostRecentArchiveGivesAnUntitledDocumentWithoutMessage)
{
    DialogFixture f;
    const std::wstring path = MakeArchive(f, "a.LDC");
    std::filesystem::remove(ToFsPath(path));
    f.Open();
    EXPECT_EQ(f.dlg->GetTitle(), TitleOf(L"未命名"));
    EXPECT_TRUE(f.dlg->GetFilePath().empty());
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 0);
    EXPECT_TRUE(f.ui.boxes.empty());
    EXPECT_EQ(f.dlg->GetRecentFiles().GetAt(0), path);
}

TEST(RecentFileCommands, AnEntryOpensItsFileAndMovesToTheHead)
{
    DialogFixture f;
    const std::wstring a = MakeArchive(f, "a.LDC");
    f.dlg->OnFileNew();
    f.AddCircuit(L"X");
    f.SaveAsIn("b.LDC");
    ASSERT_EQ(f.dlg->GetRecentFiles().GetAt(1), a);

    f.AddCircuit(L"Y");
    f.ui.boxAnswers = {IDNO};
    f.dlg->OnCommand(4001);
    EXPECT_EQ(f.dlg->GetFilePath(), a);
    EXPECT_EQ(f.dlg->GetRecentFiles().GetAt(0), a);
    EXPECT_EQ(f.dlg->GetLoads().GetSize(), 2);
    EXPECT_EQ(f.dlg->GetTitle(), TitleOf(a));
}

TEST(RecentFileCommands, AMissingFileIsReportedAndStaysInTheList)
{
    DialogFixture f;
    const std::wstring a = MakeArchive(f, "a.LDC");
    std::filesystem::remove(ToFsPath(a));
    f.dlg->OnCommand(4000);
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_EQ(f.ui.boxes[0].text, L"选择的文件没有找到！");
    EXPECT_EQ(f.ui.boxes[0].style, MB_OK);
    EXPECT_EQ(f.dlg->GetRecentFiles().GetSize(), 1);
    EXPECT_THROW(f.dlg->OnCommand(4003), CInvalidArgException);
}

TEST(Documents, TheFieldsBeyondTheThirteenSurviveEditingCopyingUndoAndSaving)
{
    // The window shows none of them yet; whatever it does to a circuit keeps them.
    DialogFixture f;
    CLoadCalDocument doc;
    CLoadCalData lift;
    lift.m_strCircuitNo = L"WL1";
    lift.m_strRatedPower = L"15";
    lift.m_strLoadType = L"电梯";
    lift.m_strLoadClass = L"二级";
    CLoadCalData pump;
    pump.m_strCircuitNo = L"WL2";
    pump.m_strLoadType = L"消防水泵";
    pump.m_strQuantity = L"2";
    pump.m_strFire = L"消防";
    doc.loads.Add(lift);
    doc.loads.Add(pump);
    const std::wstring path = f.folder.File("typed.LDC");
    SaveArchiveFile(path, doc);

    f.ui.openAnswers.push_back(path);
    f.dlg->OnCommand(res::ID_FILE_OPEN);
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 2);
    f.Type(GridId::Load, 1, 5, L"20");
    f.SelectRows(GridId::Load, 2, 2);
    f.dlg->OnCopyRows(GridId::Load);
    f.Load().SetFocusCell(1, 1);
    f.dlg->OnCommand(res::ID_LOAD_PASTE);
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 3);
    int copies = 0;
    for (const CLoadCalData& c : f.dlg->GetLoads()) {
        if (c.m_strCircuitNo == L"WL2") {
            ++copies;
            EXPECT_EQ(c.m_strLoadType, L"消防水泵");
            EXPECT_EQ(c.m_strQuantity, L"2");
            EXPECT_EQ(c.m_strFire, L"消防");
        }
    }
    EXPECT_EQ(copies, 2);
    f.dlg->OnCommand(res::ID_EDIT_UNDO);
    ASSERT_EQ(f.dlg->GetLoads().GetSize(), 2);
    f.dlg->OnCommand(res::ID_FILE_SAVE);
    EXPECT_FALSE(f.dlg->IsModified());

    CLoadCalDocument saved;
    LoadArchiveFile(path, saved);
    ASSERT_EQ(saved.loads.GetSize(), 2);
    EXPECT_EQ(saved.loads[0].m_strRatedPower, L"20");
    for (int f2 = CLoadCalData::kFieldCount; f2 < CLoadCalData::kAnyFieldCount; ++f2) {
        EXPECT_EQ(saved.loads[0].AnyFieldAt(f2), lift.AnyFieldAt(f2));
        EXPECT_EQ(saved.loads[1].AnyFieldAt(f2), pump.AnyFieldAt(f2));
    }
}
