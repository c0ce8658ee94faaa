#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace loadcal {

/// A command function as the host calls it: no arguments, no result.
using CommandFunction = void (*)();

/// Base of the objects the host keeps in its system registry; the registry
/// hands them out by key and the caller checks their class.
class CRxObject {
public:
    virtual ~CRxObject() = default;
};

/// The host's command stack: named commands in named groups. Typing a
/// command's name runs its function. Names are looked up without regard to
/// case, as on a CAD command line.
class CCommandStack : public CRxObject {
public:
    struct Command {
        std::wstring group;
        std::wstring name;
        CommandFunction function = nullptr;
        int32_t flags = 0;
    };

    /// Registers a command; false when a command of that name already exists.
    bool AddCommand(const std::wstring& group, const std::wstring& name, CommandFunction function,
                    int32_t flags);
    /// Removes every command of a group; returns how many went.
    int RemoveGroup(const std::wstring& group);
    /// The command of that name, or null.
    const Command* Lookup(const std::wstring& name) const;
    /// The commands of a group in registration order.
    std::vector<Command> GroupCommands(const std::wstring& group) const;

private:
    std::vector<Command> m_commands;
};

/// The host's dynamic linker; here it only remembers which application
/// packets declared themselves able to work with several open drawings.
class CDynamicLinker : public CRxObject {
public:
    void RegisterAppMDIAware(void* appPacket);
    bool IsMDIAware(void* appPacket) const;

private:
    std::vector<void*> m_mdiAware;
};

/// The host program: its system registry (the dynamic linker under
/// "DynamicLinker", the command stack under "ACAD_REGISTERED_COMMANDS"), the
/// command line it prints to and reads from, its error stream and exit
/// status, and the applications it unlocked. One host exists per process; it owns the registered
/// objects.
class CHost {
public:
    CHost(std::istream& in, std::ostream& out, std::ostream& err);
    ~CHost();
    CHost(const CHost&) = delete;
    CHost& operator=(const CHost&) = delete;

    /// The running host (set while a CHost object lives).
    static CHost* Current();

    /// The registered object under key, or null.
    CRxObject* Registry(const std::string& key) const;
    CCommandStack& Commands() { return *m_commands; }
    CDynamicLinker& Linker() { return *m_linker; }
    std::istream& In() { return m_in; }
    std::ostream& Out() { return m_out; }
    std::ostream& Err() { return m_err; }

    /// A command that failed says so here: the message goes to the error
    /// stream and the status becomes the program's exit status.
    void Fail(int status, const std::string& message);
    int Status() const { return m_nStatus; }

    void UnlockApplication(void* appPacket);
    bool IsUnlocked(void* appPacket) const;

    /// Runs a typed command by name; false when no such command is registered.
    bool RunCommand(const std::wstring& name);

private:
    std::istream& m_in;
    std::ostream& m_out;
    std::ostream& m_err;
    int m_nStatus = 0;
    std::unique_ptr<CCommandStack> m_commands;
    std::unique_ptr<CDynamicLinker> m_linker;
    std::map<std::string, CRxObject*> m_registry;
    std::vector<void*> m_unlocked;
    CHost* m_previous;
};

// The host's functions as a module calls them; they act on CHost::Current().
CRxObject* acrxSysRegistryLookup(const std::string& key);
void acrxUnlockApplication(void* appPacket);
/// Prints on the host's command line (UTF-8).
void acutPrintf(const std::wstring& text);

}  // namespace loadcal
