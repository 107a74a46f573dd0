#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"
#include "Text/Words.h"

#include <algorithm>

/// Values: attributes, parameters, constants and literals.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

Draft * BodyParser::value(Want const & want) {
    if (cursor_.is("{")) {
        return setOf(want);
    }
    if (cursor_.is("[")) {
        return intList();
    }
    if (cursor_.is("@")) {
        return raw();
    }
    if (cursor_.isString()) {
        return text(want);
    }
    if (!cursor_.isWord()) {
        failForeignSign("a value");
    }
    if (Draft * const draft = keywordValue()) {
        return draft;
    }
    return word(want);
}

// A parameter's name, a constant's, a list's, or an interface's.
Draft * BodyParser::text(Want const & want) {
    if (Constant const * const constant = scope_.constantAt(cursor_)) {
        return constantValue(*constant, want);
    }
    Token const token = cursor_.take();
    Span const span = cursor_.spanOf(token);
    String const content = unquoted(cursor_.text(token));
    if (Parameter const * const parameter = scope_.findParameter(content)) {
        return variable(*parameter, span);
    }
    if (want.prefixLists) {
        return openPrefixList(token);
    }
    return tree_.add<InterfaceImmediate>(span, {content});
}

// Value names win over other names where they may stand. What is called as an attribute is, stands
// in quotes.
Draft * BodyParser::word(Want const & want) {
    Token const token = cursor_.now();
    std::string_view const text = cursor_.text();
    Span const span = cursor_.here();
    if (want.names != nullptr) {
        auto const names = want.names->valueNames;
        auto const found = std::ranges::find(names, text);
        if (found != names.end()) {
            cursor_.take();
            return literalAt(Integer{static_cast<U64>(found - names.begin()), false}, span);
        }
    }
    Parameter const * const parameter = scope_.findParameter(text);
    if (parameter != nullptr && isPlainName(text)) {
        cursor_.take();
        return variable(*parameter, span);
    }
    if (Constant const * const constant = scope_.constantAt(cursor_)) {
        return constantValue(*constant, want);
    }
    if (NodeClass const * const attribute = findAttribute(text)) {
        return attributeValue(*attribute);
    }
    if (auto const literal = parseLiteral(text)) {
        cursor_.take();
        return literalAt(*literal, span);
    }
    if (want.prefixLists && isPlainName(text) && !cursor_.isAhead("(")) {
        cursor_.take();
        return openPrefixList(token);
    }
    failUnknown(token, want);
}

Draft * BodyParser::attributeValue(NodeClass const & attribute) {
    Token const token = cursor_.take();
    if (cursor_.is("(") && !cursor_.now().afterGap) {
        cursor_.fail(cursor_.spanOf(token), "call-as-value",
                     "'" + String(cursor_.text(token)) +
                         "' is an attribute: it stands without ( )");
    }
    return tree_.add(attribute, cursor_.spanOf(token));
}

Draft * BodyParser::constantValue(Constant const & constant, Want const & want) {
    Span const span = cursor_.here();
    cursor_.take();
    constant.isUsed = true;
    if (!constant.isSet) {
        return literalAt(constant.items.front().low, span);
    }
    std::vector<Draft *> elements;
    constantElements(constant, span, elements);
    return setLiteral(elements, span, want.communities);
}

Draft * BodyParser::literalAt(Literal const & literal, Span const & span) {
    return tree_.addLiteral(literal, span);
}

Draft * BodyParser::variable(Parameter const & parameter, Span const & span) {
    parameter.isUsed = true;
    return tree_.add(variableClass(parameter.kind), span, {parameter.name, U64{parameter.index}});
}

Draft * BodyParser::keywordValue() {
    struct Form {
        std::string_view word;
        Draft * (BodyParser::*read)();
    };
    static constexpr Form forms[] = {
        {"merge", &BodyParser::merge},
        {"bandwidth_bits", &BodyParser::bandwidthBits},
        {"link_bandwidth", &BodyParser::linkBandwidth},
        {"lbw", &BodyParser::lbw},
        {"ribs", &BodyParser::ribs},
        {"roa_table", &BodyParser::roaTable},
        {"interface", &BodyParser::interface},
    };
    for (Form const & form : forms) {
        if (cursor_.is(form.word)) {
            return (this->*form.read)();
        }
    }
    if (cursor_.is("v4") || cursor_.is("v6")) {
        return prefixList(cursor_.is("v4") ? SlotKind::v4PrefixList : SlotKind::v6PrefixList);
    }
    return cursor_.is("dynamic_prefix_list") ? prefixList(SlotKind::dynamicPrefixList) : nullptr;
}

String BodyParser::name(char const * what) {
    if (cursor_.isString()) {
        return unquoted(cursor_.text(cursor_.take()));
    }
    if (!cursor_.isWord() || !isPlainName(cursor_.text())) {
        cursor_.failWanted(String("the name of ") + what);
    }
    return String(cursor_.text(cursor_.take()));
}

U64 BodyParser::number(char const * what, U64 most) {
    auto const literal = cursor_.isWord() ? parseLiteral(cursor_.text()) : std::nullopt;
    auto const * const integer = literal ? std::get_if<Integer>(&*literal) : nullptr;
    if (integer == nullptr || integer->negative || integer->magnitude > most) {
        cursor_.failWanted(String(what) + " from 0 to " + std::to_string(most));
    }
    cursor_.take();
    return integer->magnitude;
}

} // namespace Qcf::Text
