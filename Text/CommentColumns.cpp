#include "Text/CommentColumns.h"

#include <algorithm>

namespace Qcf::Text {

namespace {

constexpr U64 tabWidth = 8;

} // namespace

U64 columnBehind(std::string_view text, U64 from) {
    U64 column = from;
    for (char const c : text) {
        if (c == '\n') {
            column = 0;
        } else if (c == '\t') {
            column += tabWidth - column % tabWidth;
        } else if ((static_cast<unsigned char>(c) & 0xC0U) != 0x80) {
            ++column;
        }
    }
    return column;
}

std::size_t CommentColumns::endOfGroup(std::size_t first) const {
    std::size_t end = first + 1;
    while (end < comments_.size() && !comments_[end].isFirstOfRun &&
           comments_[end].sourceColumn == comments_[first].sourceColumn) {
        ++end;
    }
    return end;
}

// A comment on its own line outside of a group stands where its line is indented to.
std::vector<U64> CommentColumns::columns() const {
    std::vector<U64> columns;
    columns.reserve(comments_.size());
    while (columns.size() < comments_.size()) {
        std::size_t const first = columns.size();
        if (!comments_[first].isBehindCode) {
            columns.push_back(comments_[first].code);
            continue;
        }
        std::size_t const end = endOfGroup(first);
        U64 widest = 0;
        U64 gap = comments_[first].gap;
        for (std::size_t i = first; i < end; ++i) {
            if (comments_[i].isBehindCode) {
                widest = std::max(widest, comments_[i].code);
                gap = std::min(gap, comments_[i].gap);
            }
        }
        columns.resize(end, widest + std::max<U64>(gap, 1));
    }
    return columns;
}

String CommentColumns::insertInto(std::string_view text) const {
    std::vector<U64> const columns = this->columns();
    String result;
    std::size_t done = 0;
    for (std::size_t i = 0; i < comments_.size(); ++i) {
        Comment const & comment = comments_[i];
        result += text.substr(done, comment.at - done);
        U64 const stands = comment.isBehindCode ? comment.code : 0;
        result.append(columns[i] - stands, ' ');
        result += comment.text;
        done = comment.at;
    }
    result += text.substr(done);
    return result;
}

} // namespace Qcf::Text
