#pragma once

#include <optional>
#include <vector>

#include "model/Calculation.h"
#include "model/Checks.h"
#include "model/Document.h"

namespace loadcal {

/// True for a circuit of the first or second class (负荷等级 "一级中特别重要",
/// "一级" or "二级", exactly): the loads the remaining transformers must
/// carry when one is out of service.
bool IsFirstOrSecondClass(const CLoadCalData& circuit);

/// One case of a transformer's load when another one is out of service:
/// Pc = Kp x ΣP and Qc = Kq x ΣQ of its first- and second-class loads (kW,
/// kVar), the compensation its capacitor bank gives that load (kVar) and
/// the apparent power after it (kVA).
struct ContingencyCase {
    double active = 0;
    double reactive = 0;  ///< Qc less the compensation, kVar
    double compensation = 0;
    double apparent = 0;
};

/// The N−1 check of one transformer that shares first- or second-class
/// loads with other transformers.
///
/// The loads. When a transformer it shares such loads with is out, the
/// transformer carries every first- and second-class circuit it feeds: its
/// own, and those it shares, which it takes over. A circuit is fed by a
/// transformer when its owner list names it, or names a board whose owner
/// list names it, and so on up the tree; it is shared when it is fed by two
/// transformers or more. Third-class circuits and circuits without a class
/// are taken as shed in that contingency. Boards have no class of their
/// own: a board passes on its first- and second-class members' part.
///
/// The arithmetic is the transformer's own over those circuits alone: the
/// group sums through the boards (each with its K∑p, K∑q and the 15 % rule
/// of the document's rules), then Kp and Kq, and compensation as the
/// transformer's rules require it for that load, but no more than the
/// installed compensation when one is given (an automatically switched bank
/// gives what the load needs up to what is installed, and never a negative
/// amount). In a document with fire roles it is done for both cases (the
/// fire-only circuits in the fire case, the shed ones in the normal case)
/// and the larger apparent power counts. It must not exceed the rated
/// capacity (kVA) the transformer has: the contingency is short, so the
/// expected load rate does not apply.
struct CContingencyLoad {
    int transformer = -1;       ///< index in the list (the first of its name)
    std::vector<int> partners;  ///< the transformers it shares loads with, ascending
    int circuits = 0;           ///< first- and second-class circuits it carries
    ContingencyCase normal;
    std::optional<ContingencyCase> fire;  ///< in a document with fire roles
    double apparent = 0;                  ///< the larger case's S, kVA, as its "%G" text reads
    bool fireGoverns = false;
    double capacity = 0;  ///< the transformer's rated capacity as its text reads, kVA
    /// True when the load fits the rated capacity (false for a figure that
    /// is not a number).
    bool Fits() const { return apparent <= capacity; }
};

/// The N−1 loads of every transformer that shares first- or second-class
/// loads with another one, in list order, from the circuits' figures and
/// the transformers' rated capacities as they stand (nothing is written).
std::vector<CContingencyLoad> ComputeContingencyLoads(const CLoadCalDocument& doc);

/// The reviewer's checks of supply security, by subject in list order:
/// - a board that feeds fire-only circuits (消防 "消防") and other circuits
///   directly: fire-fighting equipment takes circuits of its own;
/// - in a document with first- or second-class circuits, a board fed from
///   two transformers or more (through any path) that feeds circuits of
///   another class or none directly: the N−1 check takes them as shed,
///   which the board's changeover may not do;
/// - every transformer whose N−1 load (ComputeContingencyLoads) exceeds its
///   rated capacity, naming the transformers whose outage it covers, the
///   load, the case and the capacity.
/// A document without load classes or fire roles has none. Nothing is
/// recalculated.
CCheckWarnings CheckSupplySecurity(const CLoadCalDocument& doc);

}  // namespace loadcal
