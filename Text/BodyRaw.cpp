#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"
#include "Text/Words.h"

#include <algorithm>

/// `@Class(field: value, ...)`: any node, field by field. What may stand in a field follows from
/// the field's type.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// The field of that name, or the one that a function's text calls otherwise.
FieldInfo const * findField(NodeClass const & nodeClass, std::string_view name) {
    auto const found = std::ranges::find_if(
        nodeClass.fields, [&](FieldInfo const & field) { return field.name == name; });
    return found == nodeClass.fields.end() ? nullptr : &*found;
}

} // namespace

Draft * BodyParser::raw() {
    Cursor::Level const level(cursor_);
    Token const first = cursor_.take();
    NodeClass const * const nodeClass = cursor_.isWord() ? findNodeClass(cursor_.text()) : nullptr;
    if (nodeClass == nullptr) {
        std::vector<std::string_view> names;
        for (NodeClass const & each : nodeClasses()) {
            names.emplace_back(each.name);
        }
        cursor_.fail(cursor_.here(), "unknown-class", "no node class is called " + cursor_.found(),
                     nearest(cursor_.text(), names));
    }
    cursor_.take();
    bool const isExpression = nodeClass->isKind(NodeKind::expression);
    bool const changes = nodeClass->fieldOf(FieldRole::target) != nullptr ||
                         nodeClass->facts.returns || nodeClass->facts.writes != 0;
    if (isExpression && changes) {
        refuseInAssertion(cursor_.since(first));
    }
    Draft * const draft = tree_.add(*nodeClass, {});
    cursor_.expect("(");
    while (!cursor_.is(")")) {
        rawMember(*draft);
        if (!cursor_.accept(",") && !cursor_.is(")")) {
            cursor_.failWanted("',' or ')'");
        }
    }
    cursor_.take();
    draft->span = cursor_.since(first);
    noteRaw(*draft, first);
    return draft;
}

// `field: value`; the colon may cling to the value, which then is one word with it.
void BodyParser::rawMember(Draft & draft) {
    Token const nameToken = cursor_.now();
    if (!cursor_.isWord()) {
        cursor_.failWanted("the name of a field");
    }
    FieldInfo const * const field = findField(*draft.nodeClass, cursor_.text());
    if (field == nullptr) {
        std::vector<std::string_view> names;
        for (FieldInfo const & each : draft.nodeClass->fields) {
            names.emplace_back(each.name);
        }
        cursor_.fail(cursor_.here(), "unknown-field",
                     String(draft.nodeClass->name) + " has no field " + cursor_.found(),
                     nearest(cursor_.text(), names));
    }
    cursor_.take();
    cursor_.expect(":", "and a blank behind the field");
    DraftField & content =
        draft.fields[static_cast<std::size_t>(field - draft.nodeClass->fields.data())];
    if (content.index() != 0) {
        cursor_.fail(cursor_.spanOf(nameToken), "field-twice",
                     "the field '" + String(field->name) + "' stands here twice");
    }
    content = rawField(*draft.nodeClass, *field);
}

DraftField BodyParser::rawField(NodeClass const & nodeClass, FieldInfo const & field) {
    if (!field.isNode()) {
        return rawScalar(field);
    }
    if (plays(field, FieldRole::callee)) {
        // By name; the compiler finds it.
        return name("a function");
    }
    NodeClass const * const wanted = classWanted(field);
    if (cursor_.is("null")) {
        if (!field.optional) {
            cursor_.fail(cursor_.here(), "null",
                         String(nodeClass.name) + "." + field.name + " is never null");
        }
        cursor_.take();
        return static_cast<Draft *>(nullptr);
    }
    if (wanted != nullptr && wanted->facts.isLink && cursor_.is("[")) {
        return rawChain(*wanted);
    }
    return rawNode(nodeClass, field);
}

Draft * BodyParser::rawNode(NodeClass const & nodeClass, FieldInfo const & field) {
    Token const first = cursor_.now();
    Draft * node = nullptr;
    NodeClass const * const wanted = classWanted(field);
    bool const isBlock = wanted == &nodeClassOf<Block>();
    if (isBlock) {
        node = cursor_.is("@") ? raw() : block();
    } else if (field.wanted == wanting(NodeKind::expression)) {
        node = rawExpression();
    } else if (field.wanted == wanting(NodeKind::logicalOperator)) {
        node = rawOperator();
    } else {
        Want want{.prefixLists = true};
        want.communities = field.wanted == wanting(NodeKind::communitySet) ||
                           wanted == &nodeClassOf<CommunitySetImmediate>();
        node = value(want);
    }
    if (!mayStand(*node->nodeClass, field)) {
        cursor_.fail(cursor_.since(first), "type",
                     String(nodeClass.name) + "." + field.name + " wants " + field.wants +
                         ", found " + described(*node));
    }
    return node;
}

Draft * BodyParser::rawExpression() {
    if (cursor_.is("{")) {
        return block();
    }
    if (cursor_.is("if")) {
        return ifExpression();
    }
    if (cursor_.is("return") || cursor_.is("exit")) {
        return leave();
    }
    return startsCondition() ? condition() : restOfChain(valueOrTest(true));
}

Draft * BodyParser::rawOperator() {
    if (cursor_.is("@")) {
        return raw();
    }
    for (NodeClass const * const each : {&nodeClassOf<AndOperator>(), &nodeClassOf<OrOperator>(),
                                         &nodeClassOf<SequentialOperator>()}) {
        if (cursor_.is(each->facts.words)) {
            return tree_.add(*each, cursor_.spanOf(cursor_.take()));
        }
    }
    cursor_.failWanted("'and', 'or' or '" + String(nodeClassOf<SequentialOperator>().facts.words) +
                       "'");
}

// The entries of a chain; `[]` is no link at all.
DraftField BodyParser::rawChain(NodeClass const & link) {
    cursor_.expect("[");
    Cursor::Level const level(cursor_);
    DraftChain entries;
    while (!cursor_.is("]")) {
        entries.push_back(rawNode(link, *link.fieldOf(FieldRole::entry)));
        if (!cursor_.accept(",") && !cursor_.is("]")) {
            cursor_.failWanted("',' or ']'");
        }
    }
    cursor_.take();
    return entries.empty() ? DraftField(static_cast<Draft *>(nullptr))
                           : DraftField(std::move(entries));
}

// A literal, a text, or JSON for what has no literal. The field's own type is asked when the node
// is made.
DraftField BodyParser::rawScalar(FieldInfo const & field) {
    if (cursor_.isString()) {
        return unquoted(cursor_.text(cursor_.take()));
    }
    if (cursor_.is("{") || cursor_.is("[")) {
        auto content = std::make_shared<DraftValue>();
        content->json = json();
        return std::shared_ptr<DraftValue const>(content);
    }
    if (cursor_.accept("null")) {
        return Literal(std::optional<Evpn::Esid>());
    }
    auto const literal = cursor_.isWord() ? parseLiteral(cursor_.text()) : std::nullopt;
    if (!literal) {
        cursor_.failWanted(String("a value for '") + field.name + "'");
    }
    cursor_.take();
    auto const * const integer = std::get_if<Integer>(&*literal);
    return integer != nullptr && !integer->negative ? DraftField(integer->magnitude)
                                                    : DraftField(*literal);
}

// As it stands, up to the bracket that closes it.
String BodyParser::json() {
    Token const first = cursor_.now();
    U32 open = 0;
    do {
        if (cursor_.atEnd()) {
            cursor_.failWanted("the end of the JSON value");
        }
        open += cursor_.is("{") || cursor_.is("[") ? 1 : 0;
        open -= cursor_.is("}") || cursor_.is("]") ? 1 : 0;
        cursor_.take();
    } while (open != 0);
    return String(cursor_.sources().textOf(cursor_.since(first)));
}

// Names of lists and of functions are known to the program wherever they stand.
void BodyParser::noteRaw(Draft & draft, Token const & first) {
    auto const & facts = draft.nodeClass->facts;
    if (draft.nodeClass->fieldOf(FieldRole::callee) != nullptr) {
        auto const * const callee = std::get_if<String>(&draft.at(FieldRole::callee));
        auto const * const named = std::get_if<String>(&draft.at(FieldRole::calleeName));
        if (named == nullptr) {
            cursor_.fail(cursor_.spanOf(first), "raw-call",
                         String(draft.nodeClass->name) + " wants the name of its callee in quotes");
        }
        uses_.rawCalls.push_back(
            {&draft, callee == nullptr ? *named : *callee, cursor_.spanOf(first), {}});
    }
    if (!facts.list) {
        return;
    }
    auto const * const listName = std::get_if<String>(&draft.at(FieldRole::listName));
    if (listName == nullptr) {
        cursor_.fail(cursor_.spanOf(first), "raw-list",
                     String(draft.nodeClass->name) + " wants the name of its list in quotes");
    }
    noteList(*facts.list, *listName, cursor_.spanOf(first), &draft);
}

} // namespace Qcf::Text
