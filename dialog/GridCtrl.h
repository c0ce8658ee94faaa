#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace loadcal {

/// A colour as the grid keeps it: 0x00BBGGRR, the layout of a Windows COLORREF.
using COLORREF = std::uint32_t;

constexpr COLORREF RGB(unsigned r, unsigned g, unsigned b)
{
    return (r & 0xFFu) | ((g & 0xFFu) << 8) | ((b & 0xFFu) << 16);
}
constexpr unsigned GetRValue(COLORREF c)
{
    return c & 0xFFu;
}
constexpr unsigned GetGValue(COLORREF c)
{
    return (c >> 8) & 0xFFu;
}
constexpr unsigned GetBValue(COLORREF c)
{
    return (c >> 16) & 0xFFu;
}

/// "Use the grid's own colour": a cell colour that was never set or was reset.
constexpr COLORREF CLR_DEFAULT = 0xFF000000u;

/// Cell states (combinable bits). Selection and focus are kept by the grid
/// itself, not in the state.
constexpr unsigned GVIS_READONLY = 0x0008;
constexpr unsigned GVIS_FIXED = 0x0010;
constexpr unsigned GVIS_MODIFIED = 0x0080;

/// Cell text formats (combinable bits, the values of the Windows DT_ flags).
constexpr unsigned DT_LEFT = 0x0000;
constexpr unsigned DT_CENTER = 0x0001;
constexpr unsigned DT_RIGHT = 0x0002;
constexpr unsigned DT_VCENTER = 0x0004;
constexpr unsigned DT_WORDBREAK = 0x0010;
constexpr unsigned DT_SINGLELINE = 0x0020;

/// Combo styles of a combo cell (the values of the Windows CBS_ styles).
constexpr unsigned CBS_DROPDOWN = 0x0002;
constexpr unsigned CBS_DROPDOWNLIST = 0x0003;

/// A cell address; -1 in either part is "no cell".
struct CCellID {
    int row = -1;
    int col = -1;
    bool IsValid() const { return row >= 0 && col >= 0; }
    friend auto operator<=>(const CCellID&, const CCellID&) = default;
};

/// An inclusive rectangle of cells; invalid while any bound is -1.
struct CCellRange {
    int minRow = -1;
    int minCol = -1;
    int maxRow = -1;
    int maxCol = -1;
    bool IsValid() const
    {
        return minRow >= 0 && minCol >= 0 && maxRow >= minRow && maxCol >= minCol;
    }
    bool InRange(int row, int col) const
    {
        return IsValid() && row >= minRow && row <= maxRow && col >= minCol && col <= maxCol;
    }
    friend bool operator==(const CCellRange&, const CCellRange&) = default;
};

/// Button data shared by the combo cells of one dialog: the width, in pixels,
/// of the drop-down button a view draws at the right edge of such a cell.
struct CBtnDataBase {
    int m_nButtonWidth = 16;
};

/// What kind of editor a cell opens.
enum class CellKind {
    Text,   ///< in-place text editing
    Combo,  ///< a combo box over the cell's options (CGridBtnCellCombo)
};

/// One cell: its text, state, format, colours and, for a combo cell, its
/// options. A plain value owned by its grid.
struct CGridCell {
    std::wstring text;
    unsigned state = 0;
    unsigned format = DT_LEFT | DT_VCENTER | DT_SINGLELINE;
    COLORREF bkColour = CLR_DEFAULT;
    COLORREF fgColour = CLR_DEFAULT;
    CellKind kind = CellKind::Text;
    std::vector<std::wstring> options;  ///< choices of a combo cell
    unsigned comboStyle = 0;            ///< CBS_DROPDOWN or CBS_DROPDOWNLIST
    const CBtnDataBase* btnData = nullptr;
    /// Set by the column's check (SetColumnCheck) when it finds the text
    /// wrong: why, for a tool tip, and the background that shows it.
    std::wstring tip;
    COLORREF markColour = CLR_DEFAULT;
    /// Set by the document's checks: the problems found with this cell's
    /// figure, for a tool tip, and the background that shows them.
    std::wstring warning;
    COLORREF warningColour = CLR_DEFAULT;
};

/// A check of the texts of one column: the tool tip for a text it finds
/// wrong, or empty.
using CCellCheck = std::function<std::wstring(const std::wstring&)>;

/// Change notifications of a grid, in the order a table view needs them: the
/// "about to" call comes before the grid changes, the other after. Every
/// method has an empty default, so a listener overrides only what it uses.
/// Rows are given as inclusive ranges first..last.
class IGridListener {
public:
    virtual ~IGridListener() = default;
    /// Column count, fixed counts or the whole row set change at once.
    virtual void OnGridAboutToReset() {}
    virtual void OnGridReset() {}
    virtual void OnRowsAboutToBeInserted(int /*first*/, int /*last*/) {}
    virtual void OnRowsInserted(int /*first*/, int /*last*/) {}
    virtual void OnRowsAboutToBeRemoved(int /*first*/, int /*last*/) {}
    virtual void OnRowsRemoved(int /*first*/, int /*last*/) {}
    /// Text, state, format, colour or kind of these cells changed, or a
    /// redraw of them was asked for.
    virtual void OnCellsChanged(const CCellRange& /*cells*/) {}
    /// A column width or row height changed.
    virtual void OnSizesChanged() {}
    /// The selected cells or the focus cell changed.
    virtual void OnSelectionChanged() {}
};

/// A headless grid (the grid control the dialog shows): rows and columns of
/// cells with fixed leading rows and columns, column widths and row heights in
/// pixels, a cell selection and a focus cell. It owns its cells; listeners are
/// borrowed and must outlive their registration. Out-of-range addresses are
/// ignored by setters (they return false) and read as empty by getters.
class CGridCtrl {
public:
    static constexpr int kDefaultColumnWidth = 80;  ///< pixels
    static constexpr int kDefaultRowHeight = 22;    ///< pixels

    CGridCtrl() = default;
    CGridCtrl(const CGridCtrl&) = delete;
    CGridCtrl& operator=(const CGridCtrl&) = delete;

    void AddListener(IGridListener* listener);
    void RemoveListener(IGridListener* listener);

    // Size and layout.
    int GetRowCount() const { return static_cast<int>(m_rows.size()); }
    int GetColumnCount() const { return m_nCols; }
    int GetFixedRowCount() const { return m_nFixedRows; }
    int GetFixedColumnCount() const { return m_nFixedCols; }
    /// Grows with default cells or cuts rows at the end.
    void SetRowCount(int rows);
    void SetColumnCount(int cols);
    void SetFixedRowCount(int rows);
    void SetFixedColumnCount(int cols);
    /// Empties the grid: no rows, no columns, no selection.
    void DeleteAllItems();
    int GetColumnWidth(int col) const;
    bool SetColumnWidth(int col, int width);
    int GetRowHeight(int row) const;
    bool SetRowHeight(int row, int height);
    /// A cell's rectangle in pixels from the grid's top-left corner, unscrolled.
    struct Rect {
        int left = 0, top = 0, right = 0, bottom = 0;
    };
    Rect GetCellRect(int row, int col) const;

    // Rows.
    /// Inserts a row before `row` (-1 or the row count appends) whose column 0
    /// holds `heading`; returns its index, or -1 when `row` is out of range.
    int InsertRow(const std::wstring& heading, int row = -1);
    bool DeleteRow(int row);

    // Cells.
    bool IsValid(int row, int col) const;
    const CGridCell* GetCell(int row, int col) const;
    /// Text, state and format together (the whole item).
    bool SetItem(int row, int col, const std::wstring& text, unsigned state, unsigned format);
    bool SetItemText(int row, int col, const std::wstring& text);
    std::wstring GetItemText(int row, int col) const;
    bool SetItemState(int row, int col, unsigned state);
    unsigned GetItemState(int row, int col) const;
    bool SetItemFormat(int row, int col, unsigned format);
    unsigned GetItemFormat(int row, int col) const;
    bool SetItemBkColour(int row, int col, COLORREF colour = CLR_DEFAULT);
    COLORREF GetItemBkColour(int row, int col) const;
    bool SetItemFgColour(int row, int col, COLORREF colour = CLR_DEFAULT);
    COLORREF GetItemFgColour(int row, int col) const;
    /// Makes the cell a combo cell with these options. In drop-down-list
    /// style the text must be one of the options: SetItemText then replaces
    /// any other text by the first option (or empty when there is none).
    bool SetCellCombo(int row, int col, std::vector<std::wstring> options, unsigned style,
                      const CBtnDataBase* btnData);
    /// Marks a cell with the document checks' text (empty: no mark).
    bool SetItemWarning(int row, int col, const std::wstring& text, COLORREF colour);
    /// Every text later written into a non-fixed cell of this column goes
    /// through check; a cell it finds wrong gets its tip and markColour.
    void SetColumnCheck(int col, CCellCheck check, COLORREF markColour);
    bool IsCellFixed(int row, int col) const;
    /// Editable: inside the grid, not fixed, not read-only, and the grid editable.
    bool IsCellEditable(int row, int col) const;

    // Grid-wide settings.
    void SetEditable(bool editable) { m_bEditable = editable; }
    bool IsEditable() const { return m_bEditable; }
    void EnableSelection(bool enable);
    bool IsSelectable() const { return m_bEnableSelection; }
    void SetColumnResize(bool allow) { m_bAllowColumnResize = allow; }
    bool GetColumnResize() const { return m_bAllowColumnResize; }
    void SetRowResize(bool allow) { m_bAllowRowResize = allow; }
    bool GetRowResize() const { return m_bAllowRowResize; }
    /// Whole-row selection mode.
    void SetListMode(bool listMode) { m_bListMode = listMode; }
    bool GetListMode() const { return m_bListMode; }
    /// Background of the fixed (title) cells.
    void SetFixedBkColor(COLORREF colour);
    COLORREF GetFixedBkColor() const { return m_fixedBkColour; }

    // Selection and focus.
    /// Selects exactly this rectangle (clipped to the grid); an invalid range
    /// clears the selection.
    void SetSelectedRange(const CCellRange& range);
    void SetSelectedRange(int minRow, int minCol, int maxRow, int maxCol);
    /// The bounding rectangle of the selected cells; invalid when none is selected.
    CCellRange GetSelectedRange() const;
    /// Adds or removes single cells (a view's extended selection).
    void SelectCell(int row, int col, bool selected = true);
    bool IsCellSelected(int row, int col) const;
    int GetSelectedCount() const { return static_cast<int>(m_selected.size()); }
    void ResetSelectedRange();
    void SetFocusCell(int row, int col);
    CCellID GetFocusCell() const { return m_focus; }

    // Repaint requests.
    void RedrawCell(int row, int col);
    void RedrawRow(int row);
    /// The whole grid needs repainting (Invalidate, Refresh).
    void Invalidate();
    void Refresh() { Invalidate(); }

    /// Collects cell notifications while alive and sends one for the bounding
    /// rectangle when the outermost batch ends. Row and reset notifications
    /// still go out at once (after the cells collected so far).
    class Batch {
    public:
        explicit Batch(CGridCtrl& grid);
        ~Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        CGridCtrl& m_grid;
    };

private:
    CGridCell* Cell(int row, int col);
    void CheckCell(CGridCell& cell, int row, int col) const;
    void CellsChanged(const CCellRange& range);
    void FlushCells();
    void AboutToReset();
    void Reset();
    CCellRange All() const;

    std::vector<std::vector<CGridCell>> m_rows;
    std::vector<int> m_rowHeights;
    std::vector<int> m_colWidths;
    int m_nCols = 0;
    int m_nFixedRows = 0;
    int m_nFixedCols = 0;
    bool m_bEditable = true;
    bool m_bEnableSelection = true;
    bool m_bAllowColumnResize = true;
    bool m_bAllowRowResize = true;
    bool m_bListMode = false;
    COLORREF m_fixedBkColour = CLR_DEFAULT;
    std::set<CCellID> m_selected;
    CCellID m_focus;
    std::vector<IGridListener*> m_listeners;
    struct ColumnCheck {
        CCellCheck check;
        COLORREF markColour = CLR_DEFAULT;
    };
    std::vector<ColumnCheck> m_checks;  ///< by column
    int m_nBatchDepth = 0;
    CCellRange m_pending;
};

}  // namespace loadcal
