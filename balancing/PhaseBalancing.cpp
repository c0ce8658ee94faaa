#include "balancing/PhaseBalancing.h"

#include <algorithm>
#include <vector>

#include "balancing/BalancingTexts.h"
#include "model/Calculation.h"
#include "model/Columns.h"
#include "model/Numeric.h"
#include "model/Text.h"

namespace loadcal {
namespace {

// Copies each copy's phase into the record it was taken from and shows it;
// a position outside the list is skipped.
void WritePhasesBack(CLoadArray& loads, const CLoadArray& copies, const CArray<unsigned>& indices,
                     IPhaseBalanceHost& host)
{
    for (int k = 0; k < indices.GetSize(); ++k) {
        const unsigned record = indices[k];
        if (record < static_cast<unsigned>(loads.GetSize())) {
            const int r = static_cast<int>(record);
            loads[r].m_strPhase = copies[k].m_strPhase;
            host.SetPhaseCell(r, loads[r].m_strPhase);
        }
    }
}

}  // namespace

CStringArray StandardPhaseList()
{
    CStringArray phases;
    for (const std::wstring_view phase : kPhaseTexts) {
        phases.Add(std::wstring(phase));
    }
    return phases;
}

std::wstring FormatPhaseReportBlock(const std::wstring& transformer, const CStringArray& phases,
                                    const double (&currents)[3], bool board)
{
    return FormatText(
        board ? kBoardReportBlockFormat : kReportBlockFormat,
        {transformer, phases[0], currents[0], phases[1], currents[1], phases[2], currents[2]});
}

/// What an owner text names among the boards: whether every piece names a
/// board (without regard to case), and the one single-phase text all the
/// boards it names share (empty when they are not all on one single phase).
struct BoardGroup {
    bool boardsOnly = false;
    std::wstring singlePhase;
};

BoardGroup BoardGroupOf(const std::wstring& owner, const CBoardArray& boards)
{
    BoardGroup group;
    const CStringArray pieces = OwnerPieces(owner);
    if (pieces.GetSize() == 0 || boards.IsEmpty()) {
        return group;
    }
    std::vector<std::wstring> phases;
    for (const std::wstring& piece : pieces) {
        bool named = false;
        for (const CBoardCalData& b : boards) {
            if (EqualsNoCase(b.m_strName, piece)) {
                named = true;
                phases.push_back(b.m_strPhase);
            }
        }
        if (!named) {
            return group;
        }
    }
    group.boardsOnly = true;
    const bool onePhase = std::ranges::all_of(
        phases, [&phases](const std::wstring& p) { return p == phases.front(); });
    const int phase = PhaseGroupOf(phases.front());
    if (onePhase && phase >= 0 && phase < 3) {
        group.singlePhase = phases.front();
    }
    return group;
}

PhaseBalancingResult RunPhaseBalancing(CLoadArray& loads, const CStringArray& phases,
                                       CExtremum& search, int generations, IPhaseBalanceHost& host,
                                       const CBoardArray& boards)
{
    PhaseBalancingResult result;

    CStringArray owners;
    for (const CLoadCalData& load : loads) {
        bool known = false;
        for (const std::wstring& owner : owners) {
            known = known || owner == load.m_strTransformer;
        }
        if (!known) {
            owners.Add(load.m_strTransformer);
        }
    }

    for (const std::wstring& owner : owners) {
        CArray<unsigned> indices;
        CLoadArray copies;
        double threePhase = 0.0;
        for (int j = 0; j < loads.GetSize(); ++j) {
            const CLoadCalData& load = loads[j];
            if (load.m_strTransformer != owner) {
                continue;
            }
            if (load.m_strPhase != kPhaseThree) {
                indices.Add(static_cast<unsigned>(j));
                copies.Add(load);
            } else {
                threePhase += ParseNumber(load.m_strCalcI);
            }
        }

        const int n = copies.GetSize();
        const BoardGroup group = BoardGroupOf(owner, boards);
        const bool board = group.boardsOnly;
        if (n == 0) {
            continue;  // nothing to spread: three-phase circuits only
        }
        if (!group.singlePhase.empty()) {
            // A single-phase board feeds one phase: its circuits stay on it.
            result.report += FormatText(kSinglePhaseBoardFormat, {owner, group.singlePhase});
            result.report += kReportBlockEnd;
            continue;
        }
        if (n < 4) {
            // Too few for a search: L1, L2, L3 in turn, and the run goes on.
            double sums[3] = {0.0, 0.0, 0.0};
            for (int k = 0; k < n; ++k) {
                copies[k].m_strPhase = phases[k % 3];
                sums[k % 3] += ParseNumber(copies[k].m_strCalcI);
            }
            const double t = threePhase / 3.0;
            const double currents[3] = {sums[0] + t, sums[1] + t, sums[2] + t};
            result.report += FormatPhaseReportBlock(owner, phases, currents, board);
            result.report += kSmallGroupNote;
            result.report += kReportBlockEnd;
            WritePhasesBack(loads, copies, indices, host);
            continue;
        }

        std::vector<CBalanceItem> items(static_cast<size_t>(n));
        for (int k = 0; k < n; ++k) {
            items[static_cast<size_t>(k)].current = ParseNumber(copies[k].m_strCalcI);
            items[static_cast<size_t>(k)].index = k;
        }
        AssignPhases(search, items.data(), n, owner, generations, host, board);

        double sums[3] = {0.0, 0.0, 0.0};
        for (int k = 0; k < n; ++k) {
            const int phase = items[static_cast<size_t>(k)].phase;
            copies[k].m_strPhase = phases[phase];
            sums[phase] += ParseNumber(copies[k].m_strCalcI);
        }
        const double t = threePhase / 3.0;
        const double currents[3] = {sums[0] + t, sums[1] + t, sums[2] + t};
        result.report += FormatPhaseReportBlock(owner, phases, currents, board);
        result.report += kReportBlockEnd;
        WritePhasesBack(loads, copies, indices, host);
    }

    host.ShowReport(result.report);
    // The load grid's total-row cells, in column order.
    for (size_t c = 0; c < kLoadColumns.size(); ++c) {
        const TotalCell cell = kLoadColumns[c].total;
        if (cell != TotalCell::None && cell != TotalCell::Label) {
            host.RefreshTotalCell(static_cast<int>(c) + 1);
        }
    }
    host.RecalculateAllTransformers();
    host.RefreshLoadGrid();
    result.completed = true;
    return result;
}

}  // namespace loadcal
