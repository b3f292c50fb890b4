#include "entropy/length_table.h"

#include "entropy/code_limits.h"

#include <algorithm>
#include <cassert>

namespace entropy {

namespace {

constexpr uint8_t kRunFlag = 0x80;
constexpr size_t kMaxRun = 256;
static_assert(kMaxLengthTableBytes == 2 * kSymbols, "two bytes per entry at most");

} // namespace

size_t WriteLengthTable(const uint32_t* lengths, size_t count, uint8_t* out)
{
    size_t size = 0;
    for (size_t entry = 0; entry < count;) {
        assert(lengths[entry] < kRunFlag);
        const auto value = static_cast<uint8_t>(lengths[entry]);
        const size_t longest = std::min(kMaxRun, count - entry);
        size_t run = 1;
        while (run < longest && lengths[entry + run] == lengths[entry])
            ++run;
        if (run == 1) {
            out[size++] = value;
        } else {
            out[size++] = value | kRunFlag;
            out[size++] = static_cast<uint8_t>(run - 1);
        }
        entry += run;
    }
    return size;
}

const uint8_t* ReadLengthTable(const uint8_t* at, const uint8_t* end, size_t count, uint32_t* lengths)
{
    for (size_t entry = 0; entry < count;) {
        if (at >= end)
            return nullptr;
        const uint8_t token = *at++;
        size_t run = 1;
        if (token & kRunFlag) {
            if (at >= end)
                return nullptr;
            run += *at++;
        }
        run = std::min(run, count - entry);
        std::fill_n(lengths + entry, run, uint32_t{token} & 0x7F);
        entry += run;
    }
    return at;
}

} // namespace entropy
