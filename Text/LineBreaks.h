#pragma once

#include "Text/TokenTree.h"

namespace Qcf::Text {

/// Where lines begin once a text is laid out, and how far each is indented. Asked token by token in
/// order:
///
///     LineBreaks breaks(tree);
///     for (U32 i = 0; i < tree.size(); ++i) {
///         U32 const indent = breaks.indentOfComment(i);
///         bool const begins = breaks.next(i);
///         ... breaks.indent() ...
///     }
///
/// The tree must outlive it.
class LineBreaks {
public:
    explicit LineBreaks(TokenTree const & tree);

    /// Goes on to token `i`, the one behind the last; whether it begins a line.
    bool next(U32 i);
    /// Indentation of the line that the token stands in.
    U32 indent() const { return line_.indent; }
    /// What the innermost brackets around the token hold; its own brackets do not count.
    BracketKind inside() const { return inside_; }
    /// Indentation of a comment that has the line before token `i` to itself; `i` is the token that
    /// `next` will be asked for.
    U32 indentOfComment(U32 i) const;

private:
    /// A line of the result.
    struct Line {
        U32 indent = 0;
        bool isWide = false; ///< whether blocks in it must be broken
    };
    struct Open {
        U32 at;
        BracketKind kind;
        bool isBroken; ///< statements have lines of their own
        bool byWidth;  ///< broken because of the line that it stood in
        U32 indent;    ///< of the statement that a block belongs to, of the line of other brackets
        Line line;     ///< in which it stood
    };

    U64 width(U32 i) const;
    void findWidths();
    void findEnds();
    bool mustBreak(U32 i) const;
    void beginLine(U32 i);
    void enter(U32 i);
    U32 indentFor(U32 i) const;
    U32 statementIndent() const;
    bool continues(U32 i) const;
    bool hasLineBreakInside(U32 opener) const;

    TokenTree const & tree_;
    std::vector<U64> columns_; ///< of each token, were all in one line
    std::vector<U32> breaks_;  ///< the first token from here on that began a line in the source
    std::vector<U32> ends_;    ///< the next token that begins a line if this one does
    std::vector<Open> open_;
    Line line_;
    BracketKind inside_ = BracketKind::none;
};

} // namespace Qcf::Text
