#pragma once

#include <algorithm>
#include <utility>

#include "model/ProjectInfo.h"
#include "model/Records.h"
#include "model/Rules.h"

namespace loadcal {

/// A whole calculation document as the archive, the JSON form, the command
/// line and the outputs take it: the circuit list and the transformer list,
/// with whatever else a document holds beside them (the distribution boards,
/// the rule set, and the project information its outputs carry on their
/// title). A plain value that owns its records; the dialog keeps one and
/// shows it in its grids.
///
/// A document that uses nothing beyond the two lists (no boards, the
/// original rules, no fire roles) is exactly the original program's
/// document: it computes, saves and shows as before.
struct CLoadCalDocument {
    CLoadCalDocument() = default;
    /// A document of the original program's two lists only.
    CLoadCalDocument(CLoadArray circuits, CTransformerArray transformerList)
        : loads(std::move(circuits)), transformers(std::move(transformerList))
    {}

    CLoadArray loads;
    CTransformerArray transformers;
    /// Distribution boards, in list order. A circuit's or board's owner list
    /// may name boards as well as transformers.
    CBoardArray boards;
    CalcRules rules = CalcRules::Original;
    CProjectInfo project;

    /// True when the document's figures follow the original arithmetic
    /// alone: no boards, the original rules, no circuit with a fire role
    /// (whose normal figures leave the fire-only circuits out).
    bool IsOriginalOnly() const
    {
        return boards.IsEmpty() && rules == CalcRules::Original &&
               std::none_of(loads.begin(), loads.end(),
                            [](const CLoadCalData& c) { return HasFireRole(c); });
    }

    friend bool operator==(const CLoadCalDocument&, const CLoadCalDocument&) = default;
};

}  // namespace loadcal
