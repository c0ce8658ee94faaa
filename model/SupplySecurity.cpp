#include "model/SupplySecurity.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <unordered_map>

#include "model/BoardGraph.h"
#include "model/Numeric.h"
#include "model/SupplyIndex.h"
#include "model/Text.h"

namespace loadcal {
namespace {

// The texts of the supply-security warnings.
std::wstring Quoted(const std::wstring& text)
{
    return L"“" + text + L"”";
}
std::wstring MixedFireBoardText(const std::wstring& board, int fire, int other)
{
    return L"配电箱" + Quoted(board) + L"同时供电 " + std::to_wstring(fire) + L" 个消防回路和 " +
           std::to_wstring(other) + L" 个非消防回路，消防用电设备应由专用回路供电";
}
std::wstring SharedBoardText(const std::wstring& board, int unclassed)
{
    return L"配电箱" + Quoted(board) + L"由两台及以上变压器供电，其直接供电的 " +
           std::to_wstring(unclassed) + L" 个回路不是一、二级负荷，N−1 校核按切除计，未计入";
}
std::wstring ContingencyText(const std::wstring& transformer, const std::wstring& partners,
                             const std::wstring& apparent, bool fire, int circuits,
                             const std::wstring& capacity)
{
    return L"变压器" + Quoted(transformer) + L"在" + partners + L"停运时须承担全部一、二级负荷（" +
           std::to_wstring(circuits) + L" 个回路），" + (fire ? L"火灾时" : L"正常运行时") +
           L"视在功率 " + apparent + L" kVA，超过其额定容量 " + capacity + L" kVA";
}
/// "“T2”" or "“T2”或“T3”".
std::wstring PartnerNames(const CTransformerArray& transformers, const std::vector<int>& partners)
{
    std::wstring text;
    for (size_t i = 0; i < partners.size(); ++i) {
        text += (i == 0 ? L"" : L"或") + Quoted(transformers[partners[i]].m_strName);
    }
    return text;
}

void AddSorted(std::vector<int>& set, int value)
{
    const auto at = std::lower_bound(set.begin(), set.end(), value);
    if (at == set.end() || *at != value) {
        set.insert(at, value);
    }
}

void Merge(std::vector<int>& set, const std::vector<int>& more)
{
    for (int v : more) {
        AddSorted(set, v);
    }
}

/// The transformers (the first of each name) that feed every circuit, up
/// through the boards; boards on a cycle feed nothing.
class CFeeders {
public:
    explicit CFeeders(const CLoadCalDocument& doc) : m_graph(doc.boards)
    {
        for (int t = 0; t < doc.transformers.GetSize(); ++t) {
            m_first.emplace(FoldCase(doc.transformers[t].m_strName), t);
        }
        m_boards.resize(static_cast<size_t>(doc.boards.GetSize()));
        const std::vector<int>& bottomUp = m_graph.BottomUp();
        for (auto b = bottomUp.rbegin(); b != bottomUp.rend(); ++b) {  // feeders first
            m_boards[static_cast<size_t>(*b)] = Of(doc.boards[*b].m_strOwner);
        }
    }

    /// The transformers above board b (none for a board on a cycle).
    const std::vector<int>& OfBoard(int b) const { return m_boards[static_cast<size_t>(b)]; }

    /// The transformers an owner list leads to.
    std::vector<int> Of(const std::wstring& owner) const
    {
        std::vector<int> fed;
        for (const auto& piece : OwnerPieces(owner)) {
            const auto t = m_first.find(FoldCase(piece));
            if (t != m_first.end()) {
                AddSorted(fed, t->second);
            }
            for (int b : m_graph.BoardsNamed(piece)) {
                if (!m_graph.OnCycle(b)) {
                    Merge(fed, m_boards[static_cast<size_t>(b)]);
                }
            }
        }
        return fed;
    }

private:
    CBoardGraph m_graph;
    std::unordered_map<std::wstring, int> m_first;  ///< folded name -> first transformer
    std::vector<std::vector<int>> m_boards;         ///< by board: transformers above it
};

/// One case of the contingency from the transformer's group sums.
ContingencyCase CaseOf(const CTransformerCalData& t, const std::wstring& active,
                       const std::wstring& reactive, CalcRules rules)
{
    const TransformerLoad load = ComputeTransformerLoad(t, active, reactive, rules);
    double bank = std::max(load.compensation, 0.0);
    const double installed = ParseNumber(t.m_strActualCompCapacity);
    if (std::fabs(installed) >= 1e-9) {  // given, as the transformer's arithmetic reads it
        bank = std::min(bank, std::max(installed, 0.0));
    }
    ContingencyCase c;
    c.active = load.pc;
    c.reactive = load.qc - bank;
    c.compensation = bank;
    c.apparent = std::sqrt(c.active * c.active + c.reactive * c.reactive);
    return c;
}

}  // namespace

bool IsFirstOrSecondClass(const CLoadCalData& c)
{
    return c.m_strLoadClass == kLoadClassSpecial || c.m_strLoadClass == kLoadClassFirst ||
           c.m_strLoadClass == kLoadClassSecond;
}

std::vector<CContingencyLoad> ComputeContingencyLoads(const CLoadCalDocument& doc)
{
    std::vector<CContingencyLoad> loads;
    const auto count = static_cast<size_t>(doc.transformers.GetSize());
    std::vector<std::vector<int>> partners(count);
    std::vector<int> circuits(count, 0);
    bool shared = false;
    {
        std::optional<CFeeders> feeders;
        for (const CLoadCalData& c : doc.loads) {
            if (!IsFirstOrSecondClass(c)) {
                continue;
            }
            if (!feeders) {
                feeders.emplace(doc);
            }
            const std::vector<int> fed = feeders->Of(c.m_strTransformer);
            for (int t : fed) {
                ++circuits[static_cast<size_t>(t)];
                if (fed.size() > 1) {
                    shared = true;
                    for (int other : fed) {
                        if (other != t) {
                            AddSorted(partners[static_cast<size_t>(t)], other);
                        }
                    }
                }
            }
        }
    }
    if (!shared) {
        return loads;
    }

    // The transformers' arithmetic over the first- and second-class
    // circuits alone, into copies of the boards and transformers.
    CSupplyIndex index(doc, &IsFirstOrSecondClass);
    CBoardArray boards = doc.boards;
    CTransformerArray transformers = doc.transformers;
    index.RecalculateGroups(boards, transformers);
    constexpr auto kActive = SumField::Active;
    constexpr auto kReactive = SumField::Reactive;
    for (int t = 0; t < doc.transformers.GetSize(); ++t) {
        if (partners[static_cast<size_t>(t)].empty()) {
            continue;
        }
        const CTransformerCalData& transformer = doc.transformers[t];
        CContingencyLoad load;
        load.transformer = t;
        load.partners = partners[static_cast<size_t>(t)];
        load.circuits = circuits[static_cast<size_t>(t)];
        load.normal = CaseOf(transformer, index.TransformerGroupSum(t, kActive),
                             index.TransformerGroupSum(t, kReactive), doc.rules);
        double apparent = load.normal.apparent;
        if (index.HasFireCase()) {
            load.fire = CaseOf(transformer, index.TransformerFireGroupSum(t, kActive),
                               index.TransformerFireGroupSum(t, kReactive), doc.rules);
            load.fireGoverns = load.fire->apparent > apparent;
            // A case that is not a number leaves the load not a number.
            apparent = std::isnan(apparent) || std::isnan(load.fire->apparent)
                           ? std::nan("")
                           : std::max(apparent, load.fire->apparent);
        }
        load.apparent = ParseNumber(FormatG(apparent));
        load.capacity = ParseNumber(transformer.m_strRatedCapacity);
        loads.push_back(std::move(load));
    }
    return loads;
}

CCheckWarnings CheckSupplySecurity(const CLoadCalDocument& doc)
{
    CCheckWarnings warnings;

    // Boards feeding fire-only circuits together with others, directly.
    if (!doc.boards.IsEmpty() && HasFireRoles(doc)) {
        const CBoardGraph graph(doc.boards);
        std::vector<int> fire(static_cast<size_t>(doc.boards.GetSize()), 0);
        std::vector<int> other(fire.size(), 0);
        for (const CLoadCalData& c : doc.loads) {
            std::vector<int> named;
            for (const auto& piece : OwnerPieces(c.m_strTransformer)) {
                for (int b : graph.BoardsNamed(piece)) {
                    AddSorted(named, b);
                }
            }
            for (int b : named) {
                ++(c.m_strFire == kFireOnly ? fire : other)[static_cast<size_t>(b)];
            }
        }
        for (int b = 0; b < doc.boards.GetSize(); ++b) {
            const auto i = static_cast<size_t>(b);
            if (fire[i] > 0 && other[i] > 0) {
                warnings.push_back(
                    {CCheckWarning::Subject::Board, b, CBoardCalData::kName,
                     MixedFireBoardText(doc.boards[b].m_strName, fire[i], other[i])});
            }
        }
    }

    // Shared boards whose other circuits the N−1 check takes as shed.
    const bool classed = std::any_of(doc.loads.begin(), doc.loads.end(),
                                     [](const CLoadCalData& c) { return IsFirstOrSecondClass(c); });
    if (classed && !doc.boards.IsEmpty()) {
        const CFeeders feeders(doc);
        const CBoardGraph graph(doc.boards);
        std::vector<int> unclassed(static_cast<size_t>(doc.boards.GetSize()), 0);
        for (const CLoadCalData& c : doc.loads) {
            if (IsFirstOrSecondClass(c)) {
                continue;
            }
            std::vector<int> named;
            for (const auto& piece : OwnerPieces(c.m_strTransformer)) {
                for (int b : graph.BoardsNamed(piece)) {
                    AddSorted(named, b);
                }
            }
            for (int b : named) {
                ++unclassed[static_cast<size_t>(b)];
            }
        }
        for (int b = 0; b < doc.boards.GetSize(); ++b) {
            const int count = unclassed[static_cast<size_t>(b)];
            if (count > 0 && feeders.OfBoard(b).size() > 1) {
                warnings.push_back({CCheckWarning::Subject::Board, b, CBoardCalData::kOwner,
                                    SharedBoardText(doc.boards[b].m_strName, count)});
            }
        }
    }

    for (const CContingencyLoad& load : ComputeContingencyLoads(doc)) {
        if (load.Fits()) {
            continue;
        }
        const CTransformerCalData& t = doc.transformers[load.transformer];
        warnings.push_back(
            {CCheckWarning::Subject::Transformer, load.transformer,
             CTransformerCalData::kRatedCapacity,
             ContingencyText(t.m_strName, PartnerNames(doc.transformers, load.partners),
                             FormatG(load.apparent), load.fireGoverns, load.circuits,
                             FormatG(load.capacity))});
    }
    return warnings;
}

}  // namespace loadcal
