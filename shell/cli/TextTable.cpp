#include "shell/cli/TextTable.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <string>
#include <vector>

#include "model/Columns.h"
#include "model/LoadTypeTexts.h"
#include "model/Numeric.h"
#include "model/Text.h"

namespace loadcal {
namespace {

bool IsWide(char32_t c)
{
    return (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0x303E) ||
           (c >= 0x3041 && c <= 0x33FF) || (c >= 0x3400 && c <= 0x4DBF) ||
           (c >= 0x4E00 && c <= 0x9FFF) || (c >= 0xA000 && c <= 0xA4CF) ||
           (c >= 0xAC00 && c <= 0xD7A3) || (c >= 0xF900 && c <= 0xFAFF) ||
           (c >= 0xFE30 && c <= 0xFE4F) || (c >= 0xFF00 && c <= 0xFF60) ||
           (c >= 0xFFE0 && c <= 0xFFE6) || (c >= 0x1F300 && c <= 0x1F64F) ||
           (c >= 0x20000 && c <= 0x3FFFD);
}

template <class Record, size_t N>
void PrintTable(std::ostream& out, const char* caption, const std::array<TableColumn, N>& columns,
                const CArray<Record>& records)
{
    std::vector<size_t> width(N);
    for (size_t c = 0; c < N; ++c) {
        width[c] = DisplayWidth(columns[c].title);
        for (const auto& r : records) {
            width[c] = std::max(width[c], DisplayWidth(r.AnyFieldAt(columns[c].field)));
        }
    }
    auto row = [&](auto cellText) {
        std::wstring line;
        for (size_t c = 0; c < N; ++c) {
            const std::wstring text(cellText(c));
            line += text;
            if (c + 1 < N) {
                line.append(width[c] - DisplayWidth(text) + 2, L' ');
            }
        }
        out << ToUtf8(line) << '\n';
    };
    out << caption << " (" << records.GetSize() << ")\n";
    row([&](size_t c) { return columns[c].title; });
    for (const auto& r : records) {
        row([&](size_t c) { return std::wstring_view(r.AnyFieldAt(columns[c].field)); });
    }
}

/// Prints rows of cells aligned in columns, two blanks apart.
void PrintAligned(std::ostream& out, const std::vector<std::vector<std::wstring>>& rows)
{
    std::vector<size_t> width;
    for (const auto& row : rows) {
        width.resize(std::max(width.size(), row.size()));
        for (size_t c = 0; c < row.size(); ++c) {
            width[c] = std::max(width[c], DisplayWidth(row[c]));
        }
    }
    for (const auto& row : rows) {
        std::wstring line;
        for (size_t c = 0; c < row.size(); ++c) {
            line += row[c];
            if (c + 1 < row.size()) {
                line.append(width[c] - DisplayWidth(row[c]) + 2, L' ');
            }
        }
        out << ToUtf8(line) << '\n';
    }
}

std::wstring Range(double low, double high)
{
    return low == high ? FormatG(low) : FormatG(low) + L"–" + FormatG(high);
}

/// tan φ as the tables print it: two decimals.
std::wstring TwoDecimals(double value)
{
    wchar_t text[32];
    std::swprintf(text, std::size(text), L"%.2f", value);
    return text;
}

/// The line of the six grand totals.
void PrintTotals(std::ostream& out, const SummaryTotals& totals)
{
    out << "总计: 额定容量 " << ToUtf8(totals.installed) << " kW, 计算有功 "
        << ToUtf8(totals.active) << " kW, 计算无功 " << ToUtf8(totals.reactive)
        << " kVar, 视在功率 " << ToUtf8(totals.apparent) << " kVA, 功率因数 "
        << ToUtf8(totals.powerFactor) << ", 计算电流 " << ToUtf8(totals.current) << " A\n";
}

}  // namespace

size_t DisplayWidth(std::wstring_view text)
{
    size_t w = 0;
    for (wchar_t c : text) {
        w += IsWide(static_cast<char32_t>(c)) ? 2 : 1;
    }
    return w;
}

void PrintLoadTypes(std::ostream& out, const CLoadTypeLibrary& library)
{
    std::vector<std::vector<std::wstring>> rows;
    rows.push_back(
        {L"负荷类型", L"按", L"需要系数", L"典型值", L"cos φ", L"tan φ", L"来源", L"出处"});
    for (const CLoadType& type : library.Types()) {
        const auto tan = type.Tan();
        rows.push_back({type.name, std::wstring(QuantityName(type.quantity)),
                        Range(type.kxMin, type.kxMax),
                        type.IsTiered() ? std::wstring(texts::kByTier) : FormatG(type.kx),
                        type.cos ? FormatG(*type.cos) : L"—", tan ? TwoDecimals(*tan) : L"—",
                        std::wstring(OriginName(type.origin)), type.Citation()});
        for (const CLoadTypeTier& tier : type.tiers) {
            rows.push_back(
                {L"", L"  " + tier.label, Range(tier.kxMin, tier.kxMax), FormatG(tier.kx)});
        }
    }
    out << "负荷类型库 (" << library.Types().size() << ")\n";
    PrintAligned(out, rows);
}

void PrintTables(std::ostream& out, const CLoadArray& loads, const CTransformerArray& transformers,
                 const SummaryTotals& totals)
{
    PrintTable(out, "负荷回路", kLoadColumns, loads);
    out << '\n';
    PrintTable(out, "变压器", kTransformerColumns, transformers);
    out << '\n';
    PrintTotals(out, totals);
}

void PrintDocumentTables(std::ostream& out, const CLoadCalDocument& doc,
                         const SummaryTotals& totals)
{
    if (doc.rules != CalcRules::Original) {
        out << "计算规则: " << ToUtf8(RulesName(doc.rules)) << "\n\n";
    }
    PrintTable(out, "负荷回路", kLoadColumns, doc.loads);
    out << '\n';
    PrintTable(out, "变压器", kTransformerColumns, doc.transformers);
    out << '\n';
    const bool fire = HasFireRoles(doc);
    if (fire) {
        PrintTable(out, "变压器 火灾工况", kTransformerFireColumns, doc.transformers);
        out << '\n';
    }
    if (!doc.boards.IsEmpty()) {
        PrintTable(out, "配电箱", kBoardColumns, doc.boards);
        out << '\n';
        if (fire) {
            PrintTable(out, "配电箱 火灾工况", kBoardFireColumns, doc.boards);
            out << '\n';
        }
    }
    PrintTotals(out, totals);
}

}  // namespace loadcal
