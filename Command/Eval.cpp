#include "Agent/Evaluation/AgentContext.h"
#include "Command/Command.h"
#include "Command/ProgramFile.h"
#include "Command/Readiness.h"
#include "Command/RouteRun.h"
#include "Documents/Places.h"
#include "Lists/ListsDocument.h"

#include <memory>

/// Everything that can be wrong with the document, the lists and their names is told before the
/// first route is read, because a table may take minutes.
namespace {

using Qcf::Documents::Program;

struct Options {
    String document;
    String function;
    String lists;
    bool allowUndefinedLists = false;
    RouteRunOptions run;
};

/// At most one file can be standard input. A stream cannot be read twice; the second reader would
/// find it empty and call that a fault.
void checkInputs(Options const & options) {
    int const inputs = (options.document == "-" ? 1 : 0) + (options.run.routes == "-" ? 1 : 0) +
                       (options.lists == "-" ? 1 : 0);
    if (inputs > 1) {
        throw UsageError("only one file can be standard input");
    }
}

/// The function to evaluate, which must be one that can be.
PtrConst<Qcf::Eval::Function> chosenFunction(Program const & program, Options const & options) {
    auto function = findFunction(program, options.document, options.function);
    if (auto const & fault = program.faultOf(*function).eval; !fault.empty()) {
        throw DocumentError(options.document + ": function " + options.function + ": " + fault);
    }
    return function;
}

/// Reads document and lists and puts everything in place for the function's evaluation; nothing
/// when it may not be evaluated, which was told then. The places of nodes are needed for messages
/// up to here, and go with the document's text that they hold.
PtrConst<Qcf::Eval::Function> prepare(Options const & options, Program & program,
                                      PtrConst<Qcf::Lists::NamedLists> & lists) {
    Qcf::Documents::Places places;
    program = Qcf::Documents::readProgramFile(options.document, {.places = &places});
    auto function = chosenFunction(program, options);
    if (!options.lists.empty()) {
        lists = Qcf::Lists::readListsFile(options.lists, tellLine);
    }
    auto const placeOf = [&places](auto const &... at) { return places.of(at...); };
    Readiness const readiness(options.document, options.allowUndefinedLists);
    return readiness.of(*function, placeOf, lists.get()) ? function : nullptr;
}

int eval(Options const & options) {
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
        "qcf eval policy.json --function import --routes table.mrt.gz --output jsonl",
        [options] { return eval(*options); });
    command.add_option("document", options->document, "Evaluation-tree document")
        ->required()
        ->type_name("DOC");
    command.add_option("--function", options->function, "Function of the document to evaluate")
        ->required()
        ->type_name("NAME");
    command.add_option("--lists", options->lists, "Lists that the document refers to by name")
        ->type_name("FILE");
    addAllowUndefinedLists(command, options->allowUndefinedLists);
    options->run.addTo(command);
}
