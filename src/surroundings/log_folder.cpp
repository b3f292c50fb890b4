#include "surroundings/log_folder.h"

#include "platform/profile_folder.h"

namespace surroundings {

namespace {

std::optional<platform::Path> MakeFolderIn(const std::optional<platform::Path>& parent, const char* name)
{
    if (!parent)
        return std::nullopt;
    const platform::Path folder = *parent / name;
    platform::MakeFolder(folder); // whoever uses the folder finds out whether it is there
    return folder;
}

} // namespace

std::optional<platform::Path> MakeLogFolder()
{
    return MakeFolderIn(platform::ProfileFolder(), "orvane");
}

std::optional<platform::Path> MakeAdobeLogFolder()
{
    return MakeFolderIn(MakeLogFolder(), "adobe");
}

} // namespace surroundings
