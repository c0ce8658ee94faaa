// Construction, start-up, layout, the command table and the document
// lifecycle of the calculation dialog.
#include "dialog/LoadCalDiaog.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "balancing/PhaseBalancing.h"
#include "dialog/LoadCalResources.h"
#include "dialog/LoadCalTexts.h"
#include "dialog/LoadTypeEditor.h"
#include "document/Archive.h"
#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "document/InterDpData.h"
#include "document/LoadTypeFile.h"
#include "document/RecoveryFiles.h"
#include "model/Text.h"

namespace loadcal {
namespace {

/// What is wrong with an archive its reader refused, in the user's words.
std::wstring_view ArchiveProblem(int16_t status)
{
    switch (static_cast<IdpStatus>(status)) {
        case IdpStatus::FileNotFound:
            return texts::kArchiveNotFound;
        case IdpStatus::IoError:
            return texts::kArchiveUnreadable;
        case IdpStatus::BadMagic:
            return texts::kArchiveNotAnArchive;
        case IdpStatus::BadVersion:
            return texts::kArchiveUnknownVersion;
        case IdpStatus::Truncated:
            return texts::kArchiveTruncated;
        default:
            return texts::kArchiveDamaged;
    }
}

}  // namespace

CLoadCalDiaog::CLoadCalDiaog(std::wstring settingsPath)
    : m_pChoiceWindow(std::make_unique<CChoiceWindow>()),
      m_recentFiles(std::move(settingsPath)),
      m_loadTypes(ShippedLoadTypes()),
      m_strUserLoadTypesPath(UserLoadTypesPath(m_recentFiles.SettingsPath())),
      m_pRecovery(
          std::make_unique<CRecoveryFiles>(ToFsPath(m_recentFiles.SettingsPath()).parent_path()))
{
    m_recentFiles.LoadList();
    for (std::wstring_view phase : kPhaseTexts) {
        m_arrPhase.Add(std::wstring(phase));
    }
    m_menuBar = std::move(*res::LoadMenu(res::IDR_MENU_MAIN));
}

CLoadCalDiaog::~CLoadCalDiaog()
{
    m_pExtremum.reset();
    m_pIdpData.reset();
    m_pChoiceWindow.reset();
}

ILoadCalUi& CLoadCalDiaog::Ui() const
{
    if (!m_pUi) {
        throw std::logic_error("CLoadCalDiaog: no window attached (SetUi)");
    }
    return *m_pUi;
}

int CLoadCalDiaog::MessageBox(std::wstring_view text, std::wstring_view caption, unsigned style)
{
    return Ui().MessageBox(std::wstring(text), std::wstring(caption), style);
}

void CLoadCalDiaog::EndDialog(int result)
{
    // A normal end: what was not saved was meant to go.
    RemoveRecoveryCopy();
    m_nEndResult = result;
    Ui().EndDialog(result);
}

CFileDialogOptions CLoadCalDiaog::FileDialogSpec() const
{
    CFileDialogOptions options;
    options.filter = texts::kArchiveFilter;
    options.defaultExtension = texts::kArchiveExtension;
    return options;
}

// ---- Window life and layout ----

void CLoadCalDiaog::OnCreate(int width, int height)
{
    m_nMinTrackWidth = width;
    m_nMinTrackHeight = height;
}

int CLoadCalDiaog::OnInitDialog()
{
    m_pExtremum = CreatePhaseSearch();
    m_nGenerations = kPhaseSearchGenerations;

    CreateGrids();

    Ui().ResizeWindow(m_nMinTrackWidth, m_nMinTrackHeight);
    // The library before the start-up document, whose circuits it checks.
    ReloadLoadTypes();

    m_bModified = 0;
    m_nOutputMode = 0;
    m_bLoadCut = 0;
    m_arrCutLoadRows.RemoveAll();
    m_bTransformerCut = 0;
    m_arrCutTransformerRows.RemoveAll();
    m_bBoardCut = 0;
    m_arrCutBoardRows.RemoveAll();
    m_arrLoad.RemoveAll();
    m_arrTransformer.RemoveAll();

    // A most recent file that is damaged is refused as Open refuses it; the
    // dialog then starts untitled.
    if (m_recentFiles.GetSize() == 0 || !FileExists(m_recentFiles.GetAt(0)) ||
        !OpenExistingFile(std::wstring(m_recentFiles.GetAt(0)))) {
        LoadDocument();
        SetDocumentTitle();
    }
    OfferRecovery();

    Ui().CenterWindow();
    return 1;
}

CMinMaxInfo CLoadCalDiaog::OnGetMinMaxInfo(int maximizedWidth, int maximizedHeight) const
{
    return {m_nMinTrackWidth, m_nMinTrackHeight, maximizedWidth, maximizedHeight};
}

CGridLayout CLoadCalDiaog::OnSize(const CRect& windowInClient, const CRect& loadFrame,
                                  const CRect& transformerFrame)
{
    return LayoutGrids(windowInClient, loadFrame, transformerFrame);
}

void CLoadCalDiaog::OnInitMenuPopup(CMenuModel& popup, bool bSystemMenu)
{
    popup.EnableAllItems();
    // Undo and redo are greyed when there is nothing to take back or do again.
    popup.EnableItemWithId(res::ID_EDIT_UNDO, CanUndo());
    popup.EnableItemWithId(res::ID_EDIT_REDO, CanRedo());
    if (!bSystemMenu && &popup == m_menuBar.GetSubMenu(0)) {
        m_recentFiles.UpdateMenu(popup, 5);
    }
}

std::optional<std::wstring> CLoadCalDiaog::OnToolTipText(unsigned id) const
{
    return res::LoadString(id);
}

bool CLoadCalDiaog::IsCommandEnabled(unsigned id) const
{
    switch (id) {
        case res::ID_FILE_NEW:
        case res::ID_FILE_OPEN:
        case res::ID_ABOUT:
        case res::ID_FILE_EXIT:
        case res::ID_FILE_SAVE:
        case res::ID_FILE_SAVE_AS:
        case res::ID_OUTPUT_DRAWING:
        case res::ID_OUTPUT_EXCEL:
        case res::ID_ADJUST_PHASES:
        case res::ID_CALCULATION_BOOK:
        case res::ID_RECALCULATE_ALL:
        case res::ID_LOAD_TYPE_LIBRARY:
        case res::ID_PROJECT_INFO:
            return true;
        case res::ID_EDIT_UNDO:
            return CanUndo();
        case res::ID_EDIT_REDO:
            return CanRedo();
        default:
            return false;
    }
}

// ---- Commands ----

bool CLoadCalDiaog::OnCommand(unsigned id)
{
    if (id >= CLoadCalRecentFiles::kFirstCommandId && id <= CLoadCalRecentFiles::kLastCommandId) {
        OnRecentFile(id);
        return true;
    }
    switch (id) {
        case res::ID_FILE_NEW:
            OnFileNew();
            return true;
        case res::ID_FILE_OPEN:
            OnFileOpen();
            return true;
        case res::ID_FILE_SAVE:
            OnFileSave();
            return true;
        case res::ID_FILE_SAVE_AS:
            OnFileSaveAs();
            return true;
        case res::ID_FILE_EXIT:
            OnFileExit();
            return true;
        case res::ID_FILE_RECENT:
            return true;
        case res::ID_OUTPUT_DRAWING:
            OnOutputDrawing();
            return true;
        case res::ID_OUTPUT_EXCEL:
            OnOutputExcel();
            return true;
        case res::ID_CALCULATION_BOOK:
            OnCalculationBook();
            return true;
        case res::ID_ABOUT:
            OnAbout();
            return true;
        case res::ID_ADJUST_PHASES:
            OnAdjustPhases();
            return true;
        case res::ID_RECALCULATE_ALL:
            OnRecalculateAll();
            return true;
        case res::ID_LOAD_TYPE_LIBRARY:
            OnLoadTypeLibrary();
            return true;
        case res::ID_PROJECT_INFO:
            OnProjectInfo();
            return true;
        case res::ID_LOAD_INSERT:
            OnInsertRow(GridId::Load);
            return true;
        case res::ID_TRANSFORMER_INSERT:
            OnInsertRow(GridId::Transformer);
            return true;
        case res::ID_BOARD_INSERT:
            OnInsertRow(GridId::Board);
            return true;
        case res::ID_EDIT_UNDO:
            OnEditUndo();
            return true;
        case res::ID_EDIT_REDO:
            OnEditRedo();
            return true;
        case static_cast<unsigned>(IDCANCEL):
            OnCancel();
            return true;
        case res::ID_LOAD_CUT:
            OnCutRows(GridId::Load);
            return true;
        case res::ID_LOAD_COPY:
            OnCopyRows(GridId::Load);
            return true;
        case res::ID_LOAD_PASTE:
            OnPasteRows(GridId::Load);
            return true;
        case res::ID_LOAD_DELETE:
            OnDeleteRows(GridId::Load);
            return true;
        case res::ID_TRANSFORMER_CUT:
            OnCutRows(GridId::Transformer);
            return true;
        case res::ID_TRANSFORMER_COPY:
            OnCopyRows(GridId::Transformer);
            return true;
        case res::ID_TRANSFORMER_PASTE:
            OnPasteRows(GridId::Transformer);
            return true;
        case res::ID_TRANSFORMER_DELETE:
            OnDeleteRows(GridId::Transformer);
            return true;
        case res::ID_BOARD_CUT:
            OnCutRows(GridId::Board);
            return true;
        case res::ID_BOARD_COPY:
            OnCopyRows(GridId::Board);
            return true;
        case res::ID_BOARD_PASTE:
            OnPasteRows(GridId::Board);
            return true;
        case res::ID_BOARD_DELETE:
            OnDeleteRows(GridId::Board);
            return true;
        default:
            return false;
    }
}

void CLoadCalDiaog::OnAbout()
{
    Ui().ShowAboutBox();
}

KeyDisposition CLoadCalDiaog::PreTranslateKeyDown(DialogKey key)
{
    switch (key) {
        case DialogKey::Enter:
            return KeyDisposition::DispatchToFocus;
        case DialogKey::Escape:
            if (PromptSaveDocument() == IDCANCEL) {
                return KeyDisposition::DispatchToFocus;
            }
            // Answered once: a No means leave without saving.
            EndDialog(IDCANCEL);
            return KeyDisposition::Handled;
        case DialogKey::Other:
            break;
    }
    return KeyDisposition::Default;
}

// ---- Document lifecycle ----

bool CLoadCalDiaog::FileExists(const std::wstring& path)
{
    std::error_code ec;
    return !path.empty() && std::filesystem::exists(ToFsPath(path), ec);
}

void CLoadCalDiaog::SetTitle(const std::wstring& title)
{
    m_strTitle = title;
    if (m_pUi) {
        m_pUi->SetWindowText(title);
    }
}

void CLoadCalDiaog::SetDocumentTitle()
{
    std::wstring title(texts::kTitle);
    title += texts::kTitleOpen;
    title += m_strFilePath.empty() ? std::wstring(texts::kUntitled) : m_strFilePath;
    title += texts::kTitleClose;
    SetTitle(title);
}

void CLoadCalDiaog::AddRecentFile(const std::wstring& path)
{
    if (path.empty()) {
        return;
    }
    m_recentFiles.AddFile(path);
    m_recentFiles.SaveList();
}

bool CLoadCalDiaog::OpenExistingFile(const std::wstring& path)
{
    // Read into a tree of its own: a file that does not read back whole is
    // never half-opened, and its recent entry stays where it was.
    auto tree = std::make_unique<CInterDpData>();
    if (const int16_t status = tree->ReadDataFromIdpFile(path);
        status != static_cast<int16_t>(IdpStatus::Ok)) {
        MessageBox(texts::FormatText(texts::kOpenFailedFormat, path, ArchiveProblem(status),
                                     texts::CauseOf(tree->LastError(), path)),
                   texts::kApplicationName, MB_OK | MB_ICONEXCLAMATION);
        return false;
    }
    // The tree read whole may still hold what this program cannot take (a
    // rule set it does not know): refused the same way.
    CLoadCalDocument read;
    try {
        RestoreDocument(tree.get(), read);
    } catch (const DocumentError& e) {
        MessageBox(texts::FormatText(texts::kOpenFailedFormat, path, texts::kArchiveUnknownContent,
                                     texts::CauseOf(e.what(), path)),
                   texts::kApplicationName, MB_OK | MB_ICONEXCLAMATION);
        return false;
    }
    m_strFilePath = path;
    m_pIdpData = std::move(tree);
    m_bModified = 0;
    RemoveRecoveryCopy();
    AddRecentFile(path);
    ShowDocument(std::move(read));
    SetDocumentTitle();
    // Figures that are missing or do not follow from the inputs are not
    // shown as if they did: the user is offered a recalculation.
    if (HasStaleFigures() && MessageBox(texts::kStaleFiguresQuestion, texts::kApplicationName,
                                        MB_YESNO | MB_ICONQUESTION) == IDYES) {
        OnRecalculateAll();
    }
    return true;
}

int CLoadCalDiaog::SaveDocument()
{
    if (m_strFilePath.empty()) {
        return 0;
    }
    if (!m_pIdpData) {
        m_pIdpData = std::make_unique<CInterDpData>();
    }
    m_pIdpData->ClearDataFromMemory();
    // A document the archive cannot hold is refused before anything is written.
    std::wstring reason;
    const int most = static_cast<int>(kIdpMaxChildren);
    if (m_arrLoad.GetSize() > most) {
        reason = texts::FormatText(texts::kTooManyRecordsFormat,
                                   std::to_wstring(m_arrLoad.GetSize()), texts::kCircuits);
    } else if (m_arrTransformer.GetSize() > most) {
        reason =
            texts::FormatText(texts::kTooManyRecordsFormat,
                              std::to_wstring(m_arrTransformer.GetSize()), texts::kTransformers);
    } else if (m_arrBoard.GetSize() > most) {
        reason = texts::FormatText(texts::kTooManyRecordsFormat,
                                   std::to_wstring(m_arrBoard.GetSize()), texts::kBoards);
    } else {
        try {
            StoreDocument(*m_pIdpData, m_document);
            if (m_pIdpData->WriteDataToIdpFile(m_strFilePath) !=
                static_cast<int16_t>(IdpStatus::Ok)) {
                reason = texts::FormatText(texts::kWriteFailedFormat,
                                           texts::CauseOf(m_pIdpData->LastError(), m_strFilePath));
            }
        } catch (const DocumentError& e) {
            reason = texts::FormatText(texts::kWriteFailedFormat,
                                       texts::CauseOf(e.what(), m_strFilePath));
        }
    }
    if (!reason.empty()) {
        // The file keeps its previous content, the document its changes.
        MessageBox(texts::FormatText(texts::kSaveFailedFormat, m_strFilePath, reason),
                   texts::kSaveCaption, MB_OK | MB_ICONEXCLAMATION);
        return 0;
    }
    m_bModified = 0;
    m_history.MarkSaved();
    RemoveRecoveryCopy();
    return 1;
}

int CLoadCalDiaog::PromptSaveDocument()
{
    if (m_bModified == 0) {
        return IDYES;
    }
    const int answer =
        MessageBox(texts::kSaveQuestion, texts::kSaveCaption, MB_YESNOCANCEL | MB_ICONQUESTION);
    if (answer == IDNO) {
        return IDNO;
    }
    if (answer != IDYES) {
        return IDCANCEL;
    }
    // A save that fails has been reported; the command that asked must not
    // go on as if the document were safe.
    if (!m_strFilePath.empty()) {
        return SaveDocument() != 0 ? IDYES : IDCANCEL;
    }
    std::optional<std::wstring> path = Ui().SaveFileDialog(FileDialogSpec());
    if (!path) {
        return IDCANCEL;
    }
    // Title and recent list are deliberately left as they are here.
    m_strFilePath = *path;
    if (SaveDocument() == 0) {
        m_strFilePath.clear();
        return IDCANCEL;
    }
    return IDYES;
}

void CLoadCalDiaog::OnFileNew()
{
    if (PromptSaveDocument() == IDCANCEL) {
        return;
    }
    m_pIdpData.reset();
    m_bModified = 0;
    m_strFilePath.clear();
    RemoveRecoveryCopy();
    LoadDocument();
    SetDocumentTitle();
}

void CLoadCalDiaog::OnFileOpen()
{
    if (PromptSaveDocument() == IDCANCEL) {
        return;
    }
    std::optional<std::wstring> path = Ui().OpenFileDialog(FileDialogSpec());
    if (!path) {
        return;
    }
    if (FileExists(*path)) {
        OpenExistingFile(*path);
        return;
    }
    if (MessageBox(texts::FormatText(texts::kCreateQuestionFormat, *path), texts::kApplicationName,
                   MB_OKCANCEL | MB_ICONINFORMATION) != IDOK) {
        return;
    }
    // The file itself is written by the first save.
    m_strFilePath = *path;
    m_pIdpData.reset();
    m_bModified = 0;
    RemoveRecoveryCopy();
    AddRecentFile(*path);
    LoadDocument();
    SetDocumentTitle();
}

void CLoadCalDiaog::OnFileSave()
{
    if (m_strFilePath.empty()) {
        OnFileSaveAs();
        return;
    }
    const int wasModified = m_bModified;
    m_bModified = 0;
    if (SaveDocument() == 0) {
        m_bModified = wasModified;
    }
}

void CLoadCalDiaog::OnFileSaveAs()
{
    std::optional<std::wstring> path = Ui().SaveFileDialog(FileDialogSpec());
    if (!path) {
        return;
    }
    // A Save As that fails changes nothing: the document keeps its file,
    // title and recent list (and its modified flag).
    std::wstring previous = std::exchange(m_strFilePath, *path);
    if (SaveDocument() == 0) {
        m_strFilePath = std::move(previous);
        return;
    }
    AddRecentFile(*path);
    SetDocumentTitle();
}

void CLoadCalDiaog::OnRecentFile(unsigned id)
{
    if (PromptSaveDocument() == IDCANCEL) {
        return;
    }
    // An id beyond the list is an invalid index (CInvalidArgException).
    const std::wstring path =
        m_recentFiles.GetAt(static_cast<int>(id - CLoadCalRecentFiles::kFirstCommandId));
    if (!FileExists(path)) {
        // The entry stays in the list.
        MessageBox(texts::kRecentFileMissing, texts::kApplicationName, MB_OK);
        return;
    }
    OpenExistingFile(path);
}

void CLoadCalDiaog::OnFileExit()
{
    if (PromptSaveDocument() == IDCANCEL) {
        return;
    }
    EndDialog(IDOK);
}

void CLoadCalDiaog::OnCalculationBook()
{
    if (!m_pBookWriter) {
        return;
    }
    CFileDialogOptions options;
    options.filter = texts::kBookFilter;
    options.defaultExtension = texts::kBookExtension;
    const std::wstring stem = m_strFilePath.empty() ? std::wstring(texts::kUntitled)
                                                    : FromFsPath(ToFsPath(m_strFilePath).stem());
    options.initialName = stem + L"." + std::wstring(texts::kBookExtension);
    const std::optional<std::wstring> path = Ui().SaveFileDialog(options);
    if (!path) {
        return;
    }
    // The book prints what the window shows: figures a recalculation would
    // change are put right first, as one undo step, as 全部重算 does.
    OnRecalculateAll();
    bool shown = false;
    try {
        shown = m_pBookWriter->WriteBook(m_document, m_strFilePath, *path);
    } catch (const std::exception& e) {
        MessageBox(
            texts::FormatText(texts::kBookFailedFormat, *path, texts::CauseOf(e.what(), *path)),
            texts::kApplicationName, MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    // The status bar names the book, as after the other outputs.
    Ui().SetStatusText(texts::FormatText(texts::kOutputWrittenFormat, *path));
    if (!shown) {
        MessageBox(std::wstring(texts::kBookNotShown) + L"\n" + *path, texts::kApplicationName,
                   MB_OK);
    }
}

void CLoadCalDiaog::OnCancel()
{
    if (PromptSaveDocument() == IDCANCEL) {
        return;
    }
    EndDialog(IDCANCEL);
}

// ---- The load-type library ----

bool CLoadCalDiaog::ReloadLoadTypes()
{
    const CLoadTypeLibraryLoad load = LoadLoadTypeLibrary(m_strUserLoadTypesPath);
    m_loadTypes = load.library;
    m_userLoadTypes = CLoadTypeLibrary();
    for (const CLoadType& type : m_loadTypes.Types()) {
        if (type.origin != LoadTypeOrigin::Shipped) {
            m_userLoadTypes.Put(type);
        }
    }
    if (load.userError) {
        MessageBox(texts::FormatText(texts::kUserLoadTypesRefusedFormat, m_strUserLoadTypesPath,
                                     FromUtf8(*load.userError)),
                   texts::kApplicationName, MB_OK | MB_ICONEXCLAMATION);
    }
    return !load.userError;
}

void CLoadCalDiaog::OnLoadTypeLibrary()
{
    const CLoadTypeLibraryLoad load = LoadLoadTypeLibrary(m_strUserLoadTypesPath);
    CLoadTypeLibrary user;
    for (const CLoadType& type : load.library.Types()) {
        if (type.origin != LoadTypeOrigin::Shipped) {
            user.Put(type);
        }
    }
    if (load.userError) {
        MessageBox(texts::FormatText(texts::kUserLoadTypesReplacedFormat, m_strUserLoadTypesPath,
                                     FromUtf8(*load.userError)),
                   texts::kApplicationName, MB_OK | MB_ICONEXCLAMATION);
    }
    CLoadTypeLibraryEditor editor(ShippedLoadTypes(), user);
    if (!Ui().EditLoadTypes(editor, m_strUserLoadTypesPath)) {
        return;
    }
    m_userLoadTypes = editor.UserLibrary();
    m_loadTypes = editor.MergedLibrary();
    // The marks follow the library; the document itself is unchanged.
    RefreshWarnings(nullptr);
}

// ---- Phase balancing host ----

void CLoadCalDiaog::SetPhaseCell(int record, const std::wstring& phase)
{
    Loads().Modify(record, [&phase](CLoadCalData& c) { c.m_strPhase = phase; });
    const int col = GridColumnOfField(GridId::Load, CLoadCalData::kPhase);
    if (const int row = LoadRowOfRecord(record); row > 0) {
        m_gridLoad.SetItemText(row, col, phase);
        m_gridLoad.RedrawCell(row, col);
    }
}

void CLoadCalDiaog::ShowReport(const std::wstring& report)
{
    MessageBox(report, texts::kApplicationName, MB_OK);
}

void CLoadCalDiaog::OnAdjustPhases()
{
    if (!m_pExtremum) {
        throw std::logic_error("CLoadCalDiaog: phase balancing before OnInitDialog");
    }
    // Every owner group is spread and reported, a small one in turn.
    // The search works on a copy; each phase it sets comes back through
    // SetPhaseCell, which records it. The whole run is one undo step.
    CCommandScope command(*this);
    CLoadArray working = m_arrLoad;
    RunPhaseBalancing(working, m_arrPhase, *m_pExtremum, m_nGenerations, *this, m_arrBoard);
}

}  // namespace loadcal
