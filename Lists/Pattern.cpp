#include "Lists/Pattern.h"

#include <re2/re2.h>

/// Expressions come from people and from documents of others: what one may cost is bounded whatever
/// it says, and it is never changed further than the underscore asks for.
namespace Qcf::Lists {

namespace {

/// Bounds what one expression may cost; ordinary ones need some thousand bytes.
constexpr S64 memoryLimit = S64{8} << 20;

// What may stand between the AS numbers of a path as patterns see it.
constexpr std::string_view separators = " {}(),";

// The library would tell standard error of a bad expression; that is done here, with its place.
re2::RE2::Options options() {
    re2::RE2::Options options;
    options.set_log_errors(false);
    options.set_max_mem(memoryLimit);
    return options;
}

/// Parts of an expression in which an underscore is no wildcard, by what opens and closes them.
struct Verbatim {
    std::string_view opening;
    std::string_view closing;
};
constexpr Verbatim verbatims[] = {
    {"\\Q", "\\E"}, {"\\p{", "}"}, {"\\P{", "}"}, {"(?P<", ">"}, {"[:", ":]"},
};

/// Length of what stands at the front of `rest` and is to be copied as it is; 0 for nothing.
std::size_t verbatimLength(std::string_view rest, bool inClass) {
    for (auto const & [opening, closing] : verbatims) {
        // A class of characters ends neither quotations nor groups, and has names of its own.
        bool const possible = opening.front() == '\\' || (opening == "[:") == inClass;
        if (possible && rest.starts_with(opening)) {
            auto const end = rest.find(closing, opening.size());
            return end == std::string_view::npos ? rest.size() : end + closing.size();
        }
    }
    return rest.front() == '\\' ? std::min<std::size_t>(rest.size(), 2) : 0;
}

/// Length of the opening of a bracketed class: a `]` right behind it is a member.
std::size_t classOpening(std::string_view rest) {
    std::size_t const behind = rest.starts_with("[^") ? 2 : 1;
    return rest.substr(behind).starts_with("]") ? behind + 1 : behind;
}

} // namespace

Pattern::Pattern(std::string_view expression)
    : compiled_(std::make_shared<re2::RE2 const>(
          re2::StringPiece(expression.data(), expression.size()), options())) {
    if (!compiled_->ok()) {
        throw PatternError(compiled_->error());
    }
}

bool Pattern::foundIn(std::string_view text) const {
    return re2::RE2::PartialMatch(re2::StringPiece(text.data(), text.size()), *compiled_);
}

// One pass from left to right that knows only where it is in a class and what is to be copied. The
// group does not capture: nobody asks for what it matched.
String asPathExpression(std::string_view expression) {
    String translated;
    bool inClass = false;
    while (!expression.empty()) {
        std::size_t taken = verbatimLength(expression, inClass);
        if (taken == 0 && expression.front() == '_') {
            translated += inClass ? "" : "(?:^|$|[";
            translated += separators;
            translated += inClass ? "" : "])";
            expression.remove_prefix(1);
            continue;
        }
        if (taken == 0 && !inClass && expression.front() == '[') {
            inClass = true;
            taken = classOpening(expression);
        } else if (taken == 0) {
            inClass = inClass && expression.front() != ']';
            taken = 1;
        }
        translated += expression.substr(0, taken);
        expression.remove_prefix(taken);
    }
    return translated;
}

} // namespace Qcf::Lists
