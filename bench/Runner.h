#pragma once

#include "Agent/Routes/Route.h"
#include "Agent/Routes/RouteChanges.h"
#include "bench/Policies.h"
#include "bench/Table.h"

#include <memory>

namespace Qcf::Bench {

/// One policy in one contender's form, ready to run on one thread.
class Runner {
public:
    Runner() = default;
    Runner(Runner const &) = delete;
    Runner & operator=(Runner const &) = delete;
    virtual ~Runner() = default;

    /// Evaluates the routes and answers how many were accepted. This is what is timed.
    virtual U64 run(Slice const & routes) = 0;
    /// The same, mixing every result and every change into one number.
    virtual U64 checksum(Slice const & routes) = 0;
};

/// A way to carry out policies. Must outlive its runners.
class Contender {
public:
    explicit Contender(char const * name) : name_(name) {}
    Contender(Contender const &) = delete;
    Contender & operator=(Contender const &) = delete;
    virtual ~Contender() = default;

    char const * name() const { return name_; }
    /// Whether it has that policy; most have them all.
    virtual bool runs(Policy /*policy*/) const { return true; }
    /// A runner for the calling thread.
    virtual std::unique_ptr<Runner> runner(Policy policy) const = 0;
    /// The reference counts that threads running the policy share, by the start of their objects.
    virtual std::vector<void const *> sharedCounters(Policy /*policy*/) const { return {}; }

private:
    char const * name_;
};

/// What happened to the routes, as one number that depends on their order.
class Checksum {
public:
    void add(bool accepted, Agent::RouteChanges const & changes);
    U64 value() const { return value_; }

private:
    void mix(U64 value) { value_ = (value_ ^ value) * 0x9e3779b97f4a7c15U ^ value_ >> 29; }

    U64 value_ = 0;
};

/// The compiler may neither drop nor merge what was done to `object`.
template <typename Object>
void keep(Object const & object) {
    asm volatile("" : : "r"(&object) : "memory"); // NOLINT(hicpp-no-assembler)
}

/// A runner from a step with `bool step(Route const &)`, whether the route is accepted, and
/// `step.changes()`, valid until the next step and without any flag for a rejected route.
template <typename Step>
class LoopRunner final : public Runner {
public:
    template <typename... Args>
    explicit LoopRunner(Args &&... args) : step_(std::forward<Args>(args)...) {}

    U64 run(Slice const & routes) override {
        U64 accepted = 0;
        for (Agent::Route const & route : routes.routes()) {
            accepted += step_(route) ? 1 : 0;
            keep(step_.changes());
        }
        return accepted;
    }
    U64 checksum(Slice const & routes) override {
        Checksum sum;
        for (Agent::Route const & route : routes.routes()) {
            bool const accepted = step_(route);
            sum.add(accepted, step_.changes());
        }
        return sum.value();
    }

private:
    Step step_;
};

} // namespace Qcf::Bench
