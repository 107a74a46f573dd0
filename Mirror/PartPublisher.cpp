#include "Mirror/PartPublisher.h"

#include "Mirror/FunctionComparison.h"
#include "Mirror/MirrorError.h"
#include "Mirror/NodeCopy.h"
#include "Mirror/Publishable.h"
#include "Platform/Render/Utf8.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfAllAetEntities.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <unordered_set>

/// A change of some functions: what it sets, what it lets go of, and nothing else. What the rest of
/// the status uses is counted beforehand and kept.
namespace Qcf::Mirror {

namespace {

using Eval::AetNodeBase;
using Eval::Function;

/// What of a part differs from what is published.
class PartChange {
public:
    using Node = AetNodeBase;

    PartChange(AllFunctionStatus & status, StoreUse & use)
        : status_(status), store_(status.nodes()), use_(use) {}

    /// Looks for what differs and changes nothing.
    void find(Documents::Program const & part, std::vector<String> const & gone);
    bool empty() const { return changed_.empty() && gone_.empty(); }
    /// Whether what goes was counted. It was not if somebody has just changed a name, and is
    /// telling others of it first.
    bool isCounted() const;
    std::size_t newNodes() const { return new_.size(); }
    /// Takes what goes out of use. Throws, and puts it back, when somebody who stays calls it.
    void dropOld();
    /// Changes the status; new nodes get the keys behind `largestKey`.
    PublishCounts make(U64 largestKey);

private:
    Function const * published(String const & name) const;
    void compare(Documents::Program const & part);
    void findOld();
    bool isNew(Node const & node);
    void addNewNodes(U64 largestKey);
    U64 removeUnused();

    AllFunctionStatus & status_;
    AetCollections & store_;
    StoreUse & use_;
    std::vector<Function const *> changed_;
    std::vector<String> gone_;
    std::vector<PtrConst<Eval::FunctionBase>> old_; ///< held, for their nodes are looked at late
    /// Of nodes of changed functions, and of unchanged functions; null while one is to be made.
    std::unordered_map<Node const *, Node const *> standIns_;
    std::vector<Node const *> new_;    ///< children before parents
    std::vector<Node const *> unused_; ///< when the old functions were dropped
};

Function const * PartChange::published(String const & name) const {
    auto const function = status_.aet(std::string_view(name));
    return function && !isTooDeep(*function) ? Eval::as<Function>(*function) : nullptr;
}

void PartChange::compare(Documents::Program const & part) {
    FunctionComparison comparison(FunctionComparison::stepsFor(part.nodes.size()));
    FunctionDigests digests;
    for (auto const & function : part.functions) {
        auto const * const before = published(function->funcName());
        auto equal = before == nullptr ? false : comparison.equal(*function, *before);
        if (!equal) {
            equal = digests.of(*function) == digests.of(*before);
        }
        if (*equal) {
            standIns_[function.get()] = before;
        } else {
            changed_.push_back(function.get());
        }
    }
}

void PartChange::find(Documents::Program const & part, std::vector<String> const & gone) {
    compare(part);
    std::unordered_set<std::string_view> names;
    for (auto const & function : part.functions) {
        if (!names.insert(function->funcName()).second) {
            throw MirrorError("function \"" + oneLine(function->funcName(), 100) +
                              "\" is given twice");
        }
    }
    for (String const & name : gone) {
        if (names.insert(name).second && status_.aet(std::string_view(name))) {
            gone_.push_back(name);
        }
    }
    for (Function const * const function : changed_) {
        walkTree(
            *function, [this](Eval::WalkedNode const & at) { return isNew(at.node); },
            [this](Node const & node) { new_.push_back(&node); });
    }
    findOld();
}

void PartChange::findOld() {
    auto const note = [this](String const & name) {
        if (auto const function = status_.aet(std::string_view(name))) {
            old_.push_back(function);
        }
    };
    for (Function const * const function : changed_) {
        note(function->funcName());
    }
    std::for_each(gone_.begin(), gone_.end(), note);
}

bool PartChange::isCounted() const {
    return std::all_of(old_.begin(), old_.end(),
                       [this](auto const & function) { return use_.isNamed(*function); });
}

bool PartChange::isNew(Node const & node) {
    auto const [at, isFirst] = standIns_.try_emplace(&node, nullptr);
    if (isFirst) {
        at->second = store_.holds(node) ? &node : use_.equalValue(node);
    }
    return isFirst && at->second == nullptr;
}

void PartChange::dropOld() {
    for (auto const & function : old_) {
        use_.drop(*function, unused_);
    }
    auto const called = std::find_if(
        old_.begin(), old_.end(), [this](auto const & function) { return use_.isHeld(*function); });
    if (called != old_.end()) {
        for (auto const & function : old_) {
            use_.add(*function);
        }
        throw MirrorError("function \"" + oneLine((*called)->funcName(), 100) +
                          "\" wants those that call it to be given, too");
    }
}

// Keys rise as the part's do: the log of an evaluation is in the order of keys.
void PartChange::addNewNodes(U64 largestKey) {
    std::vector<std::size_t> inOrder(new_.size());
    std::iota(inOrder.begin(), inOrder.end(), std::size_t{0});
    std::sort(inOrder.begin(), inOrder.end(), [this](std::size_t a, std::size_t b) {
        return new_[a]->aetNodeKey() < new_[b]->aetNodeKey();
    });
    std::vector<U64> keys(new_.size());
    for (std::size_t const at : inOrder) {
        keys[at] = ++largestKey;
    }
    auto const standInOf = [this](Node const & child) {
        return PtrConst<Node>(standIns_.at(&child));
    };
    for (std::size_t i = 0; i < new_.size(); ++i) {
        standIns_[new_[i]] = store_.nodeIs(copyNode(*new_[i], keys[i], standInOf)).get();
    }
}

U64 PartChange::removeUnused() {
    // All before the first one goes: what is no member may go with it.
    std::erase_if(unused_,
                  [this](Node const * node) { return use_.isUsed(*node) || !store_.holds(*node); });
    for (Node const * const node : unused_) {
        store_.nodeDel(static_cast<U16>(node->typeData().number()), node->aetNodeKey());
    }
    return unused_.size();
}

PublishCounts PartChange::make(U64 largestKey) {
    PublishCounts counts;
    addNewNodes(largestKey);
    for (Function const * const function : changed_) {
        auto const * const stored = static_cast<Function const *>(standIns_.at(function));
        use_.add(*stored);
        status_.aetIs(function->funcName(), PtrConst<Eval::FunctionBase>(stored));
    }
    for (String const & name : gone_) {
        status_.aetDel(name);
    }
    counts.functionsSet = changed_.size();
    counts.functionsRemoved = gone_.size();
    counts.nodesAdded = new_.size();
    counts.nodesRemoved = removeUnused();
    return counts;
}

} // namespace

PartPublisher::PartPublisher(Ptr<AllFunctionStatus> status)
    : status_(std::move(status)),
      subscription_(status_->publisher().subscribe([this](Notification const & notification) {
          // Markers and flags are none of its matters.
          std::string_view const attribute = notification.attribute;
          if (attribute == "aet" || attribute == "aetNodes") {
              isKnown_ = false;
              ++told_;
          }
      })) {
    status_->aetNodesIs();
}

PartPublisher::~PartPublisher() {
    // The status lives on, and would call what is gone.
    status_->publisher().unsubscribe(subscription_);
    unfollowStore();
}

void PartPublisher::followStore() {
    unfollowStore();
    store_ = status_->aetNodesIs();
    store_->followerIs(changes_);
}

void PartPublisher::unfollowStore() {
    if (store_) {
        store_->followerDel(changes_);
    }
}

void PartPublisher::know() {
    if (!isKnown_ || changes_.touched()) {
        count();
    }
}

void PartPublisher::count() {
    followStore();
    use_.clear();
    for (auto const & [name, function] : status_->aet()) {
        use_.add(*function);
    }
    largestKey_ = 0;
    store_->forEachNode([this](Ptr<AetNodeBase> const & node) {
        largestKey_ = std::max(largestKey_, node->aetNodeKey());
    });
    changes_.clear();
    isKnown_ = true;
}

PublishCounts PartPublisher::publishWhole(Documents::Program const & program, U32 marker) {
    std::unordered_set<std::string_view> names;
    for (auto const & function : program.functions) {
        names.insert(function->funcName());
    }
    std::vector<String> gone;
    for (auto const & [name, function] : status_->aet()) {
        if (!names.contains(name)) {
            gone.push_back(name);
        }
    }
    return publish(program, gone, marker);
}

PublishCounts PartPublisher::publish(Documents::Program const & part,
                                     std::vector<String> const & gone, U32 marker) {
    for (auto const & function : part.functions) {
        // Before walks go down the trees.
        checkPublishable(*function);
    }
    know();
    std::optional<PartChange> change;
    change.emplace(*status_, use_).find(part, gone);
    if (change->empty()) {
        return {};
    }
    if (!change->isCounted()) {
        count();
        change.emplace(*status_, use_).find(part, gone);
    }
    if (~U64{0} - largestKey_ <= change->newNodes()) {
        throw MirrorError("no keys are left above " + std::to_string(largestKey_));
    }
    change->dropOld();
    // Whoever throws below leaves counts that are not those of the status.
    isKnown_ = false;
    U64 const told = told_;
    status_->startOfDedupedFunctionUpdatesMarkerIs(marker);
    PublishCounts const counts = change->make(largestKey_);
    largestKey_ += change->newNodes();
    // Whoever was told of a change may have made others.
    isKnown_ = told_ - told == counts.functionsSet + counts.functionsRemoved &&
               changes_.changes().size() == counts.nodesAdded + counts.nodesRemoved;
    changes_.clear();
    status_->dedupedFunctionsPresentIs(true);
    // Last: whoever follows may change the status when it is told.
    status_->endOfDedupedFunctionUpdatesMarkerIs(marker);
    return counts;
}

} // namespace Qcf::Mirror
