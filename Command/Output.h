#pragma once

#include "Platform/Framework/Types.h"
#include "Platform/Render/NonBlockingCliTxnBuffer.h"

#include <exception>
#include <stdexcept>
#include <string_view>

/// Nobody reads what is written any more, as behind `| head`; to be ended quietly.
class ClosedOutput : public std::exception {};

/// Standard output, in pieces of some size. Writes that fail throw: ClosedOutput, or
/// std::runtime_error with one line that says why. Belongs to one thread at a time. What is written
/// stays here until a piece is full or `flush` is called.
class Output {
public:
    /// Appends; writes full pieces.
    void write(std::string_view text);
    /// Writes all that is held.
    void flush();

private:
    /// Written at once.
    static constexpr std::size_t chunk = std::size_t{1} << 16;

    NonBlockingCliTxnBuffer buffer_{chunk};
};

/// Throws it, after what standard output still holds was written; nothing for null.
void rethrowAfterOutput(std::exception_ptr const & fault);

/// The one of this process; what it still holds is written at the end of `main`. Threads take turns
/// with it.
Output & standardOutput();
