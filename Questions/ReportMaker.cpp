#include "Questions/ReportMaker.h"

#include "Questions/DifferenceReport.h"
#include "Questions/ReportExamples.h"
#include "Questions/ReportLines.h"
#include "Questions/ReportLists.h"

#include <algorithm>

/// The parts of a report from what was counted. Examples are asked for in the order in which a
/// reader misses them: of the statements that decided, of conditions that came to unknown, then one
/// a line, and more of lines while there is room.
namespace Qcf::Questions {

namespace {

constexpr std::size_t examplesOfEach = 3;

template <typename Counts>
std::vector<std::pair<String, U64>> mostFirst(Counts const & counts) {
    std::vector<std::pair<String, U64>> sorted(counts.begin(), counts.end());
    std::ranges::stable_sort(sorted, std::greater(), [](auto const & each) { return each.second; });
    return sorted;
}

/// "transit.qcf:42  if as_path.length > 40  (false)"; "-" where that side has none.
String statementText(PartingStatement const & at, Watch::NodePlaces const & places) {
    if (at.node == nullptr || at.within == nullptr) {
        return "-";
    }
    String const text =
        places.of(*at.node, *at.within).text() + "  " + places.line(*at.node, *at.within);
    return at.answer ? text + "  (" + toString(*at.answer) + ')' : text;
}

class Maker {
public:
    explicit Maker(ReportInput const & input)
        : input_(input), lines_(linesOf(input)), examples_(input) {}

    Report make() {
        Report report;
        report.function = input_.function->funcName();
        report.verdicts = input_.counts.profile.verdicts;
        report.atEnd = input_.counts.profile.atEnd;
        report.clauses = clauses();
        report.unknowns = unknowns();
        exemplifyLines();
        report.files = std::move(lines_.files);
        report.changed = mostFirst(input_.counts.changed);
        report.unknownVerdicts = mostFirst(input_.counts.unknownBecause);
        report.lists = listsOf(input_);
        report.examples = examples_.take();
        if (input_.before != nullptr) {
            report.differences = differences();
        }
        return report;
    }

private:
    NodeExamples const & examplesOf(Eval::Expression const & node) const {
        return input_.counts.examples[input_.numbers.of(node)];
    }
    String placeText(Watch::ProfileRow const & row) const {
        return input_.places.of(*row.node, *row.within).text();
    }

    std::vector<ReportClause> clauses() {
        std::vector<ReportLines::Row const *> deciding;
        for (auto const & at : lines_.rows) {
            if (at.row.verdicts() > 0) {
                deciding.push_back(&at);
            }
        }
        std::ranges::stable_sort(deciding, std::greater(),
                                 [](auto const * at) { return at->row.verdicts(); });
        std::vector<ReportClause> clauses;
        for (auto const * const at : deciding) {
            auto const & row = at->row;
            clauses.push_back({at->file, at->line, placeText(row),
                               input_.places.line(*row.node, *row.within), row.decided,
                               examples_.of(examplesOf(*row.node).decided, examplesOfEach)});
        }
        return clauses;
    }

    std::vector<ReportUnknown> unknowns() {
        std::vector<ReportUnknown> unknowns;
        for (auto const & [file, line, row] : lines_.rows) {
            if (row.answers.isUnknown == 0 || !row.isAsked()) {
                continue;
            }
            auto const * const branch = Eval::as<Eval::IfExpression>(*row.node);
            auto const & asked = branch == nullptr ? *row.node : *branch->condition();
            examples_.of(std::span(examplesOf(asked).byAnswer).subspan(2, 1), 1);
            auto const because = examples_.unknownBecause(asked);
            unknowns.push_back({file,
                                line,
                                placeText(row),
                                row.kind == Watch::ProfileRow::Kind::function
                                    ? "function " + row.within->funcName()
                                    : input_.places.line(*row.node, *row.within),
                                row.answers.isUnknown,
                                {because.begin(), because.end()}});
        }
        return unknowns;
    }

    std::vector<ReportDifference> differences() const {
        std::vector<ReportDifference> differences;
        for (DifferenceGroup const & group : input_.counts.differences.sorted()) {
            differences.push_back(
                {group.text(), group.count, statementText(group.example.older, *input_.before),
                 statementText(group.example.newer, input_.places), exampleText(group.example)});
        }
        return differences;
    }

    // One for each line before a second for any.
    void exemplifyLines() {
        for (std::size_t most = 1; most <= examplesOfEach; ++most) {
            for (auto const & [file, number, row] : lines_.rows) {
                if (number == 0) {
                    continue;
                }
                auto & examples = lines_.files[file].lines[number - 1].examples;
                if (examples.size() >= most) {
                    continue;
                }
                auto const * const branch = Eval::as<Eval::IfExpression>(*row.node);
                auto const & asked = branch == nullptr ? *row.node : *branch->condition();
                for (std::size_t const each : examples_.of(examplesOf(asked).all(), most)) {
                    bool const isNew = std::ranges::find(examples, each) == examples.end();
                    if (isNew && examples.size() < most) {
                        examples.push_back(each);
                    }
                }
            }
        }
    }

    ReportInput const & input_;
    ReportLines lines_;
    ExampleRoutes examples_;
};

} // namespace

Report makeReport(ReportInput const & input) { return Maker(input).make(); }

} // namespace Qcf::Questions
