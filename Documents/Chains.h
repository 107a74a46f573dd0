#pragma once

#include "Documents/EarlierNodes.h"

#include <vector>

namespace Qcf::Documents {

/// A chain of links as a document has it: an array of what the links carry, links within each
/// other, or a reference to links that stand elsewhere behind either. Its links are made last, from
/// the end on, because what they carry has to come before any link.
///
///     Chain chain = openChain(earlier, object, object.find("stmts"), position);
///     for (Chain::Link & link : chain.links)
///         link.entryNumber = ...; // the node of link.entry
///     U32 const head = addLinks(builder, chain);
struct Chain {
    /// A link before it is made.
    struct Link {
        JsonValue place;                     ///< the link, where that is written
        std::optional<JsonValue> entry;      ///< what it carries; nothing when that is left out
        std::optional<JsonValue> key;        ///< the key given to the link
        U32 entryNumber = NodeBuilder::none; ///< the node of the entry, once it is read
    };

    /// Of the links, which are all alike.
    Eval::NodeClass const * linkClass;
    std::vector<Link> links = {};
    U32 tail = NodeBuilder::none; ///< links that stand elsewhere

    /// Where the entries of the links stand.
    Position entryPosition() const { return Position::of(*linkClass, Eval::FieldRole::entry); }
    /// Adds a link for each element of an array.
    void append(JsonValue const & array);
};

/// Follows the chain at that position to its end. `json` is its member of `owner`'s, nothing when
/// that was left out. Throws a DocumentError for what is no such chain, or is missing.
Chain openChain(EarlierNodes const & earlier, JsonValue const & owner,
                std::optional<JsonValue> json, Position const & position);

/// Makes the links over their entries' nodes. Answers the number of the first, `none` of no links.
U32 addLinks(DocumentBuilder & builder, Chain const & chain);

} // namespace Qcf::Documents
