#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "model/Document.h"

namespace loadcal {

class CInterDpData;

/// What a recovery copy says about the document it holds.
struct RecoveryRecord {
    std::wstring documentPath;  ///< the file it belonged to; empty for an untitled document
    std::wstring savedAt;       ///< local time the copy was written, "YYYY-MM-DD hh:mm:ss"
};

/// A recovery copy left by a process that is gone, claimed by this process:
/// while the object lives it holds the copy's lock, so no other window
/// offers the same copy. Destroying it releases the claim and keeps the copy.
class CLeftRecoveryCopy {
public:
    CLeftRecoveryCopy(std::filesystem::path copy, std::filesystem::path lock, int lockFd);
    ~CLeftRecoveryCopy();
    CLeftRecoveryCopy(const CLeftRecoveryCopy&) = delete;
    CLeftRecoveryCopy& operator=(const CLeftRecoveryCopy&) = delete;

    const std::filesystem::path& CopyPath() const { return m_copy; }
    /// Reads the copy into tree (its records and the recovery group). Throws
    /// DocumentError naming the copy when it is missing or damaged.
    RecoveryRecord Read(CInterDpData& tree) const;
    /// Removes the copy and its lock file.
    void Discard();

private:
    std::filesystem::path m_copy;
    std::filesystem::path m_lock;
    int m_nLockFd;
};

/// The recovery copies of one folder (the settings folder). Each running
/// window keeps at most one: "recovery-<pid>-<tag>.LDC", an archive of its
/// document with the group 恢复信息 (ArchiveKeys.h), replaced atomically on
/// every write, and beside it "recovery-<pid>-<tag>.lock", which the window's
/// process holds locked (flock) from the first write until the copy is
/// removed or the process ends. A copy whose lock nobody holds belongs to a
/// process that crashed or was killed; a copy whose lock is held belongs to
/// a window still open, which is left alone. The lock's descriptor is closed
/// on exec, so programs started by the window (the spreadsheet application)
/// never keep it.
///
/// Owns this window's lock descriptor; the destructor releases it and keeps
/// the copy, exactly as a crash would.
class CRecoveryFiles {
public:
    explicit CRecoveryFiles(std::filesystem::path folder);
    ~CRecoveryFiles();
    CRecoveryFiles(const CRecoveryFiles&) = delete;
    CRecoveryFiles& operator=(const CRecoveryFiles&) = delete;

    /// Writes this window's copy of the records (the folder is made when
    /// missing), recording documentPath and the current local time. Throws
    /// DocumentError naming the copy when it cannot be written; an earlier
    /// copy is then left as it was.
    void Write(const CLoadCalDocument& doc, const std::wstring& documentPath);
    /// Removes this window's copy and its lock file; nothing when there is none.
    void Remove();
    bool HasCopy() const { return m_bHasCopy; }
    const std::filesystem::path& CopyPath() const { return m_copy; }

    /// Copies in the folder left by processes that are gone, newest first,
    /// each claimed for as long as its object lives. Copies other windows
    /// hold, or have just claimed, are not listed.
    std::vector<std::unique_ptr<CLeftRecoveryCopy>> ClaimLeftCopies() const;

private:
    std::filesystem::path m_folder;
    std::filesystem::path m_copy;
    std::filesystem::path m_lock;
    int m_nLockFd = -1;
    bool m_bHasCopy = false;
};

}  // namespace loadcal
