#include "dialog/qt/QtOutput.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QEventLoop>
#include <QFormLayout>
#include <QLabel>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>
#include <system_error>

#include "dialog/LoadCalTexts.h"
#include "dialog/qt/ModalRunner.h"
#include "dialog/qt/QtText.h"
#include "dialog/qt/WindowTexts.h"
#include "document/AtomicFile.h"
#include "model/Text.h"
#include "output/DrawingExport.h"
#include "output/ExcelExport.h"
#include "output/OutputError.h"
#include "output/PointSource.h"
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
    const QString launcher = m_launcher.empty()
                                 ? QStandardPaths::findExecutable(QStringLiteral("xdg-open"))
                                 : ToQString(m_launcher);
    if (launcher.isEmpty()) {
        return QDesktopServices::openUrl(QUrl::fromLocalFile(ToQPath(file)));
    }
    // Owned by the application, so that a launcher that outlives the wait
    // is not killed when this function returns.
    auto* process = new QProcess(QCoreApplication::instance());
    process->setProgram(launcher);
    process->setArguments({ToQPath(file)});
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(process, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(process, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    process->start();
    if (!process->waitForStarted()) {
        delete process;
        return false;
    }
    timer.start(static_cast<int>(m_wait.count()));
    if (process->state() != QProcess::NotRunning) {
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
    if (process->state() != QProcess::NotRunning) {
        QObject::connect(process, &QProcess::finished, process, &QObject::deleteLater);
        return true;
    }
    const bool opened = process->exitStatus() == QProcess::NormalExit && process->exitCode() == 0;
    delete process;
    return opened;
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

std::optional<CadPoint> AskBasePoint(QWidget* parent, IModalRunner* runner)
{
    QDialog dialog(parent);
    dialog.setObjectName(QStringLiteral("basePointDialog"));
    dialog.setWindowTitle(ToQString(texts::kBasePointCaption));
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(new QLabel(ToQString(texts::kBasePointPrompt), &dialog));
    auto* form = new QFormLayout;
    QDoubleSpinBox* boxes[3] = {};
    const char* names[3] = {"X", "Y", "Z"};
    for (int k = 0; k < 3; ++k) {
        boxes[k] = new QDoubleSpinBox(&dialog);
        boxes[k]->setObjectName(QString::fromLatin1(names[k]));
        boxes[k]->setRange(-1e9, 1e9);
        boxes[k]->setDecimals(3);
        boxes[k]->setValue(0.0);
        form->addRow(QString::fromLatin1(names[k]) + QStringLiteral(":"), boxes[k]);
    }
    layout->addLayout(form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    // X takes the keyboard with its 0 selected, so that typing replaces it
    // (Tab selects the text of Y and Z likewise).
    boxes[0]->setFocus();
    boxes[0]->selectAll();
    CModalRunner interactive;
    IModalRunner& run = runner ? *runner : static_cast<IModalRunner&>(interactive);
    if (run.Exec(dialog) != QDialog::Accepted) {
        return std::nullopt;
    }
    return CadPoint{boxes[0]->value(), boxes[1]->value(), boxes[2]->value()};
}

COutputResult CQtOutputWriter::Written(const std::filesystem::path& file)
{
    COutputResult result;
    result.status = COutputResult::Status::Written;
    result.path = FromFsPath(file);
    CQtFileOpener desktop;
    IFileOpener& opener = m_pOpener ? *m_pOpener : static_cast<IFileOpener&>(desktop);
    result.shown = !m_options.open || opener.Open(file);
    return result;
}

COutputResult CQtOutputWriter::WriteDrawing(const CLoadCalDocument& doc,
                                            const SummaryTotals& totals,
                                            const std::wstring& archivePath)
{
    std::optional<std::filesystem::path> file = m_options.drawing;
    if (file) {
        if (!ConfirmReplaceFile(*file, nullptr, m_options.runner)) {
            return {};
        }
    } else {
        file = ChooseOutputFile(OutputFileKind::Drawing, archivePath, nullptr, m_options.runner);
        if (!file) {
            return {};
        }
    }
    std::optional<CadPoint> base = m_options.base;
    if (!base) {
        base = AskBasePoint(nullptr, m_options.runner);
        if (!base) {
            return {};
        }
    }
    CFixedPointSource point(base);
    try {
        ExportDrawing(doc.loads, doc.transformers, totals,
                      {*file, m_options.scale, true, doc.project.Name()}, point);
    } catch (const OutputError& e) {
        return {COutputResult::Status::Failed, FromFsPath(*file), false, FromUtf8(e.what())};
    }
    return Written(*file);
}

COutputResult CQtOutputWriter::WriteWorkbook(const CLoadCalDocument& doc,
                                             const SummaryTotals& totals,
                                             const std::wstring& archivePath)
{
    std::optional<std::filesystem::path> file = m_options.workbook;
    if (!file) {
        file = ChooseOutputFile(OutputFileKind::Workbook, archivePath, nullptr, m_options.runner);
        if (!file) {
            return {};
        }
    }
    try {
        loadcal::WriteWorkbook(*file, doc.loads, doc.transformers, totals);
    } catch (const OutputError& e) {
        return {COutputResult::Status::Failed, FromFsPath(*file), false, FromUtf8(e.what())};
    }
    return Written(*file);
}

}  // namespace loadcal
