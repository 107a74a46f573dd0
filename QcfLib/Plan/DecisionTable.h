#pragma once

#include "QcfLib/Plan/ConstantTables.h"
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

/// Something that the conditions of clauses ask of the route. It is asked at most once a run, and
/// answers for all clauses at a time.
///
/// An answer is a set of clauses and not a value: that is what lets one question stand for the
/// tests of many clauses, and answers be joined by `and`. Questions are immutable and asked from
/// any thread.
class PlanQuestion {
public:
    PlanQuestion() = default;
    PlanQuestion(PlanQuestion const &) = delete;
    PlanQuestion & operator=(PlanQuestion const &) = delete;
    virtual ~PlanQuestion() = default;

    /// The clauses that the answer does not rule out. Bits of clauses that do not ask are set;
    /// those beyond the last clause may be either.
    virtual ClauseBits clausesLeft(PlanRun run) const = 0;
    /// What it asks, for dumps.
    virtual String text() const = 0;
    /// The steps that it runs to find the answer; null for most. They are printed with the plan and
    /// owned by it.
    virtual PlanStep const * steps() const { return nullptr; }
};

/// Whether an integer is one of some constants, for each clause its own. The integer is read once
/// for the whole chain; the clauses' sets are one table.
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
    /// Always left, whatever the value is.
    ClauseBits others_;
};

/// Whether a set holds any of some constants: each of the set's values is looked up, which suits
/// routes, whose sets are small. The constants may be thousands: they do not count. A null set,
/// which is empty, leaves those clauses only that do not ask.
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
            // Several values may satisfy different clauses: all of them are looked up.
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

/// Whether an integer lies within bounds, for each clause its own.
class IntBoundsQuestion final : public PlanQuestion {
public:
    IntBoundsQuestion(Int const & operand, IntPieces pieces)
        : operand_(operand), pieces_(std::move(pieces)) {}
    ClauseBits clausesLeft(PlanRun run) const override {
        return pieces_.clausesOf(operand_.read(run));
    }
    String text() const override { return operand_.text() + " within bounds"; }

private:
    PlanInt operand_;
    IntPieces pieces_;
};

/// Whether a prefix is covered by one of some, for each clause its own.
class PrefixCoveredQuestion final : public PlanQuestion {
public:
    PrefixCoveredQuestion(IpPrefix const & operand, CoverTable table, ClauseBits others)
        : operand_(operand), table_(std::move(table)), others_(others) {}
    ClauseBits clausesLeft(PlanRun run) const override {
        return others_ | table_.clausesOf(operand_.read(run));
    }
    String text() const override { return operand_.text() + " covered by constants"; }

private:
    PlanPrefix operand_;
    CoverTable table_;
    ClauseBits others_;
};

/// What only one clause asks, as steps of their own. They only read, as all of the chain does, so
/// that nothing is lost when a clause is passed over without asking. It cannot leave the function,
/// because what only reads neither returns nor exits.
class ConditionQuestion final : public PlanQuestion {
public:
    /// The steps end with the truth of the condition; unknown counts as false. The steps belong to
    /// the plan.
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

/// What a table with those questions is, for dumps. Both kinds of tables read alike there.
StepText describeTable(std::span<std::unique_ptr<PlanQuestion const> const> questions,
                       std::span<PlanStep const * const> targets, PlanStep const * otherwise);

/// The chain, when its clauses ask one question and nothing else. No answers need be kept: the
/// first bit that is left is the clause.
class OneQuestionStep final : public PlanStep {
public:
    /// One target a clause, 1 to `maxClauses` of them; `otherwise` is for the route that none
    /// wants.
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
    /// Those that there are; a question may answer for more.
    ClauseBits clauses_;
    PlanStep const * otherwise_;
};

/// The chain with several questions. Each question is asked once, when the tree would first ask any
/// part of it: a clause is passed over only for an answer that its tree had come to.
///
/// So a run reads what the walk would read, each thing at most as often, and asks no question of a
/// clause whose earlier parts are false. Agents that count reads see fewer of them, never others.
class DecisionTableStep final : public PlanStep {
public:
    /// So that the questions that were asked fit a word, and the answers a small array on the
    /// stack.
    static constexpr std::size_t maxQuestions = 64;

    struct Clause {
        std::vector<U8> questions; ///< numbers, in the order of the condition; at least one
        PlanStep const * target;
    };
    /// At most `maxQuestions` questions and `maxClauses` clauses. Numbers of questions must be
    /// valid.
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
            // Always the first clause that is open: the order of the chain decides which of several
            // holds.
            auto const clause = static_cast<std::size_t>(std::countr_zero(answers.open));
            if (holds(clause, answers, run)) {
                return clauses_[clause].target;
            }
            // Its first question may have left it open, and a later one ruled it out.
            answers.open &= ~(ClauseBits{1} << clause);
        }
        return otherwise_;
    }
    StepText describe() const override;

private:
    /// What a run has found out so far. It lives on the stack of the run, so that threads share the
    /// step. Answers are written before they are read, which is why the array starts without
    /// values.
    struct Answers {
        ClauseBits open;               ///< clauses of which nothing is known, or only later parts
        U64 asked = 0;                 ///< bit i for question i
        ClauseBits left[maxQuestions]; // NOLINT(cppcoreguidelines-pro-type-member-init)
    };

    /// Asks the parts of a clause in its order until one is false. An answer rules out, in the same
    /// instant, every other clause whose first question it is: these need not be visited at all.
    /// Clauses in which the question stands later stay open, for a part before it may want to be
    /// asked first.
    bool holds(std::size_t clause, Answers & answers, PlanRun run) const {
        for (U8 const question : clauses_[clause].questions) {
            // An answer holds for the whole run: nothing in a chain's conditions changes what they
            // ask about.
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
    /// In the order of the chain.
    std::vector<Clause> clauses_;
    PlanStep const * otherwise_;
};

} // namespace Qcf::Eval
