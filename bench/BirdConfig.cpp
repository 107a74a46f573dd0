#include "bench/Bird.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

namespace Qcf::Bench {

namespace {

using Out = std::ostream;
using Segment = Routing::Bgp::SegmentType;

/// "(64500,100)"
String text(U64 community) {
    return "(" + std::to_string(community >> 16) + "," + std::to_string(community & 0xffff) + ")";
}
String largeText(Acl::CommunityValue const & community) {
    return "(" + std::to_string(community.value() >> 32) + "," +
           std::to_string(community.value() & 0xffffffff) + "," + std::to_string(community.type()) +
           ")";
}
/// Route targets of an AS number of 16 bits: the only kind that the table has.
String routeTargetText(Acl::CommunityValue const & community) {
    return "(rt," + std::to_string(community.value() >> 32 & 0xffff) + "," +
           std::to_string(community.value() & 0xffffffff) + ")";
}

/// "[a, b, c]"
template <typename Values, typename Text>
String setText(Values const & values, Text text) {
    String all;
    for (auto const & value : values) {
        all += (all.empty() ? "[" : ", ") + text(value);
    }
    return all + "]";
}
String setText(std::span<U64 const> communities) { return setText(communities, text); }
String prefixSetText(PrefixEntries const & entries) {
    return setText(entries, [](Lists::PrefixListEntry const & entry) {
        return entry.prefix.toString() + "{" + std::to_string(entry.minLength) + "," +
               std::to_string(entry.maxLength) + "}";
    });
}
String addressSetText(PrefixEntries const & entries) {
    return setText(entries, [](Lists::PrefixListEntry const & entry) {
        U32 const first = entry.prefix.addr().v4Value();
        U32 const last = first + (1U << (32U - entry.prefix.len())) - 1;
        return entry.prefix.addr().toString() + ".." + IpGenAddr::v4(last).toString();
    });
}

/// The AS numbers from the right, as they are prepended.
void writePath(Out & out, Routing::Bgp::AsPath const & path) {
    std::vector<U32> asns;
    for (auto const segment : path.asns()) {
        if (segment.type == Segment::sequence) {
            asns.insert(asns.end(), segment.asns.begin(), segment.asns.end());
        } else {
            asns.push_back(0);
        }
    }
    std::reverse(asns.begin(), asns.end());
    for (U32 const asn : asns) {
        out << " bgp_path.prepend(" << asn << ");";
    }
}

void writeRoute(Out & out, Agent::Route const & route) {
    out << "    route " << route.ipPrefix << " blackhole { bgp_next_hop = " << route.nextHop
        << "; bgp_origin = "
        << std::array{"ORIGIN_IGP", "ORIGIN_EGP", "ORIGIN_INCOMPLETE"}[route.origin]
        << "; bgp_local_pref = " << route.localPref << "; bgp_med = " << route.med << ";";
    writePath(out, route.asPath);
    for (U64 const value : route.community) {
        out << " bgp_community.add(" << text(value) << ");";
    }
    for (auto const & value : route.largeCommunity) {
        out << " bgp_large_community.add(" << largeText(value) << ");";
    }
    for (auto const & value : route.extCommunity) {
        out << " bgp_ext_community.add(" << routeTargetText(value) << ");";
    }
    out << " };\n";
}

/// A protocol has one route a prefix, so that there is one for each peer.
void writeRoutes(Out & out, Table const & table) {
    std::map<String, std::vector<Agent::Route const *>> byPeer;
    for (Agent::Route const & route : table.routes) {
        byPeer[route.sourceSessionRemoteIpAddress.toString()].push_back(&route);
    }
    U32 number = 0;
    for (auto const & [peer, routes] : byPeer) {
        bool const v6 = routes.front()->ipPrefix.af() == AddressFamily::ipv6;
        out << "protocol static peer" << ++number << " {\n    " << (v6 ? "ipv6" : "ipv4")
            << " { table " << (v6 ? "v6" : "v4") << "; };\n";
        for (Agent::Route const * const route : routes) {
            writeRoute(out, *route);
        }
        out << "}\n";
    }
}

String p1Text(PolicyData const & data) {
    std::ostringstream out;
    out << "if bgp_med < " << data.p1.medBelow << " then bgp_local_pref = " << data.p1.preference
        << ";\n";
    return out.str();
}

String p2Text(PolicyData const & data) {
    auto const & p2 = data.p2;
    std::ostringstream out;
    out << "if net ~ " << prefixSetText(p2.bogons) << " then reject;\n"
        << "if bgp_path.len > " << p2.longestPath << " then reject;\n";
    for (std::size_t i = 0; i < p2.tags.size(); ++i) {
        out << (i == 0 ? "" : "else ") << "if " << text(p2.tags[i])
            << " ~ bgp_community then bgp_local_pref = " << p2.preferences[i] << ";\n";
    }
    out << "bgp_community.delete(" << setText(p2.removed) << ");\n"
        << "bgp_community.add(" << text(p2.added) << ");\n"
        << "bgp_med = bgp_med + " << p2.medStep << ";\n";
    return out.str();
}

String conditionText(Clause const & clause) {
    String const low = std::to_string(clause.low);
    String const high = std::to_string(clause.high);
    auto const plain = [](U64 value) { return std::to_string(value); };
    switch (clause.kind) {
    case Clause::Kind::lengthAndCommunities:
        return "net.len >= " + low + " && net.len <= " + high + " && bgp_community ~ " +
               setText(clause.values);
    case Clause::Kind::originAs:
        return "bgp_path.last ~ " + setText(clause.values, plain);
    case Clause::Kind::communities:
        return "bgp_community ~ " + setText(clause.values);
    case Clause::Kind::localPreference:
        return "bgp_local_pref >= " + low + " && bgp_local_pref <= " + high;
    case Clause::Kind::nextHop:
        return "bgp_next_hop ~ " + addressSetText(clause.prefixes);
    }
    return {};
}

String p3Text(PolicyData const & data) {
    auto const & p3 = data.p3;
    std::ostringstream out;
    char const * otherwise = "";
    for (Clause const & clause : p3.clauses) {
        out << otherwise << "if " << conditionText(clause)
            << " then bgp_local_pref = " << clause.preference << ";\n";
        otherwise = "else ";
    }
    out << "adjust_med(" << p3.medStep << ", " << p3.longPath << ");\n"
        << "bgp_origin = ORIGIN_IGP;\n"
        << "bgp_community.add(" << text(p3.added) << ");\n"
        << "bgp_local_pref = bgp_local_pref + " << p3.preferenceStep << ";\n";
    return out.str();
}

String p4Text(PolicyData const & data) {
    auto const & p4 = data.p4;
    std::ostringstream out;
    out << "if net ~ " << prefixSetText(p4.prefixes) << " then bgp_local_pref = " << p4.preference
        << ";\n"
        << "if bgp_community ~ " << setText(p4.communities) << " then bgp_med = " << p4.med << ";\n"
        << "bgp_large_community.delete(" << setText(p4.removedLarge, largeText) << ");\n"
        << "bgp_ext_community.add(" << routeTargetText(p4.addedExtended) << ");\n";
    return out.str();
}

constexpr char const * functions =
    R"(function is_longer(int than) { return bgp_path.len > than; }
function adjust_med(int step; int upto) {
    if is_longer(upto) then bgp_med = bgp_med + step;
    else if bgp_med < step then bgp_med = 0;
    else bgp_med = bgp_med - step;
}
)";

void writeFilters(Out & out, char const * name, String const & body) {
    struct Check {
        char const * suffix;
        char const * value;
        U64 above;
    };
    out << "filter " << name << " {\n" << body << "accept;\n}\n";
    for (Check const check :
         {Check{"preference", "bgp_local_pref", birdPreferenceAbove},
          Check{"med", "bgp_med", birdMedAbove},
          Check{"sets", "bgp_community.len + bgp_large_community.len + bgp_ext_community.len",
                birdSetsAbove}}) {
        out << "filter " << name << "_" << check.suffix << " {\n"
            << body << "if " << check.value << " > " << check.above
            << " then accept;\nreject;\n}\n";
    }
}

} // namespace

void writeBirdConfig(std::filesystem::path const & path, Table const & table,
                     PolicyData const & data) {
    std::ofstream out(path);
    out << "router id 192.0.2.1;\nlog stderr all;\nipv4 table v4;\nipv6 table v6;\n" << functions;
    writeFilters(out, "p0", "");
    writeFilters(out, "p1", p1Text(data));
    writeFilters(out, "p2", p2Text(data));
    writeFilters(out, "p3", p3Text(data));
    writeFilters(out, "p4", p4Text(data));
    writeRoutes(out, table);
}

} // namespace Qcf::Bench
