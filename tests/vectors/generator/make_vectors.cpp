// Writes all test vectors: make_vectors FOLDER. Prints what documents hold of them: make_vectors --answers,
// make_vectors --examples, make_vectors --by-hand.

#include "vectors/answer_table.h"
#include "vectors/describe.h"
#include "vectors/examples.h"

#include <filesystem>
#include <fstream>
#include <iostream>

namespace {

void Write(const std::filesystem::path& path, const void* bytes, size_t size)
{
    std::ofstream file(path, std::ios::binary);
    file.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    if (!file.flush())
        throw std::runtime_error("cannot write " + path.string());
}

struct Text {
    const char* option;
    std::string (*write)();
};
constexpr Text kTexts[] = {{"--answers", &vectors::AnswerTable},
                           {"--examples", &vectors::ExamplesPage},
                           {"--by-hand", &vectors::FrameByHand}};

} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        std::cerr << "Usage: make_vectors FOLDER | --answers | --examples | --by-hand\n";
        return 2;
    }
    try {
        const std::filesystem::path folder = arguments[1];
        for (const Text& text : kTexts)
            if (folder == text.option) {
                std::cout << text.write();
                return 0;
            }
        for (const vectors::Vector& vector : vectors::AllVectors()) {
            const std::string text = vectors::TextOf(vector);
            Write(folder / (vector.name + (vector.isAvi ? ".avi" : ".stream")), vector.bytes.data(),
                  vector.bytes.size());
            Write(folder / (vector.name + ".txt"), text.data(), text.size());
        }
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
