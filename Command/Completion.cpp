#include "Command/Completion.h"

namespace {

std::string joined(std::vector<std::string> const & words, char const * between) {
    std::string out;
    for (std::string const & word : words) {
        out += (out.empty() ? "" : between) + word;
    }
    return out;
}

std::vector<std::string> commandNames(CommandTable const & table) {
    std::vector<std::string> names;
    for (CommandRow const & command : table.commands) {
        names.push_back(command.name);
    }
    return names;
}

/// All that may stand in the place of a value; empty where it is free.
std::vector<std::string> wordsFor(CommandTable const & table, OptionRow const & option) {
    return option.value == "COMMAND" ? commandNames(table) : option.choices;
}

/// What bash does for a value: words, files (which is what it does by itself), or nothing.
std::string bashValue(CommandTable const & table, OptionRow const & option) {
    auto const words = wordsFor(table, option);
    if (!words.empty()) {
        return "words='" + joined(words, " ") + '\'';
    }
    return option.isFile() ? "return 0" : "compopt +o default; return 0";
}

/// The case of a command: what follows its options, then what may stand anywhere else.
std::string bashCase(CommandTable const & table, CommandRow const & command) {
    std::vector<std::string> names;
    std::string values;
    std::string argument = "compopt +o default; return 0";
    for (OptionRow const & option : command.options) {
        if (option.isArgument) {
            argument = bashValue(table, option);
            continue;
        }
        names.insert(names.end(), option.names.begin(), option.names.end());
        if (!option.value.empty()) {
            values += "        " + joined(option.names, " | ") + ") " + bashValue(table, option) +
                      " ;;\n";
        }
    }
    return "    " + command.name + ")\n        case $previous in\n" + values +
           "        *) if [[ $word == -* ]]; then words='" + joined(names, " ") + "'; else " +
           argument + "; fi ;;\n        esac\n        ;;\n";
}

/// Text within single quotes of zsh's specifications, where these mean something.
std::string zshText(std::string const & text) {
    std::string out;
    for (char const c : text) {
        if (c == '\'') {
            out += "'\\''";
        } else if (c == '\n') {
            out += ' ';
        } else {
            out += std::string(c == '[' || c == ']' || c == ':' || c == '\\' ? "\\" : "") + c;
        }
    }
    return out;
}

std::string zshValue(CommandTable const & table, OptionRow const & option) {
    auto const words = wordsFor(table, option);
    std::string const what = ':' + zshText(option.value) + ':';
    if (!words.empty()) {
        return what + '(' + joined(words, " ") + ')';
    }
    return what + (option.isFile() ? "_files" : " ");
}

std::string zshCase(CommandTable const & table, CommandRow const & command) {
    std::string out = "    " + command.name + ")\n        _arguments";
    for (OptionRow const & option : command.options) {
        if (option.isArgument) {
            out += " \\\n            '*" + zshValue(table, option) + '\'';
            continue;
        }
        std::string const value = option.value.empty() ? "" : zshValue(table, option);
        for (std::string const & name : option.names) {
            out.append(" \\\n            '").append(name).append("[");
            out.append(zshText(option.description)).append("]").append(value).append("'");
        }
    }
    return out + "\n        ;;\n";
}

} // namespace

std::string bashCompletion(CommandTable const & table) {
    std::string out = "# Completion of qcf for bash, written by qcf itself.\n"
                      "_qcf() {\n"
                      "    local word=${COMP_WORDS[COMP_CWORD]} words=''\n"
                      "    local previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
                      "    # bash takes --option=value for three words.\n"
                      "    [[ $word == = ]] && word=''\n"
                      "    [[ ${COMP_WORDS[COMP_CWORD]} != = && $previous == = ]] &&\n"
                      "        previous=${COMP_WORDS[COMP_CWORD - 2]}\n"
                      "    COMPREPLY=()\n"
                      "    if ((COMP_CWORD == 1)); then\n";
    std::vector<std::string> first = commandNames(table);
    for (OptionRow const & option : table.program.options) {
        first.insert(first.end(), option.names.begin(), option.names.end());
    }
    out += "        words='" + joined(first, " ") + "'\n    else\n    case ${COMP_WORDS[1]} in\n";
    for (CommandRow const & command : table.commands) {
        out += bashCase(table, command);
    }
    return out + "    esac\n    fi\n"
                 "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
                 "    ((${#COMPREPLY[@]})) || compopt +o default\n"
                 "}\n"
                 "complete -o default -F _qcf qcf\n";
}

std::string zshCompletion(CommandTable const & table) {
    std::string out = "#compdef qcf\n"
                      "# Completion of qcf for zsh, written by qcf itself.\n"
                      "if ((CURRENT == 2)); then\n"
                      "    local -a commands=(\n";
    for (CommandRow const & command : table.commands) {
        out += "        '" + command.name + ':' + zshText(command.summary) + "'\n";
    }
    out += "    )\n    _describe command commands\n    return\nfi\n"
           "local command=$words[2]\nshift words\n((CURRENT--))\ncase $command in\n";
    for (CommandRow const & command : table.commands) {
        out += zshCase(table, command);
    }
    return out + "esac\n";
}
