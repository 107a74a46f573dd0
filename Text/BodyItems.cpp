#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"

/// `in` with a set of items: single values, ranges, and constants that stand for both.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

// One set of items; a range makes it the class with ranges.
Draft * BodyParser::itemsTest(Draft * left, Token const & at) {
    bool const isWithRanges = cursor_.accept("ranges");
    Token const first = cursor_.now();
    Items items;
    if (cursor_.accept("{")) {
        Cursor::Level const level(cursor_);
        Want want = wantOf(*left);
        want.element = true;
        readItems(want, items);
        cursor_.expect("}");
    } else if (isWithRanges) {
        cursor_.failWanted("'{' behind 'ranges'");
    } else if (!takeSetConstant(items)) {
        return compared(left, "in", at);
    }
    Span const span = cursor_.since(first);
    if (isWithRanges || !items.lows.empty()) {
        return rangesTest(left, items, span, at);
    }
    bool const ofCommunities = left->isKind(NodeKind::communityValue);
    return make(left, "in", setLiteral(items.singles, span, ofCommunities), at);
}

Draft * BodyParser::rangesTest(Draft * left, Items const & items, Span const & span,
                               Token const & at) {
    if (!left->isKind(NodeKind::int_)) {
        cursor_.fail(cursor_.spanOf(at), "type",
                     "ranges are asked of Int, found " + described(*left));
    }
    Draft * const test = tree_.add<IntInImmediateSetWithRanges>(cursor_.since(left->span), {left});
    if (!items.singles.empty()) {
        Draft * const singles = setLiteral(items.singles, span, false);
        wantKind(*singles, NodeKind::intSet, "IntSet");
        test->fields[1] = singles;
    }
    if (!items.lows.empty()) {
        test->at(FieldRole::lowerBounds) =
            tree_.add<IntListImmediate>(span, {DraftChain(items.lows)});
        test->at(FieldRole::upperBounds) =
            tree_.add<IntListImmediate>(span, {DraftChain(items.highs)});
    }
    return test;
}

void BodyParser::readItems(Want const & want, Items & items) {
    while (!cursor_.is("}")) {
        if (!takeSetConstant(items)) {
            item(want, items);
        }
        if (!cursor_.accept(",") && !cursor_.is("}")) {
            cursor_.failWanted("',' or the end of the set");
        }
    }
}

void BodyParser::item(Want const & want, Items & items) {
    Draft * const low = value(want);
    if (!cursor_.accept("..")) {
        items.singles.push_back(low);
        return;
    }
    Draft * const high = value(want);
    checkRange(*low, *high);
    items.lows.push_back(low);
    items.highs.push_back(high);
}

bool BodyParser::takeSetConstant(Items & items) {
    Constant const * const constant = scope_.constantAt(cursor_);
    if (constant == nullptr || !constant->isSet) {
        return false;
    }
    Span const span = cursor_.here();
    cursor_.take();
    constant->isUsed = true;
    scope_.constants.splice(cursor_, span, constant->items.size());
    for (ConstantItem const & each : constant->items) {
        (each.high ? items.lows : items.singles).push_back(literalAt(each.low, span));
        if (each.high) {
            items.highs.push_back(literalAt(*each.high, span));
        }
    }
    return true;
}

void BodyParser::checkRange(Draft const & low, Draft const & high) {
    for (Draft const * const end : {&low, &high}) {
        if (!end->isKind(NodeKind::int_)) {
            cursor_.fail(end->span, "type", "a range is of Int, found " + described(*end));
        }
    }
    bool const areConstants = low.nodeClass == &nodeClassOf<IntImmediate>() &&
                              high.nodeClass == &nodeClassOf<IntImmediate>();
    if (areConstants && !std::get<bool>(low.fields[1]) && !std::get<bool>(high.fields[1]) &&
        std::get<U64>(low.fields[0]) > std::get<U64>(high.fields[0])) {
        cursor_.warn(low.span, "empty-range", "the range is empty: it ends before it begins");
    }
}

} // namespace Qcf::Text
