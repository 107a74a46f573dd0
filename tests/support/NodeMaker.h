#pragma once

#include "QcfLib/NodeFields.h"

#include <vector>

namespace Qcf::Eval::test {

/// Builds any class of the registry with fields of its own choice: the smallest tree of the types
/// that its fields want. With `changed` set to a field's position that field gets another value, so
/// that two nodes differ in it alone.
class NodeMaker final : public FieldReader {
public:
    static constexpr int none = -1;

    explicit NodeMaker(int changed = none) : changed_(changed) {}

    /// A node of the class; optional children are left out unless they are the changed field.
    static Ptr<AetNodeBase> node(NodeClass const & nodeClass, U64 key = 1, int changed = none) {
        NodeMaker maker(changed);
        return nodeClass.create(key, maker);
    }

    /// The node of that rank among those that the field accepts: leaves first, else a node of the
    /// class that the field names. Null when there is none.
    static PtrConst<AetNodeBase> child(FieldInfo const & field, std::size_t rank = 0) {
        std::size_t found = 0;
        for (NodeClass const & nodeClass : nodeClasses()) {
            if (nodeClass.fields.empty() || isConstant(nodeClass)) {
                auto made = node(nodeClass);
                if (field.accepts(*made) && found++ == rank) {
                    return made;
                }
            }
        }
        NodeClass const * const named = findNodeClass(field.wants);
        bool const composite = found == 0 && named != nullptr && rank < 2;
        return composite ? node(*named, 1, rank == 0 ? none : 0) : nullptr;
    }

    /// Whether there are two values for the field.
    static bool canChange(FieldInfo const & field) {
        return !field.isNode() || field.optional || child(field, 1);
    }

    void read(FieldInfo const &, U8 & value) override { value = pick<U8>('A', 'B'); }
    void read(FieldInfo const &, U16 & value) override { value = pick<U16>(1, 2); }
    void read(FieldInfo const &, U32 & value) override { value = pick<U32>(1, 2); }
    void read(FieldInfo const &, U64 & value) override { value = pick<U64>(1, 2); }
    void read(FieldInfo const &, F32 & value) override { value = pick<F32>(0.0F, -0.0F); }
    void read(FieldInfo const &, bool & value) override { value = pick(false, true); }
    void read(FieldInfo const &, String & value) override { value = pick<String>("a", "b"); }
    void read(FieldInfo const &, TriStateBoolValue & value) override {
        value = pick(QcfTrue(), QcfUnknown());
    }
    void read(FieldInfo const &, FunctionMetadata & value) override {
        if (next()) {
            value.roaTablesUsed["r"] = 1;
        }
    }
    void read(FieldInfo const &, AccessibleAttributes & value) override {
        if (next()) {
            value.writableAttributes.insert(0);
        }
    }
    void read(FieldInfo const &, IpGenAddr & value) override {
        value = pick(IpGenAddr::v4(1), IpGenAddr::v4(2));
    }
    void read(FieldInfo const &, IpGenPrefix & value) override {
        value = pick(IpGenPrefix(IpGenAddr::v4(0), 8), IpGenPrefix(IpGenAddr::v4(0), 9));
    }
    void read(FieldInfo const &, EthAddr & value) override {
        value = pick(*EthAddr::parse("00:00:00:00:00:01"), EthAddr());
    }
    void read(FieldInfo const &, IntfId & value) override {
        value = pick(IntfId("e1"), IntfId("e2"));
    }
    void read(FieldInfo const &, std::optional<Evpn::Esid> & value) override {
        value = pick<std::optional<Evpn::Esid>>(std::nullopt, Evpn::Esid());
    }
    void read(FieldInfo const &, Acl::CommunityValue & value) override {
        value = pick(Acl::CommunityValue(1, 0), Acl::CommunityValue(1, 1));
    }
    void read(FieldInfo const &, Routing::Rib::ResolutionRibProfileConfig & value) override {
        value.useDefaultIs(next());
    }
    void read(FieldInfo const &, Routing::Policy::RouteMapFeatures & value) override {
        if (next()) {
            value.featureIs("f");
        }
    }
    PtrConst<AetNodeBase> readNode(FieldInfo const & field) override {
        bool const changed = next();
        if (field.optional) {
            return changed ? child(field) : nullptr;
        }
        return child(field, changed ? 1 : 0);
    }

private:
    static bool isConstant(NodeClass const & nodeClass) {
        return std::string_view(nodeClass.name).ends_with("Immediate") &&
               !nodeClass.fields[0].isNode();
    }
    bool next() { return position_++ == changed_; }
    template <typename Value>
    Value pick(Value usual, Value other) {
        return next() ? other : usual;
    }

    int changed_;
    int position_ = 0;
};

} // namespace Qcf::Eval::test
