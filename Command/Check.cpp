#include "Command/CheckReport.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyFile.h"
#include "Command/Readiness.h"
#include "Documents/Analysis.h"
#include "Documents/Program.h"
#include "Lists/ListBinding.h"
#include "Lists/ListsDocument.h"
#include "Platform/Framework/Trace.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <vector>

namespace {

using Qcf::Documents::Program;
using Qcf::Documents::UnreadFunction;
using Qcf::Eval::Function;
using Qcf::Lists::Finding;

struct Options {
    PolicyFile::Options policy;
    String lists;
    String format = "text";
    bool strict = false;
};

/// Gathers what the engine traces about sanity checks as long as it lives. The engine's check
/// answers yes or no; why, it tells its trace alone. The sink is the process's: it is taken off
/// again, because it writes to this object.
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

    /// The innermost message that tells of a fault; starts anew. Checks trace from the inside out.
    /// To be asked after each function, sane ones too, since those leave messages as well.
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

using Severity = CheckReport::Severity;
using Verdict = CheckReport::Verdict;

/// A policy as far as it could be read.
struct Document {
    PolicyFile file;
    std::vector<UnreadFunction> unread;

    Program const & program() const { return file.program(); }
};

// The error goes to the other stream at once: what is written as the result has one form, a line a
// function.
void addUnread(UnreadFunction const & unread, CheckReport & report) {
    constexpr std::size_t longestName = 200;
    String const name = unread.name.empty() ? "function " + std::to_string(unread.position)
                                            : oneLine(unread.name, longestName);
    report.functionIs(name, Verdict::unread, "");
    tellLine(unread.error);
}

// Functions that were read and those that were not are each in the order of the document, and are
// told as one list.
void addFunctions(Document const & document, CheckReport & report) {
    SanityTrace trace;
    auto const & program = document.program();
    auto const outermost = Qcf::Documents::outermostOf(program.functions);
    auto unread = document.unread.begin();
    for (std::size_t i = 0, position = 0;
         i < program.functions.size() || unread != document.unread.end(); ++position) {
        if (unread != document.unread.end() && unread->position == position) {
            addUnread(*unread++, report);
            continue;
        }
        Function const & function = *program.functions[i];
        String const & fault = program.faults[i].eval;
        bool const sane = function.verifySanity(function.metadata());
        String const reason = trace.takeReason();
        // Missing arguments are a fault only of a function that nobody calls, which is certain only
        // where all functions could be read.
        bool const evaluable = fault.empty() || !outermost[i] || !document.unread.empty();
        report.functionIs(function.funcName(), sane && evaluable ? Verdict::sane : Verdict::insane,
                          sane ? (evaluable ? "" : fault) : reason);
        ++i;
    }
}

CheckReport::Place placeOf(Qcf::Text::Message const & message, Qcf::Text::Sources const & sources) {
    auto const & source = sources[message.span.file];
    auto const begin = source.placeOf(message.span.begin);
    auto const end = source.placeOf(message.span.end);
    // An editor marks one line.
    U32 const endColumn = end.line == begin.line ? end.column : begin.column + 1;
    return {source.name(), {}, begin.line, begin.column, endColumn};
}

CheckReport::Place placeOf(PolicyFile const & file, Qcf::Documents::Remark const & remark) {
    if (auto const * const place = file.mappedPlace(*remark.node)) {
        bool const isOneLine = place->end.line == place->begin.line;
        return {file.map().fileName(*place),
                {},
                place->begin.line,
                place->begin.column,
                isOneLine ? place->end.column : place->begin.column + 1};
    }
    return CheckReport::Place::of(file.placeOf(*remark.node, *remark.function));
}

/// What the reader of a text told, and with it what the analysis finds in the text: to people on
/// standard error with the lines, to programs as the other findings.
void addMessages(PolicyFile & file, std::vector<Qcf::Documents::Remark> const & remarks,
                 Options const & options, CheckReport & report) {
    for (Qcf::Documents::Remark const & remark : remarks) {
        file.messageIs(*remark.node, remarkName(remark.kind), remark.text);
    }
    file.sortMessages();
    for (Qcf::Text::Message const & message : file.messages().all()) {
        bool const isError = message.severity == Qcf::Text::Severity::error;
        report.findingIs(isError ? Severity::error : Severity::warning, message.code,
                         placeOf(message, file.sources()), message.text, message.suggestion, true);
    }
    if (options.format == "text") {
        file.tellMessages();
    }
}

void addRemarks(Document & document, Options const & options, CheckReport & report) {
    using Kind = Qcf::Documents::Remark::Kind;
    auto const remarks = Qcf::Documents::analyse(document.program().functions);
    if (document.file.isText()) {
        addMessages(document.file, remarks, options, report);
        return;
    }
    for (Qcf::Documents::Remark const & remark : remarks) {
        bool const ofOutermost =
            remark.kind == Kind::endsWithoutReturn || remark.kind == Kind::expectsArguments;
        if (ofOutermost && !document.unread.empty()) {
            continue; // what could not be read may call it
        }
        report.findingIs(Severity::warning, remarkName(remark.kind), placeOf(document.file, remark),
                         remark.text);
    }
}

/// What is known of a kind of finding about lists. The first three leave no doubt that something is
/// wrong.
struct ListFinding {
    Severity severity;
    char const * name;
};

ListFinding listFinding(Finding::Kind kind) {
    switch (kind) {
    case Finding::Kind::undefinedList:
        return {Severity::error, "undefinedList"};
    case Finding::Kind::wrongFamily:
        return {Severity::error, "wrongFamily"};
    case Finding::Kind::wrongSlot:
        return {Severity::error, "wrongSlot"};
    case Finding::Kind::emptyList:
        return {Severity::warning, "emptyList"};
    case Finding::Kind::unusedList:
        return {Severity::warning, "unusedList"};
    }
    return {Severity::error, ""};
}

/// The document's references in the terms of the lists, each with its place as messages tell it.
/// Documents know a kind by the name of its member, lists by its number.
std::vector<Qcf::Lists::ListUse> usesIn(Document const & document, String const & fileName) {
    std::vector<Qcf::Lists::ListUse> uses;
    for (auto const & list : document.program().lists) {
        // A text's places name their file, which may be an imported one.
        String const place = document.file.isText() ? list.pointer : fileName + ':' + list.pointer;
        for (Qcf::SlotKindInfo const & kind : Qcf::slotKinds) {
            if (kind.name == list.kind) {
                uses.push_back({kind.kind, list.name, list.slot, place});
            }
        }
    }
    return uses;
}

// Told, lest silence be taken for agreement; but a policy without its lists is not wrong.
void addNotCompared(Qcf::Lists::ListUse const & use, CheckReport & report) {
    if (String const text = listText(use); !text.empty()) {
        report.findingIs(Severity::note, "notCompared", CheckReport::Place::of(use.place),
                         text + " is not compared: no --lists");
    }
}

void addLists(Document const & document, Options const & options, CheckReport & report) {
    auto const uses = usesIn(document, options.policy.path);
    bool const isText = document.file.isText();
    if (options.lists.empty() && !isText) {
        for (auto const & use : uses) {
            addNotCompared(use, report);
        }
        return;
    }
    // A text is compared with the lists that it declares itself; others it may get from outside.
    auto lists = document.file.listsWith(options.lists);
    if (!lists) {
        lists = makePtr<Qcf::Lists::NamedLists>();
    }
    for (Finding const & finding : checkLists(document.program().slots, uses, *lists)) {
        auto [severity, name] = listFinding(finding.kind);
        bool const isOutside =
            isText && options.lists.empty() && finding.kind == Finding::Kind::undefinedList;
        if (isOutside) {
            severity = Severity::note;
            name = "notCompared";
        }
        // The reader of a text tells of lists that nothing uses.
        if (!isText || finding.kind != Finding::Kind::unusedList) {
            report.findingIs(severity, name, CheckReport::Place::of(finding.place), finding.text);
        }
    }
}

// Everything is gathered before the first line is written: a file of lists that cannot be read ends
// the check, and not in the middle of an output.
int check(Options const & options) {
    if (options.policy.path == "-" && options.lists == "-") {
        throw UsageError("only one file can be standard input");
    }
    Document document;
    document.file = PolicyFile::readAll(options.policy, {.unread = &document.unread});
    CheckReport report;
    if (document.file.isUnreadable()) {
        addMessages(document.file, {}, options, report);
    } else {
        addFunctions(document, report);
        addRemarks(document, options, report);
        addLists(document, options, report);
    }
    standardOutput().write(options.format == "json" ? report.jsonLines() : report.text());
    return report.good(options.strict) ? 0 : 1;
}

} // namespace

void addCheckCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "check", "Check a policy and the lists that it refers to",
        "Of a text all errors go to standard error, with their lines, else what is hardly meant.\n"
        "Prints a line a function: sane, insane and why, or not read, whose first error goes to\n"
        "standard error; then warnings: an outermost function that can end without return,\n"
        "statements that are never reached, comparisons that are always or never true, constants\n"
        "out of range. With --lists also what is wrong between the document and the lists: errors\n"
        "(a list that is not defined, of the wrong family or in the wrong slot) and warnings (a\n"
        "list that is empty or not used); without it, which names were not compared. Exit code 1\n"
        "when a function is insane or not read or something is an error, with --strict also for a\n"
        "warning.",
        "qcf check policy.qcf --format json", [options] { return check(*options); });
    options->policy.addTo(command);
    command.add_option("--lists", options->lists, "Lists that the document refers to by name")
        ->type_name("FILE");
    command.add_option("--format", options->format, "text or json")
        ->check(CLI::IsMember({"text", "json"}))
        ->capture_default_str();
    command.add_flag("--strict", options->strict, "Exit with 1 for a warning, too");
}
