#include "Mirror/ProgramPublication.h"

#include "Documents/KeyTable.h"
#include "Mirror/MirrorError.h"
#include "Mirror/NodeCopy.h"
#include "Mirror/ProgramDifference.h"
#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfAllAetEntities.h"

#include <algorithm>
#include <numeric>

/// Changes a status as little as a program allows. What differs was found before; here the new
/// nodes get keys, and the status is changed between its markers.
namespace Qcf::Mirror {

namespace {

using Eval::AetNodeBase;
using Eval::Function;

/// One publication under way: gives the new nodes their keys, and changes the status.
class Publication {
public:
    Publication(Documents::Program const & program, AllFunctionStatus & status,
                FunctionDigests & digests)
        : status_(status), store_(status.nodes()), difference_(program, status, digests) {}

    PublishCounts run(U32 marker);

private:
    bool keysAreFree() const;
    U64 firstFreshKey() const;
    U64 firstFreshKeyInGap() const;
    void assignKeys();
    void removeUnused();
    void addNewNodes();
    bool canBecomeMember(AetNodeBase const & node, U64 key) const;
    void setFunctions();

    AllFunctionStatus & status_;
    AetCollections & store_;
    ProgramDifference difference_;
    std::vector<U64> newKeys_; ///< for each of the new nodes
    PublishCounts counts_;
};

// Whatever can throw comes before the first marker.
PublishCounts Publication::run(U32 marker) {
    if (difference_.empty()) {
        return counts_;
    }
    assignKeys();
    status_.startOfDedupedFunctionUpdatesMarkerIs(marker);
    // First, for new nodes may take the keys of those that go.
    removeUnused();
    addNewNodes();
    setFunctions();
    status_.dedupedFunctionsPresentIs(true);
    status_.endOfDedupedFunctionUpdatesMarkerIs(marker);
    return counts_;
}

bool Publication::keysAreFree() const {
    auto const stays = [this](AetNodeBase const & present) { return difference_.stays(present); };
    return std::none_of(newKeys_.begin(), newKeys_.end(),
                        [&](U64 key) { return static_cast<bool>(store_.anyNode(key, stays)); });
}

// Above all keys; where that is too high, in the first gap that is wide enough.
U64 Publication::firstFreshKey() const {
    U64 largest = 0;
    store_.forEachNode([&](Ptr<AetNodeBase> const & node) {
        if (node->aetNodeKey() > largest && difference_.stays(*node)) {
            largest = node->aetNodeKey();
        }
    });
    return ~U64{0} - largest > newKeys_.size() ? largest + 1 : firstFreshKeyInGap();
}

U64 Publication::firstFreshKeyInGap() const {
    // Both ends count as keys, so that a gap before the first or behind the last is one, too.
    std::vector<U64> keys{0, ~U64{0}};
    store_.forEachNode([&](Ptr<AetNodeBase> const & node) {
        if (difference_.stays(*node)) {
            keys.push_back(node->aetNodeKey());
        }
    });
    std::sort(keys.begin(), keys.end());
    std::size_t const wanted = newKeys_.size();
    for (std::size_t i = 0; i + 1 < keys.size(); ++i) {
        if (keys[i + 1] - keys[i] > wanted) {
            return keys[i] + 1;
        }
    }
    throw MirrorError("no keys are left for " + std::to_string(wanted) + " nodes");
}

// Fresh keys rise as the program's do: the log of an evaluation is in the order of keys.
void Publication::assignKeys() {
    newKeys_.reserve(difference_.newNodes().size());
    // Keys of the program are kept if all of them can be: a mixture would not be in order.
    Documents::KeyTable given;
    for (AetNodeBase const * const node : difference_.newNodes()) {
        U64 const key = node->aetNodeKey();
        QCF_ASSERT_TEXT(!given.find(key), "each node of a program has a key of its own");
        given.insert(key, 0);
        newKeys_.push_back(key);
    }
    if (keysAreFree()) {
        return;
    }
    std::vector<std::size_t> inOrder(newKeys_.size());
    std::iota(inOrder.begin(), inOrder.end(), std::size_t{0});
    std::sort(inOrder.begin(), inOrder.end(),
              [this](std::size_t a, std::size_t b) { return newKeys_[a] < newKeys_[b]; });
    U64 fresh = firstFreshKey();
    for (std::size_t const at : inOrder) {
        newKeys_[at] = fresh++;
    }
}

void Publication::removeUnused() {
    // Collected first: the store must not change while it is walked.
    std::vector<Ptr<AetNodeBase>> unused;
    store_.forEachNode([&](Ptr<AetNodeBase> const & node) {
        if (!difference_.stays(*node)) {
            unused.push_back(node);
        }
    });
    counts_.nodesRemoved = unused.size();
    for (auto const & node : unused) {
        store_.nodeDel(static_cast<U16>(node->typeData().number()), node->aetNodeKey());
    }
}

/// A node of the program that needs no other key or child, unless it is in a store already.
bool Publication::canBecomeMember(AetNodeBase const & node, U64 key) const {
    bool same = key == node.aetNodeKey() && node.parent() == nullptr;
    node.typeData().visitChildren(node, [&](Eval::FieldInfo const &, AetNodeBase const * child) {
        same = same && (child == nullptr || difference_.standIn(*child) == child);
    });
    return same;
}

void Publication::addNewNodes() {
    auto const standInOf = [this](AetNodeBase const & child) {
        return PtrConst<AetNodeBase>(difference_.standIn(child));
    };
    auto const & nodes = difference_.newNodes();
    store_.reserveMore(nodes.size());
    // Children come first, so that what stands for them is there.
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        AetNodeBase const & node = *nodes[i];
        Ptr<AetNodeBase> const member = canBecomeMember(node, newKeys_[i])
                                            ? constCast(PtrConst<AetNodeBase>(&node))
                                            : copyNode(node, newKeys_[i], standInOf);
        difference_.standInIs(node, store_.nodeIs(member).get());
    }
    counts_.nodesAdded = nodes.size();
}

void Publication::setFunctions() {
    for (String const & name : difference_.vanishedFunctions()) {
        status_.aetDel(name);
    }
    for (Function const * const function : difference_.changedFunctions()) {
        auto const * const stored = static_cast<Function const *>(difference_.standIn(*function));
        status_.aetIs(function->funcName(), PtrConst<Eval::FunctionBase>(stored));
    }
    counts_.functionsRemoved = difference_.vanishedFunctions().size();
    counts_.functionsSet = difference_.changedFunctions().size();
}

} // namespace

PublishCounts publishProgram(Documents::Program const & program, AllFunctionStatus & status,
                             FunctionDigests & digests, U32 marker) {
    // A program is compared with a store, even if that is empty.
    status.aetNodesIs();
    PublishCounts const counts = Publication(program, status, digests).run(marker);
    // They hold functions, of the program and of those that went.
    digests.clear();
    return counts;
}

} // namespace Qcf::Mirror
