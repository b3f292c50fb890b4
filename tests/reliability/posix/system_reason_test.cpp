// What the system refuses, every command tells with the system's own reason.
#include "reliability/posix/tool_process_test.h"

#include <fcntl.h>

namespace {

using Line = std::vector<std::string>;

const std::vector<Line> kReaders = {
    {"info", "in.avi"}, {"verify", "in.avi"}, {"verify", "in.avi", "--against", "in.pgm"}};
const std::vector<Line> kWriters = {{"encode", "in.pgm", "-o", "new/out.avi"},
                                    {"decode", "in.avi", "-o", "new/out.pgm"},
                                    {"inspect", "in.avi", "--frame", "0", "-o", "new/out.png"},
                                    {"plot", "in.avi", "-o", "new/out.svg"},
                                    {"repair", "in.avi", "-o", "new/out2.avi"}};

std::vector<Line> AllCommands()
{
    std::vector<Line> all = kReaders;
    all.insert(all.end(), kWriters.begin(), kWriters.end());
    return all;
}

class SystemReason : public ToolProcessTest
{
  protected:
    SystemReason() { std::filesystem::create_directory(New()); }
    ~SystemReason() override { std::filesystem::permissions(New(), std::filesystem::perms::owner_all); }

    std::filesystem::path New() const { return folder.Path() / "new"; }

    /// A black picture and a file that holds it.
    void MakeInputs(int size) const
    {
        const std::string head = "P5\n" + std::to_string(size) + " " + std::to_string(size) + "\n255\n";
        WriteText(Name("in.pgm"), head);
        std::filesystem::resize_file(folder.Path() / "in.pgm",
                                     head.size() + static_cast<size_t>(size) * static_cast<size_t>(size));
        ASSERT_EQ(RunToolProcess(folder, {"encode", "in.pgm", "-o", "in.avi"}).code, 0);
    }

    void ExpectNothingLeft(const Line& line) const
    {
        EXPECT_TRUE(std::filesystem::is_empty(New())) << line.front() << " has left something";
    }
};

} // namespace

TEST_F(SystemReason, OutOfMemoryIsTold)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need address space of their own";
#endif
    MakeInputs(8192);
    constexpr size_t kMemory = size_t{60} << 20; // less than one picture
    if (RunToolProcess(folder, {"--version"}, {}, {.memory = kMemory}).code != 0)
        GTEST_SKIP() << "memory cannot be limited here";
    for (const Line& line : AllCommands()) {
        if (line.front() == "info" || line.front() == "plot")
            continue; // they take no memory for a picture
        ExpectError(RunToolProcess(folder, line, {}, {.memory = kMemory}), "error: out of memory, ");
        ExpectNothingLeft(line);
    }
}

TEST_F(SystemReason, TooManyOpenFilesAreTold)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP()
        << "the check of virtual calls that comes with it opens pipes, and takes their lack for a finding";
#endif
    MakeInputs(64);
    for (const Line& line : AllCommands()) {
        int told = 0;
        // Emulators and sanitizers may hold some files open.
        for (size_t files = 4; files < 16; ++files) {
            const ToolEnd end = RunToolProcess(folder, line, {}, {.openFiles = files});
            if (end.code == 0)
                break;
            if (!end.err.starts_with("orvane: ")) // it did not even start
                continue;
            ExpectError(end, "(Too many open files)");
            ExpectNothingLeft(line);
            ++told;
        }
        if (line.front() != "info") { // which needs one at a time, as the start of a process does
            EXPECT_GT(told, 0) << line.front();
        }
        std::filesystem::remove_all(New());
        std::filesystem::create_directory(New());
    }
}

TEST_F(SystemReason, AFolderThatTakesNoFileIsTold)
{
    MakeInputs(64);
    std::filesystem::permissions(New(),
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    for (const Line& line : kWriters) {
        const ToolEnd end = RunToolProcess(folder, line, {}, {.keepsToPermissions = true});
        if (end.code == kCannotLimit)
            GTEST_SKIP() << "permissions do not hold for this user";
        ExpectError(end, "cannot create the file (Permission denied), " + line.back() + ".part");
    }
}

TEST_F(SystemReason, AFileThatIsNotThereIsTold)
{
    for (const Line& line : AllCommands()) {
        ExpectError(RunToolProcess(folder, line), "(No such file or directory), " + line[1]);
        ExpectNothingLeft(line);
    }
    MakeInputs(64);
    ExpectError(RunToolProcess(folder, {"verify", "in.avi", "--against", "none.pgm"}),
                "(No such file or directory), none.pgm");
    std::filesystem::remove(New());
    for (const Line& line : kWriters)
        ExpectError(RunToolProcess(folder, line),
                    "cannot create the file (No such file or directory), " + line.back() + ".part");
    std::filesystem::create_directory(New());
}

TEST_F(SystemReason, AFileThatMayNotBeReadIsTold)
{
    MakeInputs(64);
    for (const char* const name : {"in.avi", "in.pgm"})
        std::filesystem::permissions(folder.Path() / name, std::filesystem::perms::none);
    for (const Line& line : AllCommands()) {
        const ToolEnd end = RunToolProcess(folder, line, {}, {.keepsToPermissions = true});
        if (end.code == kCannotLimit)
            GTEST_SKIP() << "permissions do not hold for this user";
        ExpectError(end, "cannot open the file (Permission denied), " + line[1]);
        ExpectNothingLeft(line);
    }
}
