// The pictures that are measured: drawn ones of a wanted compressibility, and those of a folder of clips.
#pragma once

#include "host/codec_host.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// Some pictures of one layout and size, as the driver takes them.
struct BenchClip {
    std::string name; ///< "soft", "hard" or that of a file
    const PixelLayout* layout;
    int width;
    int height;
    std::vector<HostPicture> pictures; ///< at least one

    double PictureBytes() const { return static_cast<double>(::PictureBytes(*layout, width, height)); }
    /// Samples that are coded: byte 3 of RGB32 is none.
    double PictureSamples() const;
};

/// Waves, edges and texture; each picture has its own.
/// noise  strength of the texture
BenchClip DrawClip(std::string name, const PixelLayout& layout, int width, int height, double noise,
                   int pictures);

/// The strength of noise at which Median frames have this many bits a sample.
/// bitsPerSample  of a picture, as it was measured
double FindNoise(double wanted, const std::function<double(double noise)>& bitsPerSample);

/// What can be read in the folder: Y4M files, pictures and folders of pictures, the first ones of each.
/// skipped  gets a line for each file that cannot be used
std::vector<std::filesystem::path> ListClips(const std::filesystem::path& folder);
BenchClip ReadClip(const std::filesystem::path& path, size_t maxPictures);
