// Files that avifil32 writes and reads with the driver.
#include "hosts/avi_files.h"
#include "hosts/installed_driver.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

namespace {

constexpr int kWidth = 70;
constexpr int kHeight = 60;
constexpr int kFrames = 6;

class AviFiles : public testing::Test
{
  protected:
    std::string Name(const char* file) const { return (folder.Path() / file).string(); }

    AviLibrary library;
    TestFolder folder;
    TestStore store;
};

} // namespace

TEST_F(AviFiles, PicturesComeBackFromFilesThatAvifileCompressed)
{
    for (const auto& [fourCC, bits] : {std::pair("O8RG", 24), std::pair("O8RG", 32), std::pair("O8RA", 32)}) {
        SCOPED_TRACE(std::string(fourCC) + " " + std::to_string(bits));
        const Clip clip = MakeClip(RgbRoute(fourCC, bits), kWidth, kHeight, kFrames);
        WriteByAviFile(Name("clip.avi"), fourCC, clip);
        EXPECT_TRUE(AreSamePictures(clip, ReadPictures(Name("clip.avi"), &clip.header)));
    }
}

TEST_F(AviFiles, FormatAndFramesAreStoredAsTheCodecGaveThem)
{
    const Clip clip = MakeClip(RgbRoute("O8RG", 24), kWidth, kHeight, kFrames);
    WriteByAviFile(Name("clip.avi"), "O8RG", clip);
    const CodecHandle codec("O8RG", ICMODE_DECOMPRESS);
    const Stream expected = CompressClip(codec, clip);
    const Stream stored = ReadFrames(Name("clip.avi"));
    EXPECT_EQ(std::memcmp(&stored.header, &expected.header, sizeof stored.header), 0);
    EXPECT_TRUE(AreSamePictures(clip, DecompressStream(codec, stored, clip.header, clip.header.biSizeImage)));
}

TEST_F(AviFiles, PicturesComeBackInTheSuggestedFormat)
{
    const Clip clip = MakeClip(RgbRoute("O8RG", 24), kWidth, kHeight, kFrames);
    WriteByAviFile(Name("clip.avi"), "O8RG", clip);
    BITMAPINFOHEADER given{};
    EXPECT_TRUE(AreSamePictures(clip, ReadPictures(Name("clip.avi"), nullptr, &given)));
    EXPECT_EQ(given.biBitCount, 24);
}

TEST_F(AviFiles, LosslessLayoutsComeBackFromFramesOfTheHost)
{
    for (const LosslessRoute& route : LosslessRoutes()) {
        SCOPED_TRACE(route.Name());
        const char* const fourCC = route.variant->fourCC;
        const Clip clip = MakeClip(route, kWidth, kHeight, 2);
        WriteFrames(Name("clip.avi"), fourCC, CompressClip(CodecHandle(fourCC, ICMODE_COMPRESS), clip));
        EXPECT_TRUE(AreSamePictures(clip, ReadPictures(Name("clip.avi"), &clip.header)));
    }
}

TEST_F(AviFiles, SavingAStreamCompressesIt)
{
    for (const auto& [fourCC, bits] : {std::pair("O8RG", 24), std::pair("O8RA", 32)}) {
        SCOPED_TRACE(fourCC);
        const Clip clip = MakeClip(RgbRoute(fourCC, bits), kWidth, kHeight, kFrames);
        WritePictures(Name("plain.avi"), clip);
        const StreamReference source = OpenStream(Name("plain.avi"));
        IAVIStream* streams[] = {source.get()};
        AVICOMPRESSOPTIONS options = OptionsFor(fourCC);
        AVICOMPRESSOPTIONS* allOptions[] = {&options};
        const std::string saved = Name("saved.avi");
        Require(AVISaveVA(saved.c_str(), nullptr, nullptr, 1, streams, allOptions), "AVISaveV");
        EXPECT_TRUE(AreSamePictures(clip, ReadPictures(saved, &clip.header)));
        EXPECT_EQ(ReadFrames(saved).header.header.biCompression, FourCCOf(fourCC));
    }
}
