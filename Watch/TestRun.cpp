#include "Watch/TestRun.h"

#include "Lists/ByteSource.h"
#include "Lists/ListUses.h"
#include "Watch/Deciding.h"
#include "Watch/TestRoute.h"

#include <chrono>

namespace Qcf::Watch {

using Agent::AgentContext;
using Eval::EvalContextBase;
using Eval::EvalResult;
using Eval::Expression;
using Eval::Function;
using Lists::NamedLists;
using Text::TestDeclaration;

struct TestRun::Outcome {
    EvalResult result;
    DecidingStatement statement; ///< that of the text; none where the end was reached
    String reason;
};

/// Counts for the coverage and finds what decides, in one evaluation.
class TestRun::Observer final : public Eval::EvaluationObserver {
public:
    Observer(NodeCounter & counter, Eval::EvalContext & context)
        : counter_(counter), context_(context) {
        context_.evaluationObserverIs(this);
    }
    Observer(Observer const &) = delete;
    Observer & operator=(Observer const &) = delete;
    ~Observer() override { context_.evaluationObserverIs(nullptr); }

    void entered(Expression const & node, Eval::EvalContext & context) override {
        counter_.entered(node, context);
        deciding_.entered(node, context);
    }
    void left(Expression const & node, EvalResult result, Eval::EvalContext & context) override {
        counter_.left(node, result, context);
        deciding_.left(node, result, context);
    }
    void thrown(Expression const & node, Eval::EvalContext & context) override {
        counter_.thrown(node, context);
        deciding_.thrown(node, context);
    }
    Deciding const & deciding() const { return deciding_; }

private:
    NodeCounter & counter_;
    Eval::EvalContext & context_;
    Deciding deciding_;
};

namespace {

char const * verdictWord(Eval::TriStateBoolValue verdict) {
    static constexpr char const * words[] = {"unknown", "reject", "accept"};
    return words[static_cast<std::size_t>(verdict)];
}

bool hasExited(EvalResult result) {
    return result.termination() == Eval::TerminationFlag::exitToPoa;
}

} // namespace

TestRun::~TestRun() = default;

TestRun::TestRun(Text::Declarations const & declarations, Text::Sources const & sources,
                 PtrConst<NamedLists> lists, Text::Messages & messages)
    : declarations_(declarations),
      sources_(sources),
      lists_(std::move(lists)),
      program_(Text::makeTestProgram(declarations, sources, messages)),
      places_(program_.map, sources) {
    std::vector<PtrConst<Function>> roots;
    // What is left out of a text's own functions would look as if it were covered.
    for (auto const & declared : declarations.functions) {
        bool const isOwn = declared.span.file == declarations.mainFile;
        auto const function = isOwn ? program_.program.find(declared.name) : nullptr;
        if (function) {
            roots.push_back(function);
        }
    }
    for (std::size_t i = 0; i < program_.tests.size(); ++i) {
        auto const & subject = program_.tests[i].subject;
        roots.push_back(subject);
        if (subject != program_.program.find(declarations.tests[i].call.name)) {
            calls_.insert(subject.get());
        }
    }
    numbers_ = std::make_unique<NodeNumbers>(roots);
    counter_ = std::make_unique<NodeCounter>(*numbers_);
}

String const & TestRun::title(std::size_t test) const { return declarations_.tests[test].title; }

TestResult TestRun::run(std::size_t test) {
    auto const start = std::chrono::steady_clock::now();
    TestDeclaration const & declared = declarations_.tests[test];
    TestResult result{declared.title, places_.of(declared.span),
                      places_.of(declared.expectation.span)};
    try {
        auto const lists = listsOf(declared);
        undefinedLists(program_.tests[test], lists.get(), result);
        if (result.passed()) {
            runRoutes(test, lists.get(), result);
        }
    } catch (DocumentError const & error) {
        result.findings.emplace_back(error.what());
    } catch (Lists::FileError const & error) {
        result.findings.emplace_back(error.what());
    }
    result.seconds = std::chrono::duration<F64>(std::chrono::steady_clock::now() - start).count();
    return result;
}

PtrConst<NamedLists> TestRun::listsOf(TestDeclaration const & test) const {
    if (test.lists.empty()) {
        return lists_;
    }
    auto bound = makePtr<NamedLists>();
    Text::Messages messages;
    for (Text::ListDeclaration const & list : test.lists) {
        if (!addTo(*bound, list, sources_, messages)) {
            throw DocumentError(lineOf(messages.all().back(), sources_));
        }
    }
    return lists_ ? Lists::mergeLists(*lists_, *bound) : PtrConst<NamedLists>(bound);
}

// A name that nobody defined would act as an empty list, and let tests pass for the wrong reason.
void TestRun::undefinedLists(Text::TestFunctions const & functions, NamedLists const * lists,
                             TestResult & result) const {
    auto const placeOf = [this](Eval::AetNodeBase const & node, Function const & /*within*/) {
        auto const * const entry = program_.map.find(node.aetNodeKey());
        return entry == nullptr ? String() : sources_.placeText(entry->span);
    };
    std::vector<PtrConst<Function>> asked{functions.subject};
    asked.insert(asked.end(), functions.conditions.begin(), functions.conditions.end());
    for (auto const & function : asked) {
        for (auto const & finding :
             Lists::unboundUses(Lists::reachedLists(*function, placeOf), lists)) {
            if (finding.kind == Lists::Finding::Kind::undefinedList) {
                result.findings.push_back(finding.line());
            }
        }
        if (String const & fault = program_.program.faultOf(*function).eval; !fault.empty()) {
            result.findings.push_back(fault);
        }
    }
}

void TestRun::runRoutes(std::size_t test, NamedLists const * lists, TestResult & result) {
    auto const & routes = declarations_.tests[test].routes;
    auto const matchers = Lists::bindLists(program_.program.slots, lists);
    for (std::size_t i = 0; i < routes.size(); ++i) {
        std::size_t const before = result.findings.size();
        runRoute(test, readTestRoute(routes[i], sources_), matchers, result);
        if (routes.size() > 1 && result.findings.size() > before) {
            auto const at = result.findings.begin() + static_cast<std::ptrdiff_t>(before);
            result.findings.insert(at, "route " + std::to_string(i + 1) + " of " +
                                           std::to_string(routes.size()) + ", line " +
                                           std::to_string(places_.of(routes[i].span).line) + ':');
        }
    }
}

void TestRun::runRoute(std::size_t test, Agent::Route const & route, Matchers const & matchers,
                       TestResult & result) {
    Text::Expectation const & expected = declarations_.tests[test].expectation;
    auto const context = makePtr<AgentContext>(matchers);
    context->routeIs(route);
    Outcome const found = evaluate(*program_.tests[test].subject, *context);
    bool const suits = found.result.retVal() == expected.verdict &&
                       (!expected.exits || hasExited(found.result)) &&
                       (expected.reason.empty() || expected.reason == found.reason);
    if (!suits) {
        result.findings.push_back(verdictFinding(expected, found));
        auto const lines = decidingLines(*program_.tests[test].subject, route, matchers);
        result.findings.insert(result.findings.end(), lines.begin(), lines.end());
    } else if (found.result.isTrue()) {
        checkAfter(test, route, *context, matchers, result);
    }
}

TestRun::Outcome TestRun::evaluate(Function const & subject, AgentContext & context) {
    Observer const observer(*counter_, context);
    Ptr<EvalContextBase> const asBase(&context);
    EvalResult const result = subject.eval(asBase);
    Outcome outcome{result, {}, observer.deciding().reason(places_)};
    for (DecidingStatement const & statement : observer.deciding().path()) {
        // That of a test's own call decides nothing that the text could show.
        if (!calls_.contains(statement.within)) {
            outcome.statement = statement;
            break;
        }
    }
    return outcome;
}

String TestRun::verdictFinding(Text::Expectation const & expected, Outcome const & found) const {
    auto const because = [](String const & reason) {
        return reason.empty() ? String() : " because " + reason;
    };
    bool const tellsExit = expected.exits || hasExited(found.result);
    String text = "expected " + String(verdictWord(expected.verdict)) +
                  (expected.exits ? " (exit)" : "") + because(expected.reason) + ", found " +
                  verdictWord(found.result.retVal());
    text += tellsExit && hasExited(found.result) ? " (exit)" : "";
    text += expected.reason.empty() ? "" : because(found.reason);
    if (found.statement.node == nullptr) {
        return text + ": the function came to its end";
    }
    auto const & [node, within] = found.statement;
    NodePlace const place = places_.of(*node, *within);
    bool const isHere = place.file == sources_[expected.span.file].name();
    return text + " at " + (isHere ? "line " + std::to_string(place.line) : place.text()) + ": " +
           places_.line(*node, *within);
}

// Of imported texts only what is called: the rest is their own tests' business.
void TestRun::addCoverageTo(Coverage & coverage) const {
    coverage.add(*numbers_, counter_->counts(), places_, calls_);
}

} // namespace Qcf::Watch
