#pragma once

#include <cstdint>

#include "shell/host/Host.h"

namespace loadcal {

/// One entry of a module's command table: the command's global name, the
/// function to call and the flags it is registered with.
struct QxCmdTable {
    const wchar_t* name;
    CommandFunction function;
    int32_t flags;
};

/// The host's life-cycle messages.
enum AppMsgCode : int {
    kInitAppMsg = 1,
    kUnloadAppMsg = 2,
    kLoadDwgMsg = 3,
    kUnloadDwgMsg = 4,
    kInvkSubrMsg = 5,
};

/// The module's group name and command table ("sample", "FHJS"; flags 2).
inline constexpr const wchar_t* kLoadCalGroup = L"OrmoLoadCal";
extern QxCmdTable g_loadCalCommands[2];

/// Registers `count` entries of a command table under a group in the host's
/// command stack. The table must outlive the registration. Returns the number
/// of commands registered.
int QxDefineCommand(const wchar_t* group, QxCmdTable* table, int count, int last);

/// The module's entry: on load it unlocks itself, declares itself able to
/// work with several drawings and registers its commands; on unload it removes
/// its group. Every message answers 0.
int acrxEntryPoint(int msg, void* appPacket);

/// "sample": a registered command that does nothing.
void SampleCommand();

/// "FHJS": the load-calculation command (runs the dialog, then the chosen output).
void FhjsCommand();

}  // namespace loadcal
