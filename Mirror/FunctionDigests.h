#pragma once

#include "Mirror/FunctionTable.h"

#include <memory>
#include <unordered_map>
#include <vector>

namespace Qcf::Mirror {

/// Digests of functions by their content: classes, scalars and structure, callees included. Neither
/// keys nor sharing nor addresses count, so that every process that holds equal functions computes
/// the same. A function is walked once, however often it is asked about.
///
///     FunctionDigests digests;
///     bool const same = digests.of(mine) == digests.of(theirs);
///
/// Known functions are held, so that asking again costs a look-up, until `clear` lets them go.
/// Belongs to one thread.
class FunctionDigests {
public:
    FunctionDigests();
    ~FunctionDigests();
    FunctionDigests(FunctionDigests const &) = delete;
    FunctionDigests & operator=(FunctionDigests const &) = delete;

    /// The digest of a function; costs a walk over what is not known of it yet.
    Digest of(Eval::Function const & function);
    /// Those of the table are known from here on; another table takes its place.
    void tableIs(FunctionTable table) { table_ = std::move(table); }
    /// Forgets what is known beside the table.
    void clear();

private:
    /// A function that was walked.
    struct Known {
        PtrConst<Eval::FunctionBase> function; ///< held, so that its address stays its own
        Digest digest;
    };

    /// What walking a function needs.
    struct Walk;

    /// The digest of a function that is known; null for none.
    Digest const * find(Eval::Function const & function) const;
    /// Walks the function, callees aside.
    Digest compute(Eval::Function const & function, Walk & walk);

    FunctionTable table_;
    std::unordered_map<Eval::AetNodeBase const *, Known> known_;
    std::vector<std::unique_ptr<Walk>> spare_; ///< not in use, kept for their storage
};

} // namespace Qcf::Mirror
