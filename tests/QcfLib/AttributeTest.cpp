#include "QcfLib/ClientPlugin/QcfRoutingAttributeTypes.h"
#include "tests/support/NodeMaker.h"
#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

String lowerFirst(String name) {
    name[0] = static_cast<char>(name[0] - 'A' + 'a');
    return name;
}

/// The value of any node as text, whatever its type.
String valueText(AetNodeBase const & node, Ptr<EvalContextBase> const & context) {
    if (auto const * n = dynamic_cast<Int const *>(&node)) {
        return std::to_string(n->getVal(context));
    }
    if (auto const * n = dynamic_cast<TriStateBool const *>(&node)) {
        return toString(n->getVal(context));
    }
    if (auto const * n = dynamic_cast<Bandwidth const *>(&node)) {
        return std::to_string(n->getVal(context));
    }
    if (auto const * n = dynamic_cast<IpAddress const *>(&node)) {
        return n->getVal(context).toString();
    }
    if (auto const * n = dynamic_cast<IpPrefix const *>(&node)) {
        return n->getVal(context).toString();
    }
    if (auto const * n = dynamic_cast<MacAddress const *>(&node)) {
        return n->getVal(context).toString();
    }
    if (auto const * n = dynamic_cast<Esi const *>(&node)) {
        auto const value = n->getVal(context);
        return value ? value->toString() : "unset";
    }
    if (auto const * n = dynamic_cast<Interface const *>(&node)) {
        return n->getVal(context).toString();
    }
    if (auto const * n = dynamic_cast<ResolutionRibs const *>(&node)) {
        return n->getVal(context).toString();
    }
    if (auto const * n = dynamic_cast<CommunityValue const *>(&node)) {
        std::ostringstream out;
        out << n->getVal(context);
        return out.str();
    }
    if (auto const * n = dynamic_cast<AsPath const *>(&node)) {
        return n->getVal(context)->toString();
    }
    if (auto const * n = dynamic_cast<IntSet const *>(&node)) {
        return written(n->getVal(context));
    }
    if (auto const * n = dynamic_cast<CommunitySet const *>(&node)) {
        return written(n->getVal(context));
    }
    return "no value";
}

Ptr<AetNodeBase> attribute(char const * languageName) {
    NodeClass const * const nodeClass = findAttribute(languageName);
    return nodeClass == nullptr ? nullptr : NodeMaker::node(*nodeClass);
}

String read(char const * languageName, Ptr<EvalContextBase> const & context) {
    return valueText(*attribute(languageName), context);
}

/// A route none of whose values is the default.
Ptr<RecordingContext> fullRoute() {
    auto context = makePtr<RecordingContext>();
    auto & c = *context;
    auto fill = [next = U64{0}](auto & value) mutable {
        if constexpr (std::is_same_v<decltype(value), U64 &>) {
            value = next++ % 2;
        }
    };
#define QCF_TEST_FILL(Type, stem, initial) fill(c.stem);
    QCF_TEST_INPUTS(QCF_TEST_FILL)
#undef QCF_TEST_FILL
    c.nextHop = *IpGenAddr::parse("2001:db8::1");
    c.ipPrefix = *IpGenPrefix::parse("10.0.0.0/8");
    c.flowspecSourcePrefix = *IpGenPrefix::parse("2001:db8::/32");
    c.asPath = Routing::Bgp::AsPath(*Routing::Bgp::parseAsPath("65001 65002 {65003,65004}"));
    c.community = {7, 9, 11};
    c.isisLevel = {1, 2};
    c.extCommunity = {{0x4004000000000001, 0}};
    c.largeCommunity = {{1, 2}, {3, 4}};
    return context;
}

} // namespace

TEST(Attributes, OfABareContextReadTheirDefaults) {
    Ptr<EvalContextBase> const bare = makePtr<EvalContext>(nullptr, nullptr, nullptr);
    std::map<String, String> const other = {{"local_preference", "100"},
                                            {"origin", "256"},
                                            {"rpki.origin_as_validity", "1"},
                                            {"bgp.aggregate", "true"},
                                            {"bgp.aggregate_contributor", "true"},
                                            {"bgp.best_path", "true"},
                                            {"ecmp.aggregate_link_bandwidth", "0.000000"},
                                            {"source_session.interface.bandwidth", "0.000000"},
                                            {"evpn.mac_ip_route.esi", "unset"},
                                            {"evpn.mac_ip_route.mac_address", "00:00:00:00:00:00"},
                                            {"resolution_ribs.system_default", "default"},
                                            {"_internal.admin_as", "0x0000000000000000"},
                                            {"rt_membership.route_target", "0x0000000000000000"}};
    for (NodeClass const & nodeClass : nodeClasses()) {
        if (nodeClass.attribute == nullptr) {
            continue;
        }
        String name = nodeClass.attribute->languageName;
        auto const node = NodeMaker::node(nodeClass);
        EXPECT_EQ(static_cast<StorageType const &>(*node).toStrep(), name);
        name = name.starts_with("input.") ? name.substr(6) : name;
        auto const found = other.find(name);
        bool const isInt = dynamic_cast<Int const *>(node.get()) != nullptr;
        EXPECT_EQ(valueText(*node, bare), found != other.end() ? found->second
                                          : isInt              ? "0"
                                                               : "")
            << name;
    }
}

// Each attribute asks the agent for its own value, once a read, and an Input twin likewise.
TEST(Attributes, AskTheAgentForTheirOwnValue) {
    auto const context = fullRoute();
    std::map<String, String> const derived = {{"as_path.last_as", "asPath"},
                                              {"as_path.length", "asPath"},
                                              {"as_path.origin_as", "asPath"},
                                              {"community.count", "community"},
                                              {"ext_community.count", "extCommunity"},
                                              {"large_community.count", "largeCommunity"},
                                              {"next_hop.ip_version", "nextHop"},
                                              {"prefix.ip_version", "ipPrefix"},
                                              {"prefix.length", "ipPrefix"}};
    for (NodeClass const & nodeClass : nodeClasses()) {
        if (nodeClass.attribute == nullptr) {
            continue;
        }
        String stem = lowerFirst(nodeClass.name);
        String name = nodeClass.attribute->languageName;
        bool const input = name.starts_with("input.");
        stem = input ? stem.substr(0, stem.size() - String("Input").size()) : stem;
        name = input ? name.substr(6) : name;
        if (auto const found = derived.find(name); found != derived.end()) {
            stem = found->second;
        } else if (stem.ends_with("IpVersion") || stem.ends_with("PrefixLength")) {
            stem = stem.substr(0, stem.rfind(stem.ends_with("n") ? "IpVersion" : "Length"));
        }
        bool const populated = stem == "asPath" || stem == "isisLevel" || stem == "community" ||
                               stem == "extCommunity" || stem == "largeCommunity";
        context->reset();
        context->calls.clear();
        valueText(*NodeMaker::node(nodeClass), context);
        String expected = stem + (populated ? "InputPopulate" : "Input");
        expected += name == "as_path.origin_as" ? "; localAs" : "";
        EXPECT_EQ(context->takeCalls(), expected) << nodeClass.name;
        // Again in the same route: only containers are kept.
        valueText(*NodeMaker::node(nodeClass), context);
        EXPECT_EQ(context->takeCalls(), !populated                    ? expected
                                        : name == "as_path.origin_as" ? "localAs"
                                                                      : "");
    }
}

TEST(Attributes, DerivedValues) {
    auto const context = fullRoute();
    context->localAsValue = 65000;
    struct Case {
        char const * name;
        char const * value;
    } const cases[] = {
        {"as_path.length", "3"},
        {"as_path.last_as", "65001"},
        {"as_path.origin_as", "0"},
        {"community.count", "3"},
        {"ext_community.count", "1"},
        {"large_community.count", "2"},
        {"next_hop.ip_version", "6"},
        {"prefix.length", "8"},
        {"prefix.ip_version", "4"},
        {"flowspec.source.prefix.length", "32"},
        {"flowspec.source.prefix.ip_version", "6"},
        {"flowspec.destination.prefix.ip_version", "0"},
        {"isis.levels", "1,2"},
    };
    for (auto const & c : cases) {
        EXPECT_EQ(read(c.name, context), c.value) << c.name;
    }
    context->reset();
    context->asPath = {};
    EXPECT_EQ(read("as_path.origin_as", context), "65000");
    EXPECT_EQ(read("as_path.last_as", context), "0");
    EXPECT_EQ(read("as_path.length", context), "0");

    // Stored values, null among them, count from then on; the route's own stay as they came.
    context->reset();
    make<Attribute::Community>()->setVal(nullptr, context);
    make<Attribute::LargeCommunity>()->setVal(setOf<CommunitySmallVector>({{1, 1}}), context);
    make<Attribute::NextHop>()->setVal(IpGenAddr(), context);
    make<Attribute::AsPath>()->setVal(nullptr, context);
    EXPECT_EQ(read("community.count", context), "0");
    EXPECT_EQ(read("input.community.count", context), "3");
    EXPECT_EQ(read("large_community.count", context), "1");
    EXPECT_EQ(read("input.large_community.count", context), "2");
    EXPECT_EQ(read("next_hop.ip_version", context), "0");
    EXPECT_EQ(read("input.next_hop.ip_version", context), "6");
    EXPECT_EQ(read("as_path.length", context), "0");
    EXPECT_EQ(read("as_path.origin_as", context), "65000");

    // A path of 65537 AS numbers keeps the low 16 bits of its length.
    Routing::Bgp::AsnVector longPath;
    longPath.append(Routing::Bgp::SegmentType::sequence, std::vector<U32>(65537, 1));
    context->reset();
    context->asPath = Routing::Bgp::AsPath(longPath);
    EXPECT_EQ(read("as_path.length", context), "1");
}

TEST(Attributes, PathChangedInPlaceShowsOnceStored) {
    auto const context = fullRoute();
    auto const path = make<Attribute::AsPath>();
    auto * const changed = path->getValModifiable(context);
    changed->expand().clear();
    EXPECT_EQ(read("as_path", context), "");
    EXPECT_EQ(read("as_path.length", context), "3");
    path->setVal(changed, context);
    EXPECT_EQ(read("as_path.length", context), "0");
    EXPECT_EQ(read("input.as_path.length", context), "3");
    EXPECT_EQ(read("input.as_path", context), "65001 65002 {65003,65004}");
}

TEST(Attributes, ModifiableIntegersHoldTheirRange) {
    auto const context = fullRoute();
    for (NodeClass const & nodeClass : nodeClasses()) {
        auto const * const info = nodeClass.attribute;
        if (info == nullptr || !info->modifiable || !info->max) {
            continue;
        }
        auto const made = NodeMaker::node(nodeClass);
        auto const & node = static_cast<IntModifiable const &>(*made);
        EXPECT_EQ(node.min(), *info->min);
        EXPECT_EQ(node.max(), *info->max);
        EXPECT_EQ(node.defaultValue(), info->defaultValue.value_or(*info->min));
        String const inputName = String("input.") + info->languageName;
        String const before = read(inputName.c_str(), context);
        for (U64 const value : {node.min(), node.max(), node.defaultValue()}) {
            node.setVal(value, context);
            EXPECT_EQ(node.getVal(context), value) << nodeClass.name;
            EXPECT_EQ(read(inputName.c_str(), context), before) << nodeClass.name;
        }
        context->reset();
        EXPECT_EQ(std::to_string(node.getVal(context)), before) << nodeClass.name;
        auto const text = testing::HasSubstr(
            String(nodeClass.name) == "Origin"
                ? "assertion failed: ( val >= min() && val <= max() ) || val == defaultValue() ("
                : "assertion failed: val >= min() && val <= max() (");
        EXPECT_DEATH(node.setVal(node.max() + 1, context), text) << nodeClass.name;
    }
    context->med = 4294967296;
    EXPECT_DEATH(read("med", context), "val >= min\\(\\) && val <= max\\(\\)");
    EXPECT_EQ(read("input.med", context), "4294967296");
}

TEST(Attributes, IsisLevels) {
    using Routing::Isis::Level;
    std::pair<Level, std::vector<U64>> const levels[] = {
        {Level::level1, {1}}, {Level::level2, {2}}, {Level::level1And2, {1, 2}}, {Level::none, {}}};
    for (auto const & [level, expected] : levels) {
        auto const set = u64SmallVectorFactory(ModifyFlag::reuseOnWrite);
        isisLevelPopulateVector(set, level);
        EXPECT_EQ(set->toStrep(), setOf<U64SmallVector>(expected)->toStrep());
        EXPECT_EQ(isisLevelFromVector(set), level);
    }
    auto const set = u64SmallVectorFactory(ModifyFlag::reuseOnWrite);
    isisLevelPopulateVector(set, Level::unset);
    EXPECT_TRUE(set->empty());
    EXPECT_EQ(isisLevelFromVector(nullptr), Level::none);
    for (std::vector<U64> const & wrong : {std::vector<U64>{2, 7}, {0}, {1, 2, 3}}) {
        EXPECT_DEATH(isisLevelFromVector(setOf<U64SmallVector>(wrong)),
                     "assertion failed: 0 && \"isisLevel does not have a valid value\" \\(");
    }
}

TEST(Attributes, SourceProtocolsByRouteProtocol) {
    std::vector<std::vector<int>> const codes = {
        {0, 3, 8, 11, 12, 13, 14, 28, 53, 56, 57, 68, 69, 70, 118, 119, 120, 121},
        {1, 101},
        {2, 102},
        {4, 103},
        {49, 115},
        {52, 116},
        {9, 106},
        {24, 25, 30, 47, 110, 111, 112, 114},
        {5, 6, 31, 104, 105, 113},
        {15, 107},
        {10, 20, 109, 117},
        {16, 108}};
    std::set<int> known;
    for (std::size_t protocol = 0; protocol < codes.size(); ++protocol) {
        for (int const code : codes[protocol]) {
            EXPECT_EQ(routeProtoToSourceProtocol(static_cast<Routing::RouteProto>(code)),
                      SourceProtocolTypeInstance(protocol));
            known.insert(code);
        }
    }
    for (int const code : {7, 17, 100, 122, 255}) {
        ASSERT_FALSE(known.contains(code));
        EXPECT_DEATH(routeProtoToSourceProtocol(static_cast<Routing::RouteProto>(code)),
                     "assertion failed: invalid Routing::RouteProto value \\(");
    }
}

TEST(Attributes, EnumeratorsPrintAndParse) {
    char const * const protocols[] = {"ATTACHED_HOST", "CONNECTED", "DHCP",     "DYNAMIC",
                                      "ISIS",          "KERNEL",    "NO_MATCH", "OSPF",
                                      "OSPFv3",        "STATIC",    "10",       "11"};
    for (U64 number = 0; number < std::size(protocols); ++number) {
        auto const value = SourceProtocolTypeInstance(number);
        EXPECT_EQ(static_cast<U64>(value), number);
        EXPECT_EQ(stringValue(value), protocols[number]);
        EXPECT_EQ(SourceProtocolTypeInstance(protocols[number]), value);
        EXPECT_EQ(SourceProtocolTypeInstance(std::to_string(number)), value);
        std::ostringstream out;
        out << value;
        EXPECT_EQ(out.str(), protocols[number]);
    }
    EXPECT_EQ(SourceProtocolTypeInstance("OSPFv3"), SourceProtocolType::OSPFv3);
    EXPECT_EQ(stringValue(RecmpStateTypeInstance(1)), "RECMP_ENABLED");
    EXPECT_EQ(RecmpStateTypeInstance("RECMP_DEFAULT"), RecmpStateTypeInstance(0));
    EXPECT_EQ(RecmpStateTypeInstance("1"), RecmpStateTypeInstance(1));
    for (char const * const wrong :
         {"", "12", "-1", "OSPF ", "ospf", "BGP", "256", "0x1", "99999999999999999999"}) {
        EXPECT_THROW(SourceProtocolTypeInstance(wrong), ParseError) << wrong;
    }
    for (char const * const wrong : {"", "2", "-1", "RECMP", "1 ", "99999999999999999999"}) {
        EXPECT_THROW(RecmpStateTypeInstance(wrong), ParseError) << wrong;
    }
    EXPECT_THROW(SourceProtocolTypeInstance(12), ParseError);
    EXPECT_THROW(SourceProtocolTypeInstance(256), ParseError);
}
