#include "document/RecentFiles.h"

#include <filesystem>
#include <system_error>

#include "document/AtomicFile.h"
#include "document/InterDpData.h"
#include "model/Text.h"

namespace loadcal {
namespace {

constexpr wchar_t kSeparator = L'/';
constexpr std::wstring_view kSettingsRelative = L"DQCal/需要系数法负荷计算.idp";

/// The text before the last separator; nothing when there is none.
std::wstring CutLastComponent(const std::wstring& path)
{
    const size_t pos = path.rfind(kSeparator);
    return pos == std::wstring::npos ? std::wstring() : path.substr(0, pos);
}

/// Stores a text value the way the archives do: UTF-16 length plus one.
void SetText(CInterDpData& store, const std::wstring& path, const std::wstring& text)
{
    store.SetSubValueW(path, static_cast<int16_t>(Utf16Length(text) + 1), text.c_str(), 0);
}

}  // namespace

CLoadCalRecentFiles::CLoadCalRecentFiles() : CLoadCalRecentFiles(DefaultSettingsPath()) {}

CLoadCalRecentFiles::CLoadCalRecentFiles(std::wstring settingsPath)
    : m_pSettings(std::make_unique<CInterDpData>()), m_strSettingsPath(std::move(settingsPath))
{
    // A missing or unreadable file leaves an empty tree; nothing is reported.
    m_pSettings->ReadDataFromIdpFile(m_strSettingsPath);
}

CLoadCalRecentFiles::~CLoadCalRecentFiles() = default;

void CLoadCalRecentFiles::LoadList()
{
    m_arrFiles.RemoveAll();
    for (int n = 1; n <= kMaxFiles; ++n) {
        const std::wstring key = std::wstring(kReadGroup) + L"\\" + std::to_wstring(n);
        const CInterDpNode* node = m_pSettings->GetSubValueFromPathW(0, key);
        if (!node || node->ValueCount() < 1) {
            break;
        }
        m_arrFiles.Add(node->Value());
    }
}

void CLoadCalRecentFiles::AddFile(const std::wstring& path)
{
    for (int i = 0; i < m_arrFiles.GetSize(); ++i) {
        if (EqualsNoCase(m_arrFiles[i], path)) {
            m_arrFiles.RemoveAt(i);
            break;
        }
    }
    m_arrFiles.InsertAt(0, path);
    if (m_arrFiles.GetSize() > kMaxFiles) {
        m_arrFiles.RemoveAt(kMaxFiles, m_arrFiles.GetSize() - kMaxFiles);
    }
}

void CLoadCalRecentFiles::SaveList()
{
    // The tree is not emptied: the list never shrinks, so no stale value
    // remains above its length.
    for (int i = 0; i < m_arrFiles.GetSize(); ++i) {
        SetText(*m_pSettings, std::wstring(kWriteGroup) + L"\\" + std::to_wstring(i + 1),
                m_arrFiles[i]);
    }
    WriteSettings();
}

void CLoadCalRecentFiles::WriteSettings()
{
    // The settings folder is made on the first write, so the list survives
    // the session wherever the program was unpacked; a folder that cannot be
    // made leaves the settings in memory only, as any write failure does.
    std::error_code ec;
    std::filesystem::create_directories(ToFsPath(m_strSettingsPath).parent_path(), ec);
    m_pSettings->WriteDataToIdpFile(m_strSettingsPath);
}

std::optional<std::wstring> CLoadCalRecentFiles::GetSetting(const std::wstring& path) const
{
    const CInterDpNode* node = m_pSettings->GetSubValueFromPathW(0, path);
    if (!node || node->ValueCount() < 1) {
        return std::nullopt;
    }
    return std::wstring(node->ValueText());
}

void CLoadCalRecentFiles::SetSetting(const std::wstring& path, const std::wstring& text)
{
    SetText(*m_pSettings, path, text);
}

void CLoadCalRecentFiles::UpdateMenu(IRecentFilesMenu& popup, int first)
{
    const int count = m_arrFiles.GetSize();
    if (count > 0) {
        if (m_bPlaceholderRemoved == 0) {
            popup.DeleteItemAtPosition(first);
            m_bPlaceholderRemoved = 1;
        }
        for (int i = 0; i < count; ++i) {
            popup.DeleteItemWithId(kFirstCommandId + static_cast<unsigned>(i));
        }
        for (int i = 0; i < count; ++i) {
            const unsigned id = kFirstCommandId + static_cast<unsigned>(i);
            std::wstring text(kEntryFormat);
            text.replace(text.find(L"%d"), 2, std::to_wstring(i + 1));
            popup.InsertItemAtPosition(first + i, text + m_arrFiles[i], id);
            popup.EnableItemWithId(id, true);
        }
        return;
    }
    if (m_bPlaceholderRemoved == 0) {
        popup.DeleteItemAtPosition(first);
        m_bPlaceholderRemoved = 1;
        popup.DeleteItemWithId(kFirstCommandId);
    }
    popup.DeleteItemWithId(kFirstCommandId);
    popup.InsertItemAtPosition(first, std::wstring(kPlaceholderText), kFirstCommandId);
    popup.EnableItemWithId(kFirstCommandId, false);
}

std::wstring CLoadCalRecentFiles::SettingsPathForModule(const std::wstring& modulePath)
{
    std::wstring folder = CutLastComponent(CutLastComponent(modulePath));
    if (folder.empty() || folder.back() != kSeparator) {
        folder += kSeparator;
    }
    return folder + std::wstring(kSettingsRelative);
}

std::wstring CLoadCalRecentFiles::ModuleFilePath()
{
    std::error_code ec;
    const std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::wstring() : FromFsPath(exe);
}

std::wstring CLoadCalRecentFiles::DefaultSettingsPath()
{
    return SettingsPathForModule(ModuleFilePath());
}

}  // namespace loadcal
