#include "Mirror/NodeCopy.h"

#include "Documents/FieldVisitors.h"
#include "QcfLib/QcfEval.h"

#include <bit>
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

/// Compares the fields of one node with those of another one of the same class.
class FieldComparison final : public Documents::FieldVisitor<FieldComparison> {
public:
    using SameChild = std::function<bool(Eval::AetNodeBase const &, Eval::AetNodeBase const &)>;

    FieldComparison(std::vector<void const *> const & places, SameChild const & sameChild)
        : next_(places.begin()), sameChild_(sameChild) {}

    void writeNode(FieldInfo const &, Eval::AetNodeBase const * child) override {
        auto const * const other = static_cast<Eval::AetNodeBase const *>(*next_++);
        bool const bothThere = child != nullptr && other != nullptr;
        same = same && (bothThere ? sameChild_(*other, *child) : child == other);
    }
    template <typename T>
    void visit(FieldInfo const &, T const & value) {
        same = same && areSame(*static_cast<T const *>(*next_++), value);
    }

    bool same = true;

private:
    template <typename T>
    static bool areSame(T const & a, T const & b) {
        return a == b;
    }
    static bool areSame(F32 a, F32 b) { return std::bit_cast<U32>(a) == std::bit_cast<U32>(b); }

    std::vector<void const *>::const_iterator next_;
    SameChild const & sameChild_;
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

bool sameFields(
    Eval::AetNodeBase const & a, Eval::AetNodeBase const & b,
    std::function<bool(Eval::AetNodeBase const &, Eval::AetNodeBase const &)> const & sameChild) {
    if (&a.typeData() != &b.typeData()) {
        return false;
    }
    FieldPlaces fields;
    a.typeData().write(a, fields);
    FieldComparison comparison(fields.places, sameChild);
    b.typeData().write(b, comparison);
    return comparison.same;
}

void keepConstantValue(Eval::AetNodeBase const & node) {
    if (auto const keep = node.typeData().facts.keepConstant) {
        keep(node);
    }
}

} // namespace Qcf::Mirror
