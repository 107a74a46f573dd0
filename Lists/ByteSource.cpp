#include "Lists/ByteSource.h"

#include "Lists/Decompress.h"
#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace Qcf::Lists {

namespace {

/// Reads in pieces of this size; a window starts at twice as much.
constexpr std::size_t kChunk = std::size_t{256} << 10;

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

    std::size_t read(U8 * to, std::size_t size) override {
        for (;;) {
            ssize_t const got = ::read(fd_, to, size);
            if (got >= 0) {
                return static_cast<std::size_t>(got);
            }
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
    int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        throw FileError(path + ": " + std::strerror(errno));
    }
    return std::make_unique<FileStream>(fd, true);
}

std::unique_ptr<ByteStream> makeMemoryStream(String bytes) {
    return std::make_unique<MemoryStream>(std::move(bytes));
}

ByteSource::ByteSource(std::unique_ptr<ByteStream> stream) : stream_(std::move(stream)) {
    constexpr std::size_t longestMagic = 4;
    ensure(longestMagic);
    auto const make = decompressorFor(data(), available());
    if (!make) {
        return;
    }
    String head(reinterpret_cast<char const *>(data()), available());
    stream_ = make(std::move(stream_), std::move(head));
    begin_ = end_ = 0;
    ended_ = false;
    compressed_ = true;
}

void ByteSource::skip(std::size_t size) {
    QCF_ASSERT(size <= available());
    begin_ += size;
    offset_ += size;
}

/// Twice the piece asked for: a byte is then moved once on average, however large the pieces.
void ByteSource::makeRoom(std::size_t size) {
    if (capacity_ - begin_ >= size) {
        return;
    }
    if (capacity_ >= 2 * size) {
        std::memmove(buffer_.get(), data(), available());
    } else {
        std::size_t const capacity = 2 * std::max(size, kChunk);
        auto larger = std::make_unique_for_overwrite<U8[]>(capacity);
        if (buffer_) {
            std::memcpy(larger.get(), data(), available());
        }
        buffer_ = std::move(larger);
        capacity_ = capacity;
    }
    end_ = available();
    begin_ = 0;
}

bool ByteSource::fill(std::size_t size) {
    if (ended_) {
        return false;
    }
    makeRoom(size);
    while (available() < size) {
        std::size_t const got = stream_->read(buffer_.get() + end_, capacity_ - end_);
        if (got == 0) {
            ended_ = true;
            return false;
        }
        end_ += got;
    }
    return true;
}

} // namespace Qcf::Lists
