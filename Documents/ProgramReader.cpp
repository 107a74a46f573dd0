#include "Documents/DocumentScan.h"
#include "Documents/FunctionFaults.h"
#include "Documents/NodeReader.h"
#include "Documents/Places.h"
#include "Documents/Program.h"
#include "Documents/Words.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Render/JsonObjectReader.h"

#include <algorithm>

namespace Qcf::Documents {

using Eval::Function;

namespace {

/// `value` as one of the document's two lists.
JsonValue const & expectList(JsonValue const & value, char const * name) {
    if (!value.isArray()) {
        value.fail(name, "array", describe(value));
    }
    return value;
}

void checkFormat(JsonValue const & format) {
    if (!format.isString() || format.asString() != word::formatName) {
        format.fail(word::format, '"' + String(word::formatName) + '"', describe(format));
    }
}

class ProgramReader {
public:
    // Members are all asked for before any node is read, so that an unknown one is told first and
    // not after errors that follow from it.
    ProgramReader(JsonValue const & root, ReadAlong const & along) : along_(along) {
        JsonObjectReader members(root);
        checkFormat(members.require(word::format));
        auto const nodes = members.optional(word::nodes);
        JsonValue const functions = expectList(members.require(word::functions), word::functions);
        members.done();
        if (nodes) {
            expectList(*nodes, word::nodes);
        }
        // Nodes stand before functions in the document, but may call them: those wait.
        DocumentScan const scan(nodes, functions, names_);
        readNodes(scan.nodesAfter(0));
        std::size_t count = 0;
        for (JsonValue const json : functions) {
            // Entry 0 is that of the nodes, which come up again after each function.
            enter(++count);
            tryFunction(json, count - 1);
            enter(0);
            readNodes(scan.nodesAfter(count));
        }
    }

    Program program() {
        program_.nodes = builder_.takeNodes();
        program_.slots = names_.slots();
        program_.lists = names_.lists();
        return std::move(program_);
    }

private:
    /// Places are told within the entry of the function that a message is about; 0 is no function.
    void enter(std::size_t entry) {
        if (along_.places != nullptr) {
            along_.places->entryIs(static_cast<U32>(entry));
        }
    }

    void readNodes(std::vector<JsonValue> const & nodes) {
        for (JsonValue const & node : nodes) {
            try {
                reader_.readNode(node);
            } catch (DocumentError const &) {
                // One that waited for a function may be wrong only because that could not be read.
                if (along_.unread == nullptr || along_.unread->empty()) {
                    throw;
                }
                reader_.addUnread(node);
            }
        }
    }

    void tryFunction(JsonValue const & json, std::size_t position) {
        if (along_.unread == nullptr) {
            readFunction(json);
            return;
        }
        try {
            readFunction(json);
        } catch (DocumentError const & error) {
            // Its name may itself be what is wrong.
            auto const name = json.find(word::functionName);
            along_.unread->push_back(
                {position, String(name && name->isString() ? name->asString() : ""), error});
            reader_.addUnread(json);
        }
    }

    void readFunction(JsonValue const & json) {
        U32 const number = reader_.readFunction(json);
        auto const function = ptrCast<Function const>(builder_.node(number));
        program_.faults.push_back(faultOf(*function, builder_.facts(number)));
        program_.functions.push_back(function);
    }

    ReadAlong const along_;
    ListNames names_;
    DocumentBuilder builder_{names_, along_.places};
    NodeReader reader_{builder_};
    Program program_;
};

} // namespace

PtrConst<Function> Program::find(std::string_view name) const {
    auto const function = std::find_if(functions.begin(), functions.end(),
                                       [&](auto const & each) { return each->funcName() == name; });
    return function == functions.end() ? nullptr : *function;
}

FunctionFault const & Program::faultOf(Function const & function) const {
    auto const at = std::find_if(functions.begin(), functions.end(),
                                 [&](auto const & each) { return each.get() == &function; });
    QCF_ASSERT_TEXT(at != functions.end(), "the function is one of the program");
    return faults[static_cast<std::size_t>(at - functions.begin())];
}

// Places point into the document, so that it moves to their keeper; without one it ends here, since
// nodes keep nothing of it.
Program readProgram(String text, String const & fileName, ReadAlong const & along) {
    auto document = JsonDocument::parse(std::move(text), fileName);
    Program program = ProgramReader(document.root(), along).program();
    if (along.places != nullptr) {
        along.places->documentIs(std::move(document), fileName);
    }
    return program;
}

Program readProgramFile(String const & path, ReadAlong const & along) {
    return readProgram(readFile(path), path, along);
}

} // namespace Qcf::Documents
