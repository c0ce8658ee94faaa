#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace loadcal {

/// One node of a CInterDpData tree: a name, an optional text value and child
/// nodes in insertion order. The node owns its children.
class CInterDpNode {
public:
    const std::wstring& Name() const { return m_name; }
    /// The count given with the value when it was set (UTF-16 units + 1 for a
    /// text); below 1 when the node carries no value.
    int16_t ValueCount() const { return m_nValueCount; }
    /// The value as a NUL-terminated wide text ("" when there is none).
    const wchar_t* Value() const { return m_value.c_str(); }
    const std::wstring& ValueText() const { return m_value; }
    /// The number of children as the signed 16-bit count readers see (more
    /// than 32767 children read as a negative count).
    int16_t ChildCount() const { return static_cast<int16_t>(m_children.size()); }
    size_t ChildrenSize() const { return m_children.size(); }
    const CInterDpNode& ChildAt(size_t i) const { return *m_children[i]; }

    /// The node at a backslash-separated path below this one, or null.
    const CInterDpNode* GetSubValueFromPathW(int16_t reserved, const std::wstring& path) const;

private:
    friend class CInterDpData;
    friend class CIdpCodec;
    CInterDpNode* Child(const std::wstring& name) const;
    CInterDpNode& AddChild(const std::wstring& name);

    std::wstring m_name;
    std::wstring m_value;
    int16_t m_nValueCount = 0;
    int32_t m_nFlags = 0;
    std::vector<std::unique_ptr<CInterDpNode>> m_children;
};

/// Result of a store operation: 0 for success, a positive code otherwise.
enum class IdpStatus : int16_t {
    Ok = 0,
    FileNotFound = 1,   ///< the file does not exist
    IoError = 2,        ///< the file could not be opened, read or written
    BadMagic = 3,       ///< not a loadcal data file
    BadVersion = 4,     ///< a newer or unknown format version
    Truncated = 5,      ///< the file ends before its content does
    BadChecksum = 6,    ///< content damaged (the tree read so far is kept)
    Malformed = 7,      ///< an impossible count, length or name
    BadPath = 8,        ///< an empty path or path component
};

/// A hierarchical data file: a tree of named nodes carrying text values,
/// addressed by backslash-separated paths ("负荷信息\0\回路编号"). A leading
/// backslash names the root, so "\a\b" and "a\b" reach the same node. Owns
/// the whole tree; the file encoding is described in IdpFormat.md.
class CInterDpData {
public:
    CInterDpData();
    ~CInterDpData();
    CInterDpData(const CInterDpData&) = delete;
    CInterDpData& operator=(const CInterDpData&) = delete;

    /// Empties the tree.
    int16_t ClearDataFromMemory();

    /// Creates the node at path with every missing ancestor and sets its
    /// value: count is the value's length in UTF-16 units plus one (as the
    /// archive passes it), value points to a NUL-terminated wide text (null:
    /// no value), flags is kept with the node.
    int16_t SetSubValueW(const std::wstring& path, int16_t count, const wchar_t* value, int32_t flags);

    /// The node at path below the root, or null when it does not exist.
    const CInterDpNode* GetSubValueFromPathW(int16_t reserved, const std::wstring& path) const;

    /// Writes the whole tree to the file, replacing it atomically: a failed
    /// write leaves the previous file as it was.
    int16_t WriteDataToIdpFile(const std::wstring& path) const;

    /// Replaces the tree by the file's content. A damaged file never crashes
    /// and never makes the reader allocate more than the file could hold; it
    /// leaves an empty or partial tree and a status (and LastError()).
    int16_t ReadDataFromIdpFile(const std::wstring& path);

    /// In-memory encoding, for tests and the fuzzer.
    std::string Serialize() const;
    IdpStatus Deserialize(const std::string& bytes);

    /// One line saying what the last read or write found wrong ("" after success).
    const std::string& LastError() const { return m_lastError; }

    const CInterDpNode& Root() const { return *m_root; }

private:
    std::unique_ptr<CInterDpNode> m_root;
    mutable std::string m_lastError;
};

}  // namespace loadcal
