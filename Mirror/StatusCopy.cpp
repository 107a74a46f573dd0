#include "Mirror/StatusCopy.h"

#include "Documents/StructureTable.h"
#include "Mirror/ChangeBatch.h"
#include "Mirror/MirrorError.h"
#include "Mirror/NodeCopy.h"
#include "Mirror/Publishable.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "QcfLib/QcfEval.h"

#include <unordered_map>
#include <unordered_set>

/// Makes a status equal to another one node by node. What is equal stays, so that followers of the
/// target are told only what differs; a node can stay only if all under it does, for nodes hold
/// their children.
namespace Qcf::Mirror {

namespace {

using Node = Eval::AetNodeBase;

U16 collectionOf(Node const & node) { return static_cast<U16>(node.typeData().number()); }

bool isMember(AllFunctionStatus const & status, Node const & node) {
    AetCollections const * const store = storeOf(status);
    return store != nullptr && store->holds(node);
}

/// The nodes of a status, children before parents: members and whatever else they or the functions
/// hold.
std::vector<Node const *> allNodes(AllFunctionStatus const & status) {
    std::vector<Node const *> roots;
    if (AetCollections const * const store = storeOf(status)) {
        store->forEachNode([&](Ptr<Node> const & node) { roots.push_back(node.get()); });
    }
    // So that the order does not hang on that of the store.
    std::sort(roots.begin(), roots.end(),
              [](Node const * a, Node const * b) { return a->aetNodeKey() < b->aetNodeKey(); });
    for (auto const & [name, function] : status.aet()) {
        roots.push_back(function.get());
    }
    std::unordered_set<Node const *> seen;
    std::vector<Node const *> nodes;
    for (Node const * const root : roots) {
        walkTree(
            *root, [&](Eval::WalkedNode const & at) { return seen.insert(&at.node).second; },
            [&](Node const & node) { nodes.push_back(&node); });
    }
    return nodes;
}

/// Numbers nodes that are no members by their content, over two statuses: members below them count
/// by class and key.
class LooseNodes {
public:
    U32 numberOf(Node const & node) {
        String content;
        RendererV2 renderer(content);
        WireStyle const style([this](Node const & child) { return referenceTo(child); });
        renderer.beginObject();
        Documents::writeNodeMembers(node, style, renderer);
        renderer.endObject();
        return numbers_[&node] = contents_.numberOf(content);
    }
    /// Of a node that was numbered; 0 for one that was not.
    U32 knownNumber(Node const & node) const {
        auto const found = numbers_.find(&node);
        return found == numbers_.end() ? 0 : found->second;
    }

private:
    NodeReference referenceTo(Node const & child) const {
        U32 const number = knownNumber(child);
        if (number != 0) {
            return {.loose = true, .number = number};
        }
        // Always with the class: contents of two statuses are compared, where what a key alone
        // means may differ.
        return {.number = child.aetNodeKey(), .className = child.typeData().name};
    }

    Documents::StructureTable contents_;
    std::unordered_map<Node const *, U32> numbers_;
};

/// One copy under way. What stands for a node of the source in the target is its twin.
class Copy {
public:
    Copy(AllFunctionStatus const & source, AllFunctionStatus & target)
        : source_(source), target_(target), sourceNodes_(allNodes(source)) {}

    PublishCounts run();

private:
    struct Twin {
        PtrConst<Node> node;
        bool isNew;
    };

    void check() const;
    void findLoose();
    void findTwins();
    bool hasNewChild(Node const & node) const;
    PtrConst<Node> twinInTarget(Node const & node);
    void changeNodes(PublishCounts & counts);
    void changeFunctions(PublishCounts & counts);

    AllFunctionStatus const & source_;
    AllFunctionStatus & target_;
    std::vector<Node const *> sourceNodes_;
    LooseNodes loose_;
    std::unordered_map<U32, Node const *> looseInTarget_; ///< by number
    std::unordered_map<Node const *, Twin> twins_;
    std::vector<Ptr<Node>> new_; ///< to become members, children first
};

PublishCounts Copy::run() {
    // Nothing is changed before all that can fail has been tried.
    check();
    findLoose();
    findTwins();
    StatusFields const fields = StatusFields::of(source_);
    PublishCounts counts;
    target_.startOfDedupedFunctionUpdatesMarkerIs(fields.startMarker);
    if (fields.store) {
        target_.aetNodesIs();
        changeNodes(counts);
    } else {
        target_.aetNodesDel();
    }
    changeFunctions(counts);
    target_.dedupedFunctionsPresentIs(fields.dedupedFunctionsPresent);
    target_.endOfDedupedFunctionUpdatesMarkerIs(fields.endMarker);
    return counts;
}

void Copy::check() const {
    // Half a batch is nothing that anybody should have.
    if (source_.dedupedFunctionUpdatesInProgress()) {
        throw MirrorError(source_.name() + ": a batch of updates is under way");
    }
    for (auto const & [name, function] : source_.aet()) {
        publishableFunction(name, *function);
    }
    for (Node const * const node : sourceNodes_) {
        checkPublishable(*node);
    }
}

void Copy::findLoose() {
    for (Node const * const node : allNodes(target_)) {
        if (!isMember(target_, *node)) {
            // Equal nodes of the source will get these numbers.
            looseInTarget_.emplace(loose_.numberOf(*node), node);
        }
    }
}

void Copy::findTwins() {
    // Children come first, so that each has its twin by then.
    auto const twinOf = [this](Node const & child) { return twins_.at(&child).node; };
    twins_.reserve(sourceNodes_.size());
    for (Node const * const node : sourceNodes_) {
        if (auto const twin = twinInTarget(*node)) {
            twins_.emplace(node, Twin{twin, false});
            continue;
        }
        Ptr<Node> const copy = copyNode(*node, node->aetNodeKey(), twinOf);
        twins_.emplace(node, Twin{copy, true});
        // Others come along with those that hold them.
        if (isMember(source_, *node)) {
            new_.push_back(copy);
        }
    }
}

bool Copy::hasNewChild(Node const & node) const {
    bool found = false;
    node.typeData().visitChildren(node, [&](Eval::FieldInfo const &, Node const * child) {
        found = found || (child != nullptr && twins_.at(child).isNew);
    });
    return found;
}

/// The equal node of the target over children that stay; null when there is none.
PtrConst<Node> Copy::twinInTarget(Node const & node) {
    // Members are told by class and key, others by what they say.
    bool const member = isMember(source_, node);
    // Numbered even where it is new: nodes above it refer to it by that number.
    U32 const number = member ? 0 : loose_.numberOf(node);
    if (hasNewChild(node)) {
        return nullptr;
    }
    if (!member) {
        auto const found = looseInTarget_.find(number);
        return PtrConst<Node>(found == looseInTarget_.end() ? nullptr : found->second);
    }
    AetCollections const * const store = storeOf(target_);
    auto const there =
        store != nullptr ? store->node(collectionOf(node), node.aetNodeKey()) : nullptr;
    bool const same =
        there && sameFields(node, *there, [this](Node const & own, Node const & child) {
            // Members must be each other's twins; loose nodes only have to say the same.
            U32 const loose = loose_.knownNumber(child);
            return loose != 0 ? loose == loose_.knownNumber(own)
                              : twins_.at(&own).node.get() == &child;
        });
    return same ? PtrConst<Node>(there) : nullptr;
}

void Copy::changeNodes(PublishCounts & counts) {
    AetCollections & store = target_.nodes();
    AetCollections const & source = source_.nodes();
    std::vector<CollKey> gone;
    store.forEachNode([&](Ptr<Node> const & node) {
        auto const own = source.node(collectionOf(*node), node->aetNodeKey());
        if (!own || twins_.at(own.get()).node != node) {
            gone.push_back({collectionOf(*node), node->aetNodeKey()});
        }
    });
    // Those that go make room for others under their keys.
    for (CollKey const & place : gone) {
        store.nodeDel(place.collection, place.key);
    }
    store.reserveMore(new_.size());
    for (auto const & node : new_) {
        store.nodeIs(node);
    }
    counts.nodesRemoved = gone.size();
    counts.nodesAdded = new_.size();
}

void Copy::changeFunctions(PublishCounts & counts) {
    // Collected first: a status must not change while it is walked.
    std::vector<String> vanished;
    for (auto const & [name, function] : target_.aet()) {
        if (!source_.aet().contains(name)) {
            vanished.push_back(name);
        }
    }
    for (String const & name : vanished) {
        target_.aetDel(name);
    }
    for (auto const & [name, function] : source_.aet()) {
        auto const twin = ptrCast<Eval::FunctionBase const>(twins_.at(function.get()).node);
        if (target_.aet(std::string_view(name)) != twin) {
            target_.aetIs(name, twin);
            ++counts.functionsSet;
        }
    }
    counts.functionsRemoved = vanished.size();
}

} // namespace

PublishCounts copyStatus(AllFunctionStatus const & source, AllFunctionStatus & target) {
    return Copy(source, target).run();
}

} // namespace Qcf::Mirror
