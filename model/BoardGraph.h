#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "model/Records.h"

namespace loadcal {

/// The distribution boards of a document as a graph of who feeds whom, built
/// from the boards' names and owner texts alone. A board's owners are the
/// boards its owner list names (a piece of the list names every board whose
/// name equals it without regard to case; an empty name is named by
/// nothing); its members are the boards whose owner lists name it.
/// Transformers play no part: they own boards but are never owned.
///
/// The graph gives the order of a bottom-up calculation (every board after
/// all its members) and finds the cycles of owners. Everything is iterative,
/// so a chain of any depth is fine. It owns what it holds and borrows
/// nothing: the boards may change afterwards, but the graph then describes
/// them as they were.
class CBoardGraph {
public:
    explicit CBoardGraph(const CBoardArray& boards);

    int BoardCount() const { return static_cast<int>(m_owners.size()); }

    /// The boards board b's owner list names, each once, in the order named.
    const std::vector<int>& OwnersOf(int b) const { return m_owners.at(static_cast<size_t>(b)); }
    /// The boards whose owner lists name board b, in list order.
    const std::vector<int>& MembersOf(int b) const { return m_members.at(static_cast<size_t>(b)); }
    /// The boards an owner piece names (without regard to case), in list order.
    const std::vector<int>& BoardsNamed(const std::wstring& piece) const;

    /// The boards on no cycle, each after every one of its members: the order
    /// of a bottom-up calculation. Boards on a cycle are left out; a board
    /// fed from one is not.
    const std::vector<int>& BottomUp() const { return m_bottomUp; }
    /// Position of board b in BottomUp(), or -1 for a board on a cycle.
    int Position(int b) const { return m_position.at(static_cast<size_t>(b)); }
    bool OnCycle(int b) const { return Position(b) < 0; }
    /// True when some board is on a cycle.
    bool HasCycle() const { return m_bottomUp.size() < m_owners.size(); }

    /// A shortest cycle of owners through board b: b, a board b's owner list
    /// names, a board that one's list names, ..., up to the board whose list
    /// names b again (b is not repeated; a board owning itself gives {b}).
    /// Empty when b is on no cycle.
    std::vector<int> CycleThrough(int b) const;

private:
    std::unordered_map<std::wstring, std::vector<int>> m_byName;  ///< folded name -> boards
    std::vector<std::vector<int>> m_owners;
    std::vector<std::vector<int>> m_members;
    std::vector<int> m_bottomUp;
    std::vector<int> m_position;
};

/// A cycle of owners among the boards, in the form of CycleThrough, through
/// the first board of the list that lies on one; empty when there is none.
std::vector<int> FindBoardCycle(const CBoardArray& boards);

/// The cycle of owners that giving board index the record proposed (its name
/// and owner list) would close: the boards' names in the order of
/// CycleThrough, starting with the proposed name; empty when the change
/// closes none. index == boards.GetSize() asks about a new board appended to
/// the list. A change can close a cycle by its owner list or by its name
/// (boards that name the new name then feed into it); any cycle it closes
/// runs through the changed board. A cycle the other boards already form is
/// not this change's and is not reported. Throws CInvalidArgException for an
/// index outside 0..count.
std::vector<std::wstring> CycleIfBoardChanged(const CBoardArray& boards, int index,
                                              const CBoardCalData& proposed);

/// The names of boards by index.
std::vector<std::wstring> BoardNames(const CBoardArray& boards, const std::vector<int>& indexes);

/// A cycle's names joined by " → " with the first repeated at the end
/// ("AP1 → AP2 → AP1"); after maxNames names the rest is "…".
std::wstring CycleText(const std::vector<std::wstring>& names, size_t maxNames = 8);

}  // namespace loadcal
