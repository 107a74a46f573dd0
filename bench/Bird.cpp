#include "bench/Bird.h"

#include "bench/HandWritten.h"
#include "bench/Process.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>

#include <unistd.h>

namespace Qcf::Bench {

namespace {

namespace fs = std::filesystem;

using Communities = std::span<Acl::CommunityValue const>;

/// A route as hand-written policies see it, of which only amounts are kept.
class CountingView {
public:
    explicit CountingView(Agent::Route const & route)
        : newMed(route.med),
          newPreference(route.localPref),
          communities(route.community.size()),
          large(route.largeCommunity.size()),
          extended(route.extCommunity.size()),
          route_(route) {}

    U64 med() const { return route_.med; }
    U64 localPref() const { return route_.localPref; }
    IpGenPrefix const & prefix() const { return route_.ipPrefix; }
    IpGenAddr const & nextHop() const { return route_.nextHop; }
    U32 pathLength() const { return route_.asPath.length(); }
    U32 originAs() const {
        bool known = false;
        return Routing::Bgp::originAs(route_.asPath, 0, known);
    }
    std::span<U64 const> community() const {
        return {route_.community.data(), route_.community.size()};
    }
    Communities largeCommunity() const {
        return {route_.largeCommunity.data(), route_.largeCommunity.size()};
    }
    Communities extCommunity() const {
        return {route_.extCommunity.data(), route_.extCommunity.size()};
    }

    void medIs(U64 value) { newMed = value; }
    void localPrefIs(U64 value) { newPreference = value; }
    void originIs(U64 /*value*/) {}
    template <typename Fill>
    void communityIs(std::size_t upTo, Fill fill) {
        communities = filled<U64>(upTo, fill);
    }
    template <typename Fill>
    void largeCommunityIs(std::size_t upTo, Fill fill) {
        large = filled<Acl::CommunityValue>(upTo, fill);
    }
    template <typename Fill>
    void extCommunityIs(std::size_t upTo, Fill fill) {
        extended = filled<Acl::CommunityValue>(upTo, fill);
    }

    U64 newMed;
    U64 newPreference;
    std::size_t communities;
    std::size_t large;
    std::size_t extended;

private:
    template <typename Value, typename Fill>
    std::size_t filled(std::size_t upTo, Fill fill) {
        std::vector<Value> values(upTo);
        return static_cast<std::size_t>(fill(values.data()) - values.data());
    }

    Agent::Route const & route_;
};

String filterName(Policy policy) { return "p" + std::to_string(static_cast<U32>(policy)); }

/// What bird.sh printed.
struct Printed {
    String version;
    std::map<String, U64> counts;
    std::map<String, std::vector<double>> times;
};

Printed parse(std::istream & lines) {
    Printed printed;
    for (String line; std::getline(lines, line);) {
        std::istringstream words(line);
        String kind;
        String name;
        words >> kind;
        if (kind == "version") {
            std::getline(words >> std::ws, printed.version);
        } else if (kind == "count" && words >> name) {
            words >> printed.counts[name];
        } else if (kind == "time" && words >> name) {
            for (double value = 0; words >> value;) {
                printed.times[name].push_back(value);
            }
        }
    }
    return printed;
}

void verify(Policy policy, Printed const & printed, Table const & table, PolicyData const & data) {
    BirdCounts const counts = birdCounts(policy, table, data);
    String const name = filterName(policy);
    std::pair<char const *, U64> const wanted[] = {{"", counts.accepted},
                                                   {"_preference", counts.preference},
                                                   {"_med", counts.med},
                                                   {"_sets", counts.sets}};
    for (auto const & [suffix, count] : wanted) {
        auto const found = printed.counts.find(name + suffix);
        if (found == printed.counts.end() || found->second != count) {
            std::fprintf(
                stderr, "BIRD's filter %s%s accepts %llu routes, not %llu\n", name.c_str(), suffix,
                static_cast<unsigned long long>(found == printed.counts.end() ? 0 : found->second),
                static_cast<unsigned long long>(count));
            std::exit(1);
        }
    }
}

BirdResult resultOf(Policy policy, Printed const & printed, std::size_t routes) {
    BirdResult result;
    result.policy = policy;
    auto const & base = printed.times.at(filterName(Policy::p0));
    auto const & own = printed.times.at(filterName(policy));
    for (std::size_t i = 0; i < std::min(base.size(), own.size()); ++i) {
        auto const count = static_cast<double>(routes);
        result.walk.samples.push_back(own[i] / count);
        result.filter.samples.push_back((own[i] - base[i]) / count);
    }
    return result;
}

} // namespace

BirdCounts birdCounts(Policy policy, Table const & table, PolicyData const & data) {
    using View = CountingView;
    constexpr bool (*functions[birdPolicyCount])(View &, HandData const &) = {
        p0<View>, p1<View>, p2<View>, p3<View>, p4<View>};
    HandData const hand(data);
    BirdCounts counts;
    for (Agent::Route const & route : table.routes) {
        View view(route);
        if (!functions[static_cast<U8>(policy)](view, hand)) {
            continue;
        }
        std::size_t const sets = view.communities + view.large + view.extended;
        counts.accepted += 1;
        counts.preference += view.newPreference > birdPreferenceAbove ? 1 : 0;
        counts.med += view.newMed > birdMedAbove ? 1 : 0;
        counts.sets += sets > birdSetsAbove ? 1 : 0;
    }
    return counts;
}

std::optional<BirdResults> measureBird(std::vector<Policy> policies, Table const & table,
                                       PolicyData const & data, U32 rounds) {
    constexpr int notInstalled = 3;
    std::erase_if(policies,
                  [](Policy policy) { return static_cast<U32>(policy) >= birdPolicyCount; });
    String pattern = (fs::temp_directory_path() / "qcf-bird-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        std::perror("BIRD");
        return std::nullopt;
    }
    fs::path const config = fs::path(pattern) / "bird.conf";
    writeBirdConfig(config, table, data);
    std::ostringstream command;
    command << "'" QCF_BENCH_FOLDER "/bird.sh' '" << config.string() << "' " << table.size() << " "
            << rounds << " p0";
    for (Policy const policy : policies) {
        command << (policy == Policy::p0 ? "" : " " + filterName(policy));
    }
    command << " --";
    for (Policy const policy : policies) {
        for (char const * const suffix : {"", "_preference", "_med", "_sets"}) {
            command << " " << filterName(policy) << suffix;
        }
    }
    CommandOutput const output = outputOf(command.str());
    fs::remove_all(pattern);
    if (output.status != 0) {
        std::fprintf(stderr, output.status == notInstalled
                                 ? "left out: BIRD is not installed\n"
                                 : "left out: BIRD could not be measured\n");
        return std::nullopt;
    }
    std::istringstream lines(output.text);
    Printed const printed = parse(lines);
    BirdResults all{printed.version, {}};
    for (Policy const policy : policies) {
        verify(policy, printed, table, data);
        all.results.push_back(resultOf(policy, printed, table.size()));
    }
    return all;
}

} // namespace Qcf::Bench
