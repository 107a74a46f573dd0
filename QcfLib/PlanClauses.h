#pragma once

#include "QcfLib/PlanStep.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <vector>

/// A chain of `else if` as one step: which of its clauses is the first that holds.
///
/// The conditions of many clauses test the same few attributes against constants. Such tests are
/// one question of the whole chain: one look at the attribute tells for every clause whether its
/// tests of it hold. What is left open are tests that only one clause makes.
namespace Qcf::Eval {

/// Clauses of a chain, bit i for clause i.
using ClauseBits = U64;
inline constexpr std::size_t maxClauses = 64;

/// Something that the conditions of clauses ask of the route.
class PlanQuestion {
public:
    PlanQuestion() = default;
    PlanQuestion(PlanQuestion const &) = delete;
    PlanQuestion & operator=(PlanQuestion const &) = delete;
    virtual ~PlanQuestion() = default;

    /// The clauses that the answer does not rule out.
    virtual ClauseBits clausesLeft(PlanRun & run) const = 0;
};

/// From a constant to the clauses that it satisfies: a table of open addresses behind a filter of
/// bits, since most values of a route satisfy none.
template <typename Value>
class ConstantTable {
public:
    void insert(Value const & value, ClauseBits clauses) { entries_.push_back({value, clauses}); }
    /// To be called after the last insertion.
    void seal();
    ClauseBits clausesOf(Value const & value) const {
        U64 const spread = spreadBits(value);
        U64 const bit = spread & filterMask_;
        bool const mayBeIn = ((filter_[bit / 64] >> (bit % 64)) & 1) != 0;
        return mayBeIn ? found(value, spread) : 0;
    }

private:
    struct Entry {
        Value value;
        ClauseBits clauses;
    };
    ClauseBits found(Value const & value, U64 spread) const {
        for (std::size_t at = spread & mask_; slots_[at].clauses != 0; at = (at + 1) & mask_) {
            if (slots_[at].value == value) {
                return slots_[at].clauses;
            }
        }
        return 0;
    }

    std::vector<Entry> entries_;
    std::vector<Entry> slots_;
    std::vector<U64> filter_;
    U64 filterMask_ = 0;
    std::size_t mask_ = 0;
};

extern template class ConstantTable<U64>;
extern template class ConstantTable<Acl::CommunityValue>;

/// Whether an integer is one of some constants.
class IntInSetQuestion final : public PlanQuestion {
public:
    /// `others` are the clauses that do not ask this.
    IntInSetQuestion(Int const & operand, ConstantTable<U64> table, ClauseBits others)
        : operand_(operand), table_(std::move(table)), others_(others) {}
    ClauseBits clausesLeft(PlanRun & run) const override {
        return others_ | table_.clausesOf(operand_.read(run));
    }

private:
    PlanInt operand_;
    ConstantTable<U64> table_;
    ClauseBits others_;
};

/// Whether a set holds any of some constants.
template <typename Set>
class SetHasAnyQuestion final : public PlanQuestion {
public:
    SetHasAnyQuestion(SetStorage<Set> const & operand, ConstantTable<typename Set::Value> table,
                      ClauseBits others)
        : operand_(operand), table_(std::move(table)), others_(others) {}
    ClauseBits clausesLeft(PlanRun & run) const override {
        PtrConst<Set> fresh;
        ClauseBits clauses = others_;
        if (Set const * const set = operand_.lend(run, fresh)) {
            for (auto const & value : set->view()) {
                clauses |= table_.clausesOf(value);
            }
        }
        return clauses;
    }

private:
    PlanSet<Set> operand_;
    ConstantTable<typename Set::Value> table_;
    ClauseBits others_;
};

/// The values that satisfy a clause's comparisons of one integer; none when `low` is above `high`.
struct IntBounds {
    U64 low = 0;
    U64 high = ~U64{0};
};

/// Whether an integer lies within bounds.
class IntBoundsQuestion final : public PlanQuestion {
public:
    struct Clause {
        ClauseBits bit;
        IntBounds bounds;
    };
    IntBoundsQuestion(Int const & operand, std::vector<Clause> const & clauses, ClauseBits others);
    ClauseBits clausesLeft(PlanRun & run) const override {
        U64 const value = operand_.read(run);
        std::size_t at = 0;
        for (std::size_t step = starts_.size() / 2; step > 0; step /= 2) {
            at += starts_[at + step] <= value ? step : 0;
        }
        return clauses_[at];
    }

private:
    PlanInt operand_;
    /// Where the pieces begin in which all values satisfy the same clauses, from 0 on, repeated at
    /// the end up to a power of two.
    std::vector<U64> starts_;
    std::vector<ClauseBits> clauses_; ///< for each piece
};

/// What only one clause asks, as steps of their own.
class ConditionQuestion final : public PlanQuestion {
public:
    /// The steps end with the truth of the condition; unknown counts as false.
    ConditionQuestion(PlanStep const * first, ClauseBits clause) : first_(first), clause_(clause) {}
    ClauseBits clausesLeft(PlanRun & run) const override {
        return runSteps(first_, run).isTrue() ? ~ClauseBits{0} : ~clause_;
    }

private:
    PlanStep const * first_;
    ClauseBits clause_;
};

/// The chain. Questions are asked when the first clause that is not ruled out needs the answer, so
/// in the order of its conditions, and each once.
class ClauseStep final : public PlanStep {
public:
    static constexpr std::size_t maxQuestions = 64;

    /// What a clause needs to know before it holds, and where it leads to.
    struct Clause {
        Clause(std::vector<U8> questions, PlanStep const * target)
            : target(target), inOrder(std::move(questions)) {
            for (U8 const question : inOrder) {
                needs |= U64{1} << question;
            }
        }

        U64 needs = 0; ///< the questions, bit i for question i
        PlanStep const * target;
        std::vector<U8> inOrder; ///< as in the condition
    };
    ClauseStep(std::vector<std::unique_ptr<PlanQuestion const>> questions,
               std::vector<Clause> clauses, PlanStep const * otherwise)
        : questions_(std::move(questions)), clauses_(std::move(clauses)), otherwise_(otherwise) {}

    PlanStep const * run(PlanRun & run) const override {
        ClauseBits left = ~ClauseBits{0} >> (maxClauses - clauses_.size());
        for (U64 asked = 0; left != 0;) {
            Clause const & clause = clauses_[static_cast<std::size_t>(std::countr_zero(left))];
            U64 const open = clause.needs & ~asked;
            if (open == 0) {
                return clause.target;
            }
            std::size_t const question = firstOf(open, clause);
            asked |= U64{1} << question;
            left &= questions_[question]->clausesLeft(run);
        }
        return otherwise_;
    }

private:
    static std::size_t firstOf(U64 open, Clause const & clause) {
        if ((open & (open - 1)) == 0) {
            return static_cast<std::size_t>(std::countr_zero(open));
        }
        return *std::find_if(clause.inOrder.begin(), clause.inOrder.end(),
                             [open](U8 question) { return ((open >> question) & 1) != 0; });
    }

    std::vector<std::unique_ptr<PlanQuestion const>> questions_;
    std::vector<Clause> clauses_;
    PlanStep const * otherwise_;
};

} // namespace Qcf::Eval
