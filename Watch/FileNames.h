#pragma once

#include "Platform/Framework/Types.h"

#include <map>

namespace Qcf::Watch {

/// A path without detours: `./a//b.qcf` as `a/b.qcf`. A relative one stays relative. It stays as it
/// is where a detour leads through a symbolic link to another file.
String plainPath(String const & path);

/// Gives each file one name, by whatever path it was reached: the plain path that it was met under
/// first.
///
///     FileNames names;
///     names.of("./lib.qcf"); // "lib.qcf"
///     names.of("d/../lib.qcf"); // "lib.qcf"
class FileNames {
public:
    String const & of(String const & path);

private:
    std::map<String, String> byPath_;
    std::map<String, String> byFile_; ///< by the whole path without links
};

} // namespace Qcf::Watch
