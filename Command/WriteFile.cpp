#include "Command/WriteFile.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

/// By the system's own calls: streams know that something failed, and not what.
namespace {

[[noreturn]] void fail(String const & path, int error) {
    throw std::runtime_error(path + ": " + std::generic_category().message(error));
}

// Answers the error of the call that failed; 0 for none.
int writeAll(int fd, std::string_view content) {
    while (!content.empty()) {
        ssize_t const written = ::write(fd, content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        content.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return 0;
}

} // namespace

void writeFile(String const & path, std::string_view content) {
    int const fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        fail(path, errno);
    }
    int const error = writeAll(fd, content);
    // What a disk has no room for may show only now.
    int const closed = ::close(fd) == 0 ? 0 : errno;
    if (error != 0 || closed != 0) {
        fail(path, error != 0 ? error : closed);
    }
}
