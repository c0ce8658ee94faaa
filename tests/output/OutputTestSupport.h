#pragma once

// Documents, table titles and the independent readers (ezdxf, openpyxl
// through /usr/bin/python3) shared by the output tests.

#include <array>
#include <filesystem>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "model/Calculation.h"
#include "model/Records.h"
#include "output/OutputError.h"
#include "tests/support/TempFolder.h"

namespace loadcal::testoutput {

using testsupport::ReadBytes;
using testsupport::TempFolder;

/// The titles of both tables as designers read them, written out here on purpose.
extern const std::array<std::wstring, 13> kLoadTitles;
extern const std::array<std::wstring, 16> kTransformerTitles;

/// Circuit k with every field set to a distinct, recognisable text (Chinese
/// names, the owner "1#变压器").
CLoadCalData Circuit(int k);
/// Transformer m likewise; its spare calculated capacity is "SPARE-m" and must
/// never be shown.
CTransformerCalData Transformer(int m);

/// The 13 texts of circuit k and the 16 of transformer m in the order the
/// tables show them, written out member by member.
std::array<std::wstring, 13> CircuitRow(const CLoadCalData& c);
std::array<std::wstring, 16> TransformerRow(const CTransformerCalData& t);

/// A document of n circuits Circuit(0..n-1) and m transformers Transformer(0..m-1).
struct Document {
    CLoadArray loads;
    CTransformerArray transformers;
};
Document MakeDocument(int n, int m);

/// Totals with distinct texts, so that each total can be found in its cell.
SummaryTotals DistinctTotals();

/// Runs tests/output/read_outputs.py (kind "dxf" or "xlsx") on file and
/// returns its JSON. Fails the calling test (and returns null) when the reader
/// does not succeed.
nlohmann::json ReadBack(const std::string& kind, const std::filesystem::path& file);

/// The OutputError a call throws, or nothing when it throws none.
template <class Call>
std::optional<OutputError> ErrorOf(Call&& call)
{
    try {
        call();
    } catch (const OutputError& e) {
        return e;
    }
    return std::nullopt;
}

}  // namespace loadcal::testoutput
