#pragma once

// Documents, temporary folders and the independent readers (ezdxf, openpyxl
// through /usr/bin/python3) shared by the output tests.

#include <array>
#include <filesystem>
#include <string>

#include <nlohmann/json.hpp>

#include "model/Calculation.h"
#include "model/Records.h"

namespace loadcal::testoutput {

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

/// n circuits and m transformers.
void MakeDocument(int n, int m, CLoadArray& loads, CTransformerArray& transformers);

/// Totals with distinct texts, so that each total can be found in its cell.
SummaryTotals DistinctTotals();

/// A fresh folder under the system's temporary folder, removed with everything
/// in it on destruction.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }
    /// Names of the entries in the folder, sorted.
    std::vector<std::string> Entries() const;

private:
    std::filesystem::path m_path;
};

/// Runs tests/output/read_outputs.py (kind "dxf" or "xlsx") on file and
/// returns its JSON. Fails the calling test (and returns null) when the reader
/// does not succeed.
nlohmann::json ReadBack(const std::string& kind, const std::filesystem::path& file);

std::string Utf8(const std::wstring& text);
std::string ReadFile(const std::filesystem::path& file);

}  // namespace loadcal::testoutput
