#pragma once

#include "Agent/Evaluation/AgentContext.h"
#include "Agent/Routes/JsonLinesWriter.h"
#include "Agent/Routes/RouteJson.h"
#include "Platform/Render/JsonDocument.h"
#include "QcfLib/NodeWalk.h"
#include "Text/Policy.h"
#include "Watch/TextPlaces.h"

#include <sstream>
#include <stdexcept>

namespace Qcf::Questions::test {

/// A policy of a text, ready to be evaluated.
struct TextPolicy {
    explicit TextPolicy(String text)
        : policy(read(std::move(text), sources)),
          lists(policy.lists(sources)),
          matchers(Lists::bindLists(policy.program().slots, lists.get())),
          places(policy.map(), sources) {}

    PtrConst<Eval::Function> function(char const * name) const {
        return policy.program().find(name);
    }

    Text::Sources sources;
    Text::Policy policy;
    PtrConst<Lists::NamedLists> lists;
    PtrConst<ExternalMatchersBase> matchers;
    Watch::TextPlaces places;

private:
    static Text::Policy read(String text, Text::Sources & sources) {
        Text::Messages messages;
        auto policy = Text::readPolicyText(std::move(text), "p.qcf", sources, messages);
        if (!policy) {
            std::ostringstream out;
            messages.print(sources, out);
            throw std::runtime_error(out.str());
        }
        return *std::move(policy);
    }
};

/// Places of a program that has none.
class NoPlaces final : public Watch::NodePlaces {
public:
    Watch::NodePlace of(Eval::AetNodeBase const & /*node*/,
                        Eval::Function const & /*within*/) const override {
        return {};
    }
    String line(Eval::AetNodeBase const & /*node*/,
                Eval::Function const & /*within*/) const override {
        return {};
    }
    String reason(Eval::AetNodeBase const & /*node*/) const override { return {}; }
};

inline Agent::Route routeOf(String const & json) {
    Agent::Route route;
    JsonDocument const document = JsonDocument::parse(json, "route");
    Agent::readRoute(document.root(), route);
    return route;
}

/// The route as who reads its line has it.
inline Agent::Route fedBack(Agent::Route const & route) {
    String line;
    Agent::JsonLinesWriter(line).add(route);
    return routeOf(line);
}

inline Eval::EvalResult evaluated(Eval::Function const & function, Agent::Route const & route,
                                  PtrConst<ExternalMatchersBase> const & matchers) {
    auto const context = makePtr<Agent::AgentContext>(matchers);
    context->routeIs(route);
    return function.eval(Ptr<Eval::EvalContextBase>(context.get()));
}

} // namespace Qcf::Questions::test
