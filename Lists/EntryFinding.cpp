#include "Lists/EntryFinding.h"

#include <utility>

namespace Qcf::Lists {

namespace {

using Kind = EntryFinding::Kind;

/// An anchor is lone where what stands beside it leaves only the ends of the text: not as an
/// alternative of its own, and not beside what takes any text.
bool isLone(std::string_view pattern, std::size_t at) {
    std::string_view const before = pattern.substr(0, at);
    std::string_view const behind = pattern.substr(at + 1);
    bool const begins =
        before.empty() || before.ends_with('(') || before.ends_with('|') || before.ends_with("(?:");
    bool const ends = behind.empty() || behind.starts_with(')') || behind.starts_with('|');
    bool const isFree = before.ends_with(".*") || behind.starts_with(".*");
    return !(begins && ends) && !isFree;
}

} // namespace

EntryFinding coveredEntry(String pointer, char const * what, U64 own, U64 earlier) {
    return {Kind::coveredEntry, std::move(pointer),
            "the entry with " + String(what) + ' ' + std::to_string(own) +
                " never decides, the one with " + what + ' ' + std::to_string(earlier) +
                " covers it"};
}

bool EntryFinding::holdsFor(ListQuestions const & asked) const {
    if (kind == Kind::anchoredPattern) {
        return asked.matches;
    }
    if (kind == Kind::foreignPattern) {
        return true;
    }
    bool const isAsked = asked.matches || asked.single || asked.exact || asked.unites;
    ListQuestions const all = isAsked ? asked : ListQuestions{true, true, true, true};
    return (idleIn.matches || !all.matches) && (idleIn.single || !all.single) &&
           (idleIn.exact || !all.exact) && (idleIn.unites || !all.unites);
}

// Escapes, quotations and bracketed classes have no anchors.
bool hasLoneAnchor(std::string_view pattern) {
    if (pattern == "^$") { // no communities at all
        return false;
    }
    bool inClass = false;
    bool inQuotation = false;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        std::string_view const rest = pattern.substr(at);
        if (inQuotation) {
            inQuotation = !rest.starts_with("\\E");
        } else if (rest.front() == '\\') {
            inQuotation = rest.starts_with("\\Q");
            ++at;
        } else if (inClass) {
            inClass = rest.front() != ']';
        } else if (rest.front() == '[') {
            inClass = true;
            at += rest.starts_with("[^]")                            ? 2
                  : rest.starts_with("[^") || rest.starts_with("[]") ? 1
                                                                     : 0;
        } else if ((rest.front() == '^' || rest.front() == '$') && isLone(pattern, at)) {
            return true;
        }
    }
    return false;
}

bool wantsForeignLetter(std::string_view pattern, std::string_view letters) {
    if (pattern.find('|') != std::string_view::npos ||
        pattern.find("(?") != std::string_view::npos) {
        return false;
    }
    bool inClass = false;
    U32 inGroup = 0;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        char const c = pattern[at];
        char const next = at + 1 < pattern.size() ? pattern[at + 1] : '\0';
        if (c == '\\') {
            ++at;
        } else if (inClass) {
            inClass = c != ']';
        } else if (c == '[') {
            inClass = true;
            at += next == ']' || next == '^' ? 1 : 0;
        } else if (c == '(' || c == ')') {
            inGroup += c == '(' ? 1 : 0;
            inGroup -= c == ')' && inGroup != 0 ? 1 : 0;
        } else if (((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) && inGroup == 0) {
            bool const isOptional = next == '*' || next == '?' || next == '{';
            if (!isOptional && letters.find(c) == std::string_view::npos) {
                return true;
            }
        }
    }
    return false;
}

} // namespace Qcf::Lists
