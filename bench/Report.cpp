#include "bench/Report.h"

#include "bench/ReportText.h"

#include <array>

namespace Qcf::Bench {

namespace {

char const * nameOf(Policy policy) { return policyNames[static_cast<U8>(policy)]; }

String hex(U64 number) { return formatted("%016llx", static_cast<unsigned long long>(number)); }

struct Column {
    char const * title;
    int width;
    String (*cell)(Result const & result, PolicyResult const & all);
};

String multiple(Timing Result::*timing, char const * base, Result const & result,
                PolicyResult const & all) {
    Result const * const other = all.find(base);
    return other != nullptr ? text((result.*timing).over(other->*timing)) : "-";
}

constexpr std::array columns{
    Column{"contender", -21,
           [](Result const & r, PolicyResult const &) -> String { return r.contender->name(); }},
    Column{"resident ns", 22,
           [](Result const & r, PolicyResult const &) { return text(r.resident.spread()); }},
    Column{"to hand", 20,
           [](Result const & r, PolicyResult const & all) {
               return multiple(&Result::resident, limitName, r, all);
           }},
    Column{"to accessors", 20,
           [](Result const & r, PolicyResult const & all) {
               return multiple(&Result::resident, interfaceLimitName, r, all);
           }},
    Column{"whole table ns", 22,
           [](Result const & r, PolicyResult const &) { return text(r.whole.spread()); }},
    Column{"to hand", 20,
           [](Result const & r, PolicyResult const & all) {
               return multiple(&Result::whole, limitName, r, all);
           }},
    Column{"speed-up by 2 threads", 22,
           [](Result const & r, PolicyResult const &) -> String {
               return r.twoThreads.samples.empty() ? "-" : text(r.whole.over(r.twoThreads));
           }},
    Column{"instructions", 12,
           [](Result const & r, PolicyResult const &) { return text(r.instructions, 0); }},
    Column{"mallocs", 8,
           [](Result const & r, PolicyResult const &) { return text(r.allocations, 3); }},
    Column{"slab", 6,
           [](Result const & r, PolicyResult const &) { return text(r.slabObjects, 2); }},
    Column{"shared", 6,
           [](Result const & r, PolicyResult const &) { return text(r.sharedWrites, 2); }},
};

} // namespace

String reportTable(PolicyResult const & result) {
    String table =
        formatted("\n%s: %llu accepted, checksum %s\n", nameOf(result.policy),
                  static_cast<unsigned long long>(result.accepted), hex(result.checksum).c_str());
    for (Column const & column : columns) {
        table += formatted("%*s  ", column.width, column.title);
    }
    table += '\n';
    for (Result const & row : result.results) {
        for (Column const & column : columns) {
            table += formatted("%*s  ", column.width, column.cell(row, result).c_str());
        }
        table += '\n';
    }
    return table +
           "nodes without a step: " + (result.withoutStep.empty() ? "none" : result.withoutStep) +
           "\n";
}

String reportTable(std::vector<EngineMemory> const & memory) {
    if (memory.empty()) {
        return {};
    }
    String table = "\nMemory in the engine, bytes:\n"
                   "policy    nodes        tree  by node  plan besides  counting  its counters  "
                   "store entry of a node\n";
    for (EngineMemory const & row : memory) {
        table += formatted("%-6s  %7llu  %10.0f  %7.1f  %12.0f  %8.0f  %12.0f  %21.1f\n",
                           nameOf(row.policy), static_cast<unsigned long long>(row.nodes), row.tree,
                           row.perNode, row.plan, row.counting, row.counters, row.perEntry);
    }
    return table;
}

String reportTable(BirdResults const & bird, std::vector<PolicyResult> const & policies) {
    String table = "\n" + bird.version + ", its filters over the whole table, processor time:\n";
    table += formatted("policy  %22s  %24s  %s\n", "filter alone ns", "with BIRD's walk ns",
                       "filter alone to engine-plan");
    for (BirdResult const & row : bird.results) {
        Result const * engine = nullptr;
        for (PolicyResult const & policy : policies) {
            engine = policy.policy == row.policy ? policy.find("engine-plan") : engine;
        }
        bool const isBase = row.policy == Policy::p0;
        table += formatted("%-6s  %22s  %24s  ", nameOf(row.policy),
                           isBase ? "-" : text(row.filter.spread()).c_str(),
                           text(row.walk.spread()).c_str());
        table += isBase || engine == nullptr ? "-" : text(row.filter.over(engine->whole));
        table += '\n';
    }
    return table;
}

String reportTable(std::vector<PublicationResult> const & publication) {
    if (publication.empty()) {
        return {};
    }
    PublicationResult const & base = publication[publication.size() / 2];
    String table = formatted("\nPublication (to linear: a node's cost as a multiple of that among "
                             "%llu nodes):\n",
                             static_cast<unsigned long long>(base.nodes));
    for (PublicationResult const & result : publication) {
        table += formatted("%llu nodes, %llu functions, document of %s\n",
                           static_cast<unsigned long long>(result.nodes),
                           static_cast<unsigned long long>(result.functions),
                           bytesText(static_cast<double>(result.documentBytes)).c_str());
        double const nodes = static_cast<double>(result.nodes);
        double const more = nodes / static_cast<double>(base.nodes);
        for (auto const & step : result.steps) {
            Timing const * const first = base.find(step.name);
            double const ns = step.time.spread().median;
            table += formatted("  %-20s  %30s  %8.1f ns a node", step.name.c_str(),
                               timeText(step.time.spread()).c_str(), ns / nodes);
            if (first != nullptr) {
                table += formatted("  %6.2f to linear", ns / first->spread().median / more);
            }
            table += '\n';
        }
        for (auto const & row : result.memory) {
            table += formatted("  %-20s  %30s  %8.1f bytes a node\n", row.name.c_str(),
                               bytesText(row.bytes).c_str(), row.bytes / nodes);
        }
    }
    return table;
}

} // namespace Qcf::Bench
