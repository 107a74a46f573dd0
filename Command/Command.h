#pragma once

#include "Platform/Framework/Types.h"

#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

/// The `qcf` command: a file a sub-command, which declares its options and what it runs.

/// Arguments that cannot be meant, which the parser of the command line let pass: exit code 2.
/// `what` is one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The sub-commands of `qcf`.
///
///     auto const options = std::make_shared<Options>();
///     CLI::App & command = commands.add("dump", "Print ...", "...", "qcf dump policy.json",
///                                       [options] { return dump(*options); });
///     command.add_option("document", options->document, "...")->required();
///
/// Options live as long as the command, which holds them.
class Commands {
public:
    /// The application must outlive it.
    explicit Commands(CLI::App & app) : app_(app) {}

    /// What a sub-command does; answers the exit code. Bad input is an exception whose text is one
    /// line for standard error; those of documents and routes start with the file.
    using Run = std::function<int()>;

    /// Adds a sub-command; `explanation` and `example` stand in its help. Its options are the
    /// caller's to add.
    CLI::App & add(std::string const & name, std::string const & summary,
                   std::string const & explanation, std::string const & example, Run run);

    /// Runs the sub-command that was parsed.
    int run() const;

    /// The help of a sub-command, or that of all of them for an empty name. Throws UsageError when
    /// there is none of that name.
    std::string helpOf(std::string const & name) const;
    /// The names of all sub-commands but those that the help hides.
    std::vector<std::string> names() const;
    /// The application with all that was added.
    CLI::App const & app() const { return app_; }

private:
    CLI::App & app_;
    std::map<CLI::App const *, Run> runs_;
};

/// What a user may have meant by an argument that the command does not know: the end of a message,
/// or empty.
std::string meantInstead(std::string const & argument, std::vector<std::string> const & known);

/// Adds an option that wants a decimal number within limits. `target` keeps its value while the
/// option is not given, and must outlive the parsing.
CLI::Option & addNumber(CLI::App & command, std::string const & option, U64 & target,
                        std::string const & description, U64 least = 0, U64 most = ~U64{0});
/// The same of a number that is missing while the option is not given.
CLI::Option & addNumber(CLI::App & command, std::string const & option, std::optional<U64> & target,
                        std::string const & description, U64 least = 0, U64 most = ~U64{0});

// Each in the file of its name; Main.cpp calls them in the order of the help.
/// Adds `qcf eval`; the others likewise. Each in the file of its name.
void addEvalCommand(Commands & commands);
void addExplainCommand(Commands & commands);
void addDiffCommand(Commands & commands);
void addImpactCommand(Commands & commands);
void addCheckCommand(Commands & commands);
void addCompileCommand(Commands & commands);
void addTestCommand(Commands & commands);
void addProfileCommand(Commands & commands);
void addReportCommand(Commands & commands);
void addDumpCommand(Commands & commands);
void addFmtCommand(Commands & commands);
void addNodesCommand(Commands & commands);
void addSchemaCommand(Commands & commands);
void addGenerateTableCommand(Commands & commands);
void addPublishCommand(Commands & commands);
void addAgentCommand(Commands & commands);
void addStatusCommand(Commands & commands);
void addWatchCommand(Commands & commands);
void addHistoryCommand(Commands & commands);
void addRollbackCommand(Commands & commands);
void addHelpCommand(Commands & commands);
void addDescribeCommand(Commands & commands);
