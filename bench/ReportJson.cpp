#include "bench/Report.h"
#include "bench/ReportMembers.h"

#include <array>
#include <cstdio>

namespace Qcf::Bench {

namespace {

char const * nameOf(Policy policy) { return policyNames[static_cast<U8>(policy)]; }

String hex(U64 number) {
    std::array<char, 17> text;
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(number));
    return text.data();
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

void putPolicies(RendererV2 & json, std::vector<PolicyResult> const & results) {
    for (PolicyResult const & result : results) {
        putObject(json, nameOf(result.policy), [&] {
            put(json, "accepted", result.accepted);
            put(json, "checksum", hex(result.checksum));
            put(json, "withoutStep", result.withoutStep);
            putObject(json, "contenders", [&] {
                for (Result const & one : result.results) {
                    putResult(json, one, result);
                }
            });
        });
    }
}

void putBird(RendererV2 & json, BirdResults const & bird) {
    put(json, "version", bird.version);
    for (BirdResult const & result : bird.results) {
        putObject(json, nameOf(result.policy), [&] {
            put(json, "walk", result.walk.spread());
            if (result.policy != Policy::p0) {
                put(json, "filter", result.filter.spread());
            }
        });
    }
}

void putMemory(RendererV2 & json, std::vector<EngineMemory> const & memory) {
    for (EngineMemory const & row : memory) {
        putObject(json, nameOf(row.policy), [&] {
            put(json, "nodes", row.nodes);
            put(json, "tree", row.tree);
            put(json, "plan", row.plan);
            put(json, "perNode", row.perNode);
            put(json, "countingPlan", row.counting);
            put(json, "counters", row.counters);
            put(json, "perStoreEntry", row.perEntry);
        });
    }
}

void putPublication(RendererV2 & json, PublicationResult const & result) {
    put(json, "nodes", result.nodes);
    put(json, "functions", result.functions);
    put(json, "documentBytes", result.documentBytes);
    putObject(json, "ns", [&] {
        for (auto const & step : result.steps) {
            put(json, step.name.c_str(), step.time.spread());
        }
    });
    putObject(json, "bytes", [&] {
        for (auto const & row : result.memory) {
            put(json, row.name.c_str(), row.bytes);
        }
    });
}

} // namespace

String reportJson(Report const & report) {
    String text;
    RendererV2 json(text);
    json.beginObject();
    put(json, "routes", U64{report.routes});
    put(json, "residentRoutes", U64{report.residentRoutes});
    put(json, "rounds", U64{report.rounds});
    putObject(json, "policies", [&] { putPolicies(json, report.policies); });
    if (report.bird) {
        putObject(json, "bird", [&] { putBird(json, *report.bird); });
    }
    putObject(json, "memory", [&] { putMemory(json, report.memory); });
    putArray(json, "publication", [&] {
        for (PublicationResult const & result : report.publication) {
            json.beginObject();
            putPublication(json, result);
            json.endObject();
        }
    });
    putExamples(json, report.examples);
    putJobs(json, report.jobs);
    json.endObject();
    json.endDocument();
    return text;
}

} // namespace Qcf::Bench
