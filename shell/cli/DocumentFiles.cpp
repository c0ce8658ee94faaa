#include "shell/cli/DocumentFiles.h"

#include <limits>

#include "document/Archive.h"
#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "document/JsonDocument.h"
#include "model/Calculation.h"
#include "model/Text.h"
#include "shell/cli/CliError.h"

namespace loadcal {
namespace {

bool EndsWithNoCase(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() &&
           EqualsNoCase(FromUtf8(text.substr(text.size() - suffix.size())), FromUtf8(suffix));
}

std::string ReadWholeFile(const std::string& path)
{
    std::string bytes;
    const int error = ReadFileBytes(path, std::numeric_limits<uint64_t>::max(), bytes);
    if (error != 0) {
        throw DocumentError("cannot read \"" + path + "\": " + FileErrorText(error));
    }
    return bytes;
}

}  // namespace

DocumentKind DocumentKindOf(const std::string& path)
{
    if (EndsWithNoCase(path, ".ldc")) {
        return DocumentKind::Archive;
    }
    if (EndsWithNoCase(path, ".json")) {
        return DocumentKind::Json;
    }
    throw UsageError(path + ": unknown document type (use a .LDC archive or a .json file)");
}

void ReadDocument(const std::string& path, CLoadCalDocument& doc)
{
    if (DocumentKindOf(path) == DocumentKind::Archive) {
        LoadArchiveFile(FromUtf8(path), doc);
    } else {
        DocumentFromJson(ReadWholeFile(path), path, doc);
    }
}

void WriteDocument(const std::string& path, const CLoadCalDocument& doc)
{
    if (DocumentKindOf(path) == DocumentKind::Archive) {
        SaveArchiveFile(FromUtf8(path), doc);
    } else {
        WriteFileAtomically(path, DocumentToJson(doc, ComputeTotals(doc)));
    }
}

}  // namespace loadcal
