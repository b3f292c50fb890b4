// Files that lack frames or entries of their index: what is missing is told by its place, and with --hold the
// pictures keep their time.
#include "tool/avi_bytes.h"
#include "tool/run_command.h"

namespace {

constexpr size_t kFrames = 8;
constexpr int kWidth = 32, kHeight = 56;
constexpr size_t kPictureBytes = size_t{kWidth} * kHeight * 3 / 2;

/// Pictures whose frames are all of another size.
std::string MakePictures()
{
    std::string text = "YUV4MPEG2 W32 H56 F25:1 C420mpeg2\n";
    for (size_t frame = 0; frame < kFrames; ++frame) {
        text += "FRAME\n";
        for (size_t i = 0; i < kPictureBytes; ++i)
            text += static_cast<char>(i * i * (frame + 3) / 7 % (2 + 11 * frame));
    }
    return text;
}

class Gaps : public CommandTest
{
  protected:
    void SetUp() override
    {
        RunGood({"encode", "-", "-o", Name("clip.avi")}, MakePictures());
        good = ReadFile(Name("clip.avi"));
        file = ReadAviBytes(good);
        RunGood({"decode", Name("clip.avi"), "-o", Name("clip.raw"), "--to", "I420"});
        pictures = ReadFile(Name("clip.raw"));
    }

    /// The file without some of its chunks of frames.
    Bytes Without(const std::vector<size_t>& numbers) const
    {
        Bytes bytes = good;
        for (size_t i = numbers.size(); i-- > 0;) {
            const AviFrame& frame = file.frames[numbers[i]];
            const auto at = bytes.begin() + static_cast<ptrdiff_t>(frame.offset - 8);
            bytes.erase(at, at + static_cast<ptrdiff_t>(8 + avi::Padded(frame.size)));
        }
        return bytes;
    }

    CommandResult Decode(std::vector<std::string> options)
    {
        std::vector<std::string> line = {"decode", Name("bad.avi"), "-o", Name("bad.raw"), "--to", "I420"};
        line.insert(line.end(), options.begin(), options.end());
        return Run(line);
    }

    /// The numbers of the pictures in what was decoded, as characters.
    std::string Decoded() const
    {
        const Bytes bytes = ReadFile(Name("bad.raw"));
        EXPECT_EQ(bytes.size() % kPictureBytes, 0u);
        std::string numbers;
        for (size_t at = 0; at + kPictureBytes <= bytes.size(); at += kPictureBytes)
            for (size_t number = 0; number < kFrames; ++number)
                if (std::equal(bytes.begin() + static_cast<ptrdiff_t>(at),
                               bytes.begin() + static_cast<ptrdiff_t>(at + kPictureBytes),
                               pictures.begin() + static_cast<ptrdiff_t>(number * kPictureBytes)))
                    numbers += std::to_string(number);
        return numbers;
    }

    Bytes good;
    AviFile file;
    Bytes pictures;
};

} // namespace

TEST_F(Gaps, MissingFramesAreLeftOutAndListedOrHeld)
{
    struct Case {
        std::vector<size_t> missing;
        const char* text;
        const char* left;
        const char* held;
    };
    const Case cases[] = {
        {{2}, "missing: 1 frame before frame 2", "0134567", "01134567"},
        {{0, 1}, "missing: 2 frames before frame 0", "234567", "22234567"},
        {{7}, "missing: 1 frame at the end", "0123456", "01234566"},
        {{1, 4, 5}, "missing: 1 frame before frame 1, 2 frames before frame 3", "02367", "00233367"}};
    for (const Case& example : cases) {
        WriteFile(Name("bad.avi"), Without(example.missing));
        ExpectError(Decode({}), 3, example.text);
        EXPECT_EQ(Decoded(), example.left);
        ExpectError(Decode({"--hold"}), 3, example.text);
        EXPECT_EQ(Decoded(), example.held) << "as many pictures as were recorded";
        EXPECT_EQ(Run({"verify", Name("bad.avi")}).code, 1);
        EXPECT_EQ(Run({"repair", Name("bad.avi"), "-o", Name("out.avi")}).code, 3);
    }
}

TEST_F(Gaps, RangesCountTheFramesThatAreThereAndHoldThoseMissingInside)
{
    WriteFile(Name("bad.avi"), Without({1, 4, 5})); // leaves 0 2 3 6 7
    EXPECT_EQ(Decode({"--hold", "--frames", "1-2"}).code, 0) << "nothing is missing between these";
    EXPECT_EQ(Decoded(), "23");
    ExpectError(Decode({"--hold", "--frames", "2-4"}), 3, "missing: 2 frames before frame 3");
    EXPECT_EQ(Decoded(), "33367");
    EXPECT_EQ(Run({"decode", Name("bad.avi"), "-o", Name("p_%d.ppm"), "--hold", "--frames", "2-3"}).code, 3);
    for (const char* name : {"p_3.ppm", "p_4.ppm", "p_5.ppm", "p_6.ppm"})
        EXPECT_TRUE(Exists(name)) << "pictures have the numbers of the frames that were recorded: " << name;
}

TEST_F(Gaps, WholeFilesHaveNothingToHold)
{
    WriteFile(Name("bad.avi"), good);
    EXPECT_EQ(Decode({"--hold"}).code, 0);
    EXPECT_EQ(Decoded(), "01234567");
}

TEST_F(Gaps, AFileWithoutFramesIsAnErrorOfDecode)
{
    WriteFile(Name("bad.avi"), MakeAvi({}));
    ExpectError(Decode({}), 1, "the file has no frames");
    EXPECT_FALSE(Exists("bad.raw"));
}

TEST_F(Gaps, AShortIndexHasGapsAndIsNoCutFile)
{
    const size_t idx1 = Find(good, avi::kIdx1);
    constexpr uint32_t kLost = 3 * avi::kIdx1EntrySize;
    for (const bool sizesFit : {true, false}) {
        Bytes bytes = good;
        const size_t end = idx1 + 8 + WordAt(bytes, idx1 + 4);
        bytes.erase(bytes.begin() + static_cast<ptrdiff_t>(end - kLost),
                    bytes.begin() + static_cast<ptrdiff_t>(end));
        SetWord(bytes, idx1 + 4, WordAt(bytes, idx1 + 4) - kLost);
        if (sizesFit)
            SetWord(bytes, 4, WordAt(bytes, 4) - kLost);
        WriteFile(Name("bad.avi"), bytes);
        const std::string told = "the index has gaps: it lacks 3 of 8 frames";
        const CommandResult verified = Run({"verify", Name("bad.avi")});
        EXPECT_EQ(verified.code, 1);
        EXPECT_NE(verified.out.find(told), std::string::npos) << verified.out;
        EXPECT_EQ(verified.out.find("cut off"), std::string::npos) << verified.out;
        EXPECT_NE(RunGood({"info", Name("bad.avi")}).find("index with gaps"), std::string::npos);
        EXPECT_EQ(Decode({}).code, 0);
        EXPECT_NE(RunGood({"repair", Name("bad.avi"), "-o", Name("out.avi")}).find(told), std::string::npos);
        EXPECT_EQ(Run({"verify", Name("out.avi")}).code, 0);
    }
}

TEST_F(Gaps, ACutFileTellsInASentenceWhatIsWholeOfIt)
{
    const char* const told[] = {"cut off before the end of its first frame", "cut off after its first frame",
                                "cut off after its first 2 frames"};
    for (size_t whole = 0; whole < std::size(told); ++whole) {
        const AviFrame& frame = file.frames[whole];
        WriteFile(Name("bad.avi"), {good.begin(), good.begin() + static_cast<ptrdiff_t>(frame.offset + 9)});
        for (const std::vector<std::string>& line :
             {std::vector<std::string>{"verify", Name("bad.avi")},
              {"decode", Name("bad.avi"), "-o", Name("bad.raw"), "--to", "I420"},
              {"repair", Name("bad.avi"), "-o", Name("fixed.avi")}}) {
            const CommandResult result = Run(line);
            const std::string all = result.out + result.err;
            EXPECT_NE(result.code, 0);
            const bool isAllLost = whole == 0 && line.front() == "repair";
            EXPECT_NE(all.find(isAllLost ? "not a single frame" : told[whole]), std::string::npos) << all;
            for (const char* const clumsy : {"first 0", "first 1", " 0 frames", " 1 frames"})
                EXPECT_EQ(all.find(clumsy), std::string::npos) << all;
        }
    }
}

TEST_F(Gaps, FramesOfOneSizeAreToldApartByTheirChecksums)
{
    // Where one is taken out, the next one takes its place.
    std::string text = "YUV4MPEG2 W32 H56 F25:1 Cmono\n";
    for (size_t frame = 0; frame < kFrames; ++frame)
        text += "FRAME\n" + std::string(size_t{kWidth} * kHeight, static_cast<char>(40 + frame));
    RunGood({"encode", "-", "-o", Name("clip.avi")}, text);
    good = ReadFile(Name("clip.avi"));
    file = ReadAviBytes(good);
    for (const AviFrame& frame : file.frames)
        ASSERT_EQ(frame.size, file.frames.front().size);
    Bytes bytes = Without({2, 5, 6});
    const auto expectGaps = [&] {
        WriteFile(Name("bad.avi"), bytes);
        const std::string said = Run({"verify", Name("bad.avi")}).out;
        EXPECT_NE(said.find("missing: 1 frame before frame 2\n"), std::string::npos) << said;
        EXPECT_NE(said.find("missing: 2 frames before frame 4\n"), std::string::npos) << said;
    };
    expectGaps();
    bytes[static_cast<size_t>(file.frames[1].offset) + 24] ^= 1; // a damaged frame has its size
    expectGaps();
}
