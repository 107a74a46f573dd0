#include "Mirror/LocalChannel.h"
#include "Mirror/MirrorError.h"
#include "Mirror/PartPublisher.h"
#include "Mirror/ProgramPublication.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "tests/Mirror/MirrorTools.h"

#include <algorithm>
#include <random>
#include <set>

#include <gtest/gtest.h>

/// Documents that are edited at random and published after each edit: what is kept from one
/// publication to the next must be what a look at everything would find.
namespace Qcf::Mirror {
namespace {

using test::difference;
using test::flatDocument;

/// What a function says. Written with sharing or without, which is to make no difference.
struct Draft {
    std::vector<U64> values; ///< a statement each
    std::vector<U64> set;    ///< a literal; none when empty
    String calls;            ///< empty for no call
    bool shares = false;     ///< equal statements are one node

    bool operator==(Draft const &) const = default;
};
using Drafts = std::map<String, Draft>;

String assign(U64 value, U64 key) {
    return R"({"class": "IntAssign", )" +
           (key == 0 ? "" : "\"key\": " + std::to_string(key) + ", ") + R"("lhs": "med", "rhs": )" +
           std::to_string(value) + "}, ";
}

String functionText(String const & name, Draft const & draft, U64 & nextKey) {
    String text = R"({"name": ")" + name + R"(", "body": {"class": "Block", "stmts": [)";
    if (!draft.calls.empty()) {
        text += R"({"class": "FunctionCallExpression", "calleeName": ")" + draft.calls + "\"}, ";
    }
    std::map<U64, U64> keys;
    for (U64 const value : draft.values) {
        auto const [known, isNew] = keys.try_emplace(value, draft.shares ? nextKey += 1000 : 0);
        text += isNew || !draft.shares ? assign(value, known->second)
                                       : "{\"ref\": " + std::to_string(known->second) + "}, ";
    }
    String elements;
    for (U64 const element : draft.set) {
        elements += (elements.empty() ? "" : ", ") + std::to_string(element);
    }
    if (!draft.set.empty()) {
        text += R"({"class": "IntSetAssignImmediate", "lhs": "community", "rhs": [)" + elements +
                "]}, ";
    }
    return text + R"({"class": "ReturnExpression", "expr": true}]}})";
}

class RandomEdits {
public:
    explicit RandomEdits(U32 seed) : random_(seed) {
        for (int i = 0; i < 4; ++i) {
            drafts[freshName()] = draft();
        }
    }

    U64 below(U64 end) { return std::uniform_int_distribution<U64>(0, end - 1)(random_); }

    /// One edit, and sometimes back to what was before some.
    void edit() {
        history_.push_back(drafts);
        switch (below(9)) {
        case 0:
            drafts[freshName()] = draft();
            break;
        case 1:
            removeOne();
            break;
        case 2:
            rename();
            break;
        case 3:
            drafts = history_[below(history_.size())];
            break;
        case 4: // with one that says the same
            drafts[freshName()] = Draft(any()->second);
            break;
        case 5:
            any()->second.shares ^= true;
            break;
        default:
            change(any()->second);
        }
    }

    /// In an order of its own each time, as far as callees come first: keys and places move.
    String text() {
        std::set<String> names;
        for (auto const & [name, each] : drafts) {
            names.insert(name);
        }
        return text(names);
    }
    /// The same of some functions alone, and of what they call.
    String text(std::set<String> const & wanted) {
        std::vector<String> names(wanted.begin(), wanted.end());
        for (String const & name : wanted) {
            String const & callee = drafts[name].calls;
            if (!callee.empty() && std::ranges::find(names, callee) == names.end()) {
                names.push_back(callee);
            }
        }
        std::shuffle(names.begin(), names.end(), random_);
        std::stable_partition(names.begin(), names.end(),
                              [&](String const & name) { return isLeaf(drafts[name]); });
        U64 nextKey = below(2) * 1'000'000;
        String text;
        for (String const & name : names) {
            text += (text.empty() ? "" : ",\n") + functionText(name, drafts[name], nextKey);
        }
        return R"({"qcf": "aet/1", "functions": [)" + text + "]}";
    }

    Drafts drafts;

private:
    Drafts::iterator any() {
        return std::next(drafts.begin(), static_cast<std::ptrdiff_t>(below(drafts.size())));
    }
    String freshName() { return "f" + std::to_string(count_++); }
    Draft draft() {
        Draft made{{below(3), below(3), below(3)}, {}, {}, below(2) == 0};
        change(made);
        return made;
    }
    void change(Draft & draft) {
        switch (below(3)) {
        case 0:
            draft.values[below(draft.values.size())] = below(5);
            break;
        case 1:
            draft.set.assign(1 + below(3), 7 + below(3));
            break;
        default:
            // Calls go to what is older, so that none comes back to itself.
            draft.calls.clear();
            for (auto const & [name, each] : drafts) {
                bool const isOlder = &each != &draft && isLeaf(each);
                draft.calls = isOlder && below(2) == 0 ? name : draft.calls;
            }
            if (isCalled(draft)) {
                draft.calls.clear();
            }
        }
    }
    static bool isLeaf(Draft const & draft) { return draft.calls.empty(); }
    bool isCalled(Draft const & draft) const {
        return std::any_of(drafts.begin(), drafts.end(), [&](auto const & each) {
            auto const callee = drafts.find(each.second.calls);
            return callee != drafts.end() && &callee->second == &draft;
        });
    }
    void removeOne() {
        if (drafts.size() > 2) {
            String const name = any()->first;
            replaceCalls(name, "");
        }
    }
    void rename() {
        String const name = any()->first;
        String const other = freshName();
        drafts[other] = Draft(drafts.at(name));
        replaceCalls(name, other);
    }
    /// The function goes; who called it calls another one. The name must not be the function's own.
    void replaceCalls(String const & name, String const & other) {
        drafts.erase(name);
        for (auto & [each, draft] : drafts) {
            draft.calls = draft.calls == name ? other : draft.calls;
        }
    }

    std::mt19937 random_;
    std::vector<Drafts> history_;
    U64 count_ = 0;
};

/// By name, each computed by itself.
std::map<String, Digest> digestsOf(Documents::Program const & program) {
    std::map<String, Digest> digests;
    for (auto const & function : program.functions) {
        digests[function->funcName()] = FunctionDigests().of(*function);
    }
    return digests;
}

std::map<String, Digest> digestsOf(AllFunctionStatus const & status) {
    std::map<String, Digest> digests;
    for (auto const & [name, function] : status.aet()) {
        digests[name] = FunctionDigests().of(static_cast<Eval::Function const &>(*function));
    }
    return digests;
}

/// How many functions come to mean something else, those that go not counted.
U64 changesBetween(std::map<String, Digest> const & before,
                   std::map<String, Digest> const & after) {
    return static_cast<U64>(std::count_if(after.begin(), after.end(), [&](auto const & each) {
        auto const known = before.find(each.first);
        return known == before.end() || known->second != each.second;
    }));
}

/// All nodes of the functions.
std::set<Eval::AetNodeBase const *> usedNodes(AllFunctionStatus const & status) {
    std::set<Eval::AetNodeBase const *> used;
    for (auto const & [name, function] : status.aet()) {
        walkTree(*function,
                 [&](Eval::WalkedNode const & at) { return used.insert(&at.node).second; });
    }
    return used;
}

/// A status, what is kept of it, and readers that follow.
struct Published {
    Published() {
        channel.attach(reader);
        channel.attach(other);
    }
    ~Published() {
        channel.detach(reader);
        channel.detach(other);
    }
    /// What is wrong after a publication; empty for nothing.
    String fault() {
        Digest const anew = test::digestOf(status->aet());
        auto const used = usedNodes(*status);
        if (functions.table().summary().digest() != anew) {
            return "the digest that is kept is not the one that is computed anew";
        }
        if (reader.version().digest != anew || other.version().digest != anew) {
            return "readers have another digest";
        }
        if (used.size() != status->nodes().size()) {
            return "members " + std::to_string(status->nodes().size()) + ", nodes in use " +
                   std::to_string(used.size());
        }
        for (auto const * const node : used) {
            if (!status->nodes().holds(*node)) {
                return "a node in use is no member";
            }
        }
        return difference(*status, reader.status()) + difference(*status, other.status());
    }

    Ptr<AllFunctionStatus> status = allFunctionStatusFactory("test");
    StatusFunctions functions{status};
    FunctionDigests digests;
    FollowedStore reader{"test"};
    FollowedStore other{"test"};
    LocalChannel channel{status};
};

TEST(RandomEdits, whatIsKeptIsWhatALookAtEverythingFinds) {
    for (U32 seed = 1; seed <= 12; ++seed) {
        RandomEdits edits(seed);
        Published published;
        std::map<String, Digest> before;
        U64 changes = 0;
        for (U32 step = 1; step <= 60; ++step) {
            edits.edit();
            String const text = edits.text();
            auto const program = Documents::readProgram(text, "document");
            auto const after = digestsOf(program);
            auto const counts = publishProgram(program, *published.status, published.digests, step);
            ASSERT_EQ(counts.functionsSet, changesBetween(before, after))
                << "seed " << seed << ", step " << step << '\n'
                << text;
            ASSERT_EQ(published.status->aet().size(), after.size());
            ASSERT_EQ(published.fault(), "") << "seed " << seed << ", step " << step << '\n'
                                             << text;
            ASSERT_EQ(flatDocument(published.reader.status()), flatDocument(*published.status));
            changes += counts.functionsSet + counts.functionsRemoved;
            before = after;
        }
        EXPECT_GT(changes, 20U) << "the edits of seed " << seed << " change hardly anything";
    }
}

/// Names that come to mean something else, and those that go.
struct Edit {
    std::set<String> changed;
    std::vector<String> gone;
};
Edit editBetween(std::map<String, Digest> const & before, std::map<String, Digest> const & after) {
    Edit edit;
    for (auto const & [name, digest] : after) {
        auto const known = before.find(name);
        if (known == before.end() || known->second != digest) {
            edit.changed.insert(name);
        }
    }
    for (auto const & [name, digest] : before) {
        if (!after.contains(name)) {
            edit.gone.push_back(name);
        }
    }
    return edit;
}

/// The program with some of its functions as the published objects that say the same.
Documents::Program mixture(Documents::Program program, AllFunctionStatus const & status,
                           RandomEdits & edits) {
    FunctionDigests digests;
    for (auto & function : program.functions) {
        auto const before = status.aet(std::string_view(function->funcName()));
        auto const * const same = before ? Eval::as<Eval::Function>(*before) : nullptr;
        if (same != nullptr && edits.below(2) == 0 && digests.of(*same) == digests.of(*function)) {
            function = PtrConst<Eval::Function>(same);
        }
    }
    return program;
}

TEST(RandomEdits, whatIsPublishedInPartsIsTheWhole) {
    for (U32 seed = 1; seed <= 12; ++seed) {
        RandomEdits edits(seed);
        Published published;
        PartPublisher publisher(published.status);
        std::map<String, Digest> before;
        for (U32 step = 1; step <= 60; ++step) {
            edits.edit();
            auto const whole = Documents::readProgram(edits.text(), "document");
            auto const after = digestsOf(whole);
            Edit const edit = editBetween(before, after);
            String const text = edits.text(edit.changed);
            // Now and then another way: what was counted is not what there is any more.
            PublishCounts const counts =
                step % 7 == 0 ? publishProgram(mixture(whole, *published.status, edits),
                                               *published.status, published.digests, step)
                : step % 7 == 3
                    ? publisher.publishWhole(mixture(whole, *published.status, edits), step)
                    : publisher.publish(Documents::readProgram(text, "part"), edit.gone, step);
            ASSERT_EQ(counts.functionsSet, edit.changed.size())
                << "seed " << seed << ", step " << step << '\n'
                << text;
            ASSERT_EQ(counts.functionsRemoved, edit.gone.size());
            ASSERT_EQ(published.fault(), "") << "seed " << seed << ", step " << step << '\n'
                                             << text;
            ASSERT_EQ(digestsOf(whole), digestsOf(*published.status));
            before = after;
        }
    }
}

TEST(RandomEdits, aPartWithoutACallerIsRefused) {
    Published published;
    PartPublisher publisher(published.status);
    auto const publish = [&](std::vector<test::TestFunction> const & functions,
                             std::vector<String> const & gone = {}) {
        publisher.publish(test::policy(functions), gone, 1);
    };
    publish({{"a", 1}, {"b", 2, "a"}, {"c", 3}});
    String const before = flatDocument(*published.status);
    EXPECT_THROW(publish({{"a", 9}, {"c", 4}}), MirrorError);
    EXPECT_THROW(publish({}, {"a"}), MirrorError);
    EXPECT_EQ(flatDocument(*published.status), before);
    EXPECT_EQ(published.fault(), "");
    publish({{"a", 9}, {"b", 2, "a"}});
    publish({}, {"a", "b"});
    EXPECT_EQ(published.status->aet().size(), 1U);
    EXPECT_EQ(published.fault(), "");
}

/// A tree of that many levels, each of which has the one below twice, over one value.
String doubledText(U64 levels, U64 value) {
    U64 key = 1'000'000;
    String text = assign(value, key);
    for (U64 level = 0; level < levels; ++level) {
        // A statement ends with the comma before the next one.
        text += "{\"ref\": " + std::to_string(key) + "}";
        key += 100;
        text = R"({"class": "Block", "key": )" + std::to_string(key) + R"(, "stmts": [)" + text +
               "]}, ";
    }
    return R"({"qcf": "aet/1", "functions": [{"name": "f", "body": {"class": "Block", "stmts": [)" +
           text + R"({"class": "ReturnExpression", "expr": true}]}}]})";
}

// A few nodes that stand for millions of places: going from place to place would take for ever.
TEST(RandomEdits, nodesThatShareEachOtherAreComparedInAMoment) {
    Published published;
    auto const publish = [&](U64 value, U32 marker) {
        auto const program = Documents::readProgram(doubledText(20, value), "document");
        return publishProgram(program, *published.status, published.digests, marker).functionsSet;
    };
    EXPECT_EQ(publish(1, 1), 1U);
    EXPECT_EQ(publish(1, 2), 0U);
    EXPECT_EQ(publish(2, 3), 1U);
    EXPECT_EQ(publish(2, 4), 0U);
    EXPECT_EQ(published.fault(), "");
}

} // namespace
} // namespace Qcf::Mirror
