#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Types.h"
#include "QcfLib/TreeFacts.h"

#include <functional>
#include <optional>
#include <span>
#include <string_view>

class MemAllocationTracker;

namespace Qcf::Eval {

class AetNodeBase;
class FieldReader;
class FieldWriter;

/// One constructor argument of a node class, after the key.
struct FieldInfo {
    char const * name;  ///< "lhs"
    char const * type;  ///< the declared type, "PtrConst<IntModifiable>"
    char const * wants; ///< the type without its pointer, "IntModifiable"
    bool optional;      ///< a child that may be null
    /// For children: whether a node may stand here. Null for scalars.
    bool (*accepts)(AetNodeBase const & node);

    bool isNode() const { return accepts != nullptr; }
};

/// What a route-attribute class adds.
struct AttributeInfo {
    char const * languageName;
    bool modifiable;
    std::optional<U64> min; ///< of modifiable integers
    std::optional<U64> max;
    std::optional<U64> defaultValue;
    int readBit;  ///< in AttributeSet; -1 for internal attributes
    int writeBit; ///< in ModifiableAttributeSet; -1 when not modifiable
};

/// What is known of a node class. One constant object a class, in the order of the store's
/// collections; a class is identified by the address of its record.
struct NodeClass {
    using ChildVisitor = std::function<void(FieldInfo const &, AetNodeBase const *)>;

    char const * name;
    char const * nameSpace;
    char const * base;
    char const * collection;
    U64 typeCode; ///< stable identity of the class, from its name
    std::span<FieldInfo const> fields;
    AttributeInfo const * attribute; ///< null unless a route attribute

    /// A new node with fields taken from the reader in declared order.
    Ptr<AetNodeBase> (*create)(U64 aetNodeKey, FieldReader & reader);
    /// Hands the node's fields to the writer in declared order.
    void (*write)(AetNodeBase const & node, FieldWriter & writer);
    /// Calls the visitor for each child in declared order, null ones included.
    void (*visitChildren)(AetNodeBase const & node, ChildVisitor const & visit);
    MemAllocationTracker const & (*memAllocationTracker)();
    NodeEffects effects = {};

    /// Position in nodeClasses().
    std::size_t number() const;
};

/// All node classes in the order of the store's collections.
std::span<NodeClass const> nodeClasses();

/// The class of that name; null when there is none.
NodeClass const * findNodeClass(std::string_view name);

/// The attribute class of that language name ("input.med"); null when there is none.
NodeClass const * findAttribute(std::string_view languageName);

} // namespace Qcf::Eval
