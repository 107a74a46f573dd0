#include "Text/PolicyLines.h"

#include <algorithm>

namespace Qcf::Text {

namespace {

constexpr std::size_t levelBlanks = 2;

} // namespace

// A line may begin within brackets, behind a block that stands in them, and leave them.
void PolicyLines::breakable() {
    U32 const rank = depth_ > depthOfLine_ ? depth_ - depthOfLine_ : 0;
    breaks_.push_back({line_.size(), std::min(rank, deepestRank)});
    line_ += ' ';
}

void PolicyLines::endLine() {
    std::size_t const indentation = levelBlanks * level_;
    Piece const whole{0, line_.size(), 0, breaks_.size()};
    if (!line_.empty()) {
        startLine(indentation);
        if (indentation + line_.size() <= width) {
            append(whole);
        } else {
            fill(whole, 0);
        }
    }
    text_ += '\n';
    line_.clear();
    breaks_.clear();
    depthOfLine_ = depth_;
}

void PolicyLines::openBlock() {
    put("{");
    endLine();
    ++level_;
}

void PolicyLines::closeBlock() {
    --level_;
    put("}");
}

void PolicyLines::startLine(std::size_t indentation) {
    text_.append(indentation, ' ');
    column_ = indentation;
}

void PolicyLines::append(Piece const & piece) {
    text_.append(line_, piece.begin, piece.end - piece.begin);
    column_ += piece.end - piece.begin;
}

// What stands between breaks of one rank goes side by side as long as it fits.
void PolicyLines::fill(Piece const & whole, U32 rank) {
    Piece piece = whole;
    for (std::size_t at = whole.firstBreak; at < whole.lastBreak; ++at) {
        if (breaks_[at].rank == rank) {
            piece.end = breaks_[at].at;
            piece.lastBreak = at;
            place(piece, rank, piece.begin == whole.begin);
            piece = {piece.end + 1, whole.end, at + 1, whole.lastBreak};
        }
    }
    place(piece, rank, piece.begin == whole.begin);
}

// What is too long for a line by itself is broken within its brackets.
void PolicyLines::place(Piece const & piece, U32 rank, bool isFirst) {
    std::size_t const size = piece.end - piece.begin;
    if (!isFirst && column_ + 1 + size <= width) {
        text_ += ' ';
        ++column_;
    } else if (!isFirst) {
        text_ += '\n';
        startLine(levelBlanks * (level_ + 2 + rank));
    }
    if (column_ + size <= width || rank == deepestRank) {
        append(piece);
    } else {
        fill(piece, rank + 1);
    }
}

} // namespace Qcf::Text
