#include "driver/settings/codec_variant.h"

#include "common/four_cc.h"

namespace settings {

std::vector<CodecVariant> BuildVariantTable()
{
    return {
        {0, MakeFourCC("ORVN"), "Orvane Gen.", "Orvane Decoder (Generic)", {}},
        {kCodeRgb, MakeFourCC("O8RG"), "Orvane RGB", "Orvane - RGB", {}},
        {kCodeRgba, MakeFourCC("O8RA"), "Orvane RGBA", "Orvane - RGBA", {}},
        {kCodeYuva, MakeFourCC("O8YA"), "Orvane YUVA", "Orvane - YUVA 4:4:4:4", {}},
        {kCodeYuv444, MakeFourCC("O8Y4"), "Orvane YUV444", "Orvane - YUV 4:4:4", {}},
        {kCodeYuv422, MakeFourCC("O8Y2"), "Orvane YUV422", "Orvane - YUV 4:2:2", {}},
        {kCodeYuv420, MakeFourCC("O8Y0"), "Orvane YUV420", "Orvane - YUV 4:2:0", {}},
        {kCodeGray, MakeFourCC("O8G0"), "Orvane YUV400", "Orvane - YUV 4:0:0 (Greyscale)", {}},
    };
}

} // namespace settings
