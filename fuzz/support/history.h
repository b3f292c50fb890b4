// What an input gives depends on that input alone, never on those that the process has seen before it:
// targets run it on an object that others have used and on a fresh one, or read it a second time after
// another.
#pragma once

#include "platform/files.h"
#include "support/fuzz_input.h"

#include <concepts>
#include <deque>
#include <filesystem>
#include <fstream>
#include <string>
#include <type_traits>
#include <vector>

/// All that an input has given, in order: result codes, pictures, frames, lines.
class Transcript
{
  public:
    template <class T>
    requires std::integral<T> || std::is_enum_v<T>
    void Note(T value)
    {
        const auto wide = static_cast<uint64_t>(value);
        Append(&wide, sizeof wide);
    }
    /// Bytes or text, whose end shows.
    template <class Bytes>
    requires requires(const Bytes& bytes) { bytes.data() + bytes.size(); }
    void Note(const Bytes& bytes)
    {
        Note(bytes.size());
        Append(bytes.data(), bytes.size() * sizeof *bytes.data());
    }
    void Note(const Transcript& other) { Note(other.notes); }
    template <class... Values>
    void NoteAll(const Values&... values)
    {
        (Note(values), ...);
    }
    bool operator==(const Transcript&) const = default;

  private:
    void Append(const void* bytes, size_t count)
    {
        const auto* const first = static_cast<const uint8_t*>(bytes);
        notes.insert(notes.end(), first, first + count);
    }

    std::vector<uint8_t> notes;
};

/// The inputs of this process. One that fails for those before it says nothing alone: they are kept for that.
class History
{
  public:
    /// To be called with every input first.
    void Enter(std::span<const uint8_t> input)
    {
        inputs.emplace_back(input.begin(), input.end());
        if (inputs.size() > kKept)
            inputs.pop_front();
    }

    /// As the free function; if it does not hold, the last inputs are written for the target to take in
    /// order.
    void Require(bool holds, const char* what) const
    {
        if (!holds)
            Write();
        ::Require(holds, what);
    }

    /// Reads this input, then the one before it once more, which has to give what it gave.
    /// read  a function of the input's bytes that gives a Transcript
    template <class Read>
    void ReadTwice(std::span<const uint8_t> input, Read read)
    {
        Enter(input);
        Transcript now = read(input);
        if (inputs.size() > 1)
            Require(read(inputs[inputs.size() - 2]) == before, "an input gives the same after another");
        before = std::move(now);
    }

  private:
    void Write() const
    {
        const auto folder =
            platform::MakePrivateFolder(std::filesystem::temp_directory_path(), "fuzz-history-");
        if (!folder)
            return;
        for (size_t i = 0; i < inputs.size(); ++i)
            std::ofstream(*folder / std::to_string(kFirstName + i), std::ios::binary)
                .write(reinterpret_cast<const char*>(inputs[i].data()),
                       static_cast<std::streamsize>(inputs[i].size()));
        std::fprintf(stderr, "the last inputs, to be given to the target in their order: %s/*\n",
                     folder->string().c_str());
    }

    static constexpr size_t kKept = 32;
    static constexpr size_t kFirstName = 100; // names in their order
    std::deque<std::vector<uint8_t>> inputs;
    Transcript before; // of the last input
};
