// hlvinfo: what a render container (hlvDetect or hlvRender file) holds.
//
//   hlvinfo [--json] FILE...
//
// Prints for each file its version bytes, its header text, each block's name, element count, expanded and
// packed size (0: stored raw), the digest sum of its content and the render engine number hidden in its
// "fileCode". With --json each file gives one JSON object on one line. A file that is not a container gives
// one line on standard error, and the exit status is 1 when any file was not read whole.

#include <holvane/holvane.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

namespace {

using namespace Holvane::BinIO;

unsigned char const containerMagic[14] = {0x82, 'H', 'L', 'V', 'R', 'e', 'n', 'd', 'e', 'r', '=', 0x0A, 0x24, 0x0A};

struct BlockInfo {
    std::string name;
    std::uint32_t count = 0;
    std::uint64_t expanded = 0;
    std::uint32_t packed = 0;
};

struct FileInfo {
    std::string path;
    unsigned version = 0;
    unsigned subversion = 0;
    std::string headerText;
    std::vector<BlockInfo> blocks;
    std::string problem;  // why the blocks stop early, if they do
    int readerAnswer = 0;
    int hashSum = 0;
    int engine = 0;
};

struct OpenFile {
    std::FILE* file;
    explicit OpenFile(char const* path) : file(std::fopen(path, "rb")) {}
    ~OpenFile()
    {
        if (file)
            std::fclose(file);
    }
};

bool readExactly(std::FILE* file, void* target, std::size_t size)
{
    return std::fread(target, 1, size, file) == size;
}

// Bytes of one element of an AOV channel's block, or 0 for a type without a block.
std::size_t aovElementSize(Holvane::Phase::AOVType type)
{
    static std::size_t const sizes[] = {1, 4, 2, 6, 8, 6, 4};
    return type >= 0 && type <= 6 ? sizes[type] : 0;
}

struct BlockPlan {
    std::string name;
    std::size_t elementSize;
};

// The blocks in file order, as the header announces them.
std::vector<BlockPlan> blockPlan(unsigned version, header_v09 const& header)
{
    std::vector<BlockPlan> plan = {{"coordinates", 12}};
    if (version >= 8)
        plan.push_back({"fillHoles", 24});
    plan.push_back({"samples", version >= 9 ? 28u : 24u});
    for (std::size_t a = 0; a < header.AOVTypes.size(); ++a)
        if (std::size_t size = aovElementSize(header.AOVTypes[a]))
            plan.push_back({"aov:" + (a < header.AOVNames.size() ? header.AOVNames[a] : std::to_string(a)), size});
    plan.push_back({"completion", 1});
    return plan;
}

// Walks the block framing from the first block on. A compressed chunk tells its own element size (its
// fourth byte); a raw block is taken at the size the version implies.
void walkBlocks(std::FILE* file, std::vector<BlockPlan> const& plan, FileInfo& info)
{
    for (BlockPlan const& step : plan) {
        BlockInfo block;
        block.name = step.name;
        if (!readExactly(file, &block.count, 4) || !readExactly(file, &block.packed, 4)) {
            info.problem = "the file ends before block " + step.name;
            return;
        }
        std::size_t elementSize = step.elementSize;
        unsigned char chunkStart[4];
        if (block.count > 0 && block.packed >= 4) {
            if (!readExactly(file, chunkStart, 4)) {
                info.problem = "block " + step.name + " is cut";
                return;
            }
            elementSize = chunkStart[3];
            std::fseek(file, -4, SEEK_CUR);
        }
        block.expanded = std::uint64_t(block.count) * elementSize;
        std::uint64_t payload = block.count == 0 ? 0 : block.packed != 0 ? block.packed : block.expanded;
        long before = std::ftell(file);
        std::fseek(file, 0, SEEK_END);
        long end = std::ftell(file);
        if (before < 0 || end < before || payload > std::uint64_t(end - before)) {
            info.problem = "block " + step.name + " is cut";
            return;
        }
        std::fseek(file, before + static_cast<long>(payload), SEEK_SET);
        info.blocks.push_back(block);
    }
}

// Reads the whole file with the reader of its sample form: version 7 has no fill holes, and 24-byte samples
// are those of version 8, also in a file of hlvWriter_v8, which says version 9.
int readWhole(char const* path, unsigned version, std::vector<BlockInfo> const& blocks, header_v09& header,
              int& hashSum)
{
    bool shortSamples = false;
    for (BlockInfo const& block : blocks)
        if (block.name == "samples" && block.count > 0)
            shortSamples = block.expanded == std::uint64_t(block.count) * 24;
    if (version <= 8 || shortSamples) {
        hlvRenderSample4Aovs_t data;
        return version < 8 ? hlvReader_v7(path, header, data, hashSum) : hlvReader_v8(path, header, data, hashSum);
    }
    hlvRenderSample5Aovs_t data;
    return hlvReader_v9(path, header, data, hashSum);
}

// Reads what the file holds; false with a reason when it is not a container.
bool inspect(char const* path, FileInfo& info, std::string& reason)
{
    info.path = path;
    OpenFile input(path);
    if (!input.file) {
        reason = "cannot be opened";
        return false;
    }
    unsigned char prefix[16];
    std::uint32_t length = 0;
    if (!readExactly(input.file, prefix, 16) || std::memcmp(prefix, containerMagic, 14) != 0) {
        reason = "is not a render container (no HLVRender magic)";
        return false;
    }
    info.version = prefix[14];
    info.subversion = prefix[15];
    HLVRender_header loaded(path);
    unsigned char version = 0, subversion = 0;
    if (!readExactly(input.file, &length, 4) || loaded.getVersion(version, subversion) != READER_OK) {
        reason = "has a header text that does not parse";
        return false;
    }
    info.headerText.resize(length);
    readExactly(input.file, &info.headerText[0], length);
    while (!info.headerText.empty() && info.headerText.back() == '\n')
        info.headerText.pop_back();

    header_v09 header;
    info.readerAnswer = hlvReader_v9(path, header);
    if (info.readerAnswer != READER_OK) {
        info.problem = "the header can't be read";
        return true;
    }
    walkBlocks(input.file, blockPlan(info.version, header), info);
    header = header_v09();
    info.readerAnswer = readWhole(path, info.version, info.blocks, header, info.hashSum);
    info.engine = getRenderEngineId(header.fileCode, info.hashSum);
    return true;
}

std::string jsonString(std::string const& text)
{
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

void printText(FileInfo const& info)
{
    std::printf("%s\n", info.path.c_str());
    std::printf("  version %u subversion %u\n", info.version, info.subversion);
    std::printf("  header %s\n", info.headerText.c_str());
    for (BlockInfo const& block : info.blocks)
        std::printf("  block %-20s count %10u  stored %12llu  packed %10u\n", block.name.c_str(), block.count,
                    static_cast<unsigned long long>(block.expanded), block.packed);
    if (!info.problem.empty())
        std::printf("  stopped: %s\n", info.problem.c_str());
    std::printf("  reader answer %d\n  hashSum %d\n  engine %d\n", info.readerAnswer, info.hashSum, info.engine);
}

// One object on one line; the header is the file's own JSON text, which the library has parsed.
void printJson(FileInfo const& info)
{
    std::printf("{\"file\":%s,\"version\":%u,\"subversion\":%u,\"header\":%s,\"blocks\":[",
                jsonString(info.path).c_str(), info.version, info.subversion, info.headerText.c_str());
    for (std::size_t i = 0; i < info.blocks.size(); ++i) {
        BlockInfo const& block = info.blocks[i];
        std::printf("%s{\"name\":%s,\"count\":%u,\"stored\":%llu,\"packed\":%u}", i ? "," : "",
                    jsonString(block.name).c_str(), block.count, static_cast<unsigned long long>(block.expanded),
                    block.packed);
    }
    std::printf("],\"problem\":%s,\"readerAnswer\":%d,\"hashSum\":%d,\"engine\":%d}\n",
                info.problem.empty() ? "null" : jsonString(info.problem).c_str(), info.readerAnswer, info.hashSum,
                info.engine);
}

}  // namespace

int main(int argc, char** argv)
{
    bool json = false;
    std::vector<char const*> paths;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") == 0)
            json = true;
        else
            paths.push_back(argv[i]);
    }
    if (paths.empty()) {
        std::fprintf(stderr, "usage: hlvinfo [--json] FILE...\n");
        return 2;
    }
    int status = 0;
    for (char const* path : paths) {
        FileInfo info;
        std::string reason;
        bool readable = false;
        try {
            readable = inspect(path, info, reason);
        } catch (std::exception const& error) {  // the JSON library's error for a value of the wrong type
            reason = std::string("has a header value of the wrong type: ") + error.what();
        }
        if (!readable) {
            std::fprintf(stderr, "hlvinfo: %s %s\n", path, reason.c_str());
            status = 1;
            continue;
        }
        if (!info.problem.empty() || info.readerAnswer != READER_OK)
            status = 1;
        if (json)
            printJson(info);
        else
            printText(info);
        std::fflush(stdout);
    }
    return status;
}
