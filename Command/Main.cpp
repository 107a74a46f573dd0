#include "Command/Command.h"
#include "Command/Output.h"
#include "Lists/ByteSource.h"
#include "Platform/Render/DocumentError.h"
#include "Platform/Render/Utf8.h"
#include "Platform/Routing/TextPieces.h"

#include <csignal>
#include <iostream>
#include <new>

/// Whatever goes wrong in a sub-command comes out here as an exception, and becomes one line on
/// standard error and an exit code.
namespace {

// As the help tells them. Scripts rely on these.
constexpr int exitDone = 0;
constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

int complain(std::string const & line, int exitCode) {
    std::cerr << visibleLines(line) << std::endl;
    return exitCode;
}

// Of messages with several lines the first says what is wrong, and standard error gets one.
std::string firstLine(std::string const & text) { return text.substr(0, text.find('\n')); }

/// What is wrong with the arguments. CLI11 says it over several lines, and of an unknown command
/// only that one is missing.
std::string problemOf(CLI::App const & app, CLI::ParseError const & error) {
    auto const unknown = app.remaining();
    if (app.get_subcommands().empty() && !unknown.empty()) {
        std::string const kind = unknown.front().starts_with('-') ? "option" : "command";
        return "has no " + kind + " \"" + oneLine(unknown.front(), 60) + '"';
    }
    return firstLine(error.what());
}

std::string commandName(CLI::App const & app) {
    auto const parsed = app.get_subcommands();
    return parsed.empty() ? app.get_name() : app.get_name() + ' ' + parsed.front()->get_name();
}

// Parsing is over before anything runs, so that a fault of the arguments is never one of the work.
// The order in which commands are added is that of the help.
int parseAndRun(CLI::App & app, int argc, char ** argv) {
    Commands commands(app);
    addEvalCommand(commands);
    addExplainCommand(commands);
    addDiffCommand(commands);
    addImpactCommand(commands);
    addCheckCommand(commands);
    addCompileCommand(commands);
    addTestCommand(commands);
    addProfileCommand(commands);
    addReportCommand(commands);
    addDumpCommand(commands);
    addFmtCommand(commands);
    addNodesCommand(commands);
    addSchemaCommand(commands);
    addGenerateTableCommand(commands);
    addPublishCommand(commands);
    addAgentCommand(commands);
    addStatusCommand(commands);
    try {
        // Help that was asked for is output like any other, and no fault.
        app.parse(argc, argv);
    } catch (CLI::CallForHelp const &) {
        standardOutput().write(app.help());
        return exitDone;
    } catch (CLI::CallForVersion const & version) {
        standardOutput().write(std::string(version.what()) + '\n');
        return exitDone;
    } catch (CLI::ParseError const & error) {
        std::string const name = commandName(app);
        return complain(name + ": " + problemOf(app, error) + "; see " + name + " --help",
                        exitUsage);
    }
    return commands.run();
}

// The special before the general. Faults of documents and files begin with the name of the file,
// all others with that of the command. Output is flushed within, because that may fail, too.
int exitCodeOf(CLI::App & app, int argc, char ** argv) {
    int exitCode = exitDone;
    try {
        exitCode = parseAndRun(app, argc, argv);
        standardOutput().flush();
        return exitCode;
    } catch (ClosedOutput const &) {
        return exitCode; // whoever reads has seen enough; what was found out stays so
    } catch (UsageError const & error) {
        return complain(commandName(app) + ": " + error.what(), exitUsage);
    } catch (DocumentError const & error) {
        return complain(error.what(), exitFailed);
    } catch (Qcf::Lists::FileError const & error) {
        return complain(error.what(), exitFailed);
    } catch (std::bad_alloc const &) {
        return complain(commandName(app) + ": out of memory", exitFailed);
    } catch (std::exception const & error) {
        return complain(commandName(app) + ": " + firstLine(error.what()), exitFailed);
    }
}

} // namespace

CLI::App & Commands::add(std::string const & name, std::string const & summary,
                         std::string const & explanation, std::string const & example, Run run) {
    CLI::App * const command = app_.add_subcommand(name, summary);
    command->footer(explanation + "\n\nExample:\n  " + example + '\n');
    runs_.emplace(command, std::move(run));
    return *command;
}

namespace {

// The number is read here, for a message that says what was wanted and what was found as those
// about documents do.
CLI::Option & addChecked(CLI::App & command, std::string const & option,
                         std::string const & description, U64 least, U64 most,
                         std::function<void(U64)> const & take) {
    auto const read = [=](std::string const & text) {
        auto const number = Routing::TextPieces::parseDecimal(text, most);
        if (!number || *number < least) {
            throw CLI::ValidationError(option, "wants a number from " + std::to_string(least) +
                                                   " to " + std::to_string(most) + ", found \"" +
                                                   oneLine(text, 40) + '"');
        }
        take(*number);
    };
    return *command.add_option_function<std::string>(option, read, description)
                ->type_name("NUMBER");
}

} // namespace

CLI::Option & addNumber(CLI::App & command, std::string const & option, U64 & target,
                        std::string const & description, U64 least, U64 most) {
    return addChecked(command, option, description, least, most,
                      [&target](U64 number) { target = number; });
}

CLI::Option & addNumber(CLI::App & command, std::string const & option, std::optional<U64> & target,
                        std::string const & description) {
    return addChecked(command, option, description, 0, ~U64{0},
                      [&target](U64 number) { target = number; });
}

// There is exactly one: the application wants a sub-command, and sub-commands have none themselves.
int Commands::run() const { return runs_.at(app_.get_subcommands().front())(); }

int main(int argc, char ** argv) {
    // A reader that goes away is told by the failing write.
    std::signal(SIGPIPE, SIG_IGN);
    CLI::App app("Evaluates functions of a routing policy over routing tables.", "qcf");
    app.set_version_flag("--version", "qcf " QCF_VERSION, "Print the version and exit");
    app.set_help_flag("--help", "Print this help and exit");
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done, 1 bad input or failed check, 2 bad usage.\n"
               "Files named - are standard input. See qcf COMMAND --help for each command.\n");
    return exitCodeOf(app, argc, argv);
}
