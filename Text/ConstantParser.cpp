#include "Text/ConstantParser.h"

#include "Text/Words.h"

namespace Qcf::Text {

namespace {

/// What a set may hold, as messages name it; null for all other literals.
char const * elementType(Literal const & literal) {
    return std::holds_alternative<Integer>(literal)               ? "Int"
           : std::holds_alternative<Acl::CommunityValue>(literal) ? "CommunityValue"
                                                                  : nullptr;
}

class ConstantReader {
public:
    ConstantReader(Cursor & cursor, Constants const & above, Constant & into)
        : cursor_(cursor), above_{above, nothing_}, constant_(into) {}

    void read() {
        name();
        cursor_.expect("=", "behind the constant's name");
        constant_.isSet = cursor_.accept("{");
        if (constant_.isSet) {
            items();
        } else {
            constant_.items.push_back({literal()});
        }
        if (!cursor_.accept(";") && !cursor_.now().startsLine && !cursor_.atEnd()) {
            cursor_.failWanted("';' or a new line behind the constant");
        }
    }

private:
    void name() {
        bool const isQuoted = cursor_.isString();
        if (!isQuoted && (!cursor_.isWord() || !isPlainName(cursor_.text()))) {
            if (cursor_.isWord() && hasNameShape(cursor_.text())) {
                cursor_.fail(cursor_.here(), "name",
                             cursor_.found() + " means something in this language; a constant "
                                               "of that name stands in quotes");
            }
            cursor_.failWanted("the name of a constant");
        }
        String const name = isQuoted ? unquoted(cursor_.text()) : String(cursor_.text());
        auto const before = above_.constants.find(name);
        if (before != above_.constants.end()) {
            cursor_.fail(cursor_.here(), "duplicate",
                         "the constant '" + before->first + "' is declared twice, first at " +
                             cursor_.sources().placeText(before->second.span));
        }
        constant_.span = cursor_.here();
        constant_.name = name;
        cursor_.take();
    }

    // A set constant in a set is spliced into it.
    void items() {
        while (!cursor_.is("}")) {
            Span const span = cursor_.here();
            Constant const * const inner = above_.constantAt(cursor_);
            if (inner != nullptr && inner->isSet) {
                inner->isUsed = true;
                cursor_.take();
                above_.constants.splice(cursor_, span, inner->items.size());
                for (ConstantItem const & item : inner->items) {
                    add(item, span);
                }
            } else {
                add(item(), span);
            }
            if (!cursor_.accept(",") && !cursor_.is("}")) {
                cursor_.failWanted("',' or '}'");
            }
        }
        cursor_.take();
    }

    ConstantItem item() {
        ConstantItem made{literal()};
        if (cursor_.accept("..")) {
            Span const span = cursor_.here();
            made.high = literal();
            bool const isRange = std::holds_alternative<Integer>(made.low) &&
                                 std::holds_alternative<Integer>(*made.high);
            if (!isRange) {
                cursor_.fail(span, "type", "a range is of Int");
            }
        }
        return made;
    }

    // What the first element is, all are.
    void add(ConstantItem const & item, Span const & span) {
        String const found(cursor_.sources().textOf(span));
        char const * const type = elementType(item.low);
        if (type == nullptr) {
            cursor_.fail(span, "type",
                         "a set holds integers or communities, found '" + found + "'");
        }
        bool const isFirst = constant_.items.empty();
        if (!isFirst && constant_.items.front().low.index() != item.low.index()) {
            cursor_.fail(span, "type",
                         String("wants ") + elementType(constant_.items.front().low) + ", found " +
                             type + " '" + found + "'",
                         {}, "the elements of a set are of one type");
        }
        constant_.items.push_back(item);
    }

    // A literal, or a constant above that is one.
    Literal literal() {
        Constant const * const known = above_.constantAt(cursor_);
        if (known != nullptr && !known->isSet) {
            known->isUsed = true;
            cursor_.take();
            return known->items.front().low;
        }
        auto const found = cursor_.isWord() ? parseLiteral(cursor_.text()) : std::nullopt;
        if (found) {
            cursor_.take();
            return *found;
        }
        String const why = cursor_.isWord() ? whyNoLiteral(cursor_.text()) : String();
        if (!why.empty()) {
            cursor_.fail(cursor_.here(), "literal", cursor_.found() + ": " + why);
        }
        cursor_.failWanted("a literal, or a set of them in braces");
    }

    Cursor & cursor_;
    DeclaredNames const nothing_{""};
    TextScope above_;
    Constant & constant_;
};

} // namespace

void readConstant(Cursor & cursor, Constants const & above, Constant & into) {
    ConstantReader(cursor, above, into).read();
}

} // namespace Qcf::Text
