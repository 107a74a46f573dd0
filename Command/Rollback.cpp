#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PublicationReport.h"
#include "Command/Readiness.h"
#include "Command/RedisArguments.h"
#include "Mirror/Redis/Patience.h"
#include "Platform/Render/DocumentError.h"

#include <algorithm>
#include <memory>

/// Going back is a publication as any other: readers follow it as they do any, and it can be gone
/// back from.
namespace {

using Qcf::Mirror::KeptVersion;

struct Options {
    RedisArguments redis;
    U64 version = 0;
    std::optional<U64> keep;
    U64 wait = 10;
};

[[noreturn]] void failVersion(Options const & options, std::vector<KeptVersion> const & history,
                              Qcf::Mirror::PublishedState const & state) {
    String const & name = options.redis.name;
    if (!history.empty()) {
        throw DocumentError(name + ": version " + std::to_string(options.version) +
                            " is not kept; kept are " +
                            std::to_string(history.front().version.number) + " to " +
                            std::to_string(history.back().version.number) + ", see qcf history");
    }
    throw DocumentError(state.exists() ? name +
                                             ": the history is gone, no version is kept to go "
                                             "back to; live is version " +
                                             std::to_string(state.version.number)
                                       : "nothing is published under " + name);
}

std::unique_ptr<Qcf::Mirror::Replica> loadVersion(Options const & options) {
    Qcf::Mirror::RedisConnection connection(options.redis.options());
    Qcf::Mirror::RedisKeys const keys(options.redis.name);
    auto const history = readHistory(connection, keys);
    auto const kept = std::ranges::find(
        history, options.version, [](KeptVersion const & each) { return each.version.number; });
    if (kept == history.end()) {
        failVersion(options, history, readState(connection, keys));
    }
    return loadKeptVersion(connection, keys, *kept, options.redis.signer(), tellLine);
}

int rollBack(Options const & options) {
    auto const redis = options.redis.options();
    std::chrono::seconds const patience(options.wait);
    auto const kept =
        Qcf::Mirror::withPatience(patience, tellLine, [&] { return loadVersion(options); });
    Qcf::Mirror::WriterSettings settings;
    settings.patience = patience;
    settings.signer = options.redis.signer();
    settings.keptVersions = options.keep;
    Qcf::Mirror::RedisWriter writer(redis, options.redis.name, tellLine, std::move(settings));
    standardOutput().write(outcomeText(writer.restore(*kept), options.redis.name));
    return 0;
}

} // namespace

void addRollbackCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "rollback", "Publish a kept version of a name in Redis again",
        "What the version was becomes the next version, with a number of its own: numbers only\n"
        "rise, and what was rolled back stays among the versions that one can go back to. Nothing\n"
        "happens when its content is what is live. See qcf history for the versions.",
        "qcf rollback --redis redis://localhost --name edge 3",
        [options] { return rollBack(*options); });
    options->redis.addTo(command);
    addNumber(command, "version", options->version, "Version to go back to", 1).required();
    addKeep(command, options->keep);
    addNumber(command, "--wait", options->wait, "Seconds to go on trying while the server is away",
              0, 86400)
        .default_str("10");
}
