#include "model/SupplyTree.h"

#include <unordered_map>
#include <unordered_set>

#include "model/BoardGraph.h"
#include "model/Text.h"

namespace loadcal {
namespace {

/// The folded names of the boards and transformers of a document.
std::unordered_set<std::wstring> FoldedNames(const CLoadCalDocument& doc)
{
    std::unordered_set<std::wstring> names;
    for (const CBoardCalData& b : doc.boards) {
        if (!b.m_strName.empty()) {
            names.insert(FoldCase(b.m_strName));
        }
    }
    // A transformer without a name owns the circuits without an owner, as
    // the arithmetic finds its members.
    for (const CTransformerCalData& t : doc.transformers) {
        names.insert(FoldCase(t.m_strName));
    }
    return names;
}

/// True when a piece of the owner text is in names (folded).
bool NamesOneOf(const std::wstring& owner, const std::unordered_set<std::wstring>& names)
{
    for (const std::wstring& piece : OwnerPieces(owner)) {
        if (names.contains(FoldCase(piece))) {
            return true;
        }
    }
    return false;
}

}  // namespace

CSupplyTree::CSupplyTree()
{
    m_nodes.push_back(CSupplyNode{});
}

CSupplyTree::CSupplyTree(const CLoadCalDocument& doc, size_t nodeBudget)
{
    const int boards = doc.boards.GetSize();
    const int transformers = doc.transformers.GetSize();
    const size_t budget =
        nodeBudget > 0 ? nodeBudget : 4 * static_cast<size_t>(boards + transformers) + 64;
    const CBoardGraph graph(doc.boards);

    // The boards each transformer feeds directly, list order, each once.
    std::unordered_map<std::wstring, std::vector<int>> transformersNamed;
    for (int t = 0; t < transformers; ++t) {
        transformersNamed[FoldCase(doc.transformers[t].m_strName)].push_back(t);
    }
    std::vector<std::vector<int>> boardsOf(static_cast<size_t>(transformers));
    std::vector<char> fedByTransformer(static_cast<size_t>(boards), 0);
    for (int b = 0; b < boards; ++b) {
        for (const std::wstring& piece : OwnerPieces(doc.boards[b].m_strOwner)) {
            const auto named = transformersNamed.find(FoldCase(piece));
            if (named == transformersNamed.end()) {
                continue;
            }
            fedByTransformer[static_cast<size_t>(b)] = 1;
            for (int t : named->second) {
                std::vector<int>& list = boardsOf[static_cast<size_t>(t)];
                if (list.empty() || list.back() != b) {
                    list.push_back(b);
                }
            }
        }
    }

    m_nodes.push_back(CSupplyNode{});
    std::vector<char> shown(static_cast<size_t>(boards), 0);
    std::vector<char> onPath(static_cast<size_t>(boards), 0);
    struct Frame {
        int board;
        int node;
        size_t next;
    };
    std::vector<Frame> stack;
    // A board node, and its members below it unless the budget is spent on
    // a board shown before; a board already on the path is never repeated.
    const auto enter = [&](int b, int depth, int parent) {
        const bool expand = shown[static_cast<size_t>(b)] == 0 || m_nodes.size() < budget;
        CSupplyNode node;
        node.kind = SupplyNodeKind::Board;
        node.name = doc.boards[b].m_strName;
        node.record = b;
        node.depth = depth;
        node.parent = parent;
        node.membersLeftOut = !expand && !graph.MembersOf(b).empty();
        m_nodes.push_back(std::move(node));
        shown[static_cast<size_t>(b)] = 1;
        if (expand) {
            onPath[static_cast<size_t>(b)] = 1;
            stack.push_back({b, static_cast<int>(m_nodes.size()) - 1, 0});
        }
    };
    const auto subtree = [&](int b, int depth, int parent) {
        enter(b, depth, parent);
        while (!stack.empty()) {
            Frame& top = stack.back();
            const std::vector<int>& members = graph.MembersOf(top.board);
            while (top.next < members.size() && onPath[static_cast<size_t>(members[top.next])]) {
                ++top.next;
            }
            if (top.next == members.size()) {
                onPath[static_cast<size_t>(top.board)] = 0;
                stack.pop_back();
                continue;
            }
            const int member = members[top.next++];
            const int parentNode = top.node;
            enter(member, m_nodes[static_cast<size_t>(parentNode)].depth + 1, parentNode);
        }
    };
    const auto group = [&](SupplyNodeKind kind, const std::wstring& name, int record) {
        CSupplyNode node;
        node.kind = kind;
        node.name = name;
        node.record = record;
        node.depth = 1;
        node.parent = 0;
        m_nodes.push_back(std::move(node));
        return static_cast<int>(m_nodes.size()) - 1;
    };

    for (int t = 0; t < transformers; ++t) {
        const int node = group(SupplyNodeKind::Transformer, doc.transformers[t].m_strName, t);
        for (int b : boardsOf[static_cast<size_t>(t)]) {
            subtree(b, 2, node);
        }
    }
    std::vector<int> unfed;
    std::vector<int> cycle;
    for (int b = 0; b < boards; ++b) {
        if (fedByTransformer[static_cast<size_t>(b)] == 0 && graph.OwnersOf(b).empty()) {
            unfed.push_back(b);
        }
        if (graph.OnCycle(b)) {
            cycle.push_back(b);
        }
    }
    if (!unfed.empty() || HasUnfedCircuits(doc)) {
        const int node = group(SupplyNodeKind::Unfed, L"", -1);
        for (int b : unfed) {
            subtree(b, 2, node);
        }
    }
    if (!cycle.empty()) {
        const int node = group(SupplyNodeKind::Cycle, L"", -1);
        for (int b : cycle) {
            subtree(b, 2, node);
        }
    }
}

int CSupplyTree::Find(const CSupplyFilter& filter) const
{
    for (size_t n = 0; n < m_nodes.size(); ++n) {
        const CSupplyNode& node = m_nodes[n];
        if (node.kind != filter.kind) {
            continue;
        }
        const bool named =
            filter.kind == SupplyNodeKind::Board || filter.kind == SupplyNodeKind::Transformer;
        if (!named || EqualsNoCase(node.name, filter.name)) {
            return static_cast<int>(n);
        }
    }
    return -1;
}

std::vector<int> CircuitsFedFrom(const CLoadCalDocument& doc, const CSupplyFilter& filter)
{
    std::vector<int> circuits;
    const int n = doc.loads.GetSize();
    switch (filter.kind) {
        case SupplyNodeKind::All:
            circuits.reserve(static_cast<size_t>(n));
            for (int i = 0; i < n; ++i) {
                circuits.push_back(i);
            }
            break;
        case SupplyNodeKind::Transformer:
        case SupplyNodeKind::Board: {
            // A board without a name is named by nothing; a transformer
            // without one owns the circuits without an owner.
            if (filter.kind == SupplyNodeKind::Board && filter.name.empty()) {
                break;
            }
            const std::unordered_set<std::wstring> name{FoldCase(filter.name)};
            for (int i = 0; i < n; ++i) {
                if (NamesOneOf(doc.loads[i].m_strTransformer, name)) {
                    circuits.push_back(i);
                }
            }
            break;
        }
        case SupplyNodeKind::Unfed: {
            const std::unordered_set<std::wstring> names = FoldedNames(doc);
            for (int i = 0; i < n; ++i) {
                if (!NamesOneOf(doc.loads[i].m_strTransformer, names)) {
                    circuits.push_back(i);
                }
            }
            break;
        }
        case SupplyNodeKind::Cycle: {
            const CBoardGraph graph(doc.boards);
            std::unordered_set<std::wstring> names;
            for (int b = 0; b < doc.boards.GetSize(); ++b) {
                if (graph.OnCycle(b)) {
                    names.insert(FoldCase(doc.boards[b].m_strName));
                }
            }
            for (int i = 0; i < n && !names.empty(); ++i) {
                if (NamesOneOf(doc.loads[i].m_strTransformer, names)) {
                    circuits.push_back(i);
                }
            }
            break;
        }
    }
    return circuits;
}

bool HasUnfedCircuits(const CLoadCalDocument& doc)
{
    const std::unordered_set<std::wstring> names = FoldedNames(doc);
    for (const CLoadCalData& c : doc.loads) {
        if (!NamesOneOf(c.m_strTransformer, names)) {
            return true;
        }
    }
    return false;
}

}  // namespace loadcal
