#include "Agent/ListBinding.h"
#include "Agent/ListsDocument.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Documents/Program.h"
#include "Platform/Framework/Trace.h"

#include <charconv>
#include <memory>
#include <vector>

namespace {

using Qcf::Agent::Finding;
using Qcf::Documents::Program;
using Qcf::Eval::Function;

struct Options {
    String document;
    String lists;
};

/// Gathers what the engine traces about sanity checks as long as it lives.
class SanityTrace {
public:
    SanityTrace() {
        TraceFacility::sinkIs(
            [this](int, String const & message) { messages_.push_back(message); });
        Qcf::Eval::traceQcfEval.levelIs(2);
    }
    ~SanityTrace() {
        Qcf::Eval::traceQcfEval.levelIs(0);
        TraceFacility::sinkIs({});
    }
    SanityTrace(SanityTrace const &) = delete;
    SanityTrace & operator=(SanityTrace const &) = delete;

    /// The innermost message that tells of a fault; starts anew.
    String takeReason() {
        String reason = "a node is not sane";
        for (String const & message : messages_) {
            if (tellsOfFault(message)) {
                reason = message;
                break;
            }
        }
        messages_.clear();
        return reason;
    }

private:
    /// Messages end in `name=number` pairs: a check that failed is 0, and a slot is to be equal to
    /// that of the metadata and not 0.
    static bool tellsOfFault(String const & message) {
        std::optional<U64> common;
        for (std::size_t at = message.find('='); at != String::npos;
             at = message.find('=', at + 1)) {
            U64 number = 0;
            std::from_chars(message.data() + at + 1, message.data() + message.size(), number);
            if (number == 0 || number != common.value_or(number)) {
                return true;
            }
            common = number;
        }
        return false;
    }

    std::vector<String> messages_;
};

/// A line a function; whether all are sane.
bool checkFunctions(Program const & program) {
    SanityTrace trace;
    bool allSane = true;
    for (PtrConst<Function> const & function : program.functions) {
        bool const sane = function->verifySanity(function->metadata());
        String const reason = trace.takeReason();
        standardOutput().write(function->funcName() + (sane ? ": sane\n" : ": insane: "));
        if (!sane) {
            standardOutput().write(reason + '\n');
            allSane = false;
        }
    }
    return allSane;
}

/// Findings that leave no doubt that something is wrong.
bool isError(Finding const & finding) {
    switch (finding.kind) {
    case Finding::Kind::undefinedList:
    case Finding::Kind::wrongFamily:
    case Finding::Kind::wrongSlot:
        return true;
    case Finding::Kind::emptyList:
    case Finding::Kind::unusedList:
        return false;
    }
    return true;
}

/// A line a finding about the lists; whether none is an error.
bool checkListsOf(Program const & program, Options const & options) {
    std::vector<Qcf::Agent::ListUse> uses;
    for (auto const & list : program.lists) {
        uses.push_back({list.kind, list.name, list.slot, options.document + ':' + list.pointer});
    }
    auto const lists = Qcf::Agent::readListsFile(options.lists);
    bool good = true;
    for (Finding const & finding : checkLists(program.slots, uses, *lists)) {
        bool const error = isError(finding);
        standardOutput().write(finding.place + (error ? ": error: " : ": warning: ") +
                               finding.text + '\n');
        good = good && !error;
    }
    return good;
}

int check(Options const & options) {
    if (options.document == "-" && options.lists == "-") {
        throw UsageError("only one file can be standard input");
    }
    Program const program = Qcf::Documents::readProgramFile(options.document);
    bool good = checkFunctions(program);
    if (!options.lists.empty()) {
        good = checkListsOf(program, options) && good;
    }
    return good ? 0 : 1;
}

} // namespace

void addCheckCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "check", "Check a document and the lists that it refers to",
        "Prints a line a function: sane, or insane and why. With --lists also what is wrong "
        "between\n"
        "the document and the lists: errors (a list that is not defined, of the wrong family or "
        "in\n"
        "the wrong slot) and warnings (a list that is empty or not used). Exit code 1 when a\n"
        "function is insane or something is an error.",
        "qcf check policy.json --lists lists.json", [options] { return check(*options); });
    command.add_option("document", options->document, "Evaluation-tree document")
        ->required()
        ->type_name("DOC");
    command.add_option("--lists", options->lists, "Lists that the document refers to by name")
        ->type_name("FILE");
}
