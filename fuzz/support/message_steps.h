// The language of message inputs: a row of steps, four bytes each and for some a few bytes more. Any bytes
// are a program.
#pragma once

#include <cstdint>

enum class StepKind : uint8_t {
    Open, ///< a: variant, or with bit 7 any FourCC of 4 bytes more
    Close,
    MakePicture, ///< a: layout, b: size; with bit 7 of a rows from the top
    TakePicture, ///< 40 bytes more
    GetCompressFormat,
    EditStream,    ///< a: byte of the header and record, b: its value
    ResizeStream,  ///< a: bytes of the record
    QueryCompress, ///< a: which pointers are null
    GetCompressSize,
    BeginCompress, ///< a: which pointers are null
    Compress,      ///< a: which pointers are null
    EndCompress,
    EditFrame,       ///< a, 2 bytes more: byte of the frame, b: its value
    CutFrame,        ///< 2 bytes more: its size
    TakeFrame,       ///< 2 bytes more: its size, and so many bytes
    QueryDecompress, ///< a: which pointers are null
    GetDecompressFormat,
    BeginDecompress, ///< a: which pointers are null
    Decompress,      ///< a: which pointers are null, b: flags
    EndDecompress,
    GetState, ///< a: bytes of the buffer; 0: none
    SetState, ///< a: bytes of the blob, which are more bytes; 0: none
    GetInfo,  ///< a: whether there is a buffer
    AskWindows,
    GetQuality,   ///< a: whether there is a buffer
    OtherMessage, ///< a, b: its number, unless the driver knows it
    kCount,
};

struct MessageStep {
    uint8_t kind; ///< StepKind, modulo their number
    uint8_t
        slots; ///< bits 0 and 1: instance, of which 3 is none; bit 2: picture; bit 3: stream; bit 4: frame
    uint8_t a;
    uint8_t b;
};
