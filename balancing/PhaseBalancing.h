#pragma once

#include <string>

#include "balancing/Extremum.h"
#include "balancing/PhaseBalanceHost.h"
#include "model/Records.h"

namespace loadcal {

/// What one run of the phase-balancing command did.
struct PhaseBalancingResult {
    /// True once every group was done and the report shown.
    bool completed = false;
    /// The report text: the message shown, or the blocks gathered up to the
    /// early end.
    std::wstring report;
};

/// The phase-balancing command. Groups the circuits by their exact owner
/// text (first appearance first); within a group every circuit whose phase
/// is not exactly "L1,L2,L3,N" is single-phase. Every group is done and
/// reported in turn: a group with no single-phase circuit is skipped; one
/// with fewer than four gets phases[0], phases[1], phases[2] in turn (its
/// block says so); otherwise the search spreads the group's
/// single-phase circuits over phases[0..2] (AssignPhases), the report gets the
/// group's three phase currents (A), each with a third of the group's
/// three-phase current added, and the new phases are written into loads and
/// shown through host.SetPhaseCell. At the end the report is shown, the
/// total cells of load-grid columns 5, 8, 9, 10, 11, 12 are refreshed, every
/// transformer is recalculated and the load grid is refreshed.
///
/// A group whose owner text names distribution boards only (every piece
/// names one of boards, without regard to case) is the board's group: its
/// progress and its report block name it as a board (配电箱) rather than a
/// transformer. A single-phase board feeds one phase: the single-phase
/// circuits of a group whose boards all have the same single phase keep
/// their phases, and the report says so.
///
/// Currents are read from m_strCalcI as they stand (nothing is recalculated
/// first). Throws CInvalidArgException when phases has fewer entries than a
/// step needs (three for a balanced group).
PhaseBalancingResult RunPhaseBalancing(CLoadArray& loads, const CStringArray& phases,
                                       CExtremum& search, int generations, IPhaseBalanceHost& host,
                                       const CBoardArray& boards = CBoardArray());

/// The dialog's phase list: "L1,N", "L2,N", "L3,N", "L1,L2,L3,N".
CStringArray StandardPhaseList();

/// One block of the report: the transformer's name (the board's when board
/// is true), then each phase text with its current (A, two decimals).
/// Without the two line feeds that follow it.
std::wstring FormatPhaseReportBlock(const std::wstring& transformer, const CStringArray& phases,
                                    const double (&currents)[3], bool board = false);

}  // namespace loadcal
