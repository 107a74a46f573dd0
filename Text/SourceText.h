#pragma once

#include "Platform/Framework/Types.h"

#include <deque>
#include <string_view>
#include <vector>

namespace Qcf::Text {

/// A piece of one of the texts that are read together: bytes from `begin` to before `end`.
struct Span {
    U32 file = 0; ///< number in Sources
    U32 begin = 0;
    U32 end = 0;
};

/// Where a byte stands, as people count: lines and code points from 1 on, a tab as one.
struct LinePlace {
    U32 line;
    U32 column;
};

/// One policy text as it was read, with its lines.
///
///     SourceText const source("transit.qcf", readFile("transit.qcf"));
///     LinePlace const place = source.placeOf(span.begin);
///
/// The text is well-formed UTF-8 without NUL: the constructor throws a DocumentError with the place
/// of what is not, so that whatever reads it need not ask. Never changes afterwards, but for lines
/// that are found when they are first asked for: used by one thread at a time.
class SourceText {
public:
    SourceText(String name, String text);

    /// As it was named by who asked for it.
    String const & name() const { return name_; }
    std::string_view text() const { return text_; }
    /// The bytes of a span of this text.
    std::string_view textOf(Span const & span) const {
        return text().substr(span.begin, span.end - span.begin);
    }

    /// The place of a byte; of the end of the text, too.
    LinePlace placeOf(U32 offset) const;
    /// The line in which the byte stands, without its end.
    std::string_view lineOf(U32 offset) const;

private:
    void findLines() const;
    /// Characters before the byte.
    std::size_t charactersBefore(std::size_t offset) const;
    /// Number of the line, from 0 on.
    std::size_t lineNumber(U32 offset) const;

    String name_;
    String text_;
    /// Where lines begin; empty until somebody asks. Most texts are right and nobody does.
    mutable std::vector<U32> lines_;
    /// Characters before every so many bytes, found with the lines: a text may be one line.
    mutable std::vector<U32> characters_;
};

/// The texts that are read together: the one that was asked for and those that it imports. A text
/// keeps its number and its place in memory.
class Sources {
public:
    /// Answers its number.
    U32 add(String name, String text) {
        texts_.emplace_back(std::move(name), std::move(text));
        return static_cast<U32>(texts_.size() - 1);
    }
    SourceText const & operator[](U32 file) const { return texts_[file]; }
    std::size_t size() const { return texts_.size(); }

    std::string_view textOf(Span const & span) const { return texts_[span.file].textOf(span); }
    /// `FILE:LINE:COLUMN` of where the span begins.
    String placeText(Span const & span) const;

private:
    std::deque<SourceText> texts_;
};

} // namespace Qcf::Text
