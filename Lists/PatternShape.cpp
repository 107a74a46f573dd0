#include "Lists/PatternShape.h"

#include <optional>
#include <vector>

/// The expressions of lists are simple, and those that are not need no more than to be known as
/// such. So this reads the few forms that lists are made of, piece by piece, and gives up at any
/// other.
namespace Qcf::Lists {

namespace {

enum class Piece : U8 {
    start,
    boundary,
    literal,
    digits,
    loop,
    counted,
    option,
    open,
    bar,
    close,
    end
};

constexpr std::string_view digitClasses[] = {"\\d", "[0-9]"};

/// Reads off pieces from the front.
class Pieces {
public:
    explicit Pieces(std::string_view expression) : rest_(expression) {
        // Where the text may go on as it likes, nothing is remembered.
        takes(".*");
        for (std::string_view const tail : {".*$", ".*"}) {
            if (rest_.ends_with(tail)) {
                rest_.remove_suffix(tail.size());
                break;
            }
        }
    }

    /// Nothing for what it does not know.
    std::optional<Piece> next() {
        if (rest_.empty()) {
            return Piece::end;
        }
        if (takes(numberBoundary)) {
            return Piece::boundary;
        }
        if (takes("(?:")) {
            return Piece::open;
        }
        for (std::string_view const digits : digitClasses) {
            if (takes(digits)) {
                return Piece::digits;
            }
        }
        char const first = rest_.front();
        return first == '[' ? someDigits() : first == '{' ? count() : single(first);
    }

private:
    bool takes(std::string_view text) {
        bool const isThere = rest_.starts_with(text);
        rest_.remove_prefix(isThere ? text.size() : 0);
        return isThere;
    }
    /// A class of digits and their ranges, or a count of digits, up to what closes it.
    std::optional<Piece> upTo(char closing, std::string_view allowed, Piece piece) {
        std::size_t const length = rest_.find(closing);
        if (length == std::string_view::npos || length < 2 ||
            rest_.substr(1, length - 1).find_first_not_of(allowed) != std::string_view::npos) {
            return std::nullopt;
        }
        rest_.remove_prefix(length + 1);
        return piece;
    }
    std::optional<Piece> someDigits() { return upTo(']', "0123456789-", Piece::digits); }
    std::optional<Piece> count() {
        bool const isOpen = rest_.find(",}") < rest_.find('}');
        return upTo('}', "0123456789,", isOpen ? Piece::loop : Piece::counted);
    }
    std::optional<Piece> single(char first) {
        rest_.remove_prefix(1);
        switch (first) {
        case '^':
            return Piece::start;
        case '$':
        case ' ':
        case ':':
        case ',':
            return Piece::boundary;
        case '(':
            // A question mark makes it another kind of group.
            return rest_.starts_with('?') ? std::nullopt : std::optional(Piece::open);
        case '|':
            return Piece::bar;
        case ')':
            return Piece::close;
        case '*':
        case '+':
            return Piece::loop;
        case '?':
            return Piece::option;
        default:
            bool const isPlain = (first >= '0' && first <= '9') || (first >= 'a' && first <= 'z') ||
                                 (first >= 'A' && first <= 'Z');
            return isPlain ? std::optional(Piece::literal) : std::nullopt;
        }
    }

    std::string_view rest_;
};

bool isBoundary(Piece piece) { return piece == Piece::boundary || piece == Piece::start; }
bool endsAlternative(Piece piece) {
    return piece == Piece::bar || piece == Piece::close || piece == Piece::end;
}

/// Follows the pieces of one expression.
class Shape {
public:
    /// Whether it is still one that can be joined.
    bool takes(Piece piece) {
        bool const isGood = repeatsRightly(piece) && endsRightly(piece) && beginsRightly(piece);
        if (piece == Piece::open) {
            ++depth_;
        }
        if (piece == Piece::close) {
            --depth_;
        }
        digits_ = digits_ || piece == Piece::digits;
        loops_ += piece == Piece::loop ? 1 : 0;
        last_ = piece;
        return isGood;
    }
    Joining joining() const {
        // Of numbers left open in the middle the text may be at any mixture, unless there is one
        // place only where it can have begun.
        bool const isMixed = digits_ && (!beginsAtBoundary_ || (loops_ > 1 && !beginsAtStart_));
        return isMixed ? Joining::alone : digits_ ? Joining::few : Joining::any;
    }

private:
    // Digits alone are repeated: other loops may be anywhere within their text.
    bool repeatsRightly(Piece piece) const {
        bool const isCount = piece == Piece::loop || piece == Piece::counted;
        return isCount                  ? last_ == Piece::digits
               : piece == Piece::option ? last_ == Piece::digits || last_ == Piece::literal
                                        : true;
    }
    // Repeated digits go on to the end of their number: what stood behind them would be looked for
    // at each of them.
    bool endsRightly(Piece piece) {
        if (isOpenEnded_ && !endsAlternative(piece) && !isBoundary(piece)) {
            return false;
        }
        bool const isRepeated = piece == Piece::loop || piece == Piece::counted;
        if (isRepeated) {
            isOpenEnded_ = true;
        } else if (piece == Piece::bar && depth_ > 0) {
            // The other alternatives are behind the same group: its end tells.
            openEndedAlternative_ = openEndedAlternative_ || isOpenEnded_;
            isOpenEnded_ = false;
        } else if (piece == Piece::close) {
            isOpenEnded_ = isOpenEnded_ || openEndedAlternative_;
        } else {
            isOpenEnded_ = false;
        }
        return true;
    }
    bool beginsRightly(Piece piece) {
        bool const isFirst = depth_ == 0 && (last_ == Piece::end || last_ == Piece::bar);
        if (isFirst) {
            beginsAtBoundary_ = beginsAtBoundary_ && isBoundary(piece);
            beginsAtStart_ = beginsAtStart_ && piece == Piece::start;
        }
        return true;
    }

    Piece last_ = Piece::end;
    int depth_ = 0;
    int loops_ = 0;
    bool digits_ = false;
    bool beginsAtBoundary_ = true; ///< so do all alternatives
    bool beginsAtStart_ = true;
    bool isOpenEnded_ = false;          ///< digits were repeated, and nothing came since
    bool openEndedAlternative_ = false; ///< so it was at the end of an alternative of a group
};

} // namespace

Joining joiningOf(std::string_view expression) {
    Pieces pieces(expression);
    Shape shape;
    for (;;) {
        auto const piece = pieces.next();
        if (!piece || !shape.takes(*piece)) {
            return Joining::alone;
        }
        if (*piece == Piece::end) {
            return shape.joining();
        }
    }
}

} // namespace Qcf::Lists
