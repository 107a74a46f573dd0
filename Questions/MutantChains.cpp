#include "Questions/MutantChains.h"

#include <algorithm>

namespace Qcf::Questions {

using Text::BracketKind;
using Text::TokenTree;

namespace {

/// The words of a chain's neighbourhood that are no part of it.
bool endsChain(TokenTree const & tree, U32 i) {
    return std::ranges::any_of(std::initializer_list<std::string_view>{"if", "else", "return",
                                                                       "exit", "because", ";", ",",
                                                                       "="},
                               [&](std::string_view word) { return tree.is(i, word); });
}

/// Whether a statement begins with the token: in a line of its own, and the line before is done.
bool beginsStatement(TokenTree const & tree, U32 i) {
    return i > 0 && tree[i].startsLine && !Text::continuesStatement(tree.text(i)) &&
           !Text::wantsOperand(tree.text(i - 1));
}

/// Where the chain around an operator begins.
U32 chainBegin(TokenTree const & tree, U32 at) {
    U32 begin = at;
    while (begin > 0 && !beginsStatement(tree, begin)) {
        U32 const before = begin - 1;
        bool const isBlock =
            tree.closes(before) && tree.kind(tree.mate(before)) == BracketKind::block;
        if (tree.opens(before) || isBlock || endsChain(tree, before)) {
            break;
        }
        begin = tree.closes(before) ? tree.mate(before) : before;
    }
    return begin;
}

/// Behind its last token.
U32 chainEnd(TokenTree const & tree, U32 at) {
    U32 end = at + 1;
    while (end < tree.size() && !tree.closes(end) && !endsChain(tree, end) &&
           !beginsStatement(tree, end)) {
        if (tree.opens(end) && tree.kind(end) == BracketKind::block) {
            break;
        }
        end = tree.opens(end) ? tree.mate(end) + 1 : end + 1;
    }
    return end;
}

/// Whether an operator stands between these tokens, outside all brackets.
bool hasOperator(TokenTree const & tree, U32 begin, U32 end) {
    for (U32 i = begin; i < end; i = tree.opens(i) ? tree.mate(i) + 1 : i + 1) {
        if (tree.is(i, "and") || tree.is(i, "or") || tree.is(i, "??")) {
            return true;
        }
    }
    return false;
}

void addGroup(TokenTree const & tree, U32 begin, U32 end, std::vector<Mutant::Piece> & to) {
    if (hasOperator(tree, begin, end)) {
        to.push_back({tree[begin].begin, tree[begin].begin, "("});
        to.push_back({tree[end - 1].end, tree[end - 1].end, ")"});
    }
}

} // namespace

std::optional<Mutant> mutantOfOperator(TokenTree const & tree, U32 at) {
    U32 const begin = chainBegin(tree, at);
    U32 const end = chainEnd(tree, at);
    if (begin >= at || end <= at + 1) {
        return std::nullopt;
    }
    String const to = tree.is(at, "or") ? "and" : "or";
    Mutant mutant{tree[at].begin, String(tree.text(at)), to, {}};
    addGroup(tree, begin, at, mutant.pieces);
    mutant.pieces.push_back({tree[at].begin, tree[at].end, to});
    addGroup(tree, at + 1, end, mutant.pieces);
    return mutant;
}

} // namespace Qcf::Questions
