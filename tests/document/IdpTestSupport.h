#pragma once

// Helpers of the document tests: a scratch folder, whole-file access and a
// hand-written encoder that follows IdpFormat.md independently of the store.

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "document/AtomicFile.h"

namespace loadcal::testsupport {

/// A fresh folder under the system's temporary folder, removed with everything in it.
class CTempFolder {
public:
    CTempFolder()
    {
        std::random_device rd;
        m_path = std::filesystem::temp_directory_path() /
                 ("loadcal-doc-" + std::to_string(::getpid()) + "-" + std::to_string(rd()));
        std::filesystem::create_directories(m_path);
    }
    ~CTempFolder()
    {
        std::error_code ec;
        std::filesystem::permissions(m_path, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ec);
        std::filesystem::remove_all(m_path, ec);
    }
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::wstring File(const std::string& name) const { return FromFsPath(m_path / name); }
    /// Names of everything in the folder.
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

/// Bitwise CRC-32 (IEEE, reflected), the slow textbook form.
inline uint32_t ReferenceCrc32(const std::string& bytes)
{
    uint32_t crc = 0xFFFFFFFFU;
    for (unsigned char b : bytes) {
        crc ^= b;
        for (int k = 0; k < 8; ++k) {
            crc = (crc >> 1) ^ (0xEDB88320U & (0U - (crc & 1U)));
        }
    }
    return ~crc;
}

/// Writes data files by hand, field by field, as IdpFormat.md lays them out.
class CFileBuilder {
public:
    CFileBuilder& U16(uint16_t v)
    {
        m_payload.push_back(static_cast<char>(v & 0xFF));
        m_payload.push_back(static_cast<char>(v >> 8));
        return *this;
    }
    CFileBuilder& U32(uint32_t v)
    {
        for (int s = 0; s < 32; s += 8) {
            m_payload.push_back(static_cast<char>((v >> s) & 0xFF));
        }
        return *this;
    }
    CFileBuilder& Text(const std::u16string& t)
    {
        U32(static_cast<uint32_t>(t.size()));
        for (char16_t c : t) {
            U16(static_cast<uint16_t>(c));
        }
        return *this;
    }
    /// One node record: name, value count, flags, value, child count.
    CFileBuilder& Node(const std::u16string& name, int16_t count, int32_t flags,
                       const std::u16string& value, uint32_t children)
    {
        Text(name).U16(static_cast<uint16_t>(count)).U32(static_cast<uint32_t>(flags));
        return Text(value).U32(children);
    }
    CFileBuilder& Root(uint32_t children) { return Node(u"", 0, 0, u"", children); }
    CFileBuilder& Raw(const std::string& bytes)
    {
        m_payload += bytes;
        return *this;
    }

    /// Magic, version, payload length, payload and a correct checksum.
    std::string File(uint32_t version = 1) const
    {
        std::string out("\x89IDP\r\n\x1A\n", 8);
        CFileBuilder header;
        header.U32(version).U32(static_cast<uint32_t>(m_payload.size()));
        out += header.m_payload + m_payload;
        CFileBuilder crc;
        crc.U32(ReferenceCrc32(out));
        return out + crc.m_payload;
    }

private:
    std::string m_payload;
};

}  // namespace loadcal::testsupport
