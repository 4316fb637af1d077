#include "files/container_fixtures.h"

#include <json/reader.h>
#include <json/value.h>

#include <gtest/gtest.h>

using namespace HolvaneTest;

#ifndef HLVINFO_PATH
#define HLVINFO_PATH ""  // the tool is not part of this build: the tests skip
#endif

namespace {

ToolRun runHlvinfo(std::string const& arguments)
{
    return runTool(HLVINFO_PATH, arguments, tempPath("run"));
}

}  // namespace

// The tool describes every block, the digest and the engine of a container, and refuses the rest in one line.
TEST(Hlvinfo, DescribesContainersAndRefusesTheRest)
{
    if (!*HLVINFO_PATH)
        GTEST_SKIP() << "the tool's path is not known to this build";
    std::string path = tempPath("render");
    ASSERT_EQ(hlvWriter_v9(path.c_str(), renderHeader(), renderData(), engine(42)), READER_OK);
    Read9 read = read9(path);
    ASSERT_EQ(read.answer, READER_OK);
    ToolRun run = runHlvinfo("--json " + path + " " + path);
    EXPECT_EQ(run.status, 0) << run.err;
    std::size_t firstLine = run.out.find('\n');
    ASSERT_NE(firstLine, std::string::npos);
    EXPECT_EQ(run.out.substr(firstLine + 1), run.out.substr(0, firstLine + 1));  // one object per file
    Json::Value info;
    ASSERT_TRUE(Json::Reader().parse(run.out.substr(0, firstLine), info, false)) << run.out;
    EXPECT_EQ(info["version"].asInt(), 9);
    EXPECT_EQ(info["subversion"].asInt(), 1);
    EXPECT_EQ(info["header"]["fileCode"].asInt(), read.header.fileCode);
    EXPECT_EQ(info["hashSum"].asInt(), read.hashSum);
    EXPECT_EQ(info["engine"].asInt(), 42);
    Json::Value const& blocks = info["blocks"];
    ASSERT_EQ(blocks.size(), 3u + 7u + 1u);
    using Named = std::pair<int, char const*>;  // aov2 is of a type without a block
    for (auto [at, name] : {Named{1, "fillHoles"}, Named{2, "samples"}, Named{5, "aov:aov3"}, Named{10, "completion"}})
        EXPECT_EQ(blocks[at]["name"].asString(), name);
    EXPECT_EQ(blocks[2]["count"].asInt(), 3);
    EXPECT_EQ(blocks[2]["stored"].asInt(), 3 * 28);
    EXPECT_EQ(blocks[10]["count"].asInt(), 5);
    EXPECT_GT(blocks[10]["packed"].asInt(), 0);
    ToolRun text = runHlvinfo(path);
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("  version 9 subversion 1\n"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("  engine 42\n"), std::string::npos) << text.out;
    // A file of hlvWriter_v8 says version 9 but holds 24-byte samples: it reads whole all the same.
    std::string eight = tempPath("eight");
    hlvRenderSample4Aovs_t old;
    old.samples.resize(3);
    old.aovs = renderData().aovs;
    ASSERT_EQ(hlvWriter_v8(eight.c_str(), renderHeader(), old, engine(17)), READER_OK);
    run = runHlvinfo("--json " + eight);
    EXPECT_EQ(run.status, 0) << run.out;
    EXPECT_NE(run.out.find("\"readerAnswer\":0,\"hashSum\""), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("\"engine\":17}"), std::string::npos) << run.out;
    std::string other = tempPath("other"), array = tempPath("array"), cut = tempPath("cut");
    writeBytes(other, "Version\x06 not a container");
    run = runHlvinfo(other);
    EXPECT_NE(run.status, 0);
    EXPECT_TRUE(run.out.empty());
    EXPECT_EQ(run.err, "hlvinfo: " + other + " is not a render container (no HLVRender magic)\n");
    writeBytes(array, containerPrefix(9, 1, "[1]"));
    run = runHlvinfo(array);
    EXPECT_NE(run.status, 0);
    EXPECT_EQ(run.err.find("hlvinfo: " + array + " has a header value of the wrong type"), 0u) << run.err;
    std::string bytes = readBytes(path);
    writeBytes(cut, bytes.substr(0, bytes.size() - 40));
    run = runHlvinfo("--json " + cut);
    EXPECT_NE(run.status, 0);
    EXPECT_NE(run.out.find("\"problem\":\"block aov:aov7 is cut\""), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("\"readerAnswer\":-7"), std::string::npos) << run.out;
}
