#include "Watch/TextPlaces.h"

#include "Text/NodeText.h"

namespace Qcf::Watch {

bool TextPlaces::isNegatedInPlace(Eval::AetNodeBase const & node, String const & line) const {
    auto const * const entry = map_.find(node.aetNodeKey());
    auto const * const around = map_.find(node.aetNodeKey() + 1);
    return !leavesFunction(node) && line.find(" not ") != String::npos && entry != nullptr &&
           around != nullptr && around->span.begin == entry->span.begin &&
           around->span.end == entry->span.end;
}

NodePlace TextPlaces::of(Text::Span const & span) const {
    Text::SourceText const & source = sources_[span.file];
    Text::LinePlace const begin = source.placeOf(span.begin);
    Text::LinePlace const end = source.placeOf(span.end);
    return {source.name(), {}, begin.line, begin.column, end.line, end.column};
}

String TextPlaces::line(Text::Span const & span) const {
    std::string_view text = sources_.textOf(span);
    text = text.substr(0, text.find_first_of("\r\n"));
    std::size_t const end = text.find_last_not_of(" \t");
    return String(text.substr(0, end == std::string_view::npos ? 0 : end + 1));
}

NodePlace TextPlaces::of(Eval::AetNodeBase const & node, Eval::Function const & /*within*/) const {
    auto const * const entry = map_.find(node.aetNodeKey());
    return entry == nullptr ? NodePlace() : of(entry->span);
}

// An `if` ends before its block, which may stand on the same line.
String TextPlaces::line(Eval::AetNodeBase const & node, Eval::Function const & within) const {
    auto const * const entry = map_.find(node.aetNodeKey());
    if (entry == nullptr) {
        return within.funcName();
    }
    Text::Span span = entry->span;
    // The test inside `x is not 5` stands where the `not` does, and says the opposite.
    if (isNegatedInPlace(node, line(span))) {
        String const spelled = Text::printNode(node, &within);
        return spelled.substr(0, spelled.find('\n'));
    }
    if (auto const * const branch = Eval::as<Eval::IfExpression>(node)) {
        auto const * const condition = map_.find(branch->condition()->aetNodeKey());
        span.end = condition == nullptr ? span.end : condition->span.end;
    }
    return line(span);
}

String TextPlaces::reason(Eval::AetNodeBase const & node) const {
    auto const * const entry = map_.find(node.aetNodeKey());
    return entry == nullptr ? String() : map_.reasonOf(*entry);
}

} // namespace Qcf::Watch
