#pragma once

#include "Documents/NodeBuilder.h"
#include "Documents/NodeObject.h"
#include "Documents/ScalarReader.h"

namespace Qcf::Documents {

/// Makes the node of an object whose children were taken in before, and takes it in: under the key
/// given, else under the next one. `children` are their numbers in the order of the node fields.
/// Answers the node's number. Throws the DocumentError of the first field that cannot be read.
U32 addNode(NodeBuilder & builder, NodeObject const & object, std::span<U32 const> children,
            std::optional<JsonValue> const & key);

/// The fields of one node from its object, as the node's class asks for them: scalars are read, or
/// take the value that stands for a left-out one; children were read before.
///
///     ObjectFields fields(builder, object, children);
///     U32 const names = fields.useNames();
///     Ptr<AetNodeBase> const node = object.nodeClass.create(key, fields);
///
/// What stands for a left-out field follows from the field's role and from what is known of the
/// children: slots from the names of lists, metadata and attributes from the function's body.
class ObjectFields final : public Eval::FieldReader {
public:
    /// Everything given must outlive this.
    ObjectFields(NodeBuilder & builder, NodeObject const & object, std::span<U32 const> children)
        : builder_(builder), object_(object), children_(children) {}

    /// Notes the list that the node names, if it does; answers the set of its names. To be called
    /// before the fields are asked for, whose slot this is.
    U32 useNames();

#define QCF_READ_FIELD(Type)                                                                       \
    void read(Eval::FieldInfo const & field, Type & value) override { readField(field, value); }
    QCF_FOR_EACH_SCALAR(QCF_READ_FIELD)
#undef QCF_READ_FIELD
    PtrConst<Eval::AetNodeBase> readNode(Eval::FieldInfo const & field) override;

private:
    /// Any scalar: its member's value, or what stands for that.
    template <typename T>
    void readField(Eval::FieldInfo const & field, T & value);

    // Values of left-out fields, by type; false when the field must not be left out.
    template <typename T>
    bool fillLeftOut(Eval::FieldInfo const & /*field*/, T & /*value*/) {
        return false;
    }
    bool fillLeftOut(Eval::FieldInfo const & field, bool & value);
    bool fillLeftOut(Eval::FieldInfo const & field, U16 & value);
    bool fillLeftOut(Eval::FieldInfo const & field, U32 & value);
    bool fillLeftOut(Eval::FieldInfo const & field, U64 & value);
    bool fillLeftOut(Eval::FieldInfo const & field, FunctionMetadata & value);
    bool fillLeftOut(Eval::FieldInfo const & field, AccessibleAttributes & value);
    bool fillLeftOut(Eval::FieldInfo const & field, Routing::Policy::RouteMapFeatures & value);

    /// Of what most left-out fields follow from; null when the node has no such child.
    NodeFacts const * firstChild() const;

    /// Has the children and the names of lists.
    NodeBuilder & builder_;
    NodeObject const & object_;
    std::span<U32 const> children_;
    /// The child that is asked for next.
    std::size_t nextChild_ = 0;
    /// Of the list that the node names.
    U16 slot_ = 0;
};

} // namespace Qcf::Documents
