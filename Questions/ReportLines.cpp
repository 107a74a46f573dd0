#include "Questions/ReportLines.h"

namespace Qcf::Questions {

namespace {

using Watch::CoveredNode;

std::vector<ReportLine> linesOfText(String const & text) {
    std::vector<ReportLine> lines;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const end = std::min(text.find('\n', at), text.size());
        ReportLine & line = lines.emplace_back();
        line.text = text.substr(at, end - at);
        if (line.text.ends_with('\r')) {
            line.text.pop_back();
        }
        at = end + 1;
    }
    return lines;
}

/// "never true, never unknown"; empty for a condition that was seen to be all that it can be.
String missingOf(CoveredNode const & node) {
    String text;
    auto const addIf = [&text](bool isMissing, char const * what) {
        text += isMissing ? (text.empty() ? what : String(", ") + what) : String();
    };
    if (node.isCondition && node.counts.entered > 0) {
        addIf(node.counts.isTrue == 0, "never true");
        addIf(node.counts.isFalse == 0, "never false");
        addIf(node.mayBeUnknown && node.counts.isUnknown == 0, "never unknown");
    }
    return text;
}

/// Of what begins in a line: whether something was seen, and whether something is missing.
struct Seen {
    bool isSeen = false;
    bool isMissing = false;

    void take(CoveredNode const & node) {
        bool const isEntered = node.counts.entered > 0;
        isSeen = isSeen || isEntered;
        isMissing = isMissing || !isEntered || (node.isCondition && !node.sawAll());
    }
    ReportLine::State state() const {
        using State = ReportLine::State;
        return isMissing ? (isSeen ? State::half : State::never)
                         : (isSeen ? State::covered : State::plain);
    }
};

class LineMaker {
public:
    explicit LineMaker(ReportInput const & input) : input_(input) {
        coverage_.add(input.numbers, input.counts.profile.nodes, input.places, {});
        for (ReportText const & text : input.texts) {
            byName_.emplace(coverage_.nameOf(text.name), made_.files.size());
            made_.files.push_back({text.name, linesOfText(text.text)});
        }
    }

    ReportLines make() {
        for (auto const & [name, file] : coverage_.files()) {
            cover(name, file);
        }
        for (Watch::ProfileRow & row : profileRows(input_.numbers, input_.counts.profile)) {
            add(row);
        }
        return std::move(made_);
    }

private:
    ReportLine * lineAt(String const & file, U32 number) {
        auto const found = byName_.find(coverage_.nameOf(file));
        if (found == byName_.end() || number == 0) {
            return nullptr;
        }
        auto & lines = made_.files[found->second].lines;
        return number <= lines.size() ? &lines[number - 1] : nullptr;
    }

    void cover(String const & name, Watch::CoveredFile const & file) {
        std::map<U32, Seen> seen;
        for (auto const & [at, node] : file.nodes) {
            seen[node.place.line].take(node);
            missing_.emplace(node.key, missingOf(node));
        }
        for (auto const & [number, each] : seen) {
            if (ReportLine * const line = lineAt(name, number)) {
                line->state = each.state();
            }
        }
    }

    /// A built-in function that was never written stands in no line; what it decides has one all
    /// the same, that of its call.
    bool isWritten(Watch::ProfileRow const & row, String const & file) {
        auto const found = coverage_.files().find(coverage_.nameOf(file));
        return found != coverage_.files().end() &&
               found->second.functions.contains(row.within->funcName());
    }

    void add(Watch::ProfileRow const & row) {
        auto const place = input_.places.of(*row.node, *row.within);
        ReportLine * const line = lineAt(place.file, place.line);
        std::size_t const file = line == nullptr ? 0 : byName_.at(coverage_.nameOf(place.file));
        made_.rows.push_back({file, line == nullptr ? 0 : place.line, row});
        if (line == nullptr || !isWritten(row, place.file)) {
            return;
        }
        line->decided += row.verdicts();
        Watch::NodeCounts counts = row.answers;
        counts.entered = row.entered;
        auto const missing = missing_.find(askedKey(*row.node));
        ReportPart part{input_.places.line(*row.node, *row.within), counts, row.isAsked(),
                        missing == missing_.end() ? String() : missing->second};
        if (row.kind == Watch::ProfileRow::Kind::function) {
            part.text = "function " + row.within->funcName();
            bool const isPlain = line->state == ReportLine::State::plain;
            line->state = !isPlain          ? line->state
                          : row.entered > 0 ? ReportLine::State::covered
                                            : ReportLine::State::never;
        }
        line->parts.push_back(std::move(part));
    }

    /// What is missing of an `if` is that of its condition.
    static U64 askedKey(Eval::Expression const & node) {
        auto const * const branch = Eval::as<Eval::IfExpression>(node);
        return (branch == nullptr ? node : *branch->condition()).aetNodeKey();
    }

    ReportInput const & input_;
    Watch::Coverage coverage_;
    std::map<U64, String> missing_;        ///< by the key of the condition
    std::map<String, std::size_t> byName_; ///< by the names of the coverage
    ReportLines made_;
};

} // namespace

ReportLines linesOf(ReportInput const & input) { return LineMaker(input).make(); }

} // namespace Qcf::Questions
