#include "document/AtomicFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <random>

#include "document/DocumentError.h"
#include "document/LargeMemory.h"
#include "model/Text.h"

namespace loadcal {
namespace {

AtomicFileFaults g_faults;

/// The signals a user or a session manager sends to end the program; they are
/// held back while a commit names its file.
constexpr std::array<int, 3> kEndSignals = {SIGINT, SIGTERM, SIGHUP};

/// Links followed before giving up, as the kernel does.
constexpr int kMaxLinkHops = 40;

std::string Quoted(const std::filesystem::path& p)
{
    return "\"" + p.string() + "\"";
}

/// The fixed name a replacing commit links the finished file under.
std::string CommitName(const std::string& name)
{
    return "." + name + ".loadcal-commit";
}

/// Holds SIGINT, SIGTERM and SIGHUP back for its lifetime (this thread); a
/// signal sent meanwhile is delivered when it ends.
class CSignalHold {
public:
    CSignalHold()
    {
        sigset_t held;
        sigemptyset(&held);
        for (const int sig : kEndSignals) {
            sigaddset(&held, sig);
        }
        pthread_sigmask(SIG_BLOCK, &held, &m_saved);
    }
    ~CSignalHold() { pthread_sigmask(SIG_SETMASK, &m_saved, nullptr); }
    CSignalHold(const CSignalHold&) = delete;
    CSignalHold& operator=(const CSignalHold&) = delete;

private:
    sigset_t m_saved{};
};

// Named temporary files that a signal handler removes before the process
// dies. Fixed slots, so that the handler touches only static memory.
constexpr size_t kNamedSlots = 16;
constexpr size_t kSlotPathSize = 4096;
struct NamedSlot {
    std::atomic<int> used{0};
    char path[kSlotPathSize] = {};
};
std::array<NamedSlot, kNamedSlots> g_named;

extern "C" void RemoveNamedAndDie(int sig)
{
    for (auto& slot : g_named) {
        if (slot.used.load() == 2) {
            ::unlink(slot.path);
        }
    }
    ::signal(sig, SIG_DFL);
    ::raise(sig);
}

void InstallRemovalHandlers()
{
    static std::atomic<bool> installed{false};
    if (installed.exchange(true)) {
        return;
    }
    for (const int sig : kEndSignals) {
        struct sigaction current {};
        if (::sigaction(sig, nullptr, &current) == 0 && current.sa_handler == SIG_DFL) {
            struct sigaction ours {};
            ours.sa_handler = RemoveNamedAndDie;
            sigemptyset(&ours.sa_mask);
            ::sigaction(sig, &ours, nullptr);
        }
    }
}

/// Registers a named temporary file for removal on a signal; -1 when every
/// slot is taken (the file is then removed only by the destructor).
int RegisterNamed(const std::filesystem::path& path)
{
    const std::string& text = path.native();
    if (text.size() >= kSlotPathSize) {
        return -1;
    }
    InstallRemovalHandlers();
    for (size_t i = 0; i < kNamedSlots; ++i) {
        int expected = 0;
        if (g_named[i].used.compare_exchange_strong(expected, 1)) {
            std::memcpy(g_named[i].path, text.c_str(), text.size() + 1);
            g_named[i].used.store(2);
            return static_cast<int>(i);
        }
    }
    return -1;
}

void UnregisterNamed(const std::filesystem::path& path)
{
    for (auto& slot : g_named) {
        if (slot.used.load() == 2 && path.native() == slot.path) {
            slot.used.store(0);
            return;
        }
    }
}

std::string RandomSuffix()
{
    static std::mt19937_64 rng{std::random_device{}()};
    static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::string out(6, 'x');
    for (char& c : out) {
        c = kLetters[rng() % (sizeof kLetters - 1)];
    }
    return out;
}

/// The file a path finally names, following a symbolic link at its end
/// (and the links those name); folders along the way are left to the kernel.
std::filesystem::path FollowLinks(std::filesystem::path p, int& error)
{
    error = 0;
    for (int hops = 0; hops <= kMaxLinkHops; ++hops) {
        struct stat info {};
        if (::lstat(p.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) {
            return p;
        }
        std::error_code ec;
        const std::filesystem::path link = std::filesystem::read_symlink(p, ec);
        if (ec) {
            return p;
        }
        p = link.is_absolute() ? link : p.parent_path() / link;
    }
    error = ELOOP;
    return p;
}

/// write() with the injected fault of the test seam.
ssize_t WriteSome(int fd, const char* data, size_t size)
{
    if (g_faults.failWriteAt > 0 && --g_faults.failWriteAt == 0) {
        errno = g_faults.writeError;
        return -1;
    }
    return ::write(fd, data, size);
}

/// Gives the new file the permission bits, owner and group of the file it replaces.
void TakeIdentity(int fd, int dirFd, const std::string& name)
{
    struct stat old {};
    if (::fstatat(dirFd, name.c_str(), &old, 0) != 0 || !S_ISREG(old.st_mode)) {
        return;
    }
    // Owner first: a change of owner clears the set-id bits that fchmod then restores.
    if (::fchown(fd, old.st_uid, old.st_gid) != 0) {
        [[maybe_unused]] const int ignored = ::fchown(fd, static_cast<uid_t>(-1), old.st_gid);
    }
    ::fchmod(fd, old.st_mode & 07777);
}

}  // namespace

std::filesystem::path ToFsPath(const std::wstring& path)
{
    return std::filesystem::path(ToUtf8(path));
}

std::wstring FromFsPath(const std::filesystem::path& path)
{
    return FromUtf8(path.string());
}

std::string FileErrorText(int error)
{
    switch (error) {
        case EISDIR:
            return "it is a folder";
        case ENOENT:
            return "no such file or folder";
        case ENODEV:
            return "not a regular file";
        default:
            return std::strerror(error);
    }
}

int ReadFileBytes(const std::filesystem::path& file, uint64_t limit, std::string& bytes)
{
    bytes.clear();
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return errno == ENOTDIR ? ENOENT : errno;
    }
    struct stat info {};
    int error = 0;
    if (::fstat(fd, &info) != 0) {
        error = errno;
    } else if (S_ISDIR(info.st_mode)) {
        error = EISDIR;
    } else if (!S_ISREG(info.st_mode)) {
        error = ENODEV;
    } else if (static_cast<uint64_t>(info.st_size) > limit) {
        error = EFBIG;
    } else {
        bytes.reserve(static_cast<size_t>(info.st_size));
        AdviseHugePages(bytes.data(), bytes.capacity());
        bytes.resize(static_cast<size_t>(info.st_size));
        size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t n = ::read(fd, bytes.data() + done, bytes.size() - done);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n < 0) {
                error = errno;
                break;
            }
            if (n == 0) {
                break;
            }
            done += static_cast<size_t>(n);
        }
        bytes.resize(done);
    }
    ::close(fd);
    return error;
}

void WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes)
{
    CAtomicFile file(target);
    file.Write(bytes);
    file.Commit();
}

void SetAtomicFileFaults(const AtomicFileFaults& faults)
{
    g_faults = faults;
}

CAtomicFile::CAtomicFile(std::filesystem::path target) : m_target(std::move(target))
{
    int error = 0;
    m_final = FollowLinks(m_target, error);
    if (error != 0) {
        Fail(error);
    }
    if (m_final.empty()) {
        Fail(ENOENT);
    }
    if (!m_final.has_filename()) {
        Fail(EISDIR);
    }
    const std::filesystem::path folder =
        m_final.has_parent_path() ? m_final.parent_path() : std::filesystem::path(".");
    m_dirFd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_dirFd < 0 && errno == EACCES) {
        m_dirFd = ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    }
    if (m_dirFd < 0) {
        Fail(errno);
    }
    const std::string name = m_final.filename().string();
    struct stat info {};
    if (::fstatat(m_dirFd, name.c_str(), &info, 0) == 0 && S_ISDIR(info.st_mode)) {
        Close();
        Fail(EISDIR);
    }
    if (!g_faults.namedTemporary) {
        m_fd = ::openat(m_dirFd, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
        if (m_fd < 0 && errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) {
            const int err = errno;
            Close();
            Fail(err);
        }
    }
    while (m_fd < 0) {
        m_named = folder / ("." + name + ".loadcal-" + RandomSuffix());
        m_fd = ::openat(m_dirFd, m_named.filename().c_str(),
                        O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (m_fd >= 0) {
            RegisterNamed(m_named);
        } else if (errno != EEXIST) {
            const int err = errno;
            m_named.clear();
            Close();
            Fail(err);
        }
    }
}

CAtomicFile::~CAtomicFile()
{
    Close();
}

void CAtomicFile::Close()
{
    if (!m_named.empty()) {
        ::unlink(m_named.c_str());
        UnregisterNamed(m_named);
        m_named.clear();
    }
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    if (m_dirFd >= 0) {
        ::close(m_dirFd);
        m_dirFd = -1;
    }
}

void CAtomicFile::Fail(int error) const
{
    throw DocumentError("cannot write " + Quoted(m_target) + ": " + FileErrorText(error));
}

void CAtomicFile::Write(std::string_view bytes)
{
    if (m_fd < 0) {
        Fail(EBADF);
    }
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = WriteSome(m_fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            Fail(n < 0 ? errno : EIO);
        }
        done += static_cast<size_t>(n);
    }
}

void CAtomicFile::Commit()
{
    Place(true);
}

bool CAtomicFile::CommitIfAbsent()
{
    return Place(false);
}

bool CAtomicFile::Place(bool replace)
{
    if (m_fd < 0 || m_committed) {
        Fail(EBADF);
    }
    if (::fsync(m_fd) != 0) {
        Fail(errno);
    }
    const std::string name = m_final.filename().string();
    if (replace) {
        TakeIdentity(m_fd, m_dirFd, name);
    }
    int error = 0;
    {
        const CSignalHold hold;
        if (m_named.empty()) {
            // The unnamed file gets its first name: the target's when there is none yet.
            const std::string self = "/proc/self/fd/" + std::to_string(m_fd);
            const auto link = [&](const std::string& as) {
                if (::linkat(AT_FDCWD, self.c_str(), m_dirFd, as.c_str(), AT_SYMLINK_FOLLOW) == 0) {
                    return 0;
                }
                if (errno == ENOENT &&
                    ::linkat(m_fd, "", m_dirFd, as.c_str(), AT_EMPTY_PATH) == 0) {
                    return 0;  // no /proc: the same by the file descriptor (needs privilege)
                }
                return errno;
            };
            error = link(name);
            if (error == EEXIST && replace) {
                // A fixed commit name, so that a kill between the two calls below leaves at
                // most one file, which the next writer of this target removes; the folder
                // lock keeps two writers of the same folder from taking it at once.
                // A folder locked elsewhere gets a name of its own instead of a wait.
                const bool locked = ::flock(m_dirFd, LOCK_EX | LOCK_NB) == 0;
                const std::string commit =
                    locked ? CommitName(name) : "." + name + ".loadcal-" + RandomSuffix();
                if (locked) {
                    ::unlinkat(m_dirFd, commit.c_str(), 0);
                }
                error = link(commit);
                if (error == 0 && ::renameat(m_dirFd, commit.c_str(), m_dirFd, name.c_str()) != 0) {
                    error = errno;
                    ::unlinkat(m_dirFd, commit.c_str(), 0);
                }
                if (locked) {
                    ::flock(m_dirFd, LOCK_UN);
                }
            }
        } else if (replace) {
            if (::renameat(m_dirFd, m_named.filename().c_str(), m_dirFd, name.c_str()) != 0) {
                error = errno;
            } else {
                UnregisterNamed(m_named);
                m_named.clear();
            }
        } else if (::linkat(m_dirFd, m_named.filename().c_str(), m_dirFd, name.c_str(), 0) != 0) {
            error = errno;
        }
        if (error == 0) {
            m_committed = true;
        }
    }
    if (error == EEXIST && !replace) {
        return false;
    }
    if (error != 0) {
        Fail(error);
    }
    ::fsync(m_dirFd);
    Close();
    return true;
}

void RemoveLeftCommit(const std::filesystem::path& target)
{
    std::error_code ec;
    std::filesystem::remove(target.parent_path() / CommitName(target.filename().string()), ec);
}

}  // namespace loadcal
