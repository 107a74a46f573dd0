#include "Documents/NodeObject.h"

#include "Documents/Words.h"
#include "Platform/Render/NearestWord.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <vector>

/// Documents name the members of a node as its class names its fields. The exceptions are few and
/// stand here, so that reading, scanning and writing cannot disagree about them.
namespace Qcf::Documents {

using Eval::FieldInfo;
using Eval::FieldRole;
using Eval::NodeClass;

std::string_view memberName(FieldInfo const & field, bool isFunctionEntry) {
    bool const isOtherwise = isFunctionEntry && plays(field, FieldRole::functionName);
    return isOtherwise ? word::functionName : field.name;
}

NodeObject NodeObject::of(JsonValue const & json, String const & subject) {
    auto const name = json.find(word::nodeClass);
    if (!name || !name->isString()) {
        json.fail(subject, "object with \"class\" or \"ref\"", describe(json));
    }
    NodeClass const * const nodeClass = Eval::findNodeClass(name->asString());
    if (nodeClass == nullptr) {
        std::vector<std::string_view> known;
        for (NodeClass const & each : Eval::nodeClasses()) {
            known.emplace_back(each.name);
        }
        name->fail(subject, "name of a node class, as qcf nodes lists them",
                   describe(*name) + didYouMean(name->asString(), known));
    }
    return {json, *nodeClass};
}

std::optional<JsonValue> NodeObject::find(FieldRole role) const {
    FieldInfo const * const field = nodeClass.fieldOf(role);
    return field == nullptr ? std::nullopt : find(*field);
}

// A misspelt member of an optional field would otherwise be taken for left out. All names are told,
// since a class has few.
void NodeObject::checkMembers() const {
    auto const isKnown = [this](std::string_view key) {
        bool const isField = std::ranges::any_of(nodeClass.fields, [&](FieldInfo const & field) {
            return key == memberName(field, isFunctionEntry);
        });
        return isField || key == word::key || (key == word::nodeClass && !isFunctionEntry);
    };
    for (JsonValue const member : json) {
        if (!isKnown(member.key())) {
            std::vector<std::string_view> known{word::key};
            String names = word::key;
            for (FieldInfo const & field : nodeClass.fields) {
                known.push_back(memberName(field, isFunctionEntry));
                names += ", ";
                names += known.back();
            }
            member.fail(nodeClass.name, "only keys " + names,
                        "unknown key \"" + oneLine(member.key(), 60) + '"' +
                            didYouMean(member.key(), known));
        }
    }
}

// The classes of prefix lists are of both families, which a member tells. Nothing is complained of
// here: who looks over a document first must not fail where the reader of the node fails with a
// better message.
std::optional<ListMention> mentionedList(NodeObject const & object) {
    auto const kind = object.nodeClass.facts.list;
    auto const name = kind ? object.find(FieldRole::listName) : std::nullopt;
    if (!name || !name->isString()) {
        return std::nullopt;
    }
    auto const isV4 = object.find(FieldRole::isV4);
    bool const isV6 = isV4 && isV4->isBool() && !isV4->asBool();
    return ListMention{isV6 ? SlotKind::v6PrefixList : *kind, String(name->asString())};
}

} // namespace Qcf::Documents
