#include "Questions/NamedReaders.h"

#include "Agent/Routes/RouteAttributes.h"
#include "QcfLib/NodeWalk.h"
#include "Text/FunctionContent.h"

#include <algorithm>
#include <map>

namespace Qcf::Questions {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

std::string_view withoutTwin(std::string_view name) {
    name.remove_prefix(name.starts_with(Agent::inputTwinPrefix) ? Agent::inputTwinPrefix.size()
                                                                : 0);
    return name;
}

bool namesAttribute(NodeClass const & nodeClass, NamedThing const & thing) {
    // Built-in functions read attributes without nodes that stand for them.
    bool const isBuiltIn = nodeClass.isKind(NodeKind::expression);
    int const bit = thing.attribute->attribute->readBit;
    if (isBuiltIn || nodeClass.attribute == nullptr) {
        return isBuiltIn && bit >= 0 && ((nodeClass.facts.reads >> bit) & 1) != 0;
    }
    std::string_view const name = withoutTwin(nodeClass.attribute->languageName);
    bool const isItself = name == withoutTwin(thing.name);
    return isItself || (!thing.isDerived() && thing.routeIndex &&
                        Agent::findRouteSource(name) == thing.routeIndex);
}

bool names(AetNodeBase const & node, NamedThing const & thing) {
    if (!thing.isList()) {
        return namesAttribute(node.typeData(), thing);
    }
    return node.typeData().facts.list && Text::listOf(node).name == thing.name;
}

/// Calls `visit(node, expression)` for each node of the function with the innermost expression in
/// which it stands; functions that it calls are left out. A node that several share is told for
/// each.
template <typename Visit>
void eachNode(Function const & function, Visit const & visit) {
    std::unordered_set<AetNodeBase const *> met;
    std::vector<Expression const *> open;
    auto const isExpression = [](AetNodeBase const & node) {
        return node.typeData().isKind(NodeKind::expression);
    };
    walkTree(
        function,
        [](WalkedNode const & at) {
            return at.field == nullptr || !plays(*at.field, FieldRole::callee);
        },
        [&](WalkedNode const & at) {
            if (isExpression(at.node)) {
                if (!met.insert(&at.node).second) {
                    return false;
                }
                open.push_back(static_cast<Expression const *>(&at.node));
            }
            visit(at.node, *open.back());
            return true;
        },
        [&](AetNodeBase const & node) {
            if (isExpression(node)) {
                open.pop_back();
            }
        });
}

using Callees = std::map<Function const *, std::vector<Function const *>>;

Callees calleesOf(Documents::Program const & program) {
    Callees callees;
    for (auto const & function : program.functions) {
        auto & called = callees[function.get()];
        eachNode(*function, [&](AetNodeBase const & node, Expression const &) {
            auto const * const call = as<FunctionCallExpression>(node);
            bool const isNew = call != nullptr &&
                               std::ranges::find(called, call->calleePtr().get()) == called.end();
            if (isNew) {
                called.push_back(call->calleePtr().get());
            }
        });
    }
    return callees;
}

/// Goes from those that name it to their callers, until nobody is added.
void addCallers(NamedReaders & readers, Documents::Program const & program) {
    Callees const callees = calleesOf(program);
    std::unordered_set<Function const *> reaching;
    for (NamingPlace const & place : readers.places) {
        reaching.insert(place.function);
    }
    for (std::size_t before = 0; before != reaching.size();) {
        before = reaching.size();
        for (auto const & [function, called] : callees) {
            if (std::ranges::any_of(called, [&](auto * each) { return reaching.contains(each); })) {
                reaching.insert(function);
            }
        }
    }
    for (auto const & function : program.functions) {
        bool const isNaming = std::ranges::find(readers.places, function.get(),
                                                &NamingPlace::function) != readers.places.end();
        if (isNaming || !reaching.contains(function.get())) {
            continue;
        }
        auto & caller =
            readers.callers.emplace_back(function.get(), std::vector<Function const *>());
        std::ranges::copy_if(callees.at(function.get()), std::back_inserter(caller.second),
                             [&](auto * each) { return reaching.contains(each); });
    }
}

} // namespace

bool NamedThing::isDerived() const {
    return attribute != nullptr && !Agent::findRouteAttribute(withoutTwin(name));
}

std::optional<NamedThing> thingOf(Documents::Program const & program, String const & name) {
    NamedThing thing{name};
    for (SlotKindInfo const & kind : slotKinds) {
        if (program.slots.of(kind.kind).contains(name)) {
            thing.lists.push_back(kind.kind);
        }
    }
    if (!thing.lists.empty()) {
        return thing;
    }
    thing.attribute = findAttribute(name);
    thing.routeIndex = Agent::findRouteSource(withoutTwin(name));
    return thing.attribute == nullptr ? std::nullopt : std::optional(thing);
}

NamedReaders readersOf(Documents::Program const & program, NamedThing const & thing) {
    NamedReaders readers;
    for (auto const & function : program.functions) {
        std::unordered_set<Expression const *> told;
        eachNode(*function, [&](AetNodeBase const & node, Expression const & in) {
            if (names(node, thing) && told.insert(&in).second) {
                readers.places.push_back({function.get(), &in});
                readers.nodes.insert(&in);
            }
        });
    }
    addCallers(readers, program);
    return readers;
}

} // namespace Qcf::Questions
