#include "files/picture_sequence.h"

#include "files/byte_source.h"
#include "tool_error.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace {

constexpr size_t kMaxDigits = 18;

/// The files of a pattern, from the first number on. Throws ToolError when there is none or one is missing
/// between.
std::vector<std::filesystem::path> FindFiles(const NumberPattern& pattern, const std::filesystem::path& name)
{
    std::vector<uint64_t> numbers;
    std::error_code error;
    const std::filesystem::path folder = pattern.Folder().empty() ? "." : pattern.Folder();
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        if (const auto number = pattern.NumberOf(TextOf(entry.path().filename())))
            numbers.push_back(*number);
    if (numbers.empty())
        throw ToolError("no picture fits this name", TextOf(name),
                        "check the folder and the number of digits");
    std::ranges::sort(numbers);

    std::vector<std::filesystem::path> files;
    for (const uint64_t number : numbers) {
        if (const uint64_t expected = numbers.front() + files.size(); number != expected)
            throw ToolError("a picture of the sequence is missing", TextOf(pattern.NameOf(expected)),
                            "the sequence goes on with " + TextOf(pattern.NameOf(number).filename()) +
                                "; add the picture or rename those behind it");
        files.push_back(pattern.NameOf(number));
    }
    return files;
}

} // namespace

std::optional<NumberPattern> NumberPattern::Parse(const std::filesystem::path& name)
{
    const std::string text = TextOf(name.filename());
    const size_t percent = text.find('%');
    if (percent == std::string::npos)
        return std::nullopt;
    NumberPattern pattern;
    pattern.folder = name.parent_path();
    pattern.before = text.substr(0, percent);
    size_t end = percent + 1;
    while (end < text.size() && text[end] >= '0' && text[end] <= '9')
        ++end;
    const std::string width = text.substr(percent + 1, end - percent - 1);
    const auto digits = width.empty() ? std::optional<uint64_t>(1) : ParseNumber(width, kMaxDigits);
    const bool padded = width.empty() || width[0] == '0';
    if (end == text.size() || text[end] != 'd' || !digits || !padded ||
        text.find('%', end) != std::string::npos)
        throw UsageError("bad number pattern", text, "write one %d or %04d");
    pattern.behind = text.substr(end + 1);
    pattern.digits = std::max<size_t>(1, static_cast<size_t>(*digits));
    return pattern;
}

std::string NumberPattern::FileName(uint64_t number) const
{
    const std::string text = std::to_string(number);
    const size_t zeros = digits > text.size() ? digits - text.size() : 0;
    return before + std::string(zeros, '0') + text + behind;
}

std::filesystem::path NumberPattern::NameOf(uint64_t number) const
{
    return folder / PathOf(FileName(number));
}

std::optional<uint64_t> NumberPattern::NumberOf(const std::string& fileName) const
{
    if (fileName.size() <= before.size() + behind.size() || !fileName.starts_with(before) ||
        !fileName.ends_with(behind))
        return std::nullopt;
    const std::string middle =
        fileName.substr(before.size(), fileName.size() - before.size() - behind.size());
    const auto number = middle.size() <= kMaxDigits ? ParseNumber(middle, INT64_MAX) : std::nullopt;
    return number && FileName(*number) == fileName ? number : std::nullopt;
}

std::vector<std::filesystem::path> FilesOf(const std::filesystem::path& name)
{
    const auto pattern = NumberPattern::Parse(name);
    return pattern ? FindFiles(*pattern, name) : std::vector{name};
}

StillReader::StillReader(const std::filesystem::path& name) : files(FilesOf(name))
{
    Open();
    frameCount = files.size() - 1 + file->CountPictures();
    if (!Load())
        throw ToolError("the file is empty", TextOf(files.front()), "give a picture");
    info = current.info;
}

void StillReader::Open()
{
    file = std::make_unique<StillFile>(std::make_unique<FileSource>(files[number]), TextOf(files[number]));
}

/// Makes the next picture the current one. False after the last picture of the last file.
bool StillReader::Load()
{
    for (;;) {
        if (std::optional<StillImage> next = file->Next()) {
            current = std::move(*next);
            for (const ToolWarning& warning : current.warnings)
                Warn(warning);
            return true;
        }
        if (number + 1 == files.size())
            return false;
        ++number;
        Open();
    }
}

bool StillReader::Next(std::span<uint8_t> picture)
{
    if (!first && !Load())
        return false;
    first = false;
    if (current.info.width != info.width || current.info.height != info.height ||
        current.info.layout != info.layout)
        throw ToolError("the picture differs from the first in size or channels", TextOf(files[number]),
                        "give all pictures the form of " + TextOf(files.front().filename()));
    std::ranges::copy(current.pixels, picture.begin());
    return true;
}

StillWriter::StillWriter(const std::filesystem::path& name_, StillKind kind_, VideoInfo info_,
                         FrameNumbers frames, const OutputRules& rules_)
    : name(name_), pattern(NumberPattern::Parse(name_)), kind(kind_), info(std::move(info_)),
      limit(std::max(1U, std::thread::hardware_concurrency()))
{
    CheckStillLayout(kind, *info.layout, TextOf(name));
    if (!pattern && frames.count > 1)
        throw UsageError(std::to_string(frames.count) + " frames need a number pattern in the name",
                         TextOf(name), "write a name as shot_%04d.png, or choose one frame with --frames");
    std::vector<std::filesystem::path> names;
    for (uint64_t number = frames.first; number < frames.first + frames.count; ++number)
        names.push_back(NameOf(number));
    rules = rules_.Check(names);
}

void StillWriter::Write(std::span<const uint8_t> picture, uint64_t number)
{
    if (running.size() == limit)
        FinishOldest();
    running.push_back(std::async(
        std::launch::async, [this, number, pixels = std::vector<uint8_t>(picture.begin(), picture.end())] {
            OutputFile file(NameOf(number), rules);
            try {
                file.Write(EncodeStill(kind, info, pixels));
                file.Commit(OutputFile::Folder::IsSyncedLater);
            } catch (ToolError& error) {
                file.NamePart(error, 0); // half a picture is of no use
                throw;
            }
        }));
}

/// Waits for a picture and throws what went wrong with it.
void StillWriter::FinishOldest()
{
    std::future<void> oldest = std::move(running.front());
    running.pop_front();
    oldest.get();
}

void StillWriter::Finish()
{
    while (!running.empty())
        FinishOldest();
    platform::SyncFolder(name.parent_path());
}
