#include "Command/Colours.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyFile.h"
#include "Command/Progress.h"
#include "Command/Readiness.h"
#include "Command/TestFiles.h"
#include "Command/WriteFile.h"
#include "Lists/ListRecord.h"
#include "Lists/Pattern.h"
#include "Questions/Mutants.h"
#include "Watch/CoverageReport.h"
#include "Watch/TestReport.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include <unistd.h>

/// Runs the tests that stand in policy texts. A text with errors, or one that cannot be read, is
/// told and keeps no other from being tested.
namespace {

namespace Watch = Qcf::Watch;

struct Options {
    std::vector<String> paths;
    String lists;
    String only;
    bool coverage = false;
    std::optional<F64> least;
    std::optional<F64> leastBranches;
    String format = "text";
    String lcov;
    bool failOnEmpty = false;
    bool mutants = false;
    U64 mostMutants = Qcf::Questions::MutantOptions().most;
    std::optional<F64> leastKilled;
    U64 threads = 1;

    bool wantsCoverage() const { return coverage || least || leastBranches || !lcov.empty(); }
    bool wantsMutants() const { return mutants || leastKilled; }
};

/// What all files share.
struct Run {
    Options const & options;
    std::optional<Qcf::Lists::Pattern> only;
    PtrConst<Qcf::Lists::NamedLists> lists;
    Watch::Coverage coverage = {};
    std::vector<Watch::FileResults> results = {};
    Progress progress{"tests"};
    U64 done = 0;
    std::vector<Qcf::Questions::MutantResults> mutants = {};
    /// Whether nobody reads standard output any more. The tests go on: the exit code and the files
    /// that were asked for are what they come to.
    bool isClosed = false;
};

void write(Run & run, String const & text) {
    try {
        if (!run.isClosed) {
            standardOutput().write(text);
        }
    } catch (ClosedOutput const &) {
        run.isClosed = true;
    }
}

void runTests(Run & run, PolicyFile const & policy, Watch::FileResults & results) {
    auto const own = policy.listsWith({});
    auto const lists =
        own && run.lists ? Qcf::Lists::mergeLists(*own, *run.lists) : (own ? own : run.lists);
    Qcf::Text::Messages messages;
    Watch::TestRun tests(policy.text()->declarations(), policy.sources(), lists, messages);
    if (messages.hasErrors()) {
        throw DocumentError(lineOf(messages.all().front(), policy.sources()));
    }
    for (std::size_t i = 0; i < tests.size(); ++i) {
        if (!run.only || run.only->foundIn(tests.title(i))) {
            results.tests.push_back(tests.run(i));
            run.progress.done(++run.done);
        }
    }
    if (run.options.wantsCoverage()) {
        tests.addCoverageTo(run.coverage);
    }
}

/// Mutants of a text whose tests fail already would tell nothing.
void runMutants(Run & run, PolicyFile const & policy, Watch::FileResults const & results) {
    if (!run.options.wantsMutants()) {
        return;
    }
    if (results.tests.empty()) {
        tellLine(results.file + ": no test is run, so no mutants are tried");
        return;
    }
    if (!results.passed()) {
        tellLine(results.file + ": no mutants are tried while tests fail");
        return;
    }
    Qcf::Questions::MutantOptions options{run.options.mostMutants, run.options.threads};
    options.lists = run.lists;
    options.isRun = [&run](String const & title) { return !run.only || run.only->foundIn(title); };
    auto const main = policy.text()->declarations().mainFile.value_or(0);
    String const text(policy.sources()[main].text());
    run.mutants.push_back(Qcf::Questions::runMutants(text, results.file, options));
}

/// Tells of the file, and keeps its results for what is told at the end.
void add(Run & run, Watch::FileResults results) {
    if (!results.error.empty()) {
        tell(results.error + '\n');
    }
    if (run.options.format == "text" && (!results.tests.empty() || !results.error.empty())) {
        constexpr MarkedWord words[] = {{"  ", "ok", Colour::good}, {"  ", "FAIL", Colour::bad}};
        write(run, colouredWords(resultsText(results), words, STDOUT_FILENO));
    }
    run.results.push_back(std::move(results));
}

void runFile(Run & run, String const & file) {
    Watch::FileResults results{file};
    try {
        PolicyFile const policy = PolicyFile::read({file});
        if (policy.text() == nullptr) {
            throw DocumentError(file + ": is a document; tests stand in policy texts");
        }
        runTests(run, policy, results);
        runMutants(run, policy, results);
    } catch (DocumentError const & error) {
        results.error = error.what();
    }
    add(run, std::move(results));
}

struct Counts {
    std::size_t passed = 0;
    std::size_t failed = 0;
    std::size_t errors = 0;
};

Counts countsOf(Run const & run) {
    Counts counts;
    for (Watch::FileResults const & results : run.results) {
        counts.failed += results.failed();
        counts.passed += results.tests.size() - results.failed();
        counts.errors += results.error.empty() ? 0 : 1;
    }
    return counts;
}

void writeText(Run & run) {
    Counts const counts = countsOf(run);
    String text =
        std::to_string(counts.passed) + " passed, " + std::to_string(counts.failed) + " failed";
    text += counts.errors == 0 ? "" : ", " + std::to_string(counts.errors) + " with errors";
    if (run.options.wantsCoverage()) {
        bool const isOne = run.coverage.files().size() == 1;
        text += "; " + totalsText(run.coverage) + '\n' + missingText(run.coverage, 2, !isOne);
    } else {
        text += '\n';
    }
    text += run.options.wantsMutants() ? mutantsText(run.mutants) : String();
    write(run, text);
}

void writeJson(Run & run) {
    String text;
    RendererV2 renderer(text);
    for (Watch::FileResults const & results : run.results) {
        renderResults(results, renderer);
    }
    if (run.options.wantsCoverage()) {
        renderCoverage(run.coverage, renderer);
        renderer.endDocument();
    }
    for (auto const & mutants : run.mutants) {
        renderMutants(mutants, renderer);
        renderer.endDocument();
    }
    write(run, text);
}

void writeResults(Run & run) {
    if (run.options.format == "junit") {
        write(run, junitText(run.results));
    } else if (run.options.format == "json") {
        writeJson(run);
    } else {
        writeText(run);
    }
}

/// Writes what the lcov tools read, where it is asked for; says so where that fails.
bool writeLcov(Run const & run) {
    if (run.options.lcov.empty()) {
        return true;
    }
    try {
        writeFile(run.options.lcov, lcovText(run.coverage));
        return true;
    } catch (std::runtime_error const & error) {
        tellLine(error.what());
        return false;
    }
}

/// Whether the share is as large as was asked for; says so where it is not.
bool reaches(std::optional<F64> least, char const * what, F64 share) {
    if (!least || share >= *least) {
        return true;
    }
    char text[120];
    std::snprintf(text, sizeof text, "%s: wants at least %g %%, found %.1f %%", what, *least,
                  share);
    tellLine(text);
    return false;
}

bool passes(Run const & run) {
    Counts const counts = countsOf(run);
    if (counts.passed + counts.failed == 0 && run.options.failOnEmpty) {
        tellLine("no test was run");
        return false;
    }
    auto const totals = run.coverage.totals();
    bool const enough = reaches(run.options.least, "statements", totals.statementShare());
    bool const enoughBranches =
        reaches(run.options.leastBranches, "conditions both ways", totals.conditionShare());
    bool const enoughKilled =
        reaches(run.options.leastKilled, "mutants killed", killedShare(run.mutants));
    return counts.failed == 0 && counts.errors == 0 && enough && enoughBranches && enoughKilled;
}

std::optional<Qcf::Lists::Pattern> patternOf(String const & expression) {
    if (expression.empty()) {
        return std::nullopt;
    }
    try {
        return Qcf::Lists::Pattern(expression);
    } catch (Qcf::Lists::PatternError const & error) {
        throw UsageError("--run \"" + expression + "\": " + error.what());
    }
}

void checkFiles(Options const & options, std::vector<String> const & texts) {
    if (options.lcov == "-") {
        throw UsageError("--lcov wants a file: standard output tells of the tests");
    }
    if (options.lists == "-" && std::ranges::find(texts, "-") != texts.end()) {
        throw UsageError("only one file can be standard input");
    }
}

int test(Options const & options) {
    if (options.wantsMutants() && options.format == "junit") {
        throw UsageError("mutants are told as text or json, not as junit");
    }
    TestFiles const files = findTestFiles(options.paths);
    checkFiles(options, files.texts);
    Run run{options, patternOf(options.only),
            options.lists.empty() ? nullptr : readListsOf(options.lists)};
    for (auto const & [path, error] : files.unread) {
        add(run, {path, {}, error, "the folder cannot be read"});
    }
    for (String const & file : files.texts) {
        runFile(run, file);
    }
    writeResults(run);
    bool const isWritten = writeLcov(run);
    return passes(run) && isWritten ? 0 : 1;
}

void addCoverageOptions(CLI::App & command, Options & options) {
    auto const isNumber = [](std::string const & text) {
        // What is no number is not outside of a range either.
        return std::isnan(std::strtod(text.c_str(), nullptr)) ? text + " is no number" : "";
    };
    auto const share = CLI::Range(0.0, 100.0) & CLI::Validator(isNumber, "");
    command.add_flag("--coverage", options.coverage,
                     "Tell which statements were evaluated, and which conditions both ways");
    command
        .add_option(
            "--min", options.least,
            "Statements that must be evaluated, in percent; exit code 1 where they are fewer")
        ->check(share)
        ->type_name("PCT");
    command
        .add_option("--min-branches", options.leastBranches,
                    "Conditions that must be seen both ways, and unknown where they can be")
        ->check(share)
        ->type_name("PCT");
    command.add_option("--lcov", options.lcov, "Write the coverage for the lcov tools")
        ->type_name("FILE");
}

void addMutantOptions(CLI::App & command, Options & options) {
    command.add_flag(
        "--mutants", options.mutants,
        "Change the texts at one place after the other, and tell what no test notices");
    addNumber(command, "--max", options.mostMutants, "Mutants of a text to try at most", 1)
        .default_str(std::to_string(options.mostMutants));
    command
        .add_option("--min-killed", options.leastKilled,
                    "Mutants that tests must notice, in percent; exit code 1 where they are fewer")
        ->check(CLI::Range(0.0, 100.0))
        ->type_name("PCT");
    constexpr U64 mostThreads = 256;
    addNumber(command, "--threads", options.threads, "Threads that try mutants", 1, mostThreads)
        .default_str("1");
}

} // namespace

void addTestCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "test", "Run the tests that stand in policy texts",
        "Of a directory all texts *.qcf below it. Each test evaluates its function on its routes,\n"
        "with the text's lists, those of --lists over them, and over those the lists that the "
        "test\n"
        "binds. Tests of imported texts run where their own file is named. --mutants also changes\n"
        "each comparison, bound, operator, list name and constant, one at a time, runs the tests\n"
        "again and tells which changes they let pass. The exit code is 1 where a test failed, a\n"
        "text has errors, or too little was covered or noticed.",
        "qcf test policies/ --coverage --min 90", [options] { return test(*options); });
    command.add_option("paths", options->paths, "Policy texts and directories of them")
        ->required()
        ->type_name("PATH");
    command
        .add_option("--lists", options->lists,
                    "Lists that stand in for those of the texts: a document or a text")
        ->type_name("FILE");
    command.add_option("--run", options->only, "Only tests whose title matches the expression")
        ->type_name("RE2");
    addCoverageOptions(command, *options);
    addMutantOptions(command, *options);
    command.add_option("--format", options->format, "text, json or junit")
        ->check(CLI::IsMember({"text", "json", "junit"}))
        ->capture_default_str();
    command.add_flag("--fail-on-empty", options->failOnEmpty, "Exit code 1 where no test was run");
}
