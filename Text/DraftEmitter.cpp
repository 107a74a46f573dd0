#include "Text/DraftEmitter.h"

#include "Documents/NodeChecks.h"
#include "QcfLib/QcfEval.h"
#include "Text/DraftFields.h"

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

constexpr U32 none = Documents::NodeBuilder::none;

/// A draft as the place of its node.
class TextPlace final : public Documents::Place {
public:
    TextPlace(Draft const & draft, Sources const & sources, Messages & messages, SourceMap & map)
        : draft_(draft), sources_(sources), messages_(messages), map_(map) {}

    String text() const override { return sources_.placeText(draft_.span); }
    void note(AetNodeBase const & node) const override {
        map_.add(node, draft_.span, draft_.reason);
    }

private:
    void throwError(std::string_view subject, std::string_view wanted,
                    std::string_view found) const override {
        String text = subject.empty() ? String() : String(subject) + ' ';
        text += "wants " + String(wanted) + ", found " + String(found);
        if (wanted == Documents::wantsNoReturn) {
            text = "an operand cannot 'return'; 'exit' leaves the whole evaluation";
        }
        messages_.add({draft_.span, Severity::error, "tree", std::move(text)});
        throw Recovery{};
    }

    Draft const & draft_;
    Sources const & sources_;
    Messages & messages_;
    SourceMap & map_;
};

DraftField const & contentOf(Draft const & draft, FieldInfo const & field) {
    return draft.fields[static_cast<std::size_t>(&field - draft.nodeClass->fields.data())];
}

DraftChain const & entriesOf(Draft const & draft, FieldRole role) {
    static DraftChain const nothing;
    auto const * const entries = std::get_if<DraftChain>(&draft.at(role));
    return entries == nullptr ? nothing : *entries;
}

} // namespace

std::optional<DraftEmitter::NamedList> DraftEmitter::listOf(Draft const & draft) {
    auto const & facts = draft.nodeClass->facts;
    if (!facts.list) {
        return std::nullopt;
    }
    SlotKind kind = *facts.list;
    if (draft.nodeClass->fieldOf(FieldRole::isV4) != nullptr) {
        auto const * const isV4 = std::get_if<bool>(&draft.at(FieldRole::isV4));
        auto const * const literal = std::get_if<Literal>(&draft.at(FieldRole::isV4));
        bool const isV6 = (isV4 != nullptr && !*isV4) ||
                          (literal != nullptr && *literal == Literal(TriStateBoolValue::false_));
        kind = isV6 ? SlotKind::v6PrefixList : kind;
    }
    auto const * const name = std::get_if<String>(&draft.at(FieldRole::listName));
    auto const * const slot = std::get_if<U64>(&draft.at(FieldRole::listSlot));
    if (name == nullptr) {
        return std::nullopt;
    }
    return NamedList{kind, *name, slot == nullptr ? std::nullopt : std::optional(*slot)};
}

// Trees are as deep as texts are nested, which their reader limits.
U32 DraftEmitter::emit(Draft const & draft, std::optional<U64> key) {
    bool const isAttribute = draft.nodeClass->attribute != nullptr;
    if (isAttribute) {
        auto const known = attributes_.find(draft.nodeClass);
        if (known != attributes_.end()) {
            return known->second;
        }
    }
    Numbers numbers;
    children(draft, numbers);
    U32 const number = add(draft, {numbers.data(), numbers.size()}, key);
    if (isAttribute) {
        attributes_[draft.nodeClass] = number;
    }
    return number;
}

void DraftEmitter::children(Draft const & draft, Numbers & numbers) {
    if (draft.nodeClass == &nodeClassOf<LogicalOperatorExpression>()) {
        logicalChain(draft, numbers);
        return;
    }
    for (FieldInfo const & field : draft.nodeClass->fields) {
        if (!field.isNode()) {
            continue;
        }
        DraftField const & content = contentOf(draft, field);
        if (auto const * const child = std::get_if<Draft *>(&content)) {
            numbers.push_back(*child == nullptr ? none : emit(**child));
        } else if (auto const * const entries = std::get_if<DraftChain>(&content)) {
            numbers.push_back(chain(field, *entries));
        } else if (auto const * const callee = std::get_if<U64>(&content)) {
            // A function that was made before, by its number.
            numbers.push_back(static_cast<U32>(*callee));
        } else {
            if (!field.optional) {
                TextPlace(draft, sources_, messages_, map_)
                    .fail(String(draft.nodeClass->name) + '.' + field.name, field.wants, "none");
            }
            numbers.push_back(none);
        }
    }
}

// Operand 1, operand 2, operator 1, operand 3, operator 2, and so on; more operators than stand
// between operands come behind.
void DraftEmitter::logicalChain(Draft const & draft, Numbers & numbers) {
    auto const & operands = entriesOf(draft, FieldRole::operand);
    auto const & operators = entriesOf(draft, FieldRole::operators);
    std::vector<U32> operandNumbers;
    std::vector<U32> operatorNumbers;
    for (std::size_t i = 0; i < operands.size(); ++i) {
        operandNumbers.push_back(emit(*operands[i]));
        if (i > 0 && operatorNumbers.size() < operators.size()) {
            operatorNumbers.push_back(emit(*operators[operatorNumbers.size()]));
        }
    }
    while (operatorNumbers.size() < operators.size()) {
        operatorNumbers.push_back(emit(*operators[operatorNumbers.size()]));
    }
    FieldInfo const & left = *draft.nodeClass->fieldOf(FieldRole::operand);
    FieldInfo const & right = *draft.nodeClass->fieldOf(FieldRole::operators);
    auto const chainIn = [&](FieldInfo const & field, DraftChain const & entries,
                             std::vector<U32> const & made) {
        auto const * const whole = std::get_if<Draft *>(&contentOf(draft, field));
        if (whole != nullptr && *whole != nullptr) {
            return emit(**whole);
        }
        if (entries.empty() && !field.optional) {
            TextPlace(draft, sources_, messages_, map_)
                .fail(String(draft.nodeClass->name) + '.' + field.name, field.wants, "none");
        }
        return links(field, entries, made);
    };
    numbers.push_back(chainIn(left, operands, operandNumbers));
    numbers.push_back(chainIn(right, operators, operatorNumbers));
}

U32 DraftEmitter::chain(FieldInfo const & field, DraftChain const & entries) {
    std::vector<U32> numbers;
    numbers.reserve(entries.size());
    for (Draft const * const entry : entries) {
        numbers.push_back(emit(*entry));
    }
    return links(field, entries, numbers);
}

// From the end on: a link refers to the one behind it.
U32 DraftEmitter::links(FieldInfo const & field, DraftChain const & entries,
                        std::vector<U32> const & numbers) {
    Draft link;
    link.nodeClass = classWanted(field);
    U32 next = none;
    for (std::size_t i = numbers.size(); i-- > 0;) {
        link.span = entries[i]->span;
        link.fields.assign(link.nodeClass->fields.size(), DraftField());
        U32 const children[] = {numbers[i], next};
        next = add(link, children, std::nullopt);
    }
    return next;
}

U32 DraftEmitter::add(Draft const & draft, std::span<U32 const> numbers, std::optional<U64> key) {
    TextPlace const place(draft, sources_, messages_, map_);
    for (std::size_t i = 0, child = 0; i < draft.nodeClass->fields.size(); ++i) {
        FieldInfo const & field = draft.nodeClass->fields[i];
        if (!field.isNode()) {
            continue;
        }
        U32 const number = numbers[child++];
        bool const fits = number == none ? field.optional : field.accepts(*builder_.node(number));
        if (!fits) {
            place.fail(String(draft.nodeClass->name) + '.' + field.name, field.wants,
                       number == none ? "none" : builder_.node(number)->typeData().name);
        }
    }
    builder_.checkDepth(place, *draft.nodeClass, numbers);
    U32 names = 0;
    U16 slot = 0;
    if (auto const list = listOf(draft)) {
        names = builder_.names().use(place, list->kind, list->name);
        slot = builder_.names().slotOf(list->kind, list->name);
    }
    U64 const nodeKey = key ? builder_.freeKey(place, *key) : builder_.nextKey(place);
    DraftFields fields(builder_, place, draft, numbers, slot);
    auto const node = draft.nodeClass->create(nodeKey, fields);
    return builder_.add(place, node, numbers, key.has_value(), names);
}

} // namespace Qcf::Text
