#include "Documents/IntSpan.h"

#include <string_view>

/// Every answer here may say "possible" where it is not, but never the reverse: remarks are made
/// only about what is certain.
namespace Qcf::Documents {

namespace {

/// The record that has the range of an attribute; values as they came have that of what a function
/// sees.
Eval::AttributeInfo const & rangeOf(Eval::AttributeInfo const & attribute) {
    // Values as they came have no range of their own in the table of attributes, and no other one
    // than what a function sees.
    constexpr std::string_view asItCame = "input.";
    std::string_view const name = attribute.languageName;
    if (!name.starts_with(asItCame)) {
        return attribute;
    }
    auto const * const seen = Eval::findAttribute(name.substr(asItCame.size()));
    return seen == nullptr ? attribute : *seen->attribute;
}

} // namespace

std::optional<IntSpan> IntSpan::of(Eval::Int const & value) {
    if (auto const * const constant = Eval::as<Eval::IntImmediate>(value)) {
        // A magnitude may have all 64 bits; with its sign it needs one more.
        S128 const magnitude = constant->value();
        S128 const number = constant->negative() ? -magnitude : magnitude;
        return IntSpan(number, number);
    }
    if (auto const * const table = Eval::as<Eval::RoaTableImmediate>(value)) {
        return IntSpan(table->number(), table->number());
    }
    if (value.typeData().attribute == nullptr) {
        return std::nullopt;
    }
    Eval::AttributeInfo const & range = rangeOf(*value.typeData().attribute);
    // An attribute without a range may be anything that 64 bits hold.
    IntSpan span(range.min.value_or(0), range.max.value_or(~U64{0}));
    if (range.defaultValue && !span.has(*range.defaultValue)) {
        span.also_ = *range.defaultValue;
    }
    return span;
}

// A comparison takes the magnitude of its left side as it is, and that of a negative constant as
// well.
IntSpan IntSpan::ofLeft(Eval::Int const & value) {
    auto const span = of(value);
    if (!span) {
        return {0, ~U64{0}};
    }
    return span->least_ < 0 ? IntSpan(-span->least_, -span->least_) : *span;
}

// Either span may have a value outside of its bounds: inside the other's bounds, or the same one.
bool IntSpan::meets(IntSpan const & other) const {
    bool const overlap = least_ <= other.most_ && other.least_ <= most_;
    return overlap || (also_ && other.has(*also_)) || (other.also_ && has(*other.also_)) ||
           (also_ && also_ == other.also_);
}

IntSpan IntSpan::asElement() const {
    IntSpan const range = elements();
    S128 const value = std::clamp(least_, range.least_, range.most_);
    return {value, value};
}

String IntSpan::text() const {
    if (isOne()) {
        return least_.str();
    }
    return least_.str() + " to " + most_.str() + (also_ ? " or " + also_->str() : "");
}

} // namespace Qcf::Documents
