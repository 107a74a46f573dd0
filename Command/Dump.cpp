#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyFile.h"
#include "Command/ProgramFile.h"
#include "Command/Readiness.h"
#include "Lists/ListWords.h"
#include "Lists/ListsDocument.h"
#include "Platform/Framework/DumpContext.h"
#include "Platform/Render/JsonDocument.h"
#include "QcfLib/Plan.h"
#include "Text/ListPrinter.h"
#include "Text/Printer.h"

#include <charconv>
#include <memory>
#include <unordered_set>

/// Four forms of one policy: the text is for people, policy text for those who write policies,
/// JSON for the reader of documents, plans show what runs.
namespace {

using Qcf::Documents::Program;
using Qcf::Eval::Function;

struct Options {
    PolicyFile::Named policy;
    String function;
    String format = "text";
    bool plan = false;
};

/// Takes the addresses of functions out of the engine's own text, which tells functions of one name
/// apart by them: two runs would have two texts.
class WithoutAddresses {
public:
    explicit WithoutAddresses(Program const & program) {
        for (auto const & function : program.functions) {
            addresses_.insert(reinterpret_cast<U64>(function.get()));
        }
    }

    void write(std::string_view piece) const {
        for (std::size_t at = piece.find(mark); at != std::string_view::npos;
             at = piece.find(mark, at)) {
            std::string_view const digits = piece.substr(at + mark.size());
            U64 address = 0;
            auto const * const end = std::from_chars(digits.begin(), digits.end(), address, 16).ptr;
            bool const isFunction = addresses_.contains(address);
            standardOutput().write(piece.substr(0, isFunction ? at : at + mark.size()));
            piece = isFunction ? std::string_view(end, piece.end()) : digits;
            at = 0;
        }
        standardOutput().write(piece);
    }

private:
    static constexpr std::string_view mark = "@0x";
    std::unordered_set<U64> addresses_;
};

// Piece by piece: the text of a tree that shares nodes may be far larger than the document.
PtrConst<DumpContext> toStandardOutput(Program const & program) {
    return makePtr<DumpContext>(
        [filter = WithoutAddresses(program)](std::string_view piece) { filter.write(piece); });
}

// Only the text has no way to write such a function; as a document it can be written.
void dumpText(Function const & function, Program const & program, String const & document) {
    if (auto const & fault = program.faultOf(function).dump; !fault.empty()) {
        throw DocumentError(document + ": function " + function.funcName() + ": " + fault);
    }
    function.dumpState(toStandardOutput(program), 0);
}

void dumpPlan(Function const & function, Program const & program) {
    standardOutput().write("function " + function.funcName() + ": ");
    function.planFor(function).dump(toStandardOutput(program));
}

void dumpJson(Program const & program) {
    String text;
    RendererV2 renderer(text, RendererV2::Style::pretty);
    Qcf::Documents::writeProgram(program, renderer);
    standardOutput().write(text);
    standardOutput().write("\n");
}

// A text has its lists with it.
void dumpPolicy(PolicyFile const & policy, Function const * only) {
    if (only != nullptr) {
        standardOutput().write(Qcf::Text::printPolicy(policy.program(), *only));
        return;
    }
    String lists;
    if (policy.text() != nullptr) {
        lists = Qcf::Text::printLists(policy.text()->listRecords());
    }
    String const functions = Qcf::Text::printPolicy(policy.program());
    standardOutput().write(lists);
    standardOutput().write(lists.empty() || functions.empty() ? "" : "\n");
    standardOutput().write(functions);
}

/// The lists of a lists document; nothing where it is none.
std::optional<std::vector<Qcf::Lists::ListRecord>> listsOf(String const & path) {
    String text = readFile(path);
    if (!Qcf::Text::isJson(text)) {
        return std::nullopt;
    }
    auto const document = JsonDocument::parse(std::move(text), path);
    auto const format = document.root().find(Qcf::Lists::word::format);
    bool const isLists =
        format && format->isString() && format->asString() == Qcf::Lists::word::formatName;
    return isLists ? std::optional(Qcf::Lists::readListRecords(document.root(), path, tellLine))
                   : std::nullopt;
}

int dump(Options const & options) {
    // Standard input is read once.
    if (options.format == "qcf" && options.policy.path != "-") {
        if (auto const lists = listsOf(options.policy.path)) {
            standardOutput().write(Qcf::Text::printLists(*lists));
            return 0;
        }
    }
    PolicyFile const policy = PolicyFile::read(options.policy);
    Program const & program = policy.program();
    PtrConst<Function> only;
    // Before anything is written, so that a misspelt name leaves no half an output.
    if (!options.function.empty()) {
        only = findFunction(program, options.policy.path, options.function);
    }
    if (options.format == "json") {
        // A document must have all that it refers to, callees too; a text shows calls by name.
        dumpJson(only ? reachedFrom(only, program) : program);
        return 0;
    }
    if (options.format == "qcf") {
        dumpPolicy(policy, only.get());
        return 0;
    }
    for (PtrConst<Function> const & function : program.functions) {
        if (only && function != only) {
            continue;
        }
        if (options.plan) {
            dumpPlan(*function, program);
        } else {
            dumpText(*function, program, options.policy.path);
        }
    }
    return 0;
}

} // namespace

void addDumpCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "dump", "Print the functions of a policy",
        "As source-like text, as policy text (qcf), or as a document in flat form (json): every\n"
        "node once, children first, each with its key. Policy text reads back to equal functions,\n"
        "the flat form to an equal store; a lists document, too, has a form as policy text.\n"
        "With --function only that function, in flat form with what it calls. With --plan as the\n"
        "steps that evaluation runs, each with the nodes that it stands for.",
        "qcf dump policy.json --function import --format text",
        [options] { return dump(*options); });
    options->policy.addTo(command);
    command.add_option("--function", options->function, "Only this function")->type_name("NAME");
    auto * const format = command.add_option("--format", options->format, "text, qcf or json")
                              ->check(CLI::IsMember({"text", "qcf", "json"}))
                              ->capture_default_str();
    // A plan has one form alone.
    command.add_flag("--plan", options->plan, "The steps of each function's plan instead")
        ->excludes(format);
}
