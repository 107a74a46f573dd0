#include "Agent/Tables/RouteFile.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/Progress.h"
#include "Command/ReadablePolicy.h"
#include "Command/Readiness.h"
#include "Command/ReplaceFile.h"
#include "Questions/ReportPage.h"

#include <filesystem>
#include <fstream>

/// A page about a policy and a table, for a review.
namespace {

namespace Questions = Qcf::Questions;

struct Options {
    PolicyArguments policy;
    String routes;
    String out;
    U64 threads = 1;
    U64 limit = ~U64{0};
};

/// Lists are read twice: to be asked, and to be shown as they are written.
void checkArguments(Options const & options) {
    options.policy.checkInputs(options.routes);
    if (options.policy.lists == "-") {
        throw UsageError("--lists wants a file here");
    }
    for (String const & input : {options.policy.policy.path, options.policy.policy.map,
                                 options.policy.lists, options.routes}) {
        if (options.out != "-" && options.out == input) {
            throw UsageError(options.out + " is named twice");
        }
    }
}

Questions::ReportCounts countsOf(Options const & options, PreparedPolicy const & prepared,
                                 Qcf::Watch::NodeNumbers const & numbers,
                                 PtrConst<Qcf::Eval::Function> const & function) {
    auto const reader = Qcf::Agent::openRoutes(options.routes, tellLine);
    Progress progress("routes");
    Questions::ReportRun run;
    run.function = function;
    run.matchers = prepared.matchers;
    run.threads = static_cast<U32>(options.threads);
    run.limit = options.limit;
    run.progress = [&progress](U64 routes) { progress.done(routes); };
    return Questions::countTable(*reader, run, numbers);
}

/// A page that was there stays until the new one is whole.
void write(String const & path, String const & page) {
    if (path == "-") {
        standardOutput().write(page);
        return;
    }
    if (std::filesystem::is_regular_file(path)) {
        replaceFile(path, page);
        return;
    }
    std::ofstream file(path, std::ios::binary);
    file << page;
    file.close();
    if (!file) {
        throw DocumentError(path + ": cannot be written");
    }
}

int report(Options const & options) {
    checkArguments(options);
    PreparedPolicy const prepared = preparePolicy(options.policy);
    if (!prepared.function) {
        return 1;
    }
    ReadablePolicy const readable(prepared);
    Qcf::Watch::NodeNumbers const numbers(std::span(&readable.function(), 1));
    auto const counts = countsOf(options, prepared, numbers, readable.function());
    auto const records = prepared.file->listRecordsWith(options.policy.lists);
    auto report =
        Questions::makeReport({readable.function(), prepared.matchers, numbers, counts,
                               readable.places(), readable.texts(), prepared.lists.get(), records});
    report.subject = options.policy.policy.path;
    report.table = options.routes;
    report.note = readable.isPrinted() ? "The policy is a document; its lines are those of the "
                                         "document printed as text."
                                       : "";
    write(options.out, Questions::reportPage(report));
    return 0;
}

} // namespace

void addReportCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "report", "Write a page that shows what a function does to a table of routes",
        "The page is one file of HTML that loads nothing: the source with the counts of each "
        "line,\n"
        "the statements that decided, what was never reached, entries of lists without hits, what\n"
        "was unknown and why, and example routes with their explanations.",
        "qcf report policy.qcf --function import --routes table.mrt.gz -o report.html",
        [options] { return report(*options); });
    options->policy.addTo(command);
    command
        .add_option("--routes", options->routes,
                    "Table of routes: MRT or JSON lines, also compressed")
        ->required()
        ->type_name("FILE");
    command.add_option("-o,--out", options->out, "File of the page; - for standard output")
        ->required()
        ->type_name("FILE");
    constexpr U64 mostThreads = 256;
    addNumber(command, "--threads", options->threads, "Threads that evaluate", 1, mostThreads)
        .default_str("1");
    addNumber(command, "--limit", options->limit, "Routes to evaluate at most");
}
