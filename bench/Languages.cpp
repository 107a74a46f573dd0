#include "Scripts.h"
#include "bench/Contenders.h"
#include "bench/Measure.h"
#include "bench/PlainTable.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>

/// Lua and LuaJIT, from modules that lie beside this program.
namespace Qcf::Bench {

namespace {

/// The tables and constants that all language contenders read.
struct PlainWorkload {
    PlainWorkload(PolicyData const & data, Workload const & workload)
        : constants(data),
          tables{&workload.whole, &workload.resident},
          plain{PlainTable(workload.whole), PlainTable(workload.resident)} {}

    std::span<PlainRoute const> routes(Slice const & slice) const {
        PlainTable const & table = slice.table == tables[0] ? plain[0] : plain[1];
        return {table.routes().data() + slice.first, slice.count};
    }

    PlainConstants constants;
    std::array<Table const *, 2> tables;
    std::array<PlainTable, 2> plain;
};

/// How a language is used.
struct LanguageForm {
    char const * name;
    char const * module;
    char const * script;
    bool loopInside; ///< one call for all routes
};

constexpr LanguageForm forms[] = {
    {"luajit-ffi-loop", "qcf_bench_luajit.so", ffiScript, true},
    {"luajit-ffi", "qcf_bench_luajit.so", ffiScript, false},
    {"luajit-ffi-tuned-loop", "qcf_bench_luajit.so", tunedFfiScript, true},
    {"luajit-ffi-tuned", "qcf_bench_luajit.so", tunedFfiScript, false},
    {"luajit-api", "qcf_bench_luajit.so", apiScript, false},
    {"lua54-api", "qcf_bench_lua54.so", apiScript, false},
};

class LanguageRunner final : public Runner {
public:
    LanguageRunner(LanguageModule const & module, LanguageForm const & form, Policy policy,
                   PlainWorkload const & workload)
        : module_(module), form_(form), workload_(workload) {
        std::array<char, 256> error{};
        state_ = module.open(form.script, &workload.constants.data(), static_cast<U32>(policy),
                             error.data(), error.size());
        if (state_ == nullptr) {
            std::fprintf(stderr, "%s: %s\n", form.name, error.data());
            std::exit(1);
        }
    }
    ~LanguageRunner() override { module_.close(state_); }

    U64 run(Slice const & routes) override {
        auto const plain = workload_.routes(routes);
        return call(plain.data(), plain.size());
    }
    U64 checksum(Slice const & routes) override {
        Checksum sum;
        for (PlainRoute const & route : workload_.routes(routes)) {
            bool const accepted = call(&route, 1) != 0;
            takeChanges(*module_.changes(state_));
            sum.add(accepted, changes_);
        }
        return sum.value();
    }

private:
    U64 call(PlainRoute const * routes, U64 count) {
        return (form_.loopInside ? module_.runLoop : module_.run)(state_, routes, count);
    }
    void takeChanges(PlainChanges const & changes) {
        constexpr auto communities = [](Agent::RouteCommunitySet & to, U32 count,
                                        U32 const * from) {
            to.clear();
            for (U32 i = 0; i < count; ++i, from += 3) {
                to.push_back(Acl::CommunityValue::fromWords(from[0], from[1], from[2]));
            }
        };
        changes_.flags = changes.flags;
        changes_.med = changes.med;
        changes_.localPref = changes.localPref;
        changes_.origin = changes.origin;
        community_.assign(changes.community, changes.community + changes.communityCount);
        communities(largeCommunity_, changes.largeCommunityCount, changes.largeCommunity);
        communities(extCommunity_, changes.extCommunityCount, changes.extCommunity);
        changes_.community = Agent::viewOf(community_);
        changes_.largeCommunity = Agent::viewOf(largeCommunity_);
        changes_.extCommunity = Agent::viewOf(extCommunity_);
    }

    LanguageModule const & module_;
    LanguageForm const & form_;
    PlainWorkload const & workload_;
    void * state_;
    Agent::RouteChanges changes_;
    Agent::RouteIntSet community_;
    Agent::RouteCommunitySet largeCommunity_;
    Agent::RouteCommunitySet extCommunity_;
};

class LanguageContender final : public Contender {
public:
    LanguageContender(LanguageModule const & module, LanguageForm const & form,
                      std::shared_ptr<PlainWorkload const> workload)
        : Contender(form.name), module_(module), form_(form), workload_(std::move(workload)) {}

    /// The scripts have no ROAs and no patterns.
    bool runs(Policy policy) const override { return policy != Policy::p5; }
    std::unique_ptr<Runner> runner(Policy policy) const override {
        return std::make_unique<LanguageRunner>(module_, form_, policy, *workload_);
    }

private:
    LanguageModule const & module_;
    LanguageForm const & form_;
    std::shared_ptr<PlainWorkload const> workload_;
};

/// Null where the module was not built. It stays loaded until the end.
LanguageModule const * loadModule(char const * name) {
    auto const path = std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
    void * const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "left out: %s\n", dlerror());
        return nullptr;
    }
    return static_cast<LanguageModule const *>(dlsym(library, "qcfBenchLanguage"));
}

} // namespace

void addLanguages(Contenders & contenders, PolicyData const & data, Workload const & workload) {
    auto const plain = std::make_shared<PlainWorkload const>(data, workload);
    for (LanguageForm const & form : forms) {
        if (LanguageModule const * const module = loadModule(form.module)) {
            contenders.push_back(std::make_unique<LanguageContender>(*module, form, plain));
        }
    }
}

} // namespace Qcf::Bench
