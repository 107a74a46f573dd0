#include "Command/ProgramFile.h"

#include "Platform/Render/NearestWord.h"
#include "Platform/Render/Utf8.h"
#include "QcfLib/NodeWalk.h"

#include <unordered_set>

namespace {

using Qcf::Documents::Program;
using Qcf::Eval::AetNodeBase;

/// The node and all below it, called functions with theirs. A node that was met is not entered
/// again, so that shared trees are walked once.
std::unordered_set<AetNodeBase const *> nodesFrom(AetNodeBase const & root) {
    std::unordered_set<AetNodeBase const *> nodes;
    walkTree(root, [&](Qcf::Eval::WalkedNode const & at) { return nodes.insert(&at.node).second; });
    return nodes;
}

} // namespace

// A misspelt name is the usual fault, so that the known ones are told; a document may have
// thousands, and a line is to stay one that can be read.
void failFunction(String const & subject, String const & name, std::vector<String> const & known) {
    constexpr std::size_t longestName = 200;
    constexpr std::size_t longestList = 2000;
    String const meant =
        didYouMean(name, std::vector<std::string_view>(known.begin(), known.end()));
    String names;
    for (String const & each : known) {
        names += names.empty() ? "" : ", ";
        names += oneLine(each, longestName);
        if (names.size() > longestList) {
            names += ", ...";
            break;
        }
    }
    throw DocumentError(subject + ": has no function \"" + oneLine(name, longestName) + '"' +
                        (names.empty()   ? ", and no other"
                         : meant.empty() ? "; its functions: " + names
                                         : meant + " Its functions: " + names));
}

PtrConst<Qcf::Eval::Function> findFunction(Qcf::Documents::Program const & program,
                                           String const & document, String const & name) {
    if (auto function = program.find(name)) {
        return function;
    }
    std::vector<String> known;
    for (auto const & function : program.functions) {
        known.push_back(function->funcName());
    }
    failFunction(document, name, known);
}

// The order of the program is kept, since it has children before parents. Slots and lists are left
// out: what is made here is written and not evaluated.
Program reachedFrom(PtrConst<Qcf::Eval::Function> const & function, Program const & program) {
    auto const reached = nodesFrom(*function);
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
