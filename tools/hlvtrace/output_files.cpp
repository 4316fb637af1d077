#include "output_files.h"

#include "input_error.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace hlvtrace {

namespace fs = std::filesystem;

namespace {

// The temporaries of the run, where an interrupt can reach them: Ctrl-C or a kill must not leave a hidden
// partial file behind. Filled before the work starts; the handler only unlinks and re-raises.
constexpr int kMostPending = 8;
char pendingPaths[kMostPending][4096];
std::atomic<int> pendingCount{0};

extern "C" void removePendingAndStop(int signal)
{
    for (int i = 0; i < pendingCount.load(); ++i)
        unlink(pendingPaths[i]);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void removeOnInterrupt(std::string const& path)
{
    int const slot = pendingCount.load();
    if (slot >= kMostPending || path.size() >= sizeof pendingPaths[0])
        return;
    std::memcpy(pendingPaths[slot], path.c_str(), path.size() + 1);
    pendingCount.store(slot + 1);
    std::signal(SIGINT, removePendingAndStop);
    std::signal(SIGTERM, removePendingAndStop);
}

}  // namespace

OutputFiles::Pair OutputFiles::pair(std::string const& path)
{
    fs::path const file(path);
    std::string hidden = "." + file.filename().string() + "." + std::to_string(getpid()) + ".part";
    return {file.string(), (file.parent_path() / hidden).string()};
}

OutputFiles::OutputFiles(std::string const& directory)
{
    std::error_code error;
    fs::create_directories(directory, error);
    if (error || !fs::is_directory(directory))
        throw InputError(directory, error ? "cannot be created (" + error.message() + ")" : "is not a directory");
    for (char const* name : {"scene.hlvDetect", "detect-debug.png"}) {
        files.push_back(pair((fs::path(directory) / name).string()));
        removeOnInterrupt(files.back().pending);
    }
}

OutputFiles::~OutputFiles()
{
    pendingCount.store(0);
    if (committed)
        return;
    for (Pair const& file : files)
        std::remove(file.pending.c_str());
}

std::size_t OutputFiles::add(std::string const& path)
{
    fs::path const parent = fs::path(path).parent_path();
    if (!parent.empty() && !fs::is_directory(parent))
        throw InputError(path, "cannot be written (its directory doesn't exist)");
    files.push_back(pair(path));
    removeOnInterrupt(files.back().pending);
    return files.size() - 1;
}

void OutputFiles::commit()
{
    pendingCount.store(0);
    for (Pair const& file : files) {
        std::error_code error;
        fs::rename(file.pending, file.final, error);
        if (error)
            throw InputError(file.final, "cannot be written (" + error.message() + ")");
    }
    committed = true;
}

}  // namespace hlvtrace
