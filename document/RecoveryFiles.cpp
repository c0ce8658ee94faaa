#include "document/RecoveryFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>

#include "document/Archive.h"
#include "document/ArchiveKeys.h"
#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "document/InterDpData.h"
#include "model/Text.h"

namespace loadcal {
namespace {

constexpr std::string_view kPrefix = "recovery-";
constexpr std::string_view kCopyExtension = ".LDC";
constexpr std::string_view kLockExtension = ".lock";

std::filesystem::path LockOf(const std::filesystem::path& copy)
{
    std::filesystem::path lock = copy;
    lock.replace_extension(kLockExtension);
    return lock;
}

bool IsCopyName(const std::string& name)
{
    return name.size() > kPrefix.size() + kCopyExtension.size() && name.starts_with(kPrefix) &&
           name.ends_with(kCopyExtension);
}

/// Opens (creating it when missing) and locks a lock file without waiting;
/// the descriptor, or -1 when it cannot be opened or another holds the lock.
int TryLock(const std::filesystem::path& lock)
{
    const int fd = ::open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        return -1;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

std::wstring LocalTimeNow()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return FromUtf8(text);
}

void SetText(CInterDpData& tree, std::wstring_view path, const std::wstring& text)
{
    tree.SetSubValueW(std::wstring(path), static_cast<int16_t>(Utf16Length(text) + 1), text.c_str(),
                      0);
}

std::wstring TextAt(const CInterDpData& tree, std::wstring_view path)
{
    const CInterDpNode* node = tree.GetSubValueFromPathW(0, std::wstring(path));
    return node != nullptr ? std::wstring(node->ValueText()) : std::wstring();
}

void RemoveQuietly(const std::filesystem::path& file)
{
    std::error_code ec;
    std::filesystem::remove(file, ec);
}

}  // namespace

// ---- A copy left behind ----

CLeftRecoveryCopy::CLeftRecoveryCopy(std::filesystem::path copy, std::filesystem::path lock,
                                     int lockFd)
    : m_copy(std::move(copy)), m_lock(std::move(lock)), m_nLockFd(lockFd)
{}

CLeftRecoveryCopy::~CLeftRecoveryCopy()
{
    if (m_nLockFd >= 0) {
        ::close(m_nLockFd);
    }
}

RecoveryRecord CLeftRecoveryCopy::Read(CInterDpData& tree) const
{
    if (tree.ReadDataFromIdpFile(FromFsPath(m_copy)) != static_cast<int16_t>(IdpStatus::Ok)) {
        throw DocumentError(tree.LastError());
    }
    return {TextAt(tree, archive::kRecoveryDocumentKey), TextAt(tree, archive::kRecoveryTimeKey)};
}

void CLeftRecoveryCopy::Discard()
{
    // The lock file goes last, while still held: no other window can claim
    // the copy between the two removals.
    RemoveQuietly(m_copy);
    RemoveQuietly(m_lock);
}

// ---- This window's copy ----

CRecoveryFiles::CRecoveryFiles(std::filesystem::path folder) : m_folder(std::move(folder))
{
    std::random_device random;
    char tag[16];
    std::snprintf(tag, sizeof tag, "%08x", static_cast<unsigned>(random()));
    const std::string stem = std::string(kPrefix) + std::to_string(::getpid()) + "-" + tag;
    m_copy = m_folder / (stem + std::string(kCopyExtension));
    m_lock = LockOf(m_copy);
}

CRecoveryFiles::~CRecoveryFiles()
{
    if (m_nLockFd >= 0) {
        ::close(m_nLockFd);
    }
}

void CRecoveryFiles::Write(const CLoadCalDocument& doc, const std::wstring& documentPath)
{
    if (m_nLockFd < 0) {
        std::error_code ec;
        std::filesystem::create_directories(m_folder, ec);
        // Locked before the copy exists, so that no other window ever sees
        // this copy unclaimed.
        m_nLockFd = TryLock(m_lock);
        if (m_nLockFd < 0) {
            throw DocumentError("cannot write \"" + m_copy.string() + "\": cannot lock \"" +
                                m_lock.string() + "\": " + std::strerror(errno));
        }
    }
    CInterDpData tree;
    StoreDocument(tree, doc);
    SetText(tree, archive::kRecoveryDocumentKey, documentPath);
    SetText(tree, archive::kRecoveryTimeKey, LocalTimeNow());
    if (tree.WriteDataToIdpFile(FromFsPath(m_copy)) != static_cast<int16_t>(IdpStatus::Ok)) {
        throw DocumentError(tree.LastError());
    }
    m_bHasCopy = true;
}

void CRecoveryFiles::Remove()
{
    if (m_nLockFd < 0) {
        return;
    }
    RemoveQuietly(m_copy);
    RemoveQuietly(m_lock);
    ::close(m_nLockFd);
    m_nLockFd = -1;
    m_bHasCopy = false;
}

std::vector<std::unique_ptr<CLeftRecoveryCopy>> CRecoveryFiles::ClaimLeftCopies() const
{
    struct Found {
        std::filesystem::path copy;
        std::filesystem::file_time_type written;
    };
    std::vector<Found> found;
    std::error_code ec;
    for (std::filesystem::directory_iterator it(m_folder, ec), end; !ec && it != end;
         it.increment(ec)) {
        const std::filesystem::path& copy = it->path();
        if (copy != m_copy && IsCopyName(copy.filename().string()) && it->is_regular_file(ec)) {
            found.push_back({copy, it->last_write_time(ec)});
        }
    }
    std::sort(found.begin(), found.end(),
              [](const Found& a, const Found& b) { return a.written > b.written; });

    std::vector<std::unique_ptr<CLeftRecoveryCopy>> left;
    for (const Found& f : found) {
        const std::filesystem::path lock = LockOf(f.copy);
        const int fd = TryLock(lock);
        if (fd < 0) {
            continue;  // its window is still open, or another has claimed it
        }
        if (!std::filesystem::exists(f.copy, ec)) {
            // Removed by its window while this one looked: the lock file
            // was made again by TryLock.
            RemoveQuietly(lock);
            ::close(fd);
            continue;
        }
        // Its window is gone: a commit name it may have left goes with it.
        RemoveLeftCommit(f.copy);
        left.push_back(std::make_unique<CLeftRecoveryCopy>(f.copy, lock, fd));
    }
    return left;
}

}  // namespace loadcal
