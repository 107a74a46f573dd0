#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/ReplaceFile.h"
#include "Platform/Render/ReadFile.h"
#include "Text/Formatter.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <vector>

namespace {

using Qcf::Text::Messages;
using Qcf::Text::Sources;

struct Options {
    std::vector<String> files;
    bool check = false;
};

constexpr char const * standardInput = "-";

/// What became of a file; each tells its own fault.
enum class Outcome : U8 { done, differs, failed };

void putBack(String const & file, String const & text, bool isSame) {
    if (file == standardInput) {
        standardOutput().write(text);
    } else if (!isSame) {
        replaceFile(file, text);
    }
}

Outcome layOut(String const & file, bool onlyCheck) {
    String const before = readFile(file);
    Sources sources;
    Messages messages;
    U32 const number = sources.add(file, before);
    auto const text = Qcf::Text::formatText(sources, number, messages);
    messages.print(sources, std::cerr);
    if (!text) {
        return Outcome::failed;
    }
    bool const isSame = *text == before;
    if (!onlyCheck) {
        putBack(file, *text, isSame);
        return Outcome::done;
    }
    if (!isSame) {
        standardOutput().write(file + '\n');
    }
    return isSame ? Outcome::done : Outcome::differs;
}

// One file that cannot be read does not keep the others from being laid out.
Outcome attempt(String const & file, bool onlyCheck) {
    try {
        return layOut(file, onlyCheck);
    } catch (ClosedOutput const &) {
        throw;
    } catch (std::runtime_error const & error) {
        std::cerr << error.what() << '\n';
        return Outcome::failed;
    }
}

int fmt(Options const & options) {
    if (std::ranges::count(options.files, standardInput) > 1) {
        throw UsageError("standard input can be laid out only once");
    }
    bool isGood = true;
    for (String const & file : options.files) {
        isGood = attempt(file, options.check) == Outcome::done && isGood;
    }
    return isGood ? 0 : 1;
}

} // namespace

void addFmtCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "fmt", "Lay out policy text",
        "Sets blanks, indentation and line breaks anew, in place; tokens and comments stay as "
        "they\n"
        "are, and so does what the text means. A file that is not laid out because a token is "
        "none\n"
        "or brackets do not pair is told on standard error and stays as it is; the others are "
        "laid\n"
        "out. Standard input (-) goes to standard output. With --check nothing is written but the\n"
        "name of each file that would change. Exit code 1 when there is one, or an error.",
        "qcf fmt --check import.qcf export.qcf", [options] { return fmt(*options); });
    command.add_option("files", options->files, "Policy texts")->required()->type_name("FILE");
    command.add_flag("--check", options->check, "Name the files that would change; write nothing");
}
