#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

/// What the command line takes, as plain rows, read from the declarations that parse it. Manual
/// pages and completions are written from these, so that nothing is said twice.
///
///     CommandTable const table = commandTable(app);
///     for (CommandRow const & command : table.commands) { ... command.options ... }

/// An option, a flag or an argument without a name of its own.
struct OptionRow {
    std::vector<std::string> names; ///< as they are typed, "--version"; of an argument its name
    bool isArgument = false;        ///< it stands by itself, behind the options
    bool isRequired = false;
    bool isRepeated = false;          ///< more than one value may follow
    std::string value;                ///< what follows, "FILE"; empty for a flag
    std::vector<std::string> choices; ///< all that may follow; empty where it is free
    std::string defaultValue;         ///< empty where there is none to tell
    std::string description;

    /// Whether the value names a file or a folder.
    bool isFile() const;
};

/// A sub-command, or the program itself.
struct CommandRow {
    std::string name;
    std::string summary;
    std::string explanation; ///< lines of text
    std::string example;     ///< empty for the program
    /// In the order of the help, arguments among them.
    std::vector<OptionRow> options;
};

struct CommandTable {
    CommandRow program;
    std::string version; ///< "qcf 0.1.0"
    /// In the order of the help, without those that it hides.
    std::vector<CommandRow> commands;
};

/// Of a program with all its sub-commands added.
CommandTable commandTable(CLI::App const & app);
