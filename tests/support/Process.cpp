#include "tests/support/Process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "tests/support/TempFolder.h"

extern char** environ;

namespace loadcal::testsupport {

ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input, const std::string& cwd,
                         const std::vector<std::string>& env)
{
    // The three standard streams are files in a scratch folder: the child
    // reads its input to the end and writes as much as it likes, without
    // pipes that could fill up.
    const TempFolder streams;
    const std::string in = (streams / "in").string(), out = (streams / "out").string(),
                      err = (streams / "err").string();
    WriteBytes(in, input);
    const auto redirect = [](const std::string& file, int flags, int fd) {
        const int opened = open(file.c_str(), flags, 0600);
        const bool done = opened >= 0 && dup2(opened, fd) == fd;
        close(opened);
        return done;
    };
    const pid_t pid = fork();
    if (pid < 0) {
        throw std::runtime_error("fork failed");
    }
    if (pid == 0) {
        if (!redirect(in, O_RDONLY, 0) || !redirect(out, O_WRONLY | O_CREAT, 1) ||
            !redirect(err, O_WRONLY | O_CREAT, 2) || (!cwd.empty() && chdir(cwd.c_str()) != 0)) {
            _exit(127);
        }
        for (const auto& e : env) {
            if (e.find('=') == std::string::npos) {
                unsetenv(e.c_str());
            } else {
                putenv(const_cast<char*>(e.c_str()));
            }
        }
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(program.c_str()));
        for (const auto& a : args) {
            argv.push_back(const_cast<char*>(a.c_str()));
        }
        argv.push_back(nullptr);
        execve(program.c_str(), argv.data(), environ);
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    ProcessResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = ReadBytes(out);
    result.err = ReadBytes(err);
    return result;
}

}  // namespace loadcal::testsupport
