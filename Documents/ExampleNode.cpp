#include "Documents/ExampleNode.h"

#include "Documents/LeftOut.h"
#include "Documents/Program.h"
#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/QcfEval.h"

#include <utility>

/// Which child makes sense follows from what the field wants and means; the few favourites named
/// here are those that readers know best.
namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

constexpr U64 exampleKey = 1;

/// What stands in examples where several classes would do; the first that fits is taken.
constexpr U16 favourites[] = {
    IntImmediate::classNumber,         Attribute::Med::classNumber,
    Attribute::Community::classNumber, Attribute::ExtCommunity::classNumber,
    Attribute::AsPath::classNumber,    Attribute::NextHop::classNumber,
    Attribute::IpPrefix::classNumber,
};

/// A value that is written out: its fields are no nodes, or the elements of a literal.
bool isConstant(NodeClass const & nodeClass) {
    bool constant = nodeClass.attribute == nullptr && nodeClass.isKind(NodeKind::storageType);
    for (FieldInfo const & field : nodeClass.fields) {
        constant = constant && !plays(field, FieldRole::argumentIndex) &&
                   (!field.isNode() || plays(field, FieldRole::elements));
    }
    return constant;
}

/// Makes the fields of one node.
class ExampleMaker final : public FieldReader {
public:
    static Ptr<AetNodeBase> make(NodeClass const & nodeClass) {
        ExampleMaker maker(nodeClass);
        return nodeClass.create(exampleKey, maker);
    }

    void read(FieldInfo const &, U8 & value) override { value = 0; }
    void read(FieldInfo const &, U16 & value) override { value = 1; }
    void read(FieldInfo const & field, U32 & value) override {
        value = plays(field, FieldRole::orZero) ? 0 : 1;
    }
    void read(FieldInfo const &, U64 & value) override { value = 1; }
    void read(FieldInfo const &, F32 & value) override { value = 1e9F; }
    void read(FieldInfo const & field, bool & value) override {
        value = plays(field, FieldRole::isV4) || plays(field, FieldRole::cachable);
    }
    void read(FieldInfo const & field, String & value) override {
        value = plays(field, FieldRole::listName) ? "LIST" : "example";
    }
    void read(FieldInfo const &, TriStateBoolValue & value) override { value = QcfTrue(); }
    void read(FieldInfo const &, FunctionMetadata &) override {}
    void read(FieldInfo const &, AccessibleAttributes &) override {}
    void read(FieldInfo const &, Routing::Policy::RouteMapFeatures &) override {}
    void read(FieldInfo const &, IpGenAddr & value) override { value = IpGenAddr::v4(0xc0000201); }
    void read(FieldInfo const &, IpGenPrefix & value) override {
        value = IpGenPrefix(IpGenAddr::v4(0xc0000200), 24);
    }
    void read(FieldInfo const &, EthAddr & value) override {
        value = EthAddr::parse("00:00:5e:00:53:01").value();
    }
    void read(FieldInfo const &, IntfId & value) override { value = IntfId("Ethernet1"); }
    void read(FieldInfo const &, std::optional<Evpn::Esid> & value) override {
        value = Evpn::Esid::parse("00:11:22:33:44:55:66:77:88:99");
    }
    // The large community 65000:1:2.
    void read(FieldInfo const &, Acl::CommunityValue & value) override {
        value = Acl::CommunityValue(U64{65000} << 32 | 1, 2);
    }
    void read(FieldInfo const &, Routing::Rib::ResolutionRibProfileConfig & value) override {
        value.useDefaultIs(true);
    }

    PtrConst<AetNodeBase> readNode(FieldInfo const & field) override {
        // Left sides are attributes, elements and right sides constants.
        bool const onLeft = !isLink_ && !std::exchange(isBehind_, true);
        if (plays(field, FieldRole::next)) {
            return rest_;
        }
        NodeClass const * const wanted = classWanted(field);
        if (wanted != nullptr) {
            return wanted->facts.isLink ? chain(*wanted, field) : make(*wanted);
        }
        if (field.wanted == wanting(NodeKind::expression)) {
            return expression(field);
        }
        auto const usual = firstThat([&](NodeClass const & each) {
            bool const isWanted =
                onLeft ? each.attribute != nullptr : isConstant(each) && !each.facts.list;
            return isWanted && mayStand(each, field);
        });
        // Some kinds have no attributes, others no constants.
        return usual ? usual : firstThat([&](NodeClass const & each) {
            return mayStand(each, field) && (isConstant(each) || each.fields.empty());
        });
    }

private:
    explicit ExampleMaker(NodeClass const & owner) : isLink_(owner.facts.isLink) {}

    /// A node of the first class that is wanted, favourites before others; null for none.
    template <typename Wanted>
    static PtrConst<AetNodeBase> firstThat(Wanted const & isWanted) {
        for (U16 const number : favourites) {
            if (isWanted(nodeClasses()[number])) {
                return make(nodeClasses()[number]);
            }
        }
        for (NodeClass const & nodeClass : nodeClasses()) {
            if (isWanted(nodeClass)) {
                return make(nodeClass);
            }
        }
        return nullptr;
    }

    /// A link, and operands two, since an operator stands between them.
    static PtrConst<AetNodeBase> chain(NodeClass const & linkClass, FieldInfo const & field) {
        PtrConst<AetNodeBase> rest;
        for (int i = plays(field, FieldRole::operand) ? 2 : 1; i > 0; --i) {
            ExampleMaker maker(linkClass);
            maker.rest_ = rest;
            maker.isOfStatements_ = plays(field, FieldRole::branch);
            rest = linkClass.create(exampleKey, maker);
        }
        return rest;
    }

    /// A statement returns, an operand tests, and in place of an else stands a block.
    PtrConst<AetNodeBase> expression(FieldInfo const & field) const {
        if (isOfStatements_) {
            auto const value = triStateBoolImmediateFactory(exampleKey, QcfTrue());
            return returnExpressionFactory(exampleKey,
                                           triStateBoolExpressionFactory(exampleKey, value));
        }
        bool const isBlock = !isLink_ && plays(field, FieldRole::branch);
        return make(isBlock ? nodeClassOf<Block>() : nodeClassOf<IntIs>());
    }

    bool isLink_;
    bool isOfStatements_ = false;
    bool isBehind_ = false;      ///< a child was read already
    PtrConst<AetNodeBase> rest_; ///< of the chain that the node is a link of
};

/// Writes children where they stand.
class NestedStyle final : public NodeStyle {
public:
    bool isBrief() const override { return true; }

    void reference(AetNodeBase const & child, RendererV2 & out) const override {
        NodeClass const & nodeClass = child.typeData();
        if (nodeClass.attribute != nullptr) {
            out.value(nodeClass.attribute->languageName);
        } else if (nodeClass.facts.isLink) {
            entries(&child, out);
        } else if (nodeClass.fieldOf(FieldRole::elements) != nullptr) {
            entries(childOf(child, FieldRole::elements), out);
        } else if (!literal(child, out)) {
            out.beginObject();
            writeNodeMembers(child, *this, out);
            out.endObject();
        }
    }

private:
    static AetNodeBase const * childOf(AetNodeBase const & node, FieldRole role) {
        AetNodeBase const * found = nullptr;
        node.typeData().visitChildren(node,
                                      [&](FieldInfo const & field, AetNodeBase const * child) {
                                          found = plays(field, role) ? child : found;
                                      });
        return found;
    }

    void entries(AetNodeBase const * link, RendererV2 & out) const {
        out.beginArray();
        for (; link != nullptr; link = childOf(*link, FieldRole::next)) {
            reference(*childOf(*link, FieldRole::entry), out);
        }
        out.endArray();
    }

    /// Whether the value was written as one that stands for its node wherever that may stand.
    static bool literal(AetNodeBase const & node, RendererV2 & out) {
        if (auto const * const number = as<IntImmediate>(node); number && !number->negative()) {
            out.value(number->value());
        } else if (auto const * const constant = as<TriStateBoolExpression>(node);
                   constant && is<TriStateBoolImmediate>(*constant->expr())) {
            return literal(*constant->expr(), out);
        } else if (auto const * const value = as<TriStateBoolImmediate>(node);
                   value && value->value() != QcfUnknown()) {
            out.value(value->value() == QcfTrue());
        } else if (auto const * const bandwidth = as<BandwidthImmediate>(node)) {
            out.value(bandwidth->value());
        } else if (node.typeData().isKind(NodeKind::logicalOperator)) {
            out.value(static_cast<LogicalOperator const &>(node).toStrep());
        } else {
            return false;
        }
        return true;
    }
};

} // namespace

Ptr<AetNodeBase> exampleNode(NodeClass const & nodeClass) { return ExampleMaker::make(nodeClass); }

void writeNested(AetNodeBase const & node, RendererV2 & renderer) {
    if (node.typeData().attribute != nullptr) {
        NestedStyle().reference(node, renderer);
        return;
    }
    renderer.beginObject();
    writeNodeMembers(node, NestedStyle(), renderer);
    renderer.endObject();
}

} // namespace Qcf::Documents
