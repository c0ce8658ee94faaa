// The one way files are written: whole or not at all, nothing left behind,
// the replaced file's identity kept, links followed.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "document/InterDpData.h"
#include "tests/support/TempFolder.h"

using namespace loadcal;
using testsupport::TempFolder;
namespace fs = std::filesystem;

namespace {

/// Clears the test seam whatever way a test ends.
struct FaultScope {
    explicit FaultScope(const AtomicFileFaults& faults) { SetAtomicFileFaults(faults); }
    ~FaultScope() { SetAtomicFileFaults({}); }
};

std::string ErrorOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const DocumentError& e) {
        return e.what();
    }
    return "no error";
}

mode_t ModeOf(const fs::path& p)
{
    struct stat info {};
    ::stat(p.c_str(), &info);
    return info.st_mode & 07777;
}

/// Runs a writer in a child that stops with its temporary file open and
/// half written, kills it with sig, and returns the folder's entries after.
std::vector<std::string> KillWhileWriting(const TempFolder& folder, const fs::path& target, int sig,
                                          bool named)
{
    int ready[2];
    if (::pipe(ready) != 0) {
        return {"pipe failed"};
    }
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(ready[0]);
        SetAtomicFileFaults({0, 0, named});
        CAtomicFile file(target);
        file.Write(std::string(1 << 20, 'n'));
        const char byte = 1;
        [[maybe_unused]] const auto n = ::write(ready[1], &byte, 1);
        for (;;) {
            ::pause();
        }
    }
    ::close(ready[1]);
    char byte = 0;
    const bool started = ::read(ready[0], &byte, 1) == 1;
    ::close(ready[0]);
    // While the writer works, an unnamed temporary file is nowhere to be seen.
    if (started && !named) {
        EXPECT_EQ(folder.Entries(), std::vector<std::string>{"a.LDC"});
    }
    ::kill(pid, sig);
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << "signal " << sig;
    return folder.Entries();
}

}  // namespace

TEST(AtomicFile, ReplacingKeepsPermissionsOwnerAndLinks)
{
    TempFolder folder;
    const fs::path real = folder / "real.LDC";
    testsupport::WriteBytes(real, "old");
    ::chmod(real.c_str(), 0640);
    const bool root = ::geteuid() == 0;
    if (root) {
        ASSERT_EQ(::chown(real.c_str(), 65534, 65534), 0);
    }
    // A chain: link2 -> link1 (relative, through a folder) -> real.LDC.
    fs::create_directory(folder / "sub");
    fs::create_symlink("../real.LDC", folder / "sub" / "link1");
    fs::create_symlink("sub/link1", folder / "link2.LDC");

    WriteFileAtomically(folder / "link2.LDC", "new");
    EXPECT_TRUE(fs::is_symlink(folder / "link2.LDC"));
    EXPECT_TRUE(fs::is_symlink(folder / "sub" / "link1"));
    EXPECT_EQ(testsupport::ReadBytes(real), "new");
    EXPECT_EQ(ModeOf(real), 0640u);
    if (root) {
        struct stat info {};
        ::stat(real.c_str(), &info);
        EXPECT_EQ(info.st_uid, 65534u);
        EXPECT_EQ(info.st_gid, 65534u);
    }
    EXPECT_EQ(folder.Entries(), (std::vector<std::string>{"link2.LDC", "real.LDC", "sub"}));

    // The store writes the same way: a settings file behind a link stays behind it.
    fs::create_symlink("real.LDC", folder / "settings.idp");
    CInterDpData store;
    store.SetSubValueW(L"负荷计算\\最近文件\\1", 2, L"a", 0);
    ASSERT_EQ(store.WriteDataToIdpFile(FromFsPath(folder / "settings.idp")), 0)
        << store.LastError();
    EXPECT_TRUE(fs::is_symlink(folder / "settings.idp"));
    EXPECT_EQ(ModeOf(real), 0640u);

    // A dangling link gets the file it names; a new file takes the umask's mode.
    fs::create_symlink("made.LDC", folder / "dangling.LDC");
    const mode_t mask = ::umask(022);
    WriteFileAtomically(folder / "dangling.LDC", "made");
    ::umask(mask);
    EXPECT_EQ(testsupport::ReadBytes(folder / "made.LDC"), "made");
    EXPECT_EQ(ModeOf(folder / "made.LDC"), 0644u);

    // A link loop is an error, not a hang.
    fs::create_symlink("loop2", folder / "loop1");
    fs::create_symlink("loop1", folder / "loop2");
    EXPECT_NE(ErrorOf([&] { WriteFileAtomically(folder / "loop1", "x"); }).find("loop1"),
              std::string::npos);
}

TEST(AtomicFile, InjectedWriteFailuresKeepTheOldFileAndLeaveNothing)
{
    for (const bool named : {false, true}) {
        TempFolder folder;
        const fs::path target = folder / "a.LDC";
        testsupport::WriteBytes(target, "precious");
        for (const int nth : {1, 2}) {
            const FaultScope faults({nth, ENOSPC, named});
            CAtomicFile file(target);
            std::string error;
            try {
                file.Write("first part ");
                file.Write("second part");
                file.Commit();
            } catch (const DocumentError& e) {
                error = e.what();
            }
            EXPECT_EQ(error, "cannot write \"" + target.string() + "\": No space left on device")
                << "named " << named << " write " << nth;
        }
        EXPECT_EQ(testsupport::ReadBytes(target), "precious");
        EXPECT_EQ(folder.Entries(), std::vector<std::string>{"a.LDC"});

        // The store reports it with its status and the same line.
        const FaultScope faults({1, EIO, named});
        CInterDpData store;
        store.SetSubValueW(L"a", 2, L"b", 0);
        EXPECT_EQ(store.WriteDataToIdpFile(FromFsPath(target)),
                  static_cast<int16_t>(IdpStatus::IoError));
        EXPECT_EQ(store.LastError(),
                  "cannot write \"" + target.string() + "\": Input/output error");
        EXPECT_EQ(folder.Entries(), std::vector<std::string>{"a.LDC"});
    }
}

TEST(AtomicFile, ExistingFilesAreReplacedOnlyWhenAskedAndFoldersNever)
{
    TempFolder folder;
    const fs::path target = folder / "out.dxf";
    {
        CAtomicFile file(target);
        file.Write("first");
        EXPECT_TRUE(file.CommitIfAbsent());
    }
    {
        CAtomicFile file(target);
        file.Write("second");
        EXPECT_FALSE(file.CommitIfAbsent());
    }
    EXPECT_EQ(testsupport::ReadBytes(target), "first");
    fs::create_directory(folder / "dir.LDC");
    EXPECT_EQ(ErrorOf([&] { WriteFileAtomically(folder / "dir.LDC", "x"); }),
              "cannot write \"" + (folder / "dir.LDC").string() + "\": it is a folder");
    EXPECT_EQ(folder.Entries(), (std::vector<std::string>{"dir.LDC", "out.dxf"}));
}

TEST(AtomicFile, AKilledWriterLeavesOnlyTheOldFile)
{
    TempFolder folder;
    const fs::path target = folder / "a.LDC";
    testsupport::WriteBytes(target, "old");
    for (const int sig : {SIGKILL, SIGINT, SIGTERM, SIGHUP}) {
        EXPECT_EQ(KillWhileWriting(folder, target, sig, false), std::vector<std::string>{"a.LDC"})
            << "unnamed, signal " << sig;
    }
    // Without unnamed files, the signals that can be caught still remove the named one.
    for (const int sig : {SIGINT, SIGTERM, SIGHUP}) {
        EXPECT_EQ(KillWhileWriting(folder, target, sig, true), std::vector<std::string>{"a.LDC"})
            << "named, signal " << sig;
    }
    EXPECT_EQ(testsupport::ReadBytes(target), "old");
}

TEST(AtomicFile, ReadingNamesTheReason)
{
    TempFolder folder;
    std::string bytes;
    EXPECT_EQ(ReadFileBytes(folder / "none", 100, bytes), ENOENT);
    EXPECT_EQ(ReadFileBytes(folder.Path(), 100, bytes), EISDIR);
    EXPECT_EQ(FileErrorText(EISDIR), "it is a folder");
    testsupport::WriteBytes(folder / "f", std::string(101, 'x'));
    EXPECT_EQ(ReadFileBytes(folder / "f", 100, bytes), EFBIG);
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(ReadFileBytes(folder / "f", 101, bytes), 0);
    EXPECT_EQ(bytes.size(), 101u);
}
