#include "Command/ProgramFile.h"

#include "Platform/Render/Utf8.h"

#include <unordered_set>
#include <vector>

namespace {

using Qcf::Documents::Program;
using Qcf::Eval::AetNodeBase;
using Qcf::Eval::FieldInfo;

std::unordered_set<AetNodeBase const *> nodesBelow(AetNodeBase const & root) {
    std::unordered_set<AetNodeBase const *> seen{&root};
    std::vector<AetNodeBase const *> open{&root};
    auto const visit = [&](FieldInfo const &, AetNodeBase const * child) {
        if (child != nullptr && seen.insert(child).second) {
            open.push_back(child);
        }
    };
    while (!open.empty()) {
        AetNodeBase const & node = *open.back();
        open.pop_back();
        node.typeData().visitChildren(node, visit);
    }
    return seen;
}

} // namespace

PtrConst<Qcf::Eval::Function> findFunction(Qcf::Documents::Program const & program,
                                           String const & document, String const & name) {
    if (auto function = program.find(name)) {
        return function;
    }
    constexpr std::size_t longestName = 200;
    constexpr std::size_t longestList = 2000;
    String known;
    for (auto const & function : program.functions) {
        known += known.empty() ? "" : ", ";
        known += oneLine(function->funcName(), longestName);
        if (known.size() > longestList) {
            known += ", ...";
            break;
        }
    }
    throw DocumentError(document + ": has no function \"" + oneLine(name, longestName) +
                        (known.empty() ? "\", and no other" : "\"; its functions: " + known));
}

Program reachedFrom(PtrConst<Qcf::Eval::Function> const & function, Program const & program) {
    auto const reached = nodesBelow(*function);
    Program part;
    for (auto const & node : program.nodes) {
        if (reached.contains(node.get())) {
            part.nodes.push_back(node);
        }
    }
    for (std::size_t i = 0; i < program.functions.size(); ++i) {
        if (reached.contains(program.functions[i].get())) {
            part.functions.push_back(program.functions[i]);
            part.faults.push_back(program.faults[i]);
        }
    }
    return part;
}
