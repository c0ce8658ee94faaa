#pragma once

// A scratch folder and whole-file access, shared by the tests of every area.

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "model/Text.h"

namespace loadcal::testsupport {

/// A fresh folder under the system's temporary folder, removed with
/// everything in it (made writable first, for the tests that lock it).
class TempFolder {
public:
    TempFolder()
    {
        static std::mt19937_64 rng{std::random_device{}()};
        m_path = std::filesystem::temp_directory_path() /
                 ("loadcal-test-" + std::to_string(::getpid()) + "-" + std::to_string(rng()));
        std::filesystem::create_directories(m_path);
    }
    ~TempFolder()
    {
        std::error_code ec;
        std::filesystem::permissions(m_path, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ec);
        std::filesystem::remove_all(m_path, ec);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }
    /// The wide path of a file in the folder, as records and dialogs hold paths.
    std::wstring File(const std::string& name) const { return FromUtf8((m_path / name).string()); }
    /// Names of everything in the folder, sorted.
    std::vector<std::string> Entries() const
    {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(m_path)) {
            names.push_back(e.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::filesystem::path m_path;
};

inline std::string ReadBytes(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteBytes(const std::filesystem::path& file, const std::string& bytes)
{
    std::ofstream(file, std::ios::binary) << bytes;
}

}  // namespace loadcal::testsupport
