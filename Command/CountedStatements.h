#pragma once

#include "QcfLib/StatementCounts.h"

#include <unordered_map>

/// One statement of a function with what it counted. The text is the statement's first line, cut
/// short; of the function itself it says so.
struct CountedStatement {
    Qcf::Eval::Function const * function;
    Qcf::Eval::StatementCount count;
    String const * text;
};

/// The statements of a function, and of all that it calls, with their counts: what reports and
/// metrics show. Keeps the functions alive. Belongs to one thread at a time.
///
///     CountedStatements statements(function);
///     for (CountedStatement const & each : statements.now()) { ... }
class CountedStatements {
public:
    explicit CountedStatements(PtrConst<Qcf::Eval::Function> const & function);

    /// As counted up to now, the largest entries first; those that were never entered as well.
    /// Valid as long as this.
    std::vector<CountedStatement> now();

private:
    String const & textOf(Qcf::Eval::Expression const & node, Qcf::Eval::Function const & within);

    std::vector<PtrConst<Qcf::Eval::Function>> functions_;
    std::unordered_map<Qcf::Eval::Expression const *, String> texts_;
};
