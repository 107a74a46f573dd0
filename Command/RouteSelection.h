#pragma once

#include "Agent/Evaluation/ParallelEvaluation.h"
#include "Command/Command.h"

#include <optional>

/// Which of a table's routes a command tells of, and the options that say so. Without options all.
/// What is summed up counts every route that was read.
class RouteSelection {
public:
    /// Adds --prefix, --peer and --only; must outlive the parsing.
    void addTo(CLI::App & command);
    /// Adds --prefix and --peer alone.
    void addRoutesTo(CLI::App & command);

    /// Whether the route, with what came of its evaluation, is told.
    bool selects(Qcf::Agent::Evaluated const & evaluated) const {
        return (isAll_ || selectsRoute(evaluated.route)) &&
               (!outcome_ || selectsOutcome(evaluated));
    }
    /// The same before it is evaluated, by prefix and peer alone.
    bool selectsRoute(Qcf::Agent::Route const & route) const;

private:
    using Outcome = bool (*)(Qcf::Agent::Evaluated const &);

    void prefixIs(String const & text);
    bool selectsOutcome(Qcf::Agent::Evaluated const & evaluated) const {
        return outcome_(evaluated);
    }

    bool isAll_ = true; ///< neither prefix nor peer is asked for
    std::optional<IpGenPrefix> prefix_;
    bool isLonger_ = false;
    std::optional<IpGenAddr> peer_;
    Outcome outcome_ = nullptr;
};
