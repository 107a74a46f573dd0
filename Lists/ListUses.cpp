#include "Lists/ListUses.h"

#include "QcfLib/NodeClass.h"
#include "QcfLib/NodeFields.h"

#include <algorithm>
#include <set>
#include <unordered_set>

namespace Qcf::Lists {

namespace {

/// Where classes of nodes name a list.
struct Reference {
    std::string_view classSuffix;
    std::string_view nameField;
    std::string_view slotField;
    char const * metadataKind;
};

/// The first whose suffix fits counts.
constexpr Reference references[] = {
    {"LargeCommList", "listName", "index", "largeCommListsUsed"},
    {"ExtCommList", "listName", "index", "extCommListsUsed"},
    {"CommList", "listName", "index", "commListsUsed"},
    {"AsPathAccessList", "listName", "index", "asPathAccessListsUsed"},
    {"MatchTagSet", "tagSetName", "index", "tagSetsUsed"},
    {"DynamicPrefixListImmediate", "name", "indexInAet", "DynPrefixListsUsed"},
    {"PrefixListImmediate", "name", "indexInAet", "V4PrefixListsUsed"},
    {"RoaTableImmediate", "name", "number", "roaTablesUsed"},
};

Reference const * referenceOf(Eval::NodeClass const & nodeClass) {
    auto const * const found = std::ranges::find_if(references, [&](Reference const & reference) {
        return std::string_view(nodeClass.name).ends_with(reference.classSuffix);
    });
    return found == std::end(references) ? nullptr : found;
}

/// Picks the name and the slot out of a node's fields.
class ReferenceFields final : public Eval::FieldWriter {
public:
    explicit ReferenceFields(Reference const & reference) : reference_(reference) {
        use.metadataKind = reference.metadataKind;
    }

    ListUse use;

private:
    using FieldInfo = Eval::FieldInfo;
    using TriStateBoolValue = Eval::TriStateBoolValue;
    using AccessibleAttributes = Eval::AccessibleAttributes;

    template <typename Value>
    void take(FieldInfo const &, Value const &) {}
    void take(FieldInfo const & field, String const & value) {
        if (field.name == reference_.nameField) {
            use.name = value;
        }
    }
    void take(FieldInfo const & field, U16 const & value) { takeSlot(field, value); }
    void take(FieldInfo const & field, U64 const & value) { takeSlot(field, value); }
    void take(FieldInfo const & field, bool const & value) {
        if (field.name == std::string_view("isV4") && !value) {
            use.metadataKind = "V6PrefixListsUsed";
        }
    }
    void takeSlot(FieldInfo const & field, U64 value) {
        if (field.name == reference_.slotField) {
            use.slot = value;
        }
    }

#define QCF_TAKE(Type)                                                                             \
    void write(FieldInfo const & field, Type const & value) override { take(field, value); }
    QCF_FOR_EACH_SCALAR(QCF_TAKE)
#undef QCF_TAKE
    void writeNode(FieldInfo const &, Eval::AetNodeBase const *) override {}

    Reference const & reference_;
};

/// Collects what a function refers to. Trees may be deep: nothing recurses.
class Walk {
public:
    explicit Walk(PlaceOf const & placeOf) : placeOf_(placeOf) {}

    std::vector<ListUse> from(Eval::Function const & function) && {
        push(&function, function);
        while (!pending_.empty()) {
            Pending const at = pending_.back();
            pending_.pop_back();
            take(at);
            auto const * const callee = dynamic_cast<Eval::Function const *>(at.node);
            pushChildren(*at.node, callee == nullptr ? *at.within : *callee);
        }
        return std::move(uses_);
    }

private:
    struct Pending {
        Eval::AetNodeBase const * node;
        Eval::Function const * within;
    };

    void push(Eval::AetNodeBase const * node, Eval::Function const & within) {
        if (node != nullptr && met_.insert(node).second) {
            pending_.push_back({node, &within});
        }
    }

    void pushChildren(Eval::AetNodeBase const & node, Eval::Function const & within) {
        std::size_t const firstChild = pending_.size();
        node.typeData().visitChildren(
            node,
            [&](Eval::FieldInfo const &, Eval::AetNodeBase const * child) { push(child, within); });
        std::reverse(pending_.begin() + static_cast<std::ptrdiff_t>(firstChild), pending_.end());
    }

    void take(Pending const & at) {
        auto const * const reference = referenceOf(at.node->typeData());
        if (reference == nullptr) {
            return;
        }
        ReferenceFields fields(*reference);
        at.node->typeData().write(*at.node, fields);
        if (named_.emplace(fields.use.metadataKind, fields.use.name).second) {
            fields.use.place = placeOf_(*at.node, *at.within);
            uses_.push_back(std::move(fields.use));
        }
    }

    PlaceOf const & placeOf_;
    std::vector<ListUse> uses_;
    std::vector<Pending> pending_;
    std::unordered_set<Eval::AetNodeBase const *> met_;
    std::set<std::pair<String, String>> named_;
};

} // namespace

std::vector<ListUse> reachedLists(Eval::Function const & function, PlaceOf const & placeOf) {
    return Walk(placeOf).from(function);
}

} // namespace Qcf::Lists
