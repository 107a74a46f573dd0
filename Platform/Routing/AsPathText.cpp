#include "Platform/Routing/AsPath.h"
#include "Platform/Routing/TextPieces.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <ostream>

/// AS paths as text and back: one table of brackets for both ways, so that they cannot disagree.
namespace Routing::Bgp {

namespace {

/// How a segment that stands in brackets is written.
struct BracketForm {
    SegmentType type;
    char open;
    char close;
    char separator;
};

constexpr std::array<BracketForm, 3> bracketForms{{
    {SegmentType::set, '{', '}', ','},
    {SegmentType::confedSequence, '(', ')', ' '},
    {SegmentType::confedSet, '[', ']', ' '},
}};

// NUL for no bracket.
constexpr BracketForm plainForm{SegmentType::sequence, '\0', '\0', ' '};

// A type that the table does not have is written as a sequence.
BracketForm const & formOf(SegmentType type) {
    auto const found = std::find_if(bracketForms.begin(), bracketForms.end(),
                                    [type](BracketForm const & form) { return form.type == type; });
    return found != bracketForms.end() ? *found : plainForm;
}

// Written in place: patterns make every route's path text, and adding numbers one by one costs as
// much as making their digits.
void appendSegment(String & out, BracketForm const & form, std::span<Asn const> asns) {
    constexpr std::size_t longest = std::numeric_limits<Asn>::digits10 + 1;
    std::size_t const start = out.size();
    out.resize(start + asns.size() * (longest + 1) + 2); // separators, brackets
    char * at = out.data() + start;
    // A sequence has no brackets and its numbers only blanks between them.
    if (form.open != '\0') {
        *at++ = form.open;
    }
    for (std::size_t i = 0; i < asns.size(); ++i) {
        if (i != 0) {
            *at++ = form.separator;
        }
        at = std::to_chars(at, at + longest, asns[i]).ptr;
    }
    if (form.close != '\0') {
        *at++ = form.close;
    }
    out.resize(static_cast<std::size_t>(at - out.data()));
}

// Independent of the locale, which isspace is not.
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

/// Reads the text of a path from its begin to its end into an `AsnVector`. AS numbers of a segment
/// gather apart, since its kind and its end show only later.
class PathReader {
public:
    PathReader(std::string_view text, AsnVector & path) : rest_(text), path_(path) {}

    /// False when the text is no path; the path is then partly filled.
    bool read() {
        for (skipBlanks(); !rest_.empty(); skipBlanks()) {
            auto const form =
                std::find_if(bracketForms.begin(), bracketForms.end(),
                             [this](BracketForm const & f) { return f.open == rest_.front(); });
            if (form == bracketForms.end() ? !readAsn() : !readBrackets(*form)) {
                return false;
            }
        }
        endSegment(SegmentType::sequence);
        return true;
    }

private:
    void skipBlanks() {
        while (!rest_.empty() && isBlank(rest_.front())) {
            rest_.remove_prefix(1);
        }
    }

    /// Takes `c` if it is next, after blanks.
    bool take(char c) {
        skipBlanks();
        if (rest_.empty() || rest_.front() != c) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    void endSegment(SegmentType type) {
        path_.append(type, {asns_.data(), asns_.size()});
        asns_.clear();
    }

    // Plain numbers before the bracket end with it, even if more follow behind.
    bool readBrackets(BracketForm const & form) {
        endSegment(SegmentType::sequence);
        take(form.open);
        do {
            skipBlanks();
            if (!readAsn()) {
                return false;
            }
            // A comma promises another number: a closing bracket behind it is an error.
            bool const comma = take(',');
            if (!comma && take(form.close)) {
                endSegment(form.type);
                return true;
            }
        } while (!rest_.empty());
        return false;
    }

    // Plain decimal, or two halves of 16 bits with a dot (RFC 5396).
    bool readAsn() {
        std::string_view const token =
            rest_.substr(0, std::min(rest_.find_first_not_of("0123456789."), rest_.size()));
        rest_.remove_prefix(token.size());
        std::size_t const dot = token.find('.');
        if (dot == std::string_view::npos) {
            // An empty token is no number either: this is where any other character fails.
            auto const asn = TextPieces::parseDecimal(token, std::numeric_limits<U32>::max());
            asns_.push_back(static_cast<Asn>(asn.value_or(0)));
            return asn.has_value();
        }
        auto const high = TextPieces::parseDecimal(token.substr(0, dot), 0xffff);
        auto const low = TextPieces::parseDecimal(token.substr(dot + 1), 0xffff);
        asns_.push_back(static_cast<Asn>((high.value_or(0) << 16) | low.value_or(0)));
        return high && low;
    }

    std::string_view rest_;
    AsnVector & path_;
    boost::container::small_vector<Asn, 64> asns_; ///< of the segment being read
};

void appendPath(String & out, AsnVector const & path, bool oneConfedForm) {
    bool first = true;
    for (AsPathSegmentView const segment : path) {
        if (!first) {
            out.push_back(' ');
        }
        first = false;
        // Patterns do not tell the two kinds of confederation segments apart.
        SegmentType const shown =
            oneConfedForm && isConfed(segment.type) ? SegmentType::confedSequence : segment.type;
        appendSegment(out, formOf(shown), segment.asns);
    }
}

} // namespace

void appendAsPathText(String & out, AsnVector const & path) { appendPath(out, path, false); }

void appendAsPathPatternText(String & out, AsnVector const & path) { appendPath(out, path, true); }

std::optional<AsnVector> parseAsPath(std::string_view text) {
    AsnVector path;
    if (!PathReader(text, path).read()) {
        return std::nullopt;
    }
    return path;
}

std::ostream & operator<<(std::ostream & out, AsnVector const & path) {
    return out << path.toString();
}

} // namespace Routing::Bgp
