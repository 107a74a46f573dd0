#pragma once

#include "Agent/Evaluation/AgentContext.h"
#include "Lists/NamedLists.h"
#include "Text/TestProgram.h"
#include "Watch/Coverage.h"
#include "Watch/TextPlaces.h"

#include <memory>

namespace Qcf::Watch {

/// How one test of a text went.
struct TestResult {
    String title;
    NodePlace place;    ///< of the test
    NodePlace expected; ///< of its expectation
    /// What is wrong, a line each; a line that belongs to the one before begins with blanks. Empty
    /// for a test that passed.
    std::vector<String> findings = {};
    F64 seconds = 0;

    bool passed() const { return findings.empty(); }
};

/// Runs the tests of one text: its functions are evaluated by the engine, on each route of a test,
/// and so are the conditions of what is expected, on the route as it is afterwards.
///
///     TestRun run(policy->declarations(), sources, lists, messages);
///     if (!messages.hasErrors()) {
///         TestResult const result = run.run(0);
///     }
///     run.addCoverageTo(coverage);
///
/// What is wrong with a test's routes or lists fails that test. One thread's.
class TestRun {
public:
    /// The declarations were resolved without an error; they, and the sources, must outlive it.
    /// `lists` stand for the names that functions have, null for none; a test binds its own over
    /// them. What cannot be compiled is told to the messages; then there is nothing to run.
    TestRun(Text::Declarations const & declarations, Text::Sources const & sources,
            PtrConst<Lists::NamedLists> lists, Text::Messages & messages);
    ~TestRun();

    /// Tests, in the order of the text.
    std::size_t size() const { return program_.tests.size(); }
    String const & title(std::size_t test) const;
    TestResult run(std::size_t test);

    /// Adds what all tests so far have met: of the text's own functions, and of imported ones that
    /// these call.
    void addCoverageTo(Coverage & coverage) const;

private:
    class Routes;
    /// What one evaluation came to.
    struct Outcome;
    class Observer;

    using Matchers = PtrConst<ExternalMatchersBase>;

    void runRoutes(std::size_t test, Lists::NamedLists const * lists, TestResult & result);
    void runRoute(std::size_t test, Agent::Route const & route, Matchers const & matchers,
                  TestResult & result);
    Outcome evaluate(Eval::Function const & subject, Agent::AgentContext & context);
    /// The tests that led to a verdict, with the values that they read, a line each.
    std::vector<String> decidingLines(Eval::Function const & function, Agent::Route const & route,
                                      Matchers const & matchers) const;
    PtrConst<Lists::NamedLists> listsOf(Text::TestDeclaration const & test) const;
    void undefinedLists(Text::TestFunctions const & functions, Lists::NamedLists const * lists,
                        TestResult & result) const;
    String verdictFinding(Text::Expectation const & expected, Outcome const & found) const;
    void checkAfter(std::size_t test, Agent::Route const & route,
                    Agent::AgentContext const & context, Matchers const & matchers,
                    TestResult & result) const;
    void checkConditions(std::size_t test, Agent::Route const & after, Matchers const & matchers,
                         TestResult & result) const;

    Text::Declarations const & declarations_;
    Text::Sources const & sources_;
    PtrConst<Lists::NamedLists> lists_;
    Text::TestProgram program_;
    TextPlaces places_;
    /// Functions that stand for calls of tests.
    std::set<Eval::Function const *> calls_;
    std::unique_ptr<NodeNumbers> numbers_;
    std::unique_ptr<NodeCounter> counter_;
};

} // namespace Qcf::Watch
