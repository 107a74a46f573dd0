#pragma once

#include "Platform/Framework/Types.h"

#include <stdexcept>
#include <utility>

/// A fault of a document or file. `what()` is one line, ready for standard error: the file, the
/// place within it, what was wanted and what was found.
///
///     policy.json:/functions/0/body: Function.body wants a Block, found number 5
///
/// Readers throw it before anything of the document has taken effect.
///
/// Whoever hands errors on to programs asks for its parts instead of taking the line apart.
class DocumentError : public std::runtime_error {
public:
    /// Where a fault stands. What is not known is empty or 0.
    struct Place {
        String file;    ///< as it was named, nothing escaped
        String pointer; ///< of a value within a document (RFC 6901)
        U64 line = 0;   ///< from 1; of a text that could not be read as a document
        U64 column = 0; ///< from 1, in characters
    };

    /// The line as it is to be shown; of its place nothing is known.
    explicit DocumentError(String const & line) : std::runtime_error(line), message_(line) {}
    /// The line is `shown`, which ends in a blank where it is not empty, and the message.
    DocumentError(String const & shown, String message, Place place)
        : std::runtime_error(shown + message),
          message_(std::move(message)),
          place_(std::move(place)) {}

    /// What is wrong, without the place; the whole line where no place is known.
    String const & message() const noexcept { return message_; }
    Place const & place() const noexcept { return place_; }

private:
    String message_;
    Place place_;
};
