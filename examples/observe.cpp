// Looks on as the engine evaluates: an observer that prints every node that is entered, indented as
// they nest, and what each of them answered.

#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/EvaluationObserver.h"
#include "QcfLib/QcfEval.h"

#include <iostream>

using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): shorter to read

namespace {

class Printer final : public EvaluationObserver {
public:
    void entered(Expression const & node, EvalContext & /*context*/) override {
        std::cout << String(2 * depth_, ' ') << node.typeData().name << '\n';
        ++depth_;
    }
    void left(Expression const & node, EvalResult result, EvalContext & context) override {
        thrown(node, context);
        std::cout << String(2 * depth_, ' ') << "-> " << result.retVal() << '\n';
        // What a test compared can be asked of its own operands.
        if (auto const * const test = as<IntGreaterThan>(node)) {
            Ptr<EvalContextBase> const base(&context);
            std::cout << String(2 * depth_, ' ') << "   " << test->lhs()->toStrep() << " is "
                      << test->lhs()->getVal(base) << '\n';
        }
    }
    void thrown(Expression const & /*node*/, EvalContext & /*context*/) override { --depth_; }

    std::size_t depth() const { return depth_; }

private:
    std::size_t depth_ = 0;
};

/// return not (med > 10)
Ptr<Function> policy() {
    auto const tooLarge =
        intGreaterThanFactory(3, Attribute::medFactory(1), intImmediateFactory(2, 10, false));
    auto const statement = returnExpressionFactory(5, notExpressionFactory(4, tooLarge));
    auto const body = blockFactory(7, expressionListFactory(6, statement, nullptr));
    return functionFactory(8, "observed", FunctionMetadata(), Routing::Policy::RouteMapFeatures(),
                           AccessibleAttributes(), false, body);
}

class Context final : public EvalContext {
public:
    Context() : EvalContext(nullptr, nullptr, nullptr) {}
    U64 medInput() const override { return 20; }
};

} // namespace

int main() {
    Printer printer;
    auto const agent = makePtr<Context>();
    agent->evaluationObserverIs(&printer);
    Ptr<EvalContextBase> const context = agent;
    bool const accepted = policy()->eval(context).isTrue();
    return !accepted && printer.depth() == 0 ? 0 : 1;
}
