// The data-file encoding: its documented layout, and reading damaged bytes.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "document/InterDpData.h"
#include "model/Text.h"
#include "tests/document/IdpTestSupport.h"

using namespace loadcal;
using testsupport::CFileBuilder;

namespace {

struct NodeData {
    std::wstring value;
    int16_t count;
    int32_t flags;
    bool operator==(const NodeData&) const = default;
};
using Flat = std::map<std::wstring, NodeData>;

void Flatten(const CInterDpNode& node, const std::wstring& path, Flat& out)
{
    for (size_t i = 0; i < node.ChildrenSize(); ++i) {
        const CInterDpNode& child = node.ChildAt(i);
        const std::wstring p = path + L"\\" + std::wstring(child.Name());
        out[p] = {std::wstring(child.ValueText()), child.ValueCount(), child.Flags()};
        Flatten(child, p, out);
    }
}

Flat Flatten(const CInterDpData& store)
{
    Flat out;
    Flatten(store.Root(), L"", out);
    return out;
}

/// A small archive-like tree with Unicode names and values.
std::string ReferenceFile()
{
    CInterDpData store;
    const wchar_t* values[] = {L"WL1", L"", L"照明 \U00020BB7", L"1.50", L"L1,N"};
    for (int row = 0; row < 4; ++row) {
        for (int k = 0; k < 5; ++k) {
            const std::wstring text = values[(row + k) % 5];
            store.SetSubValueW(L"负荷信息\\" + std::to_wstring(row) + L"\\键" + std::to_wstring(k),
                               static_cast<int16_t>(Utf16Length(text) + 1), text.c_str(), k);
        }
    }
    store.SetSubValueW(L"\\负荷计算\\最近文件\\1", 9, L"/tmp/a.LDC", 0);
    return store.Serialize();
}

/// Checks what every failed read must leave: a message, and a tree whose
/// nodes all come from the original and that writes a valid file again.
void ExpectSanePartialTree(const CInterDpData& store, const Flat& original)
{
    EXPECT_FALSE(store.LastError().empty());
    EXPECT_EQ(store.LastError().find('\n'), std::string::npos);
    for (const auto& [path, data] : Flatten(store)) {
        const auto it = original.find(path);
        ASSERT_NE(it, original.end()) << ToUtf8(path);
    }
    CInterDpData again;
    EXPECT_EQ(again.Deserialize(store.Serialize()), IdpStatus::Ok);
}

IdpStatus Read(const std::string& bytes, CInterDpData* out = nullptr)
{
    CInterDpData local;
    CInterDpData& store = out != nullptr ? *out : local;
    return store.Deserialize(bytes);
}

}  // namespace

TEST(IdpFormat, BytesAreExactlyTheDocumentedLayout)
{
    ASSERT_EQ(testsupport::ReferenceCrc32("123456789"), 0xCBF43926U);  // the CRC-32 check value
    CInterDpData store;
    store.SetSubValueW(L"a\\\U0001F600", 3, L"1\u00E9", -2);
    store.SetSubValueW(L"b", 0, nullptr, 0);
    const std::string expected = CFileBuilder()
                                     .Root(2)
                                     .Node(u"a", 0, 0, u"", 1)
                                     .Node(u"\U0001F600", 3, -2, u"1\u00E9", 0)
                                     .Node(u"b", 0, 0, u"", 0)
                                     .File();
    EXPECT_EQ(store.Serialize(), expected);
    EXPECT_EQ(CInterDpData().Serialize(), CFileBuilder().Root(0).File());
}

TEST(IdpFormat, EveryTruncationIsReportedAndKeepsOnlyRealNodes)
{
    const std::string file = ReferenceFile();
    CInterDpData full;
    ASSERT_EQ(full.Deserialize(file), IdpStatus::Ok);
    const Flat original = Flatten(full);
    size_t previousNodes = 0;
    for (size_t n = 0; n < file.size(); ++n) {
        CInterDpData store;
        ASSERT_EQ(store.Deserialize(file.substr(0, n)), IdpStatus::Truncated) << n;
        ExpectSanePartialTree(store, original);
        const Flat partial = Flatten(store);
        for (const auto& [path, data] : partial) {
            EXPECT_EQ(data, original.at(path)) << n << " " << ToUtf8(path);
        }
        EXPECT_GE(partial.size(), previousNodes) << n;
        previousNodes = partial.size();
    }
    EXPECT_EQ(previousNodes, original.size());  // only the checksum was missing
}

TEST(IdpFormat, RandomByteFlipsAreAlwaysDetected)
{
    const std::string file = ReferenceFile();
    CInterDpData full;
    ASSERT_EQ(full.Deserialize(file), IdpStatus::Ok);
    const Flat original = Flatten(full);
    std::mt19937 rng(20240611);
    std::uniform_int_distribution<size_t> pos(0, file.size() - 1);
    std::uniform_int_distribution<int> mask(1, 255);
    std::uniform_int_distribution<int> flips(1, 4);
    for (int round = 0; round < 20000; ++round) {
        std::string damaged = file;
        std::vector<size_t> used;
        for (int k = flips(rng); k > 0; --k) {
            size_t p = pos(rng);
            while (std::find(used.begin(), used.end(), p) != used.end()) {
                p = pos(rng);
            }
            used.push_back(p);
            damaged[p] = static_cast<char>(damaged[p] ^ mask(rng));
        }
        CInterDpData store;
        ASSERT_NE(store.Deserialize(damaged), IdpStatus::Ok) << "round " << round;
        CInterDpData again;
        ASSERT_EQ(again.Deserialize(store.Serialize()), IdpStatus::Ok) << "round " << round;
        ASSERT_FALSE(store.LastError().empty());
    }
}

TEST(IdpFormat, AbsurdLengthsAndCountsAreRejectedWithoutAllocating)
{
    // Each would ask for gigabytes if trusted; the sanitizer's allocator would abort.
    CInterDpData store;
    const std::string padding(40, '\0');
    EXPECT_EQ(Read(CFileBuilder().Root(1).U32(0xFFFFFFFFU).Raw(padding).File(), &store),
              IdpStatus::Malformed);
    EXPECT_NE(store.LastError().find("does not fit"), std::string::npos) << store.LastError();
    EXPECT_EQ(Read(CFileBuilder().Root(1).Text(u"a").U16(2).U32(0).U32(0x7FFFFFFFU).File()),
              IdpStatus::Malformed);
    EXPECT_EQ(Read(CFileBuilder().Root(0xFFFFFFFFU).Node(u"a", 0, 0, u"", 0).File(), &store),
              IdpStatus::Malformed);
    EXPECT_EQ(store.Root().ChildrenSize(), 0u);
    // A child claiming more children than the rest of the file could hold.
    EXPECT_EQ(Read(CFileBuilder().Root(1).Node(u"a", 0, 0, u"", 100000).File(), &store),
              IdpStatus::Malformed);
    EXPECT_NE(store.LastError().find("100000 more nodes"), std::string::npos) << store.LastError();

    std::string file = ReferenceFile();
    file[12] = file[13] = file[14] = file[15] = '\xFF';  // payload length 4 GiB - 1
    EXPECT_NE(Read(file, &store), IdpStatus::Ok);
}

TEST(IdpFormat, DeepNestingStopsAtTheDepthLimit)
{
    const auto chain = [](int depth) {
        CFileBuilder b;
        b.Root(1);
        for (int d = 1; d <= depth; ++d) {
            b.Node(u"n", 0, 0, u"", d < depth ? 1 : 0);
        }
        return b.File();
    };
    CInterDpData store;
    EXPECT_EQ(store.Deserialize(chain(kIdpMaxDepth)), IdpStatus::Ok) << store.LastError();
    ASSERT_EQ(store.Deserialize(chain(100000)), IdpStatus::Malformed);
    EXPECT_NE(store.LastError().find("deeper"), std::string::npos) << store.LastError();
    int depth = 0;
    for (const CInterDpNode* n = &store.Root(); n->ChildrenSize() > 0; n = &n->ChildAt(0)) {
        ++depth;
    }
    EXPECT_EQ(depth, kIdpMaxDepth - 1);  // the record that would nest deeper is not attached
}

TEST(IdpFormat, WrongMagicAndVersionLeaveAnEmptyTree)
{
    CInterDpData store;
    ASSERT_EQ(store.Deserialize(ReferenceFile()), IdpStatus::Ok);
    std::string file = ReferenceFile();
    file[1] = 'X';
    EXPECT_EQ(store.Deserialize(file), IdpStatus::BadMagic);
    EXPECT_EQ(store.Root().ChildrenSize(), 0u);
    EXPECT_NE(store.LastError().find("magic"), std::string::npos);
    EXPECT_EQ(Read("PK\x03\x04 not ours at all"), IdpStatus::BadMagic);
    EXPECT_EQ(Read(CFileBuilder().Root(0).File(2)), IdpStatus::BadVersion);
}

TEST(IdpFormat, ImpossibleNamesAreMalformedAndEarlierNodesKept)
{
    const auto read = [](const std::u16string& name, const std::u16string& value) {
        CInterDpData store;
        const IdpStatus status = store.Deserialize(
            CFileBuilder().Root(2).Node(u"ok", 2, 0, u"v", 0).Node(name, 1, 0, value, 0).File());
        EXPECT_NE(store.GetSubValueFromPathW(0, L"ok"), nullptr);
        EXPECT_EQ(store.Root().ChildrenSize(), status == IdpStatus::Ok ? 2u : 1u);
        return status;
    };
    EXPECT_EQ(read(u"b", u"\xD800 lone surrogates are fine in values"), IdpStatus::Ok);
    EXPECT_EQ(read(u"ok", u""), IdpStatus::Malformed);  // duplicate sibling
    EXPECT_EQ(read(u"", u""), IdpStatus::Malformed);
    EXPECT_EQ(read(u"a\\b", u""), IdpStatus::Malformed);
    EXPECT_EQ(read(u"\xDC00", u""), IdpStatus::Malformed);
    EXPECT_EQ(read(u"b", std::u16string(u"x\0y", 3)), IdpStatus::Ok);  // texts carry NULs
    EXPECT_EQ(Read(CFileBuilder().Node(u"", 1, 0, u"", 0).File()), IdpStatus::Malformed);
    EXPECT_EQ(Read(CFileBuilder().Node(u"root", 0, 0, u"", 0).File()), IdpStatus::Malformed);
}

TEST(IdpFormat, LeftoverBytesAndBadChecksums)
{
    EXPECT_EQ(Read(CFileBuilder().Root(0).Raw("junk").File()), IdpStatus::Malformed);
    EXPECT_EQ(Read(CFileBuilder().Root(0).File() + "x"), IdpStatus::Malformed);

    CInterDpData original;
    original.SetSubValueW(L"k", 4, L"abc", 0);
    std::string file = original.Serialize();
    const size_t at = file.find(std::string("a\0b\0c\0", 6));
    ASSERT_NE(at, std::string::npos);
    file[at] = 'A';
    CInterDpData store;
    EXPECT_EQ(store.Deserialize(file), IdpStatus::BadChecksum);
    EXPECT_NE(store.LastError().find("checksum"), std::string::npos);
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"k")->ValueText(), L"Abc");  // kept as read
}

TEST(IdpFormat, SeedCorpusStillReadsAndEncodesIdentically)
{
    // The fuzzer's seeds are real files of this encoding; a change of the
    // format must come with a regenerated corpus (fuzz/idp_seed_corpus).
    const auto corpus = std::filesystem::path(LOADCAL_SOURCE_DIR) / "fuzz" / "corpus" / "idp";
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(corpus)) {
        const std::string bytes = testsupport::ReadBytes(entry.path());
        CInterDpData store;
        EXPECT_EQ(store.Deserialize(bytes), IdpStatus::Ok) << entry.path() << store.LastError();
        EXPECT_EQ(store.Serialize(), bytes) << entry.path();
        ++files;
    }
    EXPECT_GE(files, 4);
}
