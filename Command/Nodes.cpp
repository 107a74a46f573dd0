#include "Command/Command.h"
#include "Command/Output.h"
#include "Documents/ExampleNode.h"
#include "Platform/Render/RendererV2.h"
#include "Platform/Render/Utf8.h"
#include "QcfLib/NodeClass.h"
#include "Text/NodeText.h"

#include <algorithm>
#include <memory>
#include <utility>

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

void renderMembers(RendererV2 & renderer, NodeClass const & nodeClass) {
    renderer.key("class");
    renderer.value(nodeClass.name);
    renderer.key("base");
    renderer.value(nodeClass.base);
    renderer.key("collection");
    renderer.value(nodeClass.collection);
    renderer.key("description");
    renderer.value(nodeClass.description);
    renderer.key("fields");
    renderer.beginArray();
    for (FieldInfo const & field : nodeClass.fields) {
        render(renderer, field);
    }
    renderer.endArray();
    if (nodeClass.attribute != nullptr) {
        render(renderer, *nodeClass.attribute);
    }
}

String asJson() {
    String text;
    RendererV2 renderer(text, RendererV2::Style::pretty);
    renderer.beginArray();
    for (NodeClass const & nodeClass : Qcf::Eval::nodeClasses()) {
        renderer.beginObject();
        renderMembers(renderer, nodeClass);
        renderer.endObject();
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

String fieldText(FieldInfo const & field) {
    return String(field.name) + (field.optional ? "?: " : ": ") + field.type;
}

String fieldsText(NodeClass const & nodeClass) {
    String text;
    for (FieldInfo const & field : nodeClass.fields) {
        text += (text.empty() ? "" : ", ") + fieldText(field);
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

/// By its own name, or by the name that an attribute has in the language.
NodeClass const & findClass(String const & name) {
    NodeClass const * nodeClass = Qcf::Eval::findNodeClass(name);
    nodeClass = nodeClass != nullptr ? nodeClass : Qcf::Eval::findAttribute(name);
    if (nodeClass == nullptr) {
        std::vector<std::string> known;
        for (NodeClass const & each : Qcf::Eval::nodeClasses()) {
            known.emplace_back(each.name);
            if (each.attribute != nullptr) {
                known.emplace_back(each.attribute->languageName);
            }
        }
        String const meant = meantInstead(name, known);
        throw UsageError("has no class or attribute \"" + oneLine(name, 60) + '"' + meant +
                         (meant.empty() ? "; " : " ") + "qcf nodes lists them");
    }
    return *nodeClass;
}

String documentForm(NodeClass const & nodeClass) {
    String text;
    RendererV2 renderer(text);
    Qcf::Documents::writeNested(*Qcf::Documents::exampleNode(nodeClass), renderer);
    return text;
}

String textForm(NodeClass const & nodeClass) {
    return Qcf::Text::printNode(*Qcf::Documents::exampleNode(nodeClass));
}

/// How a node of the class is written, a row each form.
struct Form {
    char const * name;
    String (*example)(NodeClass const & nodeClass);
};
constexpr Form forms[] = {
    {"text", textForm},
    {"document", documentForm},
};

String classAsJson(NodeClass const & nodeClass) {
    String text;
    RendererV2 renderer(text, RendererV2::Style::pretty);
    renderer.beginObject();
    renderMembers(renderer, nodeClass);
    renderer.key("text");
    renderer.value(textForm(nodeClass));
    renderer.key("example");
    Qcf::Documents::writeNested(*Qcf::Documents::exampleNode(nodeClass), renderer);
    renderer.endObject();
    renderer.endDocument();
    return text;
}

String classAsText(NodeClass const & nodeClass) {
    auto const row = [](String name, String const & text) {
        constexpr std::size_t width = 12;
        name.resize(std::max(width, name.size() + 1), ' ');
        for (char const c : text) {
            name += c == '\n' ? '\n' + String(width, ' ') : String(1, c);
        }
        return name + '\n';
    };
    String text = String(nodeClass.name) + ": " + nodeClass.description + '\n';
    text += row("base", nodeClass.base) + row("collection", nodeClass.collection);
    if (nodeClass.attribute != nullptr) {
        text += row("attribute", attributeText(*nodeClass.attribute));
    }
    String label = "fields";
    for (FieldInfo const & field : nodeClass.fields) {
        text += row(std::exchange(label, ""), fieldText(field));
    }
    for (Form const & form : forms) {
        text += row(form.name, form.example(nodeClass));
    }
    return text;
}

struct Options {
    String format = "table";
    String nodeClass;
};

int printNodes(Options const & options) {
    bool const isJson = options.format == "json";
    if (options.nodeClass.empty()) {
        standardOutput().write(isJson ? asJson() : asTable());
        return 0;
    }
    NodeClass const & nodeClass = findClass(options.nodeClass);
    standardOutput().write(isJson ? classAsJson(nodeClass) : classAsText(nodeClass));
    return 0;
}

} // namespace

void addNodesCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "nodes", "List every class of evaluation-tree nodes, or tell of one",
        "Each with its base, its fields in constructor order (a ? marks those that may be null)\n"
        "and, for a route attribute, its name in the language and its range. The order is that of\n"
        "the store's collections. Of one class, named as such or as an attribute, also what it is\n"
        "and an example of how it is written.",
        "qcf nodes IntAssign", [options] { return printNodes(*options); });
    command.add_option("class", options->nodeClass, "Class, or attribute by its language name")
        ->type_name("CLASS");
    command.add_option("--format", options->format, "table or json")
        ->check(CLI::IsMember({"table", "json"}))
        ->capture_default_str();
}
