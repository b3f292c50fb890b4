#include "imgproc/frontend/frontend_set.h"

namespace imgproc {

FrontendSet::FrontendSet() = default;
FrontendSet::~FrontendSet() = default;

const ImgProcFrontend* FrontendSet::Find(FormatId host, FormatId planes, ColorStandard standard) const
{
    return table.Find({host, planes, standard});
}

const ImgProcConverter* ConverterSet::Find(FormatId from, FormatId to) const
{
    struct Row {
        FormatId from, to;
        const ImgProcConverter* converter;
    };
    const Row rows[] = {
        {kCodeYuv444, kCodeYuv422, &from444To422}, {kCodeYuv444, kCodeYuv420, &from444To420},
        {kCodeYuv422, kCodeYuv420, &from422To420}, {kCodeYuv422, kCodeYuv444, &from422To444},
        {kCodeYuv420, kCodeYuv422, &from420To422}, {kCodeYuv420, kCodeYuv444, &from420To444},
        {kCodeGray, kCodeYuv444, &from400To444},   {kCodeGray, kCodeYuv420, &from400To420},
        {kCodeYuv444, kCodeGray, &from444To400},   {kCodeYuv420, kCodeGray, &from420To400},
    };
    for (const Row& row : rows)
        if (row.from == from && row.to == to)
            return row.converter;
    return nullptr;
}

} // namespace imgproc
