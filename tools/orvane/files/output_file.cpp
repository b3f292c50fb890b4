#include "files/output_file.h"

#include "files/byte_source.h"
#include "tool_error.h"

OutputFile::OutputFile(const std::filesystem::path& name) : finalName(name), partName(PartName(name))
{
    stream.rdbuf()->pubsetbuf(nullptr, 0);
    stream.open(partName, std::ios::binary | std::ios::trunc);
    if (!stream)
        throw ToolError("cannot create the file", TextOf(partName), "check the folder and its permissions");
}

void OutputFile::Fail() const
{
    throw ToolError("cannot write (is the disk full?)", TextOf(partName),
                    "what was written so far stays there and can be read; make room and start again");
}

void OutputFile::Write(std::span<const uint8_t> bytes)
{
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream)
        Fail();
    position += bytes.size();
}

void OutputFile::WriteAt(uint64_t offset, std::span<const uint8_t> bytes)
{
    stream.seekp(static_cast<std::streamoff>(offset));
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    stream.seekp(static_cast<std::streamoff>(position));
    if (!stream)
        Fail();
}

void OutputFile::Commit()
{
    stream.close();
    if (!stream)
        Fail();
    std::error_code error;
    std::filesystem::rename(partName, finalName, error);
    if (error)
        throw ToolError("cannot rename " + TextOf(partName), TextOf(finalName),
                        "the result is complete under the first name; rename it by hand");
}

void NamePart(ToolError& error, const std::filesystem::path& name, uint64_t frames)
{
    const std::string part = TextOf(OutputFile::PartName(name));
    error.remedy += (error.remedy.empty() ? "" : "; ") + std::to_string(frames) + " frames are in " +
                    (error.where == part ? "it" : part);
}

void CheckNotInput(const std::filesystem::path& input, const std::filesystem::path& output)
{
    for (const std::filesystem::path& name : {output, OutputFile::PartName(output)}) {
        std::error_code error; // names that do not exist are not the same file
        if (std::filesystem::equivalent(input, name, error))
            throw UsageError("the output would overwrite the input", TextOf(name), "name another output");
    }
}
