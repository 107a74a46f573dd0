#include "Command/CommandTable.h"

#include "Command/Command.h"

#include <algorithm>
#include <array>

namespace {

// Before it in the text under a command's help; see Commands::add.
constexpr std::string_view exampleHeading = "\n\nExample:\n  ";

std::string withoutEndLines(std::string text) {
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

/// What the type says behind its name, as in "TEXT:{table,jsonl,none}".
std::vector<std::string> choicesOf(std::string const & type) {
    std::vector<std::string> choices;
    auto const open = type.find(":{");
    if (open == std::string::npos) {
        return choices;
    }
    std::string const inner = type.substr(open + 2, type.find('}', open) - open - 2);
    std::size_t begin = 0;
    while (begin <= inner.size()) {
        auto const end = std::min(inner.find(',', begin), inner.size());
        choices.push_back(inner.substr(begin, end - begin));
        begin = end + 1;
    }
    return choices;
}

/// What is wanted, without what a check adds to it: ":{table,json}", ":FLOAT in [0 - 100]".
std::string valueOf(std::string const & type) {
    std::size_t end = type.size();
    for (char const * const check : {":{", ":FLOAT in ", ":INT in ", ":UINT in "}) {
        end = std::min(end, type.find(check));
    }
    return type.substr(0, end);
}

std::vector<std::string> namesOf(CLI::Option const & option) {
    if (option.get_positional()) {
        return {option.get_name(true)};
    }
    std::vector<std::string> names;
    for (std::string const & name : option.get_snames()) {
        names.push_back('-' + name);
    }
    for (std::string const & name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

OptionRow optionRow(CLI::Option const & option) {
    OptionRow row;
    row.names = namesOf(option);
    row.isArgument = option.get_positional();
    row.isRequired = option.get_required();
    row.isRepeated = option.get_items_expected_max() > 1;
    row.description = option.get_description();
    if (option.get_items_expected_max() > 0) {
        std::string const type = option.get_type_name();
        row.value = valueOf(type);
        row.choices = choicesOf(type);
        row.defaultValue = option.get_default_str();
    }
    return row;
}

CommandRow commandRow(CLI::App const & app) {
    CommandRow row;
    row.name = app.get_name();
    row.summary = app.get_description();
    std::string const footer = withoutEndLines(app.get_footer());
    auto const heading = footer.find(exampleHeading);
    row.explanation = footer.substr(0, heading);
    if (heading != std::string::npos) {
        row.example = footer.substr(heading + exampleHeading.size());
    }
    for (CLI::Option const * const option : app.get_options()) {
        row.options.push_back(optionRow(*option));
    }
    return row;
}

} // namespace

bool OptionRow::isFile() const {
    constexpr std::array<std::string_view, 4> files{"FILE", "PATH", "POLICY", "OLD NEW"};
    return std::ranges::find(files, value) != files.end();
}

CommandTable commandTable(CLI::App const & app) {
    CommandTable table;
    table.program = commandRow(app);
    table.version = "qcf " QCF_VERSION;
    // Neither those that were parsed nor none: those for which the filter holds.
    for (CLI::App const * const command :
         app.get_subcommands([](CLI::App const * each) { return !each->get_group().empty(); })) {
        table.commands.push_back(commandRow(*command));
    }
    return table;
}
