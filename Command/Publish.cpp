#include "Command/Command.h"
#include "Command/ListsToPublish.h"
#include "Command/Output.h"
#include "Command/PolicyFile.h"
#include "Command/ProgramFile.h"
#include "Command/PublicationReport.h"
#include "Command/Readiness.h"
#include "Command/RedisArguments.h"
#include "Command/RepeatedOption.h"
#include "Documents/Analysis.h"
#include "Mirror/Redis/Patience.h"

#include <memory>

/// A document is turned down here where agents would have to turn it down later, each for itself
/// and far from the one who wrote it.
namespace {

struct Options {
    PolicyFile::Named policy;
    RedisArguments redis;
    String lists;
    std::vector<String> required; ///< functions
    bool dryRun = false;
    std::optional<U64> keep; ///< versions
    U64 wait = 10;
};

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

/// Where the policy's nodes stand, as far as it has a text or a map.
Qcf::Mirror::PlaceOfNode placesIn(PolicyFile const & policy) {
    return [&policy](Qcf::Eval::AetNodeBase const & node) -> std::optional<Qcf::Mirror::TextPlace> {
        auto const * const at = policy.mappedPlace(node);
        if (at == nullptr) {
            return std::nullopt;
        }
        return Qcf::Mirror::TextPlace{policy.map().fileName(*at),
                                      at->begin.line,
                                      at->begin.column,
                                      at->end.line,
                                      at->end.column,
                                      at->reason};
    };
}

/// What a publication would begin with.
Qcf::Mirror::LoadedStore loadAsWriter(Options const & options) {
    Qcf::Mirror::RedisKeys const keys(options.redis.name);
    auto const signer = options.redis.signer();
    auto store = Qcf::Mirror::withPatience(std::chrono::seconds(options.wait), tellLine, [&] {
        Qcf::Mirror::RedisConnection connection(options.redis.options());
        auto const usable = usableKeys(connection, keys, tellLine);
        return loadStore(connection, usable, signer, tellLine);
    });
    if (String const trouble = store.trouble(keys); !trouble.empty()) {
        tellLine(trouble + "; everything would be published anew");
    }
    return store;
}

int publish(Options const & options) {
    // Arguments before files, files before the server: each fault is told by the cheapest means.
    auto const redis = options.redis.options();
    if (options.policy.path == "-" && options.lists == "-") {
        throw UsageError("only one file can be standard input");
    }
    auto const policy = PolicyFile::read(options.policy);
    auto const & program = policy.program();
    checkFunctions(program, options.policy.path);
    for (String const & name : options.required) {
        findFunction(program, options.policy.path, name);
    }
    auto lists = listsToPublish(policy, options.lists);
    if (options.dryRun) {
        auto store = loadAsWriter(options);
        standardOutput().write(previewText(program, std::move(lists), placesIn(policy), store,
                                           Qcf::Mirror::RedisKeys(options.redis.name)));
        return 0;
    }
    // The document was read whole by now: waiting for a server is for one that can be published.
    Qcf::Mirror::WriterSettings settings;
    settings.patience = std::chrono::seconds(options.wait);
    settings.signer = options.redis.signer();
    settings.keptVersions = options.keep;
    Qcf::Mirror::RedisWriter writer(redis, options.redis.name, tellLine, std::move(settings));
    standardOutput().write(outcomeText(writer.publish(program, std::move(lists), placesIn(policy)),
                                       options.redis.name));
    return 0;
}

} // namespace

void addPublishCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "publish", "Make a document the published state of a name in Redis",
        "Publishes functions and the lists that they name as one version, and only what differs\n"
        "from what is there: functions of equal content stay, with their nodes, and of a list its\n"
        "entries. Agents switch to the new version in one step once it is complete. A writer that\n"
        "publishes under the same name meanwhile is fenced off and fails. With --dry-run nothing\n"
        "is written: prints what would change, a line a function or list that would be added (+),\n"
        "changed (~) or removed (-). See qcf history and qcf rollback for going back.",
        "qcf publish policy.json --redis redis://localhost --name edge",
        [options] { return publish(*options); });
    options->policy.addTo(command);
    command
        .add_option("--lists", options->lists,
                    "Lists to publish along, over those of the text: a document or a text")
        ->type_name("FILE");
    options->redis.addTo(command);
    command.add_flag("--dry-run", options->dryRun, "Tell what would change, and change nothing");
    takesOneEach(
        *command
             .add_option("--require-function", options->required,
                         "Refuse a document without this function; may be given several times")
             ->type_name("NAME"));
    addKeep(command, options->keep);
    addNumber(command, "--wait", options->wait, "Seconds to go on trying while the server is away",
              0, 86400)
        .default_str("10");
}
