#pragma once

#include <filesystem>
#include <memory>
#include <string_view>

#include "document/AtomicFile.h"

namespace loadcal {

/// Placing a finished output file: whole or not at all, and never over an
/// existing file unless the caller allowed it. Every failure throws
/// OutputError naming the target; the previous file (if any) stays as it was
/// and no temporary file is left behind.

/// Throws OutputError (FileExists) when target exists and replace is false.
/// Called before any work so that the user learns it before, not after.
void RequireTarget(const std::filesystem::path& target, bool replace);

/// Opens the atomic file of target (OutputError when its folder cannot take it).
std::unique_ptr<CAtomicFile> OpenOutputFile(const std::filesystem::path& target);

/// Moves the finished temporary file of file over its target (replace) or to
/// its target only when no file of that name exists (no replace; checked
/// atomically at the moment of the move, not only beforehand).
void CommitOutputFile(CAtomicFile& file, bool replace);

/// Writes bytes to the atomic file of target and commits it
/// as CommitOutputFile does.
void WriteOutputFile(const std::filesystem::path& target, std::string_view bytes, bool replace);

}  // namespace loadcal
