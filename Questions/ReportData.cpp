#include "Platform/Render/RendererV2.h"
#include "Questions/ReportPage.h"

#include <algorithm>
#include <unordered_map>

namespace Qcf::Questions {

namespace {

/// Numbers for texts: the same line stands in the explanations of many routes.
class Texts {
public:
    Texts() { of(""); }
    std::size_t of(String const & text) {
        auto const [at, isNew] = numbers_.try_emplace(text, texts_.size());
        if (isNew) {
            texts_.push_back(text);
        }
        return at->second;
    }
    std::vector<String> const & all() const { return texts_; }

private:
    std::unordered_map<String, std::size_t> numbers_;
    std::vector<String> texts_;
};

class DataWriter {
public:
    explicit DataWriter(RendererV2 & renderer) : renderer_(renderer) {}

    void write(Report const & report) {
        renderer_.beginObject();
        array("files", report.files, [this](ReportFile const & file) { value(file.name); });
        array("lines", report.files, [this](ReportFile const & file) { linesOf(file); });
        array("examples", report.examples, [this](ReportExample const & example) { one(example); });
        array("texts", texts_.all(), [this](String const & text) { value(text); });
        renderer_.endObject();
    }

private:
    template <typename Items, typename Write>
    void array(char const * key, Items const & items, Write const & write) {
        renderer_.key(key);
        elements(items, write);
    }
    template <typename Items, typename Write>
    void elements(Items const & items, Write const & write) {
        renderer_.beginArray();
        for (auto const & item : items) {
            write(item);
        }
        renderer_.endArray();
    }
    void value(auto const & item) { renderer_.value(item); }
    void text(String const & item) { renderer_.value(texts_.of(item)); }
    void member(char const * key, auto const & item) {
        renderer_.key(key);
        renderer_.value(item);
    }

    void linesOf(ReportFile const & file) {
        renderer_.beginObject();
        for (std::size_t i = 0; i < file.lines.size(); ++i) {
            ReportLine const & line = file.lines[i];
            if (line.state == ReportLine::State::plain) {
                continue;
            }
            renderer_.key(std::to_string(i + 1));
            renderer_.beginObject();
            array("parts", line.parts, [this](ReportPart const & part) { one(part); });
            array("examples", line.examples, [this](std::size_t number) { value(number); });
            renderer_.endObject();
        }
        renderer_.endObject();
    }
    void one(ReportPart const & part) {
        renderer_.beginArray();
        text(part.text);
        value(U64{part.isAsked});
        Watch::NodeCounts const & counts = part.counts;
        elements(std::array{counts.entered, counts.isTrue, counts.isFalse, counts.isUnknown,
                            counts.exits},
                 [this](U64 count) { value(count); });
        text(part.missing);
        renderer_.endArray();
    }
    void one(ReportExample const & example) {
        renderer_.beginObject();
        member("route", example.route);
        member("prefix", example.prefix);
        member("peer", example.peer);
        member("verdict", example.verdict);
        member("by", example.decidedBy);
        member("reason", example.reason);
        member("cut", example.isCut);
        array("rows", example.rows, [this](Watch::ExplanationRow const & row) {
            renderer_.beginArray();
            value(row.depth);
            text(row.label);
            text(row.text);
            text(row.result);
            text(row.values);
            renderer_.endArray();
        });
        renderer_.endObject();
    }

    RendererV2 & renderer_;
    Texts texts_;
};

} // namespace

// Nothing but strings holds `<`, and there it may be written by its number.
String reportData(Report const & report) {
    String json;
    RendererV2 renderer(json);
    DataWriter(renderer).write(report);
    String data;
    for (char const c : json) {
        data += c == '<' ? String("\\u003c") : String(1, c);
    }
    return data;
}

} // namespace Qcf::Questions
