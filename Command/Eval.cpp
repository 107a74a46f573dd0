#include "Agent/Evaluation/AgentContext.h"
#include "Command/Command.h"
#include "Command/PolicyPlaces.h"
#include "Command/PreparedPolicy.h"
#include "Command/RouteRun.h"

#include <memory>

namespace {

struct Options {
    PolicyArguments policy;
    RouteRunOptions run;
};

/// What of the policy's places the output needs. All else of the file goes, with the text of a
/// document that it holds.
void keepPlaces(RouteRunOptions & run, std::shared_ptr<PolicyFile const> file) {
    if (run.places && !file->hasMap()) {
        throw UsageError("--places wants a policy text, or --map for a document");
    }
    if (run.places) {
        run.map = std::make_shared<Qcf::Text::PlaceMap const>(file->map());
    }
    if (run.why) {
        run.nodePlaces = std::make_shared<PolicyPlaces const>(std::move(file));
    }
}

int eval(Options & options) {
    options.policy.checkInputs(options.run.routes);
    PreparedPolicy prepared = preparePolicy(options.policy);
    keepPlaces(options.run, std::exchange(prepared.file, nullptr));
    if (!prepared.function) {
        return 1;
    }
    runRoutes(options.run, prepared.function,
              [&prepared] { return makePtr<Qcf::Agent::AgentContext>(prepared.matchers); });
    return 0;
}

} // namespace

void addEvalCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "eval", "Evaluate a function for every route of a table",
        "Routes come out in the order of the table. A table of JSON lines is read up to its first\n"
        "bad line (exit code 1); damaged records of MRT are told and passed over. What the "
        "function\n"
        "changed is shown for routes that it accepts. A name that the function reaches and no "
        "list\n"
        "has is an error, told before the first route.",
        "qcf eval policy.qcf --function import --routes table.mrt.gz --output jsonl",
        [options] { return eval(*options); });
    options->policy.addTo(command);
    options->run.addTo(command);
    command.add_flag("--places", options->run.places,
                     "Tell in the log where each node stands in the text");
    command.add_flag("--why", options->run.why,
                     "Tell with each route which statement decided, and its reason");
}
