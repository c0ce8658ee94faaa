#pragma once

// A hand-written encoder of data files that follows IdpFormat.md
// independently of the store.

#include <cstdint>
#include <string>

#include "tests/support/TempFolder.h"

namespace loadcal::testsupport {

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
