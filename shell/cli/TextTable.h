#pragma once

#include <ostream>

#include "model/Calculation.h"
#include "model/Document.h"
#include "model/LoadTypes.h"

namespace loadcal {

/// Prints both record lists as aligned text tables (titles as in the grids)
/// followed by the six grand totals, for a terminal with a monospaced font in
/// which Chinese characters take two cells.
void PrintTables(std::ostream& out, const CLoadArray& loads, const CTransformerArray& transformers,
                 const SummaryTotals& totals);

/// Prints the load-type library as an aligned text table: one line per type
/// (Kx range, typical Kx, cos φ, tan φ, where it comes from, its source),
/// and below a tiered type one line per tier.
void PrintLoadTypes(std::ostream& out, const CLoadTypeLibrary& library);

/// The same for a whole document: a line naming the rule set when it is not
/// the original one, the two lists, the boards (when there are any) and the
/// totals; in a document with fire roles the transformers' and the boards'
/// fire case each follow their table. A document without boards, under
/// the original rules and without fire roles prints as PrintTables prints
/// its two lists.
void PrintDocumentTables(std::ostream& out, const CLoadCalDocument& doc,
                         const SummaryTotals& totals);

/// Terminal cells a text takes: two for East Asian wide characters, one otherwise.
size_t DisplayWidth(std::wstring_view text);

}  // namespace loadcal
