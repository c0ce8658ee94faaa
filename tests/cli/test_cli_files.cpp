// The command line's files under faults: a full disk, a folder it may not
// write, a folder given as a file, documents an archive cannot hold, texts
// with NUL characters, and writers killed at random moments.

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <random>
#include <thread>

#include "document/Archive.h"
#include "document/JsonDocument.h"
#include "model/Calculation.h"
#include "model/Text.h"
#include "tests/support/Process.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/TempFolder.h"

extern char** environ;

using namespace loadcal;
namespace fs = std::filesystem;

namespace {

class CliFiles : public ::testing::Test {
protected:
    testsupport::ProcessResult Run(const std::vector<std::string>& args)
    {
        return testsupport::RunProcess(LOADCAL_EXE, args, {}, folder.Path().string());
    }
    std::string Path(const std::string& name) const { return (folder / name).string(); }
    void Write(const std::string& name, const std::string& text) const
    {
        testsupport::WriteBytes(folder / name, text);
    }

    testsupport::TempFolder folder;
};

/// Exactly one line on standard error, naming the file and holding the reason.
void ExpectOneLine(const testsupport::ProcessResult& r, const std::string& file,
                   const std::string& reason)
{
    EXPECT_EQ(r.status, 2) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_NE(r.err.find(file), std::string::npos) << r.err;
    EXPECT_NE(r.err.find(reason), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("[ERROR]"), std::string::npos) << r.err;
}

std::string RandomDocumentJson(int circuits)
{
    std::mt19937 rng(7);
    testsupport::RandomDocumentOptions opt;
    opt.circuits = circuits;
    opt.transformers = 8;
    CLoadArray loads;
    CTransformerArray transformers;
    testsupport::MakeRandomDocument(rng, opt, loads, transformers);
    return DocumentToJson(CLoadCalDocument(loads, transformers), ComputeTotals(loads));
}

/// A tmpfs of 64 KiB mounted for the test's lifetime (root only).
class TinyDisk {
public:
    explicit TinyDisk(const fs::path& at) : m_at(at)
    {
        fs::create_directory(at);
        m_mounted = ::mount("tmpfs", at.c_str(), "tmpfs", 0, "size=64k") == 0;
    }
    ~TinyDisk()
    {
        if (m_mounted) {
            ::umount2(m_at.c_str(), MNT_DETACH);
        }
    }
    TinyDisk(const TinyDisk&) = delete;
    TinyDisk& operator=(const TinyDisk&) = delete;
    bool Mounted() const { return m_mounted; }

private:
    fs::path m_at;
    bool m_mounted = false;
};

}  // namespace

TEST_F(CliFiles, TextsWithNulCharactersSurviveEveryWritingCommand)
{
    Write("in.json", R"({"loads": [{"circuitNo": "1", "equipName": "a\u0000b", "phase": "L1,N",
        "ratedPower": "3", "transformer": "T\u0000"}],
        "transformers": [{"name": "T\u0000", "actualCompCapacity": "\u0000"}]})");
    const std::wstring name(L"a\0b", 3);
    const std::wstring owner(L"T\0", 2);
    for (const auto& args :
         std::vector<std::vector<std::string>>{{"convert", "in.json", "out.LDC"},
                                               {"calc", "in.json", "-o", "out.LDC"},
                                               {"balance", "in.json", "-o", "out.LDC"}}) {
        fs::remove(Path("out.LDC"));
        auto r = Run(args);
        ASSERT_EQ(r.status, 0) << args[0] << ": " << r.err;
        CLoadCalDocument loadsDoc;
        LoadArchiveFile(folder.File("out.LDC"), loadsDoc);
        CLoadArray& loads = loadsDoc.loads;
        CTransformerArray& transformers = loadsDoc.transformers;
        ASSERT_EQ(loads.GetSize(), 1) << args[0];
        EXPECT_EQ(loads[0].m_strEquipName, name) << args[0];
        EXPECT_EQ(loads[0].m_strTransformer, owner) << args[0];
        ASSERT_EQ(transformers.GetSize(), 1) << args[0];
        EXPECT_EQ(transformers[0].m_strName, owner) << args[0];
        EXPECT_EQ(transformers[0].m_strActualCompCapacity, std::wstring(1, L'\0')) << args[0];

        // And back to JSON, as written.
        r = Run({"convert", "out.LDC", "back.json"});
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(testsupport::ReadBytes(folder / "back.json").find(R"("a\u0000b")"),
                  std::string::npos);
    }
}

TEST_F(CliFiles, DocumentsAnArchiveCannotHoldAreRefusedAndNothingIsWritten)
{
    std::string manyLoads = R"({"loads": [{})";
    std::string manyTransformers = R"({"transformers": [{"name": "T0"})";
    for (int i = 1; i < 32768; ++i) {
        manyLoads += ",{}";
        manyTransformers += ",{\"name\": \"T" + std::to_string(i) + "\"}";
    }
    Write("loads.json", manyLoads + "]}");
    Write("transformers.json", manyTransformers + "]}");
    Write("kept.LDC", "old");
    for (const auto& args :
         std::vector<std::vector<std::string>>{{"convert", "loads.json", "new.LDC"},
                                               {"calc", "loads.json", "-o", "new.LDC"},
                                               {"balance", "loads.json", "-o", "kept.LDC"},
                                               {"convert", "transformers.json", "kept.LDC"}}) {
        const auto r = Run(args);
        ExpectOneLine(r, args.back(), "holds 32768 entries, more than the 32767");
    }
    EXPECT_EQ(testsupport::ReadBytes(folder / "kept.LDC"), "old");
    EXPECT_EQ(folder.Entries(),
              (std::vector<std::string>{"kept.LDC", "loads.json", "transformers.json"}));
    // JSON holds them all.
    EXPECT_EQ(Run({"convert", "loads.json", "copy.json"}).status, 0);
}

TEST_F(CliFiles, AFullDiskGivesTheSystemsReasonInOneLine)
{
    const TinyDisk disk(folder / "full");
    if (!disk.Mounted()) {
        GTEST_SKIP() << "mounting a tmpfs is not permitted here (needs root)";
    }
    Write("in.json", RandomDocumentJson(400));  // about 150 KiB as an archive
    Write("full/old.LDC", "old");
    Write("full/old.xlsx", "old");
    {
        // Whatever room is left goes to a filler file, so every write meets a full disk.
        std::FILE* filler = std::fopen((folder / "full" / "filler").c_str(), "wb");
        ASSERT_NE(filler, nullptr);
        const std::string block(512, 'f');
        while (std::fwrite(block.data(), 1, block.size(), filler) == block.size() &&
               std::fflush(filler) == 0) {
        }
        std::fclose(filler);
    }
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"convert", "in.json", "full/old.LDC"},
             {"calc", "in.json", "-o", "full/old.LDC"},
             {"export", "in.json", "--xlsx", "full/old.xlsx"},
             {"export", "in.json", "--dxf", "full/new.dxf", "--base", "0,0"}}) {
        ExpectOneLine(Run(args), args[args[0] == "export" ? 3 : args.size() - 1],
                      "No space left on device");
    }
    EXPECT_EQ(testsupport::ReadBytes(folder / "full/old.LDC"), "old");
    EXPECT_EQ(testsupport::ReadBytes(folder / "full/old.xlsx"), "old");
    std::vector<std::string> left;
    for (const auto& e : fs::directory_iterator(folder / "full")) {
        left.push_back(e.path().filename().string());
    }
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, (std::vector<std::string>{"filler", "old.LDC", "old.xlsx"}));
}

TEST_F(CliFiles, AFolderWithoutWritePermissionAndAFolderGivenAsAFile)
{
    Write("in.json", RandomDocumentJson(3));
    fs::create_directory(folder / "x.json");
    ExpectOneLine(Run({"convert", "x.json", "y.LDC"}), "x.json", "is a folder");
    ExpectOneLine(Run({"convert", "in.json", "x.json"}), "x.json", "is a folder");

    fs::create_directory(folder / "locked");
    fs::permissions(folder / "locked", fs::perms::owner_read | fs::perms::owner_exec |
                                           fs::perms::group_read | fs::perms::group_exec |
                                           fs::perms::others_read | fs::perms::others_exec);
    testsupport::ProcessResult r;
    if (::geteuid() != 0) {
        r = Run({"convert", "in.json", "locked/out.LDC"});
    } else {
        // Root ignores permissions: the command runs as nobody.
        const std::vector<std::string> asNobody = {"--reuid=65534", "--regid=65534",
                                                   "--clear-groups", LOADCAL_EXE};
        auto args = asNobody;
        args.push_back("--help");
        if (!fs::exists("/usr/bin/setpriv") ||
            testsupport::RunProcess("/usr/bin/setpriv", args, {}, folder.Path().string()).status !=
                0) {
            GTEST_SKIP() << "cannot run the program as nobody (setpriv missing, or the build "
                            "folder is not readable by nobody)";
        }
        fs::permissions(folder.Path(), fs::perms::others_read | fs::perms::others_exec,
                        fs::perm_options::add);
        args = asNobody;
        for (const char* a : {"convert", "in.json", "locked/out.LDC"}) {
            args.push_back(a);
        }
        r = testsupport::RunProcess("/usr/bin/setpriv", args, {}, folder.Path().string());
    }
    ExpectOneLine(r, "locked/out.LDC", "Permission denied");
    EXPECT_TRUE(fs::is_empty(folder / "locked"));
}

TEST_F(CliFiles, WritersKilledAtRandomMomentsLeaveTheOldOrTheNewFileAndNothingElse)
{
    Write("in.json", RandomDocumentJson(600));
    ASSERT_EQ(Run({"convert", "in.json", "in.LDC"}).status, 0);
    ASSERT_EQ(Run({"convert", "in.LDC", "new.LDC"}).status, 0);
    const std::string fresh = testsupport::ReadBytes(folder / "new.LDC");
    fs::create_directory(folder / "out");
    const fs::path target = folder / "out" / "doc.LDC";
    const std::string old = "the previous document";

    const std::string exe = LOADCAL_EXE;
    const std::string input = Path("in.LDC");
    const std::string output = target.string();
    const auto spawn = [&] {
        const char* argv[] = {exe.c_str(), "convert", input.c_str(), output.c_str(), nullptr};
        pid_t pid = -1;
        ::posix_spawn(&pid, exe.c_str(), nullptr, nullptr, const_cast<char**>(argv), environ);
        return pid;
    };
    // The run time of a whole conversion (the fastest of three) spans the kills.
    int status = 0;
    auto runTime = std::chrono::steady_clock::duration::max();
    for (int i = 0; i < 3; ++i) {
        const auto started = std::chrono::steady_clock::now();
        ::waitpid(spawn(), &status, 0);
        runTime = std::min(runTime, std::chrono::steady_clock::now() - started);
    }
    ASSERT_EQ(testsupport::ReadBytes(target), fresh);
    const long runUs = std::chrono::duration_cast<std::chrono::microseconds>(runTime).count();

    constexpr int kKills = 200;
    const int signals[] = {SIGKILL, SIGINT, SIGTERM, SIGHUP};
    std::mt19937 rng(11);
    std::uniform_int_distribution<long> delayUs(runUs / 3, runUs * 6 / 5);
    int oldKept = 0, newPlaced = 0, commitNamesLeft = 0;
    for (int i = 0; i < kKills; ++i) {
        testsupport::WriteBytes(target, old);
        const pid_t pid = spawn();
        ASSERT_GT(pid, 0);
        std::this_thread::sleep_for(std::chrono::microseconds(delayUs(rng)));
        ::kill(pid, signals[rng() % 4]);
        ::waitpid(pid, &status, 0);
        const std::string now = testsupport::ReadBytes(target);
        ASSERT_TRUE(now == old || now == fresh) << "kill " << i << ": a mixed file";
        (now == old ? oldKept : newPlaced) += 1;
        for (const auto& e : fs::directory_iterator(folder / "out")) {
            const std::string name = e.path().filename().string();
            if (name == ".doc.LDC.loadcal-commit") {
                // Only a SIGKILL between linking and renaming leaves it: a complete file.
                EXPECT_EQ(testsupport::ReadBytes(e.path()), fresh);
                ++commitNamesLeft;
                fs::remove(e.path());
            } else {
                ASSERT_EQ(name, "doc.LDC") << "kill " << i << " left a file";
            }
        }
    }
    std::printf("%d kills: old file kept %d, new file placed %d, commit names left %d\n", kKills,
                oldKept, newPlaced, commitNamesLeft);
    EXPECT_GT(oldKept, 0);
    EXPECT_GT(newPlaced, 0);
    EXPECT_LE(commitNamesLeft, 2);
}
