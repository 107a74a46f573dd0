#pragma once

#include "Documents/KeyTable.h"
#include "Mirror/StagedBatch.h"
#include "QcfLib/QcfLib.h"

#include <map>
#include <unordered_map>
#include <unordered_set>

namespace Qcf::Mirror {

/// What the lines of a batch say, as nodes that are built but not yet in any store. Throws
/// MirrorError (or DocumentError) when a line cannot be meant, and for a tree that is deeper than
/// any that may be evaluated.
class BatchChanges {
public:
    using Node = Eval::AetNodeBase;

    /// References lead to nodes of the batch itself or of `base`, which may be null.
    BatchChanges(StagedBatch const & batch, AetCollections const * base);

    /// Members that go, each once.
    std::vector<CollKey> const & removed() const { return removed_; }
    /// Members that come, in the order of the lines, children first.
    std::vector<Ptr<Node>> const & nodes() const { return nodes_; }
    /// By name; null for one that goes.
    std::map<String, PtrConst<Eval::Function>> const & functions() const { return functions_; }
    StatusFields const & status() const { return *status_; }

private:
    struct PlaceHash {
        std::size_t operator()(CollKey const & place) const {
            return std::hash<U64>()(place.key * 0x100 + place.collection);
        }
    };

    void line(JsonValue const & line);
    void removeLine(JsonValue const & line);
    void functionLine(JsonValue const & line);
    void statusLine(JsonValue const & line);
    void nodeLine(JsonValue const & line);
    void addMember(JsonValue const & key, Ptr<Node> const & node);
    bool isTaken(CollKey const & place) const;
    PtrConst<Node> resolve(JsonValue const & reference, Eval::FieldInfo const & field) const;
    PtrConst<Node> storedNode(JsonValue const & key, Eval::NodeClass const * nodeClass,
                              Eval::FieldInfo const & field) const;
    PtrConst<Node> looseNode(JsonValue const & number, Eval::FieldInfo const & field) const;
    template <typename Fits>
    PtrConst<Node> member(U64 key, Fits && fits) const;

    AetCollections const * base_;
    std::vector<CollKey> removed_;
    std::unordered_set<CollKey, PlaceHash> goes_; ///< removed_
    std::vector<Ptr<Node>> nodes_;
    Documents::KeyTable numbers_;            ///< of nodes_, by key; the first where keys are equal
    std::unordered_multimap<U64, U32> more_; ///< the others
    std::vector<Ptr<Node>> loose_;
    std::map<String, PtrConst<Eval::Function>> functions_;
    std::optional<StatusFields> status_;
};

} // namespace Qcf::Mirror
