#include "Questions/FlipConstants.h"

#include "Agent/Routes/RouteAttributes.h"
#include "Lists/ListUses.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfEvalCollections.h"
#include "QcfLib/QcfEvalCommunityTypes.h"
#include "QcfLib/QcfEvalOperatorTypes.h"

#include <algorithm>

namespace Qcf::Questions {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes
using Lists::ListKind;
using Lists::ListRecord;

namespace {

template <typename Value>
void append(std::vector<Value> & to, std::vector<Value> const & more) {
    to.insert(to.end(), more.begin(), more.end());
}

template <typename Value>
void makeUnique(std::vector<Value> & values) {
    std::ranges::sort(values);
    values.erase(std::unique(values.begin(), values.end()), values.end());
}

/// Of the agent's kinds; both families of prefix lists are one.
std::optional<ListKind> listKindOf(SlotKind kind) {
    static constexpr std::pair<SlotKind, ListKind> kinds[] = {
        {SlotKind::commList, ListKind::communityList},
        {SlotKind::extCommList, ListKind::extCommunityList},
        {SlotKind::largeCommList, ListKind::largeCommunityList},
        {SlotKind::tagSet, ListKind::tagSet},
        {SlotKind::asPathAccessList, ListKind::asPathAccessList},
        {SlotKind::v4PrefixList, ListKind::prefixList},
        {SlotKind::v6PrefixList, ListKind::prefixList},
        {SlotKind::dynamicPrefixList, ListKind::dynamicPrefixList},
        {SlotKind::roaTable, ListKind::roaTable},
    };
    auto const * const row = std::ranges::find(kinds, kind, &std::pair<SlotKind, ListKind>::first);
    return row == std::end(kinds) ? std::nullopt : std::optional(row->second);
}

Facet facetOf(AttributeInfo const & attribute) {
    static constexpr std::pair<std::string_view, Facet> endings[] = {
        {".length", Facet::length},
        {".count", Facet::length},
        {".last_as", Facet::as},
        {".origin_as", Facet::as},
        {".ip_version", Facet::version}};
    std::string_view name = attribute.languageName;
    name.remove_prefix(name.starts_with(Agent::inputTwinPrefix) ? Agent::inputTwinPrefix.size()
                                                                : 0);
    if (Agent::findRouteAttribute(name)) {
        return Facet::value;
    }
    auto const * const row = std::ranges::find_if(
        endings, [&](auto const & each) { return name.ends_with(each.first); });
    return row == std::end(endings) ? Facet::value : row->second;
}

/// Takes the constant out of a node that is one.
void addConstant(Constants & to, AetNodeBase const & node) {
    if (auto const * const integer = as<IntImmediate>(node); integer && !integer->negative()) {
        to.integers.push_back(integer->value());
    } else if (auto const * const table = as<RoaTableImmediate>(node)) {
        to.integers.push_back(table->number());
    } else if (auto const * const bandwidth = as<BandwidthImmediate>(node)) {
        to.bandwidths.push_back(bandwidth->value());
    } else if (auto const * const address = as<IpAddressImmediate>(node)) {
        to.addresses.push_back(address->value());
    } else if (auto const * const prefix = as<IpPrefixImmediate>(node)) {
        to.prefixes.push_back(prefix->value());
    } else if (auto const * const interface = as<InterfaceImmediate>(node)) {
        to.interfaces.push_back(interface->value());
    } else if (auto const * const mac = as<MacAddressImmediate>(node)) {
        to.macs.push_back(mac->value());
    } else if (auto const * const segment = as<EsiImmediate>(node); segment && segment->value()) {
        to.segments.push_back(*segment->value());
    } else if (auto const * const community = as<CommunityValueImmediate>(node)) {
        to.communities.push_back(community->value());
    }
}

/// The literals among the elements of a set; what is worked out has no value here.
void addSet(Constants & to, AetNodeBase const & set) {
    Constants elements;
    walkTree(set, [&](WalkedNode const & at) {
        addConstant(elements, at.node);
        return true;
    });
    if (is<IntSetImmediate>(set)) {
        makeUnique(elements.integers);
        to.integerSets.push_back(std::move(elements.integers));
    } else {
        makeUnique(elements.communities);
        to.communitySets.push_back(std::move(elements.communities));
    }
}

bool isPlainConstant(AetNodeBase const & node) {
    return is<IntImmediate>(node) || is<RoaTableImmediate>(node) || is<IntSetImmediate>(node) ||
           is<IntListImmediate>(node) || is<IntLinkedList>(node);
}

bool comparesIntegers(AetNodeBase const & node) {
    return node.typeData().facts.compares != ComparisonOrder::none || is<IntInImmediateSet>(node) ||
           is<IntInImmediateSetWithRanges>(node);
}

} // namespace

void Constants::add(Constants const & more) {
    append(integers, more.integers);
    append(bandwidths, more.bandwidths);
    append(addresses, more.addresses);
    append(prefixes, more.prefixes);
    append(interfaces, more.interfaces);
    append(macs, more.macs);
    append(segments, more.segments);
    append(communities, more.communities);
    append(integerSets, more.integerSets);
    append(communitySets, more.communitySets);
    append(lists, more.lists);
}

/// Goes through the expressions of a function, each once, and notes what meets in each.
class FlipGround::Expressions {
public:
    explicit Expressions(FlipGround & ground) : ground_(ground) {
        for (ListRecord const & record : ground.lists_) {
            records_[{record.kind(), record.name}] = &record;
        }
    }

    void take(Expression const & node);
    void finish();

private:
    /// What stands in one expression.
    struct Meeting {
        Constants constants;
        std::vector<std::pair<RoutePart, Facet>> attributes;
        RoutePartSet unnamed;
        bool hasOther = false; ///< beside attributes and plain constants
    };

    Meeting meetingOf(Expression const & node) const;
    void addTo(PartQuestions & questions, Facet facet, Meeting const & meeting,
               Expression const & node) const;
    void addList(Constants & to, AetNodeBase const & node) const;

    FlipGround & ground_;
    std::map<std::pair<ListKind, std::string_view>, ListRecord const *> records_;
    Constants all_;
    RoutePartSet spoiled_; ///< parts of which something else than a comparison is asked
};

void FlipGround::Expressions::addList(Constants & to, AetNodeBase const & node) const {
    auto const use = Lists::listUseOf(node);
    auto const kind = use ? listKindOf(use->kind) : std::nullopt;
    auto const record = kind ? records_.find({*kind, use->name}) : records_.end();
    if (record != records_.end()) {
        to.lists.push_back(record->second);
    }
}

FlipGround::Expressions::Meeting FlipGround::Expressions::meetingOf(Expression const & node) const {
    Meeting meeting;
    walkTree(node, [&](WalkedNode const & at) {
        NodeClass const & type = at.node.typeData();
        bool const isRoot = &at.node == &node;
        if (!isRoot && (type.isKind(NodeKind::expression) || type.isKind(NodeKind::functionBase) ||
                        is<ExpressionList>(at.node))) {
            return false;
        }
        meeting.unnamed |= partsReadUnnamed(at.node);
        addConstant(meeting.constants, at.node);
        addList(meeting.constants, at.node);
        if (is<IntSetImmediate>(at.node) || is<CommunitySetImmediate>(at.node)) {
            addSet(meeting.constants, at.node);
        }
        auto const part = type.attribute == nullptr
                              ? std::nullopt
                              : Agent::findRouteSource(type.attribute->languageName);
        if (part) {
            meeting.attributes.emplace_back(*part, facetOf(*type.attribute));
        } else if (!isRoot && !isPlainConstant(at.node)) {
            meeting.hasOther = true;
        }
        return true;
    });
    return meeting;
}

void FlipGround::Expressions::addTo(PartQuestions & questions, Facet facet, Meeting const & meeting,
                                    Expression const & node) const {
    bool const isStep = is<IntPlusEq>(node) || is<IntMinusEq>(node) || is<IntMultEq>(node);
    if (isStep) {
        append(questions.steps, meeting.constants.integers);
    } else if (facet == Facet::length) {
        append(questions.lengths, meeting.constants.integers);
    } else if (facet == Facet::version) {
        questions.asksVersion = true;
    } else {
        questions.constants.add(meeting.constants);
    }
    questions.isLinked = questions.isLinked || isStep || is<FunctionCallExpression>(node) ||
                         meeting.hasOther || meeting.attributes.size() > 1;
    for (auto const & [other, otherFacet] : meeting.attributes) {
        questions.partners.set(other);
    }
}

void FlipGround::Expressions::take(Expression const & node) {
    Meeting const meeting = meetingOf(node);
    all_.add(meeting.constants);
    bool const isAlone =
        meeting.attributes.size() == 1 && !meeting.hasOther && comparesIntegers(node);
    for (auto const & [part, facet] : meeting.attributes) {
        PartQuestions & questions = ground_.parts_[part];
        addTo(questions, facet, meeting, node);
        bool const isFirst = !ground_.asked_.test(part);
        if (!isAlone || (!isFirst && questions.compared != facet)) {
            spoiled_.set(part);
        }
        questions.compared = facet;
        ground_.asked_.set(part);
    }
    for (RoutePart part = 0; part < routePartCount; ++part) {
        if (meeting.unnamed.test(part)) {
            ground_.parts_[part].constants.add(meeting.constants);
            ground_.parts_[part].isLinked = true;
            ground_.asked_.set(part);
            spoiled_.set(part);
        }
    }
}

void FlipGround::Expressions::finish() {
    for (RoutePart part = 0; part < routePartCount; ++part) {
        PartQuestions & questions = ground_.parts_[part];
        if (questions.isLinked) {
            questions.constants.add(all_);
            append(questions.lengths, all_.integers);
        }
        if (spoiled_.test(part)) {
            questions.compared.reset();
        }
        questions.partners.reset(part);
        makeUnique(questions.constants.integers);
        makeUnique(questions.constants.lists);
        makeUnique(questions.constants.integerSets);
        makeUnique(questions.constants.communitySets);
        makeUnique(questions.lengths);
        makeUnique(questions.steps);
    }
}

FlipGround::FlipGround(Function const & function, std::vector<ListRecord> lists)
    : lists_(std::move(lists)) {
    Expressions expressions(*this);
    walkNodes(
        function,
        [&](WalkedNode const & at) {
            if (at.node.typeData().isKind(NodeKind::expression) && !is<Function>(at.node)) {
                expressions.take(static_cast<Expression const &>(at.node));
            }
            return true;
        },
        [](AetNodeBase const & /*node*/) {});
    expressions.finish();
}

} // namespace Qcf::Questions
