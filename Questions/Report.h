#pragma once

#include "Questions/ReportCounts.h"
#include "Watch/ExplanationRows.h"

/// What a policy does to a table of routes, made by ReportMaker.h for a page that people read
/// (ReportPage.h). Everything is a plain value. Numbers of examples are places in
/// `Report::examples`.
namespace Qcf::Questions {

/// A line of the policy that is told with its numbers.
struct ReportPart {
    String text;
    Watch::NodeCounts counts;
    bool isAsked = false; ///< whether true, false and unknown mean something
    String missing = {};  ///< "never true", "never false, never unknown"; empty for nothing
};

/// A line of a source.
struct ReportLine {
    enum class State : U8 {
        plain,   ///< nothing that could be evaluated begins here
        covered, ///< entered, its conditions seen both ways
        half,    ///< entered, but something of it was not, or not seen both ways
        never,   ///< not reached
    };
    String text;
    State state = State::plain;
    /// Statements and operands of conditions that begin here, the statement first.
    std::vector<ReportPart> parts = {};
    U64 decided = 0; ///< verdicts
    std::vector<std::size_t> examples = {};
};

/// A text as the page shows it.
struct ReportFile {
    String name;
    std::vector<ReportLine> lines; ///< that of number 1 first
};

/// A statement that decided verdicts.
struct ReportClause {
    std::size_t file = 0; ///< number in `Report::files`
    U32 line = 0;         ///< 0 where no text is known
    String place;         ///< "transit.qcf:69"
    String text;
    Watch::VerdictCounts verdicts = {};
    std::vector<std::size_t> examples = {};

    U64 total() const { return verdicts[0] + verdicts[1] + verdicts[2]; }
};

/// A route of the table with what was seen of its evaluation.
struct ReportExample {
    U64 route = 0; ///< number in the table, from 0 on
    String prefix;
    String peer;
    String verdict;   ///< "true", "false", "unknown"
    String decidedBy; ///< "transit.qcf:69"; empty where the end was reached
    String reason;
    std::vector<Watch::ExplanationRow> rows = {};
    bool isCut = false; ///< only the last rows stand here
};

struct ReportEntry {
    U32 number = 0;
    String text;
    U64 hits = 0;
};

/// A named list that the function asks.
struct ReportList {
    String kind;
    String name;
    ListHits hits;
    bool isTested = true;             ///< else it says what is added or removed alone
    std::size_t size = 0;             ///< entries
    std::size_t withoutHits = 0;      ///< of those
    std::vector<ReportEntry> entries; ///< not all of a long list
};

/// A condition that came to unknown.
struct ReportUnknown {
    std::size_t file = 0;
    U32 line = 0;
    String place;
    String text;
    U64 count = 0;
    std::vector<String> because; ///< what its examples tell
};

/// Routes that another version of the policy treats otherwise, by what changed.
struct ReportDifference {
    String label; ///< "accepted -> rejected"
    U64 count = 0;
    String oldStatement;
    String newStatement;
    String example; ///< a route of the kind
};

/// Everything that the page shows.
struct Report {
    String subject; ///< the policy as it was named
    String function;
    String table; ///< the routes as they were named
    /// That the text is a document's, printed; empty otherwise.
    String note;
    Watch::VerdictCounts verdicts{};
    Watch::VerdictCounts atEnd{}; ///< verdicts that no statement decided
    std::vector<ReportFile> files;
    std::vector<ReportClause> clauses;           ///< that of most verdicts first
    std::vector<std::pair<String, U64>> changed; ///< attributes by routes, most first
    std::vector<ReportList> lists;
    std::vector<std::pair<String, U64>> unknownVerdicts; ///< reasons by routes, most first
    std::vector<ReportUnknown> unknowns;
    std::vector<ReportExample> examples;
    /// Nothing where the table was not compared.
    std::optional<std::vector<ReportDifference>> differences;
    String against; ///< the other policy

    U64 routes() const { return verdicts[0] + verdicts[1] + verdicts[2]; }
};

} // namespace Qcf::Questions
