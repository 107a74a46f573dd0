#include "Documents/DocumentSchema.h"

#include "Documents/ExampleNode.h"
#include "Documents/LeftOut.h"
#include "Documents/NodeObject.h"
#include "Documents/ValueSchemas.h"
#include "Documents/Words.h"
#include "Platform/Render/JsonSchema.h"
#include "QcfLib/QcfEval.h"

#include <map>

/// A node's object is looked at by its class alone, and a class's children by what they want:
/// a validator so takes one way through a document, and says what is wrong where it is wrong.
namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

// Names of definitions. A class may be called as what a field wants is.
constexpr char const * anyNode = "node";
constexpr char const * referenceName = "reference";
String classDefinition(NodeClass const & nodeClass) { return String("class.") + nodeClass.name; }
String fieldDefinition(FieldInfo const & field) { return String("wanted.") + field.wants; }

/// The schema of a child in that field.
String childSchema(FieldInfo const & field) {
    NodeClass const * const wanted = classWanted(field);
    if (wanted != nullptr && wanted->facts.isLink && !field.optional) {
        // An empty array is no link.
        return JsonSchema::reference(fieldDefinition(field), "minItems", "1");
    }
    String const child = JsonSchema::reference(fieldDefinition(field));
    return field.optional ? JsonSchema::anyOf({JsonSchema::null(), child}) : child;
}

/// The members of an object for a node of one class. Types of scalars are told by a node.
class Members final : public FieldVisitor<Members> {
public:
    explicit Members(bool isFunctionEntry) : isFunctionEntry_(isFunctionEntry) {}

    void writeNode(FieldInfo const & field, AetNodeBase const *) override {
        add(field, childSchema(field), field.optional || followsFromRest(field));
    }
    template <typename Value>
    void visit(FieldInfo const & field, Value const & value) {
        add(field, valueSchema(value), followsFromRest(field) || isDeclaration<Value>);
    }

    JsonSchema::Object object;

private:
    void add(FieldInfo const & field, String const & schema, bool mayBeLeftOut) {
        object.member(memberName(field, isFunctionEntry_), schema,
                      mayBeLeftOut ? JsonSchema::optional : JsonSchema::required);
    }

    bool isFunctionEntry_;
};

String objectSchema(NodeClass const & nodeClass, bool isFunctionEntry) {
    Members members(isFunctionEntry);
    if (!isFunctionEntry) {
        members.object.member(word::nodeClass, JsonSchema::constant(nodeClass.name));
    }
    members.object.member(word::key, JsonSchema::integer(1, ~U64{0}), JsonSchema::optional);
    auto const example = exampleNode(nodeClass);
    nodeClass.write(*example, members);
    return members.object.describedAs(nodeClass.description).text();
}

/// A node that is written where it stands, or referred to; objects that are neither, of the last
/// form.
String nodeSchema(FieldInfo const & field, String const & otherwise) {
    std::vector<std::string_view> classes;
    for (NodeClass const & nodeClass : nodeClasses()) {
        if (mayStand(nodeClass, field)) {
            classes.emplace_back(nodeClass.name);
        }
    }
    String const node = JsonSchema::selected(word::nodeClass, JsonSchema::oneOf(classes), anyNode);
    return JsonSchema::choice(
        JsonSchema::having(word::reference), JsonSchema::reference(referenceName),
        otherwise.empty()
            ? node
            : JsonSchema::choice(JsonSchema::having(word::nodeClass), node, otherwise));
}

/// The literal that an array stands for; null where it stands for none.
NodeClass const * arrayLiteral(FieldInfo const & field) {
    for (NodeClass const & nodeClass : nodeClasses()) {
        if (nodeClass.fieldOf(FieldRole::elements) != nullptr && mayStand(nodeClass, field) &&
            field.wanted != wanting(NodeKind::storageType)) {
            return &nodeClass;
        }
    }
    return nullptr;
}

/// An array of what the links of the chain carry.
String entriesSchema(NodeClass const & link, bool withCommunities) {
    String entry = childSchema(*link.fieldOf(FieldRole::entry));
    if (withCommunities) {
        entry = JsonSchema::anyOf({JsonSchema::text(communityPattern), entry});
    }
    return JsonSchema::array(entry);
}

/// What may stand for a node without being an object.
String literalSchema(FieldInfo const & field) {
    NodeClass const * const wanted = classWanted(field);
    if (wanted != nullptr && wanted->facts.isLink) {
        return entriesSchema(*wanted, false);
    }
    std::vector<String> forms;
    std::vector<std::string_view> attributes;
    for (NodeClass const & nodeClass : nodeClasses()) {
        if (nodeClass.attribute != nullptr && mayStand(nodeClass, field)) {
            attributes.emplace_back(nodeClass.attribute->languageName);
        }
    }
    if (!attributes.empty()) {
        forms.push_back(JsonSchema::oneOf(attributes));
    }
    if (wanted == nullptr) {
        addLiterals(field, forms);
    }
    if (NodeClass const * const literal = arrayLiteral(field)) {
        forms.push_back(entriesSchema(*classWanted(*literal->fieldOf(FieldRole::elements)),
                                      literal->isKind(NodeKind::intSet)));
    }
    return forms.empty() ? JsonSchema::anyObject() : JsonSchema::anyOf(forms);
}

String wantedSchema(FieldInfo const & field) {
    bool const takesObject = field.wanted == wanting(NodeKind::communityValue);
    return JsonSchema::choice(
        JsonSchema::anyObject(),
        nodeSchema(field, takesObject ? valueSchema(Acl::CommunityValue()) : String()),
        literalSchema(field));
}

/// Any node: by its class the form of its object.
String anyNodeSchema() {
    std::vector<std::string_view> classes;
    String choices;
    for (NodeClass const & nodeClass : nodeClasses()) {
        classes.emplace_back(nodeClass.name);
        choices += choices.empty() ? "" : ",";
        choices += JsonSchema::when(word::nodeClass, nodeClass.name, classDefinition(nodeClass));
    }
    return JsonSchema::allOf(JsonSchema::having(word::nodeClass, JsonSchema::oneOf(classes)),
                             choices);
}

std::vector<JsonSchema::Definition> definitions() {
    std::vector<JsonSchema::Definition> made{
        {anyNode, anyNodeSchema()},
        {referenceName,
         JsonSchema::Object().member(word::reference, JsonSchema::integer(0, ~U64{0})).text()}};
    // By name: many fields want the same.
    std::map<String, String> wanted;
    for (NodeClass const & nodeClass : nodeClasses()) {
        made.push_back({classDefinition(nodeClass), objectSchema(nodeClass, false)});
        for (FieldInfo const & field : nodeClass.fields) {
            if (field.isNode() && !wanted.contains(fieldDefinition(field))) {
                wanted.emplace(fieldDefinition(field), wantedSchema(field));
            }
        }
    }
    for (auto const & [name, schema] : wanted) {
        made.push_back({name, schema});
    }
    return made;
}

} // namespace

String documentSchema() {
    JsonSchema::Object root;
    root.member(word::format, JsonSchema::constant(word::formatName));
    root.member(word::nodes, JsonSchema::array(JsonSchema::reference(anyNode)),
                JsonSchema::optional);
    root.member(word::functions, JsonSchema::array(objectSchema(nodeClassOf<Function>(), true)));
    return JsonSchema::document("Evaluation-tree document", root.text(), definitions());
}

} // namespace Qcf::Documents
