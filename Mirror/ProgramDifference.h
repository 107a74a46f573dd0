#pragma once

#include "Documents/Program.h"
#include "Mirror/FunctionComparison.h"
#include "Mirror/FunctionDigests.h"
#include "QcfLib/QcfLib.h"

#include <unordered_map>
#include <unordered_set>

namespace Qcf::Mirror {

/// What a program has that a status has not, and what it can share with it.
///
/// Functions are compared under their names, side by side with those that are published. A function
/// that differs is set anew, and of its nodes those are new for which the store has no equal value
/// and no unchanged function stands.
/// Looking for all that changes neither the program nor the status; both must stay as they are, but
/// for what the publication itself does, as long as the difference is asked.
///
///     ProgramDifference difference(program, status, digests);
///     for (auto const * const node : difference.newNodes()) { ... }
///
/// What stays costs a comparison and a mark a node. When anything differs, each member of the store
/// is looked at, and its values are hashed; all else is for what differs.
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
    /// Nodes of the program to be made, children before parents.
    std::vector<Node const *> const & newNodes() const { return new_; }

    /// Whether a member of the store is used by the program, or held by what is. Answers for the
    /// members that were there at first.
    bool stays(Node const & member) const { return stays_[store_.slotOf(member)]; }

    /// The stored node that stands for a node of a changed function; null while it is to be made.
    Node const * standIn(Node const & node) const { return standIns_.at(&node); }
    /// A new node was made.
    void standInIs(Node const & node, Node const * made) { standIns_[&node] = made; }

private:
    /// Compares what names mean; what is equal stays.
    void compareFunctions();
    Eval::Function const * publishedFunction(String const & name) const;
    /// Whether the function says what the published one does, which then stays.
    bool staysAsItIs(Eval::Function const & function, Eval::Function const & before);
    /// Notes those of the store's values by their hashes that the changed functions may need.
    void indexValues();
    /// Hashes of the values in changed functions.
    std::unordered_set<U32> wantedHashes() const;
    /// The store's value that says the same; null for none.
    Node const * equalValue(Node const & node) const;
    /// Goes through the changed functions.
    void collectNewNodes();
    /// Whether a node that is met is to be made; finds what stands for it otherwise.
    bool isNew(Node const & node);
    /// A node stays; whether that was not known.
    bool keepNode(Node const & node);
    /// The same with what it holds.
    void keep(Node const & root);

    Documents::Program const & program_;
    AllFunctionStatus const & status_;
    AetCollections const & store_;
    FunctionDigests & digests_;
    FunctionComparison comparison_;
    std::vector<Eval::Function const *> changed_;
    std::vector<String> vanished_;
    /// Of unchanged functions and of the nodes of changed ones; null while the node is to be made.
    std::unordered_map<Node const *, Node const *> standIns_;
    std::vector<Node const *> new_;
    std::unordered_multimap<U32, Node const *> values_; ///< of the store, by hash
    std::vector<bool> stays_;                           ///< by slots of the store
    std::unordered_set<Node const *> loose_;            ///< these stay, too, but are no members
};

} // namespace Qcf::Mirror
