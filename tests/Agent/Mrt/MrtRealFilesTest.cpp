#include "Agent/Tables/RouteFile.h"
#include "Platform/Routing/CommunityText.h"
#include "tests/Agent/Mrt/MrtTools.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

namespace Qcf::Agent::test {
namespace {

namespace fs = std::filesystem;

/// Real MRT files, which are no part of this project: the test passes over what is absent.
fs::path dataFolder() {
    char const * const given = std::getenv("QCF_DATA_DIR");
    return given != nullptr ? fs::path(given) / "mrt" : fs::path();
}

std::vector<String> split(String const & text, char separator) {
    std::vector<String> parts;
    std::istringstream in(text);
    for (String part; std::getline(in, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

String sortedCommunities(String const & text) {
    std::set<U64> communities;
    for (String const & one : split(text, ' ')) {
        communities.insert(parseStandardCommunity(one == "local-AS" ? "no-export-subconfed" : one)
                               .value_or(~U64{0}));
    }
    String sorted;
    for (U64 const community : communities) {
        sorted += (sorted.empty() ? "" : " ") + standardCommunityText(community);
    }
    return sorted;
}

/// Reads an address as another program writes it and writes it as we do.
String normalAddress(String const & text) {
    auto const address = IpGenAddr::parse(text);
    return address ? address->toString() : text;
}

/// The fields of an announcement or table entry that bgpdump prints, in the form of `ourLine`.
String bgpdumpLine(std::vector<String> fields) {
    if (fields[0].ends_with("_AP")) {
        fields.erase(fields.begin() + 6); // path identifier
    }
    auto const prefix = IpGenPrefix::parse(fields[5], HostBits::mask);
    bool const noAttributes = fields[8] == "255.255.255.255";
    String const preference = fields[9] == "0" ? "100" : fields[9]; // 0 is how it writes none
    bool const noCommunities = fields[11] == "NAG" || fields[11] == "AG";
    return normalAddress(fields[3]) + "|" + fields[4] + "|" +
           (prefix ? prefix->toString() : fields[5]) + "|" + fields[6] + "|" +
           (noAttributes ? "" : fields[7]) + "|" + (noAttributes ? "" : normalAddress(fields[8])) +
           "|" + preference + "|" + fields[10] + "|" +
           (noCommunities ? "" : sortedCommunities(fields[11]));
}

String ourLine(Route const & route) {
    static constexpr char const * origins[] = {"IGP", "EGP", "INCOMPLETE"};
    String communities;
    for (U64 const community : route.community) {
        communities += (communities.empty() ? "" : " ") + standardCommunityText(community);
    }
    return route.sourceSessionRemoteIpAddress.toString() + "|" +
           std::to_string(route.sourceSessionRemoteAs) + "|" + route.ipPrefix.toString() + "|" +
           route.asPath.toString() + "|" + (route.origin < 3 ? origins[route.origin] : "") + "|" +
           route.nextHop.toString() + "|" + std::to_string(route.localPref) + "|" +
           std::to_string(route.med) + "|" + communities;
}

struct Contents {
    std::vector<String> routes;
    U64 withdrawals = 0;
};

Contents bgpdumpReads(fs::path const & file) {
    Contents contents;
    String const command = "bgpdump -m '" + file.string() + "' 2>/dev/null";
    FILE * const pipe = popen(command.c_str(), "r");
    String text;
    std::array<char, 65536> piece;
    while (std::size_t const got = fread(piece.data(), 1, piece.size(), pipe)) {
        text.append(piece.data(), got);
    }
    pclose(pipe);
    for (String const & line : split(text, '\n')) {
        std::vector<String> const fields = split(line, '|');
        if (fields.size() > 11 && (fields[2] == "A" || fields[2] == "B")) {
            contents.routes.push_back(bgpdumpLine(fields));
        } else if (fields.size() > 2 && fields[2] == "W") {
            ++contents.withdrawals;
        }
    }
    return contents;
}

Contents weRead(fs::path const & file) {
    Contents contents;
    auto const reader = openRoutes(file.string(), [](String const &) {});
    Route route;
    while (reader->next(route)) {
        contents.routes.push_back(ourLine(route));
    }
    contents.withdrawals = reader->statistics().withdrawals;
    return contents;
}

/// Files that bgpdump and we read differently, with what is ours.
struct Exception {
    U64 routes;
    U64 withdrawals;
    char const * why;
};

std::map<String, Exception> const exceptions = {
    {"bgpdump_updates.nlri_mask_trailing_bits.gz",
     {0, 0, "the last prefix of its only message is cut, and bgpdump takes the others"}},
    {"mrtparse_bird_bgp",
     {0, 0, "path identifiers under a subtype without them, which bgpdump takes for prefixes"}},
    {"bgpkit_rrc00_20000325_damaged.gz",
     {4660, 718, "bgpdump takes a record header that was cut for a whole one and loses the rest"}},
    {"pyasn_bview.20140112.1600_3samples.bz2",
     {3, 0, "bgpdump refuses routes without a peer index table before them"}},
};

TEST(MrtRealFiles, AreReadAsBgpdumpReadsThem) {
    if (!fs::is_directory(dataFolder()) || std::system("command -v bgpdump >/dev/null") != 0) {
        GTEST_SKIP() << "needs bgpdump and the files of QCF_DATA_DIR";
    }
    for (auto const & file : fs::directory_iterator(dataFolder())) {
        String const name = file.path().filename().string();
        SCOPED_TRACE(name);
        Contents const ours = weRead(file.path());
        if (auto const known = exceptions.find(name); known != exceptions.end()) {
            EXPECT_EQ(ours.routes.size(), known->second.routes) << known->second.why;
            EXPECT_EQ(ours.withdrawals, known->second.withdrawals) << known->second.why;
            continue;
        }
        Contents theirs = bgpdumpReads(file.path());
        EXPECT_EQ(ours.withdrawals, theirs.withdrawals);
        ASSERT_EQ(ours.routes.size(), theirs.routes.size());
        bool const pathInAs4PathAlone = name.starts_with("vgi-bgp_");
        for (std::size_t i = 0; i < ours.routes.size() && !pathInAs4PathAlone; ++i) {
            ASSERT_EQ(ours.routes[i], theirs.routes[i]) << "route " << i;
        }
    }
}

} // namespace
} // namespace Qcf::Agent::test
