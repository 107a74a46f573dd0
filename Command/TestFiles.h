#pragma once

#include "Platform/Framework/Types.h"

#include <vector>

/// What the paths lead to that tests are asked of.
struct TestFiles {
    /// A folder that could not be read, whole or in part.
    struct UnreadFolder {
        String path;
        String error; ///< one line with the path
    };

    /// Each once and by its plain path, whatever names it; those of a folder in the order of their
    /// names. Links to files that are missing are among them, to be told when they are read.
    std::vector<String> texts;
    std::vector<UnreadFolder> unread;
};

/// The files among the paths as they are, and the texts `*.qcf` below the folders. Links to folders
/// are not followed.
TestFiles findTestFiles(std::vector<String> const & paths);
