#pragma once

#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEvalContext.h"

/// How attribute classes read, check and derive their values. Private to the generated catalogue.
namespace Qcf::Eval::Attribute {

/// Values are read through a constant context; fetching into the cache is none of its content.
using Context = Ptr<EvalContextBase const> const &;

/// What the context's operation yields.
/// By member pointer, so that one template serves all attributes.
template <auto operation>
auto input(Context context) {
    return (evalContext(context).*operation)();
}

/// What nodes hand out: scalars as they are, sets uncounted.
template <typename Value>
Value plain(Value const & value) {
    return value;
}
template <typename Set>
Set const * plain(StoredSet<Set> const & set) {
    return set.get();
}

/// The stored value while the attribute is modified, what the operation yields otherwise.
template <ModifiableAttribute attribute, auto stored, auto operation>
auto current(Context context) -> decltype(plain(std::declval<AttributeContent>().*stored)) {
    EvalContext const & c = evalContext(context);
    return c.isModified(attribute) ? plain(c.attributeContentConst().*stored) : (c.*operation)();
}

/// A modifiable integer, asserted to be in its attribute's range.
/// The bounds are asked without dispatch: the class is known here. An agent's value outside them is
/// misuse of the context, and ends the process.
template <typename Attribute>
U64 valueInRange(Attribute const & attribute, U64 val) {
    auto const min = [&] { return attribute.Attribute::min(); };
    auto const max = [&] { return attribute.Attribute::max(); };
    QCF_ASSERT(val >= min() && val <= max());
    return val;
}

/// The same for an attribute whose default value lies outside its range.
/// The text is the expression as it stands, which callers' tools know.
template <typename Attribute>
U64 valueOrDefault(Attribute const & attribute, U64 val) {
    auto const min = [&] { return attribute.Attribute::min(); };
    auto const max = [&] { return attribute.Attribute::max(); };
    auto const defaultValue = [&] { return attribute.Attribute::defaultValue(); };
    QCF_ASSERT_TEXT((val >= min() && val <= max()) || val == defaultValue(),
                    "( val >= min() && val <= max() ) || val == defaultValue()");
    return val;
}

/// Number of elements; 0 for null.
/// The derived attributes take the context, needed or not, so that they are called alike.
template <typename Set>
U64 count(Set const * set, Context /*context*/) {
    return set == nullptr ? 0 : set->count();
}

/// 4, 6, or 0 for none; of an address or a prefix.
template <typename Value>
U64 ipVersion(Value const & value, Context /*context*/) {
    return static_cast<U64>(value.af());
}

inline U64 prefixLength(IpGenPrefix const & prefix, Context /*context*/) { return prefix.len(); }

using Path = Routing::Bgp::AspathContainerFromExisting;

/// Kept to its low 16 bits, as the path attribute's consumers keep it.
inline U64 pathLength(Path const * path, Context /*context*/) {
    return path == nullptr ? 0 : static_cast<U16>(Routing::Bgp::pathLength(*path));
}

/// 0 where the path names none.
inline U64 lastAs(Path const * path, Context /*context*/) {
    return path == nullptr ? 0 : Routing::Bgp::lastAs(*path);
}

/// 0 where the origin cannot be told. A null path is asked about as an empty one.
inline U64 originAs(Path const * path, Context context) {
    bool known = false;
    auto const & asns = path == nullptr ? Routing::Bgp::AsnVector::none() : path->asns();
    U32 const asn = Routing::Bgp::originAs(asns, evalContext(context).localAs(), known);
    return known ? asn : 0;
}

} // namespace Qcf::Eval::Attribute
