#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"
#include "Text/Words.h"

#include <algorithm>

/// Tests and changes: a value, an operator, and what stands on its right. The left side's type
/// chooses the operator's class.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

constexpr std::string_view changeWords[] = {"+=", "-=",  "*=",     "prepend",
                                            "=",  "add", "remove", "retain"};
constexpr std::string_view testWords[] = {
    "is", "<", "<=", ">", ">=", "in", "has", "all", "covered", "matches"};
constexpr std::string_view orders[] = {"<", "<=", ">", ">="};

/// What stands where `is` belongs in other languages.
constexpr std::string_view foreignTests[] = {"==", "!=", "=~", "<>", "~"};

template <std::size_t count>
bool isOneOf(Cursor const & cursor, std::string_view const (&words)[count]) {
    return std::ranges::any_of(words, [&](auto word) { return cursor.is(word); });
}

bool isForeign(Cursor const & cursor, std::string_view text) {
    return cursor.now().kind == TokenKind::foreign && cursor.text() == text;
}

} // namespace

bool BodyParser::startsChange() const { return isOneOf(cursor_, changeWords); }

bool BodyParser::startsTest() const {
    return isOneOf(cursor_, testWords) ||
           (cursor_.is("not") &&
            (cursor_.isAhead("in") || cursor_.isAhead("has") || cursor_.isAhead("matches") ||
             cursor_.isAhead("all") || cursor_.isAhead("covered")));
}

// A set as the left side: only here may it begin a test.
Draft * BodyParser::valueOrTest(bool mayChange) {
    Draft * const left = value({});
    if (startsChange()) {
        if (!mayChange) {
            bool const compares = cursor_.is("=");
            cursor_.fail(cursor_.here(), "change-as-condition",
                         compares ? "'is' compares; '=' is a change"
                                  : "a change stands here as a condition; put it in parentheses if "
                                    "that is meant");
        }
        return change(left);
    }
    return restOfTest(left);
}

BodyParser::Want BodyParser::wantOf(Draft const & left) const {
    Want want;
    AttributeInfo const * const attribute = left.nodeClass->attribute;
    want.names = attribute != nullptr && !attribute->valueNames.empty() ? attribute : nullptr;
    want.communities = left.isKind(NodeKind::communitySet);
    return want;
}

Draft * BodyParser::restOfTest(Draft * left) {
    if (left->isKind(NodeKind::expression)) {
        // A raw node may be a whole test.
        return left;
    }
    if (cursor_.is("is")) {
        return isTest(left);
    }
    for (std::string_view const order : orders) {
        if (cursor_.is(order)) {
            Token const at = cursor_.take();
            return make(left, order, value(wantOf(*left)), cursor_.spanOf(at));
        }
    }
    if (startsTest()) {
        return membership(left);
    }
    if (cursor_.now().kind == TokenKind::foreign && !cursor_.now().startsLine) {
        failForeignOperator(left);
    }
    return predicate(left);
}

Draft * BodyParser::negated(Draft * test, Token const & first) {
    return tree_.add<NotExpression>(
        {test->span.file, test->span.begin, std::max(first.end, test->span.end)}, {test});
}

Draft * BodyParser::isTest(Draft * left) {
    Token const at = cursor_.take();
    bool const isNegated = cursor_.accept("not");
    Draft * test = nullptr;
    for (std::string_view const state : {"empty", "zero"}) {
        if (test == nullptr && cursor_.is(state)) {
            Token const word = cursor_.take();
            String const words = "is " + String(state);
            Operator const * const row = findLoneOperator(words, *left->nodeClass);
            if (row == nullptr) {
                cursor_.fail(cursor_.spanOf(word), "type",
                             "'" + words + "' asks " + (state == "empty" ? "sets" : "addresses") +
                                 ", found " + describeDraft(*left, cursor_.sources()));
            }
            test = tree_.add(*row->nodeClass, cursor_.since(left->span), {left});
        }
    }
    if (test == nullptr) {
        test = make(left, "is", value(wantOf(*left)), cursor_.spanOf(at));
    }
    return isNegated ? negated(test, at) : test;
}

// `in`, `has`, `all in`, `covered by`, `matches`, each with `not` before it.
Draft * BodyParser::membership(Draft * left) {
    Token const first = cursor_.now();
    bool const isNegated = cursor_.accept("not");
    Token const at = cursor_.now();
    Draft * test = nullptr;
    if (cursor_.is("matches")) {
        test = matchTest(left);
    } else if (cursor_.accept("in")) {
        test = itemsTest(left, at);
    } else if (cursor_.accept("all")) {
        cursor_.expect("in", "behind 'all'");
        test = make(left, "all in", value(wantOf(*left)), cursor_.spanOf(at));
    } else if (cursor_.accept("covered")) {
        cursor_.expect("by", "behind 'covered'");
        test = make(left, "covered by", value(wantOf(*left)), cursor_.spanOf(at));
    } else {
        cursor_.expect("has");
        if (!cursor_.is("all") && !cursor_.is("any") && !cursor_.is("none")) {
            cursor_.failWanted("'all', 'any' or 'none' behind 'has'");
        }
        String const words = "has " + String(cursor_.text(cursor_.take()));
        test = make(left, words, value(wantOf(*left)), cursor_.spanOf(at));
    }
    return isNegated ? negated(test, first) : test;
}

// One set of items; a range makes it the class with ranges.
Draft * BodyParser::itemsTest(Draft * left, Token const & first) {
    bool const isWithRanges = cursor_.accept("ranges");
    if (!cursor_.is("{")) {
        if (isWithRanges) {
            cursor_.failWanted("'{' behind 'ranges'");
        }
        return make(left, "in", value(wantOf(*left)), cursor_.spanOf(first));
    }
    Token const open = cursor_.take();
    Cursor::Level const level(cursor_);
    Want want = wantOf(*left);
    std::vector<Draft *> singles;
    std::vector<Draft *> lows;
    std::vector<Draft *> highs;
    items(want, singles, lows, highs);
    cursor_.expect("}");
    Span const span = cursor_.since(open);
    if (!isWithRanges && lows.empty()) {
        bool const communities = left->isKind(NodeKind::communityValue);
        return make(left, "in", setLiteral(singles, span, communities), cursor_.spanOf(first));
    }
    if (!left->isKind(NodeKind::int_)) {
        cursor_.fail(cursor_.spanOf(first), "type",
                     "ranges are asked of Int, found " + describeDraft(*left, cursor_.sources()));
    }
    Draft * const test = tree_.add<IntInImmediateSetWithRanges>(cursor_.since(left->span), {left});
    if (!singles.empty()) {
        test->fields[1] = setLiteral(singles, span, false);
    }
    if (!lows.empty()) {
        test->at(FieldRole::lowerBounds) = tree_.add<IntListImmediate>(span, {DraftChain(lows)});
        test->at(FieldRole::upperBounds) = tree_.add<IntListImmediate>(span, {DraftChain(highs)});
    }
    return test;
}

void BodyParser::items(Want const & want, std::vector<Draft *> & singles,
                       std::vector<Draft *> & lows, std::vector<Draft *> & highs) {
    while (!cursor_.is("}")) {
        Constant const * const constant =
            cursor_.isWord() && scope_.findParameter(cursor_.text()) == nullptr
                ? scope_.findConstant(cursor_.text())
                : nullptr;
        if (constant != nullptr && constant->isSet) {
            Span const span = cursor_.here();
            cursor_.take();
            constant->isUsed = true;
            for (ConstantItem const & item : constant->items) {
                (item.high ? lows : singles).push_back(literalAt(item.low, span));
                if (item.high) {
                    highs.push_back(literalAt(*item.high, span));
                }
            }
        } else {
            Draft * const low = value(want);
            if (cursor_.accept("..")) {
                Draft * const high = value(want);
                checkRange(*low, *high);
                lows.push_back(low);
                highs.push_back(high);
            } else {
                singles.push_back(low);
            }
        }
        if (!cursor_.accept(",") && !cursor_.is("}")) {
            cursor_.failWanted("',' or the end of the set");
        }
    }
}

void BodyParser::checkRange(Draft const & low, Draft const & high) {
    for (Draft const * const end : {&low, &high}) {
        if (!end->isKind(NodeKind::int_)) {
            cursor_.fail(end->span, "type",
                         "a range is of Int, found " + describeDraft(*end, cursor_.sources()));
        }
    }
    bool const areConstants = low.nodeClass == &nodeClassOf<IntImmediate>() &&
                              high.nodeClass == &nodeClassOf<IntImmediate>();
    if (areConstants && !std::get<bool>(low.fields[1]) && !std::get<bool>(high.fields[1]) &&
        std::get<U64>(low.fields[0]) > std::get<U64>(high.fields[0])) {
        cursor_.warn(low.span, "empty-range", "the range is empty: it ends before it begins");
    }
}

Draft * BodyParser::matchTest(Draft * left) {
    Token const at = cursor_.take();
    if (cursor_.isString() && left->isKind(NodeKind::asPath)) {
        cursor_.fail(cursor_.here(), "pattern",
                     "a pattern stands in a list: 'list as_path_list NAME { permit " +
                         String(cursor_.text()) + " }', then 'matches NAME'");
    }
    if (cursor_.is("{")) {
        cursor_.fail(cursor_.here(), "list-wanted",
                     "'matches' asks a list by its name; a set is asked with 'has' or 'in'");
    }
    bool const isOfPrefixes = left->isKind(NodeKind::ipPrefix) || left->isKind(NodeKind::ipAddress);
    String words = "matches";
    if (isOfPrefixes ? cursor_.accept("covered") : cursor_.accept("exact")) {
        words += isOfPrefixes ? " covered" : " exact";
    }
    if (isOfPrefixes) {
        Draft * const list = value({.prefixLists = true});
        if (!list->isKind(NodeKind::prefixList)) {
            cursor_.fail(list->span, "list-wanted",
                         "wants a prefix list, found " + describeDraft(*list, cursor_.sources()),
                         {}, "one prefix is asked with 'is' or 'covered by'");
        }
        return make(left, words, list, cursor_.spanOf(at));
    }
    return makeList(left, words, at);
}

bool BodyParser::isListName() const {
    for (SlotKind const kind : {SlotKind::commList, SlotKind::extCommList, SlotKind::largeCommList,
                                SlotKind::asPathAccessList, SlotKind::tagSet}) {
        if (cursor_.is(listKindWord(kind))) {
            return true;
        }
    }
    if (cursor_.isString()) {
        return true;
    }
    return cursor_.isWord() && isPlainName(cursor_.text()) &&
           scope_.findParameter(cursor_.text()) == nullptr &&
           scope_.findConstant(cursor_.text()) == nullptr;
}

// The kind is that of the attribute where it is not written; then that of the type, if there is
// one alone.
Draft * BodyParser::makeList(Draft * left, std::string_view words, Token const & at) {
    std::vector<Operator const *> rows;
    for (Operator const * const row : operatorsFor(words, *left->nodeClass)) {
        if (row->side == RightSide::list) {
            rows.push_back(row);
        }
    }
    if (rows.empty()) {
        cursor_.fail(cursor_.spanOf(at), "type",
                     "'" + String(words) + "' with a list does not suit " +
                         describeDraft(*left, cursor_.sources()));
    }
    auto const kindOfRow = [](Operator const * row) { return *row->nodeClass->facts.list; };
    std::optional<SlotKind> wanted;
    AttributeInfo const * const attribute = left->nodeClass->attribute;
    if (attribute != nullptr) {
        wanted = attribute->lists;
    }
    for (SlotKind const kind : {SlotKind::commList, SlotKind::extCommList, SlotKind::largeCommList,
                                SlotKind::asPathAccessList, SlotKind::tagSet}) {
        if (cursor_.is(listKindWord(kind))) {
            Token const word = cursor_.take();
            if (std::ranges::none_of(rows, [&](auto row) { return kindOfRow(row) == kind; })) {
                cursor_.fail(cursor_.spanOf(word), "list-kind",
                             "wants " + String(listKindWord(kindOfRow(rows.front()))) + " for " +
                                 describeDraft(*left, cursor_.sources()) + ", found " +
                                 String(listKindWord(kind)));
            }
            wanted = kind;
            break;
        }
    }
    if (!wanted && rows.size() > 1) {
        cursor_.failWanted("'ext_community_list' or 'large_community_list' and the list's name");
    }
    SlotKind const kind = wanted.value_or(kindOfRow(rows.front()));
    if (cursor_.isWord() && parseLiteral(cursor_.text())) {
        cursor_.fail(cursor_.here(), "list-wanted",
                     "wants the name of a " + String(listKindWord(kind)) + ", found " +
                         cursor_.found(),
                     {}, "communities stand in braces: '{ " + String(cursor_.text()) + " }'");
    }
    Token const nameToken = cursor_.now();
    String const listName = name(("a " + String(listKindWord(kind))).c_str());
    auto const given = slot();
    Operator const * const row = findListOperator(words, *left->nodeClass, kind);
    Draft * const draft = tree_.add(*row->nodeClass, cursor_.since(left->span), {left, listName});
    if (given) {
        draft->at(FieldRole::listSlot) = *given;
    }
    noteList(kind, listName, cursor_.spanOf(nameToken), draft);
    return draft;
}

Draft * BodyParser::change(Draft * left) {
    Token const at = cursor_.take();
    String words(cursor_.text(at));
    if (words == "add" && cursor_.accept("plain")) {
        words += " plain";
    }
    if (!left->isKind(NodeKind::intModifiable) && !left->isKind(NodeKind::ipAddressModifiable) &&
        !left->isKind(NodeKind::asPathModifiable) && !left->isKind(NodeKind::intSetModifiable) &&
        !left->isKind(NodeKind::communitySetModifiable) &&
        !left->isKind(NodeKind::resolutionRibsModifiable)) {
        failReadOnly(*left);
    }
    bool const isOfSet = left->isKind(NodeKind::intSet) || left->isKind(NodeKind::communitySet);
    if (isOfSet && isListName() && words != "add plain") {
        return makeList(left, words, at);
    }
    return make(left, words, value(wantOf(*left)), cursor_.spanOf(at));
}

void BodyParser::failReadOnly(Draft const & left) {
    String const text(cursor_.sources().textOf(left.span));
    AttributeInfo const * const attribute = left.nodeClass->attribute;
    constexpr std::string_view input = "input.";
    if (attribute != nullptr && text.starts_with(input)) {
        cursor_.fail(left.span, "input",
                     "'" + text + "' is the route as it came and cannot be changed",
                     text.substr(input.size()));
    }
    cursor_.fail(left.span, "read-only",
                 attribute == nullptr ? "only attributes can be changed, found " +
                                            describeDraft(left, cursor_.sources())
                                      : "'" + text + "' cannot be changed");
}

Draft * BodyParser::make(Draft * left, std::string_view words, Draft * right, Span const & at) {
    Operator const * const row = findOperator(words, *left->nodeClass, *right->nodeClass);
    if (row == nullptr) {
        failOperator(left, words, right, at);
    }
    return tree_.add(*row->nodeClass, cursor_.since(left->span), {left, right});
}

// The operator may not suit the left side at all; else the right side is told what it wants. Sets
// are asked for a member the other way round.
void BodyParser::failOperator(Draft * left, std::string_view words, Draft * right,
                              Span const & at) {
    auto const rows = operatorsFor(words, *left->nodeClass);
    Sources const & sources = cursor_.sources();
    String const rightText(sources.textOf(right->span));
    String const leftText(sources.textOf(left->span));
    bool const leftIsSet = left->isKind(NodeKind::intSet) || left->isKind(NodeKind::communitySet);
    if (words == "is" && leftIsSet &&
        (right->isKind(NodeKind::int_) || right->isKind(NodeKind::communityValue))) {
        cursor_.fail(at, "set-is", leftText + " is a set: '" + rightText + " in " + leftText + "'");
    }
    bool const rightIsSet =
        right->isKind(NodeKind::intSet) || right->isKind(NodeKind::communitySet);
    if (words == "is" && rightIsSet && !leftIsSet) {
        cursor_.fail(right->span, "is-set",
                     "'is' compares with one value; 'in' asks for one of a set");
    }
    if (words == "in" && leftIsSet && rightIsSet) {
        cursor_.fail(at, "set-in",
                     "a set is asked with 'all in', 'has any', 'has all' or 'has none'");
    }
    if (rows.empty()) {
        std::vector<String> types;
        for (Operator const & row : operatorTable()) {
            String const type = row.left->wants;
            if (row.words == words && std::ranges::find(types, type) == types.end()) {
                types.push_back(type);
            }
        }
        String list;
        for (String const & type : types) {
            list += (list.empty() ? "" : ", ") + type;
        }
        cursor_.fail(at, "type",
                     "'" + String(words) + "' wants " + list + " on its left, found " +
                         describeDraft(*left, sources));
    }
    String const wants =
        rows.front()->side == RightSide::value ? rows.front()->right->wants : String("a list");
    cursor_.fail(right->span, "type",
                 "wants " + wants + ", found " + describeDraft(*right, sources));
}

Draft * BodyParser::predicate(Draft * value) {
    if (!value->isKind(NodeKind::triStateBool)) {
        failNoTest(value);
    }
    return tree_.add<TriStateBoolExpression>(value->span, {value});
}

void BodyParser::failNoTest(Draft * left) {
    Sources const & sources = cursor_.sources();
    if (cursor_.isWord() && cursor_.text().starts_with('-') && !cursor_.now().startsLine) {
        failForeignOperator(left);
    }
    bool const wordFollows = cursor_.isWord() && !cursor_.now().startsLine &&
                             !std::ranges::binary_search(keywords(), cursor_.text());
    if (wordFollows) {
        String const operatorMeant = suggestOperator(cursor_.text());
        cursor_.fail(cursor_.here(), "operator",
                     "wants an operator behind " + describeDraft(*left, sources) + ", found " +
                         cursor_.found(),
                     operatorMeant);
    }
    cursor_.fail(left->span, "no-test",
                 "wants a test, found " + describeDraft(*left, sources) + " alone");
}

String BodyParser::suggestOperator(std::string_view word) {
    struct ForeignWord {
        std::string_view foreign;
        std::string_view ours;
    };
    static constexpr ForeignWord foreign[] = {
        {"contains", "has any"},  {"contain", "has any"}, {"includes", "has any"},
        {"equals", "is"},         {"eq", "is"},           {"match", "matches"},
        {"within", "covered by"}, {"delete", "remove"},   {"append", "add"},
        {"additive", "add"},      {"filter", "retain"},   {"set", "="},
    };
    for (ForeignWord const & each : foreign) {
        if (each.foreign == word) {
            return String(each.ours);
        }
    }
    std::vector<std::string_view> known(std::begin(testWords), std::end(testWords));
    known.insert(known.end(), std::begin(changeWords), std::end(changeWords));
    return nearest(word, known);
}

void BodyParser::failForeignOperator(Draft * left) {
    String const leftText(left == nullptr ? "med" : cursor_.sources().textOf(left->span));
    std::string_view const found = cursor_.text();
    Span const here = cursor_.here();
    if (isForeign(cursor_, "==")) {
        cursor_.fail(here, "foreign", "'is' compares; '==' is not of this language", "is");
    }
    if (isForeign(cursor_, "!=") || isForeign(cursor_, "<>")) {
        cursor_.fail(here, "foreign",
                     "'is not' compares; '" + String(found) + "' is not of this language",
                     "is not");
    }
    if (isForeign(cursor_, "=~") || isForeign(cursor_, "~")) {
        cursor_.fail(here, "foreign",
                     "'" + String(found) +
                         "' is not of this language; a list is asked with 'matches'",
                     "matches");
    }
    if (isForeign(cursor_, "&&") || isForeign(cursor_, "||")) {
        String const ours = found == "&&" ? "and" : "or";
        cursor_.fail(here, "foreign",
                     "'" + ours + "' joins tests; '" + String(found) + "' is not of this language",
                     ours);
    }
    if (isForeign(cursor_, "//") || isForeign(cursor_, "/*")) {
        cursor_.fail(here, "foreign", "a comment begins with '#'", "#");
    }
    bool const isArithmetic =
        found.starts_with('-') || found == "+" || found == "/" || found == "++";
    if (isArithmetic) {
        String const digits(found.starts_with("-") ? found.substr(1) : "");
        String const sign = found.starts_with('-') ? "-=" : "+=";
        String const operand = digits.empty() ? (cursor_.ahead().kind == TokenKind::word
                                                     ? String(cursor_.text(cursor_.ahead()))
                                                     : String("5"))
                                              : digits;
        cursor_.fail(here, "arithmetic",
                     "no arithmetic; '" + leftText + ' ' + sign + ' ' + operand + "'");
    }
    cursor_.fail(here, "foreign", "'" + String(found) + "' is not of this language");
}

} // namespace Qcf::Text
