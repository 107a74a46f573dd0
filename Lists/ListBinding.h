#pragma once

#include "Lists/NamedLists.h"
#include "QcfLib/ExternalMatchers.h"
#include "QcfLib/FunctionMetadata.h"

namespace Qcf::Lists {

/// Puts the lists where the slots of a program's functions select them by name.
///
/// A name that no list has acts as an empty list: whoever evaluates asks `unboundUses` first, lest
/// a misspelt name goes unseen. A prefix list of the other family than the slot's acts as no list
/// at all. `lists` may be null: then there are none.
PtrConst<ExternalMatchersBase> bindLists(FunctionMetadata const & metadata,
                                         NamedLists const * lists);

/// A place in a program that refers to a list.
struct ListUse {
    String metadataKind; ///< the member of FunctionMetadata that speaks of it: "commListsUsed"
    String name;
    U64 slot = 0; ///< what the referring node holds; slots beyond 65535 select nothing
    String place; ///< put before messages: "policy.json:/functions/0/body/stmts/1/rhs"
};

/// Something about a program and its lists that is hardly meant.
struct Finding {
    enum class Kind : U8 {
        undefinedList, ///< no list of that kind has the name
        wrongFamily,   ///< a prefix list of the other family has it
        wrongSlot,     ///< the slot differs from that of the metadata, or two names share one
        emptyList,
        unusedList,
    };

    Kind kind;
    String place;
    String text;

    /// The finding as one line.
    String line() const { return place + ": " + text; }

    bool operator==(Finding const &) const = default;
};

/// What is wrong between a program (its joined metadata and every place that uses a list) and the
/// lists: first by use in the order given, then by name in the metadata that no use speaks of, then
/// by list in the order of the kinds and names.
std::vector<Finding> checkLists(FunctionMetadata const & metadata,
                                std::vector<ListUse> const & uses, NamedLists const & lists);

/// Of these uses those that no list answers: the name is not defined, or a prefix list of the other
/// family has it. `lists` may be null.
std::vector<Finding> unboundUses(std::vector<ListUse> const & uses, NamedLists const * lists);

/// What lists of the use's kind are called with its name: `community list "CL"`; empty for a kind
/// that no list is bound to.
String listText(ListUse const & use);

} // namespace Qcf::Lists
