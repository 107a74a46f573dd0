#pragma once

#include "QcfLib/AetNode.h"
#include "QcfLib/AttributeSource.h"
#include "QcfLib/IntRange.h"
#include "QcfLib/QcfEvalCollections.h"
#include "QcfLib/RoutingTypes.h"

/// The typed value nodes that operators read: a base a value type, and a modifiable one for
/// attributes that can be written. Operators never care whether an operand is a constant, an
/// argument or a route attribute.
///
///     U64 const value = node.lhs()->getVal(context); // Int: as the agent or the function has it
///     node.lhs()->setVal(value + 1, context);        // IntModifiable: into the context
///
/// Values are read by the thread that owns the context. Each read of a scalar attribute asks the
/// agent again, unless the function wrote it; sets and paths are fetched once a route. Reading an
/// argument asserts that the running function has it; an accessor's exception passes through.
namespace Qcf::Eval {

/// An integer: an unsigned magnitude with a separate sign.
/// An attribute, a constant, an argument, or derived from others: the number of communities, the
/// length of a path or a prefix, an IP version.
class Int : public StorageType {
public:
    using StorageType::StorageType;
    /// Where a plan reads it; without an accessor for constants, arguments and derived values.
    /// A plan asks it once, when it is made; the answer does not depend on a route.
    virtual IntSource source() const { return {}; }
    /// The magnitude.
    /// Of an attribute that the function wrote: the new value.
    virtual U64 getVal(Ptr<EvalContextBase const> const & context) const = 0;
    /// A value of this node that was read elsewhere; asserts what getVal does.
    /// For plans, which read past the node.
    virtual U64 checkedVal(U64 value) const { return value; }
    /// Sign; only constants and arguments can be negative. A negative zero is zero.
    /// False unless the class says otherwise.
    virtual bool negative(Ptr<EvalContextBase const> const & context) const;
    /// Sign and magnitude, read in this order.
    /// What arithmetic reads: an argument is looked up for each of the two.
    virtual SignedMagnitude signedVal(Ptr<EvalContextBase const> const & context) const {
        bool const isNegative = negative(context);
        return {isNegative, getVal(context)};
    }
    void pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                            StackFrameDataBase_ * frame) const override;
};

/// An integer attribute that can be written, with its range.
///
///     lhs.setVal(rangeOf(lhs).clamp(value), context); // in range, whatever came out
///
class IntModifiable : public Int {
public:
    using Int::Int;
    /// The range, both ends included; constants of the class.
    /// The same for all routes and contexts.
    virtual U64 min() const = 0;
    virtual U64 max() const = 0;
    /// The attribute's default value, which may lie outside the range; min() where it has none.
    virtual U64 defaultValue() const { return min(); }
    /// Stores the value in the context, to be written back if the function accepts. Asserts that it
    /// is in range, or the default value.
    /// Writing the value that the attribute has already counts as a change all the same.
    virtual void setVal(U64 value, Ptr<EvalContextBase> const & context) const = 0;
};

/// A bandwidth in bits per second. NaN is possible, and makes every comparison false.
/// A float as the protocol carries it: large values are rounded.
class Bandwidth : public StorageType {
public:
    using StorageType::StorageType;
    /// Operators compare by number; nodes and frames compare bandwidths by their bits.
    virtual F32 getVal(Ptr<EvalContextBase const> const & context) const = 0;
    /// As a bandwidth, which only a parameter of that type finds.
    void pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                            StackFrameDataBase_ * frame) const override;
};

/// True, false or unknown.
/// As a parameter it is an argument type of its own; as a statement it stands in an expression.
class TriStateBool : public StorageType {
public:
    using StorageType::StorageType;
    /// Neither value is an error: unknown says that nothing decided.
    virtual TriStateBoolValue getVal(Ptr<EvalContextBase const> const & context) const = 0;
    void pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                            StackFrameDataBase_ * frame) const override;
};

/// A named prefix list.
/// Constants name a list by its slot; a parameter gets what the caller's list was.
class PrefixList : public StorageType {
public:
    using StorageType::StorageType;
    /// The list's matcher for candidates of a family, null when there is none. It belongs to the
    /// external matchers of the context and is lent for the evaluation.
    virtual Routing::Policy::PrefixListMatcher const *
    getValWithArgs(Ptr<EvalContextBase const> const & context, AddressFamily family) const = 0;
    void pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                            StackFrameDataBase_ * frame) const override;
};

/// An address of either family, or an unset one.
/// An unset one is of no family; its version reads as 0.
class IpAddress : public StorageType {
public:
    using StorageType::StorageType;
    /// By value; allocates nothing.
    virtual IpGenAddr getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

/// An address that can be written: the next hop.
/// Nothing is asserted of the value: whether its family fits the route is for the agent to see.
class IpAddressModifiable : public IpAddress {
public:
    using IpAddress::IpAddress;
    virtual void setVal(IpGenAddr value, Ptr<EvalContextBase> const & context) const = 0;
};

/// A prefix of either family, or an unset one.
/// Read-only: what a route's prefix is no function changes.
class IpPrefix : public StorageType {
public:
    using StorageType::StorageType;
    /// Where a plan reads it; null for constants.
    /// As the sources above: asked once, when a plan is made.
    virtual PrefixSource source() const { return nullptr; }
    /// By value; allocates nothing.
    virtual IpGenPrefix getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

/// An Ethernet address, six bytes.
/// Read-only: no attribute of the type can be written.
class MacAddress : public StorageType {
public:
    using StorageType::StorageType;
    /// By value; allocates nothing.
    virtual EthAddr getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

/// An Ethernet segment identifier, which may be unset.
/// Read-only.
class Esi : public StorageType {
public:
    using StorageType::StorageType;
    /// No value where the route has none.
    virtual std::optional<Evpn::Esid> getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

/// An interface, by its name.
class Interface : public StorageType {
public:
    using StorageType::StorageType;
    /// By value, the name with it.
    virtual IntfId getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

/// The RIBs in which next hops are resolved, in order.
/// Handed out by value.
class ResolutionRibs : public StorageType {
public:
    using StorageType::StorageType;
    virtual Routing::Rib::ResolutionRibProfileConfig
    getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

/// The same as an attribute that can be written.
/// The new value is copied into the context.
class ResolutionRibsModifiable : public ResolutionRibs {
public:
    using ResolutionRibs::ResolutionRibs;
    virtual void setVal(Routing::Rib::ResolutionRibProfileConfig value,
                        Ptr<EvalContextBase> const & context) const = 0;
};

/// One community: a constant, or computed while a function runs.
/// Standard ones are integers; these are extended or large.
class CommunityValue : public StorageType {
public:
    using StorageType::StorageType;
    /// Computed anew by each call where it is no constant.
    virtual Acl::CommunityValue getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

/// An AS path. The container belongs to the context and is lent for the evaluation.
/// Null counts as the empty path.
class AsPath : public StorageType {
public:
    using StorageType::StorageType;
    /// Good until the path is written or the context is reset.
    virtual Routing::Bgp::AspathContainerFromExisting const *
    getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

/// The route's AS path as an attribute that can be written.
///
///     auto * const path = node.getValModifiable(context);
///     ... // prepend to it, replace in it
///     node.setVal(path, context); // now it counts as modified
///
class AsPathModifiable : public AsPath {
public:
    using AsPath::AsPath;
    /// The copy that operators change in place before they store it with setVal.
    /// Fetched apart from the path as it came, which stays readable by the input twin.
    virtual Routing::Bgp::AspathContainerFromExisting *
    getValModifiable(Ptr<EvalContextBase const> const & context) const = 0;
    virtual void setVal(Routing::Bgp::AspathContainerFromExisting * value,
                        Ptr<EvalContextBase> const & context) const = 0;
};

/// Base of the nodes that yield a set. A set is lent: `lendVal` gives a plain pointer that is good
/// until the attribute is written or the context is reset, and puts a set that had to be built for
/// this call into `fresh`. Null and empty both mean the empty set.
/// Nothing is counted on the way: counts of constants are shared by threads.
template <typename Set_>
class SetStorage : public StorageType {
public:
    using Set = Set_;
    using StorageType::StorageType;
    /// Where a plan reads it; without an accessor for literals.
    /// Null members where the node has to be asked each time.
    virtual SetSource<Set> source() const { return {}; }
    /// `fresh` is null before; who asked keeps it until done with the answer.
    virtual Set const * lendVal(Ptr<EvalContextBase const> const & context,
                                PtrConst<Set> & fresh) const = 0;
    /// The same, counted.
    /// For who keeps it beyond that; costs a count, which evaluation avoids.
    PtrConst<Set> getVal(Ptr<EvalContextBase const> const & context) const {
        PtrConst<Set> fresh;
        Set const * const lent = lendVal(context, fresh);
        return fresh ? std::move(fresh) : PtrConst<Set>(lent);
    }
};

/// A set of integers: communities in their 32 bits, levels, and literals.
class IntSet : public SetStorage<U64SmallVector> {
public:
    using SetStorage::SetStorage;
};

/// A set of integers that can be written.
/// Edits overwrite what they may and store the result; whoever stores a set by itself builds a new
/// one.
class IntSetModifiable : public IntSet {
public:
    using IntSet::IntSet;
    /// Stores a set as the attribute's value; null stores the empty set.
    /// The context holds it from then on; nobody may change it but that context's edits.
    virtual void setVal(PtrConst<U64SmallVector> value,
                        Ptr<EvalContextBase> const & context) const = 0;
    /// The same for a set that lives until the context's next reset without being held here: one of
    /// its cached inputs, or a constant of the function that it evaluates.
    /// Costs no count where the attribute's class overrides it.
    virtual void lentValIs(U64SmallVector const * value,
                           Ptr<EvalContextBase> const & context) const {
        setVal(PtrConst<U64SmallVector>(value), context);
    }
};

/// A set of extended or large communities.
class CommunitySet : public SetStorage<CommunitySmallVector> {
public:
    using SetStorage::SetStorage;
};

/// A set of communities that can be written.
/// The same operations, by the other type of set.
class CommunitySetModifiable : public CommunitySet {
public:
    using CommunitySet::CommunitySet;
    /// As of IntSetModifiable.
    virtual void setVal(PtrConst<CommunitySmallVector> value,
                        Ptr<EvalContextBase> const & context) const = 0;
    virtual void lentValIs(CommunitySmallVector const * value,
                           Ptr<EvalContextBase> const & context) const {
        setVal(PtrConst<CommunitySmallVector>(value), context);
    }
};

} // namespace Qcf::Eval
