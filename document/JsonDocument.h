#pragma once

#include <string>
#include <string_view>

#include "model/Calculation.h"
#include "model/Document.h"

namespace loadcal {

/// The JSON form of a calculation document, for scripts and other tools:
///
///   { "loads": [ { "circuitNo", ..., "transformer" } ],
///     "transformers": [ { "name", ..., "actualCompCapacity" } ],
///     "totals": { "Pe", "P", "Q", "S", "cos", "I" } }
///
/// Every value is a JSON string holding a field's text exactly; keys follow
/// the record order. Output carries every key, and the six grand totals of
/// the records as they stand. On input "totals" is ignored, a missing record
/// key takes the record's construction default, and an unknown key, a
/// non-string value or a malformed document is a DocumentError naming the
/// source and the position or key.
/// With warnings, a "warnings" list of their texts follows the totals (the
/// reader skips it, as it skips the totals).
std::string DocumentToJson(const CLoadCalDocument& doc, const SummaryTotals& totals,
                           const std::vector<std::wstring>* warnings = nullptr);

/// Reads a document; `source` names it in error messages (usually the file).
/// The document is left as it was when the text is refused.
void DocumentFromJson(std::string_view json, const std::string& source, CLoadCalDocument& doc);

}  // namespace loadcal
