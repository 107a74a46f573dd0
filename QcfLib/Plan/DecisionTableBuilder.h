#pragma once

#include "QcfLib/Plan/DecisionTable.h"

#include <map>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace Qcf::Eval {

/// How a plan looks at conditions. The builder knows it and not the driver of lowering, which knows
/// the builder.
class ConditionLowering {
public:
    virtual ~ConditionLowering() = default;
    /// Makes the steps of a condition.
    virtual PlanStep const * condition(Expression const & node, PlanTargets const & targets) = 0;
    /// The test against constants that a condition is; nothing for others. It makes no step, so
    /// that it may be asked of conditions that no table comes of.
    virtual std::optional<ConstantTest> constantTestOf(Expression const & node) = 0;
};

/// Finds out whether a chain of `else if` is worth a decision table, and makes it.
///
/// The conditions are taken apart at their `and`s into tests. A test against constants of an
/// attribute that at least three clauses test likewise is shared; what is left of a clause is a
/// question of its own. All conditions must only read: a table may ask less often than the tree,
/// and agents see what is read. It makes one step of the clauses of a chain, at most `maxClauses`
/// of them. Conditions with very many pieces count as one test each.
class DecisionTableBuilder {
public:
    /// Both are used until the step is made. `roomForConstants` says how many constants may be put
    /// into tables, and goes down with each.
    DecisionTableBuilder(ConditionLowering & lowering,
                         std::span<Expression const * const> conditions,
                         std::size_t & roomForConstants);

    /// The step that goes to the target of the first clause whose condition holds. Null when it is
    /// not worth while, because hardly any question is shared, or not possible: a condition does
    /// more than read, or there are too many questions. To be called once.
    std::unique_ptr<PlanStep const> step(std::span<PlanStep const * const> targets,
                                         PlanStep const * otherwise);

private:
    /// What a question is about: the kind of test, and the operand's identity.
    using Subject = std::pair<ConstantTest::Kind, void const *>;
    /// A part of a condition, and the test against constants that it is, if it is one. A part that
    /// is none becomes a question of its own clause.
    struct Test {
        Expression const * node;
        std::optional<ConstantTest> constant;
    };
    using Tests = std::vector<Test>;
    /// A test in a shared question, and the clause that makes it: one bit.
    struct Part {
        ClauseBits clause;
        ConstantTest test;
    };
    /// A shared question is made when all of its parts are known.
    struct Question {
        std::unique_ptr<PlanQuestion const> own;
        std::vector<Part> parts;
    };

    /// Tests of one subject can be answered by one look.
    static Subject subjectOf(ConstantTest const & test);
    /// The question that all these parts are of; they have one subject, and stand in the order of
    /// clauses.
    static std::unique_ptr<PlanQuestion const> shared(std::vector<Part> const & parts);
    /// Known once all conditions were looked at.
    bool isShared(Subject const & subject) const;
    /// The numbers of what a clause asks, in its order. Makes those questions that are new.
    std::vector<U8> questionsOf(std::size_t clause);
    U8 numberOf(Subject const & subject);
    /// Makes the steps of tests that stand side by side, as one question.
    U8 ownQuestion(Tests const & tests, ClauseBits clause);

    Tests testsOf(Expression const & condition);

    /// Makes the steps of what is left to a clause.
    ConditionLowering & lowering_;
    std::size_t & roomForConstants_;
    /// False once a condition does more: then the others are not looked at.
    bool onlyReads_ = true;
    std::vector<Tests> tests_;            ///< of each clause, which holds when all of them do
    std::map<Subject, std::size_t> uses_; ///< in how many clauses
    std::map<Subject, U8> numbers_;       ///< of shared questions
    std::vector<Question> questions_;
};

} // namespace Qcf::Eval
