#pragma once

#include "Platform/Render/JsonDocument.h"
#include "QcfLib/NodeClass.h"

#include <optional>
#include <string_view>

namespace Qcf::Documents {

/// The key under which a field stands in a node's object. An entry of `functions` calls the
/// function's name `name`.
std::string_view memberName(Eval::FieldInfo const & field, bool isFunctionEntry);

/// The part of a document that a node is made from, with the class that the node is of: an object
/// with the fields as its members, or what stands for a node whose fields are all left out. A
/// handle: the document must outlive it.
///
///     NodeObject const object = NodeObject::of(json, "node"); // {"class": "IntMatchTagSet", ...}
///     object.checkMembers();
///     auto const slot = object.find(FieldRole::listSlot);
struct NodeObject {
    JsonValue json;
    Eval::NodeClass const & nodeClass;
    /// An entry of `functions`: without a class, and with another member for its name.
    bool isFunctionEntry = false;

    /// The object and the class that it names. Throws the DocumentError of `subject` where there is
    /// no such class.
    static NodeObject of(JsonValue const & json, String const & subject);

    /// The member of a field; nothing where it was left out.
    std::optional<JsonValue> find(Eval::FieldInfo const & field) const {
        return json.find(memberName(field, isFunctionEntry));
    }
    /// The member of the field that plays the role; nothing where it was left out, too.
    std::optional<JsonValue> find(Eval::FieldRole role) const;

    /// Throws a DocumentError for a member that is none of the class's.
    void checkMembers() const;
};

/// An outside list as a node's object names it.
struct ListMention {
    SlotKind kind;
    String name;
};

/// The list that the object names; nothing where its class names none, or the name cannot be read.
std::optional<ListMention> mentionedList(NodeObject const & object);

} // namespace Qcf::Documents
