#pragma once

#include "QcfLib/NodeFields.h"

namespace Qcf::Documents {

using Eval::AccessibleAttributes;
using Eval::TriStateBoolValue;

/// A FieldWriter whose `write` calls all end in `Derived::visit(field, value)`, a template or a set
/// of overloads, so that a visitor says once what it does with fields of many types. Children go
/// to `writeNode`, which the visitor has to define.
///
///     class Lengths final : public FieldVisitor<Lengths> {
///     public:
///         template <typename T>
///         void visit(FieldInfo const &, T const &) {}
///         void visit(FieldInfo const &, String const & text) { length += text.size(); }
///         void writeNode(FieldInfo const &, AetNodeBase const *) override {}
///         std::size_t length = 0;
///     };
///     node.typeData().write(node, lengths);
template <typename Derived>
class FieldVisitor : public Eval::FieldWriter {
public:
#define QCF_VISIT(Type)                                                                            \
    void write(Eval::FieldInfo const & field, Type const & value) override {                       \
        static_cast<Derived *>(this)->visit(field, value);                                         \
    }
    QCF_FOR_EACH_SCALAR(QCF_VISIT)
#undef QCF_VISIT
};

} // namespace Qcf::Documents
