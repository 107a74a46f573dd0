#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/PolicyFile.h"
#include "Command/Readiness.h"
#include "Command/WriteFile.h"
#include "Lists/ListsWriter.h"

#include <algorithm>
#include <iostream>
#include <memory>

/// A text becomes the documents that everything else takes.
namespace {

struct Options {
    PolicyFile::Named policy;
    String lists;
    String out;
    String listsOut;
    String mapOut;
};

template <typename Write>
void writeTo(String const & path, RendererV2::Style style, Write const & write) {
    String text;
    {
        RendererV2 renderer(text, style);
        write(renderer);
    }
    text += '\n';
    if (path.empty() || path == "-") {
        standardOutput().write(text);
        return;
    }
    writeFile(path, text);
}

/// No file is written over another one of the command.
void checkOutputs(Options const & options) {
    std::vector<String> files;
    for (String const & file :
         {options.policy.path, options.out, options.listsOut, options.mapOut}) {
        if (!file.empty() && file != "-" && std::ranges::find(files, file) != files.end()) {
            throw UsageError(file + " is named twice");
        }
        files.push_back(file);
    }
}

// Everything is read and compared before anything is written.
int compile(Options const & options) {
    checkOutputs(options);
    PolicyFile const policy = PolicyFile::read(options.policy);
    if (policy.text() == nullptr) {
        throw DocumentError(options.policy.path +
                            ": is a document; a policy text is what is compiled");
    }
    policy.tellMessages();
    auto const lists = policy.listsWith(options.lists);
    writeTo(options.out, RendererV2::Style::pretty, [&](RendererV2 & renderer) {
        Qcf::Documents::writeProgram(policy.program(), renderer);
    });
    if (!options.listsOut.empty()) {
        writeTo(options.listsOut, RendererV2::Style::pretty, [&](RendererV2 & renderer) {
            Qcf::Lists::writeLists(policy.listRecordsWith(options.lists), renderer);
        });
    }
    if (!options.mapOut.empty()) {
        writeTo(options.mapOut, RendererV2::Style::compact, [&](RendererV2 & renderer) {
            Qcf::Text::writeMap(policy.text()->map(), policy.sources(), renderer);
        });
    }
    return 0;
}

} // namespace

void addCompileCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "compile", "Make documents of a policy text",
        "The functions become an evaluation-tree document, to standard output or -o FILE; lists\n"
        "become a lists document, and the places of all nodes a source map, with which commands\n"
        "that take the document name lines of the text.",
        "qcf compile transit.qcf -o transit.json --lists-out lists.json --map-out transit.map",
        [options] { return compile(*options); });
    command.add_option("text", options->policy.path, "Policy text")->required()->type_name("TEXT");
    command.add_option("--lists", options->lists, "Lists that stand in for those of the text")
        ->type_name("FILE");
    command.add_option("-o,--out", options->out, "The document")->type_name("FILE");
    command.add_option("--lists-out", options->listsOut, "The lists of the text")
        ->type_name("FILE");
    command.add_option("--map-out", options->mapOut, "The source map")->type_name("FILE");
}
