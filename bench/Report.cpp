#include "bench/Report.h"

#include "Platform/Render/RendererV2.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace Qcf::Bench {

namespace {

[[gnu::format(printf, 1, 2)]] String formatted(char const * format, ...) {
    std::array<char, 256> text;
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}

char const * nameOf(Policy policy) { return policyNames[static_cast<U8>(policy)]; }

String hex(U64 number) { return formatted("%016llx", static_cast<unsigned long long>(number)); }

/// "12.3 (12.1..12.9)"
String text(Spread const & spread) {
    int const digits = spread.median < 100 ? 2 : 0;
    return formatted("%.*f (%.*f..%.*f)", digits, spread.median, digits, spread.low, digits,
                     spread.high);
}

String text(std::optional<double> const & number, int digits) {
    return number ? formatted("%.*f", digits, *number) : "-";
}

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
    Column{"contender", -16,
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

template <typename Value>
void put(RendererV2 & json, char const * name, Value const & value) {
    json.key(name);
    json.value(value);
}

/// Leaves out what is not known.
void put(RendererV2 & json, char const * name, std::optional<double> const & number) {
    if (number) {
        put(json, name, *number);
    }
}

void put(RendererV2 & json, char const * name, Spread const & spread) {
    json.key(name);
    json.beginObject();
    put(json, "median", spread.median);
    put(json, "min", spread.low);
    put(json, "max", spread.high);
    json.endObject();
}

void putResult(RendererV2 & json, Result const & result, PolicyResult const & all) {
    json.key(result.contender->name());
    json.beginObject();
    struct Named {
        char const * name;
        Timing Result::*timing;
    };
    for (Named const named : {Named{"resident", &Result::resident}, Named{"whole", &Result::whole},
                              Named{"twoThreads", &Result::twoThreads}}) {
        Timing const & timing = result.*named.timing;
        if (timing.samples.empty()) {
            continue;
        }
        json.key(named.name);
        json.beginObject();
        put(json, "ns", timing.spread());
        for (char const * const base : {limitName, interfaceLimitName}) {
            if (Result const * const other = all.find(base)) {
                put(json, base == limitName ? "toHand" : "toHandAccessors",
                    timing.over(other->*named.timing));
            }
        }
        json.endObject();
    }
    if (!result.twoThreads.samples.empty()) {
        put(json, "speedUp", result.whole.over(result.twoThreads));
    }
    put(json, "instructions", result.instructions);
    put(json, "allocations", result.allocations);
    put(json, "slabObjects", result.slabObjects);
    put(json, "sharedWrites", result.sharedWrites);
    json.endObject();
}

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
    return table;
}

String reportTable(std::vector<EngineMemory> const & memory) {
    if (memory.empty()) {
        return {};
    }
    String table = "\nMemory in the engine, bytes:\n"
                   "policy    nodes        tree  by node  plan besides  store entry of a node\n";
    for (EngineMemory const & row : memory) {
        table += formatted("%-6s  %7llu  %10.0f  %7.1f  %12.0f  %21.1f\n", nameOf(row.policy),
                           static_cast<unsigned long long>(row.nodes), row.tree, row.perNode,
                           row.plan, row.perEntry);
    }
    return table;
}

String reportJson(RunFacts const & facts, std::vector<PolicyResult> const & results,
                  std::vector<EngineMemory> const & memory) {
    String text;
    RendererV2 json(text);
    json.beginObject();
    put(json, "routes", U64{facts.routes});
    put(json, "residentRoutes", U64{facts.residentRoutes});
    put(json, "rounds", U64{facts.rounds});
    json.key("policies");
    json.beginObject();
    for (PolicyResult const & result : results) {
        json.key(nameOf(result.policy));
        json.beginObject();
        put(json, "accepted", result.accepted);
        put(json, "checksum", hex(result.checksum));
        json.key("contenders");
        json.beginObject();
        for (Result const & one : result.results) {
            putResult(json, one, result);
        }
        json.endObject();
        json.endObject();
    }
    json.endObject();
    json.key("memory");
    json.beginObject();
    for (EngineMemory const & row : memory) {
        json.key(nameOf(row.policy));
        json.beginObject();
        put(json, "nodes", row.nodes);
        put(json, "tree", row.tree);
        put(json, "plan", row.plan);
        put(json, "perNode", row.perNode);
        put(json, "perStoreEntry", row.perEntry);
        json.endObject();
    }
    json.endObject();
    json.endObject();
    json.endDocument();
    return text;
}

} // namespace Qcf::Bench
