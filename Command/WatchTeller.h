#pragma once

#include "Command/Decisions.h"
#include "Command/PolicyPlaces.h"
#include "Command/WatchOptions.h"
#include "Live/Board.h"
#include "Live/LiveEvents.h"

/// Evaluates single routes once more to see which statement decides.
class WatchDecider {
public:
    explicit WatchDecider(PreparedPolicy const & prepared);
    WatchDecider(WatchDecider const &) = delete;
    WatchDecider & operator=(WatchDecider const &) = delete;

    Qcf::Live::DecidedBy of(Qcf::Agent::Route const & route);

private:
    PtrConst<Qcf::Eval::Function> function_;
    Ptr<Qcf::Agent::AgentContext> agent_;
    Ptr<Qcf::Eval::EvalContextBase> context_;
    Qcf::Watch::Deciding deciding_;
    PolicyPlaces places_;
    Decisions decisions_;
};

/// What routers' notes and differences are written as.
class WatchTeller final : public Qcf::Live::LiveListener {
public:
    /// Where notes go instead of standard error.
    using Lines = std::function<void(String const & line)>;

    WatchTeller(WatchOptions const & options, PreparedPolicy const & prepared);

    void notesGoTo(Lines lines) { lines_ = std::move(lines); }

    void note(Qcf::Live::Where const & where, String const & text) override;
    void peer(Qcf::Live::Where const & where, bool isUp, U8 reason) override;
    void sync(Qcf::Live::Where const & where, AddressFamily family, U64 routes) override;

    /// Writes a difference where it is asked for.
    void differs(Qcf::Live::RouteDifference const & difference);
    /// Writes what all came to.
    void board(Qcf::Live::Board const & board);

private:
    /// "edge1 192.0.2.1  10.0.0.0/8  attributes  p.qcf:7  med: 20 (engine), 0 (router)".
    String lineOf(Qcf::Live::RouteDifference const & difference);

    WatchOptions const & options_;
    WatchDecider decider_;
    Qcf::Live::LiveEvents events_;
    Lines lines_;
};
