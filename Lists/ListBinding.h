#pragma once

#include "Lists/EntryFindings.h"
#include "Lists/NamedLists.h"
#include "QcfLib/ExternalMatchers.h"
#include "QcfLib/FunctionMetadata.h"

namespace Qcf::Lists {

/// Puts the lists where the slots of a program's functions select them by name.
///
///     PtrConst<ExternalMatchersBase> const matchers = bindLists(program.slots, lists.get());
///
/// A name that no list has acts as an empty list: whoever evaluates asks `unboundUses` first, lest
/// a misspelt name goes unseen. A prefix list of the other family than the slot's acts as no list
/// at all. `lists` may be null: then there are none.
///
/// The matchers hold the lists by count and never change; any number of contexts in any number of
/// threads may share them. They outlive both arguments.
PtrConst<ExternalMatchersBase> bindLists(FunctionMetadata const & metadata,
                                         NamedLists const * lists);

/// A place in a program that refers to a list, with the slot under which the program selects it.
struct ListUse {
    SlotKind kind; ///< by which table of the external matchers the slot counts
    /// The name as the program has it; no list need have it.
    String name;
    U64 slot = 0; ///< what the referring node holds; slots beyond 65535 select nothing
    String place; ///< put before messages: "policy.json:/functions/0/body/stmts/1/rhs"
};

/// The kind of lists that the slots select; nothing for tunnel RIBs, of which there are none.
std::optional<ListKind> listKindOf(SlotKind slots);

/// Something about a program and its lists that is hardly meant. It never stops an evaluation by
/// itself: what follows from it is for the caller to decide.
struct Finding {
    enum class Kind : U8 {
        undefinedList, ///< no list of that kind has the name
        wrongFamily,   ///< a prefix list of the other family has it
        wrongSlot,     ///< the slot differs from that of the metadata, or two names share one
        emptyList,
        unusedList,
        coveredEntry,    ///< an entry that an earlier one covers
        anchoredPattern, ///< `^` or `$` in a pattern that sees all communities joined
        foreignPattern,  ///< a pattern with a letter that no community is written with
    };

    Kind kind;
    String place;
    String text;

    /// The finding as one line.
    String line() const { return place + ": " + text; }

    bool operator==(Finding const &) const = default;
};

/// What functions ask of each community list, by the kind of its slots and its name.
using QuestionsOfLists = std::map<std::pair<SlotKind, String>, ListQuestions>;

/// What a check of lists is told beside the program's uses. Null for what it is to leave out.
struct ListCheckAlong {
    /// What was found about entries when the lists were read.
    EntryFindings const * entries = nullptr;
    /// Of the whole program, see `questionsOf`; without it each list counts as one that nobody
    /// asks.
    QuestionsOfLists const * questions = nullptr;
    /// Whether lists that the program does not name are told: good for lists that were written for
    /// this program, not for those that several share.
    bool unused = false;
};

/// What is wrong between a program (its joined metadata and every place that uses a list) and the
/// lists: first the uses in their order, then the metadata, then the lists. Each finding once.
/// Costs in proportion to uses and names.
std::vector<Finding> checkLists(FunctionMetadata const & metadata,
                                std::vector<ListUse> const & uses, NamedLists const & lists,
                                ListCheckAlong const & along = {});

/// Of these uses those that no list answers: the name is not defined, or a prefix list of the other
/// family has it. `lists` may be null.
std::vector<Finding> unboundUses(std::vector<ListUse> const & uses, NamedLists const * lists);

/// What lists of the use's kind are called with its name: `community list "CL"`; empty for a kind
/// that no list is bound to.
String listText(ListUse const & use);

} // namespace Qcf::Lists
