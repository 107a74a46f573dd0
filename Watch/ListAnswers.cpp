#include "Watch/ListAnswers.h"

#include "Agent/Evaluation/RouteContext.h"
#include "Lists/AsPathList.h"
#include "Lists/CommunityList.h"
#include "Lists/PrefixListTrie.h"
#include "Lists/RoaTable.h"
#include "Text/FunctionContent.h"
#include "Text/Words.h"
#include "Watch/CallArguments.h"

/// What nodes ask of named lists, asked once more of the very lists that answered them, in words.
namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

using Context = Ptr<EvalContextBase const>;

/// The table's name by its number, as some call around names it.
String roaTableName(U64 slot, TraceNode const & at) {
    String name;
    for (TraceNode const * call = callAround(at); call != nullptr && name.empty();
         call = callAround(*call)) {
        eachArgument(*call, [&](AetNodeBase const & each) {
            auto const * const table = as<RoaTableImmediate>(each);
            bool const isIt = table != nullptr && table->number() == slot;
            name = isIt ? Text::nameWord(table->name()) : name;
            return isIt;
        });
    }
    return name;
}

/// Why no list was found, which only a candidate of the other family and lists for some VRFs have.
String whyThereIsNone(PrefixListTest const & test, TraceNode const & at,
                      EvalContext const & context) {
    AetNodeBase const & list = valueBehind(*test.list, at);
    if (is<DynamicPrefixListImmediate>(list)) {
        return context.vrfId() == EvalContext::noVrf
                   ? String("list not in use outside of a vrf")
                   : "list not in use in vrf " + std::to_string(context.vrfId()) +
                         (context.isBgpOutbound() ? "" : ": the session is not outbound");
    }
    return "list of the other family";
}

String nameOf(AetNodeBase const & list) {
    return list.typeData().facts.list ? Text::nameWord(Text::listOf(list).name)
                                      : String("argument");
}

/// As the list's own class; null where the agent's lists are others.
template <typename List, typename Status>
List const * listAs(MatcherTable<Status> const & table, U64 slot) {
    return dynamic_cast<List const *>(table.at(static_cast<U16>(slot)).get());
}

/// A test of communities against a list, plain or exact.
template <typename Plain, typename Exact, typename List, typename Status>
ListAnswer communityListAnswer(Expression const & node, MatcherTable<Status> const & table,
                               Context const & context) {
    auto const ask = [&](auto const * test, bool exactly) -> ListAnswer {
        auto const * const list = test == nullptr ? nullptr : listAs<List>(table, test->index());
        if (list == nullptr) {
            return {};
        }
        PtrConst<typename List::Matcher::Set> fresh;
        auto const * const set = test->lhs()->lendVal(context, fresh);
        return {list, exactly ? list->matcher().explainExactly(set) : list->matcher().explain(set)};
    };
    ListAnswer answer = ask(as<Plain>(node), false);
    return answer.list == nullptr ? ask(as<Exact>(node), true) : answer;
}

ListAnswer anyCommunityListAnswer(Expression const & node, EvalContext & context) {
    Context const reading(&context);
    ExternalMatchersBase const & lists = *context.externalMatchers();
    ListAnswer answer =
        communityListAnswer<IntSetMatchCommList, IntSetMatchExactCommList,
                            Lists::StandardCommunityList>(node, lists.commLists, reading);
    if (answer.list == nullptr) {
        answer =
            communityListAnswer<CommunitySetMatchExtCommList, CommunitySetMatchExactExtCommList,
                                Lists::ExtCommunityList>(node, lists.extCommLists, reading);
    }
    if (answer.list == nullptr) {
        answer =
            communityListAnswer<CommunitySetMatchLargeCommList, CommunitySetMatchExactLargeCommList,
                                Lists::LargeCommunityList>(node, lists.largeCommLists, reading);
    }
    return answer;
}

ListAnswer asPathListAnswer(AsPathMatchAsPathAccessList const & test, EvalContext & context) {
    Context const reading(&context);
    auto const * const list =
        listAs<Lists::AsPathList>(context.externalMatchers()->asPathLists, test.index());
    if (list == nullptr) {
        return {};
    }
    String text;
    if (auto const * const path = test.lhs()->getVal(reading)) {
        Routing::Bgp::appendAsPathPatternText(text, path->asns());
    }
    return {list, list->explain(text, context.originInput())};
}

ListAnswer tagSetAnswer(IntMatchTagSet const & test, EvalContext & context) {
    auto const & tags = context.externalMatchers()->tagSets.at(test.index());
    U64 const tag = test.lhs()->getVal(Context(&context));
    return tags ? ListAnswer{tags.get(), Lists::explainTag(*tags, static_cast<U32>(tag))}
                : ListAnswer();
}

ListAnswer prefixListAnswer(PrefixListTest const & test, Context const & context) {
    auto const * const matcher = test.list->getValWithArgs(context, test.candidate.af());
    auto const * const trie = dynamic_cast<Lists::PrefixListTrie const *>(matcher);
    return trie == nullptr ? ListAnswer() : ListAnswer{trie, trie->explain(test.candidate)};
}

// The arguments are those of the built-in function's own frame, which is current.
String roaTableSays(TraceNode const & at, EvalContext & context) {
    auto const * const ofRoute = dynamic_cast<Agent::RouteContext const *>(&context);
    auto const & arguments = *context.intTypeArgValues();
    if (ofRoute == nullptr || arguments.empty() || arguments[0] < 0 || arguments[0] > 0xffff) {
        return {};
    }
    auto const slot = static_cast<U64>(arguments[0]);
    auto const * const table = listAs<Lists::RoaTable>(context.externalMatchers()->roaTables, slot);
    bool known = false;
    U32 const origin = Routing::Bgp::originAs(ofRoute->route().asPath, context.localAs(), known);
    String const says = table == nullptr
                            ? String("not found")
                            : table->explain(ofRoute->route().ipPrefix, known ? origin : 0).text;
    return "prefix " + ofRoute->route().ipPrefix.toString() + ", origin " +
           (known ? std::to_string(origin) : String("unknown")) + ", table " +
           roaTableName(slot, at) + ": " + says;
}

} // namespace

PrefixListTest prefixListTest(Expression const & node, EvalContext & context) {
    Context const reading(&context);
    if (auto const * const test = as<IpPrefixMatchPrefixList>(node)) {
        return {test->rhs().get(), test->lhs()->getVal(reading)};
    }
    if (auto const * const test = as<IpPrefixMatchCoveredPrefixList>(node)) {
        return {test->rhs().get(), test->lhs()->getVal(reading)};
    }
    if (auto const * const test = as<IpAddressMatchPrefixList>(node)) {
        return {test->rhs().get(), IpGenPrefix::host(test->lhs()->getVal(reading))};
    }
    return {};
}

String whyListIsSilent(TraceNode const & at, EvalContext & context) {
    Context const reading(&context);
    PrefixListTest const test = prefixListTest(*at.node, context);
    if (test.list == nullptr) {
        return {};
    }
    auto const * const matcher = test.list->getValWithArgs(reading, test.candidate.af());
    if (matcher == nullptr) {
        return whyThereIsNone(test, at, context);
    }
    if (matcher->matchWithTristate({test.candidate}, nullptr).isSet != 0) {
        return {};
    }
    String const list = "list " + nameOf(valueBehind(*test.list, at));
    bool const isOurs = dynamic_cast<Lists::PrefixListTrie const *>(matcher) != nullptr;
    return list + (isOurs ? " has no entries" : " has no answer");
}

bool asksList(Expression const & node) {
    return is<IpPrefixMatchPrefixList>(node) || is<IpPrefixMatchCoveredPrefixList>(node) ||
           is<IpAddressMatchPrefixList>(node) || is<AsPathMatchAsPathAccessList>(node) ||
           is<IntMatchTagSet>(node) || is<IntSetMatchCommList>(node) ||
           is<IntSetMatchExactCommList>(node) || is<CommunitySetMatchExtCommList>(node) ||
           is<CommunitySetMatchExactExtCommList>(node) ||
           is<CommunitySetMatchLargeCommList>(node) ||
           is<CommunitySetMatchExactLargeCommList>(node);
}

ListAnswer listAnswer(Expression const & node, EvalContext & context) {
    Context const reading(&context);
    if (PrefixListTest const test = prefixListTest(node, context); test.list != nullptr) {
        return prefixListAnswer(test, reading);
    }
    if (auto const * const test = as<AsPathMatchAsPathAccessList>(node)) {
        return asPathListAnswer(*test, context);
    }
    if (auto const * const test = as<IntMatchTagSet>(node)) {
        return tagSetAnswer(*test, context);
    }
    return anyCommunityListAnswer(node, context);
}

String listSays(TraceNode const & at, EvalContext & context) {
    if (is<MatchOriginAsValidityImplExpr>(*at.node)) {
        return roaTableSays(at, context);
    }
    ListAnswer const answer = listAnswer(*at.node, context);
    bool const isAnswered = answer.list != nullptr && answer.why.answer.has_value();
    return isAnswered ? answer.why.text : whyListIsSilent(at, context);
}

} // namespace Qcf::Watch
