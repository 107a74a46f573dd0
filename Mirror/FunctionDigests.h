#pragma once

#include "Mirror/Digest.h"
#include "QcfLib/QcfLib.h"

#include <memory>
#include <unordered_map>
#include <vector>

namespace Qcf::Eval {
class Function;
}

namespace Qcf::Mirror {

/// Digests of functions by their content: classes, scalars and structure, callees included. Neither
/// keys nor sharing nor addresses count, so that every process that holds equal functions computes
/// the same. A function is walked once, however often it is asked about.
///
///     FunctionDigests digests;
///     bool const same = digests.of(mine) == digests.of(theirs);
///
/// Known functions are held, so that asking again costs a look-up; `keepInUse` lets those go that
/// nobody else holds. Belongs to one thread.
class FunctionDigests {
public:
    /// Names that come to mean another function; null for one that goes.
    using Changes = std::map<String, PtrConst<Eval::Function>>;

    FunctionDigests();
    ~FunctionDigests();
    FunctionDigests(FunctionDigests const &) = delete;
    FunctionDigests & operator=(FunctionDigests const &) = delete;

    /// The digest of a function; costs a walk over what is not known of it yet.
    Digest of(Eval::Function const & function);
    /// The digest over names and functions of a whole status, in name order.
    Digest of(AllFunctionStatus::Functions const & functions);
    /// The digest that they would have after changes.
    Digest of(AllFunctionStatus::Functions const & functions, Changes const & changes);

    /// Forgets functions that nobody else holds any more.
    void keepInUse();

private:
    /// A function that was walked.
    struct Known {
        PtrConst<Eval::FunctionBase> function; ///< held, so that its address stays its own
        Digest digest;
    };

    /// What walking a function needs.
    struct Walk;

    /// Walks the function, callees aside.
    Digest compute(Eval::Function const & function, Walk & walk);

    std::unordered_map<Eval::AetNodeBase const *, Known> known_;
    std::vector<std::unique_ptr<Walk>> spare_; ///< not in use, kept for their storage
};

} // namespace Qcf::Mirror
