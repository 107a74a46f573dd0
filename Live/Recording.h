#pragma once

#include "Platform/Framework/Types.h"

#include <fstream>
#include <span>

namespace Qcf::Live {

/// What a connection brings, kept byte for byte: files `ROUTER.NUMBER.bmp` of a folder, numbered
/// on, of which the oldest go. One behind the other they are the stream again, which replays as
/// such.
///
///     Recording recording(folder, "edge1");
///     recording.write(messages); // whole ones: a file ends where one ends
///
/// Throws std::runtime_error, one line, when a file cannot be written. Belongs to one thread.
class Recording {
public:
    static constexpr U64 usualSize = U64{64} << 20;
    static constexpr U64 files = 10; ///< that are kept of a router

    /// Begins a file of its own. Characters of the name that files should not have are written as
    /// `%` with two digits.
    Recording(String folder, String const & router, U64 mostBytes = usualSize);

    void write(std::span<U8 const> messages);
    /// So that a file has all that was written.
    void flush();

private:
    void next();
    String pathOf(U64 number) const;

    String folder_;
    String name_;
    U64 mostBytes_;
    U64 number_;
    U64 size_ = 0;
    std::ofstream file_;
};

} // namespace Qcf::Live
