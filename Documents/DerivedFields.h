#pragma once

#include "Documents/NodeBuilder.h"
#include "QcfLib/NodeFields.h"

namespace Qcf::Documents {

/// What stands for a field that nothing was said of. It follows from the field's role and from what
/// is known of the node's children: slots from the names of lists, metadata and attributes from the
/// function's body. What is derived is what a person would have to copy from elsewhere.
///
/// For one node, whose children were taken in before. Used while the node is made.
class DerivedFields {
public:
    /// `slot` is that of the list that the node names. Everything given must outlive this.
    DerivedFields(NodeBuilder & builder, Place const & place, std::span<U32 const> children,
                  U16 slot)
        : builder_(builder), place_(place), children_(children), slot_(slot) {}

    // By type; false when the field must not be left out.
    template <typename T>
    bool fill(Eval::FieldInfo const & /*field*/, T & /*value*/) const {
        return false;
    }
    bool fill(Eval::FieldInfo const & field, bool & value) const;
    bool fill(Eval::FieldInfo const & field, U16 & value) const;
    bool fill(Eval::FieldInfo const & field, U32 & value) const;
    bool fill(Eval::FieldInfo const & field, U64 & value) const;
    bool fill(Eval::FieldInfo const & field, FunctionMetadata & value) const;
    bool fill(Eval::FieldInfo const & field, Eval::AccessibleAttributes & value) const;
    bool fill(Eval::FieldInfo const & field, Routing::Policy::RouteMapFeatures & value) const;

private:
    /// Of what most left-out fields follow from; null when the node has no such child.
    NodeFacts const * firstChild() const;

    NodeBuilder & builder_;
    Place const & place_;
    std::span<U32 const> children_;
    U16 slot_;
};

} // namespace Qcf::Documents
