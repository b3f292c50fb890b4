#include "files/input_stream.h"

#include "files/byte_source.h"
#include "tool_error.h"

#include <algorithm>

namespace {

platform::OpenFile Open(const std::string& name)
{
    std::error_code error;
    platform::OpenFile file(PathOf(name), platform::OpenFile::Mode::Read, error);
    if (error)
        throw ToolError("cannot open the file (" + error.message() + ")", name,
                        "check that it exists and may be read");
    return file;
}

} // namespace

InputStream::InputStream(platform::OpenFile file)
    : std::istream(nullptr), live(!file.IsRegular()), buffer(std::move(file))
{
    rdbuf(&buffer);
}

InputStream::InputStream(const std::string& name) : InputStream(Open(name)) {}

/// Bytes of the file; none at the end. An error ends the stream with an exception, which sets its bad bit.
size_t InputStream::Buffer::Read(char* into, size_t count)
{
    std::error_code error;
    const size_t got = file.Read(into, count, error);
    if (error)
        throw std::ios_base::failure("cannot read", error);
    return got;
}

InputStream::Buffer::int_type InputStream::Buffer::underflow()
{
    const size_t got = Read(bytes.data(), bytes.size());
    setg(bytes.data(), bytes.data(), bytes.data() + got);
    return got == 0 ? traits_type::eof() : traits_type::to_int_type(bytes[0]);
}

std::streamsize InputStream::Buffer::xsgetn(char* into, std::streamsize count)
{
    const std::streamsize buffered = std::min<std::streamsize>(count, egptr() - gptr());
    std::copy_n(gptr(), buffered, into);
    gbump(static_cast<int>(buffered));
    std::streamsize done = buffered;
    while (done < count) { // large parts of pictures go past the buffer
        const size_t got = Read(into + done, static_cast<size_t>(count - done));
        if (got == 0)
            break;
        done += static_cast<std::streamsize>(got);
    }
    return done;
}
