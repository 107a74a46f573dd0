#include "Command/Output.h"

#include <cerrno>
#include <system_error>

#include <unistd.h>

// Held back up to a piece: a table writes a line for every route.
void Output::write(std::string_view text) {
    buffer_.append(text);
    if (buffer_.size() >= chunk) {
        flush();
    }
}

// A reader that has gone is no fault of this command, a full disk is one.
void Output::flush() {
    try {
        buffer_.flush(STDOUT_FILENO);
    } catch (std::system_error const & error) {
        if (error.code().value() == EPIPE) {
            throw ClosedOutput();
        }
        throw std::runtime_error("standard output: " + error.code().message());
    }
}

// Of its own and not the standard stream, whose failures are a state that somebody has to ask for.
Output & standardOutput() {
    static Output output;
    return output;
}

void rethrowAfterOutput(std::exception_ptr const & fault) {
    if (fault) {
        standardOutput().flush();
        std::rethrow_exception(fault);
    }
}
