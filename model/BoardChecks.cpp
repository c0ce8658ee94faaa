#include "model/BoardChecks.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "model/BoardGraph.h"
#include "model/Calculation.h"
#include "model/Text.h"

namespace loadcal {
namespace {

// The texts of the board warnings, each naming the board and the problem.
std::wstring Quoted(const std::wstring& text)
{
    return L"\"" + text + L"\"";
}
std::wstring NoNameText(int index)
{
    return L"第 " + std::to_wstring(index + 1) + L" 个配电箱没有名称，回路和配电箱无法归属于它";
}
std::wstring CommaNameText(const std::wstring& name)
{
    return L"配电箱 " + Quoted(name) + L" 的名称含有 \",\"，回路和配电箱无法归属于它";
}
std::wstring SameAsBoardText(const std::wstring& name, const std::wstring& other)
{
    return L"配电箱 " + Quoted(name) + L" 与配电箱 " + Quoted(other) + L" 同名（不分大小写）";
}
std::wstring SameAsTransformerText(const std::wstring& name, const std::wstring& other)
{
    return L"配电箱 " + Quoted(name) + L" 与变压器 " + Quoted(other) + L" 同名（不分大小写）";
}
std::wstring NoOwnerText(const std::wstring& name)
{
    return L"配电箱 " + Quoted(name) + L" 没有归属，不计入任何变压器";
}
std::wstring UnknownOwnerText(const std::wstring& name, const std::wstring& piece)
{
    return L"配电箱 " + Quoted(name) + L" 的归属 " + Quoted(piece) + L" 不是任何配电箱或变压器";
}
std::wstring CycleWarningText(const std::wstring& name, const std::wstring& cycle)
{
    return L"配电箱 " + Quoted(name) + L" 的归属形成环路（" + cycle + L"），不能计算";
}
std::wstring OddPhaseText(const std::wstring& name, const std::wstring& phase)
{
    return L"配电箱 " + Quoted(name) + L" 的相位 " + Quoted(phase) +
           L" 不是 L1,N、L2,N、L3,N、L1,L2,L3,N 之一，不计入上级";
}
std::wstring OtherPhaseMembersText(const std::wstring& name, const std::wstring& phase, int count)
{
    return L"单相配电箱 " + Quoted(name) + L"（" + phase + L"）下有 " + std::to_wstring(count) +
           L" 个其他相位的回路或配电箱";
}

bool IsSinglePhase(const std::wstring& phase)
{
    const int group = PhaseGroupOf(phase);
    return group >= 0 && group < 3;
}

}  // namespace

CCheckWarnings CheckBoards(const CLoadCalDocument& doc)
{
    CCheckWarnings warnings;
    const CBoardArray& boards = doc.boards;
    if (boards.IsEmpty()) {
        return warnings;
    }
    const CBoardGraph graph(boards);
    std::unordered_map<std::wstring, int> transformerNamed;  // folded name -> first transformer
    for (int t = 0; t < doc.transformers.GetSize(); ++t) {
        transformerNamed.emplace(FoldCase(doc.transformers[t].m_strName), t);
    }

    // Members on another phase than their single-phase board's.
    std::vector<int> otherPhase(static_cast<size_t>(boards.GetSize()), 0);
    const auto countMember = [&](const std::wstring& owner, const std::wstring& phase) {
        std::vector<int> seen;
        for (const auto& piece : OwnerPieces(owner)) {
            for (int b : graph.BoardsNamed(piece)) {
                if (std::find(seen.begin(), seen.end(), b) == seen.end()) {
                    seen.push_back(b);
                    if (IsSinglePhase(boards[b].m_strPhase) && phase != boards[b].m_strPhase) {
                        ++otherPhase[static_cast<size_t>(b)];
                    }
                }
            }
        }
    };
    for (const CLoadCalData& c : doc.loads) {
        countMember(c.m_strTransformer, c.m_strPhase);
    }
    for (const CBoardCalData& b : boards) {
        countMember(b.m_strOwner, b.m_strPhase);
    }

    // A cycle's text, shared by every board on it (one search per cycle,
    // however long the ring).
    std::vector<int> cycleOf(static_cast<size_t>(boards.GetSize()), -1);
    std::vector<std::wstring> cycleTexts;
    const auto cycleText = [&](int b) {
        if (cycleOf[static_cast<size_t>(b)] < 0) {
            const std::vector<int> cycle = graph.CycleThrough(b);
            for (int member : cycle) {
                cycleOf[static_cast<size_t>(member)] = static_cast<int>(cycleTexts.size());
            }
            cycleTexts.push_back(CycleText(BoardNames(boards, cycle)));
        }
        return cycleTexts[static_cast<size_t>(cycleOf[static_cast<size_t>(b)])];
    };

    const auto add = [&](int b, int field, std::wstring text) {
        warnings.push_back({CCheckWarning::Subject::Board, b, field, std::move(text)});
    };
    for (int b = 0; b < boards.GetSize(); ++b) {
        const CBoardCalData& board = boards[b];
        const std::wstring& name = board.m_strName;
        if (name.empty()) {
            add(b, CBoardCalData::kName, NoNameText(b));
        } else {
            if (name.find(L',') != std::wstring::npos) {
                add(b, CBoardCalData::kName, CommaNameText(name));
            }
            for (int other : graph.BoardsNamed(name)) {
                if (other != b) {
                    add(b, CBoardCalData::kName, SameAsBoardText(name, boards[other].m_strName));
                    break;
                }
            }
            const auto t = transformerNamed.find(FoldCase(name));
            if (t != transformerNamed.end()) {
                add(b, CBoardCalData::kName,
                    SameAsTransformerText(name, doc.transformers[t->second].m_strName));
            }
        }

        if (board.m_strOwner.empty()) {
            add(b, CBoardCalData::kOwner, NoOwnerText(name));
        } else {
            for (const auto& piece : OwnerPieces(board.m_strOwner)) {
                if (!piece.empty() && graph.BoardsNamed(piece).empty() &&
                    transformerNamed.find(FoldCase(piece)) == transformerNamed.end()) {
                    add(b, CBoardCalData::kOwner, UnknownOwnerText(name, piece));
                }
            }
        }
        if (graph.OnCycle(b)) {
            add(b, CBoardCalData::kOwner, CycleWarningText(name, cycleText(b)));
        }

        if (PhaseGroupOf(board.m_strPhase) < 0) {
            add(b, CBoardCalData::kPhase, OddPhaseText(name, board.m_strPhase));
        } else if (otherPhase[static_cast<size_t>(b)] > 0) {
            add(b, CBoardCalData::kPhase,
                OtherPhaseMembersText(name, board.m_strPhase, otherPhase[static_cast<size_t>(b)]));
        }
    }
    return warnings;
}

}  // namespace loadcal
