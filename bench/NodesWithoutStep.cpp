#include "bench/NodesWithoutStep.h"

#include "Platform/Framework/DumpContext.h"
#include "QcfLib/Plan.h"

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <vector>

namespace Qcf::Bench {

namespace {

/// "17 IpPrefixCoveredBy, 1 IntIs" of names with keys.
String byClass(std::set<String> const & names) {
    std::map<String, U32> counts;
    for (String const & name : names) {
        ++counts[name.substr(0, name.find('#'))];
    }
    std::vector<std::pair<U32, String>> classes;
    classes.reserve(counts.size());
    for (auto const & [name, count] : counts) {
        classes.emplace_back(count, name);
    }
    std::stable_sort(classes.begin(), classes.end(),
                     [](auto const & a, auto const & b) { return a.first > b.first; });
    String text;
    for (auto const & [count, name] : classes) {
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + name;
    }
    return text;
}

using Nodes = std::vector<Eval::AetNodeBase const *>;

/// Every node of a function and of those that it calls, each once.
Nodes nodesOf(Eval::Function const & function) {
    Nodes nodes;
    Nodes open{&function};
    std::set<Eval::AetNodeBase const *> seen;
    while (!open.empty()) {
        auto const & node = *open.back();
        open.pop_back();
        if (!seen.insert(&node).second) {
            continue;
        }
        nodes.push_back(&node);
        node.typeData().visitChildren(
            node, [&](Eval::FieldInfo const &, Eval::AetNodeBase const * child) {
                if (child != nullptr) {
                    open.push_back(child);
                }
            });
    }
    return nodes;
}

/// Nodes by name, class and key, as a plan's text has them: " 7 node as condition [IntIs#12]".
struct PlanNodes {
    std::set<String> withoutStep;
    std::set<String> all;
};

PlanNodes nodesOfPlan(Eval::Function const & function) {
    String text;
    function.planFor(function).dump(
        makePtr<DumpContext>([&text](std::string_view piece) { text += piece; }));
    PlanNodes nodes;
    std::istringstream lines(text);
    for (String line; std::getline(lines, line);) {
        std::size_t const open = line.rfind('[');
        if (open == String::npos) {
            continue;
        }
        std::istringstream words(line);
        String number;
        String kind;
        words >> number >> kind;
        std::istringstream names(line.substr(open + 1, line.find(']', open) - open - 1));
        for (String name; names >> name;) {
            nodes.all.insert(name);
            if (kind == "node") {
                nodes.withoutStep.insert(name);
            }
        }
    }
    return nodes;
}

} // namespace

String nodesWithoutStep(Eval::Function const & function) {
    Nodes const nodes = nodesOf(function);
    std::map<String, Eval::AetNodeBase const *> byName;
    for (auto const * const node : nodes) {
        byName.emplace(referenceText(*node), node);
    }
    // A callee that is not inlined has a plan of its own. One that is stands in its caller's.
    std::set<String> without;
    std::set<Eval::Function const *> asked;
    std::vector<Eval::Function const *> open{&function};
    while (!open.empty()) {
        auto const & next = *open.back();
        open.pop_back();
        if (!asked.insert(&next).second) {
            continue;
        }
        PlanNodes const names = nodesOfPlan(next);
        without.insert(names.withoutStep.begin(), names.withoutStep.end());
        for (String const & name : names.all) {
            auto const found = byName.find(name);
            auto const * const call = found == byName.end()
                                          ? nullptr
                                          : Eval::as<Eval::FunctionCallExpression>(*found->second);
            if (call != nullptr && call->calleePtr()) {
                open.push_back(call->calleePtr().get());
            }
        }
    }
    return byClass(without);
}

} // namespace Qcf::Bench
