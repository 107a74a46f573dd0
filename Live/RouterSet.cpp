#include "Live/RouterSet.h"

namespace Qcf::Live {

RouterSet::RouterSet(LiveSettings const & settings, std::shared_ptr<LivePolicy const> policy,
                     LiveListener & listener)
    : settings_(settings),
      listener_(listener),
      judge_(store_, std::move(policy)),
      feed_(settings_, store_, judge_, listener_) {}

RouterSet::RouterSet(LiveSettings const & settings, PtrConst<Eval::Function> const & function,
                     PtrConst<ExternalMatchersBase> const & matchers, LiveListener & listener)
    : RouterSet(settings, std::make_shared<LivePolicy const>(function, matchers), listener) {}

PolicyCounts RouterSet::counts() const {
    PolicyCounts sum;
    for (auto const & [name, router] : routers_) {
        for (auto const & [key, peer] : router.peers()) {
            if (RibState const * const table = peer.table(settings_.rib)) {
                sum.add(table->shown);
            }
        }
    }
    return sum;
}

bool RouterSet::evaluateAnew(std::chrono::steady_clock::time_point deadline) {
    if (!feed_.hasToJudge()) {
        return false;
    }
    for (auto & [name, router] : routers_) {
        for (auto & [key, peer] : router.peers()) {
            RibState * const table = peer.table(settings_.rib);
            while (table != nullptr && table->toJudge > 0) {
                feed_.judgeSome(peer, *table);
                if (std::chrono::steady_clock::now() >= deadline) {
                    return true;
                }
            }
        }
    }
    feed_.nothingToJudge();
    return false;
}

void RouterSet::forget(String const & name) {
    routers_.erase(name);
    if (feed_.watch() != nullptr) {
        feed_.watch()->forgotten(name);
    }
}

LiveRouter & RouterSet::router(String const & name) {
    if (routers_.size() >= mostRouters && !routers_.contains(name)) {
        throw LimitReached("more than " + std::to_string(mostRouters) + " routers");
    }
    return routers_.try_emplace(name, name, settings_, feed_, listener_).first->second;
}

std::size_t Connection::take(std::span<U8 const> bytes, std::size_t most) {
    std::size_t used = 0;
    for (std::size_t i = 0; i < most; ++i) {
        auto const frame = BmpFrame::first(bytes.subspan(used));
        if (!frame) {
            break;
        }
        if (router_ == nullptr) {
            String const said = frame->type == BmpType::initiation ? nameIn(frame->body) : String();
            router_ = &routers_.router(said.empty() ? address_ : said);
            router_->connected();
        }
        U64 const at = offset_;
        used += frame->size;
        offset_ += frame->size;
        router_->take(*frame, at);
    }
    return used;
}

/// The name in an Initiation message; a damaged one is told when it is read as a whole.
String Connection::nameIn(ByteCursor body) {
    constexpr U16 sysName = 2;
    try {
        while (!body.atEnd()) {
            BmpTlv const tlv = BmpTlv::take(body);
            if (tlv.type == sysName) {
                return tlv.text();
            }
        }
    } catch (Damage const &) {
    }
    return {};
}

void Connection::ended(bool inOrder) {
    if (router_ != nullptr) {
        router_->lost(inOrder);
    }
}

} // namespace Qcf::Live
