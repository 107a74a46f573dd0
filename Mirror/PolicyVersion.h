#pragma once

#include "Mirror/Digest.h"
#include "QcfLib/QcfEval.h"

#include <map>
#include <string_view>

namespace Qcf::Mirror {

/// What all readers of a published store can compare: which batch they hold.
struct VersionId {
    U64 number = 0; ///< rises by one a batch; 0 before the first
    String id;      ///< unique to the batch; empty before the first
    Digest digest;  ///< over the functions' content

    bool operator==(VersionId const &) const = default;
    /// "version 7, digest 3b0c..."
    String toString() const;
};

/// The functions of one complete batch. Immutable, and shared by any number of threads.
class PolicyVersion final : public PtrInterface {
public:
    using Functions = std::map<String, PtrConst<Eval::Function>, std::less<>>;

    PolicyVersion(VersionId id, Functions functions, U64 nodes)
        : id_(std::move(id)), functions_(std::move(functions)), nodes_(nodes) {}

    VersionId const & id() const { return id_; }
    Functions const & functions() const { return functions_; }
    /// Nodes in the store that the version was taken from.
    U64 nodes() const { return nodes_; }
    /// The function of that name; null when there is none.
    Eval::Function const * find(std::string_view name) const;
    /// The names that the functions use, with their slots. Where functions disagree, which no
    /// document lets them, the first in name order counts.
    FunctionMetadata slots() const;

private:
    VersionId id_;
    Functions functions_;
    U64 nodes_;
};

} // namespace Qcf::Mirror
