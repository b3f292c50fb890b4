#include "files/y4m_header.h"

#include "files/byte_source.h"
#include "tool_error.h"

#include <sstream>

namespace {

constexpr char kMagic[] = "YUV4MPEG2";

/// Chroma tags that are read, and for each layout the first one is written.
struct ChromaRow {
    const char* tag;
    const char* layout;
    Y4mKind kind;
};
constexpr ChromaRow kChroma[] = {
    {"420jpeg", "I420", Y4mKind::Planar},  {"420", "I420", Y4mKind::Planar},
    {"420mpeg2", "I420", Y4mKind::Planar}, {"420paldv", "I420", Y4mKind::Planar},
    {"422", "YUY2", Y4mKind::Yuy2},        {"444", "I444", Y4mKind::Planar},
    {"444alpha", "AYUV", Y4mKind::Ayuv},   {"mono", "Y800", Y4mKind::Planar},
};

const ChromaRow& FindChroma(const std::string& tag, const std::string& where)
{
    for (const ChromaRow& row : kChroma)
        if (tag == row.tag)
            return row;
    // Deeper samples are told by a p and their bits behind the subsampling, or by the bits behind "mono".
    const size_t letters = tag.rfind("mono", 0) == 0 ? 4 : tag.find('p');
    const std::string rest = letters < tag.size() ? tag.substr(letters + (tag[letters] == 'p' ? 1 : 0)) : "";
    if (const auto bits = ParseNumber(rest, 64); bits && *bits > 8)
        throw ToolError("samples of " + rest + " bits are not supported", where,
                        "convert the video to 8 bits first");
    throw ToolError("Y4M chroma C" + tag + " is not supported", where,
                    "use C420, C422, C444, C444alpha or Cmono");
}

/// The row by which a layout is written: that of its tag, else the first one; null when Y4M cannot hold it.
const ChromaRow* FindRow(const VideoInfo& info)
{
    const ChromaRow* first = nullptr;
    for (const ChromaRow& row : kChroma)
        if (info.layout == &LayoutNamed(row.layout)) {
            if (info.chromaTag == row.tag)
                return &row;
            first = first ? first : &row;
        }
    return first;
}

int64_t ParseSize(const std::string& text, const std::string& where)
{
    const auto value = ParseNumber(text, INT32_MAX);
    if (!value)
        throw ToolError("bad size in the Y4M header", where, "the header needs W and H with whole numbers");
    return static_cast<int64_t>(*value);
}

constexpr char kRange[] = "XCOLORRANGE=";
constexpr char kChromaOfTag[] = "XYSCSS="; // says once more what C says

/// False when there are too many of them.
bool AddTag(const std::string& tag, VideoInfo& info)
{
    constexpr size_t kMaxTags = 2048; // leaves room for the other fields of a line
    if (info.y4mTags.size() + 1 + tag.size() > kMaxTags)
        return false;
    info.y4mTags += (info.y4mTags.empty() ? "" : " ") + tag;
    return true;
}

void SetTag(const std::string& tag, const std::string& where, Y4mHeader& header)
{
    if (tag == kRange + std::string("FULL") || tag == kRange + std::string("LIMITED"))
        header.info.fullRange = tag.ends_with("FULL");
    else if (tag.starts_with(kRange))
        header.warnings.push_back({"the range " + tag + " of the Y4M stream is not known", where,
                                   "--full-range or --no-full-range says which it is"});
    else if (!tag.starts_with(kChromaOfTag) && !AddTag(tag, header.info))
        header.warnings.push_back({"the tags of the Y4M stream are too long", where, "some are left out"});
}

void SetRate(const std::string& text, const std::string& where, Y4mHeader& header)
{
    header.info.rate = ParseRational(text, ':');
    if (!header.info.rate)
        header.warnings.push_back({"the Y4M stream says no usable frame rate (F" + text + ")", where,
                                   "25 frames a second are taken; --fps sets another rate"});
}

void SetInterlace(const std::string& text, const std::string& where, Y4mHeader& header)
{
    VideoInfo& info = header.info;
    constexpr std::string_view kUnknown = "?"; // says nothing
    if (text != "p" && text != "t" && text != "b" && text != kUnknown)
        header.warnings.push_back({"the interlacing I" + text + " of the Y4M stream cannot be kept", where,
                                   "--interlaced or --no-interlaced says how frames are coded"});
    if (text == "p") {
        info.interlaced = false;
        info.bottomFieldFirst.reset();
    }
    if (text == "t" || text == "b") {
        info.interlaced = true;
        info.bottomFieldFirst = text == "b";
    }
}

} // namespace

Y4mHeader ParseY4mHeader(const std::string& line, const std::string& where)
{
    std::istringstream fields(line);
    std::string field;
    if (!(fields >> field) || field != kMagic)
        throw ToolError("this is no Y4M stream", where, "it must begin with YUV4MPEG2");

    Y4mHeader header;
    int64_t width = 0, height = 0;
    std::string chroma = "420";
    while (fields >> field) {
        const std::string value = field.substr(1);
        switch (field[0]) {
        case 'W':
            width = ParseSize(value, where);
            break;
        case 'H':
            height = ParseSize(value, where);
            break;
        case 'F':
            SetRate(value, where, header);
            break;
        case 'I':
            SetInterlace(value, where, header);
            break;
        case 'A':
            header.info.pixelAspect = ParseRational(value, ':'); // 0:0 is "unknown"
            break;
        case 'C':
            chroma = header.info.chromaTag = value;
            break;
        case 'X':
            SetTag(field, where, header);
            break;
        default:
            header.warnings.push_back(
                {"the field " + field + " of the Y4M stream is not known", where, "it is left out"});
            break;
        }
    }
    const ChromaRow& row = FindChroma(chroma, where);
    header.info.layout = &LayoutNamed(row.layout);
    header.kind = row.kind;
    CheckPictureSize(*header.info.layout, width, height, where);
    header.info.width = static_cast<int>(width);
    header.info.height = static_cast<int>(height);
    return header;
}

std::optional<Y4mKind> Y4mKindOf(const PixelLayout& layout)
{
    for (const ChromaRow& row : kChroma)
        if (&layout == &LayoutNamed(row.layout))
            return row.kind;
    return std::nullopt;
}

std::string MakeY4mHeader(const VideoInfo& info, const std::string& where)
{
    const ChromaRow* const row = FindRow(info);
    if (row == nullptr)
        throw ToolError(std::string("Y4M cannot hold the layout ") + info.layout->name, where,
                        "choose I420, YUY2, I444, AYUV or Y800 with --to, or write .raw, .png or .ppm");
    std::string line = std::string(kMagic) + " W" + std::to_string(info.width) + " H" +
                       std::to_string(info.height) + " F" + TextOf(info.rate.value_or(Rational{}), ':');
    if (info.interlaced)
        line += !*info.interlaced ? " Ip" : info.bottomFieldFirst.value_or(false) ? " Ib" : " It";
    line += " A" + (info.pixelAspect ? TextOf(*info.pixelAspect, ':') : "0:0") + " C" + row->tag;
    if (info.fullRange)
        line += ' ' + (kRange + std::string(*info.fullRange ? "FULL" : "LIMITED"));
    if (!info.y4mTags.empty())
        line += ' ' + info.y4mTags;
    return line + '\n';
}

std::string MakeY4mFields(const VideoInfo& info)
{
    std::string text;
    const auto add = [&](const std::string& field) { text += (text.empty() ? "" : " ") + field; };
    if (info.pixelAspect)
        add("A" + TextOf(*info.pixelAspect, ':'));
    if (!info.chromaTag.empty() && Y4mKindOf(*info.layout))
        add("C" + info.chromaTag);
    if (info.bottomFieldFirst.value_or(false))
        add("Ib");
    if (!info.fullRange && Y4mKindOf(*info.layout))
        add(kRange + std::string("?"));
    std::istringstream tags(info.y4mTags);
    for (std::string tag; tags >> tag;)
        add(tag);
    return text;
}

void TakeY4mFields(const std::string& text, VideoInfo& info)
{
    std::istringstream fields(text);
    for (std::string field; fields >> field;) {
        const std::string value = field.substr(1);
        if (field[0] == 'A')
            info.pixelAspect = ParseRational(value, ':');
        else if (field[0] == 'C')
            info.chromaTag = value; // looked at only when it names the layout
        else if (field == "Ib" && info.interlaced.value_or(false))
            info.bottomFieldFirst = true;
        else if (field == kRange + std::string("?"))
            info.fullRange.reset();
        else if (field[0] == 'X' && !field.starts_with(kRange) && !field.starts_with(kChromaOfTag))
            AddTag(field, info);
    }
}
