#include "Text/Printer.h"

#include "Text/Lexer.h"
#include "Text/NodePrinter.h"
#include "Text/PrintedKeys.h"
#include "Text/Scope.h"
#include "Text/Words.h"

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// Writes functions one by one, an empty line between them.
class FunctionPrinter {
public:
    FunctionPrinter(PrintedProgram const & program, PrintedKeys const & keys)
        : program_(program), keys_(keys) {}

    void print(FunctionContent const & content) {
        assertWalkable(*content.function);
        if (!std::exchange(isFirst_, false)) {
            lines_.endLine();
        }
        annotate(content);
        Signature const & signature = program_.signatureOf(*content.function);
        lines_.put("function " + nameWord(content.function->funcName()));
        parameters(signature);
        lines_.put(" ");
        NodePrinter(program_, signature, lines_).block(content.function->body().get());
        lines_.endLine();
    }

    String take() { return lines_.take(); }

private:
    // Of what documents derive when it is left out: only what is otherwise.
    void annotate(FunctionContent const & content) {
        Function const & function = *content.function;
        std::vector<String> features;
        for (String const & feature : function.features().features()) {
            features.push_back(Text::quoted(feature));
        }
        annotation("features", features, !features.empty());
        AccessibleAttributes const & attributes = function.accessedAttributes();
        AttributeSet const reads(content.reads);
        ModifiableAttributeSet const writes(content.writes);
        annotation("reads", flags(attributes.readableAttributes),
                   attributes.readableAttributes != reads);
        annotation("writes", flags(attributes.writableAttributes),
                   attributes.writableAttributes != writes);
        auto const key = keys_.find(&function);
        annotation("key", {key == keys_.end() ? String() : std::to_string(key->second)},
                   key != keys_.end());
        annotation("slots", slots(function.metadata()), program_.lists().isAnnotated(content));
        Signature const & signature = program_.signatureOf(function);
        bool const hasParameters = signature.isOpen() || !signature.parameters().empty();
        annotation("arguments", {function.argumentsExpected() ? "true" : "false"},
                   function.argumentsExpected() != hasParameters);
    }

    void annotation(std::string_view name, std::vector<String> const & parts, bool isWanted) {
        if (!isWanted) {
            return;
        }
        lines_.put("@" + String(name) + "(");
        lines_.openBracket();
        for (std::size_t i = 0; i < parts.size(); ++i) {
            if (i != 0) {
                lines_.put(",");
                lines_.breakable();
            }
            lines_.put(parts[i]);
        }
        lines_.closeBracket();
        lines_.put(")");
        lines_.endLine();
    }

    template <typename Set>
    static std::vector<String> flags(Set const & set) {
        std::vector<String> names;
        for (std::size_t bit = 0; bit < Set::width; ++bit) {
            if (set.contains(bit)) {
                names.emplace_back(Set::nameOf(bit));
            }
        }
        return names;
    }

    // Both families of prefix lists have one word.
    static std::vector<String> slots(FunctionMetadata const & metadata) {
        std::vector<String> texts;
        for (SlotKindInfo const & info : slotKinds) {
            bool const isV4 = info.kind == SlotKind::v4PrefixList;
            bool const isV6 = info.kind == SlotKind::v6PrefixList;
            String const family = isV4 ? " v4 " : isV6 ? " v6 " : " ";
            for (auto const & [name, slot] : metadata.of(info.kind)) {
                texts.push_back(String(listKindWord(info.kind)) + ' ' + nameWord(name) + family +
                                std::to_string(slot));
            }
        }
        return texts;
    }

    void parameters(Signature const & signature) {
        lines_.put("(");
        lines_.openBracket();
        if (signature.isOpen()) {
            lines_.put("...");
        }
        bool isFirst = true;
        for (PrintedVariable const & parameter : signature.parameters()) {
            if (!std::exchange(isFirst, false)) {
                lines_.put(",");
                lines_.breakable();
            }
            lines_.put(String(parameterWord(parameter.kind)) + ' ' + nameWord(parameter.name));
        }
        lines_.closeBracket();
        lines_.put(")");
    }

    PrintedProgram const & program_;
    PrintedKeys const & keys_;
    PolicyLines lines_;
    bool isFirst_ = true;
};

/// All functions, or one of them.
String printFunctions(PrintedProgram const & printed, PrintedKeys const & keys,
                      Function const * only = nullptr) {
    FunctionPrinter printer(printed, keys);
    for (FunctionContent const & content : printed.contents()) {
        if (only == nullptr || content.function == only) {
            printer.print(content);
        }
    }
    return printer.take();
}

} // namespace

String printPolicy(Documents::Program const & program) {
    PrintedProgram const printed(program);
    String text = printFunctions(printed, {});
    PrintedKeys const keys = keysBeside(text, printed.contents());
    return keys.empty() ? text : printFunctions(printed, keys);
}

String printPolicy(Documents::Program const & program, Function const & function) {
    PrintedProgram const printed(program);
    return printFunctions(printed, keysBeside(printFunctions(printed, {}), printed.contents()),
                          &function);
}

} // namespace Qcf::Text
