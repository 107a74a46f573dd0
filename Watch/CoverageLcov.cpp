#include "Platform/Render/Utf8.h"
#include "Watch/CoverageReport.h"

/// Tracefiles: a record a file, a line a fact, `TAG:FIELD,FIELD`.
namespace Qcf::Watch {

namespace {

/// The lines of one file's record.
class Record {
public:
    String text(String const & name, CoveredFile const & file) {
        text_ = "TN:\nSF:" + visibleText(name) + '\n';
        functions(file);
        branches(file);
        lines(file);
        return std::move(text_) + "end_of_record\n";
    }

private:
    void line(char const * tag, std::initializer_list<String> fields) {
        char before = ':';
        text_ += tag;
        for (String const & field : fields) {
            text_ += before + field;
            before = ',';
        }
        text_ += '\n';
    }

    void functions(CoveredFile const & file) {
        U64 hit = 0;
        // Names in quotes may be anything.
        constexpr std::size_t longestName = 200;
        for (auto const & [name, function] : file.functions) {
            line("FN", {std::to_string(function.line), oneLine(name, longestName)});
        }
        for (auto const & [name, function] : file.functions) {
            line("FNDA", {std::to_string(function.entered), oneLine(name, longestName)});
            hit += function.entered > 0 ? 1 : 0;
        }
        line("FNF", {std::to_string(file.functions.size())});
        line("FNH", {std::to_string(hit)});
    }

    // A block a condition, its outcomes are the branches.
    void branches(CoveredFile const & file) {
        U64 found = 0;
        U64 hit = 0;
        U64 block = 0;
        for (auto const & [at, node] : file.nodes) {
            if (!node.isCondition) {
                continue;
            }
            U64 const outcomes[] = {node.counts.isTrue, node.counts.isFalse, node.counts.isUnknown};
            for (std::size_t i = 0; i < (node.mayBeUnknown ? 3U : 2U); ++i) {
                bool const wasReached = node.counts.entered > 0;
                line("BRDA", {std::to_string(node.place.line), std::to_string(block),
                              std::to_string(i), wasReached ? std::to_string(outcomes[i]) : "-"});
                ++found;
                hit += outcomes[i] > 0 ? 1 : 0;
            }
            ++block;
        }
        line("BRF", {std::to_string(found)});
        line("BRH", {std::to_string(hit)});
    }

    void lines(CoveredFile const & file) {
        U64 found = 0;
        U64 hit = 0;
        U32 last = 0;
        for (auto const & [at, node] : file.nodes) {
            if (!node.isStatement || node.place.line == last) {
                continue;
            }
            last = node.place.line;
            line("DA", {std::to_string(last), std::to_string(node.counts.entered)});
            ++found;
            hit += node.counts.entered > 0 ? 1 : 0;
        }
        line("LF", {std::to_string(found)});
        line("LH", {std::to_string(hit)});
    }

    String text_;
};

} // namespace

String lcovText(Coverage const & coverage) {
    String text;
    for (auto const & [name, file] : coverage.files()) {
        text += Record().text(name, file);
    }
    return text;
}

} // namespace Qcf::Watch
