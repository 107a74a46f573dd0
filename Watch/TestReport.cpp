#include "Watch/TestReport.h"

#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <cstdio>

namespace Qcf::Watch {

namespace {

/// Findings below a test.
constexpr std::size_t findingIndent = 8;

String padded(String text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

String secondsText(F64 seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6f", seconds);
    return text;
}

F64 secondsOf(FileResults const & results) {
    F64 seconds = 0;
    for (TestResult const & test : results.tests) {
        seconds += test.seconds;
    }
    return seconds;
}

/// A character as the content of an element or of an attribute. Those that XML does not have become
/// `?`.
String xmlCharacter(std::string_view sequence) {
    constexpr std::pair<char, char const *> escapes[] = {
        {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\n', "&#10;"}};
    for (auto const & [c, escape] : escapes) {
        if (sequence.front() == c) {
            return escape;
        }
    }
    U8 const first = static_cast<U8>(sequence.front());
    bool const isControl = first < 0x20 && first != '\t' && first != '\r';
    bool const isNone = sequence == "\xef\xbf\xbe" || sequence == "\xef\xbf\xbf";
    return isControl || isNone ? String("?") : String(sequence);
}

String xml(std::string_view text) {
    String const valid = replaceInvalidUtf8(text);
    String out;
    for (std::string_view rest = valid; !rest.empty();) {
        std::size_t const length = utf8SequenceLength(rest);
        out += xmlCharacter(rest.substr(0, length));
        rest.remove_prefix(length);
    }
    return out;
}

using Attributes = std::initializer_list<std::pair<char const *, String>>;

String opened(char const * element, Attributes attributes, char const * end) {
    String text = '<' + String(element);
    for (auto const & [name, value] : attributes) {
        text += ' ' + String(name) + "=\"" + xml(value) + '"';
    }
    return text + end;
}

String suiteAttributes(char const * element, std::optional<String> const & name, std::size_t tests,
                       std::size_t failures, F64 seconds) {
    String const count = std::to_string(tests);
    String const failed = std::to_string(failures);
    String const time = secondsText(seconds);
    return name ? opened(element,
                         {{"name", *name}, {"tests", count}, {"failures", failed}, {"time", time}},
                         ">\n")
                : opened(element, {{"tests", count}, {"failures", failed}, {"time", time}}, ">\n");
}

String failureText(std::vector<String> const & lines) {
    String all;
    for (String const & line : lines) {
        all += all.empty() ? line : '\n' + line;
    }
    String const first = lines.empty() ? String() : lines.front();
    return "      " + opened("failure", {{"message", first}}, ">") + xml(all) + "</failure>\n";
}

String caseText(String const & file, String const & title, U32 line, F64 seconds,
                std::vector<String> const & findings) {
    return "    " +
           opened("testcase",
                  {{"name", title},
                   {"classname", file},
                   {"file", file},
                   {"line", std::to_string(line)},
                   {"time", secondsText(seconds)}},
                  findings.empty() ? "/>\n" : ">\n") +
           (findings.empty() ? String() : failureText(findings) + "    </testcase>\n");
}

} // namespace

std::size_t FileResults::failed() const {
    return static_cast<std::size_t>(std::ranges::count(tests, false, &TestResult::passed));
}

String resultsText(FileResults const & results) {
    String text = visibleText(results.file) + '\n';
    constexpr std::size_t longestTitle = 200;
    constexpr std::size_t titleWidth = 56;
    for (TestResult const & test : results.tests) {
        String const title = oneLine(test.title, longestTitle);
        if (test.passed()) {
            text += "  ok    " + title + '\n';
            continue;
        }
        text +=
            "  FAIL  " + padded(title, titleWidth) + ' ' + visibleText(test.expected.text()) + '\n';
        for (String const & finding : test.findings) {
            text += String(findingIndent, ' ') + visibleText(finding) + '\n';
        }
    }
    if (!results.error.empty()) {
        text += "  FAIL  " + String(results.fault) + '\n';
    }
    return text;
}

void renderResults(FileResults const & results, RendererV2 & renderer) {
    for (TestResult const & test : results.tests) {
        renderer.beginObject();
        renderer.key("file");
        renderer.value(results.file);
        renderer.key("test");
        renderer.value(test.title);
        renderer.key("line");
        renderer.value(test.place.line);
        renderer.key("passed");
        renderer.value(test.passed());
        renderer.key("seconds");
        renderer.value(test.seconds);
        renderer.key("findings");
        renderer.beginArray();
        for (String const & finding : test.findings) {
            renderer.value(finding);
        }
        renderer.endArray();
        renderer.endObject();
        renderer.endDocument();
    }
    if (!results.error.empty()) {
        renderer.beginObject();
        renderer.key("file");
        renderer.value(results.file);
        renderer.key("error");
        renderer.value(results.error);
        renderer.endObject();
        renderer.endDocument();
    }
}

// A text with errors is a test that failed: servers tell of nothing else.
String junitText(std::vector<FileResults> const & all) {
    std::size_t tests = 0;
    std::size_t failures = 0;
    F64 seconds = 0;
    String suites;
    for (FileResults const & results : all) {
        std::size_t const errors = results.error.empty() ? 0 : 1;
        std::size_t const count = results.tests.size() + errors;
        std::size_t const failed = results.failed() + errors;
        suites +=
            "  " + suiteAttributes("testsuite", results.file, count, failed, secondsOf(results));
        for (TestResult const & test : results.tests) {
            suites +=
                caseText(results.file, test.title, test.place.line, test.seconds, test.findings);
        }
        if (errors != 0) {
            suites += caseText(results.file, "the text is read", 1, 0, {results.error});
        }
        suites += "  </testsuite>\n";
        tests += count;
        failures += failed;
        seconds += secondsOf(results);
    }
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" +
           suiteAttributes("testsuites", std::nullopt, tests, failures, seconds) + suites +
           "</testsuites>\n";
}

} // namespace Qcf::Watch
