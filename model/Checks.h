#pragma once

#include <string>
#include <vector>

namespace loadcal {

/// One problem found in a document: what it is about, where the window marks
/// it, and the text that names it for the user, the command line's
/// "warnings" and the calculation book's checks. A warning never changes a
/// figure: the arithmetic stays as it is, the warning only says that a
/// figure should not be trusted as it stands.
struct CCheckWarning {
    /// The kind of record the warning is about.
    enum class Subject { Circuit, Transformer, Board, Document };

    Subject subject = Subject::Document;
    int index = -1;  ///< the record's index in its list; -1 for the document as a whole
    int field = -1;  ///< the record field (its Field enum) marked; -1: the record as a whole
    std::wstring
        text;  ///< names the circuit number or the transformer or board name, and the problem

    friend bool operator==(const CCheckWarning&, const CCheckWarning&) = default;
};

using CCheckWarnings = std::vector<CCheckWarning>;

}  // namespace loadcal
