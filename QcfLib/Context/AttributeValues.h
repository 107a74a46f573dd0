#pragma once

#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEvalContext.h"

/// How attribute classes check and derive their values. Private to the generated catalogue.
namespace Qcf::Eval::Attribute {

/// A modifiable integer, asserted to be in its attribute's range.
template <typename Attribute>
U64 valueInRange(Attribute const & attribute, U64 val) {
    auto const min = [&] { return attribute.Attribute::min(); };
    auto const max = [&] { return attribute.Attribute::max(); };
    QCF_ASSERT(val >= min() && val <= max());
    return val;
}

/// The same for an attribute whose default value lies outside its range.
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
template <typename Set>
U64 count(Set const * set, EvalContext const & /*context*/) {
    return set == nullptr ? 0 : set->count();
}

/// 4, 6, or 0 for none; of an address or a prefix.
template <typename Value>
U64 ipVersion(Value const & value, EvalContext const & /*context*/) {
    return static_cast<U64>(value.af());
}

inline U64 prefixLength(IpGenPrefix const & prefix, EvalContext const & /*context*/) {
    return prefix.len();
}

using Path = Routing::Bgp::AspathContainerFromExisting;

/// Kept to its low 16 bits, as the path attribute's consumers keep it.
inline U64 pathLength(Path const * path, EvalContext const & /*context*/) {
    return path == nullptr ? 0 : static_cast<U16>(Routing::Bgp::pathLength(*path));
}

inline U64 lastAs(Path const * path, EvalContext const & /*context*/) {
    return path == nullptr ? 0 : Routing::Bgp::lastAs(*path);
}

inline U64 originAs(Path const * path, EvalContext const & context) {
    bool known = false;
    Path const empty;
    U32 const asn =
        Routing::Bgp::originAs(path == nullptr ? empty : *path, context.localAs(), known);
    return known ? asn : 0;
}

} // namespace Qcf::Eval::Attribute
