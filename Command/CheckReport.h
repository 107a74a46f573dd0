#pragma once

#include "Platform/Framework/Types.h"

#include <optional>
#include <string_view>
#include <vector>

/// What a check found, and how it is told: to people as text, to programs as lines of JSON. Filled
/// first, in the order in which it is to be told, then asked. Belongs to one thread.
class CheckReport {
public:
    /// What is said of a function.
    enum class Verdict : U8 { sane, insane, unread };
    /// What a finding means: a note never fails a check, a warning only a strict one.
    enum class Severity : U8 { note, warning, error };

    /// Where something was found: in a document by its pointer, in a text by line and columns.
    struct Place {
        String file;
        String pointer = {};
        U32 line = 0; ///< 0 in a document
        U32 column = 0;
        U32 endColumn = 0;

        /// "FILE:POINTER" or "FILE:LINE:COLUMN" as a place; a pointer begins with a slash.
        static Place of(String const & text);
        static std::optional<Place> lineOf(std::string_view text);
        String text() const;
    };

    /// A function, in the order of the document. `reason` says what is wrong with it.
    void functionIs(String const & name, Verdict verdict, String const & reason);
    /// Something found at a place; `kind` is a word for programs, `text` a sentence, `suggestion`
    /// what was probably meant. What was told to people by other means is told to programs alone.
    void findingIs(Severity severity, char const * kind, Place const & place, String const & text,
                   String const & suggestion = {}, bool wasTold = false);

    /// Whether nothing is an error, and with `strict` no warning either. Functions that are insane
    /// or could not be read are errors.
    bool good(bool strict) const;

    /// A line a function: "f: sane", "f: insane: REASON", "f: not read: REASON"; then a line a
    /// finding: "PLACE: warning: TEXT".
    String text() const;
    /// The same for programs, one JSON object a line: errors and warnings with `file`, `pointer`
    /// (in a text `line`, `column` and `endColumn`), `severity`, `code`, `message` and
    /// `suggestion`, then the functions, with `function`, `sane` and `message`. What there is not
    /// is null. Notes are left to `notes`.
    String jsonLines() const;
    /// The notes, as `text` has them.
    String notes() const;

private:
    /// What was given, a row each.
    struct FunctionRow {
        String name;
        Verdict verdict;
        String reason;
    };
    struct FindingRow {
        Severity severity;
        char const * kind;
        Place place;
        String text;
        String suggestion;
        bool wasTold;
    };

    /// A finding as people are told it, with the line's end.
    static String lineOf(FindingRow const & row);
    /// What the row says is wrong: nothing for a sane function.
    static String wrongOf(FunctionRow const & row);

    /// In the order of the document.
    std::vector<FunctionRow> functions_;
    /// In the order in which they were given.
    std::vector<FindingRow> findings_;
};
