#include "Text/Slips.h"

#include <algorithm>

namespace Qcf::Text {

namespace {

constexpr char const * accepts =
    "write 'return true' (this function) or 'exit true' (the whole evaluation)";
constexpr char const * refuses =
    "write 'return false' (this function) or 'exit false' (the whole evaluation)";
constexpr char const * noVariables =
    "there are no variables; 'const' names a value above the functions";
constexpr char const * noLoops = "there are no loops; sets are asked with 'has any', 'has all'";
constexpr char const * noCase = "there is no 'case' and no 'switch'; write 'if ... else if ...'";

constexpr char const * noOutput =
    "nothing is written; 'because WORD' behind an answer gives its reason";
constexpr char const * noJumps = "there are no jumps; what is done stands in the '{ }' of an 'if'";
constexpr char const * isTest = "a test stands in an 'if': 'if prefix matches NAME { ... }'";

constexpr Slip statementSlips[] = {
    {"accept", "verdict", accepts, ""},
    {"pass", "verdict", accepts, ""},
    {"permit", "verdict", accepts, ""},
    {"reject", "verdict", refuses, ""},
    {"drop", "verdict", refuses, ""},
    {"deny", "verdict", refuses, ""},
    {"elif", "foreign", "'elif' is written 'else if', behind the block's '}'", "else if"},
    {"elsif", "foreign", "'elsif' is written 'else if', behind the block's '}'", "else if"},
    {"elseif", "foreign", "'elseif' is written 'else if', behind the block's '}'", "else if"},
    {"then", "foreign", "a condition is followed by '{'; there is no 'then'", "{"},
    {"else", "foreign", "'else' stands behind the '}' of an 'if'", ""},
    {"unless", "foreign", "there is no 'unless'; write 'if not'", "if not"},
    {"set", "foreign", "nothing stands before the attribute: 'local_preference = 200'", ""},
    {"let", "foreign", noVariables, "const"},
    {"var", "foreign", noVariables, "const"},
    {"int", "foreign", noVariables, "const"},
    {"bool", "foreign", noVariables, "const"},
    {"string", "foreign", noVariables, "const"},
    {"bandwidth", "foreign", noVariables, "const"},
    {"tristate", "foreign", noVariables, "const"},
    {"case", "foreign", noCase, "if"},
    {"switch", "foreign", noCase, "if"},
    {"print", "foreign", noOutput, ""},
    {"log", "foreign", noOutput, ""},
    {"match", "foreign", isTest, "if"},
    {"call", "foreign", "a call is the function's name: 'NAME()'", ""},
    {"goto", "foreign", noJumps, ""},
    {"continue", "foreign", noJumps, ""},
    {"next", "foreign", noJumps, ""},
    {"on-match", "foreign", noJumps, ""},
    {"for", "foreign", noLoops, ""},
    {"while", "foreign", noLoops, ""},
};

constexpr char const * inFunction = "statements stand in a function: 'function NAME() { ... }'";
constexpr char const * prefixes =
    "prefixes are listed by 'list prefix_list NAME v4 { permit 10.0.0.0/8 le 24 }'";
constexpr char const * otherLists =
    "lists are 'list community_list NAME { permit { 65000:1 } }' and "
    "'list as_path_list NAME { permit contains { 174 } }'";

constexpr Slip declarationSlips[] = {
    {"filter", "declaration", "a filter is a function: 'function NAME() { ... }'", "function"},
    {"policy", "declaration", "a policy is a function: 'function NAME() { ... }'", "function"},
    {"route-map", "declaration", "a route map is a function: 'function NAME() { ... }'",
     "function"},
    {"match", "declaration", isTest, ""},
    {"if", "declaration", inFunction, ""},
    {"return", "declaration", inFunction, ""},
    {"set", "declaration", inFunction, ""},
    {"ip", "declaration", prefixes, "list prefix_list"},
    {"ipv6", "declaration", prefixes, "list prefix_list"},
    {"prefix-list", "declaration", prefixes, "list prefix_list"},
    {"bgp", "declaration", otherLists, "list"},
    {"community-list", "declaration", otherLists, "list community_list"},
    {"as-path", "declaration", otherLists, "list as_path_list"},
    {"def", "declaration", "a function begins with 'function'", "function"},
    {"define", "declaration", "a value with a name is 'const NAME = ...'", "const"},
    {"include", "declaration", "another file is read by 'import \"FILE\"'", "import"},
    {"prefix_list", "declaration", "a list begins with 'list'", "list prefix_list"},
    {"dynamic_prefix_list", "declaration", "a list begins with 'list'", "list dynamic_prefix_list"},
    {"community_list", "declaration", "a list begins with 'list'", "list community_list"},
    {"ext_community_list", "declaration", "a list begins with 'list'", "list ext_community_list"},
    {"large_community_list", "declaration", "a list begins with 'list'",
     "list large_community_list"},
    {"as_path_list", "declaration", "a list begins with 'list'", "list as_path_list"},
    {"tag_set", "declaration", "a list begins with 'list'", "list tag_set"},
    {"roa_table", "declaration", "a list begins with 'list'", "list roa_table"},
};

constexpr char const * comments = "a comment begins with '#'";

constexpr Slip signSlips[] = {
    {"==", "foreign", "'is' compares; '==' is not of this language", "is"},
    {"!=", "foreign", "'is not' compares; '!=' is not of this language", "is not"},
    {"<>", "foreign", "'is not' compares; '<>' is not of this language", "is not"},
    {"=~", "foreign", "'=~' is not of this language; a list is asked with 'matches'", "matches"},
    {"~", "foreign", "'~' is not of this language; a list is asked with 'matches'", "matches"},
    {"&&", "foreign", "'and' joins tests; '&&' is not of this language", "and"},
    {"||", "foreign", "'or' joins tests; '||' is not of this language", "or"},
    {"!", "foreign", "'not' negates; '!' is not of this language", "not"},
    {":=", "foreign", "'=' changes; ':=' is not of this language", "="},
    {":", "foreign", "a condition is followed by '{'; there is no ':'", "{"},
    {"//", "foreign", comments, "#"},
    {"/*", "foreign", comments, "#"},
    {"\xe2\x89\xa4", "foreign", "'\xe2\x89\xa4' is not of this language", "<="},
    {"\xe2\x89\xa5", "foreign", "'\xe2\x89\xa5' is not of this language", ">="},
    {"\xe2\x89\xa0", "foreign", "'\xe2\x89\xa0' is not of this language", "is not"},
};

struct Pair {
    std::string_view foreign;
    char const * ours;
};

constexpr Pair arithmetic[] = {{"+", "+="}, {"++", "+="}, {"-", "-="},
                               {"*", "*="}, {"/", ""},    {"%", ""}};

/// Several of a word stand in the order of their use.
constexpr Pair foreignOperators[] = {
    {"contains", "has any"},  {"contains", "matches"},
    {"contain", "has any"},   {"contain", "matches"},
    {"includes", "has any"},  {"includes", "matches"},
    {"equals", "is"},         {"eq", "is"},
    {"eq", "matches"},        {"match", "matches"},
    {"within", "covered by"}, {"delete", "remove"},
    {"append", "add"},        {"append", "prepend"},
    {"additive", "add"},      {"filter", "retain"},
    {"filter", "matches"},    {"set", "="},
};

/// In lower case with `_`.
constexpr Pair foreignNames[] = {
    {"local_pref", "local_preference"},
    {"localpref", "local_preference"},
    {"bgp_local_pref", "local_preference"},
    {"preference", "local_preference"},
    {"bgp_path", "as_path"},
    {"aspath", "as_path"},
    {"path", "as_path"},
    {"bgp_community", "community"},
    {"communities", "community"},
    {"standard_community", "community"},
    {"bgp_large_community", "large_community"},
    {"bgp_ext_community", "ext_community"},
    {"extcommunity", "ext_community"},
    {"ext_communities", "ext_community"},
    {"large_communities", "large_community"},
    {"bgp_med", "med"},
    {"metric", "med"},
    {"bgp_origin", "origin"},
    {"bgp_next_hop", "next_hop"},
    {"nexthop", "next_hop"},
    {"net", "prefix"},
    {"network", "prefix"},
    {"nlri", "prefix"},
    {"tag", "igp.tag"},
    {"peer_as", "source_session.remote.as"},
    {"neighbor_as", "source_session.remote.as"},
    {"roa_check", "match_origin_as_validity"},
    {"self", "set_next_hop_self()"},
    {"bgp_path.len", "as_path.length"},
    {"bgp_path.last", "as_path.origin_as"},
    {"as_path.len", "as_path.length"},
    {"net.len", "prefix.length"},
    {"prefix.len", "prefix.length"},
    {"community.len", "community.count"},
    {"community.length", "community.count"},
    {"next_hop_self", "set_next_hop_self()"},
};

template <std::size_t count>
Slip const * find(Slip const (&slips)[count], std::string_view found) {
    auto const * const slip = std::ranges::find(slips, found, &Slip::found);
    return slip == std::end(slips) ? nullptr : slip;
}

template <std::size_t count>
char const * find(Pair const (&pairs)[count], std::string_view foreign) {
    auto const * const pair = std::ranges::find(pairs, foreign, &Pair::foreign);
    return pair == std::end(pairs) ? nullptr : pair->ours;
}

String folded(std::string_view word) {
    String text(word);
    for (char & c : text) {
        bool const isUpper = c >= 'A' && c <= 'Z';
        c = c == '-' ? '_' : isUpper ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
}

std::string_view orEmpty(char const * text) { return text == nullptr ? "" : text; }

} // namespace

Slip const * findStatementSlip(std::string_view word) { return find(statementSlips, word); }
Slip const * findDeclarationSlip(std::string_view word) { return find(declarationSlips, word); }
Slip const * findSignSlip(std::string_view sign) { return find(signSlips, sign); }
char const * changeOfSign(std::string_view sign) { return find(arithmetic, sign); }

std::vector<std::string_view> operatorsOfForeignWord(std::string_view word) {
    std::vector<std::string_view> ours;
    for (Pair const & pair : foreignOperators) {
        if (pair.foreign == word) {
            ours.emplace_back(pair.ours);
        }
    }
    return ours;
}
std::string_view nameOfForeignWord(std::string_view word) {
    return orEmpty(find(foreignNames, folded(word)));
}

} // namespace Qcf::Text
