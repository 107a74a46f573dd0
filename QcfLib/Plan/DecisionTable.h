#pragma once

#include "QcfLib/MembershipIndex.h"
#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/Plan/PlanStep.h"

#include <bit>
#include <memory>
#include <span>
#include <vector>

/// A chain of `else if` as one decision table: which of its clauses is the first that holds.
///
/// A policy is often a long list of clauses, each of which wants one of many constants, and of
/// which few hold for a route. Asked one after the other they cost in proportion to the list; as a
/// table they cost in proportion to what is asked of the route.
///
/// The conditions of many clauses test the same few attributes against constants. Such tests are
/// one question of the whole chain: one look at the attribute tells for every clause whether its
/// tests of it hold. What is left open are tests that only one clause makes.
namespace Qcf::Eval {

/// Clauses of a chain, bit i for clause i.
using ClauseBits = U64;
inline constexpr std::size_t maxClauses = 64;

/// Something that the conditions of clauses ask of the route. It is asked at most once a run, and
/// answers for all clauses at a time.
class PlanQuestion {
public:
    PlanQuestion() = default;
    PlanQuestion(PlanQuestion const &) = delete;
    PlanQuestion & operator=(PlanQuestion const &) = delete;
    virtual ~PlanQuestion() = default;

    /// The clauses that the answer does not rule out.
    virtual ClauseBits clausesLeft(PlanRun run) const = 0;
    /// What it asks, for dumps.
    virtual String text() const = 0;
    /// The steps that it runs to find the answer; null for most.
    virtual PlanStep const * steps() const { return nullptr; }
};

/// From a constant to the clauses that it satisfies.
template <typename Value>
class ConstantTable {
public:
    struct Entry {
        Value value;
        ClauseBits clauses;
    };
    /// A value may have several entries.
    explicit ConstantTable(std::vector<Entry> entries);

    ClauseBits clausesOf(Value const & value) const {
        U32 const at = index_.positionOf(std::span<Value const>(values_), value);
        return at == MembershipIndex::none ? 0 : clauses_[at];
    }

private:
    std::vector<Value> values_;
    std::vector<ClauseBits> clauses_; ///< by the position of the value
    MembershipIndex index_;
};

extern template class ConstantTable<U64>;
extern template class ConstantTable<Acl::CommunityValue>;

/// Whether an integer is one of some constants, for each clause its own.
class IntInSetQuestion final : public PlanQuestion {
public:
    /// `others` are the clauses that do not ask this.
    IntInSetQuestion(Int const & operand, ConstantTable<U64> table, ClauseBits others)
        : operand_(operand), table_(std::move(table)), others_(others) {}
    ClauseBits clausesLeft(PlanRun run) const override {
        return others_ | table_.clausesOf(operand_.read(run));
    }
    String text() const override { return operand_.text() + " among constants"; }

private:
    PlanInt operand_;
    ConstantTable<U64> table_;
    ClauseBits others_;
};

/// Whether a set holds any of some constants: each of the set's values is looked up, which suits
/// routes, whose sets are small.
template <typename Set>
class SetHasAnyQuestion final : public PlanQuestion {
public:
    SetHasAnyQuestion(SetStorage<Set> const & operand, ConstantTable<typename Set::Value> table,
                      ClauseBits others)
        : operand_(operand), table_(std::move(table)), others_(others) {}
    ClauseBits clausesLeft(PlanRun run) const override {
        PtrConst<Set> fresh;
        ClauseBits clauses = others_;
        if (Set const * const set = operand_.lend(run, fresh)) {
            for (auto const & value : set->view()) {
                clauses |= table_.clausesOf(value);
            }
        }
        return clauses;
    }
    String text() const override { return operand_.text() + " has any of constants"; }

private:
    PlanSet<Set> operand_;
    ConstantTable<typename Set::Value> table_;
    ClauseBits others_;
};

/// Whether an integer lies within bounds, for each clause its own: the bounds cut the integers into
/// pieces of equal answers, and a bisection without branches finds the piece.
class IntBoundsQuestion final : public PlanQuestion {
public:
    struct Clause {
        ClauseBits bit;
        IntBounds bounds;
    };
    IntBoundsQuestion(Int const & operand, std::vector<Clause> const & clauses, ClauseBits others);
    ClauseBits clausesLeft(PlanRun run) const override {
        U64 const value = operand_.read(run);
        std::size_t at = 0;
        for (std::size_t step = starts_.size() / 2; step > 0; step /= 2) {
            at += starts_[at + step] <= value ? step : 0;
        }
        return clauses_[at];
    }
    String text() const override { return operand_.text() + " within bounds"; }

private:
    PlanInt operand_;
    /// Where the pieces begin in which all values satisfy the same clauses, from 0 on, repeated at
    /// the end up to a power of two.
    std::vector<U64> starts_;
    std::vector<ClauseBits> clauses_; ///< for each piece
};

/// What only one clause asks, as steps of their own. They only read, as all of the chain does, so
/// that nothing is lost when a clause is passed over without asking.
class ConditionQuestion final : public PlanQuestion {
public:
    /// The steps end with the truth of the condition; unknown counts as false.
    ConditionQuestion(PlanStep const * first, ClauseBits clause) : first_(first), clause_(clause) {}
    ClauseBits clausesLeft(PlanRun run) const override {
        return runSteps(first_, run).result().isTrue() ? ~ClauseBits{0} : ~clause_;
    }
    String text() const override { return "a condition of its own"; }
    PlanStep const * steps() const override { return first_; }

private:
    PlanStep const * first_;
    ClauseBits clause_;
};

/// What a table with those questions is, for dumps.
StepText describeTable(std::span<std::unique_ptr<PlanQuestion const> const> questions,
                       std::span<PlanStep const * const> targets, PlanStep const * otherwise);

/// The chain, when its clauses ask one question and nothing else.
class OneQuestionStep final : public PlanStep {
public:
    OneQuestionStep(std::unique_ptr<PlanQuestion const> question,
                    std::span<PlanStep const * const> targets, PlanStep const * otherwise)
        : question_(std::move(question)),
          targets_(targets.begin(), targets.end()),
          clauses_(~ClauseBits{0} >> (maxClauses - targets.size())),
          otherwise_(otherwise) {}

    PlanStep const * run(PlanRun run) const override {
        ClauseBits const left = question_->clausesLeft(run) & clauses_;
        return left == 0 ? otherwise_ : targets_[static_cast<std::size_t>(std::countr_zero(left))];
    }
    StepText describe() const override {
        return describeTable({&question_, 1}, targets_, otherwise_);
    }

private:
    std::unique_ptr<PlanQuestion const> question_;
    std::vector<PlanStep const *> targets_;
    ClauseBits clauses_;
    PlanStep const * otherwise_;
};

/// The chain with several questions. Each question is asked once, when the tree would first ask any
/// part of it: a clause is passed over only for an answer that its tree had come to.
class DecisionTableStep final : public PlanStep {
public:
    static constexpr std::size_t maxQuestions = 64;

    struct Clause {
        std::vector<U8> questions; ///< numbers, in the order of the condition; at least one
        PlanStep const * target;
    };
    DecisionTableStep(std::vector<std::unique_ptr<PlanQuestion const>> questions,
                      std::vector<Clause> clauses, PlanStep const * otherwise)
        : questions_(std::move(questions)),
          startingWith_(questions_.size()),
          clauses_(std::move(clauses)),
          otherwise_(otherwise) {
        for (std::size_t i = 0; i < clauses_.size(); ++i) {
            startingWith_[clauses_[i].questions.front()] |= ClauseBits{1} << i;
        }
    }

    PlanStep const * run(PlanRun run) const override {
        Answers answers;
        answers.open = ~ClauseBits{0} >> (maxClauses - clauses_.size());
        while (answers.open != 0) {
            auto const clause = static_cast<std::size_t>(std::countr_zero(answers.open));
            if (holds(clause, answers, run)) {
                return clauses_[clause].target;
            }
            answers.open &= ~(ClauseBits{1} << clause);
        }
        return otherwise_;
    }
    StepText describe() const override;

private:
    struct Answers {
        ClauseBits open;               ///< clauses of which nothing is known, or only later parts
        U64 asked = 0;                 ///< bit i for question i
        ClauseBits left[maxQuestions]; // NOLINT(cppcoreguidelines-pro-type-member-init)
    };

    bool holds(std::size_t clause, Answers & answers, PlanRun run) const {
        for (U8 const question : clauses_[clause].questions) {
            if (((answers.asked >> question) & 1) == 0) {
                ClauseBits const left = questions_[question]->clausesLeft(run);
                answers.left[question] = left;
                answers.asked |= U64{1} << question;
                answers.open &= left | ~startingWith_[question];
            }
            if (((answers.left[question] >> clause) & 1) == 0) {
                return false;
            }
        }
        return true;
    }

    std::vector<std::unique_ptr<PlanQuestion const>> questions_;
    std::vector<ClauseBits> startingWith_; ///< for each question, the clauses whose first it is
    std::vector<Clause> clauses_;
    PlanStep const * otherwise_;
};

} // namespace Qcf::Eval
