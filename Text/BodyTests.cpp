#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"

#include <algorithm>

/// Tests: a value, an operator, and what stands on its right. The left side's type chooses the
/// operator's class.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

constexpr std::string_view testWords[] = {
    "is", "<", "<=", ">", ">=", "in", "has", "all", "covered", "matches"};
constexpr std::string_view negatedWords[] = {"in", "has", "matches", "all", "covered"};
constexpr std::string_view orders[] = {"<", "<=", ">", ">="};

/// A test that has nothing on its right.
struct State {
    std::string_view word;
    std::string_view words;
    char const * askedOf;
};
constexpr State states[] = {{"empty", "is empty", "sets"}, {"zero", "is zero", "addresses"}};

} // namespace

bool BodyParser::startsTest() const {
    auto const isHere = [&](auto word) { return cursor_.is(word); };
    auto const isNext = [&](auto word) { return cursor_.isAhead(word); };
    return std::ranges::any_of(testWords, isHere) ||
           (cursor_.is("not") && std::ranges::any_of(negatedWords, isNext));
}

// Only where a change may stand is one meant; elsewhere '=' was meant to compare.
Draft * BodyParser::valueOrTest(bool mayChange) {
    Draft * const left = value({});
    if (startsChange()) {
        bool const compares = cursor_.is("=") && !(mayChange && purpose_ == Purpose::body);
        if (compares) {
            cursor_.fail(cursor_.here(), "change-as-condition", "'is' compares; '=' is a change");
        }
        refuseInAssertion(cursor_.here());
        if (!mayChange) {
            cursor_.fail(cursor_.here(), "change-as-condition",
                         "a change stands here as a condition; put it in parentheses if that is "
                         "meant");
        }
        return change(left);
    }
    if (startsArithmetic()) {
        bool const isChange = mayChange && left->nodeClass->attribute != nullptr;
        failArithmetic(isChange ? textOf(*left) : "");
    }
    return restOfTest(left);
}

BodyParser::Want BodyParser::wantOf(Draft const & left) const {
    Want want;
    AttributeInfo const * const attribute = left.nodeClass->attribute;
    want.names = attribute != nullptr && !attribute->valueNames.empty() ? attribute : nullptr;
    want.communities = left.isKind(NodeKind::communitySet);
    return want;
}

BodyParser::Want BodyParser::wantBehind(Draft const & left, std::string_view words) const {
    Want want = wantOf(left);
    want.left = left.nodeClass;
    want.words = words;
    return want;
}

Draft * BodyParser::restOfTest(Draft * left) {
    if (left->isKind(NodeKind::expression)) {
        // A raw node may be a whole test.
        return left;
    }
    if (cursor_.is("is")) {
        return isTest(left);
    }
    for (std::string_view const order : orders) {
        if (cursor_.is(order)) {
            Token const at = cursor_.take();
            return compared(left, order, at);
        }
    }
    if (startsTest()) {
        return membership(left);
    }
    if (cursor_.now().kind == TokenKind::foreign && !cursor_.now().startsLine) {
        failForeignSign("an operator");
    }
    return predicate(left);
}

Draft * BodyParser::negated(Draft * test, Token const & first) {
    return tree_.add<NotExpression>(
        {test->span.file, test->span.begin, std::max(first.end, test->span.end)}, {test});
}

Draft * BodyParser::isTest(Draft * left) {
    Token const at = cursor_.take();
    bool const isNegated = cursor_.accept("not");
    auto const * const state =
        std::ranges::find_if(states, [&](State const & each) { return cursor_.is(each.word); });
    Draft * test = nullptr;
    if (state != std::end(states)) {
        Operator const * const row = findLoneOperator(state->words, *left->nodeClass);
        if (row == nullptr) {
            cursor_.fail(cursor_.here(), "type",
                         "'" + String(state->words) + "' asks " + state->askedOf + ", found " +
                             described(*left));
        }
        cursor_.take();
        test = tree_.add(*row->nodeClass, cursor_.since(left->span), {left});
    } else {
        test = compared(left, "is", at);
    }
    return isNegated ? negated(test, at) : test;
}

// The operator was taken; a value is its right side.
Draft * BodyParser::compared(Draft * left, std::string_view words, Token const & at) {
    refuseListName(*left, words, at);
    Draft * const right = value(wantBehind(*left, words));
    refuseRange(*right, words == "in" ? "" : "in ");
    return make(left, words, right, at);
}

// `in`, `has`, `all in`, `covered by`, `matches`, each with `not` before it.
Draft * BodyParser::membership(Draft * left) {
    Token const first = cursor_.now();
    bool const isNegated = cursor_.accept("not");
    Draft * const test = positiveMembership(left);
    return isNegated ? negated(test, first) : test;
}

Draft * BodyParser::positiveMembership(Draft * left) {
    if (cursor_.is("matches")) {
        return matchTest(left);
    }
    Token const at = cursor_.take();
    std::string_view const word = cursor_.text(at);
    if (word == "in") {
        return itemsTest(left, at);
    }
    if (word == "all") {
        cursor_.expect("in", "behind 'all'");
        return compared(left, "all in", at);
    }
    if (word == "covered") {
        cursor_.expect("by", "behind 'covered'");
        return compared(left, "covered by", at);
    }
    if (!cursor_.is("all") && !cursor_.is("any") && !cursor_.is("none")) {
        cursor_.failWanted("'all', 'any' or 'none' behind 'has'");
    }
    String const words = "has " + String(cursor_.text(cursor_.take()));
    return compared(left, words, at);
}

Draft * BodyParser::make(Draft * left, std::string_view words, Draft * right, Token const & at) {
    Operator const * const row = findOperator(words, *left->nodeClass, *right->nodeClass);
    if (row == nullptr) {
        failOperator(left, words, right, at);
    }
    warnOfCommunityKind(*left, *right);
    warnOfCommunityKind(*right, *left);
    return tree_.add(*row->nodeClass, cursor_.since(left->span), {left, right});
}

Draft * BodyParser::predicate(Draft * value) {
    if (!value->isKind(NodeKind::triStateBool)) {
        failNoTest(value);
    }
    return tree_.add<TriStateBoolExpression>(value->span, {value});
}

} // namespace Qcf::Text
