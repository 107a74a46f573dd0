#include "Mirror/BatchChanges.h"
#include "Mirror/ChangeSource.h"
#include "Mirror/Replica.h"
#include "Platform/Render/DocumentError.h"
#include "QcfLib/QcfEval.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <vector>

namespace {

using namespace Qcf::Mirror; // NOLINT(google-build-using-namespace): what is under test

/// One batch of the input.
struct Pieces {
    String start;
    String lines;
    String end;
};

/// The batches of a text: each goes from its start line to the next one's.
std::vector<Pieces> batchesOf(std::string_view text) {
    std::vector<Pieces> batches;
    while (!text.empty()) {
        std::string_view const line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (batches.empty() || line.starts_with(R"({"start")")) {
            batches.emplace_back();
            batches.back().start.append(line) += '\n';
        } else if (line.starts_with(R"({"end")")) {
            batches.back().end.append(line) += '\n';
        } else {
            batches.back().lines.append(line) += '\n';
        }
    }
    return batches;
}

StagedBatch staged(Pieces const & pieces, String end) {
    StagedBatch batch("fuzz", pieces.start);
    batch.add(pieces.lines);
    batch.finish(std::move(end));
    return batch;
}

/// What a writer says at the end.
struct EndLine {
    Digest digest;
    std::size_t functions = 0;
    std::size_t nodes = 0;
    std::size_t lists = 0;

    String text(Pieces const & pieces, BatchStart const & start) const {
        Digester sum;
        sum.add(pieces.start);
        sum.add(pieces.lines);
        auto const lines = 1 + std::count(pieces.lines.begin(), pieces.lines.end(), '\n');
        return R"({"end":{"version":)" + std::to_string(start.version) + R"(,"digest":")" +
               digest.toString() + R"(","functions":)" + std::to_string(functions) +
               R"(,"nodes":)" + std::to_string(nodes) +
               (start.format >= listsFormat ? R"(,"lists":)" + std::to_string(lists) : "") +
               R"(,"lines":)" + std::to_string(lines) + R"(,"sum":")" + sum.finish().toString() +
               "\"}}\n";
    }
};

/// The batch with an end that says what its lines come to, as a writer would put it that made a
/// mistake elsewhere. Throws for lines that come to nothing.
StagedBatch mended(Pieces const & pieces, Replica const & replica) {
    BatchStart const start = StagedBatch("fuzz", pieces.start).start();
    StagedBatch const draft = staged(pieces, EndLine().text(pieces, start));
    auto const * const base = draft.start().base.empty() ? nullptr : replica.status().get();
    auto const * const store = base != nullptr ? storeOf(*base) : nullptr;
    PublishedLists const none;
    BatchChanges const changes(draft, store, base != nullptr ? replica.lists() : none);
    StatusFunctions known(replica.status());
    FunctionTable const functions =
        known.changed(base != nullptr ? known.table() : FunctionTable(), changes.functions());
    Digest const digest =
        start.format >= treeFormat ? functions.summary().digest() : flatDigest(functions);
    EndLine end{versionDigest(digest, changes.lists()), functions.size(), changes.nodes().size(),
                changes.lists().size()};
    if (store != nullptr) {
        end.nodes += store->size();
        for (auto const & place : changes.removed()) {
            end.nodes -= store->node(place.collection, place.key) ? 1U : 0U;
        }
    }
    return staged(pieces, end.text(pieces, start));
}

/// What there is to see of a replica.
struct State {
    explicit State(Replica & replica)
        : version(replica.version()),
          digest(replica.digest()),
          nodes(sizeOf(storeOf(*replica.status()))) {}

    VersionId version;
    Digest digest;
    std::size_t nodes;

    bool operator==(State const &) const = default;

private:
    static std::size_t sizeOf(Qcf::AetCollections const * store) {
        return store != nullptr ? store->size() : 0;
    }
};

/// Applies what `make` makes. A batch that is refused changes nothing; one that is taken makes what
/// it says. Answers whether it was taken.
template <typename Make>
bool takes(Replica & replica, Make const & make) {
    State const before(replica);
    try {
        StagedBatch const batch = make();
        replica.apply(batch);
        State const after(replica);
        bool const isTree = batch.start().format >= treeFormat;
        requireThat(after.version == batch.version() &&
                        (!isTree || after.digest == batch.version().digest) &&
                        after.nodes == batch.nodes(),
                    "a batch makes what it says");
        return true;
    } catch (MirrorError const &) {
    } catch (DocumentError const &) {
    }
    requireThat(before == State(replica), "a batch that is refused changes nothing");
    return false;
}

/// What a replica has, another one gets from a snapshot of it.
void checkSnapshot(Replica & replica) {
    VersionId const & version = replica.version();
    Batch const batch =
        ChangeSource(replica.status())
            .snapshot({version.number, version.id, String()}, version.digest, replica.lists());
    StagedBatch copy("fuzz", batch.pieces.front());
    for (std::size_t i = 1; i + 1 < batch.pieces.size(); ++i) {
        copy.add(batch.pieces[i]);
    }
    copy.finish(batch.pieces.back());
    Replica other("fuzz");
    other.apply(copy);
    requireThat(State(other) == State(replica), "a snapshot says everything");
}

} // namespace

/// Reads the input as batches of a published store, and has a replica apply one after the other: as
/// they stand, or else with an end that fits.
extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size) {
    Replica replica("fuzz");
    for (Pieces const & pieces : batchesOf({reinterpret_cast<char const *>(data), size})) {
        if (!takes(replica, [&] { return staged(pieces, pieces.end); })) {
            takes(replica, [&] { return mended(pieces, replica); });
        }
    }
    bool const isToday = replica.digest() == replica.version().digest;
    if (replica.version().number != 0 && isToday) {
        checkSnapshot(replica);
    }
    return 0;
}
