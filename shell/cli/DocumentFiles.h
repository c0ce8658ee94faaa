#pragma once

#include <string>

#include "model/Document.h"

namespace loadcal {

/// The two file forms of a document, chosen by the file's extension without
/// regard to case: ".LDC" archives and ".json".
enum class DocumentKind { Archive, Json };

/// The kind of a path, or UsageError naming the path when the extension is neither.
DocumentKind DocumentKindOf(const std::string& path);

/// Reads a document in either form. DocumentError names the file and the problem.
void ReadDocument(const std::string& path, CLoadCalDocument& doc);

/// Writes a document in either form, atomically: on any error no partial file
/// is left and an existing file is unchanged. JSON carries the six totals of
/// the records as they stand.
void WriteDocument(const std::string& path, const CLoadCalDocument& doc);

}  // namespace loadcal
