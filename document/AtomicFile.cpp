#include "document/AtomicFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>

#include "document/DocumentError.h"
#include "model/Text.h"

namespace loadcal {
namespace {

std::string Describe(const std::filesystem::path& p)
{
    return "\"" + p.string() + "\"";
}

std::filesystem::path TempBeside(const std::filesystem::path& target)
{
    static std::mt19937_64 rng{std::random_device{}()};
    const auto folder =
        target.has_parent_path() ? target.parent_path() : std::filesystem::path(".");
    std::string name = ".";
    name += target.filename().string();
    name += ".tmp";
    name += std::to_string(::getpid());
    name += '-';
    name += std::to_string(rng() % 1000000000);
    return folder / name;
}

void FsyncPath(const std::filesystem::path& p, bool directory)
{
    const int fd = ::open(p.c_str(), directory ? (O_RDONLY | O_DIRECTORY) : O_RDONLY);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
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

void WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes)
{
    CAtomicFile file(target);
    file.Write(bytes);
    file.Commit();
}

CAtomicFile::CAtomicFile(std::filesystem::path target)
    : m_target(std::move(target)), m_temp(TempBeside(m_target))
{}

CAtomicFile::~CAtomicFile()
{
    if (!m_committed) {
        std::error_code ec;
        std::filesystem::remove(m_temp, ec);
    }
}

void CAtomicFile::Write(std::string_view bytes)
{
    const auto fail = [this](int err) {
        throw DocumentError("cannot write " + Describe(m_target) + ": " + std::strerror(err));
    };
    const int fd = ::open(m_temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        fail(errno);
    }
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            const int err = n < 0 ? errno : EIO;
            ::close(fd);
            fail(err);
        }
        done += static_cast<size_t>(n);
    }
    const bool synced = ::fsync(fd) == 0;
    const int syncErr = errno;
    if (::close(fd) != 0 || !synced) {
        fail(synced ? errno : syncErr);
    }
}

void CAtomicFile::Commit()
{
    RequireTemp();
    if (::rename(m_temp.c_str(), m_target.c_str()) != 0) {
        throw DocumentError("cannot write " + Describe(m_target) + ": " + std::strerror(errno));
    }
    Committed();
}

bool CAtomicFile::CommitIfAbsent()
{
    RequireTemp();
    // renameat2 decides atomically; on file systems without it a hard link
    // does the same (link never replaces).
    if (::renameat2(AT_FDCWD, m_temp.c_str(), AT_FDCWD, m_target.c_str(), RENAME_NOREPLACE) == 0) {
        Committed();
        return true;
    }
    int err = errno;
    if (err == EINVAL || err == ENOSYS || err == ENOTSUP) {
        if (::link(m_temp.c_str(), m_target.c_str()) == 0) {
            ::unlink(m_temp.c_str());
            Committed();
            return true;
        }
        err = errno;
    }
    if (err == EEXIST) {
        return false;
    }
    throw DocumentError("cannot write " + Describe(m_target) + ": " + std::strerror(err));
}

void CAtomicFile::RequireTemp() const
{
    std::error_code ec;
    if (!std::filesystem::is_regular_file(m_temp, ec)) {
        throw DocumentError("cannot write " + Describe(m_target) + ": nothing was written");
    }
    FsyncPath(m_temp, false);
}

void CAtomicFile::Committed()
{
    m_committed = true;
    FsyncPath(m_target.has_parent_path() ? m_target.parent_path() : ".", true);
}

}  // namespace loadcal
