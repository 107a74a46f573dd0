#include "bench/ReportMembers.h"
#include "bench/ReportText.h"

namespace Qcf::Bench {

namespace {

double milliseconds(Timing const & timing) { return timing.spread().median / 1e6; }

String rowText(JobRow const & row, std::size_t binary) {
    JobTiming const & own = row.byBinary[binary];
    JobTiming const & first = row.byBinary.front();
    bool const hasBgpdump = !row.bgpdump.wall.samples.empty();
    String const times = binary == 0 ? "-" : text(first.wall.over(own.wall));
    String const byCpu = binary == 0 ? "-" : text(first.cpu.over(own.cpu));
    return formatted("%-4s  %7u  %6zu  %9.1f  %8.1f  %20s  %20s  %20s  %12s\n", row.form.c_str(),
                     row.threads, binary + 1, milliseconds(own.wall), milliseconds(own.cpu),
                     times.c_str(), byCpu.c_str(),
                     hasBgpdump ? text(row.bgpdump.wall.over(own.wall)).c_str() : "-",
                     text(own.instructions, 0).c_str());
}

String headOf(JobRow const & row, JobResults const & jobs) {
    String head = "\n" + row.policy + " over " + row.table;
    for (auto const & known : jobs.accepted) {
        if (known.policy == row.policy && known.table == row.table) {
            head += formatted(", %llu routes, %llu accepted",
                              static_cast<unsigned long long>(known.routes),
                              static_cast<unsigned long long>(known.accepted));
        }
    }
    return head + "\n" +
           formatted("%-4s  %7s  %6s  %9s  %8s  %20s  %20s  %20s  %12s\n", "form", "threads",
                     "binary", "wall ms", "cpu ms", "as fast as 1, wall", "by cpu",
                     "as bgpdump -m, wall", "instructions");
}

void putTiming(RendererV2 & json, JobTiming const & timing) {
    json.beginObject();
    put(json, "wall", timing.wall.spread());
    put(json, "cpu", timing.cpu.spread());
    put(json, "instructions", timing.instructions);
    json.endObject();
}

void putRow(RendererV2 & json, JobRow const & row) {
    put(json, "policy", row.policy);
    put(json, "table", row.table);
    put(json, "form", row.form);
    put(json, "threads", U64{row.threads});
    putArray(json, "ns", [&] {
        for (JobTiming const & timing : row.byBinary) {
            putTiming(json, timing);
        }
    });
    putArray(json, "timesAsFastAsFirst", [&] {
        for (JobTiming const & timing : row.byBinary) {
            json.value(row.byBinary.front().wall.over(timing.wall).median);
        }
    });
    if (!row.bgpdump.wall.samples.empty()) {
        json.key("bgpdump");
        putTiming(json, row.bgpdump);
    }
}

} // namespace

String reportTable(JobResults const & jobs) {
    if (jobs.rows.empty()) {
        return {};
    }
    String table = "\nThe whole job, qcf eval of a file; ratios within each round; outputs are "
                   "equal, byte for byte:\n";
    for (std::size_t i = 0; i < jobs.binaries.size(); ++i) {
        table += formatted("binary %zu: ", i + 1) + jobs.binaries[i] + "\n";
    }
    JobRow const * last = nullptr;
    for (JobRow const & row : jobs.rows) {
        bool const isNew =
            last == nullptr || last->policy != row.policy || last->table != row.table;
        table += isNew ? headOf(row, jobs) : "";
        last = &row;
        for (std::size_t binary = 0; binary < row.byBinary.size(); ++binary) {
            table += rowText(row, binary);
        }
    }
    return table;
}

void putJobs(RendererV2 & json, JobResults const & jobs) {
    putObject(json, "jobs", [&] {
        putArray(json, "binaries", [&] {
            for (String const & binary : jobs.binaries) {
                json.value(binary);
            }
        });
        putArray(json, "rows", [&] {
            for (JobRow const & row : jobs.rows) {
                json.beginObject();
                putRow(json, row);
                json.endObject();
            }
        });
    });
}

} // namespace Qcf::Bench
