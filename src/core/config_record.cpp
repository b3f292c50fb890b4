#include "core/config_record.h"

#include "common/frame_header.h"

bool ParseConfig(std::vector<uint8_t>* holder, const uint8_t* record, size_t size)
{
    if (!record || size < kFrameHeaderSize || size > kMaxRecordSize || !HasMagic(record))
        return false;
    const FrameHeader header = ReadHeader(record);
    if (header.headerSize != size || header.version > kFrameVersion)
        return false;
    if (holder)
        holder->assign(record, record + size);
    return true;
}
