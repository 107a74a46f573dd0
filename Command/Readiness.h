#pragma once

#include "Command/Log.h"
#include "Lists/ListUses.h"

#include <CLI/CLI.hpp>

/// Adds --allow-undefined-lists.
void addAllowUndefinedLists(CLI::App & command, bool & target);

/// Whether a function may be evaluated with these lists (null: none): every name that it reaches is
/// defined. What is not, and what else its evaluation would hide, is told line by line.
///
///     if (!Readiness("policy.json", allow).of(*function, placeOf, lists.get())) {
///         return 1;
///     }
class Readiness {
public:
    /// `subject` stands before what is told of the function itself: a document's name.
    Readiness(String subject, bool allowUndefinedLists)
        : subject_(std::move(subject)), allowUndefined_(allowUndefinedLists) {}

    /// Tells what is wrong and answers whether the function may be evaluated. `placeOf` names the
    /// place of a node in messages.
    bool of(Qcf::Eval::Function const & function, Qcf::Lists::PlaceOf const & placeOf,
            Qcf::Lists::NamedLists const * lists) const;

private:
    String subject_;
    bool allowUndefined_;
};

/// The warning about a function that expects arguments and is evaluated without a call.
String argumentsWarning(String const & subject, Qcf::Eval::Function const & function);
