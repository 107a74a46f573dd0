#pragma once

#include "QcfLib/QcfEval.h"

#include <unordered_map>
#include <vector>

/// Bounds of a plan in proportion to its function, so that no tree from outside makes a plan that
/// is out of all proportion to it.
namespace Qcf::Eval {

/// How much a plan may still take. A tree may share nodes, of which every place has steps of its
/// own, call much, and be deep: what would make too many steps, or stands too deep, is evaluated as
/// it stands. Without sharing a tree has as many parts as nodes at most.
///
/// One budget serves the making of one plan, on one thread.
class PlanBudget {
public:
    /// `ownNodes` are the function's, each once: what a plan may have grows with what somebody
    /// wrote, not with the places in which it is used.
    explicit PlanBudget(std::size_t ownNodes)
        : parts_(smallestBudget + partsPerNode * ownNodes),
          callees_(parts_),
          roomForConstants(parts_) {}

    /// One level deeper for as long as it lives. Levels count through inlined calls, too: lowering
    /// recurses, and the stack is what it would use up.
    class Level {
    public:
        explicit Level(PlanBudget & budget) : budget_(budget) { ++budget_.depth_; }
        Level(Level const &) = delete;
        Level & operator=(Level const &) = delete;
        ~Level() { --budget_.depth_; }

    private:
        PlanBudget & budget_;
    };
    /// Whether the present level is beyond the deepest that is lowered.
    bool isTooDeep() const { return depth_ > deepestLevel; }

    /// Takes so many statements, conditions or operands; false when they are too many. Nothing is
    /// taken when they do not fit; smaller pieces may still do.
    bool take(std::size_t parts) {
        bool const fits = parts <= parts_;
        parts_ -= fits ? parts : 0;
        return fits;
    }

    /// Nodes that the next callee may have at most, and what it took.
    std::size_t roomForCallee() const { return std::min(callees_, largestCallee); }
    void takeCallee(std::size_t nodes) { callees_ -= nodes; }

    /// The links of a chain from this one on; each is walked once, however many places share it.
    /// `next` gives a link's successor. Chains may share their ends: walking such ends again for
    /// each head would take quadratic time.
    template <typename Link, typename Next>
    std::size_t lengthOf(Link const * link, Next next) {
        std::vector<Link const *> unknown;
        for (; link != nullptr && !lengths_.contains(link); link = next(*link)) {
            unknown.push_back(link);
        }
        // The walk ended at the end of the chain, or at a link that was counted for another head.
        std::size_t length = link == nullptr ? 0 : lengths_.at(link);
        while (!unknown.empty()) {
            lengths_.emplace(unknown.back(), ++length);
            unknown.pop_back();
        }
        return length;
    }

private:
    /// Even a function of two nodes may inline a little.
    static constexpr std::size_t smallestBudget = 64;
    /// Sharing that multiplies the steps by more than this is left to the nodes.
    static constexpr std::size_t partsPerNode = 4;
    /// Bounds what one call adds to the plan; a larger callee is called.
    static constexpr std::size_t largestCallee = 128;
    /// What stands deeper is evaluated as it stands, so that the recursion of lowering has a bound.
    static constexpr std::size_t deepestLevel = 100;

    std::size_t parts_;
    std::size_t callees_; ///< nodes of callees that may still be inlined
    std::unordered_map<void const *, std::size_t> lengths_; ///< of chains, from a link on
    std::size_t depth_ = 0;

public:
    std::size_t roomForConstants; ///< constants that may still be put into tables of their own
};

} // namespace Qcf::Eval
