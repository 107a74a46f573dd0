#pragma once

#include "QcfLib/MembershipIndex.h"
#include "QcfLib/Operators/Lowering.h"

#include <algorithm>
#include <vector>

/// From what a route has to the clauses whose constants it satisfies: a table for each kind of
/// test. A single test is a table of one clause.
///
/// Tables are made once, with a plan; they are immutable, and a question allocates nothing.
namespace Qcf::Eval {

/// Clauses of a chain, bit i for clause i. The first clause of the chain is the lowest bit, so that
/// the first that holds is found by counting zeros. A longer chain becomes several tables, each the
/// `else` of the one before.
using ClauseBits = U64;
inline constexpr std::size_t maxClauses = 64;

/// A constant and the clauses that it satisfies, side by side: who has found the one has the other.
template <typename Value>
struct ConstantEntry {
    Value value{};
    /// At least one, unless the entry stands for no constant.
    ClauseBits clauses = 0;
    bool isFree() const { return clauses == 0; }
};

/// From a constant to the clauses that it satisfies. A look-up costs the same however many clauses
/// and constants there are: it goes by a hash index.
template <typename Value>
class ConstantTable {
public:
    using Entry = ConstantEntry<Value>;

    /// A value may have several entries. Several clauses may want one constant, and a clause may
    /// name it twice. The order is of no matter.
    explicit ConstantTable(std::vector<Entry> entries);

    /// None for a value that no clause wants.
    ClauseBits clausesOf(Value const & value) const {
        auto const isIt = [&](Entry const & entry) { return entry.value == value; };
        return entries_.find(spreadBits(value), isIt).clauses;
    }

private:
    SpreadTable<Entry> entries_;
};

extern template class ConstantTable<U64>;
extern template class ConstantTable<Acl::CommunityValue>;

/// From an integer to the clauses within whose bounds it lies: the bounds cut the integers into
/// pieces of equal answers, and a bisection without branches finds the piece.
class IntPieces {
public:
    /// Bounds that nothing satisfies are allowed; those of one clause are alternatives.
    struct Range {
        ClauseBits clauses;
        IntBounds bounds;
    };
    /// `others` are in every answer. The answers of all pieces are worked out here, in time of a
    /// sort.
    explicit IntPieces(std::vector<Range> const & ranges, ClauseBits others = 0);

    ClauseBits clausesOf(U64 value) const {
        // The first piece begins at 0, so that every value lies in one.
        std::size_t at = 0;
        for (std::size_t step = starts_.size() / 2; step > 0; step /= 2) {
            at += starts_[at + step] <= value ? step : 0;
        }
        return clauses_[at];
    }

private:
    /// Where the pieces begin in which all values satisfy the same clauses, from 0 on, repeated at
    /// the end up to a power of two. The power of two makes the bisection a fixed number of steps,
    /// none of which can run over the end. Repeated starts are harmless: all of them have the same
    /// answer.
    std::vector<U64> starts_;
    std::vector<ClauseBits> clauses_; ///< for each piece
};

/// From a prefix to the clauses that want one around it.
///
/// The constants are sorted, and those that say nothing beyond one around them fall out; what one
/// clause wants is thus a table of disjoint prefixes. Of a prefix the last constant that begins at
/// or before it is found, by bisection; where that is not around it, one around that may be.
class CoverTable {
public:
    using Entry = ConstantEntry<IpGenPrefix>;

    /// A prefix may have several entries; one of no family covers nothing.
    explicit CoverTable(std::vector<Entry> entries);

    /// None for a prefix that no constant covers, and for no prefix.
    ClauseBits clausesOf(IpGenPrefix const & prefix) const {
        switch (prefix.af()) {
        case AddressFamily::ipv4:
            return clausesAround(v4_, lastV4UpTo(prefix.addr().v4Value()), prefix);
        case AddressFamily::ipv6:
            return clausesAround(v6_, lastV6UpTo(prefix.addr()), prefix);
        case AddressFamily::none:
            break;
        }
        return 0;
    }
    /// Those that are left, of both families.
    std::size_t count() const { return count_; }

private:
    /// A constant, and what its being around a prefix says.
    struct Covering {
        IpGenPrefix prefix;
        U32 around = 0;         ///< the next larger one around it; 0 for none
        ClauseBits clauses = 0; ///< its own, and those of all around it
    };
    /// The first one is none: what begins before all others comes to it, and what nothing covers.
    using Family = std::vector<Covering>;

    std::size_t lastV4UpTo(U32 address) const {
        std::size_t at = 0;
        for (std::size_t step = v4Starts_.size() / 2; step > 0; step /= 2) {
            at += v4Starts_[at + step] <= address ? step : 0;
        }
        return at;
    }
    std::size_t lastV6UpTo(IpGenAddr const & address) const {
        auto const isBefore = [](IpGenAddr const & a, Covering const & b) {
            return a < b.prefix.addr();
        };
        auto const behind = std::upper_bound(v6_.begin() + 1, v6_.end(), address, isBefore);
        return static_cast<std::size_t>(behind - v6_.begin()) - 1;
    }
    static ClauseBits clausesAround(Family const & family, std::size_t at,
                                    IpGenPrefix const & prefix) {
        while (at != 0 && !family[at].prefix.contains(prefix)) {
            at = family[at].around;
        }
        return family[at].clauses;
    }
    void add(Family & family, Entry const & entry);

    /// By address, then by length: a constant stands behind those around it.
    Family v4_ = Family(1);
    Family v6_ = Family(1);
    std::size_t count_ = 0;
    /// Where those of v4_ begin; both are repeated at the end as the starts of IntPieces are.
    std::vector<U32> v4Starts_;
};

} // namespace Qcf::Eval
