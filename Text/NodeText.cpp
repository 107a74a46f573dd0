#include "Text/NodeText.h"

#include "QcfLib/NodeWalk.h"
#include "Text/NodePrinter.h"
#include "Text/Printer.h"

#include <unordered_set>

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// What the text of a node depends on that stands below it.
struct Surroundings {
    /// Those that it calls, each once.
    std::vector<PtrConst<Function>> callees;
    std::vector<PrintedVariable> variables;
};

// A callee's own body is of no interest.
Surroundings surroundingsOf(AetNodeBase const & root) {
    Surroundings found;
    std::unordered_set<AetNodeBase const *> met;
    walkTree(root, [&](WalkedNode const & at) {
        if (!met.insert(&at.node).second || (&at.node != &root && is<Function>(at.node))) {
            return false;
        }
        if (auto const * const call = as<FunctionCallExpression>(at.node)) {
            found.callees.push_back(call->calleePtr());
        }
        if (at.node.typeData().fieldOf(FieldRole::argumentIndex) != nullptr) {
            found.variables.push_back(variableOf(at.node));
        }
        return true;
    });
    return found;
}

/// A function of that statement alone: what it calls is seen as it calls it.
PtrConst<Function> functionOf(Expression const & statement) {
    auto list = expressionListFactory(1, PtrConst<Expression>(&statement), nullptr);
    return functionFactory(1, "", FunctionMetadata(), Routing::Policy::RouteMapFeatures(),
                           AccessibleAttributes(), false, blockFactory(1, std::move(list)));
}

} // namespace

Signature Signature::of(std::vector<PrintedVariable> variables) {
    Signature signature;
    signature.parameters_ = std::move(variables);
    return signature;
}

void NodePrinter::node(Node const & node) {
    NodeClass const & nodeClass = node.typeData();
    if (nodeClass.isKind(NodeKind::expression)) {
        statement(static_cast<Expression const &>(node));
    } else if (nodeClass.isKind(NodeKind::logicalOperator)) {
        put(nodeClass.facts.words);
    } else if (nodeClass.facts.isLink) {
        entries(node);
    } else {
        value(node);
    }
}

void NodePrinter::entries(Node const & first) {
    for (Node const * link = &first; link != nullptr;) {
        Node const * next = nullptr;
        link->typeData().visitChildren(*link, [&](FieldInfo const & field, Node const * child) {
            if (plays(field, FieldRole::next)) {
                next = child;
            } else if (child != nullptr) {
                separate(link == &first);
                this->node(*child);
            }
        });
        link = next;
    }
}

namespace {

String nodeText(AetNodeBase const & node, PrintedProgram const & printed,
                Signature const & signature) {
    PolicyLines lines;
    NodePrinter(printed, signature, lines).node(node);
    lines.endLine();
    String text = lines.take();
    text.resize(text.find_last_not_of('\n') + 1);
    return text;
}

} // namespace

String printNode(AetNodeBase const & node, Function const * within) {
    Surroundings around = surroundingsOf(node);
    Documents::Program program;
    program.functions = std::move(around.callees);
    if (auto const * const function = as<Function>(node)) {
        program.functions.emplace_back(function);
        return printPolicy(program, *function);
    }
    if (within != nullptr) {
        program.functions.emplace_back(within);
    } else if (node.typeData().isKind(NodeKind::expression)) {
        program.functions.push_back(functionOf(static_cast<Expression const &>(node)));
    }
    PrintedProgram const printed(program);
    Signature const signature = within != nullptr ? printed.signatureOf(*within)
                                                  : Signature::of(std::move(around.variables));
    return nodeText(node, printed, signature);
}

struct FunctionText::Printed {
    explicit Printed(Function const & within) : program(programOf(within)), printed(program) {}

    static Documents::Program programOf(Function const & within) {
        Documents::Program program;
        program.functions = surroundingsOf(within).callees;
        program.functions.emplace_back(&within);
        return program;
    }

    Documents::Program program;
    PrintedProgram printed;
};

FunctionText::FunctionText(Function const & within)
    : printed_(std::make_unique<Printed const>(within)) {}
FunctionText::~FunctionText() = default;

String FunctionText::node(AetNodeBase const & node) const {
    Function const & within = *printed_->program.functions.back();
    return nodeText(node, printed_->printed, printed_->printed.signatureOf(within));
}

} // namespace Qcf::Text
