#include "Mirror/Publisher.h"

#include "Documents/ClassRules.h"
#include "Documents/KeyTable.h"
#include "Mirror/MirrorError.h"
#include "Mirror/NodeCopy.h"
#include "Mirror/NodeWalk.h"
#include "Mirror/Publishable.h"
#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfAllAetEntities.h"

#include <numeric>
#include <unordered_set>

namespace Qcf::Mirror {

namespace {

using Eval::AetNodeBase;
using Eval::Function;

U16 collectionOf(AetNodeBase const & node) { return static_cast<U16>(node.typeData().number()); }

/// Values are not logged, so that their keys do not matter. Links of lists go with their lists.
bool isSharedValue(AetNodeBase const & node) {
    auto const & rules = Documents::ClassRules::of(node.typeData());
    return rules.shared && !rules.link;
}

/// One publication under way. Nodes of the program are known by their places in its list: what is
/// noted of each stands side by side, in the order in which all is gone through.
class Publication {
public:
    Publication(Documents::Program const & program, AllFunctionStatus & status,
                FunctionDigests & digests)
        : program_(program),
          status_(status),
          store_(status.nodes()),
          digests_(digests),
          places_(program.nodes),
          stored_(program.nodes.size()),
          kept_(store_.slots()) {}

    PublishCounts run(U32 marker);

private:
    U32 placeOf(AetNodeBase const & node) const;
    void checkFunctions() const;
    void compareFunctions();
    Function const * published(String const & name) const;
    void indexValues();
    AetNodeBase const * equalValue(AetNodeBase const & node) const;
    void collectNewNodes();
    void useNode(U32 place, std::vector<bool> & used);
    void keep(AetNodeBase const & root);
    bool isKept(AetNodeBase const & node) const { return kept_[store_.slotOf(node)]; }
    bool keysAreFree() const;
    U64 firstFreshKey() const;
    void assignKeys();
    void removeUnused();
    void addNewNodes();
    void setFunctions();

    Documents::Program const & program_;
    AllFunctionStatus & status_;
    AetCollections & store_;
    FunctionDigests & digests_;
    PublishCounts counts_;

    std::vector<Function const *> changed_;
    std::vector<String> vanished_;
    Documents::KeyTable places_; ///< of the program's nodes
    /// The stored node that stands for a node of the program; null while it is to be made.
    std::vector<AetNodeBase const *> stored_;
    std::vector<U32> new_;     ///< places of nodes to be made, children first
    std::vector<U64> newKeys_; ///< for each of them
    std::unordered_multimap<U32, AetNodeBase const *> values_; ///< of the store, by hash
    std::vector<bool> kept_; ///< by slots of the store, as it was before the first change
    std::unordered_set<AetNodeBase const *> loose_; ///< kept, too, but no members
};

PublishCounts Publication::run(U32 marker) {
    checkFunctions();
    compareFunctions();
    if (changed_.empty() && vanished_.empty()) {
        return counts_;
    }
    indexValues();
    collectNewNodes();
    assignKeys();
    status_.startOfDedupedFunctionUpdatesMarkerIs(marker);
    removeUnused();
    addNewNodes();
    setFunctions();
    status_.dedupedFunctionsPresentIs(true);
    status_.endOfDedupedFunctionUpdatesMarkerIs(marker);
    return counts_;
}

U32 Publication::placeOf(AetNodeBase const & node) const {
    auto const place = places_.find(node.aetNodeKey());
    QCF_ASSERT_TEXT(place && program_.nodes[*place] == &node,
                    "a program lists every node of its functions, each under a key of its own");
    return *place;
}

void Publication::checkFunctions() const {
    for (auto const & function : program_.functions) {
        checkPublishable(*function);
    }
}

/// What is published under the name, if it could have been published by us.
Function const * Publication::published(String const & name) const {
    auto const function = status_.aet(std::string_view(name));
    bool const isOurs =
        function && function->typeData().number() == Function::classNumber && !isTooDeep(*function);
    return isOurs ? static_cast<Function const *>(function.get()) : nullptr;
}

void Publication::compareFunctions() {
    std::unordered_set<std::string_view> names;
    for (auto const & function : program_.functions) {
        names.insert(function->funcName());
        auto const * const before = published(function->funcName());
        if (before != nullptr && digests_.of(*before) == digests_.of(*function)) {
            stored_[placeOf(*function)] = before;
            keep(*before);
        } else {
            changed_.push_back(function.get());
        }
    }
    for (auto const & [name, function] : status_.aet()) {
        if (!names.contains(name)) {
            vanished_.push_back(name);
        }
    }
}

void Publication::indexValues() {
    values_.reserve(store_.size());
    store_.forEachNode([this](Ptr<AetNodeBase> const & node) {
        if (isSharedValue(*node) && !isTooDeep(*node)) {
            values_.emplace(node->hash(0), node.get());
        }
    });
}

AetNodeBase const * Publication::equalValue(AetNodeBase const & node) const {
    if (isSharedValue(node)) {
        auto const [begin, end] = values_.equal_range(node.hash(0));
        for (auto at = begin; at != end; ++at) {
            if (at->second->compare(PtrConst<AetNodeBase>(&node))) {
                return at->second;
            }
        }
    }
    return nullptr;
}

// Parents before children: what is used is known of a node when its turn comes.
void Publication::collectNewNodes() {
    std::vector<bool> used(program_.nodes.size());
    for (Function const * const function : changed_) {
        used[placeOf(*function)] = true;
    }
    for (auto place = static_cast<U32>(used.size()); place-- > 0;) {
        if (used[place] && stored_[place] == nullptr) {
            useNode(place, used);
        }
    }
    std::reverse(new_.begin(), new_.end());
}

void Publication::useNode(U32 place, std::vector<bool> & used) {
    AetNodeBase const & node = *program_.nodes[place];
    if (auto const * const equal = equalValue(node)) {
        stored_[place] = equal;
        keep(*equal);
        return;
    }
    new_.push_back(place);
    node.typeData().visitChildren(node, [&](Eval::FieldInfo const &, AetNodeBase const * child) {
        if (child != nullptr) {
            U32 const childPlace = placeOf(*child);
            QCF_ASSERT_TEXT(childPlace < place, "a program lists children before their parents");
            used[childPlace] = true;
        }
    });
}

// A function that was published otherwise may hold nodes that are no members: they stay with it.
void Publication::keep(AetNodeBase const & root) {
    auto const enter = [this](AetNodeBase const & node) {
        std::size_t const slot = store_.slotOf(node);
        if (slot == AetCollections::noSlot) {
            return loose_.insert(&node).second;
        }
        bool const isNew = !kept_[slot];
        kept_[slot] = true;
        return isNew;
    };
    walkChildrenFirst(root, enter, [](AetNodeBase const &) {});
}

bool Publication::keysAreFree() const {
    return std::none_of(newKeys_.begin(), newKeys_.end(), [this](U64 key) {
        return static_cast<bool>(
            store_.anyNode(key, [this](AetNodeBase const & present) { return isKept(present); }));
    });
}

// Above all keys; where that is too high, in the first gap that is wide enough.
U64 Publication::firstFreshKey() const {
    std::vector<U64> keys{0, ~U64{0}};
    store_.forEachNode([&](Ptr<AetNodeBase> const & node) {
        if (isKept(*node)) {
            keys.push_back(node->aetNodeKey());
        }
    });
    std::sort(keys.begin(), keys.end());
    U64 const largest = keys[keys.size() - 2];
    if (~U64{0} - largest > new_.size()) {
        return largest + 1;
    }
    for (std::size_t i = 0; i + 1 < keys.size(); ++i) {
        if (keys[i + 1] - keys[i] > new_.size()) {
            return keys[i] + 1;
        }
    }
    throw MirrorError("no keys are left for " + std::to_string(new_.size()) + " nodes");
}

void Publication::assignKeys() {
    newKeys_.reserve(new_.size());
    for (U32 const place : new_) {
        newKeys_.push_back(program_.nodes[place]->aetNodeKey());
    }
    if (keysAreFree()) {
        return;
    }
    std::vector<std::size_t> inOrder(new_.size());
    std::iota(inOrder.begin(), inOrder.end(), std::size_t{0});
    std::sort(inOrder.begin(), inOrder.end(),
              [this](std::size_t a, std::size_t b) { return newKeys_[a] < newKeys_[b]; });
    U64 fresh = firstFreshKey();
    for (std::size_t const at : inOrder) {
        newKeys_[at] = fresh++;
    }
}

void Publication::removeUnused() {
    std::vector<Ptr<AetNodeBase>> unused;
    store_.forEachNode([&](Ptr<AetNodeBase> const & node) {
        if (!isKept(*node)) {
            unused.push_back(node);
        }
    });
    counts_.nodesRemoved = unused.size();
    for (auto const & node : unused) {
        store_.nodeDel(collectionOf(*node), node->aetNodeKey());
    }
}

// A node of the program that needs no other key or child goes in as it is, unless it is in a store
// already.
void Publication::addNewNodes() {
    auto const mapped = [this](AetNodeBase const & child) {
        return PtrConst<AetNodeBase>(stored_[placeOf(child)]);
    };
    store_.reserveMore(new_.size());
    for (std::size_t i = 0; i < new_.size(); ++i) {
        AetNodeBase const & node = *program_.nodes[new_[i]];
        bool same = newKeys_[i] == node.aetNodeKey() && node.parent() == nullptr;
        node.typeData().visitChildren(
            node, [&](Eval::FieldInfo const &, AetNodeBase const * child) {
                same = same && (child == nullptr || stored_[placeOf(*child)] == child);
            });
        Ptr<AetNodeBase> const made =
            same ? constCast(PtrConst<AetNodeBase>(&node)) : copyNode(node, newKeys_[i], mapped);
        stored_[new_[i]] = store_.nodeIs(made).get();
    }
    counts_.nodesAdded = new_.size();
}

void Publication::setFunctions() {
    for (String const & name : vanished_) {
        status_.aetDel(name);
    }
    for (Function const * const function : changed_) {
        auto const * const stored = static_cast<Function const *>(stored_[placeOf(*function)]);
        status_.aetIs(function->funcName(), PtrConst<Eval::FunctionBase>(stored));
    }
    counts_.functionsRemoved = vanished_.size();
    counts_.functionsSet = changed_.size();
}

} // namespace

PublishCounts publishProgram(Documents::Program const & program, AllFunctionStatus & status,
                             FunctionDigests & digests, U32 marker) {
    status.aetNodesIs();
    return Publication(program, status, digests).run(marker);
}

} // namespace Qcf::Mirror
