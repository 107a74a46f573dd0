#pragma once

#include "Documents/KeyTable.h"
#include "Documents/Program.h"
#include "Mirror/FunctionDigests.h"

#include <unordered_map>
#include <unordered_set>

namespace Qcf::Mirror {

/// What a program has that a status has not, and what it can share with it.
///
/// Functions are compared by digest under their names. A function that differs is set anew, and of
/// its nodes those are new for which the store has no equal value and no unchanged function stands.
/// Looking for all that changes neither the program nor the status; both must stay as they are, but
/// for what the publication itself does, as long as the difference is asked.
///
///     ProgramDifference difference(program, status, digests);
///     for (U32 const place : difference.newNodes()) { ... program.nodes[place] ... }
///
/// Costs a walk over the program, and one over the store when anything differs.
class ProgramDifference {
public:
    using Node = Eval::AetNodeBase;

    /// Throws MirrorError when a function of the program cannot be published.
    ProgramDifference(Documents::Program const & program, AllFunctionStatus const & status,
                      FunctionDigests & digests);

    /// Whether every name means what it means in the program.
    bool empty() const { return changed_.empty() && vanished_.empty(); }
    /// Functions of the program to be set, in its order.
    std::vector<Eval::Function const *> const & changedFunctions() const { return changed_; }
    /// Names that the program does not have.
    std::vector<String> const & vanishedFunctions() const { return vanished_; }
    /// Places in the program's list of the nodes to be made, children before parents.
    std::vector<U32> const & newNodes() const { return new_; }

    /// Whether a member of the store is used by the program, or held by what is. Answers for the
    /// members that were there at first.
    bool stays(Node const & member) const { return stays_[store_.slotOf(member)]; }

    /// The stored node that stands for a node of the program; null while it is to be made.
    Node const * standIn(Node const & node) const { return standIns_[placeOf(node)]; }
    /// A new node was made.
    void standInIs(U32 place, Node const * made) { standIns_[place] = made; }

private:
    /// Where the program lists the node; the program lists every node of its functions.
    U32 placeOf(Node const & node) const;
    /// Compares by digest what names mean; what is equal stays.
    void compareFunctions();
    Eval::Function const * publishedFunction(String const & name) const;
    /// Notes the store's values by their hashes.
    void indexValues();
    /// The store's value that says the same; null for none.
    Node const * equalValue(Node const & node) const;
    /// Goes through the program, parents before children.
    void collectNewNodes();
    /// A node that is needed: shared if it can be, else new.
    void useNode(U32 place, std::vector<bool> & used);
    /// A node stays, and with it what it holds.
    void keep(Node const & root);

    Documents::Program const & program_;
    AllFunctionStatus const & status_;
    AetCollections const & store_;
    FunctionDigests & digests_;
    std::vector<Eval::Function const *> changed_;
    std::vector<String> vanished_;
    Documents::KeyTable places_; ///< of the program's nodes, by key
    /// By place in the program; null while the node is to be made.
    std::vector<Node const *> standIns_;
    std::vector<U32> new_;
    std::unordered_multimap<U32, Node const *> values_; ///< of the store, by hash
    std::vector<bool> stays_;                           ///< by slots of the store
    std::unordered_set<Node const *> loose_;            ///< these stay, too, but are no members
};

} // namespace Qcf::Mirror
