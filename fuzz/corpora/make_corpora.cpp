// Makes the first inputs of all fuzz targets with the codec's own writers: make_corpora FOLDER writes
// FOLDER/TARGET/NAME. Few and small; targets find the rest.

#include "driver/format_table.h"
#include "entropy/length_table.h"
#include "files/avi_records.h"
#include "files/avi_writer.h"
#include "files/checksum_table.h"
#include "files/still_image.h"
#include "files/y4m_header.h"
#include "files/y4m_stream.h"
#include "support/driver_host.h"
#include "support/memory_sink.h"
#include "support/message_steps.h"
#include "support/negotiate_input.h"
#include "support/picture_maker.h"
#include "support/round_trip_choice.h"

#include <concepts>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

using namespace driver;
using namespace entropy;

namespace {

using Bytes = std::vector<uint8_t>;

std::filesystem::path corpora;

void Save(const std::string& target, const std::string& name, std::span<const uint8_t> bytes)
{
    const std::filesystem::path folder = corpora / target;
    std::filesystem::create_directories(folder);
    std::ofstream file(folder / name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + (folder / name).string());
}

std::span<const uint8_t> BytesOf(const std::string& text)
{
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

template <class Record>
requires(!std::convertible_to<const Record&, std::span<const uint8_t>>) Bytes& Append(Bytes& bytes,
                                                                                      const Record& record)
{
    const auto* const at = reinterpret_cast<const uint8_t*>(&record);
    bytes.insert(bytes.end(), at, at + sizeof record);
    return bytes;
}

Bytes& Append(Bytes& bytes, std::span<const uint8_t> more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
    return bytes;
}

/// The frame of a native picture of the chosen stream. Flat content has short code tables.
Bytes MakeFrame(const StreamChoice& choice, Content content, PredictMethod method)
{
    Orvane codec(true, true);
    PrepareCodec(codec, true);
    EncodeSettings settings = codec.GetEncodeSettings();
    settings.CompMethod = static_cast<uint32_t>(method);
    codec.ApplyEncodeSettings(settings);
    CompressInfo info;
    const Bytes record = MakeRecord(choice);
    const FormatId host = Orvane::NativeFormat(ReadHeader(record.data()));
    const StreamSize size = SizeOf(choice);
    return EncodePicture(codec, info, record, host,
                         MakePicture(content, PictureBytes(codec, host, size), size.width, 5));
}

/// A choice with the first route of a format to its native layout.
StreamChoice ChoiceOf(FormatId code, uint8_t size, uint8_t flags)
{
    FrameHeader header{};
    header.formatCode = static_cast<uint8_t>(code);
    const auto& routes = DecompressRoutes();
    for (size_t i = 0; i < routes.size(); ++i)
        if (routes[i].code == code && routes[i].output == Orvane::NativeFormat(header))
            return {static_cast<uint8_t>(i), size, flags};
    throw std::logic_error("every format has a native layout");
}

void MakeFrames()
{
    const auto save = [](const std::string& name, const StreamChoice& choice,
                         std::span<const uint8_t> frame) {
        Bytes input;
        Save("frame_fuzz", name, Append(Append(input, choice), frame));
    };
    for (FormatId code = kCodeRgb; code <= kCodeGray; ++code)
        for (const bool interlaced : {false, true}) {
            const StreamChoice choice =
                ChoiceOf(code, interlaced ? 4 : 3,
                         static_cast<uint8_t>((interlaced ? kChooseInterlaced : 0) | kChooseInterpolate));
            save(std::to_string(code) + (interlaced ? "_interlaced" : "_progressive"), choice,
                 MakeFrame(choice, Content::Flat, PredictMethod::Dynamic));
        }
    const StreamChoice choice = ChoiceOf(kCodeYuv420, 2, 0);
    const Bytes smooth = MakeFrame(choice, Content::Smooth, PredictMethod::Median);
    save("smooth", choice, smooth);
    save("headerless", choice, std::span(smooth).subspan(32));
    save("cut", choice, std::span(smooth).first(smooth.size() / 2));
    Bytes tall = smooth;
    tall[28] = 30; // another block height, as many blocks
    save("other_block_height", choice, tall);
    tall[28] = 64;
    save("one_band", choice, tall);
    const StreamChoice small = ChoiceOf(kCodeGray, 1, 0);
    save("raw", small, MakeFrame(small, Content::Noise, PredictMethod::Left));
    for (const uint8_t tables :
         {kChooseOtherTables, static_cast<ChoiceFlag>(kChooseOtherTables | kChooseRecordTables)}) {
        const StreamChoice other = ChoiceOf(kCodeYuv422, 2, tables);
        save(tables == kChooseOtherTables ? "no_tables" : "record_tables", other,
             MakeFrame(other, Content::Flat, PredictMethod::Gradient));
    }
}

void MakeRoundTrips()
{
    Orvane codec(true, true);
    const auto& routes = RoundTripRoutes();
    for (size_t route = 0; route < routes.size(); ++route) {
        if (routes[route].lossy && route % 5 != 0)
            continue;
        Bytes input;
        Append(input,
               RoundTripChoice{static_cast<uint8_t>(route), static_cast<uint8_t>(15 + 16 * (route % 4)), 59,
                               static_cast<uint8_t>(route * 7), static_cast<uint8_t>(route), 3});
        Append(input, MakePicture(Content::Smooth, 24, 24, static_cast<uint32_t>(route)));
        Save("round_trip_fuzz",
             std::to_string(routes[route].host) + "_to_" + std::to_string(routes[route].code), input);
    }
}

void MakeLengths()
{
    for (const Content content : kAllContents) {
        const Bytes picture = MakePicture(content, 600, 60, 2);
        uint64_t counts[256] = {};
        for (const uint8_t value : picture)
            ++counts[value];
        HuffCoder8 coder;
        coder.BuildFromFrequencies(256, counts, true);
        Bytes stream(2000);
        OutBitStream state;
        BitStreamInit(state, stream.data(), stream.size());
        coder.Encode(state, picture.data(), picture.size());
        stream.resize(BitStreamFinish(state));
        uint8_t table[kMaxLengthTableBytes];
        const size_t size = WriteLengthTable(coder.GetCodeLengths().data(), 256, table);

        const std::string name = std::to_string(static_cast<int>(content));
        Bytes input = {0}; // a table of its own
        Append(input, static_cast<uint16_t>(size));
        Append(input, std::span(table, size));
        Append(input, uint8_t{17});   // symbols a call
        Append(input, uint16_t{600}); // symbols
        Save("lengths_fuzz", "table_" + name, Append(input, stream));

        input = {1}; // lengths from counts
        Append(input, std::span(picture).first(256));
        Append(input, std::span<const uint8_t>(Bytes{1, 3, 200, 2}));
        Save("lengths_fuzz", "counts_" + name, Append(input, stream));
    }
    const Bytes flatTables = {0, 2, 0, 0x88, 0xFF, 5, 40, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13};
    Save("lengths_fuzz", "flat", flatTables);
    const Bytes holes = {0,    2, 0, 0x8C, 0xFF, 5,    200, 0,  0,  0xFF, 1, 2,
                         0xFE, 4, 5, 6,    7,    0xF8, 9,   10, 11, 12,   13};
    Save("lengths_fuzz", "holes", holes);
}

AviStreamFormat MakeAviFormat(const StreamChoice& choice)
{
    const StreamSize size = SizeOf(choice);
    AviStreamFormat format;
    format.handler = MakeFourCC("O8Y0");
    format.width = static_cast<int>(size.width);
    format.height = static_cast<int>(size.height);
    Append(format.bitmapInfo, uint32_t{72});
    Append(format.bitmapInfo, size);
    Append(format.bitmapInfo, uint16_t{1});
    Append(format.bitmapInfo, uint16_t{24});
    Append(format.bitmapInfo, MakeFourCC("O8Y0"));
    format.bitmapInfo.resize(40);
    Append(format.bitmapInfo, MakeRecord(choice));
    return format;
}

Bytes MakeAvi(const StreamChoice& choice, int frames, uint64_t segmentLimit,
              std::span<const AviExtraChunk> extras = {})
{
    MemorySink file;
    AviWriter writer(file, MakeAviFormat(choice), segmentLimit);
    const Bytes frame = MakeFrame(choice, Content::Flat, PredictMethod::Left);
    for (int i = 0; i < frames; ++i)
        writer.WriteFrame(i == 1 ? std::span<const uint8_t>() : std::span<const uint8_t>(frame));
    writer.Finish(extras);
    return file.bytes;
}

/// With checksums and fields as the tool adds them behind the frames.
Bytes MakeAviWithChecksums(const StreamChoice& choice, int frames)
{
    const Bytes record = MakeRecord(choice);
    const FrameHeader header = ReadHeader(record.data());
    const FrameHasher hasher(*FindCompressedFormat(header.formatCode), header);
    const PixelLayout& layout = NativeLayout(header.formatCode);
    const Bytes frame = MakeFrame(choice, Content::Flat, PredictMethod::Left);
    const Bytes picture(static_cast<size_t>(
        PictureBytes(layout, static_cast<int>(header.width), static_cast<int>(header.height))));
    ChecksumTable table(hasher.Bands(), hasher.Blocks());
    for (int i = 0; i < frames; ++i)
        table.Add(
            hasher.Hash(picture, i == 1 ? std::span<const uint8_t>() : std::span<const uint8_t>(frame)));
    VideoInfo info;
    info.layout = &layout;
    info.interlaced = info.bottomFieldFirst = true;
    info.pixelAspect = Rational{10, 11};
    info.chromaTag = "420mpeg2";
    const std::string fields = MakeY4mFields(info);
    const AviExtraChunk extras[] = {{avi::kChecksums, table.Chunk()},
                                    {avi::kY4mFields, Bytes(fields.begin(), fields.end())}};
    return MakeAvi(choice, frames, AviWriter::kDefaultSegmentLimit, extras);
}

void AppendChunk(Bytes& bytes, uint32_t id, std::span<const uint8_t> payload)
{
    Append(bytes, id);
    Append(bytes, static_cast<uint32_t>(payload.size()));
    Append(bytes, payload);
    bytes.resize(avi::Padded(bytes.size()));
}

/// What a recorder leaves behind that was broken off: sound beside the video, no sizes of lists, no index.
Bytes MakeRecording(const StreamChoice& choice)
{
    const AviStreamFormat format = MakeAviFormat(choice);
    Bytes bytes;
    const auto list = [&](uint32_t id, uint32_t type) {
        Append(Append(Append(bytes, id), uint32_t{0}), type);
    };
    const auto stream = [&](uint32_t type, uint32_t handler, std::span<const uint8_t> info) {
        list(avi::kList, avi::kStrl);
        Bytes header;
        Append(Append(header, type), handler);
        header.resize(56);
        AppendChunk(bytes, avi::kStrh, header);
        AppendChunk(bytes, avi::kStrf, info);
    };
    list(avi::kRiff, avi::kAvi);
    list(avi::kList, avi::kHdrl);
    stream(MakeFourCC("auds"), 1, Bytes(18, 1));
    AppendChunk(bytes, avi::kStrn, Bytes(5, 'n'));
    stream(avi::kVids, 0, std::span(format.bitmapInfo).first(40));
    list(avi::kList, avi::kMovi);
    const Bytes frame = MakeFrame(choice, Content::Flat, PredictMethod::Left);
    for (size_t i = 0; i < 3; ++i) {
        AppendChunk(bytes, MakeFourCC("00wb"), Bytes(7 + i, static_cast<uint8_t>(i)));
        AppendChunk(bytes, MakeFourCC("01dc"), frame);
    }
    AppendChunk(bytes, MakeFourCC("IDIT"), Bytes(6, 'd'));
    return bytes;
}

void Lower(Bytes& bytes, size_t at, auto word, size_t by)
{
    std::memcpy(&word, bytes.data() + at, sizeof word);
    word -= static_cast<decltype(word)>(by);
    std::memcpy(bytes.data() + at, &word, sizeof word);
}

/// Without most of the places that the index of indexes keeps for segments: four times as many zeros as all
/// the rest.
Bytes WithSmallIndex(Bytes avi)
{
    constexpr uint32_t kHead = 24, kPlaces = 3, kPlaceBytes = 16;
    const auto find = [&](const std::string& id, size_t from) {
        return static_cast<size_t>(
            std::search(avi.begin() + static_cast<ptrdiff_t>(from), avi.end(), id.begin(), id.end()) -
            avi.begin());
    };
    const size_t index = find("indx", 0);
    uint32_t size;
    std::memcpy(&size, avi.data() + index + 4, sizeof size);
    const size_t cut = size - kHead - kPlaces * kPlaceBytes;
    for (const size_t at : {size_t{4}, find("LIST", 0) + 4, find("strl", 0) - 4, index + 4})
        Lower(avi, at, uint32_t{}, cut);
    for (size_t place = 0; place < kPlaces; ++place) {
        const size_t at = index + 8 + kHead + place * kPlaceBytes;
        if (avi[at + 12] != 0) // frames of the segment
            Lower(avi, at, uint64_t{}, cut);
    }
    for (size_t at = find("ix00", 0); at < avi.size(); at = find("ix00", at + 4))
        Lower(avi, at + 8 + 12, uint64_t{}, cut); // the base of its offsets
    const auto first = avi.begin() + static_cast<ptrdiff_t>(index + 8 + kHead + kPlaces * kPlaceBytes);
    avi.erase(first, first + static_cast<ptrdiff_t>(cut));
    return avi;
}

void MakeAvis()
{
    const StreamChoice choice = ChoiceOf(kCodeYuv420, 0, 0);
    const Bytes plain = WithSmallIndex(MakeAvi(choice, 4, AviWriter::kDefaultSegmentLimit));
    Save("avi_fuzz", "plain", plain);
    Save("avi_fuzz", "segments", WithSmallIndex(MakeAvi(choice, 3, 1)));
    Save("avi_fuzz", "cut", std::span(plain).first(plain.size() * 3 / 4));
    Bytes broken = plain;
    const std::string frameId = "00dc";
    const auto frame = std::search(broken.begin(), broken.end(), frameId.begin(), frameId.end());
    std::fill_n(frame + 4, 3, uint8_t{0xFF}); // its size leads out of the file
    Save("avi_fuzz", "broken", broken);
    Save("avi_fuzz", "checksums",
         WithSmallIndex(MakeAviWithChecksums(ChoiceOf(kCodeYuv420, 0, kChooseInterlaced), 3)));
    Save("avi_fuzz", "recording", MakeRecording(choice));

    // A byte that says what follows: a file, or what is wiped in one.
    const auto after = [](uint8_t kind, std::span<const uint8_t> rest) {
        Bytes bytes{kind};
        return Append(bytes, rest);
    };
    Save("salvage_fuzz", "broken", after(0, broken));
    Save("salvage_fuzz", "recording", after(0, MakeRecording(choice)));
    constexpr uint16_t kWiped[] = {0, 512, 700, 40, 1500, 8}; // places and counts in turn
    Save("salvage_fuzz", "wiped", after(1, {reinterpret_cast<const uint8_t*>(kWiped), sizeof kWiped}));
}

void MakeY4ms()
{
    for (const char* layout : {"I420", "YUY2", "I444", "AYUV", "Y800"}) {
        VideoInfo info;
        info.layout = &LayoutNamed(layout);
        info.width = 8;
        info.height = 4;
        info.rate = Rational{30000, 1001};
        info.interlaced = layout[0] == 'I';
        info.fullRange = layout[0] == 'Y';
        std::ostringstream stream;
        Y4mWriter writer(nullptr, &stream, info, "corpus");
        for (uint32_t frame = 0; frame < 2; ++frame)
            writer.Write(MakePicture(Content::Smooth, info.FrameBytes(), 8, frame), frame);
        writer.Finish();
        Save("y4m_fuzz", layout, BytesOf(stream.str()));
    }
    Save("y4m_fuzz", "fields",
         BytesOf("YUV4MPEG2 W2 H2 F25:1 Ib A1:1 C420paldv XYSCSS=420 XCOLORRANGE=LIMITED\n"
                 "FRAME Itpp\nabcdef"));
}

void MakeSettings()
{
    const std::string text = "Windows Registry Editor Version 5.00\r\n\r\n"
                             "[HKEY_CURRENT_USER\\Software\\Orvane]\r\n\"EnableCodecLog\"=dword:00000001\r\n"
                             "; comment\r\n\"x\"=hex:01,02,\\\r\n  03\r\n\"NumEncodeThreads\"=-\r\n"
                             "[HKEY_CURRENT_USER\\Software\\Orvane\\O8Y2]\r\n\"CompMethod\"=hex(b):03\r\n"
                             "@=\"te\\\"xt\"\r\n[-HKEY_CURRENT_USER\\Software\\Orvane]\r\n";
    const std::string edits = {0, 0, 1, 0, 0, 0, 3, 1, 2, 0, 0, 0, 2, 2, 4, 0, 0, 0};
    // Two keys are opened, edited and closed, with a foreign write and a broken one in between.
    const std::string steps = {0,  65, 2, 10, 66, 76, 5, 46, 7,  69, 0, 4,
                               74, 5,  1, 18, 7,  12, 5, 65, 82, 69, 0, 20};
    std::string wide = "\xFF\xFE";
    for (const char c : text) {
        wide += c;
        wide += '\0';
    }
    const auto save = [&](const std::string& name, const std::string& file) {
        Save("settings_fuzz", name, BytesOf(edits + file));
        Save("store_fuzz", name, BytesOf(steps + file));
    };
    save("empty", "");
    save("utf8", text);
    save("marked", "\xEF\xBB\xBF" + text);
    save("utf16", wide);
}

void MakeOptions()
{
    constexpr std::pair<const char*, const char*> lines[] = {
        {"encode", "encode\nclip.y4m\n-o\nclip.avi\n--verify\n--threads\n4"},
        {"raw", "encode\n-\n--raw\n64x64:YUY2\n--fps\n30000/1001\n-o\nclip.avi\n-q"},
        {"decode", "decode\nclip.avi\n-o\nshot_%04d.png\n--frames\n1-2"},
        {"config", "config\nset\nO8Y2.CompMethod\n3"},
        {"reset", "config\nreset"},
        {"help", "verify\n--help"},
        {"version", "--version"},
    };
    for (const auto& [name, line] : lines)
        Save("options_fuzz", name, BytesOf(line));
}

void MakeStills()
{
    for (const char* layout : {"RGB24", "RGBA", "Y800"}) {
        VideoInfo info;
        info.layout = &LayoutNamed(layout);
        info.width = 9;
        info.height = 5;
        const Bytes pixels = MakePicture(Content::Smooth, info.FrameBytes(), 27, 3);
        Save("still_fuzz", std::string(layout) + ".png", EncodeStill(StillKind::Png, info, pixels));
        if (info.layout != &LayoutNamed("RGBA"))
            Save("still_fuzz", std::string(layout) + ".pnm", EncodeStill(StillKind::Pnm, info, pixels));
    }
    Save("still_fuzz", "comment.pnm", BytesOf("P5 # text\n2\t2 # more\n255\nabcd"));
}

/// A session that writes two frames with one instance and reads them with another, with all that hosts ask
/// around it. edits  steps between writing and reading
Bytes MakeSession(uint8_t variant, uint8_t layout, uint8_t size, const std::vector<MessageStep>& edits)
{
    using enum StepKind;
    constexpr uint8_t kReader = 1;
    const auto step = [](StepKind kind, uint8_t slots = 0, uint8_t a = 0, uint8_t b = 0) {
        return MessageStep{static_cast<uint8_t>(kind), slots, a, b};
    };
    std::vector<MessageStep> steps = {step(Open, 0, variant),
                                      step(MakePicture, 0, layout, size),
                                      step(QueryCompress, 0, 2),
                                      step(GetCompressFormat),
                                      step(QueryCompress),
                                      step(GetCompressSize),
                                      step(BeginCompress),
                                      step(Compress, 0, 0, 40),
                                      step(Compress, 0, 0, 200),
                                      step(EndCompress),
                                      step(Open, kReader, 7),
                                      step(QueryDecompress, kReader, 2),
                                      step(QueryDecompress, kReader),
                                      step(BeginDecompress, kReader),
                                      step(Decompress, kReader)};
    steps.insert(steps.end(), edits.begin(), edits.end());
    for (const MessageStep& last :
         {step(Decompress, kReader), step(Decompress, kReader, 0, 1), step(EndDecompress, kReader),
          step(GetDecompressFormat, kReader, 0), step(GetState, 0, 44), step(GetInfo, 0, 3), step(AskWindows),
          step(GetQuality, 0, 1), step(Close, kReader)})
        steps.push_back(last);
    Bytes program;
    for (const MessageStep& each : steps)
        Append(program, each);
    return program;
}

void MakeSessions()
{
    const auto step = [](StepKind kind, uint8_t slots, uint8_t a, uint8_t b) {
        return MessageStep{static_cast<uint8_t>(kind), slots, a, b};
    };
    // Each variant with a layout of its own, and the second size with more than one band.
    constexpr uint8_t kOwnLayouts[] = {0, 1, 6, 2, 5, 8, 9};
    for (uint8_t variant = 0; variant < std::size(kOwnLayouts); ++variant)
        Save("messages_fuzz", "variant_" + std::to_string(variant),
             MakeSession(variant, kOwnLayouts[variant], static_cast<uint8_t>(2 + variant % 3), {}));
    Save("messages_fuzz", "from_the_top", MakeSession(0, 0x80, 2, {}));
    Save("messages_fuzz", "record_edit",
         MakeSession(4, 5, 2,
                     {step(StepKind::EditStream, 0, 40 + 28, 30), step(StepKind::BeginDecompress, 1, 0, 0)}));
    Save("messages_fuzz", "reopened", MakeSession(3, 2, 2, {step(StepKind::Open, 1, 3, 0)}));
    Bytes state = MakeSession(4, 5, 2, {});
    Append(state, step(StepKind::SetState, 0, 44, 0));
    EncodeSettings settings;
    settings.NumEncodeThreads = 2;
    settings.AutoEncodeThreads = 0;
    settings.CompMethod = 3;
    settings.Interlaced = 1;
    Append(state, settings);
    Append(state, step(StepKind::Compress, 0, 0, 77));
    Save("messages_fuzz", "state", state);
}

void MakeNegotiations()
{
    for (uint8_t variant = 0; variant < 7; ++variant) {
        const StreamChoice choice = ChoiceOf(kCodeRgb + variant, 2, variant % 2 ? kChooseInterlaced : 0);
        const HostLayout& layout = kFuzzLayouts[variant * 2 % std::size(kFuzzLayouts)];
        NegotiateInput input{};
        input.variant = 7;
        for (uint32_t i = 0; i < std::size(kVariantFourCCs); ++i)
            if (const FormatRow* row = FindFormat(kCodeRgb + variant); kVariantFourCCs[i] == row->FourCC)
                input.variant = i;
        input.picture.biWidth = input.stream.biWidth = 64;
        input.picture.biHeight = input.stream.biHeight = 60;
        input.picture.biPlanes = input.stream.biPlanes = 1;
        input.picture.biCompression = layout.fourCC;
        input.picture.biBitCount = layout.bits;
        input.picture.biSizeImage = static_cast<DWORD>(PictureRoom(input.picture));
        input.stream.biBitCount = 24;
        input.stream.biCompression = kVariantFourCCs[input.variant];
        Bytes bytes;
        Append(Append(bytes, input), MakeRecord(choice));
        Save("negotiate_fuzz", std::to_string(kCodeRgb + variant), bytes);
    }
}

} // namespace

int main(int argumentCount, char** arguments)
try {
    if (argumentCount != 2) {
        std::cerr << "Usage: make_corpora FOLDER\n";
        return 2;
    }
    corpora = arguments[1];
    MakeFrames();
    MakeNegotiations();
    MakeSessions();
    MakeRoundTrips();
    MakeLengths();
    MakeAvis();
    MakeY4ms();
    MakeSettings();
    MakeOptions();
    MakeStills();
    return 0;
} catch (const std::exception& error) {
    std::cerr << "make_corpora: " << error.what() << '\n';
    return 1;
}
