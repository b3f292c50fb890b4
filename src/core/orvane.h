// The class below the driver: it owns all that a codec instance needs to turn pictures into frames and back,
// and the table that says which front end, converter and back end a pair of formats takes.
//
// The road of a frame: compress.cpp and frame_writer.cpp one way, frame_parser.cpp and decompress.cpp the
// other; routes.cpp holds the table, picture_planes.cpp says where planes stand, block_list.cpp how they are
// cut.
#pragma once

#include "common/frame_header.h"
#include "common/settings_records.h"
#include "core/block_info.h"
#include "core/block_list.h"
#include "core/compress_info.h"
#include "core/format_route.h"
#include "core/frame_assembly.h"
#include "core/frame_parser.h"
#include "core/plane_set.h"
#include "core/stage_timers.h"
#include "entropy/huff_coder_8.h"
#include "entropy/interleaved_decode.h"
#include "imgproc/frontend/frontend_set.h"
#include "threading/worker_pool.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <utility>
#include <vector>

/// Why Compress gave 0 (and Decompress BadPlanes).
enum PictureError : uint32_t {
    kPictureOk = 0,
    kNoFrontend = 111,
    kBadAddress = 222, ///< null or not aligned
    kBadPitch = 333,   ///< 0 or not aligned
    kShortPitch = 444,
    kShortPlane = 555, ///< less memory than the rows need, or more than 32-bit offsets reach
};

/// A picture may have this many blocks, over all planes, and no more.
inline constexpr uint64_t kMaxBlocks = uint64_t{1} << 20;

/// Bands that one thread decodes side by side: as many as the entropy stage has lanes, and few enough that
/// their planes stay in a processor's cache until they are joined.
inline constexpr int kMaxBandsPerItem = kDecodeLanes;

/// One entry of a pass's work list. Entries with the same `step` run in one pool run, in list order.
struct PassStep {
    enum Kind : int { Transform = 0, ConvertPass = 1, Predict = 2, JoinPicture = 3, Decode = 4 };
    int step;
    Kind kind;
    int arg; ///< pass number of a conversion
};

/// The frame codec of one instance. All operations belong to one thread at a time; worker threads live
/// inside. Operations that allocate throw std::bad_alloc; the object stays usable.
class Orvane
{
  public:
    /// enable8Bit, enableHighBit: whether routes of 8-bit and of deeper samples exist.
    Orvane(bool enable8Bit, bool enableHighBit);
    Orvane(const Orvane&) = delete;
    Orvane& operator=(const Orvane&) = delete;

    /// n below 1 means the processor count; limited to 64. Takes effect with the next frame.
    void SetThreadCount(int n);
    int ThreadCount() const;

    void ApplyDecodeSettings(const DecodeSettings& settings);
    /// Takes the settings with out-of-range values replaced: method above 4 by 4, other matrix than 1 and 2
    /// by 2, coder type above 3 by 2.
    void ApplyEncodeSettings(const EncodeSettings& settings);
    const DecodeSettings& GetDecodeSettings() const { return decodeSettings; }
    const EncodeSettings& GetEncodeSettings() const { return encodeSettings; }

    /// The next begin call takes host pictures as bottom-up where their layout can be.
    void SetBottomUp(bool set) { bottomUp = set; }

    // Questions, answered from the routing table.

    /// Whether pictures of `inputId` and this size can become frames of `formatCode` (255: the native format)
    /// under the settings. Sizes are in pixels, as unsigned 32-bit values of any origin.
    bool CanCompress(FormatId inputId, FormatId formatCode, uint32_t width, uint32_t height) const;
    /// Whether a stream with this configuration record decodes to `outputId` (255: its native layout).
    bool CanDecompress(const uint8_t* record, size_t size, FormatId outputId) const;
    /// Whether a compress run of `inputId` pictures can be governed by this record, which another program may
    /// have written: its size is `width` x `height` and suits the route with the record's own interlace flag,
    /// and no frame can outgrow MaxCompressedSize through its number of blocks or its tables.
    bool CanCompressWith(const uint8_t* record, size_t size, FormatId inputId, uint32_t width,
                         uint32_t height) const;
    /// The native output layout of a record's format.
    static FormatId NativeFormat(const FrameHeader& record);
    /// Whether the default route of a format has an alpha plane.
    bool HasAlpha(FormatId id) const;

    /// Fills a configuration record from the settings. formatCode 255 means the native format of formatId.
    /// False, with nothing written, when there is no route.
    bool FillConfig(FrameHeader& record, FormatId formatId, uint32_t width, uint32_t height,
                    FormatId formatCode) const;
    /// Bytes that FillConfig writes: 32, or 0 when there is no route.
    uint32_t GetConfigSize(FormatId formatId, uint32_t width, uint32_t height, FormatId formatCode) const;
    /// Upper bound of a frame in bytes, to be offered as output buffer; 0 without a compress route or when
    /// the bound does not fit 32 bits.
    uint32_t MaxCompressedSize(FormatId formatId, uint32_t width, uint32_t height, FormatId formatCode) const;
    /// Describes a tightly stored picture: addresses (from `base`, which may be null), pitches, sizes. False
    /// when the layout has no front end. total receives the bytes of all planes, 0 when they do not fit 32
    /// bits.
    bool ComputePlanes(PlaneRecords& image, uint8_t* base, FormatId formatId, uint32_t width, uint32_t height,
                       uint32_t* total) const;

    // Runs.

    /// Prepares a compress run. The pair of inputId and the record's format must have a route (CanCompress);
    /// without one the process stops.
    void BeginCompress(CompressInfo& info, const uint8_t* record, size_t size, FormatId inputId);
    /// Prepares a decompress run. The pair of the record's format and outputId must have a route
    /// (CanDecompress).
    void BeginDecompress(CompressInfo& info, const uint8_t* record, size_t size, FormatId outputId);
    /// Places the run's picture at `base`, stored tightly.
    void SetImage(CompressInfo& info, uint8_t* base) const;
    /// Compresses info.image into info.frame. Bytes written, or 0 with the reason in LastError.
    uint32_t Compress(CompressInfo& info);
    /// Decompresses info.frame into info.image. The picture is untouched unless the result is Ok.
    FrameStatus Decompress(CompressInfo& info);

    PictureError LastError() const { return lastError; }
    void ClearLastError() { lastError = kPictureOk; }

    /// For measurements: timers of all stages, indexed by Stage; see StageTimer.
    std::vector<StageTimers>& Stages() { return stages; }
    /// The blocks of the last frame, in plane order.
    std::span<const BlockInfo> Blocks() const { return blocks; }
    const std::map<std::pair<int, int>, FormatRoute>& Routes() const { return routes; }

  private:
    using RouteMap = std::map<std::pair<int, int>, FormatRoute>;

    // routes.cpp
    void BuildRoutes(uint32_t colorMatrix, bool fullRange);
    void AddPairs(RouteMap& map, ColorStandard standard);
    const FormatRoute* FindRoute(FormatId first, FormatId second) const;
    FormatId ResolveCode(FormatId formatId, FormatId formatCode) const;

    // orvane.cpp
    void BeginRun(CompressInfo& info, const uint8_t* record, size_t size, FormatId imageFormat,
                  bool compressing);
    void LoadRecordTables(const CompressInfo& info);
    void SetupCoders(size_t count);
    void ResetTimers();
    StageTimer& Timer(Stage stage, int thread = 0);

    // block_list.cpp
    void SetupBlocks(const CompressInfo& info);

    // picture_planes.cpp
    bool CheckImage(const CompressInfo& info);
    void PreparePlanes(const CompressInfo& info);
    void PrepareConvertedPlanes(const CompressInfo& info);
    void PrepareResidualPlanes(const CompressInfo& info, const PlaneSet& source);
    void PrepareBandScratch(const CompressInfo& info, int bandCount);
    PlaneWindows WindowsOf(const CompressInfo& info, const PlaneSet& set, BandRange range, int thread);

    // bands.cpp
    void AddConvertPasses(const CompressInfo& info, bool separateRuns, std::vector<PassStep>& steps) const;
    void TransformBlock(const CompressInfo& info, int band, const PlaneWindows& planes);
    void ConvertBlock(const CompressInfo& info, const PlaneSet& source, const PlaneSet& target, int pass,
                      int band);

    // compress.cpp
    void CompressBlocksPass1(const CompressInfo& info);
    void CompressBlocksPass2(const CompressInfo& info);
    void PredictBlock(const CompressInfo& info, int plane, int band, const PlaneWindow& source, int thread);
    void BuildCoder(const CompressInfo& info, int coder);
    void EncodeBlock(const CompressInfo& info, BlockInfo& block, std::span<uint8_t> payload);
    // frame_writer.cpp
    void WriteFrameStart(const CompressInfo& info);
    uint32_t FinalizeFrame(const CompressInfo& info);

    // decompress.cpp
    FrameStatus ParseFrame(CompressInfo& info, bool& foreignBlockHeight);
    bool ReadCoders(const CompressInfo& info, uint64_t tableOffset);
    void DecompressBlocks(const CompressInfo& info, bool separateRuns);
    void DecompressHostPlanes(const CompressInfo& info);
    void DecompressBandByBand(const CompressInfo& info, bool separateRuns);
    void DecompressPlane(const CompressInfo& info, int plane, BandRange range, const PlaneWindow& window,
                         int thread);
    void PrepareScratch(const CompressInfo& info, const PlaneSet& target, int blockCount);
    void DecompressBands(const CompressInfo& info, const PassStep& entry, BandRange range,
                         const PlaneSet& target, int thread);
    void DecodeBlocks(const CompressInfo& info, int plane, BandRange range, const PlaneWindow& rows,
                      int thread);
    void DecodeBlock(const CompressInfo& info, const BlockInfo& block, const BlockRows& rows, bool raw);
    void UnpredictBlocks(const CompressInfo& info, int plane, BandRange range, const PlaneWindow& window);
    BlockInfo* BlockOf(const CompressInfo& info, int plane, int band);

    std::vector<StageTimers> stages;
    const uint32_t blockHeight = 28; ///< of every frame this system writes
    bool bottomUp = false;
    bool flipRows = false; ///< bottomUp, and the run's front end can flip
    DecodeSettings decodeSettings;
    EncodeSettings encodeSettings;
    const bool enable8Bit;
    const bool enableHighBit;
    std::vector<std::unique_ptr<HuffCoder8>> coders;
    std::array<std::vector<uint64_t>, kMaxPlanes> coderFrequencies;
    std::vector<uint32_t> codeLengths; ///< of all coders of the frame that is being read
    std::vector<PassStep> steps;       ///< work list of the pass in progress
    FrontendSet frontends;
    ConverterSet converters;
    RouteMap routes;
    std::vector<BlockInfo> blocks;
    uint32_t listBlockHeight = 0;                    ///< what `blocks` was made for
    PlaneSet imagePlanes;                            ///< planes in the front end's layout
    PlaneSet convertedPlanes;                        ///< planes in the compressed layout, behind a converter
    std::vector<std::vector<uint8_t>> decodeScratch; ///< by thread: blocks on their way to rows with gaps
    PlaneSet residualPlanes;        ///< compress: residuals of planes that are not predicted in place
    FrameAssembly assembly;         ///< compress: what is coded, on its way into the frame
    bool planesByBand = false;      ///< planes of our own exist for the bands in hand only
    std::vector<Arena> bandScratch; ///< these, by thread
    threading::WorkerPool pool;
    PictureError lastError = kPictureOk;
};

/// The test of a configuration record: 32 bytes or more (at most kMaxRecordSize), magic, header size equal to
/// `size`, version at most 7. On success the record is copied into `holder`, which may be null.
bool ParseConfig(std::vector<uint8_t>* holder, const uint8_t* record, size_t size);

/// Code length limit for a sample depth: 8 bits 12, 10 bits 14, 12 bits 16, 14 bits 18; 0 for others.
constexpr uint32_t CodeLengthLimit(int bitsPerSample)
{
    switch (bitsPerSample) {
    case 8:
    case 10:
    case 12:
    case 14:
        return static_cast<uint32_t>(bitsPerSample) + 4;
    default:
        return 0;
    }
}
