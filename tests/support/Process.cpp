#include "tests/support/Process.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

extern char** environ;

namespace loadcal::testsupport {

ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input, const std::string& cwd,
                         const std::vector<std::string>& env)
{
    int inPipe[2], outPipe[2], errPipe[2];
    if (pipe(inPipe) != 0 || pipe(outPipe) != 0 || pipe(errPipe) != 0) {
        throw std::runtime_error("pipe failed");
    }
    const pid_t pid = fork();
    if (pid < 0) {
        throw std::runtime_error("fork failed");
    }
    if (pid == 0) {
        dup2(inPipe[0], 0);
        dup2(outPipe[1], 1);
        dup2(errPipe[1], 2);
        for (int fd : {inPipe[0], inPipe[1], outPipe[0], outPipe[1], errPipe[0], errPipe[1]}) {
            close(fd);
        }
        if (!cwd.empty() && chdir(cwd.c_str()) != 0) {
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
    close(inPipe[0]);
    close(outPipe[1]);
    close(errPipe[1]);

    ProcessResult result;
    size_t written = 0;
    int inFd = inPipe[1];
    if (input.empty()) {
        close(inFd);
        inFd = -1;
    }
    bool outOpen = true, errOpen = true;
    while (outOpen || errOpen) {
        pollfd fds[3] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}, {inFd, POLLOUT, 0}};
        poll(fds, inFd >= 0 ? 3 : 2, -1);
        char buf[65536];
        for (int k = 0; k < 2; ++k) {
            if (fds[k].revents & (POLLIN | POLLHUP | POLLERR)) {
                const ssize_t n = read(fds[k].fd, buf, sizeof buf);
                if (n <= 0) {
                    (k == 0 ? outOpen : errOpen) = false;
                    fds[k].fd = -1;
                } else {
                    (k == 0 ? result.out : result.err).append(buf, static_cast<size_t>(n));
                }
            }
        }
        if (inFd >= 0 && (fds[2].revents & (POLLOUT | POLLERR | POLLHUP))) {
            const ssize_t n = write(inFd, input.data() + written, input.size() - written);
            if (n > 0) {
                written += static_cast<size_t>(n);
            }
            if (n <= 0 || written == input.size()) {
                close(inFd);
                inFd = -1;
            }
        }
        if (!outOpen && !errOpen) {
            break;
        }
    }
    if (inFd >= 0) {
        close(inFd);
    }
    close(outPipe[0]);
    close(errPipe[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

}  // namespace loadcal::testsupport
