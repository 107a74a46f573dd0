#include "QcfLib/QcfAetCollections.h"

#include "Platform/Framework/Assert.h"

/// The store's changes: table, keys and listeners are kept in step here. Typed views and bulk
/// reading come down to these.
namespace Qcf {

namespace {

U16 collectionOf(Eval::AetNodeBase const & node) {
    return static_cast<U16>(node.typeData().number());
}

} // namespace

AetCollections::AetCollections() : keys_(Eval::nodeClasses().size()) {}

AetCollections::~AetCollections() {
    // Nodes may outlive the store: in a program that was read, or under an evaluation.
    forEachNode([this](Ptr<Node> const & node) {
        if (node->parent() == this) {
            node->parentIs(nullptr);
        }
    });
}

Ptr<AetCollections::Node> AetCollections::nodeIs(Ptr<Node> const & node) {
    QCF_ASSERT_TEXT(node, "a node to be stored is not null");
    U16 const collection = collectionOf(*node);
    if (auto const * present = table_.find(collection, node->aetNodeKey())) {
        return *present;
    }
    // A node points to one parent.
    QCF_ASSERT_TEXT(node->parent() == nullptr, "a node is a member of one store at most");
    table_.insert(node);
    keys_[collection].add(node->aetNodeKey());
    node->parentIs(this);
    // Last: whoever is told finds the store as it is afterwards.
    changed(collection, node->aetNodeKey(), Notification::added);
    return node;
}

Ptr<AetCollections::Node> AetCollections::nodeDel(U16 collection, U64 key) {
    Ptr<Node> removed = table_.remove(collection, key);
    if (removed) {
        // After the table, which is asked which of the listed keys are members'.
        keys_[collection].remove(isMemberOf(collection));
        if (removed->parent() == this) {
            removed->parentIs(nullptr);
        }
        changed(collection, key, Notification::removed);
    }
    return removed;
}

void AetCollections::nodeDelAll(U16 collection) {
    // A copy of the keys: taking members out changes the list.
    for (U64 const key : keys(collection)) {
        nodeDel(collection, key);
    }
}

Ptr<AetCollections::Node> AetCollections::node(U16 collection, U64 key) const {
    auto const * const present = table_.find(collection, key);
    return present == nullptr ? nullptr : *present;
}

// By identity: another node may have come under the same class and key.
bool AetCollections::holds(Node const & node) const {
    auto const * const present = table_.find(collectionOf(node), node.aetNodeKey());
    return present != nullptr && *present == &node;
}

void AetCollections::reserveMore(std::size_t count) {
    table_.reserve(table_.size() + count);
    // Each new member will be a change, too.
    dirty_.reserveMore(count);
}

std::vector<U64> AetCollections::keys(U16 collection) const {
    return keys_[collection].rising(isMemberOf(collection));
}

// Followers' records are their owners'.
std::size_t AetCollections::bytes() const {
    std::size_t bytes = table_.bytes() + dirty_.bytes() + keys_.capacity() * sizeof(AetKeyList);
    for (AetKeyList const & keys : keys_) {
        bytes += keys.bytes();
    }
    return bytes;
}

void AetCollections::changed(U16 collection, U64 key, Notification::Kind kind) {
    dirty_.add({collection, key}, kind);
    for (AetChanges * const follower : followers_) {
        follower->add({collection, key}, kind);
    }
    // A listener may throw: by then every record has the change.
    publish({.attribute = Eval::nodeClasses()[collection].collection,
             .kind = kind,
             .key = key,
             .subject = this});
}

std::vector<CollKey> AetCollections::dirtyCollKeys() const {
    std::vector<CollKey> places;
    for (AetChanges::Change const & change : dirty_.changes()) {
        places.push_back(change.place());
    }
    return places;
}

} // namespace Qcf
