// The test vectors: readers answer as their texts say, and the generator makes exactly these files.

#include "source_folder.h"
#include "vectors/answer_table.h"
#include "vectors/describe.h"
#include "vectors/examples.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace {

using vectors::Bytes;
using vectors::Vector;

const std::filesystem::path kFolder = std::filesystem::path(kSourceFolder) / "tests/vectors/data";

Bytes ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string ReadText(const std::filesystem::path& path)
{
    const Bytes bytes = ReadFile(path);
    return {bytes.begin(), bytes.end()};
}

/// What a stored vector is, by its files alone.
Vector Load(const std::filesystem::path& path)
{
    Vector vector{path.stem().string(), {}, ReadFile(path), path.extension() == ".avi"};
    const std::string text = ReadText(std::filesystem::path(path).replace_extension(".txt"));
    vector.text = text.substr(0, text.find("\n\n"));
    for (size_t at = text.find("\nframe "); at != std::string::npos; at = text.find("\nframe ", at + 1)) {
        const std::string line = text.substr(at + 1, text.find('\n', at + 1) - at - 1);
        vector.unspecified.push_back(line.ends_with("unspecified"));
    }
    return vector;
}

TEST(Vectors, ReadersAnswerAsTheTextsSay)
{
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(kFolder)) {
        const std::filesystem::path& path = entry.path();
        if (path.extension() == ".txt")
            continue;
        EXPECT_EQ(vectors::TextOf(Load(path)),
                  ReadText(std::filesystem::path(path).replace_extension(".txt")))
            << path;
        ++count;
    }
    EXPECT_GT(count, 100U);
}

TEST(Vectors, TheGeneratorMakesThemByteForByte)
{
    std::set<std::string> names;
    for (const Vector& vector : vectors::AllVectors()) {
        const std::string file = vector.name + (vector.isAvi ? ".avi" : ".stream");
        EXPECT_TRUE(names.insert(file).second) << file << " twice";
        names.insert(vector.name + ".txt");
        EXPECT_TRUE(ReadFile(kFolder / file) == vector.bytes) << file;
        EXPECT_EQ(ReadText(kFolder / (vector.name + ".txt")), vectors::TextOf(vector));
    }
    for (const auto& entry : std::filesystem::directory_iterator(kFolder))
        EXPECT_TRUE(names.contains(entry.path().filename().string())) << entry.path() << " is not generated";
}

TEST(Documents, TheTableOfAnswersIsWhatTheCodecAnswersToEveryValue)
{
    const std::string page = ReadText(std::filesystem::path(kSourceFolder) / "docs" / "frame-format.md");
    const std::string table = vectors::AnswerTable();
    EXPECT_NE(page.find("\n\n" + table + "\n"), std::string::npos)
        << "make_vectors --answers writes the table:\n"
        << table;
}

TEST(Documents, TheWorkedExamplesAreFramesOfTheEncoder)
{
    EXPECT_EQ(ReadText(std::filesystem::path(kSourceFolder) / "docs" / "frame-examples.md"),
              vectors::ExamplesPage())
        << "make_vectors --examples writes the page";
}

TEST(Documents, TheFrameByHandIsOneOfTheEncoder)
{
    const std::string page = ReadText(std::filesystem::path(kSourceFolder) / "docs" / "frame-format.md");
    const std::string frame = vectors::FrameByHand();
    EXPECT_NE(page.find("\n\n" + frame), std::string::npos) << "make_vectors --by-hand writes it:\n" << frame;
}

TEST(Vectors, TakeAtMostTwoMebibytes)
{
    uintmax_t size = 0;
    for (const auto& entry : std::filesystem::directory_iterator(kFolder))
        size += entry.file_size();
    EXPECT_LE(size, uintmax_t{2} << 20);
}

} // namespace
