#include "dialog/LoadTypeEditor.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>
#include <utility>

#include "dialog/LoadCalTexts.h"
#include "dialog/NumberText.h"
#include "dialog/TabText.h"
#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "document/LoadTypeFile.h"
#include "model/LoadTypeTexts.h"
#include "model/Numeric.h"
#include "model/Text.h"

namespace loadcal {
namespace {

using Texts = std::array<std::wstring, CLoadTypeRow::kFieldCount>;

constexpr int kColumnCount = static_cast<int>(kLoadTypeLibraryColumns.size());
constexpr unsigned kDataFormat = DT_CENTER | DT_VCENTER | DT_SINGLELINE;
constexpr unsigned kTitleFormat = DT_CENTER | DT_WORDBREAK;

/// Grid column c shows field c - 1.
int FieldOfColumn(int col)
{
    return kLoadTypeLibraryColumns[static_cast<size_t>(col - 1)].field;
}

const TableColumn& ColumnOfField(int field)
{
    return kLoadTypeLibraryColumns[static_cast<size_t>(field)];
}

std::wstring Title(int field)
{
    return std::wstring(ColumnOfField(field).title);
}

/// A type's tiers in one text: the scale, then each tier's label and Kx.
std::wstring TiersText(const CLoadType& type)
{
    if (!type.IsTiered()) {
        return {};
    }
    std::wstring text(QuantityName(type.quantity));
    text += L"：";
    for (size_t i = 0; i < type.tiers.size(); ++i) {
        text += i == 0 ? L"" : L"；";
        text += type.tiers[i].label + L" " + FormatG(type.tiers[i].kx);
    }
    return text;
}

std::wstring TanText(const std::wstring& cos)
{
    const std::optional<double> value = ReadTypedNumber(cos);
    if (!value || !(*value > 0) || *value > 1) {
        return {};
    }
    CLoadType type;
    type.cos = *value;
    const std::optional<double> tan = type.Tan();
    return tan ? FormatG(*tan) : std::wstring();
}

bool IsBlankText(const std::wstring& text)
{
    return Trim(text).empty();
}

}  // namespace

bool CLoadTypeRow::IsBlank() const
{
    for (int f = 0; f < kEditableCount; ++f) {
        if (!IsBlankText(texts[static_cast<size_t>(f)])) {
            return false;
        }
    }
    return true;
}

std::array<std::wstring, CLoadTypeRow::kFieldCount> LoadTypeTexts(const CLoadType& type)
{
    Texts t;
    t[CLoadTypeRow::kName] = type.name;
    t[CLoadTypeRow::kKxMin] = FormatG(type.kxMin);
    t[CLoadTypeRow::kKx] = type.IsTiered() ? std::wstring(texts::kByTier) : FormatG(type.kx);
    t[CLoadTypeRow::kKxMax] = FormatG(type.kxMax);
    t[CLoadTypeRow::kCos] = type.cos ? FormatG(*type.cos) : std::wstring();
    t[CLoadTypeRow::kFireFighting] =
        type.fireFighting ? std::wstring(texts::kFireFightingYes) : std::wstring();
    t[CLoadTypeRow::kScale] = type.scale;
    t[CLoadTypeRow::kSource] = type.source;
    t[CLoadTypeRow::kTable] = type.table;
    t[CLoadTypeRow::kNote] = type.note;
    t[CLoadTypeRow::kOrigin] = std::wstring(OriginName(type.origin));
    const std::optional<double> tan = type.Tan();
    t[CLoadTypeRow::kTan] = tan ? FormatG(*tan) : std::wstring();
    t[CLoadTypeRow::kTiers] = TiersText(type);
    return t;
}

CLoadTypeLibraryEditor::CLoadTypeLibraryEditor(CLoadTypeLibrary shipped,
                                               const CLoadTypeLibrary& user)
    : m_shipped(std::move(shipped)), m_user(user)
{
    for (const CLoadType& type : user.Types()) {
        CLoadTypeRow row;
        row.texts = LoadTypeTexts(type);
        row.original = type;
        m_rows.push_back(std::move(row));
    }
    m_savedRows = m_rows;

    m_grid.EnableSelection(true);
    m_grid.SetEditable(true);
    m_grid.SetColumnResize(true);
    m_grid.SetRowResize(true);
    m_grid.SetFixedBkColor(RGB(255, 255, 224));
    m_grid.SetRowCount(1);
    m_grid.SetFixedRowCount(1);
    m_grid.SetFixedColumnCount(1);
    m_grid.SetColumnCount(kColumnCount + 1);
    m_grid.SetColumnWidth(0, 10);
    for (int c = 1; c <= kColumnCount; ++c) {
        m_grid.SetItem(0, c,
                       std::wstring(kLoadTypeLibraryColumns[static_cast<size_t>(c - 1)].title), 0,
                       kTitleFormat);
    }
    Fill();
}

CGridCtrl& CLoadTypeLibraryEditor::GetGrid(GridId /*grid*/)
{
    return m_grid;
}

bool CLoadTypeLibraryEditor::IsEditableCell(int row, int col) const
{
    if (row < 1 || row > EntryRow() || col < 1 || col > kColumnCount) {
        return false;
    }
    const int field = FieldOfColumn(col);
    if (field >= CLoadTypeRow::kEditableCount) {
        return false;
    }
    // A tiered type's Kx comes from its tiers.
    const bool kxField = field == CLoadTypeRow::kKxMin || field == CLoadTypeRow::kKx ||
                         field == CLoadTypeRow::kKxMax;
    return !(kxField && row < EntryRow() && m_rows[static_cast<size_t>(row - 1)].IsTiered());
}

std::optional<CCellChoices> CLoadTypeLibraryEditor::CellChoices(GridId /*grid*/, int row,
                                                                int col) const
{
    if (!IsEditableCell(row, col) || FieldOfColumn(col) != CLoadTypeRow::kFireFighting) {
        return std::nullopt;
    }
    return CCellChoices{{L"", std::wstring(texts::kFireFightingYes)}, false};
}

void CLoadTypeLibraryEditor::FillRow(int row, const Texts& values, bool editable,
                                     const CLoadTypeRow* user)
{
    for (int c = 1; c <= kColumnCount; ++c) {
        const TableColumn& column = kLoadTypeLibraryColumns[static_cast<size_t>(c - 1)];
        const bool cellEditable = editable && IsEditableCell(row, c);
        m_grid.SetItem(row, c, values[static_cast<size_t>(column.field)],
                       cellEditable ? 0 : GVIS_READONLY, kDataFormat);
        COLORREF colour = CLR_DEFAULT;
        if (!editable) {
            colour = kShippedColour;
        } else if (column.kind == ColumnKind::Computed || (user != nullptr && !cellEditable)) {
            colour = kComputedColour;
        }
        m_grid.SetItemBkColour(row, c, colour);
        m_grid.SetItemWarning(row, c, L"", CLR_DEFAULT);
    }
}

void CLoadTypeLibraryEditor::Fill()
{
    const CBuilt built = Build();
    CGridCtrl::Batch batch(m_grid);
    const int users = static_cast<int>(m_rows.size());
    const int shipped = static_cast<int>(m_shipped.Types().size());
    // Rows come and go at the end only: an open editor and the current
    // cell keep their places, so Tab after a new type's name goes on in
    // its row.
    m_grid.SetRowCount(users + 3 + shipped);

    // The user rows with what they are and make.
    for (int i = 0; i < users; ++i) {
        const CLoadTypeRow& row = m_rows[static_cast<size_t>(i)];
        Texts values = row.texts;
        const bool overrides = m_shipped.Find(row.texts[CLoadTypeRow::kName]) != nullptr;
        values[CLoadTypeRow::kOrigin] = std::wstring(
            OriginName(overrides ? LoadTypeOrigin::UserOverride : LoadTypeOrigin::UserAdded));
        values[CLoadTypeRow::kTan] = TanText(row.texts[CLoadTypeRow::kCos]);
        values[CLoadTypeRow::kTiers] = row.IsTiered() ? TiersText(*row.original) : L"";
        FillRow(i + 1, values, true, &row);
        for (const auto& [field, text] : built.marks[static_cast<size_t>(i)]) {
            const int col = field + 1;
            const std::wstring joined = m_grid.GetCell(i + 1, col)->warning.empty()
                                            ? text
                                            : m_grid.GetCell(i + 1, col)->warning + L"\n" + text;
            m_grid.SetItemWarning(i + 1, col, joined, kWarningColour);
        }
    }
    FillRow(EntryRow(), Texts{}, true, nullptr);
    for (int c = 1; c <= kColumnCount; ++c) {
        m_grid.SetItem(EntryRow() + 1, c, L"", GVIS_READONLY, kDataFormat);
        m_grid.SetItemBkColour(EntryRow() + 1, c, kSeparatorColour);
        m_grid.SetItemWarning(EntryRow() + 1, c, L"", CLR_DEFAULT);
    }

    // The shipped types; one a user type overrides says so.
    for (int i = 0; i < shipped; ++i) {
        const CLoadType& type = m_shipped.Types()[static_cast<size_t>(i)];
        Texts values = LoadTypeTexts(type);
        const bool overridden = std::ranges::any_of(m_rows, [&type](const CLoadTypeRow& row) {
            return LoadTypeKey(row.texts[CLoadTypeRow::kName]) == LoadTypeKey(type.name);
        });
        if (overridden) {
            values[CLoadTypeRow::kOrigin] = std::wstring(texts::kOriginOverridden);
        }
        values[CLoadTypeRow::kSource] = type.Citation();
        FillRow(FirstShippedRow() + i, values, false, nullptr);
    }
    m_grid.Invalidate();
}

// ---- Building the library ----

CLoadTypeLibraryEditor::CBuilt CLoadTypeLibraryEditor::Build() const
{
    CBuilt built;
    built.marks.resize(m_rows.size());
    std::map<std::wstring, size_t> firstOfName;
    std::vector<CLoadType> types;
    for (size_t i = 0; i < m_rows.size(); ++i) {
        const CLoadTypeRow& row = m_rows[i];
        const std::wstring place = std::to_wstring(i + 1);
        const auto problem = [&](int field, const std::wstring& what) {
            built.problems.push_back(texts::FormatText(texts::kRowFormat, place, what));
            built.marks[i].emplace_back(field, what);
        };
        const auto text = [&row](int field) {
            return Trim(row.texts[static_cast<size_t>(field)]);
        };

        CLoadType type = row.original.value_or(CLoadType());
        type.origin = LoadTypeOrigin::UserAdded;
        type.name = text(CLoadTypeRow::kName);
        bool sound = true;
        if (type.name.empty()) {
            problem(CLoadTypeRow::kName, std::wstring(texts::kRowNoName));
            sound = false;
        } else if (const auto [it, fresh] = firstOfName.emplace(LoadTypeKey(type.name), i);
                   !fresh) {
            problem(CLoadTypeRow::kName, texts::FormatText(texts::kRowDuplicateFormat, type.name,
                                                           std::to_wstring(it->second + 1)));
            sound = false;
        }

        // A figure: empty, or a number in (0, 1].
        const auto figure = [&](int field) -> std::optional<double> {
            const std::wstring t = text(field);
            if (t.empty()) {
                return std::nullopt;
            }
            const std::optional<double> value = ReadTypedNumber(t);
            if (!value) {
                problem(field, texts::FormatText(texts::kRowNotANumberFormat, Title(field), t));
                sound = false;
                return std::nullopt;
            }
            if (!(*value > 0) || *value > 1) {
                problem(field, texts::FormatText(texts::kRowOutsideFormat, Title(field), t));
                sound = false;
                return std::nullopt;
            }
            return value;
        };
        const auto above = [&](int field, double value, int otherField, double other) {
            problem(field,
                    texts::FormatText(texts::kRowAboveFormat, Title(field) + L" " + FormatG(value),
                                      Title(otherField) + L" " + FormatG(other)));
            sound = false;
        };

        if (!row.IsTiered()) {
            const std::optional<double> low = figure(CLoadTypeRow::kKxMin);
            const std::optional<double> typical = figure(CLoadTypeRow::kKx);
            const std::optional<double> high = figure(CLoadTypeRow::kKxMax);
            if (text(CLoadTypeRow::kKx).empty()) {
                problem(CLoadTypeRow::kKx, std::wstring(texts::kRowNoKx));
                sound = false;
            } else if (typical) {
                type.kx = *typical;
                type.kxMin = low.value_or(*typical);
                type.kxMax = high.value_or(*typical);
                if (type.kxMin > type.kx) {
                    above(CLoadTypeRow::kKxMin, type.kxMin, CLoadTypeRow::kKx, type.kx);
                }
                if (type.kx > type.kxMax) {
                    above(CLoadTypeRow::kKx, type.kx, CLoadTypeRow::kKxMax, type.kxMax);
                }
            }
        }
        const std::optional<double> cos = figure(CLoadTypeRow::kCos);
        if (text(CLoadTypeRow::kCos).empty()) {
            type.cos.reset();
            type.cosMin = type.cosMax = 0;
        } else if (cos && !(row.original && row.original->cos == cos)) {
            type.cos = *cos;
            type.cosMin = type.cosMax = *cos;
        }
        type.fireFighting = !text(CLoadTypeRow::kFireFighting).empty();
        type.scale = text(CLoadTypeRow::kScale);
        type.source = text(CLoadTypeRow::kSource);
        type.table = text(CLoadTypeRow::kTable);
        type.note = text(CLoadTypeRow::kNote);
        if (sound) {
            types.push_back(std::move(type));
        }
    }
    if (built.problems.empty()) {
        built.user = CLoadTypeLibrary(std::move(types));
    }
    return built;
}

std::vector<std::wstring> CLoadTypeLibraryEditor::Problems() const
{
    return Build().problems;
}

std::optional<std::wstring> CLoadTypeLibraryEditor::Accept(const std::wstring& path)
{
    if (!IsModified()) {
        return std::nullopt;
    }
    const CBuilt built = Build();
    if (!built.problems.empty()) {
        std::wstring list;
        const size_t shown = std::min(built.problems.size(), texts::kMostProblemsShown);
        for (size_t i = 0; i < shown; ++i) {
            list += (i == 0 ? L"" : L"\n") + built.problems[i];
        }
        if (built.problems.size() > shown) {
            list += L"\n" + texts::FormatText(texts::kMoreProblemsFormat,
                                              std::to_wstring(built.problems.size() - shown));
        }
        return texts::FormatText(texts::kLoadTypeProblemsFormat, list);
    }
    try {
        // What is written must read back: the reader's own rules have the
        // last word before the file is touched.
        LoadTypesFromJson(LoadTypesToJson(built.user), ToUtf8(path), LoadTypeOrigin::UserAdded);
        // The settings folder is made on first use.
        std::error_code ec;
        std::filesystem::create_directories(ToFsPath(path).parent_path(), ec);
        WriteUserLoadTypes(path, built.user);
    } catch (const DocumentError& e) {
        return texts::FormatText(texts::kLoadTypeWriteFailedFormat, path,
                                 texts::CauseOf(e.what(), path));
    }
    m_user = built.user;
    m_savedRows = m_rows;
    return std::nullopt;
}

CLoadTypeLibrary CLoadTypeLibraryEditor::MergedLibrary() const
{
    return CLoadTypeLibrary::Merge(m_shipped, m_user);
}

// ---- Editing ----

template <class Command>
void CLoadTypeLibraryEditor::Run(Command command)
{
    std::vector<CLoadTypeRow> before = m_rows;
    command();
    if (m_rows != before) {
        m_undo.push_back(std::move(before));
        m_redo.clear();
    }
    Fill();
}

void CLoadTypeLibraryEditor::SetField(int i, int field, const std::wstring& typed)
{
    const size_t index = static_cast<size_t>(i);
    if (i < 0 || index > m_rows.size() || field < 0 || field >= CLoadTypeRow::kEditableCount) {
        return;
    }
    std::wstring text =
        Trim(ColumnOfField(field).kind == ColumnKind::Number ? NormaliseNumberText(typed) : typed);
    if (field == CLoadTypeRow::kFireFighting && !text.empty() && text != texts::kFireFightingYes) {
        return;  // the list's texts only
    }
    if (index == m_rows.size()) {
        if (text.empty()) {
            return;
        }
        m_rows.emplace_back();
    }
    m_rows[index].texts[static_cast<size_t>(field)] = std::move(text);
    if (m_rows[index].IsBlank()) {
        m_rows.erase(m_rows.begin() + i);
    }
}

void CLoadTypeLibraryEditor::OnEndEdit(GridId /*grid*/, int row, int col, const std::wstring& text)
{
    if (!IsEditableCell(row, col)) {
        return;
    }
    Run([&] { SetField(row - 1, FieldOfColumn(col), text); });
}

void CLoadTypeLibraryEditor::ClearSelectedCells()
{
    const CCellRange bounds = m_grid.GetSelectedRange();
    if (!bounds.IsValid()) {
        return;
    }
    Run([&] {
        // From the bottom up, so that a row that goes moves none still to be cleared.
        for (int r = std::min(bounds.maxRow, EntryRow() - 1); r >= std::max(1, bounds.minRow);
             --r) {
            for (int c = std::max(1, bounds.minCol); c <= std::min(bounds.maxCol, kColumnCount);
                 ++c) {
                if (m_grid.IsCellSelected(r, c) && IsEditableCell(r, c) &&
                    static_cast<size_t>(r - 1) < m_rows.size()) {
                    SetField(r - 1, FieldOfColumn(c), L"");
                }
            }
        }
    });
}

void CLoadTypeLibraryEditor::PasteText(const std::wstring& text)
{
    const CCellID focus = m_grid.GetFocusCell();
    if (focus.row < 1 || focus.row > EntryRow() || focus.col < 1 || focus.col > kColumnCount) {
        return;
    }
    const CTabRows lines = ParseTabText(text);
    Run([&] {
        int row = focus.row;
        for (const std::vector<std::wstring>& line : lines) {
            const bool fresh = row >= EntryRow();
            if (fresh && std::ranges::all_of(line, IsBlankText)) {
                continue;  // no new type from an empty line
            }
            const size_t before = m_rows.size();
            for (size_t j = 0; j < line.size(); ++j) {
                const int c = focus.col + static_cast<int>(j);
                // A new type's row is the one its first cell made.
                const int target = fresh ? static_cast<int>(before) + 1 : row;
                if (c > kColumnCount || IsBlankText(line[j]) || !IsEditableCell(target, c)) {
                    continue;
                }
                std::wstring cell = line[j];
                std::ranges::replace_if(
                    cell, [](wchar_t ch) { return ch == L'\r' || ch == L'\n' || ch == L'\t'; },
                    L' ');
                SetField(target - 1, FieldOfColumn(c), cell);
            }
            if (!fresh || m_rows.size() > before) {
                ++row;
            }
        }
    });
}

void CLoadTypeLibraryEditor::Undo()
{
    if (m_undo.empty()) {
        return;
    }
    m_redo.push_back(std::exchange(m_rows, std::move(m_undo.back())));
    m_undo.pop_back();
    Fill();
}

void CLoadTypeLibraryEditor::Redo()
{
    if (m_redo.empty()) {
        return;
    }
    m_undo.push_back(std::exchange(m_rows, std::move(m_redo.back())));
    m_redo.pop_back();
    Fill();
}

}  // namespace loadcal
