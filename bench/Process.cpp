#include "bench/Process.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Qcf::Bench {

namespace {

double nanoseconds(timeval const & time) {
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_usec) * 1e3;
}

/// Starts a program whose output goes nowhere; -1 where it cannot be started.
pid_t start(std::vector<String> const & words) {
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (String const & word : words) {
        arguments.push_back(const_cast<char *>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int const stream : {STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    }
    pid_t process = -1;
    if (posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ) != 0) {
        process = -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    return process;
}

} // namespace

String commandOf(std::vector<String> const & words) {
    String command;
    for (String const & word : words) {
        command += (command.empty() ? "'" : " '") + word + "'";
    }
    return command;
}

bool isInstalled(String const & program) {
    return std::system(("command -v '" + program + "' >/dev/null").c_str()) == 0;
}

ProcessUse useOf(std::vector<String> const & words) {
    using Clock = std::chrono::steady_clock;
    ProcessUse use;
    auto const begin = Clock::now();
    pid_t const process = start(words);
    int status = 0;
    rusage used{};
    if (process < 0 || wait4(process, &status, 0, &used) != process) {
        return use;
    }
    use.wallNs = std::chrono::duration<double, std::nano>(Clock::now() - begin).count();
    use.cpuNs = nanoseconds(used.ru_utime) + nanoseconds(used.ru_stime);
    use.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return use;
}

CommandOutput outputOf(String const & command) {
    CommandOutput output;
    std::FILE * const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return output;
    }
    std::array<char, 4096> piece;
    for (std::size_t size = 0; (size = std::fread(piece.data(), 1, piece.size(), pipe)) > 0;) {
        output.text.append(piece.data(), size);
    }
    int const status = pclose(pipe);
    output.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return output;
}

} // namespace Qcf::Bench
