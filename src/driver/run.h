// What compression and decompression runs have in common: how one opens, and how it ends with its statistics.
#pragma once

#include "common/frame_header.h"
#include "driver/driver_instance.h"

namespace driver {

/// Whether a run of this direction is open. A frame of the other direction opens a run of its own.
bool InRun(const DriverInstance& instance, Direction direction);

/// Opens a run that the core has been prepared for: resets the counters, shows the icon as the user wants it,
/// logs the opening block.
/// picture    header of the uncompressed side
/// pictureId  its format
/// record     the configuration record that governs the run
void OpenRun(DriverInstance& instance, Direction direction, const BITMAPINFOHEADER& picture,
             FormatId pictureId, const FrameHeader& record);

/// Ends the run, if one is open, and logs its statistics. The form and the counters are those of `direction`,
/// the direction of the message that ends the run, even if the run went the other way.
void EndRun(DriverInstance& instance, Direction direction);

/// A header's query as one log line: "<action>: <in>[ -> <out>]: OK" or "NOT SUPPORTED"; without `out` when
/// null.
void LogQuery(DriverInstance& instance, const char* action, const BITMAPINFOHEADER* in,
              const BITMAPINFOHEADER* out, bool accepted);

/// Takes rows of the run's picture as padded to four bytes if the image is large enough for that. Hosts do
/// not say whether they pad the rows of these layouts: the size of the image is all there is to tell it by. A
/// frame can choose padded rows only where its run's begin had room for them.
/// pitch, size of the unpadded picture's plane
/// picture    header of the frame: its height is multiplied as it is, without sign
/// imageSize  bytes of the frame's image, as its header says
/// room       bytes of the image, as the header at begin said; 0: room for padded rows
void AdoptPaddedRows(const CompressInfo& info, int32_t& pitch, uint32_t& size,
                     const BITMAPINFOHEADER& picture, uint32_t imageSize, uint32_t room);

} // namespace driver
