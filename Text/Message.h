#pragma once

#include "Text/SourceText.h"

#include <iosfwd>

namespace Qcf::Text {

enum class Severity : U8 { error, warning };

/// One thing that is wrong with a text, or hardly meant, and where.
struct Message {
    Span span;
    Severity severity;
    /// Stable, for programs: "unknown-name". Lives as long as the process.
    char const * code;
    /// What is wrong, and what to write instead where that is one thing.
    String text;
    /// The nearest right name; empty where there is none.
    String suggestion = {};
    /// A further line for people; empty for most.
    String note = {};
};

/// What was found while texts were read, in the order in which it was found.
///
///     Messages messages;
///     auto const policy = readPolicyFile(path, messages);
///     messages.print(sources, std::cerr);
///
/// Used by one thread at a time.
class Messages {
public:
    /// So many errors are kept, so that a file of another kind does not end in a million lines.
    static constexpr std::size_t mostErrors = 100;

    /// Errors beyond the most are dropped.
    void add(Message message);

    bool hasErrors() const { return errors_ != 0; }
    std::size_t errorCount() const { return errors_; }
    /// Whether no further error is worth looking for.
    bool isFull() const { return errors_ >= mostErrors; }
    std::vector<Message> const & all() const { return messages_; }

    /// Brings them into the order of the texts: they are found in several passes.
    void sort();

    /// For people: a line `FILE:LINE:COLUMN: SEVERITY: TEXT`, the line of the text with a caret
    /// below, and the note.
    void print(Sources const & sources, std::ostream & out) const;

private:
    std::vector<Message> messages_;
    std::size_t errors_ = 0;
};

/// The one line of a message: `FILE:LINE:COLUMN: SEVERITY: TEXT; did you mean 'SUGGESTION'?`
String lineOf(Message const & message, Sources const & sources);

char const * toString(Severity severity);

} // namespace Qcf::Text
