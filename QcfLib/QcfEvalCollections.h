#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Slab.h"
#include "Platform/Framework/Types.h"
#include "Platform/Routing/CommunityValue.h"
#include "QcfLib/MembershipIndex.h"

#include <memory>
#include <span>

#include <boost/container/small_vector.hpp>

/// The containers that set values travel in: two kinds of sets and a list, 128 values inside.
///
///     auto const set = u64SmallVectorFactory(ModifyFlag::reuseOnWrite);
///     set->insert(3);
///     set->insert(1);
///     set->normalize();                       // ascending, each once
///     set->contains(3);                       // a search; an index where there are many
///
/// A container belongs to one thread, or is constant and read by any number. Evaluations allocate
/// none after their first routes.
namespace Qcf::Eval {

/// Values that a container or a scratch buffer holds without a heap block.
inline constexpr std::size_t inlineSetCapacity = 128;

// Room inside for a usual route's values: a container that has been used needs no heap any more,
// and a larger set keeps its heap block from route to route.
using U64Buffer = boost::container::small_vector<U64, inlineSetCapacity>;
using CommunityBuffer = boost::container::small_vector<Acl::CommunityValue, inlineSetCapacity>;

/// Whether a set operation may write its result into its first operand.
/// The flag is a set's whole permission: whether anybody else holds it is not asked, since counting
/// would touch memory that threads share.
enum class ModifyFlag : U8 {
    copyOnWrite = 0, ///< others may see the container: never written
    reuseOnWrite = 1 ///< a result of this evaluation, or its copy of an input
};

/// What the three containers share: a flag and values. A null pointer to a container and an empty
/// container mean the same everywhere: the empty set. A container belongs to one evaluating thread,
/// or is constant.
///
/// Values may be lent to a container: it reads them where they are, and copies them when it is
/// about to change. An agent that lends a route's values spares a copy of every set that a function
/// only reads.
/// Changing the container ends the lending: it has values of its own from then on.
template <typename Buffer_>
class ValueVector : public PtrInterface {
public:
    using Buffer = Buffer_;
    using Value = typename Buffer::value_type;

    /// Empty.
    explicit ValueVector(ModifyFlag modifyFlag) : modifyFlag_(modifyFlag) {}

    /// Who reads a set does not care; who edits one asks first.
    ModifyFlag modifyFlag() const { return modifyFlag_; }
    /// For its owner alone: a set that others already see must not become `reuseOnWrite`.
    void modifyFlagIs(ModifyFlag modifyFlag) { modifyFlag_ = modifyFlag; }

    /// The values where they are; good until the container changes.
    /// Costs a test; loops take it once.
    std::span<Value const> view() const {
        return lent_.empty() ? std::span<Value const>(values_.data(), values_.size()) : lent_;
    }
    std::size_t count() const { return view().size(); }
    bool empty() const { return lent_.empty() && values_.empty(); }
    /// `i` is below `count()`; front and back ask for one value at least. None of it is checked.
    Value const & at(std::size_t i) const { return view()[i]; }
    Value const & front() const { return view().front(); }
    Value const & back() const { return view().back(); }
    /// In the container's order, which for sets is ascending.
    auto begin() const { return view().begin(); }
    auto end() const { return view().end(); }

    /// The values' storage, for those who build a set: it must end ascending without duplicates.
    /// Copies what was lent, if anything was: from here on the container has values of its own.
    Buffer & values() {
        if (isLent()) {
            values_.assign(lent_.begin(), lent_.end());
            lent_ = {};
        }
        return values_;
    }
    /// Storage stays for the next values.
    void clear() {
        values_.clear();
        lent_ = {};
    }

    /// Shows the values of somebody else in place of its own. They must be as this container's own
    /// would be, and stay unchanged until it is cleared or destroyed.
    /// An empty span lends nothing: the container then shows what it has of its own.
    void lend(std::span<Value const> values) { lent_ = values; }
    /// Also false when no values were lent: an empty view lends nothing.
    bool isLent() const { return !lent_.empty(); }

    /// Speeds up membership in a large set; to be called once on a set that never changes again.
    /// Takes memory in proportion to the values; nothing for a set of 64 or fewer.
    void indexIs() {
        if (count() > largeSet) {
            index_ = std::make_unique<MembershipIndex const>(view());
        }
    }
    /// Null for small sets and those that may change.
    MembershipIndex const * index() const { return index_.get(); }

private:
    // Up to here a bisection does, without memory of its own.
    static constexpr std::size_t largeSet = 64;

    /// What may be done to the values by others than the owner.
    ModifyFlag modifyFlag_;
    // The two ways to hold values: lent ones win as long as there are any.
    std::span<Value const> lent_; ///< empty while the values are the container's own
    /// Positions among the values as they were when it was made.
    std::unique_ptr<MembershipIndex const> index_;
    /// The container's own, stale while others are lent.
    Buffer values_;
};

/// A set of unsigned integers: ascending, without duplicates. `insert` appends unchecked; whoever
/// fills a set appends in order, or calls `normalize` afterwards.
/// Every operation below relies on the order and none checks it: a set that was filled in
/// disorder and not normalized gives wrong answers.
class U64SmallVector final : public ValueVector<U64Buffer> {
public:
    using ValueVector::ValueVector;
    /// An empty set of its own, with room for `inlineSetCapacity` values inside.
    static Ptr<U64SmallVector> U64SmallVectorIs(ModifyFlag modifyFlag);

    /// Appends. The caller sees to the order.
    void insert(U64 value) { values().push_back(value); }
    /// Sorts and drops duplicates.
    void normalize();
    /// To be called when an operation has overwritten the values.
    /// Here for the templates that edit both kinds of sets; integers have nothing to note.
    void noteOverwritten() {}
    /// By bisection, or by the index of a large constant.
    bool contains(U64 value) const;

    // Either operand may be null.
    /// The same values; how they came and what flags the sets have does not count.
    static bool isEqual(U64SmallVector const * a, U64SmallVector const * b);
    /// `a` within `b`.
    /// The empty set lies within every other.
    static bool isSubset(U64SmallVector const * a, U64SmallVector const * b);
    /// Whether they share a value.
    /// Never true where one of them is empty.
    static bool hasAny(U64SmallVector const * a, U64SmallVector const * b);
    /// Union, difference and intersection: one of the operands itself where it is the answer, else
    /// the first operand overwritten where it is `reuseOnWrite` and the result is expected to fit
    /// `inlineSetCapacity`, else a new set; null when empty.
    /// `scratch` is the context's buffer for values on their way; what it held is lost.
    static PtrConst<U64SmallVector> add(PtrConst<U64SmallVector> const & a,
                                        PtrConst<U64SmallVector> const & b, U64Buffer & scratch);
    /// What of `a` is not in `b`.
    static PtrConst<U64SmallVector> remove(PtrConst<U64SmallVector> const & a,
                                           PtrConst<U64SmallVector> const & b, U64Buffer & scratch);
    /// What of `a` is in `b`, too.
    static PtrConst<U64SmallVector> retain(PtrConst<U64SmallVector> const & a,
                                           PtrConst<U64SmallVector> const & b, U64Buffer & scratch);
    /// The values in order, joined by ",".
    String toStrep() const;

    // From a slab: a set that has to be new costs no general allocation.
    static void * operator new(std::size_t) { return Slab<U64SmallVector>::allocate(); }
    static void operator delete(void * memory) noexcept {
        Slab<U64SmallVector>::deallocate(memory);
    }
};

/// A list of unsigned integers in the order of insertion; duplicates are kept.
/// The bounds of ranges are such lists, two in parallel, where order and repetition count.
class U64UnsortedSmallVector final : public ValueVector<U64Buffer> {
public:
    using ValueVector::ValueVector;
    /// An empty list.
    static Ptr<U64UnsortedSmallVector> U64UnsortedSmallVectorIs(ModifyFlag modifyFlag);

    /// Appends.
    void insert(U64 value) { values().push_back(value); }
    /// None: nobody asks a list for a member, and its values need not differ from each other, as an
    /// index wants.
    void indexIs() {}
    /// The same values in the same order; null is the empty list.
    static bool isEqual(U64UnsortedSmallVector const * a, U64UnsortedSmallVector const * b);
    /// The values in order, joined by ",".
    String toStrep() const;

    static void * operator new(std::size_t) { return Slab<U64UnsortedSmallVector>::allocate(); }
    static void operator delete(void * memory) noexcept {
        Slab<U64UnsortedSmallVector>::deallocate(memory);
    }
};

/// A set of communities: ascending, without duplicates.
///
/// `lbwValue` is the last link-bandwidth community that `insert` (or the copy back into a reused
/// operand) put in, all zero when none: a union built in a new set leaves it zero.
/// It is what values that are computed from a set's link bandwidth read.
class CommunitySmallVector final : public ValueVector<CommunityBuffer> {
public:
    using ValueVector::ValueVector;
    /// An empty set, without a link bandwidth.
    static Ptr<CommunitySmallVector> CommunitySmallVectorIs(ModifyFlag modifyFlag);

    Acl::CommunityValue lbwValue() const {
        return lbwFollowsValues_ || isLent() ? lastLinkBandwidth() : lbwValue_;
    }
    /// For whoever knows better than the values do.
    void lbwValueIs(Acl::CommunityValue const & lbwValue) {
        lbwValue_ = lbwValue;
        lbwFollowsValues_ = false;
    }

    /// As of ValueVector; `lbwValue` stays what it was.
    CommunityBuffer & values() {
        lbwValueIs(lbwValue());
        return ValueVector::values();
    }
    /// Also forgets the link bandwidth.
    void clear() {
        ValueVector::clear();
        lbwValueIs({});
    }
    /// Appends, and notes a link bandwidth.
    void insert(Acl::CommunityValue const & value) {
        values().push_back(value);
        if (value.isLinkBandwidth()) {
            lbwValue_ = value;
        }
    }
    /// Sorts and drops duplicates; `lbwValue` stays what it was.
    void normalize();
    /// To be called when an operation has overwritten the values: `lbwValue` becomes the last one
    /// among them.
    void noteOverwritten() { lbwFollowsValues_ = true; }
    /// By the whole value, its type included.
    bool contains(Acl::CommunityValue const & value) const;

    // As of U64SmallVector.
    static bool isEqual(CommunitySmallVector const * a, CommunitySmallVector const * b);
    static bool isSubset(CommunitySmallVector const * a, CommunitySmallVector const * b);
    static bool hasAny(CommunitySmallVector const * a, CommunitySmallVector const * b);
    static PtrConst<CommunitySmallVector> add(PtrConst<CommunitySmallVector> const & a,
                                              PtrConst<CommunitySmallVector> const & b,
                                              CommunityBuffer & scratch);
    static PtrConst<CommunitySmallVector> remove(PtrConst<CommunitySmallVector> const & a,
                                                 PtrConst<CommunitySmallVector> const & b,
                                                 CommunityBuffer & scratch);
    static PtrConst<CommunitySmallVector> retain(PtrConst<CommunitySmallVector> const & a,
                                                 PtrConst<CommunitySmallVector> const & b,
                                                 CommunityBuffer & scratch);
    String toStrep() const;

    static void * operator new(std::size_t) { return Slab<CommunitySmallVector>::allocate(); }
    static void operator delete(void * memory) noexcept {
        Slab<CommunitySmallVector>::deallocate(memory);
    }

private:
    /// By bisection: communities of one type stand together.
    Acl::CommunityValue lastLinkBandwidth() const;

    /// As it was inserted or set; of no meaning where it follows the values.
    Acl::CommunityValue lbwValue_;
    bool lbwFollowsValues_ = false; ///< it is the last one among the values, not yet looked up
};

// The same as the classes' own creators: an empty container.
Ptr<U64SmallVector> u64SmallVectorFactory(ModifyFlag modifyFlag);
Ptr<U64UnsortedSmallVector> u64UnsortedSmallVectorFactory(ModifyFlag modifyFlag);
Ptr<CommunitySmallVector> communitySmallVectorFactory(ModifyFlag modifyFlag);

} // namespace Qcf::Eval
