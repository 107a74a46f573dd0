#include "Platform/Render/ReadFile.h"
#include "Text/Policy.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

/// The rows of wrong_texts.txt, which says what a row is. A row that differs is shown with all that
/// it expects and all that was told, so that either side can be mended.
namespace {

namespace fs = std::filesystem;
using namespace Qcf; // NOLINT(google-build-using-namespace): what is under test

/// One message, as the table writes it: "2:6: unknown name 'mdd' -> med".
struct Told {
    String line;
    String note;
};

struct Row {
    String title;
    std::size_t place = 0; ///< its line in the table
    /// Texts by the names of their files; the first one is read.
    std::vector<std::pair<String, String>> files;
    std::vector<Told> expected;

    bool wantsWarnings() const {
        return std::ranges::any_of(expected, [](Told const & each) {
            return each.line.find(": warning: ") != String::npos;
        });
    }
};

constexpr char const * mainFile = "text.qcf";

/// Behind a row's expectations stand comments and empty lines until the next row.
std::vector<Row> readTable(String const & path) {
    std::vector<Row> rows;
    std::istringstream table(readFile(path));
    std::size_t place = 0;
    for (String line; std::getline(table, line);) {
        ++place;
        if (line.starts_with("--- ")) {
            rows.push_back({line.substr(4), place, {{mainFile, ""}}, {}});
        } else if (rows.empty()) {
            continue;
        } else if (line.starts_with("=> ")) {
            rows.back().expected.push_back({line.substr(3), {}});
        } else if (line.starts_with("=+ ")) {
            rows.back().expected.back().note = line.substr(3);
        } else if (line.starts_with("+++ ")) {
            rows.back().files.emplace_back(line.substr(4), "");
        } else if (rows.back().expected.empty()) {
            rows.back().files.back().second += line + '\n';
        }
    }
    return rows;
}

/// Where the texts of a row lie while they are read. One row after the other.
class Desk {
public:
    Desk() : folder_(fs::path(testing::TempDir()) / "wrong_texts") {}
    Desk(Desk const &) = delete;
    Desk & operator=(Desk const &) = delete;
    ~Desk() { fs::remove_all(folder_); }

    std::vector<Told> read(Row const & row) const {
        fs::remove_all(folder_);
        fs::create_directories(folder_);
        for (auto const & [name, text] : row.files) {
            std::ofstream(folder_ / name) << text;
        }
        Text::Sources sources;
        Text::Messages messages;
        Text::readPolicy(folder_ / mainFile, sources, messages);
        messages.sort();
        std::vector<Told> told;
        for (Text::Message const & message : messages.all()) {
            if (message.severity == Text::Severity::error || row.wantsWarnings()) {
                told.push_back({lineOf(message, sources), here(message.note)});
            }
        }
        return told;
    }

private:
    String lineOf(Text::Message const & message, Text::Sources const & sources) const {
        String place = here(sources.placeText(message.span));
        String const mainPrefix = String(mainFile) + ':';
        if (place.starts_with(mainPrefix)) {
            place.erase(0, mainPrefix.size());
        }
        bool const isError = message.severity == Text::Severity::error;
        String const suggestion = message.suggestion.empty() ? "" : " -> " + message.suggestion;
        return place + ": " + (isError ? "" : "warning: ") + here(message.text) + suggestion;
    }

    /// Without the folder's name, which differs from machine to machine.
    String here(String text) const {
        String const prefix = folder_.string() + '/';
        for (auto at = text.find(prefix); at != String::npos; at = text.find(prefix, at)) {
            text.erase(at, prefix.size());
        }
        return text;
    }

    fs::path folder_;
};

bool isLine(std::string_view wanted, std::string_view found) {
    constexpr std::string_view anyRest = "...";
    bool const isBeginning = wanted.ends_with(anyRest);
    wanted.remove_suffix(isBeginning ? anyRest.size() : 0);
    return isBeginning ? found.starts_with(wanted) : found == wanted;
}

/// A note counts only where the table has one.
bool isSame(Row const & row, std::vector<Told> const & told) {
    return std::ranges::equal(row.expected, told, [](Told const & wanted, Told const & found) {
        return isLine(wanted.line, found.line) &&
               (wanted.note.empty() || wanted.note == found.note);
    });
}

String shown(char const * head, std::vector<Told> const & all) {
    String text;
    for (Told const & each : all) {
        text += String(head) + each.line + '\n';
        text += each.note.empty() ? "" : String(head) + "    " + each.note + '\n';
    }
    return text.empty() ? String(head) + "nothing\n" : text;
}

} // namespace

TEST(WrongTexts, AreToldWhatIsWrongWithThem) {
    auto const rows = readTable(QCF_SOURCE_DIR "/tests/Text/wrong_texts.txt");
    ASSERT_GE(rows.size(), 130U);
    Desk const desk;
    std::size_t differ = 0;
    for (Row const & row : rows) {
        ASSERT_FALSE(row.expected.empty()) << row.title << " expects nothing";
        auto const told = desk.read(row);
        if (!isSame(row, told)) {
            ++differ;
            ADD_FAILURE() << "wrong_texts.txt:" << row.place << ": " << row.title << '\n'
                          << row.files.front().second << shown("  expected  ", row.expected)
                          << shown("  got       ", told);
        }
    }
    EXPECT_EQ(differ, 0U) << "of " << rows.size() << " rows";
}
