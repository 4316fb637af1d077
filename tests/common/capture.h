#ifndef HOLVANE_TESTS_CAPTURE_H
#define HOLVANE_TESTS_CAPTURE_H

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace HolvaneTest {

// Runs `body` in a forked child whose standard output is collected, then ends the child with exit(0), so
// that the library's unload work runs too. For state that lives once per process, such as the log file.
inline std::string runInChild(std::function<void()> const& body)
{
    int fds[2];
    if (pipe(fds) != 0)
        return "<pipe failed>";
    std::fflush(stdout);
    pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        dup2(fds[1], 1);
        close(fds[1]);
        body();
        std::fflush(stdout);
        std::exit(0);
    }
    close(fds[1]);
    std::string out;
    char buffer[4096];
    ssize_t n;
    while ((n = read(fds[0], buffer, sizeof buffer)) > 0)
        out.append(buffer, static_cast<std::size_t>(n));
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        out += "<child failed>";
    return out;
}

// Everything written to standard output while `body` runs.
inline std::string captureStdout(std::function<void()> const& body)
{
    std::fflush(stdout);
    char path[] = "/tmp/hv-stdout-XXXXXX";
    int fd = mkstemp(path);
    int saved = dup(1);
    dup2(fd, 1);
    body();
    std::fflush(stdout);
    dup2(saved, 1);
    close(saved);
    std::string out;
    char buffer[4096];
    lseek(fd, 0, SEEK_SET);
    ssize_t n;
    while ((n = read(fd, buffer, sizeof buffer)) > 0)
        out.append(buffer, static_cast<std::size_t>(n));
    close(fd);
    unlink(path);
    return out;
}

}  // namespace HolvaneTest

#endif
