#pragma once

#include "Platform/Framework/Types.h"

#include <stdexcept>

/// A fault of a document or file. `what()` is one line, ready for standard error: the file, the
/// place within it, what was wanted and what was found.
class DocumentError : public std::runtime_error {
public:
    explicit DocumentError(String const & line) : std::runtime_error(line) {}
};
