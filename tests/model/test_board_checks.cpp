// The warnings about boards: every problem named once, on the right board
// and field, and none for a sound tree.

#include <gtest/gtest.h>

#include <string>

#include "model/BoardChecks.h"

using namespace loadcal;

namespace {

CBoardCalData Board(const wchar_t* name, const wchar_t* owner, const wchar_t* phase = L"L1,L2,L3,N")
{
    CBoardCalData b;
    b.m_strName = name;
    b.m_strOwner = owner;
    b.m_strPhase = phase;
    return b;
}

CLoadCalData Circuit(const wchar_t* phase, const wchar_t* owner)
{
    CLoadCalData c;
    c.m_strPhase = phase;
    c.m_strTransformer = owner;
    return c;
}

/// The warnings as "index field: text" lines, for readable comparisons.
std::vector<std::wstring> Lines(const CCheckWarnings& warnings)
{
    std::vector<std::wstring> lines;
    for (const auto& w : warnings) {
        EXPECT_EQ(w.subject, CCheckWarning::Subject::Board);
        lines.push_back(std::to_wstring(w.index) + L" " + std::to_wstring(w.field) + L": " +
                        w.text);
    }
    return lines;
}

}  // namespace

TEST(BoardChecks, ASoundTreeHasNoWarnings)
{
    CLoadCalDocument doc;
    doc.transformers.Add(CTransformerCalData());
    doc.transformers[0].m_strName = L"1#变压器";
    doc.boards.Add(Board(L"AP1", L"1#变压器"));
    doc.boards.Add(Board(L"AL1", L"ap1", L"L2,N"));
    doc.boards.Add(Board(L"AP2", L"AP1,1#变压器,"));  // dual-fed; the empty piece is harmless
    doc.loads.Add(Circuit(L"L2,N", L"AL1"));
    doc.loads.Add(Circuit(L"L1,L2,L3,N", L"AP2"));
    EXPECT_TRUE(CheckBoards(doc).empty());
    EXPECT_TRUE(CheckBoards(CLoadCalDocument()).empty());
}

TEST(BoardChecks, EveryProblemIsNamedOnItsBoardAndField)
{
    CLoadCalDocument doc;
    doc.transformers.Add(CTransformerCalData());
    doc.transformers[0].m_strName = L"T1";
    doc.boards.Add(Board(L"", L"T1"));        // 0: no name
    doc.boards.Add(Board(L"A,B", L"T1"));     // 1: comma
    doc.boards.Add(Board(L"AP1", L"T1"));     // 2: same as 3
    doc.boards.Add(Board(L"ap1", L"T1"));     // 3: same as 2
    doc.boards.Add(Board(L"t1", L"T1"));      // 4: same as the transformer; owns... T1
    doc.boards.Add(Board(L"AP5", L""));       // 5: no owner
    doc.boards.Add(Board(L"AP6", L"T1,T9"));  // 6: T9 names nothing
    doc.boards.Add(Board(L"AP7", L"AP8"));    // 7, 8: a cycle
    doc.boards.Add(Board(L"AP8", L"AP7"));
    doc.boards.Add(Board(L"AP9", L"T1", L"l1,n"));   // 9: odd phase
    doc.boards.Add(Board(L"AL10", L"T1", L"L3,N"));  // 10: members on other phases
    doc.loads.Add(Circuit(L"L1,N", L"AL10"));
    doc.loads.Add(Circuit(L"L3,N", L"AL10"));
    doc.boards.Add(Board(L"AL11", L"al10", L"L1,L2,L3,N"));

    const std::vector<std::wstring> expected = {
        L"0 0: 第 1 个配电箱没有名称，回路和配电箱无法归属于它",
        L"1 0: 配电箱 \"A,B\" 的名称含有 \",\"，回路和配电箱无法归属于它",
        L"2 0: 配电箱 \"AP1\" 与配电箱 \"ap1\" 同名（不分大小写）",
        L"3 0: 配电箱 \"ap1\" 与配电箱 \"AP1\" 同名（不分大小写）",
        L"4 0: 配电箱 \"t1\" 与变压器 \"T1\" 同名（不分大小写）",
        L"4 1: 配电箱 \"t1\" 的归属形成环路（t1 → t1），不能计算",
        L"5 1: 配电箱 \"AP5\" 没有归属，不计入任何变压器",
        L"6 1: 配电箱 \"AP6\" 的归属 \"T9\" 不是任何配电箱或变压器",
        L"7 1: 配电箱 \"AP7\" 的归属形成环路（AP7 → AP8 → AP7），不能计算",
        L"8 1: 配电箱 \"AP8\" 的归属形成环路（AP7 → AP8 → AP7），不能计算",
        L"9 2: 配电箱 \"AP9\" 的相位 \"l1,n\" 不是 L1,N、L2,N、L3,N、L1,L2,L3,N 之一，不计入上级",
        L"10 2: 单相配电箱 \"AL10\"（L3,N）下有 2 个其他相位的回路或配电箱",
    };
    EXPECT_EQ(Lines(CheckBoards(doc)), expected);
}

TEST(BoardChecks, ARingOfTenThousandBoardsIsNamedShortlyOnEveryBoard)
{
    CLoadCalDocument doc;
    constexpr int kRing = 10000;
    for (int i = 0; i < kRing; ++i) {
        const std::wstring name = L"AP" + std::to_wstring(i);
        const std::wstring owner = L"AP" + std::to_wstring((i + 1) % kRing);
        doc.boards.Add(Board(name.c_str(), owner.c_str()));
    }
    const CCheckWarnings warnings = CheckBoards(doc);
    ASSERT_EQ(warnings.size(), static_cast<size_t>(kRing));
    EXPECT_EQ(warnings.back().text,
              L"配电箱 \"AP9999\" 的归属形成环路（AP0 → AP1 → AP2 → AP3 → AP4 → AP5 → AP6 → AP7 "
              L"→ …），不能计算");
}
