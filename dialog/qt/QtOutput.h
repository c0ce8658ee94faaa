#pragma once

#include "dialog/OutputWriter.h"
#include "output/CadHost.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "dialog/CalculationBookWriter.h"
#include "output/Desktop.h"

class QWidget;

namespace loadcal {

class IModalRunner;

/// The output layer's messages in the window: each one in a message box with
/// an OK button and the exclamation icon under the application's name, owned
/// by a window or none. The runner is borrowed (null: interactive).
class CQtMessageSink final : public IMessageSink {
public:
    explicit CQtMessageSink(QWidget* parent = nullptr, IModalRunner* runner = nullptr)
        : m_pParent(parent), m_pRunner(runner)
    {}
    void ShowMessage(const std::wstring& text) override;

private:
    QWidget* m_pParent;
    IModalRunner* m_pRunner;
};

/// Hands a finished file to the desktop's default application for its type
/// and tells whether one took it. Where the desktop has a launcher
/// (xdg-open) it is run and its exit status decides: 0 is success, another
/// status or a launcher that cannot start is failure ("no method available"
/// when no application handles the type). A launcher still running after
/// `wait` holds the application it started in the foreground and counts as
/// success; it finishes on its own. The window repaints while it waits but
/// takes no input. Without a launcher Qt's QDesktopServices decides.
class CQtFileOpener final : public IFileOpener {
public:
    /// launcher: the program to run (empty: xdg-open found on the PATH).
    explicit CQtFileOpener(std::wstring launcher = {},
                           std::chrono::milliseconds wait = std::chrono::seconds(2))
        : m_launcher(std::move(launcher)), m_wait(wait)
    {}
    bool Open(const std::filesystem::path& file) override;

private:
    std::wstring m_launcher;
    std::chrono::milliseconds m_wait;
};

/// The window's calculation book: rendered to PDF (output/report) and
/// written atomically, then handed to the desktop's PDF viewer through Qt
/// unless open is false. The opener is borrowed (null: CQtFileOpener).
class CQtCalculationBookWriter final : public ICalculationBookWriter {
public:
    explicit CQtCalculationBookWriter(bool open = true, IFileOpener* opener = nullptr)
        : m_bOpen(open), m_pOpener(opener)
    {}
    bool WriteBook(const CLoadCalDocument& doc, const std::wstring& documentPath,
                   const std::wstring& path) override;

private:
    bool m_bOpen;
    IFileOpener* m_pOpener;
};

/// Asks for the drawing's base point in a small dialog of the window: X, Y
/// and Z, each 0 at first. The point, or nothing when cancelled.
std::optional<CadPoint> AskBasePoint(QWidget* parent = nullptr, IModalRunner* runner = nullptr);

/// What the window's outputs take from the command line that started it.
struct QtOutputOptions {
    std::optional<std::filesystem::path> drawing;   ///< else asked in a save dialog
    std::optional<std::filesystem::path> workbook;  ///< else asked in a save dialog
    std::optional<CadPoint> base;                   ///< else asked (AskBasePoint)
    double scale = 1.0;
    bool open = true;                ///< hand each written file to the desktop
    IModalRunner* runner = nullptr;  ///< modal boxes' answerer (null: the user)
};

/// The window's drawing and workbook: the file from the options or a save
/// dialog, the base point from the options or AskBasePoint, written through
/// output/ (ExportDrawing, WriteWorkbook) and handed to the desktop. A
/// cancelled question cancels the output only. The opener is borrowed
/// (null: CQtFileOpener).
class CQtOutputWriter final : public IOutputWriter {
public:
    explicit CQtOutputWriter(QtOutputOptions options, IFileOpener* opener = nullptr)
        : m_options(std::move(options)), m_pOpener(opener)
    {}
    COutputResult WriteDrawing(const CLoadCalDocument& doc, const SummaryTotals& totals,
                               const std::wstring& archivePath) override;
    COutputResult WriteWorkbook(const CLoadCalDocument& doc, const SummaryTotals& totals,
                                const std::wstring& archivePath) override;

private:
    COutputResult Written(const std::filesystem::path& file);
    QtOutputOptions m_options;
    IFileOpener* m_pOpener;
};

/// The two files an output writes.
enum class OutputFileKind {
    Drawing,   ///< the DXF drawing (output mode 1)
    Workbook,  ///< the xlsx workbook (output mode 2)
};

/// The file an output proposes for an archive: the archive's path with the
/// output's extension (".dxf" or ".xlsx") instead of its own; for an
/// untitled document (empty path) "未命名" with that extension in the
/// working folder.
std::filesystem::path ProposedOutputFile(OutputFileKind kind, const std::wstring& archivePath);

/// Asks for the drawing or workbook file in a save dialog that starts at
/// ProposedOutputFile, filters on the output's extension (either case) and
/// adds it when the user types none; the dialog itself asks before an
/// existing file is replaced. The chosen path, or nothing when cancelled.
std::optional<std::filesystem::path> ChooseOutputFile(OutputFileKind kind,
                                                      const std::wstring& archivePath,
                                                      QWidget* parent = nullptr,
                                                      IModalRunner* runner = nullptr);

/// For a drawing path that did not come through ChooseOutputFile (given on
/// the command line): true when no file exists there, else asks whether to
/// replace it (Yes / No, question icon) and returns true for Yes.
bool ConfirmReplaceFile(const std::filesystem::path& file, QWidget* parent = nullptr,
                        IModalRunner* runner = nullptr);

}  // namespace loadcal
