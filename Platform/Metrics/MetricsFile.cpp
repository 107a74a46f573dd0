#include "Platform/Metrics/MetricsFile.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A file of its own beside another, gone again unless it takes the other's place.
class FileBeside {
public:
    explicit FileBeside(String const & path)
        : path_(path), name_(path + ".XXXXXX"), fd_(::mkstemp(name_.data())) {
        check(fd_ >= 0);
    }
    FileBeside(FileBeside const &) = delete;
    FileBeside & operator=(FileBeside const &) = delete;
    ~FileBeside() {
        if (fd_ >= 0) {
            ::close(fd_);
            ::unlink(name_.c_str());
        }
    }

    void write(std::string_view text) {
        while (!text.empty()) {
            ssize_t const written = ::write(fd_, text.data(), text.size());
            check(written >= 0 || errno == EINTR);
            text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
        }
    }
    // Not put on the disk first: after a crash of the machine these numbers are of no use.
    void takePlace() {
        constexpr mode_t readableByAll = 0644;
        check(::fchmod(fd_, readableByAll) == 0);
        check(::rename(name_.c_str(), path_.c_str()) == 0);
        ::close(std::exchange(fd_, -1));
    }

private:
    void check(bool isGood) const {
        if (!isGood) {
            throw std::runtime_error(path_ + ": " + std::generic_category().message(errno));
        }
    }

    String const & path_;
    String name_;
    int fd_;
};

} // namespace

MetricsFile::MetricsFile(Metrics & metrics, String path, std::function<void(String const &)> report,
                         std::chrono::milliseconds interval)
    : metrics_(metrics), path_(std::move(path)), report_(std::move(report)) {
    write();
    thread_ = std::jthread([this, interval](std::stop_token const & stop) { run(stop, interval); });
}

MetricsFile::~MetricsFile() {
    thread_.request_stop();
    thread_.join();
    tryWriting();
}

void MetricsFile::run(std::stop_token const & stop, std::chrono::milliseconds interval) {
    std::unique_lock lock(mutex_);
    while (!stop.stop_requested()) {
        ends_.wait_for(lock, stop, interval, [] { return false; });
        if (!stop.stop_requested()) {
            tryWriting();
        }
    }
}

void MetricsFile::tryWriting() {
    try {
        write();
        fault_.clear();
    } catch (std::exception const & error) {
        if (fault_ != error.what()) {
            fault_ = error.what();
            report_(fault_);
        }
    }
}

void MetricsFile::write() {
    FileBeside file(path_);
    file.write(metricsText(metrics_.read()));
    file.takePlace();
}
