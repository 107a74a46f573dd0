#pragma once

#include "Documents/KeyTable.h"
#include "Mirror/BatchLists.h"
#include "Mirror/BatchPlaces.h"
#include "Mirror/StagedBatch.h"
#include "QcfLib/QcfLib.h"

#include <map>
#include <unordered_map>
#include <unordered_set>

namespace Qcf::Mirror {

/// What the lines of a batch say, as nodes that are built but not yet in any store. Throws
/// MirrorError (or DocumentError) when a line cannot be meant, and for a tree that is deeper than
/// any that may be evaluated.
///
///     BatchChanges const changes(batch, store);
///     ... changes.removed(), changes.nodes(), changes.functions() ...
///
/// Everything is checked that a hostile line could try: classes, fields, references to what is not
/// there or does not fit, keys that are taken. What is built shares children with `base`, which is
/// only read. Recursion is bounded by nothing in the text: nothing recurses.
class BatchChanges {
public:
    using Node = Eval::AetNodeBase;

    /// References lead to nodes of the batch itself or of `base`, which may be null.
    /// `lists` and `places` are those that the batch builds on; the lists must outlive this.
    BatchChanges(StagedBatch const & batch, AetCollections const * base,
                 PublishedLists const & lists, VersionPlaces places = {});

    /// Members that go, each once.
    std::vector<CollKey> const & removed() const { return removed_; }
    /// Members that come, in the order of the lines, children first.
    std::vector<Ptr<Node>> const & nodes() const { return nodes_; }
    /// By name; null for one that goes.
    std::map<String, PtrConst<Eval::Function>> const & functions() const { return functions_; }
    /// The status's own fields; every batch has them.
    StatusFields const & status() const { return *status_; }
    /// All lists after the batch.
    PublishedLists const & lists() const { return lists_.lists(); }
    /// All places after the batch.
    VersionPlaces places() const { return places_.places(); }

private:
    /// Of places in the store.
    struct PlaceHash {
        std::size_t operator()(CollKey const & place) const {
            return std::hash<U64>()(place.key * 0x100 + place.collection);
        }
    };

    /// The kinds of lines, each by its own function.
    void line(JsonValue const & line);
    /// Members that go.
    void removeLine(JsonValue const & line);
    /// A name that means another function, or none.
    void functionLine(JsonValue const & line);
    void statusLine(JsonValue const & line);
    /// A node, which is built here, its children being there.
    void nodeLine(JsonValue const & line);
    /// Keeps the value of a literal, within the bounds of all literals.
    void keepConstant(JsonValue const & place, Node const & node);
    /// A node that is to become a member under its key, which must be free in its class.
    void addMember(JsonValue const & key, Ptr<Node> const & node);
    /// Whether a member has that place, or comes to have it.
    bool isTaken(CollKey const & place) const;
    /// The node that a reference means and that fits the field; fails with the reference's place.
    PtrConst<Node> resolve(JsonValue const & reference, Eval::FieldInfo const & field) const;
    /// A member, or one that comes to be, of that key.
    PtrConst<Node> storedNode(JsonValue const & key, Eval::NodeClass const * nodeClass,
                              Eval::FieldInfo const & field) const;
    /// A node of the batch that is no member.
    PtrConst<Node> looseNode(JsonValue const & number, Eval::FieldInfo const & field) const;
    /// The member of that key that fits: one that the batch brings, or one that was there and
    /// stays.
    template <typename Fits>
    PtrConst<Node> member(U64 key, Fits && fits) const;

    /// What the batch builds on; null for a batch from nothing.
    AetCollections const * base_;
    std::vector<CollKey> removed_;
    std::unordered_set<CollKey, PlaceHash> goes_; ///< removed_
    std::vector<Ptr<Node>> nodes_;
    Documents::KeyTable numbers_;            ///< of nodes_, by key; the first where keys are equal
    std::unordered_multimap<U64, U32> more_; ///< the others
    /// Nodes that are no members, by their numbers.
    std::vector<Ptr<Node>> loose_;
    std::map<String, PtrConst<Eval::Function>> functions_;
    U64 constantElements_ = 0; ///< of the literals so far
    std::optional<StatusFields> status_;
    BatchLists lists_;
    BatchPlaces places_;
};

} // namespace Qcf::Mirror
