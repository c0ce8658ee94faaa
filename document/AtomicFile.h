#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace loadcal {

/// A wide path (as the records and dialogs hold them) as a file-system path,
/// encoded as UTF-8 whatever the process locale.
std::filesystem::path ToFsPath(const std::wstring& path);
std::wstring FromFsPath(const std::filesystem::path& path);

/// Replaces a file as a whole or not at all: the content goes to a temporary
/// file in the target's folder, is flushed to disk and then renamed over the
/// target. On any failure the temporary file is removed, the previous file is
/// left as it was, and DocumentError names the target and the cause.
void WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes);

/// A file replaced as a whole or not at all: the object owns a fresh
/// temporary path in the target's folder; Write() fills it (or a writer that
/// insists on writing files itself, the xlsx library, writes TempPath());
/// Commit() flushes it and renames it over the target, CommitIfAbsent() only
/// when no file of that name exists at that moment. The destructor removes
/// the temporary file when no commit happened. Failures throw DocumentError
/// naming the target.
class CAtomicFile {
public:
    explicit CAtomicFile(std::filesystem::path target);
    ~CAtomicFile();
    CAtomicFile(const CAtomicFile&) = delete;
    CAtomicFile& operator=(const CAtomicFile&) = delete;

    const std::filesystem::path& TempPath() const { return m_temp; }
    const std::filesystem::path& Target() const { return m_target; }
    /// Creates the temporary file with bytes and flushes them to disk.
    void Write(std::string_view bytes);
    /// Throws DocumentError when the temporary file is missing or the rename fails.
    void Commit();
    /// The same, but false (nothing moved) when the target exists; decided
    /// atomically at the moment of the move.
    bool CommitIfAbsent();

private:
    void RequireTemp() const;
    void Committed();

    std::filesystem::path m_target;
    std::filesystem::path m_temp;
    bool m_committed = false;
};

}  // namespace loadcal
