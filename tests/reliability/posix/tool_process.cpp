#include "reliability/posix/tool_process.h"

#include "platform/host_path.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// False where the system takes a limit and does not keep it, as an emulator may.
bool Limit(decltype(RLIMIT_AS) resource, std::optional<size_t> amount)
{
    if (!amount)
        return true;
    rlimit limit{*amount, *amount};
    return setrlimit(resource, &limit) == 0 && getrlimit(resource, &limit) == 0 && limit.rlim_cur == *amount;
}

/// Root may do all that the mode of a file forbids, unless this is taken away.
bool KeepToPermissions()
{
    if (geteuid() != 0)
        return true;
    constexpr unsigned long kMayOverride = 1, kMayReadAll = 2; // CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH
    return prctl(PR_CAPBSET_DROP, kMayOverride, 0, 0, 0) == 0 &&
           prctl(PR_CAPBSET_DROP, kMayReadAll, 0, 0, 0) == 0;
}

} // namespace

ToolProcess::ToolProcess(const TestFolder& folder, const std::vector<std::string>& arguments,
                         const ToolSetup& setup)
{
    // All that needs memory is made before the fork.
    const std::string tool =
        std::filesystem::path(platform::HostPath()).parent_path().parent_path() / "orvane";
    std::vector<std::string> words{tool};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    const std::string where = folder.Path();
    const std::string store = where + "/store.reg";

    std::signal(SIGPIPE, SIG_IGN); // a tool that has ended reads no more
    int in[2], err[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    process = fork();
    if (process == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(err[1], STDERR_FILENO);
        if (setup.output.empty())
            close(STDOUT_FILENO);
        else
            dup2(open(setup.output.c_str(), O_WRONLY), STDOUT_FILENO);
        setenv("ORVANE_STORE", store.c_str(), 1);
        setenv("TMPDIR", where.c_str(), 1);
        std::signal(SIGPIPE, SIG_DFL);
        std::signal(SIGINT, SIG_DFL);
        if (setup.ignored != 0)
            std::signal(setup.ignored, SIG_IGN); // stays ignored after exec
        if (setup.largestFile) {
            const rlimit limit{*setup.largestFile, *setup.largestFile};
            setrlimit(RLIMIT_FSIZE, &limit);
#ifdef __SANITIZE_THREAD__
            // The thread sanitizer writes a file of its own before main, unless it finds no folder for it.
            unsetenv("TMPDIR");
            setenv("TEST_TMPDIR", "/dev/null", 1);
#endif
        }
        const bool isLimited = Limit(RLIMIT_AS, setup.memory) && Limit(RLIMIT_NOFILE, setup.openFiles) &&
                               (!setup.keepsToPermissions || KeepToPermissions());
        if (!isLimited)
            _exit(kCannotLimit);
        if (chdir(where.c_str()) == 0)
            execv(tool.c_str(), argv.data());
        _exit(127);
    }
    close(in[0]);
    close(err[1]);
    input = in[1];
    errors = err[0];
    if (process < 0)
        throw std::runtime_error("no process");
}

ToolProcess::~ToolProcess()
{
    EndInput();
    if (process > 0) {
        Signal(SIGKILL);
        waitpid(process, nullptr, 0);
    }
    close(errors);
}

bool ToolProcess::Feed(const std::string& bytes) const
{
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t written = write(input, bytes.data() + done, bytes.size() - done);
        if (written < 0)
            return false;
        done += static_cast<size_t>(written);
    }
    return true;
}

void ToolProcess::EndInput()
{
    if (input >= 0)
        close(input);
    input = -1;
}

bool ToolProcess::Catches(int signal) const
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string word; status >> word;)
        if (word == "SigCgt:") {
            uint64_t signals = 0;
            status >> std::hex >> signals;
            return (signals >> (signal - 1) & 1) == 1;
        }
    return false;
}

bool ToolProcess::HasEnded() const
{
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == process;
}

void ToolProcess::Signal(int number) const
{
    kill(process, number);
}

ToolEnd ToolProcess::Wait(bool endInput)
{
    if (endInput)
        EndInput();
    ToolEnd end;
    char text[256];
    for (ssize_t count; (count = read(errors, text, sizeof text)) > 0;)
        end.err.append(text, static_cast<size_t>(count));
    int status = 0;
    rusage used{};
    wait4(process, &status, 0, &used);
    process = -1;
    end.peakMiB = static_cast<double>(used.ru_maxrss) / 1024;
    for (const timeval& time : {used.ru_utime, used.ru_stime})
        end.seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    if (WIFSIGNALED(status))
        end.signal = WTERMSIG(status);
    else
        end.code = WEXITSTATUS(status);
    return end;
}

ToolEnd RunToolProcess(const TestFolder& folder, const std::vector<std::string>& arguments,
                       const std::string& input, const ToolSetup& setup)
{
    ToolProcess tool(folder, arguments, setup);
    tool.Feed(input);
    return tool.Wait();
}
