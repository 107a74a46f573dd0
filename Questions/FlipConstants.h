#pragma once

#include "Lists/ListRecord.h"
#include "Questions/RouteParts.h"

#include <memory>

namespace Qcf::Questions {

/// Constants and lists that a part of routes is compared with.
struct Constants {
    std::vector<U64> integers;
    std::vector<F32> bandwidths;
    std::vector<IpGenAddr> addresses;
    std::vector<IpGenPrefix> prefixes;
    std::vector<IntfId> interfaces;
    std::vector<EthAddr> macs;
    std::vector<Evpn::Esid> segments;
    std::vector<Acl::CommunityValue> communities;
    /// Sets as they stand together.
    std::vector<std::vector<U64>> integerSets;
    std::vector<std::vector<Acl::CommunityValue>> communitySets;
    /// The program's, with all of their entries.
    std::vector<Lists::ListRecord const *> lists;

    void add(Constants const & more);
};

/// What an integer that is compared says of its part.
enum class Facet : U8 {
    value,   ///< the part itself
    length,  ///< of a path or a prefix, the size of a set
    as,      ///< the first or the last of a path
    version, ///< of the address
};

/// What a function asks about one part of routes.
struct PartQuestions {
    Constants constants;      ///< with those that are compared with an AS of a path
    std::vector<U64> lengths; ///< that its length or size is compared with
    bool asksVersion = false;
    std::vector<U64> steps; ///< by which it is moved before it is compared
    RoutePartSet partners;  ///< other parts that it meets in one test
    /// Something besides constants meets it: an argument, another part, a change. Then every
    /// constant of the function may.
    bool isLinked = false;
    /// The one facet that all of the function compares, with constants alone; nothing where
    /// anything else is asked, or nothing at all.
    std::optional<Facet> compared = {};
};

/// What a function, with those that it calls, asks about routes: the ground on which changes of a
/// route are looked for. Never changes; for any number of threads.
///
///     FlipGround const ground(*function, policy.listRecordsWith(lists));
///     ground.of(part).constants.integers;
class FlipGround {
public:
    /// The records are the lists by name; names without one have no entries.
    FlipGround(Eval::Function const & function, std::vector<Lists::ListRecord> lists);

    PartQuestions const & of(RoutePart part) const { return parts_[part]; }
    /// Everything that some evaluation may read.
    RoutePartSet const & asked() const { return asked_; }

private:
    class Expressions;

    std::vector<Lists::ListRecord> lists_;
    std::array<PartQuestions, routePartCount> parts_;
    RoutePartSet asked_;
};

} // namespace Qcf::Questions
