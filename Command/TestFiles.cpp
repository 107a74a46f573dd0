#include "Command/TestFiles.h"

#include "Platform/Render/Utf8.h"
#include "Watch/FileNames.h"

#include <algorithm>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

/// Whether it is a text or should be one: a link whose file is missing tests nothing, and that is
/// not to pass unseen.
bool isText(fs::directory_entry const & entry) {
    std::error_code error;
    if (entry.path().extension() != ".qcf") {
        return false;
    }
    return entry.is_regular_file(error) || (entry.is_symlink(error) && !entry.exists(error));
}

/// By a list of folders instead of the library's own walk, which ends at the first fault.
class FolderWalk {
public:
    explicit FolderWalk(TestFiles & into) : into_(into) {}

    std::vector<String> textsBelow(String const & folder) {
        folders_ = {folder};
        while (!folders_.empty()) {
            fs::path const next = folders_.back();
            folders_.pop_back();
            read(next);
        }
        std::ranges::sort(texts_);
        return std::move(texts_);
    }

private:
    void read(fs::path const & folder) {
        std::error_code error;
        fs::directory_iterator at(folder, error);
        while (!error && at != fs::directory_iterator()) {
            take(*at);
            at.increment(error);
        }
        if (error) {
            String const path = folder.lexically_normal().string();
            constexpr std::size_t longestPath = 4096;
            into_.unread.push_back({path, oneLine(path, longestPath) +
                                              ": wants a readable folder, "
                                              "found \"" +
                                              error.message() + '"'});
        }
    }
    void take(fs::directory_entry const & entry) {
        std::error_code error;
        if (isText(entry)) {
            texts_.push_back(Qcf::Watch::plainPath(entry.path().string()));
        } else if (!entry.is_symlink(error) && entry.is_directory(error)) {
            folders_.push_back(entry.path());
        }
    }

    TestFiles & into_;
    std::vector<fs::path> folders_;
    std::vector<String> texts_;
};

} // namespace

TestFiles findTestFiles(std::vector<String> const & paths) {
    TestFiles files;
    for (String const & path : paths) {
        std::error_code error;
        bool const isFolder = fs::is_directory(path, error);
        for (String const & text : isFolder ? FolderWalk(files).textsBelow(path)
                                            : std::vector{Qcf::Watch::plainPath(path)}) {
            if (std::ranges::find(files.texts, text) == files.texts.end()) {
                files.texts.push_back(text);
            }
        }
    }
    return files;
}
