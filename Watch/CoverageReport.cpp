#include "Watch/CoverageReport.h"

#include "Platform/Render/Utf8.h"

#include <array>
#include <cstdio>
#include <optional>

namespace Qcf::Watch {

namespace {

/// What a file lacks, by kind.
class Missing {
public:
    explicit Missing(CoveredFile const & file) {
        for (auto const & [at, node] : file.nodes) {
            take(node);
        }
    }

    String text() const {
        static constexpr char const * names[] = {"not reached", "never true", "never false",
                                                 "never unknown"};
        String text;
        for (std::size_t kind = 0; kind < kinds_.size(); ++kind) {
            if (!kinds_[kind].empty()) {
                text += text.empty() ? "" : " | ";
                text += String(names[kind]) + ": " + kinds_[kind];
            }
        }
        return text;
    }

private:
    // Of what was not reached nothing else is told.
    void take(CoveredNode const & node) {
        if (node.counts.entered == 0) {
            if (node.isStatement && node.place.line > unreachedTo_) {
                add(0, node);
                unreachedTo_ = node.place.endLine;
            }
        } else if (node.isCondition) {
            addIf(node.counts.isTrue == 0, 1, node);
            addIf(node.counts.isFalse == 0, 2, node);
            addIf(node.mayBeUnknown && node.counts.isUnknown == 0, 3, node);
        }
    }
    void addIf(bool isMissing, std::size_t kind, CoveredNode const & node) {
        if (isMissing) {
            add(kind, node);
        }
    }
    void add(std::size_t kind, CoveredNode const & node) {
        kinds_[kind] += kinds_[kind].empty() ? "" : "; ";
        kinds_[kind] += std::to_string(node.place.line) + ' ' + visibleText(node.text);
    }

    std::array<String, 4> kinds_;
    U32 unreachedTo_ = 0;
};

/// The rows of a file's statements. A row that has one that was not entered is not covered.
class Rows {
public:
    explicit Rows(CoveredFile const & file) {
        for (auto const & [at, node] : file.nodes) {
            for (U32 row = node.place.line; node.isStatement && row <= node.lastLine; ++row) {
                auto const known = isCovered_.try_emplace(row, true).first;
                known->second = known->second && node.counts.entered > 0;
            }
        }
    }

    /// As ranges that do not touch.
    void render(char const * name, bool covered, RendererV2 & renderer) const {
        renderer.key(name);
        renderer.beginArray();
        std::optional<std::pair<U32, U32>> range;
        for (auto const & [number, isCovered] : isCovered_) {
            if (isCovered != covered) {
                continue;
            }
            if (range && range->second + 1 == number) {
                range->second = number;
                continue;
            }
            renderRange(range, renderer);
            range = {number, number};
        }
        renderRange(range, renderer);
        renderer.endArray();
    }

private:
    static void renderRange(std::optional<std::pair<U32, U32>> const & range,
                            RendererV2 & renderer) {
        if (range) {
            renderer.beginObject();
            row("start", range->first, renderer);
            row("end", range->second, renderer);
            renderer.endObject();
        }
    }
    static void row(char const * name, U32 number, RendererV2 & renderer) {
        renderer.key(name);
        renderer.beginObject();
        renderer.key("row");
        renderer.value(number);
        renderer.endObject();
    }

    std::map<U32, bool> isCovered_;
};

void renderNode(CoveredNode const & node, RendererV2 & renderer) {
    renderer.beginObject();
    renderer.key("key");
    renderer.value(node.key);
    renderer.key("at");
    renderer.beginArray();
    renderer.value(node.place.file);
    renderer.value(node.place.line);
    renderer.value(node.place.column);
    renderer.endArray();
    std::pair<char const *, U64> const counts[] = {{"entered", node.counts.entered},
                                                   {"true", node.counts.isTrue},
                                                   {"false", node.counts.isFalse},
                                                   {"unknown", node.counts.isUnknown},
                                                   {"exits", node.counts.exits}};
    for (auto const & [name, count] : counts) {
        renderer.key(name);
        renderer.value(count);
    }
    renderer.endObject();
}

} // namespace

String totalsText(Coverage const & coverage) {
    auto const totals = coverage.totals();
    char share[16];
    std::snprintf(share, sizeof share, "%.1f", totals.statementShare());
    return "statements " + std::to_string(totals.statementsEntered) + " of " +
           std::to_string(totals.statements) + " (" + share + " %), conditions both ways " +
           std::to_string(totals.conditionsBothWays) + " of " + std::to_string(totals.conditions);
}

String missingText(Coverage const & coverage, std::size_t indent, bool withNames) {
    String text;
    for (auto const & [name, file] : coverage.files()) {
        String const missing = Missing(file).text();
        if (!missing.empty()) {
            text += String(indent, ' ') + (withNames ? visibleText(name) + ": " : String()) +
                    missing + '\n';
        }
    }
    return text;
}

void renderCoverage(Coverage const & coverage, RendererV2 & renderer) {
    renderer.beginObject();
    renderer.key("files");
    renderer.beginObject();
    for (auto const & [name, file] : coverage.files()) {
        Rows const rows(file);
        renderer.key(name);
        renderer.beginObject();
        rows.render("covered", true, renderer);
        rows.render("not_covered", false, renderer);
        renderer.key("nodes");
        renderer.beginArray();
        for (auto const & [at, node] : file.nodes) {
            renderNode(node, renderer);
        }
        renderer.endArray();
        renderer.endObject();
    }
    renderer.endObject();
    renderer.endObject();
}

} // namespace Qcf::Watch
