#pragma once

#include "Documents/KeyTable.h"
#include "Mirror/StagedBatch.h"
#include "QcfLib/QcfLib.h"

#include <map>
#include <unordered_set>

namespace Qcf::Mirror {

/// What the lines of a batch say, as nodes that are built but not yet in any store. Throws
/// MirrorError (or DocumentError) when a line cannot be meant.
class BatchChanges {
public:
    using Node = Eval::AetNodeBase;

    /// References lead to nodes of the batch itself or of `base`, which may be null.
    BatchChanges(StagedBatch const & batch, AetCollections const * base);

    std::unordered_set<U64> const & removed() const { return removed_; }
    /// In the order of the lines, children first.
    std::vector<Ptr<Node>> const & nodes() const { return nodes_; }
    /// By name; null for one that goes.
    std::map<String, PtrConst<Eval::Function>> const & functions() const { return functions_; }

    /// The node that a reference means; throws when there is none that `field` accepts.
    PtrConst<Node> child(JsonValue const & reference, Eval::FieldInfo const & field) const;

private:
    void line(JsonValue const & line);
    void removeLine(JsonValue const & keys);
    void functionLine(JsonValue const & line);
    void nodeLine(JsonValue const & line);

    AetCollections const * base_;
    std::unordered_set<U64> removed_;
    std::vector<Ptr<Node>> nodes_;
    Documents::KeyTable numbers_; ///< of nodes_, by key
    std::map<String, PtrConst<Eval::Function>> functions_;
};

/// Keeps the value of a literal list or set whose elements are all constants, as evaluation expects
/// it. Nothing for other nodes.
void keepConstantValue(Eval::AetNodeBase const & node);

} // namespace Qcf::Mirror
