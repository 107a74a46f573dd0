#include "Text/TokenTree.h"

#include "Platform/Render/Utf8.h"
#include "Text/Cursor.h"
#include "Text/Words.h"

#include <algorithm>

namespace Qcf::Text {

namespace {

constexpr std::string_view declarations[] = {"@", "const", "function", "import", "list", "test"};

constexpr std::string_view operatorSigns[] = {"*=", "+=", "-=", "..", ":", "<",
                                              "<=", "=",  ">",  ">=", "??"};
/// Beside the operators: what an expression follows, and `changes only`, `covered by`.
constexpr std::string_view wordsBeforeOperands[] = {"by", "exit", "if", "only", "return"};
/// Likewise: what an operand is followed by.
constexpr std::string_view wordsBehindOperands[] = {"because", "by"};

template <typename Words>
bool contains(Words const & sorted, std::string_view word) {
    return std::ranges::binary_search(sorted, word);
}

constexpr std::size_t longestShown = 60;

Message error(Span const & span, String text) {
    return {span, Severity::error, "syntax", std::move(text)};
}

char closerOf(std::string_view opener) { return opener == "{" ? '}' : opener == "(" ? ')' : ']'; }

} // namespace

bool wantsOperand(std::string_view word) {
    return contains(operatorSigns, word) || contains(operatorWords(), word) ||
           contains(wordsBeforeOperands, word);
}

bool continuesStatement(std::string_view word) {
    return contains(operatorSigns, word) || contains(wordsBehindOperands, word) ||
           (contains(operatorWords(), word) && word != "not");
}

bool beginsDeclaration(std::string_view word) { return contains(declarations, word); }

std::optional<TokenTree> TokenTree::read(Sources const & sources, U32 file, Messages & messages) {
    TokenTree tree(sources[file].text());
    Span wrong{file, 0, 0};
    if (!tree.readTokens(wrong)) {
        std::string_view const found = sources.textOf(wrong);
        messages.add(error(wrong, found.starts_with('"')
                                      ? "a text without its closing quote"
                                      : "'" + oneLine(found, longestShown) +
                                            "' is nothing that a policy text has"));
        return std::nullopt;
    }
    // Documents, and files of another kind whose tokens happen to be ours.
    if (tree.size() != 0 && !beginsDeclaration(tree.text(0))) {
        messages.add(error({file, tree[0].begin, tree[0].end},
                           "a policy text begins with a declaration, found '" +
                               oneLine(tree.text(0), longestShown) + "'"));
        return std::nullopt;
    }
    return tree.pairBrackets(file, messages) ? std::optional(std::move(tree)) : std::nullopt;
}

bool TokenTree::readTokens(Span & wrong) {
    Lexer lexer(source_);
    for (Token token = lexer.next(); token.kind != TokenKind::end; token = lexer.next()) {
        if (token.kind == TokenKind::foreign) {
            wrong = {wrong.file, token.begin, token.end};
            return false;
        }
        if (token.kind == TokenKind::comment) {
            comments_.push_back({token, size()});
        } else {
            tokens_.push_back(token);
        }
    }
    return true;
}

bool TokenTree::pairBrackets(U32 file, Messages & messages) {
    std::vector<U32> open;
    std::string_view declaration;
    auto const fail = [&](U32 i, String text) {
        messages.add(error({file, tokens_[i].begin, tokens_[i].end}, std::move(text)));
        return false;
    };
    kinds_.assign(tokens_.size(), BracketKind::none);
    mates_.resize(tokens_.size());
    for (U32 i = 0; i < size(); ++i) {
        mates_[i] = i;
        if (open.empty() && isWord(i) && beginsDeclaration(text(i))) {
            declaration = text(i);
        }
        if (is(i, "{") || is(i, "(") || is(i, "[")) {
            if (open.size() == deepestNesting) {
                return fail(i, "nested deeper than " + std::to_string(deepestNesting) + " levels");
            }
            kinds_[i] =
                kindOf(i, open.empty() ? BracketKind::none : kinds_[open.back()], declaration);
            open.push_back(i);
        } else if (is(i, "}") || is(i, ")") || is(i, "]")) {
            if (open.empty()) {
                return fail(i, "'" + String(text(i)) + "' closes nothing");
            }
            char const wanted = closerOf(text(open.back()));
            if (text(i)[0] != wanted) {
                return fail(i, String("wants '") + wanted + "', found '" + String(text(i)) + "'");
            }
            mates_[i] = open.back();
            mates_[open.back()] = i;
            open.pop_back();
        }
    }
    return open.empty() ||
           fail(open.back(), "nothing closes this '" + String(text(open.back())) + "'");
}

bool TokenTree::isOperatorWord(U32 i) const {
    constexpr std::string_view words[] = {"and",  "or",   "not", "if", "return",
                                          "exit", "else", "is",  "in", "block"};
    return std::ranges::any_of(words, [&](std::string_view word) { return is(i, word); });
}

BracketKind TokenTree::kindOf(U32 i, BracketKind around, std::string_view declaration) const {
    if (is(i, "[")) {
        return BracketKind::square;
    }
    if (is(i, "(")) {
        bool const isCall =
            i != 0 && isName(i - 1) && !isOperatorWord(i - 1) && !tokens_[i].afterGap;
        return isCall ? BracketKind::call : BracketKind::group;
    }
    return kindOfBrace(i, around, declaration);
}

// What stands before and around tells braces apart, without reading what is between them.
BracketKind TokenTree::kindOfBrace(U32 i, BracketKind around, std::string_view declaration) const {
    std::string_view const before = i == 0 ? std::string_view() : text(i - 1);
    switch (around) {
    case BracketKind::none:
        return declaration == "const"  ? BracketKind::set
               : declaration == "list" ? BracketKind::list
                                       : BracketKind::block;
    case BracketKind::lists:
        return BracketKind::list;
    case BracketKind::list:
        return before == "v4" || before == "v6" ? BracketKind::list : BracketKind::set;
    case BracketKind::route:
        return before == "session" ? BracketKind::route : BracketKind::set;
    case BracketKind::set:
        return BracketKind::set;
    default:
        break;
    }
    if (before == "route" || before == "bind") {
        return before == "bind" ? BracketKind::lists : BracketKind::route;
    }
    bool const startsValue = before == "(" || before == "[" || before == ",";
    return startsValue || wantsOperand(before) ? BracketKind::set : BracketKind::block;
}

bool TokenTree::separates(U32 i, BracketKind inside) const {
    if (i == 0 || closes(i)) {
        return false;
    }
    if (is(i - 1, ";")) {
        return true;
    }
    if (inside != BracketKind::list || opens(i - 1)) {
        return false;
    }
    if (is(i, "permit") || is(i, "deny")) {
        return i < 2 || !is(i - 2, "seq");
    }
    bool const isFamily = (is(i, "v4") || is(i, "v6")) && is(i + 1, "{");
    // A prefix that no action stands before is an entry of a ROA table.
    bool const isBarePrefix = isWord(i) && text(i).find('/') != std::string_view::npos &&
                              !is(i - 1, "permit") && !is(i - 1, "deny");
    return is(i, "seq") || isFamily || isBarePrefix;
}

} // namespace Qcf::Text
