#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dialog/GridColumns.h"

namespace loadcal {

class CMenuModel;
class CLoadTypeLibraryEditor;
class CSupplyTree;
struct CDocumentProperties;

/// Message-box results and styles (the Windows values).
inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;
inline constexpr unsigned MB_OK = 0x0000;
inline constexpr unsigned MB_OKCANCEL = 0x0001;
inline constexpr unsigned MB_YESNOCANCEL = 0x0003;
inline constexpr unsigned MB_YESNO = 0x0004;
inline constexpr unsigned MB_ICONEXCLAMATION = 0x0030;
inline constexpr unsigned MB_ICONQUESTION = 0x0020;
inline constexpr unsigned MB_ICONINFORMATION = 0x0040;

/// What a file dialog is opened with.
struct CFileDialogOptions {
    std::wstring filter;            ///< "负荷计算存档文件(*.LDC)|*.LDC||"
    std::wstring defaultExtension;  ///< "LDC", appended when the user types none
    std::wstring initialName;       ///< empty
    bool hideReadOnly = true;
    bool overwritePrompt = true;  ///< the save dialog asks before replacing a file
};

/// How tracking a popup menu ended.
struct CPopupResult {
    enum class Status {
        Tracked,   ///< the menu was shown; command is the chosen id, 0 for none
        NoCursor,  ///< the cursor position could not be read: nothing shown
        Failed,    ///< the menu could not be shown
    };
    Status status = Status::Tracked;
    unsigned command = 0;
};

/// Everything the calculation dialog needs from the window that shows it.
/// The Qt window implements it; tests script it. Calls are synchronous and
/// made on the user-interface thread; the controller never keeps the
/// arguments beyond a call.
class ILoadCalUi {
public:
    virtual ~ILoadCalUi() = default;

    /// A modal message box. style combines MB_OK, MB_OKCANCEL, MB_YESNO or
    /// MB_YESNOCANCEL with MB_ICONQUESTION, MB_ICONINFORMATION,
    /// MB_ICONEXCLAMATION or no icon.
    /// Returns IDOK, IDCANCEL, IDYES or IDNO; closing the box counts as
    /// IDCANCEL (IDOK for a box with MB_OK only).
    virtual int MessageBox(const std::wstring& text, const std::wstring& caption,
                           unsigned style) = 0;

    /// File dialogs; the chosen full path (with the default extension added
    /// when the user typed none), or nothing when cancelled.
    virtual std::optional<std::wstring> OpenFileDialog(const CFileDialogOptions& options) = 0;
    virtual std::optional<std::wstring> SaveFileDialog(const CFileDialogOptions& options) = 0;

    virtual void SetWindowText(const std::wstring& title) = 0;

    /// The owner choice list over cell (row, col) of a grid: names with their
    /// marks in, the first boardCount of them distribution boards and the
    /// rest transformers, shown as two groups; the names marked when the
    /// user confirmed, in list order, or nothing when the list was
    /// dismissed. A window that reports later returns nothing here and calls
    /// CLoadCalDiaog::OnChoiceReport.
    virtual std::optional<std::vector<std::wstring>> ShowChoiceList(
        const std::vector<std::wstring>& names, const std::vector<bool>& marks, int row, int col,
        GridId grid, size_t boardCount) = 0;

    /// A context menu at the cursor; the chosen command is returned, not sent.
    virtual CPopupResult TrackPopupMenu(const CMenuModel& popup) = 0;

    /// Resizes the window to width x height pixels at its top-left corner.
    virtual void ResizeWindow(int width, int height) = 0;
    virtual void CenterWindow() = 0;

    /// Ends the modal dialog with IDOK or IDCANCEL.
    virtual void EndDialog(int result) = 0;

    /// The about box (template 207), modal.
    virtual void ShowAboutBox() = 0;
    /// Puts text on the system clipboard (rows cut or copied, as a
    /// spreadsheet's tab-separated text).
    virtual void SetClipboardText(const std::wstring& text) = 0;
    /// A short note in the window's status bar (where an output went).
    virtual void SetStatusText(const std::wstring& /*text*/) {}
    /// The 负荷类型库 editor, modal, over the editor's grid: true when the
    /// user ended it with 确定 and the editor accepted (it has written the
    /// user library to userPath), false when it was cancelled.
    virtual bool EditLoadTypes(CLoadTypeLibraryEditor& /*editor*/, const std::wstring& /*userPath*/)
    {
        return false;
    }
    /// The 工程信息 dialog, modal, over the document's project information
    /// and rule set: true when the user ended it with 确定 (properties then
    /// holds what the dialog shows), false when it was cancelled
    /// (properties unchanged).
    virtual bool EditProjectInfo(CDocumentProperties& /*properties*/) { return false; }
    /// The lasting note at the right of the status bar (the load grid's
    /// filter, the rule set in force); empty: none. Unlike SetStatusText it
    /// stays until replaced.
    virtual void SetStatusNote(const std::wstring& /*text*/) {}
    /// The supply tree beside the grids, with node `selected` (an index into
    /// its nodes) as the current one. Called when the tree or the node
    /// selected changed; the window reports clicks through
    /// CLoadCalDiaog::OnSupplyNodeClick.
    virtual void ShowSupplyTree(const CSupplyTree& /*tree*/, int /*selected*/) {}
};

}  // namespace loadcal
