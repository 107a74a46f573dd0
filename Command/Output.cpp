#include "Command/Output.h"

#include <cerrno>
#include <system_error>

#include <unistd.h>

void Output::write(std::string_view text) {
    buffer_.append(text);
    if (buffer_.size() >= chunk) {
        flush();
    }
}

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

Output & standardOutput() {
    static Output output;
    return output;
}
