#include "Text/TestParser.h"

#include "QcfLib/QcfEval.h"
#include "Text/RouteParser.h"
#include "Text/Words.h"

#include <algorithm>

/// Tests: which function, over which lists and routes, and what is expected.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

class TestReader {
public:
    TestReader(Cursor & cursor, DraftTree & tree, TextScope const & outer,
               ConstantScope const & listConstants)
        : cursor_(cursor),
          scope_{outer, parameters_},
          listConstants_(listConstants),
          body_(cursor, tree, scope_, uses_, BodyParser::Purpose::assertion) {}

    TestDeclaration read() {
        test_.documentation = cursor_.takeDocumentation();
        Token const first = cursor_.now();
        if (!cursor_.isString()) {
            cursor_.failWanted("what the test is about, in quotes");
        }
        test_.title = unquoted(cursor_.text(cursor_.take()));
        call();
        cursor_.expect("{", "behind the function under test");
        if (cursor_.accept("bind")) {
            bind();
        }
        while (cursor_.accept("route")) {
            test_.routes.push_back(readRoute(cursor_, scope_));
        }
        if (test_.routes.empty()) {
            cursor_.failWanted("'route { ... }'");
        }
        expectation();
        test_.span = cursor_.since(first);
        test_.uses = std::move(uses_);
        return std::move(test_);
    }

private:
    void call() {
        Token const nameToken = cursor_.now();
        bool const isName = cursor_.isString() || (cursor_.isWord() && isPlainName(cursor_.text()));
        if (!isName) {
            cursor_.failWanted("the function under test");
        }
        test_.call.name = cursor_.isString() ? unquoted(cursor_.text()) : String(cursor_.text());
        test_.call.nameSpan = cursor_.spanOf(nameToken);
        if (!cursor_.isAhead("(") || cursor_.ahead().afterGap) {
            cursor_.fail(cursor_.spanOf(cursor_.ahead()), "syntax",
                         "wants '(' behind the function's name");
        }
        cursor_.take();
        test_.call.arguments = body_.arguments(test_.call.name);
    }

    void bind() {
        cursor_.expect("{", "behind 'bind'");
        while (!cursor_.is("}")) {
            if (cursor_.atEnd()) {
                cursor_.failWanted("'}'");
            }
            U32 const before = cursor_.now().begin;
            if (auto list = readList(cursor_, listConstants_)) {
                test_.lists.push_back(std::move(*list));
            } else if (cursor_.now().begin == before) {
                throw Recovery{};
            }
            cursor_.accept(";");
        }
        cursor_.take();
    }

    void expectation() {
        Token const first = cursor_.expect("expect", "behind the routes");
        Expectation & expected = test_.expectation;
        expected.verdict = verdict();
        expected.exits = cursor_.accept("exit");
        if (cursor_.accept("because")) {
            if (!cursor_.isWord()) {
                cursor_.failWanted("a word behind 'because'");
            }
            expected.reason = String(cursor_.text(cursor_.take()));
        }
        if (cursor_.is("{")) {
            if (expected.verdict != TriStateBoolValue::true_) {
                cursor_.fail(cursor_.here(), "assertions",
                             "assertions stand under 'expect accept' alone: a route that is not "
                             "accepted is never changed");
            }
            assertions();
        }
        expected.span = cursor_.since(first);
        cursor_.expect("}", "behind the expectation");
    }

    TriStateBoolValue verdict() {
        struct Word {
            std::string_view text;
            TriStateBoolValue value;
        };
        static constexpr Word words[] = {{"accept", TriStateBoolValue::true_},
                                         {"reject", TriStateBoolValue::false_},
                                         {"unknown", TriStateBoolValue::unknown}};
        auto const * const word =
            std::ranges::find_if(words, [&](Word const & each) { return cursor_.is(each.text); });
        if (word == std::end(words)) {
            static constexpr std::string_view texts[] = {"accept", "reject", "unknown"};
            bool const isTruth = cursor_.is("true") || cursor_.is("false");
            cursor_.fail(cursor_.here(), "syntax",
                         "wants 'accept', 'reject' or 'unknown' behind 'expect', found " +
                             cursor_.found(),
                         isTruth ? (cursor_.is("true") ? "accept" : "reject")
                                 : nearest(cursor_.text(), texts));
        }
        cursor_.take();
        return word->value;
    }

    void assertions() {
        cursor_.take();
        while (!cursor_.is("}")) {
            assertion();
            if (!cursor_.accept(";") && !cursor_.is("}") && !cursor_.now().startsLine) {
                cursor_.failWanted("';', '}' or a new line behind the assertion");
            }
        }
        cursor_.take();
    }

    void assertion() {
        Expectation & expected = test_.expectation;
        if (cursor_.accept("unchanged")) {
            expected.unchanged = true;
        } else if (cursor_.accept("next_hop_self")) {
            expected.nextHopSelf = true;
        } else if (cursor_.is("changes")) {
            cursor_.take();
            cursor_.expect("only", "behind 'changes'");
            changesOnly();
        } else {
            std::size_t const calls = uses_.calls.size();
            Draft * const condition = body_.condition();
            if (uses_.calls.size() != calls) {
                cursor_.fail(uses_.calls[calls].nameSpan, "assertions",
                             "an assertion asks the route; it calls no function");
            }
            expected.conditions.push_back(condition);
        }
    }

    void changesOnly() {
        cursor_.expect("{", "behind 'changes only'");
        auto & names = test_.expectation.changesOnly.emplace();
        while (!cursor_.is("}")) {
            NodeClass const * const attribute =
                cursor_.isWord() ? findAttribute(cursor_.text()) : nullptr;
            if (attribute == nullptr || !attribute->attribute->modifiable) {
                std::vector<std::string_view> known;
                for (NodeClass const & each : nodeClasses()) {
                    if (each.attribute != nullptr && each.attribute->modifiable) {
                        known.emplace_back(each.attribute->languageName);
                    }
                }
                cursor_.fail(cursor_.here(), "unknown-name",
                             "wants an attribute that can be changed, found " + cursor_.found(),
                             nearest(cursor_.text(), known));
            }
            names.emplace_back(cursor_.text(cursor_.take()));
            if (!cursor_.accept(",") && !cursor_.is("}")) {
                cursor_.failWanted("',' or '}'");
            }
        }
        cursor_.take();
    }

    Cursor & cursor_;
    Parameters const parameters_;
    Scope scope_;
    ConstantScope const & listConstants_;
    BodyUses uses_;
    BodyParser body_;
    TestDeclaration test_;
};

} // namespace

TestDeclaration readTest(Cursor & cursor, DraftTree & tree, TextScope const & outer,
                         ConstantScope const & listConstants) {
    return TestReader(cursor, tree, outer, listConstants).read();
}

} // namespace Qcf::Text
