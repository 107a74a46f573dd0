#include "Documents/NodeContent.h"

#include "Documents/FieldVisitors.h"
#include "Platform/Framework/Assert.h"

/// What makes two nodes equal, as bytes. A hash alone would do for speed, but not for truth: two
/// different nodes that were taken for one would change what a policy means.
namespace Qcf::Documents {

using Eval::AetNodeBase;
using Eval::FieldInfo;

namespace {

/// Each field has a fixed width or says its length first, so that no two contents run together.
class ContentVisitor final : public FieldVisitor<ContentVisitor> {
public:
    ContentVisitor(std::span<NodeFacts const * const> children, String & content)
        : child_(children.begin()), content_(content) {}

    // Numbers of structures begin with 1, so that 0 is free for an absent child. The children's
    // keys would tell equal trees apart.
    void writeNode(FieldInfo const & /*field*/, AetNodeBase const * /*child*/) override {
        NodeFacts const * const facts = *child_++;
        append(facts == nullptr ? U32{0} : facts->structure);
    }

    // Floats by their bits: compared by value, zero would swallow its negative, and each NaN would
    // be unlike itself and come in again and again.
    template <typename T>
    requires std::is_arithmetic_v<T> || std::is_enum_v<T>
    void visit(FieldInfo const & /*field*/, T const & value) { append(value); }

    void visit(FieldInfo const & /*field*/, String const & value) { append(value); }
    void visit(FieldInfo const & /*field*/, IpGenAddr const & value) { append(value); }
    void visit(FieldInfo const & /*field*/, IpGenPrefix const & value) {
        append(value.addr());
        append(value.len());
    }
    void visit(FieldInfo const & /*field*/, EthAddr const & value) { append(value.octets()); }
    void visit(FieldInfo const & /*field*/, IntfId const & value) { append(value.name()); }
    // An unset segment is not one of zeros.
    void visit(FieldInfo const & /*field*/, std::optional<Evpn::Esid> const & value) {
        append(value.has_value());
        append(value.value_or(Evpn::Esid()).octets());
    }
    void visit(FieldInfo const & /*field*/, Acl::CommunityValue const & value) {
        append(value.value());
        append(value.type());
    }
    void visit(FieldInfo const & /*field*/,
               Routing::Rib::ResolutionRibProfileConfig const & value) {
        // All that there is room for, used or not: their number so needs no saying.
        for (auto const & entry : value.entries()) {
            append(entry.name);
            append(entry.kind);
        }
        append(value.useDefault());
    }
    // Of functions alone, which are not shared by content.
    void visit(FieldInfo const &, FunctionMetadata const &) { QCF_ASSERT(false); }
    void visit(FieldInfo const &, AccessibleAttributes const &) { QCF_ASSERT(false); }
    void visit(FieldInfo const &, Routing::Policy::RouteMapFeatures const &) { QCF_ASSERT(false); }

private:
    template <typename T>
    requires std::is_trivially_copyable_v<T>
    void append(T const & value) {
        content_.append(reinterpret_cast<char const *>(&value), sizeof(value));
    }
    void append(String const & text) {
        append(text.size());
        content_ += text;
    }
    void append(IpGenAddr const & address) {
        append(address.af());
        // The whole room of an address in either family, for the same width.
        content_.append(reinterpret_cast<char const *>(address.bytes()), 16);
    }

    std::span<NodeFacts const * const>::iterator child_;
    String & content_;
};

} // namespace

void appendContent(AetNodeBase const & node, std::span<NodeFacts const * const> children,
                   String & content) {
    // The class goes first: it says which fields follow, and how wide they are.
    auto const number = static_cast<U16>(node.typeData().number());
    content.append(reinterpret_cast<char const *>(&number), sizeof(number));
    ContentVisitor visitor(children, content);
    node.typeData().write(node, visitor);
}

} // namespace Qcf::Documents
