#include "Agent/Tables/RouteFiles.h"

#include "Agent/Tables/RouteFile.h"
#include "Platform/Framework/Assert.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include <unistd.h>

/// Shares of one file end at different times: one may still decode the end of a file while others
/// take pieces of the next. So a file is closed when nobody holds it any more.
namespace Qcf::Agent {

namespace {

constexpr U64 unknown = ~U64{0};

/// Without opening it: a pipe can be opened once.
void checkReadable(String const & path) {
    if (path != "-" && ::access(path.c_str(), R_OK) != 0) {
        throw Lists::FileError(path + ": " + std::strerror(errno));
    }
}

void addFile(ReadStatistics & all, ReadStatistics const & file) {
    U64 const bytes = all.bytes + file.bytes;
    all.add(file);
    all.bytes = bytes;
}

} // namespace

/// An open file. Its counts go over to the whole with its end.
struct RouteFiles::File {
    File(RouteFiles & files, std::size_t at)
        : all(files),
          index(at),
          reader(openRoutes(files.paths_[at], files.report_, files.threads_)) {}
    File(File const &) = delete;
    File & operator=(File const &) = delete;
    ~File() { addFile(all.closed_, reader->statistics()); }

    RouteFiles & all;
    std::size_t index;
    std::unique_ptr<RouteReader> reader;
};

/// Shares of one file after the other.
class RouteFiles::Share final : public RouteShare {
public:
    explicit Share(RouteFiles & all) : all_(all) {}
    Share(Share const &) = delete;
    Share & operator=(Share const &) = delete;
    // A share must be gone before its reader.
    ~Share() override { share_.reset(); }

    bool take() override {
        while (auto const file = all_.current()) {
            if (file != file_) {
                share_.reset();
                file_ = file;
                share_ = file_->reader->makeShare();
                QCF_ASSERT_TEXT(share_ != nullptr, "files of routes are read by shares");
            }
            if (share_->take()) {
                return true;
            }
            // Nobody gets more of it. Whoever finds that first ends its turn.
            all_.endTurn();
        }
        return false;
    }

    bool next(Route & route) override {
        bool const isRoute = share_->next(route);
        routes_ += isRoute ? 1 : 0;
        return isRoute;
    }

    void settle() override {
        all_.number(file_->index, std::exchange(routes_, 0));
        share_->settle();
    }

private:
    RouteFiles & all_;
    std::shared_ptr<File> file_; ///< of the piece taken last
    std::unique_ptr<RouteShare> share_;
    U64 routes_ = 0; ///< handed out and not numbered yet
};

RouteFiles::RouteFiles(std::vector<String> paths, Lists::Reporter report, U32 threads)
    : paths_(std::move(paths)),
      report_(std::move(report)),
      threads_(threads),
      firstRoutes_(std::make_unique<std::atomic<U64>[]>(paths_.size())) {
    for (std::size_t i = 0; i < paths_.size(); ++i) {
        checkReadable(paths_[i]);
        firstRoutes_[i] = unknown;
    }
}

bool RouteFiles::next(Route & route) {
    while (auto const file = current()) {
        if (file->reader->next(route)) {
            number(file->index, 1);
            return true;
        }
        endTurn();
    }
    return false;
}

ReadStatistics const & RouteFiles::statistics() const {
    all_ = closed_;
    if (current_) {
        addFile(all_, current_->reader->statistics());
    }
    return all_;
}

std::unique_ptr<RouteShare> RouteFiles::makeShare() { return std::make_unique<Share>(*this); }

// A file without routes starts where the next one does: the last one that starts there has the
// route.
String const & RouteFiles::fileOf(U64 number) const {
    std::size_t file = 0;
    for (std::size_t behind = paths_.size(); behind - file > 1;) {
        std::size_t const middle = file + (behind - file) / 2;
        bool const isFurther = firstRoutes_[middle].load(std::memory_order_acquire) <= number;
        (isFurther ? file : behind) = middle;
    }
    return paths_[file];
}

std::shared_ptr<RouteFiles::File> const & RouteFiles::current() {
    if (current_ || turn_ == paths_.size()) {
        return current_;
    }
    Opened opened =
        following_.file || following_.failure ? std::exchange(following_, {}) : open(turn_);
    if (opened.failure) {
        // Nothing behind it is read, now or later.
        turn_ = paths_.size();
        std::rethrow_exception(opened.failure);
    }
    current_ = std::move(opened.file);
    bool const isNextAFile =
        turn_ + 1 < paths_.size() && std::filesystem::is_regular_file(paths_[turn_ + 1]);
    if (isNextAFile) {
        following_ = open(turn_ + 1);
    }
    return current_;
}

void RouteFiles::endTurn() {
    current_.reset();
    ++turn_;
}

RouteFiles::Opened RouteFiles::open(std::size_t index) {
    try {
        return {std::make_shared<File>(*this, index), nullptr};
    } catch (...) {
        return {nullptr, std::current_exception()};
    }
}

void RouteFiles::number(std::size_t index, U64 routes) {
    for (; numbered_ <= index; ++numbered_) {
        firstRoutes_[numbered_].store(routes_, std::memory_order_release);
    }
    routes_ += routes;
}

} // namespace Qcf::Agent
