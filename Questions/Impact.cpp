#include "Questions/Impact.h"

#include "Agent/Routes/RouteAttributes.h"
#include "Lists/ListBinding.h"
#include "Lists/ListRecord.h"
#include "Questions/BrokenTable.h"

#include <algorithm>
#include <array>

namespace Qcf::Questions {

using Agent::Evaluated;
using Agent::Route;

String whyNeeded(NamedThing const & thing) {
    constexpr std::array identities{"prefix", "afi", "afi_safi"};
    if (thing.isList()) {
        return {};
    }
    if (!thing.routeIndex) {
        return thing.name + " is no attribute that routes carry";
    }
    std::string_view const source = Agent::routeAttributes()[*thing.routeIndex].name;
    bool const isIdentity = std::ranges::find(identities, source) != identities.end();
    return isIdentity ? "no route is without " + String(source) : String();
}

PtrConst<Lists::NamedLists> emptied(PtrConst<Lists::NamedLists> const & lists,
                                    String const & name) {
    if (!lists) {
        return nullptr;
    }
    using namespace Lists; // NOLINT(google-build-using-namespace): its kinds of lists
    auto over = makePtr<NamedLists>();
    auto const empty = [&](auto const & from, auto & to, auto const & make) {
        if (auto const found = from.find(name); found != from.end()) {
            to.emplace(name, make(found->second));
        }
    };
    empty(lists->prefixLists, over->prefixLists,
          [](auto const & list) { return makePtr<PrefixListTrie>(list->af()); });
    empty(lists->dynamicPrefixLists, over->dynamicPrefixLists, [](DynamicPrefixList const & list) {
        return DynamicPrefixList{makePtr<PrefixListTrie>(AddressFamily::ipv4),
                                 makePtr<PrefixListTrie>(AddressFamily::ipv6), list.status};
    });
    auto const noCommunities = []<typename List>(PtrConst<List> const & /*list*/) {
        return makePtr<List>(std::vector<typename List::Matcher::Entry>());
    };
    empty(lists->communityLists, over->communityLists, noCommunities);
    empty(lists->extCommunityLists, over->extCommunityLists, noCommunities);
    empty(lists->largeCommunityLists, over->largeCommunityLists, noCommunities);
    empty(lists->asPathAccessLists, over->asPathAccessLists,
          [](auto const &) { return makePtr<AsPathList>(std::vector<AsPathList::Entry>()); });
    empty(lists->tagSets, over->tagSets,
          [](auto const &) { return makePtr<Routing::RouteMap::TagSetStatus>(); });
    empty(lists->roaTables, over->roaTables, [](auto const &) { return makePtr<RoaTable>(); });
    return mergeLists(*lists, *over);
}

void copyWithout(std::size_t routeIndex, Route const & from, Route & to) {
    static Route const fresh;
    to = from;
    to.visitAttribute(routeIndex, [&](auto & value) {
        fresh.eachAttribute([&](std::size_t at, auto const & freshValue) {
            using Fresh = std::decay_t<decltype(freshValue)>;
            if constexpr (std::is_same_v<Fresh, std::decay_t<decltype(value)>>) {
                if (at == routeIndex) {
                    value = freshValue;
                }
            }
        });
    });
}

namespace {

/// Routes that were decided through the thing, by statement and result.
class DecidedGroups {
public:
    void add(Watch::DecidingStatement const & statement, Evaluated const & evaluated) {
        DecidedGroup & at = groups_[{statement.node, evaluated.result}];
        if (at.count++ == 0) {
            at.statement = statement.node;
            at.within = statement.within;
            at.result = evaluated.result;
            at.example.route = evaluated.number;
            at.example.prefix = evaluated.route.ipPrefix;
            at.example.peer = evaluated.route.sourceSessionRemoteIpAddress;
        }
    }
    /// Of routes that come behind all that were added before.
    void add(DecidedGroups & later) {
        for (auto & [key, group] : later.groups_) {
            auto const [at, isNew] = groups_.try_emplace(key, group);
            at->second.count += isNew ? 0 : group.count;
        }
        later.groups_.clear();
    }
    std::vector<DecidedGroup> sorted() const {
        std::vector<DecidedGroup> all;
        for (auto const & [key, group] : groups_) {
            all.push_back(group);
        }
        std::ranges::sort(all, [](DecidedGroup const & a, DecidedGroup const & b) {
            return a.count != b.count ? a.count > b.count : a.example.route < b.example.route;
        });
        return all;
    }

private:
    struct Key {
        Eval::Expression const * statement;
        Eval::EvalResult result;
        bool operator<(Key const & other) const {
            auto const order = [](Key const & key) {
                return std::tuple(key.statement, key.result.retVal(), key.result.termination());
            };
            return order(*this) < order(other);
        }
    };
    std::map<Key, DecidedGroup> groups_;
};

/// A thread's context, with what sees its evaluations.
struct Watcher {
    Watcher(ImpactRun const & run, PtrConst<ExternalMatchersBase> const & matchers)
        : through(run.thing, run.readers, *matchers, run.program.slots),
          context(makePtr<Agent::AgentContext>(matchers)) {
        context->evaluationObserverIs(&through);
    }
    DecidedThrough through;
    Ptr<Agent::AgentContext> context;
};

/// What the threads share; used in turn, but for what does not change any more.
struct Shared {
    ImpactRun const & run;
    Comparison comparison;
    bool isCompared; ///< whether there is an evaluation without the thing
    /// Complete before the first route.
    std::map<Agent::AgentContextBase const *, std::unique_ptr<Watcher>> watchers = {};
    DecidedGroups decided = {};
    Impact impact = {};
};

class ImpactSink final : public Agent::EvaluationSink {
public:
    explicit ImpactSink(Shared & shared) : shared_(shared), comparer_(shared.comparison) {}

    void take(Evaluated const & evaluated) override {
        DecidedThrough & through = shared_.watchers.at(&evaluated.context)->through;
        if (shared_.run.selects && !shared_.run.selects(evaluated)) {
            through.clear();
            return;
        }
        ++routes_;
        if (through.isDecidedThrough()) {
            ++decidedRoutes_;
            decided_.add(through.deciding().statement(), evaluated);
        }
        if (shared_.isCompared) {
            comparer_.take(evaluated);
        }
        through.clear();
    }

    void deliver() override {
        Impact & impact = shared_.impact;
        impact.routes += std::exchange(routes_, 0);
        impact.decidedRoutes += std::exchange(decidedRoutes_, 0);
        impact.without.add(comparer_.takeGroups());
        shared_.decided.add(decided_);
        if (shared_.run.done) {
            shared_.run.done(impact.routes);
        }
    }

private:
    Shared & shared_;
    RouteComparer comparer_;
    DecidedGroups decided_;
    U64 routes_ = 0;
    U64 decidedRoutes_ = 0;
};

Comparison comparisonOf(ImpactRun const & run, PtrConst<ExternalMatchersBase> const & matchers) {
    Comparison comparison{{run.function, matchers}, {run.function, matchers}};
    if (run.thing.isList()) {
        auto const without = emptied(run.lists, run.thing.name);
        comparison.newer.matchers = Lists::bindLists(run.program.slots, without.get());
    } else if (run.thing.routeIndex) {
        comparison.alter = [index = *run.thing.routeIndex](Route const & from, Route & to) {
            copyWithout(index, from, to);
        };
    }
    return comparison;
}

} // namespace

Impact impactOver(Agent::RouteReader & reader, ImpactRun const & run,
                  std::exception_ptr * brokenOff) {
    auto const matchers = Lists::bindLists(run.program.slots, run.lists.get());
    Shared shared{run, comparisonOf(run, matchers), whyNeeded(run.thing).empty()};
    Agent::TableRun tableRun;
    tableRun.function = run.function;
    tableRun.makeContext = [&]() -> Ptr<Agent::AgentContextBase> {
        auto watcher = std::make_unique<Watcher>(run, matchers);
        Ptr<Agent::AgentContextBase> context = watcher->context;
        shared.watchers.emplace(context.get(), std::move(watcher));
        return context;
    };
    tableRun.makeSink = [&] { return std::make_unique<ImpactSink>(shared); };
    tableRun.threads = run.threads;
    tableRun.limit = run.limit;
    tableRun.select = run.select;
    evaluateUntilBroken(reader, tableRun, brokenOff);
    shared.impact.decided = shared.decided.sorted();
    return std::move(shared.impact);
}

} // namespace Qcf::Questions
