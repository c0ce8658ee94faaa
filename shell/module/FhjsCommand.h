#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "output/CadHost.h"

namespace loadcal {

class IModalRunner;

/// What the FHJS command takes from the command line that started the host
/// (a command function itself has no arguments): the files its outputs
/// write, the drawing's base point and scale, and for tests the settings
/// file of the recent-files list and the answerer of modal boxes.
struct FhjsOptions {
    std::optional<std::filesystem::path> drawing;   ///< --drawing FILE.dxf (else asked)
    std::optional<std::filesystem::path> workbook;  ///< --xlsx FILE.xlsx (else asked)
    std::optional<CadPoint> base;                   ///< --base X,Y[,Z] (else asked in the window)
    double scale = 1.0;                             ///< --scale S
    bool openWorkbook = true;  ///< hand the workbook and the calculation book to the desktop
    std::optional<std::wstring>
        settingsPath;                ///< recent-files settings (default: beside the program)
    IModalRunner* runner = nullptr;  ///< modal boxes' answerer (null: the user)
};

/// Options for the next runs of FHJS in this process.
void SetFhjsOptions(FhjsOptions options);
const FhjsOptions& GetFhjsOptions();

}  // namespace loadcal
