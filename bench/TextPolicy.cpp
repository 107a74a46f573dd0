#include "bench/TextPolicy.h"

#include "Lists/ListBinding.h"
#include "Platform/Framework/Assert.h"

#include <cstdlib>
#include <iostream>
#include <set>

namespace Qcf::Bench {

namespace {

Text::Policy orEnd(std::optional<Text::Policy> policy, Text::Sources const & sources,
                   Text::Messages const & messages) {
    if (!policy) {
        messages.print(sources, std::cerr);
        std::exit(1);
    }
    return std::move(*policy);
}

} // namespace

TextPolicy::TextPolicy(std::optional<Text::Policy> policy, Text::Sources const & sources,
                       Text::Messages const & messages)
    : policy_(orEnd(std::move(policy), sources, messages)),
      matchers_(Lists::bindLists(policy_.program().slots, policy_.lists(sources).get())) {}

TextPolicy TextPolicy::ofFile(String const & path) {
    Text::Sources sources;
    Text::Messages messages;
    auto policy = Text::readPolicy(path, sources, messages);
    return {std::move(policy), sources, messages};
}

TextPolicy TextPolicy::ofText(String text, String const & name) {
    Text::Sources sources;
    Text::Messages messages;
    auto policy = Text::readPolicyText(std::move(text), name, sources, messages);
    return {std::move(policy), sources, messages};
}

EngineProgram TextPolicy::program(String const & function) const {
    auto const found = policy_.program().find(function);
    QCF_ASSERT(found != nullptr);
    return {found, matchers_, true};
}

std::vector<String> TextPolicy::entries() const {
    Documents::Program const & program = policy_.program();
    std::set<String> called;
    for (auto const & node : program.nodes) {
        if (auto const * const call = Eval::as<Eval::FunctionCallExpression>(*node)) {
            called.insert(call->calleeName());
        }
    }
    std::vector<String> names;
    for (auto const & function : program.functions) {
        bool const isAsked = program.faultOf(*function).eval.empty() &&
                             !function->argumentsExpected() &&
                             !called.contains(function->funcName());
        if (isAsked) {
            names.push_back(function->funcName());
        }
    }
    return names;
}

} // namespace Qcf::Bench
