#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "dialog/Geometry.h"
#include "dialog/MenuModel.h"

namespace loadcal {

/// Resource identifiers of the calculation dialog. The command ids are the
/// ones menus, toolbar and tool tips refer to.
namespace res {

inline constexpr int IDD_LOADCAL = 200;            ///< the dialog template
inline constexpr int IDR_MENU_MAIN = 201;          ///< menu bar
inline constexpr int IDC_LOAD_FRAME = 202;         ///< frame marking the load grid
inline constexpr int IDC_TRANSFORMER_FRAME = 203;  ///< frame marking the transformer grid
inline constexpr int IDR_TOOLBAR = 204;            ///< toolbar and its bitmap
inline constexpr int IDB_TOOLBAR_DISABLED = 206;   ///< disabled toolbar images
inline constexpr int IDD_ABOUT = 207;              ///< about box template
inline constexpr int IDR_MENU_LOAD = 210;          ///< load grid context menu
inline constexpr int IDR_MENU_TRANSFORMER = 211;   ///< transformer grid context menu
inline constexpr int IDI_ABOUT = 212;              ///< about box icon
inline constexpr int IDR_MENU_BOARD = 213;         ///< board grid context menu
inline constexpr int IDC_GRID_LOAD = 101;
inline constexpr int IDC_GRID_TRANSFORMER = 102;
inline constexpr int AFX_IDW_TOOLBAR = 0xE800;

inline constexpr unsigned ID_FILE_NEW = 32768;
inline constexpr unsigned ID_FILE_OPEN = 32769;
inline constexpr unsigned ID_FILE_SAVE = 32770;
inline constexpr unsigned ID_FILE_SAVE_AS = 6342;
inline constexpr unsigned ID_FILE_RECENT = 6385;
inline constexpr unsigned ID_FILE_EXIT = 6344;
inline constexpr unsigned ID_OUTPUT_DRAWING = 32772;
inline constexpr unsigned ID_OUTPUT_EXCEL = 32773;
inline constexpr unsigned ID_ADJUST_PHASES = 32784;
inline constexpr unsigned ID_ABOUT = 32785;
inline constexpr unsigned ID_CALCULATION_BOOK = 32795;  ///< 生成计算书: the PDF calculation book
inline constexpr unsigned ID_RECALCULATE_ALL = 32796;  ///< 全部重算 (F9)
inline constexpr unsigned ID_LOAD_INSERT = 32797;      ///< 插入: a circuit above the current row
inline constexpr unsigned ID_LOAD_TYPE_LIBRARY = 32798;  ///< 负荷类型库: the library's editor
inline constexpr unsigned ID_PROJECT_INFO = 32803;  ///< 工程信息: project information and rule set
inline constexpr unsigned ID_TRANSFORMER_INSERT =
    32804;                                          ///< 插入: a transformer above the current row
inline constexpr unsigned ID_BOARD_INSERT = 32805;  ///< 插入: a board above the current row
inline constexpr unsigned ID_EDIT_UNDO = 0xE12B;    ///< the framework's own undo and redo ids
inline constexpr unsigned ID_EDIT_REDO = 0xE12C;
inline constexpr unsigned ID_LOAD_CUT = 32781;
inline constexpr unsigned ID_LOAD_COPY = 32775;
inline constexpr unsigned ID_LOAD_PASTE = 32776;
inline constexpr unsigned ID_LOAD_DELETE = 32777;
inline constexpr unsigned ID_TRANSFORMER_CUT = 32782;
inline constexpr unsigned ID_TRANSFORMER_COPY = 32778;
inline constexpr unsigned ID_TRANSFORMER_PASTE = 32779;
inline constexpr unsigned ID_TRANSFORMER_DELETE = 32780;
inline constexpr unsigned ID_BOARD_CUT = 32799;
inline constexpr unsigned ID_BOARD_COPY = 32800;
inline constexpr unsigned ID_BOARD_PASTE = 32801;
inline constexpr unsigned ID_BOARD_DELETE = 32802;

/// Dialog template 200 and its two frames, in dialog units.
inline constexpr CRect kDialogTemplate{0, 0, 500, 320};
inline constexpr CRect kLoadFrameTemplate{0, 19, 0 + 499, 19 + 204};
inline constexpr CRect kTransformerFrameTemplate{0, 227, 0 + 500, 227 + 92};
/// About box template 207, in dialog units.
inline constexpr CRect kAboutTemplate{0, 0, 233, 49};

/// Toolbar 204: button size in pixels and the buttons in order; 0 is a separator.
inline constexpr int kToolbarButtonWidth = 16;
inline constexpr int kToolbarButtonHeight = 15;
inline constexpr std::array<unsigned, 11> kToolbarButtons = {
    ID_FILE_NEW,       ID_FILE_OPEN,    ID_FILE_SAVE,     ID_FILE_SAVE_AS,     0,
    ID_OUTPUT_DRAWING, ID_OUTPUT_EXCEL, ID_ADJUST_PHASES, ID_CALCULATION_BOOK, 0,
    ID_ABOUT};

/// The string table: the text of a command id (the tool tips), or nothing.
std::optional<std::wstring> LoadString(unsigned id);

/// A menu resource (201, 210, 211, 213) as a menu model; nothing for another id.
std::optional<CMenuModel> LoadMenu(int resourceId);

/// The texts of the about box (template 207, icon 212).
struct CAboutBox {
    std::wstring caption;
    std::wstring version;
    std::wstring description;
    std::wstring button;
};
CAboutBox AboutBox();

}  // namespace res
}  // namespace loadcal
