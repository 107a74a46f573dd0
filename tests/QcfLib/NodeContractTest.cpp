#include "Platform/Framework/Slab.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/NodeMaker.h"
#include "tests/support/Trees.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

String limitText(std::optional<U64> const & limit) { return limit ? std::to_string(*limit) : "-"; }

/// "IntIs Expression lhs:PtrConst<Int> rhs:PtrConst<Int>", and what an attribute adds.
String describe(NodeClass const & nodeClass) {
    String text = String(nodeClass.name) + " " + nodeClass.base;
    for (FieldInfo const & field : nodeClass.fields) {
        text += String(" ") + field.name + ":" + field.type + (field.optional ? "?" : "");
    }
    if (AttributeInfo const * const attribute = nodeClass.attribute) {
        text += String(" \"") + attribute->languageName + "\" " + limitText(attribute->min) + " " +
                limitText(attribute->max) + " " + limitText(attribute->defaultValue) + " " +
                std::to_string(attribute->readBit) + " " + std::to_string(attribute->writeBit);
    }
    return text;
}

String lowerFirst(String name) {
    name[0] = static_cast<char>(name[0] - 'A' + 'a');
    return name;
}

/// Writes the fields as they come, to see that names, order and values are those of the reader.
class FieldNames final : public FieldWriter {
public:
    std::vector<String> names;
#define QCF_TEST_NOTE(Type)                                                                        \
    void write(FieldInfo const & field, Type const &) override { names.emplace_back(field.name); }
    QCF_FOR_EACH_SCALAR(QCF_TEST_NOTE)
#undef QCF_TEST_NOTE
    void writeNode(FieldInfo const & field, AetNodeBase const * child) override {
        names.emplace_back(field.name);
        EXPECT_TRUE(child != nullptr ? field.accepts(*child) : field.optional) << field.name;
    }
};

} // namespace

// The published form: a change here changes documents, stores and the agents that read them.
TEST(NodeClasses, AreThoseThatArePublished) {
    std::ifstream file(QCF_SOURCE_DIR "/tests/QcfLib/NodeClasses.txt");
    std::size_t number = 0;
    for (String line; std::getline(file, line); ++number) {
        ASSERT_LT(number, nodeClasses().size());
        NodeClass const & nodeClass = nodeClasses()[number];
        EXPECT_EQ(describe(nodeClass), line);
        EXPECT_EQ(nodeClass.collection, lowerFirst(nodeClass.name) + "Coll");
        EXPECT_STREQ(nodeClass.nameSpace,
                     nodeClass.attribute ? "Qcf::Eval::Attribute" : "Qcf::Eval");
        EXPECT_EQ(nodeClass.number(), number);
        EXPECT_EQ(findNodeClass(nodeClass.name), &nodeClass);
        if (nodeClass.attribute != nullptr) {
            EXPECT_EQ(findAttribute(nodeClass.attribute->languageName), &nodeClass);
        }
    }
    EXPECT_EQ(number, 219U);
    EXPECT_EQ(findNodeClass("intIs"), nullptr);
    EXPECT_EQ(findAttribute("Med"), nullptr);
}

// What holds for a node of every class, over one node a class and one for each changed field.
TEST(NodeClasses, KeepTheContract) {
    std::vector<Ptr<AetNodeBase>> all;
    for (NodeClass const & nodeClass : nodeClasses()) {
        SCOPED_TRACE(nodeClass.name);
        auto const node = NodeMaker::node(nodeClass, 7);
        auto const twin = NodeMaker::node(nodeClass, 8);
        EXPECT_EQ(node->aetNodeKey(), 7U);
        EXPECT_EQ(&node->typeData(), &nodeClass);
        EXPECT_TRUE(node->compare(node));
        EXPECT_TRUE(node->compare(twin));
        EXPECT_FALSE(node->compare(nullptr));
        U32 const hash = node->hash(0);
        EXPECT_EQ(hash, node->hash(0));
        // A call hashes the identity of its callee, and a function keeps its first hash.
        if (String(nodeClass.name) != "FunctionCallExpression") {
            EXPECT_EQ(hash, twin->hash(0));
        }
        if (String(nodeClass.name) != "Function") {
            EXPECT_NE(hash, node->hash(1));
        }
        FieldNames written;
        nodeClass.write(*node, written);
        ASSERT_EQ(written.names.size(), nodeClass.fields.size());
        std::size_t children = 0;
        nodeClass.visitChildren(*node, [&](FieldInfo const & field, AetNodeBase const *) {
            EXPECT_TRUE(field.isNode());
            ++children;
        });
        EXPECT_EQ(static_cast<std::ptrdiff_t>(children),
                  std::ranges::count_if(nodeClass.fields, &FieldInfo::isNode));
        for (std::size_t i = 0; i < nodeClass.fields.size(); ++i) {
            EXPECT_EQ(written.names[i], nodeClass.fields[i].name);
            if (NodeMaker::canChange(nodeClass.fields[i])) {
                auto const other = NodeMaker::node(nodeClass, 7, static_cast<int>(i));
                EXPECT_FALSE(node->compare(other)) << nodeClass.fields[i].name;
                EXPECT_FALSE(other->compare(node)) << nodeClass.fields[i].name;
            }
        }
        all.push_back(node);
    }
    std::set<U32> hashes;
    for (auto const & a : all) {
        hashes.insert(a->hash(0));
        for (auto const & b : all) {
            EXPECT_EQ(a->compare(b), a == b) << a->typeData().name << " " << b->typeData().name;
        }
    }
    EXPECT_EQ(hashes.size(), all.size());
}

TEST(NodeClasses, AreComparedWithoutAllocating) {
    std::map<U64, String> classesByAllocations;
    for (NodeClass const & nodeClass : nodeClasses()) {
        auto const node = NodeMaker::node(nodeClass, 7);
        PtrConst<AetNodeBase> const twin = NodeMaker::node(nodeClass, 8);
        U64 const before = Qcf::test::allocationCount();
        EXPECT_TRUE(node->compare(twin)) << nodeClass.name;
        U64 const allocations = Qcf::test::allocationCount() - before;
        classesByAllocations[allocations] += String(" ") + nodeClass.name;
    }
    classesByAllocations.erase(0);
    for (auto const & [allocations, classes] : classesByAllocations) {
        ADD_FAILURE() << allocations << " allocations to compare two of:" << classes;
    }
}

TEST(NodeClasses, AreCopiedAndComparedByTheirFields) {
    for (NodeClass const & nodeClass : nodeClasses()) {
        SCOPED_TRACE(nodeClass.name);
        auto const node = NodeMaker::node(nodeClass, 7);
        std::vector<AetNodeBase const *> children;
        nodeClass.visitChildren(*node, [&](FieldInfo const &, AetNodeBase const * child) {
            if (child != nullptr) {
                children.push_back(child);
            }
        });
        std::vector<AetNodeBase const *> mapped;
        auto const copy = nodeClass.copy(*node, 9, [&](AetNodeBase const & child) {
            mapped.push_back(&child);
            return PtrConst<AetNodeBase>(&child);
        });
        EXPECT_EQ(copy->aetNodeKey(), 9U);
        EXPECT_NE(copy, node);
        EXPECT_TRUE(copy->compare(node));
        EXPECT_EQ(mapped, children);

        auto const sameNode = [](AetNodeBase const & a, AetNodeBase const & b) { return &a == &b; };
        auto const noneSame = [](AetNodeBase const &, AetNodeBase const &) { return false; };
        EXPECT_TRUE(nodeClass.sameFields(*node, *copy, sameNode));
        EXPECT_EQ(nodeClass.sameFields(*node, *copy, noneSame), children.empty());
        for (std::size_t i = 0; i < nodeClass.fields.size(); ++i) {
            if (NodeMaker::canChange(nodeClass.fields[i])) {
                auto const other = NodeMaker::node(nodeClass, 7, static_cast<int>(i));
                auto const equal = [](AetNodeBase const & a, AetNodeBase const & b) {
                    return a.compare(PtrConst<AetNodeBase>(&b));
                };
                EXPECT_FALSE(nodeClass.sameFields(*node, *other, equal)) << i;
            }
        }
    }
}

TEST(NodeClassesDeathTest, CopiesHoldWhatTheirFieldsAccept) {
    PtrConst<AetNodeBase> const node = make<NotExpression>(always(QcfTrue()));
    PtrConst<AetNodeBase> const noExpression = make<IntImmediate>(U64{1}, false);
    for (auto const & child : {noExpression, PtrConst<AetNodeBase>()}) {
        EXPECT_DEATH(node->typeData().copy(*node, 9, [&](AetNodeBase const &) { return child; }),
                     "a child is of its field's type, and null only where that is allowed");
    }
}

// Every field but those named is part of the hash.
TEST(NodeClasses, HashesTellFieldsApart) {
    for (NodeClass const & nodeClass : nodeClasses()) {
        for (std::size_t i = 0; i < nodeClass.fields.size(); ++i) {
            FieldInfo const & field = nodeClass.fields[i];
            String const name = String(nodeClass.name) + "." + field.name;
            bool const left = String(nodeClass.name) == "Function" &&
                              name != "Function.argumentsExpected" && name != "Function.body";
            // A call's callee counts as an object, of which there is one a node here.
            bool const identity = name.starts_with("FunctionCallExpression.callee");
            if (!identity && NodeMaker::canChange(field)) {
                U32 const changed = NodeMaker::node(nodeClass, 1, static_cast<int>(i))->hash(0);
                EXPECT_EQ(changed == NodeMaker::node(nodeClass)->hash(0), left) << name;
            }
        }
    }
}

TEST(NodeClasses, CountWhatIsMadeAndFreed) {
    for (NodeClass const & nodeClass : nodeClasses()) {
        MemAllocationTracker const & tracker = nodeClass.memAllocationTracker();
        U64 const made = tracker.allocated();
        U64 const live = tracker.live();
        {
            auto const node = NodeMaker::node(nodeClass);
            EXPECT_GT(tracker.allocated(), made) << nodeClass.name;
            EXPECT_GT(tracker.live(), live) << nodeClass.name;
        }
        EXPECT_EQ(tracker.live(), live) << nodeClass.name;
    }
}

TEST(NodeClasses, FunctionKeepsItsFirstHash) {
    auto const f = function({});
    std::vector<String> heard;
    f->publisher().subscribe([&](Notification const & n) { heard.emplace_back(n.attribute); });
    U32 const first = f->hash(5);
    EXPECT_EQ(f->hash(0), first);
    EXPECT_EQ(heard, (std::vector<String>{"cachedHashValueSet", "cachedHashValue"}));
    EXPECT_NE(function({})->hash(0), first);
    EXPECT_TRUE(f->compare(function({})));
}

TEST(NodeClasses, CallIsOfOneFunctionObject) {
    auto const f = function({});
    auto const nodes = arguments({number(1)});
    auto const a = make<FunctionCallExpression>("f", f, nodes, 1U);
    EXPECT_EQ(a->hash(0), make<FunctionCallExpression>("g", f, nodes, 1U)->hash(0));
    EXPECT_NE(a->hash(0), make<FunctionCallExpression>("f", function({}), nodes, 1U)->hash(0));
    auto const otherSite = make<FunctionCallExpression>("f", f, nodes, 2U);
    EXPECT_NE(a->hash(0), otherSite->hash(0));
    EXPECT_FALSE(a->compare(otherSite));
}

namespace {

template <typename Link, typename Entry>
Ptr<Link> longChain(PtrConst<Entry> const & entry, std::size_t length,
                    PtrConst<Entry> const & last) {
    auto head = makePtr<Link>(U64{1}, last, nullptr);
    for (std::size_t i = 1; i < length; ++i) {
        head = makePtr<Link>(U64{1}, entry, std::move(head));
    }
    return head;
}

template <typename Link, typename Entry>
void checkLongChain(PtrConst<Entry> const & entry, PtrConst<Entry> const & other,
                    std::size_t length = 200'000) {
    U64 const live = Link::memAllocationTracker().live();
    {
        auto const a = longChain<Link>(entry, length, entry);
        auto const b = longChain<Link>(entry, length, entry);
        auto const c = longChain<Link>(entry, length, other);
        auto const shorter = longChain<Link>(entry, length - 1, entry);
        EXPECT_TRUE(a->compare(b));
        EXPECT_FALSE(a->compare(c));
        EXPECT_FALSE(a->compare(shorter));
        EXPECT_FALSE(shorter->compare(a));
        EXPECT_EQ(a->hash(0), b->hash(0));
        EXPECT_NE(a->hash(0), c->hash(0));
        EXPECT_NE(a->hash(0), shorter->hash(0));
    }
    EXPECT_EQ(Link::memAllocationTracker().live(), live);
}

} // namespace

TEST(Chains, OfManyLinksNeedNoStack) {
    checkLongChain<ExpressionList>(always(QcfTrue()), always(QcfFalse()), 1'000'000);
    checkLongChain<LogicalOperatorList, LogicalOperator>(make<AndOperator>(), make<OrOperator>());
    checkLongChain<FunctionArgumentList, StorageType>(number(1), number(2));
    checkLongChain<IntLinkedList>(number(1), number(2));
    checkLongChain<CommunityLinkedList, CommunityValue>(
        make<CommunityValueImmediate>(Acl::CommunityValue(1, 0)),
        make<CommunityValueImmediate>(Acl::CommunityValue(2, 0)));
}

TEST(Chains, SharedTailsOutliveTheirHeads) {
    auto const tail = longChain<IntLinkedList>(number(3), 100'000, number(3));
    {
        auto head = makePtr<IntLinkedList>(U64{1}, number(1), tail);
        auto const other = makePtr<IntLinkedList>(U64{1}, number(2), tail);
        head = nullptr;
        EXPECT_TRUE(other->next() == tail);
    }
    std::size_t links = 0;
    for (auto const * link = tail.get(); link != nullptr; link = link->next().get()) {
        ++links;
    }
    EXPECT_EQ(links, 100'000U);
}

TEST(Chains, LongLiteralsPrintAndEvaluate) {
    auto const set =
        make<IntSetImmediate>(longChain<IntLinkedList>(number(3), 300'000, number(9)), true);
    EXPECT_EQ(set->toStrep().size(), String("{ ").size() + 299'999 * 3 + 1 + String(" }").size());
    EXPECT_EQ(set->getVal(nullptr)->toStrep(), "3,9");
    EXPECT_FALSE(set->valueDependsOnStackFrameData());
}
