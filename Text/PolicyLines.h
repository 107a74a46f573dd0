#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>
#include <utility>
#include <vector>

namespace Qcf::Text {

/// Policy text as it is written, piece by piece and line by line: indented by blocks, and broken
/// where a line gets too long and the language lets it go on in the next one.
///
///     lines.put("if a");
///     lines.breakable();
///     lines.put("or b");
///     lines.put(" ");
///     lines.openBlock(); // "{" and the line's end
///     ...
///     lines.closeBlock(); // "}"
///     lines.endLine();
///
/// Takes time linear in the text. Used by one thread at a time.
class PolicyLines {
public:
    /// Columns that a line takes where it can be broken.
    static constexpr std::size_t width = 120;

    /// Adds to the line what stays together. Holds no line's end but those of quoted texts.
    void put(std::string_view piece) { line_ += piece; }
    /// A blank, or the line's end if the line gets too long: breaks outside of brackets first.
    void breakable();
    /// Between these calls stands what is in brackets.
    void openBracket() { ++depth_; }
    void closeBracket() { --depth_; }

    void endLine();
    /// `{` behind what the line has; what follows stands in lines of its own, one level deeper.
    void openBlock();
    /// `}` at the level outside; the line goes on.
    void closeBlock();

    /// All lines that were ended, which are then forgotten.
    String take() { return std::move(text_); }

private:
    struct Break {
        std::size_t at; ///< of the blank, in the line
        U32 rank;       ///< brackets of the line around it, at most `deepestRank`
    };
    /// A part of the line and the breaks in it.
    struct Piece {
        std::size_t begin;
        std::size_t end;
        std::size_t firstBreak;
        std::size_t lastBreak;
    };
    // More than a few would have the line gone through again and again.
    static constexpr U32 deepestRank = 3;

    void fill(Piece const & whole, U32 rank);
    void place(Piece const & piece, U32 rank, bool isFirst);
    void startLine(std::size_t indentation);
    void append(Piece const & piece);

    String text_;
    String line_;
    std::vector<Break> breaks_;
    std::size_t column_ = 0;
    U32 level_ = 0;
    U32 depth_ = 0;
    U32 depthOfLine_ = 0;
};

} // namespace Qcf::Text
