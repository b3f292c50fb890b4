// A settings store that nobody can read: the driver works with its defaults.
#include "reliability/streams.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <random>

namespace {

std::vector<uint8_t> FrameWithStoredSettings()
{
    const HostStream stream = MakeHostStream("O8Y0", "I420", 12, 64, 60);
    const ExactBuffer picture = stream.Picture();
    const Instance instance("O8Y0");
    return instance.Compress(stream.header, instance.GetStream(stream.header), picture.data()).bytes;
}

void WriteBytes(const std::filesystem::path& file, const std::string& bytes)
{
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string Noise(size_t size)
{
    std::mt19937 random(5);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

struct BadStore {
    const char* name;
    std::function<void(const std::filesystem::path&)> make;
};
const BadStore kBadStores[] = {
    {"missing", [](const auto&) {}},
    {"a folder", [](const auto& file) { std::filesystem::create_directory(file); }},
    {"empty", [](const auto& file) { WriteBytes(file, ""); }},
    {"noise", [](const auto& file) { WriteBytes(file, Noise(5000)); }},
    {"noise behind a mark of UTF-16", [](const auto& file) { WriteBytes(file, "\xFF\xFE" + Noise(5001)); }},
    {"far too large",
     [](const auto& file) {
         WriteBytes(file,
                    "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\Software\\Orvane\\O8Y0]\n"
                    "\"CompMethod\"=dword:00000002\n");
         std::filesystem::resize_file(file, 100'000'000);
     }},
    {"cut inside a name",
     [](const auto& file) {
         WriteBytes(file,
                    "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\Software\\Orvane\\O8Y0]\n"
                    "\"CompMe");
     }},
};

} // namespace

TEST(UnreadableStore, GivesTheDefaults)
{
    const TestStore store;
    const std::vector<uint8_t> expected = FrameWithStoredSettings();
    TestStore::Write("Software\\Orvane\\O8Y0", "CompMethod", 2);
    ASSERT_NE(FrameWithStoredSettings(), expected)
        << "settings of the store change nothing: all below is idle";
    for (const BadStore& bad : kBadStores) {
        const TestFolder folder;
        const auto file = folder.Path() / "bad.reg";
        bad.make(file);
        SetEnvironment("ORVANE_STORE", file.string());
        EXPECT_EQ(FrameWithStoredSettings(), expected) << bad.name;
    }
}
