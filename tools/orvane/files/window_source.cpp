#include "files/window_source.h"

#include <algorithm>
#include <cstring>

size_t WindowSource::Read(uint64_t offset, std::span<uint8_t> into) const
{
    if (offset >= Size() || into.empty())
        return 0;
    if (into.size() > kWindow / 2)
        return source.Read(offset, into);
    const auto count = static_cast<size_t>(std::min<uint64_t>(into.size(), Size() - offset));
    if (offset < start || offset + count > start + window.size()) {
        // A little before the place too: parsers look back by the size of a head.
        start = offset - std::min<uint64_t>(offset, 64);
        window.resize(kWindow);
        window.resize(source.Read(start, window));
    }
    std::memcpy(into.data(), window.data() + (offset - start), count);
    return count;
}
