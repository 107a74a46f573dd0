#include "QcfLib/QcfAetCollections.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>

namespace Qcf {

namespace {

U16 collectionOf(Eval::AetNodeBase const & node) {
    return static_cast<U16>(node.typeData().number());
}

} // namespace

AetCollections::AetCollections() : sizes_(Eval::nodeClasses().size()) {}

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
    table_.insert(node);
    ++sizes_[collection];
    node->parentIs(this);
    changed(collection, node->aetNodeKey(), Notification::added);
    return node;
}

Ptr<AetCollections::Node> AetCollections::nodeDel(U16 collection, U64 key) {
    Ptr<Node> removed = table_.remove(collection, key);
    if (removed) {
        --sizes_[collection];
        if (removed->parent() == this) {
            removed->parentIs(nullptr);
        }
        changed(collection, key, Notification::removed);
    }
    return removed;
}

void AetCollections::nodeDelAll(U16 collection) {
    for (U64 const key : keys(collection)) {
        nodeDel(collection, key);
    }
}

Ptr<AetCollections::Node> AetCollections::node(U16 collection, U64 key) const {
    auto const * const present = table_.find(collection, key);
    return present == nullptr ? nullptr : *present;
}

bool AetCollections::holds(Node const & node) const {
    auto const * const present = table_.find(collectionOf(node), node.aetNodeKey());
    return present != nullptr && *present == &node;
}

std::size_t AetCollections::slotOf(Node const & member) const {
    return table_.slotOf(collectionOf(member), member.aetNodeKey());
}

void AetCollections::reserveMore(std::size_t count) {
    table_.reserve(table_.size() + count);
    dirty_.reserve(dirty_.size() + count);
}

std::vector<U64> AetCollections::keys(U16 collection) const {
    std::vector<U64> keys;
    if (sizes_[collection] == 0) {
        return keys;
    }
    keys.reserve(sizes_[collection]);
    forEachNode([&](Ptr<Node> const & node) {
        if (collectionOf(*node) == collection) {
            keys.push_back(node->aetNodeKey());
        }
    });
    std::sort(keys.begin(), keys.end());
    return keys;
}

std::size_t AetCollections::bytes() const {
    return table_.bytes() + sizes_.capacity() * sizeof(U32) + dirty_.capacity() * sizeof(CollKey);
}

void AetCollections::changed(U16 collection, U64 key, Notification::Kind kind) {
    // One that nobody flushes must not grow with every change for ever: doubles go now and then.
    if (dirty_.size() >= 1024 && dirty_.size() >= 2 * sortedDirty_ &&
        dirty_.size() == dirty_.capacity()) {
        sortDirty();
    }
    dirty_.push_back({collection, key});
    publish({.attribute = Eval::nodeClasses()[collection].collection,
             .kind = kind,
             .key = key,
             .subject = this});
}

void AetCollections::sortDirty() const {
    if (sortedDirty_ != dirty_.size()) {
        std::sort(dirty_.begin(), dirty_.end());
        dirty_.erase(std::unique(dirty_.begin(), dirty_.end()), dirty_.end());
        sortedDirty_ = dirty_.size();
    }
}

std::vector<AetCollections::CollKey> const & AetCollections::dirtyCollKeys() const {
    sortDirty();
    return dirty_;
}

void AetCollections::dirtyCollKeysDel() {
    dirty_ = {};
    sortedDirty_ = 0;
}

} // namespace Qcf
