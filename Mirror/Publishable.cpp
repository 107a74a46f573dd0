#include "Mirror/Publishable.h"

#include "Documents/Program.h"
#include "Mirror/MirrorError.h"
#include "Platform/Render/Utf8.h"
#include "QcfLib/QcfEval.h"

#include <functional>

/// What a status within the process may hold and no batch can tell: classes of the program's own,
/// and trees that no reader would take.
namespace Qcf::Mirror {

String depthWanted() {
    return "tree of at most " + std::to_string(Eval::maximumTreeDepth) + " levels";
}

bool isTooLarge(Eval::AetNodeBase const & node) {
    return node.treeFacts().size > Documents::ProgramLimits::unfoldedNodes;
}

String sizeWanted() {
    return "tree of at most " + std::to_string(Documents::ProgramLimits::unfoldedNodes) +
           " nodes with shared ones counted at each place";
}

void checkPublishable(Eval::AetNodeBase const & node) {
    auto const classes = Eval::nodeClasses();
    Eval::NodeClass const * const nodeClass = &node.typeData();
    // The class may lie anywhere in memory, and < is defined within one array only.
    std::less<> const before;
    if (before(nodeClass, classes.data()) || !before(nodeClass, classes.data() + classes.size())) {
        throw MirrorError("node " + std::to_string(node.aetNodeKey()) +
                          ": its class is none that can be published");
    }
    if (isTooDeep(node)) {
        throw MirrorError(String(nodeClass->name) + " " + std::to_string(node.aetNodeKey()) +
                          " wants a " + depthWanted() + ", found a deeper one");
    }
    if (isTooLarge(node)) {
        throw MirrorError(String(nodeClass->name) + " " + std::to_string(node.aetNodeKey()) +
                          " wants a " + sizeWanted() + ", found a larger one");
    }
}

Eval::Function const & publishableFunction(String const & name,
                                           Eval::FunctionBase const & function) {
    // A name may hold anything; a message is one line.
    constexpr std::size_t longestName = 100;
    if (!Eval::is<Eval::Function>(function)) {
        throw MirrorError("function \"" + oneLine(name, longestName) +
                          "\": its class is none that can be published");
    }
    checkPublishable(function);
    return static_cast<Eval::Function const &>(function);
}

} // namespace Qcf::Mirror
