#pragma once

#include "Platform/Render/RendererV2.h"
#include "Watch/TestRun.h"

/// The results of tests as people and other tools read them.
namespace Qcf::Watch {

/// How the tests of one file went.
struct FileResults {
    String file;
    std::vector<TestResult> tests = {};
    /// Why none could be run; empty where they were.
    String error = {};
    /// What the error means, for people.
    char const * fault = "the text has errors";

    std::size_t failed() const;
    /// Whether all is well.
    bool passed() const { return error.empty() && failed() == 0; }
};

/// For people: the file, a line a test, and of failed ones what was found.
///
///     transit-import.qcf
///       ok    a valid route is preferred
///       FAIL  an invalid origin                             transit-import.qcf:96
///             expected reject (exit), found accept at line 77: return true
String resultsText(FileResults const & results);

/// For programs, one object a line: `{"file", "test", "line", "passed", "seconds", "findings"}`,
/// of a text with errors `{"file", "error"}`.
void renderResults(FileResults const & results, RendererV2 & renderer);

/// JUnit's XML, as servers of continuous integration read it: a suite a file.
String junitText(std::vector<FileResults> const & all);

} // namespace Qcf::Watch
