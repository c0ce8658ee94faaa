// The supply tree beside the grids and the load grid's view of one node:
// which circuits the load grid shows, the map between its rows and the
// circuits, and how both follow the document's changes.
#include <algorithm>

#include "dialog/LoadCalDiaog.h"
#include "dialog/LoadCalTexts.h"
#include "model/Text.h"

namespace loadcal {
namespace {

bool IsNamedKind(SupplyNodeKind kind)
{
    return kind == SupplyNodeKind::Board || kind == SupplyNodeKind::Transformer;
}

/// Whether a step changed what the tree is built from: the names and owner
/// lists of boards and transformers, the rows of either, and the owner
/// lists and rows of circuits (whether some circuit is fed from nothing).
bool ChangesTreeInputs(const CDocumentStep& step)
{
    using LoadKind = CRecordChange<CLoadCalData>::Kind;
    using BoardKind = CRecordChange<CBoardCalData>::Kind;
    using TransformerKind = CRecordChange<CTransformerCalData>::Kind;
    return std::ranges::any_of(step.loads,
                               [](const auto& c) {
                                   return c.kind != LoadKind::Set ||
                                          c.before.m_strTransformer != c.after.m_strTransformer;
                               }) ||
           std::ranges::any_of(step.boards,
                               [](const auto& c) {
                                   return c.kind != BoardKind::Set ||
                                          c.before.m_strName != c.after.m_strName ||
                                          c.before.m_strOwner != c.after.m_strOwner;
                               }) ||
           std::ranges::any_of(step.transformers, [](const auto& c) {
               return c.kind != TransformerKind::Set || c.before.m_strName != c.after.m_strName;
           });
}

/// The name a record had before a change as applied (backwards: as undone)
/// and the name it has after it.
template <class Record>
std::pair<std::wstring, std::wstring> Renamed(const CRecordChange<Record>& c, bool backwards)
{
    return backwards ? std::pair{c.after.m_strName, c.before.m_strName}
                     : std::pair{c.before.m_strName, c.after.m_strName};
}

/// Follows the renames of a change list, in the order they were applied,
/// from name; the name the record now has.
template <class Record>
std::wstring FollowRenames(const std::vector<CRecordChange<Record>>& changes, bool backwards,
                           std::wstring name)
{
    const auto follow = [&name, backwards](const CRecordChange<Record>& c) {
        if (c.kind != CRecordChange<Record>::Kind::Set) {
            return;
        }
        const auto [from, to] = Renamed(c, backwards);
        if (from != to && !to.empty() && EqualsNoCase(from, name)) {
            name = to;
        }
    };
    if (backwards) {
        std::for_each(changes.rbegin(), changes.rend(), follow);
    } else {
        std::for_each(changes.begin(), changes.end(), follow);
    }
    return name;
}

}  // namespace

int CLoadCalDiaog::LoadRecordOfRow(int row) const
{
    const int shown = ShownLoadCount();
    if (row < 1 || row > shown + 1) {
        return -1;
    }
    if (row == shown + 1) {
        return m_arrLoad.GetSize();
    }
    return IsLoadFiltered() ? m_arrShownLoads[static_cast<size_t>(row - 1)] : row - 1;
}

int CLoadCalDiaog::LoadRowOfRecord(int i) const
{
    if (i < 0 || i >= m_arrLoad.GetSize()) {
        return -1;
    }
    if (!IsLoadFiltered()) {
        return i + 1;
    }
    const auto at = std::ranges::lower_bound(m_arrShownLoads, i);
    return at != m_arrShownLoads.end() && *at == i
               ? static_cast<int>(at - m_arrShownLoads.begin()) + 1
               : -1;
}

std::vector<int> CLoadCalDiaog::FilteredLoads()
{
    // The supply index lists the circuits of every owner piece already,
    // when it is up to date with the records; it is never brought up to
    // date here, which would recalculate outside the running command.
    const bool indexed = m_pSupplyIndex && m_arrTouchedLoads.empty() &&
                         m_arrTouchedBoards.empty() && m_arrTouchedTransformers.empty() &&
                         m_pSupplyIndex->Circuits().Size() == m_arrLoad.GetSize();
    if (indexed && IsNamedKind(m_supplyFilter.kind) &&
        !(m_supplyFilter.kind == SupplyNodeKind::Board && m_supplyFilter.name.empty())) {
        return m_pSupplyIndex->Circuits().MembersNamed(m_supplyFilter.name);
    }
    return CircuitsFedFrom(m_document, m_supplyFilter);
}

void CLoadCalDiaog::NoteLoadRowInserted(int row, int record)
{
    if (!IsLoadFiltered()) {
        return;
    }
    for (int& shown : m_arrShownLoads) {
        if (shown >= record) {
            ++shown;
        }
    }
    const auto at =
        m_arrShownLoads.begin() +
        std::clamp<std::ptrdiff_t>(row - 1, 0, static_cast<std::ptrdiff_t>(m_arrShownLoads.size()));
    m_arrShownLoads.insert(at, record);
}

void CLoadCalDiaog::NoteLoadRowRemoved(int row)
{
    if (!IsLoadFiltered() || row < 1 || row > static_cast<int>(m_arrShownLoads.size())) {
        return;
    }
    const int record = m_arrShownLoads[static_cast<size_t>(row - 1)];
    m_arrShownLoads.erase(m_arrShownLoads.begin() + (row - 1));
    for (int& shown : m_arrShownLoads) {
        if (shown > record) {
            --shown;
        }
    }
}

std::wstring CLoadCalDiaog::EntryPhase() const
{
    if (m_supplyFilter.kind == SupplyNodeKind::Board) {
        for (const CBoardCalData& board : m_arrBoard) {
            if (EqualsNoCase(board.m_strName, m_supplyFilter.name) &&
                IsPhaseText(board.m_strPhase)) {
                return board.m_strPhase;
            }
        }
    }
    return std::wstring(kPhaseThree);
}

void CLoadCalDiaog::FeedNewCircuitFromNode(int i)
{
    if (!IsNamedKind(m_supplyFilter.kind) || i < 0 || i >= m_arrLoad.GetSize()) {
        return;
    }
    for (const std::wstring& piece : OwnerPieces(m_arrLoad[i].m_strTransformer)) {
        if (EqualsNoCase(piece, m_supplyFilter.name)) {
            return;  // fed from the node already
        }
    }
    const std::wstring& name = m_supplyFilter.name;
    Loads().Modify(i, [&name](CLoadCalData& c) { c.m_strTransformer = name; });
    const int row = LoadRowOfRecord(i);
    if (row > 0) {
        const int col = GridColumnOfField(GridId::Load, CLoadCalData::kTransformer);
        m_gridLoad.SetItemText(row, col, name);
        m_gridLoad.RedrawCell(row, col);
    }
}

void CLoadCalDiaog::OnSupplyNodeClick(int node)
{
    const std::vector<CSupplyNode>& nodes = m_supplyTree.Nodes();
    if (node < 0 || static_cast<size_t>(node) >= nodes.size()) {
        return;
    }
    // The occurrence clicked becomes the current node (a board fed twice
    // shows twice); the window has made it current itself.
    m_nShownNode = node;
    ApplySupplyFilter(nodes[static_cast<size_t>(node)].Filter());
}

void CLoadCalDiaog::ShowSupplyFilter(const CSupplyFilter& filter)
{
    ApplySupplyFilter(filter);
    const int node = std::max(0, m_supplyTree.Find(m_supplyFilter));
    if (node != m_nShownNode) {
        m_nShownNode = node;
        if (m_pUi) {
            m_pUi->ShowSupplyTree(m_supplyTree, m_nShownNode);
        }
    }
}

void CLoadCalDiaog::ApplySupplyFilter(const CSupplyFilter& filter)
{
    const int node = m_supplyTree.Find(filter);
    m_supplyFilter = node >= 0 ? filter : CSupplyFilter{};
    m_supplyFilter.name = node >= 0 ? m_supplyTree.Nodes()[static_cast<size_t>(node)].name : L"";
    const int col = std::max(1, m_gridLoad.GetFocusCell().col);
    FillLoadGrid();
    MarkCutRows(GridId::Load);
    MarkWarningCells();
    // The designer starts at the node's first circuit (or its entry row).
    m_gridLoad.ResetSelectedRange();
    m_gridLoad.SetFocusCell(1, std::min(col, m_gridLoad.GetColumnCount() - 1));
    UpdateStatusNote();
}

void CLoadCalDiaog::RebuildSupplyTree(CSupplyTree tree)
{
    const bool changed = !(tree == m_supplyTree);
    m_supplyTree = std::move(tree);
    // The node selected: the occurrence shown before while it still stands
    // for the filter, else the filter's first.
    const std::vector<CSupplyNode>& nodes = m_supplyTree.Nodes();
    int node = m_nShownNode;
    if (node < 0 || static_cast<size_t>(node) >= nodes.size() ||
        !(nodes[static_cast<size_t>(node)].Filter().kind == m_supplyFilter.kind &&
          EqualsNoCase(nodes[static_cast<size_t>(node)].name, m_supplyFilter.name))) {
        node = std::max(0, m_supplyTree.Find(m_supplyFilter));
    }
    if ((changed || node != m_nShownNode) && m_pUi) {
        m_nShownNode = node;
        m_pUi->ShowSupplyTree(m_supplyTree, node);
    }
    m_nShownNode = node;
}

void CLoadCalDiaog::FollowSupplyTree(const CDocumentStep* step, bool backwards)
{
    // A first fire role, or the last one gone: the fire case's columns come
    // or go.
    const bool roles = step == nullptr || std::ranges::any_of(step->loads, [](const auto& c) {
                           return c.kind != CRecordChange<CLoadCalData>::Kind::Set ||
                                  c.before.m_strFire != c.after.m_strFire;
                       });
    if (roles) {
        const bool fire = HasFireRoles(m_document);
        if (fire != m_bFireColumns) {
            ShowFireColumns(fire);
        }
    }
    const bool treeInputs = step == nullptr || ChangesTreeInputs(*step);
    const CSupplyFilter before = m_supplyFilter;
    if (step && IsNamedKind(m_supplyFilter.kind)) {
        m_supplyFilter.name =
            m_supplyFilter.kind == SupplyNodeKind::Board
                ? FollowRenames(step->boards, backwards, m_supplyFilter.name)
                : FollowRenames(step->transformers, backwards, m_supplyFilter.name);
    }
    if (treeInputs) {
        // The filter's node must still stand before the tree is shown.
        CSupplyTree tree(m_document);
        if (IsLoadFiltered() && tree.Find(m_supplyFilter) < 0) {
            m_supplyFilter = CSupplyFilter{};
        }
        RebuildSupplyTree(std::move(tree));
    }
    // The circuits the view shows: those the node now feeds.
    if (IsLoadFiltered() || !(before == m_supplyFilter)) {
        bool refill = !(before == m_supplyFilter);
        if (!refill && treeInputs) {
            refill = FilteredLoads() != m_arrShownLoads;
        }
        if (refill) {
            const CCellID focus = m_gridLoad.GetFocusCell();
            FillLoadGrid();
            MarkCutRows(GridId::Load);
            m_gridLoad.SetFocusCell(std::min(focus.row, LoadEntryRow()), focus.col);
        }
    }
    UpdateStatusNote();
}

void CLoadCalDiaog::UpdateStatusNote()
{
    std::wstring note;
    switch (m_supplyFilter.kind) {
        case SupplyNodeKind::All:
            break;
        case SupplyNodeKind::Board:
        case SupplyNodeKind::Transformer: {
            const std::wstring name = m_supplyFilter.name.empty()
                                          ? std::wstring(texts::kTreeUnnamed)
                                          : m_supplyFilter.name;
            note = texts::FormatText(texts::kFilterNoteFormat,
                                     texts::FormatText(m_supplyFilter.kind == SupplyNodeKind::Board
                                                           ? texts::kFilterBoardFormat
                                                           : texts::kFilterTransformerFormat,
                                                       name),
                                     std::to_wstring(ShownLoadCount()));
            break;
        }
        case SupplyNodeKind::Unfed:
            note = texts::FormatText(texts::kFilterNoteFormat, texts::kFilterUnfed,
                                     std::to_wstring(ShownLoadCount()));
            break;
        case SupplyNodeKind::Cycle:
            note = texts::FormatText(texts::kFilterNoteFormat, texts::kFilterCycle,
                                     std::to_wstring(ShownLoadCount()));
            break;
    }
    if (m_document.rules == CalcRules::GB51348_2019) {
        note += std::wstring(note.empty() ? L"" : L"    ") + std::wstring(texts::kRulesNoteGB51348);
    }
    if (note != m_strStatusNote) {
        m_strStatusNote = note;
        if (m_pUi) {
            m_pUi->SetStatusNote(note);
        }
    }
}

}  // namespace loadcal
