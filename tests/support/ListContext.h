#pragma once

#include "tests/support/RecordingContext.h"

#include <algorithm>
#include <iterator>

namespace Qcf::Eval::test {

/// A list that is its values: what any list operation answers follows from them and the route.
template <typename Status, typename Set>
class ValueList final : public Status {
public:
    explicit ValueList(Ptr<Set> held) : values(std::move(held)) {}
    Ptr<Set> const values;
};

/// A list of one prefix; without a family it has no answer.
class OnePrefixList final : public Routing::Policy::PrefixListMatcher {
public:
    OnePrefixList(AddressFamily family, IpGenPrefix prefix) : family_(family), prefix_(prefix) {}
    AddressFamily af() const override { return family_; }
    TristateBoolean
    matchWithTristate(Routing::Policy::MatchInput_ const & input,
                      Ptr<Routing::Policy::PolicyEvalContext> const & /*context*/) const override {
        bool const answers = prefix_.af() != AddressFamily::none;
        return answers ? TristateBoolean::of(prefix_.contains(input.prefix))
                       : TristateBoolean::unset();
    }

private:
    AddressFamily family_;
    IpGenPrefix prefix_;
};

/// Slots 1 and 3 of every kind hold lists, of few and of many values; slot 2 holds none.
inline PtrConst<ExternalMatchersBase> listsOfAllKinds() {
    using namespace Routing::RouteMap;
    auto lists = makePtr<ExternalMatchersBase>();
    for (U16 const slot : {U16{1}, U16{3}}) {
        auto const integers = makePtr<U64SmallVector>(ModifyFlag::copyOnWrite);
        auto const extended = makePtr<CommunitySmallVector>(ModifyFlag::copyOnWrite);
        auto const large = makePtr<CommunitySmallVector>(ModifyFlag::copyOnWrite);
        auto const tags = makePtr<TagSetStatus>();
        for (U32 i = 0; i < (slot == 1 ? 3U : 130U); ++i) {
            integers->insert(i + 1);
            extended->insert({0x4004fde8447a0000U + i, 0});
            large->insert({(U64{65000} << 32) + 1, i});
            tags->tagIs(i * 2);
        }
        using Communities = CommunitySmallVector;
        using StandardList = ValueList<StandardCommListStatus, U64SmallVector>;
        lists->commLists.entryIs(slot, makePtr<StandardList>(integers));
        using ExtendedList = ValueList<ExtCommListStatus, Communities>;
        lists->extCommLists.entryIs(slot, makePtr<ExtendedList>(extended));
        using LargeList = ValueList<LargeCommListStatus, Communities>;
        lists->largeCommLists.entryIs(slot, makePtr<LargeList>(large));
        using PathList = ValueList<AsPathListStatus, U64SmallVector>;
        lists->asPathLists.entryIs(slot, makePtr<PathList>(integers));
        lists->tagSets.entryIs(slot, tags);
        auto const active = makePtr<DynamicPrefixListStatus>();
        active->vrfIs(1, true);
        lists->dynamicPrefixLists.entryIs(slot, active);
        auto const v4 = slot == 1 ? *IpGenPrefix::parse("10.0.0.0/8") : IpGenPrefix();
        auto const v6 = slot == 1 ? IpGenPrefix() : *IpGenPrefix::parse("2001:db8::/32");
        auto const listV4 = makePtr<OnePrefixList>(AddressFamily::ipv4, v4);
        auto const listV6 = makePtr<OnePrefixList>(AddressFamily::ipv6, v6);
        lists->ipv4PrefixLists.entryIs(slot, listV4);
        lists->ipv6PrefixLists.entryIs(slot, listV6);
        lists->dynamicIpv4PrefixLists.entryIs(slot, listV4);
        lists->dynamicIpv6PrefixLists.entryIs(slot, listV6);
    }
    return lists;
}

/// A RecordingContext whose list operations answer from the list, a ValueList, and the set.
class ListContext : public RecordingContext {
public:
    ListContext() : RecordingContext(listsOfAllKinds()) {}

    bool matchRoaTable(U32 slot, U32 state) const override {
        return RecordingContext::matchRoaTable(slot, state) == ((slot + state) % 2 == 0);
    }
    bool matchAsPathAccessList(Routing::Bgp::AspathContainerFromExisting const * path, U64 number,
                               PtrConst<AsPathListStatus> const & status) const override {
        RecordingContext::matchAsPathAccessList(path, number, status);
        U64SmallVector const * const lengths = valuesOf<U64SmallVector>(status);
        return lengths != nullptr && lengths->count() > Routing::Bgp::pathLength(*path);
    }

#define QCF_TEST_LIST_MATCH(operation, Set, Status, test)                                          \
    bool operation(PtrConst<Set> const & set, PtrConst<Status> const & status) const override {    \
        RecordingContext::operation(set, status);                                                  \
        return Set::test(set.get(), valuesOf<Set>(status));                                        \
    }
#define QCF_TEST_LIST_EDIT(operation, Set, Status, algorithm)                                      \
    Ptr<Set> operation(Ptr<Set> const & set, PtrConst<Status> const & status) override {           \
        RecordingContext::operation(set, status);                                                  \
        return edited(set, valuesOf<Set>(status),                                                  \
                      [](auto const &... arguments) { std::algorithm(arguments...); });            \
    }
#define QCF_TEST_VALUE_LISTS(Kind, prefix, Set, Status)                                            \
    QCF_TEST_LIST_MATCH(match##Kind, Set, Status, hasAny)                                          \
    QCF_TEST_LIST_MATCH(matchExact##Kind, Set, Status, isEqual)                                    \
    Ptr<Set> prefix##Assign##Kind(PtrConst<Status> const & status) override {                      \
        RecordingContext::prefix##Assign##Kind(status);                                            \
        return Ptr<Set>(valuesOf<Set>(status));                                                    \
    }                                                                                              \
    QCF_TEST_LIST_EDIT(prefix##Add##Kind, Set, Status, set_union)                                  \
    QCF_TEST_LIST_EDIT(prefix##Remove##Kind, Set, Status, set_difference)                          \
    QCF_TEST_LIST_EDIT(prefix##Retain##Kind, Set, Status, set_intersection)
    QCF_TEST_VALUE_LISTS(CommList, comm, U64SmallVector, CommListStatus)
    QCF_TEST_VALUE_LISTS(ExtCommList, extComm, CommunitySmallVector, ExtCommListStatus)
    QCF_TEST_VALUE_LISTS(LargeCommList, largeComm, CommunitySmallVector, LargeCommListStatus)
#undef QCF_TEST_VALUE_LISTS
#undef QCF_TEST_LIST_EDIT
#undef QCF_TEST_LIST_MATCH

private:
    /// The list's own set; null for no list.
    template <typename Set, typename Status>
    static Set * valuesOf(PtrConst<Status> const & status) {
        auto const * const list = static_cast<ValueList<Status, Set> const *>(status.get());
        return list != nullptr ? list->values.get() : nullptr;
    }

    /// The set itself where nothing changes or where it may be overwritten, else a new one.
    template <typename Set, typename Algorithm>
    static Ptr<Set> edited(Ptr<Set> const & set, Set const * list, Algorithm algorithm) {
        std::vector<typename Set::Value> current;
        std::vector<typename Set::Value> other;
        std::vector<typename Set::Value> values;
        if (set) {
            current.assign(set->begin(), set->end());
        }
        if (list != nullptr) {
            other.assign(list->begin(), list->end());
        }
        algorithm(current.begin(), current.end(), other.begin(), other.end(),
                  std::back_inserter(values));
        if (values == current || values.empty()) {
            return values.empty() ? nullptr : set;
        }
        bool const reuse = set && set->modifyFlag() == ModifyFlag::reuseOnWrite;
        Ptr<Set> result = reuse ? set : makePtr<Set>(ModifyFlag::reuseOnWrite);
        result->clear();
        for (auto const & value : values) {
            result->insert(value);
        }
        return result;
    }
};

} // namespace Qcf::Eval::test
