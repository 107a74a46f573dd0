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

} // namespace

Parameter const * Scope::findParameter(std::string_view name) const {
    auto const found = std::ranges::find(parameters, name, &Parameter::name);
    return found == parameters.end() ? nullptr : &*found;
}

bool Scope::isTaken(std::string_view name) const {
    return findParameter(name) != nullptr || constants.contains(name);
}

Constant const * TextScope::findConstant(std::string_view name) const {
    auto const found = constants.find(name);
    if (found == constants.end()) {
        return nullptr;
    }
    if (found->second.isFaulty) {
        throw Recovery{};
    }
    return &found->second;
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

String suggestName(std::string_view word, Scope const & scope) {
    if (std::string_view const ours = nameOfForeignWord(word); !ours.empty()) {
        return String(ours);
    }
    std::vector<std::string_view> known;
    for (Eval::NodeClass const & nodeClass : Eval::nodeClasses()) {
        if (nodeClass.attribute != nullptr) {
            known.emplace_back(nodeClass.attribute->languageName);
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

String suggestName(std::string_view word) {
    Constants const noConstants;
    DeclaredNames const nothing("");
    Parameters const noParameters;
    return suggestName(word, Scope{{noConstants, nothing}, noParameters});
}

} // namespace Qcf::Text
