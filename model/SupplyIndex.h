#pragma once

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "model/BoardGraph.h"
#include "model/Calculation.h"
#include "model/Document.h"

namespace loadcal {

/// Which circuits a pass of group sums counts: true for a circuit that
/// counts. An empty filter counts every circuit.
using CircuitFilter = std::function<bool(const CLoadCalData&)>;

/// The records a recalculation rewrote, by index in their lists, for a
/// window to repaint: boards in calculation order, transformers ascending.
struct SupplyChange {
    std::vector<int> boards;
    std::vector<int> transformers;
};

/// The calculation of a whole document's supply tree (circuits -> boards ->
/// transformers), kept between edits so that a change of one record
/// recalculates only what it feeds: the circuit's boards, the boards above
/// them, and the transformers those feed.
///
/// Groups. A board's members are the circuits and the boards one of whose
/// owner pieces equals its name without regard to case (an empty name has
/// none); a transformer's members are found the same way, the empty name
/// included, as the original arithmetic finds its circuits. Each member
/// counts once per group, circuits first in list order, then boards in list
/// order. A group sum takes each member with its phase, current and figures
/// under the document's 15 % rule (GroupPhases::Sum). Boards are calculated
/// bottom-up (CBoardGraph); a board on a cycle of owners gets empty figures
/// and counts in no group. Transformers with names equal but for case are
/// one group, written into the first of them, as RecalculateAllTransformers
/// does.
///
/// Passes. The group sums are computed by a pass under a circuit filter
/// into a set of board fields. The document's normal figures are the pass
/// that counts every circuit but those that run only in a fire, written
/// into a board's figure fields. When the document has fire roles (when it
/// was built), a second pass counts every circuit but those shed in a
/// fire, written into the boards' fire fields; both passes' sums then go
/// through CalculateTransformer into the transformers, the larger S2
/// choosing the rated capacity. Without fire roles there is one pass, the
/// fire fields are emptied, and the figures are exactly those of the
/// original arithmetic.
///
/// Ownership: the index copies what it needs from the document it was
/// built from and borrows nothing; the functions that write take the
/// document as an argument, which must be that document or one changed
/// since only as the Update functions are told. Not copyable.
class CSupplyIndex {
public:
    /// Builds the index of doc as it stands: the circuits' and boards'
    /// figures as their texts read, the groups, the order, and whether the
    /// fire case is computed (HasFireRoles). Computes nothing. Both cases
    /// count only the circuits filter passes (every circuit when it is
    /// empty), each under its own fire rule; the grand totals count every
    /// circuit.
    /// circuitFigures: the circuits' figures when the caller has just read
    /// them (COwnerIndex::FiguresOf, list order); else they are read here.
    explicit CSupplyIndex(const CLoadCalDocument& doc, CircuitFilter filter = {},
                          std::vector<MemberFigures> circuitFigures = {});
    CSupplyIndex(const CSupplyIndex&) = delete;
    CSupplyIndex& operator=(const CSupplyIndex&) = delete;

    /// Recalculates every board bottom-up, then every transformer, from the
    /// circuits' figures as the index holds them, writing into doc.
    SupplyChange RecalculateGroups(CLoadCalDocument& doc);
    /// The same, writing into other lists of the document's boards and
    /// transformers (copies of them, for a pass whose figures are not the
    /// document's own).
    SupplyChange RecalculateGroups(CBoardArray& boards, CTransformerArray& transformers);

    /// Circuit idx changed (its figures, phase, fire role or any text the
    /// filter reads, not its owner text) and has been recalculated:
    /// recalculates the boards it feeds, the boards above them and the
    /// transformers all those feed, in both cases. None (and nothing
    /// written) when its owner text differs from the index's, when the
    /// change gives the document its first fire role or takes its last one
    /// away, or idx is outside the list: build the index again.
    std::optional<SupplyChange> UpdateCircuit(CLoadCalDocument& doc, int idx);

    /// Board idx changed in its factors or phase (not its name or owner
    /// list): recalculates it, the boards above it and the transformers they
    /// feed. None when its name or owner text changed or idx is outside the
    /// list: build the index again.
    std::optional<SupplyChange> UpdateBoard(CLoadCalDocument& doc, int idx);

    /// Transformer idx changed in its own factors (not its name):
    /// recalculates it from its group sums as they stand. None when its name
    /// changed or idx is outside the list: build the index again.
    std::optional<SupplyChange> UpdateTransformer(CLoadCalDocument& doc, int idx);

    /// Circuit idx's texts were put back as a recalculation had left them
    /// (an undo or redo that restores the figures of its boards and
    /// transformers too): the index takes its figures and phase as they now
    /// read, computing and writing nothing. False when its owner text
    /// differs from the index's or idx is outside the list: build the index
    /// again.
    bool TakeCircuit(const CLoadCalDocument& doc, int idx);
    /// The same for board idx: its figures as its texts now read (for the
    /// boards above it). False when its name or owner text changed or idx is
    /// outside the list.
    bool TakeBoard(const CLoadCalDocument& doc, int idx);

    /// True when transformer idx still has the name the index was built
    /// with (its own factors play no part in the groups).
    bool TakeTransformer(const CLoadCalDocument& doc, int idx) const;

    /// The six grand totals under the document's rule set (the boards play
    /// no part in them).
    SummaryTotals Totals() const { return m_circuits.Totals(m_rules); }

    /// The texts of a transformer's group sums as the last recalculation
    /// left them (ΣQ kVar, ΣP kW, ΣPe kW by SumField); empty texts before
    /// any, and for a transformer with a name equal but for case to an
    /// earlier one's.
    std::wstring TransformerGroupSum(int transformer, SumField field) const;
    /// The same for the fire case; empty texts without fire roles.
    std::wstring TransformerFireGroupSum(int transformer, SumField field) const;

    /// True when the index computes the fire case (the document had fire
    /// roles when it was built).
    bool HasFireCase() const { return m_bFire; }

    /// Takes the boards' figures as their texts read (once; nothing after a
    /// whole recalculation, which computed them): what an update before any
    /// whole recalculation, and the members below, count a board with.
    /// boards: the document's, as the index was built from.
    void ReadBoardFigures(const CBoardArray& boards);

    /// The members of board b as its group sums take them: its circuits in
    /// list order, then its member boards in list order, each with the
    /// figures the index holds (as ReadBoardFigures read them, or as the
    /// last recalculation left them; a member board counts as zero before
    /// either). Empty for a board on a cycle of owners and for an index
    /// outside the list.
    GroupPhases BoardMembers(int b) const;
    /// The members of transformer t's group the same way (a transformer
    /// named like an earlier one but for case has that one's group); empty
    /// for an index outside the list.
    GroupPhases TransformerMembers(int t) const;
    /// The same members in the fire case: the circuits shed in a fire left
    /// out, the fire-only ones in, each board with its fire figures. Empty
    /// without the fire case (HasFireCase).
    GroupPhases BoardFireMembers(int b) const;
    GroupPhases TransformerFireMembers(int t) const;
    /// The circuits of board b's group, list order (empty outside the list).
    const std::vector<int>& BoardCircuits(int b) const;
    /// The circuits and the boards of transformer t's group, list order
    /// (empty outside the list); boards on a cycle are listed but count nowhere.
    const std::vector<int>& TransformerCircuits(int t) const;
    const std::vector<int>& TransformerBoards(int t) const;

    const CBoardGraph& Boards() const { return m_graph; }
    const COwnerIndex& Circuits() const { return m_circuits; }
    CalcRules Rules() const { return m_rules; }

private:
    /// One pass of group sums: its filter, the fields it writes, and what it
    /// computed so far (each board as a member of its owners, each
    /// transformer group's three sums).
    /// A circuit's fire role as the passes read it.
    static constexpr char kNoRole = 0;
    static constexpr char kFireOnlyRole = 1;
    static constexpr char kShedRole = 2;
    struct Pass {
        CircuitFilter filter;         ///< the caller's; empty: all
        char excludedRole = kNoRole;  ///< the role whose circuits this case leaves out
        BoardOutputFields fields;
        std::vector<char> counted;          ///< by circuit; empty: all count
        std::vector<MemberFigures> boards;  ///< by board
        std::vector<std::wstring> sums[3];  ///< [SumField][transformer group]
    };
    struct TransformerGroup {
        int target;                        ///< the first transformer of the name
        const std::vector<int>* circuits;  ///< members, in the circuit index
        std::vector<int> boards;           ///< member boards, list order
    };

    static char RoleOf(const CLoadCalData& circuit);
    /// True when circuit idx counts in the pass.
    bool Counts(const Pass& pass, const CLoadCalData& circuit, int idx) const;
    void StartPass(Pass& pass, const CLoadCalDocument& doc) const;
    GroupPhases MembersOfBoard(const Pass& pass, int board) const;
    GroupPhases MembersOfGroup(const Pass& pass, int group) const;
    void ComputeBoard(Pass& pass, CBoardArray& boards, int board) const;
    /// The board in every pass, and which case governs it.
    void ComputeBoardCases(CBoardArray& boards, int board);
    void ComputeTransformerGroup(Pass& pass, int group) const;
    /// The group's sums in every pass, written into its transformer.
    void ComputeAndApplyGroup(CTransformerArray& transformers, int group);
    /// Recalculates the boards in start (and every board above them) and the
    /// transformer groups in groups (and every group those boards feed).
    SupplyChange Propagate(CBoardArray& boards, CTransformerArray& transformers,
                           std::vector<int> start, std::vector<int> groups);
    int GroupNamed(const std::wstring& piece) const;
    std::wstring GroupSumOf(const Pass& pass, int transformer, SumField field) const;

    CalcRules m_rules;
    bool m_bFire = false;          ///< the fire case is computed
    std::vector<char> m_fireRole;  ///< by circuit: its role (RoleOf) when last seen
    size_t m_fireRoleCount = 0;    ///< circuits with a fire role
    COwnerIndex m_circuits;
    CBoardGraph m_graph;
    std::vector<std::wstring> m_boardNames;                ///< as built, for UpdateBoard
    std::vector<std::wstring> m_boardOwners;               ///< as built, for UpdateBoard
    std::vector<const std::vector<int>*> m_boardCircuits;  ///< by board
    std::vector<std::vector<int>> m_boardGroups;          ///< by board: transformer groups it feeds
    std::vector<std::wstring> m_transformerNames;         ///< as built
    std::vector<int> m_groupOfTransformer;                ///< by transformer: its group
    std::unordered_map<std::wstring, int> m_groupByName;  ///< folded name -> group
    std::vector<TransformerGroup> m_groups;
    Pass m_normal;
    Pass m_fire;                 ///< used only when m_bFire
    bool m_bBoardsRead = false;  ///< the passes hold every board's figures
    std::vector<int> m_mark;     ///< scratch of Propagate, by board
    int m_stamp = 0;
};

}  // namespace loadcal
