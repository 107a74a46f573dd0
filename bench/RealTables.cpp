#include "bench/RealTables.h"

#include "Agent/Routes/JsonLinesWriter.h"
#include "Agent/Tables/RouteFile.h"
#include "Lists/ByteSource.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <unordered_set>

namespace Qcf::Bench {

namespace {

namespace fs = std::filesystem;

/// Takes the routes of one table.
class SharingCounter {
public:
    explicit SharingCounter(String table) { facts_.table = std::move(table); }

    void add(Agent::Route route) {
        auto & last = lasts_[{route.sourceSessionRemoteAs, route.sourceSessionRemoteIpAddress}];
        route.ipPrefix = {};
        route.sourceSessionRemoteAs = 0;
        route.sourceSessionRemoteIpAddress = {};
        text_.clear();
        Agent::JsonLinesWriter(text_).add(route);
        U64 const hash = std::hash<String>()(text_);
        ++facts_.routes;
        facts_.equalToLast += last == hash ? 1 : 0;
        facts_.distinct += met_.insert(hash).second ? 1 : 0;
        last = hash;
    }
    SharingFacts const & facts() const { return facts_; }

private:
    SharingFacts facts_;
    String text_;
    std::map<std::pair<U64, IpGenAddr>, U64> lasts_; ///< by session
    std::unordered_set<U64> met_;
};

/// How much a file holds. Where it is large that is guessed from its own size, for it takes long to
/// find out.
U64 decompressedSize(fs::path const & file) {
    constexpr std::size_t piece = std::size_t{1} << 20;
    constexpr U64 enough = U64{1} << 26;
    Lists::ByteSource source(Lists::openFileStream(file.string()));
    while (source.offset() < enough && (source.ensure(piece) || source.available() > 0)) {
        source.skip(source.available());
    }
    return source.offset() < enough ? source.offset() : enough + fs::file_size(file);
}

} // namespace

std::vector<fs::path> realTables() {
    // Files of updates and samples of a few routes are smaller.
    constexpr std::uintmax_t leastSize = 500000;
    char const * const folder = std::getenv("QCF_DATA_DIR");
    std::vector<fs::path> files;
    std::error_code none;
    if (folder != nullptr) {
        for (auto const & entry : fs::directory_iterator(fs::path(folder) / "mrt", none)) {
            if (entry.is_regular_file(none) && entry.file_size(none) >= leastSize) {
                files.push_back(entry.path());
            }
        }
    }
    std::map<fs::path, U64> sizes;
    for (fs::path const & file : files) {
        sizes[file] = decompressedSize(file);
    }
    std::sort(files.begin(), files.end(), [&](fs::path const & a, fs::path const & b) {
        return std::pair(sizes[b], a) < std::pair(sizes[a], b);
    });
    if (files.empty()) {
        std::fputs("left out: no tables of routers, see QCF_DATA_DIR\n", stderr);
    }
    return files;
}

SharingFacts sharingOf(String name, Agent::TableGenerator generator) {
    SharingCounter counter(std::move(name));
    for (Agent::Route route; generator.next(route);) {
        counter.add(route);
    }
    return counter.facts();
}

SharingFacts sharingOf(fs::path const & file, std::size_t most) {
    SharingCounter counter(file.filename().string());
    auto const reader = Agent::openRoutes(file.string(), [](String const &) {});
    Agent::Route route;
    for (std::size_t count = 0; count < most && reader->next(route); ++count) {
        counter.add(route);
    }
    return counter.facts();
}

} // namespace Qcf::Bench
