// Standard input, pipes and devices as a stream. A read that waits ends when the process is asked to end.
#pragma once

#include "platform/open_file.h"

#include <istream>
#include <streambuf>
#include <string>
#include <vector>

class InputStream final : public std::istream
{
  public:
    explicit InputStream(platform::OpenFile file);
    /// Throws ToolError when the name cannot be opened.
    explicit InputStream(const std::string& name);

    /// Whether the bytes come from a pipe or device, so that they are there once only.
    bool IsLive() const { return live; }

  private:
    class Buffer final : public std::streambuf
    {
      public:
        explicit Buffer(platform::OpenFile file_) : file(std::move(file_)), bytes(1 << 16) {}

      protected:
        int_type underflow() override;
        std::streamsize xsgetn(char* into, std::streamsize count) override;

      private:
        size_t Read(char* into, size_t count);

        platform::OpenFile file;
        std::vector<char> bytes;
    };

    bool live;
    Buffer buffer;
};
