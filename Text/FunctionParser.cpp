#include "Text/FunctionParser.h"

#include "QcfLib/QcfEval.h"
#include "Text/AnnotationParser.h"
#include "Text/Words.h"

#include <algorithm>

/// A function's header and its body.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

class FunctionReader {
public:
    FunctionReader(Cursor & cursor, DraftTree & tree, TextScope const & outer,
                   FunctionDeclaration & into)
        : cursor_(cursor), tree_(tree), outer_(outer), function_(into) {}

    void read() {
        function_.documentation = cursor_.takeDocumentation();
        annotations_ = readAnnotations(cursor_);
        function_.key = annotations_.key;
        Token const first = cursor_.expect("function", "behind the annotations");
        Token const nameToken = cursor_.now();
        function_.name = name("a function");
        function_.nameSpan = cursor_.spanOf(nameToken);
        if (findBuiltIn(function_.name) == nullptr && !isNameFree(function_.name)) {
            cursor_.fail(function_.nameSpan, "name",
                         "'" + function_.name + "' is a constant of this text");
        }
        parameters();
        if (std::holds_alternative<std::monostate>(annotations_.argumentsExpected)) {
            annotations_.argumentsExpected =
                function_.takesAnything || !function_.parameters.empty();
        }
        body(first);
    }

private:
    String name(char const * what) {
        if (cursor_.isString()) {
            return unquoted(cursor_.text(cursor_.take()));
        }
        if (cursor_.isWord() && hasNameShape(cursor_.text()) && !isPlainName(cursor_.text())) {
            cursor_.fail(cursor_.here(), "name",
                         cursor_.found() + " means something in this language; " + what +
                             " of that name stands in quotes");
        }
        if (!cursor_.isWord() || !isPlainName(cursor_.text())) {
            cursor_.failWanted(String("the name of ") + what);
        }
        return String(cursor_.text(cursor_.take()));
    }

    bool isNameFree(String const & text) const { return !outer_.constants.contains(text); }

    void parameters() {
        if (cursor_.is("{")) {
            cursor_.failWanted("'()' behind the function's name");
        }
        cursor_.expect("(");
        if (cursor_.accept("...")) {
            function_.takesAnything = true;
        }
        std::array<U64, 8> counts{};
        while (!function_.takesAnything && !cursor_.is(")")) {
            parameter(counts);
            if (!cursor_.accept(",") && !cursor_.is(")")) {
                cursor_.failWanted("',' or ')' of the parameters");
            }
        }
        cursor_.expect(")");
    }

    ArgumentKind parameterType() {
        auto const kind = cursor_.isWord() ? parameterKind(cursor_.text()) : std::nullopt;
        if (!kind) {
            static constexpr std::string_view types[] = {"int", "bandwidth", "tristate",
                                                         "prefix_list"};
            cursor_.fail(cursor_.here(), "parameter-type",
                         "a parameter is 'int', 'bandwidth', 'tristate' or 'prefix_list' and a "
                         "name, found " +
                             cursor_.found(),
                         nearest(cursor_.text(), types));
        }
        cursor_.take();
        return *kind;
    }

    void parameter(std::array<U64, 8> & counts) {
        ArgumentKind const kind = parameterType();
        Token const token = cursor_.now();
        String const text = name("a parameter");
        Span const span = cursor_.spanOf(token);
        bool const isTwice = std::ranges::find(function_.parameters, text, &Parameter::name) !=
                             function_.parameters.end();
        if (isTwice) {
            cursor_.fail(span, "duplicate", "two parameters are called '" + text + "'");
        }
        if (!isNameFree(text)) {
            cursor_.fail(span, "name", "'" + text + "' is a constant of this text", {},
                         "parameters and constants do not share names");
        }
        U64 & count = counts.at(static_cast<std::size_t>(kind));
        constexpr U64 mostParameters = 256;
        if (count >= mostParameters) {
            cursor_.fail(span, "parameters", "at most 256 parameters of a type");
        }
        function_.parameters.push_back({text, kind, static_cast<U8>(count++), span});
    }

    void body(Token const & first) {
        Scope const scope{outer_, function_.parameters};
        BodyParser parser(cursor_, tree_, scope, function_.uses);
        Draft * const block = parser.block();
        function_.span = cursor_.since(first);
        if (!parser.isWhole()) {
            return;
        }
        function_.draft = tree_.add<Function>(
            function_.span,
            {function_.name, annotations_.metadata, annotations_.features,
             annotations_.accessedAttributes, annotations_.argumentsExpected, block});
        for (Parameter const & parameter : function_.parameters) {
            if (!parameter.isUsed) {
                cursor_.warn(parameter.span, "unused",
                             "the parameter '" + parameter.name + "' is not used");
            }
        }
    }

    Cursor & cursor_;
    DraftTree & tree_;
    TextScope const & outer_;
    FunctionDeclaration & function_;
    Annotations annotations_;
};

} // namespace

void readFunction(Cursor & cursor, DraftTree & tree, TextScope const & outer,
                  FunctionDeclaration & into) {
    FunctionReader(cursor, tree, outer, into).read();
}

} // namespace Qcf::Text
