#include "Mirror/ChangeSource.h"

#include "Documents/KeyTable.h"
#include "Mirror/NodeWalk.h"
#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Mirror {

ChangeSource::ChangeSource(Ptr<AllFunctionStatus> status)
    : status_(std::move(status)),
      statusSubscription_(status_->publisher().subscribe(
          [this](Notification const & notification) { statusChanged(notification); })) {
    watchStore();
    flush();
}

ChangeSource::~ChangeSource() {
    status_->publisher().unsubscribe(statusSubscription_);
    if (store_) {
        store_->publisher().unsubscribe(storeSubscription_);
    }
}

void ChangeSource::statusChanged(Notification const & notification) {
    std::string_view const attribute = notification.attribute;
    if (attribute == "aet") {
        names_.insert(notification.name);
    } else if (attribute == "aetNodes") {
        replaced_ = true;
        watchStore();
    }
}

void ChangeSource::watchStore() {
    if (store_) {
        store_->publisher().unsubscribe(storeSubscription_);
    }
    store_ = status_->aetNodes();
    if (store_) {
        storeSubscription_ = store_->publisher().subscribe([this](Notification const & change) {
            if (change.kind == Notification::removed) {
                removed_.insert(change.key);
            }
        });
    }
}

bool ChangeSource::hasChanges() const {
    return replaced_ || !names_.empty() || (store_ && store_->hasDirtyCollKeys());
}

void ChangeSource::flush() {
    names_.clear();
    removed_.clear();
    replaced_ = false;
    if (store_) {
        store_->dirtyCollKeysDel();
    }
}

std::vector<ChangeSource::Node const *> ChangeSource::dirtyNodes() const {
    std::vector<Node const *> nodes;
    for (auto const & dirty : store_->dirtyCollKeys()) {
        if (auto const node = store_->node(dirty.collection, dirty.key)) {
            nodes.push_back(node.get());
        }
    }
    return nodes;
}

Batch ChangeSource::takeBatch(BatchStart start, Digest const & digest) {
    QCF_ASSERT_TEXT(!replaced_ || start.base.empty(), "a replaced store is told from nothing");
    Batch batch;
    if (start.base.empty()) {
        batch = snapshot(std::move(start), digest);
    } else {
        BatchWriter writer(std::move(start));
        // A key that is used again goes before it comes.
        writer.remove({removed_.begin(), removed_.end()});
        writeNodes(writer, dirtyNodes());
        for (String const & name : names_) {
            auto const function = status_->aet(name);
            function ? writer.function(name, function->aetNodeKey()) : writer.functionDel(name);
        }
        batch = writer.finish(digest, status_->aet().size(), store_->size());
    }
    flush();
    return batch;
}

Batch ChangeSource::snapshot(BatchStart start, Digest const & digest) const {
    start.base.clear();
    BatchWriter writer(std::move(start));
    std::vector<Node const *> nodes;
    if (store_) {
        store_->forEachNode([&](Ptr<Node> const & node) { nodes.push_back(node.get()); });
    }
    std::size_t const size = nodes.size();
    writeNodes(writer, std::move(nodes));
    for (auto const & [name, function] : status_->aet()) {
        writer.function(name, function->aetNodeKey());
    }
    return writer.finish(digest, status_->aet().size(), size);
}

// By keys, so that most children stand before their parents and near them.
void ChangeSource::writeNodes(BatchWriter & writer, std::vector<Node const *> nodes) const {
    std::sort(nodes.begin(), nodes.end(),
              [](Node const * a, Node const * b) { return a->aetNodeKey() < b->aetNodeKey(); });
    Documents::KeyTable const numbers(nodes);
    std::vector<bool> written(nodes.size());
    auto const enter = [&](Node const & node) {
        auto const number = numbers.find(node.aetNodeKey());
        if (!number || nodes[*number] != &node || written[*number]) {
            return false;
        }
        written[*number] = true;
        return true;
    };
    for (Node const * const root : nodes) {
        walkChildrenFirst(*root, enter, [&](Node const & node) { writeNode(writer, node); });
    }
}

void ChangeSource::writeNode(BatchWriter & writer, Node const & node) const {
    bool const shared = static_cast<bool>(
        store_->anyNode(node.aetNodeKey(), [&](Node const & other) { return &other != &node; }));
    QCF_ASSERT_TEXT(!shared, "keys of a mirrored store are unique over all classes");
    node.typeData().visitChildren(node, [&](Eval::FieldInfo const &, Node const * child) {
        QCF_ASSERT_TEXT(child == nullptr || store_->holds(*child),
                        "the children of a stored node are stored, too");
    });
    writer.node(node);
}

} // namespace Qcf::Mirror
