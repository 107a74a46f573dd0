#include "Command/WatchPolicy.h"

#include "Command/Faults.h"
#include "Command/Following.h"
#include "Command/PolicyPlaces.h"
#include "Command/PublishedPolicy.h"
#include "Command/Readiness.h"
#include "Command/Signals.h"
#include "Lists/ByteStream.h"
#include "Lists/ListBinding.h"
#include "Mirror/MirrorError.h"

#include <filesystem>
#include <future>

namespace {

using Policy = WatchPolicy::Policy;
using Qcf::Live::LivePolicy;
using Qcf::Mirror::PolicyVersion;
using namespace std::chrono_literals;

/// Digits of a digest that are shown.
constexpr std::size_t digits = 12;

/// What `read` answers; null where it throws what readers throw, which is told.
template <typename Read>
Policy readOrTell(Read read) {
    Policy policy;
    try {
        policy = read();
    } catch (DocumentError const & error) {
        tellFault(error);
    } catch (Qcf::Lists::FileError const & error) {
        tellError(error.what());
    } catch (Qcf::Mirror::MirrorError const & error) {
        tellError(error.what());
    }
    if (!policy) {
        tellWarning("stays with the policy that it has");
    }
    return policy;
}

/// Files that are looked at again and again.
class FilePolicy final : public WatchPolicy {
public:
    explicit FilePolicy(PolicyArguments const & arguments) : arguments_(arguments) {}

    Policy first() override {
        seen_ = state();
        Policy policy = read();
        digest_ = policy ? policy->digest : String();
        return policy;
    }

    Policy newer() override {
        if (reading_.valid()) {
            return reading_.wait_for(0s) == std::future_status::ready ? taken(reading_.get())
                                                                      : nullptr;
        }
        auto const now = std::chrono::steady_clock::now();
        bool const isAsked = reloadIsTaken();
        if (!isAsked && now < next_) {
            return nullptr;
        }
        next_ = now + 1s;
        State const found = state();
        if (isAsked || found != seen_) {
            // What changes while it is read is read again.
            seen_ = found;
            reading_ = std::async(std::launch::async,
                                  [this] { return readOrTell([this] { return read(); }); });
        }
        return nullptr;
    }

private:
    /// When files were written last, and how long they are.
    using State = std::vector<std::pair<std::filesystem::file_time_type, std::uintmax_t>>;

    std::vector<String> files() const {
        return {arguments_.policy.path, arguments_.policy.map, arguments_.lists};
    }
    State state() const {
        State state;
        for (String const & file : files()) {
            std::error_code none;
            auto const time = std::filesystem::last_write_time(file, none);
            auto const size = std::filesystem::file_size(file, none);
            state.emplace_back(time, size);
        }
        return state;
    }
    Policy read() const {
        PreparedPolicy const prepared = preparePolicy(arguments_);
        if (!prepared.function) {
            return nullptr;
        }
        return std::make_shared<LivePolicy const>(
            prepared.function, prepared.matchers, digest(),
            std::make_shared<PolicyPlaces const>(prepared.file));
    }
    /// Of what the files say.
    String digest() const {
        Qcf::Mirror::Digester digester;
        for (String const & file : files()) {
            if (!file.empty() && file != "-") {
                String const text = readFile(file);
                digester.add(std::to_string(text.size()) + '\n' + text);
            }
        }
        return digester.finish().toString().substr(0, digits);
    }
    /// One that says what the one before said is none.
    Policy taken(Policy const & policy) {
        return policy && std::exchange(digest_, policy->digest) != digest_ ? policy : nullptr;
    }

    PolicyArguments const & arguments_;
    State seen_;
    String digest_; ///< of what was good last
    std::chrono::steady_clock::time_point next_;
    // The last member, so that its thread has ended when the others go.
    std::future<Policy> reading_;
};

/// The live version of a name.
class StoredPolicy final : public WatchPolicy {
public:
    explicit StoredPolicy(WatchOptions const & options) : options_(options) {}

    Policy first() override {
        lists_ = ownLists();
        auto const version = readLiveVersion(options_.redis);
        last_ = version->id().id;
        return policyOf(version);
    }

    Policy newer() override {
        if (!thread_.joinable()) {
            thread_ = std::jthread([this](std::stop_token const & stop) { follow(stop); });
        }
        std::lock_guard const lock(mutex_);
        return std::exchange(news_, nullptr);
    }

private:
    PtrConst<Qcf::Lists::NamedLists> ownLists() const {
        String const & file = options_.policy.lists;
        return file.empty() ? nullptr : PtrConst<Qcf::Lists::NamedLists>(readListsOf(file));
    }
    Policy policyOf(PtrConst<PolicyVersion> const & version) const;
    void follow(std::stop_token const & stop);

    WatchOptions const & options_;
    PtrConst<Qcf::Lists::NamedLists> lists_;
    String last_; ///< version that was looked at
    std::mutex mutex_;
    Policy news_;
    // The last member, so that it has ended when the others go.
    std::jthread thread_;
};

Policy StoredPolicy::policyOf(PtrConst<PolicyVersion> const & version) const {
    String const subject = options_.redis.name + " version " + std::to_string(version->id().number);
    PtrConst<Qcf::Eval::Function> const function(
        &findFunction(*version, subject, options_.policy.function));
    checkFunction(*function);
    auto const lists = listsFor(*version, lists_);
    auto places = std::make_shared<PublishedPlaces const>(subject, version);
    auto const placeOf = [&](Qcf::Eval::AetNodeBase const & node,
                             Qcf::Eval::Function const & within) {
        return places->of(node, within).text();
    };
    Readiness const readiness(subject, options_.policy.allowUndefinedLists);
    if (!readiness.of(*function, placeOf, lists.get())) {
        return nullptr;
    }
    return std::make_shared<LivePolicy const>(
        function, Qcf::Lists::bindLists(version->slots(), lists.get()),
        version->id().digest.toString().substr(0, digits), std::move(places));
}

void StoredPolicy::follow(std::stop_token const & stop) {
    try {
        Following following(options_.redis);
        String seen; ///< as the follower begins
        while (!stop.stop_requested() && !stopIsAsked()) {
            auto const version = following.next(seen, 1s);
            if (!version) {
                continue;
            }
            seen = version->id().id;
            if (seen == std::exchange(last_, seen) && !reloadIsAsked()) {
                continue;
            }
            Policy policy = readOrTell([&] {
                lists_ = reloadIsTaken() ? ownLists() : lists_;
                return policyOf(version);
            });
            if (policy) {
                std::lock_guard const lock(mutex_);
                news_ = std::move(policy);
            }
        }
    } catch (std::exception const & error) {
        // The station has its routers to care for.
        tellError(error.what());
    }
}

} // namespace

std::unique_ptr<WatchPolicy> WatchPolicy::of(WatchOptions const & options) {
    if (options.isPublished()) {
        return std::make_unique<StoredPolicy>(options);
    }
    return std::make_unique<FilePolicy>(options.policy);
}
