#include "bench/Process.h"

#include <array>
#include <cstdio>

#include <sys/wait.h>

namespace Qcf::Bench {

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
