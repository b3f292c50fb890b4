#include "platform/open_file.h"

#include <utility>

namespace platform {

OpenFile::OpenFile(OpenFile&& other) noexcept
    : handle(std::exchange(other.handle, kNone)), owned(other.owned), appends(other.appends)
{}

OpenFile& OpenFile::operator=(OpenFile&& other) noexcept
{
    std::swap(handle, other.handle);
    std::swap(owned, other.owned);
    std::swap(appends, other.appends);
    return *this;
}

OpenFile::~OpenFile()
{
    std::error_code ignored;
    Close(ignored);
}

} // namespace platform
