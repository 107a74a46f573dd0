#include "Lists/ListUses.h"

#include "QcfLib/NodeClass.h"
#include "QcfLib/NodeFields.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfEvalCollections.h"
#include "QcfLib/QcfEvalOperatorTypes.h"

#include <algorithm>
#include <set>
#include <unordered_set>

namespace Qcf::Lists {

namespace {

using Eval::AetNodeBase;
using Eval::FieldInfo;
using Eval::FieldRole;
using Eval::Function;

/// Picks the name and the slot out of the fields of a node whose class names a list.
class ReferenceFields final : public Eval::FieldWriter {
public:
    explicit ReferenceFields(SlotKind kind) { use.kind = kind; }

    ListUse use;

private:
    using TriStateBoolValue = Eval::TriStateBoolValue;
    using AccessibleAttributes = Eval::AccessibleAttributes;

    template <typename Value>
    void take(FieldInfo const &, Value const &) {}
    void take(FieldInfo const & field, String const & value) {
        if (plays(field, FieldRole::listName)) {
            use.name = value;
        }
    }
    void take(FieldInfo const & field, U16 const & value) { takeSlot(field, value); }
    void take(FieldInfo const & field, U64 const & value) { takeSlot(field, value); }
    // The class says IPv4 for both families; its member tells the other one.
    void take(FieldInfo const & field, bool const & value) {
        if (plays(field, FieldRole::isV4) && !value) {
            use.kind = SlotKind::v6PrefixList;
        }
    }
    void takeSlot(FieldInfo const & field, U64 value) {
        if (plays(field, FieldRole::listSlot)) {
            use.slot = value;
        }
    }

#define QCF_TAKE(Type)                                                                             \
    void write(FieldInfo const & field, Type const & value) override { take(field, value); }
    QCF_FOR_EACH_SCALAR(QCF_TAKE)
#undef QCF_TAKE
    void writeNode(FieldInfo const &, AetNodeBase const *) override {}
};

constexpr ListQuestions matchesText{.matches = true};
constexpr ListQuestions matchesExactly{.exact = true};
constexpr ListQuestions asksEach{.single = true};
constexpr ListQuestions unites{.unites = true};

/// What a class of nodes asks of the list that it names.
struct Asking {
    U16 classNumber;
    ListQuestions questions;
};
constexpr Asking askings[] = {
    {Eval::IntSetMatchCommList::classNumber, matchesText},
    {Eval::IntSetMatchExactCommList::classNumber, matchesExactly},
    {Eval::IntSetRemoveCommList::classNumber, asksEach},
    {Eval::IntSetRetainCommList::classNumber, asksEach},
    {Eval::IntSetAssignCommList::classNumber, unites},
    {Eval::IntSetAddCommList::classNumber, unites},
    {Eval::CommunitySetMatchExtCommList::classNumber, matchesText},
    {Eval::CommunitySetMatchExactExtCommList::classNumber, matchesExactly},
    {Eval::CommunitySetRemoveExtCommList::classNumber, asksEach},
    {Eval::CommunitySetRetainExtCommList::classNumber, asksEach},
    {Eval::CommunitySetAssignExtCommList::classNumber, unites},
    {Eval::CommunitySetAddExtCommList::classNumber, unites},
    {Eval::CommunitySetMatchLargeCommList::classNumber, matchesText},
    {Eval::CommunitySetMatchExactLargeCommList::classNumber, matchesExactly},
    {Eval::CommunitySetRemoveLargeCommList::classNumber, asksEach},
    {Eval::CommunitySetRetainLargeCommList::classNumber, asksEach},
    {Eval::CommunitySetAssignLargeCommList::classNumber, unites},
    {Eval::CommunitySetAddLargeCommList::classNumber, unites},
};

/// A class without a row is of lists whose entries are good for one question, whichever node asks.
ListQuestions questionsOf(Eval::NodeClass const & nodeClass) {
    auto const * const row = std::ranges::find(askings, nodeClass.number(), &Asking::classNumber);
    return row == std::end(askings) ? ListQuestions() : row->questions;
}

void unite(ListQuestions & questions, ListQuestions const & more) {
    questions.matches = questions.matches || more.matches;
    questions.single = questions.single || more.single;
    questions.exact = questions.exact || more.exact;
    questions.unites = questions.unites || more.unites;
}

} // namespace

std::optional<ListUse> listUseOf(AetNodeBase const & node) {
    auto const kind = node.typeData().facts.list;
    if (!kind) {
        return std::nullopt;
    }
    ReferenceFields fields(*kind);
    node.typeData().write(node, fields);
    return std::move(fields.use);
}

QuestionsOfLists questionsOf(std::span<PtrConst<Function> const> functions) {
    QuestionsOfLists found;
    std::unordered_set<AetNodeBase const *> met;
    for (auto const & function : functions) {
        Eval::walkTree(*function, [&](Eval::WalkedNode const & at) {
            bool const isNew = met.insert(&at.node).second;
            auto const use = isNew ? listUseOf(at.node) : std::nullopt;
            if (use) {
                unite(found[{use->kind, use->name}], questionsOf(at.node.typeData()));
            }
            return isNew;
        });
    }
    return found;
}

std::vector<ListUse> reachedLists(Function const & function, PlaceOf const & placeOf) {
    std::vector<ListUse> uses;
    // A name is told once a kind, and a node looked at once: names are few, and many nodes have the
    // same.
    std::set<std::pair<SlotKind, String>> told;
    // The functions that the walk is in; a node's place is told within the innermost one.
    std::vector<Function const *> within;
    auto const enter = [&](Eval::WalkedNode const & at) {
        if (auto const * const entered = Eval::as<Function>(at.node)) {
            // The walk leaves what it enters, so that this is taken off again.
            within.push_back(entered);
        } else if (auto use = listUseOf(at.node);
                   use && told.emplace(use->kind, use->name).second) {
            use->place = placeOf(at.node, *within.back());
            uses.push_back(*std::move(use));
        }
        return true;
    };
    auto const leave = [&](AetNodeBase const & node) {
        if (Eval::is<Function>(node)) {
            within.pop_back();
        }
    };
    walkNodes(function, enter, leave);
    return uses;
}

} // namespace Qcf::Lists
