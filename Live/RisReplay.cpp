#include "Live/RisReplay.h"

#include "Live/RisMessage.h"
#include "Platform/Render/DocumentError.h"

#include <cstring>

namespace Qcf::Live {

namespace {

/// Lines of a stream, one after the other, in its window.
class Lines {
public:
    /// No message is nearly as long.
    static constexpr std::size_t mostBytes = std::size_t{1} << 20;

    explicit Lines(Lists::ByteSource source) : source_(std::move(source)) {}

    /// The next line without its end; nothing at the end of the stream, or where a line is too long
    /// to be one.
    std::optional<std::string_view> next() {
        source_.skip(std::exchange(taken_, 0));
        ++number_;
        for (std::size_t searched = 0;;) {
            std::size_t const available = source_.available();
            auto const * const end = static_cast<U8 const *>(
                std::memchr(source_.data() + searched, '\n', available - searched));
            if (end != nullptr) {
                taken_ = static_cast<std::size_t>(end - source_.data()) + 1;
                return text(taken_ - 1);
            }
            searched = available;
            if (searched > mostBytes) {
                problem_ = "line " + std::to_string(number_) + " is longer than " +
                           std::to_string(mostBytes) + " bytes";
                return std::nullopt;
            }
            if (!source_.ensure(available + 1)) {
                break;
            }
        }
        problem_ = source_.fault();
        taken_ = source_.available();
        return taken_ == 0 ? std::nullopt : std::optional(text(taken_));
    }

    U64 number() const { return number_; }
    U64 offset() const { return source_.offset(); }
    /// Known at the end: why there are no more lines, or empty.
    String const & problem() const { return problem_; }

private:
    std::string_view text(std::size_t size) const {
        return {reinterpret_cast<char const *>(source_.data()), size};
    }

    Lists::ByteSource source_;
    std::size_t taken_ = 0;
    U64 number_ = 0;
    String problem_;
};

class RisReplay {
public:
    RisReplay(RouterSet & routers, Lists::ByteSource source, String const & name,
              ReplaySteps const & steps)
        : routers_(routers),
          name_(name),
          steps_(steps),
          lines_(std::move(source)),
          document_(name),
          log_([this](String const & line) { routers_.listener().note({}, line); }) {}

    bool run() {
        String problem;
        try {
            while (!isStopped_) {
                auto const line = lines_.next();
                if (!line) {
                    break;
                }
                takeLine(*line);
            }
            problem = lines_.problem();
        } catch (LimitReached const & limit) {
            problem = limit.what();
        }
        log_.close();
        settle();
        if (!problem.empty()) {
            routers_.listener().note({name_}, "reading ended at offset " +
                                                  std::to_string(lines_.offset()) + ": " + problem);
        }
        return problem.empty() && areRead_;
    }

private:
    void takeLine(std::string_view line) {
        if (line.find_first_not_of(" \t\r") == std::string_view::npos) {
            return;
        }
        try {
            document_.parseLine(line, lines_.number());
            take(RisMessage::of(document_.root()));
        } catch (Agent::Damage const & damage) {
            lineIsDamaged(name_ + ':' + std::to_string(lines_.number()) + ": " + damage.subject() +
                          " " + damage.problem());
        } catch (DocumentError const & error) {
            lineIsDamaged(error.what());
        }
        if (steps_.taken && !isStopped_) {
            steps_.taken();
        }
    }

    void lineIsDamaged(String const & text) {
        areRead_ = false;
        log_.add(text);
    }

    void take(RisMessage const & message) {
        if (message.kind == RisMessage::Kind::other) {
            return;
        }
        timeIs(message.time);
        if (isStopped_) {
            return;
        }
        LiveRouter & router = routers_.router(message.host.empty() ? name_ : message.host);
        if (!router.isConnected()) {
            router.connected();
        }
        LiveRouter::Collected const peer{.address = message.peer, .as = message.peerAs};
        if (message.kind != RisMessage::Kind::update) {
            router.collectorSays(peer, message.kind == RisMessage::Kind::up);
            return;
        }
        if (!message.isRaw && !std::exchange(isToldOfMembers_, true)) {
            routers_.listener().note(
                {router.name()}, "messages come without \"raw\": large and extended communities "
                                 "are not in them");
        }
        for (auto const & update : message.updates) {
            router.collect(peer, ByteCursor(update, "UPDATE message"), {}, lines_.offset());
        }
    }

    void timeIs(std::chrono::microseconds time) {
        if (time.count() == 0) {
            return;
        }
        if (!first_) {
            first_ = time;
            begin_ = routers_.now();
        }
        // Peers that say little are not to wait for more votes on how they write.
        constexpr std::chrono::milliseconds tick{500};
        auto const now =
            begin_ + std::chrono::duration_cast<std::chrono::milliseconds>(time - *first_);
        if (now - routers_.now() >= tick) {
            routers_.nowIs(now);
            for (auto & [name, router] : routers_.all()) {
                router.timePasses();
            }
        }
        isStopped_ = steps_.isDue && !steps_.isDue(time - *first_);
    }

    void settle() {
        for (auto & [name, router] : routers_.all()) {
            router.settle();
        }
    }

    RouterSet & routers_;
    String const & name_;
    ReplaySteps const & steps_;
    Lines lines_;
    JsonDocument document_;
    Agent::ReportLog log_;
    std::optional<std::chrono::microseconds> first_;
    std::chrono::milliseconds begin_{0};
    bool areRead_ = true;
    bool isToldOfMembers_ = false;
    bool isStopped_ = false;
};

} // namespace

bool replayRis(RouterSet & routers, Lists::ByteSource source, String const & name,
               ReplaySteps const & steps) {
    return RisReplay(routers, std::move(source), name, steps).run();
}

} // namespace Qcf::Live
