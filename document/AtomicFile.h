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

/// The same for writers that insist on writing a file themselves (the xlsx
/// library): the object owns a fresh temporary path in the target's folder;
/// Commit() flushes and renames it over the target; the destructor removes the
/// temporary file when Commit() did not run or failed.
class CAtomicFile {
public:
    explicit CAtomicFile(std::filesystem::path target);
    ~CAtomicFile();
    CAtomicFile(const CAtomicFile&) = delete;
    CAtomicFile& operator=(const CAtomicFile&) = delete;

    const std::filesystem::path& TempPath() const { return m_temp; }
    const std::filesystem::path& Target() const { return m_target; }
    /// Throws DocumentError when the temporary file is missing or the rename fails.
    void Commit();

private:
    std::filesystem::path m_target;
    std::filesystem::path m_temp;
    bool m_committed = false;
};

}  // namespace loadcal
