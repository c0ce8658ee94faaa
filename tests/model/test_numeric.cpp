#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "model/Numeric.h"
#include "model/Text.h"

using namespace loadcal;

TEST(Numeric, ParsingReadsTheLeadingNumberOrZero)
{
    EXPECT_EQ(ParseNumber(L""), 0.0);
    EXPECT_EQ(ParseNumber(L"abc"), 0.0);
    EXPECT_EQ(ParseNumber(L"12kW"), 12.0);
    EXPECT_EQ(ParseNumber(L"  0.38"), 0.38);
    EXPECT_EQ(ParseNumber(L"1.5E+3"), 1500.0);
    EXPECT_EQ(ParseNumber(L"-2,5"), -2.0);  // a comma ends the number in the "C" locale
}

TEST(Numeric, ATypedNumberIsReadWhollyOrNotAtAll)
{
    const std::pair<const wchar_t*, double> numbers[] = {
        {L"200", 200}, {L"0.85", 0.85}, {L"1.0", 1},           {L"-3", -3},         {L"1E+06", 1e6},
        {L".5", 0.5},  {L"+2", 2},      {L"1e-3", 0.001},      {L" 12 ", 12},       {L"1.", 1},
        {L"007", 7},   {L"-0", 0},      {L"15.1939", 15.1939}, {L"1.6E+16", 1.6e16}};
    for (const auto& [text, value] : numbers) {
        const auto read = ReadTypedNumber(text);
        ASSERT_TRUE(read.has_value()) << "\"" << ToUtf8(text) << "\"";
        EXPECT_EQ(*read, value) << ToUtf8(text);
    }
    for (const wchar_t* text :
         {L"",      L" ",    L"L1,N",   L"-NAN", L"NAN",  L"INF",      L"-INF", L"12kW",
          L"1,000", L"50%",  L"(3)",    L"1e",   L"1e+",  L".",        L"-",    L"+-1",
          L"1.2.3", L"0x10", L"1E+400", L"1 2",  L"\t12", L"1#变压器", L"１２"}) {
        EXPECT_FALSE(ReadTypedNumber(text).has_value()) << "\"" << ToUtf8(text) << "\"";
    }
}

TEST(Numeric, FormattingIsPrintfG)
{
    EXPECT_EQ(FormatG(15.193925), L"15.1939");
    EXPECT_EQ(FormatG(8.0), L"8");
    EXPECT_EQ(FormatG(0.0), L"0");
    EXPECT_EQ(FormatG(0.1 + 0.2), L"0.3");
    EXPECT_EQ(FormatG(1234567.0), L"1.23457E+06");
    EXPECT_EQ(FormatG(0.0000123), L"1.23E-05");
    EXPECT_EQ(FormatG(std::tan(std::acos(0.0)) * 100), L"1.63312E+18");
    EXPECT_EQ(FormatG(std::numeric_limits<double>::infinity()), L"INF");
}

TEST(Numeric, FastFormattingAgreesWithTheCLibraryOnRandomFigures)
{
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> mant(-10, 10);
    std::uniform_int_distribution<int> expo(-12, 12);
    for (int i = 0; i < 200000; ++i) {
        const double v = mant(rng) * std::pow(10.0, expo(rng));
        ASSERT_EQ(FormatG(v), FormatGByPrintf(v)) << v;
    }
    for (double v : {0.5, 9.999995, 999999.5, 0.00009999995, -0.0, 1e-300, 1e300,
                     std::numeric_limits<double>::quiet_NaN(),
                     -std::numeric_limits<double>::infinity(), std::sqrt(-1.0)}) {
        EXPECT_EQ(FormatG(v), FormatGByPrintf(v)) << v;
    }
}

// Designers run with Chinese or European locales; the texts must not follow
// the locale's decimal comma.
TEST(Numeric, CommaDecimalLocaleChangesNothing)
{
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr)
        << "the de_DE.UTF-8 locale is missing; scripts/setup.sh generates it";
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    EXPECT_EQ(ParseNumber(L"0.38"), 0.38);
    EXPECT_EQ(ParseNumber(L"2,5"), 2.0);
    EXPECT_EQ(FormatG(15.193925), L"15.1939");
    EXPECT_EQ(FormatGByPrintf(15.193925), L"15.1939");
    EXPECT_EQ(FoldCase(L"ÄT1"), L"ät1");
    std::setlocale(LC_ALL, saved.c_str());
}

TEST(Text, ExplodeStrSplitsAtEverySeparatorOrReturnsZero)
{
    CStringArray out;
    EXPECT_EQ(ExplodeStr(L"T1", L",", out, false), 0);
    EXPECT_TRUE(out.IsEmpty());
    EXPECT_EQ(ExplodeStr(L"", L",", out, false), 0);
    EXPECT_EQ(ExplodeStr(L"T1,T2", L",", out, false), 2);
    EXPECT_EQ(out[1], L"T2");
    EXPECT_EQ(ExplodeStr(L"T1,,T2,", L",", out, false), 4);
    EXPECT_EQ(out[1], L"");
    EXPECT_EQ(out[3], L"");
    EXPECT_EQ(OwnerPieces(L"").GetSize(), 1);
}

TEST(Text, CaseFoldingAndTrimming)
{
    EXPECT_TRUE(EqualsNoCase(L"t1", L"T1"));
    EXPECT_TRUE(EqualsNoCase(L"变压器A", L"变压器a"));
    EXPECT_FALSE(EqualsNoCase(L"T1", L"T1,T2"));
    EXPECT_EQ(Trim(L" \t 1号楼 \r\n"), L"1号楼");
    EXPECT_EQ(Trim(L"   "), L"");
}

TEST(Text, EncodingsRoundTripEveryCharacter)
{
    const std::wstring text = L"回路 A1 \U0001F600 ü \u00A0";
    EXPECT_EQ(FromUtf8(ToUtf8(text)), text);
    EXPECT_EQ(FromUtf16(ToUtf16(text)), text);
    EXPECT_EQ(Utf16Length(text), text.size() + 1);  // one surrogate pair
    EXPECT_EQ(ToUtf8(L"φ"), "\xCF\x86");
    EXPECT_FALSE(IsValidUtf8("\xC3("));
    EXPECT_FALSE(IsValidUtf8("\xED\xA0\x80"));  // an encoded surrogate
    EXPECT_EQ(FromUtf8("a\xFFz"), L"a\uFFFDz");
    std::wstring lone(1, static_cast<wchar_t>(0xD800));
    EXPECT_EQ(FromUtf16(ToUtf16(lone)), lone);
    EXPECT_TRUE(IsValidUtf8(ToUtf8(lone)));
}

TEST(Numeric, FastParsingAgreesWithWcstodOnRandomTexts)
{
    // Random texts built from the characters a figure is typed with, plus
    // the odd ones wcstod treats specially (blanks, hexadecimal, inf, nan).
    static const wchar_t kAlphabet[] = L"0123456789..--++eEEx kWinfa,";
    std::mt19937 rng(11);
    std::uniform_int_distribution<size_t> pick(0, std::size(kAlphabet) - 2);
    std::uniform_int_distribution<int> len(0, 12);
    for (int i = 0; i < 300000; ++i) {
        std::wstring text;
        for (int k = len(rng); k > 0; --k) {
            text.push_back(kAlphabet[pick(rng)]);
        }
        const double fast = ParseNumber(text);
        const double lib = ParseNumberByLibrary(text);
        ASSERT_TRUE(fast == lib || (std::isnan(fast) && std::isnan(lib)))
            << ToUtf8(text) << ": " << fast << " vs " << lib;
    }
    std::mt19937_64 r64(5);
    for (int i = 0; i < 100000; ++i) {
        const double v =
            std::ldexp(static_cast<double>(r64() >> 11), static_cast<int>(r64() % 200) - 150);
        const std::wstring text = FromUtf8(std::to_string(v)) + L"kW";
        ASSERT_EQ(ParseNumber(text), ParseNumberByLibrary(text)) << ToUtf8(text);
    }
    for (const wchar_t* t :
         {L"1e400", L"-1e400", L"1e-400", L"0x1A", L"-0x10", L" 5", L"+5", L"inf"}) {
        EXPECT_EQ(ParseNumber(t), ParseNumberByLibrary(t)) << ToUtf8(t);
    }
}
