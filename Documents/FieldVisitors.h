#pragma once

#include "QcfLib/NodeFields.h"

namespace Qcf::Documents {

using Eval::AccessibleAttributes;
using Eval::TriStateBoolValue;

/// A FieldWriter whose `write` calls all end in `Derived::visit(field, value)`, a template or a set
/// of overloads.
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
