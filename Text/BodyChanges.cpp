#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"
#include "Text/Words.h"

#include <algorithm>

/// Changes: an attribute, an operator that writes, and a value or a list.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

constexpr std::string_view changeWords[] = {"+=", "-=",  "*=",     "prepend",
                                            "=",  "add", "remove", "retain"};
constexpr NodeKind modifiableKinds[] = {
    NodeKind::intModifiable,          NodeKind::ipAddressModifiable,
    NodeKind::asPathModifiable,       NodeKind::intSetModifiable,
    NodeKind::communitySetModifiable, NodeKind::resolutionRibsModifiable};
constexpr SlotKind changingKinds[] = {SlotKind::commList, SlotKind::extCommList,
                                      SlotKind::largeCommList, SlotKind::asPathAccessList,
                                      SlotKind::tagSet};

} // namespace

bool BodyParser::startsChange() const {
    return std::ranges::any_of(changeWords, [&](auto word) { return cursor_.is(word); });
}

Draft * BodyParser::change(Draft * left) {
    Token const at = cursor_.take();
    refuseInAssertion(cursor_.spanOf(at));
    String words(cursor_.text(at));
    if (words == "add" && cursor_.accept("plain")) {
        words += " plain";
    }
    if (std::ranges::none_of(modifiableKinds, [&](NodeKind kind) { return left->isKind(kind); })) {
        failReadOnly(*left);
    }
    bool const isOfSet = left->isKind(NodeKind::intSet) || left->isKind(NodeKind::communitySet);
    if (isOfSet && isListName() && words != "add plain") {
        return makeList(left, words, at);
    }
    AttributeInfo const * const attribute = left->nodeClass->attribute;
    if (isOfSet && cursor_.is("(") && attribute != nullptr && attribute->lists) {
        cursor_.failWanted("a set or a " + String(listKindWord(*attribute->lists)));
    }
    Draft * const right = value(wantBehind(*left, words));
    if (startsArithmetic()) {
        failArithmetic(words == "=" && textOf(*right) == textOf(*left) ? textOf(*left) : "");
    }
    return make(left, words, right, at);
}

bool BodyParser::isListName() const {
    bool const isKind = std::ranges::any_of(
        changingKinds, [&](SlotKind kind) { return cursor_.is(listKindWord(kind)); });
    if (isKind) {
        return true;
    }
    return cursor_.isString()
               ? !scope_.isTaken(unquoted(cursor_.text()))
               : cursor_.isWord() && isPlainName(cursor_.text()) && !scope_.isTaken(cursor_.text());
}

void BodyParser::failReadOnly(Draft const & left) {
    String const text = textOf(left);
    constexpr std::string_view input = "input.";
    if (left.nodeClass->attribute == nullptr) {
        cursor_.fail(left.span, "read-only",
                     "only attributes can be changed, found " + described(left));
    }
    if (text.starts_with(input)) {
        cursor_.fail(left.span, "input",
                     "'" + text + "' is the route as it came and cannot be changed",
                     text.substr(input.size()));
    }
    cursor_.fail(left.span, "read-only", "'" + text + "' cannot be changed");
}

} // namespace Qcf::Text
