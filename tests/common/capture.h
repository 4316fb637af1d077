#ifndef HOLVANE_TESTS_CAPTURE_H
#define HOLVANE_TESTS_CAPTURE_H

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
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

inline std::string readBytes(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeBytes(std::string const& path, std::string const& bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// A command-line tool's exit status (-1 when it did not exit) and what it wrote.
struct ToolRun {
    int status;
    std::string out, err;
};

// Runs `program` with `arguments` through the shell; its output passes through files named after `scratch`.
inline ToolRun runTool(std::string const& program, std::string const& arguments, std::string const& scratch)
{
    std::string const out = scratch + ".out", err = scratch + ".err";
    int const raw = std::system((program + " " + arguments + " >" + out + " 2>" + err).c_str());
    ToolRun run{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readBytes(out), readBytes(err)};
    std::remove(out.c_str()), std::remove(err.c_str());
    return run;
}

}  // namespace HolvaneTest

#endif
