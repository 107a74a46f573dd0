#pragma once

#include "Text/Lexer.h"
#include "Text/Message.h"

#include <optional>
#include <vector>

namespace Qcf::Text {

/// What stands between a pair of brackets, as far as layout asks.
enum class BracketKind : U8 {
    none,   ///< no bracket, or a closing one
    call,   ///< `f(`: arguments, parameters, fields
    group,  ///< any other `(`
    square, ///< `[`
    set,    ///< braces around values
    block,  ///< braces around statements, assertions, or what a test consists of
    list,   ///< braces around entries of a list
    lists,  ///< braces around the lists that a test binds
    route,  ///< braces around keys and values
};

/// Whether each thing between these brackets has a line of its own once they stand over several.
inline bool holdsStatements(BracketKind kind) { return kind >= BracketKind::block; }

/// The tokens of one text with their brackets paired: as much structure as layout needs, of any
/// text whose brackets pair, whether or not it means something.
///
///     auto const tree = TokenTree::read(sources, file, messages);
///     if (tree) {
///         for (U32 i = 0; i < tree->size(); ++i) ... tree->text(i) ...
///
/// Comments stand aside, each with the number of the token that follows it. Lives no longer than
/// the text.
class TokenTree {
public:
    struct Comment {
        Token token;
        U32 before; ///< number of the token that follows; `size()` at the end
    };

    /// Nothing, and an error told, where a token is foreign, brackets do not pair or are nested
    /// deeper than `deepestNesting`, or where what begins is no policy text at all.
    static std::optional<TokenTree> read(Sources const & sources, U32 file, Messages & messages);

    U32 size() const { return static_cast<U32>(tokens_.size()); }
    Token const & operator[](U32 i) const { return tokens_[i]; }
    std::string_view source() const { return source_; }
    std::string_view text(Token const & token) const {
        return source_.substr(token.begin, token.end - token.begin);
    }
    std::string_view text(U32 i) const { return text(tokens_[i]); }

    /// Whether the token is that sign or bare word; past the end it is nothing.
    bool is(U32 i, std::string_view what) const {
        return i < size() && isBare(tokens_[i]) && text(i) == what;
    }
    bool isWord(U32 i) const { return tokens_[i].kind == TokenKind::word; }
    bool isString(U32 i) const { return tokens_[i].kind == TokenKind::string; }
    /// A word or a quoted name.
    bool isName(U32 i) const { return isWord(i) || isString(i); }
    /// A word behind which a `(` is no call's.
    bool isOperatorWord(U32 i) const;

    /// What an opening bracket opens.
    BracketKind kind(U32 i) const { return kinds_[i]; }
    bool opens(U32 i) const { return kinds_[i] != BracketKind::none; }
    bool closes(U32 i) const { return !opens(i) && mates_[i] != i; }
    /// The other bracket of the pair; itself for what is no bracket.
    U32 mate(U32 i) const { return mates_[i]; }

    /// Whether a new statement or entry begins here though no line needs to: behind `;`, and with
    /// an entry of a list. `inside` is what the innermost brackets around the token hold.
    bool separates(U32 i, BracketKind inside) const;

    std::vector<Comment> const & comments() const { return comments_; }

private:
    explicit TokenTree(std::string_view source) : source_(source) {}

    static bool isBare(Token const & token) {
        return token.kind == TokenKind::word || token.kind == TokenKind::sign;
    }
    bool readTokens(Span & wrong);
    bool pairBrackets(U32 file, Messages & messages);
    BracketKind kindOf(U32 i, BracketKind around, std::string_view declaration) const;
    BracketKind kindOfBrace(U32 i, BracketKind around, std::string_view declaration) const;

    std::string_view source_;
    std::vector<Token> tokens_;
    std::vector<Comment> comments_;
    std::vector<U32> mates_;
    std::vector<BracketKind> kinds_;
};

/// Whether the word or sign stands before an operand: what follows it belongs to the same
/// statement, and braces behind it are a set.
bool wantsOperand(std::string_view word);
/// Whether no statement begins with the word or sign: it goes on with what the line before began.
bool continuesStatement(std::string_view word);
/// Whether a declaration begins with the word or sign.
bool beginsDeclaration(std::string_view word);

} // namespace Qcf::Text
