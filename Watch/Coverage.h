#pragma once

#include "Watch/FileNames.h"
#include "Watch/NodeCounter.h"
#include "Watch/NodePlaces.h"

#include <map>
#include <set>

namespace Qcf::Watch {

/// A statement or a condition of a text, with what happened to it. A condition is the operand of an
/// `if`, a chain or a `not`; a node may be both.
struct CoveredNode {
    U64 key = 0;
    NodePlace place;
    /// The last line of its own: of an `if` that of its condition.
    U32 lastLine = 0;
    String text; ///< its first line
    bool isStatement = false;
    bool isCondition = false;
    bool mayBeUnknown = false;
    NodeCounts counts;

    /// Of a condition: it was seen both ways, and unknown where it can be.
    bool sawAll() const {
        return counts.isTrue > 0 && counts.isFalse > 0 && (counts.isUnknown > 0 || !mayBeUnknown);
    }
};

/// A function of a text.
struct CoveredFunction {
    U32 line = 0;
    U64 entered = 0;
};

/// What was met of one file.
struct CoveredFile {
    /// Line, column, line and column of the end, class: by these a node is known again that
    /// several programs have, each from the same file.
    using At = std::tuple<U32, U32, U32, U32, std::string_view>;
    std::map<At, CoveredNode> nodes; ///< in the order of the text
    std::map<String, CoveredFunction, std::less<>> functions;
};

/// How much of the texts was evaluated. Filled from the counts of programs, then asked; one
/// thread's.
///
///     Coverage coverage;
///     coverage.add(numbers, counter.counts(), places, {});
///     coverage.totals().statementsEntered;
class Coverage {
public:
    /// Adds the counts of a program. Functions of `leftOut` and what has no place are passed over;
    /// files that several programs have are added up, however their paths are spelled.
    void add(NodeNumbers const & numbers, std::vector<NodeCounts> const & counts,
             NodePlaces const & places, std::set<Eval::Function const *> const & leftOut);

    std::map<String, CoveredFile> const & files() const { return files_; }

    /// The name under which `files` has what stands in the file of that path.
    String const & nameOf(String const & path) { return names_.of(path); }

    struct Totals {
        U64 statements = 0;
        U64 statementsEntered = 0;
        U64 conditions = 0;
        U64 conditionsBothWays = 0;

        /// In hundredths of a hundred, 0 to 100; 100 where there are none.
        F64 statementShare() const { return share(statementsEntered, statements); }
        F64 conditionShare() const { return share(conditionsBothWays, conditions); }

    private:
        static F64 share(U64 part, U64 all) {
            return all == 0 ? 100.0 : 100.0 * static_cast<F64>(part) / static_cast<F64>(all);
        }
    };
    Totals totals() const;

private:
    std::map<String, CoveredFile> files_; ///< by their plain paths
    FileNames names_;
};

} // namespace Qcf::Watch
