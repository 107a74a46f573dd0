#include "Mirror/Publisher.h"

#include "Documents/ClassRules.h"
#include "Mirror/MirrorError.h"
#include "Mirror/NodeCopy.h"
#include "Mirror/NodeWalk.h"

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

/// One publication under way.
class Publication {
public:
    Publication(Documents::Program const & program, AllFunctionStatus & status,
                FunctionDigests & digests)
        : program_(program), status_(status), store_(status.nodes()), digests_(digests) {}

    PublishCounts run(U32 marker);

private:
    void compareFunctions();
    void indexValues();
    AetNodeBase const * equalValue(AetNodeBase const & node) const;
    void collectNewNodes();
    void keep(AetNodeBase const & root);
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
    std::unordered_multimap<U32, AetNodeBase const *> values_; ///< of the store, by hash
    /// The stored node that stands for a node of the program; null while it is to be made.
    std::unordered_map<AetNodeBase const *, AetNodeBase const *> stored_;
    std::vector<AetNodeBase const *> new_; ///< of the program, children first
    std::unordered_set<AetNodeBase const *> kept_;
    std::unordered_map<AetNodeBase const *, U64> keys_; ///< of new nodes
};

PublishCounts Publication::run(U32 marker) {
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

void Publication::compareFunctions() {
    kept_.reserve(store_.size());
    std::unordered_set<std::string_view> names;
    for (auto const & function : program_.functions) {
        names.insert(function->funcName());
        auto const published =
            ptrCast<Function const>(status_.aet(std::string_view(function->funcName())));
        if (published && digests_.of(*published) == digests_.of(*function)) {
            stored_[function.get()] = published.get();
            keep(*published);
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
        if (isSharedValue(*node)) {
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

void Publication::collectNewNodes() {
    auto const enter = [this](AetNodeBase const & node) {
        auto const [entry, isNew] = stored_.try_emplace(&node, nullptr);
        if (!isNew) {
            return false;
        }
        entry->second = equalValue(node);
        if (entry->second != nullptr) {
            keep(*entry->second);
        }
        return entry->second == nullptr;
    };
    stored_.reserve(program_.nodes.size());
    for (Function const * const function : changed_) {
        walkChildrenFirst(*function, enter,
                          [this](AetNodeBase const & node) { new_.push_back(&node); });
    }
}

void Publication::keep(AetNodeBase const & root) {
    walkChildrenFirst(
        root, [this](AetNodeBase const & node) { return kept_.insert(&node).second; },
        [](AetNodeBase const &) {});
}

bool Publication::keysAreFree() const {
    return std::none_of(new_.begin(), new_.end(), [this](AetNodeBase const * node) {
        return static_cast<bool>(
            store_.anyNode(node->aetNodeKey(), [this](AetNodeBase const & present) {
                return kept_.contains(&present);
            }));
    });
}

// Above all keys; where that is too high, in the first gap that is wide enough.
U64 Publication::firstFreshKey() const {
    std::vector<U64> keys{0, ~U64{0}};
    for (AetNodeBase const * const node : kept_) {
        keys.push_back(node->aetNodeKey());
    }
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
    bool const asInProgram = keysAreFree();
    auto inOrder = new_;
    std::sort(inOrder.begin(), inOrder.end(), [](AetNodeBase const * a, AetNodeBase const * b) {
        return a->aetNodeKey() < b->aetNodeKey();
    });
    keys_.reserve(new_.size());
    U64 fresh = asInProgram ? 0 : firstFreshKey();
    for (AetNodeBase const * const node : inOrder) {
        keys_[node] = asInProgram ? node->aetNodeKey() : fresh++;
    }
}

void Publication::removeUnused() {
    std::vector<Ptr<AetNodeBase>> unused;
    store_.forEachNode([&](Ptr<AetNodeBase> const & node) {
        if (!kept_.contains(node.get())) {
            unused.push_back(node);
        }
    });
    counts_.nodesRemoved = unused.size();
    for (auto const & node : unused) {
        store_.nodeDel(collectionOf(*node), node->aetNodeKey());
    }
}

// A node of the program that needs no other key or child goes in as it is.
void Publication::addNewNodes() {
    auto const mapped = [this](AetNodeBase const & child) {
        return PtrConst<AetNodeBase>(stored_.at(&child));
    };
    for (AetNodeBase const * const node : new_) {
        U64 const key = keys_.at(node);
        bool same = key == node->aetNodeKey();
        node->typeData().visitChildren(
            *node, [&](Eval::FieldInfo const &, AetNodeBase const * child) {
                same = same && (child == nullptr || stored_.at(child) == child);
            });
        Ptr<AetNodeBase> const made =
            same ? constCast(PtrConst<AetNodeBase>(node)) : copyNode(*node, key, mapped);
        stored_[node] = store_.nodeIs(made).get();
    }
    counts_.nodesAdded = new_.size();
}

void Publication::setFunctions() {
    for (String const & name : vanished_) {
        status_.aetDel(name);
    }
    for (Function const * const function : changed_) {
        auto const * const stored = static_cast<Function const *>(stored_.at(function));
        status_.aetIs(function->funcName(), PtrConst<Eval::FunctionBase>(stored));
    }
    counts_.functionsRemoved = vanished_.size();
    counts_.functionsSet = changed_.size();
}

} // namespace

PublishCounts publishProgram(Documents::Program const & program, AllFunctionStatus & status,
                             FunctionDigests & digests, U32 marker) {
    return Publication(program, status, digests).run(marker);
}

} // namespace Qcf::Mirror
