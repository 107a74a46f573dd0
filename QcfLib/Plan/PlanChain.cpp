#include "QcfLib/Plan/PlanChain.h"

#include "QcfLib/Plan/PlanNodes.h"

#include <algorithm>
#include <set>

namespace Qcf::Eval {

namespace {

/// A question that so many clauses ask is shared, and worth a step of its own.
constexpr std::size_t clausesThatShare = 3;

/// A condition is taken apart into as many pieces at most: one that shares its nodes may unfold
/// into any number.
constexpr std::size_t mostPieces = 256;

/// Adds the tests that must all hold for the condition to hold, in their order; false when there
/// are too many pieces.
bool collectTests(Expression const & condition, std::vector<Expression const *> & tests,
                  std::size_t & room) {
    if (room == 0) {
        return false;
    }
    --room;
    auto const * const logical = as<LogicalOperatorExpression>(condition);
    auto const * link = logical == nullptr ? nullptr : logical->expressionList().get();
    // One without operands does not hold, so that it is a test like any other.
    if (link == nullptr || as<AndOperator>(*logical->operatorList()->entry()) == nullptr) {
        tests.push_back(&condition);
        return true;
    }
    for (; link != nullptr; link = link->next().get()) {
        if (!collectTests(*link->entry(), tests, room)) {
            return false;
        }
    }
    return true;
}

std::vector<Expression const *> testsOf(Expression const & condition) {
    std::vector<Expression const *> tests;
    std::size_t room = mostPieces;
    if (!collectTests(condition, tests, room)) {
        return {&condition};
    }
    return tests;
}

} // namespace

PlanChain::PlanChain(std::span<Expression const * const> conditions, std::size_t & roomForConstants)
    : roomForConstants_(roomForConstants) {
    for (Expression const * const condition : conditions) {
        if (!condition->treeFacts().onlyReads) {
            onlyReads_ = false;
            return;
        }
        Tests const & tests = tests_.emplace_back(testsOf(*condition));
        std::set<Subject> subjects;
        for (Expression const * const node : tests) {
            if (auto const test = constantTestOf(*node)) {
                subjects.insert(subjectOf(*test));
            }
        }
        for (Subject const & subject : subjects) {
            ++uses_[subject];
        }
    }
}

PlanChain::Subject PlanChain::subjectOf(ConstantTest const & test) {
    return {test.kind, identity(*test.operand)};
}

bool PlanChain::isShared(Subject const & subject) const {
    auto const found = uses_.find(subject);
    return found != uses_.end() && found->second >= clausesThatShare;
}

std::unique_ptr<PlanStep const> PlanChain::step(Lower const & lower,
                                                std::span<PlanStep const * const> targets,
                                                PlanStep const * otherwise) {
    bool const worthWhile = std::any_of(uses_.begin(), uses_.end(),
                                        [&](auto const & use) { return isShared(use.first); });
    if (!onlyReads_ || !worthWhile) {
        return nullptr;
    }
    std::vector<ClauseStep::Clause> clauses;
    for (std::size_t i = 0; i < tests_.size(); ++i) {
        clauses.push_back({questionsOf(i, lower), targets[i]});
        if (questions_.size() > ClauseStep::maxQuestions) {
            return nullptr;
        }
    }
    std::vector<std::unique_ptr<PlanQuestion const>> questions;
    for (Question & question : questions_) {
        questions.push_back(question.own ? std::move(question.own) : shared(question.parts));
    }
    if (questions.size() == 1) {
        return std::make_unique<OneQuestionStep const>(std::move(questions.front()), targets,
                                                       otherwise);
    }
    return std::make_unique<ClauseStep const>(std::move(questions), std::move(clauses), otherwise);
}

// A clause takes part in a shared question once, but that bounds which follow one another narrow:
// whatever else it asks of the attribute is its own.
std::vector<U8> PlanChain::questionsOf(std::size_t clause, Lower const & lower) {
    ClauseBits const bit = ClauseBits{1} << clause;
    std::vector<U8> questions;
    Tests own;
    auto const askOwn = [&] {
        if (!own.empty()) {
            questions.push_back(ownQuestion(own, bit, lower));
            own.clear();
        }
    };
    for (Expression const * const node : tests_[clause]) {
        auto const test = constantTestOf(*node);
        if (!test || !isShared(subjectOf(*test)) || test->size() > roomForConstants_) {
            own.push_back(node);
            continue;
        }
        U8 const number = numberOf(subjectOf(*test));
        bool const asks = std::find(questions.begin(), questions.end(), number) != questions.end();
        bool const narrows = asks && own.empty() && questions.back() == number &&
                             test->kind == ConstantTest::Kind::intBounds;
        if (asks && !narrows) {
            own.push_back(node);
            continue;
        }
        if (!asks) {
            askOwn();
            questions.push_back(number);
        }
        roomForConstants_ -= test->size();
        questions_[number].parts.push_back({bit, *test});
    }
    askOwn();
    return questions;
}

U8 PlanChain::numberOf(Subject const & subject) {
    auto const [entry, isNew] = numbers_.emplace(subject, static_cast<U8>(questions_.size()));
    if (isNew) {
        questions_.emplace_back();
    }
    return entry->second;
}

U8 PlanChain::ownQuestion(Tests const & tests, ClauseBits clause, Lower const & lower) {
    auto const end = [](TriStateBoolValue value) {
        return endOfRun(EvalResult(value, TerminationFlag::noTermination));
    };
    PlanStep const * first = end(QcfTrue());
    for (Expression const * const test : Tests(tests.rbegin(), tests.rend())) {
        first = lower(*test, {end(QcfFalse()), end(QcfFalse()), first});
    }
    questions_.push_back({std::make_unique<ConditionQuestion const>(first, clause), {}});
    return static_cast<U8>(questions_.size() - 1);
}

namespace {

template <typename Value, typename Parts, typename Set>
ConstantTable<Value> tableOf(Parts const & parts, Set const * ConstantTest::*constants) {
    ConstantTable<Value> table;
    for (auto const & [clause, test] : parts) {
        for (Value const & constant : *(test.*constants)) {
            table.insert(constant, clause);
        }
    }
    table.seal();
    return table;
}

template <typename Parts>
std::vector<IntBoundsQuestion::Clause> boundsOf(Parts const & parts) {
    std::vector<IntBoundsQuestion::Clause> clauses;
    for (auto const & [clause, test] : parts) {
        if (clauses.empty() || clauses.back().bit != clause) {
            clauses.push_back({clause, test.bounds});
        } else {
            IntBounds & bounds = clauses.back().bounds;
            bounds = {std::max(bounds.low, test.bounds.low),
                      std::min(bounds.high, test.bounds.high)};
        }
    }
    return clauses;
}

} // namespace

std::unique_ptr<PlanQuestion const> PlanChain::shared(std::vector<Part> const & parts) {
    auto const & operand = *parts.front().test.operand;
    ClauseBits others = ~ClauseBits{0};
    for (Part const & part : parts) {
        others &= ~part.clause;
    }
    switch (parts.front().test.kind) {
    case ConstantTest::Kind::intBounds:
        return std::make_unique<IntBoundsQuestion>(static_cast<Int const &>(operand),
                                                   boundsOf(parts), others);
    case ConstantTest::Kind::intInSet:
        return std::make_unique<IntInSetQuestion>(static_cast<Int const &>(operand),
                                                  tableOf<U64>(parts, &ConstantTest::ints), others);
    case ConstantTest::Kind::setHasAny:
        return std::make_unique<SetHasAnyQuestion<U64SmallVector>>(
            static_cast<IntSet const &>(operand), tableOf<U64>(parts, &ConstantTest::ints), others);
    case ConstantTest::Kind::communitySetHasAny:
        return std::make_unique<SetHasAnyQuestion<CommunitySmallVector>>(
            static_cast<CommunitySet const &>(operand),
            tableOf<Acl::CommunityValue>(parts, &ConstantTest::communities), others);
    }
    return nullptr;
}

} // namespace Qcf::Eval
