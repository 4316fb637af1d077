#ifndef HLVTRACE_OUTPUT_FILES_H
#define HLVTRACE_OUTPUT_FILES_H

// The files of a run. Each is written under a hidden temporary name beside its final one and renamed into
// place by commit(), once everything has worked; until then the destructor removes the temporaries, so a
// failed run leaves no partial file behind.

#include <string>

namespace hlvtrace {

class OutputFiles {
public:
    // Creates the directory if needed; throws InputError naming it when that fails.
    explicit OutputFiles(std::string const& directory);
    ~OutputFiles();
    OutputFiles(OutputFiles const&) = delete;
    OutputFiles& operator=(OutputFiles const&) = delete;

    std::string const& detectFile() const { return detect.final; }
    std::string const& pictureFile() const { return picture.final; }
    std::string const& pendingDetectFile() const { return detect.pending; }
    std::string const& pendingPictureFile() const { return picture.pending; }

    void commit();  // throws InputError naming the file that can't be put in place

private:
    struct Pair {
        std::string final, pending;
    };
    static Pair pair(std::string const& directory, std::string const& name);
    Pair detect, picture;
    bool committed = false;
};

}  // namespace hlvtrace

#endif
