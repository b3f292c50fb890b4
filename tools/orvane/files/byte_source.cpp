#include "files/byte_source.h"

#include "tool_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

std::vector<uint8_t> ByteSource::ReadBytes(uint64_t offset, size_t count) const
{
    const uint64_t left = offset < Size() ? Size() - offset : 0;
    std::vector<uint8_t> bytes(static_cast<size_t>(std::min<uint64_t>(count, left)));
    bytes.resize(Read(offset, bytes));
    return bytes;
}

size_t MemorySource::Read(uint64_t offset, std::span<uint8_t> into) const
{
    if (offset >= bytes.size())
        return 0;
    const size_t count = std::min<size_t>(into.size(), bytes.size() - static_cast<size_t>(offset));
    if (count > 0)
        std::memcpy(into.data(), bytes.data() + offset, count);
    return count;
}

FileSource::FileSource(const std::filesystem::path& path) : name(TextOf(path))
{
    if (std::error_code ignored; std::filesystem::is_directory(path, ignored))
        throw ToolError("this is a folder", name, "name a file");
    // Without a buffer: headers are read one by one, far apart, and frames are large.
    stream.rdbuf()->pubsetbuf(nullptr, 0);
    errno = 0;
    stream.open(path, std::ios::binary);
    if (!stream)
        throw ToolError("cannot open the file (" + SystemReason() + ")", name,
                        "check that it exists and may be read");
    stream.seekg(0, std::ios::end);
    const std::streamoff end = stream.tellg();
    if (end < 0)
        throw ToolError("cannot tell the size of the file", name, "name an ordinary file");
    size = static_cast<uint64_t>(end);
}

size_t FileSource::Read(uint64_t offset, std::span<uint8_t> into) const
{
    if (offset >= size || into.empty())
        return 0;
    const auto wanted = static_cast<std::streamsize>(std::min<uint64_t>(into.size(), size - offset));
    stream.clear();
    stream.seekg(static_cast<std::streamoff>(offset));
    errno = 0;
    stream.read(reinterpret_cast<char*>(into.data()), wanted);
    if (stream.gcount() != wanted)
        throw ToolError("cannot read the file (" + SystemReason() + ")", name,
                        "check the disk and try again");
    return static_cast<size_t>(wanted);
}

std::filesystem::path PathOf(const std::string& utf8)
{
    return {std::u8string(utf8.begin(), utf8.end())};
}

std::string TextOf(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}
