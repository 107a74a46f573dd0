#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyPlaces.h"
#include "Command/PreparedPolicy.h"
#include "Command/Progress.h"
#include "Command/Readiness.h"
#include "Command/RouteSelection.h"
#include "Command/TableArguments.h"
#include "Platform/Render/Utf8.h"
#include "Questions/ImpactReport.h"

namespace {

namespace Questions = Qcf::Questions;

struct Options {
    PolicyArguments policy;
    String name;
    std::vector<String> routes;
    RouteSelection selection;
    String format = "text";
    U64 threads = 1;
    U64 limit = ~U64{0};
};

Questions::NamedThing thingOf(Options const & options, Qcf::Documents::Program const & program) {
    auto thing = Questions::thingOf(program, options.name);
    if (!thing) {
        constexpr std::size_t longestName = 200;
        throw DocumentError(options.policy.policy.path + ": \"" +
                            oneLine(options.name, longestName) +
                            "\" is no attribute, and no list that a function names");
    }
    return *thing;
}

int impact(Options const & options) {
    options.policy.checkInputs(options.routes);
    PreparedPolicy const prepared = preparePolicy(options.policy);
    if (!prepared.function) {
        return 1;
    }
    auto const & program = prepared.file->program();
    auto const thing = thingOf(options, program);
    auto const readers = readersOf(program, thing);
    auto const reader = openTable(options.routes, options.threads).reader;
    Progress progress("routes");
    Questions::ImpactRun run{thing, readers, program, prepared.function,
                             prepared.file->listsWith(options.policy.lists)};
    run.threads = static_cast<U32>(options.threads);
    run.limit = options.limit;
    run.select = [&](U64, Qcf::Agent::Route const & route) {
        return options.selection.selectsRoute(route);
    };
    run.selects = [&](auto const & evaluated) { return options.selection.selects(evaluated); };
    run.done = [&](U64 routes) { progress.done(routes); };
    std::exception_ptr brokenOff;
    auto const found = impactOver(*reader, run, &brokenOff);
    PolicyPlaces const places(prepared.file);
    Questions::ImpactView const view{thing, readers, found, places};
    String text;
    if (options.format == "json") {
        RendererV2 renderer(text);
        renderImpact(view, renderer);
    } else {
        text = visibleLines(impactText(view));
    }
    standardOutput().write(text);
    rethrowAfterOutput(brokenOff);
    return 0;
}

} // namespace

void addImpactCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "impact", "Tell what a list or an attribute does to the verdicts about a table",
        "Shows which functions name it or reach it, which routes were decided through it, and\n"
        "which would differ were the list empty or the routes without the attribute: both are\n"
        "evaluated. A route was decided through what a test on its deciding path reads, or the\n"
        "condition of an if on that path; what merely ran before does not count.",
        "qcf impact policy.qcf CUSTOMERS --function import --routes table.mrt.gz",
        [options] { return impact(*options); });
    options->policy.addTo(command);
    command.add_option("name", options->name, "Name of a list, or of an attribute")
        ->required()
        ->type_name("NAME");
    addRoutes(command, options->routes);
    options->selection.addTo(command);
    command.add_option("--format", options->format, "text or json (an object a line)")
        ->check(CLI::IsMember({"text", "json"}))
        ->capture_default_str();
    addThreads(command, options->threads);
    addNumber(command, "--limit", options->limit, "Routes to read at most");
}
