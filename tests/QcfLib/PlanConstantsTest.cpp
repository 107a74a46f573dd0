#include "tests/support/Cases.h"
#include "tests/support/Plans.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

/// Random functions over constant prefixes, ranges and arguments, of few values, so that they often
/// meet: conditions whose tests a plan joins, in front, in the middle and at the end of others.
class Functions {
public:
    explicit Functions(U32 seed) : random_(seed) {}

    PtrConst<Function> any() {
        Expressions statements{chainOf(1 + below(6))};
        if (oneIn(2)) {
            statements.push_back(called());
        }
        if (oneIn(3)) {
            statements.push_back(
                make<AsPathPrepend>(make<Attribute::AsPath>(), intList({value(), value()})));
            statements.push_back(chainOf(1 + below(4)));
        }
        statements.push_back(returns(oneIn(2) ? condition(2) : always(QcfTrue())));
        return function(statements);
    }

    void fill(RecordingContext & route) {
        route.ipPrefix = prefix();
        route.flowspecSourcePrefix = prefix();
        route.aigpMetric = oneIn(3) ? (U64{1} << 32) + value() : value();
        route.med = value();
        route.matchAnswer = oneIn(2);
        std::vector<Routing::Bgp::Asn> asns;
        for (U64 count = below(5); count > 0; --count) {
            asns.push_back(static_cast<U32>(value()));
        }
        Routing::Bgp::AsnVector path;
        path.assignSequence({asns.data(), asns.size()});
        route.asPath.asnsIs(path);
    }

private:
    U64 below(U64 limit) { return random_() % limit; }
    bool oneIn(U64 count) { return below(count) == 0; }
    U64 value() { return oneIn(8) ? 0xffffffff - below(2) : below(12); }

    /// Of few addresses and all kinds of lengths, so that many are equal or within each other.
    IpGenPrefix prefix() {
        static constexpr U8 lengths4[] = {0, 1, 7, 8, 9, 24, 31, 32};
        static constexpr U8 lengths6[] = {0, 1, 16, 63, 64, 65, 127, 128};
        static constexpr U8 octets[] = {0, 1, 10, 0x7f, 0x80, 0xff};
        if (oneIn(12)) {
            return {};
        }
        std::array<U8, 16> bytes{};
        for (std::size_t i = 0; i < bytes.size(); i += oneIn(2) ? 1 : 4) {
            bytes[i] = octets[below(std::size(octets))];
        }
        if (oneIn(2)) {
            return {IpGenAddr::v6(bytes), lengths6[below(std::size(lengths6))]};
        }
        U32 const address = U32{bytes[0]} << 24 | U32{bytes[1]} << 16 | bytes[3];
        return {IpGenAddr::v4(address), lengths4[below(std::size(lengths4))]};
    }
    PtrConst<IpPrefix> candidate() {
        if (oneIn(10)) {
            return make<IpPrefixImmediate>(prefix());
        }
        return oneIn(4) ? PtrConst<IpPrefix>(make<Attribute::FlowspecSourcePrefix>())
                        : make<Attribute::IpPrefix>();
    }
    PtrConst<Expression> covered() {
        if (oneIn(15)) {
            return make<IpPrefixCoveredBy>(make<Attribute::IpPrefix>(),
                                           make<Attribute::FlowspecSourcePrefix>());
        }
        return make<IpPrefixCoveredBy>(candidate(), make<IpPrefixImmediate>(prefix()));
    }

    PtrConst<Int> integer() {
        switch (below(argument_ ? 7 : 6)) {
        case 0:
            return make<Attribute::AsPathLength>();
        case 1:
            return make<Attribute::AsPathOriginAs>();
        case 2:
            return make<Attribute::IpPrefixLength>();
        case 3:
            return make<Attribute::AsPathOriginAsInput>();
        case 4:
            return make<Attribute::Med>();
        case 5:
            return make<Attribute::AigpMetric>();
        default:
            return make<IntVariable>("i", U8{0});
        }
    }
    /// Sets with ranges; now and then nothing in the brackets, or what is built at each evaluation.
    PtrConst<Expression> inRanges() {
        std::vector<U64> singletons;
        std::vector<U64> lower;
        std::vector<U64> upper;
        for (U64 count = below(3); count > 0; --count) {
            singletons.push_back(value());
        }
        for (U64 count = 1 + below(3); count > 0; --count) {
            lower.push_back(value());
            upper.push_back(oneIn(6) ? value() : lower.back() + below(4));
        }
        bool const kept = !oneIn(8);
        auto const set = oneIn(4) ? nullptr : intSet(singletons, !oneIn(8));
        if (oneIn(6)) {
            return make<IntInImmediateSetWithRanges>(integer(), set, nullptr, nullptr);
        }
        return make<IntInImmediateSetWithRanges>(integer(), set, intList(lower, kept),
                                                 intList(upper, kept));
    }

    PtrConst<Expression> test() {
        switch (below(8)) {
        case 0:
        case 1:
            return inRanges();
        case 2:
            return make<IntGreaterThan>(integer(), number(oneIn(4) ? value() << 32 : value()));
        case 3:
            return make<IpPrefixIs>(make<Attribute::IpPrefix>(), make<IpPrefixImmediate>(prefix()));
        default:
            return covered();
        }
    }
    /// Tests joined by operators, several of a kind in a row.
    PtrConst<Expression> condition(int depth) {
        static constexpr char const * operators[] = {"or", "or", "or", "and", "??"};
        if (depth == 0 || oneIn(4)) {
            return oneIn(6) ? PtrConst<Expression>(make<NotExpression>(test())) : test();
        }
        Expressions operands;
        for (U64 count = 1 + below(4); count > 0; --count) {
            auto const one = oneIn(3) ? condition(depth - 1) : test();
            operands.push_back(one);
            for (U64 row = oneIn(2) ? 1 + below(4) : 0; row > 0; --row) {
                operands.push_back(covered());
            }
        }
        return logical(operators[below(std::size(operators))], operands);
    }
    PtrConst<Expression> chainOf(U64 clauses) {
        PtrConst<Expression> chain;
        for (; clauses > 0; --clauses) {
            auto const taken =
                block({make<IntAssign>(make<Attribute::LocalPref>(), number(random_() % 1000))});
            chain = make<IfExpression>(condition(2), taken, chain);
        }
        return chain;
    }
    /// A call of a function with an argument that may need all of an integer's bits.
    PtrConst<Expression> called() {
        argument_ = true;
        auto const callee = function({chainOf(1 + below(3)), returns(condition(1))}, true, "g");
        argument_ = false;
        return make<IfExpression>(
            call(callee, {number(oneIn(2) ? (U64{1} << 32) + value() : value())}),
            block({make<IntPlusEq>(make<Attribute::Med>(), number(1))}), nullptr);
    }

    std::mt19937 random_;
    bool argument_ = false; ///< in a function that has one
};

/// The outcome, and which accessors were called at all.
String everything(Function const & function, Ptr<RecordingContext> const & context) {
    String text = outcome(function, context);
    std::sort(context->calls.begin(), context->calls.end());
    context->calls.erase(std::unique(context->calls.begin(), context->calls.end()),
                         context->calls.end());
    for (String const & call : context->calls) {
        text += "\n" + call;
    }
    return text;
}

String byPlanAndByWalk(Function const & function, Ptr<RecordingContext> const & context,
                       String & walked) {
    PlansEnabled const off(false);
    walked = everything(function, context);
    PlansEnabled const on(true);
    return everything(function, context);
}

} // namespace

TEST(PlanConstants, PrefixesAndRangesAgreeWithTheTree) {
    constexpr U64 routes = 50;
    auto const context = makePtr<RecordingContext>();
    String walked;
    for (U64 seed = 0; seed < casesWanted(100'000) / routes; ++seed) {
        Functions functions(static_cast<U32>(seed));
        auto const function = functions.any();
        for (U64 route = 0; route < routes; ++route) {
            functions.fill(*context);
            String const planned = byPlanAndByWalk(*function, context, walked);
            ASSERT_EQ(planned, walked) << "seed " << seed << ", route " << route;
        }
    }
}

// What stands together is one step, whatever is around it; what another covers falls out.
TEST(PlanConstants, PrefixesOfAnOrAreOneStep) {
    auto const around = [](char const * text) {
        return make<IpPrefixCoveredBy>(make<Attribute::IpPrefix>(),
                                       make<IpPrefixImmediate>(*IpGenPrefix::parse(text)));
    };
    auto const longPath = make<IntGreaterThan>(make<Attribute::AsPathLength>(), number(5));
    auto const nested = logical("or", {around("10.1.0.0/16"), around("10.0.0.0/8")});
    auto const f = function(
        {make<IfExpression>(logical("or", {around("192.168.0.0/16"), nested, around("::/0"),
                                           longPath, around("2001:db8::/32"), around("2001::/16")}),
                            block({returns(always(QcfFalse()))}), nullptr),
         accepts()});
    auto const out = makePtr<DumpContext>();
    f->planFor(*f).dump(out);
    EXPECT_NE(out->text().find("plan of 3 steps"), String::npos) << out->text();
    EXPECT_NE(out->text().find("prefix by 3 prefixes"), String::npos) << out->text();
    EXPECT_NE(out->text().find("prefix by 1 prefixes"), String::npos) << out->text();
    EXPECT_TRUE(f->planFor(*f).nodesWithoutStep().empty());
}

// Deep and shared trees of `or` are neither unfolded nor walked again and again.
TEST(PlanConstants, SharedOrsStaySmall) {
    PtrConst<Expression> condition = make<IpPrefixCoveredBy>(
        make<Attribute::IpPrefix>(), make<IpPrefixImmediate>(*IpGenPrefix::parse("10.0.0.0/8")));
    for (int level = 0; level < 60; ++level) {
        condition = logical("or", {condition, condition});
    }
    auto const context = makePtr<RecordingContext>();
    context->ipPrefix = *IpGenPrefix::parse("10.0.0.0/8");
    auto const f = function({returns(condition)});
    EXPECT_LT(Plan(*f).stepCount(), 1000U);
    EXPECT_EQ(outcome(*f, context), "true");
}

// Its arguments are in place: neither a frame nor a call is left, and the table is asked likewise.
TEST(PlanConstants, OriginValidationNeedsNoFrame) {
    auto const callee = function({make<MatchOriginAsValidityImplExpr>()}, true, "validity");
    struct Case {
        std::vector<PtrConst<StorageType>> arguments;
        bool isInPlace;
        char const * asked;
    };
    Case const cases[] = {
        {{number(7), number(2)}, true, "matchRoaTable 7 2"},
        {{number(0xffffffff), number(0, true)}, true, "matchRoaTable 4294967295 0"},
        {{make<RoaTableImmediate>(U64{9}, "T"), number(1)}, true, "matchRoaTable 9 1"},
        {{number(7), make<Attribute::Med>()}, false, "medInput; matchRoaTable 7 3"},
    };
    for (Case const & c : cases) {
        auto const f = function(
            {make<IfExpression>(call(callee, c.arguments),
                                block({make<IntAssign>(make<Attribute::Tag>(), number(1))}),
                                block({make<IntAssign>(make<Attribute::Tag>(), number(2))})),
             accepts()});
        for (bool const answer : {false, true}) {
            for (bool const plans : {false, true}) {
                PlansEnabled const on(plans);
                auto const context = makePtr<RecordingContext>();
                context->matchAnswer = answer;
                context->med = 3;
                context->reset();
                EXPECT_EQ(textOf(f->eval(context)), "true");
                EXPECT_EQ(context->takeCalls(),
                          String(c.asked) + (answer ? "; tagIs 1" : "; tagIs 2"));
            }
        }
        auto const out = makePtr<DumpContext>();
        f->planFor(*f).dump(out);
        EXPECT_EQ(out->text().find("call") == String::npos, c.isInPlace) << out->text();
    }
}

// An argument that the table cannot be asked with is found out when it is asked, as by the walk.
TEST(PlanConstantsDeathTest, OriginValidationRefusesWhatIsNoSlot) {
    auto const callee = function({make<MatchOriginAsValidityImplExpr>()}, true, "validity");
    for (auto const & slot : {number(U64{1} << 32), number(1, true)}) {
        auto const f = function({returns(call(callee, {slot, number(0)}))});
        for (bool const plans : {false, true}) {
            PlansEnabled const on(plans);
            auto const context = makePtr<RecordingContext>();
            EXPECT_DEATH(f->eval(context), "argVal [<>]= std::numeric_limits< IntType >::m");
        }
    }
}

TEST(PlanConstants, NodesWithoutStepAreNamed) {
    auto const within = make<Scripted>(EvalResult::fromBool(true));
    auto const scripted = make<Scripted>(EvalResult::fromBool(true));
    auto const f = function({call(function({within})),
                             make<IfExpression>(scripted, block({accepts()}), nullptr),
                             make<IfExpression>(scripted, block({accepts()}), nullptr)});
    EXPECT_EQ(f->planFor(*f).nodesWithoutStep(),
              (std::vector<Expression const *>{within.get(), scripted.get()}));
}
