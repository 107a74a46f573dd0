#include "Mirror/ProgramDifference.h"

#include "Mirror/Publishable.h"
#include "Platform/Framework/Assert.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfAllAetEntities.h"

#include <algorithm>

/// Finds what of a program is published already, so that publishing the same again does nothing and
/// a small change stays small. Functions are compared by digest, values by hash and then by
/// content.
namespace Qcf::Mirror {

namespace {

using Eval::AetNodeBase;
using Eval::Function;

/// Values are not logged, so that their keys do not matter. Links of lists go with their lists.
bool isSharedValue(AetNodeBase const & node) {
    Eval::ClassFacts const & facts = node.typeData().facts;
    return facts.isShared && !facts.isLink;
}

} // namespace

ProgramDifference::ProgramDifference(Documents::Program const & program,
                                     AllFunctionStatus const & status, FunctionDigests & digests)
    : program_(program),
      status_(status),
      store_(status.nodes()),
      digests_(digests),
      places_(program.nodes),
      standIns_(program.nodes.size()),
      stays_(store_.slots()) {
    for (auto const & function : program_.functions) {
        // Before digests and walks go down the trees.
        checkPublishable(*function);
    }
    compareFunctions();
    // Where nothing differs, the walk over the store is spared.
    if (!empty()) {
        indexValues();
        collectNewNodes();
    }
}

U32 ProgramDifference::placeOf(Node const & node) const {
    auto const place = places_.find(node.aetNodeKey());
    QCF_ASSERT_TEXT(place && program_.nodes[*place] == &node,
                    "a program lists every node of its functions, each under a key of its own");
    return *place;
}

/// What is published under the name, if it could have been published by us.
Function const * ProgramDifference::publishedFunction(String const & name) const {
    auto const function = status_.aet(std::string_view(name));
    return function && !isTooDeep(*function) ? Eval::as<Function>(*function) : nullptr;
}

void ProgramDifference::compareFunctions() {
    std::unordered_set<std::string_view> names;
    for (auto const & function : program_.functions) {
        names.insert(function->funcName());
        auto const * const before = publishedFunction(function->funcName());
        if (before != nullptr && digests_.of(*before) == digests_.of(*function)) {
            // Whoever calls it and is set anew is to call the published one.
            standIns_[placeOf(*function)] = before;
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

void ProgramDifference::indexValues() {
    values_.reserve(store_.size());
    store_.forEachNode([this](Ptr<AetNodeBase> const & node) {
        if (isSharedValue(*node) && !isTooDeep(*node)) {
            // By hash alone: equalValue looks at the content.
            values_.emplace(node->hash(0), node.get());
        }
    });
}

AetNodeBase const * ProgramDifference::equalValue(Node const & node) const {
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
void ProgramDifference::collectNewNodes() {
    std::vector<bool> used(program_.nodes.size());
    for (Function const * const function : changed_) {
        used[placeOf(*function)] = true;
    }
    for (auto place = static_cast<U32>(used.size()); place-- > 0;) {
        if (used[place] && standIns_[place] == nullptr) {
            useNode(place, used);
        }
    }
    // Found parents first, made children first.
    std::reverse(new_.begin(), new_.end());
}

void ProgramDifference::useNode(U32 place, std::vector<bool> & used) {
    Node const & node = *program_.nodes[place];
    if (auto const * const equal = equalValue(node)) {
        standIns_[place] = equal;
        // What is under the equal value stays with it; what the program has there is not needed.
        keep(*equal);
        return;
    }
    new_.push_back(place);
    node.typeData().visitChildren(node, [&](Eval::FieldInfo const &, Node const * child) {
        if (child != nullptr) {
            U32 const childPlace = placeOf(*child);
            QCF_ASSERT_TEXT(childPlace < place, "a program lists children before their parents");
            used[childPlace] = true;
        }
    });
}

// A function that was published otherwise may hold nodes that are no members: they stay with it.
void ProgramDifference::keep(Node const & root) {
    walkTree(root, [this](Eval::WalkedNode const & at) {
        std::size_t const slot = store_.slotOf(at.node);
        if (slot == AetCollections::noSlot) {
            return loose_.insert(&at.node).second;
        }
        bool const isNew = !stays_[slot];
        stays_[slot] = true;
        return isNew;
    });
}

} // namespace Qcf::Mirror
