#include "Lists/Pattern.h"

#include "Lists/PatternShape.h"

#include <algorithm>
#include <utility>

#include <re2/re2.h>

/// Expressions come from people and from documents of others: what one may cost is bounded whatever
/// it says, and it is never changed further than the underscore asks for.
namespace Qcf::Lists {

namespace {

/// Bounds what one expression may cost; ordinary ones need some thousand bytes.
constexpr S64 memoryLimit = S64{8} << 20;

/// What may stand between the AS numbers of a path as patterns see it.
constexpr std::string_view separators = " {}(),";
static_assert(numberBoundary.substr(0, 8) == "(?:^|$|[" &&
              numberBoundary.substr(8, separators.size()) == separators);

// The library would tell standard error of a bad expression; that is done here, with its place.
re2::RE2::Options searchOptions() {
    re2::RE2::Options made;
    made.set_log_errors(false);
    made.set_max_mem(memoryLimit);
    return made;
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

/// The text that an expression wants at the start and nothing else ("^65000:"), the commonest of
/// lists of communities; empty for any other expression.
std::string_view prefixWanted(std::string_view expression) {
    constexpr std::string_view plain = "0123456789abcdefghijklmnopqrstuvwxyz:, ";
    bool const isPrefix = expression.starts_with('^') &&
                          expression.find_first_not_of(plain, 1) == std::string_view::npos;
    return isPrefix ? expression.substr(1) : std::string_view();
}

/// What patterns keep: every one of theirs is of this class.
class Compiled final : public re2::RE2 {
public:
    explicit Compiled(std::string_view expression)
        : RE2(re2::StringPiece(expression.data(), expression.size()), searchOptions()),
          prefix_(prefixWanted(expression)) {}

    bool isPrefix() const { return !prefix_.empty(); }
    // Asked without the library's look at what is to be extracted: nothing is.
    bool isIn(std::string_view text) const {
        re2::StringPiece const piece(text.data(), text.size());
        return isPrefix() ? text.starts_with(prefix_)
                          : Match(piece, 0, piece.size(), UNANCHORED, nullptr, 0);
    }

private:
    String prefix_;
};

} // namespace

Pattern::Pattern(std::string_view expression)
    : compiled_(std::make_shared<Compiled const>(expression)) {
    if (!compiled_->ok()) {
        throw PatternError(compiled_->error());
    }
}

bool Pattern::foundIn(std::string_view text) const {
    return static_cast<Compiled const &>(*compiled_).isIn(text);
}

namespace {

/// Instructions of what is joined at most; ordinary patterns have some ten to hundred.
constexpr int largestJoin = 4000;
/// Patterns with open digits in it at most: within a number the text may be in many of them at
/// once.
constexpr int mostOpen = 64;

/// What only begins a text is found faster by itself.
Joining joiningOfPattern(Compiled const & pattern) {
    return pattern.isPrefix() ? Joining::alone : joiningOf(pattern.pattern());
}

/// The parts as one, or as they are where that is too large: all are good each by itself. One is
/// compiled already.
std::vector<Pattern> joinedOrEach(std::vector<Pattern> parts, String const & joined) {
    if (parts.size() > 1) {
        try {
            return {Pattern(joined)};
        } catch (PatternError const &) {
            return parts;
        }
    }
    return parts;
}

} // namespace

// Alternatives in an order of no matter: it is only asked whether one of them is there.
PatternSet::PatternSet(std::vector<Pattern> const & patterns) {
    std::vector<Pattern> parts;
    String joined;
    int size = 0;
    int open = 0;
    auto const close = [&] {
        for (Pattern & search : joinedOrEach(std::exchange(parts, {}), joined)) {
            searches_.push_back(std::move(search));
        }
        joined.clear();
        size = 0;
        open = 0;
    };
    for (Pattern const & pattern : patterns) {
        auto const & compiled = static_cast<Compiled const &>(*pattern.compiled_);
        Joining const joining = joiningOfPattern(compiled);
        if (joining == Joining::alone) {
            searches_.push_back(pattern);
            continue;
        }
        int const opens = joining == Joining::few ? 1 : 0;
        if (!parts.empty() &&
            (size + compiled.ProgramSize() > largestJoin || open + opens > mostOpen)) {
            close();
        }
        parts.push_back(pattern);
        joined += (joined.empty() ? "(?:" : "|(?:") + compiled.pattern() + ")";
        size += compiled.ProgramSize();
        open += opens;
    }
    close();
}

bool PatternSet::anyFoundIn(std::string_view text) const {
    return std::any_of(searches_.begin(), searches_.end(),
                       [&](Pattern const & pattern) { return pattern.foundIn(text); });
}

// One pass from left to right that knows only where it is in a class and what is to be copied. The
// group does not capture: nobody asks for what it matched.
String asPathExpression(std::string_view expression) {
    String translated;
    bool inClass = false;
    while (!expression.empty()) {
        std::size_t taken = verbatimLength(expression, inClass);
        if (taken == 0 && expression.front() == '_') {
            translated += inClass ? separators : numberBoundary;
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
