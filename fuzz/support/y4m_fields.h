// What has to hold of fields that Y4M gives a stream, wherever they come from.
#pragma once

#include "files/y4m_header.h"
#include "support/fuzz_input.h"

/// `info` comes back from the fields of an AVI file, and from the first line of a Y4M file if that can hold
/// its layout.
inline void CheckY4mFields(const VideoInfo& info)
{
    Require(info.interlaced.value_or(false) || !info.bottomFieldFirst.value_or(false),
            "only an interlaced video has a first field");
    VideoInfo again = info;
    again.pixelAspect.reset();
    again.bottomFieldFirst.reset();
    again.chromaTag.clear();
    again.y4mTags.clear();
    TakeY4mFields(MakeY4mFields(info), again);
    Require(again.pixelAspect == info.pixelAspect, "the pixel aspect comes back");
    Require(again.bottomFieldFirst.value_or(false) == info.bottomFieldFirst.value_or(false),
            "the order of fields comes back");
    if (!Y4mKindOf(*info.layout))
        return;
    Require(again.chromaTag == info.chromaTag, "the name of the chroma comes back");
    Require(again.y4mTags == info.y4mTags, "tags come back");

    const VideoInfo line = ParseY4mHeader(MakeY4mHeader(info, "output.y4m"), "output.y4m").info;
    Require(line.layout == info.layout && line.width == info.width && line.height == info.height &&
                line.rate == info.rate.value_or(Rational{}) && line.interlaced == info.interlaced &&
                line.bottomFieldFirst.value_or(false) == info.bottomFieldFirst.value_or(false) &&
                line.fullRange == info.fullRange && line.pixelAspect == info.pixelAspect,
            "the first line says the same");
    Require(MakeY4mHeader(line, "output.y4m") == MakeY4mHeader(info, "output.y4m"),
            "the first line stays the same");
}
