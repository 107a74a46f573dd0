#include "tests/support/NodeMaker.h"
#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;
using Routing::Policy::PrefixListMatcher;

namespace {

/// Answers as told and keeps what it was asked about.
class Matcher final : public PrefixListMatcher {
public:
    Matcher(AddressFamily af, TristateBoolean answer) : af_(af), answer_(answer) {}
    AddressFamily af() const override { return af_; }
    TristateBoolean
    matchWithTristate(Routing::Policy::MatchInput_ const & input,
                      Ptr<Routing::Policy::PolicyEvalContext> const & context) const override {
        EXPECT_EQ(context, nullptr);
        asked = input.prefix.toString();
        return answer_;
    }
    mutable String asked;

private:
    AddressFamily af_;
    TristateBoolean answer_;
};

constexpr auto none = AddressFamily::none;
constexpr auto v4 = AddressFamily::ipv4;
constexpr auto v6 = AddressFamily::ipv6;

Ptr<Matcher> matcher(AddressFamily af, TristateBoolean answer = TristateBoolean::of(true)) {
    return makePtr<Matcher>(af, answer);
}

/// Left operand, name and slot of a list operator.
class ListFields final : public FieldReader {
public:
    ListFields(PtrConst<AetNodeBase> lhs, U16 index) : lhs_(std::move(lhs)), index_(index) {}
#define QCF_TEST_READ(Type)                                                                        \
    void read(FieldInfo const &, Type & value) override { give(value); }
    QCF_FOR_EACH_SCALAR(QCF_TEST_READ)
#undef QCF_TEST_READ
    PtrConst<AetNodeBase> readNode(FieldInfo const &) override { return lhs_; }

private:
    template <typename Value>
    void give(Value & value) {
        if constexpr (std::is_same_v<Value, U16>) {
            value = index_;
        } else if constexpr (std::is_same_v<Value, String>) {
            value = "CL";
        }
    }
    PtrConst<AetNodeBase> lhs_;
    U16 index_;
};

PtrConst<Expression> listNode(NodeClass const & nodeClass, U16 index) {
    ListFields fields(NodeMaker::child(nodeClass.fields[0]), index);
    return ptrCast<Expression const>(PtrConst<AetNodeBase>(nodeClass.create(nextKey(), fields)));
}

/// The eighteen classes, told by their names: "IntSetAddCommList" calls commAddCommList.
struct ListClass {
    NodeClass const * nodeClass;
    String operation;
    bool test;
    bool integers;
    char const * lhs;
};

std::vector<ListClass> listClasses() {
    std::vector<ListClass> classes;
    for (NodeClass const & nodeClass : nodeClasses()) {
        String const name = nodeClass.name;
        if (!name.ends_with("CommList")) {
            continue;
        }
        bool const integers = name.starts_with("IntSet");
        String const verb = name.substr(integers ? 6 : 12);
        bool const test = verb.starts_with("Match");
        bool const large = name.ends_with("LargeCommList");
        String const family = integers ? "comm" : large ? "largeComm" : "extComm";
        classes.push_back({&nodeClass, test ? "m" + verb.substr(1) : family + verb, test, integers,
                           integers ? "community" : "extCommunity"});
    }
    return classes;
}

} // namespace

TEST(ListOperators, CallTheirOperationWithStatusAndSet) {
    ASSERT_EQ(listClasses().size(), 18U);
    auto const matchers = makePtr<Qcf::ExternalMatchersBase>();
    matchers->commLists.entryIs(2, makePtr<Routing::RouteMap::StandardCommListStatus>());
    matchers->extCommLists.entryIs(2, makePtr<Routing::RouteMap::ExtCommListStatus>());
    matchers->largeCommLists.entryIs(2, makePtr<Routing::RouteMap::LargeCommListStatus>());
    auto const context = makePtr<RecordingContext>(matchers);
    context->community = {5};
    context->extCommunity = {{5, 1}};
    context->intSetAnswer = setOf<U64SmallVector>({8}, ModifyFlag::reuseOnWrite);
    context->communityAnswer = setOf<CommunitySmallVector>({{8, 1}}, ModifyFlag::reuseOnWrite);
    for (ListClass const & c : listClasses()) {
        for (auto const & [index, status] : {std::pair{2, "list"}, {1, "null"}, {7, "null"}}) {
            for (bool const answer : {false, true}) {
                context->reset();
                context->matchAnswer = answer;
                auto const node = listNode(*c.nodeClass, static_cast<U16>(index));
                EXPECT_EQ(node->eval(context), EvalResult::fromBool(!c.test || answer));
                bool const assigns = c.operation.find("Assign") != String::npos;
                String const set = c.integers ? "5 " : "0:5:1 ";
                String const fetch = String(c.lhs) + "InputPopulate; ";
                EXPECT_EQ(context->takeCalls(), (assigns ? "" : fetch) + c.operation + " " +
                                                    (assigns ? "" : set) + status);
                context->flushModifiedAttributes();
                EXPECT_EQ(context->takeCalls(),
                          c.test ? "" : String(c.lhs) + "Is " + (c.integers ? "8" : "0:8:1"));
            }
        }
    }
}

TEST(ListOperators, OfABareContextMatchNothingAndEmptyTheSet) {
    auto const context = makePtr<EvalContext>(nullptr, nullptr, nullptr);
    auto const path = make<AsPathMatchAsPathAccessList>(make<Attribute::AsPath>(), "A", U16{1});
    EXPECT_EQ(path->eval(context), EvalResult::fromBool(false));
    for (ListClass const & c : listClasses()) {
        context->reset();
        context->communityInputModifiable()->insert(1);
        EXPECT_EQ(listNode(*c.nodeClass, 1)->eval(context), EvalResult::fromBool(!c.test));
        auto const & stored = context->attributeContentConst();
        EXPECT_EQ(context->modifiedFlags() != 0, !c.test);
        EXPECT_TRUE(c.integers ? stored.community == nullptr : stored.extCommunity == nullptr);
    }
}

TEST(ListOperators, SanityIsASlotThatTheMetadataKnows) {
    struct Line {
        int level;
        String text;
    };
    std::vector<Line> lines;
    TraceFacility & facility = *TraceFacility::find("QcfEval");
    TraceFacility::sinkIs([&](int level, String const & text) { lines.push_back({level, text}); });
    Qcf::FunctionMetadata metadata;
    Qcf::FunctionMetadata::eachKind(metadata,
                                    [](char const *, Qcf::SlotMap & map) { map["CL"] = 3; });
    auto classes = listClasses();
    for (char const * const more : {"IntMatchTagSet", "AsPathMatchAsPathAccessList"}) {
        classes.push_back({findNodeClass(more), "", true, true, ""});
    }
    Qcf::FunctionMetadata zero;
    Qcf::FunctionMetadata::eachKind(zero, [](char const *, Qcf::SlotMap & map) { map["CL"] = 0; });
    for (ListClass const & c : classes) {
        facility.levelIs(2);
        lines.clear();
        EXPECT_TRUE(listNode(*c.nodeClass, 3)->verifySanity(metadata));
        EXPECT_FALSE(listNode(*c.nodeClass, 2)->verifySanity(metadata));
        EXPECT_FALSE(listNode(*c.nodeClass, 3)->verifySanity({}));
        EXPECT_FALSE(listNode(*c.nodeClass, 0)->verifySanity({}));
        EXPECT_FALSE(listNode(*c.nodeClass, 0)->verifySanity(zero));
        ASSERT_EQ(lines.size(), 5U);
        EXPECT_EQ(lines[1].level, 2);
        EXPECT_EQ(lines[1].text,
                  String(c.nodeClass->name) + "::verifySanity: index=2 metadataIndex=3");
        facility.levelIs(1);
        EXPECT_FALSE(listNode(*c.nodeClass, 2)->verifySanity(metadata));
        EXPECT_EQ(lines.size(), 5U);
    }
    facility.levelIs(0);
    TraceFacility::sinkIs({});
    // Each kind has a map of its own.
    for (ListClass const & c : classes) {
        int sane = 0;
        Qcf::FunctionMetadata::eachKind(metadata, [&](char const * kind, Qcf::SlotMap &) {
            Qcf::FunctionMetadata one;
            Qcf::FunctionMetadata::eachKind(one, [&](char const * other, Qcf::SlotMap & map) {
                map["CL"] = String(kind) == other ? 3 : 0;
            });
            sane += listNode(*c.nodeClass, 3)->verifySanity(one) ? 1 : 0;
        });
        EXPECT_EQ(sane, 1) << c.nodeClass->name;
    }
}

TEST(PrefixLists, WhichMatcherAListStandsFor) {
    auto const matchers = makePtr<Qcf::ExternalMatchersBase>();
    auto const list4 = matcher(v4);
    auto const list6 = matcher(v6);
    matchers->ipv4PrefixLists.entryIs(1, list4);
    matchers->ipv6PrefixLists.entryIs(1, list6);
    auto const context = makePtr<RecordingContext>(matchers);
    struct Case {
        U16 index;
        bool isV4;
        AddressFamily asked;
        PrefixListMatcher const * expected;
    } const cases[] = {
        {1, true, v4, list4.get()},  {1, true, v6, nullptr},       {1, true, none, list4.get()},
        {1, false, v6, list6.get()}, {1, false, v4, nullptr},      {1, false, none, list6.get()},
        {0, true, v4, nullptr},      {65535, true, none, nullptr}, {65535, false, v6, nullptr},
    };
    for (Case const & c : cases) {
        auto const node = make<PrefixListImmediate>("P", c.index, c.isV4);
        EXPECT_EQ(node->getValWithArgs(context, c.asked), c.expected) << c.index << c.isV4;
        EXPECT_EQ(node->toStrep(), "v4 P");
        // As an argument the matcher keeps to its own family.
        StackFrameData_ frame;
        node->pushFuncArgToStack(context, &frame);
        StackFrameData_ * const top = context->stackFrameDataRawPtr();
        context->stackFrameDataIs(&frame);
        context->functionCallDepthInc(1);
        auto const variable = make<PrefixListVariable>("p", U8{0});
        EXPECT_EQ(variable->getValWithArgs(context, c.asked), c.expected) << c.index << c.isV4;
        context->functionCallDepthDec(1);
        context->stackFrameDataIs(top);
    }
}

TEST(PrefixLists, DynamicOnesAreInUseForSomeVrfsOfOutboundSessions) {
    auto const matchers = makePtr<Qcf::ExternalMatchersBase>();
    auto const list4 = matcher(v4);
    auto const list6 = matcher(v6);
    auto const status = makePtr<Routing::RouteMap::DynamicPrefixListStatus>();
    status->vrfIs(1, true);
    status->vrfIs(2, false);
    status->vrfIs(EvalContext::noVrf, true);
    matchers->dynamicPrefixLists.entryIs(1, status);
    matchers->dynamicIpv4PrefixLists.entryIs(1, list4);
    matchers->dynamicIpv6PrefixLists.entryIs(1, list6);
    auto const context = makePtr<RecordingContext>(matchers);
    struct Case {
        U32 vrf;
        bool outbound;
        U16 index;
        bool active;
    } const cases[] = {{1, true, 1, true},  {1, false, 1, false},
                       {2, true, 1, false}, {3, true, 1, false},
                       {1, true, 2, false}, {EvalContext::noVrf, true, 1, false}};
    for (Case const & c : cases) {
        context->vrf = c.vrf;
        context->outbound = c.outbound;
        auto const node = make<DynamicPrefixListImmediate>("D", c.index);
        EXPECT_EQ(node->getValWithArgs(context, v4), c.active ? list4.get() : nullptr) << c.vrf;
        EXPECT_EQ(node->getValWithArgs(context, v6), c.active ? list6.get() : nullptr) << c.vrf;
        EXPECT_EQ(node->getValWithArgs(context, none), nullptr);
        EXPECT_EQ(node->toStrep(), "dynamic_prefix_list D");
    }
}

TEST(PrefixLists, OperatorsPassTheAnswerOn) {
    auto const route = makePtr<RecordingContext>();
    struct Case {
        TristateBoolean answer;
        char const * result;
    } const cases[] = {{TristateBoolean::of(true), "true"},
                       {TristateBoolean::of(false), "false"},
                       {TristateBoolean::unset(), "unknown"}};
    for (Case const & c : cases) {
        auto const matchers = makePtr<Qcf::ExternalMatchersBase>();
        auto const list = matcher(v4, c.answer);
        matchers->ipv4PrefixLists.entryIs(1, list);
        auto const context = makePtr<RecordingContext>(matchers);
        auto const listNode = make<PrefixListImmediate>("P", U16{1}, true);
        auto const prefix = make<Attribute::IpPrefix>();
        PtrConst<Expression> const plain = make<IpPrefixMatchPrefixList>(prefix, listNode);
        PtrConst<Expression> const covered = make<IpPrefixMatchCoveredPrefixList>(prefix, listNode);
        PtrConst<Expression> const address =
            make<IpAddressMatchPrefixList>(make<Attribute::NextHop>(), listNode);
        context->ipPrefix = *IpGenPrefix::parse("10.0.0.0/8");
        context->nextHop = *IpGenAddr::parse("10.0.0.1");
        EXPECT_EQ(textOf(plain->eval(context)), c.result);
        EXPECT_EQ(list->asked, "10.0.0.0/8");
        list->asked = "";
        EXPECT_EQ(textOf(covered->eval(context)), c.result);
        EXPECT_EQ(list->asked, "10.0.0.0/8");
        EXPECT_EQ(textOf(address->eval(context)), c.result);
        EXPECT_EQ(list->asked, "10.0.0.1/32");
        // Without a list of the family.
        context->ipPrefix = *IpGenPrefix::parse("2001:db8::/32");
        context->nextHop = *IpGenAddr::parse("2001:db8::1");
        EXPECT_EQ(textOf(plain->eval(context)), "false");
        EXPECT_EQ(textOf(covered->eval(context)), "unknown");
        EXPECT_EQ(textOf(address->eval(context)), "false");
    }
}

TEST(PrefixLists, Sanity) {
    Qcf::FunctionMetadata metadata;
    metadata.V4PrefixListsUsed["P"] = 4;
    metadata.V6PrefixListsUsed["P"] = 6;
    metadata.DynPrefixListsUsed["P"] = 7;
    std::vector<String> lines;
    TraceFacility::sinkIs([&](int, String const & text) { lines.push_back(text); });
    TraceFacility::find("QcfEval")->levelIs(2);
    EXPECT_TRUE(make<PrefixListImmediate>("P", U16{4}, true)->verifySanity(metadata));
    EXPECT_FALSE(make<PrefixListImmediate>("P", U16{4}, false)->verifySanity(metadata));
    EXPECT_FALSE(make<PrefixListImmediate>("Q", U16{0}, false)->verifySanity(metadata));
    EXPECT_TRUE(make<DynamicPrefixListImmediate>("P", U16{7})->verifySanity(metadata));
    EXPECT_FALSE(make<DynamicPrefixListImmediate>("P", U16{6})->verifySanity(metadata));
    EXPECT_TRUE(make<PrefixListVariable>("P", U8{0})->verifySanity(metadata));
    auto const list = make<PrefixListImmediate>("P", U16{4}, true);
    auto const prefix = make<Attribute::IpPrefix>();
    EXPECT_TRUE(make<IpPrefixMatchPrefixList>(prefix, list)->verifySanity(metadata));
    EXPECT_TRUE(make<IpPrefixMatchCoveredPrefixList>(prefix, list)->verifySanity(metadata));
    EXPECT_FALSE(
        make<IpAddressMatchPrefixList>(make<Attribute::NextHop>(), list)->verifySanity({}));
    TraceFacility::find("QcfEval")->levelIs(0);
    TraceFacility::sinkIs({});
    String const of4 = "PrefixListImmediate::verifySanity: indexInAet=4 indexInMetadata=";
    EXPECT_EQ(lines, (std::vector<String>{
                         of4 + "4", of4 + "6",
                         "PrefixListImmediate::verifySanity: indexInAet=0 indexInMetadata=0",
                         "DynamicPrefixListImmediate::verifySanity: indexInAet=7 indexInMetadata=7",
                         "DynamicPrefixListImmediate::verifySanity: indexInAet=6 indexInMetadata=7",
                         of4 + "4", "IpPrefixMatchPrefixList::verifySanity: exprSane=1", of4 + "4",
                         "IpAddressCoveredPrefixList::verifySanity: exprSane=1", of4 + "0",
                         "IpAddressMatchPrefixList::verifySanity: exprSane=0"}));
}
