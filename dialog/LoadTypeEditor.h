#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "dialog/GridHost.h"
#include "model/Columns.h"
#include "model/LoadTypes.h"

namespace loadcal {

/// One user type as the 负荷类型库 editor holds it: the texts of its
/// editable cells as typed, and the type read from the user library it
/// started from (its tiers, power-factor range and other data the grid does
/// not edit are kept from there).
struct CLoadTypeRow {
    /// The editor's columns; the editable ones first, so that a
    /// spreadsheet's block of names and figures pastes in one piece.
    enum Field {
        kName,
        kKxMin,
        kKx,
        kKxMax,
        kCos,
        kFireFighting,
        kScale,
        kSource,
        kTable,
        kNote,
        kOrigin,  ///< shown: 内置, 用户, 用户覆盖
        kTan,     ///< shown: tan φ of cos φ
        kTiers,   ///< shown: the tiers of a tiered type
        kFieldCount
    };
    static constexpr int kEditableCount = kOrigin;

    std::array<std::wstring, kFieldCount> texts;
    std::optional<CLoadType> original;

    bool IsTiered() const { return original && original->IsTiered(); }
    /// True when every editable text is empty.
    bool IsBlank() const;
    friend bool operator==(const CLoadTypeRow&, const CLoadTypeRow&) = default;
};

/// The columns of the 负荷类型库 editor's grid, in CLoadTypeRow field order.
inline constexpr auto kLoadTypeLibraryColumns = std::to_array<TableColumn>({
    {L"名称", CLoadTypeRow::kName},
    {L"Kx下限", CLoadTypeRow::kKxMin, ColumnKind::Number},
    {L"Kx", CLoadTypeRow::kKx, ColumnKind::Number},
    {L"Kx上限", CLoadTypeRow::kKxMax, ColumnKind::Number},
    {L"cos φ", CLoadTypeRow::kCos, ColumnKind::Number},
    {L"消防设备", CLoadTypeRow::kFireFighting, ColumnKind::Choice},
    {L"适用范围", CLoadTypeRow::kScale},
    {L"出处", CLoadTypeRow::kSource},
    {L"表、行", CLoadTypeRow::kTable},
    {L"备注", CLoadTypeRow::kNote},
    {L"来源", CLoadTypeRow::kOrigin, ColumnKind::Computed},
    {L"tan φ", CLoadTypeRow::kTan, ColumnKind::Computed},
    {L"分档（数量：Kx）", CLoadTypeRow::kTiers, ColumnKind::Computed},
});

/// The 负荷类型库 editor without its window: one grid of the user's types
/// (editable, an entry row below them), a grey separator row, and the
/// shipped types (read-only, with their sources). A user type named as a
/// shipped one overrides it. Edits follow the grids' habits: typing into the
/// entry row adds a type, clearing every editable cell of a row removes it,
/// Delete clears the selected cells, a spreadsheet's block pastes from the
/// focus cell, and every such command is one step of the editor's own undo
/// history. Problems (no name, a repeated name, Kx or cos φ not a number in
/// (0, 1], a lower bound above the typical Kx or that above the upper bound)
/// are marked on their cells as they are typed and refused by Accept, which
/// writes the user library only when there are none. Owns its grid and its
/// copy of the shipped library.
class CLoadTypeLibraryEditor : public IGridHost {
public:
    static constexpr GridId kGrid = GridId::LoadTypes;
    /// Background of the shipped rows and the separator.
    static constexpr COLORREF kShippedColour = RGB(232, 232, 232);
    static constexpr COLORREF kSeparatorColour = RGB(180, 180, 180);
    static constexpr COLORREF kComputedColour = RGB(255, 255, 128);
    static constexpr COLORREF kWarningColour = RGB(255, 205, 120);

    /// shipped: the library shipped with the program; user: the user
    /// library as read (its types in its order).
    CLoadTypeLibraryEditor(CLoadTypeLibrary shipped, const CLoadTypeLibrary& user);

    // IGridHost
    CGridCtrl& GetGrid(GridId grid) override;
    const CGridCtrl& Grid() const { return m_grid; }
    void OnEndEdit(GridId grid, int row, int col, const std::wstring& text) override;
    /// The fire-fighting cell of a user row or the entry row: "" or "是".
    std::optional<CCellChoices> CellChoices(GridId grid, int row, int col) const override;

    /// Delete: the selected editable cells are cleared (one step); a row
    /// whose editable cells all become empty goes.
    void ClearSelectedCells();
    /// A spreadsheet's tab-separated lines at the focus cell (a user row or
    /// the entry row): line k types row focus + k from the focus column
    /// rightwards, lines at and beyond the entry row become new types;
    /// shown-only columns and cells beyond the last column are left out. One
    /// step.
    void PasteText(const std::wstring& text);
    void Undo();
    void Redo();
    bool CanUndo() const { return !m_undo.empty(); }
    bool CanRedo() const { return !m_redo.empty(); }
    /// True when the rows differ from those the editor started with or last wrote.
    bool IsModified() const { return m_rows != m_savedRows; }

    /// The user rows as they stand.
    const std::vector<CLoadTypeRow>& Rows() const { return m_rows; }
    /// Grid rows: user row i is grid row i + 1; then the entry row, the
    /// separator, the shipped types.
    int EntryRow() const { return static_cast<int>(m_rows.size()) + 1; }
    int FirstShippedRow() const { return EntryRow() + 2; }

    /// The problems of the user rows, each naming its row and what is
    /// wrong, in row order; none when the rows make a library.
    std::vector<std::wstring> Problems() const;
    /// 确定: the user library the rows make is written to path (atomically;
    /// an unchanged editor writes nothing). Returns nothing when done, or
    /// the message that says why nothing was written: the problems of the
    /// rows, or the file that could not be written and why.
    std::optional<std::wstring> Accept(const std::wstring& path);
    /// The user library as last accepted (or as given at the start).
    const CLoadTypeLibrary& UserLibrary() const { return m_user; }
    /// The library the program works with: the shipped one with UserLibrary() laid over it.
    CLoadTypeLibrary MergedLibrary() const;

private:
    struct CBuilt {
        CLoadTypeLibrary user;
        std::vector<std::wstring> problems;
        /// Per user row, the fields with a problem and their texts.
        std::vector<std::vector<std::pair<int, std::wstring>>> marks;
    };
    CBuilt Build() const;
    /// Rebuilds the grid from the rows and the shipped library and marks the problems.
    void Fill();
    void FillRow(int row, const std::array<std::wstring, CLoadTypeRow::kFieldCount>& texts,
                 bool editable, const CLoadTypeRow* user);
    bool IsEditableCell(int row, int col) const;
    /// Sets one editable field of row index i (i == size: a new row) by
    /// the grid's rules; no step, no refill.
    void SetField(int i, int field, const std::wstring& text);
    /// Runs a command: the rows before it become an undo step when it changed them.
    template <class Command>
    void Run(Command command);

    CLoadTypeLibrary m_shipped;
    CLoadTypeLibrary m_user;
    std::vector<CLoadTypeRow> m_rows;
    std::vector<CLoadTypeRow> m_savedRows;
    std::vector<std::vector<CLoadTypeRow>> m_undo;
    std::vector<std::vector<CLoadTypeRow>> m_redo;
    CGridCtrl m_grid;
};

/// The texts a type shows in the editor's columns.
std::array<std::wstring, CLoadTypeRow::kFieldCount> LoadTypeTexts(const CLoadType& type);

}  // namespace loadcal
