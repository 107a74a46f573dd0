#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyFile.h"
#include "Command/Readiness.h"
#include "Command/RedisArguments.h"
#include "Documents/Analysis.h"
#include "Mirror/Redis/RedisWriter.h"

#include <memory>

/// A document is turned down here where agents would have to turn it down later, each for itself
/// and far from the one who wrote it.
namespace {

struct Options {
    PolicyFile::Options policy;
    RedisArguments redis;
    U64 wait = 10;
};

String outcomeText(Qcf::Mirror::PublishOutcome const & outcome, String const & name) {
    auto const count = [](U64 number, char const * what) {
        return std::to_string(number) + ' ' + what;
    };
    auto const & counts = outcome.counts;
    String text = outcome.changed ? "published " : "unchanged: ";
    text += name + ' ' + outcome.version.toString() + ": " +
            count(outcome.functions, "functions, ") + count(outcome.nodes, "nodes");
    if (outcome.changed) {
        text += "; " + count(counts.functionsSet, "functions set, ") +
                count(counts.functionsRemoved, "removed; ") +
                count(counts.nodesAdded, "nodes added, ") + count(counts.nodesRemoved, "removed");
    }
    return text + '\n';
}

/// Refuses a document with a function that agents could not evaluate although nothing calls it, and
/// tells of those that answer false for want of arguments.
void checkFunctions(Qcf::Documents::Program const & program, String const & document) {
    auto const outermost = Qcf::Documents::outermostOf(program.functions);
    for (std::size_t i = 0; i < outermost.size(); ++i) {
        auto const & function = *program.functions[i];
        // A function that is called gets its arguments from its callers.
        if (outermost[i] && !program.faults[i].eval.empty()) {
            throw DocumentError(document + ": function " + function.funcName() + ": " +
                                program.faults[i].eval);
        }
        if (outermost[i] && function.argumentsExpected()) {
            tellLine(argumentsWarning(document, function));
        }
    }
}

int publish(Options const & options) {
    // Arguments before files, files before the server: each fault is told by the cheapest means.
    auto const redis = options.redis.options();
    auto const program = PolicyFile::read(options.policy).program();
    checkFunctions(program, options.policy.path);
    // The document was read whole by now: waiting for a server is for one that can be published.
    Qcf::Mirror::WriterSettings settings;
    settings.patience = std::chrono::seconds(options.wait);
    Qcf::Mirror::RedisWriter writer(redis, options.redis.name, tellLine, std::move(settings));
    standardOutput().write(outcomeText(writer.publish(program), options.redis.name));
    return 0;
}

} // namespace

void addPublishCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "publish", "Make a document the published state of a name in Redis",
        "Publishes only what differs from what is there: functions of equal content stay, with\n"
        "their nodes. Agents switch to the new version in one step once it is complete. A writer\n"
        "that publishes under the same name meanwhile is fenced off and fails.",
        "qcf publish policy.json --redis redis://localhost --name edge",
        [options] { return publish(*options); });
    options->policy.addTo(command);
    options->redis.addTo(command);
    addNumber(command, "--wait", options->wait, "Seconds to go on trying while the server is away",
              0, 86400)
        .default_str("10");
}
