#pragma once

#include "Command/RouteText.h"
#include "Watch/Deciding.h"
#include "Watch/NodePlaces.h"

#include <map>

/// The statements that decided about routes: where they stand, and how many routes each decided.
/// What is to be known of a statement is found out once: a policy has few, a table many routes.
/// One thread's; what several have counted is added up.
class Decisions {
public:
    /// The places must outlive it; null where nothing is asked of it.
    explicit Decisions(Qcf::Watch::NodePlaces const * places) : places_(places) {}

    /// What is to be shown of the evaluation; good as long as this lives.
    ShownDecision of(Qcf::Watch::Deciding const & deciding);
    /// Counts the evaluation.
    void count(Qcf::Watch::Deciding const & deciding);
    /// Takes over what another one has counted, which begins anew.
    void take(Decisions & other);
    /// The summary, with shares of that many routes.
    String text(U64 routes) const;

private:
    struct Known {
        Qcf::Watch::NodePlace place;
        String reason;
        U64 verdicts = 0;
    };
    using Key = std::pair<Qcf::Eval::Expression const *, Qcf::Eval::Function const *>;

    Known & find(Key const & key);

    Qcf::Watch::NodePlaces const * places_;
    std::map<Key, Known> known_;
    U64 atEnd_ = 0;
};
