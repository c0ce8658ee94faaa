#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "dialog/LoadCalResources.h"
#include "dialog/MenuModel.h"
#include "document/AtomicFile.h"
#include "document/InterDpData.h"
#include "document/RecentFiles.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using loadcal::test::TempFolder;

namespace {

std::vector<std::wstring> Entries(const CLoadCalRecentFiles& list)
{
    return {list.Files().begin(), list.Files().end()};
}

/// The File menu as the menu resource holds it.
CMenuModel FileMenu()
{
    std::optional<CMenuModel> bar = res::LoadMenu(res::IDR_MENU_MAIN);
    return std::move(*bar->GetSubMenu(0));
}

std::vector<std::wstring> Texts(const CMenuModel& menu)
{
    std::vector<std::wstring> texts;
    for (const CMenuItem& item : menu.Items()) {
        texts.push_back(item.kind == CMenuItem::Kind::Separator ? L"-" : item.text);
    }
    return texts;
}

}  // namespace

TEST(RecentFiles, SettingsFileLiesInDqcalOneFolderAboveTheExecutable)
{
    EXPECT_EQ(CLoadCalRecentFiles::SettingsPathForModule(L"/opt/loadcal/bin/loadcal"),
              L"/opt/loadcal/DQCal/需要系数法负荷计算.idp");
    EXPECT_EQ(CLoadCalRecentFiles::SettingsPathForModule(L"/bin/loadcal"),
              L"/DQCal/需要系数法负荷计算.idp");

    const std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(CLoadCalRecentFiles::ModuleFilePath(), FromFsPath(exe));
    EXPECT_EQ(CLoadCalRecentFiles::DefaultSettingsPath(),
              FromFsPath(exe.parent_path().parent_path()) + L"/DQCal/需要系数法负荷计算.idp");
}

TEST(RecentFiles, FifthFilePushesOutTheOldestAndCaseOnlyDifferenceKeepsNewSpelling)
{
    TempFolder folder;
    const std::wstring settings = folder.File("s.idp");
    {
        CLoadCalRecentFiles list(settings);
        for (const wchar_t* p : {L"/d/a.LDC", L"/d/b.LDC", L"/d/c.LDC", L"/d/d.LDC"}) {
            list.AddFile(p);
            list.SaveList();
        }
        list.AddFile(L"/D/B.ldc");
        list.SaveList();
        EXPECT_EQ(Entries(list),
                  (std::vector<std::wstring>{L"/D/B.ldc", L"/d/d.LDC", L"/d/c.LDC", L"/d/a.LDC"}));
        list.AddFile(L"/d/e.LDC");
        list.SaveList();
        EXPECT_EQ(Entries(list),
                  (std::vector<std::wstring>{L"/d/e.LDC", L"/D/B.ldc", L"/d/d.LDC", L"/d/c.LDC"}));
    }
    // The file holds values 1 to 4 in the new order, under the read spelling.
    CInterDpData store;
    ASSERT_EQ(store.ReadDataFromIdpFile(settings), 0);
    const wchar_t* expected[] = {L"/d/e.LDC", L"/D/B.ldc", L"/d/d.LDC", L"/d/c.LDC"};
    for (int n = 1; n <= 4; ++n) {
        const CInterDpNode* node =
            store.GetSubValueFromPathW(0, L"负荷计算\\最近文件\\" + std::to_wstring(n));
        ASSERT_NE(node, nullptr) << n;
        EXPECT_EQ(node->ValueText(), expected[n - 1]);
    }
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"负荷计算\\最近文件\\5"), nullptr);

    CLoadCalRecentFiles reread(settings);
    reread.LoadList();
    EXPECT_EQ(Entries(reread), std::vector<std::wstring>(expected, expected + 4));
}

TEST(RecentFiles, LoadingStopsAtTheFirstMissingOrValuelessEntry)
{
    TempFolder folder;
    const std::wstring settings = folder.File("s.idp");
    const std::wstring group = L"负荷计算\\最近文件\\";
    CInterDpData store;
    for (const wchar_t* n : {L"1", L"2", L"4"}) {
        store.SetSubValueW(group + n, 9, L"/x/1.LDC", 0);
    }
    ASSERT_EQ(store.WriteDataToIdpFile(settings), 0);
    CLoadCalRecentFiles gap(settings);
    gap.LoadList();
    EXPECT_EQ(gap.GetSize(), 2);

    store.SetSubValueW(group + L"2", 0, nullptr, 0);
    ASSERT_EQ(store.WriteDataToIdpFile(settings), 0);
    CLoadCalRecentFiles valueless(settings);
    valueless.LoadList();
    EXPECT_EQ(valueless.GetSize(), 1);
}

TEST(RecentFiles, MissingSettingsFolderIsMadeOnTheFirstAddition)
{
    TempFolder folder;
    const std::wstring settings = folder.File("DQCal/需要系数法负荷计算.idp");
    CLoadCalRecentFiles list(settings);
    list.LoadList();
    EXPECT_EQ(list.GetSize(), 0);
    list.AddFile(L"/d/a.LDC");
    list.SaveList();
    CLoadCalRecentFiles reread(settings);
    reread.LoadList();
    ASSERT_EQ(reread.GetSize(), 1);
    EXPECT_EQ(reread.GetAt(0), L"/d/a.LDC");
}

TEST(RecentFiles, SettingsFolderThatCannotBeMadeLeavesTheListInMemory)
{
    TempFolder folder;
    std::ofstream(folder.Path() / "DQCal") << "a file where the folder should be";
    CLoadCalRecentFiles list(folder.File("DQCal/需要系数法负荷计算.idp"));
    list.AddFile(L"/d/a.LDC");
    list.SaveList();
    EXPECT_EQ(list.GetSize(), 1);
    EXPECT_TRUE(std::filesystem::is_regular_file(folder.Path() / "DQCal"));
}

TEST(RecentFiles, TheGreyedPlaceholderStandsOnceUntilEntriesAreNumberedFromPositionFive)
{
    TempFolder folder;
    CLoadCalRecentFiles list(folder.File("s.idp"));
    CMenuModel file = FileMenu();
    ASSERT_EQ(file.GetItem(5).id, res::ID_FILE_RECENT);
    list.UpdateMenu(file, 5);
    list.UpdateMenu(file, 5);
    EXPECT_TRUE(list.PlaceholderRemoved());
    EXPECT_EQ(file.GetItemCount(), 8);
    EXPECT_EQ(file.GetItem(5).text, L"最近文件");
    EXPECT_EQ(file.GetItem(5).id, CLoadCalRecentFiles::kFirstCommandId);
    EXPECT_FALSE(file.GetItem(5).enabled);
    EXPECT_EQ(file.FindId(res::ID_FILE_RECENT), -1);

    // Rebuilt on every update, without duplicates; "&" in a path is kept.
    list.AddFile(L"/d/a&b.LDC");
    list.UpdateMenu(file, 5);
    list.AddFile(L"/d/c.LDC");
    list.UpdateMenu(file, 5);
    EXPECT_EQ(Texts(file),
              (std::vector<std::wstring>{L"新建(&N)\tCtrl+N", L"打开(&O)...\tCtrl+O",
                                         L"保存(&S)\tCtrl+S", L"另存为(&A)...", L"-",
                                         L"&1 /d/c.LDC", L"&2 /d/a&b.LDC", L"-", L"退出(&X)"}));
    EXPECT_EQ(file.GetItem(5).id, 4000u);
    EXPECT_EQ(file.GetItem(6).id, 4001u);
    EXPECT_TRUE(file.GetItem(6).enabled);
}
