#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/TypeData.h"
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

using ::FieldInfo;

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

/// What is known of a node class beyond its name and its fields, which are its constructor's
/// arguments after the key. One constant object a class, in the order of the store's collections.
struct NodeClass : TypeData {
    using ChildVisitor = std::function<void(FieldInfo const &, AetNodeBase const *)>;

    char const * collection = "";
    U64 typeCode = 0;                          ///< stable identity of the class, from its name
    AttributeInfo const * attribute = nullptr; ///< null unless a route attribute

    /// A new node with fields taken from the reader in declared order.
    Ptr<AetNodeBase> (*create)(U64 aetNodeKey, FieldReader & reader) = nullptr;
    /// Hands the node's fields to the writer in declared order.
    void (*write)(AetNodeBase const & node, FieldWriter & writer) = nullptr;
    /// Calls the visitor for each child in declared order, null ones included.
    void (*visitChildren)(AetNodeBase const & node, ChildVisitor const & visit) = nullptr;
    MemAllocationTracker const & (*memAllocationTracker)() = nullptr;
    NodeEffects effects = {};

    /// Position in nodeClasses().
    std::size_t number() const;
    /// Whether both are of the same class: by identity and, failing that, by name.
    bool isSameClass(NodeClass const & other) const {
        return this == &other || (typeCode == other.typeCode && isSameType(other));
    }
};

/// All node classes in the order of the store's collections.
std::span<NodeClass const> nodeClasses();

/// The class of that name; null when there is none.
NodeClass const * findNodeClass(std::string_view name);

/// The attribute class of that language name ("input.med"); null when there is none.
NodeClass const * findAttribute(std::string_view languageName);

} // namespace Qcf::Eval
