#pragma once

#include "QcfLib/PlanStep.h"

#include <vector>

namespace Qcf::Eval {

/// Which of many tests of one attribute against constants hold, by one look-up a value of the
/// attribute: a table from constant to the tests that it satisfies. At most 64 tests.
class PlanIndex {
public:
    static constexpr std::size_t maxTests = 64;

    PlanIndex() = default;
    PlanIndex(PlanIndex const &) = delete;
    PlanIndex & operator=(PlanIndex const &) = delete;
    virtual ~PlanIndex() = default;

    /// Bit i is set when test i holds for the route of the run.
    virtual U64 testsThatHold(PlanRun & run) const = 0;
};

/// Constants with the tests that they satisfy: a table of open addresses behind a filter of bits,
/// since most values of a route are in no test.
template <typename Value>
class ConstantTable {
public:
    void insert(Value const & value, std::size_t test) {
        entries_.push_back({value, U64{1} << test});
    }
    /// To be called after the last insertion.
    void seal();
    U64 testsOf(Value const & value) const {
        U64 const spread = spreadBits(value);
        U64 const bit = spread & filterMask_;
        bool const mayBeIn = ((filter_[bit / 64] >> (bit % 64)) & 1) != 0;
        return mayBeIn ? foundTests(value, spread) : 0;
    }

private:
    struct Entry {
        Value value;
        U64 tests;
    };
    U64 foundTests(Value const & value, U64 spread) const {
        for (std::size_t at = spread & mask_; slots_[at].tests != 0; at = (at + 1) & mask_) {
            if (slots_[at].value == value) {
                return slots_[at].tests;
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

/// Tests that an integer is one of some constants.
class IntIndex final : public PlanIndex {
public:
    explicit IntIndex(Int const & operand) : operand_(operand) {}
    ConstantTable<U64> & table() { return table_; }
    U64 testsThatHold(PlanRun & run) const override { return table_.testsOf(operand_.read(run)); }

private:
    PlanInt operand_;
    ConstantTable<U64> table_;
};

/// Tests that a set holds any of some constants.
template <typename Set>
class SetIndex final : public PlanIndex {
public:
    explicit SetIndex(SetStorage<Set> const & operand) : operand_(operand) {}
    ConstantTable<typename Set::Value> & table() { return table_; }
    U64 testsThatHold(PlanRun & run) const override {
        PtrConst<Set> fresh;
        U64 tests = 0;
        if (Set const * const set = operand_.lend(run, fresh)) {
            for (auto const & value : set->view()) {
                tests |= table_.testsOf(value);
            }
        }
        return tests;
    }

private:
    PlanSet<Set> operand_;
    ConstantTable<typename Set::Value> table_;
};

} // namespace Qcf::Eval
