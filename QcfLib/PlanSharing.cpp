#include "QcfLib/PlanLowering.h"
#include "QcfLib/PlanNodes.h"

#include <algorithm>

namespace Qcf::Eval {

namespace {

/// So many tests of one attribute are worth an index, so many reads a slot.
constexpr std::size_t testsForIndex = 3;
constexpr std::size_t readsForSlot = 2;

template <typename Node>
bool is(AetNodeBase const & node) {
    return as<Node>(node) != nullptr;
}

bool isOnlyReading(Expression const & node);

bool areOnlyReading(ExpressionList const * link) {
    for (; link != nullptr; link = link->next().get()) {
        if (!isOnlyReading(*link->entry())) {
            return false;
        }
    }
    return true;
}

/// Expressions that change nothing and call nothing that could.
bool isOnlyReading(Expression const & node) {
    if (is<NotExpression>(node)) {
        return isOnlyReading(*static_cast<NotExpression const &>(node).expr());
    }
    if (is<LogicalOperatorExpression>(node)) {
        auto const & logical = static_cast<LogicalOperatorExpression const &>(node);
        return areOnlyReading(logical.expressionList().get());
    }
    static constexpr U16 readers[] = {TriStateBoolExpression::classNumber,
                                      IntIs::classNumber,
                                      IntLessThan::classNumber,
                                      IntLessThanEq::classNumber,
                                      IntGreaterThan::classNumber,
                                      IntGreaterThanEq::classNumber,
                                      IntInImmediateSet::classNumber,
                                      IntInImmediateSetWithRanges::classNumber,
                                      IntMatchTagSet::classNumber,
                                      TriStateBoolIs::classNumber,
                                      MacAddressIs::classNumber,
                                      IpAddressIs::classNumber,
                                      IpAddressIsAddrZero::classNumber,
                                      IpAddressMatchPrefixList::classNumber,
                                      IpPrefixIs::classNumber,
                                      IpPrefixCoveredBy::classNumber,
                                      IpPrefixMatchPrefixList::classNumber,
                                      IpPrefixMatchCoveredPrefixList::classNumber,
                                      CommunityValueIs::classNumber,
                                      CommunityValueIn::classNumber,
                                      IntSetHasAnyImmediate::classNumber,
                                      IntSetHasAllImmediate::classNumber,
                                      IntSetHasNoneImmediate::classNumber,
                                      IntSetAllInImmediate::classNumber,
                                      IntSetIsImmediate::classNumber,
                                      IntSetIsEmpty::classNumber,
                                      IntSetMatchCommList::classNumber,
                                      AsPathMatchAsPathAccessList::classNumber,
                                      CommunitySetHasAnyImmediate::classNumber,
                                      CommunitySetHasAllImmediate::classNumber,
                                      CommunitySetHasNoneImmediate::classNumber};
    std::size_t const number = node.typeData().number();
    return std::find(std::begin(readers), std::end(readers), number) != std::end(readers);
}

template <typename Node>
U64SmallVector const * constantsOf(Node const & node) {
    bool const literal = is<IntSetImmediate>(*node.rhs());
    return literal ? static_cast<IntSetImmediate const &>(*node.rhs()).cachedGetVal() : nullptr;
}

CommunitySmallVector const * constantsOf(CommunitySetHasAnyImmediate const & node) {
    bool const literal = is<CommunitySetImmediate>(*node.rhs());
    return literal ? static_cast<CommunitySetImmediate const &>(*node.rhs()).cachedGetVal()
                   : nullptr;
}

/// Adds a test of that class against a constant set to the tests of its operand.
template <typename Node, typename Tests>
bool collectTest(Expression const & node, Tests & tests) {
    if (!is<Node>(node)) {
        return false;
    }
    auto const & test = static_cast<Node const &>(node);
    if (constantsOf(test) != nullptr) {
        tests[identity(*test.lhs())].push_back(&test);
    }
    return true;
}

template <typename Node, typename Reads>
bool collectRead(Expression const & node, Reads & reads) {
    if (!is<Node>(node)) {
        return false;
    }
    ++reads[identity(*static_cast<Node const &>(node).lhs())];
    return true;
}

} // namespace

ChainSharing::ChainSharing(std::vector<Expression const *> const & conditions) {
    if (conditions.size() < 2) {
        return;
    }
    for (Expression const * const condition : conditions) {
        if (!isOnlyReading(*condition)) {
            return;
        }
    }
    for (Expression const * const condition : conditions) {
        collect(*condition);
    }
    index<IntIndex>(intTests_);
    index<SetIndex<U64SmallVector>>(intSetTests_);
    index<SetIndex<CommunitySmallVector>>(communitySetTests_);
    shareReads();
}

void ChainSharing::collect(Expression const & condition) {
    if (is<NotExpression>(condition)) {
        collect(*static_cast<NotExpression const &>(condition).expr());
    } else if (is<LogicalOperatorExpression>(condition)) {
        auto const & logical = static_cast<LogicalOperatorExpression const &>(condition);
        for (auto const * link = logical.expressionList().get(); link != nullptr;
             link = link->next().get()) {
            collect(*link->entry());
        }
    } else {
        collectTest<IntInImmediateSet>(condition, intTests_) ||
            collectTest<IntSetHasAnyImmediate>(condition, intSetTests_) ||
            collectTest<CommunitySetHasAnyImmediate>(condition, communitySetTests_) ||
            collectRead<IntIs>(condition, reads_) || collectRead<IntLessThan>(condition, reads_) ||
            collectRead<IntLessThanEq>(condition, reads_) ||
            collectRead<IntGreaterThan>(condition, reads_) ||
            collectRead<IntGreaterThanEq>(condition, reads_);
    }
}

template <typename Index, typename Node>
void ChainSharing::index(Tests<Node> const & tests) {
    for (auto const & [operand, nodes] : tests) {
        if (nodes.size() < testsForIndex || slotCount_ == PlanRun::slots) {
            if constexpr (std::is_same_v<Node, IntInImmediateSet>) {
                reads_[operand] += nodes.size();
            }
            continue;
        }
        auto built = std::make_unique<Index>(*nodes.front()->lhs());
        for (U8 test = 0; test < std::min(nodes.size(), PlanIndex::maxTests); ++test) {
            for (auto const & constant : *constantsOf(*nodes[test])) {
                built->table().insert(constant, test);
            }
            places_.emplace(nodes[test], Place{built.get(), slotCount_, test});
        }
        built->table().seal();
        indexes_.push_back(std::move(built));
        ++slotCount_;
    }
}

void ChainSharing::shareReads() {
    for (auto const & [operand, count] : reads_) {
        if (count >= readsForSlot && slotCount_ < PlanRun::slots) {
            slots_.emplace(operand, slotCount_++);
        }
    }
}

U8 ChainSharing::slotOf(Int const & operand) const {
    auto const found = slots_.find(identity(operand));
    return found == slots_.end() ? notShared : found->second;
}

ChainSharing::Place const * ChainSharing::placeOf(Expression const & test) const {
    auto const found = places_.find(&test);
    return found == places_.end() ? nullptr : &found->second;
}

std::size_t ChainSharing::caseBefore(std::vector<Expression const *> const & conditions,
                                     std::size_t end) const {
    std::size_t first = end - 1;
    for (Place const * later = placeOf(*conditions[first]); later != nullptr && first > 0;) {
        Place const * const earlier = placeOf(*conditions[first - 1]);
        bool const joins = earlier != nullptr && earlier->index == later->index &&
                           earlier->test + 1 == later->test;
        if (!joins) {
            break;
        }
        later = earlier;
        --first;
    }
    return end - first;
}

void ChainSharing::moveIndexes(std::vector<std::unique_ptr<PlanIndex const>> & keeper) {
    for (auto & index : indexes_) {
        keeper.push_back(std::move(index));
    }
    indexes_.clear();
}

} // namespace Qcf::Eval
