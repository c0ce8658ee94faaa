#include "dialog/TabText.h"

namespace loadcal {

CTabRows ParseTabText(std::wstring_view text)
{
    CTabRows rows;
    std::vector<std::wstring> row;
    std::wstring cell;
    bool lineOpen = false;
    size_t i = 0;
    const size_t n = text.size();
    auto endCell = [&] {
        row.push_back(std::move(cell));
        cell.clear();
    };
    auto endLine = [&] {
        endCell();
        rows.push_back(std::move(row));
        row.clear();
        lineOpen = false;
    };
    while (i < n) {
        lineOpen = true;
        if (cell.empty() && text[i] == L'"') {
            // A quoted cell: up to the quote that is not doubled.
            ++i;
            while (i < n) {
                if (text[i] == L'"') {
                    if (i + 1 < n && text[i + 1] == L'"') {
                        cell += L'"';
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                cell += text[i++];
            }
            continue;
        }
        const wchar_t c = text[i++];
        if (c == L'\t') {
            endCell();
        } else if (c == L'\n' || c == L'\r') {
            if (c == L'\r' && i < n && text[i] == L'\n') {
                ++i;
            }
            endLine();
        } else {
            cell += c;
        }
    }
    if (lineOpen) {
        endLine();
    }
    return rows;
}

std::wstring FormatTabText(const CTabRows& rows)
{
    std::wstring text;
    for (const std::vector<std::wstring>& row : rows) {
        for (size_t c = 0; c < row.size(); ++c) {
            if (c > 0) {
                text += L'\t';
            }
            const std::wstring& cell = row[c];
            if (cell.find_first_of(L"\t\r\n\"") == std::wstring::npos) {
                text += cell;
                continue;
            }
            text += L'"';
            for (wchar_t ch : cell) {
                if (ch == L'"') {
                    text += L'"';
                }
                text += ch;
            }
            text += L'"';
        }
        text += L"\r\n";
    }
    return text;
}

}  // namespace loadcal
