#pragma once

#include <string>

#include "model/Document.h"

namespace loadcal {

/// Where the dialog's command "生成计算书" has the calculation book written:
/// the window's side renders the PDF and shows it in the desktop's viewer.
/// Borrowed by the dialog; calls are synchronous, on the user-interface
/// thread.
class ICalculationBookWriter {
public:
    virtual ~ICalculationBookWriter() = default;

    /// Writes the book of the document as it stands to path; documentPath is
    /// the archive's path (empty when untitled), which names the project.
    /// Throws std::exception with a one-line message naming the file when the
    /// book cannot be written (the previous file then stays as it was). Then
    /// shows the book unless told not to; false when no viewer could be
    /// started for it.
    virtual bool WriteBook(const CLoadCalDocument& doc, const std::wstring& documentPath,
                           const std::wstring& path) = 0;
};

}  // namespace loadcal
