#pragma once

#include "Platform/Framework/Types.h"

#include <filesystem>
#include <vector>

namespace Qcf::Bench {

/// A table in a form.
struct JobFile {
    String table;
    String form;
    String path;
};

/// The tables that jobs run over, in a folder that goes with the object.
class JobFiles {
public:
    /// Generated tables of so many routes, and so many bytes of the largest real one at most.
    JobFiles(std::size_t routes, U64 realBytes);
    ~JobFiles();
    JobFiles(JobFiles const &) = delete;
    JobFiles & operator=(JobFiles const &) = delete;

    /// The forms of a table stand together, the plain one first.
    std::vector<JobFile> const & all() const { return files_; }
    std::filesystem::path const & folder() const { return folder_; }

private:
    /// Adds the table that was written as `path` in each form that can be made.
    void addForms(String const & table, std::filesystem::path const & path);

    std::filesystem::path folder_;
    std::vector<JobFile> files_;
};

} // namespace Qcf::Bench
