#include "Documents/Chains.h"

#include "Documents/ObjectFields.h"
#include "Documents/Words.h"

/// A chain may have a million links, so that neither following nor making one goes deeper by each
/// link.
namespace Qcf::Documents {

using Eval::FieldRole;

void Chain::append(JsonValue const & array) {
    for (JsonValue const entry : array) {
        links.push_back({entry, entry, std::nullopt});
    }
}

// An array or a reference ends a chain; links within each other go on to the next.
Chain openChain(EarlierNodes const & earlier, JsonValue const & owner,
                std::optional<JsonValue> json, Position const & position) {
    Chain chain{Eval::classWanted(position.field)};
    // Only the first link may be missing where the position allows none: behind a link a chain may
    // end.
    bool optional = position.field.optional;
    for (; json && !json->isNull(); optional = true) {
        if (json->isArray()) {
            // An empty array is no link at all, and so as good as null.
            if (json->size() == 0 && !optional) {
                position.fail(*json, describe(*json));
            }
            chain.append(*json);
            return chain;
        }
        if (json->isObject() && json->find(word::reference)) {
            // The class of what is referred to is judged by the position: links of a chain want one
            // of their own.
            chain.tail = earlier.findReferenced(*json, position);
            return chain;
        }
        if (!json->isObject() || !json->find(word::nodeClass)) {
            position.fail(*json, describe(*json));
        }
        NodeObject const link = NodeObject::of(*json, position.subject());
        if (&link.nodeClass != chain.linkClass) {
            position.fail(*json, link.nodeClass.name);
        }
        link.checkMembers();
        chain.links.push_back({*json, link.find(FieldRole::entry), json->find(word::key)});
        json = link.find(FieldRole::next);
    }
    if (!optional) {
        position.fail(json.value_or(owner), json ? describe(*json) : "none");
    }
    return chain;
}

// From the end on: a link refers to the one behind it. The keys so rise from the end to the front,
// as those of children before parents do.
U32 addLinks(DocumentBuilder & builder, Chain const & chain) {
    U32 next = chain.tail;
    for (auto link = chain.links.rbegin(); link != chain.links.rend(); ++link) {
        U32 const children[] = {link->entryNumber, next};
        next = addNode(builder, {link->place, *chain.linkClass}, children, link->key);
    }
    return next;
}

} // namespace Qcf::Documents
