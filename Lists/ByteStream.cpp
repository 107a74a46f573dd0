#include "Lists/ByteStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace Qcf::Lists {

namespace {

// The file itself, without a buffer: the window above it reads in large pieces.
class FileStream final : public ByteStream {
public:
    FileStream(int fd, bool owned) : fd_(fd), owned_(owned) {}
    FileStream(FileStream const &) = delete;
    FileStream & operator=(FileStream const &) = delete;
    ~FileStream() override {
        if (owned_) {
            ::close(fd_);
        }
    }

    // An end and an error are at hand as well. Files are always ready.
    bool isReady() override {
        pollfd asked{fd_, POLLIN, 0};
        return ::poll(&asked, 1, 0) > 0;
    }

    std::size_t read(U8 * to, std::size_t size) override {
        for (;;) {
            ssize_t const got = ::read(fd_, to, size);
            if (got >= 0) {
                return static_cast<std::size_t>(got);
            }
            // A signal is no fault. Anything else ends the stream, and its reader says where.
            if (errno != EINTR) {
                fault_ = String("reading failed: ") + std::strerror(errno);
                return 0;
            }
        }
    }

private:
    int fd_;
    bool owned_;
};

// Bytes that are there.
class MemoryStream final : public ByteStream {
public:
    explicit MemoryStream(String bytes) : bytes_(std::move(bytes)) {}

    std::size_t read(U8 * to, std::size_t size) override {
        std::size_t const got = std::min(size, bytes_.size() - at_);
        std::memcpy(to, bytes_.data() + at_, got);
        at_ += got;
        return got;
    }

private:
    String bytes_;
    std::size_t at_ = 0;
};

} // namespace

std::unique_ptr<ByteStream> openFileStream(String const & path) {
    if (path == "-") {
        return std::make_unique<FileStream>(STDIN_FILENO, false);
    }
    // A process that this one starts has no business with its files.
    int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        throw FileError(path + ": " + std::strerror(errno));
    }
    return std::make_unique<FileStream>(fd, true);
}

std::unique_ptr<ByteStream> makeMemoryStream(String bytes) {
    return std::make_unique<MemoryStream>(std::move(bytes));
}

} // namespace Qcf::Lists
