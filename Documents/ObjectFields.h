#pragma once

#include "Documents/DocumentBuilder.h"
#include "Documents/NodeObject.h"
#include "Documents/ScalarReader.h"

namespace Qcf::Documents {

/// Makes the node of an object whose children were taken in before, and takes it in: under the key
/// given, else under the next one. `children` are their numbers in the order of the node fields.
/// Answers the node's number. Throws the DocumentError of the first field that cannot be read.
U32 addNode(DocumentBuilder & builder, NodeObject const & object, std::span<U32 const> children,
            std::optional<JsonValue> const & key);

/// The fields of one node from its object, as the node's class asks for them: scalars are read, or
/// take the value that stands for a left-out one; children were read before.
///
///     ObjectFields fields(builder, object, children);
///     U32 const names = fields.useNames();
///     Ptr<AetNodeBase> const node = object.nodeClass.create(key, fields);
class ObjectFields final : public Eval::FieldReader {
public:
    /// Everything given must outlive this.
    ObjectFields(DocumentBuilder & builder, NodeObject const & object,
                 std::span<U32 const> children)
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

    /// Has the children and the names of lists.
    DocumentBuilder & builder_;
    NodeObject const & object_;
    std::span<U32 const> children_;
    /// The child that is asked for next.
    std::size_t nextChild_ = 0;
    /// Of the list that the node names.
    U16 slot_ = 0;
};

} // namespace Qcf::Documents
