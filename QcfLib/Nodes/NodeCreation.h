#pragma once

#include "Platform/Framework/ValueText.h"
#include "QcfLib/Nodes/NodeContract.h"
#include "QcfLib/Reflection.h"

#include <tuple>

/// Making, writing and walking a node by its fields. Included by the generated registry alone.
namespace Qcf::Eval {

// What a field accepts. Who is asked is a node.
template <NodeKind kind>
bool isOfKind(Entity const & node) {
    return static_cast<AetNodeBase const &>(node).typeData().isKind(kind);
}
template <U16 classNumber>
bool isOfClass(Entity const & node) {
    return static_cast<AetNodeBase const &>(node).typeData().number() == classNumber;
}

template <typename Literal>
void keepConstant(AetNodeBase const & node) {
    cacheConstantValue(static_cast<Literal const &>(node));
}

template <typename Field>
Field readField(FieldInfo const & field, FieldReader & reader) {
    if constexpr (contract::NodePointer<Field>) {
        auto child = reader.readNode(field);
        QCF_ASSERT_TEXT(child ? field.accepts(*child) : field.optional,
                        "a child is of its field's type, and null only where that is allowed");
        using Node = std::remove_const_t<typename Field::element_type>;
        return Field(const_cast<Node *>(static_cast<Node const *>(child.get())));
    } else {
        Field value{};
        reader.read(field, value);
        return value;
    }
}

template <typename Node, typename... Fields, std::size_t... I>
Ptr<AetNodeBase> createFrom(U64 aetNodeKey, FieldReader & reader, std::index_sequence<I...>) {
    [[maybe_unused]] auto const & fields = nodeClassOf<Node>().fields;
    // Braces order the reads; an argument list would not.
    [[maybe_unused]] std::tuple<Fields...> values{readField<Fields>(fields[I], reader)...};
    return makePtr<Node>(aetNodeKey, std::move(std::get<I>(values))...);
}

template <typename Node, typename... Fields>
Ptr<AetNodeBase> createNode(U64 aetNodeKey, FieldReader & reader) {
    return createFrom<Node, Fields...>(aetNodeKey, reader, std::index_sequence_for<Fields...>());
}

template <typename Node>
void writeNode(AetNodeBase const & node, FieldWriter & writer) {
    auto const & fields = nodeClassOf<Node>().fields;
    std::size_t i = 0;
    static_cast<Node const &>(node).eachField([&](char const *, auto const & value) {
        if constexpr (contract::NodePointer<std::remove_cvref_t<decltype(value)>>) {
            writer.writeNode(fields[i], value.get());
        } else {
            writer.write(fields[i], value);
        }
        ++i;
    });
}

template <typename Node>
void visitChildren(AetNodeBase const & node, NodeClass::ChildVisitor const & visit) {
    auto const & fields = nodeClassOf<Node>().fields;
    std::size_t i = 0;
    static_cast<Node const &>(node).eachField([&](char const *, auto const & value) {
        if constexpr (contract::NodePointer<std::remove_cvref_t<decltype(value)>>) {
            visit(fields[i], value.get());
        }
        ++i;
    });
}

/// FNV-1a of the qualified class name.
constexpr U64 typeCodeOf(std::string_view nameSpace, std::string_view name) {
    U64 code = 0xcbf29ce484222325U;
    for (std::string_view const part : {nameSpace, std::string_view("::"), name}) {
        for (char const c : part) {
            code = (code ^ static_cast<U8>(c)) * 0x100000001b3U;
        }
    }
    return code;
}

constexpr NodeClass row(char const * name, char const * nameSpace, char const * base,
                        char const * collection, std::span<FieldInfo const> fields,
                        AttributeInfo const * attribute, decltype(NodeClass::create) create,
                        decltype(NodeClass::write) write,
                        decltype(NodeClass::visitChildren) visitChildren,
                        decltype(NodeClass::memAllocationTracker) tracker, NodeEffects effects,
                        ClassFacts const & facts) {
    return {{TypeData::Kind::entity, name, nameSpace, base, fields, {}},
            collection,
            typeCodeOf(nameSpace, name),
            attribute,
            create,
            write,
            visitChildren,
            tracker,
            effects,
            facts};
}

} // namespace Qcf::Eval
