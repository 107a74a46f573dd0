#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyPlaces.h"
#include "Command/PreparedPolicy.h"
#include "Command/ProgramFile.h"
#include "Command/Progress.h"
#include "Command/PublishedPolicy.h"
#include "Command/Readiness.h"
#include "Command/RouteSelection.h"
#include "Command/TableArguments.h"
#include "Lists/ListBinding.h"
#include "Platform/Render/Utf8.h"
#include "Questions/DifferenceReport.h"
#include "Questions/PolicyComparison.h"

#include <algorithm>

namespace {

namespace Questions = Qcf::Questions;
using Qcf::Watch::NodePlaces;

struct Options {
    std::vector<String> policies; ///< the old one, if it is a file, and the new one
    String oldMap;
    String newMap;
    RedisArguments redis;
    String function;
    String oldFunction; ///< empty for the same
    String lists;       ///< of both
    String oldLists;
    String newLists;
    bool allowUndefinedLists = false;
    std::vector<String> routes;
    RouteSelection selection;
    String format = "text";
    U64 threads = 1;
    U64 limit = ~U64{0};
    bool exitCode = false;
    CLI::App const * command = nullptr;

    bool isPublished() const { return command->count("--redis") != 0; }
};

/// One of both policies, with where its statements stand.
struct Side {
    Questions::ComparedPolicy policy; ///< without a function where it may not be evaluated
    std::shared_ptr<NodePlaces const> places;
    std::shared_ptr<PolicyFile const> file = nullptr; ///< null where it is published
};

void checkArguments(Options const & options) {
    std::size_t const wanted = options.isPublished() ? 1 : 2;
    if (options.policies.size() != wanted) {
        throw UsageError(options.isPublished() ? "with --redis wants the new policy alone"
                                               : "wants an old policy and a new one");
    }
    if (options.isPublished() != (options.command->count("--name") != 0)) {
        throw UsageError("--redis and --name go together");
    }
    std::vector<String> files = options.policies;
    files.insert(files.end(), options.routes.begin(), options.routes.end());
    files.insert(files.end(), {options.lists, options.oldLists, options.newLists});
    if (std::ranges::count(files, "-") > 1) {
        throw UsageError("only one file can be standard input");
    }
}

Side sideOf(PolicyArguments const & arguments) {
    PreparedPolicy prepared = preparePolicy(arguments);
    Side side{{std::move(prepared.function), std::move(prepared.matchers)}, nullptr};
    side.places = std::make_shared<PolicyPlaces const>(prepared.file);
    side.file = std::move(prepared.file);
    return side;
}

/// The lists of the live version. Where it has none of its own and no file gives it some, it gets
/// those of the new policy, so that nothing but the functions differ.
PtrConst<Qcf::Lists::NamedLists> listsOfPublished(Qcf::Mirror::PolicyVersion const & version,
                                                  Options const & options, Side const & newer) {
    if (!version.lists() && options.oldLists.empty()) {
        return newer.file->listsWith(options.lists);
    }
    String const & file = options.oldLists.empty() ? options.lists : options.oldLists;
    return listsFor(version, file.empty() ? nullptr : readListsOf(file));
}

/// The live version.
Side publishedSide(Options const & options, String const & function, Side const & newer) {
    auto const version = readLiveVersion(options.redis);
    auto const lists = listsOfPublished(*version, options, newer);
    String const subject = options.redis.name + " version " + std::to_string(version->id().number);
    Side side{{PtrConst<Qcf::Eval::Function>(&findFunction(*version, subject, function)), nullptr},
              std::make_shared<PublishedPlaces const>(subject, version)};
    checkFunction(*side.policy.function);
    auto const placeOf = [&](Qcf::Eval::AetNodeBase const & node,
                             Qcf::Eval::Function const & within) {
        return side.places->of(node, within).text();
    };
    Readiness const readiness(subject, options.allowUndefinedLists);
    if (!readiness.of(*side.policy.function, placeOf, lists.get())) {
        side.policy.function = nullptr;
    }
    side.policy.matchers = Qcf::Lists::bindLists(version->slots(), lists.get());
    return side;
}

struct Sides {
    Side older;
    Side newer;
};

Sides sidesOf(Options const & options) {
    String const & oldLists = options.oldLists.empty() ? options.lists : options.oldLists;
    String const & newLists = options.newLists.empty() ? options.lists : options.newLists;
    String const & function = options.oldFunction.empty() ? options.function : options.oldFunction;
    bool const allow = options.allowUndefinedLists;
    Side newer =
        sideOf({{options.policies.back(), options.newMap}, options.function, newLists, allow});
    if (options.isPublished()) {
        Side older = publishedSide(options, function, newer);
        return {std::move(older), std::move(newer)};
    }
    return {sideOf({{options.policies.front(), options.oldMap}, function, oldLists, allow}),
            std::move(newer)};
}

String summary(Questions::DifferenceGroups const & groups) {
    return std::to_string(groups.routes()) + " routes: " + std::to_string(groups.same()) +
           " alike, " + std::to_string(groups.differing()) + " differ\n";
}

void renderTotals(Questions::DifferenceGroups const & groups, std::size_t count,
                  RendererV2 & renderer) {
    auto const member = [&](char const * key, U64 value) {
        renderer.key(key);
        renderer.value(value);
    };
    renderer.beginObject();
    member("routes", groups.routes());
    member("alike", groups.same());
    member("differ", groups.differing());
    member("verdicts", groups.verdicts());
    member("groups", count);
    renderer.endObject();
    renderer.endDocument();
}

void write(Options const & options, Questions::DifferenceGroups const & groups,
           Questions::ComparedPlaces const & places) {
    auto const sorted = groups.sorted();
    String text;
    if (options.format == "json") {
        RendererV2 renderer(text);
        renderDifferences(sorted, places, renderer);
        renderTotals(groups, sorted.size(), renderer);
    } else {
        text = summary(groups) + visibleLines(differencesText(sorted, places));
    }
    standardOutput().write(text);
}

int diff(Options const & options) {
    checkArguments(options);
    Sides const sides = sidesOf(options);
    if (!sides.older.policy.function || !sides.newer.policy.function) {
        return 1;
    }
    auto const reader = openTable(options.routes, options.threads).reader;
    Progress progress("routes");
    Questions::ComparisonRun run{{sides.older.policy, sides.newer.policy}};
    run.comparison.selects = [&](auto const & older, auto const & newer) {
        return options.selection.selects(older) || options.selection.selects(newer);
    };
    run.select = [&](U64, Qcf::Agent::Route const & route) {
        return options.selection.selectsRoute(route);
    };
    run.done = [&](U64 routes) { progress.done(routes); };
    run.threads = static_cast<U32>(options.threads);
    run.limit = options.limit;
    std::exception_ptr brokenOff;
    auto const groups = compareOverTable(*reader, run, &brokenOff);
    write(options, groups, {*sides.older.places, *sides.newer.places});
    rethrowAfterOutput(brokenOff);
    return options.exitCode && groups.differing() != 0 ? 1 : 0;
}

void addLists(CLI::App & command, Options & options) {
    auto const add = [&](char const * name, String & target, char const * what) {
        command.add_option(name, target, what)->type_name("FILE");
    };
    add("--lists", options.lists, "Lists that both policies refer to by name");
    add("--old-lists", options.oldLists, "Lists of the old policy instead");
    add("--new-lists", options.newLists, "Lists of the new policy instead");
    add("--old-map", options.oldMap, "Source map of an old document");
    add("--new-map", options.newMap, "Source map of a new document");
    addAllowUndefinedLists(command, options.allowUndefinedLists);
}

} // namespace

void addDiffCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "diff", "Tell which routes of a table two policies treat differently, and by which line",
        "Evaluates each route by both policies. Routes that differ in verdict or changes are\n"
        "grouped by what differs and by the first statement by which the evaluations part, which\n"
        "is - where the other policy has no such statement. Lists count: give one policy twice\n"
        "with --old-lists and --new-lists. With --redis and --name the old policy is the live\n"
        "version of that name; without --old-lists it gets the lists of the new one.",
        "qcf diff old.qcf new.qcf --function import --routes table.mrt.gz",
        [options] { return diff(*options); });
    options->command = &command;
    command
        .add_option("policies", options->policies,
                    "Old and new policy, texts or documents; the new one alone with --redis")
        ->required()
        ->type_name("OLD NEW")
        ->expected(1, 2);
    command.add_option("--function", options->function, "Function to evaluate")
        ->required()
        ->type_name("NAME");
    command.add_option("--old-function", options->oldFunction, "What the old policy calls it")
        ->type_name("NAME");
    addRoutes(command, options->routes);
    addLists(command, *options);
    options->selection.addTo(command);
    command.add_option("--format", options->format, "text or json (an object a line)")
        ->check(CLI::IsMember({"text", "json"}))
        ->capture_default_str();
    command.add_flag("--exit-code", options->exitCode, "End with 1 where routes differ");
    addThreads(command, options->threads);
    addNumber(command, "--limit", options->limit, "Routes to read at most");
    options->redis.addTo(command);
    for (char const * const name : {"--redis", "--name"}) {
        command.get_option(name)->required(false);
    }
}
