#include "QcfLib/Plan/DecisionTableBuilder.h"

#include <algorithm>
#include <set>

/// In two passes: the constructor counts which tests the clauses have in common, `step` hands them
/// out to questions. Only the first pass knows what is shared, and only the second makes steps.
namespace Qcf::Eval {

namespace {

/// A question that so many clauses ask is shared, and worth a step of its own. Fewer tests are
/// asked one by one.
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

} // namespace

DecisionTableBuilder::Tests DecisionTableBuilder::testsOf(Expression const & condition) {
    std::vector<Expression const *> nodes;
    std::size_t room = mostPieces;
    if (!collectTests(condition, nodes, room)) {
        // What cannot be taken apart is one test of its own.
        nodes = {&condition};
    }
    Tests tests;
    for (Expression const * const node : nodes) {
        tests.push_back({node, lowering_.constantTestOf(*node)});
    }
    return tests;
}

DecisionTableBuilder::DecisionTableBuilder(ConditionLowering & lowering,
                                           std::span<Expression const * const> conditions,
                                           std::size_t & roomForConstants)
    : lowering_(lowering), roomForConstants_(roomForConstants) {
    for (Expression const * const condition : conditions) {
        // One such condition rules out the table for all: the others may stand behind it.
        if (!condition->treeFacts().onlyReads) {
            onlyReads_ = false;
            return;
        }
        // A clause counts once for what it tests twice.
        std::set<Subject> subjects;
        for (Test const & test : tests_.emplace_back(testsOf(*condition))) {
            if (test.constant) {
                subjects.insert(subjectOf(*test.constant));
            }
        }
        for (Subject const & subject : subjects) {
            ++uses_[subject];
        }
    }
}

// Operands that are read alike are one subject, whichever nodes they are.
DecisionTableBuilder::Subject DecisionTableBuilder::subjectOf(ConstantTest const & test) {
    return {test.kind, identityOf(*test.operand)};
}

bool DecisionTableBuilder::isShared(Subject const & subject) const {
    auto const found = uses_.find(subject);
    return found != uses_.end() && found->second >= clausesThatShare;
}

std::unique_ptr<PlanStep const>
DecisionTableBuilder::step(std::span<PlanStep const * const> targets, PlanStep const * otherwise) {
    bool const worthWhile = std::any_of(uses_.begin(), uses_.end(),
                                        [&](auto const & use) { return isShared(use.first); });
    if (!onlyReads_ || !worthWhile) {
        return nullptr;
    }
    std::vector<DecisionTableStep::Clause> clauses;
    for (std::size_t i = 0; i < tests_.size(); ++i) {
        clauses.push_back({questionsOf(i), targets[i]});
        // The chain is then asked clause by clause.
        if (questions_.size() > DecisionTableStep::maxQuestions) {
            return nullptr;
        }
    }
    std::vector<std::unique_ptr<PlanQuestion const>> questions;
    for (Question & question : questions_) {
        questions.push_back(question.own ? std::move(question.own) : shared(question.parts));
    }
    // All clauses then ask that one, since each asks something.
    if (questions.size() == 1) {
        return std::make_unique<OneQuestionStep const>(std::move(questions.front()), targets,
                                                       otherwise);
    }
    return std::make_unique<DecisionTableStep const>(std::move(questions), std::move(clauses),
                                                     otherwise);
}

// A clause takes part in a shared question once, but that bounds which follow one another narrow:
// whatever else it asks of the attribute is its own.
std::vector<U8> DecisionTableBuilder::questionsOf(std::size_t clause) {
    ClauseBits const bit = ClauseBits{1} << clause;
    std::vector<U8> questions;
    Tests own;
    auto const askOwn = [&] {
        if (!own.empty()) {
            questions.push_back(ownQuestion(own, bit));
            own.clear();
        }
    };
    for (Test const & part : tests_[clause]) {
        auto const & test = part.constant;
        if (!test || !isShared(subjectOf(*test)) || test->size() > roomForConstants_) {
            own.push_back(part);
            continue;
        }
        U8 const number = numberOf(subjectOf(*test));
        bool const asks = std::find(questions.begin(), questions.end(), number) != questions.end();
        bool const narrows = asks && own.empty() && questions.back() == number &&
                             test->kind == ConstantTest::Kind::intBounds;
        if (asks && !narrows) {
            own.push_back(part);
            continue;
        }
        // What came before in the condition must be asked before, so that it becomes a question
        // now.
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

U8 DecisionTableBuilder::numberOf(Subject const & subject) {
    auto const [entry, isNew] = numbers_.emplace(subject, static_cast<U8>(questions_.size()));
    if (isNew) {
        questions_.emplace_back();
    }
    return entry->second;
}

// The tests of one clause in their order, each going on to the next where it holds.
U8 DecisionTableBuilder::ownQuestion(Tests const & tests, ClauseBits clause) {
    auto const end = [](TriStateBoolValue value) {
        return endOfRun(EvalResult(value, TerminationFlag::noTermination));
    };
    PlanStep const * first = end(QcfTrue());
    // NOLINTNEXTLINE(modernize-loop-convert): clang 14 has no reversed views with this library
    for (auto test = tests.rbegin(); test != tests.rend(); ++test) {
        first = lowering_.condition(*test->node, {end(QcfFalse()), end(QcfFalse()), first});
    }
    questions_.push_back({std::make_unique<ConditionQuestion const>(first, clause), {}});
    return static_cast<U8>(questions_.size() - 1);
}

namespace {

template <typename Value, typename Parts, typename Set>
ConstantTable<Value> tableOf(Parts const & parts, Set const * ConstantTest::*constants) {
    std::vector<typename ConstantTable<Value>::Entry> entries;
    for (auto const & [clause, test] : parts) {
        for (Value const & constant : *(test.*constants)) {
            entries.push_back({constant, clause});
        }
    }
    return ConstantTable<Value>(std::move(entries));
}

template <typename Parts>
std::vector<IntPieces::Range> boundsOf(Parts const & parts) {
    std::vector<IntPieces::Range> clauses;
    for (auto const & [clause, test] : parts) {
        // Parts of one clause follow each other: all must hold, so that their bounds narrow.
        if (clauses.empty() || clauses.back().clauses != clause) {
            clauses.push_back({clause, test.bounds});
        } else {
            clauses.back().bounds = clauses.back().bounds & test.bounds;
        }
    }
    return clauses;
}

template <typename Parts>
std::vector<IntPieces::Range> rangesOf(Parts const & parts) {
    std::vector<IntPieces::Range> ranges;
    for (auto const & part : parts) {
        part.test.ranges.each([&](IntBounds const & range) {
            ranges.push_back({part.clause, range});
        });
    }
    return ranges;
}

template <typename Parts>
CoverTable coverTableOf(Parts const & parts) {
    std::vector<CoverTable::Entry> entries;
    for (auto const & [clause, test] : parts) {
        for (IpGenPrefix const & prefix : test.prefixes) {
            entries.push_back({prefix, clause});
        }
    }
    return CoverTable(std::move(entries));
}

} // namespace

std::unique_ptr<PlanQuestion const> DecisionTableBuilder::shared(std::vector<Part> const & parts) {
    auto const & operand = *parts.front().test.operand;
    ClauseBits others = ~ClauseBits{0};
    for (Part const & part : parts) {
        others &= ~part.clause;
    }
    // The kind is the same for all parts, and so is the operand's class: the casts follow from the
    // subject.
    switch (parts.front().test.kind) {
    case ConstantTest::Kind::intBounds:
        return std::make_unique<IntBoundsQuestion>(static_cast<Int const &>(operand),
                                                   IntPieces(boundsOf(parts), others));
    case ConstantTest::Kind::intInRanges:
        return std::make_unique<IntBoundsQuestion>(static_cast<Int const &>(operand),
                                                   IntPieces(rangesOf(parts), others));
    case ConstantTest::Kind::prefixCovered:
        return std::make_unique<PrefixCoveredQuestion>(static_cast<IpPrefix const &>(operand),
                                                       coverTableOf(parts), others);
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
