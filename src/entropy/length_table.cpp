#include "entropy/length_table.h"

#include "entropy/code_limits.h"

#include <algorithm>
#include <cassert>

namespace {

constexpr uint8_t kRunFlag = 0x80;
constexpr int kMaxRun = 256;
static_assert(kMaxLengthTableBytes == 2 * kSymbols, "two bytes per entry at most");

} // namespace

size_t WriteLengthTable(const uint32_t* lengths, int count, uint8_t* out)
{
    uint8_t* at = out;
    for (int entry = 0; entry < count;) {
        assert(lengths[entry] < kRunFlag);
        const auto value = static_cast<uint8_t>(lengths[entry]);
        const int longest = std::min(kMaxRun, count - entry);
        int run = 1;
        while (run < longest && lengths[entry + run] == lengths[entry])
            ++run;
        if (run == 1) {
            *at++ = value;
        } else {
            *at++ = value | kRunFlag;
            *at++ = static_cast<uint8_t>(run - 1);
        }
        entry += run;
    }
    return static_cast<size_t>(at - out);
}

const uint8_t* ReadLengthTable(const uint8_t* at, const uint8_t* end, int count, uint32_t* lengths)
{
    for (int entry = 0; entry < count;) {
        if (at >= end)
            return nullptr;
        const uint8_t token = *at++;
        int run = 1;
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
