#pragma once

#include "Documents/Program.h"
#include "Platform/Render/JsonObjectReader.h"
#include "QcfLib/NodeFields.h"

#include <functional>

namespace Qcf::Mirror {

/// What stands for a node where another line refers to it: {"ref":3}, {"ref":3,"class":"Med"} or
/// {"loose":0}.
struct NodeReference {
    bool loose = false;               ///< a node that is no member: by its number in the batch
    U64 number = 0;                   ///< else a member: by its key,
    char const * className = nullptr; ///< and its class where other members have that key, too
};

/// Writes a node's fields as batches hold them: as flat documents do, but for texts and numbers
/// that JSON cannot hold (WireText.h), and for children, which stand as references.
class WireStyle final : public Documents::NodeStyle {
public:
    using Refer = std::function<NodeReference(Eval::AetNodeBase const &)>;

    /// `refer` is asked about each child; without it, the key is what stands for one.
    explicit WireStyle(Refer refer = {}) : refer_(std::move(refer)) {}

    /// Texts, names and numbers in the forms of WireText.h.
    void text(std::string_view text, RendererV2 & out) const override;
    void name(std::string_view name, RendererV2 & out) const override;
    void number(F32 value, RendererV2 & out) const override;
    /// A child, as `refer` says.
    void reference(Eval::AetNodeBase const & child, RendererV2 & out) const override;
    /// Throws MirrorError unless the child may be null: no reader would take such a node.
    void absent(Eval::FieldInfo const & field) const override;

private:
    Refer refer_;
};

/// Takes a node's fields from the members of its line. Throws DocumentError, and what `resolve`
/// does.
///
///     WireFields fields(nodeClass, line, resolve);
///     Ptr<Eval::AetNodeBase> const node = nodeClass.create(key, fields);
///
/// Every field must be there: batches leave nothing out. All three arguments must outlive it.
class WireFields final : public Eval::FieldReader {
public:
    using AccessibleAttributes = Eval::AccessibleAttributes;
    using FieldInfo = Eval::FieldInfo;
    using TriStateBoolValue = Eval::TriStateBoolValue;

    /// The node that a reference means, which `field` accepts. Called for each child that is not
    /// null.
    using Resolve =
        std::function<PtrConst<Eval::AetNodeBase>(JsonValue const & reference, FieldInfo const &)>;

    /// `line` was read up to the fields.
    WireFields(Eval::NodeClass const & nodeClass, JsonObjectReader & line, Resolve const & resolve)
        : class_(nodeClass), line_(line), resolve_(resolve) {}

/// A scalar from the member of its name, failing with the place where it does not fit.
#define QCF_READ_MEMBER(Type) void read(FieldInfo const & field, Type & value) override;
    QCF_FOR_EACH_SCALAR(QCF_READ_MEMBER)
#undef QCF_READ_MEMBER
    /// The child that the member refers to; null only where the field may be.
    PtrConst<Eval::AetNodeBase> readNode(FieldInfo const & field) override;

private:
    Eval::NodeClass const & class_;
    /// Knows which members were read, so that others are found.
    JsonObjectReader & line_;
    Resolve const & resolve_;
};

/// The text that a string of a batch stands for. Fails for a value that is no string, and for one
/// that no writer makes.
String expectWireText(JsonValue const & value);

} // namespace Qcf::Mirror
