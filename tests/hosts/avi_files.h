// AVI files through avifil32, which finds the codec by itself.
#pragma once

#include "hosts/codec_handle.h"

#include <memory>
#include <string>

/// Ends a reference that avifil32 has given out.
struct ReleaseReference {
    void operator()(IUnknown* object) const { object->Release(); }
};
using FileReference = std::unique_ptr<IAVIFile, ReleaseReference>;
using StreamReference = std::unique_ptr<IAVIStream, ReleaseReference>;

/// avifil32 is ready while this object lives.
class AviLibrary
{
  public:
    AviLibrary() { AVIFileInit(); }
    ~AviLibrary() { AVIFileExit(); }
    AviLibrary(const AviLibrary&) = delete;
    AviLibrary& operator=(const AviLibrary&) = delete;
};

FileReference OpenAviFile(const std::string& name, UINT mode);

/// A new file's video stream at 25 frames a second. `handler` is 0 for pictures.
StreamReference AddStream(IAVIFile* file, DWORD handler, const BITMAPINFOHEADER& header);

/// Options that name a codec and nothing else.
AVICOMPRESSOPTIONS OptionsFor(const char* fourCC);

/// Writes the clip to a new file; avifil32 opens the codec and compresses.
void WriteByAviFile(const std::string& name, const char* fourCC, const Clip& clip);

/// Writes frames that the host has compressed itself.
void WriteFrames(const std::string& name, const char* fourCC, const Stream& stream);

/// Writes the pictures uncompressed.
void WritePictures(const std::string& name, const Clip& clip);

/// The first video stream of a file.
StreamReference OpenStream(const std::string& name);

/// The frames of a file as they are stored.
Stream ReadFrames(const std::string& name);

/// The pictures that avifil32 gives when asked for them in the layout of `wanted`, without one in what it
/// gets suggested. `given` takes the header of the last.
std::vector<Bytes> ReadPictures(const std::string& name, const BITMAPINFOHEADER* wanted,
                                BITMAPINFOHEADER* given = nullptr);
