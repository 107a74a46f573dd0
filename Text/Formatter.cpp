#include "Text/Formatter.h"

#include "Platform/Framework/Assert.h"
#include "Text/CommentColumns.h"
#include "Text/LineBreaks.h"
#include "Text/TokenGaps.h"

#include <algorithm>

namespace Qcf::Text {

namespace {

std::string_view withoutBlanksAtEnd(std::string_view comment) {
    return comment.substr(0, comment.find_last_not_of(" \t\r") + 1);
}

/// The columns of the last line of a text.
U64 lastColumn(std::string_view text) { return columnBehind(text.substr(text.rfind('\n') + 1)); }

/// Writes tokens and comments in their order.
class Layout {
public:
    explicit Layout(TokenTree const & tree) : tree_(tree), breaks_(tree) {}

    String write() {
        auto comment = tree_.comments().begin();
        for (U32 i = 0; i <= tree_.size(); ++i) {
            for (; comment != tree_.comments().end() && comment->before == i; ++comment) {
                writeComment(*comment);
            }
            if (i != tree_.size()) {
                writeToken(i);
            }
        }
        text_ += text_.empty() && tree_.comments().empty() ? "" : "\n";
        return comments_.insertInto(text_);
    }

private:
    enum class Last : U8 { nothing, token, opener, comment };

    // The blanks of a comment's line are the columns' to write.
    void writeComment(TokenTree::Comment const & comment) {
        Token const & token = comment.token;
        bool const isBehindCode = !token.startsLine;
        bool const goesOn = isBehindCode || last_ == Last::comment;
        U64 const codeColumn = lastColumn(tree_.source().substr(0, end_));
        if (!isBehindCode) {
            beginLine(token, false);
        }
        U64 const column = lastColumn(tree_.source().substr(0, token.begin));
        comments_.add(
            {.text = withoutBlanksAtEnd(tree_.text(token)),
             .at = text_.size(),
             .code = isBehindCode ? lastColumn(text_) : breaks_.indentOfComment(comment.before),
             .gap = isBehindCode ? column - codeColumn : 0,
             .sourceColumn = column,
             .isBehindCode = isBehindCode,
             .isFirstOfRun = !goesOn || hadEmptyLine_});
        hadEmptyLine_ = false;
        isEmpty_ = false;
        last_ = Last::comment;
        end_ = token.end;
    }

    void writeToken(U32 i) {
        if (breaks_.next(i)) {
            beginLine(tree_[i], tree_.closes(i));
            text_.append(breaks_.indent(), ' ');
        } else if (i != 0) {
            text_.append(blanksBefore(tree_, i, breaks_.inside()), ' ');
        }
        text_ += tree_.text(i);
        isEmpty_ = false;
        last_ = tree_.opens(i) ? Last::opener : Last::token;
        end_ = tree_[i].end;
    }

    void beginLine(Token const & token, bool closes) {
        if (isEmpty_) {
            return;
        }
        std::string_view const gap = tree_.source().substr(end_, token.begin - end_);
        bool const hasEmptyLine = std::ranges::count(gap, '\n') > 1;
        hadEmptyLine_ = hadEmptyLine_ || hasEmptyLine;
        text_ += hasEmptyLine && !closes && last_ != Last::opener ? "\n\n" : "\n";
    }

    TokenTree const & tree_;
    LineBreaks breaks_;
    CommentColumns comments_;
    String text_;
    Last last_ = Last::nothing;
    U32 end_ = 0; ///< of what was written last, in the source
    bool isEmpty_ = true;
    bool hadEmptyLine_ = false; ///< since the last comment
};

/// Whether nothing but blanks differs, and whatever began a line still does.
bool keepsTokens(std::string_view before, std::string_view after) {
    Lexer old(before);
    Lexer laidOut(after);
    for (;;) {
        Token const one = old.next();
        Token const other = laidOut.next();
        std::string_view const text = before.substr(one.begin, one.end - one.begin);
        std::string_view const kept =
            one.kind == TokenKind::comment ? withoutBlanksAtEnd(text) : text;
        bool const isSame = one.kind == other.kind &&
                            kept == after.substr(other.begin, other.end - other.begin) &&
                            (!one.startsLine || other.startsLine);
        if (!isSame || one.kind == TokenKind::end) {
            return isSame;
        }
    }
}

} // namespace

std::optional<String> formatText(Sources const & sources, U32 file, Messages & messages) {
    auto const tree = TokenTree::read(sources, file, messages);
    if (!tree) {
        return std::nullopt;
    }
    String text = Layout(*tree).write();
    // Whoever overwrites a file with it relies on that.
    QCF_ASSERT(keepsTokens(tree->source(), text));
    return text;
}

} // namespace Qcf::Text
