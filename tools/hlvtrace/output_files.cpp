#include "output_files.h"

#include "input_error.h"

#include <cstdio>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace hlvtrace {

namespace fs = std::filesystem;

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
    files.push_back(pair((fs::path(directory) / "scene.hlvDetect").string()));
    files.push_back(pair((fs::path(directory) / "detect-debug.png").string()));
}

OutputFiles::~OutputFiles()
{
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
    return files.size() - 1;
}

void OutputFiles::commit()
{
    for (Pair const& file : files) {
        std::error_code error;
        fs::rename(file.pending, file.final, error);
        if (error)
            throw InputError(file.final, "cannot be written (" + error.message() + ")");
    }
    committed = true;
}

}  // namespace hlvtrace
