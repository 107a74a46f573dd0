#pragma once

#include "Command/Decisions.h"
#include "Command/WatchOptions.h"
#include "Live/Board.h"
#include "Live/DifferenceMemory.h"
#include "Live/LiveEvents.h"
#include "Live/LivePolicy.h"
#include "Live/PolicySwap.h"

/// Evaluates single routes once more to see which statement decides.
class WatchDecider {
public:
    explicit WatchDecider(std::shared_ptr<Qcf::Live::LivePolicy const> policy);
    WatchDecider(WatchDecider const &) = delete;
    WatchDecider & operator=(WatchDecider const &) = delete;

    Qcf::Live::DecidedBy of(Qcf::Agent::Route const & route);

private:
    std::shared_ptr<Qcf::Live::LivePolicy const> policy_;
    Ptr<Qcf::Agent::AgentContext> agent_;
    Ptr<Qcf::Eval::EvalContextBase> context_;
    Qcf::Watch::Deciding deciding_;
    Decisions decisions_;
};

/// What routers' notes, routes and differences are written as.
class WatchTeller final : public Qcf::Live::LiveListener {
public:
    /// Where notes go instead of standard error.
    using Lines = std::function<void(String const & line)>;

    WatchTeller(WatchOptions const & options, std::shared_ptr<Qcf::Live::LivePolicy const> policy);

    void notesGoTo(Lines lines) { lines_ = std::move(lines); }

    void note(Qcf::Live::Where const & where, String const & text) override;
    void peer(Qcf::Live::Where const & where, bool isUp, U8 reason) override;
    void sync(Qcf::Live::Where const & where, AddressFamily family, U64 routes) override;

    /// Another policy is shown from now on.
    void policy(Qcf::Live::PolicyChange const & change);
    /// Events wait for `write` from here on: whoever reads them may be slow.
    void eventsWait() { doWait_ = true; }
    /// They do no more, and those that wait are written.
    void eventsAreDue();
    /// Writes events that wait, as far as standard output takes them at once. Answers whether all
    /// are written.
    bool write();
    /// Whether routes and differences had better be told later, when others are written.
    bool isBusy() const { return waiting_.size() > mostWaiting; }

    /// Writes what is new of a route where it is asked for.
    void route(Qcf::Live::RouteNews const & news);
    /// Writes a difference where it is asked for; as an event only if it was not told so already.
    void differs(Qcf::Live::RouteDifference const & difference);
    /// All differences of a peer were told, but for routes that changed lately where it is not
    /// whole: those that are over are told.
    void passed(String const & router, Qcf::Live::PeerState const & peer, bool isWhole);
    /// Whether the comparison is to be made once more, so that all is told.
    bool hasUntold() const { return differences_.hasUntold(); }
    /// Writes what all came to.
    void board(Qcf::Live::Board const & board);

private:
    /// "edge1 192.0.2.1  10.0.0.0/8  attributes  p.qcf:7  med: 20 (engine), 0 (router)".
    String lineOf(Qcf::Live::RouteDifference const & difference);

    static constexpr std::size_t mostWaiting = std::size_t{64} << 10;

    void take(std::string_view line);

    WatchOptions const & options_;
    std::unique_ptr<WatchDecider> decider_;
    Qcf::Live::DifferenceMemory differences_;
    bool doWait_ = false;
    String waiting_; ///< events
    Qcf::Live::LiveEvents events_;
    Lines lines_;
};
