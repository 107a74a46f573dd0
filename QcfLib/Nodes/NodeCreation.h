#pragma once

#include "Platform/Framework/ValueText.h"
#include "QcfLib/Nodes/NodeContract.h"
#include "QcfLib/Reflection.h"

#include <utility>

/// What the registry does with nodes of a class whose name it only knows as a template argument:
/// making one from fields that come from outside, writing, walking, copying and comparing them.
///
///     row<IntIs>("IntIs", "Qcf::Eval", ...) // one row a class, in the order of the collections
///
/// Everything follows from the class's `withFields` (NodeContract.h): the order, the types, which
/// of them are children. FieldInfo, by position, adds the names and what a child must be. Included
/// by the generated registry alone.
namespace Qcf::Eval {

// What a field accepts. Who is asked is a node.
/// These two are what FieldInfo::accepts points to.
template <NodeKind kind>
bool isOfKind(Entity const & node) {
    return static_cast<AetNodeBase const &>(node).typeData().isKind(kind);
}
template <U16 classNumber>
bool isOfClass(Entity const & node) {
    return static_cast<AetNodeBase const &>(node).typeData().number() == classNumber;
}

/// ClassFacts::keepConstant of a literal.
/// Pointed to by the rows of literals alone, whose nodes are of that class.
template <typename Literal>
void keepConstant(AetNodeBase const & node) {
    cacheConstantValue(static_cast<Literal const &>(node));
}

/// The child as the field holds it; asserts that the field may hold it.
/// The cast is safe after the assertion, and drops a constness that the field's type wants back.
template <typename Field>
Field childOf(FieldInfo const & field, PtrConst<AetNodeBase> const & child) {
    QCF_ASSERT_TEXT(child ? field.accepts(*child) : field.optional,
                    "a child is of its field's type, and null only where that is allowed");
    using Node = std::remove_const_t<typename Field::element_type>;
    return Field(const_cast<Node *>(static_cast<Node const *>(child.get())));
}

/// Calls `use(info, field)` for each field in declared order.
/// Names and values side by side: the generated list and `withFields` have the same order.
template <typename Node, typename Use>
void eachField(Node const & node, Use const & use) {
    [[maybe_unused]] FieldInfo const * info = nodeClassOf<Node>().fields.data();
    node.withFields([&](auto const &... field) { (use(*info++, field), ...); });
}

/// The types of a class's fields, to be told by overload.
/// No values come along: types are needed before a node is there.
template <typename... Fields>
struct FieldTypes {
    static constexpr std::size_t size = sizeof...(Fields);
};

/// What `withFields` is called with in an unevaluated operand, for its result's type alone.
struct AsFieldTypes {
    template <typename... Fields>
    FieldTypes<Fields...> operator()(Fields const &... /*field*/) const {
        return {};
    }
};

/// The field types of a class, as it lists them.
template <typename Node>
using FieldTypesOf = decltype(std::declval<Node const &>().withFields(AsFieldTypes()));

/// The next field that comes from outside; the reader throws where it is none of that type.
/// A scalar the reader leaves alone keeps its type's zero.
template <typename Field>
Field readField(FieldInfo const & info, FieldReader & reader) {
    if constexpr (contract::NodePointer<Field>) {
        return childOf<Field>(info, reader.readNode(info));
    } else {
        Field value{};
        reader.read(info, value);
        return value;
    }
}

/// The field of a copy.
/// Scalars are copied as they are; a null child is not mapped.
template <typename Field>
Field copiedField([[maybe_unused]] FieldInfo const & info, Field const & field,
                  [[maybe_unused]] NodeClass::ChildMapper const & mapChild) {
    if constexpr (contract::NodePointer<Field>) {
        return childOf<Field>(info, field ? mapChild(*field) : nullptr);
    } else {
        return field;
    }
}

/// A node made from a list in braces, which orders the reading of its fields; the arguments of a
/// function would not be.
template <typename Node>
struct MadeInOrder {
    template <typename... Fields>
    explicit MadeInOrder(U64 aetNodeKey, Fields &&... field)
        : node(makePtr<Node>(aetNodeKey, std::forward<Fields>(field)...)) {}

    Ptr<AetNodeBase> node;
};

/// The elements of a braced list are evaluated from left to right, as the reader expects.
template <typename Node, typename... Fields, std::size_t... i>
Ptr<AetNodeBase> createFrom(U64 aetNodeKey, [[maybe_unused]] FieldReader & reader,
                            FieldTypes<Fields...> /*types*/, std::index_sequence<i...> /*all*/) {
    [[maybe_unused]] auto const & fields = nodeClassOf<Node>().fields;
    return MadeInOrder<Node>{aetNodeKey, readField<Fields>(fields[i], reader)...}.node;
}

/// Here, too, the order is that of the fields: whoever maps children sees them in it.
template <typename Node, typename... Fields, std::size_t... i>
Ptr<AetNodeBase> copyFrom(Node const & node, U64 aetNodeKey,
                          [[maybe_unused]] NodeClass::ChildMapper const & mapChild,
                          FieldTypes<Fields...> /*types*/, std::index_sequence<i...> /*all*/) {
    [[maybe_unused]] auto const & fields = nodeClassOf<Node>().fields;
    return node.withFields([&](Fields const &... field) {
        return MadeInOrder<Node>{aetNodeKey, copiedField(fields[i], field, mapChild)...}.node;
    });
}

// NodeClass::create, write, visitChildren, copy and sameFields; see there.

template <typename Node>
Ptr<AetNodeBase> createNode(U64 aetNodeKey, FieldReader & reader) {
    using Types = FieldTypesOf<Node>;
    return createFrom<Node>(aetNodeKey, reader, Types(), std::make_index_sequence<Types::size>());
}

template <typename Node>
void writeNode(AetNodeBase const & node, FieldWriter & writer) {
    eachField(static_cast<Node const &>(node), [&](FieldInfo const & info, auto const & field) {
        if constexpr (contract::NodePointer<std::remove_cvref_t<decltype(field)>>) {
            writer.writeNode(info, field.get());
        } else {
            writer.write(info, field);
        }
    });
}

template <typename Node>
void visitChildren(AetNodeBase const & node, NodeClass::ChildVisitor const & visit) {
    eachField(static_cast<Node const &>(node), [&](FieldInfo const & info, auto const & field) {
        if constexpr (contract::NodePointer<std::remove_cvref_t<decltype(field)>>) {
            visit(info, field.get());
        }
    });
}

template <typename Node>
Ptr<AetNodeBase> copyNode(AetNodeBase const & node, U64 aetNodeKey,
                          NodeClass::ChildMapper const & mapChild) {
    using Types = FieldTypesOf<Node>;
    return copyFrom(static_cast<Node const &>(node), aetNodeKey, mapChild, Types(),
                    std::make_index_sequence<Types::size>());
}

/// A comparison of children, for children that may be null.
struct SameNode {
    NodeClass::ChildComparison const & sameChild;

    bool operator()(AetNodeBase const * a, AetNodeBase const * b) const {
        return a != nullptr && b != nullptr ? sameChild(*a, *b) : a == b;
    }
};

template <typename Node>
bool sameFields(AetNodeBase const & a, AetNodeBase const & b,
                NodeClass::ChildComparison const & sameChild) {
    return contract::sameFields(static_cast<Node const &>(a), static_cast<Node const &>(b),
                                SameNode{sameChild});
}

/// FNV-1a of the qualified class name.
/// Over "namespace::name", so that it is the same in every build and process.
constexpr U64 typeCodeOf(std::string_view nameSpace, std::string_view name) {
    U64 code = 0xcbf29ce484222325U;
    for (std::string_view const part : {nameSpace, std::string_view("::"), name}) {
        for (char const c : part) {
            code = (code ^ static_cast<U8>(c)) * 0x100000001b3U;
        }
    }
    return code;
}

/// The record of a class.
/// Constant but for the addresses of functions; the base is named as reflection tells it.
template <typename Node>
constexpr NodeClass row(char const * name, char const * nameSpace, char const * base,
                        char const * collection, std::span<FieldInfo const> fields,
                        AttributeInfo const * attribute, NodeEffects effects,
                        ClassFacts const & facts, char const * description) {
    return {{TypeData::Kind::entity, name, nameSpace, base, fields, {}},
            collection,
            typeCodeOf(nameSpace, name),
            attribute,
            &createNode<Node>,
            &writeNode<Node>,
            &visitChildren<Node>,
            &copyNode<Node>,
            &sameFields<Node>,
            &Node::memAllocationTracker,
            effects,
            facts,
            description};
}

} // namespace Qcf::Eval
