// Reading and writing data files on disk: statuses, messages and atomic replacement.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "document/AtomicFile.h"
#include "document/InterDpData.h"
#include "model/Text.h"
#include "tests/document/IdpTestSupport.h"

using namespace loadcal;
using testsupport::TempFolder;

namespace {

int16_t Code(IdpStatus s)
{
    return static_cast<int16_t>(s);
}

/// A store whose encoding is larger than the given number of bytes.
void Fill(CInterDpData& store, const std::wstring& text, int rows)
{
    for (int i = 0; i < rows; ++i) {
        store.SetSubValueW(L"负荷信息\\" + std::to_wstring(i) + L"\\设备名称",
                           static_cast<int16_t>(Utf16Length(text) + 1), text.c_str(), 0);
    }
}

/// Writes a new tree over an existing file, expecting the write to fail and
/// the old file to stay byte for byte with nothing else left in the folder.
void ExpectFailedWriteKeepsFile(const TempFolder& folder, const std::wstring& target)
{
    const std::string before = testsupport::ReadBytes(ToFsPath(target));
    const auto entries = folder.Entries();
    CInterDpData other;
    Fill(other, L"new content", 3000);
    EXPECT_EQ(other.WriteDataToIdpFile(target), Code(IdpStatus::IoError));
    EXPECT_NE(other.LastError().find(ToUtf8(target)), std::string::npos) << other.LastError();
    EXPECT_EQ(testsupport::ReadBytes(ToFsPath(target)), before);
    EXPECT_EQ(folder.Entries(), entries);
}

}  // namespace

TEST(IdpFile, WriteThenReadReplacesTheTree)
{
    TempFolder folder;
    const std::wstring file = folder.File("需要系数法负荷计算.idp");
    CInterDpData store;
    Fill(store, L"水泵 \U0001F4A7", 50);
    ASSERT_EQ(store.WriteDataToIdpFile(file), 0) << store.LastError();
    EXPECT_EQ(store.LastError(), "");
    EXPECT_EQ(folder.Entries(), std::vector<std::string>{"需要系数法负荷计算.idp"});

    CInterDpData reader;
    reader.SetSubValueW(L"stale", 1, L"", 0);
    ASSERT_EQ(reader.ReadDataFromIdpFile(file), 0) << reader.LastError();
    EXPECT_EQ(reader.GetSubValueFromPathW(0, L"stale"), nullptr);
    EXPECT_EQ(reader.GetSubValueFromPathW(0, L"负荷信息\\49\\设备名称")->ValueText(),
              L"水泵 \U0001F4A7");
    EXPECT_EQ(reader.Serialize(), store.Serialize());
}

TEST(IdpFile, MissingFolderOrDamagedFilesAreNamedInTheMessage)
{
    TempFolder folder;
    CInterDpData store;
    store.SetSubValueW(L"stale", 1, L"", 0);
    const std::wstring missing = folder.File("nope.LDC");
    EXPECT_EQ(store.ReadDataFromIdpFile(missing), Code(IdpStatus::FileNotFound));
    EXPECT_EQ(store.Root().ChildrenSize(), 0u);
    EXPECT_NE(store.LastError().find(ToUtf8(missing)), std::string::npos) << store.LastError();

    EXPECT_EQ(store.ReadDataFromIdpFile(FromFsPath(folder.Path())), Code(IdpStatus::IoError));
    EXPECT_EQ(store.ReadDataFromIdpFile(L""), Code(IdpStatus::FileNotFound));

    CInterDpData good;
    Fill(good, L"x", 5);
    const std::string bytes = good.Serialize();
    const std::wstring cut = folder.File("cut.LDC");
    testsupport::WriteBytes(ToFsPath(cut), bytes.substr(0, bytes.size() / 2));
    EXPECT_EQ(store.ReadDataFromIdpFile(cut), Code(IdpStatus::Truncated));
    EXPECT_NE(store.LastError().find("cut.LDC\": truncated"), std::string::npos)
        << store.LastError();
    EXPECT_GT(store.Root().ChildrenSize(), 0u);  // the part before the cut is kept
}

TEST(IdpFile, WriteIntoMissingFolderOrOverAFolderFails)
{
    TempFolder folder;
    CInterDpData store;
    Fill(store, L"x", 2);
    const std::wstring inMissing = folder.File("no-such-folder/a.LDC");
    EXPECT_EQ(store.WriteDataToIdpFile(inMissing), Code(IdpStatus::IoError));
    EXPECT_NE(store.LastError().find(ToUtf8(inMissing)), std::string::npos) << store.LastError();
    EXPECT_TRUE(folder.Entries().empty());

    std::filesystem::create_directory(folder.Path() / "dir.LDC");
    testsupport::WriteBytes(folder.Path() / "dir.LDC" / "inside", "keep");
    EXPECT_EQ(store.WriteDataToIdpFile(folder.File("dir.LDC")), Code(IdpStatus::IoError));
    EXPECT_EQ(folder.Entries(), std::vector<std::string>{"dir.LDC"});
    EXPECT_EQ(testsupport::ReadBytes(folder.Path() / "dir.LDC" / "inside"), "keep");
}

TEST(IdpFile, FailedWriteInReadOnlyFolderKeepsThePreviousFile)
{
    if (::geteuid() == 0) {
        GTEST_SKIP() << "file permissions do not stop root";
    }
    TempFolder folder;
    const std::wstring target = folder.File("a.LDC");
    CInterDpData old;
    Fill(old, L"old", 2);
    ASSERT_EQ(old.WriteDataToIdpFile(target), 0);
    std::filesystem::permissions(
        folder.Path(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    ExpectFailedWriteKeepsFile(folder, target);
}

TEST(IdpFile, WriteCutShortByTheFileSizeLimitKeepsThePreviousFile)
{
    // RLIMIT_FSIZE makes write() fail part-way, like a full disk, even for root.
    TempFolder folder;
    const std::wstring target = folder.File("a.LDC");
    CInterDpData old;
    Fill(old, L"old", 2);
    ASSERT_EQ(old.WriteDataToIdpFile(target), 0);

    rlimit saved{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    rlimit small = saved;
    small.rlim_cur = 4096;
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    ExpectFailedWriteKeepsFile(folder, target);
    ::setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previousHandler);
}
