#include "Text/TokenGaps.h"

namespace Qcf::Text {

namespace {

/// Whether the blank before the token says something to whoever reads it.
bool isGapKept(TokenTree const & tree, U32 i) {
    if (tree.is(i, "(")) {
        return tree.isName(i - 1) && !tree.isOperatorWord(i - 1);
    }
    return tree.is(i - 1, "@") || (tree.is(i, "@") && (tree.isName(i - 1) || tree.is(i - 1, ")")));
}

bool isInnerEdge(TokenTree const & tree, U32 i, BracketKind kind) {
    return (tree.opens(i - 1) && tree.kind(i - 1) == kind) ||
           (tree.closes(i) && tree.kind(tree.mate(i)) == kind);
}

// Only words stand beside `..` without a blank: signs might become another sign. A word that ends
// in a colon would take in the next one.
bool isTight(TokenTree const & tree, U32 i) {
    if (tree.is(i, ",") || tree.is(i, ";") || isInnerEdge(tree, i, BracketKind::call)) {
        return true;
    }
    if (tree.closes(i) && tree.mate(i) == i - 1) {
        return true;
    }
    if (tree.is(i, ":")) {
        return tree.isName(i - 1) && !tree.text(i - 1).ends_with(':');
    }
    return (tree.is(i, "..") && tree.isWord(i - 1)) || (tree.is(i - 1, "..") && tree.isWord(i));
}

} // namespace

U32 blanksBefore(TokenTree const & tree, U32 i, BracketKind inside) {
    if (isGapKept(tree, i)) {
        return tree[i].afterGap ? 1 : 0;
    }
    if (isTight(tree, i)) {
        return 0;
    }
    bool const isMarked = tree.is(i - 1, ";") || tree.is(i - 1, ",");
    bool const isFamily = tree.is(i, "v4") || tree.is(i, "v6");
    bool const isNextEntry =
        inside == BracketKind::list && tree.separates(i, inside) && !isMarked && !isFamily;
    return isNextEntry ? 2 : 1;
}

} // namespace Qcf::Text
