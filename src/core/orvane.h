// The class below the driver: it owns all that a codec instance needs to turn pictures into frames and back,
// and the table that says which front end, converter and back end a pair of formats takes.
//
// Both directions: run_plan.h says at begin where planes are stored and which operations share a pool run;
// frame_encoder.h and frame_decoder.h carry it out, with frame_writer.h and frame_parser.h.
#pragma once

#include "common/frame_header.h"
#include "common/settings_records.h"
#include "core/block_info.h"
#include "core/compress_info.h"
#include "core/config_record.h"
#include "core/frame_decoder.h"
#include "core/frame_encoder.h"
#include "core/frame_parser.h"
#include "core/picture_check.h"
#include "core/plane_set.h"
#include "core/route_table.h"
#include "core/stage_timers.h"
#include "threading/worker_pool.h"

#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>
#include <vector>

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
    const DecodeSettings& GetDecodeSettings() const { return routeTable->Inputs().decode; }
    const EncodeSettings& GetEncodeSettings() const { return routeTable->Inputs().encode; }

    /// The next begin call takes host pictures as bottom-up where their layout can be.
    void SetBottomUp(bool set) { bottomUp = set; }

    // Questions, answered by the routing table; see there.

    bool CanCompress(FormatId inputId, FormatId formatCode, uint32_t width, uint32_t height) const
    {
        return routeTable->CanCompress(inputId, formatCode, width, height);
    }
    bool CanDecompress(const uint8_t* record, size_t size, FormatId outputId) const
    {
        return routeTable->CanDecompress(record, size, outputId);
    }
    bool CanCompressWith(const uint8_t* record, size_t size, FormatId inputId, uint32_t width,
                         uint32_t height) const
    {
        return routeTable->CanCompressWith(record, size, inputId, width, height);
    }
    static FormatId NativeFormat(const FrameHeader& record) { return RouteTable::NativeFormat(record); }
    bool HasAlpha(FormatId id) const { return routeTable->HasAlpha(id); }
    bool FillConfig(FrameHeader& record, FormatId formatId, uint32_t width, uint32_t height,
                    FormatId formatCode) const
    {
        return routeTable->FillConfig(record, formatId, width, height, formatCode);
    }
    uint32_t GetConfigSize(FormatId formatId, uint32_t width, uint32_t height, FormatId formatCode) const
    {
        return routeTable->GetConfigSize(formatId, width, height, formatCode);
    }
    uint32_t MaxCompressedSize(FormatId formatId, uint32_t width, uint32_t height, FormatId formatCode) const
    {
        return routeTable->MaxCompressedSize(formatId, width, height, formatCode);
    }
    template <class Sample>
    bool ComputePlanes(BasicPlaneRecords<Sample>& image, std::type_identity_t<Sample>* base,
                       FormatId formatId, uint32_t width, uint32_t height, uint32_t* total) const
    {
        return routeTable->ComputePlanes(image, base, formatId, width, height, total);
    }

    // Runs.

    /// Prepares a compress run. The pair of inputId and the record's format must have a route (CanCompress);
    /// without one the process stops.
    void BeginCompress(CompressInfo& info, const uint8_t* record, size_t size, FormatId inputId);
    /// Prepares a decompress run. The pair of the record's format and outputId must have a route
    /// (CanDecompress).
    void BeginDecompress(CompressInfo& info, const uint8_t* record, size_t size, FormatId outputId);
    /// The next picture of a compress run is at `base`, unpadded.
    void SetSource(CompressInfo& info, const uint8_t* base) const;
    /// The next picture of a decompress run goes to `base`, unpadded.
    void SetImage(CompressInfo& info, uint8_t* base) const;
    /// Compresses info.source into info.output. Bytes written, or 0 with the reason in LastError.
    uint32_t Compress(CompressInfo& info);
    /// Decompresses info.frame into info.image. The picture is untouched unless the result is Ok.
    FrameStatus Decompress(CompressInfo& info);

    PictureError LastError() const { return lastError; }
    void ClearLastError() { lastError = kPictureOk; }

    /// For measurements: timers of all stages, indexed by Stage; see StageTimer.
    std::vector<StageTimers>& Stages() { return stages; }
    /// The blocks of the last frame, in plane order.
    std::span<const BlockInfo> Blocks() const { return compressing ? encoder.Blocks() : decoder.Blocks(); }
    const RouteTable::Map& Routes() const { return routeTable->Routes(); }

  private:
    void BuildRoutes(const RouteInputs& inputs);
    void BeginRun(CompressInfo& info, const uint8_t* record, size_t size, FormatId imageFormat,
                  bool compressing);
    /// A plan with the interpolation of the settings in force.
    std::shared_ptr<const core::RunPlan> MakePlan(core::RunInputs inputs) const;
    bool Interpolates() const { return GetEncodeSettings().InterpolateDownscale != 0; }
    bool CheckImage(const CompressInfo& info, const ConstPlaneRecords& picture);
    void ResetTimers();

    std::vector<StageTimers> stages;
    bool bottomUp = false;
    bool compressing = false; ///< direction of the last begin call
    RouteObjects routeObjects;
    std::unique_ptr<const RouteTable> routeTable; ///< replaced as a whole, never null
    threading::WorkerPool pool;
    core::FrameEncoder encoder;
    core::FrameDecoder decoder;
    PictureError lastError = kPictureOk;
};
