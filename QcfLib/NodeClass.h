#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/TypeData.h"
#include "Platform/Framework/Types.h"
#include "QcfLib/FunctionMetadata.h"
#include "QcfLib/TreeFacts.h"

#include <functional>
#include <optional>
#include <span>
#include <string_view>

class MemAllocationTracker;

/// What is known of each class of nodes: one constant record a class, generated from its row in the
/// schema. Whoever has to treat classes differently asks these facts of a node's record, or the
/// class itself by `as<Node>`; nobody looks at names.
///
///     for (FieldInfo const & field : node.typeData().fields) {
///         if (plays(field, FieldRole::target)) { ... } // what the node writes to
///     }
///
/// Records live as long as the process, never change, and are read by any thread.
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

/// The bases that node classes derive from. A class is of its base's kind, and of every kind that
/// this one derives from: an integer attribute that can be written is `intModifiable`, `int_`,
/// `storageType` and `aetNodeBase`.
enum class NodeKind : U8 {
    aetNodeBase,
    expression,
    functionBase,
    logicalOperator,
    storageType,
    int_,
    intModifiable,
    bandwidth,
    triStateBool,
    prefixList,
    ipAddress,
    ipAddressModifiable,
    ipPrefix,
    macAddress,
    esi,
    interface,
    resolutionRibs,
    resolutionRibsModifiable,
    communityValue,
    asPath,
    asPathModifiable,
    intSet,
    intSetModifiable,
    communitySet,
    communitySetModifiable,
};
constexpr U32 bitOf(NodeKind kind) { return U32{1} << static_cast<U8>(kind); }

/// A field's `wanted`: nodes of a kind, or those of one class, by its number.
constexpr U16 wanting(NodeKind kind) { return static_cast<U16>(1 + static_cast<U16>(kind)); }
inline constexpr U16 firstWantedClass = 0x100;
constexpr U16 wantingClass(U16 classNumber) {
    return static_cast<U16>(firstWantedClass + classNumber);
}

/// What a field means to its node. A field may play several roles, most play none.
enum class FieldRole : U8 {
    operand,       ///< evaluated; a `return` of it is malformed
    operators,     ///< the chain of operators between the operands
    branch,        ///< evaluated; a `return` of it is the node's own
    target,        ///< written to
    entry,         ///< what a link of a chain carries
    next,          ///< the rest of a chain
    elements,      ///< the chain of a literal's elements
    callee,        ///< the function that is called
    constantPlace, ///< a plan can put a constant in the place of an argument here
    argumentIndex, ///< which argument of its type the node reads
    lowerBounds,   ///< of ranges, in parallel with the upper ones
    upperBounds,
    listName,     ///< the name of an outside list
    listSlot,     ///< its slot
    isV4,         ///< whether it is the IPv4 list of that name
    functionName, ///< the name of the function itself
    metadata,     ///< the lists that the function names, with their slots
    body,         ///< what the function evaluates
    calleeName,   ///< the name by which the callee is called
    cachable,     ///< whether the literal's value may be kept
    orZero,       ///< false or 0 unless something else is said
};
constexpr U32 bitOf(FieldRole role) { return U32{1} << static_cast<U8>(role); }
constexpr bool plays(FieldInfo const & field, FieldRole role) {
    return (field.roles & bitOf(role)) != 0;
}

/// How a value is passed in a call: by which container of the frame.
enum class ArgumentKind : U8 {
    none, ///< no value
    integer,
    bandwidth,
    triStateBool,
    prefixList,
    node, ///< as a reference to the node
};

/// How the left side of a comparison has to stand to the right one.
enum class ComparisonOrder : U8 { none, is, lessThan, lessThanEq, greaterThan, greaterThanEq };

/// What a class is, beyond its fields. Of the bodies of built-in functions, whose fields show
/// nothing, it says what they read and write.
struct ClassFacts {
    U32 kinds = 0; ///< bits of NodeKind
    ArgumentKind argument = ArgumentKind::none;
    std::optional<SlotKind> list = {}; ///< the kind of list it names; IPv4 if of a family
    bool isLink = false;               ///< of a chain
    bool isShared = false;             ///< equal nodes of a document are one node
    bool isConstant = false;           ///< a constant element of a literal
    bool returns = false;              ///< can end the function, whatever its children do
    bool assigns = false;              ///< replaces its target without reading it
    /// Of a comparison of two integers or two bandwidths, its only children; else `none`.
    ComparisonOrder compares = ComparisonOrder::none;
    U64 reads = 0;                   ///< bits of AttributeSet, its own alone
    U32 writes = 0;                  ///< bits of ModifiableAttributeSet, its own alone
    U8 integerArguments = 0;         ///< that it reads, each of 32 bits
    bool readsNodeArguments = false; ///< singletons and bounds of ranges
    /// Of a literal: keeps its value, if all elements are constants.
    void (*keepConstant)(AetNodeBase const & node) = nullptr;
};

/// What is known of a node class beyond its name and its fields, which are its constructor's
/// arguments after the key. One constant object a class, in the order of the store's collections.
struct NodeClass : TypeData {
    using ChildVisitor = std::function<void(FieldInfo const &, AetNodeBase const *)>;
    using ChildMapper = std::function<PtrConst<AetNodeBase>(AetNodeBase const &)>;
    using ChildComparison = std::function<bool(AetNodeBase const &, AetNodeBase const &)>;

    char const * collection = "";
    U64 typeCode = 0;                          ///< stable identity of the class, from its name
    AttributeInfo const * attribute = nullptr; ///< null unless a route attribute

    /// A new node with fields taken from the reader in declared order.
    Ptr<AetNodeBase> (*create)(U64 aetNodeKey, FieldReader & reader) = nullptr;
    /// Hands the node's fields to the writer in declared order.
    void (*write)(AetNodeBase const & node, FieldWriter & writer) = nullptr;
    /// Calls the visitor for each child in declared order, null ones included.
    void (*visitChildren)(AetNodeBase const & node, ChildVisitor const & visit) = nullptr;
    /// A node with the same scalars under another key, and `mapChild(child)` in each child's place,
    /// which the field must accept; null children stay null.
    Ptr<AetNodeBase> (*copy)(AetNodeBase const & node, U64 aetNodeKey,
                             ChildMapper const & mapChild) = nullptr;
    /// Whether two nodes of the class have equal scalars, floats by their bits, and
    /// `sameChild(a, b)` holds of each two children, neither null. Keys do not count.
    bool (*sameFields)(AetNodeBase const & a, AetNodeBase const & b,
                       ChildComparison const & sameChild) = nullptr;
    MemAllocationTracker const & (*memAllocationTracker)() = nullptr;
    NodeEffects effects = {};
    ClassFacts facts = {};

    /// Position in nodeClasses().
    std::size_t number() const;
    bool isKind(NodeKind ofKind) const { return (facts.kinds & bitOf(ofKind)) != 0; }
    /// The field that plays the role; null when none does.
    FieldInfo const * fieldOf(FieldRole role) const;
    /// Whether both are of the same class: by identity and, failing that, by name.
    bool isSameClass(NodeClass const & other) const {
        return this == &other || (typeCode == other.typeCode && isSameType(other));
    }
};

/// All node classes in the order of the store's collections.
std::span<NodeClass const> nodeClasses();

/// The record of a class that is known where the code is written.
template <typename Node>
NodeClass const & nodeClassOf() {
    return nodeClasses()[Node::classNumber];
}

/// The one class whose nodes the field wants; null when it wants a kind of nodes, or no node.
inline NodeClass const * classWanted(FieldInfo const & field) {
    bool const isClass = field.wanted >= firstWantedClass;
    return isClass ? &nodeClasses()[field.wanted - firstWantedClass] : nullptr;
}

/// The class of that name; null when there is none.
NodeClass const * findNodeClass(std::string_view name);

/// The attribute class of that language name ("input.med"); null when there is none.
NodeClass const * findAttribute(std::string_view languageName);

} // namespace Qcf::Eval
