#include "shell/host/Host.h"

#include <algorithm>
#include <istream>

#include "model/Text.h"

namespace loadcal {
namespace {

CHost* g_current = nullptr;

}  // namespace

bool CCommandStack::AddCommand(const std::wstring& group, const std::wstring& name,
                               CommandFunction function, int32_t flags)
{
    if (Lookup(name) != nullptr) {
        return false;
    }
    m_commands.push_back({group, name, function, flags});
    return true;
}

int CCommandStack::RemoveGroup(const std::wstring& group)
{
    const auto before = m_commands.size();
    std::erase_if(m_commands, [&](const Command& c) { return c.group == group; });
    return static_cast<int>(before - m_commands.size());
}

const CCommandStack::Command* CCommandStack::Lookup(const std::wstring& name) const
{
    const auto it = std::find_if(m_commands.begin(), m_commands.end(),
                                 [&](const Command& c) { return EqualsNoCase(c.name, name); });
    return it == m_commands.end() ? nullptr : &*it;
}

std::vector<CCommandStack::Command> CCommandStack::GroupCommands(const std::wstring& group) const
{
    std::vector<Command> out;
    std::copy_if(m_commands.begin(), m_commands.end(), std::back_inserter(out),
                 [&](const Command& c) { return c.group == group; });
    return out;
}

void CDynamicLinker::RegisterAppMDIAware(void* appPacket)
{
    if (!IsMDIAware(appPacket)) {
        m_mdiAware.push_back(appPacket);
    }
}

bool CDynamicLinker::IsMDIAware(void* appPacket) const
{
    return std::find(m_mdiAware.begin(), m_mdiAware.end(), appPacket) != m_mdiAware.end();
}

CHost::CHost(std::istream& in, std::ostream& out, std::ostream& err)
    : m_in(in),
      m_out(out),
      m_err(err),
      m_commands(std::make_unique<CCommandStack>()),
      m_linker(std::make_unique<CDynamicLinker>()),
      m_previous(g_current)
{
    m_registry["DynamicLinker"] = m_linker.get();
    m_registry["ACAD_REGISTERED_COMMANDS"] = m_commands.get();
    g_current = this;
}

CHost::~CHost()
{
    g_current = m_previous;
}

CHost* CHost::Current()
{
    return g_current;
}

void CHost::Fail(int status, const std::string& message)
{
    m_nStatus = status;
    if (!message.empty()) {
        m_err << "loadcal: " << message << "\n";
    }
}

CRxObject* CHost::Registry(const std::string& key) const
{
    const auto it = m_registry.find(key);
    return it == m_registry.end() ? nullptr : it->second;
}

void CHost::UnlockApplication(void* appPacket)
{
    if (!IsUnlocked(appPacket)) {
        m_unlocked.push_back(appPacket);
    }
}

bool CHost::IsUnlocked(void* appPacket) const
{
    return std::find(m_unlocked.begin(), m_unlocked.end(), appPacket) != m_unlocked.end();
}

bool CHost::RunCommand(const std::wstring& name)
{
    const CCommandStack::Command* command = m_commands->Lookup(name);
    if (command == nullptr || command->function == nullptr) {
        return false;
    }
    const CommandFunction function = command->function;
    function();
    return true;
}

CRxObject* acrxSysRegistryLookup(const std::string& key)
{
    return g_current ? g_current->Registry(key) : nullptr;
}

void acrxUnlockApplication(void* appPacket)
{
    if (g_current) {
        g_current->UnlockApplication(appPacket);
    }
}

void acutPrintf(const std::wstring& text)
{
    if (g_current) {
        g_current->Out() << ToUtf8(text);
        g_current->Out().flush();
    }
}

}  // namespace loadcal
