#include "output/OutputFile.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "document/DocumentError.h"
#include "output/OutputError.h"

namespace loadcal {
namespace {

std::string Quoted(const std::filesystem::path& p)
{
    return "\"" + p.string() + "\"";
}

[[noreturn]] void ThrowWrite(const std::filesystem::path& target, const std::string& cause)
{
    throw OutputError(OutputError::Kind::Write, "cannot write " + Quoted(target) + ": " + cause);
}

[[noreturn]] void ThrowExists(const std::filesystem::path& target)
{
    throw OutputError(OutputError::Kind::FileExists, Quoted(target) + " already exists");
}

void SyncFolder(const std::filesystem::path& target)
{
    const auto folder =
        target.has_parent_path() ? target.parent_path() : std::filesystem::path(".");
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

/// Moves temp to target unless target exists. renameat2 decides atomically;
/// on file systems without it, a hard link does the same (link never replaces).
void MoveWithoutReplacing(const std::filesystem::path& temp, const std::filesystem::path& target)
{
    if (::renameat2(AT_FDCWD, temp.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
        SyncFolder(target);
        return;
    }
    int err = errno;
    if (err == EINVAL || err == ENOSYS || err == ENOTSUP) {
        if (::link(temp.c_str(), target.c_str()) == 0) {
            ::unlink(temp.c_str());
            SyncFolder(target);
            return;
        }
        err = errno;
    }
    if (err == EEXIST) {
        ThrowExists(target);
    }
    ThrowWrite(target, std::strerror(err));
}

}  // namespace

void RequireTarget(const std::filesystem::path& target, bool replace)
{
    std::error_code ec;
    if (!replace && std::filesystem::symlink_status(target, ec).type() !=
                        std::filesystem::file_type::not_found) {
        if (!ec) {
            ThrowExists(target);
        }
    }
}

void CommitOutputFile(CAtomicFile& file, bool replace)
{
    std::error_code ec;
    if (!std::filesystem::is_regular_file(file.TempPath(), ec)) {
        ThrowWrite(file.Target(), "nothing was written");
    }
    if (replace) {
        try {
            file.Commit();
        } catch (const DocumentError& e) {
            throw OutputError(OutputError::Kind::Write, e.what());
        }
        return;
    }
    const int fd = ::open(file.TempPath().c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 || ::fsync(fd) != 0) {
        const int err = errno;
        if (fd >= 0) {
            ::close(fd);
        }
        ThrowWrite(file.Target(), std::strerror(err));
    }
    ::close(fd);
    MoveWithoutReplacing(file.TempPath(), file.Target());
}

void WriteOutputFile(const std::filesystem::path& target, std::string_view bytes, bool replace)
{
    RequireTarget(target, replace);
    CAtomicFile file(target);
    const int fd = ::open(file.TempPath().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        ThrowWrite(target, std::strerror(errno));
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
            ThrowWrite(target, std::strerror(err));
        }
        done += static_cast<size_t>(n);
    }
    if (::close(fd) != 0) {
        ThrowWrite(target, std::strerror(errno));
    }
    CommitOutputFile(file, replace);
}

}  // namespace loadcal
