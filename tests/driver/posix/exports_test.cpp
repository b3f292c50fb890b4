// What the built library shows to the system: three functions, and needs of it: its own libraries.
#include "driver/driver_library.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace {

struct PipeCloser {
    void operator()(std::FILE* pipe) const { pclose(pipe); }
};

/// What a command prints; empty when it cannot run.
std::string OutputOf(const std::string& command)
{
    const std::unique_ptr<std::FILE, PipeCloser> pipe(popen((command + " 2>/dev/null").c_str(), "r"));
    std::string text;
    for (int c; pipe && (c = std::fgetc(pipe.get())) != EOF;)
        text += static_cast<char>(c);
    return text;
}

} // namespace

TEST(Exports, AreTheThreeFunctionsAlone)
{
    const std::string listing = OutputOf("nm -D --defined-only '" + DriverLibraryPath().string() + "'");
    if (listing.empty())
        GTEST_SKIP() << "no nm here";
    std::istringstream lines(listing);
    std::set<std::string> names;
    std::string address, kind, name;
    while (lines >> address >> kind >> name) {
        EXPECT_EQ(kind, "T") << name;
        names.insert(name);
    }
    EXPECT_EQ(names, (std::set<std::string>{"DriverProc", "Configure", "ConfigureAdobe"}));
}

TEST(Exports, ImportsAreSystemLibraries)
{
    const std::string listing = OutputOf("objdump -p '" + DriverLibraryPath().string() + "'");
    if (listing.empty())
        GTEST_SKIP() << "no objdump here";
    const std::set<std::string> allowed = {"libstdc++.so.6", "libm.so.6",           "libgcc_s.so.1",
                                           "libc.so.6",      "libasan.so.8",        "libubsan.so.1",
                                           "libtsan.so.2",   "ld-linux-x86-64.so.2"};
    std::istringstream words(listing);
    int needed = 0;
    for (std::string word; words >> word;)
        if (word == "NEEDED") {
            words >> word;
            EXPECT_TRUE(allowed.contains(word)) << word;
            ++needed;
        }
    EXPECT_GE(needed, 2);
}
