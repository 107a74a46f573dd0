#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>
#include <vector>

namespace Qcf::Text {

/// Columns that a text takes when it begins in column `from`, counted from 0: one a code point,
/// tabs to the next multiple of eight; of a text over several lines, those of its last line.
U64 columnBehind(std::string_view text, U64 from = 0);

/// Puts comments behind code into columns: those that stood in one column stand in one again, as
/// far from the widest of their lines as the nearest of them was. A comment on a line of its own
/// that directly follows such a one in its column stays in it.
class CommentColumns {
public:
    /// A comment in a text that has no comments behind code yet.
    struct Comment {
        std::string_view text;
        std::size_t at;   ///< byte of the text where it is to stand
        U64 code;         ///< columns of the line before it, blanks at its end not counted
        U64 gap;          ///< columns between it and the code in the source; of its own line, 0
        U64 sourceColumn; ///< where it stood
        bool isBehindCode;
        bool isFirstOfRun; ///< an empty line, or code that has no comment below one, stands before
    };

    void add(Comment const & comment) { comments_.push_back(comment); }

    /// The text with the comments in it.
    String insertInto(std::string_view text) const;

private:
    std::vector<U64> columns() const;
    std::size_t endOfGroup(std::size_t first) const;

    std::vector<Comment> comments_;
};

} // namespace Qcf::Text
