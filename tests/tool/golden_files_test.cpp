// AVI files of earlier versions are read whole, or as far as they go.

#include "driver/message_table.h"
#include "golden/golden_data.h"
#include "golden/golden_frames.h"
#include "run_tool.h"
#include "support/test_folder.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace driver;

namespace {

class GoldenAvi : public testing::TestWithParam<GoldenFile>
{
  protected:
    TestFolder folder;
    TestStore store;
};

TEST_P(GoldenAvi, DecodesToTheSamePictures)
{
    const GoldenFile& golden = GetParam();
    const std::filesystem::path out = folder.Path() / "out.raw";
    std::istringstream in;
    std::ostringstream results, errors;
    ToolContext context{&HandleMessage, in, results, errors};
    const int code = RunTool({"decode", (GoldenFolder() / (std::string(golden.name) + ".avi")).string(), "-o",
                              out.string(), "--to", golden.layout},
                             context);
    EXPECT_EQ(code, golden.cut ? 3 : 0) << errors.str();

    Bytes picture;
    for (const GoldenFrame& frame : GoldenFrames())
        if (frame.name == golden.frame)
            picture = ReadGolden(frame.decoded + ".raw");
    Bytes expected;
    for (int frame = 0; frame < golden.frames - (golden.cut ? 1 : 0); ++frame)
        expected.insert(expected.end(), picture.begin(), picture.end());
    std::ifstream file(out, std::ios::binary);
    const Bytes decoded(std::istreambuf_iterator<char>(file), {});
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(decoded, expected);
}

INSTANTIATE_TEST_SUITE_P(Files, GoldenAvi, testing::ValuesIn(kGoldenFiles),
                         [](const auto& value) { return std::string(value.param.name); });

} // namespace
