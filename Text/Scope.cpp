#include "Text/Scope.h"

#include "Platform/Routing/CommunityText.h"
#include "QcfLib/QcfEval.h"
#include "Text/Cursor.h"
#include "Text/Words.h"

#include <algorithm>

namespace Qcf::Text {

namespace {

using Eval::ArgumentKind;
using Eval::NodeKind;

struct KindWord {
    ArgumentKind kind;
    char const * word;
};
constexpr KindWord kindWords[] = {{ArgumentKind::integer, "int"},
                                  {ArgumentKind::bandwidth, "bandwidth"},
                                  {ArgumentKind::triStateBool, "tristate"},
                                  {ArgumentKind::prefixList, "prefix_list"}};

/// What a constant is where it stands alone. One that is faulty has no elements.
Eval::NodeClass const & classOf(Constant const & constant) {
    bool const ofCommunities =
        !constant.items.empty() && kindOf(constant.items.front().low) == NodeKind::communityValue;
    if (constant.isSet) {
        return ofCommunities ? Eval::nodeClassOf<Eval::CommunitySetImmediate>()
                             : Eval::nodeClassOf<Eval::IntSetImmediate>();
    }
    return constant.items.empty() ? Eval::nodeClassOf<Eval::IntImmediate>()
                                  : immediateOf(constant.items.front().low);
}

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

Constant const * TextScope::constantAt(Cursor const & cursor) const {
    if (cursor.isString()) {
        return findConstant(unquoted(cursor.text()));
    }
    Constant const * const constant = cursor.isWord() ? findConstant(cursor.text()) : nullptr;
    return constant != nullptr && isPlainName(cursor.text()) ? constant : nullptr;
}

void Constants::splice(Cursor & cursor, Span const & at, std::size_t elements) const {
    spliced += elements;
    if (spliced > mostSpliced) {
        cursor.fail(at, "constants",
                    "constants stand for more than " + std::to_string(mostSpliced) +
                        " elements in this text");
    }
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

Eval::NodeClass const & variableClass(ArgumentKind kind) {
    using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its
                          // nodes
    return kind == ArgumentKind::integer        ? nodeClassOf<IntVariable>()
           : kind == ArgumentKind::bandwidth    ? nodeClassOf<BandwidthVariable>()
           : kind == ArgumentKind::triStateBool ? nodeClassOf<TriStateBoolVariable>()
                                                : nodeClassOf<PrefixListVariable>();
}

String suggestName(std::string_view word, Scope const & scope, Fits const & fits) {
    if (std::string_view const ours = nameOfForeignWord(word); !ours.empty()) {
        return String(ours);
    }
    std::vector<std::string_view> known;
    auto const add = [&](std::string_view name, Eval::NodeClass const & nodeClass) {
        if (fits(nodeClass)) {
            known.push_back(name);
        }
    };
    for (Eval::NodeClass const & nodeClass : Eval::nodeClasses()) {
        if (nodeClass.attribute != nullptr) {
            add(nodeClass.attribute->languageName, nodeClass);
        }
    }
    for (Parameter const & parameter : scope.parameters) {
        add(parameter.name, variableClass(parameter.kind));
    }
    for (auto const & [name, constant] : scope.constants) {
        add(name, classOf(constant));
    }
    for (std::string_view const name : wellKnownCommunityNames()) {
        add(name, Eval::nodeClassOf<Eval::IntImmediate>());
    }
    return nearest(word, known);
}

String suggestName(std::string_view word) {
    Constants const noConstants;
    DeclaredNames const nothing("");
    Parameters const noParameters;
    auto const anything = [](Eval::NodeClass const &) { return true; };
    return suggestName(word, Scope{{noConstants, nothing}, noParameters}, anything);
}

} // namespace Qcf::Text
