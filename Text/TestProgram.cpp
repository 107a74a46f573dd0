#include "Text/TestProgram.h"

#include "QcfLib/QcfEval.h"
#include "Text/Compiler.h"

#include <unordered_set>

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// Puts tests behind the functions of a text, as functions of no argument.
class TestFunctionMaker {
public:
    explicit TestFunctionMaker(std::vector<FunctionDeclaration> & functions)
        : functions_(functions) {
        for (FunctionDeclaration const & function : functions) {
            if (function.takesAnything || !function.parameters.empty()) {
                takingArguments_.insert(function.name);
            }
        }
    }

    /// Nobody calls what is made here, so that names need not be free.
    void add(TestDeclaration const & test) {
        BodyUses uses = test.uses;
        if (hasArguments(test)) {
            CallDraft call = test.call;
            call.call = callOf(test.call);
            Draft & condition = *call.call;
            uses.calls.push_back(std::move(call));
            add(test, condition, std::move(uses));
        }
        for (Draft * const condition : test.expectation.conditions) {
            add(test, *condition, test.uses);
        }
    }

    // Also where none is written: such a function answers nothing but to a call.
    bool hasArguments(TestDeclaration const & test) const {
        return !test.call.arguments.empty() || takingArguments_.contains(test.call.name);
    }

private:
    Draft * callOf(CallDraft const & call) {
        DraftField arguments;
        if (!call.arguments.empty()) {
            arguments = DraftChain(call.arguments);
        }
        return tree_.add<FunctionCallExpression>(
            call.nameSpan, {call.name, DraftField(), std::move(arguments), U64{0}});
    }

    void add(TestDeclaration const & test, Draft & condition, BodyUses uses) {
        Draft * const leave = tree_.add<ReturnExpression>(condition.span, {&condition});
        Draft * const block = tree_.add<Block>(condition.span, {DraftChain{leave}});
        FunctionDeclaration function{test.title, test.span, condition.span};
        function.draft = tree_.add<Function>(
            condition.span, {test.title, DraftField(), DraftField(), DraftField(), false, block});
        function.uses = std::move(uses);
        functions_.push_back(std::move(function));
    }

    DraftTree tree_;
    std::vector<FunctionDeclaration> & functions_;
    std::unordered_set<String> takingArguments_;
};

} // namespace

TestProgram makeTestProgram(Declarations const & declarations, Sources const & sources,
                            Messages & messages) {
    std::vector<FunctionDeclaration> functions = declarations.functions;
    std::size_t next = functions.size();
    TestFunctionMaker maker(functions);
    for (TestDeclaration const & test : declarations.tests) {
        maker.add(test);
    }
    TestProgram made;
    made.program = makeProgram(functions, sources, messages, made.map);
    if (made.program.functions.size() < functions.size()) {
        return made;
    }
    for (TestDeclaration const & test : declarations.tests) {
        bool const isCalled = maker.hasArguments(test);
        TestFunctions & of = made.tests.emplace_back();
        of.subject = isCalled ? made.program.functions[next++] : made.program.find(test.call.name);
        for (std::size_t i = 0; i < test.expectation.conditions.size(); ++i) {
            of.conditions.push_back(made.program.functions[next++]);
        }
    }
    return made;
}

} // namespace Qcf::Text
