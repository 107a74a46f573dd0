#include "Text/ArgumentChecks.h"

#include "QcfLib/QcfEval.h"

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// The type of the arguments that a parameter takes, as messages name types.
char const * argumentType(ArgumentKind kind) {
    switch (kind) {
    case ArgumentKind::integer:
        return "Int";
    case ArgumentKind::bandwidth:
        return "Bandwidth";
    case ArgumentKind::triStateBool:
        return "TriStateBool";
    default:
        return "PrefixList";
    }
}

/// "no arguments", "2 arguments (int n, prefix_list nets)".
String wantedArguments(Parameters const & parameters) {
    if (parameters.empty()) {
        return "no arguments";
    }
    String names;
    for (Parameter const & each : parameters) {
        names += (names.empty() ? "" : ", ") + (parameterWord(each.kind) + (' ' + each.name));
    }
    return std::to_string(parameters.size()) +
           (parameters.size() == 1 ? " argument (" : " arguments (") + names + ')';
}

void failCount(CallDraft const & call, String const & wants, String note, Messages & messages) {
    messages.add(
        {call.nameSpan,
         Severity::error,
         "arguments",
         "'" + call.name + "' wants " + wants + ", found " + std::to_string(call.arguments.size()),
         {},
         std::move(note)});
}

} // namespace

String meantBandwidth(Draft const & draft, Sources const & sources) {
    String const text(sources.textOf(draft.span));
    bool const isWhole = draft.nodeClass == &nodeClassOf<IntImmediate>() && !text.empty() &&
                         text.find_first_not_of("0123456789") == String::npos;
    return isWhole ? text + ".0" : String();
}

void checkArguments(CallDraft const & call, FunctionDeclaration const & function,
                    Sources const & sources, Messages & messages) {
    if (call.arguments.size() != function.parameters.size()) {
        failCount(call, wantedArguments(function.parameters),
                  "declared at " + sources.placeText(function.nameSpan), messages);
        return;
    }
    for (std::size_t i = 0; i < call.arguments.size(); ++i) {
        Draft const & argument = *call.arguments[i];
        Parameter const & parameter = function.parameters[i];
        // A list whose name is unknown was told already.
        if (!argument.isFamilyOpen && argument.nodeClass->facts.argument != parameter.kind) {
            messages.add(
                {argument.span, Severity::error, "argument-type",
                 "'" + parameter.name + "' of '" + function.name + "' wants " +
                     argumentType(parameter.kind) + ", found " + describeDraft(argument, sources),
                 parameter.kind == ArgumentKind::bandwidth ? meantBandwidth(argument, sources)
                                                           : String()});
        }
    }
}

void checkBuiltInArguments(CallDraft const & call, ClassFacts const & facts, Messages & messages) {
    std::size_t const wants = facts.integerArguments;
    std::size_t const count = call.arguments.size();
    if (count < wants || (count != 0 && wants == 0 && !facts.readsNodeArguments)) {
        failCount(call, wants == 0 ? "no arguments" : std::to_string(wants) + " arguments", {},
                  messages);
    }
}

} // namespace Qcf::Text
