#include "bench/Measure.h"

#include <algorithm>
#include <barrier>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace Qcf::Bench {

namespace {

using Clock = std::chrono::steady_clock;

double nsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

/// Nanoseconds per route of so many passes.
double timePasses(Runner & runner, Slice const & routes, U32 passes) {
    auto const start = Clock::now();
    for (U32 pass = 0; pass < passes; ++pass) {
        keep(runner.run(routes));
    }
    return nsSince(start) / static_cast<double>(routes.count * passes);
}

/// One contender's runner with the passes that make a sample.
class Lane {
public:
    Lane(Result & result, Policy policy, Workload const & workload, MeasureOptions const & options)
        : result_(result),
          policy_(policy),
          options_(options),
          runner_(result.contender->runner(policy)),
          resident_(workload.resident),
          whole_(workload.whole) {
        if (options_.resident) {
            timePasses(*runner_, resident_, 1);
            residentPasses_ = passesFor(timePasses(*runner_, resident_, 1), resident_);
        }
        wholePasses_ = passesFor(timePasses(*runner_, whole_, 1), whole_);
    }

    void round() {
        if (options_.resident) {
            timePasses(*runner_, resident_, 1);
            result_.resident.samples.push_back(timePasses(*runner_, resident_, residentPasses_));
        }
        result_.whole.samples.push_back(timePasses(*runner_, whole_, wholePasses_));
        if (options_.twoThreads) {
            result_.twoThreads.samples.push_back(twoThreads());
        }
    }

private:
    U32 passesFor(double nsPerRoute, Slice const & routes) const {
        double const pass = nsPerRoute * static_cast<double>(routes.count);
        return static_cast<U32>(std::clamp(std::ceil(options_.sampleNs / pass), 1.0, 10000.0));
    }

    /// Each thread has a runner of its own, made and warmed up before both start; a compiler that
    /// works while a program runs takes some passes.
    double twoThreads() const {
        constexpr std::size_t threads = 2;
        constexpr U32 warmPasses = 10;
        Clock::time_point start;
        std::barrier ready(threads, [&start]() noexcept { start = Clock::now(); });
        std::array<double, threads> spent{};
        auto const work = [&](std::size_t index) {
            auto const runner = result_.contender->runner(policy_);
            Slice const half = whole_.part(index, threads);
            timePasses(*runner, resident_, warmPasses);
            timePasses(*runner, half, 1);
            ready.arrive_and_wait();
            timePasses(*runner, half, wholePasses_);
            spent[index] = nsSince(start);
        };
        std::thread other(work, 1);
        work(0);
        other.join();
        double const longest = *std::max_element(spent.begin(), spent.end());
        return longest / static_cast<double>(whole_.count * wholePasses_);
    }

    Result & result_;
    Policy policy_;
    MeasureOptions const & options_;
    std::unique_ptr<Runner> runner_;
    Slice resident_;
    Slice whole_;
    U32 residentPasses_ = 1;
    U32 wholePasses_ = 1;
};

[[noreturn]] void disagree(String const & name, PolicyResult const & all,
                           Contender const & contender, U64 found) {
    std::fprintf(stderr, "%s: %s changes routes otherwise than %s: checksum %016llx, not %016llx\n",
                 name.c_str(), contender.name(), all.results.front().contender->name(),
                 static_cast<unsigned long long>(found),
                 static_cast<unsigned long long>(all.checksum));
    std::exit(1);
}

} // namespace

Spread Spread::of(std::vector<double> samples) {
    if (samples.empty()) {
        return {};
    }
    std::sort(samples.begin(), samples.end());
    std::size_t const half = samples.size() / 2;
    double const median =
        samples.size() % 2 == 1 ? samples[half] : (samples[half - 1] + samples[half]) / 2;
    return {median, samples.front(), samples.back()};
}

Spread Timing::over(Timing const & other) const {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < std::min(samples.size(), other.samples.size()); ++i) {
        ratios.push_back(samples[i] / other.samples[i]);
    }
    return Spread::of(std::move(ratios));
}

Result const * PolicyResult::find(std::string_view contender) const {
    auto const found = std::find_if(results.begin(), results.end(), [&](Result const & result) {
        return result.contender->name() == contender;
    });
    return found == results.end() ? nullptr : &*found;
}

PolicyResult verified(Policy policy, Contenders const & contenders, Workload const & workload) {
    return verified(policyNames[static_cast<U8>(policy)], policy, contenders, workload);
}

PolicyResult verified(String const & name, Policy policy, Contenders const & contenders,
                      Workload const & workload) {
    Slice const whole(workload.whole);
    PolicyResult result;
    result.policy = policy;
    for (auto const & contender : contenders) {
        if (!contender->runs(policy)) {
            continue;
        }
        auto const runner = contender->runner(policy);
        // A second time from a used state: nothing may be left over from other routes.
        U64 const first = runner->checksum(whole);
        U64 const checksum = runner->checksum(whole);
        result.results.emplace_back().contender = contender.get();
        if (result.results.size() == 1) {
            result.checksum = first;
            result.accepted = runner->run(whole);
        }
        for (U64 const found : {first, checksum}) {
            if (found != result.checksum) {
                disagree(name, result, *contender, found);
            }
        }
    }
    return result;
}

void measureTimes(PolicyResult & result, Workload const & workload,
                  MeasureOptions const & options) {
    std::vector<std::unique_ptr<Lane>> lanes;
    for (Result & one : result.results) {
        lanes.push_back(std::make_unique<Lane>(one, result.policy, workload, options));
    }
    for (U32 round = 0; round < options.rounds; ++round) {
        for (auto const & lane : lanes) {
            lane->round();
        }
    }
}

} // namespace Qcf::Bench
