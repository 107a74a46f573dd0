#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"

/// Sets in braces and lists of numbers in brackets.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

// A set constant in a set is spliced into it.
void BodyParser::constantElements(Constant const & constant, Span const & span,
                                  std::vector<Draft *> & elements) {
    constant.isUsed = true;
    scope_.constants.splice(cursor_, span, constant.items.size());
    for (ConstantItem const & item : constant.items) {
        if (item.high) {
            cursor_.fail(span, "range",
                         "'" + constant.name + "' has a range, which stands in 'in { ... }' alone");
        }
        elements.push_back(literalAt(item.low, span));
    }
}

void BodyParser::elements(Want const & want, std::string_view end,
                          std::vector<Draft *> & elements) {
    while (!cursor_.is(end)) {
        Constant const * const constant = scope_.constantAt(cursor_);
        if (constant != nullptr && constant->isSet) {
            Span const span = cursor_.here();
            cursor_.take();
            constantElements(*constant, span, elements);
        } else {
            elements.push_back(value(want));
        }
        if (cursor_.is("..")) {
            cursor_.fail(cursor_.here(), "range", "a range stands in 'in { ... }' alone");
        }
        if (!cursor_.accept(",") && !cursor_.is(end)) {
            cursor_.failWanted(end == "}" ? "',' or the end of the set"
                                          : "',' or the end of the list");
        }
    }
}

Draft * BodyParser::setOf(Want const & want) {
    Token const open = cursor_.take();
    Cursor::Level const level(cursor_);
    std::vector<Draft *> members;
    Want ofElement = want;
    ofElement.element = true;
    elements(ofElement, "}", members);
    cursor_.expect("}");
    return setLiteral(members, cursor_.since(open), want.communities);
}

// What the first element is, all are.
Draft * BodyParser::setLiteral(std::vector<Draft *> const & members, Span const & span,
                               bool communities) {
    bool const ofCommunities =
        members.empty() ? communities : members.front()->isKind(NodeKind::communityValue);
    for (Draft const * const member : members) {
        bool const isCommunity = member->isKind(NodeKind::communityValue);
        if (!isCommunity && !member->isKind(NodeKind::int_)) {
            cursor_.fail(member->span, "type",
                         "a set holds integers or communities, found " + described(*member));
        }
        if (isCommunity != ofCommunities) {
            failType(ofCommunities ? "CommunityValue" : "Int", *member,
                     "the elements of a set are of one type");
        }
    }
    // An empty literal has no chain.
    DraftField const chain = members.empty() ? DraftField() : DraftField(DraftChain(members));
    return ofCommunities ? tree_.add<CommunitySetImmediate>(span, {chain})
                         : tree_.add<IntSetImmediate>(span, {chain});
}

Draft * BodyParser::intList() {
    Token const open = cursor_.take();
    Cursor::Level const level(cursor_);
    std::vector<Draft *> members;
    elements({.element = true}, "]", members);
    for (Draft const * const member : members) {
        wantKind(*member, NodeKind::int_, "Int");
    }
    cursor_.expect("]");
    DraftField const chain = members.empty() ? DraftField() : DraftField(DraftChain(members));
    return tree_.add<IntListImmediate>(cursor_.since(open), {chain});
}

} // namespace Qcf::Text
