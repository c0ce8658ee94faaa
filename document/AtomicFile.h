#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace loadcal {

/// A wide path (as the records and dialogs hold them) as a file-system path,
/// encoded as UTF-8 whatever the process locale.
std::filesystem::path ToFsPath(const std::wstring& path);
std::wstring FromFsPath(const std::filesystem::path& path);

/// The system's reason for a failed file operation as the messages give it:
/// the C library's text, except "it is a folder" (EISDIR), "no such file or folder"
/// (ENOENT) and "not a regular file" (ENODEV).
std::string FileErrorText(int error);

/// Reads the whole of a regular file into bytes. Returns 0, or the errno that
/// stopped it: ENOENT/ENOTDIR (missing), EISDIR (a folder), ENODEV (not a
/// regular file), EFBIG (larger than limit bytes; nothing is allocated), or
/// the error of open/read. A file that shrinks while read gives what is there.
int ReadFileBytes(const std::filesystem::path& file, uint64_t limit, std::string& bytes);

/// Replaces a file as a whole or not at all (CAtomicFile: Write, then Commit).
/// DocumentError names the target and the cause.
void WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes);

/// Removes the commit name a killed writer of target may have left; for files
/// whose name is never written again, once their writer is known to be gone.
void RemoveLeftCommit(const std::filesystem::path& target);

/// A file replaced as a whole or not at all, the one way every file of the
/// program is written (archives, the settings file, JSON, workbooks,
/// drawings).
///
/// The target is resolved first: a symbolic link (relative, absolute or a
/// chain) is followed to the file it names, which is replaced while the link
/// stays. The content goes to an unnamed temporary file (O_TMPFILE) in that
/// file's folder; Commit() flushes it, gives it the permission bits (and,
/// where the process may, the owner and group) of the file it replaces, and
/// only then gives it a name: directly the target's when there is no file
/// yet, else a fixed commit name renamed over the target at once. Until that
/// moment there is nothing to leave behind, whatever kills the process.
/// SIGINT, SIGTERM and SIGHUP are held back in the writing thread for the two
/// calls of the commit; a SIGKILL between those two calls (or, in a program
/// with other threads, an end signal that one of them takes) can leave the
/// commit name (".NAME.loadcal-commit", a complete new file), which the next
/// write to the same target removes (RemoveLeftCommit for names written once).
///
/// On a file system without unnamed files the temporary file is named
/// (".NAME.loadcal-XXXXXX") and removed by the destructor, and by SIGINT,
/// SIGTERM and SIGHUP as well while their disposition is the default one
/// (a handler removes every open temporary file and then dies of the same
/// signal); a SIGKILL or a crash there leaves it.
///
/// Failures throw DocumentError naming the target; the target then is as it was.
class CAtomicFile {
public:
    /// Opens the temporary file. Throws when the folder cannot take it (missing,
    /// no permission) or the target is a folder.
    explicit CAtomicFile(std::filesystem::path target);
    ~CAtomicFile();
    CAtomicFile(const CAtomicFile&) = delete;
    CAtomicFile& operator=(const CAtomicFile&) = delete;

    /// The path as given.
    const std::filesystem::path& Target() const { return m_target; }
    /// The file that Commit replaces: the target with its links followed.
    const std::filesystem::path& FinalTarget() const { return m_final; }
    /// Appends bytes to the temporary file.
    void Write(std::string_view bytes);
    /// Flushes the temporary file and puts it in place of the target.
    void Commit();
    /// The same, but false (nothing placed) when the target exists; decided
    /// atomically at the moment of the placing.
    bool CommitIfAbsent();

private:
    [[noreturn]] void Fail(int error) const;
    bool Place(bool replace);
    void Close();

    std::filesystem::path m_target;
    std::filesystem::path m_final;
    std::filesystem::path m_named;  ///< the named temporary file, when there is one
    int m_fd = -1;
    int m_dirFd = -1;
    bool m_committed = false;
};

/// Test seams of the file layer; the program never sets them.
struct AtomicFileFaults {
    /// The nth write to a temporary file from now on fails (1: the next one); 0: none.
    int failWriteAt = 0;
    /// The errno of that failure.
    int writeError = 0;
    /// Behave as on a file system without unnamed temporary files.
    bool namedTemporary = false;
};
void SetAtomicFileFaults(const AtomicFileFaults& faults);

}  // namespace loadcal
