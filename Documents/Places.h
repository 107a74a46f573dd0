#pragma once

#include "Platform/Render/JsonDocument.h"
#include "QcfLib/QcfEval.h"

#include <vector>

namespace Qcf::Documents {

/// Where the nodes of a document stand, for messages about them. Keeps the document's text as long
/// as it lives, but not the nodes.
///
///     Places places;
///     Program const program = readProgram(text, "policy.json", {&places});
///     places.of(*node, *function); // "policy.json:/functions/0/body/stmts/1"
///
/// Equal value nodes are one node, which then stands in several places: the one within the function
/// that a message is about is told. Used by one thread at a time.
class Places {
public:
    // For messages.
    /// `FILE:POINTER` of a node of the program that was read: its first place in the entry of
    /// `within`, its first place in the document where it is not written there.
    String of(Eval::AetNodeBase const & node, Eval::Function const & within) const;

    /// The pointer alone; empty where the document does not have the node.
    String pointerOf(Eval::AetNodeBase const & node, Eval::Function const & within) const;

    // For the reader. Nodes are noted, entry of `functions` by entry, as often as they stand
    // somewhere; entry 0 is the list of nodes.
    void entryIs(U32 entry) { entry_ = entry; }
    void note(Eval::AetNodeBase const & node, JsonValue const & place) {
        noted_.push_back({&node, entry_, place});
    }
    /// Takes over the document that the noted places are of; to be called last.
    void documentIs(JsonDocument document, String const & fileName);

private:
    /// A node where it stands once.
    struct Noted {
        Eval::AetNodeBase const * node;
        U32 entry;
        JsonValue place;
    };

    void sort() const;
    Noted const * find(Eval::AetNodeBase const & node, U32 entry) const;

    std::optional<JsonDocument> document_;
    String fileName_;
    /// From the first question on by node and entry, then in the order of the text: most documents
    /// are never asked about.
    mutable std::vector<Noted> noted_;
    mutable bool sorted_ = false;
    U32 entry_ = 0;
};

} // namespace Qcf::Documents
