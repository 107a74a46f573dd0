#include "Agent/Evaluation/AgentContext.h"

#include "Lists/AnswerMemory.h"
#include "Lists/CommunityQuestion.h"
#include "Lists/PathQuestion.h"

#include <limits>

/// What the agent answers a function that asks for facts of the session or for a named list.
/// Attributes are answered by the generated base; how a list matches is for the lists to know.
namespace Qcf::Agent {

using Eval::CommunitySmallVector;
using Eval::U64SmallVector;

struct AgentContext::Remembered {
    Lists::AnswerMemory<Lists::KeptPathQuestion> paths;
    Lists::AnswerMemory<Lists::CommunityQuestion<U64>> ints;
    Lists::AnswerMemory<Lists::CommunityQuestion<Acl::CommunityValue>> communities;
};

AgentContext::AgentContext(PtrConst<ExternalMatchersBase> const & matchers)
    : AgentContextBase(matchers, nullptr, nullptr), remembered_(std::make_unique<Remembered>()) {}

AgentContext::~AgentContext() = default;

bool AgentContext::isBgpOutbound() const { return route().session.outbound; }
U32 AgentContext::localAs() const { return route().session.localAs; }
bool AgentContext::peerConfed() const { return route().session.peerConfed; }
U32 AgentContext::vrfId() const { return route().session.vrfId; }

// The path of the route is made text once, since all its lists search the same text. A changed one
// is made text anew at each question.
std::string_view
AgentContext::pathText(Routing::Bgp::AspathContainerFromExisting const * path) const {
    // Another path than the route's own, or one that was edited, must not get into the kept text.
    bool const asItCame =
        path != nullptr && path->expanded() == nullptr && path->existingPath() == &route().asPath;
    if (asItCame && inputPathRoute_ == routeNumber()) {
        return inputPathText_;
    }
    String & text = asItCame ? inputPathText_ : text_;
    text.clear();
    if (path != nullptr) {
        Routing::Bgp::appendAsPathPatternText(text, path->asns());
    }
    if (asItCame) {
        inputPathRoute_ = routeNumber();
    }
    return text;
}

// The lists were bound before, so that the key of the asking node is not needed.
bool AgentContext::matchAsPathAccessList(Routing::Bgp::AspathContainerFromExisting const * path,
                                         U64 /*aetNodeKey*/,
                                         PtrConst<AsPathListStatus> const & status) const {
    auto const * const list = static_cast<Lists::AsPathList const *>(status.get());
    if (list == nullptr || list->empty()) {
        return false;
    }
    auto const & asns = path != nullptr ? path->asns() : Routing::Bgp::AsnVector::none();
    auto const ask = [&] { return list->permits(pathText(path), route().origin); };
    return Lists::PathQuestion::fits(asns)
               ? remembered_->paths.answerTo(Lists::PathQuestion(*list, asns, route().origin), ask)
               : ask();
}

bool AgentContext::matchRoaTable(U32 slot, U32 state) const {
    if (validatedRoute_ != routeNumber() || validatedSlot_ != slot) {
        validity_ = validityBy(slot);
        validatedRoute_ = routeNumber();
        validatedSlot_ = slot;
    }
    return static_cast<U32>(validity_) == state;
}

Lists::OriginValidity AgentContext::validityBy(U32 slot) const {
    bool known = false;
    auto const & path = route().asPath;
    U32 const origin = Routing::Bgp::originAs(path, route().session.localAs, known);
    // A slot that no name has acts as an empty table.
    bool const isSlot = slot <= std::numeric_limits<U16>::max();
    auto const * const table = static_cast<Lists::RoaTable const *>(
        isSlot ? externalMatchers()->roaTables.at(static_cast<U16>(slot)).get() : nullptr);
    // An origin that the path does not tell goes as AS 0.
    return table != nullptr ? table->validate(route().ipPrefix, known ? origin : 0)
                            : Lists::OriginValidity::notFound;
}

namespace {

/// The entries of a list; null for the empty list.
template <typename List, typename Status>
typename List::Matcher const * matcherOf(PtrConst<Status> const & status) {
    return status ? &static_cast<List const &>(*status).matcher() : nullptr;
}

/// Those of the current communities for which the list alone answers `kept`: true to retain what it
/// permits, false to remove it. Patterns are searched for only where the answer is not remembered.
template <typename Set, typename Answers>
Ptr<Set> keptBy(Lists::CommunityMatcher<Set> const * list, bool kept, Ptr<Set> const & current,
                typename Set::Buffer & scratch, String & text, Answers & answers) {
    using Question = Lists::CommunityQuestion<typename Set::Value>;
    return Lists::keptBy(current, scratch, [&](typename Set::Value const & community) {
        if (list == nullptr) {
            return !kept;
        }
        auto const ask = [&] { return list->permits(community, text); };
        bool const permits = list->hasPatterns()
                                 ? answers.answerTo(Question{list->number(), community}, ask)
                                 : ask();
        return permits == kept;
    });
}

} // namespace

// The six operations of one kind of community. Those that may meet a pattern are given `text_`,
// whose storage is kept.
#define QCF_COMMUNITY_LISTS(List, Set, Status, scratch, permitted, answers, match, matchExact,     \
                            assign, add, remove, retain)                                           \
    bool AgentContext::match(PtrConst<Set> const & set, PtrConst<Status> const & status) const {   \
        auto const * const list = matcherOf<List>(status);                                         \
        return list != nullptr && list->matches(set.get(), text_);                                 \
    }                                                                                              \
    bool AgentContext::matchExact(PtrConst<Set> const & set, PtrConst<Status> const & status)      \
        const {                                                                                    \
        auto const * const list = matcherOf<List>(status);                                         \
        return list != nullptr && list->matchesExactly(set.get());                                 \
    }                                                                                              \
    Ptr<Set> AgentContext::assign(PtrConst<Status> const & status) {                               \
        return Lists::assignedBy(matcherOf<List>(status), permitted);                              \
    }                                                                                              \
    Ptr<Set> AgentContext::add(Ptr<Set> const & set, PtrConst<Status> const & status) {            \
        return Lists::addedBy(matcherOf<List>(status), permitted, set, scratch());                 \
    }                                                                                              \
    Ptr<Set> AgentContext::remove(Ptr<Set> const & set, PtrConst<Status> const & status) {         \
        return keptBy(matcherOf<List>(status), false, set, scratch(), text_,                       \
                      remembered_->answers);                                                       \
    }                                                                                              \
    Ptr<Set> AgentContext::retain(Ptr<Set> const & set, PtrConst<Status> const & status) {         \
        return keptBy(matcherOf<List>(status), true, set, scratch(), text_, remembered_->answers); \
    }

QCF_COMMUNITY_LISTS(Lists::StandardCommunityList, U64SmallVector, CommListStatus, intSetScratch,
                    permittedInts_, ints, matchCommList, matchExactCommList, commAssignCommList,
                    commAddCommList, commRemoveCommList, commRetainCommList)
QCF_COMMUNITY_LISTS(Lists::ExtCommunityList, CommunitySmallVector, ExtCommListStatus,
                    communitySetScratch, permittedCommunities_, communities, matchExtCommList,
                    matchExactExtCommList, extCommAssignExtCommList, extCommAddExtCommList,
                    extCommRemoveExtCommList, extCommRetainExtCommList)
QCF_COMMUNITY_LISTS(Lists::LargeCommunityList, CommunitySmallVector, LargeCommListStatus,
                    communitySetScratch, permittedCommunities_, communities, matchLargeCommList,
                    matchExactLargeCommList, largeCommAssignLargeCommList,
                    largeCommAddLargeCommList, largeCommRemoveLargeCommList,
                    largeCommRetainLargeCommList)
#undef QCF_COMMUNITY_LISTS

} // namespace Qcf::Agent
