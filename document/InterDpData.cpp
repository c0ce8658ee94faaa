#include "document/InterDpData.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory_resource>
#include <new>
#include <stdexcept>
#include <unordered_map>

#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "document/LargeMemory.h"
#include "model/Text.h"

namespace loadcal {
namespace {

constexpr wchar_t kSeparator = L'\\';

/// Children a node may have before lookups go through a name index.
constexpr size_t kIndexThreshold = 16;

constexpr std::array<unsigned char, 8> kMagic = {0x89, 'I', 'D', 'P', '\r', '\n', 0x1A, '\n'};
constexpr uint32_t kVersion = 1;
constexpr size_t kHeaderSize = 16;  // magic, version, payload length
constexpr size_t kChecksumSize = 4;
/// The smallest node record: name length, value count, flags, value length, child count.
constexpr size_t kMinNodeSize = 4 + 2 + 4 + 4 + 4;

int16_t Code(IdpStatus status)
{
    return static_cast<int16_t>(status);
}

bool IsScalarValue(wchar_t wc)
{
    const auto c = static_cast<uint32_t>(wc);
    return c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
}

/// True for a name a path can hold: not empty, no separator, Unicode scalar values only.
bool IsValidName(std::wstring_view name)
{
    if (name.empty()) {
        return false;
    }
    for (wchar_t c : name) {
        if (c == kSeparator || !IsScalarValue(c)) {
            return false;
        }
    }
    return true;
}

/// A text as it reads back from its UTF-16 form (identical for Unicode text).
std::wstring AsStored(std::wstring text)
{
    for (wchar_t c : text) {
        if (!IsScalarValue(c)) {
            return FromUtf16(ToUtf16(text));
        }
    }
    return text;
}

/// Walks the components of a path: a leading separator is dropped; yields
/// false on an empty path or an empty component.
class CPathCursor {
public:
    explicit CPathCursor(std::wstring_view path) : m_rest(path)
    {
        if (!m_rest.empty() && m_rest.front() == kSeparator) {
            m_rest.remove_prefix(1);
        }
        m_valid = !m_rest.empty();
    }

    bool Valid() const { return m_valid; }
    bool AtEnd() const { return m_done; }

    /// The next component; call only while !AtEnd(). Marks the path invalid on an empty one.
    std::wstring_view Next()
    {
        const size_t cut = m_rest.find(kSeparator);
        std::wstring_view part = m_rest.substr(0, cut);
        if (cut == std::wstring_view::npos) {
            m_done = true;
        } else {
            m_rest.remove_prefix(cut + 1);
        }
        if (part.empty()) {
            m_valid = false;
        }
        return part;
    }

private:
    std::wstring_view m_rest;
    bool m_valid = true;
    bool m_done = false;
};

std::string Quoted(const std::wstring& path)
{
    std::string out(1, '"');
    out += ToUtf8(path);
    out += '"';
    return out;
}

/// CRC-32 (IEEE 802.3) as zlib computes it, which is also the file's checksum.
uint32_t Crc32(const unsigned char* data, size_t size)
{
    return static_cast<uint32_t>(crc32_z(0L, data, size));
}

}  // namespace

// ---------------------------------------------------------------------------
// The arena and the nodes

/// Owns every node, text, child list and name index of one tree: memory is
/// taken in growing blocks and given back only as a whole, with the tree.
/// Nodes need no destructor (they own nothing outside the arena).
class CIdpArena {
public:
    /// firstBlock: the bytes of the first block taken (later ones grow from it).
    explicit CIdpArena(size_t firstBlock = 64 * 1024)
        : m_memory(firstBlock, &CLargeMemoryResource::Instance())
    {}

    template <class T>
    T* Allocate(size_t n)
    {
        m_used += n * sizeof(T);
        return static_cast<T*>(m_memory.allocate(n * sizeof(T), alignof(T)));
    }

    CInterDpNode* NewNode() { return new (Allocate<CInterDpNode>(1)) CInterDpNode(); }

    /// A NUL-terminated copy of text; an empty text takes no memory.
    const wchar_t* Text(std::wstring_view text)
    {
        if (text.empty()) {
            return L"";
        }
        wchar_t* copy = Allocate<wchar_t>(text.size() + 1);
        std::copy(text.begin(), text.end(), copy);
        copy[text.size()] = L'\0';
        return copy;
    }

    /// A name, shared with earlier equal names where the small cache knows
    /// them (the keys of an archive's rows repeat tens of thousands of times).
    const wchar_t* Name(std::wstring_view name)
    {
        if (name.size() > kCachedNameLength) {
            return Text(name);
        }
        if (const auto found = m_names.find(name); found != m_names.end()) {
            return found->second;
        }
        const wchar_t* copy = Text(name);
        if (m_names.size() < kCachedNames) {
            m_names.emplace(std::wstring_view(copy, name.size()), copy);
        }
        return copy;
    }

    /// Bytes handed out so far.
    size_t Used() const { return m_used; }

private:
    static constexpr size_t kCachedNameLength = 16;
    static constexpr size_t kCachedNames = 1024;

    std::pmr::monotonic_buffer_resource m_memory;
    std::unordered_map<std::wstring_view, const wchar_t*> m_names;
    size_t m_used = 0;
};

/// An open-addressing table of a node's children by name (linear probing,
/// at most three quarters full), in the arena.
struct CInterDpNode::NameIndex {
    CInterDpNode** slots = nullptr;
    size_t mask = 0;
    size_t used = 0;

    static size_t Hash(std::wstring_view name) { return std::hash<std::wstring_view>{}(name); }

    CInterDpNode* Find(std::wstring_view name) const
    {
        for (size_t i = Hash(name) & mask;; i = (i + 1) & mask) {
            if (slots[i] == nullptr || slots[i]->Name() == name) {
                return slots[i];
            }
        }
    }

    void Insert(CInterDpNode* node)
    {
        size_t i = Hash(node->Name()) & mask;
        while (slots[i] != nullptr) {
            i = (i + 1) & mask;
        }
        slots[i] = node;
        ++used;
    }

    /// A table with room for at least n names.
    static NameIndex* Make(CIdpArena& arena, size_t n)
    {
        size_t capacity = 32;
        while (capacity * 3 / 4 < n) {
            capacity *= 2;
        }
        auto* index = new (arena.Allocate<NameIndex>(1)) NameIndex();
        index->slots = arena.Allocate<CInterDpNode*>(capacity);
        std::fill_n(index->slots, capacity, nullptr);
        index->mask = capacity - 1;
        return index;
    }
};

const CInterDpNode& CInterDpNode::ChildAt(size_t i) const
{
    if (i >= m_childCount) {
        throw std::out_of_range("no child " + std::to_string(i) + " of " +
                                std::to_string(m_childCount));
    }
    return *m_children[i];
}

CInterDpNode* CInterDpNode::Child(std::wstring_view name) const
{
    if (m_pIndex != nullptr) {
        return m_pIndex->Find(name);
    }
    for (uint32_t i = 0; i < m_childCount; ++i) {
        if (m_children[i]->Name() == name) {
            return m_children[i];
        }
    }
    return nullptr;
}

void CInterDpNode::Reserve(CIdpArena& arena, size_t children)
{
    if (children <= m_childCapacity) {
        return;
    }
    auto** grown = arena.Allocate<CInterDpNode*>(children);
    std::copy_n(m_children, m_childCount, grown);
    m_children = grown;
    m_childCapacity = static_cast<uint32_t>(children);
    if (children > kIndexThreshold && (m_pIndex == nullptr || m_pIndex->mask * 3 / 4 < children)) {
        m_pIndex = NameIndex::Make(arena, children);
        for (uint32_t i = 0; i < m_childCount; ++i) {
            m_pIndex->Insert(m_children[i]);
        }
    }
}

CInterDpNode& CInterDpNode::AddChild(CIdpArena& arena, std::wstring_view name)
{
    if (m_childCount == m_childCapacity) {
        Reserve(arena, std::max<size_t>(4, size_t{m_childCapacity} * 2));
    }
    CInterDpNode* node = arena.NewNode();
    node->m_name = arena.Name(name);
    node->m_nameLength = static_cast<uint32_t>(name.size());
    m_children[m_childCount++] = node;
    if (m_pIndex != nullptr) {
        m_pIndex->Insert(node);
    }
    return *node;
}

const CInterDpNode* CInterDpNode::GetSubValueFromPathW(int16_t, const std::wstring& path) const
{
    CPathCursor cursor(path);
    const CInterDpNode* node = this;
    while (cursor.Valid() && !cursor.AtEnd()) {
        const std::wstring_view name = cursor.Next();
        if (!cursor.Valid()) {
            return nullptr;
        }
        node = node->Child(name);
        if (node == nullptr) {
            return nullptr;
        }
    }
    return cursor.Valid() ? node : nullptr;
}

// ---------------------------------------------------------------------------
// The file encoding (IdpFormat.md)

/// Turns a tree into the bytes of a data file and back. Owns nothing: the
/// decoder fills a root node the caller owns and reports the first problem
/// it meets as a status and a one-line message.
class CIdpCodec {
public:
    static std::string Encode(const CInterDpNode& root);
    static IdpStatus Decode(const std::string& bytes, CIdpArena& arena, CInterDpNode& root,
                            std::string& error);

private:
    /// A node record as read, before it is attached to its parent.
    struct Record {
        std::wstring name;
        int16_t valueCount = 0;
        int32_t flags = 0;
        std::wstring value;
        uint32_t childCount = 0;
    };

    /// Bounded little-endian reads over the payload of one file.
    class Reader {
    public:
        Reader(const std::string& bytes, size_t declaredEnd)
            : m_data(reinterpret_cast<const unsigned char*>(bytes.data())),
              m_pos(kHeaderSize),
              m_end(std::min(bytes.size(), declaredEnd)),
              m_declaredEnd(declaredEnd)
        {}

        size_t Pos() const { return m_pos; }
        size_t End() const { return m_end; }
        size_t DeclaredLeft() const { return m_declaredEnd - m_pos; }
        IdpStatus Status() const { return m_status; }
        const std::string& Error() const { return m_error; }

        /// False (and the reason recorded) when n more bytes are not there.
        bool Need(size_t n, const char* what)
        {
            if (n <= m_end - m_pos) {
                return true;
            }
            if (m_end < m_declaredEnd && n <= m_declaredEnd - m_pos) {
                return Fail(IdpStatus::Truncated, "truncated: the file ends inside " +
                                                      std::string(what) + " at byte " +
                                                      std::to_string(m_pos));
            }
            return Fail(IdpStatus::Malformed, "damaged at byte " + std::to_string(m_pos) + ": " +
                                                  what + " of " + std::to_string(n) +
                                                  " bytes does not fit in the " +
                                                  std::to_string(DeclaredLeft()) + " bytes left");
        }

        bool Fail(IdpStatus status, std::string message)
        {
            m_status = status;
            m_error = std::move(message);
            return false;
        }

        uint16_t U16()
        {
            const auto v = static_cast<uint16_t>(m_data[m_pos] | (m_data[m_pos + 1] << 8));
            m_pos += 2;
            return v;
        }

        uint32_t U32()
        {
            const uint32_t v = static_cast<uint32_t>(m_data[m_pos]) |
                               (static_cast<uint32_t>(m_data[m_pos + 1]) << 8) |
                               (static_cast<uint32_t>(m_data[m_pos + 2]) << 16) |
                               (static_cast<uint32_t>(m_data[m_pos + 3]) << 24);
            m_pos += 4;
            return v;
        }

        /// A length-prefixed UTF-16LE text.
        bool Text(std::wstring& out, const char* what)
        {
            if (!Need(4, what)) {
                return false;
            }
            const uint32_t units = U32();
            if (!Need(2 * static_cast<size_t>(units), what)) {
                return false;
            }
            // Units outside the surrogates are characters as they are; a
            // text with surrogates goes through the pairing rules.
            out.resize(units);
            bool paired = false;
            for (auto& c : out) {
                const uint16_t unit = U16();
                paired = paired || (unit >= 0xD800 && unit <= 0xDFFF);
                c = static_cast<wchar_t>(unit);
            }
            if (paired) {
                const std::u16string u16(out.begin(), out.end());
                out = FromUtf16(u16);
            }
            return true;
        }

    private:
        const unsigned char* m_data;
        size_t m_pos;
        size_t m_end;
        size_t m_declaredEnd;
        IdpStatus m_status = IdpStatus::Ok;
        std::string m_error;
    };

    static bool ReadRecord(Reader& in, Record& rec);
};

namespace {

void PutU32(std::string& out, uint32_t v)
{
    const char bytes[4] = {static_cast<char>(v & 0xFFU), static_cast<char>((v >> 8) & 0xFFU),
                           static_cast<char>((v >> 16) & 0xFFU), static_cast<char>(v >> 24)};
    out.append(bytes, 4);
}

void PatchU32(std::string& out, size_t at, uint32_t v)
{
    for (size_t i = 0; i < 4; ++i) {
        out[at + i] = static_cast<char>((v >> (8 * i)) & 0xFFU);
    }
}

/// A length-prefixed UTF-16LE text, encoded as ToUtf16 does, without an
/// intermediate string.
void PutText(std::string& out, std::wstring_view text)
{
    const size_t units = Utf16Length(text);
    if (units > std::numeric_limits<uint32_t>::max()) {
        throw DocumentError("a text of " + std::to_string(units) +
                            " UTF-16 units is too long for a data file");
    }
    PutU32(out, static_cast<uint32_t>(units));
    const size_t at = out.size();
    out.resize(at + 2 * units);
    char* p = out.data() + at;
    const auto put = [&p](uint32_t unit) {
        *p++ = static_cast<char>(unit & 0xFFU);
        *p++ = static_cast<char>(unit >> 8);
    };
    for (const wchar_t wc : text) {
        const auto c = static_cast<uint32_t>(wc);
        if (c < 0x10000) {
            put(c);
        } else if (c <= 0x10FFFF) {
            put(0xD800 + ((c - 0x10000) >> 10));
            put(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            put(0xFFFD);
        }
    }
}

}  // namespace

CIdpWriter::CIdpWriter(size_t expectedSize) : m_out(kMagic.begin(), kMagic.end())
{
    m_out.reserve(expectedSize + kHeaderSize + kChecksumSize);
    AdviseHugePages(m_out.data(), m_out.capacity());
    PutU32(m_out, kVersion);
    PutU32(m_out, 0);  // payload length, patched by Finish
}

size_t CIdpWriter::RecordSize(std::wstring_view name, std::wstring_view value)
{
    return kMinNodeSize + 2 * (Utf16Length(name) + Utf16Length(value));
}

void CIdpWriter::Node(std::wstring_view name, int16_t count, int32_t flags, std::wstring_view value,
                      size_t children)
{
    if (children > std::numeric_limits<uint32_t>::max()) {
        throw DocumentError("a node has too many children for a data file");
    }
    PutText(m_out, name);
    const auto c = static_cast<uint16_t>(count);
    m_out.push_back(static_cast<char>(c & 0xFFU));
    m_out.push_back(static_cast<char>(c >> 8));
    PutU32(m_out, static_cast<uint32_t>(flags));
    PutText(m_out, value);
    PutU32(m_out, static_cast<uint32_t>(children));
}

std::string CIdpWriter::Finish()
{
    const size_t payload = m_out.size() - kHeaderSize;
    if (payload > std::numeric_limits<uint32_t>::max()) {
        throw DocumentError("the tree takes " + std::to_string(payload) +
                            " bytes, more than a data file can hold");
    }
    PatchU32(m_out, 12, static_cast<uint32_t>(payload));
    PutU32(m_out, Crc32(reinterpret_cast<const unsigned char*>(m_out.data()), m_out.size()));
    return std::move(m_out);
}

std::string CIdpCodec::Encode(const CInterDpNode& root)
{
    CIdpWriter out;
    // Pre-order: a node, then each of its children's subtrees in insertion order.
    std::vector<const CInterDpNode*> pending{&root};
    while (!pending.empty()) {
        const CInterDpNode* node = pending.back();
        pending.pop_back();
        out.Node(node->Name(), node->m_nValueCount, node->m_nFlags, node->ValueText(),
                 node->m_childCount);
        for (uint32_t i = node->m_childCount; i-- > 0;) {
            pending.push_back(node->m_children[i]);
        }
    }
    return out.Finish();
}

bool CIdpCodec::ReadRecord(Reader& in, Record& rec)
{
    if (!in.Text(rec.name, "a node name")) {
        return false;
    }
    if (!in.Need(6, "a node's value count and flags")) {
        return false;
    }
    rec.valueCount = static_cast<int16_t>(in.U16());
    rec.flags = static_cast<int32_t>(in.U32());
    if (!in.Text(rec.value, "a node value")) {
        return false;
    }
    if (!in.Need(4, "a child count")) {
        return false;
    }
    rec.childCount = in.U32();
    return true;
}

IdpStatus CIdpCodec::Decode(const std::string& bytes, CIdpArena& arena, CInterDpNode& root,
                            std::string& error)
{
    error.clear();
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const size_t magicSeen = std::min(bytes.size(), kMagic.size());
    if (std::memcmp(data, kMagic.data(), magicSeen) != 0) {
        error = "not a loadcal data file (wrong magic)";
        return IdpStatus::BadMagic;
    }
    if (bytes.size() < kHeaderSize) {
        error = "truncated: the file ends inside its header (" + std::to_string(bytes.size()) +
                " bytes)";
        return IdpStatus::Truncated;
    }
    const auto header = [&](size_t at) {
        return static_cast<uint32_t>(data[at]) | (static_cast<uint32_t>(data[at + 1]) << 8) |
               (static_cast<uint32_t>(data[at + 2]) << 16) |
               (static_cast<uint32_t>(data[at + 3]) << 24);
    };
    const uint32_t version = header(8);
    if (version != kVersion) {
        error = "format version " + std::to_string(version) + ", this program reads version " +
                std::to_string(kVersion);
        return IdpStatus::BadVersion;
    }
    const size_t payloadEnd = kHeaderSize + header(12);
    Reader in(bytes, payloadEnd);

    Record rec;
    if (!ReadRecord(in, rec)) {
        error = in.Error();
        return in.Status();
    }
    if (!rec.name.empty() || rec.valueCount != 0 || rec.flags != 0 || !rec.value.empty()) {
        error = "damaged at byte 16: the root node carries a name or a value";
        return IdpStatus::Malformed;
    }

    struct Frame {
        CInterDpNode* node;
        uint32_t remaining;
    };
    std::vector<Frame> stack;
    uint64_t pendingNodes = rec.childCount;
    // The tree may take 2.75 times the file's size and 32 MB: with the file's
    // bytes and the program itself that keeps a reading under four times the
    // size and 64 MB. A file of our own writing stays below it, while a file
    // of nothing but the smallest records would not (each of their nodes
    // takes more than three times its record).
    const size_t memoryBudget = bytes.size() * 11 / 4 + (size_t{32} << 20);
    // Child lists are sized once from the counts, as far as the bytes left could hold them.
    const auto reserve = [&](CInterDpNode& node, uint32_t children) {
        node.Reserve(arena, std::min<size_t>(children, (in.End() - in.Pos()) / kMinNodeSize));
    };
    if (rec.childCount > 0) {
        reserve(root, rec.childCount);
        stack.push_back({&root, rec.childCount});
    }
    const auto fail = [&](IdpStatus status, size_t at, const std::string& what) {
        error = (status == IdpStatus::Truncated ? "truncated"
                                                : "damaged at byte " + std::to_string(at)) +
                (": " + what);
        return status;
    };
    while (!stack.empty()) {
        if (pendingNodes > in.DeclaredLeft() / kMinNodeSize) {
            return fail(IdpStatus::Malformed, in.Pos(),
                        "the child counts announce " + std::to_string(pendingNodes) +
                            " more nodes, more than the " + std::to_string(in.DeclaredLeft()) +
                            " bytes left can hold");
        }
        Frame& top = stack.back();
        if (top.remaining == 0) {
            stack.pop_back();
            continue;
        }
        --top.remaining;
        --pendingNodes;
        const size_t at = in.Pos();
        if (!ReadRecord(in, rec)) {
            error = in.Error();
            return in.Status();
        }
        if (!IsValidName(rec.name)) {
            return fail(IdpStatus::Malformed, at,
                        "a node name that is empty, holds a backslash or is not Unicode text");
        }
        CInterDpNode* parent = top.node;
        if (parent->Child(rec.name) != nullptr) {
            return fail(IdpStatus::Malformed, at,
                        "two sibling nodes named \"" + ToUtf8(rec.name) + "\"");
        }
        if (rec.childCount > 0 && stack.size() >= static_cast<size_t>(kIdpMaxDepth)) {
            return fail(IdpStatus::Malformed, at,
                        "nodes nested deeper than " + std::to_string(kIdpMaxDepth) + " levels");
        }
        if (arena.Used() > memoryBudget) {
            return fail(IdpStatus::Malformed, at,
                        "its nodes would take more than " + std::to_string(memoryBudget >> 20) +
                            " MB of memory (2.75 times the file's size and 32 MB)");
        }
        CInterDpNode& node = parent->AddChild(arena, rec.name);
        node.m_nValueCount = rec.valueCount;
        node.m_nFlags = rec.flags;
        node.m_value = arena.Text(rec.value);
        node.m_valueLength = static_cast<uint32_t>(rec.value.size());
        if (rec.childCount > 0) {
            reserve(node, rec.childCount);
            pendingNodes += rec.childCount;
            stack.push_back({&node, rec.childCount});
        }
    }

    if (in.Pos() < in.End()) {
        return fail(IdpStatus::Malformed, in.Pos(),
                    std::to_string(in.End() - in.Pos()) + " bytes follow the last node");
    }
    if (bytes.size() < payloadEnd + kChecksumSize) {
        return fail(IdpStatus::Truncated, in.Pos(),
                    "the file ends " + std::to_string(payloadEnd + kChecksumSize - bytes.size()) +
                        " bytes early");
    }
    const uint32_t stored = header(payloadEnd);
    const uint32_t computed = Crc32(data, payloadEnd);
    if (stored != computed) {
        char text[64];
        std::snprintf(text, sizeof text, "checksum mismatch (stored %08X, computed %08X)",
                      static_cast<unsigned>(stored), static_cast<unsigned>(computed));
        error = std::string("damaged: ") + text;
        return IdpStatus::BadChecksum;
    }
    if (bytes.size() > payloadEnd + kChecksumSize) {
        return fail(IdpStatus::Malformed, payloadEnd + kChecksumSize,
                    std::to_string(bytes.size() - payloadEnd - kChecksumSize) +
                        " bytes follow the checksum");
    }
    return IdpStatus::Ok;
}

// ---------------------------------------------------------------------------
// CInterDpData

CInterDpData::CInterDpData()
{
    ClearDataFromMemory();
}

CInterDpData::~CInterDpData() = default;

int16_t CInterDpData::ClearDataFromMemory()
{
    m_arena = std::make_unique<CIdpArena>();
    m_root = m_arena->NewNode();
    return Code(IdpStatus::Ok);
}

int16_t CInterDpData::SetSubValueW(const std::wstring& path, int16_t count, const wchar_t* value,
                                   int32_t flags)
{
    if (value == nullptr) {
        return SetSubValueW(path, 0, std::wstring_view(), flags);
    }
    return SetSubValueW(path, count, std::wstring_view(value), flags);
}

int16_t CInterDpData::SetSubValueW(const std::wstring& path, int16_t count, std::wstring_view value,
                                   int32_t flags)
{
    std::vector<std::wstring_view> names;
    CPathCursor cursor(path);
    while (cursor.Valid() && !cursor.AtEnd()) {
        names.push_back(cursor.Next());
        if (!IsValidName(names.back()) || names.size() > static_cast<size_t>(kIdpMaxDepth)) {
            return Code(IdpStatus::BadPath);
        }
    }
    if (!cursor.Valid()) {
        return Code(IdpStatus::BadPath);
    }
    CInterDpNode* node = m_root;
    for (const std::wstring_view name : names) {
        CInterDpNode* child = node->Child(name);
        node = child != nullptr ? child : &node->AddChild(*m_arena, name);
    }
    const std::wstring stored = AsStored(std::wstring(value));
    node->m_value = m_arena->Text(stored);
    node->m_valueLength = static_cast<uint32_t>(stored.size());
    node->m_nValueCount = count;
    node->m_nFlags = flags;
    return Code(IdpStatus::Ok);
}

const CInterDpNode* CInterDpData::GetSubValueFromPathW(int16_t reserved,
                                                       const std::wstring& path) const
{
    return m_root->GetSubValueFromPathW(reserved, path);
}

std::string CInterDpData::Serialize() const
{
    return CIdpCodec::Encode(*m_root);
}

IdpStatus CInterDpData::Deserialize(const std::string& bytes)
{
    // A file of our own writing takes about 2.5 times its size as a tree: one
    // block of that size (pages are taken only as they are used).
    auto arena = std::make_unique<CIdpArena>(std::max<size_t>(64 * 1024, bytes.size() / 2 * 5));
    CInterDpNode* root = arena->NewNode();
    const IdpStatus status = CIdpCodec::Decode(bytes, *arena, *root, m_lastError);
    m_arena = std::move(arena);
    m_root = root;
    return status;
}

std::string TooManyChildrenError(const std::wstring& file, const std::wstring& node,
                                 size_t children)
{
    return "cannot write " + Quoted(file) + ": \"" + ToUtf8(node) + "\" holds " +
           std::to_string(children) + " entries, more than the " + std::to_string(kIdpMaxChildren) +
           " a file can hold; nothing was written";
}

namespace {

/// The path of the first node (pre-order) with more children than a reader
/// can count, or "" when there is none.
std::wstring CrowdedNode(const CInterDpNode& root)
{
    struct Frame {
        const CInterDpNode* node;
        std::wstring path;
    };
    std::vector<Frame> pending{{&root, L""}};
    while (!pending.empty()) {
        Frame frame = std::move(pending.back());
        pending.pop_back();
        if (frame.node->ChildrenSize() > kIdpMaxChildren) {
            return frame.path.empty() ? std::wstring(1, kSeparator) : frame.path;
        }
        for (size_t i = frame.node->ChildrenSize(); i-- > 0;) {
            const CInterDpNode& child = frame.node->ChildAt(i);
            if (child.ChildrenSize() > 0) {
                std::wstring path = frame.path;
                if (!path.empty()) {
                    path += kSeparator;
                }
                path += child.Name();
                pending.push_back({&child, std::move(path)});
            }
        }
    }
    return {};
}

}  // namespace

int16_t CInterDpData::WriteDataToIdpFile(const std::wstring& path) const
{
    m_lastError.clear();
    if (path.empty()) {
        m_lastError = "cannot write a data file: no file name given";
        return Code(IdpStatus::IoError);
    }
    if (const std::wstring crowded = CrowdedNode(*m_root); !crowded.empty()) {
        const CInterDpNode* node = m_root->GetSubValueFromPathW(0, crowded);
        m_lastError = TooManyChildrenError(path, crowded, node->ChildrenSize());
        return Code(IdpStatus::TooManyChildren);
    }
    try {
        WriteFileAtomically(ToFsPath(path), Serialize());
    } catch (const std::exception& e) {
        // DocumentError from the writer, or a file-system error while replacing the file.
        m_lastError = e.what();
        if (m_lastError.find(ToUtf8(path)) == std::string::npos) {
            m_lastError = "cannot write " + Quoted(path) + ": " + m_lastError;
        }
        return Code(IdpStatus::IoError);
    }
    return Code(IdpStatus::Ok);
}

namespace {

/// The whole content of a regular file, or a status and a reason.
IdpStatus ReadWholeFile(const std::filesystem::path& file, std::string& bytes, std::string& why)
{
    const int error = ReadFileBytes(
        file, kHeaderSize + uint64_t{std::numeric_limits<uint32_t>::max()} + kChecksumSize, bytes);
    switch (error) {
        case 0:
            return IdpStatus::Ok;
        case ENOENT:
            why = FileErrorText(error);
            return IdpStatus::FileNotFound;
        case EFBIG:
            why = "too large to be a data file";
            return IdpStatus::Malformed;
        default:
            why = FileErrorText(error);
            return IdpStatus::IoError;
    }
}

}  // namespace

int16_t CInterDpData::ReadDataFromIdpFile(const std::wstring& path)
{
    ClearDataFromMemory();
    m_lastError.clear();
    if (path.empty()) {
        m_lastError = "cannot read a data file: no file name given";
        return Code(IdpStatus::FileNotFound);
    }
    std::string bytes;
    std::string why;
    IdpStatus status = ReadWholeFile(ToFsPath(path), bytes, why);
    if (status == IdpStatus::Ok) {
        status = Deserialize(bytes);
        why = m_lastError;
    }
    if (status != IdpStatus::Ok) {
        m_lastError = "cannot read " + Quoted(path) + ": " + why;
    }
    return Code(status);
}

}  // namespace loadcal
