#include "dialog/qt/QtOutput.h"

#include <QDesktopServices>
#include <QUrl>
#include <system_error>

#include "dialog/LoadCalTexts.h"
#include "dialog/qt/ModalRunner.h"
#include "dialog/qt/QtText.h"
#include "dialog/qt/WindowTexts.h"
#include "document/AtomicFile.h"
#include "output/report/CalculationBook.h"

namespace loadcal {
namespace {

IModalRunner& RunnerOr(IModalRunner* runner)
{
    static CModalRunner interactive;
    return runner ? *runner : interactive;
}

QString ToQPath(const std::filesystem::path& path)
{
    return ToQString(FromFsPath(path));
}

}  // namespace

void CQtMessageSink::ShowMessage(const std::wstring& text)
{
    RunMessageBox(RunnerOr(m_pRunner), m_pParent, QMessageBox::Warning,
                  ToQString(texts::kApplicationName), ToQString(text), QMessageBox::Ok);
}

bool CQtFileOpener::Open(const std::filesystem::path& file)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(ToQPath(file)));
}

bool CQtCalculationBookWriter::WriteBook(const CLoadCalDocument& doc,
                                         const std::wstring& documentPath, const std::wstring& path)
{
    const std::filesystem::path file = ToFsPath(path);
    WriteCalculationBook(file, doc, {BookProjectName(documentPath), {}, doc.project});
    if (!m_bOpen) {
        return true;
    }
    CQtFileOpener desktop;
    return (m_pOpener ? *m_pOpener : desktop).Open(file);
}

std::filesystem::path ProposedOutputFile(OutputFileKind kind, const std::wstring& archivePath)
{
    const std::wstring extension(kind == OutputFileKind::Drawing ? texts::kDrawingExtension
                                                                 : texts::kWorkbookExtension);
    std::filesystem::path file;
    if (archivePath.empty()) {
        std::error_code ec;
        file = std::filesystem::current_path(ec) / ToFsPath(std::wstring(texts::kUntitled));
    } else {
        file = ToFsPath(archivePath);
    }
    file.replace_extension(ToFsPath(L"." + extension));
    return file;
}

std::optional<std::filesystem::path> ChooseOutputFile(OutputFileKind kind,
                                                      const std::wstring& archivePath,
                                                      QWidget* parent, IModalRunner* runner)
{
    const bool drawing = kind == OutputFileKind::Drawing;
    const std::filesystem::path proposed = ProposedOutputFile(kind, archivePath);
    FileDialogRequest request;
    request.save = true;
    request.filter = drawing ? texts::kDrawingFilter : texts::kWorkbookFilter;
    request.defaultExtension = drawing ? texts::kDrawingExtension : texts::kWorkbookExtension;
    request.directory = ToQPath(proposed.parent_path());
    request.proposedName = ToQPath(proposed.filename());
    request.confirmOverwrite = true;
    const std::optional<QString> chosen = RunFileDialog(RunnerOr(runner), parent, request);
    if (!chosen) {
        return std::nullopt;
    }
    return ToFsPath(ToWString(*chosen));
}

bool ConfirmReplaceFile(const std::filesystem::path& file, QWidget* parent, IModalRunner* runner)
{
    std::error_code ec;
    if (!std::filesystem::exists(file, ec)) {
        return true;
    }
    const std::wstring text = texts::FormatText(texts::kReplaceFileFormat, FromFsPath(file));
    return RunMessageBox(RunnerOr(runner), parent, QMessageBox::Question,
                         ToQString(texts::kApplicationName), ToQString(text),
                         QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

}  // namespace loadcal
