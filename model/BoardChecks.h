#pragma once

#include "model/Checks.h"
#include "model/Document.h"

namespace loadcal {

/// The warnings about a document's distribution boards, board by board in
/// list order (Subject::Board, the board's index, the field marked):
/// - a board without a name, or with "," in its name (nothing can name it);
/// - a name equal, without regard to case, to another board's or a
///   transformer's name (the owner lists naming it are ambiguous);
/// - a board without an owner (it counts under no transformer);
/// - an owner piece that names no board and no transformer;
/// - a board on a cycle of owners (it has no figures), with the cycle;
/// - a phase that is none of the four phase texts (the board counts in no
///   owner's sums);
/// - a single-phase board with members on another phase.
/// A document without boards has none. Nothing is recalculated.
CCheckWarnings CheckBoards(const CLoadCalDocument& doc);

}  // namespace loadcal
