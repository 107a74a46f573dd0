#pragma once

#include "QcfLib/AetNode.h"
#include "QcfLib/QcfEvalCollections.h"
#include "QcfLib/RoutingTypes.h"
#include "QcfLib/StoredSet.h"

/// The typed value nodes that operators read: a base a value type, and a modifiable one for
/// attributes that can be written. Operators never care whether an operand is a constant, an
/// argument or a route attribute.
namespace Qcf::Eval {

class AttributeContent;
class GeneratedEvalContext;

/// How the value of an integer attribute is read without asking its node: from the store of the
/// context while the flag is set, by the accessor otherwise. A value outside the bounds is the
/// node's business. Without an accessor the node has to be asked.
struct IntSource {
    U32 modifiedFlag = 0;
    U64 AttributeContent::*stored = nullptr;
    U64 (GeneratedEvalContext::*input)() const = nullptr;
    U64 min = 0;
    U64 max = ~U64{0};
};

/// The same for a set attribute.
template <typename Set>
struct SetSource {
    U32 modifiedFlag = 0;
    StoredSet<Set> AttributeContent::*stored = nullptr;
    Set * (GeneratedEvalContext::*input)() const = nullptr;
};

/// An integer's value. A negative zero is zero.
struct SignedMagnitude {
    bool negative;
    U64 magnitude;

    bool strictlyNegative() const { return negative && magnitude != 0; }
};

/// What an integer attribute may be set to; results are forced into it. The default value may lie
/// outside.
struct IntRange {
    U64 min;
    U64 max;
    U64 defaultValue;

    U64 clamp(U64 value) const { return value < min ? min : value > max ? max : value; }
    U64 sum(U64 a, U64 b) const {
        // A sum of two magnitudes that wraps lies above every range.
        U64 const result = a + b;
        return result < a ? max : clamp(result);
    }
    U64 difference(U64 a, U64 b) const { return a < b ? min : clamp(a - b); }
};

/// An integer: an unsigned magnitude with a separate sign.
class Int : public StorageType {
public:
    using StorageType::StorageType;
    virtual IntSource source() const { return {}; }
    virtual U64 getVal(Ptr<EvalContextBase const> const & context) const = 0;
    /// A value of this node that was read elsewhere; asserts what getVal does.
    virtual U64 checkedVal(U64 value) const { return value; }
    /// Sign; only constants and arguments can be negative. A negative zero is zero.
    virtual bool negative(Ptr<EvalContextBase const> const & context) const;
    /// Sign and magnitude, read in this order.
    virtual SignedMagnitude signedVal(Ptr<EvalContextBase const> const & context) const {
        bool const isNegative = negative(context);
        return {isNegative, getVal(context)};
    }
    void pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                            StackFrameDataBase_ * frame) const override;
};

/// An integer attribute that can be written, with its range.
class IntModifiable : public Int {
public:
    using Int::Int;
    virtual U64 min() const = 0;
    virtual U64 max() const = 0;
    /// The attribute's default value, which may lie outside the range; min() where it has none.
    virtual U64 defaultValue() const { return min(); }
    /// Asserts that the value is in range, or the default value.
    virtual void setVal(U64 value, Ptr<EvalContextBase> const & context) const = 0;
};

/// A bandwidth in bits per second.
class Bandwidth : public StorageType {
public:
    using StorageType::StorageType;
    virtual F32 getVal(Ptr<EvalContextBase const> const & context) const = 0;
    void pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                            StackFrameDataBase_ * frame) const override;
};

class TriStateBool : public StorageType {
public:
    using StorageType::StorageType;
    virtual TriStateBoolValue getVal(Ptr<EvalContextBase const> const & context) const = 0;
    void pushFuncArgToStack(Ptr<EvalContextBase> const & context,
                            StackFrameDataBase_ * frame) const override;
};

/// A named prefix list.
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

class IpAddress : public StorageType {
public:
    using StorageType::StorageType;
    virtual IpGenAddr getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

class IpAddressModifiable : public IpAddress {
public:
    using IpAddress::IpAddress;
    virtual void setVal(IpGenAddr value, Ptr<EvalContextBase> const & context) const = 0;
};

/// The accessor of a prefix attribute; null where its node has to be asked.
using PrefixSource = IpGenPrefix (GeneratedEvalContext::*)() const;

class IpPrefix : public StorageType {
public:
    using StorageType::StorageType;
    virtual PrefixSource source() const { return nullptr; }
    virtual IpGenPrefix getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

class MacAddress : public StorageType {
public:
    using StorageType::StorageType;
    virtual EthAddr getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

/// An Ethernet segment identifier, which may be unset.
class Esi : public StorageType {
public:
    using StorageType::StorageType;
    virtual std::optional<Evpn::Esid> getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

class Interface : public StorageType {
public:
    using StorageType::StorageType;
    virtual IntfId getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

class ResolutionRibs : public StorageType {
public:
    using StorageType::StorageType;
    virtual Routing::Rib::ResolutionRibProfileConfig
    getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

class ResolutionRibsModifiable : public ResolutionRibs {
public:
    using ResolutionRibs::ResolutionRibs;
    virtual void setVal(Routing::Rib::ResolutionRibProfileConfig value,
                        Ptr<EvalContextBase> const & context) const = 0;
};

class CommunityValue : public StorageType {
public:
    using StorageType::StorageType;
    virtual Acl::CommunityValue getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

/// An AS path. The container belongs to the context and is lent for the evaluation.
class AsPath : public StorageType {
public:
    using StorageType::StorageType;
    virtual Routing::Bgp::AspathContainerFromExisting const *
    getVal(Ptr<EvalContextBase const> const & context) const = 0;
};

class AsPathModifiable : public AsPath {
public:
    using AsPath::AsPath;
    /// The copy that operators change in place before they store it with setVal.
    virtual Routing::Bgp::AspathContainerFromExisting *
    getValModifiable(Ptr<EvalContextBase const> const & context) const = 0;
    virtual void setVal(Routing::Bgp::AspathContainerFromExisting * value,
                        Ptr<EvalContextBase> const & context) const = 0;
};

/// Base of the nodes that yield a set. A set is lent: `lendVal` gives a plain pointer that is good
/// until the attribute is written or the context is reset, and puts a set that had to be built for
/// this call into `fresh`. Null and empty both mean the empty set.
template <typename Set_>
class SetStorage : public StorageType {
public:
    using Set = Set_;
    using StorageType::StorageType;
    virtual SetSource<Set> source() const { return {}; }
    virtual Set const * lendVal(Ptr<EvalContextBase const> const & context,
                                PtrConst<Set> & fresh) const = 0;
    /// The same, counted.
    PtrConst<Set> getVal(Ptr<EvalContextBase const> const & context) const {
        PtrConst<Set> fresh;
        Set const * const lent = lendVal(context, fresh);
        return fresh ? std::move(fresh) : PtrConst<Set>(lent);
    }
};

class IntSet : public SetStorage<U64SmallVector> {
public:
    using SetStorage::SetStorage;
};

class IntSetModifiable : public IntSet {
public:
    using IntSet::IntSet;
    /// Stores a set as the attribute's value; null stores the empty set.
    virtual void setVal(PtrConst<U64SmallVector> value,
                        Ptr<EvalContextBase> const & context) const = 0;
    /// The same for a set that lives until the context's next reset without being held here: one of
    /// its cached inputs, or a constant of the function that it evaluates.
    virtual void lentValIs(U64SmallVector const * value,
                           Ptr<EvalContextBase> const & context) const {
        setVal(PtrConst<U64SmallVector>(value), context);
    }
};

class CommunitySet : public SetStorage<CommunitySmallVector> {
public:
    using SetStorage::SetStorage;
};

class CommunitySetModifiable : public CommunitySet {
public:
    using CommunitySet::CommunitySet;
    virtual void setVal(PtrConst<CommunitySmallVector> value,
                        Ptr<EvalContextBase> const & context) const = 0;
    virtual void lentValIs(CommunitySmallVector const * value,
                           Ptr<EvalContextBase> const & context) const {
        setVal(PtrConst<CommunitySmallVector>(value), context);
    }
};

} // namespace Qcf::Eval
