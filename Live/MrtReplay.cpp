#include "Live/MrtReplay.h"

#include "Agent/Mrt/MrtFrames.h"
#include "Agent/Mrt/MrtSession.h"

namespace Qcf::Live {

namespace {

using Agent::MrtSession;
using Agent::Mrt::Header;

/// Hands the records of a collector to the router that stands for it.
class MrtReplay {
public:
    MrtReplay(RouterSet & routers, Lists::ByteSource source, String const & name,
              ReplaySteps const & steps)
        : routers_(routers),
          name_(name),
          steps_(steps),
          // Little at a time, so that what a pipe has brought is not waited with.
          frames_(std::move(source), std::size_t{16} << 10),
          findings_(frames_.compressed(), [this](String const & line) { note(line); }) {}

    bool run() {
        try {
            while (!isStopped_ && frames_.next(findings_)) {
                takeStretch(frames_.stretch());
            }
        } catch (LimitReached const & limit) {
            note(String("reading ended: ") + limit.what());
            isWhole_ = false;
        }
        findings_.log.close();
        if (router_ != nullptr) {
            router_->settle();
        }
        if (tables_ > 0) {
            note(std::to_string(tables_) + " records of tables were passed over");
        }
        return isWhole_ && !findings_.statistics.cut;
    }

private:
    void note(String const & line) {
        routers_.listener().note({router_ != nullptr ? router_->name() : name_}, line);
    }

    void takeStretch(Agent::MrtStretch const & stretch) {
        for (std::size_t at = 0; at < stretch.size && !isStopped_;) {
            Header const header = Header::load(stretch.data + at);
            ByteCursor const body(stretch.data + at + Header::size, header.length, "record");
            takeRecord(header, body, stretch.offset + at);
            at += Header::size + header.length;
        }
    }

    void takeRecord(Header const & header, ByteCursor body, U64 offset) {
        tables_ += header.type == Agent::Mrt::tableDump || Agent::Mrt::holdsTableRoutes(header);
        U32 microseconds = 0;
        try {
            if (header.type == Agent::Mrt::bgp4mpEt) {
                microseconds = body.u32();
            }
            auto const session = sessionOf(header, body);
            if (!session) {
                return;
            }
            if (!waitFor(header.time, microseconds)) {
                isStopped_ = true;
                return;
            }
            takeSession(*session, offset);
        } catch (Damage const & damage) {
            routerOf(0).damageAt(offset, damage, "recorded");
        }
        if (steps_.taken) {
            steps_.taken();
        }
    }

    static std::optional<MrtSession> sessionOf(Header const & header, ByteCursor body) {
        switch (header.type) {
        case Agent::Mrt::bgp4mp:
        case Agent::Mrt::bgp4mpEt:
            return MrtSession::ofBgp4mp(header.subtype, body);
        case Agent::Mrt::bgp:
            return MrtSession::ofBgp(header.subtype, body);
        default:
            return std::nullopt;
        }
    }

    bool waitFor(U32 seconds, U32 microseconds) {
        if (!steps_.isDue) {
            return true;
        }
        std::chrono::microseconds const time =
            std::chrono::seconds(seconds) + std::chrono::microseconds(microseconds);
        if (!first_) {
            first_ = time;
        }
        return steps_.isDue(time - *first_);
    }

    void takeSession(MrtSession const & session, U64 offset) {
        LiveRouter & router = routerOf(session.collectorAs);
        LiveRouter::Collected const peer{
            .address = session.peer, .as = session.peerAs, .ownAs = session.collectorAs};
        if (session.content == MrtSession::Content::newState) {
            ByteCursor states = session.body;
            U16 const before = states.u16();
            U16 const after = states.u16();
            if ((before == MrtSession::established) != (after == MrtSession::established)) {
                router.collectorSays(peer, after == MrtSession::established);
            }
        } else if (auto const update = session.update()) {
            router.collect(peer, *update, session.form, offset);
        }
    }

    LiveRouter & routerOf(U32 collectorAs) {
        if (router_ == nullptr) {
            router_ =
                &routers_.router(collectorAs == 0 ? name_ : "AS" + std::to_string(collectorAs));
            // A file that follows another one goes on in its tables.
            if (!router_->isConnected()) {
                router_->connected();
            }
        }
        return *router_;
    }

    RouterSet & routers_;
    String const & name_;
    ReplaySteps const & steps_;
    Agent::MrtFrames frames_;
    Agent::MrtFindings findings_;
    LiveRouter * router_ = nullptr;
    std::optional<std::chrono::microseconds> first_;
    U64 tables_ = 0;
    bool isStopped_ = false;
    bool isWhole_ = true;
};

} // namespace

bool replayMrt(RouterSet & routers, Lists::ByteSource source, String const & name,
               ReplaySteps const & steps) {
    return MrtReplay(routers, std::move(source), name, steps).run();
}

} // namespace Qcf::Live
