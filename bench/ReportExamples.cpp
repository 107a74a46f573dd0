#include "bench/ReportMembers.h"
#include "bench/ReportText.h"

namespace Qcf::Bench {

namespace {

double percent(U64 part, U64 whole) {
    return whole == 0 ? 0 : 100 * static_cast<double>(part) / static_cast<double>(whole);
}

String sharingTable(std::vector<SharingFacts> const & sharing) {
    String table = "\nHow routes share attributes, %:\n"
                   "table                                        routes  as the one before of the "
                   "session  distinct\n";
    for (SharingFacts const & row : sharing) {
        table += formatted("%-40s  %9llu  %33.1f  %8.1f\n", row.table.c_str(),
                           static_cast<unsigned long long>(row.routes),
                           percent(row.equalToLast, row.routes), percent(row.distinct, row.routes));
    }
    return table;
}

String tableOf(ExampleResults const & examples, std::size_t at) {
    auto const & measured = examples.tables[at];
    String table = formatted("\nPolicies of examples/ over %zu routes of %s:\n", measured.routes,
                             measured.name.c_str());
    table += formatted("%-44s  %9s  %22s  %24s\n", "policy/function", "accepted", "plan ns",
                       "tree as multiple of plan");
    for (ExampleResult const & row : examples.results) {
        ExampleTiming const & timing = row.byTable[at];
        table +=
            formatted("%-44s  %8.1f%%  %22s  %24s\n", row.name.c_str(),
                      percent(timing.accepted, measured.routes), text(timing.plan.spread()).c_str(),
                      text(timing.tree.over(timing.plan)).c_str());
    }
    return table;
}

} // namespace

String reportTable(ExampleResults const & examples) {
    if (examples.results.empty()) {
        return {};
    }
    String table = sharingTable(examples.sharing);
    for (std::size_t at = 0; at < examples.tables.size(); ++at) {
        table += tableOf(examples, at);
    }
    table += "\nNodes without a step:\n";
    std::size_t without = 0;
    for (ExampleResult const & row : examples.results) {
        if (!row.withoutStep.empty()) {
            ++without;
            table += formatted("%-44s  ", row.name.c_str()) + row.withoutStep + "\n";
        }
    }
    return table +
           formatted("%zu of %zu functions have such nodes\n", without, examples.results.size());
}

void putExamples(RendererV2 & json, ExampleResults const & examples) {
    putArray(json, "sharing", [&] {
        for (SharingFacts const & row : examples.sharing) {
            json.beginObject();
            put(json, "table", row.table);
            put(json, "routes", row.routes);
            put(json, "equalToLast", row.equalToLast);
            put(json, "distinct", row.distinct);
            json.endObject();
        }
    });
    putObject(json, "examples", [&] {
        for (ExampleResult const & row : examples.results) {
            putObject(json, row.name, [&] {
                put(json, "withoutStep", row.withoutStep);
                for (std::size_t at = 0; at < examples.tables.size(); ++at) {
                    ExampleTiming const & timing = row.byTable[at];
                    putObject(json, examples.tables[at].name, [&] {
                        put(json, "accepted", timing.accepted);
                        put(json, "plan", timing.plan.spread());
                        put(json, "tree", timing.tree.spread());
                        put(json, "treeToPlan", timing.tree.over(timing.plan));
                    });
                }
            });
        }
    });
}

} // namespace Qcf::Bench
