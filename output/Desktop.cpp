#include "output/Desktop.h"

#include <spawn.h>
#include <sys/wait.h>

#include <thread>

extern char** environ;

namespace loadcal {

bool CDesktopOpener::Open(const std::filesystem::path& file)
{
    std::string launcher = m_launcher;
    std::string argument = file.string();
    char* argv[] = {launcher.data(), argument.data(), nullptr};
    pid_t pid = 0;
    if (::posix_spawnp(&pid, launcher.c_str(), nullptr, nullptr, argv, environ) != 0) {
        return false;
    }
    const auto deadline = std::chrono::steady_clock::now() + m_wait;
    for (;;) {
        int status = 0;
        const pid_t done = ::waitpid(pid, &status, WNOHANG);
        if (done == pid) {
            return WIFEXITED(status) && WEXITSTATUS(status) == 0;
        }
        if (done < 0) {
            return false;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            std::thread([pid] {
                int ignored = 0;
                ::waitpid(pid, &ignored, 0);
            }).detach();
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

}  // namespace loadcal
