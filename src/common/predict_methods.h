// The prediction methods: one row for each with all that the rest of the system says about it. The kernels of
// a method follow from its rule (imgproc/backend/predictor_rule.h).
#pragma once

#include "common/settings_records.h"

#include <array>
#include <cstddef>
#include <cstdint>

struct PredictMethodInfo {
    PredictMethod method; ///< the value in settings and in a block's header
    const char* name;     ///< for people
    const char* option;   ///< for command lines and JSON
    bool inBlocks;        ///< blocks store it; the others choose one of these for each block
    bool offered;         ///< users can choose it
};

/// By value, starting with 1.
inline constexpr std::array kPredictMethods{
    PredictMethodInfo{PredictMethod::Left, "Left", "left", true, false},
    PredictMethodInfo{PredictMethod::Gradient, "Gradient", "gradient", true, true},
    PredictMethodInfo{PredictMethod::Median, "Median", "median", true, true},
    PredictMethodInfo{PredictMethod::Dynamic, "Dynamic", "dynamic", false, true},
};

/// Null for a value that is no method's.
constexpr const PredictMethodInfo* FindPredictMethod(uint32_t value)
{
    for (const PredictMethodInfo& info : kPredictMethods)
        if (static_cast<uint32_t>(info.method) == value)
            return &info;
    return nullptr;
}

/// How many methods blocks store: the values 1 to this.
inline constexpr size_t kBlockMethods = [] {
    size_t count = 0;
    for (size_t i = 0; i < kPredictMethods.size(); ++i) {
        const PredictMethodInfo& info = kPredictMethods[i];
        if (static_cast<size_t>(info.method) != i + 1 || (info.inBlocks && count != i))
            throw "out of order";
        count += info.inBlocks;
    }
    return count;
}();
