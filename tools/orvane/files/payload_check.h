// What the bytes of a frame tell about its payload, without its source and without checksums.
//
// The format leaves no byte of a frame free except the last one of some frames: the symbols of a coded block
// end in its last byte and zero bits fill it, a raw block has the size of its residuals, and the size of the
// frame follows from the end of its last block. Damage in a payload moves that end in most cases: decoding
// falls out of step with the codes and seldom returns to it with the right number of symbols.
#pragma once

#include "files/frame_structure.h"
#include "files/pixel_layout.h"

#include <array>
#include <span>
#include <string>
#include <vector>

struct FrameFindings {
    /// How the frame is damaged, as "damaged, header cut off"; empty when nothing is wrong.
    std::string fault;
    /// The picture rows of the damaged blocks, as "rows 28-55"; empty when they cannot be told.
    std::string rows;
    /// What is unusual but changes no picture.
    std::vector<std::string> remarks;
};

/// Lengths of the codes that begin with given bits, for one coder.
class CodeWalk
{
  public:
    /// Where the symbols of a block end.
    struct End {
        enum class State : uint8_t {
            Found,
            NoCode, ///< bits that are no code of this coder
            Beyond, ///< the payload ends before the symbols do
        };
        State state;
        uint64_t bit; ///< after the last symbol
    };

    /// lengths  256 code lengths, of any value
    /// Returns false if the lengths are no code; the object is then unchanged.
    bool Build(const uint32_t* lengths);

    /// Whether the codes use all of the code space, as those of every writer do.
    bool IsComplete() const { return complete; }

    /// Steps over `symbols` codes from the first bit of `payload` on.
    End Skip(std::span<const uint8_t> payload, uint64_t symbols) const;

    static constexpr int kLookUpBits = 12; ///< the longest code

  private:
    struct Step {
        uint8_t bits = 0;  ///< of all complete codes in the next kLookUpBits bits
        uint8_t codes = 0; ///< 0: no code begins with these bits
    };

    std::array<Step, 1 << kLookUpBits> steps{};
    std::array<uint8_t, 1 << kLookUpBits> firstBits{}; ///< of the first code in the next kLookUpBits bits
    bool complete = false;
};

/// Checks the frames of one stream.
class PayloadCheck
{
  public:
    /// record  configuration record of the stream, 32 bytes or more, with its code length tables if it has
    /// any
    PayloadCheck(const CompressedFormat& format, std::span<const uint8_t> record);

    /// Takes any bytes, and time in proportion to the samples of a picture at most.
    FrameFindings Check(std::span<const uint8_t> frame);

  private:
    struct Geometry {
        uint64_t width = 0; ///< of the block's plane
        uint64_t rows = 0;
    };

    std::string ReadTables(std::span<const uint8_t> tables, size_t count, size_t& used);
    std::string PrepareCoders(std::span<const uint8_t> frame, const FrameStructure& structure,
                              FrameFindings& findings);
    Geometry GeometryOf(const FrameStructure& structure, size_t block) const;
    std::string BlockFault(std::span<const uint8_t> frame, const FrameStructure& structure,
                           size_t block) const;
    void Remark(std::span<const uint8_t> frame, const FrameStructure& structure,
                FrameFindings& findings) const;

    const CompressedFormat* format;
    FrameHeader record;
    std::vector<uint8_t> recordTables; ///< code lengths in the configuration record
    std::vector<CodeWalk> coders;
    std::vector<uint8_t> coderIds; ///< by block
};
