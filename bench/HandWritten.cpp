#include "bench/HandWritten.h"

namespace Qcf::Bench {

namespace {

/// One expression that finds what any of the patterns finds.
Lists::Pattern anyOf(std::vector<String> const & patterns) {
    String expression;
    for (String const & pattern : patterns) {
        expression +=
            (expression.empty() ? "(?:" : "|(?:") + Lists::asPathExpression(pattern) + ")";
    }
    return Lists::Pattern(expression);
}

} // namespace

HandImport::HandImport(ImportData const & policy)
    : data(policy),
      reserved(std::span<IpGenPrefix const>(policy.reserved)),
      roas(std::span<Lists::Roa const>(policy.roas)),
      refused(anyOf(policy.patterns)) {}

HandData::HandData(PolicyData const & policies)
    : data(policies),
      bogons(policies.p2.bogons),
      prefixes(policies.p4.prefixes),
      imports(policies.p5) {
    for (Clause const & clause : policies.p3.clauses) {
        nextHops.emplace_back(clause.prefixes);
    }
}

} // namespace Qcf::Bench
