#include "driver/settings/accepted_input.h"

#include "common/compressed_formats.h"
#include "common/host_layouts.h"

#include <algorithm>
#include <string_view>

namespace settings {

namespace {

/// Of names of letters and digits.
bool DiffersInCaseOnly(std::string_view a, std::string_view b)
{
    const auto lower = [](char c) { return c | 0x20; };
    return std::ranges::equal(a, b, {}, lower, lower);
}

/// Adds ",NAME" for each name. Two names in a row that differ in case only show as one.
void AddNames(std::string& list, const LayoutDescriptor& layout)
{
    if (layout.IsRgb() && layout.HasAlpha()) {
        list += ",RGB" + std::to_string(layout.BitCount()) + " with alpha";
        return;
    }
    std::string_view last;
    for (const std::string_view name : layout.Names()) {
        if (!DiffersInCaseOnly(name, last))
            list.append(",").append(name);
        last = name;
    }
}

} // namespace

std::string InputLabel(const InputCategory& category)
{
    const FormatDescriptor* format = FindFormatDescriptor(category.category);
    std::string names;
    for (const Arrangement arrangement : {Arrangement::Planar, Arrangement::Packed})
        for (const LayoutDescriptor& layout : kHostLayouts)
            if (layout.category == category.category && layout.arrangement == arrangement &&
                !layout.Names().empty())
                AddNames(names, layout);
    if (!format || names.empty())
        return category.deepLabel;
    return std::string(format->name) + " - (" + names.substr(1) + ")";
}

} // namespace settings
