#include "imgproc/frontend/chroma_filters.h"
#include "imgproc/frontend/chroma_samples.h"

namespace imgproc {

void DropColumnsScalar(const SourceRows& rows, uint8_t* target, int count)
{
    DropSamples(rows, target, 0, count);
}

void HalveColumnsScalar(const SourceRows& rows, uint8_t* target, int count)
{
    HalveSamples(PlainRow{rows[0]}, target, 0, count);
}

void SmoothRowsScalar(const SourceRows& rows, uint8_t* target, int count)
{
    SmoothSamples(rows, target, 0, count);
}

void HalveBothScalar(const SourceRows& rows, uint8_t* target, int count)
{
    HalveSamples(SmoothedRow{rows}, target, 0, count);
}

void FillBetweenScalar(const SourceRows& rows, uint8_t* target, int count)
{
    FillSamplesBetween(rows, target, 0, count);
}

void DoubleColumnsScalar(const SourceRows& rows, uint8_t* target, int count)
{
    DoubleSamples(rows[0], target, 0, count, count);
}

} // namespace imgproc
