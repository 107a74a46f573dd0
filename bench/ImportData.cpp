#include "bench/Policies.h"
#include "bench/Table.h"

#include <algorithm>

namespace Qcf::Bench {

namespace {

/// Space that nobody announces, and three prefixes of which some routes of the table are.
constexpr char const * reservedPrefixes[] = {
    "0.0.0.0/8",       "10.0.0.0/8",     "100.64.0.0/10", "127.0.0.0/8",    "169.254.0.0/16",
    "172.16.0.0/12",   "192.0.0.0/24",   "192.0.2.0/24",  "192.168.0.0/16", "198.18.0.0/15",
    "198.51.100.0/24", "203.0.113.0/24", "224.0.0.0/3",   "2001:db8::/32",  "fc00::/7",
    "fe80::/10",       "ff00::/8",       "91.0.0.0/10",   "91.32.0.0/12",   "2a00:1000::/20",
};

U32 originOf(Agent::Route const & route) {
    bool known = false;
    return originAs(route.asPath, 0, known);
}

/// The third AS numbers of three paths.
std::vector<U32> thirdAsns(Table const & table) {
    std::vector<U32> asns;
    for (Agent::Route const & route : table.routes) {
        auto const & path = route.asPath.asns();
        bool const isLong = !path.empty() && path.segments().front().count > 3;
        U32 const third = isLong ? path.asns()[2] : 0;
        if (isLong && std::find(asns.begin(), asns.end(), third) == asns.end()) {
            asns.push_back(third);
        }
        if (asns.size() == 3) {
            break;
        }
    }
    return asns;
}

/// A payload for every other prefix of the table: most grant it to its origin, some to another AS,
/// some only a shorter one around it.
std::vector<Lists::Roa> payloadsOf(Table const & table) {
    std::vector<Lists::Roa> roas;
    IpGenPrefix last;
    U32 prefixes = 0;
    for (Agent::Route const & route : table.routes) {
        IpGenPrefix const & prefix = route.ipPrefix;
        U32 const origin = originOf(route);
        if (prefix == last || origin == 0) {
            continue;
        }
        last = prefix;
        U32 const turn = ++prefixes % 20;
        if (turn % 2 == 0) {
            bool const isAround = turn == 4 && prefix.len() > 12;
            auto const length = static_cast<U8>(isAround ? prefix.len() - 2 : prefix.len());
            roas.push_back(
                {IpGenPrefix(prefix.addr(), length), length, turn == 2 ? origin + 1 : origin});
        }
    }
    return roas;
}

} // namespace

ImportData::ImportData(Table const & table)
    : origins{{0, 0},         {23456, 23456}, {64496, 64511},           {64512, 65534},
              {65535, 65535}, {65536, 65551}, {4200000000, 4294967294}, {4294967295, 4294967295}},
      reservedInPath{{0, 0}, {23456, 23456}, {64502, 65535}, {4200000000, 4299999999}},
      leaks(thirdAsns(table)),
      // Sessions of the table have AS numbers from 64496 to 64501.
      patterns{
          "_(0|23456|65535)_", "_42[0-9]{8}_",
          "_(6450[2-9]|645[1-9][0-9]|64[6-9][0-9]{2}|65[0-4][0-9]{2}|655[0-2][0-9]|6553[0-4])_"},
      roas(payloadsOf(table)) {
    for (char const * const text : reservedPrefixes) {
        reserved.push_back(*IpGenPrefix::parse(text, HostBits::mask));
    }
    String pattern = "^[0-9]+_[0-9]+_(";
    for (U32 const asn : leaks) {
        pattern += (asn == leaks.front() ? "" : "|") + std::to_string(asn);
    }
    patterns.push_back(pattern + ")_");
}

} // namespace Qcf::Bench
