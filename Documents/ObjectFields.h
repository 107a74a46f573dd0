#pragma once

#include "Documents/NodeReader.h"
#include "Documents/ScalarReader.h"

namespace Qcf::Documents {

/// The key under which a field stands in a node's object. An entry of `functions` calls the
/// function's name `name`.
std::string_view memberName(Eval::FieldInfo const & field, bool isFunctionEntry);

/// The fields of one node from its object: scalars are read, or take the value that stands for a
/// left-out one; children were read before.
class ObjectFields final : public Eval::FieldReader {
public:
    ObjectFields(NodeReader & reader, JsonValue const & json, Eval::NodeClass const & nodeClass,
                 std::span<U32 const> children, bool isFunctionEntry)
        : reader_(reader),
          json_(json),
          nodeClass_(nodeClass),
          children_(children),
          isFunctionEntry_(isFunctionEntry) {}

    /// Notes the list that the node names, if it does; answers the set of its names.
    U32 useNames();

#define QCF_READ_FIELD(Type)                                                                       \
    void read(Eval::FieldInfo const & field, Type & value) override { readField(field, value); }
    QCF_FOR_EACH_SCALAR(QCF_READ_FIELD)
#undef QCF_READ_FIELD
    PtrConst<Eval::AetNodeBase> readNode(Eval::FieldInfo const & field) override;

private:
    template <typename T>
    void readField(Eval::FieldInfo const & field, T & value);

    // Values of left-out fields; false when there is none.
    template <typename T>
    bool leftOut(Eval::FieldInfo const & /*field*/, T & /*value*/) {
        return false;
    }
    bool leftOut(Eval::FieldInfo const & field, bool & value);
    bool leftOut(Eval::FieldInfo const & field, U16 & value);
    bool leftOut(Eval::FieldInfo const & field, U32 & value);
    bool leftOut(Eval::FieldInfo const & field, U64 & value);
    bool leftOut(Eval::FieldInfo const & field, FunctionMetadata & value);
    bool leftOut(Eval::FieldInfo const & field, AccessibleAttributes & value);
    bool leftOut(Eval::FieldInfo const & field, Routing::Policy::RouteMapFeatures & value);

    NodeFacts const * firstChild() const;

    NodeReader & reader_;
    JsonValue const json_;
    Eval::NodeClass const & nodeClass_;
    std::span<U32 const> children_;
    std::size_t nextChild_ = 0;
    bool isFunctionEntry_;
    U16 slot_ = 0; ///< of the list that the node names
};

/// The list that the object of a node names: its kind and name, when they can be read. Null kind
/// for none.
struct ListUse {
    SlotMapMember kind = nullptr;
    String name;
};
ListUse listUseOf(JsonValue const & json, SlotRule const & rule);

} // namespace Qcf::Documents
