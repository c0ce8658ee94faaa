#pragma once

#include <array>
#include <string>
#include <string_view>

namespace loadcal::texts {

/// Every text the calculation dialog shows, in one place. The column titles
/// are those of the calculation tables (model/Columns.h); the recent-files
/// placeholder and entry format belong to the list (document/RecentFiles.h).

// Window title: kTitle + kTitleOpen + path (or kUntitled) + kTitleClose.
inline constexpr std::wstring_view kTitle = L"需要系数法负荷计算";
inline constexpr std::wstring_view kTitleOpen = L"『";
inline constexpr std::wstring_view kTitleClose = L"』";
inline constexpr std::wstring_view kUntitled = L"未命名";

/// Caption of the boxes the application shows without a caption of its own
/// (the application's name, as an application message box shows it).
inline constexpr std::wstring_view kApplicationName = L"loadcal";

/// Label of the load grid's total row (column 2).
inline constexpr std::wstring_view kTotalLabel = L"总计:";
/// The same while the load grid shows one node's circuits only: the total
/// row still holds the whole document's totals.
inline constexpr std::wstring_view kTotalLabelFiltered = L"全部总计:";

// The supply tree beside the grids: its nodes without a name of their own,
// and the status bar's note while the load grid shows one node's circuits
// (the node, how many circuits it shows).
inline constexpr std::wstring_view kTreeAll = L"全部";
inline constexpr std::wstring_view kTreeUnfed = L"未接电源";
inline constexpr std::wstring_view kTreeCycle = L"循环归属";
inline constexpr std::wstring_view kTreeUnnamed = L"(未命名)";
inline constexpr std::wstring_view kTreeBoardTipFormat = L"配电箱 %s";
inline constexpr std::wstring_view kTreeTransformerTipFormat = L"变压器 %s";
inline constexpr std::wstring_view kFilterBoardFormat = L"配电箱 %s 直接供电";
inline constexpr std::wstring_view kFilterTransformerFormat = L"变压器 %s 直接供电";
inline constexpr std::wstring_view kFilterUnfed = L"未接电源";
inline constexpr std::wstring_view kFilterCycle = L"循环归属的配电箱供电";
inline constexpr std::wstring_view kFilterNoteFormat =
    L"只显示%s的 %s 个回路，合计行为全部回路的总计";

// Menu bar 201.
inline constexpr std::wstring_view kMenuFile = L"文件(&F)";
inline constexpr std::wstring_view kMenuFileNew = L"新建(&N)\tCtrl+N";
inline constexpr std::wstring_view kMenuFileOpen = L"打开(&O)...\tCtrl+O";
inline constexpr std::wstring_view kMenuFileSave = L"保存(&S)\tCtrl+S";
inline constexpr std::wstring_view kMenuFileSaveAs = L"另存为(&A)...";
inline constexpr std::wstring_view kMenuFileExit = L"退出(&X)";
inline constexpr std::wstring_view kMenuFunctions = L"功能(&C)";
inline constexpr std::wstring_view kMenuDraw = L"绘制到Acad(&D)";
inline constexpr std::wstring_view kMenuExcel = L"输出到Excell(&E)";
inline constexpr std::wstring_view kMenuCalculationBook = L"生成计算书(&B)";
inline constexpr std::wstring_view kMenuHelp = L"帮助(&H)";
inline constexpr std::wstring_view kMenuEdit = L"编辑(&E)";
inline constexpr std::wstring_view kMenuUndo = L"撤销(&U)\tCtrl+Z";
inline constexpr std::wstring_view kMenuRedo = L"重做(&R)\tCtrl+Y";
inline constexpr std::wstring_view kMenuAbout = L"关于...";

// Context menus 210 and 211.
inline constexpr std::wstring_view kMenuCut = L"剪切";
inline constexpr std::wstring_view kMenuCopy = L"复制";
inline constexpr std::wstring_view kMenuPaste = L"粘贴";
inline constexpr std::wstring_view kMenuDelete = L"删除";
inline constexpr std::wstring_view kMenuInsert = L"插入\tCtrl++";
/// The names 插入 gives a new board or transformer (followed by 1, 2, ...).
inline constexpr std::wstring_view kInsertedBoardName = L"新配电箱";
inline constexpr std::wstring_view kInsertedTransformerName = L"新变压器";
inline constexpr std::wstring_view kMenuRecalculateAll = L"全部重算\tF9";
inline constexpr std::wstring_view kMenuLoadTypeLibrary = L"负荷类型库(&L)...";
inline constexpr std::wstring_view kMenuProjectInfo = L"工程信息(&P)...";

// The 工程信息 dialog: its title, the label of the rule choice and the two
// rule sets as the choice names them.
inline constexpr std::wstring_view kProjectInfoTitle = L"工程信息";
inline constexpr std::wstring_view kRulesLabel = L"计算规则";
inline constexpr std::wstring_view kRulesOriginalText = L"本程序原有规则";
inline constexpr std::wstring_view kRulesGB51348Text = L"GB 51348-2019 《民用建筑电气设计标准》";
/// The status bar's note while GB 51348-2019 is in force (the original
/// rules show no note, as the window always showed them).
inline constexpr std::wstring_view kRulesNoteGB51348 = L"计算规则：GB 51348-2019";
/// Asked before one action removes more than one record (%s: how many).
inline constexpr std::wstring_view kRemoveCircuitsFormat = L"删除 %s 个回路？";
inline constexpr std::wstring_view kRemoveTransformersFormat = L"删除 %s 个变压器？";
inline constexpr std::wstring_view kRemoveBoardsFormat = L"删除 %s 个配电箱？";
/// A paste that would make more circuits than an archive holds.
inline constexpr std::wstring_view kPasteTooLargeFormat =
    L"粘贴后将有 %s 个回路，超过存档最多能保存的 32767 个回路，粘贴已取消。";
/// Opening a file whose computed figures are empty or out of date.
inline constexpr std::wstring_view kStaleFiguresQuestion =
    L"文件中的计算结果为空或与重新计算的结果不一致。\n是否全部重算？";
/// Where an output went (%s: the file).
inline constexpr std::wstring_view kOutputWrittenFormat = L"已写入 %s";
inline constexpr std::wstring_view kOutputNotShownFormat =
    L"文件已写入，但没有可以打开它的程序：\n%s";

// String table: tool tips by command id.
inline constexpr std::wstring_view kTipNew = L"新建负荷计算数据文件";
inline constexpr std::wstring_view kTipOpen = L"打开文件";
inline constexpr std::wstring_view kTipSave = L"保存文件";
inline constexpr std::wstring_view kTipSaveAs = L"另存文件";
inline constexpr std::wstring_view kTipDraw = L"绘制到Acad";
inline constexpr std::wstring_view kTipExcel = L"输出到Excell";
inline constexpr std::wstring_view kTipAdjustPhases = L"调整相位";
inline constexpr std::wstring_view kTipCalculationBook = L"生成计算书";

// The calculation book's save dialog and its messages.
inline constexpr std::wstring_view kBookFilter = L"PDF 计算书(*.pdf)|*.pdf||";
inline constexpr std::wstring_view kBookExtension = L"pdf";
inline constexpr std::wstring_view kBookNotShown = L"计算书已生成，但没有可以打开 PDF 文件的程序：";
inline constexpr std::wstring_view kTipAbout = L"关于...";

// Messages and their captions.
inline constexpr std::wstring_view kSaveQuestion = L"当前文档已经改变,是否保存？";
inline constexpr std::wstring_view kSaveCaption = L"文件保存";
/// Filled with the path by FormatText.
inline constexpr std::wstring_view kCreateQuestionFormat =
    L"负荷计算存档文件 \"%s\"不存在,是否新建?";
inline constexpr std::wstring_view kRecentFileMissing = L"选择的文件没有找到！";
/// Tool tips of a number cell that does not read wholly as a number; the
/// second is filled twice with the leading part that reads (FormatText).
inline constexpr std::wstring_view kNotANumberTip = L"不是数字，按 0 计算";
inline constexpr std::wstring_view kNumberPrefixTipFormat = L"只有开头的“%s”是数字，按 %s 计算";
/// A save that failed: the path and the reason (FormatText with two
/// arguments); the document stays modified, the file as it was.
inline constexpr std::wstring_view kSaveFailedFormat =
    L"保存文件 \"%s\" 失败：%s\n文档没有保存，修改仍在窗口中。";
/// The reason of a failed write, with the system's own text in brackets.
inline constexpr std::wstring_view kWriteFailedFormat = L"无法写入文件（%s）";
/// A document with more records than an archive's reader counts (the
/// count, then kCircuits or kTransformers).
inline constexpr std::wstring_view kTooManyRecordsFormat =
    L"文档有 %s 个%s，超过存档最多能保存的 32767 个，文件没有写入";
inline constexpr std::wstring_view kCircuits = L"回路";
inline constexpr std::wstring_view kTransformers = L"变压器";
inline constexpr std::wstring_view kBoards = L"配电箱";
/// An archive refused on opening (damaged, truncated, not an archive,
/// unreadable): the path, what is wrong with it, and in brackets the
/// reader's own text (FormatText with three arguments).
inline constexpr std::wstring_view kOpenFailedFormat =
    L"无法打开负荷计算存档文件 \"%s\"：%s（%s）\n当前文档保持不变。";
/// A user load-type library that is refused at start: its file and, in
/// brackets, the reader's text with the line and the reason.
inline constexpr std::wstring_view kUserLoadTypesRefusedFormat =
    L"用户负荷类型库 \"%s\" 有误，未采用，计算按内置负荷类型库进行。\n（%s）";
/// Opening the 负荷类型库 editor while the user library is refused: its
/// file and the reader's text; 确定 in the editor will replace the file.
inline constexpr std::wstring_view kUserLoadTypesReplacedFormat =
    L"用户负荷类型库 \"%s\" "
    L"有误，未采用（%s）。\n在负荷类型库中按“确定”将以对话框中的内容替换该文件。";
/// What is wrong with an archive that is refused, by what its reader found.
inline constexpr std::wstring_view kArchiveNotFound = L"文件不存在";
inline constexpr std::wstring_view kArchiveUnreadable = L"无法读取该文件";
inline constexpr std::wstring_view kArchiveNotAnArchive = L"这不是负荷计算存档文件";
inline constexpr std::wstring_view kArchiveUnknownVersion = L"存档的格式版本无法识别";
inline constexpr std::wstring_view kArchiveUnknownContent = L"存档中有本程序无法识别的内容";
inline constexpr std::wstring_view kArchiveTruncated = L"文件不完整，内容没有到结尾就中断了";
inline constexpr std::wstring_view kArchiveDamaged = L"文件内容已损坏";
/// An output or the calculation book that could not be written: the file
/// and, in brackets, the writer's own text; a previous file stays as it was.
inline constexpr std::wstring_view kOutputFailedFormat =
    L"文件 \"%s\" 没有写入（%s）\n原有的文件保持不变。";
inline constexpr std::wstring_view kOutputStoppedFormat = L"输出没有完成（%s）";
inline constexpr std::wstring_view kBookFailedFormat =
    L"计算书 \"%s\" 没有生成（%s）\n原有的文件保持不变。";
/// Offered at start for a recovery copy left by a window that did not end
/// normally: the file it belonged to (or kUntitled) and when it was written.
inline constexpr std::wstring_view kRecoveryQuestionFormat =
    L"上次没有正常退出，留下了未保存的修改：\n文件：%s\n时间：%s\n"
    L"是否恢复？（选择“否”将删除这份恢复副本）";
inline constexpr std::wstring_view kRecoveryCaption = L"恢复文档";
inline constexpr std::wstring_view kDuplicateTransformer = L"变压器名称重复,请重新输入!";
inline constexpr std::wstring_view kNoticeCaption = L"提示";
/// A transformer name holding "," (the owner lists' separator) or only blanks.
inline constexpr std::wstring_view kCommaInTransformerName =
    L"变压器名称不能含有逗号\",\",请重新输入!";
inline constexpr std::wstring_view kBlankTransformerName = L"变压器名称不能只有空格,请重新输入!";
/// Board names: repeated, taken by a transformer (and a transformer's name
/// taken by a board), with "," or only blanks.
inline constexpr std::wstring_view kDuplicateBoard = L"配电箱名称重复,请重新输入!";
inline constexpr std::wstring_view kNameOfTransformer = L"该名称已是变压器的名称,请重新输入!";
inline constexpr std::wstring_view kNameOfBoard = L"该名称已是配电箱的名称,请重新输入!";
inline constexpr std::wstring_view kCommaInBoardName = L"配电箱名称不能含有逗号\",\",请重新输入!";
inline constexpr std::wstring_view kBlankBoardName = L"配电箱名称不能只有空格,请重新输入!";
/// An edit of a board's owners or name that would make boards feed each
/// other in a ring (%s: the ring, "AP1 → AP2 → AP1").
inline constexpr std::wstring_view kBoardCycleFormat = L"配电箱的归属将形成循环：%s\n修改已取消。";
/// The two groups of the owner choice list.
inline constexpr std::wstring_view kChoiceBoards = L"配电箱";
inline constexpr std::wstring_view kChoiceTransformers = L"变压器";
inline constexpr std::wstring_view kLoadMenuFailed = L"LoadMenu false";
inline constexpr std::wstring_view kNoPopupMenu = L"pMenuTemp == NULL";
inline constexpr std::wstring_view kTrackPopupFailed = L"TrackPopupMenu false";

// File dialogs.
inline constexpr std::wstring_view kArchiveFilter = L"负荷计算存档文件(*.LDC)|*.LDC||";
inline constexpr std::wstring_view kArchiveExtension = L"LDC";

// About box 207.
inline constexpr std::wstring_view kAboutCaption = L"关于负荷计算..";
inline constexpr std::wstring_view kAboutVersion = L"负荷计算  Version 2.00";
inline constexpr std::wstring_view kAboutDescription = L"按需要系数法计算建筑物的电气负荷";
inline constexpr std::wstring_view kAboutButton = L"确认";

/// Dialog font.
inline constexpr std::wstring_view kDialogFont = L"宋体";
inline constexpr int kDialogFontPoints = 9;

// The 负荷类型库 editor.
inline constexpr std::wstring_view kLoadTypeLibraryTitle = L"负荷类型库";
/// Above the grid; %s: the user library's file.
inline constexpr std::wstring_view kLoadTypeLibraryNoteFormat =
    L"在空白行输入用户类型，与内置类型同名即覆盖该类型；灰色的内置类型只读。"
    L"按“确定”写入用户负荷类型库 %s，内置负荷类型库不会改动。";
inline constexpr std::wstring_view kButtonOk = L"确定";
inline constexpr std::wstring_view kButtonCancel = L"取消";
/// The 来源 of a shipped type a user type overrides.
inline constexpr std::wstring_view kOriginOverridden = L"内置（已被覆盖）";
/// The one choice of the 消防设备 cell beside the empty text.
inline constexpr std::wstring_view kFireFightingYes = L"是";
/// The problems of a user row: the row's place first (kRowFormat), then what
/// is wrong.
inline constexpr std::wstring_view kRowFormat = L"第 %s 行：%s";
inline constexpr std::wstring_view kRowNoName = L"没有名称";
inline constexpr std::wstring_view kRowDuplicateFormat = L"名称“%s”与第 %s 行重复";
inline constexpr std::wstring_view kRowNoKx = L"没有填 Kx";
inline constexpr std::wstring_view kRowNotANumberFormat = L"%s“%s”不是数字";
inline constexpr std::wstring_view kRowOutsideFormat = L"%s %s 不在 (0, 1] 之内";
inline constexpr std::wstring_view kRowAboveFormat = L"%s 大于 %s";
/// 确定 refused: the problems, one a line (at most kMostProblemsShown).
inline constexpr std::wstring_view kLoadTypeProblemsFormat =
    L"负荷类型库有以下问题，没有写入：\n%s";
inline constexpr std::wstring_view kMoreProblemsFormat = L"……（另有 %s 处）";
inline constexpr size_t kMostProblemsShown = 12;
/// The user library could not be written: the file and, in brackets, the
/// system's text. The previous file stays.
inline constexpr std::wstring_view kLoadTypeWriteFailedFormat =
    L"无法写入用户负荷类型库 \"%s\"（%s），原文件保持不变。";
/// 取消 or the close box with changes.
inline constexpr std::wstring_view kLoadTypeDiscardQuestion = L"放弃对负荷类型库的修改？";

/// Replaces the first "%s" of format by arg.
std::wstring FormatText(std::wstring_view format, std::wstring_view arg);
/// Replaces the first "%s" by first and the next by second (a "%s" inside
/// first stays as it is).
std::wstring FormatText(std::wstring_view format, std::wstring_view first,
                        std::wstring_view second);
/// The cause in a lower layer's message ("cannot write \"PATH\": CAUSE"):
/// what follows the quoted path, or the whole message when it names no path.
std::wstring CauseOf(std::string_view message, std::wstring_view path);
/// Replaces the first three "%s", in turn.
std::wstring FormatText(std::wstring_view format, std::wstring_view first, std::wstring_view second,
                        std::wstring_view third);

}  // namespace loadcal::texts
