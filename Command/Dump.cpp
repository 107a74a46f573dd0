#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyFile.h"
#include "Command/ProgramFile.h"
#include "Platform/Framework/DumpContext.h"
#include "QcfLib/Plan.h"
#include "Text/Printer.h"

#include <memory>

/// Four forms of one policy: the text is for people, policy text for those who write policies,
/// JSON for the reader of documents, plans show what runs.
namespace {

using Qcf::Documents::Program;
using Qcf::Eval::Function;

struct Options {
    PolicyFile::Options policy;
    String function;
    String format = "text";
    bool plan = false;
};

// Piece by piece: the text of a tree that shares nodes may be far larger than the document.
PtrConst<DumpContext> toStandardOutput() {
    return makePtr<DumpContext>([](std::string_view piece) { standardOutput().write(piece); });
}

// Only the text has no way to write such a function; as a document it can be written.
void dumpText(Function const & function, Program const & program, String const & document) {
    if (auto const & fault = program.faultOf(function).dump; !fault.empty()) {
        throw DocumentError(document + ": function " + function.funcName() + ": " + fault);
    }
    function.dumpState(toStandardOutput(), 0);
}

void dumpPlan(Function const & function) {
    standardOutput().write("function " + function.funcName() + ": ");
    function.planFor(function).dump(toStandardOutput());
}

void dumpJson(Program const & program) {
    String text;
    RendererV2 renderer(text, RendererV2::Style::pretty);
    Qcf::Documents::writeProgram(program, renderer);
    standardOutput().write(text);
    standardOutput().write("\n");
}

int dump(Options const & options) {
    Program const program = PolicyFile::read(options.policy).program();
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
        standardOutput().write(only ? Qcf::Text::printPolicy(program, *only)
                                    : Qcf::Text::printPolicy(program));
        return 0;
    }
    for (PtrConst<Function> const & function : program.functions) {
        if (only && function != only) {
            continue;
        }
        if (options.plan) {
            dumpPlan(*function);
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
        "the flat form to an equal store. With --function only that function, in flat form with\n"
        "what it calls. With --plan as the steps that evaluation runs, each with the nodes that\n"
        "it stands for.",
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
