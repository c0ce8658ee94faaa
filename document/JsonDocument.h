#pragma once

#include <string>
#include <string_view>

#include "model/Calculation.h"
#include "model/Document.h"

namespace loadcal {

/// The JSON form of a calculation document, for scripts and other tools:
///
///   { "rules": "GB51348-2019",
///     "loads": [ { "circuitNo", ..., "transformer" } ],
///     "transformers": [ { "name", ..., "actualCompCapacity" } ],
///     "boards": [ { "name", "owner", "phase", "kp", "kq", "ratedPower",
///                   "calcP", "calcQ", "calcS", "calcI", "cos" } ],
///     "totals": { "Pe", "P", "Q", "S", "cos", "I" } }
///
/// Every value is a JSON string holding a field's text exactly; keys follow
/// the record order. Output carries every record key, and the six grand
/// totals given; "rules" only when the rule set is not the original one and
/// "boards" only when there are boards, so that a document without them is
/// written as it always was. On input "totals" is ignored, a missing record
/// key takes the record's construction default, a missing "rules" is the
/// original rules, and an unknown key, a non-string value, a rule-set name
/// the program does not know or a malformed document is a DocumentError
/// naming the source and the position or key.
std::string DocumentToJson(const CLoadCalDocument& doc, const SummaryTotals& totals);

/// Reads a document; `source` names it in error messages (usually the file).
/// The document is left as it was when the text is refused.
void DocumentFromJson(std::string_view json, const std::string& source, CLoadCalDocument& doc);

}  // namespace loadcal
