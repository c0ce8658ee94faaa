#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace loadcal {

/// The deepest node a tree may hold, counted in path components below the
/// root. Setting a deeper path fails with BadPath; a file nesting deeper is
/// Malformed. Every traversal of a tree is therefore bounded.
inline constexpr int kIdpMaxDepth = 256;

class CIdpArena;

/// One node of a CInterDpData tree: a name, an optional text value and child
/// nodes in insertion order. Nodes, their texts and child lists live in the
/// tree's arena (CIdpArena), which the tree owns and releases as a whole.
///
/// Names are non-empty, contain no backslash and are compared exactly (case
/// matters). Paths separate components by a single backslash; an empty path
/// or an empty component (a\\b, a\, \\a: two backslashes in a row or one at
/// the end) names no node.
class CInterDpNode {
public:
    CInterDpNode() = default;
    CInterDpNode(const CInterDpNode&) = delete;
    CInterDpNode& operator=(const CInterDpNode&) = delete;

    std::wstring_view Name() const { return {m_name, m_nameLength}; }
    /// The count given with the value when it was set (UTF-16 units + 1 for a
    /// text); below 1 when the node carries no value.
    int16_t ValueCount() const { return m_nValueCount; }
    /// The value as a NUL-terminated wide text ("" when there is none); a
    /// value holding a NUL reads only up to it here: ValueText() has it whole.
    const wchar_t* Value() const { return m_value; }
    /// The whole value, NUL characters included.
    std::wstring_view ValueText() const { return {m_value, m_valueLength}; }
    /// The 32-bit integer given as the last argument when the value was set.
    int32_t Flags() const { return m_nFlags; }
    /// The number of children as the signed 16-bit count readers see (more
    /// than 32767 children read as a negative count).
    int16_t ChildCount() const { return static_cast<int16_t>(m_childCount); }
    size_t ChildrenSize() const { return m_childCount; }
    /// Child i in insertion order; throws std::out_of_range outside 0 <= i < ChildrenSize().
    const CInterDpNode& ChildAt(size_t i) const;
    /// The child with this exact name, or null (no path parsing: a name with
    /// a backslash or an empty name finds nothing).
    const CInterDpNode* ChildNamed(std::wstring_view name) const { return Child(name); }

    /// The node at a backslash-separated path below this one, or null. A
    /// leading backslash is accepted and ignored: a node is the root of its
    /// own lookups. The first argument is reserved (always 0).
    const CInterDpNode* GetSubValueFromPathW(int16_t reserved, const std::wstring& path) const;

private:
    friend class CInterDpData;
    friend class CIdpCodec;
    struct NameIndex;
    CInterDpNode* Child(std::wstring_view name) const;
    CInterDpNode& AddChild(CIdpArena& arena, std::wstring_view name);
    void Reserve(CIdpArena& arena, size_t children);

    const wchar_t* m_name = L"";
    const wchar_t* m_value = L"";
    uint32_t m_nameLength = 0;
    uint32_t m_valueLength = 0;
    int32_t m_nFlags = 0;
    int16_t m_nValueCount = 0;
    uint32_t m_childCount = 0;
    uint32_t m_childCapacity = 0;
    CInterDpNode** m_children = nullptr;
    /// Name lookup for nodes with many children (archive tables), built lazily.
    NameIndex* m_pIndex = nullptr;
};

/// Result of a store operation: 0 for success, a positive code otherwise.
enum class IdpStatus : int16_t {
    Ok = 0,
    FileNotFound = 1,     ///< the file does not exist
    IoError = 2,          ///< the file could not be opened, read or written
    BadMagic = 3,         ///< not a loadcal data file
    BadVersion = 4,       ///< a newer or unknown format version
    Truncated = 5,        ///< the file ends before its content does (the tree read so far is kept)
    BadChecksum = 6,      ///< content damaged (the tree read so far is kept)
    Malformed = 7,        ///< an impossible count, length or name (the tree read so far is kept)
    BadPath = 8,          ///< an empty path or path component, or a path deeper than kIdpMaxDepth
    TooManyChildren = 9,  ///< a node has more children than a reader can count (nothing written)
};

/// The most children a node may have in a file that is read back whole:
/// readers take the child count as a signed 16-bit number.
inline constexpr size_t kIdpMaxChildren = 32767;

/// The one line that refuses to write a file because of a node with too many
/// children: it names the file, the node's path and the count.
std::string TooManyChildrenError(const std::wstring& file, const std::wstring& node,
                                 size_t children);

/// Writes the bytes of a data file record by record, in pre-order (a node,
/// then each child's whole subtree), for a caller that produces a tree's
/// content without building it; CInterDpData::Serialize goes through it too.
/// Owns the bytes until Finish hands them over. The caller keeps the rules of
/// a valid file (IdpFormat.md); child counts must match what follows.
class CIdpWriter {
public:
    /// expectedSize: the payload's size when the caller knows it (saves regrowing).
    explicit CIdpWriter(size_t expectedSize = 0);
    /// The bytes of one node record with these texts.
    static size_t RecordSize(std::wstring_view name, std::wstring_view value);
    /// One node record; children: the number of records of its children that follow.
    void Node(std::wstring_view name, int16_t count, int32_t flags, std::wstring_view value,
              size_t children);
    /// The finished file: payload length and checksum filled in.
    std::string Finish();

private:
    std::string m_out;
};

/// A hierarchical data file: a tree of named nodes carrying text values,
/// addressed by backslash-separated paths ("负荷信息\0\回路编号"). A leading
/// backslash names the root, so "\a\b" and "a\b" reach the same node. Owns
/// the whole tree; the file encoding is described in IdpFormat.md.
///
/// Texts are kept as the UTF-16 they are stored in: any Unicode text,
/// characters outside the BMP included, reads back exactly. (A wide text that
/// is not Unicode, such as two wchar_t holding a surrogate pair or a value
/// above U+10FFFF, is kept in memory as it will read back.)
class CInterDpData {
public:
    CInterDpData();
    ~CInterDpData();
    CInterDpData(const CInterDpData&) = delete;
    CInterDpData& operator=(const CInterDpData&) = delete;

    /// Empties the tree. Always succeeds (0).
    int16_t ClearDataFromMemory();

    /// Creates the node at path with every missing ancestor and sets its
    /// value: count is the value's length in UTF-16 units plus one (as the
    /// archive passes it) and is kept as given; value points to a
    /// NUL-terminated wide text, kept up to its NUL (null: no value, the count
    /// is then kept as 0); flags is kept with the node. An existing node keeps
    /// its children. Returns BadPath, creating nothing, for an empty path, an
    /// empty component, a component that is not Unicode text, or a path
    /// deeper than kIdpMaxDepth.
    int16_t SetSubValueW(const std::wstring& path, int16_t count, const wchar_t* value,
                         int32_t flags);
    /// The same for a text of known length, which may hold NUL characters:
    /// the whole text is kept, whatever the count says.
    int16_t SetSubValueW(const std::wstring& path, int16_t count, std::wstring_view value,
                         int32_t flags);

    /// The node at path below the root, or null when it does not exist or the
    /// path is not valid. The first argument is reserved (always 0).
    const CInterDpNode* GetSubValueFromPathW(int16_t reserved, const std::wstring& path) const;

    /// Writes the whole tree to the file, replacing it atomically (CAtomicFile:
    /// symbolic links followed, permission bits and owner kept). Returns Ok;
    /// IoError when the file cannot be written (LastError(): the file and the
    /// system's reason), the previous file then as it was and nothing else
    /// left in its folder; TooManyChildren, writing nothing, when a node has
    /// more than kIdpMaxChildren children, which no reader could count (an
    /// archive table of more than 32,767 rows).
    int16_t WriteDataToIdpFile(const std::wstring& path) const;

    /// Replaces the tree by the file's content. A damaged file never crashes
    /// and never makes the reader allocate more than the file could hold; it
    /// leaves an empty or partial tree and a status (and LastError(), which
    /// names the file). A missing file leaves an empty tree (FileNotFound).
    int16_t ReadDataFromIdpFile(const std::wstring& path);

    /// In-memory encoding, for tests and the fuzzer. Serialize throws
    /// DocumentError only for a tree too large for the format (over 4 GiB).
    /// Deserialize replaces the tree like ReadDataFromIdpFile; when it
    /// returns Ok, Serialize() gives back exactly the same bytes.
    std::string Serialize() const;
    IdpStatus Deserialize(const std::string& bytes);

    /// One line saying what the last read or write found wrong ("" after success).
    const std::string& LastError() const { return m_lastError; }

    const CInterDpNode& Root() const { return *m_root; }

private:
    std::unique_ptr<CIdpArena> m_arena;
    CInterDpNode* m_root = nullptr;
    mutable std::string m_lastError;
};

}  // namespace loadcal
