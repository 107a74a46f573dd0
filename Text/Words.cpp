#include "Text/Words.h"

#include "QcfLib/NodeClass.h"
#include "Text/Lexer.h"
#include "Text/Literal.h"

#include <algorithm>

namespace Qcf::Text {

namespace {

constexpr std::string_view allKeywords[] = {
    "add",
    "all",
    "and",
    "any",
    "as_path_list",
    "bandwidth",
    "bandwidth_bits",
    "because",
    "block",
    "builtin",
    "community_list",
    "const",
    "covered",
    "dynamic_prefix_list",
    "else",
    "empty",
    "exact",
    "exit",
    "expect",
    "ext_community_list",
    "function",
    "has",
    "if",
    "import",
    "in",
    "int",
    "interface",
    "is",
    "large_community_list",
    "lbw",
    "link_bandwidth",
    "list",
    "matches",
    "merge",
    "none",
    "not",
    "or",
    "plain",
    "prefix_list",
    "prepend",
    "ranges",
    "remove",
    "retain",
    "return",
    "ribs",
    "roa_table",
    "route",
    "tag_set",
    "test",
    "tristate",
    "v4",
    "v6",
    "zero",
};
static_assert(std::ranges::is_sorted(allKeywords));

constexpr std::string_view allListWords[] = {
    "accept", "as",   "bind",   "by",        "changes",     "contains", "deny",
    "ends",   "from", "ge",     "le",        "max",         "only",     "permit",
    "reject", "seq",  "starts", "unchanged", "use_default", "vrfs",
};
static_assert(std::ranges::is_sorted(allListWords));

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool isNameCharacter(char c) { return isLetter(c) || (c >= '0' && c <= '9'); }

} // namespace

std::span<std::string_view const> keywords() { return allKeywords; }

std::span<std::string_view const> listWords() { return allListWords; }

bool hasNameShape(std::string_view word) {
    if (word.empty() || !isLetter(word.front()) || !isNameCharacter(word.back())) {
        return false;
    }
    char before = '-';
    for (char const c : word) {
        if (!isNameCharacter(c) && !(c == '-' && before != '-')) {
            return false;
        }
        before = c;
    }
    return true;
}

bool isPlainName(std::string_view word) {
    return hasNameShape(word) && !std::ranges::binary_search(allKeywords, word) &&
           Eval::findAttribute(word) == nullptr && !parseLiteral(word);
}

String nameWord(std::string_view name) { return isPlainName(name) ? String(name) : quoted(name); }

} // namespace Qcf::Text
