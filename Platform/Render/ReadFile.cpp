#include "Platform/Render/ReadFile.h"

#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

/// Whole files from outside, bounded, so that no path makes the process read without end.
namespace {

// "-" is standard input, which is not ours to close.
class Descriptor {
public:
    explicit Descriptor(String const & path)
        : owned_(path != "-"),
          fd_(owned_ ? ::open(path.c_str(), O_RDONLY | O_CLOEXEC) : STDIN_FILENO) {}
    Descriptor(Descriptor const &) = delete;
    Descriptor & operator=(Descriptor const &) = delete;
    ~Descriptor() {
        if (owned_ && fd_ >= 0) {
            ::close(fd_);
        }
    }
    int get() const noexcept { return fd_; }

private:
    bool owned_;
    int fd_;
};

[[noreturn]] void failReading(String const & path, int error) {
    throw DocumentError(oneLine(path, 4096) + ": ",
                        "wants a readable file, found \"" + std::generic_category().message(error) +
                            '"',
                        {path, {}, 0, 0});
}

// A guess only: what is no regular file says nothing, and a file may grow while it is read.
std::size_t expectedSize(int fd, U64 limit) {
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size < 0) {
        return 0;
    }
    return static_cast<std::size_t>(std::min(static_cast<U64>(info.st_size), limit));
}

} // namespace

String readFile(String const & path, U64 limit) {
    Descriptor const file(path);
    if (file.get() < 0) {
        failReading(path, errno);
    }
    constexpr std::size_t step = 64 * 1024;
    String content;
    std::size_t size = 0;
    // One byte more than expected, so that the end of the file is seen without growing.
    content.resize(expectedSize(file.get(), limit) + 1);
    for (;;) {
        if (size == content.size()) {
            // By half again, so that a pipe of any length is copied a bounded number of times a
            // byte.
            content.resize(size + std::max(step, size / 2));
        }
        ssize_t const got = ::read(file.get(), content.data() + size, content.size() - size);
        // An interrupted call read nothing and is made again.
        if (got < 0 && errno != EINTR) {
            failReading(path, errno);
        }
        if (got == 0) {
            break;
        }
        size += got > 0 ? static_cast<std::size_t>(got) : 0;
        // Looked at while reading, as a file may be longer than it said.
        if (size > limit) {
            throw DocumentError(oneLine(path, 4096) + ": ",
                                "wants at most " + std::to_string(limit) + " bytes, found more",
                                {path, {}, 0, 0});
        }
    }
    content.resize(size);
    return content;
}
