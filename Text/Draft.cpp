#include "Text/Draft.h"

#include "QcfLib/QcfEval.h"

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

std::size_t positionOf(NodeClass const & nodeClass, FieldRole role) {
    return static_cast<std::size_t>(nodeClass.fieldOf(role) - nodeClass.fields.data());
}

} // namespace

// In the order of the variant.
NodeClass const & immediateOf(Literal const & literal) {
    static NodeClass const * const classes[] = {
        &nodeClassOf<IntImmediate>(),          &nodeClassOf<BandwidthImmediate>(),
        &nodeClassOf<TriStateBoolImmediate>(), &nodeClassOf<CommunityValueImmediate>(),
        &nodeClassOf<IpPrefixImmediate>(),     &nodeClassOf<IpAddressImmediate>(),
        &nodeClassOf<MacAddressImmediate>(),   &nodeClassOf<EsiImmediate>()};
    static_assert(std::size(classes) == std::variant_size_v<Literal>);
    return *classes[literal.index()];
}

DraftField & Draft::at(FieldRole role) { return fields[positionOf(*nodeClass, role)]; }
DraftField const & Draft::at(FieldRole role) const { return fields[positionOf(*nodeClass, role)]; }

Draft * DraftTree::add(NodeClass const & nodeClass, Span const & span) {
    Draft & draft = drafts_.emplace_back();
    draft.nodeClass = &nodeClass;
    draft.span = span;
    draft.fields.resize(nodeClass.fields.size());
    return &draft;
}

Draft * DraftTree::add(NodeClass const & nodeClass, Span const & span,
                       std::initializer_list<DraftField> fields) {
    Draft * const draft = add(nodeClass, span);
    std::ranges::copy(fields, draft->fields.begin());
    return draft;
}

Draft * DraftTree::addLiteral(Literal const & literal, Span const & span) {
    if (auto const * const number = std::get_if<Integer>(&literal)) {
        return add<IntImmediate>(span, {number->magnitude, number->negative});
    }
    return add(immediateOf(literal), span, {literal});
}

bool mayStand(NodeClass const & nodeClass, FieldInfo const & field) {
    if (NodeClass const * const wanted = classWanted(field)) {
        return wanted == &nodeClass;
    }
    for (U16 kind = 0; kind < firstWantedClass; ++kind) {
        if (field.wanted == wanting(static_cast<NodeKind>(kind))) {
            return nodeClass.isKind(static_cast<NodeKind>(kind));
        }
    }
    return false;
}

} // namespace Qcf::Text
