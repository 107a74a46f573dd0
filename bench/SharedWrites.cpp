#include "bench/SharedWrites.h"

#include "Platform/Framework/Assert.h"
#include "QcfLib/NodeClass.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <unordered_set>

#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

namespace Qcf::Bench {

namespace {

using Eval::AetNodeBase;

template <typename Node>
void addConstant(std::unordered_set<void const *> & found, AetNodeBase const & node) {
    if (auto const * const literal = dynamic_cast<Node const *>(&node)) {
        if (PtrInterface const * const container = literal->cachedGetVal()) {
            found.insert(container);
        }
    }
}

void addNodes(std::unordered_set<void const *> & found, AetNodeBase const & root) {
    std::vector<AetNodeBase const *> open{&root};
    while (!open.empty()) {
        AetNodeBase const & node = *open.back();
        open.pop_back();
        if (!found.insert(static_cast<PtrInterface const *>(&node)).second) {
            continue;
        }
        addConstant<Eval::IntSetImmediate>(found, node);
        addConstant<Eval::IntListImmediate>(found, node);
        addConstant<Eval::CommunitySetImmediate>(found, node);
        node.typeData().visitChildren(node,
                                      [&](Eval::FieldInfo const &, AetNodeBase const * child) {
                                          if (child != nullptr) {
                                              open.push_back(child);
                                          }
                                      });
    }
}

} // namespace

std::vector<void const *> sharedCounters(EngineProgram const & program) {
    std::unordered_set<void const *> found;
    addNodes(found, *program.function);
    found.insert(static_cast<PtrInterface const *>(program.matchers.get()));
    auto const & lists = program.matchers->ipv4PrefixLists;
    for (std::size_t slot = 0; slot < lists.size(); ++slot) {
        if (auto const * const list = lists.at(static_cast<U16>(slot)).get()) {
            found.insert(static_cast<PtrInterface const *>(list));
        }
    }
    return {found.begin(), found.end()};
}

#if defined(__linux__) && defined(__x86_64__) && !QCF_SLAB_PASSES_THROUGH

namespace {

/// The watch that is on. Signal handlers know no other way to find it.
class Watch {
public:
    explicit Watch(std::vector<void const *> const & counters) {
        for (void const * const counter : counters) {
            auto const address = reinterpret_cast<std::uintptr_t>(counter);
            starts_.push_back(address);
            // An object may lie across two pages.
            for (std::uintptr_t const byte : {address, address + sizeof(PtrInterface) - 1}) {
                pages_.push_back(byte / pageSize_ * pageSize_);
            }
        }
        std::sort(starts_.begin(), starts_.end());
        std::sort(pages_.begin(), pages_.end());
        pages_.erase(std::unique(pages_.begin(), pages_.end()), pages_.end());
    }

    void begin() {
        active = this;
        struct sigaction action {};
        action.sa_flags = SA_SIGINFO;
        action.sa_sigaction = onFault;
        sigaction(SIGSEGV, &action, &oldFault_);
        action.sa_sigaction = onStep;
        sigaction(SIGTRAP, &action, &oldStep_);
        for (std::uintptr_t const page : pages_) {
            protect(page, PROT_READ);
        }
    }
    void end() {
        for (std::uintptr_t const page : pages_) {
            protect(page, PROT_READ | PROT_WRITE);
        }
        sigaction(SIGSEGV, &oldFault_, nullptr);
        sigaction(SIGTRAP, &oldStep_, nullptr);
        active = nullptr;
    }
    U64 writes() const { return writes_; }

private:
    static constexpr greg_t trapFlag = 0x100;

    void protect(std::uintptr_t page, int protection) const {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): pages are numbers here
        mprotect(reinterpret_cast<void *>(page), pageSize_, protection);
    }
    bool isCounter(std::uintptr_t address) const {
        auto const behind = std::upper_bound(starts_.begin(), starts_.end(), address);
        return behind != starts_.begin() && address - *(behind - 1) < sizeof(PtrInterface);
    }

    /// Opens the page for the one instruction that wants to write.
    static void onFault(int, siginfo_t * info, void * context) {
        auto const address = reinterpret_cast<std::uintptr_t>(info->si_addr);
        std::uintptr_t const page = address / active->pageSize_ * active->pageSize_;
        if (!std::binary_search(active->pages_.begin(), active->pages_.end(), page) ||
            active->openCount_ == active->open_.size()) {
            std::signal(SIGSEGV, SIG_DFL); // a fault of its own: let it happen
            return;
        }
        active->writes_ += active->isCounter(address) ? 1 : 0;
        active->protect(page, PROT_READ | PROT_WRITE);
        active->open_[active->openCount_++] = page;
        static_cast<ucontext_t *>(context)->uc_mcontext.gregs[REG_EFL] |= trapFlag;
    }
    static void onStep(int, siginfo_t *, void * context) {
        while (active->openCount_ > 0) {
            active->protect(active->open_[--active->openCount_], PROT_READ);
        }
        static_cast<ucontext_t *>(context)->uc_mcontext.gregs[REG_EFL] &= ~trapFlag;
    }

    static Watch * active;

    std::uintptr_t pageSize_ = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    std::vector<std::uintptr_t> starts_;
    std::vector<std::uintptr_t> pages_;
    std::array<std::uintptr_t, 4> open_{}; ///< pages open for the current instruction
    std::size_t openCount_ = 0;
    U64 writes_ = 0;
    struct sigaction oldFault_ {};
    struct sigaction oldStep_ {};
};

Watch * Watch::active = nullptr;

} // namespace

std::optional<U64> writesTo(std::vector<void const *> const & counters,
                            std::function<void()> const & work) {
    Watch watch(counters);
    watch.begin();
    work();
    watch.end();
    return watch.writes();
}

#else

std::optional<U64> writesTo(std::vector<void const *> const &, std::function<void()> const &) {
    return std::nullopt;
}

#endif

} // namespace Qcf::Bench
