#pragma once

#include <string>

#include "model/Calculation.h"
#include "model/Document.h"

namespace loadcal {

/// How writing one output of the window ended.
struct COutputResult {
    enum class Status {
        Written,    ///< the file was written (path)
        Cancelled,  ///< the user cancelled a question of this output: nothing written
        Failed,     ///< nothing written; error says why (the previous file stays)
    };
    Status status = Status::Cancelled;
    std::wstring path;   ///< the file written
    bool shown = false;  ///< a program of the desktop was started to show it
    std::wstring error;  ///< Failed: one line naming the file and the cause
};

/// Where the window's commands "绘制到Acad" and "输出到Excell" have their
/// file written: the Qt side asks for the file and, for the drawing, the
/// base point, writes it through output/ and hands it to the desktop. The
/// window stays open whatever happens. Borrowed by the dialog; calls are
/// synchronous, on the user-interface thread.
class IOutputWriter {
public:
    virtual ~IOutputWriter() = default;
    /// The tables drawn into a DXF drawing; archivePath (empty when
    /// untitled) proposes the file's name.
    virtual COutputResult WriteDrawing(const CLoadCalDocument& doc, const SummaryTotals& totals,
                                       const std::wstring& archivePath) = 0;
    /// The tables written into an xlsx workbook.
    virtual COutputResult WriteWorkbook(const CLoadCalDocument& doc, const SummaryTotals& totals,
                                        const std::wstring& archivePath) = 0;
};

}  // namespace loadcal
