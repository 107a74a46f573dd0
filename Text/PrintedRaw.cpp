#include "Documents/FieldVisitors.h"
#include "Documents/Program.h"
#include "Documents/Words.h"
#include "Text/Lexer.h"
#include "Text/Literal.h"
#include "Text/NodePrinter.h"
#include "Text/Words.h"

#include <cmath>

/// Nodes that have no spelling of their own: the class and all of its fields. Children stand there
/// as they would anywhere else.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

template <typename Set>
void writeFlags(char const * name, Set const & set, RendererV2 & out) {
    out.key(name);
    out.beginArray();
    for (std::size_t bit = 0; bit < Set::width; ++bit) {
        if (set.contains(bit)) {
            out.value(Set::nameOf(bit));
        }
    }
    out.endArray();
}

/// What functions declare, as documents write it.
void writeJson(AccessibleAttributes const & value, RendererV2 & out) {
    out.beginObject();
    writeFlags(Documents::word::readAttributes, value.readableAttributes, out);
    writeFlags(Documents::word::writtenAttributes, value.writableAttributes, out);
    out.endObject();
}

void writeJson(Routing::Policy::RouteMapFeatures const & value, RendererV2 & out) {
    out.beginArray();
    for (String const & feature : value.features()) {
        out.value(feature);
    }
    out.endArray();
}

void writeJson(FunctionMetadata const & value, RendererV2 & out) {
    out.beginObject();
    FunctionMetadata::eachKind(value, [&](char const * kind, SlotMap const & slots) {
        out.key(kind);
        out.beginObject();
        for (auto const & [name, slot] : slots) {
            out.key(name);
            out.value(slot);
        }
        out.endObject();
    });
    out.endObject();
}

/// Scalars as literals, and as JSON what has none.
struct ScalarText {
    template <typename T>
    requires std::is_unsigned_v<T>
    static String of(T value) { return std::to_string(value); }
    static String of(bool value) { return value ? "true" : "false"; }
    // No text has a word for what is no number.
    static String of(F32 value) { return std::isfinite(value) ? toWord(value) : "null"; }
    static String of(String const & value) { return Text::quoted(value); }
    static String of(IntfId const & value) { return Text::quoted(value.name()); }
    template <typename T>
    requires std::is_constructible_v<Literal, T>
    static String of(T const & value) { return toWord(value); }

    template <typename T>
    requires requires(T const & value, RendererV2 & out) { writeJson(value, out); }
    static String of(T const & value) {
        String text;
        RendererV2 renderer(text);
        writeJson(value, renderer);
        return text;
    }
    /// Profiles have a spelling, whatever they hold.
    static String of(Routing::Rib::ResolutionRibProfileConfig const & value) {
        return Text::quoted(value.toString());
    }
};

} // namespace

/// Writes the fields of one node, each behind its name.
class RawFields final : public Documents::FieldVisitor<RawFields> {
public:
    explicit RawFields(NodePrinter & printer) : printer_(printer) {}

    template <typename T>
    void visit(FieldInfo const & field, T const & value) {
        name(field);
        printer_.put(ScalarText::of(value));
    }
    void writeNode(FieldInfo const & field, AetNodeBase const * child) override {
        name(field);
        printer_.rawField(field, child);
    }

private:
    void name(FieldInfo const & field) {
        printer_.separate(std::exchange(isFirst_, false));
        printer_.put(field.name);
        printer_.put(": ");
    }

    NodePrinter & printer_;
    bool isFirst_ = true;
};

void NodePrinter::raw(Node const & node) {
    open("@" + String(node.typeData().name) + "(");
    RawFields fields(*this);
    node.typeData().write(node, fields);
    close(")");
}

// A called function stands by its name: it is one of the text's.
void NodePrinter::rawField(FieldInfo const & field, Node const * child) {
    bool const wantsBlock = classWanted(field) == &nodeClassOf<Block>();
    if (child == nullptr) {
        put("null");
    } else if (child->typeData().facts.isLink) {
        rawChain(*child);
    } else if (plays(field, FieldRole::callee)) {
        put(nameWord(static_cast<Function const &>(*child).funcName()));
    } else if (wantsBlock) {
        block(as<Block>(*child));
    } else if (child->typeData().isKind(NodeKind::logicalOperator)) {
        put(child->typeData().facts.words);
    } else if (child->typeData().isKind(NodeKind::expression)) {
        condition(static_cast<Expression const &>(*child));
    } else {
        value(*child);
    }
}

// By loop: a chain may have any number of links.
void NodePrinter::rawChain(Node const & head) {
    NodeClass const & linkClass = head.typeData();
    FieldInfo const & entryField = *linkClass.fieldOf(FieldRole::entry);
    open("[ ");
    Node const * link = &head;
    while (link != nullptr) {
        Node const * entry = nullptr;
        Node const * next = nullptr;
        linkClass.visitChildren(*link, [&](FieldInfo const & field, Node const * child) {
            (plays(field, FieldRole::entry) ? entry : next) = child;
        });
        separate(link == &head);
        rawField(entryField, entry);
        link = next;
    }
    close(" ]");
}

} // namespace Qcf::Text
