#pragma once

#include "Command/PolicyFile.h"
#include "QcfLib/ExternalMatchers.h"

#include <memory>

/// Which function of which policy is to be evaluated, and with which lists; the options that say
/// so, the same for every command that evaluates a table.
struct PolicyArguments {
    PolicyFile::Named policy;
    String function;
    String lists; ///< empty for those of the policy alone
    bool allowUndefinedLists = false;

    /// Adds the policy, --map, --function, --lists and --allow-undefined-lists; must outlive the
    /// parsing.
    void addTo(CLI::App & command);
    /// At most one of the files can be standard input, `routes` among them. Throws UsageError.
    void checkInputs(std::vector<String> const & routes) const;
};

/// A function that may be evaluated, with all that its evaluation needs.
struct PreparedPolicy {
    /// Who needs no places lets go of it: it may hold a document's text.
    std::shared_ptr<PolicyFile const> file;
    /// Null when it may not be evaluated.
    PtrConst<Qcf::Eval::Function> function = nullptr;
    /// One set for all threads: it never changes.
    PtrConst<Qcf::ExternalMatchersBase> matchers = nullptr;
    /// The lists that were put there; null where there are none.
    PtrConst<Qcf::Lists::NamedLists> lists = nullptr;
};

/// Reads policy and lists and puts everything in place. Everything that can be wrong with them and
/// their names is told here, before the first route is read, because a table may take minutes: by
/// an exception, or on standard error and with a null function.
PreparedPolicy preparePolicy(PolicyArguments const & arguments);
