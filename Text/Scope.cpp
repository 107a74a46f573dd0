#include "Text/Scope.h"

#include "Platform/Routing/CommunityText.h"
#include "Text/Cursor.h"

#include <algorithm>

namespace Qcf::Text {

namespace {

using Eval::ArgumentKind;

struct KindWord {
    ArgumentKind kind;
    char const * word;
};
constexpr KindWord kindWords[] = {{ArgumentKind::integer, "int"},
                                  {ArgumentKind::bandwidth, "bandwidth"},
                                  {ArgumentKind::triStateBool, "tristate"},
                                  {ArgumentKind::prefixList, "prefix_list"}};

/// What other languages call things, in lower case with `_`, and what they are here.
struct ForeignWord {
    std::string_view foreign;
    std::string_view ours;
};
constexpr ForeignWord foreignWords[] = {
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
    {"self", "set_next_hop_self"},
    {"bgp_path.len", "as_path.length"},
    {"net.len", "prefix.length"},
};

String foldedWord(std::string_view word) {
    String folded;
    for (char const c : word) {
        bool const isUpper = c >= 'A' && c <= 'Z';
        folded += c == '-' ? '_' : isUpper ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return folded;
}

} // namespace

Parameter const * Scope::findParameter(std::string_view name) const {
    auto const found = std::ranges::find(parameters, name, &Parameter::name);
    return found == parameters.end() ? nullptr : &*found;
}

Constant const * Scope::findConstant(std::string_view name) const {
    auto const found = constants.find(name);
    return found == constants.end() ? nullptr : &found->second;
}

char const * parameterWord(ArgumentKind kind) {
    auto const * const found = std::ranges::find(kindWords, kind, &KindWord::kind);
    return found == std::end(kindWords) ? "value" : found->word;
}

std::optional<ArgumentKind> parameterKind(std::string_view word) {
    auto const * const found =
        std::ranges::find_if(kindWords, [&](KindWord const & each) { return each.word == word; });
    return found == std::end(kindWords) ? std::nullopt : std::optional(found->kind);
}

String suggestName(std::string_view word, Scope const & scope,
                   bool (*fits)(Eval::NodeClass const & nodeClass)) {
    String const folded = foldedWord(word);
    for (ForeignWord const & each : foreignWords) {
        if (each.foreign == folded) {
            return String(each.ours);
        }
    }
    std::vector<std::string_view> known;
    for (Eval::NodeClass const & nodeClass : Eval::nodeClasses()) {
        if (nodeClass.attribute != nullptr && (fits == nullptr || fits(nodeClass))) {
            known.push_back(nodeClass.attribute->languageName);
        }
    }
    for (Parameter const & parameter : scope.parameters) {
        known.push_back(parameter.name);
    }
    for (auto const & [name, constant] : scope.constants) {
        known.push_back(name);
    }
    auto const communities = wellKnownCommunityNames();
    known.insert(known.end(), communities.begin(), communities.end());
    return nearest(word, known);
}

} // namespace Qcf::Text
