#pragma once

// A straightforward transcription of the demand-factor method, kept only for
// tests and benchmarks: every group sum walks the whole circuit list and
// splits each owner field, every total calls the group sum once per distinct
// owner text. The engine's indexed path must give the same texts.

#include "model/Calculation.h"

namespace loadcal::reference {

std::wstring GroupSum(const CLoadArray& loads, const std::wstring& owner, SumField field);
std::wstring Total(const CLoadArray& loads, SumField field);
SummaryTotals Totals(const CLoadArray& loads);
void RecalculateTransformer(const CLoadArray& loads, CTransformerArray& transformers,
                            const std::wstring& name);
SummaryTotals RecalculateDocument(CLoadArray& loads, CTransformerArray& transformers);

/// A whole document with boards under its rule set, transcribed as plainly:
/// circuits, then boards by repeated sweeps over the list (a board is done
/// once every board that names it is done), then every transformer by its
/// own name, then the totals. Membership by splitting every owner text for
/// every group. With fire roles (消防 "消防" or "火灾时切除" on some
/// circuit) the boards and transformers are done once per case, the normal
/// one without the fire-only circuits, the fire one without the shed ones,
/// and the larger S2 chooses the capacity; without, the fire fields are
/// emptied. Throws std::runtime_error when boards remain (a cycle).
SummaryTotals RecalculateDocument(CLoadCalDocument& doc);

}  // namespace loadcal::reference
