#include "Command/ManualPages.h"

namespace {

/// Text as roff prints it unchanged: no escapes, no hyphens for minus signs.
std::string literal(std::string const & text) {
    std::string out;
    for (char const c : text) {
        if (c == '\\') {
            out += "\\e";
        } else if (c == '-') {
            out += "\\-";
        } else {
            out += c;
        }
    }
    return out;
}

/// A line of its own, which is no request even if it begins like one.
std::string line(std::string const & text) {
    bool const isRequest = text.starts_with('.') || text.starts_with('\'');
    return (isRequest ? "\\&" : "") + literal(text) + '\n';
}

/// Lines of text: filled as paragraphs, but for those that are indented, which stand as they are.
std::string paragraphs(std::string const & text) {
    std::string out;
    bool asIs = false;
    std::size_t begin = 0;
    while (begin < text.size()) {
        auto const end = std::min(text.find('\n', begin), text.size());
        std::string const each = text.substr(begin, end - begin);
        begin = end + 1;
        if (each.starts_with(' ') != asIs && !each.empty()) {
            asIs = !asIs;
            out += asIs ? ".nf\n" : ".fi\n";
        }
        out += each.empty() ? ".PP\n" : line(each);
    }
    return out + (asIs ? ".fi\n" : "");
}

std::string bold(std::string const & text) { return "\\fB" + literal(text) + "\\fR"; }
std::string italic(std::string const & text) { return "\\fI" + literal(text) + "\\fR"; }

/// What follows an option: its choices, or what is wanted.
std::string valueOf(OptionRow const & option) {
    std::string out;
    for (std::string const & choice : option.choices) {
        out += (out.empty() ? "" : "|") + bold(choice);
    }
    return out.empty() ? italic(option.value) : out;
}

std::string optionEntry(OptionRow const & option) {
    std::string head;
    for (std::string const & name : option.names) {
        head += (head.empty() ? "" : ", ") + (option.isArgument ? italic(name) : bold(name));
    }
    if (!option.isArgument && !option.value.empty()) {
        head += ' ' + valueOf(option);
    }
    std::string out = ".TP\n" + head + '\n' + paragraphs(option.description);
    if (option.isArgument && !option.choices.empty()) {
        out += "One of: " + valueOf(option) + ".\n";
    }
    if (option.isRequired) {
        out += "(required)\n";
    }
    if (!option.defaultValue.empty()) {
        out += "(default: " + literal(option.defaultValue) + ")\n";
    }
    return out;
}

std::string optionSections(CommandRow const & command) {
    std::string arguments;
    std::string options;
    for (OptionRow const & option : command.options) {
        (option.isArgument ? arguments : options) += optionEntry(option);
    }
    return (arguments.empty() ? "" : ".SH ARGUMENTS\n" + arguments) + ".SH OPTIONS\n" + options;
}

std::string synopsis(CommandRow const & command) {
    std::string out = bold("qcf " + command.name) + " [" + italic("OPTIONS") + ']';
    for (OptionRow const & option : command.options) {
        if (option.isArgument) {
            std::string const name =
                italic(option.names.front()) + (option.isRepeated ? "..." : "");
            out += option.isRequired ? ' ' + name : " [" + name + ']';
        }
    }
    return out + '\n';
}

std::string heading(CommandTable const & table, std::string const & page,
                    std::string const & summary) {
    std::string title;
    for (char const c : page) {
        title += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return ".TH " + title + " 1 \"\" \"" + table.version + "\" \"User Commands\"\n.SH NAME\n" +
           literal(page) + " \\- " + literal(summary) + "\n.SH SYNOPSIS\n";
}

} // namespace

std::string programPage(CommandTable const & table) {
    std::string out = heading(table, table.program.name, "evaluate and publish routing policies") +
                      bold("qcf") + ' ' + italic("COMMAND") + " [" + italic("OPTIONS") +
                      "]\n.SH DESCRIPTION\n" + line(table.program.summary) + ".SH COMMANDS\n";
    for (CommandRow const & command : table.commands) {
        out += ".TP\n" + bold("qcf-" + command.name) + "(1)\n" + line(command.summary);
    }
    return out + optionSections(table.program) + ".SH NOTES\n" +
           paragraphs(table.program.explanation);
}

std::string commandPage(CommandTable const & table, CommandRow const & command) {
    std::string out = heading(table, table.program.name + '-' + command.name, command.summary) +
                      synopsis(command) + ".SH DESCRIPTION\n" + paragraphs(command.explanation) +
                      optionSections(command);
    if (!command.example.empty()) {
        out += ".SH EXAMPLE\n.nf\n.RS 4\n" + line(command.example) + ".RE\n.fi\n";
    }
    return out + ".SH SEE ALSO\n" + bold(table.program.name) + "(1), which tells the exit codes.\n";
}
