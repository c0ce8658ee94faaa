#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "document/ArchiveKeys.h"
#include "model/RecordArray.h"

namespace loadcal {

class CInterDpData;

/// The popup menu operations the recent-files list needs to lay out its
/// entries (a File menu). Positions count every item, separators included.
class IRecentFilesMenu {
public:
    virtual ~IRecentFilesMenu() = default;
    /// Removes the item at a position; false when there is none.
    virtual bool DeleteItemAtPosition(int position) = 0;
    /// Removes the item with this command id; false when there is none.
    virtual bool DeleteItemWithId(unsigned id) = 0;
    /// Inserts an enabled command item before a position (past the end appends).
    virtual void InsertItemAtPosition(int position, const std::wstring& text, unsigned id) = 0;
    /// Enables or greys the item with this command id.
    virtual void EnableItemWithId(unsigned id, bool enabled) = 0;
};

/// The four most recently used archive paths, index 0 the most recent, kept
/// in a settings file ("DQCal/需要系数法负荷计算.idp" in the folder above the
/// one holding the executable). Owns the settings tree; the file is read once
/// at construction and written on every addition, never at destruction.
class CLoadCalRecentFiles {
public:
    static constexpr int kMaxFiles = 4;
    /// Command id of entry i is kFirstCommandId + i; five ids are reserved.
    static constexpr unsigned kFirstCommandId = 4000;
    static constexpr unsigned kLastCommandId = 4004;

    /// Group of the entries, as the list reads it and as it writes it (the
    /// leading backslash of the second names the root: both reach one node).
    static constexpr std::wstring_view kReadGroup = archive::kRecentFilesReadGroup;
    static constexpr std::wstring_view kWriteGroup = archive::kRecentFilesWriteGroup;
    /// The greyed File-menu item shown while the list is empty.
    static constexpr std::wstring_view kPlaceholderText = L"最近文件";
    /// Entry text: "&1 " followed by the full path.
    static constexpr std::wstring_view kEntryFormat = L"&%d ";

    /// Settings file beside the running executable (SettingsPathForModule).
    CLoadCalRecentFiles();
    /// Settings file at an explicit path (tests, other hosts).
    explicit CLoadCalRecentFiles(std::wstring settingsPath);
    ~CLoadCalRecentFiles();
    CLoadCalRecentFiles(const CLoadCalRecentFiles&) = delete;
    CLoadCalRecentFiles& operator=(const CLoadCalRecentFiles&) = delete;

    /// Fills the list from the settings tree: values 1 to 4 of the group,
    /// stopping at the first one missing or without a value.
    void LoadList();
    /// Puts a path at the head, removing an entry equal to it without regard
    /// to case and cutting the list to four entries.
    void AddFile(const std::wstring& path);
    /// Writes the list into the tree and the tree to the settings file
    /// (write failures go unnoticed).
    void SaveList();
    /// Lays the list out in a popup from position `first` on: numbered
    /// entries with ids 4000 + i, or a greyed placeholder when empty. The
    /// resource's own placeholder at `first` is removed by the first call.
    void UpdateMenu(IRecentFilesMenu& popup, int first);

    /// Other settings kept in the same file (paths of their own, e.g. the
    /// window's layout): the text at a path, or nothing when the node is
    /// missing or has no value.
    std::optional<std::wstring> GetSetting(const std::wstring& path) const;
    /// Sets the text at a path in the tree; WriteSettings writes it out.
    void SetSetting(const std::wstring& path, const std::wstring& text);
    /// Writes the whole tree (the list as last saved, and the other settings)
    /// to the settings file, making its folder; failures go unnoticed.
    void WriteSettings();

    int GetSize() const { return m_arrFiles.GetSize(); }
    /// Entry i; throws CInvalidArgException outside 0 .. size - 1.
    const std::wstring& GetAt(int i) const { return m_arrFiles.GetAt(i); }
    const CStringArray& Files() const { return m_arrFiles; }
    const std::wstring& SettingsPath() const { return m_strSettingsPath; }
    bool PlaceholderRemoved() const { return m_bPlaceholderRemoved != 0; }

    /// The settings path for a module at modulePath: the last component is
    /// cut off twice at the last "/", a "/" is appended unless present, then
    /// "DQCal/需要系数法负荷计算.idp". A text without "/" cuts to nothing.
    static std::wstring SettingsPathForModule(const std::wstring& modulePath);
    /// The running executable's own path (empty when it cannot be read).
    static std::wstring ModuleFilePath();
    static std::wstring DefaultSettingsPath();

private:
    CStringArray m_arrFiles;
    std::unique_ptr<CInterDpData> m_pSettings;
    std::wstring m_strSettingsPath;
    int m_bPlaceholderRemoved = 0;
};

}  // namespace loadcal
