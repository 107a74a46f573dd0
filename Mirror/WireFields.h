#pragma once

#include "Documents/Program.h"
#include "Platform/Render/JsonObjectReader.h"
#include "QcfLib/NodeFields.h"

#include <functional>

namespace Qcf::Mirror {

/// What stands for a node where another line refers to it.
struct NodeReference {
    bool loose = false;               ///< a node that is no member: by its number in the batch
    U64 number = 0;                   ///< else a member: by its key,
    char const * className = nullptr; ///< and its class where other members have that key, too
};

/// Writes a node's fields as batches hold them.
class WireStyle final : public Documents::NodeStyle {
public:
    using Refer = std::function<NodeReference(Eval::AetNodeBase const &)>;

    /// `refer` is asked about each child; without it, the key is what stands for one.
    explicit WireStyle(Refer refer = {}) : refer_(std::move(refer)) {}

    void text(std::string_view text, RendererV2 & out) const override;
    void name(std::string_view name, RendererV2 & out) const override;
    void number(F32 value, RendererV2 & out) const override;
    void reference(Eval::AetNodeBase const & child, RendererV2 & out) const override;
    /// Throws MirrorError unless the child may be null: no reader would take such a node.
    void absent(Eval::FieldInfo const & field) const override;

private:
    Refer refer_;
};

/// Takes a node's fields from the members of its line. Throws DocumentError, and what `resolve`
/// does.
class WireFields final : public Eval::FieldReader {
public:
    using AccessibleAttributes = Eval::AccessibleAttributes;
    using FieldInfo = Eval::FieldInfo;
    using TriStateBoolValue = Eval::TriStateBoolValue;

    /// The node that a reference means, which `field` accepts.
    using Resolve =
        std::function<PtrConst<Eval::AetNodeBase>(JsonValue const & reference, FieldInfo const &)>;

    WireFields(Eval::NodeClass const & nodeClass, JsonObjectReader & line, Resolve const & resolve)
        : class_(nodeClass), line_(line), resolve_(resolve) {}

#define QCF_READ_MEMBER(Type) void read(FieldInfo const & field, Type & value) override;
    QCF_FOR_EACH_SCALAR(QCF_READ_MEMBER)
#undef QCF_READ_MEMBER
    PtrConst<Eval::AetNodeBase> readNode(FieldInfo const & field) override;

private:
    Eval::NodeClass const & class_;
    JsonObjectReader & line_;
    Resolve const & resolve_;
};

/// The text that a string of a batch stands for.
String expectWireText(JsonValue const & value);

} // namespace Qcf::Mirror
