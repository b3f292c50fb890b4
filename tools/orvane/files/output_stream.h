// Standard output as a stream. A write that waits ends when the process is asked to end.
#pragma once

#include "platform/open_file.h"

#include <ostream>
#include <streambuf>
#include <vector>

class OutputStream final : public std::ostream
{
  public:
    explicit OutputStream(platform::OpenFile file);
    /// Writes what the buffer holds.
    ~OutputStream() override;

  private:
    class Buffer final : public std::streambuf
    {
      public:
        explicit Buffer(platform::OpenFile file_) : file(std::move(file_)), bytes(1 << 16)
        {
            setp(bytes.data(), bytes.data() + bytes.size());
        }

      protected:
        int_type overflow(int_type next) override;
        std::streamsize xsputn(const char* from, std::streamsize count) override;
        int sync() override;

      private:
        bool Write(const char* from, size_t count);

        platform::OpenFile file;
        std::vector<char> bytes;
        bool failed = false; ///< nothing is written after a write that failed
    };

    Buffer buffer;
};
