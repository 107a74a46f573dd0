#pragma once

#include "Platform/Framework/Types.h"

#include <stdexcept>

/// A fault of a document or file. `what()` is one line, ready for standard error: the file, the
/// place within it, what was wanted and what was found.
///
///     policy.json:/functions/0/body: Function.body wants a Block, found number 5
///
/// Readers throw it before anything of the document has taken effect.
class DocumentError : public std::runtime_error {
public:
    /// The line as it is to be shown.
    explicit DocumentError(String const & line) : std::runtime_error(line) {}
};
