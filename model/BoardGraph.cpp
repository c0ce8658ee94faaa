#include "model/BoardGraph.h"

#include <algorithm>
#include <deque>

#include "model/Text.h"

namespace loadcal {
namespace {

/// Tarjan's strongly connected components over the owner edges, with an
/// explicit stack instead of recursion. Calls emit(component) for each
/// component, a component only after every component its boards' owners lie
/// in: feeders come before the boards they feed.
template <class Emit>
void StrongComponents(const std::vector<std::vector<int>>& owners, Emit emit)
{
    const size_t n = owners.size();
    std::vector<int> index(n, -1);
    std::vector<int> low(n, 0);
    std::vector<char> onStack(n, 0);
    std::vector<int> stack;
    struct Frame {
        int board;
        size_t next;
    };
    std::vector<Frame> calls;
    std::vector<int> component;
    int counter = 0;
    for (size_t start = 0; start < n; ++start) {
        if (index[start] >= 0) {
            continue;
        }
        const auto enter = [&](int v) {
            const auto u = static_cast<size_t>(v);
            index[u] = low[u] = counter++;
            stack.push_back(v);
            onStack[u] = 1;
            calls.push_back({v, 0});
        };
        enter(static_cast<int>(start));
        while (!calls.empty()) {
            Frame& top = calls.back();
            const auto v = static_cast<size_t>(top.board);
            if (top.next < owners[v].size()) {
                const int w = owners[v][top.next++];
                const auto wu = static_cast<size_t>(w);
                if (index[wu] < 0) {
                    enter(w);  // invalidates top
                } else if (onStack[wu] != 0) {
                    low[v] = std::min(low[v], index[wu]);
                }
                continue;
            }
            calls.pop_back();
            if (!calls.empty()) {
                const auto parent = static_cast<size_t>(calls.back().board);
                low[parent] = std::min(low[parent], low[v]);
            }
            if (low[v] == index[v]) {
                component.clear();
                int w = -1;
                do {
                    w = stack.back();
                    stack.pop_back();
                    onStack[static_cast<size_t>(w)] = 0;
                    component.push_back(w);
                } while (static_cast<size_t>(w) != v);
                emit(component);
            }
        }
    }
}

}  // namespace

CBoardGraph::CBoardGraph(const CBoardArray& boards)
{
    const auto n = static_cast<size_t>(boards.GetSize());
    m_owners.resize(n);
    m_members.resize(n);
    for (int b = 0; b < boards.GetSize(); ++b) {
        const std::wstring& name = boards[b].m_strName;
        if (!name.empty()) {
            m_byName[FoldCase(name)].push_back(b);
        }
    }
    for (int b = 0; b < boards.GetSize(); ++b) {
        std::vector<int>& owners = m_owners[static_cast<size_t>(b)];
        for (const auto& piece : OwnerPieces(boards[b].m_strOwner)) {
            for (int owner : BoardsNamed(piece)) {
                if (std::find(owners.begin(), owners.end(), owner) == owners.end()) {
                    owners.push_back(owner);
                    m_members[static_cast<size_t>(owner)].push_back(b);
                }
            }
        }
    }

    m_position.assign(n, -1);
    std::vector<int> topDown;
    topDown.reserve(n);
    StrongComponents(m_owners, [&](const std::vector<int>& component) {
        const int v = component.front();
        const auto& own = m_owners[static_cast<size_t>(v)];
        const bool cycle =
            component.size() > 1 || std::find(own.begin(), own.end(), v) != own.end();
        if (!cycle) {
            topDown.push_back(v);
        }
    });
    m_bottomUp.assign(topDown.rbegin(), topDown.rend());
    for (size_t i = 0; i < m_bottomUp.size(); ++i) {
        m_position[static_cast<size_t>(m_bottomUp[i])] = static_cast<int>(i);
    }
}

const std::vector<int>& CBoardGraph::BoardsNamed(const std::wstring& piece) const
{
    static const std::vector<int> kNone;
    if (piece.empty()) {
        return kNone;
    }
    const auto it = m_byName.find(FoldCase(piece));
    return it == m_byName.end() ? kNone : it->second;
}

std::vector<int> CBoardGraph::CycleThrough(int b) const
{
    if (!OnCycle(b)) {
        return {};
    }
    // Breadth first along the owner edges from b until an edge leads back to b.
    std::vector<int> previous(m_owners.size(), -2);
    std::deque<int> queue{b};
    previous[static_cast<size_t>(b)] = -1;
    while (!queue.empty()) {
        const int v = queue.front();
        queue.pop_front();
        for (int w : m_owners[static_cast<size_t>(v)]) {
            if (w == b) {
                std::vector<int> cycle;
                for (int x = v; x >= 0; x = previous[static_cast<size_t>(x)]) {
                    cycle.push_back(x);
                }
                std::reverse(cycle.begin(), cycle.end());
                return cycle;
            }
            if (previous[static_cast<size_t>(w)] == -2) {
                previous[static_cast<size_t>(w)] = v;
                queue.push_back(w);
            }
        }
    }
    return {};  // not reached: a board on a cycle reaches itself
}

std::vector<int> FindBoardCycle(const CBoardArray& boards)
{
    const CBoardGraph graph(boards);
    for (int b = 0; b < graph.BoardCount(); ++b) {
        if (graph.OnCycle(b)) {
            return graph.CycleThrough(b);
        }
    }
    return {};
}

std::vector<std::wstring> CycleIfBoardChanged(const CBoardArray& boards, int index,
                                              const CBoardCalData& proposed)
{
    if (index < 0 || index > boards.GetSize()) {
        throw CInvalidArgException("board index " + std::to_string(index) + " outside 0.." +
                                   std::to_string(boards.GetSize()));
    }
    CBoardArray changed;
    changed.Reserve(boards.GetSize() + 1);
    for (int b = 0; b < boards.GetSize(); ++b) {
        CBoardCalData names;
        names.m_strName = boards[b].m_strName;
        names.m_strOwner = boards[b].m_strOwner;
        changed.Add(std::move(names));
    }
    CBoardCalData names;
    names.m_strName = proposed.m_strName;
    names.m_strOwner = proposed.m_strOwner;
    changed.SetAtGrow(index, std::move(names));
    return BoardNames(changed, CBoardGraph(changed).CycleThrough(index));
}

std::vector<std::wstring> BoardNames(const CBoardArray& boards, const std::vector<int>& indexes)
{
    std::vector<std::wstring> names;
    names.reserve(indexes.size());
    for (int b : indexes) {
        names.push_back(boards[b].m_strName);
    }
    return names;
}

std::wstring CycleText(const std::vector<std::wstring>& names, size_t maxNames)
{
    std::wstring text;
    for (size_t i = 0; i < names.size(); ++i) {
        if (i == maxNames) {
            return text + L" → …";
        }
        if (i > 0) {
            text += L" → ";
        }
        text += names[i];
    }
    if (!names.empty()) {
        text += L" → " + names.front();
    }
    return text;
}

}  // namespace loadcal
