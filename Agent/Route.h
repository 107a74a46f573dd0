#pragma once

#include "Platform/Routing/AsPath.h"
#include "Platform/Routing/CommunityValue.h"
#include "Platform/Routing/IpPrefix.h"

#include <boost/container/small_vector.hpp>

namespace Qcf::Agent {

/// The attributes of one route, each with the value it has when nothing is known about it.
/// Sets are ascending and without duplicates.
struct Route {
    IpGenPrefix ipPrefix;
    IpGenAddr nextHop;
    Routing::Bgp::AsPath asPath;
    U64 origin = 256;
    U64 med = 0;
    U64 localPref = 100;
    U64 aigpMetric = 0;
    U64 sourceSessionRemoteAs = 0;
    IpGenAddr sourceSessionRemoteIpAddress;
    boost::container::small_vector<U64, 16> community;
    boost::container::small_vector<Acl::CommunityValue, 8> extCommunity;
    boost::container::small_vector<Acl::CommunityValue, 8> largeCommunity;

    /// Restores the defaults and keeps the storage.
    void clear() {
        ipPrefix = {};
        nextHop = {};
        asPath.clear();
        origin = 256;
        med = 0;
        localPref = 100;
        aigpMetric = 0;
        sourceSessionRemoteAs = 0;
        sourceSessionRemoteIpAddress = {};
        community.clear();
        extCommunity.clear();
        largeCommunity.clear();
    }
};

} // namespace Qcf::Agent
