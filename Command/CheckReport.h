#pragma once

#include "Platform/Framework/Types.h"

#include <vector>

/// What a check found, and how it is told.
class CheckReport {
public:
    enum class Verdict : U8 { sane, insane, unread };
    enum class Severity : U8 { note, warning, error };

    /// A function, in the order of the document. `reason` says what is wrong with it.
    void functionIs(String const & name, Verdict verdict, String const & reason);
    /// Something found at a place; `kind` is a word for programs, `text` a sentence.
    void findingIs(Severity severity, char const * kind, String const & place, String const & text);

    /// Whether nothing is an error, and with `strict` no warning either.
    bool good(bool strict) const;

    /// A line a function: "f: sane", "f: insane: REASON", "f: not read: REASON"; then a line a
    /// finding: "PLACE: warning: TEXT".
    String text() const;
    /// The same for programs, one JSON object a line: what was found, with `file`, `pointer`,
    /// `severity`, `code` and `message`, then the functions, with `function`, `sane` and `message`.
    String jsonLines() const;

private:
    struct FunctionRow {
        String name;
        Verdict verdict;
        String reason;
    };
    struct FindingRow {
        Severity severity;
        char const * kind;
        String place;
        String text;
    };

    static String wrongOf(FunctionRow const & row);

    std::vector<FunctionRow> functions_;
    std::vector<FindingRow> findings_;
};
