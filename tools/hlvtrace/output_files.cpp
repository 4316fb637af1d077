#include "output_files.h"

#include "input_error.h"

#include <cstdio>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace hlvtrace {

namespace fs = std::filesystem;

OutputFiles::Pair OutputFiles::pair(std::string const& directory, std::string const& name)
{
    fs::path dir(directory);
    std::string hidden = "." + name + "." + std::to_string(getpid()) + ".part";
    return {(dir / name).string(), (dir / hidden).string()};
}

OutputFiles::OutputFiles(std::string const& directory)
    : detect(pair(directory, "scene.hlvDetect")), picture(pair(directory, "detect-debug.png"))
{
    std::error_code error;
    fs::create_directories(directory, error);
    if (error || !fs::is_directory(directory))
        throw InputError(directory, error ? "cannot be created (" + error.message() + ")" : "is not a directory");
}

OutputFiles::~OutputFiles()
{
    if (committed)
        return;
    std::remove(detect.pending.c_str());
    std::remove(picture.pending.c_str());
}

void OutputFiles::commit()
{
    for (Pair const* file : {&detect, &picture}) {
        std::error_code error;
        fs::rename(file->pending, file->final, error);
        if (error)
            throw InputError(file->final, "cannot be written (" + error.message() + ")");
    }
    committed = true;
}

}  // namespace hlvtrace
