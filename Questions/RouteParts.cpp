#include "Questions/RouteParts.h"

#include "Agent/Routes/RouteAttributes.h"
#include "Agent/Routes/ValueRenderer.h"
#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfEvalCollections.h"
#include "QcfLib/QcfEvalCommunityTypes.h"
#include "QcfLib/QcfEvalOperatorTypes.h"

namespace Qcf::Questions {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes
using Agent::CommonAttributes;
using Agent::Route;
using Agent::routeIndexOf;

namespace {

constexpr char const * sessionNames[] = {"session.outbound", "session.local_as", "session.vrf_id"};

/// What a class asks of the agent beside the values of its operands.
struct Unnamed {
    U16 classNumber;
    std::initializer_list<RoutePart> parts;
};

Unnamed const unnamed[] = {
    {DynamicPrefixListImmediate::classNumber, {outboundPart, vrfPart}},
    {AsPathMatchAsPathAccessList::classNumber, {routeIndexOf<&CommonAttributes::origin>()}},
    {MatchOriginAsValidityImplExpr::classNumber,
     {routeIndexOf<&CommonAttributes::ipPrefix>(), routeIndexOf<&CommonAttributes::asPath>(),
      localAsPart}},
    {AsPathReplaceImplExpr::classNumber, {routeIndexOf<&CommonAttributes::asPath>()}},
    {AsPathRemoveImplExpr::classNumber, {routeIndexOf<&CommonAttributes::asPath>()}},
    {SetNextHopSelfImplExpr::classNumber, {outboundPart}},
    // An empty path is taken to be our own.
    {Attribute::AsPathOriginAs::classNumber, {localAsPart}},
    {Attribute::AsPathOriginAsInput::classNumber, {localAsPart}},
};

void addNamed(RoutePartSet & parts, AetNodeBase const & node) {
    AttributeInfo const * const attribute = node.typeData().attribute;
    auto const index =
        attribute == nullptr ? std::nullopt : Agent::findRouteSource(attribute->languageName);
    if (index) {
        parts.set(*index);
    }
}

} // namespace

String partName(RoutePart part) {
    return part < outboundPart ? Agent::routeAttributeNames()[part]
                               : sessionNames[part - outboundPart];
}

void renderPart(Route const & route, RoutePart part, RendererV2 & renderer) {
    if (part == outboundPart) {
        renderer.value(route.session.outbound);
    } else if (part == localAsPart) {
        renderer.value(route.session.localAs);
    } else if (part == vrfPart) {
        renderer.value(route.session.vrfId);
    }
    route.eachAttribute([&](std::size_t index, auto const & value) {
        if (index == part) {
            Agent::ValueRenderer(renderer).render(value, Agent::routeAttributes()[index].form);
        }
    });
}

String partText(Route const & route, RoutePart part) {
    String text;
    RendererV2 renderer(text);
    // A single value needs something to stand in.
    renderer.beginArray();
    renderPart(route, part, renderer);
    renderer.endArray();
    return text.substr(1, text.size() - 2);
}

RoutePartSet partsReadUnnamed(AetNodeBase const & node) {
    RoutePartSet parts;
    for (Unnamed const & row : unnamed) {
        if (node.typeData().number() == row.classNumber) {
            for (RoutePart const part : row.parts) {
                parts.set(part);
            }
        }
    }
    return parts;
}

RoutePartSet partsReadBy(Expression const & node) {
    RoutePartSet parts;
    walkTree(node, [&](WalkedNode const & at) {
        bool const isOther =
            &at.node != &node && (at.node.typeData().isKind(NodeKind::expression) ||
                                  at.node.typeData().isKind(NodeKind::functionBase));
        if (!isOther) {
            addNamed(parts, at.node);
            parts |= partsReadUnnamed(at.node);
        }
        // Chains of statements hold expressions alone.
        return !isOther && !is<ExpressionList>(at.node);
    });
    return parts;
}

void PartsRead::entered(Expression const & node, EvalContext & /*context*/) {
    auto const [known, isNew] = known_.try_emplace(&node);
    if (isNew) {
        known->second = partsReadBy(node);
    }
    read_ |= known->second;
}

} // namespace Qcf::Questions
