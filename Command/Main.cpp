#include "Command/Command.h"
#include "Command/Faults.h"
#include "Command/Log.h"
#include "Command/Output.h"
#include "Lists/ByteSource.h"
#include "Platform/Render/DocumentError.h"
#include "Platform/Render/NearestWord.h"
#include "Platform/Render/Utf8.h"
#include "Platform/Routing/TextPieces.h"

#include <algorithm>
#include <csignal>
#include <memory>
#include <new>

/// Whatever goes wrong in a sub-command comes out here as an exception, and becomes one line on
/// standard error and an exit code.
namespace {

// As the help tells them. Scripts rely on these.
constexpr int exitDone = 0;
constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

int complain(std::string const & line, int exitCode) {
    tellError(line);
    return exitCode;
}

// Of messages with several lines the first says what is wrong, and standard error gets one.
std::string firstLine(std::string const & text) { return text.substr(0, text.find('\n')); }

std::vector<std::string> optionsOf(CLI::App const & app) {
    std::vector<std::string> names;
    for (CLI::Option const * const option : app.get_options()) {
        for (std::string const & name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::string unknown(char const * kind, std::string const & argument,
                    std::vector<std::string> const & known) {
    return std::string("has no ") + kind + " \"" + oneLine(argument, 60) + '"' +
           meantInstead(argument, known);
}

/// What is wrong with the arguments. CLI11 says it over several lines, of an unknown command only
/// that one is missing, and of an unknown option first what is missing besides.
std::string problemOf(CLI::App const & app, Commands const & commands,
                      CLI::ParseError const & error) {
    auto const parsed = app.get_subcommands();
    CLI::App const & owner = parsed.empty() ? app : *parsed.front();
    auto const remaining = owner.remaining();
    auto const option = std::ranges::find_if(
        remaining, [](std::string const & each) { return each.size() > 1 && each[0] == '-'; });
    if (option != remaining.end() && *option != "--") {
        return unknown("option", *option, optionsOf(owner));
    }
    if (parsed.empty() && !remaining.empty()) {
        return unknown("command", remaining.front(), commands.names());
    }
    return firstLine(error.what());
}

std::string commandName(CLI::App const & app) {
    auto const parsed = app.get_subcommands();
    return parsed.empty() ? app.get_name() : app.get_name() + ' ' + parsed.front()->get_name();
}

struct NamedCommand {
    std::string_view name;
    void (*add)(Commands &);
};

// In the order of the help.
constexpr NamedCommand namedCommands[] = {
    {"eval", addEvalCommand},       {"explain", addExplainCommand},
    {"diff", addDiffCommand},       {"impact", addImpactCommand},
    {"check", addCheckCommand},     {"compile", addCompileCommand},
    {"test", addTestCommand},       {"profile", addProfileCommand},
    {"report", addReportCommand},   {"dump", addDumpCommand},
    {"fmt", addFmtCommand},         {"nodes", addNodesCommand},
    {"schema", addSchemaCommand},   {"generate-table", addGenerateTableCommand},
    {"publish", addPublishCommand}, {"agent", addAgentCommand},
    {"status", addStatusCommand},   {"watch", addWatchCommand},
    {"history", addHistoryCommand}, {"rollback", addRollbackCommand},
    {"help", addHelpCommand},       {"describe", addDescribeCommand},
};

// These tell of all the others.
bool tellsOfAll(std::string_view name) { return name == "help" || name == "describe"; }

/// Adds the command that the first argument names. Declaring the options of all of them takes
/// longer than many a run: the others are added only where they may be told of.
void addCommands(Commands & commands, std::string_view first) {
    for (NamedCommand const & command : namedCommands) {
        if (command.name == first && !tellsOfAll(first)) {
            command.add(commands);
            return;
        }
    }
    for (NamedCommand const & command : namedCommands) {
        command.add(commands);
    }
}

// Parsing is over before anything runs, so that a fault of the arguments is never one of the work.
int parseAndRun(CLI::App & app, int argc, char ** argv) {
    Commands commands(app);
    addCommands(commands, argc > 1 ? argv[1] : "");
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
        std::string const problem = name + ": " + problemOf(app, commands, error);
        return complain(problem + (problem.ends_with('?') ? " See " : "; see ") + name + " --help",
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
        tellFault(error);
        return exitFailed;
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

std::string Commands::helpOf(std::string const & name) const {
    if (name.empty()) {
        // Not of the one that was parsed, which asks.
        return app_.get_formatter()->make_help(&app_, app_.get_name(), CLI::AppFormatMode::Normal);
    }
    for (auto const & [command, run] : runs_) {
        if (command->get_name() == name) {
            return command->help(app_.get_name());
        }
    }
    throw UsageError("has no command \"" + oneLine(name, 60) + '"' + meantInstead(name, names()));
}

std::vector<std::string> Commands::names() const {
    std::vector<std::string> names;
    for (auto const & [command, run] : runs_) {
        if (!command->get_group().empty()) {
            names.push_back(command->get_name());
        }
    }
    return names;
}

std::string meantInstead(std::string const & argument, std::vector<std::string> const & known) {
    return didYouMean(argument, std::vector<std::string_view>(known.begin(), known.end()));
}

void addHelpCommand(Commands & commands) {
    auto const name = std::make_shared<std::string>();
    auto & command = commands.add("help", "Print this help, or that of a command",
                                  "The same as qcf --help, or qcf COMMAND --help.", "qcf help eval",
                                  [&commands, name] {
                                      standardOutput().write(commands.helpOf(*name));
                                      return exitDone;
                                  });
    command.add_option("command", *name, "Command to tell of")->type_name("COMMAND");
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
                        std::string const & description, U64 least, U64 most) {
    return addChecked(command, option, description, least, most,
                      [&target](U64 number) { target = number; });
}

// There is exactly one: the application wants a sub-command, and sub-commands have none themselves.
int Commands::run() const { return runs_.at(app_.get_subcommands().front())(); }

int main(int argc, char ** argv) {
    // A reader that goes away is told by the failing write.
    std::signal(SIGPIPE, SIG_IGN);
    CLI::App app("Evaluates functions of a routing policy over routing tables.", "qcf");
    app.set_version_flag("-V,--version", "qcf " QCF_VERSION, "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done, 1 bad input or failed check, 2 bad usage.\n"
               "Files named - are standard input. See qcf COMMAND --help for each command.\n");
    return exitCodeOf(app, argc, argv);
}
