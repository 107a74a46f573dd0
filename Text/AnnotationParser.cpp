#include "Text/AnnotationParser.h"

#include "Text/OperatorTable.h"
#include "Text/Words.h"

#include <algorithm>
#include <functional>
#include <set>

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): what annotations tell is of there

namespace {

class AnnotationReader {
public:
    explicit AnnotationReader(Cursor & cursor) : cursor_(cursor) {}

    Annotations read() {
        while (cursor_.is("@")) {
            annotation();
        }
        return std::move(made_);
    }

private:
    struct Form {
        std::string_view word;
        void (AnnotationReader::*read)();
    };

    void annotation() {
        static constexpr Form forms[] = {{"features", &AnnotationReader::features},
                                         {"reads", &AnnotationReader::reads},
                                         {"writes", &AnnotationReader::writes},
                                         {"slots", &AnnotationReader::slots},
                                         {"key", &AnnotationReader::key},
                                         {"arguments", &AnnotationReader::argumentsExpected}};
        Token const first = cursor_.expect("@");
        auto const * const form =
            std::ranges::find_if(forms, [&](Form const & each) { return cursor_.is(each.word); });
        if (form == std::end(forms)) {
            std::vector<std::string_view> words;
            for (Form const & each : forms) {
                words.push_back(each.word);
            }
            cursor_.fail(cursor_.here(), "annotation", "no annotation is called " + cursor_.found(),
                         nearest(cursor_.text(), words));
        }
        cursor_.take();
        if (!met_.insert(form->word).second) {
            cursor_.fail(cursor_.since(first), "annotation",
                         "'@" + String(form->word) + "' stands twice");
        }
        cursor_.expect("(");
        (this->*form->read)();
        cursor_.expect(")");
    }

    /// Calls `read` for what stands between the parentheses, with commas or without.
    void each(std::function<void()> const & read) {
        while (!cursor_.is(")") && !cursor_.atEnd()) {
            read();
            cursor_.accept(",");
        }
    }

    void features() {
        auto content = std::make_shared<DraftValue>();
        auto & value = content->value.emplace<Routing::Policy::RouteMapFeatures>();
        each([&] {
            if (!cursor_.isString()) {
                cursor_.failWanted("a feature in quotes");
            }
            value.featureIs(unquoted(cursor_.text(cursor_.take())));
        });
        made_.features = std::shared_ptr<DraftValue const>(content);
    }

    // Two annotations of one field.
    template <typename Flags>
    void flags(Flags AccessibleAttributes::*set, bool DraftValue::*has) {
        if (accessed_ == nullptr) {
            accessed_ = std::make_shared<DraftValue>();
            accessed_->value.emplace<AccessibleAttributes>();
            made_.accessedAttributes = std::shared_ptr<DraftValue const>(accessed_);
        }
        (*accessed_).*has = true;
        each([&] {
            std::size_t const bit = Flags::bitOf(cursor_.text());
            if (!cursor_.isWord() || bit >= Flags::width) {
                cursor_.failWanted("the flag of an attribute, such as 'local_preference'");
            }
            cursor_.take();
            (std::get<AccessibleAttributes>(accessed_->value).*set).insert(bit);
        });
    }
    void reads() { flags(&AccessibleAttributes::readableAttributes, &DraftValue::hasReads); }
    void writes() { flags(&AccessibleAttributes::writableAttributes, &DraftValue::hasWrites); }

    void slots() {
        auto content = std::make_shared<DraftValue>();
        auto & metadata = content->value.emplace<FunctionMetadata>();
        each([&] {
            SlotKind kind = slotKind();
            String const listName = name();
            if (kind == SlotKind::v4PrefixList && cursor_.accept("v6")) {
                kind = SlotKind::v6PrefixList;
            } else {
                cursor_.accept("v4");
            }
            metadata.of(kind)[listName] = static_cast<U16>(number(0xFFFF));
        });
        made_.metadata = std::shared_ptr<DraftValue const>(content);
    }

    // Both families of prefix lists have one word; the family stands behind the name.
    SlotKind slotKind() {
        auto const * const info = std::ranges::find_if(slotKinds, [&](SlotKindInfo const & each) {
            return cursor_.is(listKindWord(each.kind));
        });
        if (info == std::end(slotKinds)) {
            cursor_.failWanted("a kind of lists");
        }
        cursor_.take();
        return info->kind;
    }

    String name() {
        if (cursor_.isString()) {
            return unquoted(cursor_.text(cursor_.take()));
        }
        if (!cursor_.isWord() || !isPlainName(cursor_.text())) {
            cursor_.failWanted("the name of a list");
        }
        return String(cursor_.text(cursor_.take()));
    }

    U64 number(U64 most) {
        auto const literal = cursor_.isWord() ? parseLiteral(cursor_.text()) : std::nullopt;
        auto const * const integer = literal ? std::get_if<Integer>(&*literal) : nullptr;
        if (integer == nullptr || integer->negative || integer->magnitude > most) {
            cursor_.failWanted("a number from 0 to " + std::to_string(most));
        }
        cursor_.take();
        return integer->magnitude;
    }

    void key() {
        made_.key = number(~U64{0});
        if (*made_.key == 0) {
            cursor_.fail(cursor_.here(), "key", "a key is 1 at least");
        }
    }

    void argumentsExpected() {
        if (!cursor_.is("true") && !cursor_.is("false")) {
            cursor_.failWanted("true or false");
        }
        made_.argumentsExpected = cursor_.text(cursor_.take()) == "true";
    }

    Cursor & cursor_;
    Annotations made_;
    std::shared_ptr<DraftValue> accessed_;
    std::set<std::string_view> met_;
};

} // namespace

Annotations readAnnotations(Cursor & cursor) { return AnnotationReader(cursor).read(); }

} // namespace Qcf::Text
