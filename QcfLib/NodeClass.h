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

// Nodes are known by reference alone here: their own header includes this one.
class AetNodeBase;
class FieldReader;
class FieldWriter;

using ::FieldInfo;

/// What a route-attribute class adds.
/// Input twins and derived values have records of their own.
struct AttributeInfo {
    /// As functions spell it, "local_preference" or "input.med".
    char const * languageName;
    /// Whether functions can write it; a twin and a derived value cannot be.
    bool modifiable;
    // Both ends included; the default may lie outside them.
    std::optional<U64> min; ///< of modifiable integers
    std::optional<U64> max;
    std::optional<U64> defaultValue;
    int readBit;  ///< in AttributeSet; -1 for internal attributes
    int writeBit; ///< in ModifiableAttributeSet; -1 when not modifiable
    /// Of an integer whose values have names: those of 0, 1 and so on. Empty for all others.
    std::span<std::string_view const> valueNames = {};
    /// Of communities: the kind of lists that are made for them.
    std::optional<SlotKind> lists = {};
};

/// The bases that node classes derive from. A class is of its base's kind, and of every kind that
/// this one derives from: an integer attribute that can be written is `intModifiable`, `int_`,
/// `storageType` and `aetNodeBase`.
///
///     if (nodeClass.isKind(NodeKind::storageType)) { ... } // its nodes yield values
///
/// Nodes of the kind `expression` are evaluated to results, those of `storageType` to values; links
/// of chains are neither.
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
/// The kind's bit in ClassFacts::kinds.
constexpr U32 bitOf(NodeKind kind) { return U32{1} << static_cast<U8>(kind); }

/// A field's `wanted`: nodes of a kind, or those of one class, by its number.
/// 0 is left for fields that hold no node.
constexpr U16 wanting(NodeKind kind) { return static_cast<U16>(1 + static_cast<U16>(kind)); }
/// Above every kind's number, so that one number tells both apart.
inline constexpr U16 firstWantedClass = 0x100;
constexpr U16 wantingClass(U16 classNumber) {
    return static_cast<U16>(firstWantedClass + classNumber);
}

/// What a field means to its node. A field may play several roles, most play none.
/// Whoever looks for a field asks for its role: names of fields may change, and the same role has
/// different names in different classes.
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
/// The role's bit in FieldInfo::roles.
constexpr U32 bitOf(FieldRole role) { return U32{1} << static_cast<U8>(role); }
/// False for all roles of a field that means nothing beyond its value.
constexpr bool plays(FieldInfo const & field, FieldRole role) {
    return (field.roles & bitOf(role)) != 0;
}

/// How a value is passed in a call: by which container of the frame.
/// Positions of arguments are counted in each kind apart.
enum class ArgumentKind : U8 {
    none, ///< no value
    integer,
    bandwidth,
    triStateBool,
    prefixList,
    node, ///< as a reference to the node
};

/// How the left side of a comparison has to stand to the right one.
/// For who foretells the answer of a comparison of constants.
enum class ComparisonOrder : U8 { none, is, lessThan, lessThanEq, greaterThan, greaterThanEq };

/// What a class is, beyond its fields. Of the bodies of built-in functions, whose fields show
/// nothing, it says what they read and write.
/// Plans and documents read these. A new class that is like another by its facts needs no
/// line in either.
///
///     if (node.typeData().facts.isLink) { ... }
///
struct ClassFacts {
    // All of them, so that a test of one bit answers for bases of bases, too.
    U32 kinds = 0; ///< bits of NodeKind
    ArgumentKind argument = ArgumentKind::none;
    std::optional<SlotKind> list = {}; ///< the kind of list it names; IPv4 if of a family
    // Links are followed by loop wherever a tree is walked.
    bool isLink = false;   ///< of a chain
    bool isShared = false; ///< equal nodes of a document are one node
    // Only where all elements are can a literal keep its value.
    bool isConstant = false; ///< a constant element of a literal
    // For who has to know whether what stands behind a node can be reached.
    bool returns = false; ///< can end the function, whatever its children do
    bool assigns = false; ///< replaces its target without reading it
    /// Of a comparison of two integers or two bandwidths, its only children; else `none`.
    ComparisonOrder compares = ComparisonOrder::none;
    /// How policy text spells the class: of an operator what stands between its operands ("has
    /// all"), of the body of a built-in function its name, of others the word that begins it.
    /// Empty where the form of the text is another.
    std::string_view words = {};
    // Of attribute classes the attribute's own bit; what children read is not in it.
    U64 reads = 0;                   ///< bits of AttributeSet, its own alone
    U32 writes = 0;                  ///< bits of ModifiableAttributeSet, its own alone
    U8 integerArguments = 0;         ///< that it reads, each of 32 bits
    bool readsNodeArguments = false; ///< singletons and bounds of ranges
    /// Of a literal: keeps its value, if all elements are constants.
    /// Null for all other classes.
    void (*keepConstant)(AetNodeBase const & node) = nullptr;
};

/// What is known of a node class beyond its name and its fields, which are its constructor's
/// arguments after the key. One constant object a class, in the order of the store's collections.
/// The functions take nodes of this very class and do not check; a node's own `typeData()` is the
/// safe way to them.
///
///     NodeClass const * const nodeClass = findNodeClass("IntIs");
///     Ptr<AetNodeBase> const node = nodeClass->create(key, reader);
///
struct NodeClass : TypeData {
    // By function object: none of this is on the way of a route.
    using ChildVisitor = std::function<void(FieldInfo const &, AetNodeBase const *)>;
    using ChildMapper = std::function<PtrConst<AetNodeBase>(AetNodeBase const &)>;
    using ChildComparison = std::function<bool(AetNodeBase const &, AetNodeBase const &)>;

    /// The name under which the store publishes changes of its members.
    char const * collection = "";
    U64 typeCode = 0;                          ///< stable identity of the class, from its name
    AttributeInfo const * attribute = nullptr; ///< null unless a route attribute

    /// A new node with fields taken from the reader in declared order.
    /// Passes the reader's exceptions on; asserts that each child is one that its field accepts.
    Ptr<AetNodeBase> (*create)(U64 aetNodeKey, FieldReader & reader) = nullptr;
    /// Hands the node's fields to the writer in declared order.
    void (*write)(AetNodeBase const & node, FieldWriter & writer) = nullptr;
    /// Calls the visitor for each child in declared order, null ones included.
    /// Not its children's children: whole trees are walked by NodeWalk.h.
    void (*visitChildren)(AetNodeBase const & node, ChildVisitor const & visit) = nullptr;
    /// A node with the same scalars under another key, and `mapChild(child)` in each child's place,
    /// which the field must accept; null children stay null.
    ///
    ///     auto const other = nodeClass.copy(node, newKey, [&](AetNodeBase const & child) {
    ///         return PtrConst<AetNodeBase>(&child); // the same children
    ///     });
    ///
    Ptr<AetNodeBase> (*copy)(AetNodeBase const & node, U64 aetNodeKey,
                             ChildMapper const & mapChild) = nullptr;
    /// Whether two nodes of the class have equal scalars, floats by their bits, and
    /// `sameChild(a, b)` holds of each two children, neither null. Keys do not count.
    /// Both nodes must be of the class. A class's own `compare` is deep; this one goes as deep as
    /// `sameChild` does.
    bool (*sameFields)(AetNodeBase const & a, AetNodeBase const & b,
                       ChildComparison const & sameChild) = nullptr;
    /// How many nodes of the class there are, in all threads.
    MemAllocationTracker const & (*memAllocationTracker)() = nullptr;
    /// What its constructor tells of itself to TreeFacts.
    NodeEffects effects = {};
    ClassFacts facts = {};
    /// What the class is, in a sentence; fields stand in it `so`.
    char const * description = "";

    /// Position in nodeClasses().
    /// Also the class's `classNumber`, and the number of its collection in a store.
    std::size_t number() const;
    /// One test of a bit.
    bool isKind(NodeKind ofKind) const { return (facts.kinds & bitOf(ofKind)) != 0; }
    /// The field that plays the role; null when none does.
    /// The first of them where several do; a search through a handful of fields.
    FieldInfo const * fieldOf(FieldRole role) const;
    /// Whether both are of the same class: by identity and, failing that, by name.
    /// Trees of two copies of the engine in one process can be compared so.
    bool isSameClass(NodeClass const & other) const {
        return this == &other || (typeCode == other.typeCode && isSameType(other));
    }
};

/// All node classes in the order of the store's collections.
/// Complete whenever it is asked for, also during static initialisation.
std::span<NodeClass const> nodeClasses();

/// The record of a class that is known where the code is written.
/// No search: the class knows its number at compile time.
template <typename Node>
NodeClass const & nodeClassOf() {
    return nodeClasses()[Node::classNumber];
}

/// The one class whose nodes the field wants; null when it wants a kind of nodes, or no node.
/// A reader that meets a field of one class need not be told the class by the document.
inline NodeClass const * classWanted(FieldInfo const & field) {
    bool const isClass = field.wanted >= firstWantedClass;
    return isClass ? &nodeClasses()[field.wanted - firstWantedClass] : nullptr;
}

/// The class of that name; null when there is none.
/// By a hash table that the first call builds; from any thread.
NodeClass const * findNodeClass(std::string_view name);

/// The attribute class of that language name ("input.med"); null when there is none.
/// As findNodeClass. Names are case-sensitive.
NodeClass const * findAttribute(std::string_view languageName);

} // namespace Qcf::Eval
