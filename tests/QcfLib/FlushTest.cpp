#include "tests/support/NodeMaker.h"
#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

/// Stores a value in each of the 23 attributes, the last one first.
void modifyAll(Ptr<RecordingContext> const & context) {
    for (std::size_t i = nodeClasses().size(); i-- > 0;) {
        NodeClass const & nodeClass = nodeClasses()[i];
        if (nodeClass.attribute == nullptr || !nodeClass.attribute->modifiable) {
            continue;
        }
        auto const made = NodeMaker::node(nodeClass);
        if (auto const * n = dynamic_cast<IntModifiable const *>(made.get())) {
            n->setVal(0, context);
            n->setVal(1, context); // only the last value is written back
        } else if (auto const * a = dynamic_cast<IpAddressModifiable const *>(made.get())) {
            a->setVal(IpGenAddr::v4(1), context);
        } else if (auto const * s = dynamic_cast<IntSetModifiable const *>(made.get())) {
            s->setVal(setOf<U64SmallVector>({1}), context);
        } else if (auto const * c = dynamic_cast<CommunitySetModifiable const *>(made.get())) {
            c->setVal(setOf<CommunitySmallVector>({{1, 1}}), context);
        } else if (auto const * r = dynamic_cast<ResolutionRibsModifiable const *>(made.get())) {
            r->setVal(Routing::Rib::ResolutionRibProfileConfig(true), context);
        } else if (auto const * p = dynamic_cast<AsPathModifiable const *>(made.get())) {
            auto * const path = p->getValModifiable(context);
            path->expand().append(Routing::Bgp::SegmentType::sequence, std::vector<U32>{7});
            p->setVal(path, context);
        }
    }
}

/// An override that does what the default does, by calling it.
class CallsItsBase final : public EvalContext {
public:
    CallsItsBase() : EvalContext(nullptr, nullptr, nullptr) {}
    void medIs(U64 value) override {
        EvalContext::medIs(value);
        ++writeBacks;
    }
    void communityInputPopulate(Ptr<U64SmallVector> const & set) const override {
        EvalContext::communityInputPopulate(set);
        ++populates;
    }
    int writeBacks = 0;
    mutable int populates = 0;
};

/// A context whose table of operations is not its object's first.
struct Other {
    virtual ~Other() = default;
    virtual int first() const { return 1; }
};
class SecondBase final : public Other, public EvalContext {
public:
    SecondBase() : EvalContext(nullptr, nullptr, nullptr) {}
    void medIs(U64 value) override { med = value; }
    U64 med = 0;
};

} // namespace

TEST(Flush, WritesEachAttributeOnceInOrder) {
    auto const context = makePtr<RecordingContext>();
    modifyAll(context);
    EXPECT_EQ(context->modifiedFlags(), (1U << modifiableAttributeCount) - 1);
    context->calls.clear();
    context->flushModifiedAttributes();
    EXPECT_EQ(context->takeCalls(),
              "aigpAccumulationMetricIs 1; aigpMetricIs 1; asPathIs 7; prefixSidIndexIs 1; "
              "communityIs 1; evpnIpPrefixRouteGatewayAddrIs 0.0.0.1; evpnIpPrefixRouteLabelIs 1; "
              "extCommunityIs 0:1:1; recmpStateIs 1; tagIs 1; isisLevelIs 1; isisMetricIs 1; "
              "largeCommunityIs 0:1:1; localPrefIs 1; medIs 1; nextHopIs 0.0.0.1; "
              "nextHopBestPathMetricIs 1; originIs 1; resolutionRibsIs default; ribPreferenceIs 1; "
              "routePriorityIs 1; originValidationStateIs 1; weightIs 1");
    // The flags stay until the reset, and what was never stored is not written.
    EXPECT_TRUE(context->medModified());
    context->reset();
    EXPECT_EQ(context->modifiedFlags(), 0U);
    context->flushModifiedAttributes();
    EXPECT_EQ(context->takeCalls(), "");
    context->communityInputModifiable()->insert(5);
    context->calls.clear();
    context->flushModifiedAttributes();
    EXPECT_EQ(context->takeCalls(), "");
}

TEST(Flush, ANullSetRemovesTheAttribute) {
    auto const context = makePtr<RecordingContext>();
    make<Attribute::Community>()->setVal(nullptr, context);
    make<Attribute::NextHop>()->setVal(IpGenAddr(), context);
    context->flushModifiedAttributes();
    EXPECT_EQ(context->takeCalls(), "communityIs null; nextHopIs");
}

TEST(Flush, AnExceptionOfAWriteBackLeavesTheContextUsable) {
    auto const context = makePtr<RecordingContext>();
    auto const f = function({make<IntAssign>(make<Attribute::Med>(), number(5)),
                             make<IntAssign>(make<Attribute::Weight>(), number(6)), accepts()});
    context->throwAt = "medIs";
    EXPECT_THROW(f->eval(context), std::runtime_error);
    EXPECT_EQ(context->takeCalls(), "medIs 5");
    context->throwAt = "";
    context->reset();
    f->eval(context);
    EXPECT_EQ(context->takeCalls(), "medIs 5; weightIs 6");
}

TEST(Flush, DetectsOverrides) {
    auto const bare = makePtr<EvalContext>(nullptr, nullptr, nullptr);
    make<Attribute::Med>()->setVal(5, bare);
    bare->flushModifiedAttributes();

    auto const callsBase = makePtr<CallsItsBase>();
    make<Attribute::Med>()->setVal(5, callsBase);
    make<Attribute::Weight>()->setVal(5, callsBase);
    callsBase->flushModifiedAttributes();
    EXPECT_EQ(callsBase->writeBacks, 1);
    EXPECT_EQ(make<Attribute::CommunityCount>()->getVal(callsBase), 0U);
    EXPECT_EQ(callsBase->populates, 1);

    auto const second = makePtr<SecondBase>();
    make<Attribute::Med>()->setVal(5, second);
    make<Attribute::Weight>()->setVal(5, second);
    second->flushModifiedAttributes();
    EXPECT_EQ(second->med, 5U);
}

TEST(Inputs, AreFetchedOncePerRouteIntoKeptContainers) {
    auto const context = makePtr<RecordingContext>();
    context->community = {1, 2};
    auto const count = make<Attribute::CommunityCountInput>();
    auto const set = make<Attribute::Community>();
    U64SmallVector const * kept = nullptr;
    for (int route = 0; route < 3; ++route) {
        context->reset();
        EXPECT_EQ(count->getVal(context), 2U);
        EXPECT_EQ(count->getVal(context), 2U);
        EXPECT_EQ(context->takeCalls(), "communityInputPopulate");
        PtrConst<U64SmallVector> fresh;
        auto const * const current = set->lendVal(context, fresh);
        EXPECT_EQ(set->lendVal(context, fresh), current);
        EXPECT_EQ(context->takeCalls(), "communityInputPopulate");
        EXPECT_TRUE(kept == nullptr || kept == current);
        kept = current;
    }
    context->reset();
    context->community = {};
    EXPECT_EQ(count->getVal(context), 0U);
}

TEST(Inputs, AreFetchedAgainAfterAnException) {
    auto const context = makePtr<RecordingContext>();
    context->community = {1, 2};
    context->asPath = Routing::Bgp::AsPath(*Routing::Bgp::parseAsPath("1 2 3"));
    auto const count = make<Attribute::CommunityCount>();
    auto const length = make<Attribute::AsPathLength>();
    context->throwAt = "communityInputPopulate";
    EXPECT_THROW(count->getVal(context), std::runtime_error);
    EXPECT_FALSE(context->cacheIs()->communityInputPopulated());
    context->throwAt = "asPathInputPopulate";
    EXPECT_THROW(length->getVal(context), std::runtime_error);
    context->throwAt = "";
    EXPECT_EQ(count->getVal(context), 2U);
    EXPECT_EQ(length->getVal(context), 3U);
    EXPECT_EQ(make<Attribute::Community>()->getVal(context)->toStrep(), "1,2");
}

TEST(Inputs, StoreAndCacheAreDetachedAndMadeAnew) {
    auto const context = makePtr<RecordingContext>();
    context->community = {1};
    make<Attribute::Med>()->setVal(5, context);
    auto const content = context->attributeContentDel();
    EXPECT_EQ(content->med, 5U);
    EXPECT_EQ(context->attributeContentIs()->med, 0U);
    EXPECT_EQ(context->attributeContentIs(), context->attributeContentIs());
    EXPECT_EQ(make<Attribute::CommunityCount>()->getVal(context), 1U);
    context->reset();
    auto const cache = context->cacheDel();
    EXPECT_TRUE(cache->communityInput);
    EXPECT_FALSE(context->cacheIs()->communityInput);
    EXPECT_EQ(make<Attribute::CommunityCount>()->getVal(context), 1U);
}
