#pragma once

#include "Agent/Evaluation/ParallelEvaluation.h"

namespace Qcf::Questions {

/// What an evaluation came to. The context and the route are those of the evaluation, and are
/// looked at while it is the context's last one.
struct Outcome {
    Eval::EvalResult result;
    Agent::AgentContextBase const & context;
};

/// Whether two evaluations came to the same: value, termination, and what is written back. A value
/// that one of them wrote counts as a difference even where the route had it before. Allocates
/// nothing.
bool isSameOutcome(Outcome const & older, Outcome const & newer);

/// In which way two evaluations differ.
struct OutcomeDifference {
    bool isVerdict = false; ///< accepted, rejected or unknown; else what is changed
    String kind;            ///< "accepted -> rejected", "local_preference", "community, med"
    String values = {};     ///< "local_preference 110 -> 100"; empty for verdicts
};

/// Words for two outcomes that are not the same. Of sets and paths it tells what one has and the
/// other has not: "community +65000:1 -65000:2".
OutcomeDifference differenceOf(Outcome const & older, Outcome const & newer);

} // namespace Qcf::Questions
