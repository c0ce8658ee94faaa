#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "model/Document.h"

namespace loadcal {

/// A node of the supply tree, and what it stands for when a view shows "the
/// circuits fed directly from it".
enum class SupplyNodeKind {
    All,          ///< the whole document: every circuit
    Transformer,  ///< a transformer: the circuits whose owner list names it
    Board,        ///< a distribution board: the circuits whose owner list names it
    Unfed,        ///< the boards and circuits whose owner lists name no board or transformer
    Cycle,        ///< the boards on a cycle of owners, and the circuits they feed
};

/// Which circuits a view of the supply tree shows: a node's kind and, for a
/// transformer or board, its name (compared without regard to case, as the
/// owner lists compare). A plain value.
struct CSupplyFilter {
    SupplyNodeKind kind = SupplyNodeKind::All;
    std::wstring name;
    friend bool operator==(const CSupplyFilter&, const CSupplyFilter&) = default;
};

/// One node of a CSupplyTree, in pre-order.
struct CSupplyNode {
    SupplyNodeKind kind = SupplyNodeKind::All;
    std::wstring name;  ///< the transformer's or board's name; empty for All and the groups
    int record = -1;    ///< index in the transformer or board list; -1 for All and the groups
    int depth = 0;      ///< 0 for All; its children 1, theirs 2 ...
    int parent = -1;    ///< index of the parent node; -1 for All
    /// The board's members are left out here: the board is shown with its
    /// members once already, and the tree had grown to its budget.
    bool membersLeftOut = false;
    CSupplyFilter Filter() const { return {kind, name}; }
    friend bool operator==(const CSupplyNode&, const CSupplyNode&) = default;
};

/// The supply tree of a document as a designer reads it: 全部 at the top,
/// then each transformer (list order) with the boards its name feeds, each
/// board with the boards it feeds, to any depth; a board fed from two
/// transformers or boards appears under each. Then, when there are any, a
/// node for what is fed from nothing (boards and circuits whose owner lists
/// name no board or transformer, with the boards below them) and a node for
/// the boards on a cycle of owners (each with the boards it feeds; a board
/// is never shown under itself). Built from the names and owner lists alone
/// (CBoardGraph); nothing is calculated. Iterative, so a chain of any depth
/// is fine. A document with boards fed twice at every level would repeat
/// subtrees without end; once the tree holds its budget of nodes, a board
/// shown a second time is shown without its members (membersLeftOut).
/// Owns its nodes; borrows nothing.
class CSupplyTree {
public:
    /// The empty document's tree: 全部 alone.
    CSupplyTree();
    /// nodeBudget 0: 4 nodes per board and transformer and 64 more.
    explicit CSupplyTree(const CLoadCalDocument& doc, size_t nodeBudget = 0);

    /// Pre-order: every node after its parent, its children in list order.
    const std::vector<CSupplyNode>& Nodes() const { return m_nodes; }
    /// The first node the filter stands for (the same board may appear
    /// several times), or -1.
    int Find(const CSupplyFilter& filter) const;

    friend bool operator==(const CSupplyTree&, const CSupplyTree&) = default;

private:
    std::vector<CSupplyNode> m_nodes;
};

/// The circuits fed directly from the node a filter stands for, list order:
/// every circuit for All; those one of whose owner pieces equals the
/// transformer's or board's name (without regard to case; a transformer
/// without a name owns the circuits without an owner, as the arithmetic
/// counts them, a board without one nothing); those none of whose pieces
/// names a board or transformer (Unfed, an empty owner list included unless
/// a transformer has no name); those one of whose pieces names a board on a
/// cycle (Cycle).
std::vector<int> CircuitsFedFrom(const CLoadCalDocument& doc, const CSupplyFilter& filter);

/// True when some circuit's owner list names no board or transformer.
bool HasUnfedCircuits(const CLoadCalDocument& doc);

}  // namespace loadcal
