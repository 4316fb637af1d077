#ifndef HLVTRACE_OUTPUT_FILES_H
#define HLVTRACE_OUTPUT_FILES_H

// The files of a run. Each is written under a hidden temporary name beside its final one and renamed into
// place by commit(), once everything has worked; until then the destructor removes the temporaries, so a
// failed run leaves no partial file behind.

#include <string>
#include <vector>

namespace hlvtrace {

class OutputFiles {
public:
    // Creates the directory if needed; throws InputError naming it when that fails.
    explicit OutputFiles(std::string const& directory);
    ~OutputFiles();
    OutputFiles(OutputFiles const&) = delete;
    OutputFiles& operator=(OutputFiles const&) = delete;

    // One more file of the run, anywhere; answers its index. Its directory must exist.
    std::size_t add(std::string const& path);

    std::string const& detectFile() const { return files[0].final; }
    std::string const& pictureFile() const { return files[1].final; }
    std::string const& pendingDetectFile() const { return files[0].pending; }
    std::string const& pendingPictureFile() const { return files[1].pending; }
    std::string const& finalFile(std::size_t index) const { return files[index].final; }
    std::string const& pendingFile(std::size_t index) const { return files[index].pending; }

    void commit();  // throws InputError naming the file that can't be put in place

private:
    struct Pair {
        std::string final, pending;
    };
    static Pair pair(std::string const& path);
    std::vector<Pair> files;
    bool committed = false;
};

}  // namespace hlvtrace

#endif
