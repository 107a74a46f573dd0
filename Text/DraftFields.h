#pragma once

#include "Documents/DerivedFields.h"
#include "QcfLib/NodeFields.h"
#include "Text/Draft.h"

namespace Qcf::Text {

using Eval::AccessibleAttributes;
using Eval::TriStateBoolValue;

/// The fields of one node from its draft, as the node's class asks for them: what the draft holds,
/// or what is derived where it holds nothing. Children were made before.
class DraftFields final : public Eval::FieldReader {
public:
    /// Everything given must outlive this.
    DraftFields(Documents::NodeBuilder & builder, Documents::Place const & place,
                Draft const & draft, std::span<U32 const> children, U16 slot)
        : builder_(builder),
          place_(place),
          draft_(draft),
          children_(children),
          derived_(builder, place, children, slot) {}

#define QCF_READ_FIELD(Type)                                                                       \
    void read(Eval::FieldInfo const & field, Type & value) override { readField(field, value); }
    QCF_FOR_EACH_SCALAR(QCF_READ_FIELD)
#undef QCF_READ_FIELD
    PtrConst<Eval::AetNodeBase> readNode(Eval::FieldInfo const & field) override;

private:
    template <typename T>
    void readField(Eval::FieldInfo const & field, T & value);
    template <typename T>
    bool take(DraftField const & content, T & value) const;
    [[noreturn]] void fail(Eval::FieldInfo const & field, String const & found) const;

    Documents::NodeBuilder & builder_;
    Documents::Place const & place_;
    Draft const & draft_;
    std::span<U32 const> children_;
    std::size_t nextChild_ = 0;
    Documents::DerivedFields derived_;
};

} // namespace Qcf::Text
