#include "model/SupplyIndex.h"

#include <algorithm>
#include <deque>

#include "model/Numeric.h"
#include "model/Text.h"

namespace loadcal {
namespace {

const std::vector<int> kNoMembers;

/// A board as a member of its owners: its phase group and its figures as
/// the texts a pass wrote read back.
MemberFigures BoardAsMember(const CBoardCalData& board, const BoardOutputFields& fields)
{
    return {PhaseGroupOf(board.m_strPhase),
            ParseNumber(board.*fields.current),
            {ParseNumber(board.*fields.reactive), ParseNumber(board.*fields.active),
             ParseNumber(board.*fields.installed)}};
}

void ClearFigures(CBoardCalData& board, const BoardOutputFields& fields)
{
    for (auto field : {fields.installed, fields.active, fields.reactive, fields.apparent,
                       fields.current, fields.powerFactor}) {
        (board.*field).clear();
    }
}

template <class T>
void SortUnique(std::vector<T>& v)
{
    std::sort(v.begin(), v.end());
    v.erase(std::unique(v.begin(), v.end()), v.end());
}

}  // namespace

CSupplyIndex::CSupplyIndex(const CLoadCalDocument& doc, CircuitFilter filter,
                           std::vector<MemberFigures> circuitFigures)
    : m_rules(doc.rules), m_circuits(doc.loads, std::move(circuitFigures)), m_graph(doc.boards)
{
    for (int t = 0; t < doc.transformers.GetSize(); ++t) {
        const std::wstring& name = doc.transformers[t].m_strName;
        const auto [it, added] =
            m_groupByName.emplace(FoldCase(name), static_cast<int>(m_groups.size()));
        if (added) {
            m_groups.push_back({t, &m_circuits.MembersNamed(name), {}});
        }
        m_groupOfTransformer.push_back(it->second);
        m_transformerNames.push_back(name);
    }

    const auto boards = static_cast<size_t>(doc.boards.GetSize());
    m_boardNames.reserve(boards);
    m_boardOwners.reserve(boards);
    m_boardCircuits.reserve(boards);
    m_boardGroups.resize(boards);
    for (int b = 0; b < doc.boards.GetSize(); ++b) {
        const CBoardCalData& board = doc.boards[b];
        m_boardNames.push_back(board.m_strName);
        m_boardOwners.push_back(board.m_strOwner);
        m_boardCircuits.push_back(
            board.m_strName.empty() ? &kNoMembers : &m_circuits.MembersNamed(board.m_strName));
        std::vector<int>& fed = m_boardGroups[static_cast<size_t>(b)];
        for (const auto& piece : OwnerPieces(board.m_strOwner)) {
            const int group = GroupNamed(piece);
            if (group >= 0 && std::find(fed.begin(), fed.end(), group) == fed.end()) {
                fed.push_back(group);
                m_groups[static_cast<size_t>(group)].boards.push_back(b);
            }
        }
    }
    m_mark.assign(boards, 0);

    m_fireRole.reserve(static_cast<size_t>(doc.loads.GetSize()));
    for (const CLoadCalData& c : doc.loads) {
        const char role = RoleOf(c);
        m_fireRole.push_back(role);
        m_fireRoleCount += role != kNoRole ? 1 : 0;
    }
    m_bFire = m_fireRoleCount > 0;

    // Each case counts what the caller's filter lets through and its own
    // fire rule allows; without fire roles the normal case counts all.
    m_normal.filter = filter;
    m_normal.fields = kBoardFigureFields;
    if (m_bFire) {
        m_normal.excludedRole = kFireOnlyRole;
        m_fire.filter = std::move(filter);
        m_fire.fields = kBoardFireFields;
        m_fire.excludedRole = kShedRole;
        StartPass(m_fire, doc);
    }
    StartPass(m_normal, doc);
}

int CSupplyIndex::GroupNamed(const std::wstring& piece) const
{
    const auto it = m_groupByName.find(FoldCase(piece));
    return it == m_groupByName.end() ? -1 : it->second;
}

char CSupplyIndex::RoleOf(const CLoadCalData& circuit)
{
    if (circuit.m_strFire == kFireOnly) {
        return kFireOnlyRole;
    }
    return circuit.m_strFire == kFireShed ? kShedRole : kNoRole;
}

bool CSupplyIndex::Counts(const Pass& pass, const CLoadCalData& circuit, int idx) const
{
    if (pass.excludedRole != kNoRole && m_fireRole[static_cast<size_t>(idx)] == pass.excludedRole) {
        return false;
    }
    return !pass.filter || pass.filter(circuit);
}

void CSupplyIndex::StartPass(Pass& pass, const CLoadCalDocument& doc) const
{
    pass.counted.clear();
    if (pass.filter || pass.excludedRole != kNoRole) {
        pass.counted.reserve(static_cast<size_t>(doc.loads.GetSize()));
        for (int c = 0; c < doc.loads.GetSize(); ++c) {
            pass.counted.push_back(Counts(pass, doc.loads[c], c) ? 1 : 0);
        }
    }
    pass.boards.assign(m_boardNames.size(), MemberFigures{});
    for (auto& sums : pass.sums) {
        sums.assign(m_groups.size(), std::wstring());
    }
}

void CSupplyIndex::ReadBoardFigures(const CBoardArray& boards)
{
    // Until a board is recalculated it counts with the figures it holds; a
    // whole recalculation computes every one of them before it is used.
    if (m_bBoardsRead) {
        return;
    }
    for (Pass* pass : {&m_normal, &m_fire}) {
        if (pass == &m_fire && !m_bFire) {
            continue;
        }
        for (int b = 0; b < m_graph.BoardCount(); ++b) {
            if (!m_graph.OnCycle(b)) {
                pass->boards[static_cast<size_t>(b)] = BoardAsMember(boards[b], pass->fields);
            }
        }
    }
    m_bBoardsRead = true;
}

GroupPhases CSupplyIndex::MembersOfBoard(const Pass& pass, int board) const
{
    GroupPhases members;
    for (int c : *m_boardCircuits[static_cast<size_t>(board)]) {
        if (pass.counted.empty() || pass.counted[static_cast<size_t>(c)] != 0) {
            members.Add(m_circuits.FiguresAt(c));
        }
    }
    for (int m : m_graph.MembersOf(board)) {
        if (!m_graph.OnCycle(m)) {
            members.Add(pass.boards[static_cast<size_t>(m)]);
        }
    }
    return members;
}

void CSupplyIndex::ComputeBoard(Pass& pass, CBoardArray& boards, int board) const
{
    CBoardCalData& record = boards[board];
    CalculateBoard(record, MembersOfBoard(pass, board), m_rules, pass.fields);
    pass.boards[static_cast<size_t>(board)] = BoardAsMember(record, pass.fields);
}

void CSupplyIndex::ComputeBoardCases(CBoardArray& boards, int board)
{
    ComputeBoard(m_normal, boards, board);
    if (m_bFire) {
        ComputeBoard(m_fire, boards, board);
        SetGoverningCase(boards[board]);
    }
}

GroupPhases CSupplyIndex::MembersOfGroup(const Pass& pass, int group) const
{
    const TransformerGroup& g = m_groups[static_cast<size_t>(group)];
    GroupPhases members;
    for (int c : *g.circuits) {
        if (pass.counted.empty() || pass.counted[static_cast<size_t>(c)] != 0) {
            members.Add(m_circuits.FiguresAt(c));
        }
    }
    for (int b : g.boards) {
        if (!m_graph.OnCycle(b)) {
            members.Add(pass.boards[static_cast<size_t>(b)]);
        }
    }
    return members;
}

void CSupplyIndex::ComputeTransformerGroup(Pass& pass, int group) const
{
    const GroupPhases members = MembersOfGroup(pass, group);
    for (size_t f = 0; f < 3; ++f) {
        pass.sums[f][static_cast<size_t>(group)] =
            FormatG(members.Sum(static_cast<SumField>(f), m_rules));
    }
}

void CSupplyIndex::ComputeAndApplyGroup(CTransformerArray& transformers, int group)
{
    const auto g = static_cast<size_t>(group);
    constexpr auto kActive = static_cast<size_t>(SumField::Active);
    constexpr auto kReactive = static_cast<size_t>(SumField::Reactive);
    ComputeTransformerGroup(m_normal, group);
    CTransformerCalData& target = transformers[m_groups[g].target];
    if (!m_bFire) {
        CalculateTransformer(target, m_normal.sums[kActive][g], m_normal.sums[kReactive][g],
                             m_rules);
        return;
    }
    ComputeTransformerGroup(m_fire, group);
    CalculateTransformer(target, m_normal.sums[kActive][g], m_normal.sums[kReactive][g],
                         m_fire.sums[kActive][g], m_fire.sums[kReactive][g], m_rules);
}

SupplyChange CSupplyIndex::RecalculateGroups(CLoadCalDocument& doc)
{
    return RecalculateGroups(doc.boards, doc.transformers);
}

SupplyChange CSupplyIndex::RecalculateGroups(CBoardArray& boards, CTransformerArray& transformers)
{
    SupplyChange change;
    change.boards = m_graph.BottomUp();
    for (int b : change.boards) {
        ComputeBoardCases(boards, b);
    }
    for (int b = 0; b < m_graph.BoardCount(); ++b) {
        if (m_graph.OnCycle(b)) {
            ClearFigures(boards[b], m_normal.fields);
            m_normal.boards[static_cast<size_t>(b)] = MemberFigures{};
            if (m_bFire) {
                ClearFigures(boards[b], m_fire.fields);
                boards[b].m_strGoverningCase.clear();
                m_fire.boards[static_cast<size_t>(b)] = MemberFigures{};
            }
            change.boards.push_back(b);
        }
    }
    if (!m_bFire) {
        // Figures of a fire case the document no longer has.
        for (auto& board : boards) {
            ClearFireFigures(board);
        }
        for (auto& transformer : transformers) {
            ClearFireFigures(transformer);
        }
    }
    for (int g = 0; g < static_cast<int>(m_groups.size()); ++g) {
        ComputeAndApplyGroup(transformers, g);
        change.transformers.push_back(m_groups[static_cast<size_t>(g)].target);
    }
    SortUnique(change.transformers);
    m_bBoardsRead = true;
    return change;
}

SupplyChange CSupplyIndex::Propagate(CBoardArray& boardList, CTransformerArray& transformers,
                                     std::vector<int> start, std::vector<int> groups)
{
    ReadBoardFigures(boardList);
    // The boards above the start, each once; boards on a cycle have no
    // figures to change.
    if (++m_stamp == 0) {
        std::fill(m_mark.begin(), m_mark.end(), 0);
        m_stamp = 1;
    }
    std::vector<int> boards;
    std::deque<int> queue;
    const auto visit = [&](int b) {
        if (!m_graph.OnCycle(b) && m_mark[static_cast<size_t>(b)] != m_stamp) {
            m_mark[static_cast<size_t>(b)] = m_stamp;
            boards.push_back(b);
            queue.push_back(b);
        }
    };
    for (int b : start) {
        visit(b);
    }
    while (!queue.empty()) {
        const int b = queue.front();
        queue.pop_front();
        for (int owner : m_graph.OwnersOf(b)) {
            visit(owner);
        }
        const auto& fed = m_boardGroups[static_cast<size_t>(b)];
        groups.insert(groups.end(), fed.begin(), fed.end());
    }
    std::sort(boards.begin(), boards.end(),
              [this](int a, int b) { return m_graph.Position(a) < m_graph.Position(b); });
    SortUnique(groups);

    SupplyChange change;
    for (int b : boards) {
        ComputeBoardCases(boardList, b);
    }
    change.boards = std::move(boards);
    for (int g : groups) {
        ComputeAndApplyGroup(transformers, g);
        change.transformers.push_back(m_groups[static_cast<size_t>(g)].target);
    }
    SortUnique(change.transformers);
    return change;
}

std::optional<SupplyChange> CSupplyIndex::UpdateCircuit(CLoadCalDocument& doc, int idx)
{
    if (idx < 0 || idx >= doc.loads.GetSize() || static_cast<size_t>(idx) >= m_fireRole.size()) {
        return std::nullopt;
    }
    const CLoadCalData& circuit = doc.loads[idx];
    // The first fire role, or the last one gone, changes the passes.
    const auto i = static_cast<size_t>(idx);
    const char role = RoleOf(circuit);
    const size_t roles =
        m_fireRoleCount - (m_fireRole[i] != kNoRole ? 1 : 0) + (role != kNoRole ? 1 : 0);
    if ((roles > 0) != m_bFire || !m_circuits.Update(idx, circuit)) {
        return std::nullopt;
    }
    m_fireRole[i] = role;
    m_fireRoleCount = roles;
    for (Pass* pass : {&m_normal, &m_fire}) {
        if (!pass->counted.empty()) {
            pass->counted[i] = Counts(*pass, circuit, idx) ? 1 : 0;
        }
    }
    std::vector<int> boards;
    std::vector<int> groups;
    for (const auto& piece : OwnerPieces(circuit.m_strTransformer)) {
        const auto& named = m_graph.BoardsNamed(piece);
        boards.insert(boards.end(), named.begin(), named.end());
        const int group = GroupNamed(piece);
        if (group >= 0) {
            groups.push_back(group);
        }
    }
    return Propagate(doc.boards, doc.transformers, std::move(boards), std::move(groups));
}

std::optional<SupplyChange> CSupplyIndex::UpdateBoard(CLoadCalDocument& doc, int idx)
{
    if (idx < 0 || static_cast<size_t>(idx) >= m_boardNames.size() || idx >= doc.boards.GetSize() ||
        doc.boards[idx].m_strName != m_boardNames[static_cast<size_t>(idx)] ||
        doc.boards[idx].m_strOwner != m_boardOwners[static_cast<size_t>(idx)]) {
        return std::nullopt;
    }
    return Propagate(doc.boards, doc.transformers, {idx}, {});
}

std::optional<SupplyChange> CSupplyIndex::UpdateTransformer(CLoadCalDocument& doc, int idx)
{
    if (idx < 0 || static_cast<size_t>(idx) >= m_transformerNames.size() ||
        idx >= doc.transformers.GetSize() ||
        doc.transformers[idx].m_strName != m_transformerNames[static_cast<size_t>(idx)]) {
        return std::nullopt;
    }
    SupplyChange change;
    const int group = m_groupOfTransformer[static_cast<size_t>(idx)];
    if (m_groups[static_cast<size_t>(group)].target == idx) {
        ReadBoardFigures(doc.boards);
        ComputeAndApplyGroup(doc.transformers, group);
        change.transformers.push_back(idx);
    }
    return change;
}

bool CSupplyIndex::TakeCircuit(const CLoadCalDocument& doc, int idx)
{
    if (idx < 0 || idx >= doc.loads.GetSize() || static_cast<size_t>(idx) >= m_fireRole.size()) {
        return false;
    }
    const CLoadCalData& circuit = doc.loads[idx];
    // As UpdateCircuit keeps the fire roles, without recalculating anything.
    const auto i = static_cast<size_t>(idx);
    const char role = RoleOf(circuit);
    const size_t roles =
        m_fireRoleCount - (m_fireRole[i] != kNoRole ? 1 : 0) + (role != kNoRole ? 1 : 0);
    if ((roles > 0) != m_bFire || !m_circuits.Update(idx, circuit)) {
        return false;
    }
    m_fireRole[i] = role;
    m_fireRoleCount = roles;
    for (Pass* pass : {&m_normal, &m_fire}) {
        if (!pass->counted.empty()) {
            pass->counted[i] = Counts(*pass, circuit, idx) ? 1 : 0;
        }
    }
    return true;
}

bool CSupplyIndex::TakeBoard(const CLoadCalDocument& doc, int idx)
{
    if (idx < 0 || static_cast<size_t>(idx) >= m_boardNames.size() || idx >= doc.boards.GetSize() ||
        doc.boards[idx].m_strName != m_boardNames[static_cast<size_t>(idx)] ||
        doc.boards[idx].m_strOwner != m_boardOwners[static_cast<size_t>(idx)]) {
        return false;
    }
    if (!m_graph.OnCycle(idx)) {
        for (Pass* pass : {&m_normal, &m_fire}) {
            if (pass == &m_fire && !m_bFire) {
                continue;
            }
            pass->boards[static_cast<size_t>(idx)] = BoardAsMember(doc.boards[idx], pass->fields);
        }
    }
    return true;
}

bool CSupplyIndex::TakeTransformer(const CLoadCalDocument& doc, int idx) const
{
    return idx >= 0 && static_cast<size_t>(idx) < m_transformerNames.size() &&
           idx < doc.transformers.GetSize() &&
           doc.transformers[idx].m_strName == m_transformerNames[static_cast<size_t>(idx)];
}

std::wstring CSupplyIndex::GroupSumOf(const Pass& pass, int transformer, SumField field) const
{
    if (transformer < 0 || static_cast<size_t>(transformer) >= m_groupOfTransformer.size()) {
        return {};
    }
    const auto group = static_cast<size_t>(m_groupOfTransformer[static_cast<size_t>(transformer)]);
    if (m_groups[group].target != transformer || pass.sums[0].empty()) {
        return {};
    }
    return pass.sums[static_cast<size_t>(field)][group];
}

std::wstring CSupplyIndex::TransformerGroupSum(int transformer, SumField field) const
{
    return GroupSumOf(m_normal, transformer, field);
}

std::wstring CSupplyIndex::TransformerFireGroupSum(int transformer, SumField field) const
{
    return m_bFire ? GroupSumOf(m_fire, transformer, field) : std::wstring();
}

GroupPhases CSupplyIndex::BoardMembers(int b) const
{
    if (b < 0 || b >= m_graph.BoardCount() || m_graph.OnCycle(b)) {
        return {};
    }
    return MembersOfBoard(m_normal, b);
}

GroupPhases CSupplyIndex::TransformerMembers(int t) const
{
    if (t < 0 || static_cast<size_t>(t) >= m_groupOfTransformer.size()) {
        return {};
    }
    return MembersOfGroup(m_normal, m_groupOfTransformer[static_cast<size_t>(t)]);
}

GroupPhases CSupplyIndex::BoardFireMembers(int b) const
{
    if (!m_bFire || b < 0 || b >= m_graph.BoardCount() || m_graph.OnCycle(b)) {
        return {};
    }
    return MembersOfBoard(m_fire, b);
}

GroupPhases CSupplyIndex::TransformerFireMembers(int t) const
{
    if (!m_bFire || t < 0 || static_cast<size_t>(t) >= m_groupOfTransformer.size()) {
        return {};
    }
    return MembersOfGroup(m_fire, m_groupOfTransformer[static_cast<size_t>(t)]);
}

const std::vector<int>& CSupplyIndex::BoardCircuits(int b) const
{
    if (b < 0 || static_cast<size_t>(b) >= m_boardCircuits.size()) {
        return kNoMembers;
    }
    return *m_boardCircuits[static_cast<size_t>(b)];
}

const std::vector<int>& CSupplyIndex::TransformerCircuits(int t) const
{
    if (t < 0 || static_cast<size_t>(t) >= m_groupOfTransformer.size()) {
        return kNoMembers;
    }
    return *m_groups[static_cast<size_t>(m_groupOfTransformer[static_cast<size_t>(t)])].circuits;
}

const std::vector<int>& CSupplyIndex::TransformerBoards(int t) const
{
    if (t < 0 || static_cast<size_t>(t) >= m_groupOfTransformer.size()) {
        return kNoMembers;
    }
    return m_groups[static_cast<size_t>(m_groupOfTransformer[static_cast<size_t>(t)])].boards;
}

}  // namespace loadcal
