#ifndef HOLVANE_FILES_CLOSING_FILE_H
#define HOLVANE_FILES_CLOSING_FILE_H

#include <cstdio>

namespace Holvane {
namespace Internal {

// A stream that is closed on every way out of the scope that opened it.
struct ClosingFile {
    std::FILE* file;
    explicit ClosingFile(std::FILE* opened) : file(opened) {}
    ~ClosingFile()
    {
        if (file)
            std::fclose(file);
    }
    ClosingFile(ClosingFile const&) = delete;
    ClosingFile& operator=(ClosingFile const&) = delete;
};

}  // namespace Internal
}  // namespace Holvane

#endif
