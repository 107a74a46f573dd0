#include "Questions/StatementTexts.h"

#include "Text/NodeText.h"

namespace Qcf::Questions {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// The text without numbers behind an `@`, which are slots of lists: two policies have different
/// ones for the same list.
String withoutSlots(String const & text) {
    auto const isDigit = [](char c) { return c >= '0' && c <= '9'; };
    String kept;
    bool isQuoted = false;
    for (std::size_t at = 0; at < text.size();) {
        char const c = text[at];
        bool const isEscaped = at > 0 && text[at - 1] == '\\';
        isQuoted = c == '"' && !isEscaped ? !isQuoted : isQuoted;
        bool const isSlot = c == '@' && !isQuoted && at + 1 < text.size() && isDigit(text[at + 1]);
        if (!isSlot) {
            kept += c;
            ++at;
            continue;
        }
        do {
            ++at;
        } while (at < text.size() && isDigit(text[at]));
    }
    return kept;
}

} // namespace

// Printed as part of its function, which settles names of parameters.
String const & StatementTexts::whole(Expression const & node, Function const & within) {
    auto const [at, isNew] = known_.try_emplace(Key{&node, &within});
    if (isNew) {
        auto const text = functions_.try_emplace(&within, within).first;
        at->second = withoutSlots(is<Function>(node) ? Text::printNode(node, &within)
                                                     : text->second.node(node));
    }
    return at->second;
}

String const & StatementTexts::head(Expression const & node, Function const & within) {
    static String const nothing;
    if (auto const * const branch = as<IfExpression>(node)) {
        return whole(*branch->condition(), within);
    }
    if (auto const * const function = as<Function>(node)) {
        return function->funcName();
    }
    return is<Block>(node) ? nothing : whole(node, within);
}

} // namespace Qcf::Questions
