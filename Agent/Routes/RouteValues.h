#pragma once

#include "QcfLib/AttributeContent.h"
#include "QcfLib/EvalResult.h"
#include "QcfLib/RoutingTypes.h"

#include <span>

#include <boost/container/small_vector.hpp>

namespace Qcf::Agent {

// The engine's types that attributes have.
using Eval::CommunitySmallVector;
using Eval::QcfTrue;
using Eval::TriStateBoolValue;
using Eval::U64SmallVector;

/// The sets of a route: ascending, without duplicates.
/// Up to 16 or 8 values stand in the route itself; more take storage, which is kept.
using RouteIntSet = boost::container::small_vector<U64, 16>;
using RouteCommunitySet = boost::container::small_vector<Acl::CommunityValue, 8>;

/// A set's values where they are.
/// Good until the set changes. Nothing is copied.
template <typename Set>
std::span<typename Set::value_type const> viewOf(Set const & set) {
    return {set.data(), set.size()};
}

/// Members of a record, by which templates go through them in order.
template <auto... members>
struct MemberList {
    static constexpr std::size_t size = sizeof...(members);
};

} // namespace Qcf::Agent
