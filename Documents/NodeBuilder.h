#pragma once

#include "Documents/ListNames.h"
#include "Documents/NodeTable.h"
#include "Documents/Place.h"
#include "Documents/StructureTable.h"

#include <optional>
#include <span>
#include <vector>

namespace Qcf::Documents {

/// Takes in nodes one by one, children before parents: gives them their keys, makes equal shared
/// nodes one, keeps what is known of each, and refuses trees that could not be evaluated.
///
/// Nodes are known by their number in the order in which they were taken in. Failures are
/// told at the place given; the nodes before stay as they are. Used by one thread at a
/// time.
///
///     U64 const key = builder.nextKey(place);
///     U32 const number = builder.add(place, exitExpressionFactory(key, operand), children, false);
///     builder.facts(number).reads; // attributes that evaluating it reads
class NodeBuilder {
public:
    using Node = Eval::AetNodeBase;
    /// Stands for no node where a number is wanted.
    static constexpr U32 none = ~U32{0};

    /// The names must outlive this.
    explicit NodeBuilder(ListNames & names) : names_(names) {}

    /// The key of the next node where none is given: one above all so far. To be asked once the
    /// node's children are taken in.
    U64 nextKey(Place const & place) const;
    /// The key given; fails where another node has it.
    U64 freeKey(Place const & place, U64 key) const;
    /// Keeps later nodes without a key above this one, which no node got.
    void keyIsTaken(U64 key) { largestUnread_ = std::max(largestUnread_, key); }

    /// Refuses a node of that class above those children where it would stand above too many
    /// others. To be asked before it is made.
    void checkDepth(Place const & place, Eval::NodeClass const & nodeClass,
                    std::span<U32 const> children) const;

    /// Takes in a node that was made under such a key. `children` are the numbers of its node
    /// fields' nodes, `none` for null; `keyGiven` keeps it from being merged into an equal one;
    /// `names` is the set of list names that it uses by itself. Answers the node's number, or that
    /// of the equal node which stands for it.
    U32 add(Place const & place, Ptr<Node> const & node, std::span<U32 const> children,
            bool keyGiven, U32 names = 0);

    /// The number of the node under that key.
    std::optional<U32> find(U64 key) const { return table_.find(key); }

    /// The names of lists in the document.
    ListNames & names() { return names_; }

    /// A node by its number.
    PtrConst<Node> const & node(U32 number) const { return table_.node(number); }
    /// What is known of a node beside the node itself. Holds until the next node is taken in.
    NodeFacts const & facts(U32 number) const { return table_.facts(number); }

    /// All nodes in the order of their numbers; ends the builder's use.
    std::vector<PtrConst<Node>> takeNodes() { return table_.takeNodes(); }

private:
    using FactsOfChildren = std::span<NodeFacts const * const>;

    /// The number of a shared node's content.
    U32 structureOf(Node const & node, FactsOfChildren children);
    /// The set of the names that the tree uses, `own` those of the node alone.
    U32 namesOf(Node const & node, std::span<U32 const> children, U32 own);
    /// Keeps the value of a literal whose elements are constants, as evaluation expects it.
    void keepConstant(Place const & place, Node const & node, NodeFacts const & elements);

    ListNames & names_;
    NodeTable table_;
    U64 largestUnread_ = 0;
    StructureTable structures_;
    std::vector<U32> firstOf_; ///< by structure - 1: the node that stands for equal ones, or none
    String content_;           ///< kept for its storage
    U64 constantElements_ = 0;
};

} // namespace Qcf::Documents
