#pragma once

#include <string>
#include <string_view>

#include "model/Calculation.h"
#include "model/Document.h"

namespace loadcal {

/// The JSON form of a calculation document, for scripts and other tools:
///
///   { "rules": "GB51348-2019",
///     "project": { "name", "number", "stage", "client", "institute",
///                  "subproject", "revision", "date", "designer", "checker",
///                  "reviewer", "approver" },
///     "loads": [ { "circuitNo", ..., "transformer" } ],
///     "transformers": [ { "name", ..., "actualCompCapacity",
///                         "fire": { "calcP", "calcQ", "calcS", "calcI",
///                                   "cosBefore", "compCapacity",
///                                   "loadRate", "governs" } } ],
///     "boards": [ { "name", "owner", "phase", "kp", "kq", "ratedPower",
///                   "calcP", "calcQ", "calcS", "calcI", "cos",
///                   "fire": { "ratedPower", "calcP", "calcQ", "calcS",
///                             "calcI", "cos", "governs" } } ],
///     "totals": { "Pe", "P", "Q", "S", "cos", "I" } }
///
/// Every value is a JSON string holding a field's text exactly; keys follow
/// the record order. A circuit's fields beyond the original thirteen
/// ("loadType", "quantity", "loadClass", "fire") follow them and are written
/// only when not empty; "rules" only when the rule set is not the original
/// one, "boards" only when there are boards, and "project" only when some
/// field of the project information holds text (all twelve keys then), each
/// transformer's and board's "fire" object (the fire case's figures, all its
/// keys) only when some circuit has a fire role ("消防" or "火灾时切除"); every
/// other key is always written, with the six grand totals given, so a
/// document using none of these gives the JSON it always gave. On input
/// "totals" is ignored, a missing "rules" is the original rules, a missing
/// "project" or project key is empty text, a missing record key takes the
/// record's construction default (except that a circuit naming a load type
/// without "demandFactor" or "powerFactor" has them empty, for the type to
/// fill), and an unknown key, a non-string value, a rule-set name the
/// program does not know or a malformed document is a DocumentError naming
/// the source and the position or key.
/// With warnings, a "warnings" list of their texts follows the totals (the
/// reader skips it, as it skips the totals).
std::string DocumentToJson(const CLoadCalDocument& doc, const SummaryTotals& totals,
                           const std::vector<std::wstring>* warnings = nullptr);

/// Reads a document; `source` names it in error messages (usually the file).
/// The document is left as it was when the text is refused.
void DocumentFromJson(std::string_view json, const std::string& source, CLoadCalDocument& doc);

}  // namespace loadcal
