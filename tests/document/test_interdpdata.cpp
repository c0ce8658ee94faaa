// The tree store in memory: paths, values, lookups and child counts.

#include <gtest/gtest.h>

#include "document/ArchiveKeys.h"
#include "document/InterDpData.h"
#include "model/Text.h"

using namespace loadcal;

namespace {

constexpr int16_t kOk = 0;
constexpr int16_t kBadPath = static_cast<int16_t>(IdpStatus::BadPath);

int16_t SetText(CInterDpData& store, const std::wstring& path, const std::wstring& text,
                int32_t flags = 0)
{
    return store.SetSubValueW(path, static_cast<int16_t>(Utf16Length(text) + 1), text.c_str(),
                              flags);
}

/// Writes the tree to bytes and reads it into a second store.
void Reload(const CInterDpData& from, CInterDpData& to)
{
    ASSERT_EQ(to.Deserialize(from.Serialize()), IdpStatus::Ok) << to.LastError();
}

}  // namespace

TEST(InterDpData, TextsCountsAndFlagsSurviveTheEncodingExactly)
{
    const std::vector<std::wstring> texts = {L"",
                                             L" ",
                                             L"  0.50 ",
                                             L"1.000",
                                             L"12kW",
                                             L"L1,L2,L3,N",
                                             L"变压器",
                                             L"\U00020000\U0001F600x",
                                             L"a\U0010FFFFb",
                                             std::wstring(40000, L'z'),
                                             L"\xD800 lone"};
    CInterDpData store;
    for (size_t i = 0; i < texts.size(); ++i) {
        ASSERT_EQ(SetText(store, L"组\\" + std::to_wstring(i) + L"\\\U0001F4A1名", texts[i],
                          static_cast<int32_t>(i) - 5),
                  kOk);
    }
    CInterDpData copy;
    Reload(store, copy);
    for (size_t i = 0; i < texts.size(); ++i) {
        const CInterDpNode* node =
            copy.GetSubValueFromPathW(0, L"组\\" + std::to_wstring(i) + L"\\\U0001F4A1名");
        ASSERT_NE(node, nullptr) << i;
        EXPECT_EQ(node->ValueText(), texts[i]) << i;
        EXPECT_EQ(std::wstring(node->Value()), texts[i]) << i;
        EXPECT_EQ(node->ValueCount(), static_cast<int16_t>(Utf16Length(texts[i]) + 1)) << i;
        EXPECT_EQ(node->Flags(), static_cast<int32_t>(i) - 5) << i;
    }
    // Two characters outside the BMP, one inside, and the NUL.
    EXPECT_EQ(copy.GetSubValueFromPathW(0, L"组\\7\\\U0001F4A1名")->ValueCount(), 6);
    EXPECT_LT(copy.GetSubValueFromPathW(0, L"组\\9\\\U0001F4A1名")->ValueCount(), 0);
    EXPECT_EQ(copy.Serialize(), store.Serialize());
}

TEST(InterDpData, AncestorsAreCreatedWithoutValuesAndKeepTheirChildren)
{
    CInterDpData store;
    ASSERT_EQ(SetText(store, L"a\\b\\c", L"1"), kOk);
    const CInterDpNode* b = store.GetSubValueFromPathW(0, L"a\\b");
    ASSERT_NE(b, nullptr);
    EXPECT_LT(b->ValueCount(), 1);
    EXPECT_EQ(b->ValueText(), L"");
    ASSERT_EQ(SetText(store, L"a\\b", L"now set"), kOk);
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"a\\b"), b);
    EXPECT_EQ(b->ValueText(), L"now set");
    EXPECT_EQ(b->ChildCount(), 1);
    ASSERT_EQ(store.SetSubValueW(L"a\\b", 9, nullptr, 3), kOk);
    EXPECT_EQ(b->ValueCount(), 0);
    EXPECT_EQ(b->ValueText(), L"");
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"a\\b\\c")->ValueText(), L"1");
}

TEST(InterDpData, LeadingBackslashNamesTheRootInBothDirections)
{
    CInterDpData store;
    const std::wstring writeKey = std::wstring(archive::kRecentFilesWriteGroup) + L"\\1";
    const std::wstring readKey = std::wstring(archive::kRecentFilesReadGroup) + L"\\1";
    ASSERT_EQ(writeKey, L"\\负荷计算\\最近文件\\1");
    ASSERT_EQ(SetText(store, writeKey, L"C:\\x\\a.LDC"), kOk);
    ASSERT_EQ(SetText(store, L"负荷计算\\最近文件\\2", L"second"), kOk);
    EXPECT_EQ(store.Root().ChildCount(), 1);
    const CInterDpNode* one = store.GetSubValueFromPathW(0, readKey);
    ASSERT_NE(one, nullptr);
    EXPECT_EQ(one, store.GetSubValueFromPathW(0, writeKey));
    EXPECT_EQ(one->ValueText(), L"C:\\x\\a.LDC");
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"\\负荷计算\\最近文件\\2")->ValueText(), L"second");
}

TEST(InterDpData, LookupsOnANodeAreRelativeToIt)
{
    CInterDpData store;
    SetText(store, L"负荷信息\\0\\回路编号", L"WL1");
    SetText(store, L"回路编号", L"top level");
    const CInterDpNode* table = store.GetSubValueFromPathW(0, L"负荷信息");
    ASSERT_NE(table, nullptr);
    const CInterDpNode* viaTable = table->GetSubValueFromPathW(0, L"0\\回路编号");
    EXPECT_EQ(viaTable, store.GetSubValueFromPathW(0, L"负荷信息\\0\\回路编号"));
    EXPECT_EQ(table->GetSubValueFromPathW(0, L"\\0\\回路编号"), viaTable);
    EXPECT_EQ(table->GetSubValueFromPathW(0, L"回路编号"), nullptr);
    EXPECT_EQ(table->GetSubValueFromPathW(0, L"0\\回路编号\\deeper"), nullptr);
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"负荷信息\\1"), nullptr);
}

TEST(InterDpData, EmptyComponentsNameNoNodeAndCreateNothing)
{
    CInterDpData store;
    SetText(store, L"a\\b", L"x");
    for (const wchar_t* bad : {L"", L"\\", L"\\\\a", L"a\\\\b", L"a\\b\\", L"new\\\\x", L"n\\\\"}) {
        EXPECT_EQ(SetText(store, bad, L"v"), kBadPath) << ToUtf8(bad);
        EXPECT_EQ(store.GetSubValueFromPathW(0, bad), nullptr) << ToUtf8(bad);
    }
    EXPECT_EQ(store.Root().ChildCount(), 1);
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"a")->ChildCount(), 1);
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"a\\b")->ValueText(), L"x");
}

TEST(InterDpData, NamesAreExactAndKeepTheirOrder)
{
    CInterDpData store;
    // More than enough children to switch lookups to the name index.
    for (int i = 40; i >= 0; --i) {
        SetText(store, L"t\\" + std::to_wstring(i), std::to_wstring(i));
    }
    SetText(store, L"T\\x", L"upper");
    SetText(store, L"t\\X", L"upper x");
    CInterDpData copy;
    Reload(store, copy);
    const CInterDpNode* t = copy.GetSubValueFromPathW(0, L"t");
    ASSERT_EQ(t->ChildCount(), 42);
    for (int i = 0; i <= 40; ++i) {
        EXPECT_EQ(t->ChildAt(static_cast<size_t>(40 - i)).Name(), std::to_wstring(i));
        EXPECT_EQ(t->GetSubValueFromPathW(0, std::to_wstring(i))->ValueText(), std::to_wstring(i));
    }
    EXPECT_EQ(t->GetSubValueFromPathW(0, L"x"), nullptr);
    EXPECT_EQ(copy.GetSubValueFromPathW(0, L"T\\x")->ValueText(), L"upper");
    EXPECT_THROW(t->ChildAt(42), std::out_of_range);
}

TEST(InterDpData, DepthIsLimitedAndTextsAreKeptAsTheyReadBack)
{
    CInterDpData store;
    std::wstring path = L"n";
    for (int i = 1; i < kIdpMaxDepth; ++i) {
        path += L"\\n";
    }
    EXPECT_EQ(SetText(store, path, L"deepest"), kOk);
    EXPECT_EQ(SetText(store, path + L"\\n", L"too deep"), kBadPath);
    EXPECT_EQ(SetText(store, L"bad\\\xDC00", L"lone surrogate name"), kBadPath);
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"bad"), nullptr);
    // Two wchar_t holding a surrogate pair are one character once stored.
    SetText(store, L"pair", std::wstring{0xD83D, 0xDE00});
    EXPECT_EQ(store.GetSubValueFromPathW(0, L"pair")->ValueText(), L"\U0001F600");
    CInterDpData copy;
    Reload(store, copy);
    EXPECT_EQ(copy.GetSubValueFromPathW(0, path)->ValueText(), L"deepest");
    EXPECT_EQ(copy.ClearDataFromMemory(), kOk);
    EXPECT_EQ(copy.Root().ChildCount(), 0);
    EXPECT_EQ(copy.GetSubValueFromPathW(0, L"pair"), nullptr);
}
