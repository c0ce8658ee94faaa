#include "dialog/LoadCalResources.h"

#include "dialog/LoadCalTexts.h"

namespace loadcal::res {
namespace {

std::wstring W(std::wstring_view text)
{
    return std::wstring(text);
}

CMenuModel MainMenu()
{
    CMenuModel bar;
    bar.AddPopup(W(texts::kMenuFile))
        .AddCommand(W(texts::kMenuFileNew), ID_FILE_NEW)
        .AddCommand(W(texts::kMenuFileOpen), ID_FILE_OPEN)
        .AddCommand(W(texts::kMenuFileSave), ID_FILE_SAVE)
        .AddCommand(W(texts::kMenuFileSaveAs), ID_FILE_SAVE_AS)
        .AddSeparator()
        .AddCommand(W(CLoadCalRecentFiles::kPlaceholderText), ID_FILE_RECENT)
        .AddSeparator()
        .AddCommand(W(texts::kMenuFileExit), ID_FILE_EXIT);
    bar.AddPopup(W(texts::kMenuEdit))
        .AddCommand(W(texts::kMenuUndo), ID_EDIT_UNDO)
        .AddCommand(W(texts::kMenuRedo), ID_EDIT_REDO);
    bar.AddPopup(W(texts::kMenuFunctions))
        .AddCommand(W(texts::kMenuDraw), ID_OUTPUT_DRAWING)
        .AddCommand(W(texts::kMenuExcel), ID_OUTPUT_EXCEL)
        .AddCommand(W(texts::kMenuCalculationBook), ID_CALCULATION_BOOK)
        .AddSeparator()
        .AddCommand(W(texts::kMenuRecalculateAll), ID_RECALCULATE_ALL)
        .AddCommand(W(texts::kMenuLoadTypeLibrary), ID_LOAD_TYPE_LIBRARY)
        .AddCommand(W(texts::kMenuProjectInfo), ID_PROJECT_INFO);
    bar.AddPopup(W(texts::kMenuHelp)).AddCommand(W(texts::kMenuAbout), ID_ABOUT);
    return bar;
}

/// A context menu resource: a menu bar whose one drop-down holds the items.
CMenuModel ContextMenu(unsigned cut, unsigned copy, unsigned paste, unsigned del)
{
    CMenuModel bar;
    bar.AddPopup(L"")
        .AddCommand(W(texts::kMenuCut), cut)
        .AddCommand(W(texts::kMenuCopy), copy)
        .AddCommand(W(texts::kMenuPaste), paste)
        .AddCommand(W(texts::kMenuDelete), del);
    return bar;
}

}  // namespace

std::optional<std::wstring> LoadString(unsigned id)
{
    switch (id) {
        case ID_FILE_NEW:
            return W(texts::kTipNew);
        case ID_FILE_OPEN:
            return W(texts::kTipOpen);
        case ID_FILE_SAVE:
            return W(texts::kTipSave);
        case ID_FILE_SAVE_AS:
            return W(texts::kTipSaveAs);
        case ID_OUTPUT_DRAWING:
            return W(texts::kTipDraw);
        case ID_OUTPUT_EXCEL:
            return W(texts::kTipExcel);
        case ID_ADJUST_PHASES:
            return W(texts::kTipAdjustPhases);
        case ID_CALCULATION_BOOK:
            return W(texts::kTipCalculationBook);
        case ID_ABOUT:
            return W(texts::kTipAbout);
        default:
            return std::nullopt;
    }
}

std::optional<CMenuModel> LoadMenu(int resourceId)
{
    switch (resourceId) {
        case IDR_MENU_MAIN:
            return MainMenu();
        case IDR_MENU_LOAD: {
            CMenuModel menu = ContextMenu(ID_LOAD_CUT, ID_LOAD_COPY, ID_LOAD_PASTE, ID_LOAD_DELETE);
            menu.GetSubMenu(0)->AddCommand(W(texts::kMenuInsert), ID_LOAD_INSERT);
            return menu;
        }
        case IDR_MENU_TRANSFORMER: {
            CMenuModel menu = ContextMenu(ID_TRANSFORMER_CUT, ID_TRANSFORMER_COPY,
                                          ID_TRANSFORMER_PASTE, ID_TRANSFORMER_DELETE);
            menu.GetSubMenu(0)->AddCommand(W(texts::kMenuInsert), ID_TRANSFORMER_INSERT);
            return menu;
        }
        case IDR_MENU_BOARD: {
            CMenuModel menu =
                ContextMenu(ID_BOARD_CUT, ID_BOARD_COPY, ID_BOARD_PASTE, ID_BOARD_DELETE);
            menu.GetSubMenu(0)->AddCommand(W(texts::kMenuInsert), ID_BOARD_INSERT);
            return menu;
        }
        default:
            return std::nullopt;
    }
}

CAboutBox AboutBox()
{
    return {W(texts::kAboutCaption), W(texts::kAboutVersion), W(texts::kAboutDescription),
            W(texts::kAboutButton)};
}

}  // namespace loadcal::res
