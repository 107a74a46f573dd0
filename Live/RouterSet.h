#pragma once

#include "Live/LiveRouter.h"

namespace Qcf::Live {

/// All routers that a station hears, with what they share: the store of attributes and the judge.
///
///     RouterSet routers(settings, function, matchers, listener);
///     replay(routers, Lists::ByteSource(Lists::openFileStream(path)), path);
///     Board const board = Board::of(routers, tolerance);
class RouterSet {
public:
    /// The settings and the listener must outlive it.
    RouterSet(LiveSettings const & settings, std::shared_ptr<LivePolicy const> policy,
              LiveListener & listener);
    /// The same with a policy that has neither digest nor places.
    RouterSet(LiveSettings const & settings, PtrConst<Eval::Function> const & function,
              PtrConst<ExternalMatchersBase> const & matchers, LiveListener & listener);
    RouterSet(RouterSet const &) = delete;
    RouterSet & operator=(RouterSet const &) = delete;

    /// Routers that are held, those among them that are away for a while.
    static constexpr std::size_t mostRouters = 256;

    /// The router of that name, made when it is heard for the first time. Throws
    /// LimitReached.
    LiveRouter & router(String const & name);
    /// Takes a router out with all its tables. No connection of it may be there.
    void forget(String const & name);
    /// See TableFeed.
    void nowIs(std::chrono::milliseconds now) { feed_.nowIs(now); }
    std::chrono::milliseconds now() const { return feed_.now(); }
    TableFeed const & feed() const { return feed_; }
    /// By name.
    std::map<String, LiveRouter> & all() { return routers_; }

    LiveSettings const & settings() const { return settings_; }
    AttributeStore const & store() const { return store_; }
    RouteJudge & judge() { return judge_; }
    /// The policy that is shown.
    LivePolicy const & policy() const { return *judge_.policy(); }
    /// What it makes of all routes.
    PolicyCounts counts() const;
    /// Goes on with tables that are to be evaluated anew because of how their router writes paths,
    /// until the deadline. Answers whether more is left.
    bool evaluateAnew(std::chrono::steady_clock::time_point deadline);
    /// Whether that is left to whoever calls it, and not done before the next message.
    void evaluatesLaterIs(bool later) { feed_.judgesLaterIs(later); }
    /// Who is told which routes change; null for nobody.
    void watchIs(RouteWatch * watch) { feed_.watchIs(watch); }
    LiveListener & listener() { return listener_; }
    U64 routes() const { return feed_.routes(); }

private:
    LiveSettings const & settings_;
    LiveListener & listener_;
    AttributeStore store_;
    RouteJudge judge_;
    TableFeed feed_;
    std::map<String, LiveRouter> routers_;
};

/// One connection of a router, message after message. Which router it is shows with its first
/// message; one that says no name is called by its address.
class Connection {
public:
    Connection(RouterSet & routers, String address)
        : routers_(routers), address_(std::move(address)) {}

    /// Takes the whole messages that the bytes begin with, and answers how many bytes they have.
    /// `most` bounds how many messages. Throws Damage where no message begins, and LimitReached.
    std::size_t take(std::span<U8 const> bytes, std::size_t most = ~std::size_t{0});
    /// The connection has ended; not `inOrder` where messages may have been lost.
    void ended(bool inOrder);

    U64 offset() const { return offset_; }
    /// Null before the first message.
    LiveRouter * router() { return router_; }

private:
    static String nameIn(ByteCursor body);

    RouterSet & routers_;
    String address_;
    LiveRouter * router_ = nullptr;
    U64 offset_ = 0;
};

} // namespace Qcf::Live
