#include "Mirror/NodeCopy.h"

#include "Documents/FieldVisitors.h"
#include "Mirror/BatchChanges.h"

#include <vector>

namespace Qcf::Mirror {

namespace {

using Eval::AccessibleAttributes;
using Eval::FieldInfo;
using Eval::TriStateBoolValue;

/// Where a node's fields stand, in declared order.
class FieldPlaces final : public Documents::FieldVisitor<FieldPlaces> {
public:
    void writeNode(FieldInfo const &, Eval::AetNodeBase const * child) override {
        places.push_back(child);
    }
    template <typename T>
    void visit(FieldInfo const &, T const & value) {
        places.push_back(&value);
    }

    std::vector<void const *> places;
};

/// Reads the fields of one node for making another.
class FieldCopies final : public Eval::FieldReader {
public:
    using MapChild = std::function<PtrConst<Eval::AetNodeBase>(Eval::AetNodeBase const &)>;

    FieldCopies(std::vector<void const *> const & places, MapChild const & mapChild)
        : next_(places.begin()), mapChild_(mapChild) {}

#define QCF_COPY(Type)                                                                             \
    void read(FieldInfo const &, Type & value) override {                                          \
        value = *static_cast<Type const *>(*next_++);                                              \
    }
    QCF_FOR_EACH_SCALAR(QCF_COPY)
#undef QCF_COPY
    PtrConst<Eval::AetNodeBase> readNode(FieldInfo const &) override {
        auto const * const child = static_cast<Eval::AetNodeBase const *>(*next_++);
        return child == nullptr ? nullptr : mapChild_(*child);
    }

private:
    std::vector<void const *>::const_iterator next_;
    MapChild const & mapChild_;
};

} // namespace

Ptr<Eval::AetNodeBase>
copyNode(Eval::AetNodeBase const & node, U64 key,
         std::function<PtrConst<Eval::AetNodeBase>(Eval::AetNodeBase const &)> const & mapChild) {
    FieldPlaces fields;
    node.typeData().write(node, fields);
    FieldCopies copies(fields.places, mapChild);
    Ptr<Eval::AetNodeBase> copy = node.typeData().create(key, copies);
    keepConstantValue(*copy);
    return copy;
}

} // namespace Qcf::Mirror
