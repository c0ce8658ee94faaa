// Puts an archive at the head of the recent-files list of a settings file,
// so that the window opens it at start:
//   seed_recent_file SETTINGS.idp ARCHIVE.LDC
#include <cstdio>

#include "document/RecentFiles.h"
#include "model/Text.h"

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fputs("usage: seed_recent_file SETTINGS.idp ARCHIVE.LDC\n", stderr);
        return 1;
    }
    loadcal::CLoadCalRecentFiles list(loadcal::FromUtf8(argv[1]));
    list.AddFile(loadcal::FromUtf8(argv[2]));
    list.SaveList();
    return 0;
}
