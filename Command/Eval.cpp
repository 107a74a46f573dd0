#include "Agent/Evaluation/AgentContext.h"
#include "Command/Command.h"
#include "Command/PolicyFile.h"
#include "Command/ProgramFile.h"
#include "Command/Readiness.h"
#include "Command/RouteRun.h"

#include <memory>

/// Everything that can be wrong with the document, the lists and their names is told before the
/// first route is read, because a table may take minutes.
namespace {

using Qcf::Documents::Program;

struct Options {
    PolicyFile::Options policy;
    String function;
    String lists;
    bool allowUndefinedLists = false;
    RouteRunOptions run;
};

/// At most one file can be standard input. A stream cannot be read twice; the second reader would
/// find it empty and call that a fault.
void checkInputs(Options const & options) {
    int const inputs = (options.policy.path == "-" ? 1 : 0) + (options.run.routes == "-" ? 1 : 0) +
                       (options.lists == "-" ? 1 : 0);
    if (inputs > 1) {
        throw UsageError("only one file can be standard input");
    }
}

/// The function to evaluate, which must be one that can be.
PtrConst<Qcf::Eval::Function> chosenFunction(Program const & program, Options const & options) {
    auto function = findFunction(program, options.policy.path, options.function);
    if (auto const & fault = program.faultOf(*function).eval; !fault.empty()) {
        throw DocumentError(options.policy.path + ": function " + options.function + ": " + fault);
    }
    return function;
}

/// Reads document and lists and puts everything in place for the function's evaluation; nothing
/// when it may not be evaluated, which was told then. The places of nodes are needed for messages
/// up to here, and go with the document's text that they hold; those of a text stay.
PtrConst<Qcf::Eval::Function> prepare(Options & options, Program & program,
                                      PtrConst<Qcf::Lists::NamedLists> & lists) {
    PolicyFile const policy = PolicyFile::read(options.policy);
    program = policy.program();
    auto function = chosenFunction(program, options);
    lists = policy.listsWith(options.lists);
    if (options.run.places && !policy.hasMap()) {
        throw UsageError("--places wants a policy text, or --map for a document");
    }
    if (options.run.places) {
        options.run.map = std::make_shared<Qcf::Text::PlaceMap const>(policy.map());
    }
    auto const placeOf = [&policy](auto const &... at) { return policy.placeOf(at...); };
    Readiness const readiness(options.policy.path, options.allowUndefinedLists);
    return readiness.of(*function, placeOf, lists.get()) ? function : nullptr;
}

int eval(Options & options) {
    checkInputs(options);
    Program program;
    PtrConst<Qcf::Lists::NamedLists> lists;
    auto const function = prepare(options, program, lists);
    if (!function) {
        return 1;
    }
    // One set of matchers for all threads: it never changes.
    auto const matchers = Qcf::Lists::bindLists(program.slots, lists.get());
    runRoutes(options.run, function,
              [&matchers] { return makePtr<Qcf::Agent::AgentContext>(matchers); });
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
    command.add_option("--function", options->function, "Function to evaluate")
        ->required()
        ->type_name("NAME");
    command
        .add_option("--lists", options->lists,
                    "Lists that the policy refers to by name: a document or a text")
        ->type_name("FILE");
    addAllowUndefinedLists(command, options->allowUndefinedLists);
    options->run.addTo(command);
    command.add_flag("--places", options->run.places,
                     "Tell in the log where each node stands in the text");
}
