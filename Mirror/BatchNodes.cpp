#include "Mirror/BatchNodes.h"

#include "Mirror/MirrorError.h"
#include "Mirror/Publishable.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfEval.h"

/// Brings the nodes of a batch into an order in which a reader can build them: children first, each
/// once. Also decides what stands for a child: a key, a key with its class, or a number.
namespace Qcf::Mirror {

// By keys, so that most children stand before their parents and near them.
BatchNodes::BatchNodes(BatchWriter & writer, AetCollections const * store,
                       std::vector<Node const *> members)
    : writer_(writer),
      store_(store),
      members_(std::move(members)),
      written_(members_.size()),
      style_([this](Node const & node) { return referenceTo(node); }) {
    std::sort(members_.begin(), members_.end(),
              [](Node const * a, Node const * b) { return a->aetNodeKey() < b->aetNodeKey(); });
    for (std::size_t i = 0; i < members_.size(); ++i) {
        // All of them before the first line is written.
        checkPublishable(*members_[i]);
        U64 const key = members_[i]->aetNodeKey();
        // Members of several classes may have one key: the table leads to the first, and positionOf
        // goes on from there.
        if (i == 0 || members_[i - 1]->aetNodeKey() != key) {
            positions_.insert(key, static_cast<U32>(i));
        }
    }
}

void BatchNodes::write() {
    // Trees that were written with another one end at their root.
    for (Node const * const root : members_) {
        writeTree(*root);
    }
}

void BatchNodes::function(String const & name, Eval::FunctionBase const & function) {
    Node const & node = publishableFunction(name, function);
    // A function need not be a member; what only the name holds is written as loose nodes.
    writeTree(node);
    writer_.function(name, referenceTo(node));
}

void BatchNodes::writeTree(Node const & root) {
    walkTree(
        root, [this](Eval::WalkedNode const & at) { return enter(at.node); },
        [this](Node const & node) { writeNode(node); });
}

/// Where the node stands among those that the batch brings; nothing when it is none of them.
std::optional<std::size_t> BatchNodes::positionOf(Node const & node) const {
    auto const first = positions_.find(node.aetNodeKey());
    for (std::size_t at = first.value_or(members_.size());
         at < members_.size() && members_[at]->aetNodeKey() == node.aetNodeKey(); ++at) {
        if (members_[at] == &node) {
            return at;
        }
    }
    return std::nullopt;
}

bool BatchNodes::enter(Node const & node) {
    if (auto const position = positionOf(node)) {
        bool const isNew = !written_[*position];
        written_[*position] = true;
        return isNew;
    }
    // Readers have other members already. A loose node gets its number when it is written, behind
    // the nodes under it.
    if (isMember(node) || !loose_.try_emplace(&node, ~U64{0}).second) {
        return false;
    }
    checkPublishable(node);
    return true;
}

void BatchNodes::writeNode(Node const & node) {
    auto const loose = loose_.find(&node);
    try {
        if (loose == loose_.end()) {
            writer_.node(node, style_);
        } else {
            writer_.looseNode(looseCount_, node, style_);
            loose->second = looseCount_++;
        }
    } catch (MirrorError const & error) {
        // The field's fault, with the node that it is in.
        throw MirrorError(String(node.typeData().name) + " " + std::to_string(node.aetNodeKey()) +
                          ": " + error.what());
    }
}

NodeReference BatchNodes::referenceTo(Node const & node) const {
    auto const loose = loose_.find(&node);
    if (loose != loose_.end()) {
        return {.loose = true, .number = loose->second};
    }
    // What is not loose is a member, so that there is a store. Nearly always the key alone will do,
    // which keeps lines short.
    bool const keyDoes =
        !store_->anyNode(node.aetNodeKey(), [&](Node const & other) { return &other != &node; });
    return {.number = node.aetNodeKey(), .className = keyDoes ? nullptr : node.typeData().name};
}

} // namespace Qcf::Mirror
