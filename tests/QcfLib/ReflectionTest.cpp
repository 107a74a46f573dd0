#include "QcfLib/Reflection.h"

#include "QcfLib/Nodes/NodeContract.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "tests/support/ListContext.h"
#include "tests/support/NodeMaker.h"
#include "tests/support/Trees.h"

#include <set>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

namespace {

/// "name: text" of each field, a line each.
String fieldsOf(TypeData const & type, void const * object) {
    String text;
    for (FieldInfo const & field : type.fields) {
        text += String(field.name) + ": " + field.text(object) + "\n";
    }
    return text;
}

String textOf(TypeData const & type, char const * field, void const * object) {
    FieldInfo const * const found = type.field(field);
    return found != nullptr ? found->text(object) : String("no field ") + field;
}

/// A node that is whatever class its record says.
class Posing final : public AetNodeBase {
public:
    explicit Posing(NodeClass const & nodeClass) : AetNodeBase(1), class_(nodeClass) {}
    NodeClass const & typeData() const override { return class_; }
    bool compare(PtrConst<AetNodeBase> const & other) const override {
        return contract::sameClass(*this, other.get()) != nullptr;
    }
    U32 hash(U32 seed) const override { return seed; }

private:
    NodeClass const & class_;
};

} // namespace

TEST(Reflection, RecordsAreCompleteAndFoundByName) {
    std::set<String> names;
    for (TypeData const * const type : Qcf::reflectedTypes()) {
        SCOPED_TRACE(type->qualifiedName());
        EXPECT_TRUE(names.insert(type->qualifiedName()).second);
        EXPECT_EQ(Qcf::findType(type->qualifiedName()), type);
        bool const isEnumeration = type->kind == TypeData::Kind::enumeration;
        EXPECT_EQ(type->fields.empty(), isEnumeration);
        EXPECT_EQ(type->enumerators.empty(), !isEnumeration);
        std::set<String> members;
        for (FieldInfo const & field : type->fields) {
            EXPECT_TRUE(members.insert(field.name).second) << field.name;
            EXPECT_STRNE(field.type, "");
            EXPECT_NE(field.text, nullptr) << field.name;
            EXPECT_EQ(type->field(field.name), &field);
        }
        std::set<U64> numbers;
        for (EnumeratorInfo const & enumerator : type->enumerators) {
            EXPECT_TRUE(numbers.insert(enumerator.number).second) << enumerator.name;
            EXPECT_EQ(type->enumerator(enumerator.number), &enumerator);
            EXPECT_EQ(type->enumerator(std::string_view(enumerator.name)), &enumerator);
        }
    }
    for (NodeClass const & nodeClass : nodeClasses()) {
        EXPECT_EQ(Qcf::findType(nodeClass.qualifiedName()), &nodeClass);
    }
    EXPECT_EQ(Qcf::findType("Qcf::Eval::Nothing"), nullptr);
    EXPECT_EQ(TypeDataOf<ModifiableAttribute>::get().enumerators.size(), modifiableAttributeCount);
    EXPECT_EQ(TypeDataOf<Qcf::AllAetEntities>::get().fields.size(), nodeClasses().size());
}

TEST(Reflection, EveryFieldOfEveryNodeReads) {
    for (NodeClass const & nodeClass : nodeClasses()) {
        auto const node = NodeMaker::node(nodeClass, 7);
        std::size_t i = 0;
        nodeClass.visitChildren(*node, [&](FieldInfo const & field, AetNodeBase const * child) {
            EXPECT_EQ(field.text(node.get()), child == nullptr ? "null" : referenceText(*child));
            ++i;
        });
        for (FieldInfo const & field : nodeClass.fields) {
            String const text = field.text(node.get());
            EXPECT_NE(text, "...") << nodeClass.name << "." << field.name;
            i -= field.isNode() ? 1 : 0;
        }
        EXPECT_EQ(i, 0U);
        EXPECT_EQ(textOf(TypeDataOf<AetNodeBase>::get(), "aetNodeKey", node.get()), "7");
    }
    auto const literal = make<IntImmediate>(U64{5}, true);
    EXPECT_EQ(fieldsOf(literal->typeData(), literal.get()), "value: 5\nnegative: true\n");
    auto const list =
        makePtr<IntSetMatchCommList>(3U, makePtr<Attribute::Community>(2U), "C", U16{9});
    EXPECT_EQ(fieldsOf(list->typeData(), list.get()), "lhs: Community#2\nlistName: C\nindex: 9\n");
}

TEST(Reflection, ContextsAndWhatTheyHold) {
    auto const context = makePtr<RecordingContext>(listsOfAllKinds());
    context->community = {1, 2};
    TypeData const & type = context->typeData();
    EXPECT_EQ(&type, &TypeDataOf<EvalContext>::get()); // an agent's own class has none
    EXPECT_STREQ(type.base, "GeneratedEvalContext");
    make<Attribute::Med>()->setVal(5, context);
    make<Attribute::Community>()->setVal(setOf<U64SmallVector>({3, 4}), context);
    context->communityInput();
    context->intSetScratch().push_back(4);

    TypeData const & layer = TypeDataOf<GeneratedEvalContext>::get();
    GeneratedEvalContext const * const attributes = context.get();
    EXPECT_EQ(textOf(layer, "medModified", attributes), "true");
    EXPECT_EQ(textOf(layer, "localPrefModified", attributes), "false");
    EXPECT_EQ(textOf(layer, "attributeContent", attributes), "AttributeContent");
    auto const & content = *context->attributeContentIs();
    EXPECT_EQ(textOf(content.typeData(), "med", &content), "5");
    EXPECT_EQ(textOf(content.typeData(), "community", &content), "3,4");
    EXPECT_EQ(textOf(content.typeData(), "extCommunity", &content), "null");
    for (FieldInfo const & field : content.typeData().fields) {
        EXPECT_NE(field.text(&content), "...") << field.name;
    }
    EvalContext const * const whole = context.get();
    EXPECT_EQ(textOf(type, "stackFrameDataFromCaller", whole), "null");
    EXPECT_EQ(textOf(type, "stackFrameDataFromPOA", whole), "{}");
    EXPECT_EQ(textOf(type, "intSetScratch", whole), "[4]");
    EvalContextBase const * const base = context.get();
    EXPECT_NE(
        textOf(TypeDataOf<EvalContextBase>::get(), "externalMatchers", base).find("roaTables: 0"),
        String::npos);

    // What was fetched for a route is not shown after it: the agent may have lent it.
    auto const & cache = *context->cacheIs();
    EXPECT_EQ(textOf(cache.typeData(), "communityInput", &cache), "1,2");
    context->reset();
    EXPECT_EQ(textOf(cache.typeData(), "communityInput", &cache), "");
    EXPECT_EQ(textOf(cache.typeData(), "communityInputPopulated", &cache), "false");
}

TEST(Reflection, FramesLogsAndContainers) {
    StackFrameData_ frame;
    frame.pushInt(-2);
    frame.pushTriStateBool(QcfTrue());
    auto const log = Qcf::Debug::evaluationLogFactory(5, EvalResult::fromBool(true), nullptr);
    frame.logHeadIs(log);
    EXPECT_EQ(fieldsOf(TypeDataOf<StackFrameData_>::get(), &frame),
              "aetNodePtrArgContainer: null\n"
              "bandwidthTypeArgContainer: null\n"
              "intTypeArgContainer: IntTypeArgContainer{values: [-2]}\n"
              "prefixListTypeArgContainer: null\n"
              "triStateBoolTypeArgContainer: TriStateBoolTypeArgContainer{values: [true]}\n"
              "logHead: EvaluationLog{result: EvalResult{retVal: true, termination: "
              "noTermination}, aetNodeKey: 5, functionCallLog: null, nextLog: null}\n"
              "logCurrent: null\n");
    auto const set = communitySmallVectorFactory(ModifyFlag::reuseOnWrite);
    set->insert({0x4004fde800000001, 0});
    EXPECT_EQ(fieldsOf(TypeDataOf<CommunitySmallVector>::get(), set.get()),
              "modifyFlag: reuseOnWrite\nvalues: [0x4004fde800000001]\n"
              "lbwValue: 0x4004fde800000001\n");
}

TEST(Reflection, StatusAndStore) {
    auto const status = Qcf::allFunctionStatusFactory("s");
    status->aetIs("f", function({}));
    status->startOfDedupedFunctionUpdatesMarkerIs(3);
    status->aetNodes()->intImmediateCollIs(4, 1, false);
    EXPECT_EQ(textOf(status->typeData(), "name", status.get()), "s");
    EXPECT_EQ(textOf(status->typeData(), "aetNodes", status.get()), "AllAetEntities");
    EXPECT_EQ(textOf(status->typeData(), "aet", status.get()).rfind("[f: Function#", 0), 0U);
    EXPECT_EQ(textOf(status->typeData(), "startOfDedupedFunctionUpdatesMarker", status.get()), "3");
    auto const & store = *status->aetNodes();
    EXPECT_EQ(textOf(store.typeData(), "intImmediateColl", &store), "1");
    EXPECT_EQ(textOf(store.typeData(), "intIsColl", &store), "0");
}

// Two copies of the engine in one process have two records of each class.
TEST(Reflection, ClassesAreComparedByIdentityAndFailingThatByName) {
    NodeClass const & original = *findNodeClass("IntIs");
    NodeClass const copy = original;
    NodeClass renamed = original;
    renamed.name = "IntWas";
    auto const node = makePtr<Posing>(original);
    EXPECT_TRUE(node->compare(makePtr<Posing>(original)));
    EXPECT_TRUE(node->compare(makePtr<Posing>(copy)));
    EXPECT_FALSE(node->compare(makePtr<Posing>(renamed)));
    EXPECT_FALSE(node->compare(makePtr<Posing>(*findNodeClass("IntLessThan"))));
    EXPECT_FALSE(node->compare(nullptr));
}

TEST(Reflection, EqualValuesHashAlike) {
    auto const distinct = [](auto const &... values) {
        using Value = std::common_type_t<std::remove_cvref_t<decltype(values)>...>;
        std::set<std::size_t> hashes;
        for (Value const & value : {values...}) {
            hashes.insert(std::hash<Value>()(value));
            EXPECT_EQ(std::hash<Value>()(Value(value)), std::hash<Value>()(value));
        }
        EXPECT_EQ(hashes.size(), sizeof...(values));
    };
    distinct(EvalResult(), EvalResult::fromBool(true), EvalResult::fromBoolWithReturn(true));
    distinct(AttributeSet(), AttributeSet(1), AttributeSet(2));
    distinct(ModifiableAttributeSet(), ModifiableAttributeSet(1));
    distinct(AccessibleAttributes{AttributeSet(1), {}},
             AccessibleAttributes{{}, ModifiableAttributeSet(1)}, AccessibleAttributes());
    distinct(SourceProtocolType::OSPF, SourceProtocolType::OSPFv3);
}
