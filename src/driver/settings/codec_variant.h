// The variants of the codec: one for each compressed format that a host can choose, and the generic decoder.
#pragma once

#include "common/format_id.h"
#include "common/settings_records.h"

#include <cstdint>
#include <string>
#include <vector>

namespace settings {

/// One variant with the compression settings that hold for it.
struct CodecVariant {
    FormatId Id = 0; ///< the compressed format, 0 for the generic decoder
    uint32_t FourCC = 0;
    std::string Name;        ///< 15 characters at most
    std::string Description; ///< the text under which users choose it
    EncodeSettings Encode;

    bool operator==(const CodecVariant&) const = default;
};

/// The generic decoder has nothing to configure and no key in the store.
inline bool IsGeneric(const CodecVariant& variant)
{
    return variant.Id == 0;
}

/// All variants in the order in which hosts and dialogs list them, the generic one first, each with default
/// settings.
std::vector<CodecVariant> BuildVariantTable();

} // namespace settings
