#include "Command/ReplaceFile.h"

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(String const & path, int error) {
    throw std::runtime_error(path + ": " + std::generic_category().message(error));
}

/// A file of its own beside another, which is removed again unless it is renamed.
class NewFile {
public:
    /// `shown` is the other file as messages name it.
    NewFile(String const & target, String const & shown)
        : path_(target + ".XXXXXX"), shown_(shown), fd_(::mkstemp(path_.data())) {
        check(fd_ < 0 ? -1 : 0);
    }
    NewFile(NewFile const &) = delete;
    NewFile & operator=(NewFile const &) = delete;
    ~NewFile() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        if (!isKept_) {
            ::unlink(path_.c_str());
        }
    }

    void write(std::string_view content) {
        while (!content.empty()) {
            ssize_t const written = ::write(fd_, content.data(), content.size());
            if (written < 0 && errno != EINTR) {
                fail(shown_, errno);
            }
            content.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
        }
    }
    // Whoever may not give the file to its owner keeps it as their own, as every editor does.
    void takeAfter(struct stat const & old) {
        if (::fchown(fd_, old.st_uid, old.st_gid) != 0 && errno != EPERM) {
            fail(shown_, errno);
        }
        check(::fchmod(fd_, old.st_mode & 07777));
    }
    // On the disk first: a rename that outlives a crash must not show an empty file.
    void renameTo(String const & target) {
        check(::fsync(fd_));
        check(::rename(path_.c_str(), target.c_str()));
        isKept_ = true;
    }

private:
    void check(int result) const {
        if (result != 0) {
            fail(shown_, errno);
        }
    }

    String path_;
    String shown_;
    int fd_;
    bool isKept_ = false;
};

} // namespace

void replaceFile(String const & path, std::string_view content) {
    struct stat old {};
    if (::stat(path.c_str(), &old) != 0 || ::access(path.c_str(), W_OK) != 0) {
        fail(path, errno);
    }
    if (!S_ISREG(old.st_mode)) {
        throw std::runtime_error(path + ": is no regular file and cannot be rewritten in place");
    }
    // Of a link the file that it leads to is replaced.
    String const target = std::filesystem::canonical(path).string();
    NewFile file(target, path);
    file.write(content);
    file.takeAfter(old);
    file.renameTo(target);
}
