#include "Command/Command.h"
#include "Command/Output.h"
#include "Platform/Render/RendererV2.h"
#include "QcfLib/NodeClass.h"

#include <algorithm>
#include <memory>

/// Told from the registry alone, as it stands in this build: what is printed is what documents are
/// read by.
namespace {

using Qcf::Eval::AttributeInfo;
using Qcf::Eval::FieldInfo;
using Qcf::Eval::NodeClass;

// Null and not left out: that an attribute has no range is part of the answer.
void render(RendererV2 & renderer, char const * key, std::optional<U64> const & number) {
    renderer.key(key);
    if (number) {
        renderer.value(*number);
    } else {
        renderer.nullValue();
    }
}

void render(RendererV2 & renderer, FieldInfo const & field) {
    renderer.beginObject();
    renderer.key("name");
    renderer.value(field.name);
    renderer.key("type");
    renderer.value(field.type);
    renderer.key("optional");
    renderer.value(field.optional);
    renderer.endObject();
}

// As members of the class's own object, since no class has two.
void render(RendererV2 & renderer, AttributeInfo const & attribute) {
    renderer.key("languageName");
    renderer.value(attribute.languageName);
    renderer.key("modifiable");
    renderer.value(attribute.modifiable);
    render(renderer, "min", attribute.min);
    render(renderer, "max", attribute.max);
    render(renderer, "default", attribute.defaultValue);
}

void render(RendererV2 & renderer, NodeClass const & nodeClass) {
    renderer.beginObject();
    renderer.key("class");
    renderer.value(nodeClass.name);
    renderer.key("base");
    renderer.value(nodeClass.base);
    renderer.key("collection");
    renderer.value(nodeClass.collection);
    renderer.key("fields");
    renderer.beginArray();
    for (FieldInfo const & field : nodeClass.fields) {
        render(renderer, field);
    }
    renderer.endArray();
    if (nodeClass.attribute != nullptr) {
        render(renderer, *nodeClass.attribute);
    }
    renderer.endObject();
}

String asJson() {
    String text;
    RendererV2 renderer(text, RendererV2::Style::pretty);
    renderer.beginArray();
    for (NodeClass const & nodeClass : Qcf::Eval::nodeClasses()) {
        render(renderer, nodeClass);
    }
    renderer.endArray();
    renderer.endDocument();
    return text;
}

// A range is told where both ends are known; a default may lie outside of it.
String attributeText(AttributeInfo const & attribute) {
    String text = '"' + String(attribute.languageName) + '"';
    if (attribute.modifiable) {
        text += " modifiable";
    }
    if (attribute.min && attribute.max) {
        text += ' ' + std::to_string(*attribute.min) + ".." + std::to_string(*attribute.max);
    }
    if (attribute.defaultValue) {
        text += " default " + std::to_string(*attribute.defaultValue);
    }
    return text;
}

String fieldsText(NodeClass const & nodeClass) {
    String text;
    for (FieldInfo const & field : nodeClass.fields) {
        text += text.empty() ? "" : ", ";
        text += field.name;
        text += field.optional ? "?: " : ": ";
        text += field.type;
    }
    return text;
}

/// A line a class: name, base, and what it holds or is called. Names are measured first, because
/// the columns are as wide as the longest.
String asTable() {
    std::size_t nameWidth = 0;
    std::size_t baseWidth = 0;
    for (NodeClass const & nodeClass : Qcf::Eval::nodeClasses()) {
        nameWidth = std::max(nameWidth, String(nodeClass.name).size());
        baseWidth = std::max(baseWidth, String(nodeClass.base).size());
    }
    String text;
    for (NodeClass const & nodeClass : Qcf::Eval::nodeClasses()) {
        String line = nodeClass.name;
        line.resize(nameWidth + 2, ' ');
        line += nodeClass.base;
        line.resize(nameWidth + 2 + baseWidth + 2, ' ');
        line += nodeClass.attribute != nullptr ? attributeText(*nodeClass.attribute)
                                               : fieldsText(nodeClass);
        // A class without fields ends with its base, and not with blanks behind it.
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

} // namespace

void addNodesCommand(Commands & commands) {
    auto const format = std::make_shared<String>("table");
    auto & command = commands.add(
        "nodes", "List every class of evaluation-tree nodes",
        "Each with its base, its fields in constructor order (a ? marks those that may be null)\n"
        "and, for a route attribute, its name in the language and its range. The order is that of\n"
        "the store's collections.",
        "qcf nodes --format json | jq -r '.[].class'", [format] {
            standardOutput().write(*format == "json" ? asJson() : asTable());
            return 0;
        });
    command.add_option("--format", *format, "table or json")
        ->check(CLI::IsMember({"table", "json"}))
        ->capture_default_str();
}
