// The supply tree beside the grids: transformers -> boards -> boards, the
// boards fed from nothing and those on a cycle under nodes of their own, and
// the circuits each node feeds directly.

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "model/BoardGraph.h"
#include "model/SupplyTree.h"
#include "model/Text.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

namespace {

CBoardCalData Board(const std::wstring& name, const std::wstring& owner)
{
    CBoardCalData b;
    b.m_strName = name;
    b.m_strOwner = owner;
    return b;
}

CTransformerCalData Transformer(const std::wstring& name)
{
    CTransformerCalData t;
    t.m_strName = name;
    return t;
}

CLoadCalData Circuit(const std::wstring& owner)
{
    CLoadCalData c;
    c.m_strTransformer = owner;
    return c;
}

/// Each node as "depth kind name", one per line, for readable comparisons.
std::string Outline(const CSupplyTree& tree)
{
    std::string text;
    for (const CSupplyNode& n : tree.Nodes()) {
        text += std::string(static_cast<size_t>(n.depth) * 2, ' ');
        switch (n.kind) {
            case SupplyNodeKind::All:
                text += "全部";
                break;
            case SupplyNodeKind::Transformer:
                text += "T " + ToUtf8(n.name);
                break;
            case SupplyNodeKind::Board:
                text += ToUtf8(n.name) + (n.membersLeftOut ? " …" : "");
                break;
            case SupplyNodeKind::Unfed:
                text += "未接电源";
                break;
            case SupplyNodeKind::Cycle:
                text += "循环";
                break;
        }
        text += "\n";
    }
    return text;
}

/// What every tree must be, whatever the document: pre-order with parents
/// and depths that agree; 全部 first and alone at depth 0; every board node
/// hangs from a transformer or board its owner list names, or from the group
/// node it belongs to; no board twice on one path; every board shown at
/// least once; each group lists exactly its boards.
void ExpectSoundTree(const CLoadCalDocument& doc, const CSupplyTree& tree)
{
    const std::vector<CSupplyNode>& nodes = tree.Nodes();
    ASSERT_FALSE(nodes.empty());
    ASSERT_EQ(nodes[0].kind, SupplyNodeKind::All);
    ASSERT_EQ(nodes[0].depth, 0);
    const CBoardGraph graph(doc.boards);
    std::vector<int> seen(static_cast<size_t>(doc.boards.GetSize()), 0);
    std::map<SupplyNodeKind, std::set<int>> groupChildren;
    for (size_t n = 1; n < nodes.size(); ++n) {
        const CSupplyNode& node = nodes[n];
        ASSERT_GE(node.parent, 0) << n;
        ASSERT_LT(static_cast<size_t>(node.parent), n) << n;
        const CSupplyNode& parent = nodes[static_cast<size_t>(node.parent)];
        ASSERT_EQ(node.depth, parent.depth + 1) << n;
        // Pre-order: the node before this one is its parent or lies below it.
        ASSERT_LE(node.depth, nodes[n - 1].depth + 1) << n;
        if (node.kind != SupplyNodeKind::Board) {
            ASSERT_EQ(node.depth, 1) << n;
            continue;
        }
        ASSERT_GE(node.record, 0);
        const CBoardCalData& board = doc.boards[node.record];
        ASSERT_EQ(node.name, board.m_strName);
        ++seen[static_cast<size_t>(node.record)];
        bool named = false;
        for (const std::wstring& piece : OwnerPieces(board.m_strOwner)) {
            named = named || ((parent.kind == SupplyNodeKind::Transformer ||
                               parent.kind == SupplyNodeKind::Board) &&
                              EqualsNoCase(piece, parent.name));
        }
        if (parent.kind == SupplyNodeKind::Unfed || parent.kind == SupplyNodeKind::Cycle) {
            groupChildren[parent.kind].insert(node.record);
        } else {
            ASSERT_TRUE(named) << ToUtf8(board.m_strName) << " under " << ToUtf8(parent.name);
        }
        // Not under itself anywhere above.
        for (int up = node.parent; up > 0; up = nodes[static_cast<size_t>(up)].parent) {
            const CSupplyNode& above = nodes[static_cast<size_t>(up)];
            ASSERT_FALSE(above.kind == SupplyNodeKind::Board && above.record == node.record)
                << ToUtf8(board.m_strName) << " under itself";
        }
    }
    std::set<int> unfed;
    std::set<int> cycle;
    for (int b = 0; b < doc.boards.GetSize(); ++b) {
        EXPECT_GE(seen[static_cast<size_t>(b)], 1) << ToUtf8(doc.boards[b].m_strName);
        bool fed = !graph.OwnersOf(b).empty();
        for (const std::wstring& piece : OwnerPieces(doc.boards[b].m_strOwner)) {
            for (const CTransformerCalData& t : doc.transformers) {
                fed = fed || EqualsNoCase(piece, t.m_strName);
            }
        }
        if (!fed) {
            unfed.insert(b);
        }
        if (graph.OnCycle(b)) {
            cycle.insert(b);
        }
    }
    EXPECT_EQ(groupChildren[SupplyNodeKind::Unfed], unfed);
    EXPECT_EQ(groupChildren[SupplyNodeKind::Cycle], cycle);
}

}  // namespace

// The boards of the second bundled example (examples/office-building-boards):
// two transformers, risers ALZ1 and ALZ2 with their floor boards, and five
// boards fed from both transformers, which appear under each.
TEST(SupplyTree, TheBoardsExampleAsADesignerReadsIt)
{
    CLoadCalDocument doc;
    doc.transformers.Add(Transformer(L"1#变压器"));
    doc.transformers.Add(Transformer(L"2#变压器"));
    const std::pair<const wchar_t*, const wchar_t*> boards[] = {
        {L"1AP-LD", L"1#变压器"},
        {L"1AP-KT", L"1#变压器"},
        {L"ALZ1", L"1#变压器"},
        {L"1AL", L"ALZ1"},
        {L"2AL", L"ALZ1"},
        {L"3AL", L"ALZ1"},
        {L"4AL", L"ALZ1"},
        {L"1AX", L"ALZ1"},
        {L"2AX", L"ALZ1"},
        {L"ALZ2", L"2#变压器"},
        {L"5AL", L"ALZ2"},
        {L"6AL", L"ALZ2"},
        {L"7AL", L"ALZ2"},
        {L"8AL", L"ALZ2"},
        {L"3AX", L"ALZ2"},
        {L"5AX", L"ALZ2"},
        {L"7AX", L"ALZ2"},
        {L"2AP-CF", L"2#变压器"},
        {L"2AP-KT", L"2#变压器"},
        {L"2AL-JG", L"2#变压器"},
        {L"AP-DT", L"1#变压器,2#变压器"},
        {L"AP-RD", L"1#变压器,2#变压器"},
        {L"ALE", L"1#变压器,2#变压器"},
        {L"AP-XF", L"1#变压器,2#变压器"},
        {L"AP-PY", L"1#变压器,2#变压器"},
    };
    for (const auto& [name, owner] : boards) {
        doc.boards.Add(Board(name, owner));
    }
    for (const wchar_t* owner : {L"1AP-LD", L"1ap-ld", L"AP-XF", L"1AP-LD,AP-XF"}) {
        doc.loads.Add(Circuit(owner));
    }
    const CSupplyTree tree(doc);
    ExpectSoundTree(doc, tree);
    EXPECT_EQ(Outline(tree),
              "全部\n"
              "  T 1#变压器\n"
              "    1AP-LD\n    1AP-KT\n    ALZ1\n"
              "      1AL\n      2AL\n      3AL\n      4AL\n      1AX\n      2AX\n"
              "    AP-DT\n    AP-RD\n    ALE\n    AP-XF\n    AP-PY\n"
              "  T 2#变压器\n"
              "    ALZ2\n"
              "      5AL\n      6AL\n      7AL\n      8AL\n      3AX\n      5AX\n      7AX\n"
              "    2AP-CF\n    2AP-KT\n    2AL-JG\n"
              "    AP-DT\n    AP-RD\n    ALE\n    AP-XF\n    AP-PY\n");
    // A board shown twice is found at its first place.
    const int xf = tree.Find({SupplyNodeKind::Board, L"ap-xf"});
    ASSERT_GE(xf, 0);
    EXPECT_EQ(tree.Nodes()[static_cast<size_t>(xf)].parent,
              tree.Find({SupplyNodeKind::Transformer, L"1#变压器"}));
    EXPECT_EQ(tree.Find({SupplyNodeKind::Board, L"1#变压器"}), -1);
    EXPECT_EQ(tree.Find({SupplyNodeKind::Unfed, L""}), -1);

    // What each node feeds directly, by the owner texts.
    using V = std::vector<int>;
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::Board, L"1AP-LD"}), (V{0, 1, 3}));
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::Board, L"AP-XF"}), (V{2, 3}));
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::Board, L"alz1"}), (V{}));
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::Transformer, L"1#变压器"}), (V{}));
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::All, L""}), (V{0, 1, 2, 3}));
}

// Boards fed from nothing, on a cycle and fed from a cycle; circuits fed
// from nothing, named in another letter case, dual-fed, and a transformer
// without a name, which owns the circuits without an owner.
TEST(SupplyTree, GroupsForWhatIsFedFromNothingAndForCycles)
{
    CLoadCalDocument doc;
    doc.transformers.Add(Transformer(L"T1"));
    doc.boards.Add(Board(L"A", L"T1"));
    doc.boards.Add(Board(L"B", L"a,NOBODY"));  // fed from A; the unknown piece is ignored
    doc.boards.Add(Board(L"LOOSE", L""));
    doc.boards.Add(Board(L"C1", L"C2,T1"));  // on a cycle, and fed from T1
    doc.boards.Add(Board(L"C2", L"C1"));
    doc.boards.Add(Board(L"UNDER", L"c2"));  // fed from the cycle
    doc.boards.Add(Board(L"SELF", L"self"));
    doc.loads.Add(Circuit(L"b"));
    doc.loads.Add(Circuit(L"T1,B"));
    doc.loads.Add(Circuit(L""));
    doc.loads.Add(Circuit(L"nobody"));
    doc.loads.Add(Circuit(L"UNDER,c1"));
    doc.loads.Add(Circuit(L"self"));
    const CSupplyTree tree(doc);
    ExpectSoundTree(doc, tree);
    EXPECT_EQ(Outline(tree),
              "全部\n"
              "  T T1\n"
              "    A\n      B\n"
              "    C1\n      C2\n        UNDER\n"
              "  未接电源\n    LOOSE\n"
              "  循环\n"
              "    C1\n      C2\n        UNDER\n"
              "    C2\n      C1\n      UNDER\n"
              "    SELF\n");

    using V = std::vector<int>;
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::Board, L"B"}), (V{0, 1}));
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::Transformer, L"t1"}), (V{1}));
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::Unfed, L""}), (V{2, 3}));
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::Cycle, L""}), (V{4, 5}));
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::Board, L"ghost"}), (V{}));
    EXPECT_TRUE(HasUnfedCircuits(doc));

    // A transformer without a name owns the circuit without an owner.
    doc.transformers.Add(Transformer(L""));
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::Unfed, L""}), (V{3}));
    EXPECT_EQ(CircuitsFedFrom(doc, {SupplyNodeKind::Transformer, L""}), (V{2}));
    doc.loads.RemoveAt(3);
    EXPECT_FALSE(HasUnfedCircuits(doc));
    // No unfed board, no unfed circuit: no such node.
    doc.boards.RemoveAt(2);
    EXPECT_EQ(CSupplyTree(doc).Find({SupplyNodeKind::Unfed, L""}), -1);
}

// Random supply trees of boards, with dual feeds, quirky owners and, now
// and then, a cycle closed by hand: every tree is sound, and each board
// with its members is shown in full at least once when the budget allows.
TEST(SupplyTree, RandomDocumentsGiveSoundTrees)
{
    std::mt19937 rng(1607);
    for (int round = 0; round < 60; ++round) {
        testsupport::RandomBoardOptions options;
        options.boards = 5 + round % 40;
        options.levels = 1 + round % 6;
        options.quirkShare = 0.25;
        CLoadCalDocument doc;
        testsupport::MakeRandomBoardDocument(rng, options, doc);
        if (round % 3 == 0 && doc.boards.GetSize() > 2) {
            // A cycle: the first board named by the last one's list.
            CBoardCalData& first = doc.boards.ElementAt(0);
            first.m_strOwner += L"," + doc.boards[doc.boards.GetSize() - 1].m_strName;
        }
        const CSupplyTree tree(doc);
        SCOPED_TRACE("round " + std::to_string(round));
        ExpectSoundTree(doc, tree);
        // Every owner edge between boards off any cycle shows once at least.
        const CBoardGraph graph(doc.boards);
        std::set<std::pair<int, int>> edges;
        for (const CSupplyNode& n : tree.Nodes()) {
            if (n.kind == SupplyNodeKind::Board && n.parent > 0 &&
                tree.Nodes()[static_cast<size_t>(n.parent)].kind == SupplyNodeKind::Board) {
                edges.insert({tree.Nodes()[static_cast<size_t>(n.parent)].record, n.record});
            }
        }
        for (int b = 0; b < doc.boards.GetSize(); ++b) {
            for (int owner : graph.OwnersOf(b)) {
                if (!graph.OnCycle(b) && !graph.OnCycle(owner)) {
                    EXPECT_TRUE(edges.contains({owner, b}))
                        << ToUtf8(doc.boards[owner].m_strName) << " -> "
                        << ToUtf8(doc.boards[b].m_strName);
                }
            }
        }
    }
}

// A chain of 10,000 boards, one under the other: built without recursion.
TEST(SupplyTree, ADeepChainIsFine)
{
    CLoadCalDocument doc;
    doc.transformers.Add(Transformer(L"T"));
    for (int b = 0; b < 10000; ++b) {
        doc.boards.Add(
            Board(L"B" + std::to_wstring(b), b == 0 ? L"T" : L"B" + std::to_wstring(b - 1)));
    }
    const CSupplyTree tree(doc);
    ASSERT_EQ(tree.Nodes().size(), 10002u);
    EXPECT_EQ(tree.Nodes().back().depth, 10001);
    EXPECT_EQ(tree.Nodes().back().name, L"B9999");
}

// Boards fed twice at every level repeat their subtrees: 2^30 paths. The
// budget keeps the tree small, every board is still shown, and a board cut
// short says so.
TEST(SupplyTree, ABudgetKeepsDoubleFeedsFromExploding)
{
    CLoadCalDocument doc;
    doc.transformers.Add(Transformer(L"T"));
    const int levels = 30;
    for (int level = 0; level < levels; ++level) {
        for (int side = 0; side < 2; ++side) {
            const std::wstring owner = level == 0 ? L"T"
                                                  : L"L" + std::to_wstring(level - 1) + L"a,L" +
                                                        std::to_wstring(level - 1) + L"b";
            doc.boards.Add(Board(L"L" + std::to_wstring(level) + (side == 0 ? L"a" : L"b"), owner));
        }
    }
    const CSupplyTree tree(doc);
    ExpectSoundTree(doc, tree);
    const size_t budget = 4 * (2 * levels + 1) + 64;
    EXPECT_LE(tree.Nodes().size(), budget + 4 * static_cast<size_t>(levels));
    bool cut = false;
    for (const CSupplyNode& n : tree.Nodes()) {
        cut = cut || n.membersLeftOut;
    }
    EXPECT_TRUE(cut);
}
