#include "files/output_file.h"

#include "counted.h"
#include "files/byte_source.h"
#include "interrupt.h"
#include "tool_error.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace {

constexpr char kUseForce[] = "name another output, or replace it with --force";

fs::path WithPart(fs::path name)
{
    return name += ".part";
}

/// The file that a chain of links leads to, whether it exists or not.
fs::path TargetOf(fs::path name)
{
    constexpr int kMostLinks = 40; // as many as the system follows
    std::error_code error;
    for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(name, error)); ++i) {
        const fs::path link = fs::read_symlink(name, error);
        name = link.is_absolute() ? link : name.parent_path() / link;
    }
    return name;
}

bool Exists(const fs::path& name)
{
    std::error_code error;
    return fs::exists(fs::symlink_status(name, error));
}

/// NAME.part, unless that is an input.
fs::path PartOf(const fs::path& name, const OutputRules& rules)
{
    const fs::path part = WithPart(name);
    return rules.IsInput(part) ? WithPart(part) : part;
}

[[noreturn]] void FailUnfinished(const fs::path& part)
{
    throw ToolError(
        "an unfinished file of an earlier or another run is in the way", TextOf(part),
        "orvane repair and orvane decode read it; rename or remove it, or replace it with --force");
}

} // namespace

bool IsStreamName(const fs::path& name)
{
    std::error_code error;
    const fs::file_status status = fs::status(name, error);
    return (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status)) ||
           platform::IsStandardStreamName(name);
}

bool OutputRules::IsInput(const Path& name) const
{
    return std::ranges::any_of(inputs, [&](const Path& input) {
        std::error_code error; // names that do not exist are not the same file
        return fs::equivalent(input, name, error);
    });
}

OutputRules OutputRules::Check(std::span<const Path> names) const
{
    std::vector<Path> taken;
    for (const Path& name : names) {
        if (IsStreamName(name))
            continue;
        std::error_code error;
        if (fs::is_directory(name, error))
            throw ToolError("this is a folder", TextOf(name), "name a file in it");
        const Path target = TargetOf(name);
        if (IsInput(target))
            throw UsageError("the output would overwrite the input", TextOf(name), "name another output");
        if (const Path part = PartOf(target, *this); !force && Exists(part))
            FailUnfinished(part);
        if (Exists(target))
            taken.push_back(name);
    }
    OutputRules rules = *this;
    rules.mayReplace = force || mayReplace;
    if (taken.empty() || rules.mayReplace)
        return rules;
    const std::string others =
        taken.size() == 1 ? "" : " (and " + std::to_string(taken.size() - 1) + " more of these names)";
    if (!ask)
        throw ToolError("the output exists" + others, TextOf(taken.front()), kUseForce);
    if (!ask(TextOf(taken.front()) + others))
        throw ToolError("nothing was replaced", TextOf(taken.front()), "name another output");
    rules.mayReplace = true;
    return rules;
}

OutputFile::OutputFile(const fs::path& name, const OutputRules& rules) : finalName(name)
{
    const OutputRules checked = rules.Check({&name, 1});
    replace = checked.mayReplace;
    if (!IsStreamName(name)) {
        OpenPart(checked);
        return;
    }
    std::error_code error;
    file = platform::OpenFile(name, platform::OpenFile::Mode::Stream, error);
    ThrowIfInterrupted();
    if (error)
        throw ToolError("cannot write to it (" + error.message() + ")", TextOf(name),
                        "check its permissions");
    if (file.IsTerminal())
        throw ToolError("binary data is not written to a terminal", TextOf(name),
                        "send it to a file or to another program");
}

void OutputFile::OpenPart(const OutputRules& rules)
{
    using Mode = platform::OpenFile::Mode;
    finalName = TargetOf(finalName);
    partName = PartOf(finalName, rules);
    std::error_code error;
    file = platform::OpenFile(partName, Mode::CreateNew, error);
    if (error == std::errc::file_exists && rules.force) {
        error.clear();
        file = platform::OpenFile(partName, Mode::TakeOver, error);
    }
    if (error == std::errc::device_or_resource_busy)
        throw ToolError("another run is writing this file", TextOf(partName),
                        "wait for it, or name another output");
    if (error == std::errc::file_exists)
        FailUnfinished(partName);
    if (error)
        throw ToolError("cannot create the file (" + error.message() + ")", TextOf(partName),
                        "check the folder and its permissions");
}

OutputFile::~OutputFile()
{
    std::error_code ignored;
    file.Close(ignored);
    if (discard && !committed && !IsStream())
        fs::remove(partName, ignored);
}

void OutputFile::Fail(const std::error_code& error) const
{
    if (IsStream())
        ThrowIfInterrupted(); // that is what a write which waited ends with
    if (IsStream())
        throw ToolError("cannot write (" + error.message() + ")", TextOf(finalName),
                        "the reader is gone or the device is full");
    throw ToolError("cannot write (" + error.message() + ")", TextOf(partName), "make room and start again");
}

void OutputFile::Write(std::span<const uint8_t> bytes)
{
    std::error_code error;
    file.Write(bytes.data(), bytes.size(), error);
    if (error)
        Fail(error);
    position += bytes.size();
}

void OutputFile::WriteAt(uint64_t offset, std::span<const uint8_t> bytes)
{
    std::error_code error;
    file.WriteAt(offset, bytes.data(), bytes.size(), error);
    if (error)
        Fail(error);
}

void OutputFile::RequireSeek(const std::string& kind) const
{
    if (!file.CanSeek())
        throw ToolError(kind + " cannot be written to a pipe, to a device that cannot go back, or after what "
                               "a file holds",
                        TextOf(finalName), "name an ordinary file");
}

void OutputFile::Sync()
{
    std::error_code error;
    if (!IsStream())
        file.Sync(error);
    if (error)
        Fail(error);
}

void OutputFile::Commit(Folder folder)
{
    Sync();
    std::error_code error;
    file.Close(error);
    if (error)
        Fail(error);
    committed = true;
    if (IsStream())
        return;
    platform::RenameFile(partName, finalName, replace, error);
    if (error)
        throw ToolError("cannot rename " + TextOf(partName) + " (" + error.message() + ")", TextOf(finalName),
                        "the result is complete under the first name; rename it by hand");
    if (folder == Folder::IsSynced)
        platform::SyncFolder(finalName.parent_path());
}

void OutputFile::NamePart(ToolError& error, uint64_t frames)
{
    if (IsStream() || committed)
        return;
    discard = frames == 0;
    const std::string part = TextOf(partName);
    if (!discard)
        error.remedy += (error.remedy.empty() ? "" : "; ") + Counted(frames, "frame") +
                        (frames == 1 ? " is in " : " are in ") + (error.where == part ? "it" : part);
}
