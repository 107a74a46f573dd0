#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/Progress.h"
#include "Command/ReadablePolicy.h"
#include "Command/Readiness.h"
#include "Command/ReplaceFile.h"
#include "Command/TableArguments.h"
#include "Command/WriteFile.h"
#include "Questions/ReportMaker.h"
#include "Questions/ReportPage.h"

#include <filesystem>

/// A page about a policy and a table, for a review.
namespace {

namespace Questions = Qcf::Questions;

constexpr char const * printedNote =
    "The policy is a document; its lines are those of the document printed as text.";

constexpr char const * staleNote =
    " The text that its map leads to is missing, or has been edited since it was compiled.";

struct Options {
    PolicyArguments policy;
    std::vector<String> routes;
    String against; ///< the policy before; empty for none
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
    if (options.against == "-") {
        throw UsageError("--against wants a file");
    }
    std::vector<String> inputs = options.routes;
    inputs.insert(inputs.end(), {options.policy.policy.path, options.policy.policy.map,
                                 options.policy.lists, options.against});
    for (String const & input : inputs) {
        if (options.out != "-" && options.out == input) {
            throw UsageError(options.out + " is named twice");
        }
    }
}

Questions::ReportRun runOf(Options const & options, PtrConst<Qcf::Eval::Function> function,
                           PreparedPolicy const & prepared) {
    Questions::ReportRun run;
    run.function = std::move(function);
    run.matchers = prepared.matchers;
    run.threads = static_cast<U32>(options.threads);
    run.limit = options.limit;
    return run;
}

/// The policy before, where one is given.
struct Against {
    PreparedPolicy prepared;
    ReadablePolicy readable;
    Questions::Comparison comparison;
};

/// With the same function and lists. Null without a function where it may not be evaluated.
std::unique_ptr<Against> againstOf(Options const & options, Questions::ReportRun const & run) {
    PolicyArguments arguments = options.policy;
    arguments.policy = {options.against};
    PreparedPolicy prepared = preparePolicy(arguments);
    if (!prepared.function) {
        return nullptr;
    }
    ReadablePolicy readable(prepared);
    Questions::Comparison comparison{{readable.function(), prepared.matchers},
                                     {run.function, run.matchers}};
    return std::make_unique<Against>(
        Against{std::move(prepared), std::move(readable), std::move(comparison)});
}

/// What a reader of the page has to know of the table; empty where it was whole.
String damageText(Qcf::Agent::ReadStatistics const & read) {
    String text;
    if (read.damagedRecords != 0) {
        text += " Of the table " + std::to_string(read.damagedRecords) + " of " +
                std::to_string(read.records) + " records could not be read.";
    }
    return text + (read.cut ? " The table is cut off: routes are missing." : "");
}

Questions::ReportCounts countsOf(Options const & options, Questions::ReportRun & run,
                                 Qcf::Watch::NodeNumbers const & numbers, String & damage) {
    auto const reader = openTable(options.routes, options.threads).reader;
    Progress progress("routes");
    run.progress = [&progress](U64 routes) { progress.done(routes); };
    auto counts = Questions::countTable(*reader, run, numbers);
    run.progress = nullptr;
    damage = damageText(reader->statistics());
    return counts;
}

/// A page that was there stays until the new one is whole.
void write(String const & path, String const & page) {
    if (path == "-") {
        standardOutput().write(page);
        return;
    }
    // What cannot be looked at is told by the writing.
    std::error_code error;
    if (std::filesystem::is_regular_file(path, error)) {
        replaceFile(path, page);
        return;
    }
    writeFile(path, page);
}

int report(Options const & options) {
    checkArguments(options);
    PreparedPolicy const prepared = preparePolicy(options.policy);
    if (!prepared.function) {
        return 1;
    }
    ReadablePolicy const readable(prepared);
    auto run = runOf(options, readable.function(), prepared);
    auto const against = options.against.empty() ? nullptr : againstOf(options, run);
    if (!options.against.empty() && !against) {
        return 1;
    }
    run.comparison = against ? &against->comparison : nullptr;
    Qcf::Watch::NodeNumbers const numbers(std::span(&readable.function(), 1));
    auto const records = prepared.file->listRecordsWith(options.policy.lists);
    String damage;
    auto const counts = countsOf(options, run, numbers, damage);
    auto report = Questions::makeReport({readable.function(), prepared.matchers, numbers, counts,
                                         readable.places(), readable.texts(), prepared.lists.get(),
                                         records, against ? &against->readable.places() : nullptr});
    report.subject = options.policy.policy.path;
    report.table = tableName(options.routes);
    report.against = options.against;
    report.note = readable.isPrinted() ? printedNote : "";
    report.note += readable.isPrinted() && prepared.file->hasMap() ? staleNote : "";
    report.note += damage;
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
        "was unknown and why, and example routes with their explanations. With --against it also\n"
        "groups the routes that another version of the policy treats otherwise.",
        "qcf report policy.qcf --function import --routes table.mrt.gz -o report.html",
        [options] { return report(*options); });
    options->policy.addTo(command);
    addRoutes(command, options->routes);
    command
        .add_option("--against", options->against,
                    "The policy before: the page tells which routes it treats otherwise")
        ->type_name("POLICY");
    command.add_option("-o,--out", options->out, "File of the page; - for standard output")
        ->required()
        ->type_name("FILE");
    addThreads(command, options->threads);
    addNumber(command, "--limit", options->limit, "Routes to evaluate at most");
}
