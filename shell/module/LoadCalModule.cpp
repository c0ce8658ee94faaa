#include "shell/module/LoadCalModule.h"

namespace loadcal {

QxCmdTable g_loadCalCommands[2] = {
    {L"sample", &SampleCommand, 2},
    {L"FHJS", &FhjsCommand, 2},
};

void SampleCommand() {}

int QxDefineCommand(const wchar_t* group, QxCmdTable* table, int count, int /*last*/)
{
    auto* stack = dynamic_cast<CCommandStack*>(acrxSysRegistryLookup("ACAD_REGISTERED_COMMANDS"));
    if (stack == nullptr) {
        return 0;
    }
    int registered = 0;
    for (int i = 0; i < count; ++i) {
        if (stack->AddCommand(group, table[i].name, table[i].function, table[i].flags)) {
            ++registered;
        }
    }
    return registered;
}

int acrxEntryPoint(int msg, void* appPacket)
{
    switch (msg) {
        case kInitAppMsg: {
            // There is no extension-module state to start on this platform:
            // the module's texts and resources are compiled into it.
            acrxUnlockApplication(appPacket);
            if (auto* linker =
                    dynamic_cast<CDynamicLinker*>(acrxSysRegistryLookup("DynamicLinker"))) {
                linker->RegisterAppMDIAware(appPacket);
            }
            QxDefineCommand(kLoadCalGroup, g_loadCalCommands, 2, 0);
            break;
        }
        case kUnloadAppMsg:
            if (auto* stack = dynamic_cast<CCommandStack*>(
                    acrxSysRegistryLookup("ACAD_REGISTERED_COMMANDS"))) {
                stack->RemoveGroup(kLoadCalGroup);
            }
            break;
        default:
            break;
    }
    return 0;
}

}  // namespace loadcal
