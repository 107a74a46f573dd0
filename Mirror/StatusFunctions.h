#pragma once

#include "Mirror/FunctionDigests.h"
#include "QcfLib/QcfLib.h"

#include <map>
#include <set>

namespace Qcf::Mirror {

/// The functions of a status as a table, which is kept while names come to mean other functions: it
/// costs what changed since it was asked for.
///
///     StatusFunctions functions(status);
///     ... changes of the status ...
///     Digest const now = functions.table().summary().digest();
///
/// Belongs to the thread that changes the status.
class StatusFunctions {
public:
    /// Names with the functions that they come to mean; null for one that goes.
    using Changes = std::map<String, PtrConst<Eval::Function>>;

    explicit StatusFunctions(Ptr<AllFunctionStatus> status);
    StatusFunctions(StatusFunctions const &) = delete;
    StatusFunctions & operator=(StatusFunctions const &) = delete;
    ~StatusFunctions();

    /// The functions as they are. Throws MirrorError for one that cannot be published, before any
    /// walk goes down its tree.
    FunctionTable const & table();
    /// What a table would be after the changes. The functions are such as can be published.
    FunctionTable changed(FunctionTable const & base, Changes const & changes);
    /// The status is brought to what the table says; for whoever made the table first.
    void tableIs(FunctionTable table);
    /// What is known of the functions, for who compares others with them.
    FunctionDigests & digests() { return digests_; }

private:
    Ptr<AllFunctionStatus> status_;
    SubscriptionId subscription_;
    std::set<String> names_; ///< that changed since the table was made
    FunctionTable table_;
    FunctionDigests digests_;
};

} // namespace Qcf::Mirror
