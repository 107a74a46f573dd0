#include "Text/FunctionParser.h"

#include "QcfLib/QcfEval.h"
#include "Text/Words.h"

#include <algorithm>
#include <functional>

/// A function's header. Annotations say what the compiler would derive otherwise, for the sake of
/// documents in which they differ.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// Fields of a Function, in their order.
struct Header {
    String name;
    DraftField metadata;
    DraftField features;
    DraftField accessedAttributes;
    DraftField argumentsExpected;
};

class FunctionReader {
public:
    FunctionReader(Cursor & cursor, DraftTree & tree, Constants const & constants)
        : cursor_(cursor), tree_(tree), constants_(constants) {}

    FunctionDeclaration read() {
        function_.documentation = cursor_.takeDocumentation();
        while (cursor_.is("@")) {
            annotation();
        }
        Token const first = cursor_.expect("function", "behind the annotations");
        Token const nameToken = cursor_.now();
        function_.name = name("a function");
        function_.nameSpan = cursor_.spanOf(nameToken);
        if (findBuiltIn(function_.name) == nullptr && !isNameFree(function_.name)) {
            cursor_.fail(function_.nameSpan, "name",
                         "'" + function_.name + "' is a constant of this text");
        }
        parameters();
        header_.name = function_.name;
        if (std::holds_alternative<std::monostate>(header_.argumentsExpected)) {
            header_.argumentsExpected = function_.takesAnything || !function_.parameters.empty();
        }
        body(first);
        return std::move(function_);
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

    bool isNameFree(String const & text) const { return !constants_.contains(text); }

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

    void parameter(std::array<U64, 8> & counts) {
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
        U64 & count = counts.at(static_cast<std::size_t>(*kind));
        constexpr U64 mostParameters = 256;
        if (count >= mostParameters) {
            cursor_.fail(span, "parameters", "at most 256 parameters of a type");
        }
        function_.parameters.push_back({text, *kind, static_cast<U8>(count++), span});
    }

    void body(Token const & first) {
        Scope const scope{constants_, function_.parameters};
        BodyParser parser(cursor_, tree_, scope, function_.uses);
        std::size_t const errors = cursor_.messages().errorCount();
        Draft * const block = parser.block();
        function_.span = cursor_.since(first);
        if (cursor_.messages().errorCount() != errors) {
            return;
        }
        function_.draft = tree_.add<Function>(
            function_.span, {header_.name, header_.metadata, header_.features,
                             header_.accessedAttributes, header_.argumentsExpected, block});
        for (Parameter const & parameter : function_.parameters) {
            if (!parameter.isUsed) {
                cursor_.warn(parameter.span, "unused",
                             "the parameter '" + parameter.name + "' is not used");
            }
        }
    }

    void annotation() {
        cursor_.expect("@");
        struct Form {
            std::string_view word;
            void (FunctionReader::*read)();
        };
        static constexpr Form forms[] = {{"features", &FunctionReader::features},
                                         {"reads", &FunctionReader::reads},
                                         {"writes", &FunctionReader::writes},
                                         {"slots", &FunctionReader::slots},
                                         {"key", &FunctionReader::key},
                                         {"arguments", &FunctionReader::argumentsExpected}};
        auto const * const form =
            std::ranges::find_if(forms, [&](Form const & each) { return cursor_.is(each.word); });
        if (form == std::end(forms)) {
            std::vector<std::string_view> words;
            for (Form const & each : forms) {
                words.push_back(each.word);
            }
            cursor_.fail(cursor_.here(), "annotation", "no annotation is called " + cursor_.found(),
                         nearest(cursor_.text(), words));
        }
        cursor_.take();
        cursor_.expect("(");
        (this->*form->read)();
        cursor_.expect(")");
    }

    /// Calls `read` for what stands between the parentheses, with commas or without.
    void each(std::function<void()> const & read) {
        while (!cursor_.is(")") && !cursor_.atEnd()) {
            read();
            cursor_.accept(",");
        }
    }

    void features() {
        auto content = std::make_shared<DraftValue>();
        auto & value = content->value.emplace<Routing::Policy::RouteMapFeatures>();
        each([&] {
            if (!cursor_.isString()) {
                cursor_.failWanted("a feature in quotes");
            }
            value.featureIs(unquoted(cursor_.text(cursor_.take())));
        });
        header_.features = std::shared_ptr<DraftValue const>(content);
    }

    // Two annotations of one field.
    template <typename Flags>
    void flags(Flags AccessibleAttributes::*set, bool DraftValue::*has) {
        if (accessed_ == nullptr) {
            accessed_ = std::make_shared<DraftValue>();
            accessed_->value.emplace<AccessibleAttributes>();
            header_.accessedAttributes = std::shared_ptr<DraftValue const>(accessed_);
        }
        (*accessed_).*has = true;
        each([&] {
            std::size_t const bit = Flags::bitOf(cursor_.text());
            if (!cursor_.isWord() || bit >= Flags::width) {
                cursor_.failWanted("the flag of an attribute, such as 'local_preference'");
            }
            cursor_.take();
            (std::get<AccessibleAttributes>(accessed_->value).*set).insert(bit);
        });
    }
    void reads() { flags(&AccessibleAttributes::readableAttributes, &DraftValue::hasReads); }
    void writes() { flags(&AccessibleAttributes::writableAttributes, &DraftValue::hasWrites); }

    void slots() {
        auto content = std::make_shared<DraftValue>();
        auto & metadata = content->value.emplace<FunctionMetadata>();
        each([&] {
            std::optional<SlotKind> kind;
            for (SlotKindInfo const & info : slotKinds) {
                // Both families of prefix lists have one word; the family stands behind the name.
                if (cursor_.is(listKindWord(info.kind)) && !kind) {
                    kind = info.kind;
                }
            }
            if (!kind) {
                cursor_.failWanted("a kind of lists");
            }
            cursor_.take();
            String const listName = name("a list");
            if (*kind == SlotKind::v4PrefixList && cursor_.accept("v6")) {
                kind = SlotKind::v6PrefixList;
            } else {
                cursor_.accept("v4");
            }
            metadata.of(*kind)[listName] = static_cast<U16>(number(0xFFFF));
        });
        header_.metadata = std::shared_ptr<DraftValue const>(content);
    }

    U64 number(U64 most) {
        auto const literal = cursor_.isWord() ? parseLiteral(cursor_.text()) : std::nullopt;
        auto const * const integer = literal ? std::get_if<Integer>(&*literal) : nullptr;
        if (integer == nullptr || integer->negative || integer->magnitude > most) {
            cursor_.failWanted("a number from 0 to " + std::to_string(most));
        }
        cursor_.take();
        return integer->magnitude;
    }

    void key() {
        function_.key = number(~U64{0});
        if (*function_.key == 0) {
            cursor_.fail(cursor_.here(), "key", "a key is 1 at least");
        }
    }

    void argumentsExpected() {
        if (!cursor_.is("true") && !cursor_.is("false")) {
            cursor_.failWanted("true or false");
        }
        header_.argumentsExpected = cursor_.text(cursor_.take()) == "true";
    }

    Cursor & cursor_;
    DraftTree & tree_;
    Constants const & constants_;
    FunctionDeclaration function_;
    Header header_;
    std::shared_ptr<DraftValue> accessed_;
};

} // namespace

FunctionDeclaration readFunction(Cursor & cursor, DraftTree & tree, Constants const & constants) {
    return FunctionReader(cursor, tree, constants).read();
}

} // namespace Qcf::Text
