// How tests show the values that they compare. GoogleTest finds these by their arguments.
#pragma once

#include "common/predict_methods.h"
#include "imgproc/backend/imgproc_backend.h"

#include <ostream>

inline std::ostream& operator<<(std::ostream& out, PredictMethod method)
{
    const PredictMethodInfo* const info = FindPredictMethod(static_cast<uint32_t>(method));
    return info ? out << info->name : out << "method " << static_cast<uint32_t>(method);
}

namespace imgproc {

inline std::ostream& operator<<(std::ostream& out, const PredictorScores& scores)
{
    return out << "left " << scores.left << ", gradient " << scores.gradient << ", median " << scores.median;
}

} // namespace imgproc
