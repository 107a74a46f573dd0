#include "Command/CheckReport.h"
#include "Command/Colours.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyFile.h"
#include "Command/Readiness.h"
#include "Command/SanityTrace.h"
#include "Documents/Analysis.h"
#include "Documents/Program.h"
#include "Lists/ListUses.h"
#include "Platform/Render/Utf8.h"
#include "QcfLib/NodeWalk.h"
#include "Watch/TestRoute.h"

#include <memory>
#include <vector>

#include <unistd.h>

namespace {

using Qcf::Documents::Program;
using Qcf::Documents::UnreadFunction;
using Qcf::Eval::Function;
using Qcf::Lists::Finding;

struct Options {
    PolicyFile::Named policy;
    String lists;
    String format = "text";
    bool strict = false;

    bool isJson() const { return format == "json"; }
};

using Severity = CheckReport::Severity;
using Verdict = CheckReport::Verdict;

/// A policy as far as it could be read.
struct Document {
    PolicyFile file;
    std::vector<UnreadFunction> unread;

    Program const & program() const { return file.program(); }
};

/// An error that kept something from being read. `file` is told where the error does not know its
/// own.
void addError(DocumentError const & error, char const * code, String const & file,
              CheckReport & report) {
    auto const & at = error.place();
    CheckReport::Place place{at.file.empty() ? file : at.file, at.pointer};
    // A line without column is that of a document in a file of many.
    if (at.column != 0) {
        place.line = static_cast<U32>(at.line);
        place.column = static_cast<U32>(at.column);
        place.endColumn = place.column + 1;
    }
    report.findingIs(Severity::error, code, place, error.message());
}

// To people the error goes to the other stream at once: what is written as the result has one form,
// a line a function.
void addUnread(UnreadFunction const & unread, Options const & options, CheckReport & report) {
    constexpr std::size_t longestName = 200;
    String const name = unread.name.empty() ? "function " + std::to_string(unread.position)
                                            : oneLine(unread.name, longestName);
    report.functionIs(name, Verdict::unread, "");
    if (options.isJson()) {
        addError(unread.error, "document", options.policy.path, report);
    } else {
        tellLine(unread.error.what());
    }
}

/// Links of chains and operators are asked by the nodes that have them.
bool isSane(Qcf::Eval::AetNodeBase const & node, Function const & function) {
    using Qcf::Eval::NodeKind;
    if (node.typeData().isKind(NodeKind::expression)) {
        return static_cast<Qcf::Eval::Expression const &>(node).verifySanity(function.metadata());
    }
    return !node.typeData().isKind(NodeKind::storageType) ||
           static_cast<Qcf::Eval::StorageType const &>(node).verifySanity(function.metadata());
}

/// The first node that is not sane and has none below that is not either.
Qcf::Eval::AetNodeBase const & insaneNode(Function const & function) {
    Qcf::Eval::AetNodeBase const * found = &function;
    bool isFound = false;
    walkTree(
        function,
        [&](Qcf::Eval::WalkedNode const & at) {
            bool const isCallee = &at.node != &function && Qcf::Eval::is<Function>(at.node);
            bool const isLink = at.node.typeData().facts.isLink;
            bool const isInsane = !isFound && !isCallee && (isLink || !isSane(at.node, function));
            found = isInsane && !isLink ? &at.node : found;
            return isInsane;
        },
        [&](Qcf::Eval::AetNodeBase const & node) { isFound = isFound || &node == found; });
    return *found;
}

// Functions that were read and those that were not are each in the order of the document, and are
// told as one list.
void addFunctions(Document & document, Options const & options, CheckReport & report) {
    SanityTrace trace;
    auto const & program = document.program();
    auto const outermost = Qcf::Documents::outermostOf(program.functions);
    auto unread = document.unread.begin();
    for (std::size_t i = 0, position = 0;
         i < program.functions.size() || unread != document.unread.end(); ++position) {
        if (unread != document.unread.end() && unread->position == position) {
            addUnread(*unread++, options, report);
            continue;
        }
        Function const & function = *program.functions[i];
        String const & fault = program.faults[i].eval;
        bool const sane = function.verifySanity(function.metadata());
        String const reason = trace.takeReason();
        if (!sane && document.file.isText()) {
            document.file.messageIs(insaneNode(function), "insane", "not sane: " + reason,
                                    Qcf::Text::Severity::error);
            trace.takeReason();
        }
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

void addMessages(Qcf::Text::Messages const & messages, Qcf::Text::Sources const & sources,
                 CheckReport & report) {
    for (Qcf::Text::Message const & message : messages.all()) {
        bool const isError = message.severity == Qcf::Text::Severity::error;
        report.findingIs(isError ? Severity::error : Severity::warning, message.code,
                         placeOf(message, sources), message.text, message.suggestion, true);
    }
}

/// What the reader of a text told, and with it what the analysis finds in the text: to people on
/// standard error with the lines, to programs as the other findings.
void addMessages(PolicyFile & file, std::vector<Qcf::Documents::Remark> const & remarks,
                 Options const & options, CheckReport & report) {
    for (Qcf::Documents::Remark const & remark : remarks) {
        file.messageIs(*remark.node, remarkName(remark.kind), remark.text);
    }
    file.sortMessages();
    addMessages(file.messages(), file.sources(), report);
    if (options.format == "text") {
        file.tellMessages();
    }
}

// What a text's grammar lets pass may be no value of a route: its reader knows. Recorded routes are
// read by who runs the tests.
void checkTestRoutes(PolicyFile & file) {
    for (Qcf::Text::TestDeclaration const & test : file.text()->declarations().tests) {
        for (Qcf::Text::RouteDeclaration const & route : test.routes) {
            if (!route.file.empty()) {
                continue;
            }
            try {
                Qcf::Watch::readTestRoute(route, file.sources());
            } catch (DocumentError const & error) {
                String const & at = error.place().pointer;
                file.messageIs({route.span, Qcf::Text::Severity::error, "route",
                                (at.empty() ? "" : at.substr(1) + ' ') + error.message()});
            }
        }
    }
}

void addRemarks(Document & document, Options const & options, CheckReport & report) {
    using Kind = Qcf::Documents::Remark::Kind;
    auto const remarks = Qcf::Documents::analyse(document.program().functions);
    if (document.file.isText()) {
        checkTestRoutes(document.file);
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
    case Finding::Kind::coveredEntry:
        return {Severity::warning, "coveredEntry"};
    case Finding::Kind::anchoredPattern:
        return {Severity::warning, "anchoredPattern"};
    case Finding::Kind::foreignPattern:
        return {Severity::warning, "foreignPattern"};
    }
    return {Severity::error, ""};
}

/// The document's references in the terms of the lists, each with its place as messages tell it.
/// Documents know a kind by the name of its member, lists by its number.
std::vector<Qcf::Lists::ListUse> usesIn(Document const & document, String const & fileName) {
    std::vector<Qcf::Lists::ListUse> uses;
    if (document.file.hasMap() && !document.file.isText()) {
        // With a map places are lines.
        auto const placeOf = [&](auto const &... at) { return document.file.placeOf(at...); };
        for (auto const & function : document.program().functions) {
            auto const reached = Qcf::Lists::reachedLists(*function, placeOf);
            uses.insert(uses.end(), reached.begin(), reached.end());
        }
        return uses;
    }
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
    Qcf::Lists::EntryFindings entries;
    PtrConst<Qcf::Lists::NamedLists> lists;
    try {
        lists = document.file.listsWith(options.lists, &entries);
    } catch (TextError const & error) {
        if (!options.isJson()) {
            throw;
        }
        addMessages(error.messages(), error.sources(), report);
        return;
    } catch (DocumentError const & error) {
        if (!options.isJson()) {
            throw;
        }
        addError(error, "lists", options.lists, report);
        return;
    }
    if (!lists) {
        lists = makePtr<Qcf::Lists::NamedLists>();
    }
    auto const questions = Qcf::Lists::questionsOf(document.program().functions);
    // Lists that nothing uses are not asked for: files of lists serve several documents, and of its
    // own lists the reader of a text tells.
    for (Finding const & finding : checkLists(document.program().slots, uses, *lists,
                                              {.entries = &entries, .questions = &questions})) {
        auto [severity, name] = listFinding(finding.kind);
        bool const isOutside =
            isText && options.lists.empty() && finding.kind == Finding::Kind::undefinedList;
        if (isOutside) {
            severity = Severity::note;
            name = "notCompared";
        }
        report.findingIs(severity, name, CheckReport::Place::of(finding.place), finding.text);
    }
}

/// Reads the policy; false where it cannot be read at all, which is told.
bool readPolicy(Document & document, Options const & options, CheckReport & report) {
    try {
        document.file = PolicyFile::readAll(options.policy, {.unread = &document.unread});
        return true;
    } catch (DocumentError const & error) {
        if (!options.isJson()) {
            throw;
        }
        addError(error, "document", options.policy.path, report);
        return false;
    }
}

// Everything is gathered before the first line is written: a file of lists that cannot be read ends
// the check, and not in the middle of an output.
int check(Options const & options) {
    if (options.policy.path == "-" && options.lists == "-") {
        throw UsageError("only one file can be standard input");
    }
    Document document;
    CheckReport report;
    if (!readPolicy(document, options, report)) {
        // Nothing more can be said.
    } else if (document.file.isUnreadable()) {
        addMessages(document.file, {}, options, report);
    } else {
        addFunctions(document, options, report);
        addRemarks(document, options, report);
        addLists(document, options, report);
    }
    standardOutput().write(options.isJson()
                               ? report.jsonLines()
                               : colouredMessages(visibleLines(report.text()), STDOUT_FILENO));
    // Notes are neither errors nor warnings, which programs are told.
    tell(options.isJson() ? report.notes() : String());
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
        "out of range, calls and tests whose answer is not used and that do nothing else. With\n"
        "--lists also what is wrong between the document and the lists: errors (a list that is "
        "not\n"
        "defined, of the wrong family or in the wrong slot) and warnings (a list that is empty, "
        "an\n"
        "entry that an earlier one covers, ^ or $ in a pattern that sees all communities joined);\n"
        "without it, which names were not compared. Exit code 1 when a function is insane or not\n"
        "read or something is an error, with --strict also for a warning. With --format json each\n"
        "error and warning is an object a line, then each function.",
        "qcf check policy.qcf --format json", [options] { return check(*options); });
    options->policy.addTo(command);
    command.add_option("--lists", options->lists, "Lists that the document refers to by name")
        ->type_name("FILE");
    command.add_option("--format", options->format, "text or json")
        ->check(CLI::IsMember({"text", "json"}))
        ->capture_default_str();
    command.add_flag("--strict", options->strict, "Exit with 1 for a warning, too");
}
