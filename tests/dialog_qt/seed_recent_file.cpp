// Puts an archive at the head of the recent-files list of a settings file,
// so that the window opens it at start, and sets any window layout values
// given (NAME=VALUE under the window's group, e.g. 高=960):
//   seed_recent_file SETTINGS.idp ARCHIVE.LDC [NAME=VALUE ...]
#include <cstdio>
#include <string>

#include "dialog/WindowLayout.h"
#include "document/RecentFiles.h"
#include "model/Text.h"

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fputs("usage: seed_recent_file SETTINGS.idp ARCHIVE.LDC [NAME=VALUE ...]\n", stderr);
        return 1;
    }
    loadcal::CLoadCalRecentFiles list(loadcal::FromUtf8(argv[1]));
    list.AddFile(loadcal::FromUtf8(argv[2]));
    list.SaveList();
    if (argc > 3) {
        for (int i = 3; i < argc; ++i) {
            const std::wstring setting = loadcal::FromUtf8(argv[i]);
            const size_t equals = setting.find(L'=');
            if (equals == std::wstring::npos) {
                std::fputs("a layout value is NAME=VALUE\n", stderr);
                return 1;
            }
            list.SetSetting(
                std::wstring(loadcal::CWindowLayout::kGroup) + L"\\" + setting.substr(0, equals),
                setting.substr(equals + 1));
        }
        list.WriteSettings();
    }
    return 0;
}
