#include "files/output_stream.h"

OutputStream::OutputStream(platform::OpenFile file) : std::ostream(nullptr), buffer(std::move(file))
{
    rdbuf(&buffer);
}

OutputStream::~OutputStream()
{
    buffer.pubsync();
}

bool OutputStream::Buffer::Write(const char* from, size_t count)
{
    std::error_code error;
    if (!failed && count > 0)
        file.Write(from, count, error);
    failed = failed || error;
    return !failed;
}

int OutputStream::Buffer::sync()
{
    const bool written = Write(pbase(), static_cast<size_t>(pptr() - pbase()));
    setp(bytes.data(), bytes.data() + bytes.size());
    return written ? 0 : -1;
}

OutputStream::Buffer::int_type OutputStream::Buffer::overflow(int_type next)
{
    if (sync() != 0)
        return traits_type::eof();
    if (!traits_type::eq_int_type(next, traits_type::eof()))
        sputc(traits_type::to_char_type(next));
    return traits_type::not_eof(next);
}

std::streamsize OutputStream::Buffer::xsputn(const char* from, std::streamsize count)
{
    if (count < epptr() - pptr())
        return std::streambuf::xsputn(from, count);
    return sync() == 0 && Write(from, static_cast<size_t>(count)) ? count : 0;
}
