#include "Questions/StatementTexts.h"

#include "Text/NodeText.h"

namespace Qcf::Questions {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

// Printed as part of its function, which settles names of parameters and slots of lists.
String const & StatementTexts::whole(Expression const & node, Function const & within) {
    auto const [at, isNew] = known_.try_emplace(Key{&node, &within});
    if (isNew) {
        at->second = Text::printNode(node, &within);
    }
    return at->second;
}

String const & StatementTexts::head(Expression const & node, Function const & within) {
    static String const nothing;
    if (auto const * const branch = as<IfExpression>(node)) {
        return whole(*branch->condition(), within);
    }
    if (auto const * const function = as<Function>(node)) {
        return function->funcName();
    }
    return is<Block>(node) ? nothing : whole(node, within);
}

} // namespace Qcf::Questions
